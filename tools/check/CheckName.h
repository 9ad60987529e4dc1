// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QCoreApplication>
#include <QString>
#include <QStringList>

class AppDosName;

/// What people at a Commodore see of a DOS name, and what they can type for it. Stateless.
class CheckName
{
    Q_DECLARE_TR_FUNCTIONS(CheckName)

public:
    /// The name as a listing shows it on a Commodore just switched on: unshifted letters as
    /// capitals, shifted ones as graphic characters (the nearest in Unicode), U+FFFD for a control
    /// code. A NUL ends it.
    static QString Screen(const AppDosName &name);

    /// The places of the name, bit 0 for the first character, where one must type a "?": what
    /// stands there cannot be typed, or does not reach the hub unchanged.
    static quint32 Wildcards(const AppDosName &name);

    /// The narrowest pattern for the name that can be typed, as the ASCII text of a request's
    /// `pat`: the name with a "?" for each of its wildcards. Empty for the empty name.
    static QString Pattern(const AppDosName &name);

    /// The keys for that pattern: a letter is its capital, those typed with SHIFT stand in braces.
    static QString Keys(const AppDosName &name);

    /// What makes the name troublesome, a noun phrase each; empty if nothing does.
    static QStringList Faults(const AppDosName &name);
};
