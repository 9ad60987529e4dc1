// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#pragma once

// The program itself, started by a test, and what its device asks.

#include "HostFiles.h"
#include "HubSettings.h"
#include "Wire.h"

#include <QElapsedTimer>
#include <QProcess>
#include <QStringList>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTest>

#include <csignal>
#include <sys/socket.h>

constexpr int TIMEOUT_MS = 60000;

constexpr int D64_SIZE = 174848;
constexpr int D82_SIZE = 1066496;
constexpr int DISKS_IN_A_PACKAGE = 19; ///< beside the manifest

/// Makes a test program run the hub's main() until its standard input ends; see HubProgram.h.
constexpr char UNTIL_INPUT_ENDS[] = "--until-input-ends";

/// The program, listening on a free port of 127.0.0.1 with settings of its own, until it is killed.
/// All directories that it may take for the user's own are one that goes with this object.
class HubProcess
{
public:
    HubProcess() = default;
    ~HubProcess() { Kill(); }
    HubProcess(const HubProcess &) = delete;
    HubProcess &operator=(const HubProcess &) = delete;

    /// Starts the program and waits until it listens. `settings` are sections besides "[server]".
    bool Start(const QByteArray &settings, const QStringList &arguments = QStringList())
    {
        return WriteStore(ServerSection() + settings) &&
               StartAsItIs({QStringLiteral(DISK_HUB_BINARY)}, arguments);
    }

    /// Runs a command that is or becomes the program, with the settings that there are, and waits
    /// until it listens on the port of ServerSection.
    bool StartAsItIs(const QStringList &command, const QStringList &arguments = QStringList())
    {
        return Run(command + arguments) &&
               QTest::qWaitFor([this] { return !IsRunning() || Accepts(); }, TIMEOUT_MS) &&
               IsRunning();
    }

    /// Runs the program in a child of this test until it has ended in good order. Returns its exit
    /// code, or -1 if it crashed.
    int RunUntilQuit(const QByteArray &settings)
    {
        return WriteStore(ServerSection() + settings) && Run(Child()) ? Quit() : -1;
    }

    /// The same with the settings that there are.
    int RunAsItIsUntilQuit() { return Run(Child()) ? Quit() : -1; }

    /// The command that runs the program in a child of this test, which Quit() ends.
    static QStringList Child()
    {
        return {QCoreApplication::applicationFilePath(), QLatin1String(UNTIL_INPUT_ENDS)};
    }

    /// Ends a child in good order. Returns its exit code, or -1 if it crashed.
    int Quit()
    {
        mProcess.closeWriteChannel();
        const bool ended = mProcess.waitForFinished(TIMEOUT_MS);
        return ended && mProcess.exitStatus() == QProcess::NormalExit ? mProcess.exitCode() : -1;
    }

    void Kill()
    {
        mProcess.kill();
        mProcess.waitForFinished(TIMEOUT_MS);
    }

    void Signal(int signal) const { ::kill(pid_t(Id()), signal); }

    bool WaitForEnd() { return mProcess.waitForFinished(TIMEOUT_MS); }

    bool IsRunning() const { return mProcess.state() == QProcess::Running; }
    qint64 Id() const { return mProcess.processId(); }
    quint16 Port() const { return mPort; }
    QString Url() const { return QStringLiteral("http://127.0.0.1:%1/").arg(mPort); }
    QString Home() const { return mHome.path(); }

    QString SettingsPath() const
    {
        return mHome.filePath(QStringLiteral("Tesseline LLC/Disk Hub.conf"));
    }

    QByteArray Settings() const { return ReadFile(SettingsPath()); }
    bool WriteStore(const QByteArray &text) const { return WriteFile(SettingsPath(), text); }

    /// The section "[server]" for a port that is free, which it names as that port and `more`.
    QByteArray ServerSection(int more = 0)
    {
        QTcpServer server;
        server.listen(QHostAddress(QHostAddress::LocalHost));
        mPort = server.serverPort();
        return HubSettings::Loopback().replace("port=0",
                                               "port=" + QByteArray::number(mPort + more));
    }

    /// How many files and sockets the program holds open.
    int Descriptors() const
    {
        return int(QDir(QStringLiteral("/proc/%1/fd").arg(Id()))
                       .entryList(QDir::AllEntries | QDir::System | QDir::NoDotAndDotDot)
                       .size());
    }

    void Connect(QTcpSocket *device) const
    {
        device->connectToHost(QHostAddress(QHostAddress::LocalHost), mPort);
    }

    /// Sends a request and waits until the connection is closed.
    HubReply Ask(const QByteArray &request) const
    {
        QTcpSocket device;
        Connect(&device);
        device.write(request);
        if (!device.waitForConnected(TIMEOUT_MS))
            return HubReply();
        if (device.state() != QAbstractSocket::UnconnectedState)
            device.waitForDisconnected(TIMEOUT_MS);
        return {device.readAll()};
    }

private:
    bool Run(const QStringList &command)
    {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("offscreen"));
        for (const char *variable : {"HOME", "TMPDIR", "XDG_CONFIG_HOME", "XDG_RUNTIME_DIR"})
            environment.insert(QLatin1String(variable), mHome.path());
        for (const char *variable : {"XDG_CACHE_HOME", "XDG_DATA_HOME", "XDG_STATE_HOME"})
            environment.remove(QLatin1String(variable));
        mProcess.setProcessEnvironment(environment);
        mProcess.setWorkingDirectory(mHome.path());
        mProcess.setStandardErrorFile(QProcess::nullDevice());
        mProcess.start(command.first(), command.mid(1));
        return mProcess.waitForStarted(TIMEOUT_MS);
    }

    bool Accepts() const
    {
        QTcpSocket device;
        Connect(&device);
        const bool accepted = device.waitForConnected(TIMEOUT_MS);
        device.abort();
        return accepted;
    }

    const QTemporaryDir mHome;
    quint16 mPort = 0;
    QProcess mProcess;
};

/// The directories of disks and programs, and their section of the settings.
struct Media {
    QTemporaryDir disks;
    QTemporaryDir programs;

    QByteArray Section() const
    {
        return "[media]\ndisk_path=" + disks.path().toUtf8() +
               "\nprogram_path=" + programs.path().toUtf8() + '\n';
    }

    QString Disk(const char *name) const { return disks.filePath(QLatin1String(name)); }
    QString Program(const char *name) const { return programs.filePath(QLatin1String(name)); }
};

/// Bytes in which no two blocks are alike.
inline QByteArray Image(int size, unsigned int seed)
{
    QByteArray image(size, '\0');
    for (char &byte : image) {
        seed = seed * 1103515245 + 12345;
        byte = char(seed >> 16);
    }
    return image;
}

inline QByteArray SearchRequest(const QByteArray &pattern)
{
    return FormRequest({{"cmd", "1"}, {"pat", pattern}});
}

inline QByteArray DownloadRequest(const char *req, const QByteArray &pattern)
{
    return FormRequest({{"cmd", "2"}, {"req", req}, {"pat", pattern}});
}

inline WireObject Disk(const char *name, const QByteArray &data, int diskType, bool replace)
{
    WireObject disk;
    disk.type = WireObject::DISK;
    disk.name = PetsciiName(name);
    disk.data = data;
    disk.diskType = diskType;
    disk.replace = replace;
    return disk;
}

inline WireObject ProgramObject(const char *name, const QByteArray &data)
{
    WireObject program;
    program.name = PetsciiName(name);
    program.data = data;
    return program;
}

inline QByteArray UploadRequest(const WireObject &object)
{
    WirePackage package;
    package.objects.append(object);
    return MultipartRequest({{"cmd", "3"}}, package.Bytes());
}

/// A line of a directory listing: link, line number 0, the quoted name in 22 bytes, the type.
inline QByteArray ListingEntry(const char *name, const char *type)
{
    return QByteArray::fromHex("01010000") +
           ("  \"" + QByteArray(name) + '"').leftJustified(22, ' ') + type + '\0';
}

/// A whole listing: load address, the title in reverse video, the entries, the null link.
inline QByteArray Listing(const char *title, const QByteArray &entries)
{
    return QByteArray::fromHex("0104 01010000 12") + QByteArray(title).leftJustified(24, ' ') +
           '\0' + entries + QByteArray(2, '\0');
}

inline QByteArray HeadFor(qsizetype bodySize)
{
    return "HTTP/1.1 200 Ok\r\nContent-Type: application/octet-stream\r\n"
           "Content-Transfer-Encoding: binary\r\nContent-Length: " +
           QByteArray::number(bodySize) + "\r\n\r\n";
}

/// Breaks a connection so that the peer is told so, unlike an ordinary close.
inline void Reset(QTcpSocket *device)
{
    const linger now = {1, 0};
    setsockopt(int(device->socketDescriptor()), SOL_SOCKET, SO_LINGER, &now, sizeof(now));
    device->abort();
}
