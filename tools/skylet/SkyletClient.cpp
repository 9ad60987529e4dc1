// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#include "SkyletClient.h"

#include "SkyletConnection.h"
#include "SkyletInterrupt.h"
#include "SkyletProgress.h"
#include "SkyletRequest.h"

#include <QEventLoop>

SkyletClient::SkyletClient(const SkyletAddress &hub, int timeoutMs,
                           const SkyletInterrupt *interrupt)
    : mHub(hub), mTimeoutMs(timeoutMs), mInterrupt(interrupt)
{
}

SkyletAnswer SkyletClient::Ask(const SkyletRequest &request) const
{
    SkyletConnection connection(mHub, mTimeoutMs);
    const SkyletProgress progress(
        [&connection] { return SkyletProgress::OfConnection(connection); });
    QEventLoop loop;
    QObject::connect(&connection, &SkyletConnection::Finished, &loop, &QEventLoop::quit);
    QObject::connect(mInterrupt, &SkyletInterrupt::Requested, &loop, &QEventLoop::quit);
    connection.Send(request.ToBytes(mHub.ToString()));
    if (connection.State() != SkyletConnection::FINISHED)
        loop.exec();
    return SkyletAnswer::FromConnection(connection);
}
