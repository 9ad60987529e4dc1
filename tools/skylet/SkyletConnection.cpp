// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#include "SkyletConnection.h"

#include "SkyletReply.h"

#include <QNetworkProxy>

#include <algorithm>

SkyletConnection::SkyletConnection(const SkyletAddress &hub, int timeoutMs, QObject *parent)
    : QObject(parent), mHub(hub), mTimeoutMs(timeoutMs)
{
    mTimer.setSingleShot(true);
    mSocket.setProxy(QNetworkProxy(QNetworkProxy::NoProxy));
    connect(&mTimer, &QTimer::timeout, this, &SkyletConnection::TimedOut);
    connect(&mSocket, &QTcpSocket::connected, this, &SkyletConnection::Connected);
    connect(&mSocket, &QTcpSocket::bytesWritten, this, &SkyletConnection::BytesWritten);
    connect(&mSocket, &QTcpSocket::readyRead, this, &SkyletConnection::ReadyRead);
    connect(&mSocket, &QTcpSocket::errorOccurred, this, &SkyletConnection::Failed);
    connect(&mSocket, &QTcpSocket::disconnected, this, &SkyletConnection::Disconnected);
}

SkyletConnection::~SkyletConnection()
{
    // A socket that is open says, when it goes, that it is disconnected.
    mSocket.disconnect(this);
}

void SkyletConnection::Send(const QByteArray &request)
{
    Q_ASSERT(mState == IDLE);
    mRequest = request;
    mRequestSize = request.size();
    mState = CONNECTING;
    mTimer.start(std::min(mTimeoutMs, CONNECT_TIMEOUT_MS));
    mSocket.connectToHost(mHub.host, mHub.port);
}

void SkyletConnection::Connected()
{
    mState = SENDING;
    mTimer.start(mTimeoutMs);
    mSocket.write(mRequest);
    mRequest.clear();
}

void SkyletConnection::BytesWritten(qint64 count)
{
    if (mState == FINISHED)
        return;
    mBytesSent += count;
    if (mState == SENDING && mBytesSent >= mRequestSize)
        mState = WAITING;
    mTimer.start(mTimeoutMs);
}

void SkyletConnection::ReadyRead()
{
    if (mState == FINISHED)
        return;
    mState = RECEIVING;
    mTimer.start(mTimeoutMs);
    mBytes += mSocket.readAll();
    if (mReplySize < 0)
        mReplySize = SkyletReply::AnnouncedSize(mBytes);
    if (mReplySize == SkyletReply::SIZE_NEVER || (mReplySize >= 0 && mBytes.size() >= mReplySize))
        Finish(ANSWERED);
}

void SkyletConnection::Failed(QAbstractSocket::SocketError error)
{
    if (mState == FINISHED)
        return;
    if (mState != CONNECTING) {
        FinishClosed();
        return;
    }
    mErrorText = mSocket.errorString();
    switch (error) {
    case QAbstractSocket::HostNotFoundError:
        Finish(HOST_NOT_FOUND);
        break;
    case QAbstractSocket::ConnectionRefusedError:
        Finish(REFUSED);
        break;
    case QAbstractSocket::SocketTimeoutError:
        Finish(CONNECT_TIMED_OUT);
        break;
    default:
        Finish(UNREACHABLE);
    }
}

void SkyletConnection::Disconnected()
{
    if (mState == FINISHED)
        Release();
    else
        FinishClosed();
}

void SkyletConnection::TimedOut()
{
    if (mState == FINISHED)
        Release();
    else
        Finish(mState == CONNECTING ? CONNECT_TIMED_OUT : TIMED_OUT);
}

void SkyletConnection::FinishClosed()
{
    // What came together with the end.
    mBytes += mSocket.readAll();
    Finish(mBytes.isEmpty() ? CLOSED : ANSWERED);
}

void SkyletConnection::Finish(OUTCOME outcome)
{
    mState = FINISHED;
    mOutcome = outcome;
    mTimer.stop();
    emit Finished();
    // The hub is left to close first: its side then keeps the port in TIME_WAIT, not this one,
    // which would run out of ports under load.
    if (outcome == ANSWERED && mSocket.state() == QAbstractSocket::ConnectedState)
        mTimer.start(LINGER_MS);
    else
        Release();
}

void SkyletConnection::Release()
{
    if (mReleased)
        return;
    mReleased = true;
    mTimer.stop();
    mSocket.abort();
    emit Released();
}
