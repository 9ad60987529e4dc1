// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#include "AppDeviceTransaction.h"
#include "AppPackage.h"
#include "SegmentSocket.h"

#include <QByteArrayList>
#include <QCryptographicHash>
#include <QEventLoop>
#include <QHostAddress>
#include <QMetaMethod>
#include <QPointer>
#include <QSignalSpy>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTest>
#include <QThread>
#include <QTimer>
#include <QTranslator>

#include <limits>
#include <memory>
#include <utility>
#include <vector>

#ifdef Q_OS_UNIX
#include <sys/socket.h>
#endif

namespace
{

const QByteArray URL_ENCODED = QByteArrayLiteral("application/x-www-form-urlencoded");
const QByteArray MULTIPART = QByteArrayLiteral("multipart/form-data; boundary=XyZ");
const QByteArray END = QByteArrayLiteral("--XyZ--\r\n");

constexpr int TIMEOUT_MS = 5000; // of each wait for the device
constexpr int GAP_MS = 2000;     // between the pieces of a slow sender: well below the above
constexpr int LIMIT_MS = 60000;  // after which a test gives up

/// The bytes of a literal, NUL bytes among them.
template <int N> QByteArray Bytes(const char (&literal)[N])
{
    return QByteArray(literal, N - 1);
}

QByteArray Request(const QByteArray &contentType, const QByteArray &body)
{
    return "POST / HTTP/1.1\r\nHost: 192.168.1.10\r\nContent-Type: " + contentType +
           "\r\nContent-Length: " + QByteArray::number(body.size()) + "\r\n\r\n" + body;
}

/// A part of a multipart body with the boundary "XyZ", delimiter first.
QByteArray Field(const QByteArray &name, const QByteArray &value)
{
    return "--XyZ\r\nContent-Disposition: form-data; name=\"" + name + "\"\r\n\r\n" + value +
           "\r\n";
}

QByteArray FilePart(const QByteArray &name, const QByteArray &fileName, const QByteArray &bytes)
{
    return "--XyZ\r\nContent-Disposition: form-data; name=\"" + name + "\"; filename=\"" +
           fileName + "\"\r\nContent-Type: application/octet-stream\r\n\r\n" + bytes + "\r\n";
}

/// Fills a package with the program HELLO of two bytes.
void SetHello(AppPackage *package)
{
    AppDosName name;
    name.FromString(QStringLiteral("hello"), true);
    package->SetProgram(name, QByteArray::fromHex("0108"));
}

/// The wire form of the package with the program HELLO.
QByteArray HelloPackage()
{
    AppPackage package;
    SetHello(&package);
    QByteArray bytes;
    package.Export(&bytes);
    return bytes;
}

QByteArray HelloAndDiskPackage()
{
    AppPackage package;
    SetHello(&package);
    AppDosName name;
    name.FromString(QStringLiteral("games"), true);
    package.AddDisk(AppPackage::DISK_D81, name, QByteArray());
    QByteArray bytes;
    package.Export(&bytes);
    return bytes;
}

/// The characters of a name; bytes that are not printable ASCII in hexadecimal.
QByteArray Described(const AppDosName &name)
{
    QByteArray text;
    for (unsigned int i = 0; i < name.Length(); ++i) {
        const char c = name.Bytes()[i];
        if (c >= 0x20 && c < 0x7F)
            text += c;
        else
            text += "\\x" + QByteArray(1, c).toHex();
    }
    return text;
}

QByteArray Described(const AppDosName &name, const QByteArray &data, bool replace)
{
    return Described(name) + ',' + QByteArray::number(data.size()) + ',' +
           QCryptographicHash::hash(data, QCryptographicHash::Md5).toHex().left(8) +
           (replace ? "!" : "");
}

QByteArray Described(const AppPackage &package)
{
    QByteArray text = "package{" + QByteArray::number(package.result);
    if (!package.Program().data.isEmpty()) {
        const AppPackage::PROGRAM &program = package.Program();
        text += " program " + Described(program.name, program.data, program.replace);
    }
    for (int i = 0; i < package.NumDisks(); ++i) {
        const AppPackage::DISK *disk = package.Disk(i);
        text += " disk " + QByteArray::number(disk->type) + ' ' +
                Described(disk->name, disk->data, disk->replace);
    }
    return text + '}';
}

/// What a package becomes whose wire form is `bytes`.
QByteArray DescribedImport(const QByteArray &bytes)
{
    AppPackage package;
    package.Import(bytes);
    return Described(package);
}

/// The properties that differ from their initial values: "usr=[bob] cmd=1".
QByteArray Properties(const AppDeviceTransaction &transaction)
{
    QByteArrayList list;
    const auto addText = [&list](const char *name, const QString &value) {
        if (!value.isEmpty())
            list.append(name + ("=[" + value.toUtf8() + ']'));
    };
    const auto addNumber = [&list](const char *name, int value, int initial) {
        if (value != initial)
            list.append(name + ('=' + QByteArray::number(value)));
    };
    addText("usr", transaction.mUsr);
    addText("pwd", transaction.mPwd);
    addNumber("dev", transaction.mDev, 0);
    addText("udid", transaction.mUdid);
    if (QByteArray(transaction.mPat.Bytes(), AppDosName::SIZE) != QByteArray(16, '\xA0'))
        list.append("pat=[" + Described(transaction.mPat) + ']');
    addNumber("cmd", transaction.mCmd, 0);
    addNumber("req", transaction.mReq, -1);
    addNumber("mem", transaction.mMem, 0);
    if (transaction.mPackage)
        list.append(Described(*transaction.mPackage));
    return list.join(' ');
}

/// All that a request leaves in the transaction.
QByteArray State(const AppDeviceTransaction &transaction)
{
    return QByteArray(transaction.mValid ? "valid" : "invalid") +
           (transaction.mHeadersDone ? " [" : " headers [") + transaction.mContentType.toUtf8() +
           "] [" + transaction.mBoundary.toUtf8() + "] " +
           QByteArray::number(transaction.mContentRemaining) + ' ' + Properties(transaction);
}

/// A transaction that has read the segments, and its connection.
struct Exchange {
    explicit Exchange(const QList<QByteArray> &segments = QList<QByteArray>())
        : socket(new SegmentSocket(segments)), transaction(socket.get())
    {
    }

    std::unique_ptr<SegmentSocket> socket; // outlives the transaction
    AppDeviceTransaction transaction;
};

QList<QByteArray> SingleBytes(const QByteArray &bytes)
{
    QList<QByteArray> segments;
    for (const char c : bytes)
        segments.append(QByteArray(1, c));
    return segments;
}

QList<QByteArray> Pieces(const QByteArray &bytes, int size)
{
    QList<QByteArray> segments;
    for (int i = 0; i < bytes.size(); i += size)
        segments.append(bytes.mid(i, size));
    return segments;
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
         Request(URL_ENCODED, "cmd=1") + Request(URL_ENCODED, "cmd=2")},
        {"length-without-a-number-before-a-body", type + "Content-Length: five\r\n\r\ncmd=1"},
        {"two-blanks-before-the-length", type + "Content-Length:  5\r\n\r\ncmd=1"},
        {"negative-length", type + "Content-Length: -5\r\n\r\ncmd=1"},
    };
}

const QByteArray SLOW_REQUEST = Request(URL_ENCODED, "cmd=2&req=1");

/// Translates the two content types into others.
class TypeTranslator : public QTranslator
{
public:
    bool isEmpty() const override { return false; }

    QString translate(const char *context, const char *sourceText, const char *, int) const override
    {
        if (QByteArray(context) != "AppDeviceTransaction")
            return QString();
        if (QByteArray(sourceText) == "application/x-www-form-urlencoded")
            return QStringLiteral("text/pairs");
        if (QByteArray(sourceText) == "multipart/form-data")
            return QStringLiteral("text/parts");
        return QString();
    }
};

/// A package with as many D82 images as fit: more than the network takes at once.
void FillWithDisks(AppPackage *package)
{
    const QByteArray image(1066496, 'd');
    for (int i = 0; i < AppPackageFormat::OBJECTS_MAX; ++i)
        package->AddDisk(AppPackage::DISK_D82, AppDosName(), image);
}

} // namespace

class tst_AppDeviceTransaction : public QObject
{
    Q_OBJECT

private slots:
    void metaObjectDeclaresOnePrivateSlot();
    void metaCastKnowsTheClassAndItsBase();
    void slotReadsFromTheSocketThatSignals();
    void initialValues();

    void completeRequestIsReadWithOneWait();
    void completeRequestEndsTheLoopAtOnce();
    void everyWaitIsLimited();
    void failureDisconnects();
    void destructionDisconnectsACompleteRequest();
    void disconnectedSocketDeletesItself_data();
    void disconnectedSocketDeletesItself();

    void headers_data();
    void headers();
    void partialLineStaysInTheSocket();
    void lengthZeroIsCompleteBeforeTheBlankLine();
    void lengthZeroWithoutBodyIsNotParsed_data();
    void lengthZeroWithoutBodyIsNotParsed();
    void requestLineAndOtherHeadersAreIgnored_data();
    void requestLineAndOtherHeadersAreIgnored();
    void bodyIsGatheredInOrder();
    void bodyIsReadInOnePieceForEachSignal();
    void emptySegmentsChangeNothing();
    void incompleteBodyIsNotParsed();
    void hugeAnnouncementTakesLittleMemory();
    void tooLongBodyNeverCompletes_data();
    void tooLongBodyNeverCompletes();
    void counterDoesNotWrap();
    void bytesAfterCompletionChangeNothing();
    void extraSegmentIsNotWaitedFor();
    void malformedBodyIsValidAllTheSame();
    void hugeHeadersAreRead_data();
    void hugeHeadersAreRead();
    void hugeBodyIsRead();

    void requestIsReadHoweverItIsCut_data();
    void requestIsReadHoweverItIsCut();

    void readContentLine_data();
    void readContentLine();
    void readContentLineUpToTheEnd();
    void contentMayBeAssignedAtAnyTime();

    void setProperty_data();
    void setProperty();
    void setPropertyTakesTheLaterValue();

    void parseUrlEncoded_data();
    void parseUrlEncoded();
    void parseMultipart_data();
    void parseMultipart();
    void parseDisposition_data();
    void parseDisposition();
    void parsePackage_data();
    void parsePackage();
    void parseNothingOfOtherTypes_data();
    void parseNothingOfOtherTypes();
    void parsePassesTheTypesThroughTranslation();
    void parseWithBoundary_data();
    void parseWithBoundary();
    void parseConsumesUpToTheClosingDelimiter();
    void parseFindsTheFirstDelimiter();
    void parseLargeBodies_data();
    void parseLargeBodies();

    void replyBytes_data();
    void replyBytes();
    void replyAnnouncesItsLength_data();
    void replyAnnouncesItsLength();
    void replyWaitsOnceWithoutLimit();
    void replyLeavesTheConnectionOpen();
    void replyToAPeerThatIsGone();
    void bytesBehindTheExchangeAreDropped();

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

void tst_AppDeviceTransaction::metaObjectDeclaresOnePrivateSlot()
{
    const QMetaObject &meta = AppDeviceTransaction::staticMetaObject;
    QCOMPARE(QByteArray(meta.className()), QByteArray("AppDeviceTransaction"));
    QCOMPARE(meta.superClass(), &QObject::staticMetaObject);
    QCOMPARE(meta.methodCount() - meta.methodOffset(), 1);

    const QMetaMethod method = meta.method(meta.methodOffset());
    QCOMPARE(method.methodSignature(), QByteArray("ReadyRead()"));
    QCOMPARE(method.methodType(), QMetaMethod::Slot);
    QCOMPARE(method.access(), QMetaMethod::Private);
}

void tst_AppDeviceTransaction::metaCastKnowsTheClassAndItsBase()
{
    Exchange exchange;
    AppDeviceTransaction *const transaction = &exchange.transaction;
    QCOMPARE(transaction->metaObject(), &AppDeviceTransaction::staticMetaObject);
    QCOMPARE(transaction->qt_metacast("AppDeviceTransaction"), static_cast<void *>(transaction));
    QCOMPARE(transaction->qt_metacast("QObject"),
             static_cast<void *>(static_cast<QObject *>(transaction)));
    QVERIFY(!transaction->qt_metacast("AppPackage"));
}

void tst_AppDeviceTransaction::slotReadsFromTheSocketThatSignals()
{
    Exchange exchange;
    SegmentSocket other({Request(URL_ENCODED, "usr=other&cmd=2")});
    QVERIFY(connect(&other, SIGNAL(readyRead()), &exchange.transaction, SLOT(ReadyRead())));

    QVERIFY(other.waitForReadyRead(0));

    QCOMPARE(Properties(exchange.transaction), QByteArray("usr=[other] cmd=2"));
    QCOMPARE(exchange.transaction.mContentRemaining, 0);
}

void tst_AppDeviceTransaction::initialValues()
{
    const Exchange exchange;
    const AppDeviceTransaction &transaction = exchange.transaction;
    QVERIFY(!transaction.parent());
    QVERIFY(!transaction.mSocket);
    QVERIFY(!transaction.mValid);
    QCOMPARE(transaction.mHeadersDone, 0);
    QCOMPARE(transaction.mContent, QByteArray());
    QCOMPARE(transaction.mContentType, QString());
    QCOMPARE(transaction.mBoundary, QString());
    QCOMPARE(transaction.mContentRemaining, -1);
    QCOMPARE(transaction.mUsr, QString());
    QCOMPARE(transaction.mPwd, QString());
    QCOMPARE(transaction.mDev, 0);
    QCOMPARE(transaction.mUdid, QString());
    QCOMPARE(transaction.mCmd, 0);
    QCOMPARE(QByteArray(transaction.mPat.Bytes(), 16), QByteArray(16, '\xA0'));
    QCOMPARE(transaction.mReq, -1);
    QCOMPARE(transaction.mMem, 0);
    QVERIFY(!transaction.mPackage);
}

void tst_AppDeviceTransaction::completeRequestIsReadWithOneWait()
{
    const Exchange exchange({Request(URL_ENCODED, "cmd=1")});
    QVERIFY(exchange.transaction.mValid);
    QCOMPARE(exchange.transaction.mSocket, exchange.socket.get());
    QCOMPARE(exchange.transaction.mHeadersDone, 1);
    QCOMPARE(exchange.transaction.mContentRemaining, 0);
    QCOMPARE(exchange.transaction.mCmd, 1);
    QCOMPARE(exchange.socket->ReadTimeouts(), QList<int>({TIMEOUT_MS}));
    QCOMPARE(exchange.socket->Disconnects(), 0);
    QCOMPARE(exchange.socket->Writes(), QList<QByteArray>());
}

void tst_AppDeviceTransaction::completeRequestEndsTheLoopAtOnce()
{
    QList<QByteArray> segments = Pieces(Request(URL_ENCODED, "cmd=1"), 40);
    const int needed = int(segments.size());
    segments << "x"
             << "y";
    const Exchange exchange(segments);
    QVERIFY(exchange.transaction.mValid);
    QCOMPARE(int(exchange.socket->ReadTimeouts().size()), needed);
    QCOMPARE(exchange.socket->SegmentsLeft(), 2);
}

void tst_AppDeviceTransaction::everyWaitIsLimited()
{
    const Exchange exchange({"POST / HTTP/1.1\r\nContent-", "Length: 5\r\n", "\r\ncmd"});
    QVERIFY(!exchange.transaction.mValid);
    QCOMPARE(exchange.socket->ReadTimeouts(),
             QList<int>({TIMEOUT_MS, TIMEOUT_MS, TIMEOUT_MS, TIMEOUT_MS}));
}

void tst_AppDeviceTransaction::failureDisconnects()
{
    SegmentSocket socket({"POST / HTTP/1.1\r\n"});
    {
        const AppDeviceTransaction transaction(&socket);
        QVERIFY(!transaction.mValid);
        QVERIFY(!transaction.mSocket);
        QCOMPARE(socket.Disconnects(), 1);
    }
    QCOMPARE(socket.Disconnects(), 1);
    QCOMPARE(socket.Writes(), QList<QByteArray>());
}

void tst_AppDeviceTransaction::destructionDisconnectsACompleteRequest()
{
    SegmentSocket socket({Request(URL_ENCODED, "cmd=1")});
    {
        const AppDeviceTransaction transaction(&socket);
        QVERIFY(transaction.mValid);
        QCOMPARE(socket.Disconnects(), 0);
    }
    QCOMPARE(socket.Disconnects(), 1);
}

void tst_AppDeviceTransaction::disconnectedSocketDeletesItself_data()
{
    QTest::addColumn<QByteArray>("request");

    QTest::newRow("complete") << Request(URL_ENCODED, "cmd=1");
    QTest::newRow("incomplete") << QByteArray("POST / HTTP/1.1\r\n");
}

void tst_AppDeviceTransaction::disconnectedSocketDeletesItself()
{
    QFETCH(QByteArray, request);
    const QPointer<SegmentSocket> socket(new SegmentSocket({request}));
    {
        const AppDeviceTransaction transaction(socket);
    }
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    QVERIFY(!socket.isNull());

    emit socket->disconnected();

    QVERIFY(!socket.isNull());
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    QVERIFY(socket.isNull());
}

void tst_AppDeviceTransaction::headers_data()
{
    QTest::addColumn<QByteArray>("block");
    QTest::addColumn<QString>("contentType");
    QTest::addColumn<QString>("boundary");
    QTest::addColumn<int>("remaining");
    QTest::addColumn<int>("done");

    const auto type = [](const char *name, const QByteArray &line, const char *contentType,
                         const char *boundary) {
        QTest::newRow(name) << QByteArray("POST / HTTP/1.1\r\n" + line + "\r\n\r\n")
                            << QString::fromLatin1(contentType) << QString::fromLatin1(boundary)
                            << -1 << 1;
    };
    // The last word of a line carries the line's end.
    type("type-is-the-second-word", "Content-Type: text/plain; charset=utf-8", "text/plain;", "");
    type("type-as-the-last-word-keeps-the-line-end",
         "Content-Type: application/x-www-form-urlencoded", "application/x-www-form-urlencoded\r\n",
         "");
    type("type-with-boundary", "Content-Type: multipart/form-data; boundary=XyZ",
         "multipart/form-data;", "XyZ");
    type("type-in-lower-case-is-ignored", "content-type: text/plain", "", "");
    type("type-in-capitals-is-ignored", "CONTENT-TYPE: text/plain", "", "");
    type("type-behind-a-blank-is-ignored", " Content-Type: text/plain", "", "");
    type("type-with-a-blank-before-the-colon-is-ignored", "Content-Type : text/plain", "", "");
    type("type-without-a-blank-is-ignored", "Content-Type:text/plain; x", "", "");
    type("type-behind-a-tab-is-ignored", "Content-Type:\ttext/plain; x", "", "");
    type("type-with-a-longer-name-is-ignored", "X-Content-Type: text/plain", "", "");
    type("type-without-anything-is-ignored", "Content-Type: a/b c\r\nContent-Type:", "a/b", "");
    type("type-without-word-is-the-line-end", "Content-Type: ", "\r\n", "");
    type("type-behind-two-blanks-is-empty", "Content-Type:  multipart/form-data; boundary=XyZ", "",
         "");
    type("type-ends-at-nul", Bytes("Content-Type: text\0/plain; x"), "text", "");
    type("type-without-second-word-is-empty", Bytes("Content-Type:\0 text/plain"), "", "");
    type("type-missing-replaces-an-earlier-one",
         Bytes("Content-Type: text/plain; x\r\nContent-Type:\0"), "", "");
    type("type-given-twice-is-the-later", "Content-Type: a/b c\r\nContent-Type: d/e f", "d/e", "");
    type("type-keeps-latin-1-characters", "Content-Type: a\xE9/b c", "a\xE9/b", "");

    type("boundary-with-equals-sign-ends-there",
         "Content-Type: multipart/form-data; boundary=ab=cd", "multipart/form-data;", "ab");
    type("boundary-keeps-quotes", "Content-Type: multipart/form-data; boundary=\"XyZ\"",
         "multipart/form-data;", "\"XyZ\"");
    type("boundary-is-trimmed", "Content-Type: multipart/form-data; boundary=\t\vXyZ\t x",
         "multipart/form-data;", "XyZ");
    type("boundary-behind-two-blanks-is-empty", "Content-Type: multipart/form-data;  boundary=XyZ",
         "multipart/form-data;", "");
    type("boundary-in-the-second-word-is-not-found",
         "Content-Type: multipart/form-data;boundary=XyZ", "multipart/form-data;boundary=XyZ\r\n",
         "");
    type("boundary-in-the-fourth-word-is-not-found",
         "Content-Type: multipart/form-data; charset=utf-8; boundary=XyZ", "multipart/form-data;",
         "utf-8;");
    type("boundary-has-any-name", "Content-Type: multipart/form-data; BORDER=XyZ",
         "multipart/form-data;", "XyZ");
    type("boundary-behind-a-blank-is-empty", "Content-Type: multipart/form-data; boundary= XyZ",
         "multipart/form-data;", "");
    type("boundary-without-third-word-is-empty", "Content-Type: multipart/form-data",
         "multipart/form-data\r\n", "");
    type("boundary-without-equals-sign-is-empty", "Content-Type: multipart/form-data; boundary",
         "multipart/form-data;", "");
    type("boundary-missing-replaces-an-earlier-one",
         "Content-Type: multipart/mixed; boundary=a\r\nContent-Type: multipart/form-data; boundary",
         "multipart/form-data;", "");
    type("boundary-of-any-multipart-type", "Content-Type: multipartial; boundary=XyZ",
         "multipartial;", "XyZ");
    type("boundary-of-no-other-type", "Content-Type: xmultipart/form-data; boundary=XyZ",
         "xmultipart/form-data;", "");
    type("boundary-of-no-capitalised-type", "Content-Type: Multipart/form-data; boundary=XyZ",
         "Multipart/form-data;", "");
    type("boundary-stays-with-a-later-type",
         "Content-Type: multipart/mixed; boundary=a\r\nContent-Type: text/plain; boundary=b",
         "text/plain;", "a");
    type("boundary-ends-at-nul", Bytes("Content-Type: multipart/form-data; boundary=X\0yZ"),
         "multipart/form-data;", "X");
    type("boundary-keeps-latin-1-characters", "Content-Type: multipart/form-data; boundary=X\xE9Z",
         "multipart/form-data;", "X\xE9Z");

    const auto length = [](const char *name, const QByteArray &line, int remaining) {
        QTest::newRow(name) << QByteArray("POST / HTTP/1.1\r\n" + line + "\r\n\r\n") << QString()
                            << QString() << remaining << 1;
    };
    length("length-missing-is-minus-one", "Host: 192.168.1.10", -1);
    length("length-is-a-number", "Content-Length: 5", 5);
    length("length-of-the-largest-number", "Content-Length: 2147483647", 2147483647);
    length("length-too-large-is-zero", "Content-Length: 2147483648", 0);
    length("length-far-too-large-is-zero", "Content-Length: 4294967301", 0);
    length("length-negative-counts", "Content-Length: -5", -5);
    length("length-with-sign", "Content-Length: +5", 5);
    length("length-with-leading-zeros", "Content-Length: 0012", 12);
    length("length-before-a-blank", "Content-Length: 5 6", 5);
    length("length-between-tabs", "Content-Length: \t5\t", 5);
    length("length-behind-two-blanks-is-zero", "Content-Length:  5", 0);
    length("length-in-words-is-zero", "Content-Length: five", 0);
    length("length-with-a-unit-is-zero", "Content-Length: 5b", 0);
    length("length-in-hexadecimal-is-zero", "Content-Length: 0x5", 0);
    length("length-with-a-fraction-is-zero", "Content-Length: 5.0", 0);
    length("length-with-a-group-separator-is-zero", "Content-Length: 1,000", 0);
    length("length-without-number-is-zero", "Content-Length: ", 0);
    length("length-without-second-word-is-zero", Bytes("Content-Length:\0 5"), 0);
    length("length-ends-at-nul", Bytes("Content-Length: 1\0002"), 1);
    length("length-in-lower-case-is-ignored", "content-length: 5", -1);
    length("length-without-a-blank-is-ignored", "Content-Length:5 6", -1);
    length("length-without-anything-is-ignored", "Content-Length:", -1);
    length("length-behind-a-tab-is-ignored", "Content-Length:\t5 6", -1);
    length("length-behind-a-blank-is-ignored", " Content-Length: 5", -1);
    length("length-behind-nul-is-ignored", Bytes("X\0\nX Content-Length: 5"), -1);
    length("length-with-a-longer-name-is-ignored", "X-Content-Length: 5", -1);
    length("length-given-twice-is-the-later", "Content-Length: 5\r\nContent-Length: 6", 6);
    length("length-zero-before-another-is-the-later", "Content-Length: 0\r\nContent-Length: 6", 6);

    const auto block = [](const char *name, const QByteArray &bytes, int remaining, int done) {
        QTest::newRow(name) << bytes << QString() << QString() << remaining << done;
    };
    block("block-ends-with-an-empty-line", "A\r\nContent-Length: 5\r\n\r\n", 5, 1);
    block("block-ends-with-a-line-feed", "A\nContent-Length: 5\n\n", 5, 1);
    block("block-ends-with-blanks", "A\r\nContent-Length: 5\r\n   \r\n", 5, 1);
    block("block-ends-with-any-white-space", "A\r\nContent-Length: 5\r\n \t\v\f\r\r\n", 5, 1);
    block("block-ends-with-a-hard-blank", "A\r\nContent-Length: 5\r\n\xA0\r\n", 5, 1);
    block("block-ends-with-nul", Bytes("A\r\nContent-Length: 5\r\n\0Host: x\r\n"), 5, 1);
    block("block-ends-with-blank-and-nul", Bytes("A\r\nContent-Length: 5\r\n \0Host: x\r\n"), 5, 1);
    block("block-does-not-end-without-empty-line", "A\r\nContent-Length: 5\r\n", 5, 0);
    block("block-does-not-end-with-half-a-line", "A\r\nContent-Length: 5\r\n\r", 5, 0);
    block("block-does-not-end-with-carriage-returns", "A\r\rContent-Length: 5\r\r", -1, 0);
    block("block-without-request-line", "Content-Length: 5\r\n\r\n", 5, 1);
    block("block-without-anything", "\r\n", -1, 1);
    block("block-of-half-a-line", "Content-Length: 5", -1, 0);
}

void tst_AppDeviceTransaction::headers()
{
    QFETCH(QByteArray, block);
    const Exchange exchange({block});
    QTEST(exchange.transaction.mContentType, "contentType");
    QTEST(exchange.transaction.mBoundary, "boundary");
    QTEST(exchange.transaction.mContentRemaining, "remaining");
    QTEST(exchange.transaction.mHeadersDone, "done");
    QCOMPARE(exchange.transaction.mValid, exchange.transaction.mContentRemaining == 0);
    QCOMPARE(Properties(exchange.transaction), QByteArray());
}

void tst_AppDeviceTransaction::partialLineStaysInTheSocket()
{
    const Exchange exchange({"POST / HTTP/1.1\r\nContent-Len", "gth: "});
    QCOMPARE(exchange.socket->bytesAvailable(), qint64(16));
    QCOMPARE(exchange.socket->readAll(), QByteArray("Content-Length: "));
    QCOMPARE(exchange.transaction.mHeadersDone, 0);
    QCOMPARE(exchange.transaction.mContent, QByteArray());
}

void tst_AppDeviceTransaction::lengthZeroIsCompleteBeforeTheBlankLine()
{
    const Exchange exchange(
        {"POST / HTTP/1.1\r\nContent-Length: 0\r\nContent-Type: text/plain; x\r\n", "\r\n"});
    QVERIFY(exchange.transaction.mValid);
    QCOMPARE(exchange.transaction.mHeadersDone, 0);
    QCOMPARE(exchange.transaction.mContentType, QStringLiteral("text/plain;"));
    QCOMPARE(exchange.socket->SegmentsLeft(), 1);
}

void tst_AppDeviceTransaction::lengthZeroWithoutBodyIsNotParsed_data()
{
    QTest::addColumn<QByteArray>("length");

    QTest::newRow("zero") << QByteArray("0");
    QTest::newRow("no-number") << QByteArray("none");
    QTest::newRow("two-blanks") << QByteArray(" 5");
}

void tst_AppDeviceTransaction::lengthZeroWithoutBodyIsNotParsed()
{
    QFETCH(QByteArray, length);
    const Exchange exchange({"POST / HTTP/1.1\r\nContent-Type: " + URL_ENCODED +
                             "\r\nContent-Length: " + length + "\r\n\r\n"});
    QVERIFY(exchange.transaction.mValid);
    QCOMPARE(exchange.transaction.mSocket, exchange.socket.get());
    QCOMPARE(exchange.transaction.mHeadersDone, 1);
    QCOMPARE(Properties(exchange.transaction), QByteArray());
    QCOMPARE(exchange.socket->ReadTimeouts(), QList<int>({TIMEOUT_MS}));
}

void tst_AppDeviceTransaction::requestLineAndOtherHeadersAreIgnored_data()
{
    QTest::addColumn<QByteArray>("head");

    QTest::newRow("post") << QByteArray("POST / HTTP/1.1\r\n");
    QTest::newRow("get-of-an-older-protocol") << QByteArray("GET /x HTTP/1.0\r\n");
    QTest::newRow("nonsense") << QByteArray("\x01\xFF?\r\n");
    QTest::newRow("no-request-line") << QByteArray();
    QTest::newRow("path-with-properties") << QByteArray("POST /?cmd=3 HTTP/1.1\r\n");
    QTest::newRow("other-headers") << QByteArray("POST / HTTP/1.1\r\nHost: hub\r\nAccept: */*\r\n"
                                                 "Expect: 100-continue\r\nConnection: close\r\n"
                                                 "Transfer-Encoding: chunked\r\ncmd=3\r\n");
}

void tst_AppDeviceTransaction::requestLineAndOtherHeadersAreIgnored()
{
    QFETCH(QByteArray, head);
    const Exchange exchange(
        {head + "Content-Type: " + URL_ENCODED + "\r\nContent-Length: 11\r\n\r\ncmd=2&req=1"});
    QVERIFY(exchange.transaction.mValid);
    QCOMPARE(Properties(exchange.transaction), QByteArray("cmd=2 req=1"));
}

void tst_AppDeviceTransaction::bodyIsGatheredInOrder()
{
    QByteArray body;
    for (int i = 0; i < 1000; ++i)
        body += char(i % 251);
    const QByteArray request = Request("application/octet-stream", body);
    for (const int size : {1, 7, 100, 2000}) {
        const Exchange exchange(Pieces(request, size));
        QVERIFY(exchange.transaction.mValid);
        QCOMPARE(exchange.transaction.mContent, body);
    }
}

void tst_AppDeviceTransaction::bodyIsReadInOnePieceForEachSignal()
{
    const QByteArray body(100000, 'x');
    const QByteArray request = Request("text/plain", body);
    const int cut = int(request.size()) - 70000;
    const Exchange exchange({request.left(cut), request.mid(cut)});
    QVERIFY(exchange.transaction.mValid);
    QCOMPARE(exchange.socket->Reads(), QList<qint64>({30000, 70000}));
}

void tst_AppDeviceTransaction::emptySegmentsChangeNothing()
{
    const QByteArray request = Request(URL_ENCODED, "cmd=2&req=1");
    const Exchange exchange({"", request.left(30), "", request.mid(30, request.size() - 35), "",
                             request.right(5), "left"});
    QVERIFY(exchange.transaction.mValid);
    QCOMPARE(Properties(exchange.transaction), QByteArray("cmd=2 req=1"));
    QCOMPARE(exchange.socket->SegmentsLeft(), 1);
}

void tst_AppDeviceTransaction::incompleteBodyIsNotParsed()
{
    const QByteArray request = Request(URL_ENCODED, "cmd=2&req=1");
    const Exchange exchange({request.left(request.size() - 1)});
    QVERIFY(!exchange.transaction.mValid);
    QCOMPARE(exchange.transaction.mContentRemaining, 1);
    QCOMPARE(exchange.transaction.mContent, QByteArray("cmd=2&req="));
    QCOMPARE(Properties(exchange.transaction), QByteArray());
}

void tst_AppDeviceTransaction::hugeAnnouncementTakesLittleMemory()
{
    const Exchange exchange({"POST / HTTP/1.1\r\nContent-Length: 2147483647\r\n\r\ncmd=1"});
    QCOMPARE(exchange.transaction.mContentRemaining, 2147483642);
    QCOMPARE(exchange.transaction.mContent, QByteArray("cmd=1"));
    QVERIFY(exchange.transaction.mContent.capacity() < 64 << 20);
}

void tst_AppDeviceTransaction::tooLongBodyNeverCompletes_data()
{
    QTest::addColumn<QList<QByteArray>>("segments");

    const QByteArray head = "POST / HTTP/1.1\r\nContent-Type: " + URL_ENCODED + "\r\n";
    const QByteArray twelve = head + "Content-Length: 12\r\n\r\n";
    const QByteArray thirteen = "cmd=1&req=100";
    const auto row = [](const char *name, const QList<QByteArray> &segments) {
        QTest::newRow(name) << segments;
    };
    row("with-the-headers", {twelve + thirteen});
    row("behind-the-headers", {twelve, thirteen});
    row("in-two-pieces", {twelve + thirteen.left(5), thirteen.mid(5)});
    row("followed-by-more", {twelve + thirteen, "and", "much", "more"});
    row("line-end-behind-the-body", {Request(URL_ENCODED, "cmd=1") + "\r\n"});
    row("second-request-behind-the-body",
        {Request(URL_ENCODED, "cmd=1") + Request(URL_ENCODED, "cmd=1")});
    row("no-length", {head + "\r\ncmd=1", "&req=1"});
    row("lower-case-length", {head + "content-length: 5\r\n\r\ncmd=1"});
    row("length-zero", {head + "Content-Length: 0\r\n\r\ncmd=1"});
    row("length-no-number", {head + "Content-Length: five\r\n\r\ncmd=1"});
    row("length-behind-two-blanks", {head + "Content-Length:  5\r\n\r\ncmd=1"});
    row("length-negative", {head + "Content-Length: -5\r\n\r\n", "cmd=1"});
    row("blank-line-before-the-request", {"\r\n" + Request(URL_ENCODED, "cmd=1")});
}

void tst_AppDeviceTransaction::tooLongBodyNeverCompletes()
{
    QFETCH(QList<QByteArray>, segments);
    const Exchange exchange(segments);
    QVERIFY(!exchange.transaction.mValid);
    QVERIFY(!exchange.transaction.mSocket);
    QVERIFY(exchange.transaction.mContentRemaining < 0);
    // As it can never be parsed, nothing of it takes memory.
    QCOMPARE(exchange.transaction.mContent, QByteArray());
    QCOMPARE(Properties(exchange.transaction), QByteArray());
    QCOMPARE(exchange.socket->bytesAvailable(), qint64(0));
    QCOMPARE(exchange.socket->Disconnects(), 1);
    QCOMPARE(exchange.socket->ReadTimeouts().size(), segments.size() + 1);
}

void tst_AppDeviceTransaction::counterDoesNotWrap()
{
    Exchange exchange({Request(URL_ENCODED, "cmd=1")});
    // Reaching zero from here by wrapping would take 2^31 - 2 bytes more than these ten.
    exchange.transaction.mContentRemaining = std::numeric_limits<int>::min() + 3;
    exchange.socket->AddSegment("0123456789");

    QVERIFY(exchange.socket->waitForReadyRead(0));

    QVERIFY(exchange.transaction.mContentRemaining < 0);
    QCOMPARE(exchange.socket->bytesAvailable(), qint64(0));
}

void tst_AppDeviceTransaction::bytesAfterCompletionChangeNothing()
{
    Exchange exchange({Request(URL_ENCODED, "cmd=1")});
    exchange.transaction.mCmd = 7;
    exchange.socket->AddSegment("");
    exchange.socket->AddSegment("cmd=2");

    QVERIFY(exchange.socket->waitForReadyRead(0)); // with nothing to read
    QVERIFY(exchange.socket->waitForReadyRead(0));

    QVERIFY(exchange.transaction.mValid);
    QCOMPARE(Properties(exchange.transaction), QByteArray("cmd=7"));
    QCOMPARE(exchange.socket->Disconnects(), 0);
}

void tst_AppDeviceTransaction::extraSegmentIsNotWaitedFor()
{
    // What is too much in one segment does no harm in a segment of its own.
    const Exchange exchange({Request(URL_ENCODED, "cmd=1"), "\r\n"});
    QVERIFY(exchange.transaction.mValid);
    QCOMPARE(exchange.transaction.mCmd, 1);
    QCOMPARE(exchange.socket->SegmentsLeft(), 1);
}

void tst_AppDeviceTransaction::malformedBodyIsValidAllTheSame()
{
    const Exchange exchange({Request(MULTIPART, Field("cmd", "1") + Field("usr", "bob"))});
    QVERIFY(exchange.transaction.mValid);
    QCOMPARE(exchange.transaction.mSocket, exchange.socket.get());
    QCOMPARE(Properties(exchange.transaction), QByteArray("usr=[bob] cmd=1"));
}

void tst_AppDeviceTransaction::hugeHeadersAreRead_data()
{
    QTest::addColumn<QByteArray>("headers");

    QTest::newRow("one-line-of-a-megabyte")
        << QByteArray("X-Long: " + QByteArray(1 << 20, 'x') + "\r\n");
    // Were it read in parts, one of them would look like the blank line.
    QTest::newRow("one-line-of-a-megabyte-of-blanks")
        << QByteArray("X-Long: x" + QByteArray(1 << 20, ' ') + "\r\n");
    QTest::newRow("lines-of-a-megabyte") << QByteArray("X-Short: sixteen\r\n").repeated(58255);
    QTest::newRow("words-of-a-megabyte")
        << QByteArray("Content-Type: " + QByteArray("x ").repeated(1 << 19) + "\r\n");
}

void tst_AppDeviceTransaction::hugeHeadersAreRead()
{
    QFETCH(QByteArray, headers);
    const QByteArray request = headers + Request(URL_ENCODED, "usr=bob&cmd=1");

    const Exchange whole({request});
    QVERIFY(whole.transaction.mValid);
    QCOMPARE(Properties(whole.transaction), QByteArray("usr=[bob] cmd=1"));

    const Exchange pieces(Pieces(request, 1460));
    QVERIFY(pieces.transaction.mValid);
    QCOMPARE(Properties(pieces.transaction), QByteArray("usr=[bob] cmd=1"));
}

void tst_AppDeviceTransaction::hugeBodyIsRead()
{
    AppPackage package;
    FillWithDisks(&package);
    QByteArray bytes;
    package.Export(&bytes);
    const QByteArray request =
        Request(MULTIPART, FilePart("up", "package", bytes) + Field("cmd", "3") + END);

    const Exchange exchange(Pieces(request, 65536));

    QVERIFY(exchange.transaction.mValid);
    QCOMPARE(exchange.transaction.mCmd, 3);
    QVERIFY(exchange.transaction.mPackage);
    QByteArray received;
    exchange.transaction.mPackage->Export(&received);
    QVERIFY(received == bytes); // too long to be printed
}

void tst_AppDeviceTransaction::requestIsReadHoweverItIsCut_data()
{
    QTest::addColumn<QByteArray>("request");
    QTest::addColumn<QByteArray>("state");

    const auto row = [](const char *name, const QByteArray &request, const QByteArray &state) {
        QTest::newRow(name) << request << state;
    };
    const QByteArray urlEncoded = "[application/x-www-form-urlencoded\r\n] [] 0 ";
    const QByteArray multipart = "[multipart/form-data;] [XyZ] 0 ";

    row("search",
        Request(URL_ENCODED, "usr=bob+jones&pwd=5f4dcc3b5aa765d61d8327deb882cf99&dev=1"
                             "&udid=0004A3112233&pat=game%2A&cmd=1&mem=38911"),
        "valid " + urlEncoded +
            "usr=[bob jones] pwd=[5f4dcc3b5aa765d61d8327deb882cf99] dev=1 udid=[0004A3112233]"
            " pat=[GAME*] cmd=1 mem=38911");
    row("download",
        Request(MULTIPART, Field("usr", "") + Field("pwd", "") + Field("dev", "1") +
                               Field("udid", "0004A3112233") + Field("pat", "Elite") +
                               Field("cmd", "2") + Field("req", "0") + END),
        "valid " + multipart + "dev=1 udid=[0004A3112233] pat=[\\xc5LITE] cmd=2 req=0");
    row("upload-with-package-first",
        Request(MULTIPART, FilePart("up", "package", HelloAndDiskPackage()) +
                               Field("udid", "0004A3112233") + Field("cmd", "3") + END),
        "valid " + multipart + "udid=[0004A3112233] cmd=3 " +
            DescribedImport(HelloAndDiskPackage()));
    row("upload-with-package-last",
        Request(MULTIPART, Field("cmd", "3") + FilePart("up", "package", HelloPackage()) + END),
        "valid " + multipart + "cmd=3 " + DescribedImport(HelloPackage()));
    row("pairs-of-a-command-line-client",
        "POST / HTTP/1.1\r\nHost: 127.0.0.1:8080\r\nUser-Agent: tester/7.88.1\r\nAccept: */*\r\n"
        "Content-Length: 22\r\nContent-Type: application/x-www-form-urlencoded\r\n\r\n"
        "cmd=1&pat=A%2A&udid=42",
        "valid " + urlEncoded + "udid=[42] pat=[\\xc1*] cmd=1");
    row("form-of-a-command-line-client",
        "POST / HTTP/1.1\r\nHost: 127.0.0.1:8080\r\nUser-Agent: tester/7.88.1\r\nAccept: */*\r\n"
        "Content-Length: 232\r\nContent-Type: multipart/form-data;"
        " boundary=------------------------d74496d66958873e\r\n\r\n"
        "--------------------------d74496d66958873e\r\n"
        "Content-Disposition: form-data; name=\"cmd\"\r\n\r\n2\r\n"
        "--------------------------d74496d66958873e\r\n"
        "Content-Disposition: form-data; name=\"req\"\r\n\r\n1\r\n"
        "--------------------------d74496d66958873e--\r\n",
        "valid [multipart/form-data;] [------------------------d74496d66958873e] 0 cmd=2 req=1");
    row("get-of-an-older-protocol",
        "GET /index.html HTTP/1.0\nContent-Length: 5\nContent-Type: " + URL_ENCODED + "\n\ncmd=1",
        "valid [application/x-www-form-urlencoded\n] [] 0 cmd=1");
    row("malformed-form", Request(MULTIPART, Field("cmd", "1") + Field("usr", "bob")),
        "valid " + multipart + "usr=[bob] cmd=1");
    row("other-type", Request("text/plain", "cmd=1"), "valid [text/plain\r\n] [] 0 ");
    row("incomplete", "POST / HTTP/1.1\r\nContent-Type: a b\r\nContent-Length: 9\r\n\r\ncmd=1",
        "invalid [a] [] 4 ");
}

void tst_AppDeviceTransaction::requestIsReadHoweverItIsCut()
{
    QFETCH(QByteArray, request);
    QFETCH(QByteArray, state);
    QCOMPARE(State(Exchange({request}).transaction), state);
    QCOMPARE(State(Exchange(SingleBytes(request)).transaction), state);
    for (int cut = 1; cut < request.size(); ++cut) {
        const Exchange exchange({request.left(cut), request.mid(cut)});
        const QByteArray cutState = State(exchange.transaction);
        if (cutState != state)
            qWarning("cut at %d", cut);
        QCOMPARE(cutState, state);
    }
}

void tst_AppDeviceTransaction::readContentLine_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<QString>("line");
    QTest::addColumn<QByteArray>("rest");

    const auto row = [](const char *name, const QByteArray &content, const char *line,
                        const QByteArray &rest) {
        QTest::newRow(name) << content << QString::fromLatin1(line) << rest;
    };
    row("line-ends-at-carriage-return", "ab\r\ncd", "ab", "cd");
    row("last-line", "ab\r\n", "ab", "");
    row("empty-line", "\r\nab", "", "ab");
    row("only-one-line-is-taken", "ab\r\n\r\ncd\r\n", "ab", "\r\ncd\r\n");
    row("without-carriage-return-one-byte-is-lost", "xyz", "", "yz");
    row("without-carriage-return-a-line-feed-is-no-end", "x\nz", "", "\nz");
    row("one-byte-is-lost", "x", "", "");
    row("empty-content-stays-empty", "", "", "");
    row("byte-behind-carriage-return-is-not-looked-at", "ab\rXcd", "ab", "cd");
    row("carriage-return-behind-carriage-return-is-lost", "ab\r\r\ncd", "ab", "\ncd");
    row("carriage-return-at-the-end", "ab\r", "ab", "");
    row("nothing-but-carriage-return", "\r", "", "");
    row("line-feed-before-carriage-return-stays", "a\nb\r\nc", "a\nb", "c");
    row("line-ends-at-nul", Bytes("ab\0cd\r\nef"), "ab", "ef");
    row("line-behind-nul-is-empty", Bytes("\0cd\r\nef"), "", "ef");
    row("nul-behind-the-line-stays", Bytes("ab\r\n\0cd"), "ab", Bytes("\0cd"));
    row("nul-in-place-of-line-feed-is-lost", Bytes("ab\r\0cd"), "ab", "cd");
    row("one-character-for-each-byte", "\xC3\xA9\xFF\x80\r\n.", "\xC3\xA9\xFF\x80", ".");
    row("blanks-stay", "  a b \t\r\n c", "  a b \t", " c");
}

void tst_AppDeviceTransaction::readContentLine()
{
    QFETCH(QByteArray, content);
    Exchange exchange;
    exchange.transaction.mContent = content;
    QTEST(exchange.transaction.ReadContentLine(), "line");
    QTEST(exchange.transaction.mContent, "rest");
}

void tst_AppDeviceTransaction::readContentLineUpToTheEnd()
{
    Exchange exchange;
    AppDeviceTransaction &transaction = exchange.transaction;
    transaction.mContent = "one\r\ntwo\r\n\r\nxyz";
    QCOMPARE(transaction.ReadContentLine(), QStringLiteral("one"));
    QCOMPARE(transaction.mContent, QByteArray("two\r\n\r\nxyz"));
    QCOMPARE(transaction.ReadContentLine(), QStringLiteral("two"));
    QCOMPARE(transaction.mContent, QByteArray("\r\nxyz"));
    QCOMPARE(transaction.ReadContentLine(), QString());
    QCOMPARE(transaction.mContent, QByteArray("xyz"));
    QCOMPARE(transaction.ReadContentLine(), QString());
    QCOMPARE(transaction.mContent, QByteArray("yz"));
    QCOMPARE(transaction.ReadContentLine(), QString());
    QCOMPARE(transaction.mContent, QByteArray("z"));
    QCOMPARE(transaction.ReadContentLine(), QString());
    QCOMPARE(transaction.mContent, QByteArray());
    QCOMPARE(transaction.ReadContentLine(), QString());
    QCOMPARE(transaction.mContent, QByteArray());
}

void tst_AppDeviceTransaction::contentMayBeAssignedAtAnyTime()
{
    Exchange exchange;
    AppDeviceTransaction &transaction = exchange.transaction;
    const QByteArray content = "one\r\ntwo\r\nthree\r\n";

    transaction.mContent = content;
    QCOMPARE(transaction.ReadContentLine(), QStringLiteral("one"));
    transaction.mContent = content; // the same bytes at the same place
    QCOMPARE(transaction.ReadContentLine(), QStringLiteral("one"));
    QCOMPARE(transaction.mContent, QByteArray("two\r\nthree\r\n"));

    const QByteArray endingWithoutLine = content + "four";
    for (int i = 0; i < 2; ++i) { // the same bytes again, after all of them were read
        transaction.mContent = endingWithoutLine;
        QCOMPARE(transaction.ReadContentLine(), QStringLiteral("one"));
        QCOMPARE(transaction.mContent, QByteArray("two\r\nthree\r\nfour"));
        while (!transaction.mContent.isEmpty())
            transaction.ReadContentLine();
    }

    transaction.mContent = QByteArray("other\r\nbytes");
    QCOMPARE(transaction.ReadContentLine(), QStringLiteral("other"));
    QCOMPARE(transaction.mContent, QByteArray("bytes"));

    transaction.mContent += "\r\nadded"; // to what is left
    QCOMPARE(transaction.ReadContentLine(), QStringLiteral("bytes"));
    QCOMPARE(transaction.mContent, QByteArray("added"));

    transaction.mContent = content.mid(5);
    QCOMPARE(transaction.ReadContentLine(), QStringLiteral("two"));
    transaction.mContent[0] = 'T';
    QCOMPARE(transaction.ReadContentLine(), QStringLiteral("Three"));

    transaction.mContent.clear();
    QCOMPARE(transaction.ReadContentLine(), QString());
    QCOMPARE(transaction.mContent, QByteArray());

    transaction.mContentType = QString::fromLatin1(URL_ENCODED);
    transaction.mContent = QByteArray("usr=first&cmd=1");
    QCOMPARE(transaction.ParseContent(), 0);
    transaction.mContent = QByteArray("usr=a+longer+second&cmd=2");
    QCOMPARE(transaction.ParseContent(), 0);
    QCOMPARE(Properties(transaction), QByteArray("usr=[a longer second] cmd=2"));

    transaction.mContentType = QString::fromLatin1(MULTIPART);
    transaction.mBoundary = QStringLiteral("XyZ");
    transaction.mContent = Field("usr", "third") + END;
    QCOMPARE(transaction.ParseContent(), 0);
    transaction.mContent = Field("usr", "a much longer fourth") + Field("cmd", "4") + END;
    QCOMPARE(transaction.ParseContent(), 0);
    QCOMPARE(Properties(transaction), QByteArray("usr=[a much longer fourth] cmd=4"));

    QCOMPARE(content, QByteArray("one\r\ntwo\r\nthree\r\n"));
}

void tst_AppDeviceTransaction::setProperty_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("value");
    QTest::addColumn<QByteArray>("properties");

    const auto row = [](const char *row, const char *name, const char *value,
                        const QByteArray &properties) {
        QTest::newRow(row) << QString::fromLatin1(name) << QString::fromUtf8(value) << properties;
    };
    row("usr", "usr", "bob", "usr=[bob]");
    row("usr-is-not-trimmed", "usr", " bob\t", "usr=[ bob\t]");
    row("usr-is-not-decoded", "usr", "a+b%41=&", "usr=[a+b%41=&]");
    row("usr-of-any-characters", "usr", "\xC3\xA9\xE2\x82\xAC", "usr=[\xC3\xA9\xE2\x82\xAC]");
    row("pwd", "pwd", "5F4dcc3b", "pwd=[5F4dcc3b]");
    row("pwd-is-not-trimmed", "pwd", " x ", "pwd=[ x ]");
    row("udid", "udid", "00:04:A3", "udid=[00:04:A3]");
    row("udid-is-not-trimmed", "udid", " 42 ", "udid=[ 42 ]");
    row("dev", "dev", "12", "dev=12");
    row("cmd", "cmd", "3", "cmd=3");
    row("req", "req", "1", "req=1");
    row("mem", "mem", "38911", "mem=38911");

    row("pat-in-lower-case-is-unshifted", "pat", "hello", "pat=[HELLO]");
    row("pat-in-upper-case-is-shifted", "pat", "Hello", "pat=[\\xc8ELLO]");
    row("pat-keeps-wildcards", "pat", "a?c*", "pat=[A?C*]");
    row("pat-keeps-blanks", "pat", "  x ", "pat=[  X ]");
    row("pat-of-16-characters", "pat", "0123456789abcdef", "pat=[0123456789ABCDEF]");
    row("pat-is-cut-to-16-characters", "pat", "0123456789abcdefghi", "pat=[0123456789ABCDEF]");
    row("pat-empty", "pat", "", "");

    row("unknown-name-is-ignored", "command", "1", "");
    row("empty-name-is-ignored", "", "1", "");
    row("name-in-capitals-is-ignored", "CMD", "1", "");
    row("name-between-blanks-is-ignored", " cmd ", "1", "");
    row("beginning-of-a-name-is-ignored", "us", "1", "");
    row("name-with-more-behind-is-ignored", "usrx", "1", "");

    row("number-between-white-space", "cmd", " \t12\r\n", "cmd=12");
    row("number-with-plus", "cmd", "+12", "cmd=12");
    row("number-with-minus", "cmd", "-12", "cmd=-12");
    row("number-with-leading-zeros", "cmd", "0012", "cmd=12");
    row("largest-number", "cmd", "2147483647", "cmd=2147483647");
    row("smallest-number", "cmd", "-2147483648", "cmd=-2147483648");
    for (const char *property : {"dev", "cmd", "req", "mem"}) {
        for (const char *value :
             {"", " ", "x", "12x", "x12", "1 2", "1.0", "1e3", "0x10", "1,000", "--1", "- 1", "+",
              "2147483648", "-2147483649", "4294967297", "99999999999999999999"}) {
            const QByteArray name = QByteArray("no-number-") + property + "-\"" + value + '"';
            row(name.constData(), property, value, QByteArray(property) == "req" ? "req=0" : "");
        }
    }
}

void tst_AppDeviceTransaction::setProperty()
{
    QFETCH(QString, name);
    QFETCH(QString, value);
    Exchange exchange;
    QCOMPARE(exchange.transaction.SetProperty(name, value), 0);
    QTEST(Properties(exchange.transaction), "properties");
}

void tst_AppDeviceTransaction::setPropertyTakesTheLaterValue()
{
    Exchange exchange;
    for (const char *name : {"usr", "pwd", "dev", "udid", "pat", "cmd", "req", "mem"}) {
        for (const char *value : {"11111", "22"}) {
            QCOMPARE(exchange.transaction.SetProperty(QString::fromLatin1(name),
                                                      QString::fromLatin1(value)),
                     0);
        }
    }
    QCOMPARE(Properties(exchange.transaction),
             QByteArray("usr=[22] pwd=[22] dev=22 udid=[22] pat=[22] cmd=22 req=22 mem=22"));

    for (const char *name : {"usr", "pwd", "dev", "udid", "pat", "cmd", "req", "mem"})
        QCOMPARE(exchange.transaction.SetProperty(QString::fromLatin1(name), QString()), 0);
    QCOMPARE(Properties(exchange.transaction), QByteArray("req=0"));
}

void tst_AppDeviceTransaction::parseUrlEncoded_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<QByteArray>("properties");

    const auto row = [](const char *name, const QByteArray &content, const QByteArray &properties) {
        QTest::newRow(name) << content << properties;
    };
    row("empty-body", "", "");
    row("all-properties", "usr=u&pwd=p&dev=1&udid=i&pat=n&cmd=2&req=3&mem=4",
        "usr=[u] pwd=[p] dev=1 udid=[i] pat=[N] cmd=2 req=3 mem=4");
    row("in-any-order", "cmd=1&usr=u", "usr=[u] cmd=1");
    row("empty-piece-is-skipped", "cmd=1&&pat=A%2A&udid=42", "udid=[42] pat=[\\xc1*] cmd=1");
    row("empty-pieces-at-the-ends", "&cmd=1&", "cmd=1");
    row("unknown-name-is-ignored", "foo=1&CMD=2&cmd=3", "cmd=3");
    row("later-value-counts", "usr=a&usr=b&cmd=1&cmd=2", "usr=[b] cmd=2");
    row("number-that-is-none", "cmd=1&cmd=x&req=y", "req=0");

    row("plus-is-a-blank", "usr=a+b", "usr=[a b]");
    row("encoded-plus-stays", "usr=a%2Bb", "usr=[a+b]");
    row("plus-in-a-code-is-replaced-first", "usr=%+41", "usr=[% 41]");
    row("hexadecimal-in-both-cases", "usr=%4a%4B%4c%4D", "usr=[JKLM]");
    row("hexadecimal-first-and-last-digits", "usr=%30%39%4a%4f%4A%4F", "usr=[09JOJO]");
    row("decoded-once-only", "usr=%2541", "usr=[%41]");
    row("percent-without-digits-stays", "usr=100%", "usr=[100%]");
    row("percent-before-one-digit-stays", "usr=100%4", "usr=[100%4]");
    row("percent-before-other-characters-stays", "usr=%zz%4g%g4", "usr=[%zz%4g%g4]");
    row("percent-before-a-code", "usr=%%41", "usr=[%A]");
    row("percent-and-digit-before-a-code", "usr=%4%41", "usr=[%4A]");
    row("percent-before-the-next-piece", "usr=a%&cmd=1", "usr=[a%] cmd=1");
    row("percent-before-sign-stays", "usr=%-1%+1", "usr=[%-1% 1]");
    row("utf-8", "usr=%C3%A9%E2%82%AC", "usr=[\xC3\xA9\xE2\x82\xAC]");
    row("utf-8-as-it-stands", "usr=\xC3\xA9", "usr=[\xC3\xA9]");
    row("utf-8-half-encoded", "usr=%C3\xA9", "usr=[\xC3\xA9]");
    row("utf-8-beyond-16-bits", "usr=%F0%9F%92%BE", "usr=[\xF0\x9F\x92\xBE]");
    row("utf-8-cut-off", "usr=a%C3&cmd=1", "usr=[a\xEF\xBF\xBD] cmd=1");
    row("no-utf-8", "usr=a%FFb&cmd=1",
        "usr=[a\xEF\xBF\xBD"
        "b] cmd=1");
    row("encoded-nul-stays", "usr=a%00b&cmd=1", Bytes("usr=[a\0b] cmd=1"));
    row("nul-stays", Bytes("usr=a\0b&cmd=1"), Bytes("usr=[a\0b] cmd=1"));
    row("encoded-name", "%75s%72=a", "usr=[a]");

    row("value-ends-at-equals-sign", "usr=a=b&cmd=1", "usr=[a] cmd=1");
    row("value-ends-at-encoded-equals-sign", "usr=a%3Db&cmd=1", "usr=[a] cmd=1");
    row("value-ends-at-encoded-ampersand", "usr=a%26cmd=2", "usr=[a] cmd=2");
    row("encoded-equals-sign-splits", "usr%3Da", "usr=[a]");
    row("semicolon-does-not-split", "usr=a;cmd=1", "usr=[a;cmd]");
    row("line-end-does-not-split", "usr=a\r\ncmd=1", "usr=[a\r\ncmd]");

    row("value-is-trimmed", "usr=+a+b%20&pat=%20%20X", "usr=[a b] pat=[\\xd8]");
    row("value-before-a-line-end-is-trimmed", "cmd=1&usr=bob\r\n", "usr=[bob] cmd=1");
    row("name-is-trimmed", "+usr%09=a&\r\ncmd=1", "usr=[a] cmd=1");
    row("empty-value-is-skipped", "usr=a&usr=&req=&cmd=1", "usr=[a] cmd=1");
    row("blank-value-is-skipped", "usr=a&usr=+%09&cmd=1", "usr=[a] cmd=1");
    row("value-behind-two-equals-signs-is-skipped", "usr=a&usr==b&cmd=1", "usr=[a] cmd=1");
    row("name-alone-is-skipped", "usr&cmd=1&req", "cmd=1");
    row("value-without-name-is-ignored", "=a&cmd=1", "cmd=1");
    row("equals-sign-alone-is-skipped", "=&cmd=1", "cmd=1");
    row("pat-is-cut-after-decoding", "pat=%30123456789abcdefgh", "pat=[0123456789ABCDEF]");
    row("pat-beyond-ascii", "pat=%C3%A9", "pat=[\\xe9]");
}

void tst_AppDeviceTransaction::parseUrlEncoded()
{
    QFETCH(QByteArray, content);
    QFETCH(QByteArray, properties);
    Exchange exchange;
    exchange.transaction.mContentType = QString::fromLatin1(URL_ENCODED);
    exchange.transaction.mContent = content;
    QCOMPARE(exchange.transaction.ParseContent(), 0);
    QCOMPARE(Properties(exchange.transaction), properties);

    if (content.isEmpty())
        return;
    const Exchange request({Request(URL_ENCODED, content)});
    QVERIFY(request.transaction.mValid);
    QCOMPARE(Properties(request.transaction), properties);
}

void tst_AppDeviceTransaction::parseMultipart_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<int>("result");
    QTest::addColumn<QByteArray>("properties");

    const auto row = [](const char *name, const QByteArray &content, int result,
                        const QByteArray &properties) {
        QTest::newRow(name) << content << result << properties;
    };
    const QByteArray dash = "--XyZ\r\n";
    const QByteArray usr = "Content-Disposition: form-data; name=\"usr\"\r\n";
    const QByteArray cmd2 = Field("cmd", "2");

    row("one-field", cmd2 + END, 0, "cmd=2");
    row("all-properties",
        Field("usr", "u") + Field("pwd", "p") + Field("dev", "1") + Field("udid", "i") +
            Field("pat", "n") + Field("cmd", "2") + Field("req", "3") + Field("mem", "4") + END,
        0, "usr=[u] pwd=[p] dev=1 udid=[i] pat=[N] cmd=2 req=3 mem=4");
    row("unknown-name-is-ignored", Field("foo", "1") + Field("CMD", "3") + cmd2 + END, 0, "cmd=2");
    row("later-value-counts", Field("usr", "a") + Field("usr", "b") + cmd2 + END, 0,
        "usr=[b] cmd=2");

    row("plus-is-a-blank", Field("usr", "a+b") + END, 0, "usr=[a b]");
    row("encoded-plus-stays", Field("usr", "a%2Bb") + END, 0, "usr=[a+b]");
    row("decoded-once-only", Field("usr", "%2541%4a") + END, 0, "usr=[%41J]");
    row("percent-without-digits-stays", Field("usr", "%%41%4%zz%") + END, 0, "usr=[%A%4%zz%]");
    row("utf-8", Field("usr", "%C3%A9\xC3\xA9") + END, 0, "usr=[\xC3\xA9\xC3\xA9]");
    row("no-utf-8",
        Field("usr", "a\xFF"
                     "b") +
            END,
        0,
        "usr=[a\xEF\xBF\xBD"
        "b]");
    row("separators-stay", Field("usr", "a=b&c%26d%3De") + END, 0, "usr=[a=b&c&d=e]");
    row("value-is-not-trimmed", Field("usr", " a\t") + Field("pat", "%20%20x ") + END, 0,
        "usr=[ a\t] pat=[  X ]");
    row("number-is-trimmed-all-the-same", Field("cmd", " 2 ") + END, 0, "cmd=2");
    row("empty-value-counts", Field("usr", "a") + Field("usr", "") + Field("req", "") + cmd2 + END,
        0, "cmd=2 req=0");
    row("value-ends-at-the-line", Field("usr", "a\r\nb") + cmd2 + END, 0, "usr=[a] cmd=2");
    row("value-ends-at-carriage-return", Field("usr", "a\rXb") + cmd2 + END, 0, "usr=[a] cmd=2");
    row("value-with-line-feed", Field("usr", "a\nb") + cmd2 + END, 0, "usr=[a\nb] cmd=2");
    row("value-ends-at-nul", Field("usr", Bytes("a\0b")) + cmd2 + END, 0, "usr=[a] cmd=2");
    row("encoded-nul-stays", Field("usr", "a%00b") + cmd2 + END, 0, Bytes("usr=[a\0b] cmd=2"));
    row("value-holds-the-delimiter", Field("usr", "a--XyZb") + cmd2 + END, 0,
        "usr=[a--XyZb] cmd=2");
    row("second-line-holds-the-delimiter", Field("usr", "a\r\n.--XyZ.") + cmd2 + END, 0,
        "usr=[a] cmd=2");
    row("value-missing-takes-the-delimiter", dash + usr + "\r\n" + cmd2 + Field("dev", "4") + END,
        0, "usr=[--XyZ] dev=4");
    row("value-without-line-end-takes-the-delimiter",
        dash + usr + "\r\na" + cmd2 + Field("dev", "4") + END, 0, "usr=[a--XyZ] dev=4");

    row("preamble", "preamble\r\n" + cmd2 + END, -1, "");
    row("empty-line-first", "\r\n" + cmd2 + END, -1, "");
    row("empty-body", "", -1, "");
    row("closing-delimiter-first", END, -1, "");
    row("first-delimiter-with-a-blank", "--XyZ \r\n" + cmd2.mid(7) + END, -1, "");
    row("first-delimiter-too-short", "--Xy\r\n" + cmd2.mid(7) + END, -1, "");
    row("first-delimiter-without-dashes", "XyZ\r\n" + cmd2.mid(7) + END, -1, "");
    row("first-delimiter-in-other-case", "--xyz\r\n" + cmd2.mid(7) + END, -1, "");
    row("first-delimiter-without-line-end", "--XyZ", -1, "");
    row("first-delimiter-before-nul", Bytes("--XyZ\0 \r\n") + cmd2.mid(7) + END, 0, "cmd=2");
    row("first-delimiter-alone", dash, -1, "");
    row("first-delimiter-before-carriage-return", "--XyZ\rX" + cmd2.mid(7) + END, 0, "cmd=2");
    row("no-parts", dash + END, -1, "");
    row("no-parts-but-an-empty-line", dash + "\r\n" + END, 0, "");

    row("later-delimiter-with-more-behind",
        Field("usr", "a") + "--XyZ and more\r\n" + cmd2.mid(7) + END, 0, "usr=[a] cmd=2");
    row("later-delimiter-within-a-line", Field("usr", "a") + "no new line" + cmd2 + END, 0,
        "usr=[a] cmd=2");
    row("later-delimiter-with-one-dash", Field("usr", "a") + "--XyZ-\r\n" + cmd2.mid(7) + END, 0,
        "usr=[a] cmd=2");
    row("text-between-parts", Field("usr", "a") + "text\r\nmore\r\n" + cmd2 + END, 0,
        "usr=[a] cmd=2");
    row("closing-delimiter-with-more-behind", cmd2 + "--XyZ--more", 0, "cmd=2");
    row("closing-delimiter-without-line-end", cmd2 + "--XyZ--", 0, "cmd=2");
    row("closing-delimiter-ends-it", cmd2 + END + Field("cmd", "3") + END, 0, "cmd=2");

    row("no-closing-delimiter", Field("usr", "a") + cmd2, -1, "usr=[a] cmd=2");
    row("cut-in-the-closing-delimiter", Field("usr", "a") + cmd2 + "--Xy", -1, "usr=[a] cmd=2");
    row("cut-behind-a-delimiter", Field("usr", "a") + dash, -1, "usr=[a]");
    row("cut-behind-a-delimiter-without-line-end", Field("usr", "a") + "--XyZ", -1, "usr=[a]");
    row("cut-in-the-part-headers", Field("usr", "a") + dash + "Content-Disposition: form-data;", -1,
        "usr=[a]");
    row("cut-behind-the-part-headers", Field("cmd", "3") + dash + usr, -1, "cmd=3");
    row("cut-before-the-value", Field("cmd", "3") + Field("usr", "a") + dash + usr + "\r\n", -1,
        "cmd=3");
    row("cut-in-the-value", Field("cmd", "3") + Field("usr", "a") + dash + usr + "\r\nbob", -1,
        "cmd=3");

    row("part-without-headers-is-skipped", dash + "\r\nusr\r\n" + cmd2 + END, 0, "cmd=2");
    row("other-part-headers-are-ignored",
        dash + "Content-Type: text/plain; name=\"pwd\"\r\nX-Y: 1\r\n" + usr +
            "Content-Transfer-Encoding: binary; filename=\"package\"\r\n\r\na\r\n" + cmd2 + END,
        0, "usr=[a] cmd=2");
    row("part-headers-end-at-nul", dash + Bytes("\0x\r\n") + usr + "\r\na\r\n" + cmd2 + END, 0,
        "cmd=2");
    row("part-headers-do-not-end-at-blanks", dash + " \r\n" + usr + "\r\na\r\n" + cmd2 + END, 0,
        "usr=[a] cmd=2");
    row("part-headers-with-the-delimiter", dash + cmd2 + END, 0, "cmd=2");
    row("disposition-given-twice-is-the-later",
        dash + "Content-Disposition: form-data; name=\"pwd\"\r\n" + usr + "\r\na\r\n" + END, 0,
        "usr=[a]");
    row("disposition-given-twice-is-joined",
        dash + "Content-Disposition: form-data; filename=\"other\"\r\n" + usr + "\r\na\r\n" + END,
        0, "");
}

void tst_AppDeviceTransaction::parseMultipart()
{
    QFETCH(QByteArray, content);
    QFETCH(int, result);
    QFETCH(QByteArray, properties);
    Exchange exchange;
    exchange.transaction.mContentType = QStringLiteral("multipart/form-data;");
    exchange.transaction.mBoundary = QStringLiteral("XyZ");
    exchange.transaction.mContent = content;
    QCOMPARE(exchange.transaction.ParseContent(), result);
    QCOMPARE(Properties(exchange.transaction), properties);

    if (content.isEmpty())
        return;
    const Exchange request({Request(MULTIPART, content)});
    QVERIFY(request.transaction.mValid);
    QCOMPARE(Properties(request.transaction), properties);
}

void tst_AppDeviceTransaction::parseDisposition_data()
{
    QTest::addColumn<QByteArray>("line");
    QTest::addColumn<QByteArray>("properties");

    const auto row = [](const char *name, const char *line, const char *properties) {
        QTest::newRow(name) << QByteArray(line) << QByteArray(properties);
    };
    row("quoted-name", R"(Content-Disposition: form-data; name="usr")", "usr=[7]");
    row("unquoted-name-loses-a-character", "Content-Disposition: form-data; name=cmd", "");
    row("unquoted-name-without-its-first-character",
        "Content-Disposition: form-data; name=md; name=xcmd", "cmd=7");
    row("name-in-other-quotes", "Content-Disposition: form-data; name='usr\"", "usr=[7]");
    row("name-without-closing-quote", R"(Content-Disposition: form-data; name="usr)", "usr=[7]");
    row("name-ends-at-equals-sign", R"(Content-Disposition: form-data; name="usr=x")", "usr=[7]");
    row("name-ends-at-quote", R"(Content-Disposition: form-data; name="usr"x"y")", "usr=[7]");
    row("name-empty", R"(Content-Disposition: form-data; name="")", "");
    row("name-behind-two-quotes-is-empty", R"(Content-Disposition: form-data; name=""usr")", "");
    row("name-of-one-character", "Content-Disposition: form-data; name=x", "");
    row("name-without-value", "Content-Disposition: form-data; name=", "");
    row("name-without-equals-sign", "Content-Disposition: form-data; name", "");
    row("name-is-not-trimmed", R"(Content-Disposition: form-data; name=" usr")", "");
    row("name-before-a-blank-is-none", R"(Content-Disposition: form-data; name ="usr")", "");
    row("name-behind-a-blank-is-cut", R"(Content-Disposition: form-data; name= "usr")", "");
    row("name-in-capitals-is-none", R"(Content-Disposition: form-data; NAME="usr")", "");
    row("name-as-the-end-of-another", R"(Content-Disposition: form-data; nickname="usr")",
        "usr=[7]");
    row("name-with-more-behind-is-none", R"(Content-Disposition: form-data; name*="usr")", "");
    row("name-given-twice-is-the-later",
        R"(Content-Disposition: form-data; name="pwd"; name="usr")", "usr=[7]");
    row("name-behind-another", R"(Content-Disposition: form-data; foo="bar"; name="usr")",
        "usr=[7]");
    row("name-before-another", R"(Content-Disposition: form-data; name="usr"; foo="pwd")",
        "usr=[7]");
    row("name-within-a-value", R"(Content-Disposition: form-data; foo="name=pwd")", "");
    row("name-within-a-value-loses-a-character",
        R"(Content-Disposition: form-data; foo="name=xusr")", "usr=[7]");
    row("name-without-semicolon", R"(Content-Disposition: form-dataname="usr")", "usr=[7]");
    row("name-behind-a-longer-type", R"(Content-Disposition: form-data-x; name="usr")", "usr=[7]");
    row("name-first-in-the-line", R"(name="usr"; Content-Disposition: form-data)", "");

    row("other-disposition", R"(Content-Disposition: attachment; name="usr")", "");
    row("disposition-in-lower-case", R"(content-disposition: form-data; name="usr")", "");
    row("type-in-capitals", R"(Content-Disposition: FORM-DATA; name="usr")", "");
    row("disposition-without-blank", R"(Content-Disposition:form-data; name="usr")", "");
    row("disposition-behind-a-blank", R"( Content-Disposition: form-data; name="usr")", "");

    row("file-name-makes-no-property",
        R"(Content-Disposition: form-data; name="usr"; filename="other")", "");
    row("file-name-may-come-first",
        R"(Content-Disposition: form-data; filename="other"; name="usr")", "");
    row("file-name-alone", R"(Content-Disposition: form-data; filename="usr")", "");
    row("file-name-empty-is-none", R"(Content-Disposition: form-data; name="usr"; filename="")",
        "usr=[7]");
    row("file-name-of-one-character-is-none",
        "Content-Disposition: form-data; name=\"usr\"; filename=x", "usr=[7]");
    row("file-name-in-capitals-is-a-name-of-none",
        R"(Content-Disposition: form-data; name="usr"; FILENAME="other")", "usr=[7]");
    row("file-name-in-mixed-case-is-none",
        R"(Content-Disposition: form-data; name="usr"; fileName="other")", "usr=[7]");
    row("file-name-ending-in-name-replaces-the-name",
        R"(Content-Disposition: form-data; name="usr"; file-name="pwd")", "pwd=[7]");
    row("file-name-as-the-end-of-another",
        R"(Content-Disposition: form-data; name="usr"; myfilename="usr")", "");
}

void tst_AppDeviceTransaction::parseDisposition()
{
    QFETCH(QByteArray, line);
    Exchange exchange;
    exchange.transaction.mContentType = QStringLiteral("multipart/form-data;");
    exchange.transaction.mBoundary = QStringLiteral("XyZ");
    exchange.transaction.mContent = "--XyZ\r\n" + line + "\r\n\r\n7\r\n" + END;
    QCOMPARE(exchange.transaction.ParseContent(), 0);
    QTEST(Properties(exchange.transaction), "properties");
}

void tst_AppDeviceTransaction::parsePackage_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<int>("result");
    QTest::addColumn<QByteArray>("properties");

    const auto row = [](const char *name, const QByteArray &content, int result,
                        const QByteArray &properties) {
        QTest::newRow(name) << content << result << properties;
    };
    const QByteArray hello = HelloPackage();
    const QByteArray described = DescribedImport(hello);
    const QByteArray both = HelloAndDiskPackage();
    const QByteArray cmd = Field("cmd", "3");
    const auto disposition = [](const QByteArray &line, const QByteArray &bytes) {
        return QByteArray("--XyZ\r\nContent-Disposition: form-data; " + line + "\r\n\r\n" + bytes +
                          "\r\n");
    };

    row("package", FilePart("up", "package", hello) + END, 0, described);
    row("package-with-a-disk", FilePart("up", "package", both) + END, 0, DescribedImport(both));
    row("package-before-a-field", FilePart("up", "package", hello) + cmd + END, 0,
        "cmd=3 " + described);
    row("package-behind-a-field", cmd + FilePart("up", "package", hello) + END, 0,
        "cmd=3 " + described);
    row("package-in-a-field-of-any-name", FilePart("usr", "package", hello) + END, 0, described);
    row("no-package", cmd + END, 0, "cmd=3");

    QByteArray replacing = hello;
    replacing[17] = 1;
    row("package-asks-to-replace", FilePart("up", "package", replacing) + END, 0,
        described.left(described.size() - 1) + "!}");
    QByteArray withResult = hello;
    withResult[6] = char(0xA7);
    row("package-with-a-result", FilePart("up", "package", withResult) + END, 0,
        "package{-89" + described.mid(9));

    QByteArray badMagic = hello;
    badMagic[0] = 0;
    row("package-with-bad-magic-is-empty", FilePart("up", "package", badMagic) + cmd + END, 0,
        "cmd=3 package{0}");
    QByteArray badVersion = hello;
    badVersion[4] = 1;
    row("package-of-another-version-is-empty", FilePart("up", "package", badVersion) + cmd + END, 0,
        "cmd=3 package{-84}");
    row("package-too-short-is-empty", FilePart("up", "package", hello.left(100)) + END, 0,
        "package{0}");
    row("package-of-a-line-end-is-empty", FilePart("up", "package", "") + END, 0, "package{0}");
    row("package-of-one-byte-is-empty",
        disposition("name=\"up\"; filename=\"package\"", "").chopped(1) + END, 0, "package{0}");
    row("package-of-no-byte-is-none",
        disposition("name=\"up\"; filename=\"package\"", "").chopped(2) + cmd + END, 0, "cmd=3");

    row("last-package-counts",
        FilePart("up", "package", both) + FilePart("up", "package", hello) + END, 0, described);
    row("last-package-counts-if-bad",
        FilePart("up", "package", hello) + FilePart("up", "package", badMagic) + END, 0,
        "package{0}");
    row("last-package-counts-if-of-no-byte",
        FilePart("up", "package", hello) +
            disposition("name=\"up\"; filename=\"package\"", "").chopped(2) + END,
        0, "");
    row("other-file-behind-the-package",
        FilePart("up", "package", hello) + FilePart("up", "other", both) + END, 0, described);
    row("package-parts-are-not-joined",
        FilePart("up", "package", hello.left(200)) + FilePart("up", "package", hello.mid(200)) +
            END,
        0, "package{0}");

    row("other-file-name", FilePart("up", "other", hello) + cmd + END, 0, "cmd=3");
    row("other-file-name-in-capitals", FilePart("up", "PACKAGE", hello) + cmd + END, 0, "cmd=3");
    row("other-file-name-with-extension", FilePart("up", "package.bin", hello) + END, 0, "");
    row("other-file-name-with-blank", FilePart("up", " package", hello) + END, 0, "");
    row("unquoted-file-name-loses-a-character",
        disposition("name=\"up\"; filename=package", hello) + END, 0, "");
    row("unquoted-file-name-without-its-first-character",
        disposition("name=\"up\"; filename=xpackage", hello) + END, 0, described);
    row("file-name-without-closing-quote",
        disposition("name=\"up\"; filename=\"package", hello) + END, 0, described);
    row("file-name-ends-at-equals-sign",
        disposition("name=\"up\"; filename=\"package=x\"", hello) + END, 0, described);
    row("file-name-before-the-name", disposition("filename=\"package\"; name=\"up\"", hello) + END,
        0, described);
    row("file-name-without-name", disposition("filename=\"package\"", hello) + cmd + END, 0,
        "cmd=3");
    row("file-name-with-empty-name",
        disposition("name=\"\"; filename=\"package\"", hello) + cmd + END, 0, "cmd=3");
    row("package-as-a-field", Field("package", hello) + cmd + END, 0, "cmd=3");

    row("package-without-closing-delimiter", cmd + FilePart("up", "package", hello), -1, "cmd=3");
    row("package-before-an-unclosed-field", FilePart("up", "package", hello) + cmd, -1, "cmd=3");
    row("package-without-line-end", FilePart("up", "package", hello).chopped(2) + cmd + END, 0,
        "cmd=3 " + described);
    row("package-ends-at-the-delimiter",
        FilePart("up", "package", hello + "--XyZ behind it") + cmd + END, 0, "cmd=3 " + described);
    row("package-cut-by-the-delimiter",
        FilePart("up", "package", hello.left(496) + "--XyZ" + hello.mid(496)) + cmd + END, 0,
        "cmd=3 package{0}");
    row("package-behind-more-dashes", FilePart("up", "package", hello).chopped(2) + "-" + cmd + END,
        0, "cmd=3 " + described);
}

void tst_AppDeviceTransaction::parsePackage()
{
    QFETCH(QByteArray, content);
    Exchange exchange;
    exchange.transaction.mContentType = QStringLiteral("multipart/form-data;");
    exchange.transaction.mBoundary = QStringLiteral("XyZ");
    exchange.transaction.mContent = content;
    QTEST(exchange.transaction.ParseContent(), "result");
    QTEST(Properties(exchange.transaction), "properties");
}

void tst_AppDeviceTransaction::parseNothingOfOtherTypes_data()
{
    QTest::addColumn<QString>("contentType");
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<QByteArray>("properties");

    const auto row = [](const char *name, const char *contentType, const QByteArray &content,
                        const QByteArray &properties) {
        QTest::newRow(name) << QString::fromLatin1(contentType) << content << properties;
    };
    const QByteArray pairs = "cmd=1&usr=a";
    const QByteArray parts = Field("cmd", "2") + END;
    row("no-type", "", pairs, "");
    row("no-type-of-parts", "", parts, "");
    row("text", "text/plain", pairs, "");
    row("pairs-type-in-capitals", "Application/x-www-form-urlencoded", pairs, "");
    row("pairs-type-cut-off", "application/x-www-form-urlencode", pairs, "");
    row("parts-type-in-capitals", "multipart/Form-Data;", parts, "");
    row("parts-of-another-type", "multipart/mixed;", parts, "");
    row("pairs-type-within-another", "xapplication/x-www-form-urlencoded;y", pairs,
        "usr=[a] cmd=1");
    row("parts-type-within-another", "xmultipart/form-datay", parts, "cmd=2");
    row("pairs-type-before-parts-type", "multipart/form-data;application/x-www-form-urlencoded",
        pairs, "usr=[a] cmd=1");
}

void tst_AppDeviceTransaction::parseNothingOfOtherTypes()
{
    QFETCH(QString, contentType);
    QFETCH(QByteArray, content);
    QFETCH(QByteArray, properties);
    Exchange exchange;
    exchange.transaction.mContentType = contentType;
    exchange.transaction.mBoundary = QStringLiteral("XyZ");
    exchange.transaction.mContent = content;
    QCOMPARE(exchange.transaction.ParseContent(), 0);
    QCOMPARE(Properties(exchange.transaction), properties);
    if (properties.isEmpty())
        QCOMPARE(exchange.transaction.mContent, content);
}

void tst_AppDeviceTransaction::parsePassesTheTypesThroughTranslation()
{
    TypeTranslator translator;
    QVERIFY(QCoreApplication::installTranslator(&translator));
    Exchange exchange;
    exchange.transaction.mBoundary = QStringLiteral("XyZ");

    exchange.transaction.mContentType = QStringLiteral("text/pairs");
    exchange.transaction.mContent = "cmd=1";
    QCOMPARE(exchange.transaction.ParseContent(), 0);
    QCOMPARE(exchange.transaction.mCmd, 1);

    exchange.transaction.mContentType = QStringLiteral("text/parts");
    exchange.transaction.mContent = Field("cmd", "2") + END;
    QCOMPARE(exchange.transaction.ParseContent(), 0);
    QCOMPARE(exchange.transaction.mCmd, 2);

    QCoreApplication::removeTranslator(&translator);
    exchange.transaction.mContentType = QStringLiteral("text/pairs");
    exchange.transaction.mContent = "cmd=3";
    QCOMPARE(exchange.transaction.ParseContent(), 0);
    QCOMPARE(exchange.transaction.mCmd, 2);
}

void tst_AppDeviceTransaction::parseWithBoundary_data()
{
    QTest::addColumn<QByteArray>("parameter");
    QTest::addColumn<QByteArray>("delimiter");
    QTest::addColumn<int>("cmd");

    const auto row = [](const char *name, const QByteArray &parameter, const QByteArray &delimiter,
                        int cmd) { QTest::newRow(name) << parameter << delimiter << cmd; };
    row("plain", " boundary=XyZ", "--XyZ", 2);
    row("of-dashes", " boundary=--------42", "----------42", 2);
    row("cut-at-equals-sign", " boundary=ab=cd", "--ab", 2);
    row("cut-at-equals-sign-does-not-fit-the-whole", " boundary=ab=cd", "--ab=cd", 0);
    row("quoted-does-not-fit-plain-delimiters", " boundary=\"XyZ\"", "--XyZ", 0);
    row("quoted-fits-quoted-delimiters", " boundary=\"XyZ\"", "--\"XyZ\"", 2);
    row("missing-is-empty", "", "--", 2);
    row("without-value-is-empty", " boundary=", "--", 2);
    row("without-equals-sign-is-empty", " boundary", "--", 2);
    row("in-other-case-does-not-fit", " boundary=XyZ", "--xyz", 0);
    row("beyond-ascii", " boundary=X\xE9Z", "--X\xE9Z", 2);
    row("beyond-ascii-does-not-fit-utf-8", " boundary=X\xE9Z", "--X\xC3\xA9Z", 0);
}

void tst_AppDeviceTransaction::parseWithBoundary()
{
    QFETCH(QByteArray, parameter);
    QFETCH(QByteArray, delimiter);
    // The second field is only found by searching for the delimiter.
    const Exchange exchange(
        {Request("multipart/form-data;" + parameter,
                 delimiter + "\r\nContent-Disposition: form-data; name=\"usr\"\r\n\r\nbob\r\n" +
                     delimiter + "\r\nContent-Disposition: form-data; name=\"cmd\"\r\n\r\n2\r\n" +
                     delimiter + "--\r\n")});
    QVERIFY(exchange.transaction.mValid);
    QTEST(exchange.transaction.mCmd, "cmd");
}

void tst_AppDeviceTransaction::parseConsumesUpToTheClosingDelimiter()
{
    Exchange exchange;
    exchange.transaction.mContentType = QStringLiteral("multipart/form-data;");
    exchange.transaction.mBoundary = QStringLiteral("XyZ");
    exchange.transaction.mContent = Field("usr", "a") + Field("cmd", "2") + END + "behind";
    QCOMPARE(exchange.transaction.ParseContent(), 0);
    QCOMPARE(exchange.transaction.mContent, END + "behind");
}

void tst_AppDeviceTransaction::parseFindsTheFirstDelimiter()
{
    // All short texts that begin like a delimiter again and again, in front of one.
    QList<QByteArray> texts = {""};
    for (int i = 0; i < texts.size() && texts.at(i).size() < 6; ++i)
        texts << texts.at(i) + '-' << texts.at(i) + 'a' << texts.at(i) + 'b';
    for (const QByteArray boundary : {"", "-", "a", "-a", "ab", "aab", "a-a", "a--ab", "a--a--b"}) {
        const QByteArray delimiter = "--" + boundary;
        for (const QByteArray &text : std::as_const(texts)) {
            const QByteArray rest = text + delimiter + "--end";
            const QByteArray expected = rest.mid(rest.indexOf(delimiter));
            if (!expected.startsWith(delimiter + "--"))
                continue; // another part, not the end
            Exchange exchange;
            exchange.transaction.mContentType = QStringLiteral("multipart/form-data;");
            exchange.transaction.mBoundary = QString::fromLatin1(boundary);
            exchange.transaction.mContent = delimiter + "\r\n\r\n" + rest;
            QCOMPARE(exchange.transaction.ParseContent(), 0);
            QCOMPARE(exchange.transaction.mContent, expected);
        }
    }
}

void tst_AppDeviceTransaction::parseLargeBodies_data()
{
    QTest::addColumn<QByteArray>("contentType");
    QTest::addColumn<QByteArray>("body");
    QTest::addColumn<QByteArray>("properties");

    constexpr int COUNT = 100000;
    const auto row = [](const char *name, const QByteArray &contentType, const QByteArray &body,
                        const QByteArray &properties) {
        QTest::newRow(name) << contentType << body << properties;
    };
    QByteArray pairs;
    QByteArray parts;
    for (int i = 1; i <= COUNT; ++i) {
        pairs += "udid=" + QByteArray::number(i) + '&';
        parts += Field("udid", QByteArray::number(i));
    }
    row("pairs", URL_ENCODED, pairs + "cmd=1", "udid=[100000] cmd=1");
    row("empty-pairs", URL_ENCODED, QByteArray(COUNT, '&') + "cmd=1", "cmd=1");
    row("equals-signs", URL_ENCODED, "usr" + QByteArray(COUNT, '=') + "&cmd=1", "cmd=1");
    row("percent-signs", URL_ENCODED, "cmd=1&=" + QByteArray(COUNT, '%'), "cmd=1");
    row("blanks", URL_ENCODED, "cmd=1&usr=" + QByteArray(COUNT, '+'), "cmd=1");

    row("parts", MULTIPART, parts + Field("cmd", "2") + END, "udid=[100000] cmd=2");
    row("parts-without-lines", MULTIPART,
        Field("cmd", "2") + QByteArray("--XyZ.").repeated(COUNT) + "--XyZ--", "cmd=2");
    row("part-headers", MULTIPART,
        "--XyZ\r\n" + QByteArray("X: y\r\n").repeated(COUNT) + Field("cmd", "2").mid(7) + END,
        "cmd=2");
    row("names-in-a-part-header", MULTIPART,
        "--XyZ\r\nContent-Disposition: form-data" + QByteArray("; name=\"usr\"").repeated(COUNT) +
            "; name=\"cmd\"\r\n\r\n2\r\n" + END,
        "cmd=2");
    const QByteArray boundary(COUNT / 2, 'a');
    row("boundary-and-file-alike", "multipart/form-data; boundary=" + boundary + 'b',
        "--" + boundary +
            "b\r\nContent-Disposition: form-data; name=\"up\"; filename=\"other\"\r\n\r\n" +
            ("--" + QByteArray(COUNT / 2 - 1, 'a')).repeated(20) + "--" + boundary +
            "b\r\nContent-Disposition: form-data; name=\"cmd\"\r\n\r\n2\r\n--" + boundary + "b--",
        "cmd=2");
}

void tst_AppDeviceTransaction::parseLargeBodies()
{
    QFETCH(QByteArray, contentType);
    QFETCH(QByteArray, body);
    QFETCH(QByteArray, properties);
    const Exchange exchange({Request(contentType, body)});
    QVERIFY(exchange.transaction.mValid);
    QCOMPARE(Properties(exchange.transaction), properties);
}

void tst_AppDeviceTransaction::replyBytes_data()
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

void tst_AppDeviceTransaction::replyBytes()
{
    QFETCH(int, result);
    QFETCH(bool, program);
    QFETCH(QByteArray, reply);
    Exchange exchange({Request(URL_ENCODED, "cmd=1")});
    AppPackage package;
    package.result = result;
    if (program)
        SetHello(&package);

    QCOMPARE(exchange.transaction.Reply(package), 0);

    QCOMPARE(exchange.socket->Writes(), QList<QByteArray>({reply}));
}

void tst_AppDeviceTransaction::replyAnnouncesItsLength_data()
{
    QTest::addColumn<int>("disks");
    QTest::addColumn<int>("imageSize");
    QTest::addColumn<QByteArray>("length");

    QTest::newRow("one-d64") << 1 << 174848 << QByteArray("180720");
    QTest::newRow("one-empty-image") << 1 << 0 << QByteArray("4592");
    QTest::newRow("as-many-d82-as-fit") << 20 << 1066496 << QByteArray("21463536");
    QTest::newRow("more-d82-than-fit") << 21 << 1066496 << QByteArray("21463536");
}

void tst_AppDeviceTransaction::replyAnnouncesItsLength()
{
    QFETCH(int, disks);
    QFETCH(int, imageSize);
    QFETCH(QByteArray, length);
    Exchange exchange({Request(URL_ENCODED, "cmd=1")});
    AppPackage package;
    for (int i = 0; i < disks; ++i)
        package.AddDisk(AppPackage::DISK_D82, AppDosName(), QByteArray(imageSize, 'd'));

    QCOMPARE(exchange.transaction.Reply(package), 0);

    QCOMPARE(int(exchange.socket->Writes().size()), 1);
    const QByteArray reply = exchange.socket->Writes().first();
    const int bodyStart = int(reply.indexOf("\r\n\r\n")) + 4;
    const QByteArray head = reply.left(bodyStart);
    QCOMPARE(head.mid(head.lastIndexOf(' ') + 1), length + "\r\n\r\n");
    QCOMPARE(QByteArray::number(reply.size() - bodyStart), length);
    QByteArray body;
    package.Export(&body);
    QVERIFY(reply == ReplyWith(body)); // too long to be printed
}

void tst_AppDeviceTransaction::replyWaitsOnceWithoutLimit()
{
    Exchange exchange({Request(URL_ENCODED, "cmd=1")});
    QCOMPARE(exchange.socket->WriteTimeouts(), QList<int>());
    exchange.transaction.Reply(AppPackage());
    QCOMPARE(exchange.socket->WriteTimeouts(), QList<int>({-1}));
    QCOMPARE(exchange.socket->ReadTimeouts(), QList<int>({TIMEOUT_MS}));
}

void tst_AppDeviceTransaction::replyLeavesTheConnectionOpen()
{
    SegmentSocket socket({Request(URL_ENCODED, "cmd=1")});
    {
        AppDeviceTransaction transaction(&socket);
        transaction.Reply(AppPackage());
        QCOMPARE(socket.Disconnects(), 0);
        QCOMPARE(transaction.mSocket, &socket);
    }
    QCOMPARE(socket.Disconnects(), 1);
    QCOMPARE(socket.Writes(), QList<QByteArray>({EmptyPackageReply()}));
}

void tst_AppDeviceTransaction::replyToAPeerThatIsGone()
{
    Exchange exchange({Request(URL_ENCODED, "cmd=1")});
    exchange.socket->SetPeerGone();
    QCOMPARE(exchange.transaction.Reply(AppPackage()), 0);
    QCOMPARE(exchange.socket->Writes(), QList<QByteArray>());
    QCOMPARE(exchange.socket->Disconnects(), 0);
}

void tst_AppDeviceTransaction::bytesBehindTheExchangeAreDropped()
{
    SegmentSocket socket({Request(URL_ENCODED, "cmd=1")});
    {
        AppDeviceTransaction transaction(&socket);
        transaction.Reply(AppPackage());
    }
    // While the rest of a reply is sent, the peer cannot make the hub gather bytes.
    socket.AddSegment("more");
    QVERIFY(socket.waitForReadyRead(0));
    QCOMPARE(socket.bytesAvailable(), qint64(0));
}

void tst_AppDeviceTransaction::loopbackExchange_data()
{
    requestIsReadHoweverItIsCut_data();
}

void tst_AppDeviceTransaction::loopbackExchange()
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

void tst_AppDeviceTransaction::loopbackEarlyClose_data()
{
    QTest::addColumn<QByteArray>("request");

    QTest::newRow("before-anything") << QByteArray();
    QTest::newRow("in-the-headers") << QByteArray("POST / HTTP/1.1\r\nContent-Len");
    QTest::newRow("behind-the-headers")
        << QByteArray("POST / HTTP/1.1\r\nContent-Length: 5\r\n\r\n");
    QTest::newRow("in-the-body") << QByteArray("POST / HTTP/1.1\r\nContent-Length: 5\r\n\r\ncmd=");
    QTest::newRow("behind-a-body-without-length") << QByteArray("POST / HTTP/1.1\r\n\r\ncmd=1");
    QTest::newRow("behind-too-long-a-body") << Request(URL_ENCODED, "cmd=1").append("\r\n");
}

void tst_AppDeviceTransaction::loopbackEarlyClose()
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

void tst_AppDeviceTransaction::loopbackHalfClose_data()
{
    QTest::addColumn<bool>("large");

    QTest::newRow("small-reply") << false;
    QTest::newRow("large-reply") << true;
}

void tst_AppDeviceTransaction::loopbackHalfClose()
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
    QVERIFY(loopback.Send(Request(URL_ENCODED, "cmd=1")));
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

void tst_AppDeviceTransaction::loopbackClientGoneBeforeTheReply()
{
    Loopback loopback;
    const QPointer<QTcpSocket> socket(loopback.Accept());
    QVERIFY(socket);
    QVERIFY(loopback.Send(Request(URL_ENCODED, "cmd=1")));
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

void tst_AppDeviceTransaction::loopbackReplyDoesNotWaitForAReader()
{
    AppPackage package;
    FillWithDisks(&package);
    QByteArray body;
    package.Export(&body);
    Loopback loopback;
    const QPointer<QTcpSocket> socket(loopback.Accept());
    QVERIFY(socket);
    QVERIFY(loopback.Send(Request(URL_ENCODED, "cmd=1")));
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

void tst_AppDeviceTransaction::loopbackReadingDoesNotRunTheEventLoop()
{
    Loopback loopback;
    QTcpSocket *const socket = loopback.Accept();
    QVERIFY(socket);
    QVERIFY(loopback.Send(Request(URL_ENCODED, "cmd=1")));
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

void tst_AppDeviceTransaction::StartConversations()
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

void tst_AppDeviceTransaction::incompleteRequestGetsNoReply_data()
{
    QTest::addColumn<int>("index");

    int index = 0;
    for (const WAITING_CASE &waiting : WaitingCases())
        QTest::newRow(waiting.name) << index++;
}

void tst_AppDeviceTransaction::incompleteRequestGetsNoReply()
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

void tst_AppDeviceTransaction::slowSenderGetsItsReply()
{
    StartConversations();
    const OUTCOME &outcome = mSlow->Outcome();
    QVERIFY(outcome.valid);
    QVERIFY(outcome.hasSocket);
    QVERIFY(outcome.disconnected);
    QVERIFY(outcome.socketDeleted);
    QCOMPARE(outcome.received, EmptyPackageReply());
}

QTEST_GUILESS_MAIN(tst_AppDeviceTransaction)
#include "tst_AppDeviceTransaction.moc"
