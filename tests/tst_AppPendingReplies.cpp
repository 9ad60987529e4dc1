// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#include "AppPendingReplies.h"
#include "LoopbackPair.h"

#include <QElapsedTimer>
#include <QSignalSpy>
#include <QTest>
#include <QTimer>

#include <vector>

namespace
{

constexpr int TIMEOUT_MS = 30000;
constexpr int NEVER_MS = 1000000;
constexpr qint64 ANY_BYTES = qint64(1) << 40;

} // namespace

class tst_AppPendingReplies : public QObject
{
    Q_OBJECT

private slots:
    void readReplyIsForgotten();
    void readerThatTakesNothingIsDropped();
    void slowReaderThatGoesOnIsKept();
    void tooManyCostTheOneIdleLongest();
    void readingMakesALaterOneIdleLongest();
    void tooBigTogetherCostsTheOneIdleLongest();
    void tooBigAloneIsKept();
    void roomIsMadeByAReader();
    void sentOnesAreClosedFirst();
    void connectionThatIsGoneIsNotTaken();
    void finishWaitsForTheReader();
    void finishEndsInTime();
    void replyOutlivesItsServer();

private:
    /// A device that reads nothing of a large reply, which `replies` has taken over.
    LoopbackPair IdleReader(AppPendingReplies *replies)
    {
        LoopbackPair pair(&mServer);
        pair.StopReading();
        Answer(pair, LargeReply(), replies);
        return pair;
    }

    static void Answer(const LoopbackPair &pair, const QByteArray &reply,
                       AppPendingReplies *replies)
    {
        pair.Hub()->write(reply);
        pair.Hub()->flush();
        pair.Hub()->disconnectFromHost();
        replies->Add(pair.Hub());
    }

    AppServer mServer;
};

void tst_AppPendingReplies::readReplyIsForgotten()
{
    AppPendingReplies replies;
    const LoopbackPair pair(&mServer);
    Answer(pair, LargeReply(), &replies);
    QCOMPARE(replies.Count(), 1);
    QVERIFY(replies.Bytes() > 0);
    QVERIFY(replies.HasRoom());
    QTRY_COMPARE_WITH_TIMEOUT(pair.Device()->state(), QAbstractSocket::UnconnectedState,
                              TIMEOUT_MS);
    QCOMPARE(pair.Device()->readAll(), LargeReply());
    QTRY_COMPARE(replies.Count(), 0);
    QCOMPARE(replies.Bytes(), qint64(0));
    QTRY_VERIFY(pair.Hub() == nullptr);
}

void tst_AppPendingReplies::readerThatTakesNothingIsDropped()
{
    constexpr int IDLE_MS = 100;
    AppPendingReplies replies({10, ANY_BYTES, IDLE_MS, NEVER_MS});
    QElapsedTimer timer;
    timer.start();
    const LoopbackPair pair = IdleReader(&replies);
    QTRY_COMPARE(replies.Count(), 0);
    QVERIFY(timer.elapsed() >= IDLE_MS);
    QTRY_VERIFY(pair.Hub() == nullptr);
    pair.Device()->setReadBufferSize(0);
    QTRY_COMPARE(pair.Device()->state(), QAbstractSocket::UnconnectedState);
    QVERIFY(pair.Device()->readAll().size() < LargeReply().size());
}

void tst_AppPendingReplies::slowReaderThatGoesOnIsKept()
{
    constexpr int IDLE_MS = 1000;
    constexpr int STEP_MS = 25;
    constexpr int STEP = 256 * 1024; // bytes
    AppPendingReplies replies({10, ANY_BYTES, IDLE_MS, NEVER_MS});
    LoopbackPair pair(&mServer);
    pair.Device()->setReadBufferSize(STEP);
    Answer(pair, LargeReply(), &replies);

    QElapsedTimer timer;
    timer.start();
    QByteArray received;
    QTimer reader;
    connect(&reader, &QTimer::timeout, this, [&] { received += pair.Device()->read(STEP); });
    reader.start(STEP_MS);
    QTRY_COMPARE_WITH_TIMEOUT(received.size(), LargeReply().size(), TIMEOUT_MS);
    QVERIFY2(timer.elapsed() > IDLE_MS, "too fast to show anything");
    QVERIFY(received == LargeReply());
}

void tst_AppPendingReplies::tooManyCostTheOneIdleLongest()
{
    constexpr int CROWD_MS = 1000;
    AppPendingReplies replies({2, ANY_BYTES, NEVER_MS, CROWD_MS});
    const QSignalSpy madeRoom(&replies, &AppPendingReplies::MadeRoom);
    QElapsedTimer timer;
    timer.start();
    const LoopbackPair first = IdleReader(&replies);
    QVERIFY(replies.HasRoom());
    const LoopbackPair second = IdleReader(&replies);
    QVERIFY(!replies.HasRoom());
    QVERIFY(!replies.HasRoom());
    QCOMPARE(replies.Count(), 2);
    QTRY_COMPARE(madeRoom.size(), 1);
    QVERIFY(timer.elapsed() >= CROWD_MS);
    QCOMPARE(replies.Count(), 1);
    QVERIFY(replies.HasRoom());
    QTRY_VERIFY(first.Hub() == nullptr);
    QVERIFY(second.Hub() != nullptr);
}

void tst_AppPendingReplies::readingMakesALaterOneIdleLongest()
{
    AppPendingReplies replies({2, ANY_BYTES, NEVER_MS, 1});
    const LoopbackPair first = IdleReader(&replies);
    const LoopbackPair second = IdleReader(&replies);
    QSignalSpy written(first.Hub(), &QTcpSocket::bytesWritten);
    first.Device()->setReadBufferSize(0);
    QVERIFY(written.wait(TIMEOUT_MS));
    QTRY_VERIFY(replies.HasRoom());
    QTRY_VERIFY(second.Hub() == nullptr);
}

void tst_AppPendingReplies::tooBigTogetherCostsTheOneIdleLongest()
{
    const qint64 bytes = LargeReply().size();
    AppPendingReplies replies({100, bytes, NEVER_MS, 1});
    const LoopbackPair first = IdleReader(&replies);
    QVERIFY2(replies.HasRoom(), "the system has taken some of it");
    const LoopbackPair second = IdleReader(&replies);
    QVERIFY(replies.Bytes() > bytes);
    QTRY_VERIFY(replies.HasRoom());
    QCOMPARE(replies.Count(), 1);
    QTRY_VERIFY(first.Hub() == nullptr);
    QVERIFY(second.Hub() != nullptr);
}

void tst_AppPendingReplies::tooBigAloneIsKept()
{
    AppPendingReplies replies({100, 1, NEVER_MS, 1});
    const LoopbackPair pair(&mServer);
    Answer(pair, LargeReply(), &replies);
    QTRY_COMPARE_WITH_TIMEOUT(pair.Device()->state(), QAbstractSocket::UnconnectedState,
                              TIMEOUT_MS);
    QCOMPARE(pair.Device()->readAll(), LargeReply());
}

void tst_AppPendingReplies::roomIsMadeByAReader()
{
    AppPendingReplies replies({1, ANY_BYTES, NEVER_MS, NEVER_MS});
    const QSignalSpy madeRoom(&replies, &AppPendingReplies::MadeRoom);
    const LoopbackPair pair(&mServer);
    Answer(pair, LargeReply(), &replies);
    QVERIFY(!replies.HasRoom());
    QTRY_COMPARE_WITH_TIMEOUT(madeRoom.size(), 1, TIMEOUT_MS);
    QTRY_COMPARE(pair.Device()->state(), QAbstractSocket::UnconnectedState);
    QCOMPARE(pair.Device()->readAll(), LargeReply());
}

void tst_AppPendingReplies::sentOnesAreClosedFirst()
{
    AppPendingReplies replies({2, ANY_BYTES, NEVER_MS, NEVER_MS});
    const LoopbackPair idle = IdleReader(&replies);
    // The system takes all of it, and the device neither reads nor closes.
    LoopbackPair sent(&mServer);
    sent.StopReading();
    Answer(sent, QByteArray(AppConnection::FIRST_FLIGHT_SIZE + 1, 'r'), &replies);
    QCOMPARE(replies.Count(), 2);
    QCOMPARE(sent.Hub()->bytesToWrite(), qint64(0));
    QVERIFY(replies.HasRoom());
    QVERIFY(idle.Hub() != nullptr);
    QTRY_VERIFY(sent.Hub() == nullptr);
}

void tst_AppPendingReplies::connectionThatIsGoneIsNotTaken()
{
    AppPendingReplies replies;
    const LoopbackPair pair(&mServer);
    Answer(pair, "small", &replies);
    QCOMPARE(replies.Count(), 0);
    QTRY_VERIFY(pair.Hub() == nullptr);
}

void tst_AppPendingReplies::finishWaitsForTheReader()
{
    AppPendingReplies replies;
    const LoopbackPair pair(&mServer);
    Answer(pair, LargeReply(), &replies);
    replies.Finish(TIMEOUT_MS);
    QCOMPARE(replies.Bytes(), qint64(0));
    QTRY_COMPARE(pair.Device()->state(), QAbstractSocket::UnconnectedState);
    QCOMPARE(pair.Device()->readAll(), LargeReply());
}

void tst_AppPendingReplies::finishEndsInTime()
{
    constexpr int FINISH_MS = 100;
    AppPendingReplies replies;
    const LoopbackPair pair = IdleReader(&replies);
    QElapsedTimer timer;
    timer.start();
    replies.Finish(FINISH_MS);
    QVERIFY(timer.elapsed() >= FINISH_MS - 5); // the toolkit's coarse clock
    QVERIFY(timer.elapsed() < TIMEOUT_MS);
    QVERIFY(replies.Bytes() > 0);
}

void tst_AppPendingReplies::replyOutlivesItsServer()
{
    AppPendingReplies replies;
    auto server = std::make_unique<AppServer>();
    const LoopbackPair pair(server.get());
    Answer(pair, LargeReply(), &replies);
    server.reset();
    QTRY_COMPARE_WITH_TIMEOUT(pair.Device()->state(), QAbstractSocket::UnconnectedState,
                              TIMEOUT_MS);
    QCOMPARE(pair.Device()->readAll(), LargeReply());
}

QTEST_GUILESS_MAIN(tst_AppPendingReplies)

#include "tst_AppPendingReplies.moc"
