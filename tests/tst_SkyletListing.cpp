// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#include "AppCbmUtil.h"
#include "SkyletListing.h"

#include <QTest>

namespace
{

QString Text(const QByteArray &petscii)
{
    return SkyletListing::PetsciiToText(petscii);
}

} // namespace

class tst_SkyletListing : public QObject
{
    Q_OBJECT

private slots:
    void linesAreRead();
    void linksAreNotFollowed();
    void everyCutIsNoticed();
    void bytesBehindTheEndAreNotLookedAt();
    void whatListShows_data();
    void whatListShows();
    void reversedLinesAreKnown();
    void entriesAreTakenApart_data();
    void entriesAreTakenApart();
    void whatIsNoEntryIsRefused_data();
    void whatIsNoEntryIsRefused();
    void entriesOfAWholeListing();
    void everyByteHasAPrintableText();
};

void tst_SkyletListing::linesAreRead()
{
    QVector<SkyletListing::LINE> lines;
    const QByteArray program = QByteArray::fromHex("0104"
                                                   "0101E80348454C4C4F00"
                                                   "0101FFFF00"
                                                   "0000");
    QCOMPARE(SkyletListing::Parse(program, &lines), 0);
    QCOMPARE(lines.size(), 2);
    QCOMPARE(int(lines.at(0).number), 1000);
    QCOMPARE(lines.at(0).text, QByteArray("HELLO"));
    QCOMPARE(int(lines.at(1).number), 65535);
    QCOMPARE(lines.at(1).text, QByteArray());
}

void tst_SkyletListing::linksAreNotFollowed()
{
    QVector<SkyletListing::LINE> lines;
    // The first link points at nothing, the second is as LOAD would make it.
    QCOMPARE(
        SkyletListing::Parse(QByteArray::fromHex("0108 FFFF0A0041 00 0F080B0042 00 0000"), &lines),
        0);
    QCOMPARE(lines.size(), 2);
    QCOMPARE(lines.at(1).text, QByteArray("B"));
}

void tst_SkyletListing::everyCutIsNoticed()
{
    const QByteArray program = AppCbmUtil::ProgramBegin() + AppCbmUtil::ProgramLine(10, "HELLO") +
                               AppCbmUtil::ProgramLine(20, "YOU") + AppCbmUtil::ProgramEnd();
    QVector<SkyletListing::LINE> lines;
    QCOMPARE(SkyletListing::Parse(program, &lines), 0);
    QCOMPARE(lines.size(), 2);
    for (int size = 0; size < program.size(); ++size) {
        QCOMPARE(SkyletListing::Parse(program.left(size), &lines), -1);
        QCOMPARE(int(lines.size()), size < 12 ? 0 : size < 20 ? 1 : 2);
    }
}

void tst_SkyletListing::bytesBehindTheEndAreNotLookedAt()
{
    QVector<SkyletListing::LINE> lines;
    QCOMPARE(SkyletListing::Parse(QByteArray::fromHex("0104 0000 0101"), &lines), 0);
    QCOMPARE(lines.size(), 0);
}

void tst_SkyletListing::whatListShows_data()
{
    QTest::addColumn<QByteArray>("line");
    QTest::addColumn<QString>("shown");

    QTest::newRow("title-without-blanks-at-its-end")
        << AppCbmUtil::ProgramDirectoryHeader("SEARCH RESULTS") << "0 search results";
    QTest::newRow("entry-of-a-disk")
        << AppCbmUtil::ProgramDirectoryEntry(0, "GAMES", "D64") << "0   \"games\"             d64";
    QTest::newRow("shifted-letters-are-capitals")
        << AppCbmUtil::ProgramDirectoryEntry(0, "\xc7HOST", "PRG")
        << "0   \"Ghost\"             prg";
    QTest::newRow("line-number-is-the-blocks")
        << AppCbmUtil::ProgramDirectoryEntry(65535, "A", "PRG")
        << "65535   \"a\"                 prg";
    QTest::newRow("shifted-space-is-a-blank") << AppCbmUtil::ProgramLine(1, "A\xa0"
                                                                            "B")
                                              << "1 a b";
    QTest::newRow("control-characters-are-question-marks")
        << AppCbmUtil::ProgramLine(1, "A\x1b[2J\x07\x7f\x80\x9f"
                                      "B")
        << "1 a?[2j????b";
    QTest::newRow("reverse-on-counts-only-in-front")
        << AppCbmUtil::ProgramLine(1, "A\x12") << "1 a?";
    QTest::newRow("latin-1-stays")
        << AppCbmUtil::ProgramLine(1, "\xe9") << QString::fromUtf8("1 \xc3\xa9");
    QTest::newRow("empty-line") << AppCbmUtil::ProgramLine(7, "") << "7";
}

void tst_SkyletListing::whatListShows()
{
    QFETCH(QByteArray, line);
    QFETCH(QString, shown);

    QVector<SkyletListing::LINE> lines;
    QCOMPARE(
        SkyletListing::Parse(AppCbmUtil::ProgramBegin() + line + AppCbmUtil::ProgramEnd(), &lines),
        0);
    QCOMPARE(lines.size(), 1);
    QCOMPARE(SkyletListing::ToText(lines.at(0)), shown);
}

void tst_SkyletListing::reversedLinesAreKnown()
{
    QVERIFY(SkyletListing::IsReversed({0, "\x12TITLE"}));
    QVERIFY(!SkyletListing::IsReversed({0, "TITLE"}));
    QVERIFY(!SkyletListing::IsReversed({0, ""}));
}

void tst_SkyletListing::entriesAreTakenApart_data()
{
    QTest::addColumn<QByteArray>("name");

    QTest::newRow("short-name") << QByteArray("GAMES");
    QTest::newRow("no-name") << QByteArray();
    QTest::newRow("sixteen-characters") << QByteArray("0123456789ABCDEF");
    QTest::newRow("quotation-mark-inside") << QByteArray("A\"B");
    QTest::newRow("nothing-but-quotation-marks") << QByteArray("\"\"\"\"\"\"\"\"\"\"\"\"\"\"\"\"");
    QTest::newRow("blanks-at-the-end") << QByteArray("A  ");
    QTest::newRow("quotation-mark-and-blanks-at-the-end") << QByteArray("A\"  ");
}

void tst_SkyletListing::entriesAreTakenApart()
{
    QFETCH(QByteArray, name);

    QVector<SkyletListing::LINE> lines;
    QCOMPARE(SkyletListing::Parse(AppCbmUtil::ProgramBegin() +
                                      AppCbmUtil::ProgramDirectoryEntry(258, name, "D81") +
                                      AppCbmUtil::ProgramEnd(),
                                  &lines),
             0);
    SkyletListing::ENTRY entry;
    QCOMPARE(SkyletListing::ToEntry(lines.at(0), &entry), 0);
    QCOMPARE(entry.name, name);
    QCOMPARE(entry.type, QByteArray("D81"));
    QCOMPARE(int(entry.blocks), 258);
}

void tst_SkyletListing::whatIsNoEntryIsRefused_data()
{
    QTest::addColumn<QByteArray>("text");

    QTest::newRow("nothing") << QByteArray();
    QTest::newRow("title") << QByteArray("\x12SEARCH RESULTS          ");
    QTest::newRow("field-too-short") << QByteArray("  \"A\"                ");
    QTest::newRow("no-closing-quotation-mark") << QByteArray("  \"A                  D64");
    QTest::newRow("no-lead-in") << QByteArray("\"A\"                   D64");
}

void tst_SkyletListing::whatIsNoEntryIsRefused()
{
    QFETCH(QByteArray, text);

    SkyletListing::ENTRY entry{};
    QCOMPARE(SkyletListing::ToEntry({0, text}, &entry), -1);
}

void tst_SkyletListing::entriesOfAWholeListing()
{
    const QVector<SkyletListing::ENTRY> entries =
        SkyletListing::Entries({{0, "\x12SENT DISK(S)            "},
                                {0, "  \"A\"                 D64"},
                                {0, "  \"B\"                 D82"}});
    QCOMPARE(entries.size(), 2);
    QCOMPARE(entries.at(0).name, QByteArray("A"));
    QCOMPARE(entries.at(1).name, QByteArray("B"));
    QCOMPARE(entries.at(1).type, QByteArray("D82"));
}

void tst_SkyletListing::everyByteHasAPrintableText()
{
    QCOMPARE(Text(QByteArray()), QString());
    for (int c = 0; c < 256; ++c) {
        const QString text = Text(QByteArray(1, char(c)));
        QCOMPARE(text.size(), 1);
        QVERIFY2(text.at(0).isPrint() || c == 0xAD, qPrintable(QString::number(c, 16)));
    }
}

QTEST_GUILESS_MAIN(tst_SkyletListing)
#include "tst_SkyletListing.moc"
