// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QTcpServer>

/// The listening server. The connections that it accepts are AppConnections.
///
/// It accepts one at a time: while one waits to be taken, the others wait in the system's queue,
/// where they cost no descriptor.
class AppServer : public QTcpServer
{
    Q_OBJECT

public:
    explicit AppServer(QObject *parent = nullptr);

    /// Listens with a queue that holds a burst of devices, as far as the system lets it: one that
    /// finds no room is tried again after seconds, and what it has sent by then may come too late.
    /// Returns whether it listens.
    bool Listen(const QHostAddress &address, quint16 port);

    /// The connection that waits, or null if there is none or it has ended meanwhile. What the
    /// device sent while it waited is still to come: waitForReadyRead() finds it.
    QTcpSocket *nextPendingConnection() override;

signals:
    /// A connection blocks the thread; see AppConnection::LongWait().
    void LongWait();

protected:
    void incomingConnection(qintptr descriptor) override;
};
