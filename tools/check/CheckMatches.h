// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#pragma once

#include "CheckEntry.h"

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

    /// Sets the match of each entry. All that a search found are there, in its order.
    static void Find(QVector<CheckEntry> *entries);
};
