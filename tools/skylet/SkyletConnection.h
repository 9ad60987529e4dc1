// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#pragma once

#include "SkyletAddress.h"

#include <QByteArray>
#include <QObject>
#include <QTcpSocket>
#include <QTimer>

/// One connection to a hub: one request, one reply. Driven by the event loop; nothing blocks.
///
/// The reply is complete when it has the length that it announces, as for the device, or when the
/// hub closes the connection. It is not looked at beyond that.
class SkyletConnection : public QObject
{
    Q_OBJECT

public:
    enum STATE {
        IDLE,
        CONNECTING,
        SENDING,
        WAITING, ///< for the first byte of the reply
        RECEIVING,
        FINISHED,
    };

    enum OUTCOME {
        NONE,              ///< not FINISHED yet
        ANSWERED,          ///< some bytes came; SkyletReply tells whether they are a reply
        HOST_NOT_FOUND,    ///< the name has no address
        REFUSED,           ///< nothing listens on that port
        UNREACHABLE,       ///< no way to the host, or another failure of the network
        CONNECT_TIMED_OUT, ///< the host did not react
        CLOSED,            ///< by the hub, before the first byte of a reply
        TIMED_OUT,         ///< nothing more came or went; there may be a part of a reply
    };

    static constexpr int CONNECT_TIMEOUT_MS = 5000; ///< unless the timeout is shorter
    static constexpr int LINGER_MS = 1000; ///< for the hub to close its side once it has answered

    /// `timeoutMs` is the longest time in which nothing comes or goes.
    SkyletConnection(const SkyletAddress &hub, int timeoutMs, QObject *parent = nullptr);
    ~SkyletConnection() override;

    /// Connects and sends the request; Finished() follows. Once only.
    void Send(const QByteArray &request);

    STATE State() const { return mState; }
    OUTCOME Outcome() const { return mOutcome; }

    /// What the network says of a failure, for people; may be empty.
    QString ErrorText() const { return mErrorText; }

    /// What came so far.
    const QByteArray &Bytes() const { return mBytes; }

    qint64 RequestSize() const { return mRequestSize; }
    qint64 BytesSent() const { return mBytesSent; }

    /// What the reply announces as its length, header included; negative while that is not known.
    qint64 ReplySize() const { return mReplySize; }

signals:
    /// The outcome is known. A slot must not delete the object at once.
    void Finished();

    /// After Finished(), once: the connection is down.
    void Released();

private slots:
    void Connected();
    void BytesWritten(qint64 count);
    void ReadyRead();
    void Failed(QAbstractSocket::SocketError error);
    void Disconnected();
    void TimedOut();

private:
    void Finish(OUTCOME outcome);
    void FinishClosed();
    void Release();

    SkyletAddress mHub;
    int mTimeoutMs;
    QTcpSocket mSocket;
    QTimer mTimer;
    QByteArray mRequest; ///< until it is handed to the socket
    qint64 mRequestSize = 0;
    qint64 mBytesSent = 0;
    QByteArray mBytes;
    qint64 mReplySize = -1;
    STATE mState = IDLE;
    OUTCOME mOutcome = NONE;
    QString mErrorText;
    bool mReleased = false;
};
