// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#pragma once

#include "AppDosName.h"
#include "AppPackage.h"

#include <QFileInfo>
#include <QList>

#include <functional>

class AppDiskNames;

/// The programs and disk images in the host's directories. The only code that touches them.
///
/// It keeps nothing: each call looks at the file system afresh. A directory that is an empty string
/// was never chosen and counts as one that does not exist.
class AppMediaMgr
{
public:
    struct PROGRAM {
        AppDosName name; ///< from the file's base name
        QFileInfo info;
    };

    struct DISK {
        AppDosName name; ///< from the file's base name
        AppPackage::DISKTYPE type;
        QFileInfo info;
    };

    static const AppMediaMgr &Instance();

    /// The AppPackage::DISKTYPE of an image of exactly `size` bytes, or -1.
    int IdentifyDiskBySize(int size) const;

    /// The disk images in `directory` and below whose name fits `pattern`, in the order of the
    /// directory iterator. The size alone makes a file a disk image. Links to directories are not
    /// followed, hidden entries not seen. Empty if the directory does not exist.
    QList<DISK> SearchDisks(const QString &directory, const AppDosName &pattern) const;

    /// The same for programs: entries, subdirectories too, whose suffix is "prg" in any case.
    QList<PROGRAM> SearchPrograms(const QString &directory, const AppDosName &pattern) const;

    /// Calls `visit` for each disk that SearchDisks() would find, without gathering them.
    void VisitDisks(const QString &directory, const AppDosName &pattern,
                    const std::function<void(const DISK &)> &visit) const;

    /// The same for SearchPrograms().
    void VisitPrograms(const QString &directory, const AppDosName &pattern,
                       const std::function<void(const PROGRAM &)> &visit) const;

    /// Bytes of the largest file that a reply can carry: it is a buffer of less than 2 GiB, and the
    /// last MiB is for what stands around the file.
    static constexpr qint64 READ_SIZE_MAX = (Q_INT64_C(1) << 31) - (1 << 20);

    /// Whether what a search found can be opened. If so and `data` is not null, reads it all.
    /// Anything but a regular file cannot, nor one of more than READ_SIZE_MAX bytes.
    bool Read(const QFileInfo &info, QByteArray *data) const;

    /// Writes an image into `directory` itself, over a file of that name if there is one: the name
    /// in ASCII and the extension of its size (".dxx" for one that is no disk's).
    ///
    /// Returns the file's absolute path, or an empty string if it does not hold all of `data`
    /// afterwards (see AppFileWriter) or the name would lead out of the directory. Tells `names`,
    /// the directory's, of what it writes.
    QString AddUpdateDisk(const QString &directory, const AppDosName &name, const QByteArray &data,
                          AppDiskNames *names = nullptr) const;

    /// The same for a program; the extension is ".prg".
    QString AddUpdateProgram(const QString &directory, const AppDosName &name,
                             const QByteArray &data, AppDiskNames *names = nullptr) const;

private:
    AppMediaMgr() = default;
};
