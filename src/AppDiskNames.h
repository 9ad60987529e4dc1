// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#pragma once

#include "AppDosName.h"

#include <QString>
#include <QVector>

class QFileInfo;

/// The names of the disk images in a directory and all below it, for the time of one request.
///
/// One walk, two at most, answers any number of questions: what AppMediaMgr writes meanwhile is
/// taken into account if it knows of this object; what others write is not seen.
class AppDiskNames
{
public:
    explicit AppDiskNames(const QString &directory);

    /// Whether AppMediaMgr::SearchDisks() finds anything.
    bool Contains(const AppDosName &pattern);

    /// What a file was before something is written to it.
    struct BEFORE {
        bool isThere; ///< a dangling link is, too
        bool isDisk;  ///< of a size that is served
    };
    static BEFORE Look(const QFileInfo &file);

    /// Takes account of a write to `path`, be it whole or not, to what Look() had given `before`.
    void NoteWrite(const QString &path, const BEFORE &before);

private:
    bool ContainsKnown(const AppDosName &pattern) const;
    bool WalkToMatch(const AppDosName &pattern);
    void WalkToEnd();
    void Forget();

    QString mDirectory;
    QVector<AppDosName> mNames;
    bool mHasWalked = false;
    bool mIsComplete = false; ///< mNames are all there are
};
