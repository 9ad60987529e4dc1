// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#pragma once

#include "SkyletAddress.h"
#include "SkyletAnswer.h"

#include <QByteArray>

class SkyletInterrupt;
class SkyletRequest;

/// Asks one hub, one request after the other.
class SkyletClient
{
public:
    /// `interrupt` must outlive this.
    SkyletClient(const SkyletAddress &hub, int timeoutMs, const SkyletInterrupt *interrupt);

    /// Sends a request and waits for what becomes of it, with progress on a terminal. The event
    /// loop runs meanwhile; Ctrl-C ends the wait.
    SkyletAnswer Ask(const SkyletRequest &request) const;

private:
    SkyletAddress mHub;
    int mTimeoutMs;
    const SkyletInterrupt *mInterrupt;
};
