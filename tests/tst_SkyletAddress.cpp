// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#include "SkyletAddress.h"

#include <QTest>

class tst_SkyletAddress : public QObject
{
    Q_OBJECT

private slots:
    void hostAndPortAreToldApart_data();
    void hostAndPortAreToldApart();
    void whatIsNoAddressIsRefused_data();
    void whatIsNoAddressIsRefused();
};

void tst_SkyletAddress::hostAndPortAreToldApart_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("host");
    QTest::addColumn<int>("port");
    QTest::addColumn<QString>("shown");

    QTest::newRow("port-80-without-one") << "192.168.1.20"
                                         << "192.168.1.20" << 80 << "192.168.1.20";
    QTest::newRow("port-80-is-not-shown") << "hub:80"
                                          << "hub" << 80 << "hub";
    QTest::newRow("another-port") << "hub.local:6464"
                                  << "hub.local" << 6464 << "hub.local:6464";
    QTest::newRow("lowest-port") << "hub:1"
                                 << "hub" << 1 << "hub:1";
    QTest::newRow("highest-port") << "hub:65535"
                                  << "hub" << 65535 << "hub:65535";
    QTest::newRow("bare-ipv6-has-no-port") << "fe80::1"
                                           << "fe80::1" << 80 << "[fe80::1]";
    QTest::newRow("ipv6-in-brackets") << "[::1]"
                                      << "::1" << 80 << "[::1]";
    QTest::newRow("ipv6-with-port") << "[::1]:6464"
                                    << "::1" << 6464 << "[::1]:6464";
}

void tst_SkyletAddress::hostAndPortAreToldApart()
{
    QFETCH(QString, text);
    QFETCH(QString, host);
    QFETCH(int, port);
    QFETCH(QString, shown);

    SkyletAddress address;
    QCOMPARE(SkyletAddress::FromString(text, &address), 0);
    QCOMPARE(address.host, host);
    QCOMPARE(int(address.port), port);
    QCOMPARE(address.ToString(), shown);
}

void tst_SkyletAddress::whatIsNoAddressIsRefused_data()
{
    QTest::addColumn<QString>("text");

    QTest::newRow("nothing") << "";
    QTest::newRow("no-host") << ":80";
    QTest::newRow("no-port-behind-the-colon") << "hub:";
    QTest::newRow("port-0") << "hub:0";
    QTest::newRow("port-65536") << "hub:65536";
    QTest::newRow("negative-port") << "hub:-1";
    QTest::newRow("signed-port") << "hub:+80";
    QTest::newRow("port-with-blank") << "hub: 80";
    QTest::newRow("port-of-letters") << "hub:http";
    QTest::newRow("host-with-blank") << "my hub:80";
    QTest::newRow("host-with-line-end") << "hub\r\nX: y";
    QTest::newRow("bracket-not-closed") << "[::1";
    QTest::newRow("nothing-in-brackets") << "[]:80";
    QTest::newRow("text-behind-bracket") << "[::1]80";
}

void tst_SkyletAddress::whatIsNoAddressIsRefused()
{
    QFETCH(QString, text);

    SkyletAddress address;
    address.host = QStringLiteral("before");
    address.port = 7;
    QCOMPARE(SkyletAddress::FromString(text, &address), -1);
    QCOMPARE(address.host, QStringLiteral("before"));
    QCOMPARE(int(address.port), 7);
}

QTEST_GUILESS_MAIN(tst_SkyletAddress)
#include "tst_SkyletAddress.moc"
