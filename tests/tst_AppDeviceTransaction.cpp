// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#include "AppDeviceTransaction.h"
#include "AppPackage.h"
#include "FormParts.h"
#include "LiteralBytes.h"
#include "SegmentSocket.h"
#include "TransactionState.h"
#include "Wire.h"

#include <QMetaMethod>
#include <QPointer>
#include <QTest>

#include <limits>

namespace
{

constexpr int TIMEOUT_MS = 5000; // of each wait for the device

struct TYPE_ROW {
    const char *name;
    QByteArray line;
    const char *contentType;
    const char *boundary;
};

// The last word of a line carries the line's end.
const TYPE_ROW TYPES[] = {
    {"type-is-the-second-word", "Content-Type: text/plain; charset=utf-8", "text/plain;", ""},
    {"type-as-the-last-word-keeps-the-line-end", "Content-Type: application/x-www-form-urlencoded",
     "application/x-www-form-urlencoded\r\n", ""},
    {"type-with-boundary", "Content-Type: multipart/form-data; boundary=XyZ",
     "multipart/form-data;", "XyZ"},
    {"type-in-lower-case-is-ignored", "content-type: text/plain", "", ""},
    {"type-in-capitals-is-ignored", "CONTENT-TYPE: text/plain", "", ""},
    {"type-behind-a-blank-is-ignored", " Content-Type: text/plain", "", ""},
    {"type-with-a-blank-before-the-colon-is-ignored", "Content-Type : text/plain", "", ""},
    {"type-without-a-blank-is-ignored", "Content-Type:text/plain; x", "", ""},
    {"type-behind-a-tab-is-ignored", "Content-Type:\ttext/plain; x", "", ""},
    {"type-with-a-longer-name-is-ignored", "X-Content-Type: text/plain", "", ""},
    {"type-without-anything-is-ignored", "Content-Type: a/b c\r\nContent-Type:", "a/b", ""},
    {"type-without-word-is-the-line-end", "Content-Type: ", "\r\n", ""},
    {"type-behind-two-blanks-is-empty", "Content-Type:  multipart/form-data; boundary=XyZ", "", ""},
    {"type-ends-at-nul", LiteralBytes("Content-Type: text\0/plain; x"), "text", ""},
    {"type-without-second-word-is-empty", LiteralBytes("Content-Type:\0 text/plain"), "", ""},
    {"type-missing-replaces-an-earlier-one",
     LiteralBytes("Content-Type: text/plain; x\r\nContent-Type:\0"), "", ""},
    {"type-given-twice-is-the-later", "Content-Type: a/b c\r\nContent-Type: d/e f", "d/e", ""},
    {"type-keeps-latin-1-characters", "Content-Type: a\xE9/b c", "a\xE9/b", ""},
    {"boundary-with-equals-sign-ends-there", "Content-Type: multipart/form-data; boundary=ab=cd",
     "multipart/form-data;", "ab"},
    {"boundary-keeps-quotes", "Content-Type: multipart/form-data; boundary=\"XyZ\"",
     "multipart/form-data;", "\"XyZ\""},
    {"boundary-is-trimmed", "Content-Type: multipart/form-data; boundary=\t\vXyZ\t x",
     "multipart/form-data;", "XyZ"},
    {"boundary-behind-two-blanks-is-empty", "Content-Type: multipart/form-data;  boundary=XyZ",
     "multipart/form-data;", ""},
    {"boundary-in-the-second-word-is-not-found", "Content-Type: multipart/form-data;boundary=XyZ",
     "multipart/form-data;boundary=XyZ\r\n", ""},
    {"boundary-in-the-fourth-word-is-not-found",
     "Content-Type: multipart/form-data; charset=utf-8; boundary=XyZ", "multipart/form-data;",
     "utf-8;"},
    {"boundary-has-any-name", "Content-Type: multipart/form-data; BORDER=XyZ",
     "multipart/form-data;", "XyZ"},
    {"boundary-behind-a-blank-is-empty", "Content-Type: multipart/form-data; boundary= XyZ",
     "multipart/form-data;", ""},
    {"boundary-without-third-word-is-empty", "Content-Type: multipart/form-data",
     "multipart/form-data\r\n", ""},
    {"boundary-without-equals-sign-is-empty", "Content-Type: multipart/form-data; boundary",
     "multipart/form-data;", ""},
    {"boundary-missing-replaces-an-earlier-one",
     "Content-Type: multipart/mixed; boundary=a\r\nContent-Type: multipart/form-data; boundary",
     "multipart/form-data;", ""},
    {"boundary-of-any-multipart-type", "Content-Type: multipartial; boundary=XyZ", "multipartial;",
     "XyZ"},
    {"boundary-of-no-other-type", "Content-Type: xmultipart/form-data; boundary=XyZ",
     "xmultipart/form-data;", ""},
    {"boundary-of-no-capitalised-type", "Content-Type: Multipart/form-data; boundary=XyZ",
     "Multipart/form-data;", ""},
    {"boundary-stays-with-a-later-type",
     "Content-Type: multipart/mixed; boundary=a\r\nContent-Type: text/plain; boundary=b",
     "text/plain;", "a"},
    {"boundary-ends-at-nul", LiteralBytes("Content-Type: multipart/form-data; boundary=X\0yZ"),
     "multipart/form-data;", "X"},
    {"boundary-keeps-latin-1-characters", "Content-Type: multipart/form-data; boundary=X\xE9Z",
     "multipart/form-data;", "X\xE9Z"},
};

struct LENGTH_ROW {
    const char *name;
    QByteArray line;
    int remaining;
};

const LENGTH_ROW LENGTHS[] = {
    {"length-missing-is-minus-one", "Host: 192.168.1.10", -1},
    {"length-is-a-number", "Content-Length: 5", 5},
    {"length-of-the-largest-number", "Content-Length: 2147483647", 2147483647},
    {"length-too-large-is-zero", "Content-Length: 2147483648", 0},
    {"length-far-too-large-is-zero", "Content-Length: 4294967301", 0},
    {"length-negative-counts", "Content-Length: -5", -5},
    {"length-with-sign", "Content-Length: +5", 5},
    {"length-with-leading-zeros", "Content-Length: 0012", 12},
    {"length-before-a-blank", "Content-Length: 5 6", 5},
    {"length-between-tabs", "Content-Length: \t5\t", 5},
    {"length-behind-two-blanks-is-zero", "Content-Length:  5", 0},
    {"length-in-words-is-zero", "Content-Length: five", 0},
    {"length-with-a-unit-is-zero", "Content-Length: 5b", 0},
    {"length-in-hexadecimal-is-zero", "Content-Length: 0x5", 0},
    {"length-with-a-fraction-is-zero", "Content-Length: 5.0", 0},
    {"length-with-a-group-separator-is-zero", "Content-Length: 1,000", 0},
    {"length-without-number-is-zero", "Content-Length: ", 0},
    {"length-without-second-word-is-zero", LiteralBytes("Content-Length:\0 5"), 0},
    {"length-ends-at-nul", LiteralBytes("Content-Length: 1\0002"), 1},
    {"length-in-lower-case-is-ignored", "content-length: 5", -1},
    {"length-without-a-blank-is-ignored", "Content-Length:5 6", -1},
    {"length-without-anything-is-ignored", "Content-Length:", -1},
    {"length-behind-a-tab-is-ignored", "Content-Length:\t5 6", -1},
    {"length-behind-a-blank-is-ignored", " Content-Length: 5", -1},
    {"length-behind-nul-is-ignored", LiteralBytes("X\0\nX Content-Length: 5"), -1},
    {"length-with-a-longer-name-is-ignored", "X-Content-Length: 5", -1},
    {"length-given-twice-is-the-later", "Content-Length: 5\r\nContent-Length: 6", 6},
    {"length-zero-before-another-is-the-later", "Content-Length: 0\r\nContent-Length: 6", 6},
};

struct BLOCK_ROW {
    const char *name;
    QByteArray block;
    int remaining;
    int done;
};

const BLOCK_ROW BLOCKS[] = {
    {"block-ends-with-an-empty-line", "A\r\nContent-Length: 5\r\n\r\n", 5, 1},
    {"block-ends-with-a-line-feed", "A\nContent-Length: 5\n\n", 5, 1},
    {"block-ends-with-blanks", "A\r\nContent-Length: 5\r\n   \r\n", 5, 1},
    {"block-ends-with-any-white-space", "A\r\nContent-Length: 5\r\n \t\v\f\r\r\n", 5, 1},
    {"block-ends-with-a-hard-blank", "A\r\nContent-Length: 5\r\n\xA0\r\n", 5, 1},
    {"block-ends-with-nul", LiteralBytes("A\r\nContent-Length: 5\r\n\0Host: x\r\n"), 5, 1},
    {"block-ends-with-blank-and-nul", LiteralBytes("A\r\nContent-Length: 5\r\n \0Host: x\r\n"), 5,
     1},
    {"block-does-not-end-without-empty-line", "A\r\nContent-Length: 5\r\n", 5, 0},
    {"block-does-not-end-with-half-a-line", "A\r\nContent-Length: 5\r\n\r", 5, 0},
    {"block-does-not-end-with-carriage-returns", "A\r\rContent-Length: 5\r\r", -1, 0},
    {"block-without-request-line", "Content-Length: 5\r\n\r\n", 5, 1},
    {"block-without-anything", "\r\n", -1, 1},
    {"block-of-half-a-line", "Content-Length: 5", -1, 0},
};

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
    void lineOfAnyLengthIsOneLine();
    void hugeHeadersAreRead_data();
    void hugeHeadersAreRead();
    void hugeBodyIsRead();
    void requestIsReadHoweverItIsCut_data();
    void requestIsReadHoweverItIsCut();
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
    SegmentSocket other({HttpPost(URL_ENCODED, "usr=other&cmd=2")});
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
    const Exchange exchange({HttpPost(URL_ENCODED, "cmd=1")});
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
    QList<QByteArray> segments = Pieces(HttpPost(URL_ENCODED, "cmd=1"), 40);
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
    SegmentSocket socket({HttpPost(URL_ENCODED, "cmd=1")});
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

    QTest::newRow("complete") << HttpPost(URL_ENCODED, "cmd=1");
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

    const QByteArray requestLine = "POST / HTTP/1.1\r\n";
    for (const TYPE_ROW &row : TYPES)
        QTest::newRow(row.name) << requestLine + row.line + "\r\n\r\n"
                                << QString::fromLatin1(row.contentType)
                                << QString::fromLatin1(row.boundary) << -1 << 1;
    for (const LENGTH_ROW &row : LENGTHS)
        QTest::newRow(row.name) << requestLine + row.line + "\r\n\r\n"
                                << QString() << QString() << row.remaining << 1;
    for (const BLOCK_ROW &row : BLOCKS)
        QTest::newRow(row.name) << row.block << QString() << QString() << row.remaining << row.done;
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
    const QByteArray request = HttpPost("application/octet-stream", body);
    for (const int size : {1, 7, 100, 2000}) {
        const Exchange exchange(Pieces(request, size));
        QVERIFY(exchange.transaction.mValid);
        QCOMPARE(exchange.transaction.mContent, body);
    }
}

void tst_AppDeviceTransaction::bodyIsReadInOnePieceForEachSignal()
{
    const QByteArray body(100000, 'x');
    const QByteArray request = HttpPost("text/plain", body);
    const int cut = int(request.size()) - 70000;
    const Exchange exchange({request.left(cut), request.mid(cut)});
    QVERIFY(exchange.transaction.mValid);
    QCOMPARE(exchange.socket->Reads(), QList<qint64>({30000, 70000}));
}

void tst_AppDeviceTransaction::emptySegmentsChangeNothing()
{
    const QByteArray request = HttpPost(URL_ENCODED, "cmd=2&req=1");
    const Exchange exchange({"", request.left(30), "", request.mid(30, request.size() - 35), "",
                             request.right(5), "left"});
    QVERIFY(exchange.transaction.mValid);
    QCOMPARE(Properties(exchange.transaction), QByteArray("cmd=2 req=1"));
    QCOMPARE(exchange.socket->SegmentsLeft(), 1);
}

void tst_AppDeviceTransaction::incompleteBodyIsNotParsed()
{
    const QByteArray request = HttpPost(URL_ENCODED, "cmd=2&req=1");
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
    row("line-end-behind-the-body", {HttpPost(URL_ENCODED, "cmd=1") + "\r\n"});
    row("second-request-behind-the-body",
        {HttpPost(URL_ENCODED, "cmd=1") + HttpPost(URL_ENCODED, "cmd=1")});
    row("no-length", {head + "\r\ncmd=1", "&req=1"});
    row("lower-case-length", {head + "content-length: 5\r\n\r\ncmd=1"});
    row("length-zero", {head + "Content-Length: 0\r\n\r\ncmd=1"});
    row("length-no-number", {head + "Content-Length: five\r\n\r\ncmd=1"});
    row("length-behind-two-blanks", {head + "Content-Length:  5\r\n\r\ncmd=1"});
    row("length-negative", {head + "Content-Length: -5\r\n\r\n", "cmd=1"});
    row("blank-line-before-the-request", {"\r\n" + HttpPost(URL_ENCODED, "cmd=1")});
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
    Exchange exchange({HttpPost(URL_ENCODED, "cmd=1")});
    // Reaching zero from here by wrapping would take 2^31 - 2 bytes more than these ten.
    exchange.transaction.mContentRemaining = std::numeric_limits<int>::min() + 3;
    exchange.socket->AddSegment("0123456789");

    QVERIFY(exchange.socket->waitForReadyRead(0));

    QVERIFY(exchange.transaction.mContentRemaining < 0);
    QCOMPARE(exchange.socket->bytesAvailable(), qint64(0));
}

void tst_AppDeviceTransaction::bytesAfterCompletionChangeNothing()
{
    Exchange exchange({HttpPost(URL_ENCODED, "cmd=1")});
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
    const Exchange exchange({HttpPost(URL_ENCODED, "cmd=1"), "\r\n"});
    QVERIFY(exchange.transaction.mValid);
    QCOMPARE(exchange.transaction.mCmd, 1);
    QCOMPARE(exchange.socket->SegmentsLeft(), 1);
}

void tst_AppDeviceTransaction::malformedBodyIsValidAllTheSame()
{
    const Exchange exchange({HttpPost(MULTIPART, FormField("cmd", "1") + FormField("usr", "bob"))});
    QVERIFY(exchange.transaction.mValid);
    QCOMPARE(exchange.transaction.mSocket, exchange.socket.get());
    QCOMPARE(Properties(exchange.transaction), QByteArray("usr=[bob] cmd=1"));
}

void tst_AppDeviceTransaction::lineOfAnyLengthIsOneLine()
{
    // What looks like the end of the headers, or like one of them, lies anywhere in a long line.
    for (int size = 480; size < 1100; ++size) {
        const QByteArray line = "X: " + QByteArray(size, ' ') + "Content-Length: 9\r\n";
        const Exchange exchange({line + HttpPost(URL_ENCODED, "cmd=1")});
        QVERIFY(exchange.transaction.mValid);
        QCOMPARE(exchange.transaction.mCmd, 1);
    }
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
    const QByteArray request = headers + HttpPost(URL_ENCODED, "usr=bob&cmd=1");

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
        HttpPost(MULTIPART, FormFile("up", "package", bytes) + FormField("cmd", "3") + FORM_END);

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

    for (const REQUEST_CASE &row : RequestCases())
        QTest::newRow(row.name) << row.request << row.state;
}

void tst_AppDeviceTransaction::requestIsReadHoweverItIsCut()
{
    QFETCH(QByteArray, request);
    QFETCH(QByteArray, state);
    QCOMPARE(State(Exchange({request}).transaction), state);
    QCOMPARE(State(Exchange(Pieces(request, 1)).transaction), state);
    for (int cut = 1; cut < request.size(); ++cut) {
        const Exchange exchange({request.left(cut), request.mid(cut)});
        const QByteArray cutState = State(exchange.transaction);
        if (cutState != state)
            qWarning("cut at %d", cut);
        QCOMPARE(cutState, state);
    }
}

QTEST_GUILESS_MAIN(tst_AppDeviceTransaction)
#include "tst_AppDeviceTransaction.moc"
