// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#include "AppDeviceTransaction.h"
#include "CommandsFixture.h"
#include "ProtocolDocument.h"
#include "SegmentSocket.h"

#include <QHostAddress>
#include <QTcpSocket>
#include <QTest>

#include <memory>

// The rules of docs/protocol.md that are sentences, not tables or examples.

Q_DECLARE_METATYPE(WireObject)

namespace
{

constexpr int D81_SIZE = 819200;
constexpr int D82_DISK_TYPE = 4;

bool IsCompleteRequest(const QList<QByteArray> &segments)
{
    const auto socket = std::make_unique<SegmentSocket>(segments); // outlives the transaction
    return AppDeviceTransaction(socket.get()).mValid;
}

QByteArray WithHeaderLine(QByteArray request, const QByteArray &line)
{
    return request.replace(request.indexOf("\r\n") + 2, 0, line + "\r\n");
}

} // namespace

class tst_ProtocolRules : public CommandsFixture
{
    Q_OBJECT

public:
    using CommandsFixture::CommandsFixture;

private slots:
    void bytesTogetherWithTheLastOnesSpoilTheRequest();
    void bytesAfterTheLastOnesAreDropped();
    void requestWithoutBodyIsAnsweredLikeAnUnknownCommand();
    void unknownCommandIsRefusedWhereAccessIsRestricted_data();
    void unknownCommandIsRefusedWhereAccessIsRestricted();
    void multipartBodyStartsWithItsDelimiter_data();
    void multipartBodyStartsWithItsDelimiter();
    void webPageIsRefused_data();
    void webPageIsRefused();
    void requestIsCarriedOutThoughItsClientHasGivenUp();

    void nulEndsANameInTheListingOnly();
    void wildcardsCannotBeAskedForAlone();
    void programWithoutBytesIsAnsweredByAnEmptyPackage();
    void lastMatchWithoutBytesHidesTheOthers();

    void programsNameIsAPatternInAnUpload();
    void replacingAskedForWithAnotherTypeLeavesTheOldDisk();
    void replacingLeavesAnExtensionOfOtherCase_data();
    void replacingLeavesAnExtensionOfOtherCase();
    void typeOfAStoredDiskIsThatOfItsSize();
    void programWithoutBytesIsNotStored();
    void consoleTellsWhatCameAndWhatWasWritten();
};

void tst_ProtocolRules::bytesTogetherWithTheLastOnesSpoilTheRequest()
{
    const QByteArray request = Example("search-request");
    QVERIFY(IsCompleteRequest({request}));
    QVERIFY(!IsCompleteRequest({request + "\r\n"}));
    QVERIFY(!IsCompleteRequest({request.left(150), request.mid(150) + "x"}));
}

void tst_ProtocolRules::bytesAfterTheLastOnesAreDropped()
{
    QVERIFY(IsCompleteRequest({Example("search-request"), "\r\n"}));
}

void tst_ProtocolRules::requestWithoutBodyIsAnsweredLikeAnUnknownCommand()
{
    const QByteArray request = HttpPost("application/x-www-form-urlencoded", QByteArray());
    QCOMPARE(mHub.Send(request).Body(), Example("empty-package"));
    mHub->mValidate = true;
    QCOMPARE(mHub.Send(request).Body(), Example("refused-package"));
}

void tst_ProtocolRules::unknownCommandIsRefusedWhereAccessIsRestricted_data()
{
    QTest::addColumn<QByteArray>("cmd");

    for (const char *cmd : {"0", "4", "-1", "65537", "x"})
        QTest::newRow(cmd) << QByteArray(cmd);
}

void tst_ProtocolRules::unknownCommandIsRefusedWhereAccessIsRestricted()
{
    QFETCH(QByteArray, cmd);

    QCOMPARE(mHub.Send(FormRequest({{"cmd", cmd}})).Body(), Example("empty-package"));
    mHub->mValidate = true;
    QCOMPARE(mHub.Send(FormRequest({{"cmd", cmd}})).Body(), Example("refused-package"));
}

void tst_ProtocolRules::multipartBodyStartsWithItsDelimiter_data()
{
    QTest::addColumn<QByteArray>("inFront");
    QTest::addColumn<bool>("isRead");

    QTest::newRow("nothing-in-front") << QByteArray() << true;
    QTest::newRow("empty-line") << QByteArray("\r\n") << false;
    QTest::newRow("preamble") << QByteArray("a form\r\n") << false;
}

void tst_ProtocolRules::multipartBodyStartsWithItsDelimiter()
{
    QFETCH(QByteArray, inFront);
    QFETCH(bool, isRead);

    const QByteArray body = "--XyZ\r\nContent-Disposition: form-data; name=\"cmd\"\r\n\r\n1\r\n"
                            "--XyZ--\r\n";
    const HubReply reply = mHub.Send(HttpPost("multipart/form-data; boundary=XyZ", inFront + body));
    QCOMPARE(reply.Package().objects.size(), isRead ? 1 : 0);
}

void tst_ProtocolRules::webPageIsRefused_data()
{
    QTest::addColumn<QByteArray>("line");
    QTest::addColumn<bool>("isRestricted");

    QTest::newRow("as-browsers-write-it") << QByteArray("Origin: http://a.test") << false;
    QTest::newRow("in-lower-case") << QByteArray("origin: http://a.test") << false;
    QTest::newRow("without-a-blank") << QByteArray("ORIGIN:http://a.test") << false;
    QTest::newRow("of-a-user") << QByteArray("Origin: http://a.test") << true;
}

void tst_ProtocolRules::webPageIsRefused()
{
    QFETCH(QByteArray, line);
    QFETCH(bool, isRestricted);

    mHub->mValidate = isRestricted;
    mHub->AddUser(QStringLiteral("anna"));
    const QByteArray upload = MultipartRequest(
        {{"usr", "anna"}, {"pwd", "d41d8cd98f00b204e9800998ecf8427e"}, {"cmd", "3"}},
        Example("upload-package"));
    QCOMPARE(mHub.Send(WithHeaderLine(upload, line)).Body(), Example("refused-package"));
    QCOMPARE(Snapshot(Path("programs")), QStringList());
    QCOMPARE(HubFixture::Log(),
             QStringList(
                 QStringLiteral("Authentication Failure: request of a web page (http://a.test)")));

    QCOMPARE(mHub.Send(upload).Body(), Example("empty-package"));
    QVERIFY(QFile::exists(Path("programs/hello.prg")));
}

void tst_ProtocolRules::requestIsCarriedOutThoughItsClientHasGivenUp()
{
    QTcpSocket device;
    device.connectToHost(QHostAddress(QHostAddress::LocalHost), mHub.Port());
    QVERIFY(device.waitForConnected());
    device.write(ExampleUpload());
    QVERIFY(device.waitForBytesWritten());
    device.disconnectFromHost();
    QTRY_VERIFY(QFile::exists(Path("programs/hello.prg")));
}

void tst_ProtocolRules::nulEndsANameInTheListingOnly()
{
    QVERIFY(WriteFile(Path("programs/a\u0100b.prg"), "any"));
    const QByteArray listed = SearchListing(ListingEntry("A", "PRG"));
    QCOMPARE(OnlyProgram(mHub.Send(SearchRequest("a?b"))), listed);
    QCOMPARE(OnlyProgram(mHub.Send(SearchRequest("a\xC4\x80"
                                                 "b"))),
             listed);
    QCOMPARE(OnlyProgram(mHub.Send(SearchRequest("a"))), SearchListing());

    const WirePackage package = mHub.Send(DownloadRequest("0", "a?b")).Package();
    QCOMPARE(package.objects.size(), 1);
    QCOMPARE(package.objects.constFirst().name, NameField(QByteArray("A\0B", 3)));
}

void tst_ProtocolRules::wildcardsCannotBeAskedForAlone()
{
    if (!IsFileName(QStringLiteral("what?")))
        QSKIP(NO_FILE_NAME);
    QVERIFY(WriteFile(Path("programs/what?.prg"), "any"));
    QVERIFY(WriteFile(Path("programs/whats.prg"), "any"));
    QVERIFY(WriteFile(Path("programs/a*b.prg"), "any"));
    QVERIFY(WriteFile(Path("programs/apple.prg"), "any"));
    for (const char *pattern : {"what?", "a*b"})
        QCOMPARE(Entries(OnlyProgram(mHub.Send(SearchRequest(pattern)))).size(), 2);
}

void tst_ProtocolRules::programWithoutBytesIsAnsweredByAnEmptyPackage()
{
    QVERIFY(WriteFile(Path("programs/ghost.prg"), QByteArray()));
    QCOMPARE(mHub.Send(DownloadRequest("0", "ghost")).Body(), Example("empty-package"));
}

void tst_ProtocolRules::lastMatchWithoutBytesHidesTheOthers()
{
    for (const char *directory : {"one", "two", "three"})
        QVERIFY(WriteFile(
            Path("programs/") + QLatin1String(directory) + QStringLiteral("/ghost.prg"), "any"));
    QCOMPARE(OnlyProgram(mHub.Send(DownloadRequest("0", "ghost"))), QByteArray("any"));

    const QStringList inOrder = IteratorOrder(Path("programs")).filter(QStringLiteral("ghost.prg"));
    QCOMPARE(inOrder.size(), 3);
    QVERIFY(WriteFile(inOrder.constLast(), QByteArray()));
    QCOMPARE(mHub.Send(DownloadRequest("0", "ghost")).Body(), Example("empty-package"));
}

void tst_ProtocolRules::programsNameIsAPatternInAnUpload()
{
    if (!IsFileName(QStringLiteral("*")))
        QSKIP(NO_FILE_NAME);
    const QByteArray upload = UploadRequest(Program("*", "any"));
    QVERIFY(WriteFile(Path("disks/games.d64"), QByteArray(D64_SIZE, 'g')));
    QVERIFY(WriteFile(Path("programs/ghost.prg"), "any"));
    QCOMPARE(mHub.Send(upload).Package().result, 0);

    QVERIFY(WriteFile(Path("programs/games.d64"), QByteArray(D64_SIZE, 'g')));
    QCOMPARE(mHub.Send(upload).Package().result, PROGRAM_EXISTS);
    QCOMPARE(mHub.Send(UploadRequest(Program("*", "any", true))).Package().result, 0);
}

void tst_ProtocolRules::replacingAskedForWithAnotherTypeLeavesTheOldDisk()
{
    QVERIFY(WriteFile(Path("disks/games.d64"), QByteArray(D64_SIZE, 'g')));
    const WireObject disk = Disk("GAMES", QByteArray(D81_SIZE, 'n'), true);
    QCOMPARE(mHub.Send(UploadRequest(disk)).Package().result, 0);
    QCOMPARE(QFileInfo(Path("disks/games.d64")).size(), D64_SIZE);
    QCOMPARE(QFileInfo(Path("disks/games.d81")).size(), D81_SIZE);
    QCOMPARE(Entries(OnlyProgram(mHub.Send(SearchRequest("games")))).size(), 2);
}

void tst_ProtocolRules::replacingLeavesAnExtensionOfOtherCase_data()
{
    QTest::addColumn<QString>("before");
    QTest::addColumn<QString>("written");
    QTest::addColumn<WireObject>("object");

    const QByteArray image(D64_SIZE, 'n');
    QTest::newRow("disk") << "disks/games.D64"
                          << "disks/games.d64" << Disk("GAMES", image, true);
    QTest::newRow("program") << "programs/hello.PRG"
                             << "programs/hello.prg" << Program("HELLO", "new", true);
}

void tst_ProtocolRules::replacingLeavesAnExtensionOfOtherCase()
{
    SKIP_ON_WINDOWS("Windows does not tell names apart by case");
    QFETCH(QString, before);
    QFETCH(QString, written);
    QFETCH(WireObject, object);

    const QByteArray old(object.data.size(), 'o');
    QVERIFY(WriteFile(Path(before), old));
    QCOMPARE(mHub.Send(UploadRequest(object)).Package().result, 0);
    QCOMPARE(ReadFile(Path(before)), old);
    QCOMPARE(ReadFile(Path(written)), object.data);
    QCOMPARE(Entries(OnlyProgram(mHub.Send(SearchRequest("*")))).size(), 2);
}

void tst_ProtocolRules::typeOfAStoredDiskIsThatOfItsSize()
{
    WireObject disk = Disk("GAMES", QByteArray(D64_SIZE, 'g'));
    disk.diskType = D82_DISK_TYPE;
    QCOMPARE(mHub.Send(UploadRequest(disk)).Package().result, 0);
    QVERIFY(QFile::exists(Path("disks/games.d64")));
    QCOMPARE(Disks(mHub.Send(DownloadRequest("1", "games"))).value(0).diskType, 0);
}

void tst_ProtocolRules::programWithoutBytesIsNotStored()
{
    QCOMPARE(mHub.Send(UploadRequest(Program("HELLO", QByteArray()))).Package().result, 0);
    QCOMPARE(Snapshot(Path("programs")), QStringList());
    QCOMPARE(UploadLog(), QStringList());
}

void tst_ProtocolRules::consoleTellsWhatCameAndWhatWasWritten()
{
    const HubReply reply =
        mHub.Send(UploadRequest({Disk("A/B", QByteArray(D64_SIZE, 'g')), Program("HELLO", "any")}));
    QCOMPARE(reply.Package().result, WRITE_ERROR);
    QCOMPARE(UploadLog(), Received("disk", QStringLiteral("a/b")) + DiskFailed() +
                              Received("program", QStringLiteral("hello")) +
                              QStringList(Written(Path("programs/hello.prg"))));
}

int main(int argc, char **argv)
{
    return RunWithHub<tst_ProtocolRules>(argc, argv);
}

#include "tst_ProtocolRules.moc"
