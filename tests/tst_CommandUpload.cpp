// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#include "CommandsFixture.h"

/// What UPLOAD stores and reports, as the device sees it.
class tst_CommandUpload : public CommandsFixture
{
    Q_OBJECT

public:
    using CommandsFixture::CommandsFixture;

private slots:
    void uploadWritesDisksThenTheProgram();
    void uploadWritesEachSizeOfDisk_data();
    void uploadWritesEachSizeOfDisk();
    void uploadReportsTheLastFailure_data();
    void uploadReportsTheLastFailure();
    void uploadTreatsEachObjectByItsOwnFlag();
    void uploadTakesTwentyDisks();
    void uploadOfNothingDoesNothing_data();
    void uploadOfNothingDoesNothing();
    void uploadTakesTheLastOfTwoPrograms();
    void uploadOverWhatIsNoRegularFileFails_data();
    void uploadOverWhatIsNoRegularFileFails();
    void uploadLogsTheNameInAscii_data();
    void uploadLogsTheNameInAscii();
};

void tst_CommandUpload::uploadWritesDisksThenTheProgram()
{
    const QByteArray games = Image(D64_SIZE, 1);
    const QByteArray tools = Image(819200, 2);
    // The program comes first in the package and last in the log.
    const HubReply reply = mHub.Send(
        UploadRequest({Program("HELLO", "\x01\x08"), Disk("GAMES", games), Disk("TOOLS", tools)}));
    QCOMPARE(reply.Body(), EmptyPackage());
    QVERIFY(ReadFile(Path("disks/games.d64")) == games);
    QVERIFY(ReadFile(Path("disks/tools.d81")) == tools);
    QCOMPARE(ReadFile(Path("programs/hello.prg")), QByteArray("\x01\x08"));
    QCOMPARE(Snapshot(mDirectory->path()).size(), 2 + 3);
    QCOMPARE(mHub.Log(),
             (QStringList{
                 QStringLiteral("UPLOAD request from Skylet UUID: 42"),
                 QStringLiteral("> Received disk \"games\""),
                 QStringLiteral("> Written as \"%1/disks/games.d64\".").arg(mDirectory->path()),
                 QStringLiteral("> Received disk \"tools\""),
                 QStringLiteral("> Written as \"%1/disks/tools.d81\".").arg(mDirectory->path()),
                 QStringLiteral("> Received program \"hello\""),
                 QStringLiteral("> Written as \"%1/programs/hello.prg\".").arg(mDirectory->path()),
             }));
}

void tst_CommandUpload::uploadWritesEachSizeOfDisk_data()
{
    QTest::addColumn<int>("size");
    QTest::addColumn<QString>("file");

    QTest::newRow("d64") << 174848 << "a.d64";
    QTest::newRow("d64-with-error-bytes") << 175531 << "a.d64";
    QTest::newRow("d71") << 349696 << "a.d71";
    QTest::newRow("d81") << 819200 << "a.d81";
    QTest::newRow("d80") << 533248 << "a.d80";
    QTest::newRow("d82") << 1066496 << "a.d82";
    QTest::newRow("d64-of-40-tracks") << 196608 << "a.dxx";
    QTest::newRow("one-byte-short") << 174847 << "a.dxx";
    QTest::newRow("one-byte-over") << 174849 << "a.dxx";
    QTest::newRow("nothing") << 0 << "a.dxx";
}

void tst_CommandUpload::uploadWritesEachSizeOfDisk()
{
    QFETCH(int, size);
    QFETCH(QString, file);

    // Whatever type the device gives, the size decides.
    for (int type = 0; type <= 5; ++type) {
        WireObject disk = Disk("A", Image(size, type), true);
        disk.diskType = type;
        QCOMPARE(mHub.Send(UploadRequest({disk})).Body(), EmptyPackage());
        QVERIFY(ReadFile(Path("disks/") + file) == Image(size, type));
        QCOMPARE(Snapshot(Path("disks")).size(), 1);
        QCOMPARE(UploadLog(), Received("disk", QStringLiteral("a"))
                                  << Written(Path("disks/") + file));
        mHub.ClearLog();
    }
}

void tst_CommandUpload::uploadReportsTheLastFailure_data()
{
    QTest::addColumn<QByteArray>("objects"); // a letter each, see uploadReportsTheLastFailure()
    QTest::addColumn<int>("result");

    QTest::newRow("refused-disk") << QByteArray("d") << DISK_EXISTS;
    QTest::newRow("failed-disk") << QByteArray("f") << WRITE_ERROR;
    QTest::newRow("refused-program") << QByteArray("p") << PROGRAM_EXISTS;
    QTest::newRow("failed-program") << QByteArray("q") << WRITE_ERROR;
    QTest::newRow("all-written") << QByteArray("wx") << 0;
    QTest::newRow("success-does-not-reset") << QByteArray("dw") << DISK_EXISTS;
    QTest::newRow("success-of-the-program-does-not-reset") << QByteArray("dx") << DISK_EXISTS;
    QTest::newRow("success-does-not-reset-a-write-error") << QByteArray("fwx") << WRITE_ERROR;
    QTest::newRow("refused-after-written") << QByteArray("wd") << DISK_EXISTS;
    QTest::newRow("failed-after-refused") << QByteArray("df") << WRITE_ERROR;
    QTest::newRow("refused-after-failed") << QByteArray("fd") << DISK_EXISTS;
    QTest::newRow("refused-program-after-refused-disk") << QByteArray("dp") << PROGRAM_EXISTS;
    QTest::newRow("refused-program-after-failed-disk") << QByteArray("fp") << PROGRAM_EXISTS;
    QTest::newRow("failed-program-after-refused-disk") << QByteArray("dq") << WRITE_ERROR;
    QTest::newRow("program-first-in-the-package-is-still-last")
        << QByteArray("pd") << PROGRAM_EXISTS;
}

void tst_CommandUpload::uploadReportsTheLastFailure()
{
    QFETCH(QByteArray, objects);
    QFETCH(int, result);

    QVERIFY(WriteFile(Path("disks/taken.d64"), Image(D64_SIZE, 1)));
    QVERIFY(WriteFile(Path("programs/taken.d64"), Image(D64_SIZE, 1)));
    QVERIFY(QDir().mkdir(Path("disks/failing.dxx")));
    QVERIFY(QDir().mkdir(Path("programs/failing.prg")));
    QStringList files = Snapshot(mDirectory->path());
    QList<WireObject> uploaded;
    QStringList diskLog;
    QStringList programLog;
    for (const char c : objects) {
        switch (c) {
        case 'd':
            uploaded.append(Disk("TAKEN", Image(D64_SIZE, 2)));
            diskLog += Received("disk", QStringLiteral("taken")) + DiskRefused();
            break;
        case 'f':
            uploaded.append(Disk("FAILING", "abc"));
            diskLog += Received("disk", QStringLiteral("failing")) + DiskFailed();
            break;
        case 'w':
            uploaded.append(Disk("FREE", "ab"));
            diskLog += Received("disk", QStringLiteral("free")) << Written(Path("disks/free.dxx"));
            files << QStringLiteral("disks/free.dxx 2 da23614e02469a0d7c7bd1bdab5c9c474b1904dc");
            break;
        case 'p':
            uploaded.append(Program("TAKEN", "abc"));
            programLog += Received("program", QStringLiteral("taken")) + ProgramRefused();
            break;
        case 'q':
            uploaded.append(Program("FAILING", "abc"));
            programLog += Received("program", QStringLiteral("failing")) + ProgramFailed();
            break;
        default:
            uploaded.append(Program("FREE", "ab"));
            programLog += Received("program", QStringLiteral("free"))
                          << Written(Path("programs/free.prg"));
            files << QStringLiteral("programs/free.prg 2 da23614e02469a0d7c7bd1bdab5c9c474b1904dc");
        }
    }
    files.sort();
    QCOMPARE(mHub.Send(UploadRequest(uploaded)).Body(), EmptyPackage(result));
    QCOMPARE(mHub.Log(), QStringList{Requested("UPLOAD")} + diskLog + programLog);
    QCOMPARE(Snapshot(mDirectory->path()), files);
}

void tst_CommandUpload::uploadTreatsEachObjectByItsOwnFlag()
{
    for (const char *file : {"disks/a.d64", "disks/b.d64", "disks/c.d64", "programs/p.d64"})
        QVERIFY(WriteFile(Path(file), Image(D64_SIZE, 1)));
    const HubReply reply =
        mHub.Send(UploadRequest({Disk("A", Image(D64_SIZE, 2)), Disk("B", Image(D64_SIZE, 2), true),
                                 Disk("C", Image(D64_SIZE, 2)), Program("P", "new", true)}));
    QCOMPARE(reply.Package().result, DISK_EXISTS);
    QVERIFY(ReadFile(Path("disks/a.d64")) == Image(D64_SIZE, 1));
    QVERIFY(ReadFile(Path("disks/b.d64")) == Image(D64_SIZE, 2));
    QVERIFY(ReadFile(Path("disks/c.d64")) == Image(D64_SIZE, 1));
    QCOMPARE(ReadFile(Path("programs/p.prg")), QByteArray("new"));
    QCOMPARE(UploadLog(), Received("disk", QStringLiteral("a")) + DiskRefused() +
                              Received("disk", QStringLiteral("b")) +
                              QStringList{Written(Path("disks/b.d64"))} +
                              Received("disk", QStringLiteral("c")) + DiskRefused() +
                              Received("program", QStringLiteral("p")) +
                              QStringList{Written(Path("programs/p.prg"))});
}

void tst_CommandUpload::uploadTakesTwentyDisks()
{
    QList<WireObject> disks;
    QStringList log;
    for (int i = 0; i < 20; ++i) {
        const QString name = QStringLiteral("disk %1").arg(i);
        disks.append(Disk("DISK " + QByteArray::number(i), Image(D64_SIZE, i)));
        log += Received("disk", name) << Written(Path("disks/") + name + QStringLiteral(".d64"));
    }
    QCOMPARE(mHub.Send(UploadRequest(disks)).Body(), EmptyPackage());
    QCOMPARE(UploadLog(), log);
    for (int i = 0; i < 20; ++i)
        QVERIFY(ReadFile(Path(QStringLiteral("disks/disk %1.d64").arg(i))) == Image(D64_SIZE, i));
}

void tst_CommandUpload::uploadOfNothingDoesNothing_data()
{
    QTest::addColumn<QByteArray>("request");

    WirePackage package;
    const QList<HubField> fields{{"cmd", "3"}, {"udid", "42"}, {"pat", "hello"}};
    QTest::newRow("no-package") << FormRequest(fields);
    QTest::newRow("no-package-in-the-parts") << MultipartRequest(fields, QByteArray());
    QTest::newRow("empty-package") << MultipartRequest(fields, package.Bytes());
    package.result = -5;
    QTest::newRow("empty-package-with-a-result") << MultipartRequest(fields, package.Bytes());
    package.result = 0;
    package.objects = {Program("HELLO", QByteArray())};
    QTest::newRow("program-without-data") << MultipartRequest(fields, package.Bytes());
    package.objects = {Program("HELLO", "new"), Disk("GAMES", Image(D64_SIZE))};
    const QByteArray whole = package.Bytes();
    QTest::newRow("wrong-magic") << MultipartRequest(fields, QByteArray(whole).replace(0, 1, "X"));
    QTest::newRow("another-version")
        << MultipartRequest(fields, QByteArray(whole).replace(4, 1, "X"));
    QTest::newRow("cut-inside-the-header") << MultipartRequest(fields, whole.left(400));
}

void tst_CommandUpload::uploadOfNothingDoesNothing()
{
    QFETCH(QByteArray, request);

    const QStringList before = Snapshot(mDirectory->path());
    QCOMPARE(mHub.Send(request).Body(), EmptyPackage());
    QCOMPARE(mHub.Log(), QStringList{Requested("UPLOAD")});
    QCOMPARE(Snapshot(mDirectory->path()), before);
}

void tst_CommandUpload::uploadTakesTheLastOfTwoPrograms()
{
    QCOMPARE(mHub.Send(UploadRequest({Program("A", "1"), Program("B", "2")})).Body(),
             EmptyPackage());
    QCOMPARE(UploadLog(), Received("program", QStringLiteral("b"))
                              << Written(Path("programs/b.prg")));
    QCOMPARE(Snapshot(Path("programs")).size(), 1);
}

void tst_CommandUpload::uploadOverWhatIsNoRegularFileFails_data()
{
    QTest::addColumn<QString>("kind");
    QTest::addColumn<bool>("replace");

    for (const char *kind : {"directory", "fifo", "link-to-fifo"}) {
        QTest::addRow("%s", kind) << QString::fromLatin1(kind) << false;
        QTest::addRow("%s-with-the-flag", kind) << QString::fromLatin1(kind) << true;
    }
}

void tst_CommandUpload::uploadOverWhatIsNoRegularFileFails()
{
    SKIP_ON_WINDOWS("Windows has no fifos, and links for administrators only");
    QFETCH(QString, kind);
    QFETCH(bool, replace);

    QVERIFY(MakeFifo(Path("pipe")));
    for (const QString &path : {Path("disks/a.d64"), Path("programs/a.prg")}) {
        if (kind == QLatin1String("directory"))
            QVERIFY(QDir().mkdir(path));
        else if (kind == QLatin1String("fifo"))
            QVERIFY(MakeFifo(path));
        else
            QVERIFY(MakeLink(Path("pipe"), path));
    }
    const QStringList before = Snapshot(mDirectory->path());
    const HubReply reply = mHub.Send(
        UploadRequest({Disk("A", Image(D64_SIZE), replace), Program("A", "new", replace)}));
    QCOMPARE(reply.Body(), EmptyPackage(WRITE_ERROR));
    QCOMPARE(UploadLog(), Received("disk", QStringLiteral("a")) + DiskFailed() +
                              Received("program", QStringLiteral("a")) + ProgramFailed());
    QCOMPARE(Snapshot(mDirectory->path()), before);
}

void tst_CommandUpload::uploadLogsTheNameInAscii_data()
{
    QTest::addColumn<QByteArray>("name");
    QTest::addColumn<QString>("text");

    QTest::newRow("capitals") << QByteArray("GAMES 1") << "games 1";
    QTest::newRow("shifted-capitals") << QByteArray::fromHex("C7414D4553") << "Games";
    QTest::newRow("ends-at-the-first-padding") << QByteArray("GA\xA0MES") << "ga";
    QTest::newRow("sixteen-characters") << QByteArray("ABCDEFGHIJKLMNOP") << "abcdefghijklmnop";
    QTest::newRow("quotes") << QByteArray("\"A\"") << "\"a\"";
    QTest::newRow("placeholders") << QByteArray("%1%2%\xCC"
                                                "1%9")
                                  << "%1%2%L1%9";
    QTest::newRow("markup") << QByteArray("<B>&AMP;") << "<b>&amp;";
    QTest::newRow("empty-name") << QByteArray() << "";
    QTest::newRow("two-dots") << QByteArray("..") << "..";
    QTest::newRow("latin-1") << QByteArray("\xE9\xFF") << QString::fromUtf8("\xC3\xA9\xC3\xBF");
}

void tst_CommandUpload::uploadLogsTheNameInAscii()
{
    QFETCH(QByteArray, name);
    QFETCH(QString, text);

    if (!IsFileName(text))
        QSKIP(NO_FILE_NAME);
    mHub.Send(UploadRequest({Disk(name, "x"), Program(name, "x")}));
    QCOMPARE(UploadLog(), Received("disk", text)
                              << Written(Path("disks/") + text + QStringLiteral(".dxx"))
                              << QStringLiteral("> Received program \"") + text + QLatin1Char('"')
                              << Written(Path("programs/") + text + QStringLiteral(".prg")));
}

int main(int argc, char **argv)
{
    return RunWithHub<tst_CommandUpload>(argc, argv);
}

#include "tst_CommandUpload.moc"
