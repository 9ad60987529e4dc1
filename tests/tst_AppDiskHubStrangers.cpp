// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

// What a hub shows and refuses when it is a stranger who asks.

#include "HostFiles.h"
#include "HubFixture.h"

#include <QTcpSocket>
#include <QTest>

namespace
{

constexpr int RESULT_AUTH_FAILURE = -89;
const QChar REPLACEMENT(0xFFFD);
const QChar ELLIPSIS(0x2026);

/// The request with one more header line in front of the others.
QByteArray WithHeader(QByteArray request, const QByteArray &line)
{
    return request.insert(request.indexOf("\r\n") + 2, line + "\r\n");
}

} // namespace

class tst_AppDiskHubStrangers : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void webPageIsRefused_data();
    void webPageIsRefused();
    void webPageIsRefusedBeforeTheLogin();
    void otherHeadersAreNoWebPage_data();
    void otherHeadersAreNoWebPage();
    void userNameIsShownShortAndPrintable_data();
    void userNameIsShownShortAndPrintable();
    void identifierIsShownShortAndPrintable();
    void uploadedNameIsShownPrintable();
    void restartLetsAReplyEnd();

private:
    const HubSettings mSettings;
    QTemporaryDir mDisks;
    QTemporaryDir mPrograms;
};

void tst_AppDiskHubStrangers::init()
{
    QVERIFY(mSettings.Write(HubSettings::Loopback() +
                            "[media]\ndisk_path=" + mDisks.path().toUtf8() +
                            "\nprogram_path=" + mPrograms.path().toUtf8() + '\n'));
}

void tst_AppDiskHubStrangers::webPageIsRefused_data()
{
    QTest::addColumn<QByteArray>("line");
    QTest::addColumn<QString>("shown");

    QTest::newRow("as-browsers-send-it")
        << QByteArray("Origin: http://evil.example") << "http://evil.example";
    QTest::newRow("lower-case") << QByteArray("origin: http://evil.example")
                                << "http://evil.example";
    QTest::newRow("upper-case") << QByteArray("ORIGIN: http://evil.example")
                                << "http://evil.example";
    QTest::newRow("without-a-blank")
        << QByteArray("Origin:http://evil.example") << "http://evil.example";
    QTest::newRow("of-a-file") << QByteArray("Origin: null") << "null";
    QTest::newRow("empty") << QByteArray("Origin:") << "";
    QTest::newRow("control-character")
        << QByteArray("Origin: a\x1b[2Jb") << QString(QLatin1String("a%1[2Jb")).arg(REPLACEMENT);
    QTest::newRow("long") << "Origin: " + QByteArray(300, 'o')
                          << QString(256, QLatin1Char('o')) + ELLIPSIS;
}

void tst_AppDiskHubStrangers::webPageIsRefused()
{
    QFETCH(QByteArray, line);
    QFETCH(QString, shown);

    const HubFixture hub;
    hub.ClearLog();
    const QByteArray upload = UploadRequest(ProgramObject("ghost", "\x01\x08ghost"));
    const HubReply reply = hub.Send(WithHeader(upload, line));
    QCOMPARE(reply.Body(), EmptyPackage(RESULT_AUTH_FAILURE));
    QCOMPARE(hub.Log(),
             QStringList{
                 QStringLiteral("Authentication Failure: request of a web page (%1)").arg(shown)});
    QCOMPARE(Snapshot(mPrograms.path()), QStringList());
}

void tst_AppDiskHubStrangers::webPageIsRefusedBeforeTheLogin()
{
    const HubFixture hub;
    hub->mValidate = true;
    hub.ClearLog();
    const HubReply reply = hub.Send(WithHeader(SearchRequest("*"), "Origin: http://evil.example"));
    QCOMPARE(reply.Package().result, RESULT_AUTH_FAILURE);
    QCOMPARE(hub.Log(),
             QStringList{QStringLiteral(
                 "Authentication Failure: request of a web page (http://evil.example)")});
}

void tst_AppDiskHubStrangers::otherHeadersAreNoWebPage_data()
{
    QTest::addColumn<QByteArray>("line");

    QTest::newRow("another-name") << QByteArray("X-Origin: http://evil.example");
    QTest::newRow("longer-name") << QByteArray("Origin-X: http://evil.example");
    QTest::newRow("referer") << QByteArray("Referer: http://evil.example");
    QTest::newRow("blank-in-front") << QByteArray(" Origin: http://evil.example");
}

void tst_AppDiskHubStrangers::otherHeadersAreNoWebPage()
{
    QFETCH(QByteArray, line);

    const HubFixture hub;
    QCOMPARE(hub.Send(WithHeader(SearchRequest("*"), line)).Package().result, 0);
}

void tst_AppDiskHubStrangers::userNameIsShownShortAndPrintable_data()
{
    QTest::addColumn<QByteArray>("name");
    QTest::addColumn<QString>("shown");

    const QString full(256, QLatin1Char('u'));
    QTest::newRow("as-long-as-may-be") << QByteArray(256, 'u') << full;
    QTest::newRow("one-more") << QByteArray(257, 'u') << full + ELLIPSIS;
    QTest::newRow("a-mebibyte") << QByteArray(1024 * 1024, 'u') << full + ELLIPSIS;
    QTest::newRow("line-feeds") << "u" + QByteArray(300, '\n') + "u"
                                << QLatin1Char('u') + QString(255, REPLACEMENT) + ELLIPSIS;
    QTest::newRow("escape") << QByteArray("a\x1b"
                                          "b")
                            << QString(QLatin1String("a%1b")).arg(REPLACEMENT);
    QTest::newRow("line-separator") << QByteArray("a\xe2\x80\xa8"
                                                  "b")
                                    << QString(QLatin1String("a%1b")).arg(REPLACEMENT);
    QTest::newRow("turned-around") << QByteArray("a\xe2\x80\xae"
                                                 "b")
                                   << QString(QLatin1String("a%1b")).arg(REPLACEMENT);
    QTest::newRow("accents") << QByteArray("Zo\xc3\xab") << QString::fromUtf8("Zo\xc3\xab");
}

void tst_AppDiskHubStrangers::userNameIsShownShortAndPrintable()
{
    QFETCH(QByteArray, name);
    QFETCH(QString, shown);

    const HubFixture hub;
    hub->mValidate = true;
    hub.ClearLog();
    const HubReply reply = hub.Send(FormRequest({{"cmd", "1"}, {"usr", name}}));
    QCOMPARE(reply.Package().result, RESULT_AUTH_FAILURE);
    QCOMPARE(hub.Log(),
             QStringList{QStringLiteral("Authentication Failure: unknown user '%1'").arg(shown)});
}

void tst_AppDiskHubStrangers::identifierIsShownShortAndPrintable()
{
    const HubFixture hub;
    hub.ClearLog();
    const QByteArray identifier = "a\rb" + QByteArray(1000, 'i');
    QCOMPARE(
        hub.Send(FormRequest({{"cmd", "1"}, {"pat", "*"}, {"udid", identifier}})).Package().result,
        0);
    QCOMPARE(hub.Log(), QStringList{QStringLiteral("SEARCH request from Skylet UUID: a%1b%2%3")
                                        .arg(REPLACEMENT)
                                        .arg(QString(253, QLatin1Char('i')), QString(ELLIPSIS))});
}

void tst_AppDiskHubStrangers::uploadedNameIsShownPrintable()
{
    if (!IsFileName(QStringLiteral("a\nb")))
        QSKIP(NO_FILE_NAME);
    const HubFixture hub;
    hub.ClearLog();
    WireObject program = ProgramObject("x", "\x01\x08x");
    program.name = NameField("A\nB");
    QCOMPARE(hub.Send(UploadRequest(program)).Package().result, 0);
    const QString shown = QString(QLatin1String("a%1b")).arg(REPLACEMENT);
    QCOMPARE(
        hub.Log().mid(1),
        (QStringList{QStringLiteral("> Received program \"%1\"").arg(shown),
                     QStringLiteral("> Written as \"%1/%2.prg\".").arg(mPrograms.path(), shown)}));
    QVERIFY2(QFile::exists(mPrograms.filePath(QStringLiteral("a\nb.prg"))),
             "what is stored is what was sent");
}

void tst_AppDiskHubStrangers::restartLetsAReplyEnd()
{
    constexpr int D82_SIZE = 1066496;
    for (int i = 0; i < 19; ++i)
        QVERIFY(WriteFile(mDisks.filePath(QStringLiteral("d%1.d82").arg(i)), Image(D82_SIZE)));
    const HubFixture hub;
    const quint16 port = hub.Port();
    QTcpSocket device;
    device.setReadBufferSize(1);
    device.connectToHost(QHostAddress(QHostAddress::LocalHost), port);
    QVERIFY(device.waitForConnected());
    device.write(DownloadRequest("1", "*"));
    QVERIFY(device.waitForBytesWritten());
    QTRY_VERIFY(device.bytesAvailable() > 0);

    QCOMPARE(hub->RestartServer(), 0);
    QVERIFY2(hub.Port() != 0, "listens again while the reply is still being read");
    device.setReadBufferSize(0);
    QTRY_COMPARE_WITH_TIMEOUT(device.state(), QAbstractSocket::UnconnectedState, 30000);
    const HubReply reply{device.readAll()};
    QVERIFY(reply.Package().valid);
    QCOMPARE(reply.Package().objects.size(), qsizetype(20));
}

int main(int argc, char **argv)
{
    // The hub is the application object, so there is none before a test makes it.
    tst_AppDiskHubStrangers test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_AppDiskHubStrangers.moc"
