// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QByteArray>
#include <QtEndian>

/// Integers in a buffer, unaligned and on any host.
namespace MxEndian
{

/// The little-endian T at byte `offset`. The caller has checked that it lies inside.
template <typename T> T LeAt(const QByteArray &bytes, qint64 offset)
{
    Q_ASSERT(offset >= 0 && offset <= bytes.size() - static_cast<qint64>(sizeof(T)));
    return qFromLittleEndian<T>(bytes.constData() + offset);
}

/// Writes `value` at `bytes` + `offset`, little-endian.
template <typename T> void PutLe(char *bytes, qsizetype offset, T value)
{
    qToLittleEndian<T>(value, bytes + offset);
}

} // namespace MxEndian
