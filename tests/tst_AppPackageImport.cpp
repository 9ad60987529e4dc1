// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#include "PackageBytes.h"

#include <QTest>

/// What a package takes from bytes, and what it refuses.
class tst_AppPackageImport : public QObject
{
    Q_OBJECT

private slots:
    void importRefuses_data();
    void importRefuses();
    void refusalLeavesThePackage_data();
    void refusalLeavesThePackage();
    void importTakesTheSignedResult_data();
    void importTakesTheSignedResult();
    void importStopsAtAnotherVersion_data();
    void importStopsAtAnotherVersion();
    void importOfNoObjectsTakesTheResultOnly();
    void importTakesAProgram();
    void importTakesADisk();
    void importTakesEveryType();
    void importTakesReplaceFromBit0_data();
    void importTakesReplaceFromBit0();
    void importPrefersTheNameOfTheEntry();
    void importAddsDisksBehindThoseThere();
    void importReplacesTheProgram();
    void importWithoutProgramKeepsTheOneThere();
    void lastProgramWins();
    void importDoesNotCheck_data();
    void importDoesNotCheck();
    void importIgnoresWhatFollows();
    void unknownTypeDoesNotMoveTheData_data();
    void unknownTypeDoesNotMoveTheData();
    void entrySizeMovesTheData();
    void packageOutlivesTheBytesItCameFrom();
};

void tst_AppPackageImport::importRefuses_data()
{
    QTest::addColumn<QByteArray>("in");
    QTest::addColumn<int>("status");

    const QByteArray empty = HeaderBytes({});
    const QByteArray oneDisk =
        HeaderBytes({EntryBytes(1, 0, 8192, "D")}) + DiskHeaderBytes(0, 4096, 0, "D");
    const QByteArray secondDisk =
        HeaderBytes(
            {EntryBytes(0, 0, 3, "P"), EntryBytes(1, 0, 4096, "D"), EntryBytes(1, 0, 4096, "E")}) +
        "abc" + DiskHeaderBytes(0, 4096, 0, "D") + DiskHeaderBytes(0, 4096, 0, "E");
    const QVector<QByteArray> programs(21, EntryBytes(0, 0, 0, "P"));

    QTest::newRow("nothing") << QByteArray() << -1;
    QTest::newRow("magic-alone") << empty.left(4) << -1;
    QTest::newRow("16-bytes") << empty.left(16) << -1;
    QTest::newRow("495-bytes") << empty.left(495) << -1;
    QTest::newRow("496-bytes-are-enough") << empty << 0;
    QTest::newRow("495-bytes-of-another-version")
        << QByteArray(empty).replace(4, 2, "\x01\x02").left(495) << -1;
    QTest::newRow("496-bytes-of-another-version")
        << QByteArray(empty).replace(4, 2, "\x01\x02") << 0;
    for (int i = 0; i < 4; ++i) {
        QByteArray other = empty;
        other[i] = char(other.at(i) ^ 1);
        QTest::newRow(qPrintable(QStringLiteral("magic-byte-%1-differs").arg(i))) << other << -1;
    }
    QTest::newRow("magic-in-reverse")
        << QByteArray(empty).replace(0, 4, QByteArray::fromHex("73CA241F")) << -1;
    QTest::newRow("magic-of-a-disk-header")
        << QByteArray(empty).replace(0, 4, QByteArray::fromHex("A6135C71")) << -1;
    QTest::newRow("magic-comes-before-version")
        << QByteArray(empty).replace(0, 6, QByteArray::fromHex("000000000100")) << -1;

    QTest::newRow("no-disk-header") << oneDisk.left(496) << -1;
    QTest::newRow("half-a-disk-header") << oneDisk.left(496 + 48) << -1;
    QTest::newRow("disk-header-of-4095-bytes") << oneDisk.left(496 + 4095) << -1;
    QTest::newRow("disk-header-of-4096-bytes-is-enough") << oneDisk << 0;
    QTest::newRow("second-disk-header-of-4095-bytes") << secondDisk.chopped(1) << -1;
    QTest::newRow("second-disk-header-of-4096-bytes-is-enough") << secondDisk << 0;

    QTest::newRow("21st-entry-missing") << HeaderBytes(21, {}) << -1;
    QTest::newRow("21st-entry-of-23-bytes") << HeaderBytes(programs).left(519) << -1;
    QTest::newRow("21st-entry-of-24-bytes-is-enough") << HeaderBytes(programs).left(520) << 0;
    QTest::newRow("22nd-entry-missing") << HeaderBytes(22, programs).left(520) << -1;
    QTest::newRow("255th-entry-of-23-bytes")
        << HeaderBytes(255, {}) + Zeros(16 + 255 * 24 - 496 - 1) << -1;
    QTest::newRow("255th-entry-of-24-bytes-is-enough")
        << HeaderBytes(255, {}) + Zeros(16 + 255 * 24 - 496) << 0;
    QTest::newRow("entry-of-unknown-type-must-be-there-too")
        << HeaderBytes(21, QVector<QByteArray>(20, EntryBytes(9, 0, 0, "U"))) + Zeros(23) << -1;
}

void tst_AppPackageImport::importRefuses()
{
    QFETCH(QByteArray, in);
    QFETCH(int, status);

    AppPackage package;
    QCOMPARE(package.Import(in), status);
    QCOMPARE(ReadPackage(in).status, status);
}

void tst_AppPackageImport::refusalLeavesThePackage_data()
{
    QTest::addColumn<QByteArray>("in");

    const QByteArray objects =
        HeaderBytes(3,
                    {EntryBytes(0, 1, 3, "NEW PROGRAM"), EntryBytes(1, 1, 4096, "NEW DISK"),
                     EntryBytes(1, 0, 4096, "NEWER DISK")},
                    0, -5) +
        "abc" + DiskHeaderBytes(0, 4096, 0, "D") + DiskHeaderBytes(0, 4096, 0, "E");

    QTest::newRow("bad-magic") << QByteArray(objects).replace(0, 4, "\1\2\3\4");
    QTest::newRow("nothing") << QByteArray();
    QTest::newRow("header-cut") << objects.left(495);
    QTest::newRow("header-of-another-version-cut")
        << QByteArray(objects).replace(4, 2, "\1\2").left(495);
    QTest::newRow("first-disk-header-cut") << objects.left(496 + 3 + 4095);
    QTest::newRow("last-disk-header-cut") << objects.chopped(1);
    QTest::newRow("entry-cut-after-program-and-disk")
        << QByteArray(objects.left(496 + 3 + 4096)).replace(7, 1, QByteArray(1, char(200)));
}

void tst_AppPackageImport::refusalLeavesThePackage()
{
    QFETCH(QByteArray, in);

    AppPackage package;
    Fill(&package);
    const QByteArray before = Described(package);
    const AppPackage::DISK *const disk = package.Disk(0);
    QCOMPARE(package.Import(in), -1);
    QCOMPARE(Described(package), before);
    QCOMPARE(package.Disk(0), disk);

    AppPackage fresh;
    QCOMPARE(fresh.Import(in), -1);
    QCOMPARE(Described(fresh), Described(NothingYet()));
}

void tst_AppPackageImport::importTakesTheSignedResult_data()
{
    QTest::addColumn<int>("byte");
    QTest::addColumn<int>("result");

    QTest::newRow("00") << 0x00 << 0;
    QTest::newRow("01") << 0x01 << 1;
    QTest::newRow("7f") << 0x7F << 127;
    QTest::newRow("80") << 0x80 << -128;
    QTest::newRow("a7") << 0xA7 << -89;
    QTest::newRow("ac") << 0xAC << -84;
    QTest::newRow("ff") << 0xFF << -1;
}

void tst_AppPackageImport::importTakesTheSignedResult()
{
    QFETCH(int, byte);
    QFETCH(int, result);

    AppPackage package;
    package.result = 1000;
    QCOMPARE(package.Import(HeaderBytes(0, {}, 0, byte)), 0);
    QCOMPARE(int(package.result), result);

    QCOMPARE(package.Import(HeaderBytes(1, {EntryBytes(0, 0, 0, "P")}, 0, byte)), 0);
    QCOMPARE(int(package.result), result);
}

void tst_AppPackageImport::importStopsAtAnotherVersion_data()
{
    QTest::addColumn<QByteArray>("version");

    QTest::newRow("1") << QByteArray::fromHex("0100");
    QTest::newRow("256") << QByteArray::fromHex("0001");
    QTest::newRow("32768") << QByteArray::fromHex("0080");
    QTest::newRow("65535") << QByteArray::fromHex("FFFF");
}

void tst_AppPackageImport::importStopsAtAnotherVersion()
{
    QFETCH(QByteArray, version);

    // The disk has no header; it is not looked for.
    QByteArray in =
        HeaderBytes(3, {EntryBytes(0, 1, 3, "NEW"), EntryBytes(1, 0, 4096, "NEW DISK")}, 0, 12);
    in.replace(4, 2, version);
    in += "abc";

    AppPackage package;
    Fill(&package);
    READ_PACKAGE expected = Contents(package);
    expected.result = -84;
    QCOMPARE(package.Import(in), 0);
    QCOMPARE(int(package.result), int(AppPackage::RESULT_BAD_VERSION));
    QCOMPARE(Described(package), Described(expected));
}

void tst_AppPackageImport::importOfNoObjectsTakesTheResultOnly()
{
    AppPackage package;
    Fill(&package);
    READ_PACKAGE expected = Contents(package);
    expected.result = -85;
    // Entries from the count on are not looked at.
    QCOMPARE(package.Import(HeaderBytes(0, {EntryBytes(0, 1, 3, "NEW")}, 3, 0xAB) + "abc"), 0);
    QCOMPARE(Described(package), Described(expected));
}

void tst_AppPackageImport::importTakesAProgram()
{
    AppPackage package;
    QCOMPARE(package.Import(QByteArray::fromHex("1F24CA73 0000 00 01 02000000 00000000"
                                                "00 01 0000 02000000"
                                                "48454C4C4F A0A0A0A0A0A0A0A0A0A0A0") +
                            Zeros(19 * 24) + QByteArray::fromHex("0108")),
             0);
    QCOMPARE(NameBytes(package.Program().name), NameField("HELLO"));
    QCOMPARE(package.Program().data, QByteArray::fromHex("0108"));
    QCOMPARE(package.Program().replace, true);
    QCOMPARE(package.NumDisks(), 0);
    QCOMPARE(int(package.result), 0);
}

void tst_AppPackageImport::importTakesADisk()
{
    AppPackage package;
    QCOMPARE(package.Import(QByteArray::fromHex("1F24CA73 0000 00 01 00200000 00000000"
                                                "01 01 0000 00200000"
                                                "47414D4553 A0A0A0A0A0A0A0A0A0A0A0") +
                            Zeros(19 * 24) +
                            QByteArray::fromHex("A6135C71 00100000 05000000 02"
                                                "00000000000000000000000000000000000000"
                                                "47414D4553 A0A0A0A0A0A0A0A0A0A0A0") +
                            Zeros(4048) + QByteArray("image").leftJustified(4096, '\0')),
             0);
    QCOMPARE(package.NumDisks(), 1);
    QCOMPARE(int(package.Disk(0)->type), int(AppPackage::DISK_D81));
    QCOMPARE(NameBytes(package.Disk(0)->name), NameField("GAMES"));
    QCOMPARE(package.Disk(0)->data, QByteArray("image"));
    QCOMPARE(package.Disk(0)->replace, true);
    QVERIFY(package.Program().data.isEmpty());
    QCOMPARE(package.Program().replace, false);
}

void tst_AppPackageImport::importTakesEveryType()
{
    for (int type = 0; type < 256; ++type) {
        AppPackage package;
        QCOMPARE(package.Import(HeaderBytes({EntryBytes(1, 0, 4096, "D")}) +
                                DiskHeaderBytes(type, 4096, 0, "D")),
                 0);
        QCOMPARE(int(package.Disk(0)->type), type);
    }
}

void tst_AppPackageImport::importTakesReplaceFromBit0_data()
{
    QTest::addColumn<int>("flags");
    QTest::addColumn<bool>("replace");

    QTest::newRow("00-keeps") << 0x00 << false;
    QTest::newRow("01-replaces") << 0x01 << true;
    QTest::newRow("02-keeps") << 0x02 << false;
    QTest::newRow("80-keeps") << 0x80 << false;
    QTest::newRow("81-replaces") << 0x81 << true;
    QTest::newRow("fe-keeps") << 0xFE << false;
    QTest::newRow("ff-replaces") << 0xFF << true;
}

void tst_AppPackageImport::importTakesReplaceFromBit0()
{
    QFETCH(int, flags);
    QFETCH(bool, replace);

    const QByteArray in =
        HeaderBytes({EntryBytes(0, flags, 1, "P"), EntryBytes(1, flags, 4096, "D")}) + 'p' +
        DiskHeaderBytes(0, 4096, 0, "D");
    for (const bool before : {false, true}) {
        AppPackage package;
        package.program.replace = before;
        QCOMPARE(package.Import(in), 0);
        QCOMPARE(package.Program().replace, replace);
        QCOMPARE(package.Disk(0)->replace, replace);
    }
}

void tst_AppPackageImport::importPrefersTheNameOfTheEntry()
{
    AppPackage package;
    QCOMPARE(package.Import(HeaderBytes({EntryBytes(1, 0, 4096, "ENTRY")}) +
                            DiskHeaderBytes(0, 4096, 0, "HEADER")),
             0);
    QCOMPARE(NameBytes(package.Disk(0)->name), NameField("ENTRY"));
}

void tst_AppPackageImport::importAddsDisksBehindThoseThere()
{
    AppPackage package;
    Fill(&package);
    const QByteArray in = HeaderBytes({EntryBytes(1, 0, 4097, "B"), EntryBytes(1, 1, 4098, "C")}) +
                          DiskHeaderBytes(1, 4096, 1, "B") + 'b' +
                          DiskHeaderBytes(4, 4096, 2, "C") + "cc";
    READ_PACKAGE expected = Contents(package);
    for (int i = 0; i < 2; ++i) {
        expected.result = 0;
        expected.disks.append({1, NameField("B"), "b", false});
        expected.disks.append({4, NameField("C"), "cc", true});
        QCOMPARE(package.Import(in), 0);
        QCOMPARE(Described(package), Described(expected));
    }
    QCOMPARE(package.NumDisks(), 5);
}

void tst_AppPackageImport::importReplacesTheProgram()
{
    AppPackage package;
    Fill(&package);
    READ_PACKAGE expected = Contents(package);
    expected.result = 0;
    expected.programName = NameField("NEW");
    expected.programData = "new";
    expected.programReplace = false;
    QCOMPARE(package.Import(HeaderBytes({EntryBytes(0, 0, 3, "NEW")}) + "new"), 0);
    QCOMPARE(Described(package), Described(expected));

    // An entry without data replaces it as well.
    expected.programName = NameField("NO DATA");
    expected.programData.clear();
    QCOMPARE(package.Import(HeaderBytes({EntryBytes(0, 0, 0, "NO DATA")}) + "new"), 0);
    QCOMPARE(Described(package), Described(expected));
}

void tst_AppPackageImport::importWithoutProgramKeepsTheOneThere()
{
    AppPackage package;
    Fill(&package);
    QCOMPARE(package.Import(HeaderBytes({EntryBytes(1, 0, 4096, "D")}) +
                            DiskHeaderBytes(0, 4096, 0, "D")),
             0);
    QCOMPARE(NameBytes(package.Program().name), NameField("OLD PROGRAM"));
    QCOMPARE(package.Program().data, QByteArray("\x01\x08old"));
    QCOMPARE(package.Program().replace, true);
}

void tst_AppPackageImport::lastProgramWins()
{
    AppPackage package;
    QCOMPARE(package.Import(HeaderBytes({EntryBytes(0, 1, 5, "FIRST"), EntryBytes(0, 0, 6, "2ND"),
                                         EntryBytes(0, 0, 4, "3RD")}) +
                            "firstsecondlast"),
             0);
    QCOMPARE(NameBytes(package.Program().name), NameField("3RD"));
    QCOMPARE(package.Program().data, QByteArray("last"));
    QCOMPARE(package.Program().replace, false);
}

void tst_AppPackageImport::importDoesNotCheck_data()
{
    QTest::addColumn<int>("offset");
    QTest::addColumn<QByteArray>("bytes");

    const int diskHeader = HEADER_SIZE + 3;
    QTest::newRow("total-size-0") << 8 << QByteArray::fromHex("00000000");
    QTest::newRow("total-size-largest") << 8 << QByteArray::fromHex("FFFFFFFF");
    QTest::newRow("reserved-bytes-of-header") << 12 << QByteArray::fromHex("FFFFFFFF");
    QTest::newRow("reserved-bytes-of-entry") << 18 << QByteArray::fromHex("FFFF");
    QTest::newRow("reserved-bytes-of-second-entry") << 42 << QByteArray::fromHex("FFFF");
    QTest::newRow("entry-after-the-last") << 64 << QByteArray(24, char(0xFF));
    QTest::newRow("magic-of-disk-header") << diskHeader << QByteArray::fromHex("00000000");
    QTest::newRow("reserved-bytes-behind-type") << diskHeader + 13 << QByteArray(19, char(0xFF));
    QTest::newRow("name-of-disk-header") << diskHeader + 32 << QByteArray(16, char(0xFF));
    QTest::newRow("reserved-bytes-behind-name") << diskHeader + 48 << QByteArray(4048, char(0xFF));
    QTest::newRow("padding-of-image") << diskHeader + 4096 + 4 << QByteArray(4092, char(0xFF));
}

void tst_AppPackageImport::importDoesNotCheck()
{
    QFETCH(int, offset);
    QFETCH(QByteArray, bytes);

    const QByteArray clean =
        HeaderBytes(2, {EntryBytes(0, 0, 3, "P"), EntryBytes(1, 0, 8192, "D")}, 8195) + "abc" +
        DiskHeaderBytes(3, 4096, 4, "D") + "disk" + Zeros(4092);
    QByteArray in = clean;
    in.replace(offset, bytes.size(), bytes);
    QVERIFY(in != clean);

    AppPackage package;
    QCOMPARE(package.Import(in), 0);
    READ_PACKAGE expected;
    expected.programName = NameField("P");
    expected.programData = "abc";
    expected.disks.append({3, NameField("D"), "disk", false});
    QCOMPARE(Described(package), Described(expected));
}

void tst_AppPackageImport::importIgnoresWhatFollows()
{
    AppPackage original;
    Fill(&original);
    const QByteArray out = Exported(original);

    AppPackage plain;
    QCOMPARE(plain.Import(out), 0);
    // An uploaded package arrives with a line end behind it.
    for (const QByteArray &rest : {QByteArray("\r\n"), QByteArray("x"), out}) {
        AppPackage package;
        QCOMPARE(package.Import(out + rest), 0);
        QCOMPARE(Described(package), Described(plain));
    }
}

void tst_AppPackageImport::unknownTypeDoesNotMoveTheData_data()
{
    QTest::addColumn<int>("type");

    QTest::newRow("type-2") << 2;
    QTest::newRow("type-7") << 7;
    QTest::newRow("type-128") << 128;
    QTest::newRow("type-255") << 255;
}

void tst_AppPackageImport::unknownTypeDoesNotMoveTheData()
{
    QFETCH(int, type);

    AppPackage package;
    QCOMPARE(
        package.Import(HeaderBytes({EntryBytes(type, 1, 4, "SKIPPED"), EntryBytes(0, 0, 4, "P")}) +
                       "skipDATA"),
        0);
    QCOMPARE(NameBytes(package.Program().name), NameField("P"));
    QCOMPARE(package.Program().data, QByteArray("skip"));
    QCOMPARE(package.NumDisks(), 0);

    // Between two objects, and before a disk.
    AppPackage second;
    QCOMPARE(second.Import(HeaderBytes({EntryBytes(0, 0, 2, "P"), EntryBytes(type, 0, 9, "SKIPPED"),
                                        EntryBytes(1, 0, 4096, "D"),
                                        EntryBytes(type, 0, 0xFFFFFFFF, "SKIPPED"),
                                        EntryBytes(0, 0, 3, "Q")}) +
                           "pp" + DiskHeaderBytes(2, 4096, 1, "D") + "qqq"),
             0);
    QCOMPARE(second.NumDisks(), 1);
    QCOMPARE(int(second.Disk(0)->type), 2);
    QCOMPARE(second.Disk(0)->data, QByteArray("q"));
    QCOMPARE(NameBytes(second.Program().name), NameField("Q"));
    QCOMPARE(second.Program().data, QByteArray("qqq"));
}

void tst_AppPackageImport::entrySizeMovesTheData()
{
    // Neither the header size nor the data size of a disk says where the next object is.
    AppPackage package;
    QCOMPARE(package.Import(HeaderBytes({EntryBytes(1, 0, 0, "D"), EntryBytes(1, 0, 5000, "E"),
                                         EntryBytes(0, 0, 4, "P")}) +
                            DiskHeaderBytes(1, 4096, 3, "D") + QByteArray(904, 'x') + "prog"),
             0);
    QCOMPARE(package.NumDisks(), 2);
    QCOMPARE(package.Disk(0)->data, QByteArray("xxx"));
    QCOMPARE(package.Disk(1)->data, QByteArray("xxx"));
    QCOMPARE(NameBytes(package.Disk(1)->name), NameField("E"));
    QCOMPARE(package.Program().data, QByteArray("prog"));
}

void tst_AppPackageImport::packageOutlivesTheBytesItCameFrom()
{
    AppPackage package;
    {
        QByteArray in = HeaderBytes({EntryBytes(0, 0, 4, "P"), EntryBytes(1, 0, 4100, "D")}) +
                        "prog" + DiskHeaderBytes(0, 4096, 4, "D") + "disk";
        QCOMPARE(package.Import(in), 0);
        in.fill('x');
    }
    QCOMPARE(package.Program().data, QByteArray("prog"));
    QCOMPARE(package.Disk(0)->data, QByteArray("disk"));
}

QTEST_GUILESS_MAIN(tst_AppPackageImport)
#include "tst_AppPackageImport.moc"
