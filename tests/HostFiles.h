// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#pragma once

// Host files and directories as tests make them and look at them.

#include <QByteArray>
#include <QCryptographicHash>
#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#include <QString>
#include <QStringList>
#include <QTest>

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#if defined(__has_feature)
#if __has_feature(address_sanitizer)
#define DISK_HUB_TEST_UNDER_ASAN
#endif
#elif defined(__SANITIZE_ADDRESS__)
#define DISK_HUB_TEST_UNDER_ASAN
#endif

/// Writes a file, and the directories that lead to it.
inline bool WriteFile(const QString &path, const QByteArray &data)
{
    QFile file(path);
    return QDir().mkpath(QFileInfo(path).path()) && file.open(QIODevice::WriteOnly) &&
           file.write(data) == data.size() && file.flush();
}

/// Makes a file of `size` bytes that takes no space, and the directories that lead to it.
inline bool WriteSparseFile(const QString &path, qint64 size)
{
    QFile file(path);
    return QDir().mkpath(QFileInfo(path).path()) && file.open(QIODevice::WriteOnly) &&
           file.resize(size);
}

/// The bytes of a regular file; null if it cannot be read.
inline QByteArray ReadFile(const QString &path)
{
    QFile file(path);
    if (!QFileInfo(path).isFile() || !file.open(QIODevice::ReadOnly))
        return QByteArray();
    const QByteArray data = file.readAll();
    return data.isNull() ? QByteArray("") : data;
}

inline bool MakeFifo(const QString &path)
{
    return mkfifo(QFile::encodeName(path).constData(), 0666) == 0;
}

/// Makes a symbolic link that holds `target` as it is, whether that exists or not.
inline bool MakeLink(const QString &target, const QString &path)
{
    return symlink(QFile::encodeName(target).constData(), QFile::encodeName(path).constData()) == 0;
}

/// All that lies below `directory`, one sorted line each: path, kind and contents.
inline QStringList Snapshot(const QString &directory)
{
    constexpr qint64 HASHED_SIZE_MAX = 16 << 20;

    QStringList lines;
    QDirIterator it(directory,
                    QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot,
                    QDirIterator::Subdirectories);
    while (it.hasNext()) {
        it.next();
        const QFileInfo info = it.fileInfo();
        QString line = QDir(directory).relativeFilePath(info.filePath());
        if (info.isSymLink()) {
            line += QStringLiteral(" -> ") + QFile::symLinkTarget(info.filePath());
        } else if (info.isDir()) {
            line += QLatin1Char('/');
        } else if (!info.isFile()) {
            line += QStringLiteral(" special");
        } else {
            line += QStringLiteral(" %1").arg(info.size());
            if (info.size() <= HASHED_SIZE_MAX)
                line += QLatin1Char(' ') +
                        QString::fromLatin1(QCryptographicHash::hash(ReadFile(info.filePath()),
                                                                     QCryptographicHash::Sha1)
                                                .toHex());
        }
        lines.append(line);
    }
    lines.sort();
    return lines;
}

/// Paths of what Qt's directory iterator delivers below `directory` if asked for no more than its
/// subdirectories, in its order.
inline QStringList IteratorOrder(const QString &directory)
{
    QStringList paths;
    QDirIterator it(directory, QDirIterator::Subdirectories);
    while (it.hasNext())
        paths.append(QFileInfo(it.next()).absoluteFilePath());
    return paths;
}

/// While it lives the working directory is another.
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

/// While it lives, file permissions hold for this process even if it runs as root: then it becomes
/// an ordinary user, who needs access to the directories above what the test looks at.
class OrdinaryUser
{
public:
    OrdinaryUser()
    {
        if (mIsRoot && setresuid(NOBODY, NOBODY, 0) != 0)
            qFatal("cannot become an ordinary user");
    }
    ~OrdinaryUser()
    {
        if (mIsRoot && setresuid(0, 0, 0) != 0)
            qFatal("cannot become root again");
    }
    OrdinaryUser(const OrdinaryUser &) = delete;
    OrdinaryUser &operator=(const OrdinaryUser &) = delete;

private:
    static constexpr uid_t NOBODY = 65534;
    const bool mIsRoot = getuid() == 0;
};

/// While it lives this process cannot take much memory: who reads an endless device then ends
/// instead of taking the host with it. Without effect under AddressSanitizer, which reserves more.
class MemoryLimit
{
public:
    MemoryLimit()
    {
        getrlimit(RLIMIT_AS, &mBefore);
        rlimit limit = mBefore;
#if !defined(DISK_HUB_TEST_UNDER_ASAN)
        limit.rlim_cur = qMin(limit.rlim_max, rlim_t(BYTES));
#endif
        setrlimit(RLIMIT_AS, &limit);
    }
    ~MemoryLimit()
    {
        setrlimit(RLIMIT_AS, &mBefore);
    }
    MemoryLimit(const MemoryLimit &) = delete;
    MemoryLimit &operator=(const MemoryLimit &) = delete;

private:
    static constexpr quint64 BYTES = quint64(4) << 30;
    rlimit mBefore;
};

/// Rows of a `name` in PETSCII that would lead out of a directory or into another one.
inline void AddNamesThatLeadElsewhere()
{
    QTest::addColumn<QByteArray>("name");

    QTest::newRow("slash") << QByteArray("/");
    QTest::newRow("parent") << QByteArray("../X");
    QTest::newRow("parent's-parent") << QByteArray("../../X");
    QTest::newRow("parent-through-subdirectory") << QByteArray("SUB/../../X");
    QTest::newRow("subdirectory") << QByteArray("SUB/X");
    QTest::newRow("subdirectory-and-back") << QByteArray("SUB/../X");
    QTest::newRow("here") << QByteArray("./X");
    QTest::newRow("absolute") << QByteArray("/TMP/X");
    QTest::newRow("slash-at-the-end") << QByteArray("X/");
    QTest::newRow("parent-with-slash-at-the-end") << QByteArray("../");
    QTest::newRow("sixteen-slashes") << QByteArray(16, '/');
    QTest::newRow("nul") << QByteArray("\0", 1);
    QTest::newRow("nul-inside") << QByteArray("A\0B", 3);
    QTest::newRow("nul-behind") << QByteArray("A\0", 2);
    QTest::newRow("sixteen-nuls") << QByteArray(16, '\0');
}
