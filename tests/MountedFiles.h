// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#pragma once

#include "HostFiles.h"

#include <QTemporaryDir>

#include <cerrno>
#include <csignal>
#include <cstring>
#include <sys/mount.h>
#include <sys/resource.h>

/// A file system of its own, so small that it can be filled. A test skips where none can be
/// mounted, for Reason().
class SmallDisk
{
public:
    static constexpr int SIZE = 1 << 20; ///< bytes

    /// `files` is how many there may be, its own directory included; 0 for any number.
    explicit SmallDisk(int files = 0)
        : mMounted(mount("none", Path().constData(), "tmpfs", MS_NODEV,
                         "size=1m,mode=0777,nr_inodes=" + QByteArray::number(files)) == 0)
        , mErrno(errno)
    {
    }
    ~SmallDisk()
    {
        if (mMounted)
            umount2(Path().constData(), MNT_DETACH);
    }
    SmallDisk(const SmallDisk &) = delete;
    SmallDisk &operator=(const SmallDisk &) = delete;

    bool IsMounted() const { return mMounted; }
    QByteArray Reason() const { return "cannot mount a tmpfs: " + QByteArray(strerror(mErrno)); }
    QString FilePath(const char *name) const { return mPoint.filePath(QLatin1String(name)); }
    QString DirPath() const { return mPoint.path(); }

    /// Writes until nothing fits any more. Returns the bytes that did.
    qint64 Fill() const
    {
        QFile file(FilePath("filler"));
        if (!file.open(QIODevice::WriteOnly | QIODevice::Unbuffered))
            return -1;
        const QByteArray page(4096, 'x');
        while (file.write(page) == page.size())
            continue;
        return file.size();
    }

private:
    QByteArray Path() const { return QFile::encodeName(mPoint.path()); }

    const QTemporaryDir mPoint;
    const bool mMounted;
    const int mErrno;
};

/// While it lives, a file is mounted on itself, so that nothing can be renamed over it.
class MountedFile
{
public:
    explicit MountedFile(const QString &path)
        : mPath(QFile::encodeName(path))
        , mMounted(mount(mPath.constData(), mPath.constData(), nullptr, MS_BIND, nullptr) == 0)
        , mErrno(errno)
    {
    }
    ~MountedFile()
    {
        if (mMounted)
            umount2(mPath.constData(), MNT_DETACH);
    }
    MountedFile(const MountedFile &) = delete;
    MountedFile &operator=(const MountedFile &) = delete;

    bool IsMounted() const { return mMounted; }
    QByteArray Reason() const { return "cannot mount a file: " + QByteArray(strerror(mErrno)); }

private:
    const QByteArray mPath;
    const bool mMounted;
    const int mErrno;
};

/// While it lives, no file can be written past that many bytes; a write stops there as on a full
/// disk.
class FileSizeLimit
{
public:
    explicit FileSizeLimit(rlim_t bytes) : mHandler(signal(SIGXFSZ, SIG_IGN))
    {
        getrlimit(RLIMIT_FSIZE, &mBefore);
        rlimit limit = mBefore;
        limit.rlim_cur = bytes;
        setrlimit(RLIMIT_FSIZE, &limit);
    }
    ~FileSizeLimit()
    {
        setrlimit(RLIMIT_FSIZE, &mBefore);
        signal(SIGXFSZ, mHandler);
    }
    FileSizeLimit(const FileSizeLimit &) = delete;
    FileSizeLimit &operator=(const FileSizeLimit &) = delete;

private:
    rlimit mBefore = {};
    void (*const mHandler)(int);
};
