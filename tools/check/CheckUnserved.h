// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#pragma once

#include "CheckRemark.h"

#include <QCoreApplication>
#include <QVector>

class CheckServed;

/// What lies in a directory and is not served, though people would expect it. Stateless.
class CheckUnserved
{
    Q_DECLARE_TR_FUNCTIONS(CheckUnserved)

public:
    /// Walks through the directory and remarks on each such file, with the reason, in no particular
    /// order. `other` is what is served from the directory of the other role, or null if that is
    /// not asked about.
    static QVector<CheckRemark> Remarks(const CheckServed &served, const CheckServed *other);
};
