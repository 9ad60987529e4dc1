// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QString>

/// Where a hub listens: "HOST" or "HOST:PORT", the host a name or an IP address. An IPv6 address
/// stands in brackets if a port follows.
class SkyletAddress
{
public:
    static constexpr quint16 DEFAULT_PORT = 80;

    /// Reads an address. Returns 0, or -1 and leaves `*address` as it was if the host is empty or
    /// holds a blank, or the port is not a number from 1 to 65535.
    static int FromString(const QString &text, SkyletAddress *address);

    /// As people write it, without the default port. Also the value of the "Host:" header.
    QString ToString() const;

    QString host; ///< without brackets
    quint16 port = DEFAULT_PORT;
};
