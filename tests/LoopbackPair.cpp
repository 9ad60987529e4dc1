// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#include "LoopbackPair.h"

#include "Wire.h"

#include <QHostAddress>

namespace
{

constexpr int TIMEOUT_MS = 30000;
constexpr int LARGE_SIZE = 20 * 1024 * 1024; // bytes
constexpr int UNREAD_MAX = 1024;             // bytes that a device keeps that does not read

} // namespace

LoopbackPair::LoopbackPair(AppServer *server)
{
    const QHostAddress loopback(QHostAddress::LocalHost);
    if (!server->isListening() && !server->Listen(loopback, 0))
        qFatal("cannot listen");
    mDevice->connectToHost(loopback, server->serverPort());
    if (!server->waitForNewConnection(TIMEOUT_MS) || !mDevice->waitForConnected(TIMEOUT_MS))
        qFatal("no connection");
    mHub = static_cast<AppConnection *>(server->nextPendingConnection());
    QObject::connect(mHub, &QTcpSocket::disconnected, mHub, &QObject::deleteLater);
}

void LoopbackPair::StopReading()
{
    mDevice->setReadBufferSize(UNREAD_MAX);
}

QByteArray LargeReply()
{
    static const QByteArray REPLY = Image(LARGE_SIZE, 3);
    return REPLY;
}
