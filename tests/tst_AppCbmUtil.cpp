// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#include "AppCbmUtil.h"

#include <QByteArray>
#include <QString>
#include <QVector>
#include <QtTest>

namespace
{

/// The PETSCII code of each ASCII code, one row for 16 codes.
QByteArray PetsciiOfAscii()
{
    return QByteArray::fromHex("000102030405060708090A0B0C0D0E0F"
                               "101112131415161718191A1B1C1D1E1F"
                               "202122232425262728292A2B2C2D2E2F"
                               "303132333435363738393A3B3C3D3E3F"
                               "40C1C2C3C4C5C6C7C8C9CACBCCCDCECF"
                               "D0D1D2D3D4D5D6D7D8D9DA5B5C5D5E5F"
                               "604142434445464748494A4B4C4D4E4F"
                               "505152535455565758595A7B7C7D7E7F"
                               "808182838485868788898A8B8C8D8E8F"
                               "909192939495969798999A9B9C9D9E9F"
                               "A0A1A2A3A4A5A6A7A8A9AAABACADAEAF"
                               "B0B1B2B3B4B5B6B7B8B9BABBBCBDBEBF"
                               "C0C1C2C3C4C5C6C7C8C9CACBCCCDCECF"
                               "D0D1D2D3D4D5D6D7D8D9DADBDCDDDEDF"
                               "E0E1E2E3E4E5E6E7E8E9EAEBECEDEEEF"
                               "F0F1F2F3F4F5F6F7F8F9FAFBFCFDFEFF");
}

/// The ASCII code of each PETSCII code, one row for 16 codes.
QByteArray AsciiOfPetscii()
{
    return QByteArray::fromHex("000102030405060708090A0B0C0D0E0F"
                               "101112131415161718191A1B1C1D1E1F"
                               "202122232425262728292A2B2C2D2E2F"
                               "303132333435363738393A3B3C3D3E3F"
                               "406162636465666768696A6B6C6D6E6F"
                               "707172737475767778797A5B5C5D5E5F"
                               "606162636465666768696A6B6C6D6E6F"
                               "707172737475767778797A7B7C7D7E7F"
                               "808182838485868788898A8B8C8D8E8F"
                               "909192939495969798999A9B9C9D9E9F"
                               "20A1A2A3A4A5A6A7A8A9AAABACADAEAF"
                               "B0B1B2B3B4B5B6B7B8B9BABBBCBDBEBF"
                               "C04142434445464748494A4B4C4D4E4F"
                               "505152535455565758595ADBDCDDDEDF"
                               "E0E1E2E3E4E5E6E7E8E9EAEBECEDEEEF"
                               "F0F1F2F3F4F5F6F7F8F9FAFBFCFDFEFF");
}

/// `count` bytes, each one more than the one before.
QByteArray Ascending(int first, int count)
{
    QByteArray bytes;
    for (int i = 0; i < count; ++i)
        bytes.append(char(first + i));
    return bytes;
}

QByteArray Spaces(int count)
{
    return QByteArray(count, ' ');
}

} // namespace

class tst_AppCbmUtil : public QObject
{
    Q_OBJECT

private slots:
    void asciiToPetsciiMapsEveryByte();
    void petsciiToAsciiMapsEveryByte();
    void namedCodesAreMapped_data();
    void namedCodesAreMapped();
    void lettersComeBack();
    void shiftedSpaceDoesNotComeBack();

    void stringsAreMappedByteByByte_data();
    void stringsAreMappedByteByByte();
    void mappingLeavesItsInputAlone();

    void programBeginIsTheLoadAddress();
    void programEndIsTheNullLink();
    void emptyProgramHas4Bytes();

    void programLine_data();
    void programLine();

    void directoryHeader_data();
    void directoryHeader();

    void directoryEntry_data();
    void directoryEntry();

    void textEndsWithItsArray();
    void builtLinesAreNotShared();
    void listingOfOneDisk();
    void listingReadsBackLineByLine();
};

void tst_AppCbmUtil::asciiToPetsciiMapsEveryByte()
{
    const QByteArray expected = PetsciiOfAscii();
    QCOMPARE(int(expected.size()), 256);
    for (int c = 0; c < 256; ++c)
        QCOMPARE(int(AppCbmUtil::AsciiToPetscii(static_cast<unsigned char>(c))),
                 int(static_cast<unsigned char>(expected.at(c))));
}

void tst_AppCbmUtil::petsciiToAsciiMapsEveryByte()
{
    const QByteArray expected = AsciiOfPetscii();
    QCOMPARE(int(expected.size()), 256);
    for (int c = 0; c < 256; ++c)
        QCOMPARE(int(AppCbmUtil::PetsciiToAscii(static_cast<unsigned char>(c))),
                 int(static_cast<unsigned char>(expected.at(c))));
}

void tst_AppCbmUtil::namedCodesAreMapped_data()
{
    QTest::addColumn<bool>("toPetscii");
    QTest::addColumn<int>("from");
    QTest::addColumn<int>("to");

    QTest::newRow("ascii-space-stays") << true << int(' ') << 0x20;
    QTest::newRow("ascii-lower-a-is-unshifted") << true << int('a') << 0x41;
    QTest::newRow("ascii-lower-z-is-unshifted") << true << int('z') << 0x5A;
    QTest::newRow("ascii-upper-a-is-shifted") << true << int('A') << 0xC1;
    QTest::newRow("ascii-upper-z-is-shifted") << true << int('Z') << 0xDA;
    QTest::newRow("ascii-at-sign-stays") << true << 0x40 << 0x40;
    QTest::newRow("ascii-left-bracket-stays") << true << 0x5B << 0x5B;
    QTest::newRow("ascii-backquote-stays") << true << 0x60 << 0x60;
    QTest::newRow("ascii-left-brace-stays") << true << 0x7B << 0x7B;
    QTest::newRow("ascii-padding-stays") << true << 0xA0 << 0xA0;

    QTest::newRow("petscii-shifted-space-becomes-a-space") << false << 0xA0 << 0x20;
    QTest::newRow("petscii-shifted-a-is-upper") << false << 0xC1 << int('A');
    QTest::newRow("petscii-shifted-z-is-upper") << false << 0xDA << int('Z');
    QTest::newRow("petscii-unshifted-a-is-lower") << false << 0x41 << int('a');
    QTest::newRow("petscii-unshifted-z-is-lower") << false << 0x5A << int('z');
    QTest::newRow("petscii-61-stays") << false << 0x61 << 0x61;
    QTest::newRow("petscii-7a-stays") << false << 0x7A << 0x7A;
    QTest::newRow("petscii-c0-stays") << false << 0xC0 << 0xC0;
    QTest::newRow("petscii-db-stays") << false << 0xDB << 0xDB;
    QTest::newRow("petscii-ff-stays") << false << 0xFF << 0xFF;
}

void tst_AppCbmUtil::namedCodesAreMapped()
{
    QFETCH(bool, toPetscii);
    QFETCH(int, from);
    QFETCH(int, to);

    const auto c = static_cast<unsigned char>(from);
    QCOMPARE(int(toPetscii ? AppCbmUtil::AsciiToPetscii(c) : AppCbmUtil::PetsciiToAscii(c)), to);
}

void tst_AppCbmUtil::lettersComeBack()
{
    for (const char c : QByteArray("ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz")) {
        const auto ascii = static_cast<unsigned char>(c);
        QCOMPARE(AppCbmUtil::PetsciiToAscii(AppCbmUtil::AsciiToPetscii(ascii)), ascii);
        const unsigned char petscii = AppCbmUtil::AsciiToPetscii(ascii);
        QCOMPARE(AppCbmUtil::AsciiToPetscii(AppCbmUtil::PetsciiToAscii(petscii)), petscii);
    }
}

void tst_AppCbmUtil::shiftedSpaceDoesNotComeBack()
{
    QCOMPARE(int(AppCbmUtil::AsciiToPetscii(AppCbmUtil::PetsciiToAscii(0xA0))), 0x20);
    for (int c = 0; c < 256; ++c) {
        if (c != 0xA0)
            QVERIFY(AppCbmUtil::AsciiToPetscii(static_cast<unsigned char>(c)) != 0xA0);
    }
}

void tst_AppCbmUtil::stringsAreMappedByteByByte_data()
{
    QTest::addColumn<QByteArray>("text");

    QTest::newRow("null") << QByteArray();
    QTest::newRow("empty") << QByteArray("");
    QTest::newRow("one-letter") << QByteArray("a");
    QTest::newRow("words") << QByteArray("Hello, World 64!");
    QTest::newRow("nul-inside") << QByteArray("ab\0CD\0", 6);
    QTest::newRow("padding-inside") << QByteArray("ab\xA0\xC1\xDA");
    QTest::newRow("128-bytes") << Ascending(0x41, 128);
    QTest::newRow("254-bytes") << Ascending(0, 254);
    QTest::newRow("255-bytes-from-00") << Ascending(0, 255);
    QTest::newRow("255-bytes-from-01") << Ascending(1, 255);
}

void tst_AppCbmUtil::stringsAreMappedByteByByte()
{
    QFETCH(QByteArray, text);

    QByteArray petscii;
    QByteArray ascii;
    for (const char c : text) {
        petscii.append(PetsciiOfAscii().at(static_cast<unsigned char>(c)));
        ascii.append(AsciiOfPetscii().at(static_cast<unsigned char>(c)));
    }
    QCOMPARE(AppCbmUtil::AsciiToPetscii(text), petscii);
    QCOMPARE(AppCbmUtil::PetsciiToAscii(text), ascii);
}

void tst_AppCbmUtil::mappingLeavesItsInputAlone()
{
    const QByteArray text("Games");
    const QByteArray shared = text;

    QCOMPARE(AppCbmUtil::AsciiToPetscii(text), QByteArray::fromHex("C7414D4553"));
    QCOMPARE(AppCbmUtil::PetsciiToAscii(text), QByteArray("games"));
    QCOMPARE(text, QByteArray("Games"));
    QCOMPARE(shared, QByteArray("Games"));
}

void tst_AppCbmUtil::programBeginIsTheLoadAddress()
{
    QCOMPARE(AppCbmUtil::ProgramBegin(), QByteArray::fromHex("0104"));
}

void tst_AppCbmUtil::programEndIsTheNullLink()
{
    QCOMPARE(AppCbmUtil::ProgramEnd(), QByteArray::fromHex("0000"));
}

void tst_AppCbmUtil::emptyProgramHas4Bytes()
{
    QCOMPARE(AppCbmUtil::ProgramBegin() + AppCbmUtil::ProgramEnd(),
             QByteArray::fromHex("01040000"));
}

void tst_AppCbmUtil::programLine_data()
{
    QTest::addColumn<int>("line");
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<QByteArray>("bytes");

    const QByteArray link = QByteArray::fromHex("0101");

    QTest::newRow("hello") << 10 << QByteArray("HELLO")
                           << QByteArray::fromHex("01010A0048454C4C4F00");
    QTest::newRow("line-number-is-little-endian")
        << 1000 << QByteArray("") << QByteArray::fromHex("0101E80300");
    QTest::newRow("null-text") << 0 << QByteArray() << QByteArray::fromHex("0101000000");
    QTest::newRow("line-255") << 255 << QByteArray("A") << QByteArray::fromHex("0101FF004100");
    QTest::newRow("line-256") << 256 << QByteArray("A") << QByteArray::fromHex("010100014100");
    QTest::newRow("line-32768") << 32768 << QByteArray("A") << QByteArray::fromHex("010100804100");
    QTest::newRow("line-65535") << 65535 << QByteArray("A") << QByteArray::fromHex("0101FFFF4100");
    QTest::newRow("text-ends-at-its-nul")
        << 1 << QByteArray("AB\0CD", 5) << QByteArray::fromHex("01010100414200");
    QTest::newRow("text-of-a-nul-is-empty")
        << 1 << QByteArray("\0CD", 3) << QByteArray::fromHex("0101010000");
    QTest::newRow("text-is-not-converted")
        << 1 << QByteArray("aA\xC1\xFF") << QByteArray::fromHex("010101006141C1FF00");
    QTest::newRow("no-length-is-too-long")
        << 1 << QByteArray(1000, 'X')
        << link + QByteArray::fromHex("0100") + QByteArray(1000, 'X') + '\0';
}

void tst_AppCbmUtil::programLine()
{
    QFETCH(int, line);
    QFETCH(QByteArray, text);
    QFETCH(QByteArray, bytes);

    QCOMPARE(AppCbmUtil::ProgramLine(static_cast<unsigned short>(line), text), bytes);
}

void tst_AppCbmUtil::directoryHeader_data()
{
    QTest::addColumn<QByteArray>("title");
    QTest::addColumn<QByteArray>("field");

    QTest::newRow("empty-title-is-24-spaces") << QByteArray("") << Spaces(24);
    QTest::newRow("null-title-is-24-spaces") << QByteArray() << Spaces(24);
    QTest::newRow("short-title-is-filled")
        << QByteArray("SEARCH RESULTS") << QByteArray("SEARCH RESULTS") + Spaces(10);
    QTest::newRow("23-characters-are-filled") << QByteArray(23, 'T') << QByteArray(23, 'T') + ' ';
    QTest::newRow("24-characters-fill-it") << QByteArray(24, 'T') << QByteArray(24, 'T');
    QTest::newRow("25th-character-is-cut") << QByteArray(24, 'T') + 'X' << QByteArray(24, 'T');
    QTest::newRow("30-characters-are-cut")
        << QByteArray("ABCDEFGHIJKLMNOPQRSTUVWXYZ0123") << QByteArray("ABCDEFGHIJKLMNOPQRSTUVWX");
    QTest::newRow("1000-characters-are-cut") << QByteArray(1000, 'T') << QByteArray(24, 'T');
    QTest::newRow("title-ends-at-its-nul")
        << QByteArray("AB\0CD", 5) << QByteArray("AB") + Spaces(22);
    QTest::newRow("title-of-a-nul-is-24-spaces") << QByteArray("\0CD", 3) << Spaces(24);
    QTest::newRow("title-is-not-converted")
        << QByteArray("aA\xC1\"\xA0") << QByteArray("aA\xC1\"\xA0") + Spaces(19);
}

void tst_AppCbmUtil::directoryHeader()
{
    QFETCH(QByteArray, title);
    QFETCH(QByteArray, field);

    const QByteArray line = AppCbmUtil::ProgramDirectoryHeader(title);
    QCOMPARE(int(line.size()), 30);
    QCOMPARE(line, QByteArray::fromHex("0101000012") + field + '\0');
}

void tst_AppCbmUtil::directoryEntry_data()
{
    QTest::addColumn<int>("blocks");
    QTest::addColumn<QByteArray>("name");
    QTest::addColumn<QByteArray>("type");
    QTest::addColumn<QByteArray>("bytes");

    const auto row = [](const char *claim, int blocks, const QByteArray &name,
                        const QByteArray &type, const char *number, const QByteArray &rest) {
        QTest::newRow(claim) << blocks << name << type
                             << QByteArray::fromHex("0101") + QByteArray::fromHex(number) + rest +
                                    '\0';
    };
    const QByteArray letters("ABCDEFGHIJKLMNOPQRSTUVWXYZ0");

    row("no-name-is-two-quotes", 0, "", "D64", "0000", "  \"\"" + Spaces(18) + "D64");
    row("short-name-is-filled", 0, "GAMES", "D64", "0000", "  \"GAMES\"" + Spaces(13) + "D64");
    row("15-characters", 0, letters.left(15), "PRG", "0000", "  \"ABCDEFGHIJKLMNO\"   PRG");
    row("16-characters-leave-two-spaces", 0, letters.left(16), "PRG", "0000",
        "  \"ABCDEFGHIJKLMNOP\"  PRG");
    row("17-characters-leave-one-space", 0, letters.left(17), "PRG", "0000",
        "  \"ABCDEFGHIJKLMNOPQ\" PRG");
    row("18-characters-fill-the-field", 0, letters.left(18), "PRG", "0000",
        "  \"ABCDEFGHIJKLMNOPQR\"PRG");
    row("19-characters-lose-the-quote", 0, letters.left(19), "PRG", "0000",
        "  \"ABCDEFGHIJKLMNOPQRSPRG");
    row("20-characters-lose-the-last-too", 0, letters.left(20), "PRG", "0000",
        "  \"ABCDEFGHIJKLMNOPQRSPRG");
    row("27-characters-are-cut-to-19", 0, letters, "PRG", "0000", "  \"ABCDEFGHIJKLMNOPQRSPRG");

    row("lead-in-is-two-spaces-for-1-digit", 9, "A", "PRG", "0900", "  \"A\"" + Spaces(17) + "PRG");
    row("lead-in-is-two-spaces-for-3-digits", 664, "A", "PRG", "9802",
        "  \"A\"" + Spaces(17) + "PRG");
    row("lead-in-is-two-spaces-for-5-digits", 65535, "A", "PRG", "FFFF",
        "  \"A\"" + Spaces(17) + "PRG");
    row("blocks-255", 255, "A", "PRG", "FF00", "  \"A\"" + Spaces(17) + "PRG");
    row("blocks-256", 256, "A", "PRG", "0001", "  \"A\"" + Spaces(17) + "PRG");

    row("no-type", 0, "A", "", "0000", "  \"A\"" + Spaces(17));
    row("null-type", 0, "A", QByteArray(), "0000", "  \"A\"" + Spaces(17));
    row("null-name", 0, QByteArray(), "PRG", "0000", "  \"\"" + Spaces(18) + "PRG");
    row("type-is-not-cut", 0, "A", QByteArray(300, 'T'), "0000",
        "  \"A\"" + Spaces(17) + QByteArray(300, 'T'));
    row("name-ends-at-its-nul", 0, QByteArray("AB\0CD", 5), "PRG", "0000",
        "  \"AB\"" + Spaces(16) + "PRG");
    row("type-ends-at-its-nul", 0, "A", QByteArray("PR\0G", 4), "0000",
        "  \"A\"" + Spaces(17) + "PR");
    row("bytes-are-not-converted", 0, "aA\xC1\xA0\"", "d64", "0000",
        "  \"aA\xC1\xA0\"\"" + Spaces(13) + "d64");
}

void tst_AppCbmUtil::directoryEntry()
{
    QFETCH(int, blocks);
    QFETCH(QByteArray, name);
    QFETCH(QByteArray, type);
    QFETCH(QByteArray, bytes);

    const QByteArray line =
        AppCbmUtil::ProgramDirectoryEntry(static_cast<unsigned short>(blocks), name, type);
    QCOMPARE(line, bytes);
    QCOMPARE(int(line.size()), 27 + int(qstrlen(type.constData())));

    QByteArray program = AppCbmUtil::ProgramBegin();
    AppCbmUtil::AppendDirectoryEntry(static_cast<unsigned short>(blocks), name.constData(),
                                     type.constData(), &program);
    QCOMPARE(program, AppCbmUtil::ProgramBegin() + bytes);
}

void tst_AppCbmUtil::textEndsWithItsArray()
{
    // Bytes that go on behind the array: nothing terminates the text but its size.
    const char buffer[] = "GAMESXYZ";
    const QByteArray games = QByteArray::fromRawData(buffer, 5);

    QCOMPARE(AppCbmUtil::ProgramLine(10, games), QByteArray::fromHex("01010A0047414D455300"));
    QCOMPARE(AppCbmUtil::ProgramDirectoryHeader(games),
             QByteArray::fromHex("0101000012") + "GAMES" + Spaces(19) + '\0');
    QCOMPARE(AppCbmUtil::ProgramDirectoryEntry(0, games, games),
             QByteArray::fromHex("01010000") + "  \"GAMES\"" + Spaces(13) + "GAMES" + '\0');
    QCOMPARE(AppCbmUtil::AsciiToPetscii(games), QByteArray("\xC7\xC1\xCD\xC5\xD3"));
    QCOMPARE(AppCbmUtil::PetsciiToAscii(games), QByteArray("games"));
}

void tst_AppCbmUtil::builtLinesAreNotShared()
{
    QByteArray first = AppCbmUtil::ProgramBegin();
    first[0] = 'X';
    QCOMPARE(AppCbmUtil::ProgramBegin(), QByteArray::fromHex("0104"));

    QByteArray last = AppCbmUtil::ProgramEnd();
    last[0] = 'X';
    QCOMPARE(AppCbmUtil::ProgramEnd(), QByteArray::fromHex("0000"));
}

void tst_AppCbmUtil::listingOfOneDisk()
{
    const QByteArray listing =
        AppCbmUtil::ProgramBegin() + AppCbmUtil::ProgramDirectoryHeader("SEARCH RESULTS") +
        AppCbmUtil::ProgramDirectoryEntry(0, "GAMES", "D64") + AppCbmUtil::ProgramEnd();

    QCOMPARE(listing,
             QByteArray::fromHex("0104"
                                 "0101 0000 12"
                                 "53454152434820524553554C5453 20202020202020202020 00"
                                 "0101 0000"
                                 "202022 47414D4553 22 20202020202020202020202020 443634 00"
                                 "0000"));
    QCOMPARE(int(listing.size()), 2 + 30 + 30 + 2);
}

void tst_AppCbmUtil::listingReadsBackLineByLine()
{
    // As LOAD does: a line goes on to its NUL, and a link of 0 ends the program.
    const QByteArray listing = AppCbmUtil::ProgramBegin() +
                               AppCbmUtil::ProgramDirectoryHeader("X") +
                               AppCbmUtil::ProgramDirectoryEntry(513, "A", "PRG") +
                               AppCbmUtil::ProgramLine(65535, QByteArray(600, 'B')) +
                               AppCbmUtil::ProgramLine(1, "") + AppCbmUtil::ProgramEnd();

    QVector<int> numbers;
    QVector<int> lengths;
    int at = 2;
    while (listing.mid(at, 2) != QByteArray(2, '\0')) {
        QCOMPARE(listing.mid(at, 2), QByteArray::fromHex("0101"));
        numbers.append(uchar(listing.at(at + 2)) + 256 * uchar(listing.at(at + 3)));
        const int end = int(listing.indexOf('\0', at + 4));
        QVERIFY(end > 0);
        lengths.append(end - (at + 4));
        at = end + 1;
    }
    QCOMPARE(at, int(listing.size()) - 2);
    QCOMPARE(numbers, (QVector<int>{0, 513, 65535, 1}));
    QCOMPARE(lengths, (QVector<int>{25, 25, 600, 0}));
}

QTEST_GUILESS_MAIN(tst_AppCbmUtil)
#include "tst_AppCbmUtil.moc"
