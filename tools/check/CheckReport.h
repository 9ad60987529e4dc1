// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#pragma once

#include "CheckShelf.h"

#include <QByteArray>
#include <QCoreApplication>
#include <QString>

#include <vector>

/// Puts into words, or into JSON, what was found. Stateless.
class CheckReport
{
    Q_DECLARE_TR_FUNCTIONS(CheckReport)

public:
    static constexpr int FILES_MAX = 5; ///< that the text names in one remark

    /// For people: tables of what is served, the remarks on each directory, the listing.
    static QString Text(const std::vector<CheckShelf> &shelves);

    /// For programs: one JSON object (RFC 8259) and a line end. What a terminal would act on stands
    /// in its strings as an escape of JSON, "\u202e".
    static QByteArray Json(const std::vector<CheckShelf> &shelves);

    /// Characters that a terminal would act on, or not show, as "\x1B" or "\u202E".
    static QString Printable(const QString &text);
};
