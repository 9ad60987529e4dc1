// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#pragma once

// DOS names in the tests of skylet's classes.

#include "AppDosName.h"

#include <QByteArray>
#include <QString>

/// The name that a host's text becomes.
inline AppDosName DosName(const QString &text)
{
    AppDosName name;
    name.FromString(text, true);
    return name;
}

/// All 16 bytes of a name.
inline QByteArray Field(const AppDosName &name)
{
    return QByteArray(name.Bytes(), AppDosName::SIZE);
}
