// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#include "LoopbackPair.h"

#include <QSignalSpy>
#include <QTest>

#ifdef Q_OS_WIN
#include <winsock2.h>
#else
#include <sys/socket.h>
#endif

namespace
{

constexpr int TIMEOUT_MS = 30000;

#ifdef Q_OS_WIN
constexpr int SHUT_WR = SD_SEND;
#endif

/// A reply that is small enough to be closed behind at once.
QByteArray SmallReply()
{
    return QByteArray(AppConnection::FIRST_FLIGHT_SIZE, 'r');
}

} // namespace

class tst_AppConnection : public QObject
{
    Q_OBJECT

private slots:
    void wholeReplyArrives_data();
    void wholeReplyArrives();
    void bytesBehindTheRequestDoNotCostTheReply_data();
    void bytesBehindTheRequestDoNotCostTheReply();
    void deviceThatClosedItsSideGetsTheWholeReply();
    void smallReplyIsClosedBehindAtOnce();
    void bytesThatCameKeepTheOtherSideOpen();
    void secondCallClosesTheOtherSide();
    void withoutAReplyItIsClosedAtOnce();
    void droppedReplyEnds();

private:
    AppServer mServer;
};

void tst_AppConnection::wholeReplyArrives_data()
{
    QTest::addColumn<QByteArray>("reply");

    QTest::newRow("one-byte") << QByteArray("r");
    QTest::newRow("small") << SmallReply();
    QTest::newRow("not-small") << SmallReply() + 'r';
    QTest::newRow("large") << LargeReply();
}

void tst_AppConnection::wholeReplyArrives()
{
    QFETCH(QByteArray, reply);

    const LoopbackPair pair(&mServer);
    pair.Hub()->write(reply);
    pair.Hub()->disconnectFromHost();
    QTRY_COMPARE_WITH_TIMEOUT(pair.Device()->state(), QAbstractSocket::UnconnectedState,
                              TIMEOUT_MS);
    QCOMPARE(pair.Device()->error(), QAbstractSocket::RemoteHostClosedError);
    QCOMPARE(pair.Device()->readAll(), reply);
    QTRY_VERIFY(pair.Hub() == nullptr);
}

void tst_AppConnection::bytesBehindTheRequestDoNotCostTheReply_data()
{
    QTest::addColumn<QByteArray>("reply");

    QTest::newRow("not-small") << SmallReply() + 'r';
    QTest::newRow("large") << LargeReply();
}

void tst_AppConnection::bytesBehindTheRequestDoNotCostTheReply()
{
    QFETCH(QByteArray, reply);

    const LoopbackPair pair(&mServer);
    QTcpSocket *const device = pair.Device();
    connect(device, &QTcpSocket::readyRead, device, [device] { device->write("more"); });
    device->write("\r\n");
    pair.Hub()->write(reply);
    pair.Hub()->disconnectFromHost();
    QTRY_COMPARE_WITH_TIMEOUT(device->state(), QAbstractSocket::UnconnectedState, TIMEOUT_MS);
    QCOMPARE(device->error(), QAbstractSocket::RemoteHostClosedError);
    QCOMPARE(device->readAll(), reply);
}

void tst_AppConnection::deviceThatClosedItsSideGetsTheWholeReply()
{
    const LoopbackPair pair(&mServer);
    QCOMPARE(shutdown(int(pair.Device()->socketDescriptor()), SHUT_WR), 0);
    pair.Hub()->write(LargeReply());
    pair.Hub()->disconnectFromHost();
    QTRY_COMPARE_WITH_TIMEOUT(pair.Device()->state(), QAbstractSocket::UnconnectedState,
                              TIMEOUT_MS);
    QCOMPARE(pair.Device()->readAll(), LargeReply());
}

void tst_AppConnection::smallReplyIsClosedBehindAtOnce()
{
    const LoopbackPair pair(&mServer);
    pair.Hub()->write(SmallReply());
    QVERIFY(pair.Hub()->flush());
    pair.Hub()->disconnectFromHost();
    QCOMPARE(pair.Hub()->state(), QAbstractSocket::UnconnectedState);
}

void tst_AppConnection::bytesThatCameKeepTheOtherSideOpen()
{
    const LoopbackPair pair(&mServer);
    pair.Device()->write("\r\n");
    QVERIFY(pair.Device()->waitForBytesWritten(TIMEOUT_MS));
    pair.Hub()->write("reply");
    QVERIFY(pair.Hub()->flush());
    pair.Hub()->disconnectFromHost();
    QCOMPARE(pair.Hub()->state(), QAbstractSocket::ConnectedState);
    QTRY_COMPARE(pair.Device()->state(), QAbstractSocket::UnconnectedState);
    QCOMPARE(pair.Device()->readAll(), QByteArray("reply"));
    QTRY_VERIFY(pair.Hub() == nullptr);
}

void tst_AppConnection::secondCallClosesTheOtherSide()
{
    const LoopbackPair pair(&mServer);
    pair.Device()->write("\r\n");
    QVERIFY(pair.Device()->waitForBytesWritten(TIMEOUT_MS));
    pair.Hub()->write("reply");
    QVERIFY(pair.Hub()->flush());
    pair.Hub()->disconnectFromHost();
    pair.Hub()->disconnectFromHost();
    QCOMPARE(pair.Hub()->state(), QAbstractSocket::UnconnectedState);
}

void tst_AppConnection::withoutAReplyItIsClosedAtOnce()
{
    const LoopbackPair pair(&mServer);
    pair.Device()->write("half a request");
    QVERIFY(pair.Device()->waitForBytesWritten(TIMEOUT_MS));
    QVERIFY(pair.Hub()->waitForReadyRead(TIMEOUT_MS));
    pair.Hub()->disconnectFromHost();
    QCOMPARE(pair.Hub()->state(), QAbstractSocket::UnconnectedState);
}

void tst_AppConnection::droppedReplyEnds()
{
    LoopbackPair pair(&mServer);
    pair.StopReading();
    pair.Hub()->write(LargeReply());
    QVERIFY(pair.Hub()->flush());
    pair.Hub()->disconnectFromHost();
    QCOMPARE(pair.Hub()->state(), QAbstractSocket::ClosingState);
    pair.Hub()->Drop();
    QCOMPARE(pair.Hub()->state(), QAbstractSocket::UnconnectedState);
    pair.Device()->setReadBufferSize(0);
    QTRY_COMPARE(pair.Device()->state(), QAbstractSocket::UnconnectedState);
    QVERIFY(pair.Device()->readAll().size() < LargeReply().size());
}

QTEST_GUILESS_MAIN(tst_AppConnection)

#include "tst_AppConnection.moc"
