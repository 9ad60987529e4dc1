// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#pragma once

// Host files and directories as tests make them and look at them. What tests call beside these, of
// Qt and of the system, is included as well.

#include <QByteArray>
#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#include <QString>
#include <QStringList>
#include <QTest>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

/// In a test function: leaves it where the system has not what it is about.
#ifdef Q_OS_WIN
#define SKIP_ON_WINDOWS(reason) QSKIP(reason)
#else
#define SKIP_ON_WINDOWS(reason) static_cast<void>(0)
#endif

/// Whether the system can give a file this name: Windows cannot give all.
bool IsFileName(const QString &name);

/// Why a test leaves out what IsFileName() denies.
#define NO_FILE_NAME "no name of a file on this system"

/// Writes a file, and the directories that lead to it.
bool WriteFile(const QString &path, const QByteArray &data);

/// Makes a file of `size` bytes that takes no space, and the directories that lead to it.
bool WriteSparseFile(const QString &path, qint64 size);

/// The bytes of a regular file; null if it cannot be read.
QByteArray ReadFile(const QString &path);

/// Makes a directory whose path is these bytes, in whatever encoding.
bool MakeDirectory(const QByteArray &path);

bool MakeFifo(const QString &path);

/// Opens a fifo with the `flags` of open(), without waiting for its other end. Returns the
/// descriptor, or -1.
int OpenFifo(const QString &path, int flags);

/// Makes a symbolic link that holds `target` as it is, whether that exists or not.
bool MakeLink(const QString &target, const QString &path);

/// Makes another name of a file.
bool MakeHardLink(const QString &file, const QString &path);

/// Whether the user of this process owns a file.
bool IsOwnFile(const QString &path);

/// All that lies below `directory`, one sorted line each: path, kind and contents.
QStringList Snapshot(const QString &directory);

/// Paths of what Qt's directory iterator delivers below `directory` if asked for no more than its
/// subdirectories, in its order.
QStringList IteratorOrder(const QString &directory);

/// While it lives, `path` is the working directory.
class WorkingDirectory
{
public:
    explicit WorkingDirectory(const QString &path) { QDir::setCurrent(path); }
    ~WorkingDirectory() { QDir::setCurrent(mBefore); }
    WorkingDirectory(const WorkingDirectory &) = delete;
    WorkingDirectory &operator=(const WorkingDirectory &) = delete;

private:
    const QString mBefore = QDir::currentPath();
};

/// While it lives, file permissions count for this process even if it runs as root: then it becomes
/// an ordinary user, who needs access to the directories above what the test looks at.
class OrdinaryUser
{
public:
    OrdinaryUser();
    ~OrdinaryUser();
    OrdinaryUser(const OrdinaryUser &) = delete;
    OrdinaryUser &operator=(const OrdinaryUser &) = delete;

private:
    const bool mWasRoot;
};

/// Whether the tests and the programs are built with AddressSanitizer, which takes memory of its
/// own and gives it back late.
bool IsUnderAsan();

/// Whether an emulator runs the tests and the programs, which has memory and descriptors of its own
/// in their processes: packaging/cross/test says so by a variable.
bool IsEmulated();

/// While it lives, this process cannot take much memory: a reader of an endless device then fails
/// before the machine runs out of it. Without effect under AddressSanitizer, which reserves more.
class MemoryLimit
{
public:
    MemoryLimit();
    ~MemoryLimit();
    MemoryLimit(const MemoryLimit &) = delete;
    MemoryLimit &operator=(const MemoryLimit &) = delete;

private:
    const quint64 mBefore; ///< bytes
};

/// Rows of a `name` in PETSCII that would lead out of a directory or into another one.
void AddNamesThatLeadElsewhere();
