// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#include "PackageBytes.h"

#include <QTest>

#include <type_traits>
#include <utility>

Q_DECLARE_METATYPE(AppPackage::DISKTYPE)

/// The package as an object, and that what it exports comes back.
class tst_AppPackage : public QObject
{
    Q_OBJECT

private slots:
    void numbersAreThoseOfTheWire();
    void newPackageIsEmpty();
    void newRecordsDoNotReplace();
    void deletesItsDisks();
    void isNotCopied();
    void setProgramReplacesNameAndData();
    void setProgramLeavesReplace();
    void addDiskAppends();
    void packAppendsAProgram_data();
    void packAppendsAProgram();
    void packAppendsADisk_data();
    void packAppendsADisk();
    void exportedPackageComesBack_data();
    void exportedPackageComesBack();
    void exportOfAnImportIsTheSame();
};

void tst_AppPackage::numbersAreThoseOfTheWire()
{
    QCOMPARE(int(AppPackage::RESULT_OK), 0);
    QCOMPARE(int(AppPackage::RESULT_WRITE_ERROR), -1);
    QCOMPARE(int(AppPackage::RESULT_BAD_VERSION), -84);
    QCOMPARE(int(AppPackage::RESULT_READ_ONLY), -85);
    QCOMPARE(int(AppPackage::RESULT_DISK_EXISTS), -87);
    QCOMPARE(int(AppPackage::RESULT_PROGRAM_EXISTS), -88);
    QCOMPARE(int(AppPackage::RESULT_AUTH_FAILURE), -89);

    QCOMPARE(int(AppPackage::DISK_D64), 0);
    QCOMPARE(int(AppPackage::DISK_D71), 1);
    QCOMPARE(int(AppPackage::DISK_D81), 2);
    QCOMPARE(int(AppPackage::DISK_D80), 3);
    QCOMPARE(int(AppPackage::DISK_D82), 4);

    QCOMPARE(sizeof(AppPackage::DISKTYPE), size_t(4));
    QCOMPARE(sizeof(AppPackage::result), size_t(4));
    QCOMPARE(sizeof(AppPackage::OBJECTINFO::entry), size_t(24));
    QVERIFY(std::is_signed<decltype(AppPackage::result)>::value);
    QVERIFY(!std::is_polymorphic<AppPackage>::value);
}

void tst_AppPackage::newPackageIsEmpty()
{
    const AppPackage package;
    QCOMPARE(int(package.result), 0);
    QCOMPARE(package.NumDisks(), 0);
    QVERIFY(package.disks.isEmpty());
    QCOMPARE(NameBytes(package.Program().name), QByteArray(16, char(0xA0)));
    QVERIFY(package.Program().data.isEmpty());
    QCOMPARE(&package.Program(), &package.program);
}

void tst_AppPackage::newRecordsDoNotReplace()
{
    AppPackage package;
    QCOMPARE(package.program.replace, false);
    package.AddDisk(AppPackage::DISK_D64, Name("A"), "a");
    QCOMPARE(package.Disk(0)->replace, false);
}

void tst_AppPackage::deletesItsDisks()
{
    // The bytes are shared with the disks of the package for as long as these exist.
    QByteArray added(100, 'a');
    added.detach();
    {
        AppPackage package;
        package.AddDisk(AppPackage::DISK_D64, Name("A"), QByteArray(100, 'b'));
        package.AddDisk(AppPackage::DISK_D64, Name("B"), added);
        package.AddDisk(AppPackage::DISK_D64, Name("C"), QByteArray(100, 'c'));
        QVERIFY(!added.isDetached());
    }
    QVERIFY(added.isDetached());
}

void tst_AppPackage::isNotCopied()
{
    // This library's own choice: a copy would delete the same disks.
    QVERIFY(!std::is_copy_constructible<AppPackage>::value);
    QVERIFY(!std::is_copy_assignable<AppPackage>::value);
}

void tst_AppPackage::setProgramReplacesNameAndData()
{
    AppPackage package;
    QCOMPARE(package.SetProgram(Name("FIRST"), "first data"), 0);
    QCOMPARE(package.SetProgram(Name("2ND"), "second"), 0);
    QCOMPARE(NameBytes(package.Program().name), NameField("2ND"));
    QCOMPARE(package.Program().data, QByteArray("second"));
    QCOMPARE(package.NumDisks(), 0);

    QCOMPARE(package.SetProgram(Name(""), QByteArray()), 0);
    QCOMPARE(NameBytes(package.Program().name), NameField(""));
    QVERIFY(package.Program().data.isEmpty());
}

void tst_AppPackage::setProgramLeavesReplace()
{
    AppPackage package;
    package.program.replace = true;
    package.SetProgram(Name("A"), "a");
    QCOMPARE(package.Program().replace, true);
    package.program.replace = false;
    package.SetProgram(Name("A"), "a");
    QCOMPARE(package.Program().replace, false);
}

void tst_AppPackage::addDiskAppends()
{
    AppPackage package;
    for (int i = 0; i < 30; ++i) {
        const auto type = static_cast<AppPackage::DISKTYPE>(i % 5);
        QCOMPARE(package.AddDisk(type, Name("D" + QByteArray::number(i)), Image(i, i)), i);
        QCOMPARE(package.NumDisks(), i + 1);
    }
    for (int i = 0; i < 30; ++i) {
        const AppPackage::DISK *const disk = package.Disk(i);
        QCOMPARE(disk, static_cast<const AppPackage::DISK *>(package.disks.at(i)));
        QCOMPARE(int(disk->type), i % 5);
        QCOMPARE(NameBytes(disk->name), NameField("D" + QByteArray::number(i)));
        QCOMPARE(disk->data, Image(i, i));
        QCOMPARE(disk->replace, false);
    }
    QVERIFY(package.Program().data.isEmpty());
}

void tst_AppPackage::packAppendsAProgram_data()
{
    QTest::addColumn<QByteArray>("data");
    QTest::addColumn<QByteArray>("entry");

    const QByteArray name = NameField("HELLO");
    QTest::newRow("no-bytes") << QByteArray() << QByteArray::fromHex("0000 0000 00000000") + name;
    QTest::newRow("2-bytes") << QByteArray::fromHex("0108")
                             << QByteArray::fromHex("0000 0000 02000000") + name;
    QTest::newRow("program-is-not-padded")
        << Image(4097) << QByteArray::fromHex("0000 0000 01100000") + name;
    QTest::newRow("size-is-little-endian")
        << Image(0x010203) << QByteArray::fromHex("0000 0000 03020100") + name;
}

void tst_AppPackage::packAppendsAProgram()
{
    QFETCH(QByteArray, data);
    QFETCH(QByteArray, entry);

    AppPackage::PROGRAM program;
    program.name = Name("HELLO");
    program.data = data;
    program.replace = true;
    AppPackage::OBJECTINFO there = {};
    there.block = "there";
    QVector<AppPackage::OBJECTINFO> objects{there};
    AppPackage().Pack(program, &objects);

    QCOMPARE(int(objects.size()), 2);
    QCOMPARE(objects.at(0).block, QByteArray("there"));
    QCOMPARE(QByteArray(objects.at(1).entry, 24), entry);
    QCOMPARE(objects.at(1).block, data);
}

void tst_AppPackage::packAppendsADisk_data()
{
    QTest::addColumn<AppPackage::DISKTYPE>("type");
    QTest::addColumn<int>("size");
    QTest::addColumn<QByteArray>("sizeInEntry");
    QTest::addColumn<QByteArray>("sizeInHeader");
    QTest::addColumn<int>("blockSize");

    const auto row = [](const char *claim, AppPackage::DISKTYPE type, int size, const char *inEntry,
                        const char *inHeader, int blockSize) {
        QTest::newRow(claim) << type << size << QByteArray::fromHex(inEntry)
                             << QByteArray::fromHex(inHeader) << blockSize;
    };
    row("empty-image-is-the-header-alone", AppPackage::DISK_D64, 0, "00100000", "00000000", 4096);
    row("1-byte-is-padded", AppPackage::DISK_D71, 1, "00200000", "01000000", 8192);
    row("4095-bytes-are-padded", AppPackage::DISK_D81, 4095, "00200000", "FF0F0000", 8192);
    row("4096-bytes-are-not", AppPackage::DISK_D80, 4096, "00200000", "00100000", 8192);
    row("4097-bytes-are-padded", AppPackage::DISK_D82, 4097, "00300000", "01100000", 12288);
    row("d64", AppPackage::DISK_D64, 174848, "00C00200", "00AB0200", 180224);
}

void tst_AppPackage::packAppendsADisk()
{
    QFETCH(AppPackage::DISKTYPE, type);
    QFETCH(int, size);
    QFETCH(QByteArray, sizeInEntry);
    QFETCH(QByteArray, sizeInHeader);
    QFETCH(int, blockSize);

    AppPackage::DISK disk;
    disk.type = type;
    disk.name = Name("GAMES");
    disk.data = Image(size);
    disk.replace = true;
    AppPackage::OBJECTINFO there = {};
    there.block = "there";
    QVector<AppPackage::OBJECTINFO> objects{there};
    AppPackage().Pack(disk, &objects);

    QCOMPARE(int(objects.size()), 2);
    QCOMPARE(objects.at(0).block, QByteArray("there"));
    QCOMPARE(QByteArray(objects.at(1).entry, 24),
             QByteArray::fromHex("0100 0000") + sizeInEntry + NameField("GAMES"));
    const QByteArray &block = objects.at(1).block;
    QCOMPARE(int(block.size()), blockSize);
    QCOMPARE(block.left(48), QByteArray::fromHex("A6135C71 00100000") + sizeInHeader +
                                 Le(quint64(type), 1) + Zeros(19) + NameField("GAMES"));
    QCOMPARE(block.mid(48, 4048), Zeros(4048));
    QCOMPARE(block.mid(4096, size), Image(size));
    QCOMPARE(block.mid(4096 + size), Zeros(blockSize - 4096 - size));
}

void tst_AppPackage::exportedPackageComesBack_data()
{
    QTest::addColumn<int>("result");
    QTest::addColumn<int>("programSize");
    QTest::addColumn<QVector<int>>("imageSizes");

    QTest::newRow("nothing") << 0 << 0 << QVector<int>();
    QTest::newRow("refusal") << -89 << 0 << QVector<int>();
    QTest::newRow("program") << 0 << 4321 << QVector<int>();
    QTest::newRow("d64") << 0 << 0 << QVector<int>{174848};
    QTest::newRow("everything") << -1 << 1 << QVector<int>{174848, 349696, 819200, 533248, 1066496};
    QTest::newRow("edges") << 127 << 4096 << QVector<int>{0, 1, 4095, 4096, 4097};
    QTest::newRow("20-disks") << -128 << 0 << QVector<int>(20, 100);
    QTest::newRow("program-and-19-disks") << 1 << 100 << QVector<int>(19, 100);
}

void tst_AppPackage::exportedPackageComesBack()
{
    QFETCH(int, result);
    QFETCH(int, programSize);
    QFETCH(QVector<int>, imageSizes);

    AppPackage original;
    original.result = result;
    if (programSize > 0)
        original.SetProgram(Name("A PROGRAM"), Image(programSize));
    for (int i = 0; i < imageSizes.size(); ++i)
        original.AddDisk(static_cast<AppPackage::DISKTYPE>(i % 5),
                         Name("16 CHARACTERS " + QByteArray::number(i)),
                         Image(imageSizes.at(i), i));
    READ_PACKAGE expected = Contents(original);

    // The wish to replace is not sent.
    original.program.replace = true;
    for (AppPackage::DISK *disk : std::as_const(original.disks))
        disk->replace = true;

    AppPackage copy;
    QCOMPARE(copy.Import(Exported(original)), 0);
    QVERIFY(Described(copy) == Described(expected));
}

void tst_AppPackage::exportOfAnImportIsTheSame()
{
    AppPackage original;
    Fill(&original);
    const QByteArray out = Exported(original);
    AppPackage copy;
    QCOMPARE(copy.Import(out), 0);
    QCOMPARE(Exported(copy), out);
}

QTEST_GUILESS_MAIN(tst_AppPackage)
#include "tst_AppPackage.moc"
