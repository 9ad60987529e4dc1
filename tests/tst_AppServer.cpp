// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#include "AppConnection.h"
#include "AppServer.h"

#include <QElapsedTimer>
#include <QTcpSocket>
#include <QTest>

#include <memory>

class tst_AppServer : public QObject
{
    Q_OBJECT

private slots:
    void bytesThatAreThereAreNoLongWait();
    void longWaitIsToldOnce();
    void longWaitEndsInTime();
    void shortWaitIsNotTold();
    void closedConnectionIsNotWaitedFor();
    void connectionsBelongToTheServer();
    void waitingConnectionKeepsWhatCameForWhoeverTakesIt();
    void waitingConnectionThatEndedIsNotGiven();
};

namespace
{

/// A device's end and the server's end of one connection, and how often the latter has told.
class Pair
{
public:
    Pair()
    {
        QObject::connect(&mServer, &AppServer::LongWait, &mServer, [this] { ++mTold; });
        mDevice.connectToHost(QHostAddress::LocalHost, mServer.listen(QHostAddress::LocalHost)
                                                           ? mServer.serverPort()
                                                           : quint16(0));
        const bool connected = mServer.waitForNewConnection(TIMEOUT_MS);
        mConnection = connected ? mServer.nextPendingConnection() : nullptr;
        if (mConnection == nullptr || !mDevice.waitForConnected(TIMEOUT_MS))
            qFatal("no connection");
    }

    QTcpSocket *Connection() const { return mConnection; }
    QTcpSocket *Device() { return &mDevice; }
    const AppServer &Server() const { return mServer; }
    int Told() const { return mTold; }

    static constexpr int TIMEOUT_MS = 10000;

private:
    int mTold = 0;
    AppServer mServer;
    QTcpSocket mDevice;
    QTcpSocket *mConnection = nullptr;
};

constexpr int LONG_MS = 3 * AppConnection::SHORT_WAIT_MS;

/// Runs the event loop until whatever had come for a socket of this process has been seen: a byte
/// that is sent later comes later.
bool LetTheLoopSeeIt()
{
    QTcpServer server;
    QTcpSocket sender;
    if (!server.listen(QHostAddress::LocalHost))
        return false;
    sender.connectToHost(QHostAddress::LocalHost, server.serverPort());
    if (!server.waitForNewConnection(Pair::TIMEOUT_MS))
        return false;
    const QTcpSocket *const receiver = server.nextPendingConnection();
    sender.write("x");
    return QTest::qWaitFor([receiver] { return receiver->bytesAvailable() == 1; },
                           Pair::TIMEOUT_MS);
}

/// Connects a device, and lets the server accept the connection and leave it waiting.
bool LeaveWaiting(AppServer *server, QTcpSocket *device)
{
    if (!server->Listen(QHostAddress(QHostAddress::LocalHost), 0))
        return false;
    device->connectToHost(QHostAddress::LocalHost, server->serverPort());
    return device->waitForConnected(Pair::TIMEOUT_MS) &&
           server->waitForNewConnection(Pair::TIMEOUT_MS);
}

} // namespace

void tst_AppServer::bytesThatAreThereAreNoLongWait()
{
    Pair pair;
    pair.Device()->write("x");
    QVERIFY(pair.Device()->waitForBytesWritten());
    QVERIFY(pair.Connection()->waitForReadyRead(5000));
    QCOMPARE(pair.Connection()->readAll(), QByteArray("x"));
    QCOMPARE(pair.Told(), 0);
}

void tst_AppServer::longWaitIsToldOnce()
{
    const Pair pair;
    QVERIFY(!pair.Connection()->waitForReadyRead(LONG_MS));
    QCOMPARE(pair.Told(), 1);
    QCOMPARE(pair.Connection()->state(), QAbstractSocket::ConnectedState);
}

void tst_AppServer::longWaitEndsInTime()
{
    constexpr int TOLERANCE_MS = 5; // of the toolkit's coarse clock

    const Pair pair;
    QElapsedTimer timer;
    timer.start();
    QVERIFY(!pair.Connection()->waitForReadyRead(LONG_MS));
    QVERIFY2(timer.elapsed() >= LONG_MS - TOLERANCE_MS,
             qPrintable(QString::number(timer.elapsed())));
    QVERIFY2(timer.elapsed() < 5000, qPrintable(QString::number(timer.elapsed())));
}

void tst_AppServer::shortWaitIsNotTold()
{
    const Pair pair;
    QVERIFY(!pair.Connection()->waitForReadyRead(AppConnection::SHORT_WAIT_MS));
    QCOMPARE(pair.Told(), 0);
}

void tst_AppServer::closedConnectionIsNotWaitedFor()
{
    Pair pair;
    pair.Device()->disconnectFromHost();
    QVERIFY(!pair.Connection()->waitForReadyRead(5000));
    QCOMPARE(pair.Connection()->state(), QAbstractSocket::UnconnectedState);
    QCOMPARE(pair.Told(), 0);
}

void tst_AppServer::connectionsBelongToTheServer()
{
    const Pair pair;
    QCOMPARE(pair.Connection()->parent(), static_cast<const QObject *>(&pair.Server()));
}

void tst_AppServer::waitingConnectionKeepsWhatCameForWhoeverTakesIt()
{
    AppServer server;
    QTcpSocket device;
    QVERIFY(LeaveWaiting(&server, &device));
    device.write("POST / HTTP/1.1\r\n");
    QVERIFY(device.waitForBytesWritten(Pair::TIMEOUT_MS));
    QVERIFY(LetTheLoopSeeIt());

    QTcpSocket *const connection = server.nextPendingConnection();
    QVERIFY(connection != nullptr);
    QVERIFY2(connection->waitForReadyRead(Pair::TIMEOUT_MS), "it is still to be waited for");
    QCOMPARE(connection->readAll(), QByteArray("POST / HTTP/1.1\r\n"));
}

void tst_AppServer::waitingConnectionThatEndedIsNotGiven()
{
    AppServer server;
    QTcpSocket device;
    QVERIFY(LeaveWaiting(&server, &device));
    device.disconnectFromHost();
    QVERIFY(LetTheLoopSeeIt());

    QVERIFY(server.nextPendingConnection() == nullptr);
    QTRY_VERIFY(server.findChildren<AppConnection *>().isEmpty());
    QTcpSocket next;
    next.connectToHost(QHostAddress::LocalHost, server.serverPort());
    QTRY_VERIFY(server.hasPendingConnections());
    QVERIFY(server.nextPendingConnection() != nullptr);
}

QTEST_GUILESS_MAIN(tst_AppServer)

#include "tst_AppServer.moc"
