// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#include "AppPackage.h"

#include <QByteArray>
#include <QRandomGenerator>
#include <QVector>
#include <QtTest>

#include <limits>
#include <type_traits>
#include <utility>

Q_DECLARE_METATYPE(AppPackage::DISKTYPE)

namespace
{

constexpr int HEADER_SIZE = 496;
constexpr int DISK_HEADER_SIZE = 4096;

/// A name whose field begins with `bytes`; the rest is padding.
AppDosName Name(const QByteArray &bytes)
{
    return AppDosName::FromBytes(bytes.leftJustified(16, char(0xA0)).constData());
}

/// The field of that name.
QByteArray NameBytes(const QByteArray &bytes)
{
    return bytes.leftJustified(16, char(0xA0));
}

QByteArray NameBytes(const AppDosName &name)
{
    return QByteArray(name.Bytes(), 16);
}

/// `width` bytes, least significant first.
QByteArray Le(quint64 value, int width)
{
    QByteArray bytes;
    for (int i = 0; i < width; ++i)
        bytes.append(char((value >> (8 * i)) & 0xFF));
    return bytes;
}

QByteArray Zeros(int count)
{
    return QByteArray(count, '\0');
}

/// `count` bytes that differ from those of another seed.
QByteArray Image(int count, int seed = 1)
{
    QByteArray bytes(count, '\0');
    quint32 x = quint32(seed) * 2654435761u + 1;
    for (int i = 0; i < count; ++i) {
        x = x * 1664525u + 1013904223u;
        bytes[i] = char(x >> 24);
    }
    return bytes;
}

// The wire form, built field by field.

QByteArray EntryBytes(int type, int flags, quint32 size, const QByteArray &name)
{
    return Le(quint64(type), 1) + Le(quint64(flags), 1) + Zeros(2) + Le(size, 4) + NameBytes(name);
}

QByteArray DiskHeaderBytes(int type, quint32 headerSize, quint32 dataSize, const QByteArray &name)
{
    return QByteArray::fromHex("A6135C71") + Le(headerSize, 4) + Le(dataSize, 4) +
           Le(quint64(type), 1) + Zeros(19) + NameBytes(name) + Zeros(4048);
}

/// A header; `count` need not be the number of entries.
QByteArray HeaderBytes(int count, const QVector<QByteArray> &entries, quint32 totalSize = 0,
                       int result = 0)
{
    QByteArray header = QByteArray::fromHex("1F24CA73") + Zeros(2) + Le(quint64(result), 1) +
                        Le(quint64(count), 1) + Le(totalSize, 4) + Zeros(4);
    for (const QByteArray &entry : entries)
        header += entry;
    return header.leftJustified(HEADER_SIZE, '\0');
}

QByteArray HeaderBytes(const QVector<QByteArray> &entries)
{
    return HeaderBytes(int(entries.size()), entries);
}

// What a package in wire form says, read by a reader of the tests' own.

struct READ_DISK {
    int type;
    QByteArray name;
    QByteArray data;
    bool replace;
};

struct READ_PACKAGE {
    int status = 0;
    int result = 0;
    bool hasProgram = false;
    QByteArray programName;
    QByteArray programData;
    bool programReplace = false;
    QVector<READ_DISK> disks;
};

quint64 ReadLe(const QByteArray &bytes, quint64 offset, int width)
{
    quint64 value = 0;
    for (int i = 0; i < width; ++i)
        value |= quint64(uchar(bytes.at(int(offset) + i))) << (8 * i);
    return value;
}

/// Those of the `count` bytes at `offset` that are there.
QByteArray ReadWhatIsThere(const QByteArray &bytes, quint64 offset, quint64 count)
{
    QByteArray there;
    for (quint64 i = offset; i < quint64(bytes.size()) && i - offset < count; ++i)
        there.append(bytes.at(int(i)));
    return there;
}

READ_PACKAGE Malformed()
{
    READ_PACKAGE package;
    package.status = -1;
    return package;
}

READ_PACKAGE ReadPackage(const QByteArray &in)
{
    const quint64 length = quint64(in.size());
    if (length < 496 || in.left(4) != QByteArray::fromHex("1F24CA73"))
        return Malformed();

    READ_PACKAGE package;
    if (ReadLe(in, 4, 2) != 0) {
        package.result = -84;
        return package;
    }
    package.result = int(ReadLe(in, 6, 1)) - (ReadLe(in, 6, 1) > 127 ? 256 : 0);
    const int count = int(ReadLe(in, 7, 1));
    quint64 data = 496;
    for (int i = 0; i < count; ++i) {
        const quint64 entry = 16 + 24 * quint64(i);
        if (entry + 24 > length)
            return Malformed();
        const quint64 type = ReadLe(in, entry, 1);
        const bool replace = ReadLe(in, entry + 1, 1) % 2 == 1;
        const quint64 size = ReadLe(in, entry + 4, 4);
        const QByteArray name = in.mid(int(entry) + 8, 16);
        if (type == 0) {
            package.hasProgram = true;
            package.programName = name;
            package.programData = ReadWhatIsThere(in, data, size);
            package.programReplace = replace;
        } else if (type == 1) {
            if (data + 4096 > length)
                return Malformed();
            package.disks.append(
                {int(ReadLe(in, data + 12, 1)), name,
                 ReadWhatIsThere(in, data + ReadLe(in, data + 4, 4), ReadLe(in, data + 8, 4)),
                 replace});
        } else {
            continue;
        }
        data += size;
    }
    return package;
}

/// A text of everything in the package, for comparison.
QByteArray Described(const READ_PACKAGE &package)
{
    QByteArray text = "result " + QByteArray::number(package.result) + "\nprogram " +
                      package.programName.toHex() +
                      (package.programReplace ? " replace " : " keep ") +
                      package.programData.toHex();
    for (const READ_DISK &disk : package.disks)
        text += "\ndisk " + QByteArray::number(disk.type) + ' ' + disk.name.toHex() +
                (disk.replace ? " replace " : " keep ") + disk.data.toHex();
    return text;
}

READ_PACKAGE Contents(const AppPackage &package)
{
    READ_PACKAGE contents;
    contents.result = package.result;
    contents.programName = NameBytes(package.Program().name);
    contents.programData = package.Program().data;
    contents.programReplace = package.Program().replace;
    for (int i = 0; i < package.NumDisks(); ++i) {
        const AppPackage::DISK *const disk = package.Disk(i);
        contents.disks.append({int(disk->type), NameBytes(disk->name), disk->data, disk->replace});
    }
    return contents;
}

QByteArray Described(const AppPackage &package)
{
    return Described(Contents(package));
}

/// What a package that held `before` holds after it has imported `read`.
READ_PACKAGE Added(const READ_PACKAGE &before, const READ_PACKAGE &read)
{
    READ_PACKAGE sum = before;
    if (read.status != 0)
        return sum;
    sum.result = read.result;
    if (read.hasProgram) {
        sum.programName = read.programName;
        sum.programData = read.programData;
        sum.programReplace = read.programReplace;
    }
    sum.disks += read.disks;
    return sum;
}

READ_PACKAGE NothingYet()
{
    READ_PACKAGE package;
    package.programName = NameBytes("");
    return package;
}

QByteArray Exported(const AppPackage &package)
{
    QByteArray out;
    package.Export(&out);
    return out;
}

/// A package that is easily told from others, `replace` included.
void Fill(AppPackage *package)
{
    package->result = 77;
    package->SetProgram(Name("OLD PROGRAM"), "\x01\x08old");
    package->program.replace = true;
    package->AddDisk(AppPackage::DISK_D81, Name("OLD DISK"), "old image");
    package->disks.first()->replace = true;
}

} // namespace

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
    void importKeepsNothingOfItsInput();

    void cutAnywhereImportsWhatAnotherReaderReads();
    void randomInputImportsWhatAnotherReaderReads();
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
    // A copy would delete the same disks.
    QVERIFY(!std::is_copy_constructible<AppPackage>::value);
    QVERIFY(!std::is_copy_assignable<AppPackage>::value);
}

void tst_AppPackage::setProgramReplacesNameAndData()
{
    AppPackage package;
    QCOMPARE(package.SetProgram(Name("FIRST"), "first data"), 0);
    QCOMPARE(package.SetProgram(Name("2ND"), "second"), 0);
    QCOMPARE(NameBytes(package.Program().name), NameBytes("2ND"));
    QCOMPARE(package.Program().data, QByteArray("second"));
    QCOMPARE(package.NumDisks(), 0);

    QCOMPARE(package.SetProgram(Name(""), QByteArray()), 0);
    QCOMPARE(NameBytes(package.Program().name), NameBytes(""));
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
        QCOMPARE(NameBytes(disk->name), NameBytes("D" + QByteArray::number(i)));
        QCOMPARE(disk->data, Image(i, i));
        QCOMPARE(disk->replace, false);
    }
    QVERIFY(package.Program().data.isEmpty());
}

void tst_AppPackage::packAppendsAProgram_data()
{
    QTest::addColumn<QByteArray>("data");
    QTest::addColumn<QByteArray>("entry");

    const QByteArray name = NameBytes("HELLO");
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
             QByteArray::fromHex("0100 0000") + sizeInEntry + NameBytes("GAMES"));
    const QByteArray &block = objects.at(1).block;
    QCOMPARE(int(block.size()), blockSize);
    QCOMPARE(block.left(48), QByteArray::fromHex("A6135C71 00100000") + sizeInHeader +
                                 Le(quint64(type), 1) + Zeros(19) + NameBytes("GAMES"));
    QCOMPARE(block.mid(48, 4048), Zeros(4048));
    QCOMPARE(block.mid(4096, size), Image(size));
    QCOMPARE(block.mid(4096 + size), Zeros(blockSize - 4096 - size));
}

void tst_AppPackage::exportsAnEmptyPackage()
{
    QByteArray out;
    QCOMPARE(AppPackage().Export(&out), 0);
    QCOMPARE(out, QByteArray::fromHex("1F24CA73 0000 00 00 00000000 00000000") + Zeros(480));
    QCOMPARE(int(out.size()), 496);
}

void tst_AppPackage::exportsTheResultByte_data()
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

void tst_AppPackage::exportsTheResultByte()
{
    QFETCH(int, result);
    QFETCH(int, byte);

    AppPackage package;
    package.result = result;
    QCOMPARE(Exported(package),
             QByteArray::fromHex("1F24CA73 0000") + char(byte) + Zeros(HEADER_SIZE - 7));
}

void tst_AppPackage::exportsAProgram()
{
    AppPackage package;
    package.SetProgram(Name("HELLO"), QByteArray::fromHex("0104"));

    const QByteArray out = Exported(package);
    QCOMPARE(int(out.size()), 498);
    QCOMPARE(out, QByteArray::fromHex("1F24CA73 0000 00 01 02000000 00000000"
                                      "00 00 0000 02000000 48454C4C4F A0A0A0A0A0A0A0A0A0A0A0") +
                      Zeros(19 * 24) + QByteArray::fromHex("0104"));
}

void tst_AppPackage::exportsADisk()
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

void tst_AppPackage::exportsProgramBeforeDisks()
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

void tst_AppPackage::exportsNoProgramWithoutData()
{
    AppPackage package;
    package.SetProgram(Name("NAMED"), QByteArray());
    QCOMPARE(Exported(package), HeaderBytes({}));
    package.SetProgram(Name("NAMED"), QByteArray(""));
    QCOMPARE(Exported(package), HeaderBytes({}));
}

void tst_AppPackage::exportsAProgramWithoutName()
{
    AppPackage package;
    package.SetProgram(AppDosName(), "x");
    QCOMPARE(Exported(package), HeaderBytes(1, {EntryBytes(0, 0, 1, "")}, 1) + 'x');
}

void tst_AppPackage::exportsReplaceAsZero()
{
    AppPackage package;
    Fill(&package);
    const QByteArray out = Exported(package);
    QCOMPARE(out.mid(16, 4), QByteArray::fromHex("00000000"));
    QCOMPARE(out.mid(40, 4), QByteArray::fromHex("01000000"));
}

void tst_AppPackage::exportsTheLowByteOfTheType()
{
    AppPackage package;
    package.AddDisk(static_cast<AppPackage::DISKTYPE>(0x0304A7), Name("A"), "");
    QCOMPARE(Exported(package).mid(HEADER_SIZE + 12, 2), QByteArray::fromHex("A700"));
}

void tst_AppPackage::exportsPaddedImages_data()
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

void tst_AppPackage::exportsPaddedImages()
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

void tst_AppPackage::exportsAtMost20Objects_data()
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

void tst_AppPackage::exportsAtMost20Objects()
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

void tst_AppPackage::exportAppends()
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

void tst_AppPackage::exportLeavesThePackage()
{
    AppPackage package;
    Fill(&package);
    const QByteArray before = Described(package);
    Exported(package);
    QCOMPARE(Described(package), before);
}

void tst_AppPackage::exportSizeIsWhatExportAppends_data()
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

void tst_AppPackage::exportSizeIsWhatExportAppends()
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

void tst_AppPackage::exportsWhatAnotherReaderReads()
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
            expected.programName = NameBytes(programName);
            expected.programData = Image(programSize, round);
        }
        const int disks = random.bounded(24);
        for (int i = 0; i < disks; ++i) {
            const auto type = static_cast<AppPackage::DISKTYPE>(random.bounded(5));
            const QByteArray name = Image(random.bounded(17), random.bounded(1000));
            const QByteArray data = Image(random.bounded(9000), i);
            package.AddDisk(type, Name(name), data);
            if (i < (programSize > 0 ? 19 : 20))
                expected.disks.append({int(type), NameBytes(name), data, false});
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

void tst_AppPackage::importRefuses_data()
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

void tst_AppPackage::importRefuses()
{
    QFETCH(QByteArray, in);
    QFETCH(int, status);

    AppPackage package;
    QCOMPARE(package.Import(in), status);
    QCOMPARE(ReadPackage(in).status, status);
}

void tst_AppPackage::refusalLeavesThePackage_data()
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

void tst_AppPackage::refusalLeavesThePackage()
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

void tst_AppPackage::importTakesTheSignedResult_data()
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

void tst_AppPackage::importTakesTheSignedResult()
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

void tst_AppPackage::importStopsAtAnotherVersion_data()
{
    QTest::addColumn<QByteArray>("version");

    QTest::newRow("1") << QByteArray::fromHex("0100");
    QTest::newRow("256") << QByteArray::fromHex("0001");
    QTest::newRow("32768") << QByteArray::fromHex("0080");
    QTest::newRow("65535") << QByteArray::fromHex("FFFF");
}

void tst_AppPackage::importStopsAtAnotherVersion()
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

void tst_AppPackage::importOfNoObjectsTakesTheResultOnly()
{
    AppPackage package;
    Fill(&package);
    READ_PACKAGE expected = Contents(package);
    expected.result = -85;
    // Entries from the count on are not looked at.
    QCOMPARE(package.Import(HeaderBytes(0, {EntryBytes(0, 1, 3, "NEW")}, 3, 0xAB) + "abc"), 0);
    QCOMPARE(Described(package), Described(expected));
}

void tst_AppPackage::importTakesAProgram()
{
    AppPackage package;
    QCOMPARE(package.Import(QByteArray::fromHex("1F24CA73 0000 00 01 02000000 00000000"
                                                "00 01 0000 02000000"
                                                "48454C4C4F A0A0A0A0A0A0A0A0A0A0A0") +
                            Zeros(19 * 24) + QByteArray::fromHex("0108")),
             0);
    QCOMPARE(NameBytes(package.Program().name), NameBytes("HELLO"));
    QCOMPARE(package.Program().data, QByteArray::fromHex("0108"));
    QCOMPARE(package.Program().replace, true);
    QCOMPARE(package.NumDisks(), 0);
    QCOMPARE(int(package.result), 0);
}

void tst_AppPackage::importTakesADisk()
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
    QCOMPARE(NameBytes(package.Disk(0)->name), NameBytes("GAMES"));
    QCOMPARE(package.Disk(0)->data, QByteArray("image"));
    QCOMPARE(package.Disk(0)->replace, true);
    QVERIFY(package.Program().data.isEmpty());
    QCOMPARE(package.Program().replace, false);
}

void tst_AppPackage::importTakesEveryType()
{
    for (int type = 0; type < 256; ++type) {
        AppPackage package;
        QCOMPARE(package.Import(HeaderBytes({EntryBytes(1, 0, 4096, "D")}) +
                                DiskHeaderBytes(type, 4096, 0, "D")),
                 0);
        QCOMPARE(int(package.Disk(0)->type), type);
    }
}

void tst_AppPackage::importTakesReplaceFromBit0_data()
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

void tst_AppPackage::importTakesReplaceFromBit0()
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

void tst_AppPackage::importPrefersTheNameOfTheEntry()
{
    AppPackage package;
    QCOMPARE(package.Import(HeaderBytes({EntryBytes(1, 0, 4096, "ENTRY")}) +
                            DiskHeaderBytes(0, 4096, 0, "HEADER")),
             0);
    QCOMPARE(NameBytes(package.Disk(0)->name), NameBytes("ENTRY"));
}

void tst_AppPackage::importAddsDisksBehindThoseThere()
{
    AppPackage package;
    Fill(&package);
    const QByteArray in = HeaderBytes({EntryBytes(1, 0, 4097, "B"), EntryBytes(1, 1, 4098, "C")}) +
                          DiskHeaderBytes(1, 4096, 1, "B") + 'b' +
                          DiskHeaderBytes(4, 4096, 2, "C") + "cc";
    READ_PACKAGE expected = Contents(package);
    for (int i = 0; i < 2; ++i) {
        expected.result = 0;
        expected.disks.append({1, NameBytes("B"), "b", false});
        expected.disks.append({4, NameBytes("C"), "cc", true});
        QCOMPARE(package.Import(in), 0);
        QCOMPARE(Described(package), Described(expected));
    }
    QCOMPARE(package.NumDisks(), 5);
}

void tst_AppPackage::importReplacesTheProgram()
{
    AppPackage package;
    Fill(&package);
    READ_PACKAGE expected = Contents(package);
    expected.result = 0;
    expected.programName = NameBytes("NEW");
    expected.programData = "new";
    expected.programReplace = false;
    QCOMPARE(package.Import(HeaderBytes({EntryBytes(0, 0, 3, "NEW")}) + "new"), 0);
    QCOMPARE(Described(package), Described(expected));

    // An entry without data replaces it as well.
    expected.programName = NameBytes("NO DATA");
    expected.programData.clear();
    QCOMPARE(package.Import(HeaderBytes({EntryBytes(0, 0, 0, "NO DATA")}) + "new"), 0);
    QCOMPARE(Described(package), Described(expected));
}

void tst_AppPackage::importWithoutProgramKeepsTheOneThere()
{
    AppPackage package;
    Fill(&package);
    QCOMPARE(package.Import(HeaderBytes({EntryBytes(1, 0, 4096, "D")}) +
                            DiskHeaderBytes(0, 4096, 0, "D")),
             0);
    QCOMPARE(NameBytes(package.Program().name), NameBytes("OLD PROGRAM"));
    QCOMPARE(package.Program().data, QByteArray("\x01\x08old"));
    QCOMPARE(package.Program().replace, true);
}

void tst_AppPackage::lastProgramWins()
{
    AppPackage package;
    QCOMPARE(package.Import(HeaderBytes({EntryBytes(0, 1, 5, "FIRST"), EntryBytes(0, 0, 6, "2ND"),
                                         EntryBytes(0, 0, 4, "3RD")}) +
                            "firstsecondlast"),
             0);
    QCOMPARE(NameBytes(package.Program().name), NameBytes("3RD"));
    QCOMPARE(package.Program().data, QByteArray("last"));
    QCOMPARE(package.Program().replace, false);
}

void tst_AppPackage::importDoesNotCheck_data()
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

void tst_AppPackage::importDoesNotCheck()
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
    expected.programName = NameBytes("P");
    expected.programData = "abc";
    expected.disks.append({3, NameBytes("D"), "disk", false});
    QCOMPARE(Described(package), Described(expected));
}

void tst_AppPackage::importIgnoresWhatFollows()
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

void tst_AppPackage::unknownTypeDoesNotMoveTheData_data()
{
    QTest::addColumn<int>("type");

    QTest::newRow("type-2") << 2;
    QTest::newRow("type-7") << 7;
    QTest::newRow("type-128") << 128;
    QTest::newRow("type-255") << 255;
}

void tst_AppPackage::unknownTypeDoesNotMoveTheData()
{
    QFETCH(int, type);

    AppPackage package;
    QCOMPARE(
        package.Import(HeaderBytes({EntryBytes(type, 1, 4, "SKIPPED"), EntryBytes(0, 0, 4, "P")}) +
                       "skipDATA"),
        0);
    QCOMPARE(NameBytes(package.Program().name), NameBytes("P"));
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
    QCOMPARE(NameBytes(second.Program().name), NameBytes("Q"));
    QCOMPARE(second.Program().data, QByteArray("qqq"));
}

void tst_AppPackage::entrySizeMovesTheData()
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
    QCOMPARE(NameBytes(package.Disk(1)->name), NameBytes("E"));
    QCOMPARE(package.Program().data, QByteArray("prog"));
}

void tst_AppPackage::dataPastTheEndIsCut_data()
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

void tst_AppPackage::dataPastTheEndIsCut()
{
    QFETCH(quint32, size);
    QFETCH(QByteArray, data);

    AppPackage program;
    QCOMPARE(program.Import(HeaderBytes({EntryBytes(0, 0, size, "P")}) + "abcd"), 0);
    QCOMPARE(NameBytes(program.Program().name), NameBytes("P"));
    QCOMPARE(program.Program().data, data);

    AppPackage disk;
    QCOMPARE(disk.Import(HeaderBytes({EntryBytes(1, 0, 8192, "D")}) +
                         DiskHeaderBytes(0, 4096, size, "D") + "abcd"),
             0);
    QCOMPARE(disk.NumDisks(), 1);
    QCOMPARE(disk.Disk(0)->data, data);
}

void tst_AppPackage::programBehindTheEndIsEmpty_data()
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

void tst_AppPackage::programBehindTheEndIsEmpty()
{
    QFETCH(QVector<quint32>, sizes);

    QVector<QByteArray> entries;
    for (const quint32 size : sizes)
        entries.append(EntryBytes(0, 0, size, "FIRST"));
    entries.append(EntryBytes(0, 1, 4, "LAST"));

    AppPackage package;
    QCOMPARE(package.Import(HeaderBytes(entries) + "abcdefgh"), 0);
    QCOMPARE(NameBytes(package.Program().name), NameBytes("LAST"));
    QCOMPARE(package.Program().data, QByteArray());
    QCOMPARE(package.Program().replace, true);
}

void tst_AppPackage::diskHeaderBehindTheEndIsRefused_data()
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

void tst_AppPackage::diskHeaderBehindTheEndIsRefused()
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

void tst_AppPackage::imageOfDiskHeader_data()
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

void tst_AppPackage::imageOfDiskHeader()
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

void tst_AppPackage::entriesPastTheTwentiethLieInTheData()
{
    // The 21st entry is at offset 496, where the data of the first object begin as well.
    QVector<QByteArray> entries(20, EntryBytes(3, 0, 0, "UNKNOWN"));
    const QByteArray last = EntryBytes(0, 1, 28, "LAST");
    entries.append(last);
    AppPackage package;
    QCOMPARE(package.Import(HeaderBytes(entries) + "more"), 0);
    QCOMPARE(NameBytes(package.Program().name), NameBytes("LAST"));
    QCOMPARE(package.Program().data, last + "more");
    QCOMPARE(package.Program().replace, true);
}

void tst_AppPackage::countGoesUpTo255()
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
    QCOMPARE(NameBytes(package.Program().name), NameBytes("LAST"));
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

void tst_AppPackage::importKeepsNothingOfItsInput()
{
    QByteArray in = HeaderBytes({EntryBytes(0, 0, 4, "P"), EntryBytes(1, 0, 4100, "D")}) + "prog" +
                    DiskHeaderBytes(0, 4096, 4, "D") + "disk";
    AppPackage package;
    QCOMPARE(package.Import(QByteArray::fromRawData(in.constData(), in.size())), 0);
    in.fill('x');
    QCOMPARE(package.Program().data, QByteArray("prog"));
    QCOMPARE(package.Disk(0)->data, QByteArray("disk"));
}

void tst_AppPackage::cutAnywhereImportsWhatAnotherReaderReads()
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

void tst_AppPackage::randomInputImportsWhatAnotherReaderReads()
{
    QRandomGenerator random(1581);
    const auto pick = [&random](const QVector<quint32> &values) {
        return values.at(random.bounded(int(values.size())));
    };
    const QVector<quint32> counts{0, 1, 1, 2, 2, 3, 3, 4, 5, 19, 20, 21, 60, 255};
    const QVector<quint32> types{0, 0, 0, 1, 1, 1, 1, 2, 255};
    const QVector<quint32> sizes{0,    1,    3,    24,         100,        4096,      4097,
                                 8192, 9000, 9999, 0x7FFFFFFF, 0x80000000, 0xFFFFFFFF};
    const QVector<quint32> few{0, 0, 1, 2, 100, 500};
    const QVector<quint32> headerSizes{0, 32, 4095, 4096, 4096, 4096, 5000, 0x80000000, 0xFFFFFFFF};

    int accepted = 0;
    int refused = 0;
    int disks = 0;
    for (int round = 0; round < 3000; ++round) {
        const int count = int(pick(counts));
        QVector<QByteArray> entries;
        QVector<quint64> diskHeaders;
        quint64 at = HEADER_SIZE;
        for (int i = 0; i < count; ++i) {
            const int type = int(pick(types));
            const quint32 size = pick(count > 5 || random.bounded(3) > 0 ? few : sizes);
            entries.append(EntryBytes(type, random.bounded(256), size,
                                      Image(random.bounded(17), random.bounded(1000))));
            if (type == 1)
                diskHeaders.append(at);
            if (type < 2)
                at += size;
        }
        QByteArray in = HeaderBytes(count, entries, random.generate(), random.bounded(256));
        in += Image(random.bounded(20000), round);
        // Past the twentieth entry, this may write over entries; both readers see the same.
        for (const quint64 offset : diskHeaders) {
            if (offset + DISK_HEADER_SIZE > quint64(in.size()))
                continue;
            in.replace(
                int(offset), 13,
                DiskHeaderBytes(random.bounded(256), pick(headerSizes), pick(sizes), "").left(13));
        }
        if (random.bounded(50) == 0)
            in[random.bounded(8)] = char(random.bounded(256));

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
