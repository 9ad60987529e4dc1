// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#pragma once

#include "CheckShelf.h"

#include <QVector>

/// The directories that the hub's settings name. Only reads them.
class CheckSettings
{
public:
    /// The hub's directories first, then those that users have of their own. Users who share both
    /// directories share a place.
    static QVector<CheckShelf::PLACE> Places();
};
