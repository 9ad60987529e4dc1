// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#include "AnswerServer.h"
#include "SkyletAnswer.h"
#include "SkyletConnection.h"
#include "SkyletProgress.h"

#include <QSignalSpy>
#include <QTest>

namespace
{

constexpr int LONG_MS = 30000;
constexpr int SHORT_MS = 50;

SkyletAddress Address(quint16 port)
{
    SkyletAddress address;
    address.host = QStringLiteral("127.0.0.1");
    address.port = port;
    return address;
}

/// A port of 127.0.0.1 where nothing listens.
quint16 FreePort()
{
    QTcpServer server;
    server.listen(QHostAddress(QHostAddress::LocalHost));
    return server.serverPort();
}

/// Connections to it stay in the system's queue, so that nothing ever reads from them.
class DeafServer : public QTcpServer
{
public:
    static constexpr int MORE_THAN_BUFFERS = 64000000; ///< bytes

    DeafServer()
    {
        listen(QHostAddress(QHostAddress::LocalHost));
        pauseAccepting();
    }
};

QByteArray EmptyAnswer()
{
    return HubAnswer(Package({}));
}

} // namespace

class tst_SkyletConnection : public QObject
{
    Q_OBJECT

private slots:
    void answerIsTaken_data();
    void answerIsTaken();
    void answerMayComeByteByByte();
    void answerMayTakeLongerThanTheTimeout();
    void requestArrivesWhole();
    void bytesThatComeAlongAreKept();
    void connectionIsReleasedWhenTheHubCloses();
    void connectionIsReleasedEvenIfTheHubDoesNotClose();
    void answerThatIsNoHttpIsNotWaitedFor();
    void failures_data();
    void failures();
    void requestThatIsNotReadTimesOut();
    void refused();
    void hostOfNoAddress();
    void answersAreNamed_data();
    void answersAreNamed();
    void resultsAreNamed_data();
    void resultsAreNamed();
    void everyKindHasWordsOfItsOwn();
    void progressSaysWhatTheConnectionDoes();
};

void tst_SkyletConnection::answerIsTaken_data()
{
    QTest::addColumn<int>("end");

    QTest::newRow("hub-closes") << int(AnswerServer::CLOSE);
    QTest::newRow("hub-leaves-it-open") << int(AnswerServer::KEEP_OPEN);
}

void tst_SkyletConnection::answerIsTaken()
{
    QFETCH(int, end);

    AnswerServer server({EmptyAnswer()}, AnswerServer::END(end));
    SkyletConnection connection(Address(server.serverPort()), LONG_MS);
    QSignalSpy finished(&connection, &SkyletConnection::Finished);
    QCOMPARE(connection.State(), SkyletConnection::IDLE);
    connection.Send("request");
    QTRY_COMPARE(finished.count(), 1);
    QCOMPARE(connection.State(), SkyletConnection::FINISHED);
    QCOMPARE(connection.Outcome(), SkyletConnection::ANSWERED);
    QCOMPARE(connection.Bytes(), EmptyAnswer());
    QCOMPARE(connection.ReplySize(), qint64(EmptyAnswer().size()));
    QCOMPARE(connection.BytesSent(), qint64(7));
}

void tst_SkyletConnection::answerMayComeByteByByte()
{
    QList<QByteArray> parts;
    for (const char c : EmptyAnswer())
        parts.append(QByteArray(1, c));
    AnswerServer server(parts, AnswerServer::KEEP_OPEN);
    SkyletConnection connection(Address(server.serverPort()), LONG_MS);
    QSignalSpy finished(&connection, &SkyletConnection::Finished);
    connection.Send("request");
    QTRY_COMPARE(finished.count(), 1);
    QCOMPARE(connection.Bytes(), EmptyAnswer());
}

void tst_SkyletConnection::answerMayTakeLongerThanTheTimeout()
{
    constexpr int PAUSE_MS = 200;
    constexpr int TIMEOUT_OF_ONE_PAUSE_MS = 1500;
    QList<QByteArray> parts;
    for (int i = 0; i < EmptyAnswer().size(); i += 64)
        parts.append(EmptyAnswer().mid(i, 64));
    QVERIFY(parts.size() * PAUSE_MS > TIMEOUT_OF_ONE_PAUSE_MS);
    AnswerServer server(parts, AnswerServer::KEEP_OPEN, PAUSE_MS);
    SkyletConnection connection(Address(server.serverPort()), TIMEOUT_OF_ONE_PAUSE_MS);
    connection.Send("request");
    QTRY_COMPARE(connection.State(), SkyletConnection::FINISHED);
    QCOMPARE(connection.Outcome(), SkyletConnection::ANSWERED);
    QCOMPARE(connection.Bytes(), EmptyAnswer());
}

void tst_SkyletConnection::requestArrivesWhole()
{
    const QByteArray request(3000000, 'r');
    AnswerServer server({}, AnswerServer::KEEP_OPEN);
    SkyletConnection connection(Address(server.serverPort()), LONG_MS);
    connection.Send(request);
    QTRY_COMPARE(connection.State(), SkyletConnection::WAITING);
    QCOMPARE(connection.BytesSent(), qint64(request.size()));
    QCOMPARE(connection.RequestSize(), qint64(request.size()));
    QTRY_COMPARE(server.Received().size(), request.size());
    QVERIFY(server.Received() == request);
}

void tst_SkyletConnection::bytesThatComeAlongAreKept()
{
    AnswerServer server({EmptyAnswer() + "more"});
    SkyletConnection connection(Address(server.serverPort()), LONG_MS);
    QSignalSpy finished(&connection, &SkyletConnection::Finished);
    connection.Send("request");
    QTRY_COMPARE(finished.count(), 1);
    QCOMPARE(connection.Bytes(), EmptyAnswer() + "more");
}

void tst_SkyletConnection::connectionIsReleasedWhenTheHubCloses()
{
    AnswerServer server({EmptyAnswer()});
    SkyletConnection connection(Address(server.serverPort()), LONG_MS);
    QSignalSpy finished(&connection, &SkyletConnection::Finished);
    QSignalSpy released(&connection, &SkyletConnection::Released);
    connection.Send("request");
    QTRY_COMPARE(released.count(), 1);
    QCOMPARE(finished.count(), 1);
}

void tst_SkyletConnection::connectionIsReleasedEvenIfTheHubDoesNotClose()
{
    AnswerServer server({EmptyAnswer()}, AnswerServer::KEEP_OPEN);
    SkyletConnection connection(Address(server.serverPort()), LONG_MS);
    QSignalSpy released(&connection, &SkyletConnection::Released);
    connection.Send("request");
    QTRY_COMPARE(connection.State(), SkyletConnection::FINISHED);
    QCOMPARE(released.count(), 0);
    QTRY_COMPARE(released.count(), 1);
}

void tst_SkyletConnection::answerThatIsNoHttpIsNotWaitedFor()
{
    AnswerServer server({"220 mail.example ESMTP\r\n"}, AnswerServer::KEEP_OPEN);
    SkyletConnection connection(Address(server.serverPort()), LONG_MS);
    connection.Send("request");
    QTRY_COMPARE(connection.State(), SkyletConnection::FINISHED);
    QCOMPARE(connection.Outcome(), SkyletConnection::ANSWERED);
    QCOMPARE(connection.Bytes(), QByteArray("220 mail.example ESMTP\r\n"));
}

void tst_SkyletConnection::failures_data()
{
    QTest::addColumn<QByteArray>("answer");
    QTest::addColumn<int>("end");
    QTest::addColumn<int>("timeoutMs");
    QTest::addColumn<int>("outcome");
    QTest::addColumn<QString>("word");
    QTest::addColumn<QString>("message");

    const QByteArray half = EmptyAnswer().left(EmptyAnswer().size() - 96);
    QTest::newRow("closed-without-an-answer") << QByteArray() << int(AnswerServer::CLOSE) << LONG_MS
                                              << int(SkyletConnection::CLOSED) << "closed"
                                              << "the connection was closed without an answer";
    QTest::newRow("reset-without-an-answer") << QByteArray() << int(AnswerServer::RESET) << LONG_MS
                                             << int(SkyletConnection::CLOSED) << "closed"
                                             << "the connection was closed without an answer";
    QTest::newRow("silent") << QByteArray() << int(AnswerServer::KEEP_OPEN) << SHORT_MS
                            << int(SkyletConnection::TIMED_OUT) << "timed-out"
                            << "no answer came in time";
    QTest::newRow("silent-in-the-middle") << half << int(AnswerServer::KEEP_OPEN) << SHORT_MS
                                          << int(SkyletConnection::TIMED_OUT) << "timed-out"
                                          << "no answer came in time: 515 of 611 bytes came";
    QTest::newRow("closed-in-the-middle")
        << half << int(AnswerServer::CLOSE) << LONG_MS << int(SkyletConnection::ANSWERED)
        << "malformed-answer"
        << "the answer is not a hub's: it ends after 400 of 496 bytes";
    QTest::newRow("closed-in-the-header")
        << QByteArray("HTTP/1.1 200 Ok\r\n") << int(AnswerServer::CLOSE) << LONG_MS
        << int(SkyletConnection::ANSWERED) << "malformed-answer"
        << "the answer is not a hub's: it ends inside its header";
}

void tst_SkyletConnection::failures()
{
    QFETCH(QByteArray, answer);
    QFETCH(int, end);
    QFETCH(int, timeoutMs);
    QFETCH(int, outcome);
    QFETCH(QString, word);
    QFETCH(QString, message);

    AnswerServer server({answer}, AnswerServer::END(end));
    SkyletConnection connection(Address(server.serverPort()), timeoutMs);
    QSignalSpy finished(&connection, &SkyletConnection::Finished);
    QSignalSpy released(&connection, &SkyletConnection::Released);
    connection.Send("request");
    QTRY_COMPARE(released.count(), 1);
    QCOMPARE(finished.count(), 1);
    QCOMPARE(int(connection.Outcome()), outcome);
    const SkyletAnswer said = SkyletAnswer::FromConnection(connection);
    QCOMPARE(said.Word(), word);
    QCOMPARE(said.Message(), message);
}

void tst_SkyletConnection::requestThatIsNotReadTimesOut()
{
    const DeafServer deaf;
    SkyletConnection connection(Address(deaf.serverPort()), 20 * SHORT_MS);
    connection.Send(QByteArray(DeafServer::MORE_THAN_BUFFERS, 'r'));
    QTRY_COMPARE(connection.State(), SkyletConnection::FINISHED);
    QCOMPARE(connection.Outcome(), SkyletConnection::TIMED_OUT);
    const QString message = SkyletAnswer::FromConnection(connection).Message();
    QVERIFY2(message.endsWith(QStringLiteral(" of 64000000 bytes were sent")), qPrintable(message));
}

void tst_SkyletConnection::refused()
{
    SkyletConnection connection(Address(FreePort()), LONG_MS);
    QSignalSpy released(&connection, &SkyletConnection::Released);
    connection.Send("request");
    QTRY_COMPARE(released.count(), 1);
    QCOMPARE(connection.Outcome(), SkyletConnection::REFUSED);
}

void tst_SkyletConnection::hostOfNoAddress()
{
    SkyletAddress address;
    address.host = QStringLiteral("no-such-host.invalid"); // RFC 6761, section 6.4
    SkyletConnection connection(address, LONG_MS);
    connection.Send("request");
    QTRY_COMPARE_WITH_TIMEOUT(connection.State(), SkyletConnection::FINISHED, TIMEOUT_MS);
    // Without any name server the name is not even looked up to its end.
    QVERIFY(connection.Outcome() == SkyletConnection::HOST_NOT_FOUND ||
            connection.Outcome() == SkyletConnection::CONNECT_TIMED_OUT);
}

void tst_SkyletConnection::answersAreNamed_data()
{
    QTest::addColumn<int>("kind");
    QTest::addColumn<int>("exitCode");
    QTest::addColumn<bool>("hasAdvice");

    QTest::newRow("success") << int(SkyletAnswer::SUCCESS) << 0 << false;
    QTest::newRow("host-not-found") << int(SkyletAnswer::HOST_NOT_FOUND) << 3 << true;
    QTest::newRow("refused") << int(SkyletAnswer::REFUSED) << 3 << true;
    QTest::newRow("unreachable") << int(SkyletAnswer::UNREACHABLE) << 3 << true;
    QTest::newRow("connect-timed-out") << int(SkyletAnswer::CONNECT_TIMED_OUT) << 3 << true;
    QTest::newRow("closed") << int(SkyletAnswer::CLOSED) << 4 << true;
    QTest::newRow("timed-out") << int(SkyletAnswer::TIMED_OUT) << 4 << true;
    QTest::newRow("malformed-answer") << int(SkyletAnswer::MALFORMED) << 5 << true;
    QTest::newRow("login-refused") << int(SkyletAnswer::LOGIN_REFUSED) << 6 << true;
    QTest::newRow("read-only") << int(SkyletAnswer::READ_ONLY) << 7 << true;
    QTest::newRow("disk-exists") << int(SkyletAnswer::DISK_EXISTS) << 8 << false;
    QTest::newRow("program-exists") << int(SkyletAnswer::PROGRAM_EXISTS) << 8 << false;
    QTest::newRow("write-error") << int(SkyletAnswer::WRITE_ERROR) << 9 << true;
    QTest::newRow("other-result") << int(SkyletAnswer::OTHER_RESULT) << 10 << false;
    QTest::newRow("interrupted") << int(SkyletAnswer::INTERRUPTED) << 130 << false;
}

void tst_SkyletConnection::answersAreNamed()
{
    QFETCH(int, kind);
    QFETCH(int, exitCode);
    QFETCH(bool, hasAdvice);

    SkyletAnswer answer;
    answer.kind = SkyletAnswer::KIND(kind);
    QCOMPARE(answer.Word(), QLatin1String(QTest::currentDataTag()));
    QCOMPARE(int(answer.ExitCode()), exitCode);
    QCOMPARE(answer.IsSuccess(), exitCode == 0);
    QCOMPARE(answer.Message().isEmpty(), exitCode == 0);
    QCOMPARE(!answer.Advice().isEmpty(), hasAdvice);
}

void tst_SkyletConnection::resultsAreNamed_data()
{
    QTest::addColumn<int>("result");
    QTest::addColumn<QString>("word");

    QTest::newRow("0") << 0 << "success";
    QTest::newRow("-1") << -1 << "write-error";
    QTest::newRow("-84") << -84 << "other-result";
    QTest::newRow("-85") << -85 << "read-only";
    QTest::newRow("-86") << -86 << "other-result";
    QTest::newRow("-87") << -87 << "disk-exists";
    QTest::newRow("-88") << -88 << "program-exists";
    QTest::newRow("-89") << -89 << "login-refused";
    QTest::newRow("1") << 1 << "other-result";
}

void tst_SkyletConnection::resultsAreNamed()
{
    QFETCH(int, result);
    QFETCH(QString, word);

    AnswerServer server({HubAnswer(Package({}, result))});
    SkyletConnection connection(Address(server.serverPort()), LONG_MS);
    connection.Send("request");
    QTRY_COMPARE(connection.State(), SkyletConnection::FINISHED);
    const SkyletAnswer answer = SkyletAnswer::FromConnection(connection);
    QCOMPARE(answer.Word(), word);
    QCOMPARE(answer.reply.status, SkyletReply::VALID);
    if (word == QLatin1String("other-result"))
        QVERIFY(answer.Message().endsWith(QStringLiteral(": %1").arg(result)));
}

void tst_SkyletConnection::everyKindHasWordsOfItsOwn()
{
    QStringList words;
    QStringList messages;
    SkyletAnswer answer;
    for (int kind = SkyletAnswer::SUCCESS; kind <= SkyletAnswer::INTERRUPTED; ++kind) {
        answer.kind = SkyletAnswer::KIND(kind);
        words.append(answer.Word());
        messages.append(answer.Message());
    }
    QCOMPARE(words.removeDuplicates(), 0);
    QCOMPARE(messages.removeDuplicates(), 0);
}

void tst_SkyletConnection::progressSaysWhatTheConnectionDoes()
{
    AnswerServer silent({}, AnswerServer::KEEP_OPEN);
    SkyletConnection waiting(Address(silent.serverPort()), LONG_MS);
    QCOMPARE(SkyletProgress::OfConnection(waiting), QString());
    waiting.Send("request");
    QCOMPARE(SkyletProgress::OfConnection(waiting), QStringLiteral("connecting"));
    QTRY_COMPARE(SkyletProgress::OfConnection(waiting), QStringLiteral("waiting for the hub"));

    const DeafServer deaf;
    SkyletConnection sending(Address(deaf.serverPort()), LONG_MS);
    sending.Send(QByteArray(DeafServer::MORE_THAN_BUFFERS, 'r'));
    QTRY_COMPARE(sending.State(), SkyletConnection::SENDING);
    const QString text = SkyletProgress::OfConnection(sending);
    QVERIFY2(text.startsWith(QStringLiteral("sending ")), qPrintable(text));
    QVERIFY2(text.endsWith(QStringLiteral(" of 64.0 MB")), qPrintable(text));

    AnswerServer headless({"HTTP/1.1 200 Ok\r\n"}, AnswerServer::KEEP_OPEN);
    SkyletConnection receiving(Address(headless.serverPort()), LONG_MS);
    receiving.Send("request");
    QTRY_COMPARE(SkyletProgress::OfConnection(receiving), QStringLiteral("receiving"));

    AnswerServer half(
        {"HTTP/1.1 200 Ok\r\nContent-Length: 2999958\r\n\r\n" + QByteArray(1500000, 'x')},
        AnswerServer::KEEP_OPEN);
    SkyletConnection large(Address(half.serverPort()), LONG_MS);
    large.Send("request");
    QTRY_COMPARE(SkyletProgress::OfConnection(large), QStringLiteral("receiving 1.5 of 3.0 MB"));
}

QTEST_GUILESS_MAIN(tst_SkyletConnection)
#include "tst_SkyletConnection.moc"
