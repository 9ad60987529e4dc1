// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#pragma once

#include "AppDosName.h"
#include "AppPackage.h"

#include <QVector>

/// Finds out, for many names at once, what a DOWNLOAD of each would send.
///
/// Takes time in proportion to the names, and to the number of ways in which their wildcards are
/// placed; asking for each one alone would take the square.
class CheckMatches
{
public:
    /// Disks that a package carries: the manifest takes one place.
    static constexpr int DISKS_MAX = AppPackageFormat::OBJECTS_MAX - 1;

    /// A file that a search found.
    struct FILE {
        AppDosName name;
        quint32 wildcards = 0; ///< as CheckName::Wildcards() gives them: a "?" is typed there
        bool readable = true;
    };

    /// What fits the pattern that is typed for a file. Indices are those of the files.
    struct MATCH {
        int fits = 0;          ///< number of files
        int readable = 0;      ///< those of them that can be read
        int lastReadable = -1; ///< the program that a DOWNLOAD sends; -1 for none
        int lastDisk = -1;     ///< the last disk that it sends; -1 for none
    };

    /// A match for each file, in their order, which must be that of the search.
    static QVector<MATCH> Find(const QVector<FILE> &files);
};
