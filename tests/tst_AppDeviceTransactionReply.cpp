// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

// How AppDeviceTransaction replies, and whole exchanges over the loopback interface.

#include "AppDeviceTransaction.h"
#include "AppPackage.h"
#include "SegmentSocket.h"
#include "TransactionState.h"
#include "Wire.h"

#include <QEventLoop>
#include <QHostAddress>
#include <QPointer>
#include <QSignalSpy>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTest>
#include <QThread>
#include <QTimer>

#include <memory>
#include <vector>

#ifdef Q_OS_UNIX
#include <sys/socket.h>
#endif

namespace
{

constexpr int TIMEOUT_MS = 5000; // of each wait for the device
constexpr int GAP_MS = 2000;     // between the pieces of a slow sender: well below the above
constexpr int LIMIT_MS = 60000;  // after which a test gives up

/// Fills a package with the program HELLO of two bytes.
void SetHello(AppPackage *package)
{
    AppDosName name;
    name.FromString(QStringLiteral("hello"), true);
    package->SetProgram(name, QByteArray::fromHex("0108"));
}

/// The whole reply around the wire form of a package.
QByteArray ReplyWith(const QByteArray &body)
{
    return "HTTP/1.1 200 Ok\r\n"
           "Content-Type: application/octet-stream\r\n"
           "Content-Transfer-Encoding: binary\r\n"
           "Content-Length: " +
           QByteArray::number(body.size()) + "\r\n\r\n" + body;
}

QByteArray EmptyPackageReply()
{
    return ReplyWith(QByteArray::fromHex("1F24CA73") + QByteArray(492, '\0'));
}

/// A client and the server it is connected to, on the loopback interface.
struct Loopback {
    Loopback()
    {
        server.listen(QHostAddress::LocalHost);
        client.connectToHost(QHostAddress(QHostAddress::LocalHost), server.serverPort());
    }

    /// The server's end of the connection, or null.
    QTcpSocket *Accept()
    {
        if (!client.waitForConnected(LIMIT_MS) || !server.waitForNewConnection(LIMIT_MS))
            return nullptr;
        return server.nextPendingConnection();
    }

    /// Hands the bytes to the network.
    bool Send(const QByteArray &bytes)
    {
        client.write(bytes);
        while (client.bytesToWrite() > 0) {
            if (!client.waitForBytesWritten(LIMIT_MS))
                return false;
        }
        return true;
    }

    QTcpServer server;
    QTcpSocket client;
};

/// What became of a request that was sent over a connection with a life of its own.
struct OUTCOME {
    bool valid = false;
    bool hasSocket = false;
    bool socketDeleted = false;
    bool disconnected = false;
    QByteArray received;
};

/// Sends the pieces with a gap between them and takes what comes until the connection ends.
void RunClient(quint16 port, const QList<QByteArray> &pieces, OUTCOME *outcome)
{
    QTcpSocket client;
    client.connectToHost(QHostAddress(QHostAddress::LocalHost), port);
    if (!client.waitForConnected(LIMIT_MS))
        return;
    for (int i = 0; i < pieces.size(); ++i) {
        if (i > 0 && client.state() == QAbstractSocket::ConnectedState)
            client.waitForReadyRead(GAP_MS); // nothing comes before the request is whole
        client.write(pieces.at(i));
        client.flush();
    }
    if (client.state() != QAbstractSocket::UnconnectedState)
        client.waitForDisconnected(LIMIT_MS);
    outcome->disconnected = client.state() == QAbstractSocket::UnconnectedState;
    outcome->received = client.readAll();
}

/// Reads one request from the socket, replies with an empty package and lets the socket go.
void Serve(QTcpSocket *socket, OUTCOME *outcome)
{
    QEventLoop loop;
    QObject::connect(socket, &QObject::destroyed, &loop, &QEventLoop::quit);
    QTimer::singleShot(LIMIT_MS, &loop, &QEventLoop::quit);
    const QPointer<QTcpSocket> guard(socket);
    {
        AppDeviceTransaction transaction(socket);
        outcome->valid = transaction.mValid;
        outcome->hasSocket = transaction.mSocket != nullptr;
        if (transaction.mValid)
            transaction.Reply(AppPackage());
    }
    loop.exec();
    outcome->socketDeleted = guard.isNull();
}

/// A conversation between a client and a server in threads of their own, as reading blocks.
class Conversation
{
public:
    explicit Conversation(const QList<QByteArray> &pieces)
        : mServerThread(QThread::create([this, pieces] { Run(pieces); }))
    {
        mServerThread->start();
    }

    ~Conversation() { mServerThread->wait(); }

    /// Waits for its end.
    const OUTCOME &Outcome()
    {
        mServerThread->wait();
        return mOutcome;
    }

private:
    void Run(const QList<QByteArray> &pieces)
    {
        QTcpServer server;
        server.listen(QHostAddress::LocalHost);
        const quint16 port = server.serverPort();
        const std::unique_ptr<QThread> clientThread(
            QThread::create([this, port, pieces] { RunClient(port, pieces, &mOutcome); }));
        clientThread->start();
        if (server.waitForNewConnection(LIMIT_MS))
            Serve(server.nextPendingConnection(), &mOutcome);
        clientThread->wait();
    }

    OUTCOME mOutcome;
    std::unique_ptr<QThread> mServerThread;
};

struct WAITING_CASE {
    const char *name;
    QByteArray request;
};

/// Requests that never become complete although the client stays.
std::vector<WAITING_CASE> WaitingCases()
{
    const QByteArray type = "POST / HTTP/1.1\r\nContent-Type: " + URL_ENCODED + "\r\n";
    return {
        {"nothing-at-all", ""},
        {"half-a-header-line", "POST / HT"},
        {"headers-without-end", type + "Content-Length: 5\r\n"},
        {"no-length", type + "\r\ncmd=1"},
        {"lower-case-length", type + "content-length: 5\r\n\r\ncmd=1"},
        {"body-one-byte-short", type + "Content-Length: 12\r\n\r\ncmd=1&req=1"},
        {"body-one-byte-long", type + "Content-Length: 12\r\n\r\ncmd=1&req=100"},
        {"line-end-behind-the-body", type + "Content-Length: 5\r\n\r\ncmd=1\r\n"},
        {"second-request-behind-the-body",
         HttpPost(URL_ENCODED, "cmd=1") + HttpPost(URL_ENCODED, "cmd=2")},
        {"length-without-a-number-before-a-body", type + "Content-Length: five\r\n\r\ncmd=1"},
        {"two-blanks-before-the-length", type + "Content-Length:  5\r\n\r\ncmd=1"},
        {"negative-length", type + "Content-Length: -5\r\n\r\ncmd=1"},
    };
}

const QByteArray SLOW_REQUEST = HttpPost(URL_ENCODED, "cmd=2&req=1");

} // namespace

class tst_AppDeviceTransactionReply : public QObject
{
    Q_OBJECT

private slots:
    void replyBytes_data();
    void replyBytes();
    void replyAnnouncesItsLength_data();
    void replyAnnouncesItsLength();
    void replyWaitsOnceWithoutLimit();
    void replyLeavesTheConnectionOpen();
    void replyToAPeerThatIsGone();
    void loopbackExchange_data();
    void loopbackExchange();
    void loopbackEarlyClose_data();
    void loopbackEarlyClose();
    void loopbackHalfClose_data();
    void loopbackHalfClose();
    void loopbackClientGoneBeforeTheReply();
    void loopbackReplyDoesNotWaitForAReader();
    void loopbackReadingDoesNotRunTheEventLoop();
    void incompleteRequestGetsNoReply_data();
    void incompleteRequestGetsNoReply();
    void slowSenderGetsItsReply();

private:
    void StartConversations();

    // Run side by side, as each takes at least as long as one wait.
    std::vector<std::unique_ptr<Conversation>> mWaiting;
    std::unique_ptr<Conversation> mSlow;
};

void tst_AppDeviceTransactionReply::replyBytes_data()
{
    QTest::addColumn<int>("result");
    QTest::addColumn<bool>("program");
    QTest::addColumn<QByteArray>("reply");

    const QByteArray head = "HTTP/1.1 200 Ok\r\n"
                            "Content-Type: application/octet-stream\r\n"
                            "Content-Transfer-Encoding: binary\r\n"
                            "Content-Length: ";
    QTest::newRow("empty") << 0 << false
                           << QByteArray(head + "496\r\n\r\n" + QByteArray::fromHex("1F24CA73") +
                                         QByteArray(492, '\0'));
    QTest::newRow("login-refused")
        << int(AppPackage::RESULT_AUTH_FAILURE) << false
        << QByteArray(head + "496\r\n\r\n" + QByteArray::fromHex("1F24CA73 0000 A7 00") +
                      QByteArray(488, '\0'));
    QTest::newRow("program") << 0 << true
                             << QByteArray(
                                    head + "498\r\n\r\n" +
                                    QByteArray::fromHex("1F24CA73 0000 00 01 02000000 00000000"
                                                        "00 00 0000 02000000 48454C4C4F") +
                                    QByteArray(11, '\xA0') + QByteArray(456, '\0') +
                                    QByteArray::fromHex("0108"));
}

void tst_AppDeviceTransactionReply::replyBytes()
{
    QFETCH(int, result);
    QFETCH(bool, program);
    QFETCH(QByteArray, reply);
    Exchange exchange({HttpPost(URL_ENCODED, "cmd=1")});
    AppPackage package;
    package.result = result;
    if (program)
        SetHello(&package);

    QCOMPARE(exchange.transaction.Reply(package), 0);

    QCOMPARE(exchange.socket->Writes(), QList<QByteArray>({reply}));
}

void tst_AppDeviceTransactionReply::replyAnnouncesItsLength_data()
{
    QTest::addColumn<int>("disks");
    QTest::addColumn<int>("imageSize");
    QTest::addColumn<QByteArray>("length");

    QTest::newRow("one-d64") << 1 << 174848 << QByteArray("180720");
    QTest::newRow("one-empty-image") << 1 << 0 << QByteArray("4592");
    QTest::newRow("as-many-d82-as-fit") << 20 << 1066496 << QByteArray("21463536");
    QTest::newRow("more-d82-than-fit") << 21 << 1066496 << QByteArray("21463536");
}

void tst_AppDeviceTransactionReply::replyAnnouncesItsLength()
{
    QFETCH(int, disks);
    QFETCH(int, imageSize);
    QFETCH(QByteArray, length);
    Exchange exchange({HttpPost(URL_ENCODED, "cmd=1")});
    AppPackage package;
    for (int i = 0; i < disks; ++i)
        package.AddDisk(AppPackage::DISK_D82, AppDosName(), QByteArray(imageSize, 'd'));

    QCOMPARE(exchange.transaction.Reply(package), 0);

    QByteArray reply;
    for (const QByteArray &piece : exchange.socket->Writes())
        reply += piece;
    const int bodyStart = int(reply.indexOf("\r\n\r\n")) + 4;
    const QByteArray head = reply.left(bodyStart);
    QCOMPARE(head.mid(head.lastIndexOf(' ') + 1), length + "\r\n\r\n");
    QCOMPARE(QByteArray::number(reply.size() - bodyStart), length);
    QByteArray body;
    package.Export(&body);
    QVERIFY(reply == ReplyWith(body)); // too long to be printed
}

void tst_AppDeviceTransactionReply::replyWaitsOnceWithoutLimit()
{
    Exchange exchange({HttpPost(URL_ENCODED, "cmd=1")});
    QCOMPARE(exchange.socket->WriteTimeouts(), QList<int>());
    exchange.transaction.Reply(AppPackage());
    QCOMPARE(exchange.socket->WriteTimeouts(), QList<int>({-1}));
    QCOMPARE(exchange.socket->ReadTimeouts(), QList<int>({TIMEOUT_MS}));
}

void tst_AppDeviceTransactionReply::replyLeavesTheConnectionOpen()
{
    SegmentSocket socket({HttpPost(URL_ENCODED, "cmd=1")});
    {
        AppDeviceTransaction transaction(&socket);
        transaction.Reply(AppPackage());
        QCOMPARE(socket.Disconnects(), 0);
        QCOMPARE(transaction.mSocket, &socket);
    }
    QCOMPARE(socket.Disconnects(), 1);
    QCOMPARE(socket.Writes(), QList<QByteArray>({EmptyPackageReply()}));
}

void tst_AppDeviceTransactionReply::replyToAPeerThatIsGone()
{
    Exchange exchange({HttpPost(URL_ENCODED, "cmd=1")});
    exchange.socket->SetPeerGone();
    QCOMPARE(exchange.transaction.Reply(AppPackage()), 0);
    QCOMPARE(exchange.socket->Writes(), QList<QByteArray>());
    QCOMPARE(exchange.socket->Disconnects(), 0);
}

void tst_AppDeviceTransactionReply::loopbackExchange_data()
{
    QTest::addColumn<QByteArray>("request");
    QTest::addColumn<QByteArray>("state");

    for (const REQUEST_CASE &row : RequestCases())
        QTest::newRow(row.name) << row.request << row.state;
}

void tst_AppDeviceTransactionReply::loopbackExchange()
{
    QFETCH(QByteArray, request);
    QFETCH(QByteArray, state);
    Loopback loopback;
    const QPointer<QTcpSocket> socket(loopback.Accept());
    QVERIFY(socket);
    QVERIFY(loopback.Send(request));
    if (!state.startsWith("valid"))
        loopback.client.disconnectFromHost();
    QSignalSpy disconnected(&loopback.client, &QTcpSocket::disconnected);
    {
        AppDeviceTransaction transaction(socket);
        QCOMPARE(State(transaction), state);
        QCOMPARE(transaction.mSocket, transaction.mValid ? socket.data() : nullptr);
        if (transaction.mValid)
            QCOMPARE(transaction.Reply(AppPackage()), 0);
    }
    QTRY_COMPARE(loopback.client.state(), QAbstractSocket::UnconnectedState);
    QCOMPARE(loopback.client.readAll(),
             state.startsWith("valid") ? EmptyPackageReply() : QByteArray());
    QTRY_VERIFY(socket.isNull());
}

void tst_AppDeviceTransactionReply::loopbackEarlyClose_data()
{
    QTest::addColumn<QByteArray>("request");

    QTest::newRow("before-anything") << QByteArray();
    QTest::newRow("in-the-headers") << QByteArray("POST / HTTP/1.1\r\nContent-Len");
    QTest::newRow("behind-the-headers")
        << QByteArray("POST / HTTP/1.1\r\nContent-Length: 5\r\n\r\n");
    QTest::newRow("in-the-body") << QByteArray("POST / HTTP/1.1\r\nContent-Length: 5\r\n\r\ncmd=");
    QTest::newRow("behind-a-body-without-length") << QByteArray("POST / HTTP/1.1\r\n\r\ncmd=1");
    QTest::newRow("behind-too-long-a-body") << HttpPost(URL_ENCODED, "cmd=1").append("\r\n");
}

void tst_AppDeviceTransactionReply::loopbackEarlyClose()
{
    QFETCH(QByteArray, request);
    Loopback loopback;
    const QPointer<QTcpSocket> socket(loopback.Accept());
    QVERIFY(socket);
    QVERIFY(loopback.Send(request));
    loopback.client.disconnectFromHost();
    {
        const AppDeviceTransaction transaction(socket);
        QVERIFY(!transaction.mValid);
        QVERIFY(!transaction.mSocket);
        QCOMPARE(Properties(transaction), QByteArray());
    }
    QTRY_VERIFY(socket.isNull());
}

void tst_AppDeviceTransactionReply::loopbackHalfClose_data()
{
    QTest::addColumn<bool>("large");

    QTest::newRow("small-reply") << false;
    QTest::newRow("large-reply") << true;
}

void tst_AppDeviceTransactionReply::loopbackHalfClose()
{
#ifdef Q_OS_UNIX
    QFETCH(bool, large);
    AppPackage package;
    if (large)
        FillWithDisks(&package);
    QByteArray body;
    package.Export(&body);

    Loopback loopback;
    const QPointer<QTcpSocket> socket(loopback.Accept());
    QVERIFY(socket);
    QVERIFY(loopback.Send(HttpPost(URL_ENCODED, "cmd=1")));
    QCOMPARE(::shutdown(int(loopback.client.socketDescriptor()), SHUT_WR), 0);
    {
        AppDeviceTransaction transaction(socket);
        QVERIFY(transaction.mValid);
        QCOMPARE(transaction.Reply(package), 0);
    }
    QTRY_COMPARE_WITH_TIMEOUT(loopback.client.state(), QAbstractSocket::UnconnectedState, LIMIT_MS);
    const QByteArray received = loopback.client.readAll();
    QCOMPARE(received.size(), ReplyWith(body).size());
    QVERIFY(received == ReplyWith(body)); // too long to be printed
    QTRY_VERIFY(socket.isNull());
#else
    QSKIP("closing one direction takes a call of the system");
#endif
}

void tst_AppDeviceTransactionReply::loopbackClientGoneBeforeTheReply()
{
    Loopback loopback;
    const QPointer<QTcpSocket> socket(loopback.Accept());
    QVERIFY(socket);
    QVERIFY(loopback.Send(HttpPost(URL_ENCODED, "cmd=1")));
    AppPackage package;
    FillWithDisks(&package);
    {
        AppDeviceTransaction transaction(socket);
        QVERIFY(transaction.mValid);
        loopback.client.abort();
        QCOMPARE(transaction.Reply(package), 0);
    }
    QTRY_VERIFY(socket.isNull());
}

void tst_AppDeviceTransactionReply::loopbackReplyDoesNotWaitForAReader()
{
    AppPackage package;
    FillWithDisks(&package);
    QByteArray body;
    package.Export(&body);
    Loopback loopback;
    const QPointer<QTcpSocket> socket(loopback.Accept());
    QVERIFY(socket);
    QVERIFY(loopback.Send(HttpPost(URL_ENCODED, "cmd=1")));
    {
        AppDeviceTransaction transaction(socket);
        QVERIFY(transaction.mValid);
        // The client reads nothing before this returns, and the network does not take all of it.
        QCOMPARE(transaction.Reply(package), 0);
        QVERIFY(socket->bytesToWrite() > 0);
        QVERIFY(socket->bytesToWrite() < ReplyWith(body).size());
    }
    QTRY_COMPARE_WITH_TIMEOUT(loopback.client.state(), QAbstractSocket::UnconnectedState, LIMIT_MS);
    QVERIFY(loopback.client.readAll() == ReplyWith(body)); // too long to be printed
    QTRY_VERIFY(socket.isNull());
}

void tst_AppDeviceTransactionReply::loopbackReadingDoesNotRunTheEventLoop()
{
    Loopback loopback;
    QTcpSocket *const socket = loopback.Accept();
    QVERIFY(socket);
    QVERIFY(loopback.Send(HttpPost(URL_ENCODED, "cmd=1")));
    bool fired = false;
    QTimer::singleShot(0, this, [&fired] { fired = true; });
    {
        AppDeviceTransaction transaction(socket);
        QVERIFY(transaction.mValid);
        QCOMPARE(transaction.Reply(AppPackage()), 0);
    }
    QVERIFY(!fired);
    QTRY_VERIFY(fired);
}

void tst_AppDeviceTransactionReply::StartConversations()
{
    if (mSlow)
        return;
    // Whole lines, parts of them and of the body; all gaps together are longer than one wait.
    const QByteArray request = SLOW_REQUEST;
    static_assert(3 * GAP_MS > TIMEOUT_MS && 2 * GAP_MS < TIMEOUT_MS, "gaps last, each is short");
    mSlow.reset(new Conversation({request.left(10), request.mid(10, 50),
                                  request.mid(60, request.size() - 65), request.right(5)}));
    for (const WAITING_CASE &waiting : WaitingCases())
        mWaiting.emplace_back(new Conversation({waiting.request}));
}

void tst_AppDeviceTransactionReply::incompleteRequestGetsNoReply_data()
{
    QTest::addColumn<int>("index");

    int index = 0;
    for (const WAITING_CASE &waiting : WaitingCases())
        QTest::newRow(waiting.name) << index++;
}

void tst_AppDeviceTransactionReply::incompleteRequestGetsNoReply()
{
    QFETCH(int, index);
    StartConversations();
    const OUTCOME &outcome = mWaiting.at(size_t(index))->Outcome();
    QVERIFY(!outcome.valid);
    QVERIFY(!outcome.hasSocket);
    QVERIFY(outcome.disconnected);
    QVERIFY(outcome.socketDeleted);
    QCOMPARE(outcome.received, QByteArray());
}

void tst_AppDeviceTransactionReply::slowSenderGetsItsReply()
{
    StartConversations();
    const OUTCOME &outcome = mSlow->Outcome();
    QVERIFY(outcome.valid);
    QVERIFY(outcome.hasSocket);
    QVERIFY(outcome.disconnected);
    QVERIFY(outcome.socketDeleted);
    QCOMPARE(outcome.received, EmptyPackageReply());
}

QTEST_GUILESS_MAIN(tst_AppDeviceTransactionReply)
#include "tst_AppDeviceTransactionReply.moc"
