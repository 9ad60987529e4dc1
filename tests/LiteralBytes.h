// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QByteArray>

/// The bytes of a literal, NUL bytes among them.
template <int N> QByteArray LiteralBytes(const char (&literal)[N])
{
    return QByteArray(literal, N - 1);
}
