// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#include "MainWindowFixture.h"

#include <QTcpServer>

quint16 FreePort()
{
    QTcpServer server;
    server.listen(QHostAddress::LocalHost);
    return server.serverPort();
}

const QString SERVER_RUNNING = QStringLiteral("Server running on IP: %1 PORT: %2");
