// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#include "AnswerServer.h"
#include "SkyletBench.h"
#include "SkyletInterrupt.h"

#include <QTest>

class tst_SkyletBench : public QObject
{
    Q_OBJECT

private slots:
    void latencyIsTheNearestRank_data();
    void latencyIsTheNearestRank();
    void rateIsOfWhatEndedWell();
    void withoutRequestsAllFiguresAreZero();
    void requestsAreTakenInTurn();
    void failuresAreCountedByWord();
    void connectionsAreAtTheSameTime();
};

void tst_SkyletBench::latencyIsTheNearestRank_data()
{
    QTest::addColumn<int>("samples");
    QTest::addColumn<int>("percent");
    QTest::addColumn<double>("milliseconds");

    // The samples are 1 ms, 2 ms, 3 ms and so on.
    QTest::newRow("one-sample") << 1 << 50 << 1.0;
    QTest::newRow("one-sample-at-its-slowest") << 1 << 100 << 1.0;
    QTest::newRow("half-of-two") << 2 << 50 << 1.0;
    QTest::newRow("half-of-three") << 3 << 50 << 2.0;
    QTest::newRow("half-of-a-hundred") << 100 << 50 << 50.0;
    QTest::newRow("half-of-a-hundred-and-one") << 101 << 50 << 51.0;
    QTest::newRow("ninety-of-ten") << 10 << 90 << 9.0;
    QTest::newRow("ninety-nine-of-ten") << 10 << 99 << 10.0;
    QTest::newRow("ninety-nine-of-a-hundred") << 100 << 99 << 99.0;
    QTest::newRow("slowest-of-a-hundred") << 100 << 100 << 100.0;
}

void tst_SkyletBench::latencyIsTheNearestRank()
{
    QFETCH(int, samples);
    QFETCH(int, percent);
    QFETCH(double, milliseconds);

    SkyletBench::FIGURES figures;
    for (int i = 1; i <= samples; ++i)
        figures.sorted.append(qint64(i) * 1000000);
    QCOMPARE(figures.Latency(percent), milliseconds);
}

void tst_SkyletBench::rateIsOfWhatEndedWell()
{
    SkyletBench::FIGURES figures;
    figures.done = 5;
    figures.sorted = {1, 2, 3};
    figures.failures = {{QStringLiteral("closed"), 1}, {QStringLiteral("refused"), 1}};
    figures.elapsed = 1500000000;
    QCOMPARE(figures.Seconds(), 1.5);
    QCOMPARE(figures.Rate(), 2.0);
    QCOMPARE(figures.Failures(), 2);
}

void tst_SkyletBench::withoutRequestsAllFiguresAreZero()
{
    const SkyletBench::FIGURES figures;
    QCOMPARE(figures.Latency(50), 0.0);
    QCOMPARE(figures.Rate(), 0.0);
    QCOMPARE(figures.Failures(), 0);
}

void tst_SkyletBench::requestsAreTakenInTurn()
{
    AnswerServer server({HubAnswer(Package({}))});
    SkyletAddress address;
    QCOMPARE(SkyletAddress::FromString(server.Address(), &address), 0);
    SkyletBench::LOAD load;
    load.requests = {"a", "b", "c"};
    load.clients = 1;
    load.count = 7;
    const SkyletInterrupt interrupt;
    SkyletBench bench(address, TIMEOUT_MS, load);
    const SkyletBench::FIGURES figures = bench.Run(&interrupt);
    QCOMPARE(server.Received(), QByteArray("abcabca"));
    QCOMPARE(figures.done, 7);
    QCOMPARE(figures.sorted.size(), 7);
    QVERIFY(std::is_sorted(figures.sorted.begin(), figures.sorted.end()));
    QCOMPARE(figures.sent, qint64(7));
    QCOMPARE(figures.received, qint64(7 * HubAnswer(Package({})).size()));
    QCOMPARE(figures.exitCode, SkyletExit::SUCCESS);
}

void tst_SkyletBench::failuresAreCountedByWord()
{
    AnswerServer server({});
    SkyletAddress address;
    QCOMPARE(SkyletAddress::FromString(server.Address(), &address), 0);
    SkyletBench::LOAD load;
    load.requests = {"a"};
    load.count = 3;
    const SkyletInterrupt interrupt;
    const SkyletBench::FIGURES closed = SkyletBench(address, TIMEOUT_MS, load).Run(&interrupt);
    QCOMPARE(closed.failures, (QMap<QString, int>{{QStringLiteral("closed"), 3}}));
    QCOMPARE(closed.done, 3);
    QCOMPARE(closed.exitCode, SkyletExit::NO_ANSWER);
    QVERIFY(closed.sorted.isEmpty());

    server.close();
    const SkyletBench::FIGURES refused = SkyletBench(address, TIMEOUT_MS, load).Run(&interrupt);
    QCOMPARE(refused.failures, (QMap<QString, int>{{QStringLiteral("refused"), 3}}));
    QCOMPARE(refused.exitCode, SkyletExit::NO_CONNECTION);
}

void tst_SkyletBench::connectionsAreAtTheSameTime()
{
    // No one is answered before all are there.
    constexpr int CLIENTS = 20;
    QTcpServer server;
    QVERIFY(server.listen(QHostAddress(QHostAddress::LocalHost)));
    QList<QTcpSocket *> sockets;
    connect(&server, &QTcpServer::newConnection, &server, [&] {
        sockets.append(server.nextPendingConnection());
        for (QTcpSocket *socket : std::as_const(sockets)) {
            if (sockets.size() == CLIENTS) {
                socket->write(HubAnswer(Package({})));
                socket->disconnectFromHost();
            }
        }
    });
    SkyletAddress address;
    address.host = QStringLiteral("127.0.0.1");
    address.port = server.serverPort();
    SkyletBench::LOAD load;
    load.requests = {"a"};
    load.clients = CLIENTS;
    load.count = CLIENTS;
    const SkyletInterrupt interrupt;
    const SkyletBench::FIGURES figures = SkyletBench(address, TIMEOUT_MS, load).Run(&interrupt);
    QCOMPARE(figures.sorted.size(), CLIENTS);
}

QTEST_GUILESS_MAIN(tst_SkyletBench)
#include "tst_SkyletBench.moc"
