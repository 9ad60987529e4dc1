// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#include "Digests.h"
#include "HubProcess.h"
#include "HubProgram.h"

#include <QProcess>
#include <QStandardPaths>
#include <QTest>

namespace
{

QString DiskPath(const Media &media, int number)
{
    return media.disks.filePath(QStringLiteral("disk%1.d82").arg(number));
}

/// As many disks as a package takes, no two of them alike.
bool WriteDisks(const Media &media)
{
    for (int i = 0; i < DISKS_IN_A_PACKAGE; ++i) {
        if (!WriteFile(DiskPath(media, i), Image(D82_SIZE, unsigned(i))))
            return false;
    }
    return true;
}

/// As many, of zeros.
bool WriteSparseDisks(const Media &media)
{
    for (int i = 0; i < DISKS_IN_A_PACKAGE; ++i) {
        if (!WriteSparseFile(DiskPath(media, i), D82_SIZE))
            return false;
    }
    return true;
}

/// Runs curl; its output with the reply's head.
QByteArray Curl(const QStringList &arguments)
{
    QProcess curl;
    curl.start(QStringLiteral("curl"),
               QStringList{QStringLiteral("--silent"), QStringLiteral("--show-error"),
                           QStringLiteral("--noproxy"), QStringLiteral("*"),
                           QStringLiteral("--include")} +
                   arguments);
    if (!curl.waitForFinished(TIMEOUT_MS) || curl.exitCode() != 0)
        return "curl failed: " + curl.readAllStandardError();
    return curl.readAllStandardOutput();
}

bool HasCurl()
{
    return !QStandardPaths::findExecutable(QStringLiteral("curl")).isEmpty();
}

} // namespace

class tst_EndToEnd : public QObject
{
    Q_OBJECT

private slots:
    void searches();
    void downloadsAProgram();
    void downloadsDisks();
    void uploadsADisk();
    void uploadsAProgram();
    void curlSearches();
    void curlDownloads();
    void curlUploads();

    void restrictionsOff();
    void restrictionsOn();
    void argumentsAreNotRead();

    void fullPackageGoesBothWays();
    void curlMovesAFullPackage();
    void clientThatNeverReadsHoldsUpNobody();
    void clientThatReadsLateGetsItAll();
    void clientThatResetsHarmsNobody_data();
    void clientThatResetsHarmsNobody();
    void silentClientIsDroppedAtLast();
    void nextClientWaitsForTheOneBeingRead();

    void killedProgramSavesNothing();
    void programThatQuitsSaves();
};

void tst_EndToEnd::searches()
{
    const Media media;
    QVERIFY(WriteFile(media.Disk("games.d64"), Image(D64_SIZE, 1)));
    QVERIFY(WriteFile(media.Disk("gone.d64"), Image(D64_SIZE - 1, 1)));
    QVERIFY(WriteFile(media.Program("ghost.prg"), "\x01\x08ghost"));
    QVERIFY(WriteFile(media.Program("hello.prg"), "\x01\x08hello"));
    HubProcess hub;
    QVERIFY(hub.Start(media.Section()));

    const HubReply reply = hub.Ask(SearchRequest("g*"));
    const QByteArray listing =
        Listing("SEARCH RESULTS", ListingEntry("GAMES", "D64") + ListingEntry("GHOST", "PRG"));
    QCOMPARE(reply.Head(), HeadFor(496 + listing.size()));
    const WirePackage package = reply.Package();
    QVERIFY(package.valid);
    QCOMPARE(package.result, 0);
    QCOMPARE(package.objects.size(), 1);
    QCOMPARE(package.objects.at(0).type, int(WireObject::PROGRAM));
    QCOMPARE(package.objects.at(0).name, PetsciiName("listing"));
    QCOMPARE(package.objects.at(0).data, listing);

    QCOMPARE(hub.Ask(SearchRequest("nothing")).Package().objects.at(0).data,
             Listing("SEARCH RESULTS", ""));
}

void tst_EndToEnd::downloadsAProgram()
{
    const Media media;
    const QByteArray data = Image(50000, 1);
    QVERIFY(WriteFile(media.Program("deep/er/hello.prg"), data));
    HubProcess hub;
    QVERIFY(hub.Start(media.Section()));

    const WirePackage package = hub.Ask(DownloadRequest("0", "hel?o")).Package();
    QVERIFY(package.valid);
    QCOMPARE(package.result, 0);
    QCOMPARE(package.objects.size(), 1);
    QCOMPARE(package.objects.at(0).type, int(WireObject::PROGRAM));
    QCOMPARE(package.objects.at(0).name, PetsciiName("hello"));
    QCOMPARE(package.objects.at(0).data, data);

    const HubReply none = hub.Ask(DownloadRequest("0", "other"));
    QCOMPARE(none.Body(), EmptyPackage());
}

void tst_EndToEnd::downloadsDisks()
{
    const Media media;
    const QByteArray image = Image(D64_SIZE, 1);
    QVERIFY(WriteFile(media.Disk("games.d64"), image));
    QVERIFY(WriteFile(media.Disk("other.d64"), Image(D64_SIZE, 2)));
    HubProcess hub;
    QVERIFY(hub.Start(media.Section()));

    const HubReply reply = hub.Ask(DownloadRequest("1", "games"));
    const QByteArray manifest = Listing("SENT DISK(S)", ListingEntry("GAMES", "D64"));
    QCOMPARE(reply.Head(), HeadFor(180720 + manifest.size()));
    const WirePackage package = reply.Package();
    QVERIFY(package.valid);
    QCOMPARE(package.objects.size(), 2);
    QCOMPARE(package.objects.at(0).name, PetsciiName("manifest"));
    QCOMPARE(package.objects.at(0).data, manifest);
    QCOMPARE(package.objects.at(1).type, int(WireObject::DISK));
    QCOMPARE(package.objects.at(1).name, PetsciiName("games"));
    QCOMPARE(package.objects.at(1).diskType, 0);
    QCOMPARE(package.objects.at(1).data, image);
}

void tst_EndToEnd::uploadsADisk()
{
    const Media media;
    const QByteArray first = Image(D64_SIZE, 1);
    const QByteArray second = Image(D64_SIZE, 2);
    HubProcess hub;
    QVERIFY(hub.Start(media.Section()));

    const HubReply reply = hub.Ask(UploadRequest(Disk("games", first, 0, false)));
    QCOMPARE(reply.Body(), EmptyPackage());
    QCOMPARE(ReadFile(media.Disk("games.d64")), first);

    QCOMPARE(hub.Ask(UploadRequest(Disk("games", second, 0, false))).Package().result, -87);
    QCOMPARE(ReadFile(media.Disk("games.d64")), first);

    QCOMPARE(hub.Ask(UploadRequest(Disk("games", second, 0, true))).Package().result, 0);
    QCOMPARE(ReadFile(media.Disk("games.d64")), second);
    QCOMPARE(Snapshot(media.disks.path()).size(), 1);
    QCOMPARE(Snapshot(media.programs.path()).size(), 0);
}

void tst_EndToEnd::uploadsAProgram()
{
    const Media media;
    HubProcess hub;
    QVERIFY(hub.Start(media.Section()));
    for (const QByteArray &data : {QByteArray("\x01\x08longer than the next"), QByteArray("x")}) {
        QCOMPARE(hub.Ask(UploadRequest(ProgramObject("hello", data))).Package().result, 0);
        QCOMPARE(ReadFile(media.Program("hello.prg")), data);
    }

    QVERIFY(WriteFile(media.Program("hello.d64"), Image(D64_SIZE, 1)));
    const WireObject refused = ProgramObject("hello", "new");
    QCOMPARE(hub.Ask(UploadRequest(refused)).Package().result, -88);
    QCOMPARE(ReadFile(media.Program("hello.prg")), QByteArray("x"));
}

void tst_EndToEnd::curlSearches()
{
    if (!HasCurl())
        QSKIP("no curl here");
    const Media media;
    QVERIFY(WriteFile(media.Program("ghost.prg"), "\x01\x08ghost"));
    HubProcess hub;
    QVERIFY(hub.Start(media.Section()));

    const QByteArray expected = hub.Ask(SearchRequest("g*")).raw;
    QVERIFY(expected.contains("GHOST"));
    QCOMPARE(Curl({hub.Url(), QStringLiteral("--data"), QStringLiteral("cmd=1&udid=42"),
                   QStringLiteral("--data-urlencode"), QStringLiteral("pat=g*")}),
             expected);
    QCOMPARE(Curl({hub.Url(), QStringLiteral("--form"), QStringLiteral("cmd=1"),
                   QStringLiteral("--form"), QStringLiteral("pat=g*")}),
             expected);
}

void tst_EndToEnd::curlDownloads()
{
    if (!HasCurl())
        QSKIP("no curl here");
    const Media media;
    QVERIFY(WriteFile(media.Disk("games.d64"), Image(D64_SIZE, 1)));
    QVERIFY(WriteFile(media.Program("hello.prg"), Image(50000, 2)));
    HubProcess hub;
    QVERIFY(hub.Start(media.Section()));

    QCOMPARE(Curl({hub.Url(), QStringLiteral("--data"), QStringLiteral("cmd=2&req=0&pat=hello")}),
             hub.Ask(DownloadRequest("0", "hello")).raw);
    QCOMPARE(Curl({hub.Url(), QStringLiteral("--data"), QStringLiteral("cmd=2&req=1&pat=*")}),
             hub.Ask(DownloadRequest("1", "*")).raw);
}

void tst_EndToEnd::curlUploads()
{
    if (!HasCurl())
        QSKIP("no curl here");
    const Media media;
    const QTemporaryDir device;
    const QString package = device.filePath(QStringLiteral("package"));
    const auto upload = [&package](const HubProcess &hub, const WireObject &object) {
        WirePackage wire;
        wire.objects.append(object);
        if (!WriteFile(package, wire.Bytes()))
            return HubReply();
        return HubReply{Curl({hub.Url(), QStringLiteral("--form"), QStringLiteral("cmd=3"),
                              QStringLiteral("--form"),
                              QStringLiteral("up=@%1;filename=package").arg(package)})};
    };
    const QByteArray first = Image(D64_SIZE, 1);
    const QByteArray second = Image(D64_SIZE, 2);
    HubProcess hub;
    QVERIFY(hub.Start(media.Section()));

    const HubReply reply = upload(hub, Disk("games", first, 0, false));
    QCOMPARE(reply.raw, HeadFor(496) + EmptyPackage());
    QCOMPARE(ReadFile(media.Disk("games.d64")), first);
    QCOMPARE(upload(hub, Disk("games", second, 0, false)).Package().result, -87);
    QCOMPARE(ReadFile(media.Disk("games.d64")), first);
    QCOMPARE(upload(hub, Disk("games", second, 0, true)).Package().result, 0);
    QCOMPARE(ReadFile(media.Disk("games.d64")), second);
}

void tst_EndToEnd::restrictionsOff()
{
    const Media media;
    HubProcess hub;
    QVERIFY(hub.Start(media.Section() + "[security]\nvalidate=false\n"
                                        "[access]\nnum_users=1\nuser_0\\name=bob\n"
                                        "user_0\\ro=1\n"));
    QCOMPARE(hub.Ask(SearchRequest("*")).Package().result, 0);
    QCOMPARE(
        hub.Ask(FormRequest({{"cmd", "1"}, {"usr", "nobody"}, {"pwd", "wrong"}})).Package().result,
        0);
    QCOMPARE(hub.Ask(UploadRequest(ProgramObject("hello", "x"))).Package().result, 0);
    QCOMPARE(ReadFile(media.Program("hello.prg")), QByteArray("x"));
}

void tst_EndToEnd::restrictionsOn()
{
    const Media media;
    const Media own;
    QVERIFY(WriteFile(media.Program("game.prg"), "global"));
    QVERIFY(WriteFile(own.Program("game.prg"), "own"));
    HubProcess hub;
    QVERIFY(hub.Start(media.Section() + "[security]\nvalidate=true\n[access]\nnum_users=2\n" +
                      "user_0\\name=alice\nuser_0\\md5=" + MD5_OF_A +
                      "\nuser_0\\own_dir=true\nuser_0\\disk_dir=" + own.disks.path().toUtf8() +
                      "\nuser_0\\program_dir=" + own.programs.path().toUtf8() +
                      "\nuser_1\\name=bob\nuser_1\\ro=1\nuser_1\\md5=" + MD5_OF_ABC + '\n'));

    const auto download = [&hub](const QByteArray &usr, const QByteArray &pwd) {
        return hub.Ask(
            FormRequest({{"usr", usr}, {"pwd", pwd}, {"cmd", "2"}, {"req", "0"}, {"pat", "game"}}));
    };
    const QByteArray refused = EmptyPackage(-89);
    QCOMPARE(download("carol", MD5_OF_A).Body(), refused);
    QCOMPARE(download("alice", MD5_OF_ABC).Body(), refused);
    QCOMPARE(download("", "").Body(), refused);
    QCOMPARE(download("alice", MD5_OF_A).Package().objects.at(0).data, QByteArray("own"));
    QCOMPARE(download("bob", MD5_OF_ABC).Package().objects.at(0).data, QByteArray("global"));

    WirePackage package;
    package.objects.append(ProgramObject("new", "x"));
    const auto upload = [&hub, &package](const QByteArray &usr, const QByteArray &pwd) {
        return hub
            .Ask(MultipartRequest({{"usr", usr}, {"pwd", pwd}, {"cmd", "3"}}, package.Bytes()))
            .Package()
            .result;
    };
    QCOMPARE(upload("bob", MD5_OF_ABC), -85);
    QCOMPARE(upload("carol", MD5_OF_A), -89);
    QVERIFY(!QFile::exists(media.Program("new.prg")));
    QCOMPARE(upload("alice", MD5_OF_A), 0);
    QVERIFY(!QFile::exists(media.Program("new.prg")));
    QCOMPARE(ReadFile(own.Program("new.prg")), QByteArray("x"));
}

void tst_EndToEnd::argumentsAreNotRead()
{
    const Media media;
    HubProcess hub;
    QVERIFY(hub.Start(media.Section(), {QStringLiteral("--port"), QStringLiteral("1"),
                                        QStringLiteral("--help"), QStringLiteral("x.prg")}));
    QVERIFY(hub.Ask(SearchRequest("*")).Package().valid);
}

void tst_EndToEnd::fullPackageGoesBothWays()
{
    const Media from;
    QVERIFY(WriteDisks(from));
    HubProcess sender;
    QVERIFY(sender.Start(from.Section()));
    const HubReply reply = sender.Ask(DownloadRequest("1", "*"));
    const int manifestSize = 34 + 30 * DISKS_IN_A_PACKAGE;
    QCOMPARE(reply.Head(), HeadFor(496 + manifestSize + 1073152 * DISKS_IN_A_PACKAGE));

    const WirePackage package = reply.Package();
    QVERIFY(package.valid);
    QCOMPARE(package.objects.size(), DISKS_IN_A_PACKAGE + 1);
    QByteArray entries;
    for (const WireObject &object : package.objects.mid(1)) {
        QByteArray name = object.name.left(object.name.indexOf(char(0xA0)));
        entries += ListingEntry(name.constData(), "D82");
        QCOMPARE(object.diskType, 4);
        // Not compared by QCOMPARE, which would print a megabyte.
        QVERIFY(object.data ==
                ReadFile(from.disks.filePath(QLatin1String(name.toLower() + ".d82"))));
    }
    QCOMPARE(package.objects.at(0).data, Listing("SENT DISK(S)", entries));

    const Media to;
    HubProcess receiver;
    QVERIFY(receiver.Start(to.Section()));
    const HubReply stored = receiver.Ask(MultipartRequest({{"cmd", "3"}}, reply.Body()));
    QCOMPARE(stored.Body(), EmptyPackage());
    QCOMPARE(Snapshot(to.disks.path()), Snapshot(from.disks.path()));
    QCOMPARE(ReadFile(to.Program("manifest.prg")), package.objects.at(0).data);
}

void tst_EndToEnd::curlMovesAFullPackage()
{
    if (!HasCurl())
        QSKIP("no curl here");
    const Media from;
    QVERIFY(WriteDisks(from));
    HubProcess sender;
    QVERIFY(sender.Start(from.Section()));
    const HubReply reply{
        Curl({sender.Url(), QStringLiteral("--data"), QStringLiteral("cmd=2&req=1&pat=*")})};
    QVERIFY(reply.raw == sender.Ask(DownloadRequest("1", "*")).raw);
    QVERIFY(reply.Package().valid);

    const QTemporaryDir device;
    const QString package = device.filePath(QStringLiteral("package"));
    QVERIFY(WriteFile(package, reply.Body()));
    const Media to;
    HubProcess receiver;
    QVERIFY(receiver.Start(to.Section()));
    // curl would ask first whether so much is welcome, and wait for the answer that does not come.
    const HubReply stored{
        Curl({receiver.Url(), QStringLiteral("--header"), QStringLiteral("Expect:"),
              QStringLiteral("--form"), QStringLiteral("cmd=3"), QStringLiteral("--form"),
              QStringLiteral("up=@%1;filename=package").arg(package)})};
    QCOMPARE(stored.Package().valid, true);
    QCOMPARE(stored.Package().result, 0);
    QCOMPARE(Snapshot(to.disks.path()), Snapshot(from.disks.path()));
}

void tst_EndToEnd::clientThatNeverReadsHoldsUpNobody()
{
    const Media media;
    QVERIFY(WriteFile(media.Program("ghost.prg"), "\x01\x08ghost"));
    QVERIFY(WriteSparseDisks(media));
    HubProcess hub;
    QVERIFY(hub.Start(media.Section()));

    std::vector<std::unique_ptr<QTcpSocket>> devices;
    for (int i = 0; i < 3; ++i) {
        devices.push_back(std::make_unique<QTcpSocket>());
        QTcpSocket *device = devices.back().get();
        device->setReadBufferSize(1);
        hub.Connect(device);
        device->write(DownloadRequest("1", "*"));
        QTRY_COMPARE_WITH_TIMEOUT(device->bytesAvailable(), 1, TIMEOUT_MS);
    }
    for (int i = 0; i < 10; ++i)
        QVERIFY(hub.Ask(SearchRequest("g*")).raw.contains("GHOST"));
    for (const std::unique_ptr<QTcpSocket> &device : devices)
        QCOMPARE(device->state(), QAbstractSocket::ConnectedState);
    devices.clear();
    QVERIFY(hub.Ask(SearchRequest("g*")).raw.contains("GHOST"));
    QVERIFY(hub.IsRunning());
}

void tst_EndToEnd::clientThatReadsLateGetsItAll()
{
    const Media media;
    QVERIFY(WriteDisks(media));
    HubProcess hub;
    QVERIFY(hub.Start(media.Section()));
    const HubReply expected = hub.Ask(DownloadRequest("1", "*"));
    QVERIFY(expected.Package().valid);

    QTcpSocket device;
    device.setReadBufferSize(1);
    hub.Connect(&device);
    device.write(DownloadRequest("1", "*"));
    QTRY_COMPARE_WITH_TIMEOUT(device.bytesAvailable(), 1, TIMEOUT_MS);
    QVERIFY(hub.Ask(SearchRequest("*")).Package().valid);

    QByteArray late = device.read(1);
    device.setReadBufferSize(0);
    if (device.state() != QAbstractSocket::UnconnectedState)
        QVERIFY(device.waitForDisconnected(TIMEOUT_MS));
    late += device.readAll();
    QCOMPARE(late.size(), expected.raw.size());
    QVERIFY(late == expected.raw);
}

void tst_EndToEnd::clientThatResetsHarmsNobody_data()
{
    QTest::addColumn<int>("sent");
    QTest::addColumn<bool>("waits");

    const auto size = int(DownloadRequest("1", "*").size());
    QTest::newRow("before-the-first-byte") << 0 << false;
    QTest::newRow("in-the-head") << 30 << false;
    QTest::newRow("in-the-body") << size - 1 << false;
    QTest::newRow("behind-the-request") << size << false;
    QTest::newRow("in-the-reply") << size << true;
}

void tst_EndToEnd::clientThatResetsHarmsNobody()
{
    QFETCH(int, sent);
    QFETCH(bool, waits);

    const Media media;
    QVERIFY(WriteFile(media.Program("ghost.prg"), "\x01\x08ghost"));
    QVERIFY(WriteSparseDisks(media));
    HubProcess hub;
    QVERIFY(hub.Start(media.Section()));
    for (int i = 0; i < 5; ++i) {
        QTcpSocket device;
        device.setReadBufferSize(1);
        hub.Connect(&device);
        QVERIFY(device.waitForConnected(TIMEOUT_MS));
        device.write(DownloadRequest("1", "*").left(sent));
        device.flush();
        if (waits)
            QTRY_COMPARE_WITH_TIMEOUT(device.bytesAvailable(), 1, TIMEOUT_MS);
        Reset(&device);
        QVERIFY(hub.Ask(SearchRequest("g*")).raw.contains("GHOST"));
        QVERIFY(hub.IsRunning());
    }
}

void tst_EndToEnd::silentClientIsDroppedAtLast()
{
    const Media media;
    HubProcess hub;
    QVERIFY(hub.Start(media.Section()));
    QTcpSocket silent;
    hub.Connect(&silent);
    QVERIFY(silent.waitForConnected(TIMEOUT_MS));

    QVERIFY(hub.Ask(SearchRequest("*")).Package().valid);
    QTRY_COMPARE_WITH_TIMEOUT(silent.state(), QAbstractSocket::UnconnectedState, TIMEOUT_MS);
    QCOMPARE(silent.readAll(), QByteArray());
}

void tst_EndToEnd::nextClientWaitsForTheOneBeingRead()
{
    const Media media;
    HubProcess hub;
    QVERIFY(hub.Start(media.Section()));
    const QByteArray request = SearchRequest("*");
    QTcpSocket first;
    hub.Connect(&first);
    first.write(request.left(request.size() / 2));
    QVERIFY(first.waitForBytesWritten(TIMEOUT_MS));
    QTcpSocket second;
    hub.Connect(&second);
    second.write(request);
    QVERIFY(second.waitForBytesWritten(TIMEOUT_MS));
    first.write(request.mid(request.size() / 2));

    for (QTcpSocket *device : {&first, &second}) {
        QTRY_COMPARE_WITH_TIMEOUT(device->state(), QAbstractSocket::UnconnectedState, TIMEOUT_MS);
        QVERIFY(HubReply{device->readAll()}.Package().valid);
    }
}

void tst_EndToEnd::killedProgramSavesNothing()
{
    const Media media;
    HubProcess hub;
    QVERIFY(hub.Start(media.Section() + "[window]\nwidth=399\n"));
    const QByteArray before = hub.Settings();
    QVERIFY(before.startsWith("[server]\n"));
    QVERIFY(hub.Ask(SearchRequest("*")).Package().valid);
    QCOMPARE(hub.Settings(), before);
    hub.Kill();
    QVERIFY(!hub.IsRunning());
    QCOMPARE(hub.Settings(), before);
}

void tst_EndToEnd::programThatQuitsSaves()
{
    const Media media;
    HubProcess hub;
    QCOMPARE(hub.RunUntilQuit(media.Section() + "[access]\nnum_users=1\n"), EXIT_CODE);
    const QByteArray settings = hub.Settings();
    QVERIFY2(settings.contains("\nport=" + QByteArray::number(hub.Port()) + '\n'),
             settings.constData());
    QVERIFY2(settings.contains("\nvalidate=false\n"), settings.constData());
    QVERIFY2(settings.contains("\nuser_0\\name=unknown\n"), settings.constData());
    QVERIFY2(settings.contains("\nactive_ifc_addr=127.0.0.1\n"), settings.constData());
}

int main(int argc, char **argv)
{
    return RunTestOrHub<tst_EndToEnd>(argc, argv);
}

#include "tst_EndToEnd.moc"
