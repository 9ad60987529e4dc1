// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#include "CheckServed.h"

#include "CheckMatches.h"

#include "AppImageKinds.h"
#include "AppMediaMgr.h"

#include <QDir>
#include <QFile>

namespace
{

/// The pattern that fits every name.
AppDosName Everything()
{
    AppDosName pattern;
    pattern.FromString("*", true);
    return pattern;
}

/// Whether a DOWNLOAD can read what a search found.
bool IsReadable(const QFileInfo &info)
{
    if (info.size() > AppMediaMgr::READ_SIZE_MAX)
        return false;
    // Opening each file of a large directory takes longer than the search did.
    const QFile::Permissions anybody = QFile::ReadOwner | QFile::ReadGroup | QFile::ReadOther;
    if (info.isFile() && info.permission(anybody))
        return true;
    return AppMediaMgr::Instance().Read(info, nullptr);
}

} // namespace

CheckServed::CheckServed(ROLE role, const QString &directory) : mRole(role)
{
    // An empty path would become the working directory.
    if (directory.isEmpty())
        return;
    mDirectory = QDir(directory).absolutePath();
    mCanonical = QFileInfo(mDirectory).canonicalFilePath();
}

CheckServed CheckServed::Find(ROLE role, const QString &directory)
{
    CheckServed served(role, directory);
    served.Search();
    CheckMatches::Find(&served.mEntries);
    for (int i = 0; i < served.mEntries.size(); ++i)
        served.mEntries[i].sent = served.IsSent(i);
    return served;
}

void CheckServed::Search()
{
    const AppMediaMgr &media = AppMediaMgr::Instance();
    if (mRole == ROLE_DISKS) {
        const QList<AppMediaMgr::DISK> disks = media.SearchDisks(mDirectory, Everything());
        Reserve(disks.size());
        for (const AppMediaMgr::DISK &disk : disks)
            Append(disk.name, AppImageKinds::OfType(disk.type)->name, disk.info);
    } else {
        const QList<AppMediaMgr::PROGRAM> programs = media.SearchPrograms(mDirectory, Everything());
        Reserve(programs.size());
        for (const AppMediaMgr::PROGRAM &program : programs)
            Append(program.name, "PRG", program.info);
    }
}

void CheckServed::Reserve(qsizetype size)
{
    mEntries.reserve(size);
    mFiles.reserve(size);
}

void CheckServed::Append(const AppDosName &name, const char *type, const QFileInfo &info)
{
    const bool isRoot = mDirectory.endsWith(QLatin1Char('/'));
    CheckEntry entry;
    entry.name = name;
    entry.type = QLatin1String(type);
    entry.file = info.filePath().mid(mDirectory.size() + (isRoot ? 0 : 1));
    entry.info = info;
    entry.readable = IsReadable(info);
    mFiles.insert(entry.file);
    mEntries.append(entry);
}

/// Whether a DOWNLOAD sends the entry if what is to be typed for it is typed.
bool CheckServed::IsSent(int index) const
{
    const CheckEntry &entry = mEntries.at(index);
    // Nothing can be typed for an empty name.
    if (!entry.readable || entry.name.Length() == 0)
        return false;
    if (mRole == ROLE_DISKS)
        return index <= entry.match.lastDisk;
    return index == entry.match.lastReadable && !IsEmpty(entry);
}

CheckServed::ROLE CheckServed::Role() const
{
    return mRole;
}

QString CheckServed::Directory() const
{
    return mDirectory;
}

QString CheckServed::CanonicalDirectory() const
{
    return mCanonical;
}

const QVector<CheckEntry> &CheckServed::Entries() const
{
    return mEntries;
}

bool CheckServed::Lists(const QString &file) const
{
    return mFiles.contains(file);
}

bool CheckServed::Serves(const QString &path) const
{
    const QString prefix = mCanonical + QLatin1Char('/');
    return !mCanonical.isEmpty() && path.startsWith(prefix) && Lists(path.mid(prefix.size()));
}

bool CheckServed::IsEmpty(const CheckEntry &entry) const
{
    return mRole == ROLE_PROGRAMS && entry.info.size() == 0;
}
