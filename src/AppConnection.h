// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QTcpSocket>

/// A connection that the hub has accepted. It tells before it blocks the thread for long, and
/// closing it costs the peer nothing of its reply.
///
/// A system that closes a connection while bytes of the peer are unread, or before more of them
/// arrive, resets it, and the peer loses what was still under way. So such a connection is closed
/// in two steps: sending ends behind the last byte, which the peer sees as the end of the reply;
/// then what still comes in is read away until the peer closes its side.
class AppConnection : public QTcpSocket
{
    Q_OBJECT

public:
    /// For each connection as much of a reply may wait in the system for the peer to take it. Less
    /// would slow down a fast peer, more would hide for how long a slow one has taken nothing.
    static constexpr int SEND_BUFFER_SIZE = 128 * 1024; // bytes

    /// A wait that ends within it is not told.
    static constexpr int SHORT_WAIT_MS = 40;

    explicit AppConnection(QObject *parent = nullptr);

    /// Waits as any socket does, and tells by LongWait() if it takes more than SHORT_WAIT_MS.
    bool waitForReadyRead(int msecs) override;

    /// A reply up to this size is at the peer before the peer can answer to it.
    static constexpr qint64 FIRST_FLIGHT_SIZE = 14600; // bytes; RFC 6928, section 2

    /// Closes the connection behind what was written, as soon as that is sent; in two steps unless
    /// it was at most FIRST_FLIGHT_SIZE and nothing has come in. disconnected() tells the end.
    ///
    /// Called again while only the peer's side is open: closes that, too.
    void disconnectFromHost() override;

    /// Closes the connection at once. What has not been sent is lost.
    void Drop();

signals:
    /// SHORT_WAIT_MS of a wait are over and it goes on. Who is called must not run the event loop;
    /// the time counts as part of the wait.
    void LongWait();

protected:
    qint64 writeData(const char *data, qint64 size) override;

private:
    bool NeedsTwoSteps();

    qint64 mWritten = 0;   ///< bytes
    bool mClosing = false; ///< all was sent, and the first step or the only one is done
};
