// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#pragma once

// Something that listens and answers as it is told: what tests of a client need.

#include "HubProcess.h"

#include <QTcpServer>
#include <QTcpSocket>
#include <QTimer>

/// A server of 127.0.0.1 that gives every request the same answer, whatever the request is.
class AnswerServer : public QTcpServer
{
public:
    enum END {
        CLOSE,     ///< as a hub does
        KEEP_OPEN, ///< leaves that to the client
        RESET,     ///< the connection is torn down
    };

    /// `parts` are sent with `pauseMs` between them, the first one as soon as the request's first
    /// bytes are there.
    explicit AnswerServer(const QList<QByteArray> &parts, END end = CLOSE, int pauseMs = 0)
        : mParts(parts), mEnd(end), mPauseMs(pauseMs)
    {
        connect(this, &QTcpServer::newConnection, this, &AnswerServer::TakeConnection);
        listen(QHostAddress(QHostAddress::LocalHost));
    }

    /// As it is given to --hub.
    QString Address() const { return QStringLiteral("127.0.0.1:%1").arg(serverPort()); }

    int Connections() const { return mConnections; }

    /// What came so far, on all connections.
    const QByteArray &Received() const { return mReceived; }

private:
    void TakeConnection()
    {
        QTcpSocket *const socket = nextPendingConnection();
        ++mConnections;
        connect(socket, &QTcpSocket::readyRead, this, [this, socket] {
            const bool isFirst = !socket->property("asked").toBool();
            socket->setProperty("asked", true);
            mReceived += socket->readAll();
            if (isFirst)
                SendFrom(0, socket);
        });
        connect(socket, &QTcpSocket::disconnected, socket, &QObject::deleteLater);
    }

    void SendFrom(int index, QTcpSocket *socket)
    {
        if (index == mParts.size()) {
            if (mEnd == CLOSE)
                socket->disconnectFromHost();
            else if (mEnd == RESET)
                socket->abort();
            return;
        }
        socket->write(mParts.at(index));
        socket->flush();
        QTimer::singleShot(mPauseMs, socket,
                           [this, index, socket] { SendFrom(index + 1, socket); });
    }

    QList<QByteArray> mParts;
    END mEnd;
    int mPauseMs;
    int mConnections = 0;
    QByteArray mReceived;
};

/// The bytes of a package.
inline QByteArray Package(const QList<WireObject> &objects, int result = 0)
{
    WirePackage package;
    package.result = result;
    package.objects = objects;
    return package.Bytes();
}

/// A reply as a hub sends it.
inline QByteArray HubAnswer(const QByteArray &package)
{
    return HeadFor(package.size()) + package;
}
