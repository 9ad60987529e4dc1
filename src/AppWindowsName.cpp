// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#include "AppWindowsName.h"

#include <QString>

#include <algorithm>
#include <iterator>

namespace
{

const char *const DEVICES[] = {"aux", "con", "nul", "prn"};

// With a digit behind them.
const char *const NUMBERED_DEVICES[] = {"com", "lpt"};

/// 1 to 9, also as the three superscripts that are bytes.
bool IsDeviceNumber(QChar c)
{
    return (c >= QLatin1Char('1') && c <= QLatin1Char('9')) || c == QChar(0xB9) ||
           c == QChar(0xB2) || c == QChar(0xB3);
}

template <typename NAMES> bool IsAnyOf(const NAMES &names, const QString &text)
{
    return std::any_of(std::begin(names), std::end(names),
                       [&text](const char *name) { return text == QLatin1String(name); });
}

} // namespace

bool AppWindowsName::IsNoFile(const QString &fileName)
{
    if (fileName.contains(QLatin1Char(':')))
        return true;
    // Blanks between the name and its extension do not count.
    QString stem = fileName.section(QLatin1Char('.'), 0, 0).toLower();
    while (stem.endsWith(QLatin1Char(' ')))
        stem.chop(1);
    if (IsAnyOf(DEVICES, stem))
        return true;
    return stem.size() == 4 && IsDeviceNumber(stem.at(3)) &&
           IsAnyOf(NUMBERED_DEVICES, stem.left(3));
}
