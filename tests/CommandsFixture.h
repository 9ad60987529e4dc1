// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#pragma once

#include "HostFiles.h"
#include "HubFixture.h"

#include <QObject>
#include <QTemporaryDir>

#include <memory>

constexpr int D64_SIZE = 174848;

// Byte 6 of the reply's body, for the three failures of an upload.
constexpr int WRITE_ERROR = -1;
constexpr int DISK_EXISTS = -87;
constexpr int PROGRAM_EXISTS = -88;

/// An object of that name in PETSCII, without its padding. The disk says that it is a D64.
WireObject Program(const QByteArray &name, const QByteArray &data, bool replace = false);
WireObject Disk(const QByteArray &name, const QByteArray &data, bool replace = false);

QByteArray SearchListing(const QByteArray &entries = QByteArray());
QByteArray ManifestListing(const QByteArray &entries = QByteArray());

/// The names in a listing, in order, each with its type behind a dot.
QList<QByteArray> Entries(const QByteArray &listing);

/// The only program in the reply, or null.
QByteArray OnlyProgram(const HubReply &reply);

/// The reply's disks, in order.
QList<WireObject> Disks(const HubReply &reply);

/// What a console shows of the lines: a control character may break or hide.
QStringList AsShown(const QStringList &lines);

/// The text of a DOS name on the host.
QString HostText(const QByteArray &name);

/// Rows of a `directory` in which nothing is found, relative to that of MakeFullDirectory().
void AddDirectoriesOfNothing();

/// What tests of SEARCH, DOWNLOAD and UPLOAD have in common. They see them as the device does: they
/// send requests to a running hub over loopback and take the replies apart byte by byte.
///
/// Each row starts with new directories "disks" and "programs", without restrictions, users and
/// lines in the console.
class CommandsFixture : public QObject
{
    Q_OBJECT

public:
    explicit CommandsFixture(const HubFixture *hub) : mHub(*hub) {}

protected:
    QString Path(const QString &relative) const;
    QString Path(const char *relative) const { return Path(QString::fromUtf8(relative)); }

    /// Makes the directory "full" with a file that is a disk and a program. Returns its path, or
    /// null.
    QString MakeFullDirectory() const;

    static QStringList Received(const char *kind, const QString &name);
    static QString Written(const QString &path);
    static QStringList DiskRefused();
    static QStringList ProgramRefused();
    static QStringList DiskFailed();
    static QStringList ProgramFailed();
    static QString Requested(const char *command);

    /// The console's lines since the start of the row, without the one of the dispatcher.
    QStringList UploadLog() const;

    const HubFixture &mHub;
    std::unique_ptr<QTemporaryDir> mDirectory; ///< a new one for each row

private slots:
    void initTestCase();
    void init();
    void cleanup();

private:
    QString mWorkingDirectory;
};
