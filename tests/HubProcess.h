// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#pragma once

// The program itself, started by a test, and what its device asks.

#include "HostFiles.h"
#include "Wire.h"

#include <QProcess>
#include <QStringList>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTemporaryDir>

constexpr int TIMEOUT_MS = 60000;

constexpr int D64_SIZE = 174848;
constexpr int D82_SIZE = 1066496;
constexpr int DISKS_IN_A_PACKAGE = 19; ///< beside the manifest

/// Makes a test program run the hub's main() until its standard input ends; see HubProgram.h.
constexpr char UNTIL_INPUT_ENDS[] = "--until-input-ends";

/// The program, listening on a free port of 127.0.0.1 with settings of its own, until it is killed.
/// Its user's home and everything in it is a temporary directory, which goes with this object.
class HubProcess
{
public:
    HubProcess() = default;
    ~HubProcess() { Kill(); }
    HubProcess(const HubProcess &) = delete;
    HubProcess &operator=(const HubProcess &) = delete;

    /// Starts the program and waits until it listens. `settings` are sections besides "[server]".
    bool Start(const QByteArray &settings, const QStringList &arguments = QStringList());

    /// Runs a command that is or becomes the program, without a change to its settings, and waits
    /// until it listens on the port of ServerSection().
    bool StartAsItIs(const QStringList &command, const QStringList &arguments = QStringList());

    /// Runs the program in a child of this test until it has ended in good order. Returns its exit
    /// code, or -1 if it crashed.
    int RunUntilQuit(const QByteArray &settings);

    /// The same without a change to its settings.
    int RunAsItIsUntilQuit();

    /// The command that runs the program in a child of this test, which Quit() ends.
    static QStringList Child();

    /// Tells a child to end in good order.
    void BeginQuit() { mProcess.closeWriteChannel(); }

    /// Ends a child in good order. Returns its exit code, or -1 if it crashed.
    int Quit();

    void Kill();
    void Signal(int signal) const;
    bool WaitForEnd();

    bool IsRunning() const { return mProcess.state() == QProcess::Running; }
    qint64 Id() const { return mProcess.processId(); }
    quint16 Port() const { return mPort; }
    QString Url() const { return QStringLiteral("http://127.0.0.1:%1/").arg(mPort); }
    QString Home() const { return mHome.path(); }

    QString SettingsPath() const;
    QByteArray Settings() const;
    bool WriteStore(const QByteArray &text) const;

    /// The section "[server]" for a free port, which is Port() from then on. The number in the
    /// section is greater by `more`.
    QByteArray ServerSection(int more = 0);

    /// What the program has written on standard error since the last start, without what the
    /// platform without a screen says of each window: that it has no use for size hints.
    QByteArray Errors() const;

    /// How many files and sockets the program holds open.
    int Descriptors() const;

    void Connect(QTcpSocket *device) const;

    /// Sends a request and waits until the connection is closed.
    HubReply Ask(const QByteArray &request) const;

private:
    bool Run(const QStringList &command);
    QString ErrorsPath() const;
    bool Accepts() const;

    const QTemporaryDir mHome;
    const QTemporaryDir mOutside; ///< not the program's
    quint16 mPort = 0;
    QProcess mProcess;
};

/// The directories of disks and programs, and their section of the settings.
struct Media {
    QTemporaryDir disks;
    QTemporaryDir programs;

    QByteArray Section() const;
    QString Disk(const char *name) const { return disks.filePath(QLatin1String(name)); }
    QString Program(const char *name) const { return programs.filePath(QLatin1String(name)); }
};

/// Breaks a connection so that the peer is told so, unlike an ordinary close.
void Reset(QTcpSocket *device);
