// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#include "AppMediaMgr.h"

#include "AppImageKinds.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QSaveFile>

namespace
{

// What was uploaded as a disk and has no disk's size.
const QLatin1String UNKNOWN_DISK_EXTENSION(".dxx");

QLatin1String DiskExtension(int type)
{
    const QLatin1String extension = AppImageKinds::Extension(type);
    return extension.isEmpty() ? UNKNOWN_DISK_EXTENSION : extension;
}

/// Calls `visit(name, info)` for each entry of the directory and below whose name fits.
template <typename VISIT>
void ForEachMatch(const QString &directory, const AppDosName &pattern, VISIT visit)
{
    // An empty path would be the program's working directory.
    if (directory.isEmpty() || !QDir(directory).exists())
        return;

    QDirIterator entries(directory, QDirIterator::Subdirectories);
    while (entries.hasNext()) {
        entries.next();
        const QFileInfo info = entries.fileInfo();
        AppDosName name;
        name.FromString(info.baseName(), true);
        if (name.MatchesPattern(pattern))
            visit(name, info);
    }
}

/// Writes a file that is not there yet. Returns whether it could be opened; whether all of `data`
/// could be written does not count, but half a file is not left to be served.
bool Create(const QString &path, const QByteArray &data)
{
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Unbuffered))
        return false;
    if (file.write(data) != data.size())
        file.remove();
    return true;
}

/// Writes over a file, which stays whole until the new one is: neither a full disk nor a crash in
/// the middle loses it. Returns the same as Create().
bool Replace(const QString &path, const QByteArray &data)
{
    QSaveFile file(path);
    file.setDirectWriteFallback(true);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Unbuffered))
        return false;
    // A write that stops half-way, on a full disk, is no error to QSaveFile: it would commit that.
    if (file.write(data) != data.size())
        file.cancelWriting();
    file.commit(); // The result is deliberately not looked at.
    return true;
}

/// Writes `data` to the file `fileName` of the directory itself and returns its absolute path, or
/// an empty string.
QString Write(const QString &directory, const QString &fileName, const QByteArray &data)
{
    if (directory.isEmpty())
        return QString();
    // The "./" is for names with ":" in front, which Qt takes for paths of compiled resources.
    const QFileInfo info(QDir(directory), QLatin1String("./") + fileName);
    // A "/" or the like in a name that came from the network would lead out of the directory.
    if (info.fileName() != fileName || fileName.contains(QChar::Null))
        return QString();
    // Opening a FIFO or a device could block for ever.
    if (info.exists() && !info.isFile())
        return QString();

    const QString path = info.absoluteFilePath();
    const bool opened = info.exists() ? Replace(path, data) : Create(path, data);
    return opened ? path : QString();
}

} // namespace

const AppMediaMgr &AppMediaMgr::Instance()
{
    static const AppMediaMgr INSTANCE;
    return INSTANCE;
}

int AppMediaMgr::IdentifyDiskBySize(int size) const
{
    return AppImageKinds::TypeOfSize(size);
}

QList<AppMediaMgr::DISK> AppMediaMgr::SearchDisks(const QString &directory,
                                                  const AppDosName &pattern) const
{
    QList<DISK> disks;
    ForEachMatch(directory, pattern, [&](const AppDosName &name, const QFileInfo &info) {
        const int type = AppImageKinds::TypeOfSize(info.size());
        if (type != AppImageKinds::NO_DISKTYPE)
            disks.append({name, static_cast<AppPackage::DISKTYPE>(type), info});
    });
    return disks;
}

QList<AppMediaMgr::PROGRAM> AppMediaMgr::SearchPrograms(const QString &directory,
                                                        const AppDosName &pattern) const
{
    QList<PROGRAM> programs;
    ForEachMatch(directory, pattern, [&](const AppDosName &name, const QFileInfo &info) {
        if (info.suffix().compare(QLatin1String("prg"), Qt::CaseInsensitive) == 0)
            programs.append({name, info});
    });
    return programs;
}

bool AppMediaMgr::Read(const QFileInfo &info, QByteArray *data) const
{
    // Opening a FIFO or a device could block for ever. `info` tells what was there when it was
    // found, which can be a while ago.
    const QString path = info.absoluteFilePath();
    if (!QFileInfo(path).isFile())
        return false;
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return false;
    if (data != nullptr)
        *data = file.readAll();
    return true;
}

QString AppMediaMgr::AddUpdateDisk(const QString &directory, const AppDosName &name,
                                   const QByteArray &data) const
{
    QString fileName;
    name.ToString(&fileName, true);
    fileName.append(DiskExtension(AppImageKinds::TypeOfSize(data.size())));
    return Write(directory, fileName, data);
}

QString AppMediaMgr::AddUpdateProgram(const QString &directory, const AppDosName &name,
                                      const QByteArray &data) const
{
    QString fileName;
    name.ToString(&fileName, true);
    fileName.append(QLatin1String(".prg"));
    return Write(directory, fileName, data);
}
