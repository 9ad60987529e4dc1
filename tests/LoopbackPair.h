// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#pragma once

#include "AppConnection.h"
#include "AppServer.h"

#include <QPointer>
#include <QTcpSocket>

#include <memory>

/// A connection over 127.0.0.1: the device's end, and the hub's as its server makes it.
class LoopbackPair
{
public:
    explicit LoopbackPair(AppServer *server);

    /// The hub's end. The server owns it until somebody takes it over; it deletes itself once it is
    /// disconnected, so it may be null.
    AppConnection *Hub() const { return mHub; }

    QTcpSocket *Device() const { return mDevice.get(); }

    /// Makes the device take nothing more of what the hub sends than it has now.
    void StopReading();

private:
    std::unique_ptr<QTcpSocket> mDevice = std::make_unique<QTcpSocket>();
    QPointer<AppConnection> mHub;
};

/// More than the buffers of both systems take while nobody reads.
QByteArray LargeReply();
