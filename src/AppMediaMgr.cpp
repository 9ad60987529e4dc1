// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#include "AppMediaMgr.h"

#include "AppDiskNames.h"
#include "AppFileWriter.h"
#include "AppImageKinds.h"
#include "AppMediaWalk.h"
#include "AppWindowsName.h"

#include <QDir>
#include <QFile>

namespace
{

// What was uploaded as a disk and has no disk's size.
const QLatin1String UNKNOWN_DISK_EXTENSION(".dxx");

QLatin1String DiskExtension(int type)
{
    const QLatin1String extension = AppImageKinds::Extension(type);
    return extension.isEmpty() ? UNKNOWN_DISK_EXTENSION : extension;
}

/// Writes `data` to the file `fileName` of the directory itself and returns its absolute path, or
/// an empty string. Tells `names` of it unless that is null.
QString Write(const QString &directory, const QString &fileName, const QByteArray &data,
              AppDiskNames *names)
{
    if (directory.isEmpty())
        return QString();
    // The "./" is for names with ":" in front, which Qt takes for paths of compiled resources.
    const QFileInfo info(QDir(directory), QLatin1String("./") + fileName);
    // A "/" or the like in a name that came from the network would lead out of the directory.
    if (info.fileName() != fileName || fileName.contains(QChar::Null))
        return QString();
#ifdef Q_OS_WIN
    if (AppWindowsName::IsNoFile(fileName))
        return QString();
#endif
    // Opening a FIFO or a device could block for ever.
    if (info.exists() && !info.isFile())
        return QString();

    const QString path = info.absoluteFilePath();
    const AppDiskNames::BEFORE before = AppDiskNames::Look(info);
    const bool written = AppFileWriter::Write(path, data);
    if (names != nullptr)
        names->NoteWrite(path, before);
    return written ? path : QString();
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
    VisitDisks(directory, pattern, [&disks](const DISK &disk) { disks.append(disk); });
    return disks;
}

QList<AppMediaMgr::PROGRAM> AppMediaMgr::SearchPrograms(const QString &directory,
                                                        const AppDosName &pattern) const
{
    QList<PROGRAM> programs;
    VisitPrograms(directory, pattern,
                  [&programs](const PROGRAM &program) { programs.append(program); });
    return programs;
}

void AppMediaMgr::VisitDisks(const QString &directory, const AppDosName &pattern,
                             const std::function<void(const DISK &)> &visit) const
{
    for (AppMediaWalk walk(directory); walk.Next();) {
        if (!walk.Name().MatchesPattern(pattern))
            continue;
        const QFileInfo info = walk.Info();
        const int type = AppImageKinds::TypeOfSize(info.size());
        if (type != AppImageKinds::NO_DISKTYPE)
            visit({walk.Name(), static_cast<AppPackage::DISKTYPE>(type), info});
    }
}

void AppMediaMgr::VisitPrograms(const QString &directory, const AppDosName &pattern,
                                const std::function<void(const PROGRAM &)> &visit) const
{
    for (AppMediaWalk walk(directory); walk.Next();) {
        if (walk.Name().MatchesPattern(pattern) && walk.HasProgramSuffix())
            visit({walk.Name(), walk.Info()});
    }
}

bool AppMediaMgr::Read(const QFileInfo &info, QByteArray *data) const
{
    // Opening a FIFO or a device could block for ever. `info` tells what was there when it was
    // found, which can be a while ago.
    const QString path = info.absoluteFilePath();
    if (!QFileInfo(path).isFile())
        return false;
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly) || file.size() > READ_SIZE_MAX)
        return false;
    if (data != nullptr)
        *data = file.readAll();
    return true;
}

QString AppMediaMgr::AddUpdateDisk(const QString &directory, const AppDosName &name,
                                   const QByteArray &data, AppDiskNames *names) const
{
    QString fileName;
    name.ToString(&fileName, true);
    fileName.append(DiskExtension(AppImageKinds::TypeOfSize(data.size())));
    return Write(directory, fileName, data, names);
}

QString AppMediaMgr::AddUpdateProgram(const QString &directory, const AppDosName &name,
                                      const QByteArray &data, AppDiskNames *names) const
{
    QString fileName;
    name.ToString(&fileName, true);
    fileName.append(QLatin1String(".prg"));
    return Write(directory, fileName, data, names);
}
