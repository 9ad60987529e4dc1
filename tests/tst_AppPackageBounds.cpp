// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#include "PackageBytes.h"

#include <QRandomGenerator>
#include <QTest>

namespace
{

quint32 Pick(QRandomGenerator *random, const QVector<quint32> &values)
{
    return values.at(random->bounded(int(values.size())));
}

/// The bytes of something like a package, with numbers that lead to its edges and past them.
QByteArray RandomPackage(QRandomGenerator *random)
{
    const QVector<quint32> counts{0, 1, 1, 2, 2, 3, 3, 4, 5, 19, 20, 21, 60, 255};
    const QVector<quint32> types{0, 0, 0, 1, 1, 1, 1, 2, 255};
    const QVector<quint32> sizes{0,    1,    3,    24,         100,        4096,      4097,
                                 8192, 9000, 9999, 0x7FFFFFFF, 0x80000000, 0xFFFFFFFF};
    const QVector<quint32> few{0, 0, 1, 2, 100, 500};
    const QVector<quint32> headerSizes{0, 32, 4095, 4096, 4096, 4096, 5000, 0x80000000, 0xFFFFFFFF};

    const int count = int(Pick(random, counts));
    QVector<QByteArray> entries;
    QVector<quint64> diskHeaders;
    quint64 at = HEADER_SIZE;
    for (int i = 0; i < count; ++i) {
        const int type = int(Pick(random, types));
        const quint32 size = Pick(random, count > 5 || random->bounded(3) > 0 ? few : sizes);
        entries.append(EntryBytes(type, random->bounded(256), size,
                                  Image(random->bounded(17), random->generate())));
        if (type == 1)
            diskHeaders.append(at);
        if (type < 2)
            at += size;
    }
    QByteArray in = HeaderBytes(count, entries, random->generate(), random->bounded(256));
    in += Image(random->bounded(20000), random->generate());
    // Past the twentieth entry, this may write over entries; both readers see the same.
    for (const quint64 offset : diskHeaders) {
        if (offset + DISK_HEADER_SIZE > quint64(in.size()))
            continue;
        const QByteArray header = DiskHeaderBytes(random->bounded(256), Pick(random, headerSizes),
                                                  Pick(random, sizes), "");
        in.replace(int(offset), 13, header.left(13));
    }
    if (random->bounded(50) == 0)
        in[random->bounded(8)] = char(random->bounded(256));
    return in;
}

} // namespace

/// What a package takes from bytes whose sizes and offsets lead past their end, or anywhere.
class tst_AppPackageBounds : public QObject
{
    Q_OBJECT

private slots:
    void dataPastTheEndIsCut_data();
    void dataPastTheEndIsCut();
    void programBehindTheEndIsEmpty_data();
    void programBehindTheEndIsEmpty();
    void diskHeaderBehindTheEndIsRefused_data();
    void diskHeaderBehindTheEndIsRefused();
    void imageOfDiskHeader_data();
    void imageOfDiskHeader();
    void entriesPastTheTwentiethLieInTheData();
    void countGoesUpTo255();
    void cutAnywhereImportsWhatAnotherReaderReads();
    void randomInputImportsWhatAnotherReaderReads();
};

void tst_AppPackageBounds::dataPastTheEndIsCut_data()
{
    QTest::addColumn<quint32>("size");
    QTest::addColumn<QByteArray>("data");

    QTest::newRow("0-of-4") << 0u << QByteArray();
    QTest::newRow("3-of-4") << 3u << QByteArray("abc");
    QTest::newRow("4-of-4") << 4u << QByteArray("abcd");
    QTest::newRow("5-of-4") << 5u << QByteArray("abcd");
    QTest::newRow("7fffffff-of-4") << 0x7FFFFFFFu << QByteArray("abcd");
    QTest::newRow("80000000-of-4") << 0x80000000u << QByteArray("abcd");
    QTest::newRow("80000002-of-4") << 0x80000002u << QByteArray("abcd");
    QTest::newRow("ffffffff-of-4") << 0xFFFFFFFFu << QByteArray("abcd");
}

void tst_AppPackageBounds::dataPastTheEndIsCut()
{
    QFETCH(quint32, size);
    QFETCH(QByteArray, data);

    AppPackage program;
    QCOMPARE(program.Import(HeaderBytes({EntryBytes(0, 0, size, "P")}) + "abcd"), 0);
    QCOMPARE(NameBytes(program.Program().name), NameField("P"));
    QCOMPARE(program.Program().data, data);

    AppPackage disk;
    QCOMPARE(disk.Import(HeaderBytes({EntryBytes(1, 0, 8192, "D")}) +
                         DiskHeaderBytes(0, 4096, size, "D") + "abcd"),
             0);
    QCOMPARE(disk.NumDisks(), 1);
    QCOMPARE(disk.Disk(0)->data, data);
}

void tst_AppPackageBounds::programBehindTheEndIsEmpty_data()
{
    QTest::addColumn<QVector<quint32>>("sizes");

    QTest::newRow("at-the-end") << QVector<quint32>{8};
    QTest::newRow("one-behind-the-end") << QVector<quint32>{9};
    QTest::newRow("7fffffff-behind") << QVector<quint32>{0x7FFFFFFF};
    QTest::newRow("80000000-behind") << QVector<quint32>{0x80000000};
    QTest::newRow("ffffffff-behind") << QVector<quint32>{0xFFFFFFFF};
    // Each sum is a place inside the package, if only its low 32 bits are kept.
    QTest::newRow("sum-of-two-is-not-0") << QVector<quint32>{0x80000000, 0x80000000};
    QTest::newRow("sum-of-two-is-not-4") << QVector<quint32>{0xFFFFFFFF, 5};
    QTest::newRow("single-size-is-not-negative") << QVector<quint32>{4, 0xFFFFFFFC};
    QTest::newRow("sum-of-sixteen-is-not-0") << QVector<quint32>(16, 0x10000000);
}

void tst_AppPackageBounds::programBehindTheEndIsEmpty()
{
    QFETCH(QVector<quint32>, sizes);

    QVector<QByteArray> entries;
    for (const quint32 size : sizes)
        entries.append(EntryBytes(0, 0, size, "FIRST"));
    entries.append(EntryBytes(0, 1, 4, "LAST"));

    AppPackage package;
    QCOMPARE(package.Import(HeaderBytes(entries) + "abcdefgh"), 0);
    QCOMPARE(NameBytes(package.Program().name), NameField("LAST"));
    QCOMPARE(package.Program().data, QByteArray());
    QCOMPARE(package.Program().replace, true);
}

void tst_AppPackageBounds::diskHeaderBehindTheEndIsRefused_data()
{
    QTest::addColumn<QVector<quint32>>("sizes");
    QTest::addColumn<int>("status");

    QTest::newRow("at-the-front-is-there") << QVector<quint32>{0} << 0;
    QTest::newRow("in-the-last-4096-bytes-is-there") << QVector<quint32>{4096} << 0;
    QTest::newRow("one-byte-short") << QVector<quint32>{4097} << -1;
    QTest::newRow("at-the-end") << QVector<quint32>{8192} << -1;
    QTest::newRow("7fffffff-behind") << QVector<quint32>{0x7FFFFFFF} << -1;
    QTest::newRow("80000000-behind") << QVector<quint32>{0x80000000} << -1;
    QTest::newRow("fffff000-behind") << QVector<quint32>{0xFFFFF000} << -1;
    QTest::newRow("ffffffff-behind") << QVector<quint32>{0xFFFFFFFF} << -1;
    QTest::newRow("sum-of-two-is-not-0") << QVector<quint32>{0x80000000, 0x80000000} << -1;
    QTest::newRow("single-size-is-not-negative") << QVector<quint32>{16, 0xFFFFFFF0} << -1;
}

void tst_AppPackageBounds::diskHeaderBehindTheEndIsRefused()
{
    QFETCH(QVector<quint32>, sizes);
    QFETCH(int, status);

    QVector<QByteArray> entries;
    for (const quint32 size : sizes)
        entries.append(EntryBytes(0, 0, size, "FIRST"));
    entries.append(EntryBytes(1, 0, 4096, "D"));

    AppPackage package;
    Fill(&package);
    const QByteArray before = Described(package);
    QCOMPARE(package.Import(HeaderBytes(entries) + DiskHeaderBytes(0, 4096, 0, "A") +
                            DiskHeaderBytes(0, 4096, 0, "B")),
             status);
    QCOMPARE(package.NumDisks(), status == 0 ? 2 : 1);
    QCOMPARE(Described(package) == before, status != 0);
}

void tst_AppPackageBounds::imageOfDiskHeader_data()
{
    QTest::addColumn<quint32>("headerSize");
    QTest::addColumn<quint32>("dataSize");
    QTest::addColumn<QByteArray>("data");

    QTest::newRow("behind-the-header") << 4096u << 4u << QByteArray("imag");
    QTest::newRow("later") << 4098u << 2u << QByteArray("ag");
    QTest::newRow("later-and-cut") << 4098u << 100u << QByteArray("age");
    QTest::newRow("last-byte") << 4100u << 100u << QByteArray("e");
    QTest::newRow("at-the-end") << 4101u << 100u << QByteArray();
    QTest::newRow("behind-the-end") << 4102u << 100u << QByteArray();
    QTest::newRow("7fffffff-behind") << 0x7FFFFFFFu << 100u << QByteArray();
    QTest::newRow("80000000-behind") << 0x80000000u << 100u << QByteArray();
    QTest::newRow("ffffffff-behind") << 0xFFFFFFFFu << 100u << QByteArray();
    QTest::newRow("both-80000000") << 0x80000000u << 0x80000000u << QByteArray();
    QTest::newRow("both-ffffffff") << 0xFFFFFFFFu << 0xFFFFFFFFu << QByteArray();
    QTest::newRow("sum-is-not-the-front") << 0xFFFFFFF0u << 0x20u << QByteArray();
    QTest::newRow("sum-is-not-negative") << 4096u << 0xFFFFFFFFu << QByteArray("image");
    QTest::newRow("from-the-header-itself")
        << 0u << 9u << QByteArray::fromHex("A6135C71 00000000 09");
    QTest::newRow("from-the-name-of-the-header") << 32u << 4u << QByteArray("NAME");
    QTest::newRow("from-the-last-of-the-header") << 4095u << 3u << QByteArray("\0im", 3);
    QTest::newRow("from-the-header-and-cut") << 4094u << 0xFFFFFFFFu << QByteArray("\0\0image", 7);
}

void tst_AppPackageBounds::imageOfDiskHeader()
{
    QFETCH(quint32, headerSize);
    QFETCH(quint32, dataSize);
    QFETCH(QByteArray, data);

    // Once as the first object, once behind a program.
    const QByteArray block = DiskHeaderBytes(2, headerSize, dataSize, "NAME") + "image";
    AppPackage first;
    QCOMPARE(first.Import(HeaderBytes({EntryBytes(1, 0, 8192, "D")}) + block), 0);
    AppPackage second;
    QCOMPARE(second.Import(HeaderBytes({EntryBytes(0, 0, 3, "P"), EntryBytes(1, 0, 8192, "D")}) +
                           "abc" + block),
             0);
    for (const AppPackage *package : {&first, &second}) {
        QCOMPARE(package->NumDisks(), 1);
        QCOMPARE(package->Disk(0)->data, data);
        QCOMPARE(int(package->Disk(0)->type), 2);
    }
}

void tst_AppPackageBounds::entriesPastTheTwentiethLieInTheData()
{
    // The 21st entry is at offset 496, where the data of the first object begin as well.
    QVector<QByteArray> entries(20, EntryBytes(3, 0, 0, "UNKNOWN"));
    const QByteArray last = EntryBytes(0, 1, 28, "LAST");
    entries.append(last);
    AppPackage package;
    QCOMPARE(package.Import(HeaderBytes(entries) + "more"), 0);
    QCOMPARE(NameBytes(package.Program().name), NameField("LAST"));
    QCOMPARE(package.Program().data, last + "more");
    QCOMPARE(package.Program().replace, true);
}

void tst_AppPackageBounds::countGoesUpTo255()
{
    QVector<QByteArray> entries;
    for (int i = 0; i < 254; ++i)
        entries.append(EntryBytes(0, 0, 24, "P" + QByteArray::number(i)));
    entries.append(EntryBytes(0, 0, 100, "LAST"));
    QCOMPARE(int(entries.size()), 255);
    const QByteArray header = HeaderBytes(entries);
    QCOMPARE(int(header.size()), 16 + 255 * 24);

    // The data of the last begin 254 * 24 bytes behind offset 496, and 456 bytes are missing.
    AppPackage package;
    QCOMPARE(package.Import(header), 0);
    QCOMPARE(NameBytes(package.Program().name), NameField("LAST"));
    QCOMPARE(package.Program().data, QByteArray());
    AppPackage longer;
    QCOMPARE(longer.Import(header + QByteArray(456, 'x') + "last"), 0);
    QCOMPARE(longer.Program().data, QByteArray("last"));

    // Disks, all of them one and the same header.
    const QByteArray disks = HeaderBytes(QVector<QByteArray>(255, EntryBytes(1, 0, 0, "D")));
    AppPackage many;
    QCOMPARE(many.Import(disks), 0);
    QCOMPARE(many.NumDisks(), 255);
}

void tst_AppPackageBounds::cutAnywhereImportsWhatAnotherReaderReads()
{
    AppPackage original;
    original.result = -89;
    original.AddDisk(AppPackage::DISK_D64, Name("DISK"), Image(70));
    original.SetProgram(Name("PROGRAM"), Image(50));
    original.AddDisk(AppPackage::DISK_D82, Name("SECOND"), Image(10));
    const QByteArray whole = Exported(original);

    for (int length = 0; length <= whole.size(); ++length) {
        const QByteArray in = whole.left(length);
        const READ_PACKAGE read = ReadPackage(in);
        AppPackage package;
        if (package.Import(in) != read.status ||
            Described(package) != Described(Added(NothingYet(), read)))
            QFAIL(qPrintable(QStringLiteral("cut at %1").arg(length)));
    }
}

void tst_AppPackageBounds::randomInputImportsWhatAnotherReaderReads()
{
    QRandomGenerator random(1581);
    int accepted = 0;
    int refused = 0;
    int disks = 0;
    for (int round = 0; round < 3000; ++round) {
        const QByteArray in = RandomPackage(&random);
        const READ_PACKAGE read = ReadPackage(in);
        ++(read.status == 0 ? accepted : refused);
        disks += int(read.disks.size());
        AppPackage package;
        if (round % 2 == 0)
            Fill(&package);
        const READ_PACKAGE expected = Added(Contents(package), read);
        if (package.Import(in) != read.status || Described(package) != Described(expected))
            QFAIL(qPrintable(QStringLiteral("round %1").arg(round)));
    }
    QVERIFY(accepted > 500);
    QVERIFY(refused > 500);
    QVERIFY(disks > 500);
}

QTEST_GUILESS_MAIN(tst_AppPackageBounds)
#include "tst_AppPackageBounds.moc"
