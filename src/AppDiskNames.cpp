// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#include "AppDiskNames.h"

#include "AppImageKinds.h"
#include "AppMediaWalk.h"

#include <algorithm>

namespace
{

bool IsDisk(const QFileInfo &info)
{
    return AppImageKinds::TypeOfSize(info.size()) != AppImageKinds::NO_DISKTYPE;
}

} // namespace

AppDiskNames::AppDiskNames(const QString &directory) : mDirectory(directory) {}

bool AppDiskNames::Contains(const AppDosName &pattern)
{
    if (ContainsKnown(pattern))
        return true;
    if (mIsComplete)
        return false;
    // Most requests ask once: then only files of that name are looked at, and no further than to
    // the first. Who asks again will go on asking.
    if (!mHasWalked)
        return WalkToMatch(pattern);
    WalkToEnd();
    return ContainsKnown(pattern);
}

AppDiskNames::BEFORE AppDiskNames::Look(const QFileInfo &file)
{
    return {file.exists() || file.isSymLink(), IsDisk(file)};
}

void AppDiskNames::NoteWrite(const QString &path, const BEFORE &before)
{
    const QFileInfo after(path);
    const bool isDisk = IsDisk(after);
    // What was there can have further names, through links.
    if (isDisk != before.isDisk && before.isThere)
        Forget();
    else if (isDisk && !after.isHidden())
        mNames.append(AppMediaWalk::NameOf(path));
}

bool AppDiskNames::ContainsKnown(const AppDosName &pattern) const
{
    return std::any_of(mNames.begin(), mNames.end(),
                       [&](const AppDosName &name) { return name.MatchesPattern(pattern); });
}

bool AppDiskNames::WalkToMatch(const AppDosName &pattern)
{
    mHasWalked = true;
    bool allFit = true;
    for (AppMediaWalk walk(mDirectory); walk.Next();) {
        if (!walk.Name().MatchesPattern(pattern)) {
            allFit = false;
        } else if (IsDisk(walk.Info())) {
            mNames.append(walk.Name());
            return true;
        }
    }
    mIsComplete = allFit;
    return false;
}

void AppDiskNames::WalkToEnd()
{
    mNames.clear();
    for (AppMediaWalk walk(mDirectory); walk.Next();) {
        if (IsDisk(walk.Info()))
            mNames.append(walk.Name());
    }
    mIsComplete = true;
}

void AppDiskNames::Forget()
{
    mNames.clear();
    mHasWalked = false;
    mIsComplete = false;
}
