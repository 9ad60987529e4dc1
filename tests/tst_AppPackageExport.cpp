// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#include "PackageBytes.h"

#include <QRandomGenerator>
#include <QTest>

#include <limits>

Q_DECLARE_METATYPE(AppPackage::DISKTYPE)

/// The bytes that a package becomes.
class tst_AppPackageExport : public QObject
{
    Q_OBJECT

private slots:
    void exportsAnEmptyPackage();
    void exportsTheResultByte_data();
    void exportsTheResultByte();
    void exportsAProgram();
    void exportsADisk();
    void exportsProgramBeforeDisks();
    void exportsNoProgramWithoutData();
    void exportsAProgramWithoutName();
    void exportsReplaceAsZero();
    void exportsTheLowByteOfTheType();
    void exportsPaddedImages_data();
    void exportsPaddedImages();
    void exportsAtMost20Objects_data();
    void exportsAtMost20Objects();
    void exportAppends();
    void exportLeavesThePackage();
    void exportSizeIsWhatExportAppends_data();
    void exportSizeIsWhatExportAppends();
    void exportsWhatAnotherReaderReads();
};

void tst_AppPackageExport::exportsAnEmptyPackage()
{
    QByteArray out;
    QCOMPARE(AppPackage().Export(&out), 0);
    QCOMPARE(out, QByteArray::fromHex("1F24CA73 0000 00 00 00000000 00000000") + Zeros(480));
    QCOMPARE(int(out.size()), 496);
}

void tst_AppPackageExport::exportsTheResultByte_data()
{
    QTest::addColumn<int>("result");
    QTest::addColumn<int>("byte");

    QTest::newRow("ok") << 0 << 0x00;
    QTest::newRow("write-error") << -1 << 0xFF;
    QTest::newRow("bad-version") << -84 << 0xAC;
    QTest::newRow("read-only") << -85 << 0xAB;
    QTest::newRow("disk-exists") << -87 << 0xA9;
    QTest::newRow("program-exists") << -88 << 0xA8;
    QTest::newRow("auth-failure") << -89 << 0xA7;
    QTest::newRow("127") << 127 << 0x7F;
    QTest::newRow("128-is-cut-to-8-bits") << 128 << 0x80;
    QTest::newRow("300-is-cut-to-8-bits") << 300 << 0x2C;
    QTest::newRow("256-is-cut-to-8-bits") << 256 << 0x00;
    QTest::newRow("smallest-is-cut-to-8-bits") << std::numeric_limits<int>::min() << 0x00;
}

void tst_AppPackageExport::exportsTheResultByte()
{
    QFETCH(int, result);
    QFETCH(int, byte);

    AppPackage package;
    package.result = result;
    QCOMPARE(Exported(package),
             QByteArray::fromHex("1F24CA73 0000") + char(byte) + Zeros(HEADER_SIZE - 7));
}

void tst_AppPackageExport::exportsAProgram()
{
    AppPackage package;
    package.SetProgram(Name("HELLO"), QByteArray::fromHex("0104"));

    const QByteArray out = Exported(package);
    QCOMPARE(int(out.size()), 498);
    QCOMPARE(out, QByteArray::fromHex("1F24CA73 0000 00 01 02000000 00000000"
                                      "00 00 0000 02000000 48454C4C4F A0A0A0A0A0A0A0A0A0A0A0") +
                      Zeros(19 * 24) + QByteArray::fromHex("0104"));
}

void tst_AppPackageExport::exportsADisk()
{
    AppPackage package;
    package.AddDisk(AppPackage::DISK_D81, Name("GAMES"), "image");

    const QByteArray out = Exported(package);
    QCOMPARE(int(out.size()), 496 + 8192);
    QCOMPARE(out, QByteArray::fromHex("1F24CA73 0000 00 01 00200000 00000000"
                                      "01 00 0000 00200000 47414D4553 A0A0A0A0A0A0A0A0A0A0A0") +
                      Zeros(19 * 24) +
                      QByteArray::fromHex("A6135C71 00100000 05000000 02"
                                          "00000000000000000000000000000000000000"
                                          "47414D4553 A0A0A0A0A0A0A0A0A0A0A0") +
                      Zeros(4048) + QByteArray("image").leftJustified(4096, '\0'));
}

void tst_AppPackageExport::exportsProgramBeforeDisks()
{
    AppPackage package;
    package.result = -1;
    package.AddDisk(AppPackage::DISK_D64, Name("FIRST"), "1");
    package.AddDisk(AppPackage::DISK_D82, Name("SECOND"), Image(5000));
    package.SetProgram(Name("ZERO"), "\x01\x08xyz");

    QCOMPARE(Exported(package),
             HeaderBytes(3,
                         {EntryBytes(0, 0, 5, "ZERO"), EntryBytes(1, 0, 8192, "FIRST"),
                          EntryBytes(1, 0, 12288, "SECOND")},
                         5 + 8192 + 12288, 0xFF) +
                 "\x01\x08xyz" + DiskHeaderBytes(0, 4096, 1, "FIRST") + '1' + Zeros(4095) +
                 DiskHeaderBytes(4, 4096, 5000, "SECOND") + Image(5000) + Zeros(3192));
}

void tst_AppPackageExport::exportsNoProgramWithoutData()
{
    AppPackage package;
    package.SetProgram(Name("NAMED"), QByteArray());
    QCOMPARE(Exported(package), HeaderBytes({}));
    package.SetProgram(Name("NAMED"), QByteArray(""));
    QCOMPARE(Exported(package), HeaderBytes({}));
}

void tst_AppPackageExport::exportsAProgramWithoutName()
{
    AppPackage package;
    package.SetProgram(AppDosName(), "x");
    QCOMPARE(Exported(package), HeaderBytes(1, {EntryBytes(0, 0, 1, "")}, 1) + 'x');
}

void tst_AppPackageExport::exportsReplaceAsZero()
{
    AppPackage package;
    Fill(&package);
    const QByteArray out = Exported(package);
    QCOMPARE(out.mid(16, 4), QByteArray::fromHex("00000000"));
    QCOMPARE(out.mid(40, 4), QByteArray::fromHex("01000000"));
}

void tst_AppPackageExport::exportsTheLowByteOfTheType()
{
    AppPackage package;
    package.AddDisk(static_cast<AppPackage::DISKTYPE>(0x0304A7), Name("A"), "");
    QCOMPARE(Exported(package).mid(HEADER_SIZE + 12, 2), QByteArray::fromHex("A700"));
}

void tst_AppPackageExport::exportsPaddedImages_data()
{
    QTest::addColumn<AppPackage::DISKTYPE>("type");
    QTest::addColumn<int>("size");
    QTest::addColumn<int>("blockSize");

    QTest::newRow("d64") << AppPackage::DISK_D64 << 174848 << 180224;
    QTest::newRow("d64-with-errors") << AppPackage::DISK_D64 << 175531 << 180224;
    QTest::newRow("d71") << AppPackage::DISK_D71 << 349696 << 356352;
    QTest::newRow("d81") << AppPackage::DISK_D81 << 819200 << 823296;
    QTest::newRow("d80") << AppPackage::DISK_D80 << 533248 << 540672;
    QTest::newRow("d82") << AppPackage::DISK_D82 << 1066496 << 1073152;
    QTest::newRow("nothing") << AppPackage::DISK_D64 << 0 << 4096;
    QTest::newRow("4096-bytes") << AppPackage::DISK_D64 << 4096 << 8192;
    QTest::newRow("4097-bytes") << AppPackage::DISK_D64 << 4097 << 12288;
}

void tst_AppPackageExport::exportsPaddedImages()
{
    QFETCH(AppPackage::DISKTYPE, type);
    QFETCH(int, size);
    QFETCH(int, blockSize);

    AppPackage package;
    package.AddDisk(type, Name("IMAGE"), Image(size));
    const QByteArray out = Exported(package);
    QCOMPARE(int(out.size()), 496 + blockSize);
    QVERIFY(out ==
            HeaderBytes(1, {EntryBytes(1, 0, quint32(blockSize), "IMAGE")}, quint32(blockSize)) +
                DiskHeaderBytes(type, 4096, quint32(size), "IMAGE") + Image(size) +
                Zeros(blockSize - 4096 - size));
}

void tst_AppPackageExport::exportsAtMost20Objects_data()
{
    QTest::addColumn<bool>("program");
    QTest::addColumn<int>("disks");
    QTest::addColumn<int>("exportedDisks");

    QTest::newRow("19-disks") << false << 19 << 19;
    QTest::newRow("20-disks") << false << 20 << 20;
    QTest::newRow("21-disks") << false << 21 << 20;
    QTest::newRow("100-disks") << false << 100 << 20;
    QTest::newRow("program-and-18-disks") << true << 18 << 18;
    QTest::newRow("program-and-19-disks") << true << 19 << 19;
    QTest::newRow("program-and-20-disks") << true << 20 << 19;
    QTest::newRow("program-and-21-disks") << true << 21 << 19;
}

void tst_AppPackageExport::exportsAtMost20Objects()
{
    QFETCH(bool, program);
    QFETCH(int, disks);
    QFETCH(int, exportedDisks);

    AppPackage package;
    package.SetProgram(Name("NO DATA"), QByteArray());
    QVector<QByteArray> entries;
    QByteArray blocks;
    if (program) {
        package.SetProgram(Name("PROGRAM"), "prog");
        entries.append(EntryBytes(0, 0, 4, "PROGRAM"));
        blocks += "prog";
    }
    for (int i = 0; i < disks; ++i) {
        const QByteArray name = "DISK " + QByteArray::number(i);
        package.AddDisk(AppPackage::DISK_D71, Name(name), Image(10, i));
        if (i < exportedDisks) {
            entries.append(EntryBytes(1, 0, 8192, name));
            blocks += DiskHeaderBytes(1, 4096, 10, name) + Image(10, i) + Zeros(4086);
        }
    }
    QVERIFY(Exported(package) ==
            HeaderBytes(int(entries.size()), entries, quint32(blocks.size())) + blocks);
    QCOMPARE(package.NumDisks(), disks);
}

void tst_AppPackageExport::exportAppends()
{
    AppPackage package;
    Fill(&package);
    const QByteArray once = Exported(package);
    QByteArray out("in front");
    QCOMPARE(package.Export(&out), 0);
    QCOMPARE(out, "in front" + once);
    QCOMPARE(package.Export(&out), 0);
    QCOMPARE(out, "in front" + once + once);
}

void tst_AppPackageExport::exportLeavesThePackage()
{
    AppPackage package;
    Fill(&package);
    const QByteArray before = Described(package);
    Exported(package);
    QCOMPARE(Described(package), before);
}

// The size in advance is this library's own: a reply says how long it will be.
void tst_AppPackageExport::exportSizeIsWhatExportAppends_data()
{
    QTest::addColumn<int>("programSize");
    QTest::addColumn<QVector<int>>("imageSizes");
    QTest::addColumn<int>("size");

    QTest::newRow("nothing") << 0 << QVector<int>() << 496;
    QTest::newRow("program-of-1-byte") << 1 << QVector<int>() << 497;
    QTest::newRow("program-of-5000-bytes") << 5000 << QVector<int>() << 5496;
    QTest::newRow("empty-image") << 0 << QVector<int>{0} << 496 + 4096;
    QTest::newRow("images-around-4096")
        << 0 << QVector<int>{4095, 4096, 4097} << 496 + 8192 + 8192 + 12288;
    QTest::newRow("one-d64") << 0 << QVector<int>{174848} << 180720;
    QTest::newRow("program-and-image") << 3 << QVector<int>{174848} << 180723;
    QTest::newRow("20-images") << 0 << QVector<int>(20, 1) << 496 + 20 * 8192;
    QTest::newRow("21-images") << 0 << QVector<int>(21, 1) << 496 + 20 * 8192;
    QTest::newRow("program-and-19-images") << 2 << QVector<int>(19, 1) << 498 + 19 * 8192;
    QTest::newRow("program-and-20-images") << 2 << QVector<int>(20, 1) << 498 + 19 * 8192;
    QTest::newRow("program-and-40-images") << 2 << QVector<int>(40, 0) << 498 + 19 * 4096;
}

void tst_AppPackageExport::exportSizeIsWhatExportAppends()
{
    QFETCH(int, programSize);
    QFETCH(QVector<int>, imageSizes);
    QFETCH(int, size);

    AppPackage package;
    package.SetProgram(Name("PROGRAM"), Image(programSize));
    for (const int imageSize : imageSizes)
        package.AddDisk(AppPackage::DISK_D64, Name("DISK"), Image(imageSize));

    QCOMPARE(int(package.ExportSize()), size);
    QByteArray out("in front");
    package.Export(&out);
    QCOMPARE(int(out.size()), 8 + size);
}

void tst_AppPackageExport::exportsWhatAnotherReaderReads()
{
    QRandomGenerator random(64);
    for (int round = 0; round < 200; ++round) {
        AppPackage package;
        READ_PACKAGE expected;
        package.result = random.bounded(-128, 128);
        expected.result = package.result;
        const int programSize = random.bounded(3) == 0 ? 0 : random.bounded(1, 10000);
        const QByteArray programName = Image(random.bounded(17), random.bounded(1000));
        package.SetProgram(Name(programName), Image(programSize, round));
        if (programSize > 0) {
            expected.hasProgram = true;
            expected.programName = NameField(programName);
            expected.programData = Image(programSize, round);
        }
        const int disks = random.bounded(24);
        for (int i = 0; i < disks; ++i) {
            const auto type = static_cast<AppPackage::DISKTYPE>(random.bounded(5));
            const QByteArray name = Image(random.bounded(17), random.bounded(1000));
            const QByteArray data = Image(random.bounded(9000), i);
            package.AddDisk(type, Name(name), data);
            if (i < (programSize > 0 ? 19 : 20))
                expected.disks.append({int(type), NameField(name), data, false});
        }

        const QByteArray out = Exported(package);
        const READ_PACKAGE read = ReadPackage(out);
        QCOMPARE(read.status, 0);
        QCOMPARE(read.hasProgram, expected.hasProgram);
        QVERIFY(Described(read) == Described(expected));
        QCOMPARE(int(ReadLe(out, 8, 4)), int(out.size()) - HEADER_SIZE);
        QCOMPARE(int(package.ExportSize()), int(out.size()));
        // The blocks fill the package, and each is there in full.
        quint64 sum = 0;
        for (int i = 0; i < int(ReadLe(out, 7, 1)); ++i)
            sum += ReadLe(out, quint64(16 + 24 * i + 4), 4);
        QCOMPARE(sum, quint64(out.size() - HEADER_SIZE));
    }
}

QTEST_GUILESS_MAIN(tst_AppPackageExport)
#include "tst_AppPackageExport.moc"
