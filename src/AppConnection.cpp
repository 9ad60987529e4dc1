// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#include "AppConnection.h"

#include <algorithm>

#ifdef Q_OS_WIN
#include <winsock2.h>
#else
#include <sys/socket.h>
#endif

namespace
{

constexpr int UNREAD_MAX = 64 * 1024; // bytes of the peer that are read away at a time

/// Ends the sending side of a connection; the toolkit closes only both at once. Returns whether the
/// system did.
bool EndSending(qintptr descriptor)
{
#ifdef Q_OS_WIN
    return ::shutdown(static_cast<SOCKET>(descriptor), SD_SEND) == 0;
#else
    return ::shutdown(static_cast<int>(descriptor), SHUT_WR) == 0;
#endif
}

} // namespace

AppConnection::AppConnection(QObject *parent) : QTcpSocket(parent) {}

bool AppConnection::waitForReadyRead(int msecs)
{
    if (msecs >= 0 && msecs <= SHORT_WAIT_MS)
        return QTcpSocket::waitForReadyRead(msecs);
    if (QTcpSocket::waitForReadyRead(SHORT_WAIT_MS))
        return true;
    if (state() != ConnectedState)
        return false;
    emit LongWait();
    return QTcpSocket::waitForReadyRead(msecs < 0 ? msecs : msecs - SHORT_WAIT_MS);
}

void AppConnection::disconnectFromHost()
{
    // While something is still to be sent the toolkit reads no more, sends it, and calls again.
    if (mClosing || bytesToWrite() > 0) {
        QTcpSocket::disconnectFromHost();
        return;
    }
    mClosing = true; // The toolkit calls again, too, if it finds the peer gone.
    if (!NeedsTwoSteps() || !EndSending(socketDescriptor())) {
        QTcpSocket::disconnectFromHost();
        return;
    }
    connect(this, &QTcpSocket::readyRead, this, [this] { readAll(); });
    setSocketState(QAbstractSocket::ConnectedState);
    setReadBufferSize(UNREAD_MAX); // which makes the toolkit read again
    readAll();
}

bool AppConnection::NeedsTwoSteps()
{
    if (mWritten == 0 || !isValid())
        return false;
    return mWritten > FIRST_FLIGHT_SIZE || bytesAvailable() > 0 || waitForReadyRead(0);
}

void AppConnection::Drop()
{
    mClosing = true;
    abort();
}

qint64 AppConnection::writeData(const char *data, qint64 size)
{
    const qint64 taken = QTcpSocket::writeData(data, size);
    mWritten += std::max<qint64>(taken, 0);
    return taken;
}
