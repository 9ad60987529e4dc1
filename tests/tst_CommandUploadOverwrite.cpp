// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#include "CommandsFixture.h"

/// Which uploads replace what is there, and which are refused for it.
class tst_CommandUploadOverwrite : public CommandsFixture
{
    Q_OBJECT

public:
    using CommandsFixture::CommandsFixture;

private slots:
    void uploadRefusesADiskThatExists();
    void uploadReplacesADiskIfAsked();
    void uploadRefusesADiskForAnyFileOfADisksSize_data();
    void uploadRefusesADiskForAnyFileOfADisksSize();
    void uploadTakesTheDisksNameForAPattern_data();
    void uploadTakesTheDisksNameForAPattern();
    void uploadIsNotStoppedByWhatIsNoDisk_data();
    void uploadIsNotStoppedByWhatIsNoDisk();
    void uploadReplacesAFileOfUnknownSizeUnasked();
    void uploadReplacesADiskWhoseNameIsReadBackDifferently_data();
    void uploadReplacesADiskWhoseNameIsReadBackDifferently();
    void uploadOfAnotherTypeLeavesTheOldDisk();
    void uploadOverwritesAProgramUnasked();
    void uploadRefusesAProgramForADisk_data();
    void uploadRefusesAProgramForADisk();
    void uploadOfAProgramDoesNotLookAtTheDisks();
    void uploadedDiskBlocksTheNextOfItsName();
};

void tst_CommandUploadOverwrite::uploadRefusesADiskThatExists()
{
    QCOMPARE(mHub.Send(UploadRequest({Disk("GAMES", Image(D64_SIZE, 1))})).Body(), EmptyPackage());
    QCOMPARE(UploadLog(), Received("disk", QStringLiteral("games"))
                              << Written(Path("disks/games.d64")));
    mHub.ClearLog();

    const QByteArray body = mHub.Send(UploadRequest({Disk("GAMES", Image(D64_SIZE, 2))})).Body();
    QCOMPARE(body, EmptyPackage(DISK_EXISTS));
    QCOMPARE(body.mid(6, 1), QByteArray::fromHex("A9"));
    QVERIFY(ReadFile(Path("disks/games.d64")) == Image(D64_SIZE, 1));
    QCOMPARE(mHub.Log(), (QStringList{QStringLiteral("UPLOAD request from Skylet UUID: 42"),
                                      QStringLiteral("> Received disk \"games\""),
                                      QStringLiteral("    ** Disk with that name already exists!"),
                                      QStringLiteral("    ** Specify \"@disk:\" to replace...")}));
}

void tst_CommandUploadOverwrite::uploadReplacesADiskIfAsked()
{
    QVERIFY(WriteFile(Path("disks/games.d64"), Image(175531, 1)));
    QCOMPARE(mHub.Send(UploadRequest({Disk("GAMES", Image(D64_SIZE, 2), true)})).Body(),
             EmptyPackage());
    QVERIFY(ReadFile(Path("disks/games.d64")) == Image(D64_SIZE, 2));
    QCOMPARE(UploadLog(), Received("disk", QStringLiteral("games"))
                              << Written(Path("disks/games.d64")));
    QCOMPARE(Snapshot(Path("disks")).size(), 1);
}

void tst_CommandUploadOverwrite::uploadRefusesADiskForAnyFileOfADisksSize_data()
{
    QTest::addColumn<QString>("file");
    QTest::addColumn<int>("size");

    QTest::newRow("same-file") << "games.d64" << 174848;
    QTest::newRow("in-a-subdirectory") << "sub/deeper/games.d64" << 174848;
    QTest::newRow("another-type") << "games.d81" << 819200;
    QTest::newRow("text-of-a-disk's-size") << "games.txt" << 174848;
    QTest::newRow("no-suffix") << "games" << 1066496;
    QTest::newRow("more-behind-the-dot") << "games.and.more" << 174848;
}

void tst_CommandUploadOverwrite::uploadRefusesADiskForAnyFileOfADisksSize()
{
    QFETCH(QString, file);
    QFETCH(int, size);

    QVERIFY(WriteSparseFile(Path("disks/") + file, size));
    const QStringList before = Snapshot(mDirectory->path());
    // What cannot be found later is refused all the same.
    for (const int uploaded : {D64_SIZE, 1000}) {
        mHub.ClearLog();
        QCOMPARE(mHub.Send(UploadRequest({Disk("GAMES", Image(uploaded))})).Body(),
                 EmptyPackage(DISK_EXISTS));
        QCOMPARE(UploadLog(), Received("disk", QStringLiteral("games")) + DiskRefused());
        QCOMPARE(Snapshot(mDirectory->path()), before);
    }
}

void tst_CommandUploadOverwrite::uploadTakesTheDisksNameForAPattern_data()
{
    QTest::addColumn<QByteArray>("name");
    QTest::addColumn<QString>("file"); // that is written; empty if the disk is refused

    QTest::newRow("star-is-any-disk") << QByteArray("*") << QString();
    QTest::newRow("star-behind-a-beginning") << QByteArray("GA*") << QString();
    QTest::newRow("question-mark-inside") << QByteArray("GA?ES") << QString();
    QTest::newRow("star-behind-another-beginning") << QByteArray("X*") << QStringLiteral("x*.d64");
    QTest::newRow("too-many-question-marks")
        << QByteArray("??????") << QStringLiteral("??????.d64");
}

void tst_CommandUploadOverwrite::uploadTakesTheDisksNameForAPattern()
{
    QFETCH(QByteArray, name);
    QFETCH(QString, file);

    if (!IsFileName(HostText(name)))
        QSKIP(NO_FILE_NAME);
    QVERIFY(WriteFile(Path("disks/games.d64"), Image(D64_SIZE, 1)));
    QVERIFY(WriteFile(Path("programs/games.d64"), Image(D64_SIZE, 1)));
    const HubReply reply = mHub.Send(UploadRequest({Disk(name, Image(D64_SIZE, 2))}));
    const QStringList received = Received("disk", HostText(name));
    QCOMPARE(reply.Body(), EmptyPackage(file.isEmpty() ? DISK_EXISTS : 0));
    QCOMPARE(UploadLog(), file.isEmpty() ? received + DiskRefused()
                                         : received + QStringList{Written(Path("disks/") + file)});
    QVERIFY(ReadFile(Path("disks/games.d64")) == Image(D64_SIZE, 1));

    // So for programs.
    QCOMPARE(mHub.Send(UploadRequest({Program(name, "1")})).Package().result,
             file.isEmpty() ? PROGRAM_EXISTS : 0);
    QCOMPARE(Snapshot(Path("programs")).size(), file.isEmpty() ? 1 : 2);

    // With the flag it is a name like any other.
    QCOMPARE(mHub.Send(UploadRequest({Disk(name, Image(D64_SIZE, 3), true)})).Body(),
             EmptyPackage());
    QVERIFY(ReadFile(Path("disks/") + HostText(name) + QStringLiteral(".d64")) ==
            Image(D64_SIZE, 3));
    QVERIFY(ReadFile(Path("disks/games.d64")) == Image(D64_SIZE, 1));
}

void tst_CommandUploadOverwrite::uploadIsNotStoppedByWhatIsNoDisk_data()
{
    QTest::addColumn<QString>("file");
    QTest::addColumn<int>("size");

    QTest::newRow("small-file") << "games.d64" << 10;
    QTest::newRow("d64-of-40-tracks") << "games.d64" << 196608;
    QTest::newRow("hidden") << ".games.d64" << 174848;
    QTest::newRow("another-letter-case") << "GAMES.d64" << 174848;
    QTest::newRow("longer-name") << "games2.d64" << 174848;
    QTest::newRow("in-a-hidden-subdirectory") << ".sub/games.d64" << 174848;
    QTest::newRow("in-the-program-directory") << "../programs/games.d64" << 174848;
    QTest::newRow("above") << "../games.d64" << 174848;
}

void tst_CommandUploadOverwrite::uploadIsNotStoppedByWhatIsNoDisk()
{
    QFETCH(QString, file);
    QFETCH(int, size);

    QVERIFY(WriteSparseFile(Path("disks/") + file, size));
    QCOMPARE(mHub.Send(UploadRequest({Disk("GAMES", Image(D64_SIZE))})).Body(), EmptyPackage());
    QVERIFY(ReadFile(Path("disks/games.d64")) == Image(D64_SIZE));
}

void tst_CommandUploadOverwrite::uploadReplacesAFileOfUnknownSizeUnasked()
{
    for (const int seed : {1, 2, 3}) {
        mHub.ClearLog();
        const QByteArray data = Image(1000 - seed, seed);
        QCOMPARE(mHub.Send(UploadRequest({Disk("GAMES", data)})).Body(), EmptyPackage());
        QCOMPARE(ReadFile(Path("disks/games.dxx")), data);
        QCOMPARE(UploadLog(), Received("disk", QStringLiteral("games"))
                                  << Written(Path("disks/games.dxx")));
    }
}

void tst_CommandUploadOverwrite::uploadReplacesADiskWhoseNameIsReadBackDifferently_data()
{
    QTest::addColumn<QByteArray>("name");
    QTest::addColumn<QString>("file");

    QTest::newRow("letters-in-ascii") << QByteArray("games") << "games.d64";
    QTest::newRow("dot-inside") << QByteArray("A.B") << "a.b.d64";
    QTest::newRow("dot-in-front-hides-the-file") << QByteArray(".A") << ".a.d64";
    QTest::newRow("empty-name") << QByteArray() << ".d64";
}

void tst_CommandUploadOverwrite::uploadReplacesADiskWhoseNameIsReadBackDifferently()
{
    QFETCH(QByteArray, name);
    QFETCH(QString, file);

    for (const int seed : {1, 2}) {
        QCOMPARE(mHub.Send(UploadRequest({Disk(name, Image(D64_SIZE, seed))})).Body(),
                 EmptyPackage());
        QVERIFY(ReadFile(Path("disks/") + file) == Image(D64_SIZE, seed));
        QCOMPARE(Snapshot(Path("disks")).size(), 1);
    }
}

void tst_CommandUploadOverwrite::uploadOfAnotherTypeLeavesTheOldDisk()
{
    QVERIFY(WriteFile(Path("disks/games.d81"), Image(819200, 1)));
    QVERIFY(WriteFile(Path("disks/sub/games.d64"), Image(D64_SIZE, 1)));
    QCOMPARE(mHub.Send(UploadRequest({Disk("GAMES", Image(D64_SIZE, 2), true)})).Body(),
             EmptyPackage());
    QVERIFY(ReadFile(Path("disks/games.d81")) == Image(819200, 1));
    QVERIFY(ReadFile(Path("disks/sub/games.d64")) == Image(D64_SIZE, 1));
    QVERIFY(ReadFile(Path("disks/games.d64")) == Image(D64_SIZE, 2));
}

void tst_CommandUploadOverwrite::uploadOverwritesAProgramUnasked()
{
    QVERIFY(WriteFile(Path("programs/hello.prg"), "longer than before"));
    for (const bool replace : {false, true}) {
        mHub.ClearLog();
        const QByteArray data = replace ? "replaced" : "new";
        QCOMPARE(mHub.Send(UploadRequest({Program("HELLO", data, replace)})).Body(),
                 EmptyPackage());
        QCOMPARE(ReadFile(Path("programs/hello.prg")), data);
        QCOMPARE(UploadLog(), Received("program", QStringLiteral("hello"))
                                  << Written(Path("programs/hello.prg")));
    }
    QCOMPARE(Snapshot(Path("programs")).size(), 1);
}

void tst_CommandUploadOverwrite::uploadRefusesAProgramForADisk_data()
{
    QTest::addColumn<QString>("file");

    QTest::newRow("disk") << "hello.d64";
    QTest::newRow("program-of-a-disk's-size") << "hello.prg";
    QTest::newRow("in-a-subdirectory") << "sub/hello.d64";
}

void tst_CommandUploadOverwrite::uploadRefusesAProgramForADisk()
{
    QFETCH(QString, file);

    QVERIFY(WriteSparseFile(Path("programs/") + file, D64_SIZE));
    const QStringList before = Snapshot(mDirectory->path());
    const QByteArray body = mHub.Send(UploadRequest({Program("HELLO", "new")})).Body();
    QCOMPARE(body, EmptyPackage(PROGRAM_EXISTS));
    QCOMPARE(body.mid(6, 1), QByteArray::fromHex("A8"));
    QCOMPARE(Snapshot(mDirectory->path()), before);
    QCOMPARE(mHub.Log(),
             (QStringList{QStringLiteral("UPLOAD request from Skylet UUID: 42"),
                          QStringLiteral("> Received program \"hello\""),
                          QStringLiteral("    ** Program with that name already exists!"),
                          QStringLiteral("    ** Specify \"@:\" to replace...")}));

    mHub.ClearLog();
    QCOMPARE(mHub.Send(UploadRequest({Program("HELLO", "new", true)})).Body(), EmptyPackage());
    QCOMPARE(ReadFile(Path("programs/hello.prg")), QByteArray("new"));
    QCOMPARE(UploadLog(), Received("program", QStringLiteral("hello"))
                              << Written(Path("programs/hello.prg")));
}

void tst_CommandUploadOverwrite::uploadOfAProgramDoesNotLookAtTheDisks()
{
    QVERIFY(WriteSparseFile(Path("disks/hello.d64"), D64_SIZE));
    QCOMPARE(mHub.Send(UploadRequest({Program("HELLO", "new")})).Body(), EmptyPackage());
    QCOMPARE(ReadFile(Path("programs/hello.prg")), QByteArray("new"));
}

void tst_CommandUploadOverwrite::uploadedDiskBlocksTheNextOfItsName()
{
    const HubReply reply =
        mHub.Send(UploadRequest({Disk("A", Image(D64_SIZE, 1)), Disk("A", Image(819200, 2))}));
    QCOMPARE(reply.Body(), EmptyPackage(DISK_EXISTS));
    QVERIFY(ReadFile(Path("disks/a.d64")) == Image(D64_SIZE, 1));
    QCOMPARE(Snapshot(Path("disks")).size(), 1);
}

int main(int argc, char **argv)
{
    return RunWithHub<tst_CommandUploadOverwrite>(argc, argv);
}

#include "tst_CommandUploadOverwrite.moc"
