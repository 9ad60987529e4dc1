// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#include "AppMediaWalk.h"

#include <QDir>
#include <QDirIterator>
#include <QStringView>

#include <algorithm>

namespace
{

const QLatin1String PROGRAM_SUFFIX(".prg");

/// What follows the last "/". Searched by hand: it is done for every entry.
QStringView FileName(const QString &path)
{
    const QChar *start = path.constEnd();
    while (start != path.constBegin() && start[-1] != QLatin1Char('/'))
        --start;
    return QStringView(start, path.constEnd());
}

} // namespace

AppMediaWalk::AppMediaWalk(const QString &directory)
{
    // An empty path would be the program's working directory.
    if (!directory.isEmpty() && QDir(directory).exists())
        mEntries = std::make_unique<QDirIterator>(directory, QDirIterator::Subdirectories);
}

AppMediaWalk::~AppMediaWalk() = default;

AppDosName AppMediaWalk::NameOf(const QString &path)
{
    // As the toolkit's base name, without a string or a file's record for each entry.
    const QStringView fileName = FileName(path);
    const QChar *const end = std::find(fileName.begin(), fileName.end(), QLatin1Char('.'));
    AppDosName name;
    name.FromString(QStringView(fileName.begin(), end), true);
    return name;
}

bool AppMediaWalk::Next()
{
    if (mEntries == nullptr || !mEntries->hasNext())
        return false;
    mPath = mEntries->next();
    mName = NameOf(mPath);
    return true;
}

const AppDosName &AppMediaWalk::Name() const
{
    return mName;
}

bool AppMediaWalk::HasProgramSuffix() const
{
    return FileName(mPath).endsWith(PROGRAM_SUFFIX, Qt::CaseInsensitive);
}

QFileInfo AppMediaWalk::Info() const
{
    return mEntries->fileInfo();
}
