// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#include "AppDeviceTransaction.h"
#include "AppPackage.h"
#include "HubProcess.h"
#include "LoopbackPair.h"
#include "Wire.h"

#include <QElapsedTimer>
#include <QTest>
#include <QThread>

#include <functional>
#include <memory>

namespace
{

constexpr int REQUEST_TIME_MS = 300; ///< that the tests give to a request

/// A device with a thread of its own, since the hub's end blocks the test's.
class Device
{
public:
    using TALK = std::function<void(QTcpSocket *)>;

    Device(quint16 port, const TALK &talk)
        : mThread(QThread::create([port, talk] {
            QTcpSocket socket;
            socket.connectToHost(QHostAddress(QHostAddress::LocalHost), port);
            if (socket.waitForConnected(TIMEOUT_MS))
                talk(&socket);
        }))
    {
        mThread->start();
    }
    ~Device() { mThread->wait(); }
    Device(const Device &) = delete;
    Device &operator=(const Device &) = delete;

private:
    const std::unique_ptr<QThread> mThread;
};

/// Sends `bytes` in steps of `step`, one every `pauseMs`, until the hub closes.
void SendSlowly(QTcpSocket *socket, const QByteArray &bytes, int step, int pauseMs)
{
    for (int sent = 0; sent < bytes.size(); sent += step) {
        socket->write(bytes.mid(sent, step));
        socket->flush();
        if (socket->waitForDisconnected(pauseMs))
            return;
    }
    socket->waitForDisconnected(TIMEOUT_MS);
}

} // namespace

class tst_AppDeviceTransactionPace : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void dribbledRequestIsDropped_data();
    void dribbledRequestIsDropped();
    void slowSteadyRequestIsAnswered();
    void dribbleWithinTheTimeIsAnswered();
    void deviceThatResetsCostsNoWarning_data();
    void deviceThatResetsCostsNoWarning();

private:
    AppConnection *Accept();

    AppServer mServer;
};

void tst_AppDeviceTransactionPace::initTestCase()
{
    QVERIFY(mServer.Listen(QHostAddress(QHostAddress::LocalHost), 0));
    QCOMPARE(AppDeviceTransaction::REQUEST_TIME_MS, 60000);
    QCOMPARE(AppDeviceTransaction::BYTES_PER_SECOND_MIN, 1024);
}

AppConnection *tst_AppDeviceTransactionPace::Accept()
{
    if (!mServer.waitForNewConnection(TIMEOUT_MS))
        qFatal("no connection");
    return static_cast<AppConnection *>(mServer.nextPendingConnection());
}

void tst_AppDeviceTransactionPace::dribbledRequestIsDropped_data()
{
    QTest::addColumn<QByteArray>("request");

    QTest::newRow("in-the-headers") << "X-Long: " + QByteArray(5000, 'x');
    QTest::newRow("in-the-body") << HttpPost("text/plain", QByteArray(5000, 'x'));
}

void tst_AppDeviceTransactionPace::dribbledRequestIsDropped()
{
    QFETCH(QByteArray, request);

    QElapsedTimer timer;
    timer.start();
    const Device device(mServer.serverPort(),
                        [request](QTcpSocket *socket) { SendSlowly(socket, request, 1, 10); });
    const AppDeviceTransaction transaction(Accept(), REQUEST_TIME_MS);
    QVERIFY(!transaction.mValid);
    QVERIFY(timer.elapsed() >= REQUEST_TIME_MS);
    QVERIFY(timer.elapsed() < AppDeviceTransaction::READ_TIMEOUT_MS);
}

void tst_AppDeviceTransactionPace::slowSteadyRequestIsAnswered()
{
    // About 10 KiB/s, for longer than a request may take without a pace.
    const QByteArray body(8 * 1024, 'x');
    QElapsedTimer timer;
    timer.start();
    const Device device(mServer.serverPort(), [body](QTcpSocket *socket) {
        SendSlowly(socket, HttpPost("text/plain", body), 256, 25);
    });
    AppDeviceTransaction transaction(Accept(), REQUEST_TIME_MS);
    QVERIFY(timer.elapsed() > REQUEST_TIME_MS);
    QVERIFY(transaction.mValid);
}

void tst_AppDeviceTransactionPace::dribbleWithinTheTimeIsAnswered()
{
    const Device device(mServer.serverPort(),
                        [](QTcpSocket *socket) { SendSlowly(socket, SearchRequest("*"), 4, 10); });
    AppDeviceTransaction transaction(Accept());
    QVERIFY(transaction.mValid);
    QCOMPARE(transaction.mCmd, int(AppDeviceTransaction::COMMAND_SEARCH));
}

void tst_AppDeviceTransactionPace::deviceThatResetsCostsNoWarning_data()
{
    QTest::addColumn<bool>("whole");

    QTest::newRow("after-the-request") << true;
    QTest::newRow("within-the-request") << false;
}

void tst_AppDeviceTransactionPace::deviceThatResetsCostsNoWarning()
{
    QFETCH(bool, whole);

    static QStringList sWarnings;
    sWarnings.clear();
    const QtMessageHandler before =
        qInstallMessageHandler([](QtMsgType, const QMessageLogContext &, const QString &message) {
            sWarnings.append(message);
        });
    {
        LoopbackPair pair(&mServer);
        const QByteArray request = SearchRequest("*");
        pair.Device()->write(whole ? request : request.left(20));
        pair.Device()->flush();
        Reset(pair.Device());
        AppDeviceTransaction transaction(pair.Hub());
        if (transaction.mValid)
            transaction.Reply(AppPackage());
    }
    qInstallMessageHandler(before);
    QCOMPARE(sWarnings.join(QLatin1Char(10)), QString());
}

QTEST_GUILESS_MAIN(tst_AppDeviceTransactionPace)

#include "tst_AppDeviceTransactionPace.moc"
