// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#pragma once

#include "AppDosName.h"

#include <QFileInfo>
#include <QLatin1String>
#include <QString>

/// A file that SEARCH lists, and what a DOWNLOAD makes of it.
struct CheckEntry {
    /// What fits the pattern that is typed for a file. Indices are those of the entries.
    struct MATCH {
        int fits = 0;          ///< number of files
        int readable = 0;      ///< those of them that can be read
        int lastReadable = -1; ///< the program that a DOWNLOAD sends; -1 for none
        int lastDisk = -1;     ///< the last disk that it sends; -1 for none
    };

    AppDosName name;
    QLatin1String type; ///< "D64" or the like, "PRG"
    QString file;       ///< relative to the directory that was searched
    QFileInfo info;
    bool readable = true; ///< a DOWNLOAD does not pass over it
    MATCH match;
    bool sent = false; ///< a DOWNLOAD sends it if CheckName::Pattern() of its name is typed
};
