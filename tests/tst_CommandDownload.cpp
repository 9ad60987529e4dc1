// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#include "CommandsFixture.h"

#include <QProcess>
#include <QRegularExpression>
#include <QStandardPaths>

#include <algorithm>

/// What DOWNLOAD sends, as the device sees it.
class tst_CommandDownload : public CommandsFixture
{
    Q_OBJECT

public:
    using CommandsFixture::CommandsFixture;

private slots:
    void downloadSendsTheProgram();
    void downloadSendsProgramsWholeAndUnchanged_data();
    void downloadSendsProgramsWholeAndUnchanged();
    void downloadSendsTheFilesNameNotThePattern();
    void downloadSendsTheLastOfManyPrograms();
    void downloadSkipsProgramsThatCannotBeOpened_data();
    void downloadSkipsProgramsThatCannotBeOpened();
    void downloadSendsTheLastProgramThatCanBeOpened();
    void downloadOfAnEmptyProgramSendsNothing();
    void downloadWithoutMatchingProgramSendsNothing_data();
    void downloadWithoutMatchingProgramSendsNothing();
    void downloadSendsADiskAndAManifest();
    void downloadSendsEachSizeOfDisk();
    void downloadSendsMatchingDisksInIteratorOrder();
    void downloadWithoutMatchingDiskSendsAManifest_data();
    void downloadWithoutMatchingDiskSendsAManifest();
    void downloadLeavesOutUnreadableDisks();
    void downloadDropsDisksPastTheNineteenth_data();
    void downloadDropsDisksPastTheNineteenth();
    void downloadOfAnythingElseSendsNothing_data();
    void downloadOfAnythingElseSendsNothing();
    void realImagesGoThereAndBack_data();
    void realImagesGoThereAndBack();
};

void tst_CommandDownload::downloadSendsTheProgram()
{
    QVERIFY(WriteFile(Path("programs/hello.prg"), QByteArray::fromHex("0108 0B08 0A00")));
    QVERIFY(WriteFile(Path("programs/other.prg"), "other"));

    const HubReply reply = mHub.Send(DownloadRequest("0", "hello"));
    const QByteArray header =
        QByteArray::fromHex("1F24CA73 0000 00 01 06000000 00000000"
                            "00 00 0000 06000000 48454C4C4FA0A0A0A0A0A0A0A0A0A0A0") +
        QByteArray(19 * 24, '\0');
    QCOMPARE(reply.Body(), header + QByteArray::fromHex("0108 0B08 0A00"));
    QCOMPARE(mHub.Log(), QStringList{Requested("DOWNLOAD")});
}

void tst_CommandDownload::downloadSendsProgramsWholeAndUnchanged_data()
{
    QTest::addColumn<QByteArray>("contents");

    QTest::newRow("one-byte") << QByteArray("\0", 1);
    QTest::newRow("line-ends-of-all-kinds") << QByteArray("\r\n\n\r\x1A\0\r\n", 8);
    QTest::newRow("a-disk's-size") << Image(D64_SIZE);
    QTest::newRow("megabytes") << Image(5000001);
}

void tst_CommandDownload::downloadSendsProgramsWholeAndUnchanged()
{
    QFETCH(QByteArray, contents);

    QVERIFY(WriteFile(Path("programs/sub/a.PRG"), contents));
    const HubReply reply = mHub.Send(DownloadRequest("0", "a"));
    QVERIFY(reply.Package().valid);
    QVERIFY(OnlyProgram(reply) == contents);
}

void tst_CommandDownload::downloadSendsTheFilesNameNotThePattern()
{
    QVERIFY(WriteFile(Path("programs/Hello.World.prg"), "1"));
    const HubReply reply = mHub.Send(DownloadRequest("0", "H?l*"));
    QCOMPARE(reply.Package().objects.size(), 1);
    QCOMPARE(reply.Package().objects.first().name,
             QByteArray::fromHex("C8454C4C4FA0A0A0A0A0A0A0A0A0A0A0"));
}

void tst_CommandDownload::downloadSendsTheLastOfManyPrograms()
{
    for (const char *name : {"delta", "alpha", "echo", "bravo", "sub/golf", "charlie", "foxtrot"})
        QVERIFY(WriteFile(Path("programs/") + QLatin1String(name) + QStringLiteral(".prg"), name));
    const QStringList paths = IteratorOrder(Path("programs")).filter(QStringLiteral(".prg"));
    QCOMPARE(paths.size(), 7);

    const HubReply reply = mHub.Send(DownloadRequest("0", "*"));
    QCOMPARE(OnlyProgram(reply), ReadFile(paths.last()));
    QCOMPARE(reply.Package().objects.first().name,
             PetsciiName(QFileInfo(paths.last()).baseName().toLatin1().constData()));
    QCOMPARE(mHub.Log(), QStringList{Requested("DOWNLOAD")});
}

void tst_CommandDownload::downloadSkipsProgramsThatCannotBeOpened_data()
{
    QTest::addColumn<QString>("file");

    QTest::newRow("directory") << "directory.prg";
    QTest::newRow("link-to-directory") << "to-directory.prg";
    QTest::newRow("fifo") << "fifo.prg";
    QTest::newRow("link-to-fifo") << "to-fifo.prg";
    QTest::newRow("link-to-endless-device") << "to-zero.prg";
    QTest::newRow("link-to-empty-device") << "to-null.prg";
    QTest::newRow("dangling-link") << "dangling.prg";
    QTest::newRow("link-to-itself") << "loop.prg";
    QTest::newRow("unreadable") << "locked.prg";
}

void tst_CommandDownload::downloadSkipsProgramsThatCannotBeOpened()
{
    SKIP_ON_WINDOWS("Windows has no fifos, and links for administrators only");
    QFETCH(QString, file);

    QVERIFY(QDir().mkpath(Path("elsewhere")));
    QVERIFY(MakeFifo(Path("elsewhere-fifo")));
    const QString path = Path("programs/") + file;
    if (file == QLatin1String("directory.prg"))
        QVERIFY(QDir().mkdir(path));
    else if (file == QLatin1String("to-directory.prg"))
        QVERIFY(MakeLink(Path("elsewhere"), path));
    else if (file == QLatin1String("fifo.prg"))
        QVERIFY(MakeFifo(path));
    else if (file == QLatin1String("to-fifo.prg"))
        QVERIFY(MakeLink(Path("elsewhere-fifo"), path));
    else if (file == QLatin1String("to-zero.prg"))
        QVERIFY(MakeLink(QStringLiteral("/dev/zero"), path));
    else if (file == QLatin1String("to-null.prg"))
        QVERIFY(MakeLink(QStringLiteral("/dev/null"), path));
    else if (file == QLatin1String("dangling.prg"))
        QVERIFY(MakeLink(Path("gone"), path));
    else if (file == QLatin1String("loop.prg"))
        QVERIFY(MakeLink(path, path));
    else
        QVERIFY(WriteFile(path, "locked") && chmod(QFile::encodeName(path).constData(), 0) == 0);

    const MemoryLimit limit;
    HubReply alone;
    HubReply together;
    {
        const OrdinaryUser user;
        alone = mHub.Send(DownloadRequest("0", "*"));
    }
    QVERIFY(WriteFile(Path("programs/regular.prg"), "regular"));
    {
        const OrdinaryUser user;
        together = mHub.Send(DownloadRequest("0", "*"));
    }
    QCOMPARE(alone.Body(), EmptyPackage());
    QCOMPARE(OnlyProgram(together), QByteArray("regular"));
    QCOMPARE(mHub.Log(), QStringList() << Requested("DOWNLOAD") << Requested("DOWNLOAD"));
}

void tst_CommandDownload::downloadSendsTheLastProgramThatCanBeOpened()
{
    // Half of them are directories, so that in all likelihood some come last.
    for (int i = 0; i < 20; ++i) {
        const QString path = Path(QStringLiteral("programs/%1.prg").arg(i));
        if (i % 4 == 0)
            QVERIFY(WriteFile(path, path.toLatin1()));
        else
            QVERIFY(QDir().mkdir(path));
    }
    QString last;
    for (const QString &path : IteratorOrder(Path("programs"))) {
        if (QFileInfo(path).isFile())
            last = path;
    }
    QCOMPARE(OnlyProgram(mHub.Send(DownloadRequest("0", "*"))), last.toLatin1());
}

void tst_CommandDownload::downloadOfAnEmptyProgramSendsNothing()
{
    for (const char *name : {"delta", "alpha", "echo", "bravo"})
        QVERIFY(WriteFile(Path("programs/") + QLatin1String(name) + QStringLiteral(".prg"), name));
    const QStringList paths = IteratorOrder(Path("programs")).filter(QStringLiteral(".prg"));
    QVERIFY(WriteFile(paths.last(), QByteArray()));

    // The empty one is read last and takes the place of the others.
    QCOMPARE(mHub.Send(DownloadRequest("0", "*")).Body(), EmptyPackage());
}

void tst_CommandDownload::downloadWithoutMatchingProgramSendsNothing_data()
{
    QTest::addColumn<QByteArray>("pattern");

    QTest::newRow("unknown-name") << QByteArray("unknown");
    QTest::newRow("another-letter-case") << QByteArray("GAME");
    QTest::newRow("disk") << QByteArray("disk");
    QTest::newRow("backup-of-a-program") << QByteArray("backup");
    QTest::newRow("no-pattern") << QByteArray();
    QTest::newRow("path") << QByteArray("../programs/game");
    QTest::newRow("path-below") << QByteArray("sub/game");
    QTest::newRow("with-suffix") << QByteArray("game.prg");
}

void tst_CommandDownload::downloadWithoutMatchingProgramSendsNothing()
{
    QFETCH(QByteArray, pattern);

    QVERIFY(WriteFile(Path("programs/game.prg"), "1"));
    QVERIFY(WriteFile(Path("programs/sub/other.prg"), "1"));
    QVERIFY(WriteFile(Path("programs/backup.prg.bak"), "1"));
    QVERIFY(WriteSparseFile(Path("programs/disk.d64"), D64_SIZE));
    QVERIFY(WriteSparseFile(Path("disks/disk.d64"), D64_SIZE));
    QVERIFY(WriteFile(Path("disks/unknown.prg"), "1"));
    QCOMPARE(mHub.Send(DownloadRequest("0", pattern)).Body(), EmptyPackage());
    QCOMPARE(mHub.Log(), QStringList{Requested("DOWNLOAD")});
}

void tst_CommandDownload::downloadSendsADiskAndAManifest()
{
    const QByteArray image = Image(D64_SIZE);
    QVERIFY(WriteFile(Path("disks/games.d64"), image));
    QVERIFY(WriteSparseFile(Path("disks/other.d64"), D64_SIZE));

    const HubReply reply = mHub.Send(DownloadRequest("1", "games"));
    const QByteArray manifest =
        QByteArray::fromHex("0104"
                            "0101 0000 12 53454E54204449534B285329 202020202020202020202020 00"
                            "0101 0000 2020 22 47414D4553 22 20202020202020202020202020 443634 00"
                            "0000");
    QCOMPARE(manifest.size(), 0x40);
    const QByteArray header =
        QByteArray::fromHex("1F24CA73 0000 00 02 40C00200 00000000"
                            "00 00 0000 40000000 4D414E4946455354A0A0A0A0A0A0A0A0"
                            "01 00 0000 00C00200 47414D4553A0A0A0A0A0A0A0A0A0A0A0") +
        QByteArray(18 * 24, '\0');
    const QByteArray diskHeader =
        QByteArray::fromHex("A6135C71 00100000 00AB0200 00") + QByteArray(19, '\0') +
        QByteArray::fromHex("47414D4553A0A0A0A0A0A0A0A0A0A0A0") + QByteArray(4048, '\0');
    QVERIFY(reply.Body() ==
            header + manifest + diskHeader + image + QByteArray(176128 - D64_SIZE, '\0'));
    QCOMPARE(mHub.Log(), QStringList{Requested("DOWNLOAD")});
}

void tst_CommandDownload::downloadSendsEachSizeOfDisk()
{
    const struct {
        const char *name;
        int size;
        int type;
        const char *typeText;
        int blockSize;
    } IMAGES[] = {
        {"a", 174848, 0, "D64", 180224}, {"b", 175531, 0, "D64", 180224},
        {"c", 349696, 1, "D71", 356352}, {"d", 819200, 2, "D81", 823296},
        {"e", 533248, 3, "D80", 540672}, {"f", 1066496, 4, "D82", 1073152},
    };
    for (const auto &image : IMAGES)
        QVERIFY(WriteFile(Path("disks/") + QLatin1String(image.name),
                          Image(image.size, image.name[0])));

    for (const auto &image : IMAGES) {
        const HubReply reply = mHub.Send(DownloadRequest("1", image.name));
        QCOMPARE(reply.Body().size(), 496 + 34 + 30 + image.blockSize);
        const WirePackage package = reply.Package();
        QVERIFY(package.valid);
        QCOMPARE(package.objects.size(), 2);
        QCOMPARE(package.objects.at(0).type, int(WireObject::PROGRAM));
        QCOMPARE(package.objects.at(0).name, PetsciiName("manifest"));
        QCOMPARE(package.objects.at(0).data,
                 ManifestListing(ListingEntry(QByteArray(image.name).toUpper(), image.typeText)));
        QCOMPARE(package.objects.at(1).type, int(WireObject::DISK));
        QCOMPARE(package.objects.at(1).name, PetsciiName(image.name));
        QCOMPARE(package.objects.at(1).diskType, image.type);
        QVERIFY(package.objects.at(1).data == Image(image.size, image.name[0]));
    }
}

void tst_CommandDownload::downloadSendsMatchingDisksInIteratorOrder()
{
    for (int i = 0; i < 8; ++i) {
        const QString name = QString::number(i * 5 % 8);
        QVERIFY(WriteFile(Path("disks/g") + name, Image(D64_SIZE, i)));
        QVERIFY(WriteFile(Path("disks/sub/g") + name, Image(D64_SIZE, 100 + i)));
        QVERIFY(WriteFile(Path("disks/x") + name, Image(D64_SIZE, 200 + i)));
    }
    const HubReply reply = mHub.Send(DownloadRequest("1", "g?"));
    const QList<WireObject> disks = Disks(reply);
    const QStringList paths = IteratorOrder(Path("disks")).filter(QStringLiteral("/g"));
    QCOMPARE(paths.size(), 16);
    QCOMPARE(disks.size(), 16);
    QByteArray entries;
    for (int i = 0; i < 16; ++i) {
        const QByteArray base = QFileInfo(paths.at(i)).baseName().toLatin1();
        QCOMPARE(disks.at(i).name, PetsciiName(base.constData()));
        QVERIFY(disks.at(i).data == ReadFile(paths.at(i)));
        entries += ListingEntry(base.toUpper(), "D64");
    }
    QCOMPARE(reply.Package().objects.first().data, ManifestListing(entries));
}

void tst_CommandDownload::downloadWithoutMatchingDiskSendsAManifest_data()
{
    QTest::addColumn<QByteArray>("pattern");

    QTest::newRow("unknown-name") << QByteArray("unknown");
    QTest::newRow("another-letter-case") << QByteArray("GAMES");
    QTest::newRow("no-disk's-size") << QByteArray("forty");
    QTest::newRow("program") << QByteArray("hello");
    QTest::newRow("no-pattern") << QByteArray();
    QTest::newRow("path") << QByteArray("../disks/games");
}

void tst_CommandDownload::downloadWithoutMatchingDiskSendsAManifest()
{
    QFETCH(QByteArray, pattern);

    QVERIFY(WriteSparseFile(Path("disks/games.d64"), D64_SIZE));
    QVERIFY(WriteSparseFile(Path("disks/forty.d64"), 196608));
    QVERIFY(WriteSparseFile(Path("disks/hello.prg"), 10));
    QVERIFY(WriteSparseFile(Path("programs/unknown.d64"), D64_SIZE));
    const HubReply reply = mHub.Send(DownloadRequest("1", pattern));
    QCOMPARE(reply.Body().size(), 496 + 34);
    QCOMPARE(reply.Package().result, 0);
    QCOMPARE(reply.Package().objects.first().name, PetsciiName("manifest"));
    QCOMPARE(OnlyProgram(reply), ManifestListing());
    QCOMPARE(mHub.Log(), QStringList{Requested("DOWNLOAD")});
}

void tst_CommandDownload::downloadLeavesOutUnreadableDisks()
{
    SKIP_ON_WINDOWS("Windows has no fifos, and links for administrators only");
    for (const char *name : {"a", "b", "c"})
        QVERIFY(WriteFile(Path("disks/") + QLatin1String(name), Image(D64_SIZE, *name)));
    QVERIFY(chmod(QFile::encodeName(Path("disks/b")).constData(), 0) == 0);
    QVERIFY(MakeFifo(Path("disks/fifo.d64")));
    QVERIFY(MakeLink(QStringLiteral("fifo.d64"), Path("disks/to-fifo.d64")));
    QVERIFY(MakeLink(QStringLiteral("/dev/zero"), Path("disks/to-zero.d64")));
    QVERIFY(QDir().mkdir(Path("disks/directory.d64")));

    HubReply reply;
    {
        const OrdinaryUser user;
        reply = mHub.Send(DownloadRequest("1", "*"));
    }
    QList<QByteArray> names;
    const QList<WireObject> disks = Disks(reply);
    for (const WireObject &disk : disks)
        names.append(disk.name);
    std::sort(names.begin(), names.end());
    QCOMPARE(names, (QList<QByteArray>{PetsciiName("a"), PetsciiName("c")}));
    QList<QByteArray> entries = Entries(reply.Package().objects.first().data);
    std::sort(entries.begin(), entries.end());
    QCOMPARE(entries, (QList<QByteArray>{"A.D64", "C.D64"}));
    QCOMPARE(reply.Package().result, 0);
    QCOMPARE(mHub.Log(), QStringList{Requested("DOWNLOAD")});
}

void tst_CommandDownload::downloadDropsDisksPastTheNineteenth_data()
{
    QTest::addColumn<int>("files");
    QTest::addColumn<int>("sent");

    QTest::newRow("eighteen-are-sent") << 18 << 18;
    QTest::newRow("nineteen-are-sent") << 19 << 19;
    QTest::newRow("twentieth-is-dropped") << 20 << 19;
    QTest::newRow("thirty-are-cut-to-nineteen") << 30 << 19;
}

void tst_CommandDownload::downloadDropsDisksPastTheNineteenth()
{
    QFETCH(int, files);
    QFETCH(int, sent);

    for (int i = 0; i < files; ++i)
        QVERIFY(WriteFile(Path(QStringLiteral("disks/%1").arg(i)), Image(D64_SIZE, i)));
    const HubReply reply = mHub.Send(DownloadRequest("1", "*"));
    const WirePackage package = reply.Package();
    QVERIFY(package.valid);
    QCOMPARE(package.result, 0);
    QCOMPARE(package.objects.size(), sent + 1);

    const QStringList paths =
        IteratorOrder(Path("disks")).filter(QRegularExpression(QStringLiteral("/[0-9]+$")));
    QCOMPARE(paths.size(), files);
    QByteArray entries;
    for (const QString &path : paths)
        entries += ListingEntry(QFileInfo(path).fileName().toLatin1(), "D64");
    // The manifest lists those that were dropped, too.
    QCOMPARE(package.objects.first().data, ManifestListing(entries));
    const QList<WireObject> disks = Disks(reply);
    QCOMPARE(disks.size(), sent);
    for (int i = 0; i < sent; ++i)
        QVERIFY(disks.at(i).data == ReadFile(paths.at(i)));
}

void tst_CommandDownload::downloadOfAnythingElseSendsNothing_data()
{
    QTest::addColumn<QByteArray>("req");

    QTest::newRow("two") << QByteArray("2");
    QTest::newRow("minus-one") << QByteArray("-1");
    QTest::newRow("two-to-the-8th") << QByteArray("256");
    QTest::newRow("two-to-the-8th-and-one") << QByteArray("257");
    QTest::newRow("no-req") << QByteArray();
}

void tst_CommandDownload::downloadOfAnythingElseSendsNothing()
{
    QFETCH(QByteArray, req);

    QVERIFY(WriteSparseFile(Path("disks/a.d64"), D64_SIZE));
    QVERIFY(WriteFile(Path("programs/a.prg"), "1"));
    QList<HubField> fields{{"cmd", "2"}, {"udid", "42"}, {"pat", "*"}};
    if (!req.isEmpty())
        fields.append({"req", req});
    QCOMPARE(mHub.Send(FormRequest(fields)).Body(), EmptyPackage());
    QCOMPARE(mHub.Log(), QStringList{Requested("DOWNLOAD")});
}

void tst_CommandDownload::realImagesGoThereAndBack_data()
{
    QTest::addColumn<QString>("suffix");
    QTest::addColumn<int>("size");
    QTest::addColumn<int>("type");

    QTest::newRow("d64") << "d64" << 174848 << 0;
    QTest::newRow("d71") << "d71" << 349696 << 1;
    QTest::newRow("d81") << "d81" << 819200 << 2;
}

// An image that a disk tool made is found, sent and stored under another name, byte for byte.
void tst_CommandDownload::realImagesGoThereAndBack()
{
    QFETCH(QString, suffix);
    QFETCH(int, size);
    QFETCH(int, type);

    const QString tool = QStandardPaths::findExecutable(QStringLiteral("cc1541"));
    if (tool.isEmpty()) {
        // The macro is not standard C++ with one argument.
        QTest::qSkip("no cc1541 here", __FILE__, __LINE__);
        return;
    }
    QVERIFY(WriteFile(Path("hello.prg"), "\x01\x08" + Image(1000)));
    const QString image = Path("disks/real.") + suffix;
    QProcess process;
    process.start(tool, QStringList{QStringLiteral("-q"), QStringLiteral("-n"),
                                    QStringLiteral("real disk"), QStringLiteral("-f"),
                                    QStringLiteral("hello"), QStringLiteral("-w"),
                                    Path("hello.prg"), image});
    QVERIFY(process.waitForFinished());
    QCOMPARE(process.exitCode(), 0);
    const QByteArray bytes = ReadFile(image);
    QCOMPARE(bytes.size(), size);

    QCOMPARE(OnlyProgram(mHub.Send(SearchRequest("real"))),
             SearchListing(ListingEntry("REAL", suffix.toLatin1().toUpper())));
    const QList<WireObject> disks = Disks(mHub.Send(DownloadRequest("1", "real")));
    QCOMPARE(disks.size(), 1);
    QCOMPARE(disks.first().diskType, type);
    QVERIFY(disks.first().data == bytes);

    WireObject copy = disks.first();
    copy.name = PetsciiName("copy");
    QCOMPARE(mHub.Send(UploadRequest({copy})).Body(), EmptyPackage());
    QVERIFY(ReadFile(Path("disks/copy.") + suffix) == bytes);
}

int main(int argc, char **argv)
{
    return RunWithHub<tst_CommandDownload>(argc, argv);
}

#include "tst_CommandDownload.moc"
