// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#include "HostFiles.h"

#include <QCryptographicHash>

#include <algorithm>

#ifdef Q_OS_UNIX
#include <sys/resource.h>
#endif

namespace
{

constexpr qint64 HASHED_SIZE_MAX = 16 << 20;

QString Hash(const QString &path)
{
    return QString::fromLatin1(
        QCryptographicHash::hash(ReadFile(path), QCryptographicHash::Sha1).toHex());
}

/// The part of a snapshot's line that follows the path.
QString KindAndContents(const QFileInfo &info)
{
    if (info.isSymLink())
        return QStringLiteral(" -> ") + QFile::symLinkTarget(info.filePath());
    if (info.isDir())
        return QStringLiteral("/");
    if (!info.isFile())
        return QStringLiteral(" special");
    const QString size = QStringLiteral(" %1").arg(info.size());
    return info.size() > HASHED_SIZE_MAX ? size : size + QLatin1Char(' ') + Hash(info.filePath());
}

} // namespace

bool WriteFile(const QString &path, const QByteArray &data)
{
    QFile file(path);
    return QDir().mkpath(QFileInfo(path).path()) && file.open(QIODevice::WriteOnly) &&
           file.write(data) == data.size() && file.flush();
}

bool WriteSparseFile(const QString &path, qint64 size)
{
    QFile file(path);
    return QDir().mkpath(QFileInfo(path).path()) && file.open(QIODevice::WriteOnly) &&
           file.resize(size);
}

QByteArray ReadFile(const QString &path)
{
    QFile file(path);
    if (!QFileInfo(path).isFile() || !file.open(QIODevice::ReadOnly))
        return QByteArray();
    const QByteArray data = file.readAll();
    return data.isNull() ? QByteArray("") : data;
}

QStringList Snapshot(const QString &directory)
{
    QStringList lines;
    QDirIterator it(directory,
                    QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot,
                    QDirIterator::Subdirectories);
    while (it.hasNext()) {
        it.next();
        lines.append(QDir(directory).relativeFilePath(it.filePath()) +
                     KindAndContents(it.fileInfo()));
    }
    lines.sort();
    return lines;
}

QStringList IteratorOrder(const QString &directory)
{
    QStringList paths;
    QDirIterator it(directory, QDirIterator::Subdirectories);
    while (it.hasNext())
        paths.append(QFileInfo(it.next()).absoluteFilePath());
    return paths;
}

void AddNamesThatLeadElsewhere()
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

#if defined(__has_feature)
#if __has_feature(address_sanitizer)
#define DISK_HUB_TEST_UNDER_ASAN
#endif
#elif defined(__SANITIZE_ADDRESS__)
#define DISK_HUB_TEST_UNDER_ASAN
#endif
#if defined(DISK_HUB_TEST_UNDER_ASAN)
constexpr bool UNDER_ASAN = true;
#else
constexpr bool UNDER_ASAN = false;
#endif

bool IsFileName(const QString &name)
{
    if (name.isEmpty() || name.contains(QLatin1Char('/')) || name.contains(QChar(0)))
        return false;
#ifdef Q_OS_WIN
    return std::none_of(name.begin(), name.end(), [](QChar c) {
        return c < QLatin1Char(' ') || QStringLiteral("<>:\"\\|?*").contains(c);
    });
#else
    return true;
#endif
}

bool IsUnderAsan()
{
    return UNDER_ASAN;
}

bool IsEmulated()
{
    return qEnvironmentVariableIsSet("DISK_HUB_TESTS_EMULATED");
}

#ifdef Q_OS_UNIX

namespace
{

constexpr uid_t NOBODY = 65534;

constexpr rlim_t MEMORY_LIMIT = UNDER_ASAN ? RLIM_INFINITY : rlim_t(4) << 30;

/// Sets how much memory this process may take. Returns the limit before.
rlim_t SetMemoryLimit(rlim_t bytes)
{
    rlimit limit;
    getrlimit(RLIMIT_AS, &limit);
    const rlim_t before = limit.rlim_cur;
    limit.rlim_cur = qMin(limit.rlim_max, bytes);
    setrlimit(RLIMIT_AS, &limit);
    return before;
}

} // namespace

bool MakeDirectory(const QByteArray &path)
{
    return mkdir(path.constData(), 0755) == 0;
}

bool MakeFifo(const QString &path)
{
    return mkfifo(QFile::encodeName(path).constData(), 0666) == 0;
}

bool MakeLink(const QString &target, const QString &path)
{
    return symlink(QFile::encodeName(target).constData(), QFile::encodeName(path).constData()) == 0;
}

bool MakeHardLink(const QString &file, const QString &path)
{
    return link(QFile::encodeName(file).constData(), QFile::encodeName(path).constData()) == 0;
}

int OpenFifo(const QString &path, int flags)
{
    return open(QFile::encodeName(path).constData(), flags | O_NONBLOCK);
}

bool IsOwnFile(const QString &path)
{
    return QFileInfo(path).ownerId() == getuid();
}

OrdinaryUser::OrdinaryUser() : mWasRoot(getuid() == 0)
{
    if (mWasRoot && setresuid(NOBODY, NOBODY, 0) != 0)
        qFatal("cannot become an ordinary user");
}

OrdinaryUser::~OrdinaryUser()
{
    if (mWasRoot && setresuid(0, 0, 0) != 0)
        qFatal("cannot become root again");
}

MemoryLimit::MemoryLimit() : mBefore(SetMemoryLimit(MEMORY_LIMIT)) {}

MemoryLimit::~MemoryLimit()
{
    SetMemoryLimit(mBefore);
}

#else

// What Windows has not. Tests that are about it are left before they come here.

bool MakeDirectory(const QByteArray &)
{
    return false;
}

bool MakeFifo(const QString &)
{
    return false;
}

bool MakeLink(const QString &, const QString &)
{
    return false;
}

bool MakeHardLink(const QString &, const QString &)
{
    return false;
}

int OpenFifo(const QString &, int)
{
    return -1;
}

bool IsOwnFile(const QString &)
{
    return true;
}

OrdinaryUser::OrdinaryUser() : mWasRoot(false) {}
OrdinaryUser::~OrdinaryUser() = default;

MemoryLimit::MemoryLimit() : mBefore(0) {}
MemoryLimit::~MemoryLimit() = default;

#endif
