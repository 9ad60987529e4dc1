// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#include "AppServer.h"

#include "AppConnection.h"

#include <QHostAddress>

#include <memory>

#if QT_VERSION < QT_VERSION_CHECK(6, 3, 0) && defined(Q_OS_UNIX)
#include <sys/socket.h>
#endif

namespace
{

constexpr int LISTEN_BACKLOG = 4096; // connections

// The event loop reads from a connection that waits, too, and who takes it later would not be told.
// So all but the first byte stays in the system.
constexpr int WAITING_READ_SIZE = 1; // bytes

} // namespace

AppServer::AppServer(QObject *parent) : QTcpServer(parent)
{
    setMaxPendingConnections(1);
}

bool AppServer::Listen(const QHostAddress &address, quint16 port)
{
#if QT_VERSION >= QT_VERSION_CHECK(6, 3, 0)
    setListenBacklogSize(LISTEN_BACKLOG);
    return listen(address, port);
#else
    if (!listen(address, port))
        return false;
#if defined(Q_OS_UNIX)
    // These versions ask for 50 and have no call to change it. Listening again does.
    ::listen(static_cast<int>(socketDescriptor()), LISTEN_BACKLOG);
#endif
    return true;
#endif
}

QTcpSocket *AppServer::nextPendingConnection()
{
    QTcpSocket *const connection = QTcpServer::nextPendingConnection();
    if (connection == nullptr)
        return nullptr;
    if (connection->state() != QAbstractSocket::ConnectedState) {
        connection->deleteLater();
        return nullptr;
    }
    connection->setReadBufferSize(0);
    return connection;
}

void AppServer::incomingConnection(qintptr descriptor)
{
    auto connection = std::make_unique<AppConnection>(this);
    if (!connection->setSocketDescriptor(descriptor))
        return;
    connect(connection.get(), &AppConnection::LongWait, this, &AppServer::LongWait);
    connection->setSocketOption(QAbstractSocket::SendBufferSizeSocketOption,
                                AppConnection::SEND_BUFFER_SIZE);
    connection->setReadBufferSize(WAITING_READ_SIZE);
    addPendingConnection(connection.release());
}
