// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#include "CommandsFixture.h"

#include <algorithm>

/// What SEARCH lists, as the device sees it.
class tst_CommandSearch : public CommandsFixture
{
    Q_OBJECT

public:
    using CommandsFixture::CommandsFixture;

private slots:
    void searchAnswersWithAListing();
    void searchWithoutMatchListsNothing();
    void searchWithoutPatternListsNothing();
    void searchListsTheTypeOfEachSize();
    void searchListsDisksThenProgramsInIteratorOrder();
    void searchLooksForEachKindInItsDirectory();
    void searchListsSubdirectoriesToo();
    void searchPatternSelects_data();
    void searchPatternSelects();
    void searchKeepsNamesInPetscii_data();
    void searchKeepsNamesInPetscii();
    void searchHasNoLimit();
    void searchListsWhatCannotBeOpened();
};

void tst_CommandSearch::searchAnswersWithAListing()
{
    QVERIFY(WriteSparseFile(Path("disks/games.d64"), D64_SIZE));
    QVERIFY(WriteSparseFile(Path("disks/other.d64"), D64_SIZE));
    QVERIFY(WriteFile(Path("programs/ghost.prg"), "\x01\x08"));
    QVERIFY(WriteFile(Path("programs/other.prg"), "\x01\x08"));

    const HubReply reply = mHub.Send(SearchRequest("g*"));
    const QByteArray listing =
        QByteArray::fromHex("0104"
                            "0101 0000 12 53454152434820524553554C5453 20202020202020202020 00"
                            "0101 0000 2020 22 47414D4553 22 20202020202020202020202020 443634 00"
                            "0101 0000 2020 22 47484F5354 22 20202020202020202020202020 505247 00"
                            "0000");
    const QByteArray header =
        QByteArray::fromHex("1F24CA73 0000 00 01 5E000000 00000000"
                            "00 00 0000 5E000000 4C495354494E47A0A0A0A0A0A0A0A0A0") +
        QByteArray(19 * 24, '\0');
    QCOMPARE(listing.size(), 0x5E);
    QCOMPARE(reply.Body(), header + listing);
    QCOMPARE(mHub.Log(), QStringList{Requested("SEARCH")});
}

void tst_CommandSearch::searchWithoutMatchListsNothing()
{
    QVERIFY(WriteSparseFile(Path("disks/games.d64"), D64_SIZE));
    QVERIFY(WriteFile(Path("programs/ghost.prg"), "\x01\x08"));

    const HubReply reply = mHub.Send(SearchRequest("x*"));
    QCOMPARE(reply.Body().size(), 496 + 34);
    QCOMPARE(reply.Package().objects.first().name, PetsciiName("listing"));
    QCOMPARE(OnlyProgram(reply),
             QByteArray::fromHex("0104 0101 0000 12 53454152434820524553554C5453"
                                 "20202020202020202020 00 0000"));
    QCOMPARE(reply.Package().result, 0);
    QCOMPARE(mHub.Log(), QStringList{Requested("SEARCH")});
}

void tst_CommandSearch::searchWithoutPatternListsNothing()
{
    for (const char *file :
         {"disks/a.d64", "disks/.d64", "disks/sub/.d64", "programs/a.prg", "programs/.prg"})
        QVERIFY(WriteSparseFile(Path(file), D64_SIZE));
    const HubReply reply = mHub.Send(FormRequest({{"cmd", "1"}, {"udid", "42"}}));
    QCOMPARE(OnlyProgram(reply), SearchListing());
}

void tst_CommandSearch::searchListsTheTypeOfEachSize()
{
    const struct {
        const char *name;
        int size;
        const char *entry;
    } FILES[] = {
        {"a.d64", 174848, "A.D64"},      {"b.x", 175531, "B.D64"}, {"c.x", 349696, "C.D71"},
        {"d.d64", 819200, "D.D81"},      {"e", 533248, "E.D80"},   {"f.prg", 1066496, "F.D82"},
        {"forty.d64", 196608, nullptr},  {"g.d64", 1000, nullptr}, {"h.d64", 0, nullptr},
        {"errors.d64", 197376, nullptr},
    };
    QList<QByteArray> expected;
    for (const auto &file : FILES) {
        QVERIFY(WriteSparseFile(Path("disks/") + QLatin1String(file.name), file.size));
        if (file.entry)
            expected.append(file.entry);
    }
    QList<QByteArray> entries = Entries(OnlyProgram(mHub.Send(SearchRequest("*"))));
    std::sort(entries.begin(), entries.end());
    QCOMPARE(entries, expected);
}

void tst_CommandSearch::searchListsDisksThenProgramsInIteratorOrder()
{
    for (int i = 0; i < 20; ++i) {
        const QString name = QStringLiteral("%1/%2.prg").arg(i % 3).arg(i * 7 % 20 + 10);
        QVERIFY(WriteSparseFile(Path("disks/") + name, D64_SIZE));
        QVERIFY(WriteSparseFile(Path("disks/") + name.mid(2), D64_SIZE));
        QVERIFY(WriteSparseFile(Path("programs/") + name, i));
        QVERIFY(WriteSparseFile(Path("programs/") + name.mid(2), i));
    }
    QByteArray entries;
    for (const char *directory : {"disks", "programs"}) {
        const QStringList paths = IteratorOrder(Path(directory)).filter(QStringLiteral(".prg"));
        QCOMPARE(paths.size(), 40);
        for (const QString &path : paths)
            entries += ListingEntry(QFileInfo(path).baseName().toLatin1(),
                                    *directory == 'd' ? "D64" : "PRG");
    }
    QCOMPARE(OnlyProgram(mHub.Send(SearchRequest("*"))), SearchListing(entries));
}

void tst_CommandSearch::searchLooksForEachKindInItsDirectory()
{
    QVERIFY(WriteSparseFile(Path("programs/disk.d64"), D64_SIZE));
    QVERIFY(WriteFile(Path("disks/program.prg"), "\x01\x08"));
    QVERIFY(WriteSparseFile(Path("outside.d64"), D64_SIZE));
    QVERIFY(WriteFile(Path("outside.prg"), "\x01\x08"));
    QCOMPARE(OnlyProgram(mHub.Send(SearchRequest("*"))), SearchListing());

    // With one directory for both, one file can be both.
    mHub->mProgramPath = Path("disks");
    QVERIFY(WriteSparseFile(Path("disks/both.prg"), D64_SIZE));
    QCOMPARE(OnlyProgram(mHub.Send(SearchRequest("b*"))),
             SearchListing(ListingEntry("BOTH", "D64") + ListingEntry("BOTH", "PRG")));
}

void tst_CommandSearch::searchListsSubdirectoriesToo()
{
    SKIP_ON_WINDOWS("Windows lets only administrators make links");
    QTemporaryDir elsewhere;
    QVERIFY(WriteSparseFile(elsewhere.filePath(QStringLiteral("far.prg")), D64_SIZE));
    for (const char *root : {"disks", "programs"}) {
        const QString directory = Path(root);
        QVERIFY(WriteSparseFile(directory + QStringLiteral("/sub/deeper/a.prg"), D64_SIZE));
        QVERIFY(WriteSparseFile(directory + QStringLiteral("/.hidden/b.prg"), D64_SIZE));
        QVERIFY(MakeLink(elsewhere.path(), directory + QStringLiteral("/linked")));
        QVERIFY(MakeLink(QStringLiteral(".."), directory + QStringLiteral("/sub/loop")));
    }
    QCOMPARE(OnlyProgram(mHub.Send(SearchRequest("*"))),
             SearchListing(ListingEntry("A", "D64") + ListingEntry("A", "PRG")));
}

void tst_CommandSearch::searchPatternSelects_data()
{
    QTest::addColumn<QByteArray>("pattern"); // as sent, in ASCII
    QTest::addColumn<QByteArray>("names");   // sorted, between blanks

    QTest::newRow("star") << QByteArray("*") << QByteArray("A AB ABC ABCDEFGHIJKLMNOP \xC1\xC2");
    QTest::newRow("question-mark") << QByteArray("?") << QByteArray("A");
    QTest::newRow("two-question-marks") << QByteArray("??") << QByteArray("AB \xC1\xC2");
    QTest::newRow("small-letters") << QByteArray("ab") << QByteArray("AB");
    QTest::newRow("capitals") << QByteArray("AB") << QByteArray("\xC1\xC2");
    QTest::newRow("text-after-star-is-ignored")
        << QByteArray("ab*x") << QByteArray("AB ABC ABCDEFGHIJKLMNOP");
    QTest::newRow("question-mark-is-not-the-end") << QByteArray("abc?") << QByteArray();
    QTest::newRow("seventeenth-character-is-cut")
        << QByteArray("abcdefghijklmnopq") << QByteArray("ABCDEFGHIJKLMNOP");
    QTest::newRow("star-as-seventeenth-is-cut")
        << QByteArray("abc*************") << QByteArray("ABC ABCDEFGHIJKLMNOP");
    QTest::newRow("suffix-does-not-count") << QByteArray("ab.prg") << QByteArray();
}

void tst_CommandSearch::searchPatternSelects()
{
    SKIP_ON_WINDOWS("Windows does not tell names apart by case");
    QFETCH(QByteArray, pattern);
    QFETCH(QByteArray, names);

    for (const char *name : {"a", "ab", "abc", "AB", "abcdefghijklmnop"}) {
        const QString base = QLatin1String(name);
        QVERIFY(WriteSparseFile(Path("disks/") + base + QStringLiteral(".d64"), D64_SIZE));
        QVERIFY(WriteSparseFile(Path("programs/") + base + QStringLiteral(".prg"), 10));
    }
    QList<QByteArray> expected;
    const QList<QByteArray> words = names.isEmpty() ? QList<QByteArray>() : names.split(' ');
    for (const QByteArray &name : words)
        expected << name + ".D64" << name + ".PRG";
    QList<QByteArray> entries = Entries(OnlyProgram(mHub.Send(SearchRequest(pattern))));
    std::sort(entries.begin(), entries.end());
    std::sort(expected.begin(), expected.end());
    QCOMPARE(entries, expected);
}

void tst_CommandSearch::searchKeepsNamesInPetscii_data()
{
    QTest::addColumn<QString>("base");
    QTest::addColumn<QByteArray>("name");

    QTest::newRow("capitals-are-shifted") << "Hello" << QByteArray::fromHex("C8454C4C4F");
    QTest::newRow("ends-at-the-first-dot") << "my.game" << QByteArray("MY");
    QTest::newRow("sixteen-characters") << "abcdefghijklmnop" << QByteArray("ABCDEFGHIJKLMNOP");
    QTest::newRow("long-name-is-cut") << "abcdefghijklmnopq" << QByteArray("ABCDEFGHIJKLMNOP");
    QTest::newRow("wildcards") << "a*b?" << QByteArray("A*B?");
    QTest::newRow("quote-inside") << "a\"b" << QByteArray("A\"B");
    QTest::newRow("latin-1-letter") << QString(QChar(0xE9)) << QByteArray::fromHex("E9");
    QTest::newRow("shifted-space-ends-it")
        << QStringLiteral("a%1b").arg(QChar(0xA0)) << QByteArray("A");
    // The character has no code in 8 bits and becomes NUL, which ends the text of a line.
    QTest::newRow("letter-beyond-latin-1")
        << QStringLiteral("a%1b").arg(QChar(0x20AC)) << QByteArray("A");
}

void tst_CommandSearch::searchKeepsNamesInPetscii()
{
    QFETCH(QString, base);
    QFETCH(QByteArray, name);

    if (!IsFileName(base))
        QSKIP(NO_FILE_NAME);
    QVERIFY(WriteSparseFile(Path("disks/") + base + QStringLiteral(".d71"), 349696));
    QVERIFY(WriteSparseFile(Path("programs/") + base + QStringLiteral(".PRG"), 0));
    QCOMPARE(OnlyProgram(mHub.Send(SearchRequest("*"))),
             SearchListing(ListingEntry(name, "D71") + ListingEntry(name, "PRG")));
}

void tst_CommandSearch::searchHasNoLimit()
{
    constexpr int COUNT = 300;

    for (int i = 0; i < COUNT; ++i) {
        QVERIFY(WriteSparseFile(Path("disks/") + QString::number(i), D64_SIZE));
        QVERIFY(WriteSparseFile(Path(QStringLiteral("programs/%1.prg").arg(i)), 10));
    }
    const QByteArray listing = OnlyProgram(mHub.Send(SearchRequest("*")));
    QCOMPARE(listing.size(), 34 + 2 * COUNT * 30);
    QCOMPARE(Entries(listing).size(), 2 * COUNT);
}

void tst_CommandSearch::searchListsWhatCannotBeOpened()
{
    SKIP_ON_WINDOWS("Windows has no fifos, and links for administrators only");
    QVERIFY(WriteFile(Path("programs/tools.prg/inner.txt"), "text"));
    QVERIFY(MakeFifo(Path("programs/pipe.prg")));
    QVERIFY(MakeLink(QStringLiteral("gone"), Path("programs/dangling.prg")));
    QVERIFY(MakeLink(QStringLiteral("/dev/zero"), Path("programs/zero.prg")));
    QVERIFY(WriteFile(Path("programs/locked.prg"), "\x01\x08"));
    QVERIFY(WriteSparseFile(Path("disks/locked.d64"), D64_SIZE));
    QVERIFY(chmod(QFile::encodeName(Path("programs/locked.prg")).constData(), 0) == 0);
    QVERIFY(chmod(QFile::encodeName(Path("disks/locked.d64")).constData(), 0) == 0);

    QList<QByteArray> entries;
    {
        const OrdinaryUser user;
        entries = Entries(OnlyProgram(mHub.Send(SearchRequest("*"))));
    }
    std::sort(entries.begin(), entries.end());
    QCOMPARE(entries, (QList<QByteArray>{"LOCKED.D64", "LOCKED.PRG", "TOOLS.PRG", "ZERO.PRG"}));
}

int main(int argc, char **argv)
{
    return RunWithHub<tst_CommandSearch>(argc, argv);
}

#include "tst_CommandSearch.moc"
