// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#pragma once

#include "AppDosName.h"

#include <QFileInfo>
#include <QString>

#include <memory>

class QDirIterator;

/// One walk over the entries of a directory and all below it, in the toolkit's order: files and
/// directories. Links to directories are not followed, hidden entries not seen.
///
/// A directory that does not exist has no entries; nor has an empty string.
class AppMediaWalk
{
public:
    explicit AppMediaWalk(const QString &directory);
    ~AppMediaWalk();
    AppMediaWalk(const AppMediaWalk &) = delete;
    AppMediaWalk &operator=(const AppMediaWalk &) = delete;

    /// The name under which the hub serves a file: its base name in PETSCII.
    static AppDosName NameOf(const QString &path);

    /// Goes on to the next entry, at first to the first. Returns false at the end.
    bool Next();

    /// The name of the entry as the hub serves it. Like the rest, after a Next() that was true.
    const AppDosName &Name() const;

    /// Whether the entry ends in ".prg", in any case.
    bool HasProgramSuffix() const;

    QFileInfo Info() const;

private:
    std::unique_ptr<QDirIterator> mEntries; ///< null without a directory
    QString mPath;                          ///< of the entry
    AppDosName mName;
};
