// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#include "AppDeviceTransaction.h"
#include "AppPackage.h"
#include "SegmentSocket.h"
#include "SkyletNames.h"
#include "SkyletRequest.h"

#include <QFile>
#include <QTest>

#include <memory>

namespace
{

const char HOST[] = "192.168.1.20";

QByteArray Bytes(const SkyletRequest &request)
{
    return request.ToBytes(QLatin1String(HOST));
}

/// The bytes of an example of docs/protocol.md, which marks each by a comment in front of its
/// fence.
QByteArray Example(const char *name)
{
    QFile file(QStringLiteral(DISK_HUB_SOURCE_DIR "/docs/protocol.md"));
    if (!file.open(QIODevice::ReadOnly))
        return QByteArray();
    const QByteArray text = file.readAll();
    const auto mark = text.indexOf(QByteArray("<!-- example: ") + name + " -->\n```");
    const auto start = text.indexOf('\n', text.indexOf("```", mark)) + 1;
    const QByteArray fence = text.mid(start, text.indexOf("\n```", start) - start);
    if (mark < 0)
        return QByteArray();

    QByteArray bytes;
    if (!fence.startsWith("0000 ")) {
        bytes = fence;
        return bytes.replace("\n", "").replace("\\r", "\r").replace("\\n", "\n");
    }
    for (const QByteArray &line : fence.split('\n')) {
        const QByteArray code = line.split(';').constFirst().trimmed();
        const int offset = code.left(4).toInt(nullptr, 16);
        bytes.append(offset - int(bytes.size()), '\0');
        if (!code.endsWith("end"))
            bytes.append(QByteArray::fromHex(code.mid(4)));
    }
    return bytes;
}

/// What the hub's own reader makes of a request.
std::unique_ptr<AppDeviceTransaction> Receive(const SkyletRequest &request)
{
    auto *const socket = new SegmentSocket({Bytes(request)});
    auto transaction = std::make_unique<AppDeviceTransaction>(socket);
    socket->setParent(transaction.get());
    return transaction;
}

SkyletRequest Upload(const SkyletIdentity &identity, const QByteArray &package)
{
    SkyletRequest request = SkyletRequest::Upload(identity);
    request.SetPackage(package);
    return request;
}

QByteArray PackageOf(const QByteArray &program)
{
    AppPackage package;
    package.SetProgram(DosName(QStringLiteral("hello")), program);
    QByteArray bytes;
    package.Export(&bytes);
    return bytes;
}

} // namespace

class tst_SkyletRequest : public QObject
{
    Q_OBJECT

private slots:
    void searchIsTheDocumentedOne();
    void uploadIsTheDocumentedOne();
    void bytesOfADownload_data();
    void bytesOfADownload();
    void bytesOfNothing();
    void bytesOfAMultipartSearch();
    void valuesArriveAsGiven_data();
    void valuesArriveAsGiven();
    void downloadArrivesAsGiven();
    void packageArrivesAsGiven();
    void boundaryIsFree_data();
    void boundaryIsFree();
    void boundaryIsInNoValue();
    void hostIsTheOneGiven();
};

void tst_SkyletRequest::searchIsTheDocumentedOne()
{
    const SkyletIdentity anna{QStringLiteral("anna"),
                              QStringLiteral("5f4dcc3b5aa765d61d8327deb882cf99"),
                              QStringLiteral("00-1A-2B-3C")};
    QCOMPARE(Bytes(SkyletRequest::Search(anna, QStringLiteral("g*"))), Example("search-request"));
}

void tst_SkyletRequest::uploadIsTheDocumentedOne()
{
    const QByteArray package = Example("upload-package");
    QCOMPARE(package.size(), 510);
    QCOMPARE(PackageOf(package.mid(496)), package);

    const SkyletIdentity nobody{QString(), QString(), QStringLiteral("00-1A-2B-3C")};
    QCOMPARE(Bytes(Upload(nobody, package)),
             Example("upload-head") + package + Example("upload-tail"));
}

void tst_SkyletRequest::bytesOfADownload_data()
{
    QTest::addColumn<int>("what");
    QTest::addColumn<QByteArray>("body");

    QTest::newRow("program-is-req-0")
        << int(AppDeviceTransaction::REQUEST_PROGRAM)
        << QByteArray("dev=8&udid=id&pat=hello&cmd=2&req=0&mem=38911");
    QTest::newRow("disks-are-req-1") << int(AppDeviceTransaction::REQUEST_DISKS)
                                     << QByteArray("dev=8&udid=id&pat=hello&cmd=2&req=1&mem=38911");
}

void tst_SkyletRequest::bytesOfADownload()
{
    QFETCH(int, what);
    QFETCH(QByteArray, body);

    const SkyletIdentity identity{QString(), QString(), QStringLiteral("id")};
    const SkyletRequest request = SkyletRequest::Download(
        identity, AppDeviceTransaction::REQUEST(what), QStringLiteral("hello"));
    QCOMPARE(Bytes(request), "POST / HTTP/1.1\r\n"
                             "Host: 192.168.1.20\r\n"
                             "Content-Type: application/x-www-form-urlencoded\r\n"
                             "Content-Length: 45\r\n"
                             "\r\n" +
                                 body);
}

void tst_SkyletRequest::bytesOfNothing()
{
    const SkyletIdentity identity{QStringLiteral("bo"), QStringLiteral("0f"), QStringLiteral("id")};
    QCOMPARE(Bytes(SkyletRequest::Nothing(identity)),
             QByteArray("POST / HTTP/1.1\r\n"
                        "Host: 192.168.1.20\r\n"
                        "Content-Type: application/x-www-form-urlencoded\r\n"
                        "Content-Length: 27\r\n"
                        "\r\n"
                        "usr=bo&pwd=0f&dev=8&udid=id"));
}

void tst_SkyletRequest::bytesOfAMultipartSearch()
{
    const SkyletIdentity identity{QString(), QString(), QStringLiteral("id")};
    QCOMPARE(Bytes(SkyletRequest::Search(identity, QStringLiteral("a=b"))),
             QByteArray("POST / HTTP/1.1\r\n"
                        "Host: 192.168.1.20\r\n"
                        "Content-Type: multipart/form-data; boundary=SkyletPart\r\n"
                        "Content-Length: 404\r\n"
                        "\r\n"
                        "--SkyletPart\r\n"
                        "Content-Disposition: form-data; name=\"dev\"\r\n\r\n8\r\n"
                        "--SkyletPart\r\n"
                        "Content-Disposition: form-data; name=\"udid\"\r\n\r\nid\r\n"
                        "--SkyletPart\r\n"
                        "Content-Disposition: form-data; name=\"pat\"\r\n\r\na%3Db\r\n"
                        "--SkyletPart\r\n"
                        "Content-Disposition: form-data; name=\"cmd\"\r\n\r\n1\r\n"
                        "--SkyletPart\r\n"
                        "Content-Disposition: form-data; name=\"req\"\r\n\r\n0\r\n"
                        "--SkyletPart\r\n"
                        "Content-Disposition: form-data; name=\"mem\"\r\n\r\n38911\r\n"
                        "--SkyletPart--\r\n"));
}

void tst_SkyletRequest::valuesArriveAsGiven_data()
{
    QTest::addColumn<QString>("value");

    QTest::newRow("letters") << QStringLiteral("Games");
    QTest::newRow("nothing") << QString();
    QTest::newRow("wildcards") << QStringLiteral("g?m*");
    QTest::newRow("blank-inside") << QStringLiteral("a b");
    QTest::newRow("plus") << QStringLiteral("a+b");
    QTest::newRow("percent") << QStringLiteral("100%25");
    QTest::newRow("ampersand") << QStringLiteral("a&cmd=3");
    QTest::newRow("equals-sign") << QStringLiteral("a=b");
    QTest::newRow("blank-before") << QStringLiteral(" a");
    QTest::newRow("blank-behind") << QStringLiteral("a ");
    QTest::newRow("line-end") << QStringLiteral("a\r\nb");
    QTest::newRow("quotation-mark") << QStringLiteral("a\"b");
    QTest::newRow("latin-1") << QString::fromUtf8("caf\xc3\xa9");
    QTest::newRow("latin-1-and-equals-sign") << QString::fromUtf8("\xc3\xa9=");
    QTest::newRow("boundary-in-multipart") << QStringLiteral("--SkyletPart=");
}

void tst_SkyletRequest::valuesArriveAsGiven()
{
    QFETCH(QString, value);

    const auto received = Receive(SkyletRequest::Search({value, value, value}, value));
    QVERIFY(received->mValid);
    QCOMPARE(received->mUsr, value);
    QCOMPARE(received->mPwd, value);
    QCOMPARE(received->mUdid, value);
    QCOMPARE(Field(received->mPat), Field(DosName(value)));
    QCOMPARE(received->mCmd, int(AppDeviceTransaction::COMMAND_SEARCH));
    QCOMPARE(received->mReq, int(AppDeviceTransaction::REQUEST_PROGRAM));
    QCOMPARE(received->mDev, 8);
    QCOMPARE(received->mMem, 38911);
    QVERIFY(received->mPackage == nullptr);
}

void tst_SkyletRequest::downloadArrivesAsGiven()
{
    const auto received = Receive(SkyletRequest::Download(
        SkyletIdentity(), AppDeviceTransaction::REQUEST_DISKS, QStringLiteral("a&b")));
    QVERIFY(received->mValid);
    QCOMPARE(received->mCmd, int(AppDeviceTransaction::COMMAND_DOWNLOAD));
    QCOMPARE(received->mReq, int(AppDeviceTransaction::REQUEST_DISKS));
    QCOMPARE(Field(received->mPat), Field(DosName(QStringLiteral("a&b"))));
}

void tst_SkyletRequest::packageArrivesAsGiven()
{
    const QByteArray program("\x01\x08\r\n--\0\r\n", 9);
    const auto received = Receive(
        Upload({QStringLiteral("a&b"), QString(), QStringLiteral("id")}, PackageOf(program)));
    QVERIFY(received->mValid);
    QCOMPARE(received->mUsr, QStringLiteral("a&b"));
    QCOMPARE(received->mCmd, int(AppDeviceTransaction::COMMAND_UPLOAD));
    QVERIFY(received->mPackage != nullptr);
    QCOMPARE(received->mPackage->Program().data, program);
}

void tst_SkyletRequest::boundaryIsFree_data()
{
    QTest::addColumn<QByteArray>("program");
    QTest::addColumn<QByteArray>("boundary");

    QTest::newRow("first-one") << QByteArray("SkyletPart") << QByteArray("SkyletPart");
    QTest::newRow("second-one-if-the-first-is-taken")
        << QByteArray("x--SkyletPart") << QByteArray("SkyletPart1");
    QTest::newRow("third-one-if-the-second-is-taken")
        << QByteArray("--SkyletPart1") << QByteArray("SkyletPart2");
}

void tst_SkyletRequest::boundaryIsFree()
{
    QFETCH(QByteArray, program);
    QFETCH(QByteArray, boundary);

    const SkyletRequest request = Upload(SkyletIdentity(), PackageOf(program));
    QVERIFY(Bytes(request).contains("; boundary=" + boundary + "\r\n"));
    const auto received = Receive(request);
    QVERIFY(received->mPackage != nullptr);
    QCOMPARE(received->mPackage->Program().data, program);
}

void tst_SkyletRequest::boundaryIsInNoValue()
{
    // The "=" makes it multipart.
    const SkyletRequest request =
        SkyletRequest::Search(SkyletIdentity(), QStringLiteral("=--SkyletPart"));
    QVERIFY(Bytes(request).contains("; boundary=SkyletPart1\r\n"));
}

void tst_SkyletRequest::hostIsTheOneGiven()
{
    QVERIFY(SkyletRequest::Nothing(SkyletIdentity())
                .ToBytes(QStringLiteral("hub.local:6464"))
                .startsWith("POST / HTTP/1.1\r\nHost: hub.local:6464\r\n"));
}

QTEST_GUILESS_MAIN(tst_SkyletRequest)
#include "tst_SkyletRequest.moc"
