// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#include "MediaTest.h"

#include <limits>

namespace
{

QByteArray Field(const AppDosName &name)
{
    return QByteArray(name.Bytes(), AppDosName::SIZE);
}

template <typename RECORD> QStringList Paths(const QList<RECORD> &records)
{
    QStringList paths;
    for (const RECORD &record : records)
        paths.append(record.info.absoluteFilePath());
    return paths;
}

} // namespace

class tst_AppMediaMgr : public MediaTest
{
    Q_OBJECT

private slots:
    void init() { MakeDirectory(); }

    void thereIsOneInstance();
    void sizeTellsTheDiskType_data();
    void sizeTellsTheDiskType();

    void sizeAloneMakesADisk_data();
    void sizeAloneMakesADisk();
    void sizeIsNotTakenModulo32Bits();
    void diskCarriesNameTypeAndFile();
    void suffixAloneMakesAProgram_data();
    void suffixAloneMakesAProgram();
    void programCarriesNameAndFile();
    void directoryWithTheSuffixIsAProgram();

    void nameIsMadeOfTheBaseName_data();
    void nameIsMadeOfTheBaseName();
    void patternSelects_data();
    void patternSelects();
    void letterCaseTellsProgramsApart();
    void filesOfOneNameAreSeparateEntries();

    void searchDescendsToAnyDepth();
    void searchFollowsNoLinksToDirectories();
    void searchSeesLinksToFiles();
    void linkToADirectoryWithTheSuffixIsAProgram();
    void directoryThatCannotBeReadIsPassedOver();
    void directoryWithoutRightToEnterIsListed();
    void searchSeesNothingHidden();
    void searchSeesNoSpecialFiles();
    void searchKeepsTheOrderOfTheIterator();
    void searchLooksAfreshEachTime();
    void searchOfNoDirectoryFindsNothing_data();
    void searchOfNoDirectoryFindsNothing();
    void searchWorksOnAnySpellingOfTheDirectory_data();
    void searchWorksOnAnySpellingOfTheDirectory();
};

void tst_AppMediaMgr::thereIsOneInstance()
{
    QCOMPARE(&AppMediaMgr::Instance(), &AppMediaMgr::Instance());
}

void tst_AppMediaMgr::sizeTellsTheDiskType_data()
{
    QTest::addColumn<int>("size");
    QTest::addColumn<int>("type");

    QTest::newRow("d64") << 174848 << 0;
    QTest::newRow("d64-with-error-bytes") << 175531 << 0;
    QTest::newRow("d71") << 349696 << 1;
    QTest::newRow("d81") << 819200 << 2;
    QTest::newRow("d80") << 533248 << 3;
    QTest::newRow("d82") << 1066496 << 4;
    for (const int size : {174848, 175531, 349696, 819200, 533248, 1066496}) {
        QTest::addRow("one-less-than-%d", size) << size - 1 << -1;
        QTest::addRow("one-more-than-%d", size) << size + 1 << -1;
    }
    QTest::newRow("d64-of-40-tracks") << 196608 << -1;
    QTest::newRow("d64-of-40-tracks-with-error-bytes") << 197376 << -1;
    QTest::newRow("d71-with-error-bytes") << 351062 << -1;
    QTest::newRow("d81-with-error-bytes") << 822400 << -1;
    QTest::newRow("nothing") << 0 << -1;
    QTest::newRow("minus-one") << -1 << -1;
    QTest::newRow("smallest") << std::numeric_limits<int>::min() << -1;
    QTest::newRow("largest") << std::numeric_limits<int>::max() << -1;
    QTest::newRow("padded-to-4096") << 176128 << -1;
}

void tst_AppMediaMgr::sizeTellsTheDiskType()
{
    QFETCH(int, size);
    QFETCH(int, type);

    QCOMPARE(AppMediaMgr::Instance().IdentifyDiskBySize(size), type);
}

void tst_AppMediaMgr::sizeAloneMakesADisk_data()
{
    QTest::addColumn<QString>("file");
    QTest::addColumn<qint64>("size");
    QTest::addColumn<int>("type"); // -1: not found

    QTest::newRow("text-of-a-disk's-size") << "notes.txt" << qint64(174848) << 0;
    QTest::newRow("no-suffix") << "notes" << qint64(174848) << 0;
    QTest::newRow("program's-suffix") << "notes.prg" << qint64(174848) << 0;
    QTest::newRow("another-type's-suffix") << "notes.d64" << qint64(819200) << 2;
    QTest::newRow("d64-with-error-bytes") << "a.d64" << qint64(175531) << 0;
    QTest::newRow("d71") << "a.d71" << qint64(349696) << 1;
    QTest::newRow("d81") << "a.d81" << qint64(819200) << 2;
    QTest::newRow("d80") << "a.d80" << qint64(533248) << 3;
    QTest::newRow("d82") << "a.d82" << qint64(1066496) << 4;
    QTest::newRow("d64-of-40-tracks") << "game.d64" << qint64(196608) << -1;
    QTest::newRow("d64-of-40-tracks-with-error-bytes") << "game.d64" << qint64(197376) << -1;
    QTest::newRow("one-byte-short") << "game.d64" << qint64(174847) << -1;
    QTest::newRow("one-byte-over") << "game.d64" << qint64(174849) << -1;
    QTest::newRow("empty") << "game.d64" << qint64(0) << -1;
}

void tst_AppMediaMgr::sizeAloneMakesADisk()
{
    QFETCH(QString, file);
    QFETCH(qint64, size);
    QFETCH(int, type);

    QVERIFY(WriteSparseFile(Path(file), size));
    const QList<AppMediaMgr::DISK> disks =
        AppMediaMgr::Instance().SearchDisks(mDirectory->path(), Everything());
    QCOMPARE(disks.size(), type < 0 ? 0 : 1);
    if (type >= 0)
        QCOMPARE(int(disks.first().type), type);
}

void tst_AppMediaMgr::sizeIsNotTakenModulo32Bits()
{
    constexpr qint64 GIBIBYTE = 1 << 30;

    QVERIFY(WriteSparseFile(Path("plus4.d64"), 4 * GIBIBYTE + D64_SIZE));
    QVERIFY(WriteSparseFile(Path("plus8.d64"), 8 * GIBIBYTE + D64_SIZE));
    QVERIFY(WriteSparseFile(Path("real.d64"), D64_SIZE));
    QCOMPARE(FoundDisks(), QStringList{QStringLiteral("real.d64")});
}

void tst_AppMediaMgr::diskCarriesNameTypeAndFile()
{
    QVERIFY(WriteSparseFile(Path("notes.txt"), D64_SIZE));
    const QList<AppMediaMgr::DISK> disks =
        AppMediaMgr::Instance().SearchDisks(mDirectory->path(), Everything());
    QCOMPARE(disks.size(), 1);
    QCOMPARE(Field(disks.first().name), QByteArray::fromHex("4E4F544553 A0A0A0A0A0A0A0A0A0A0A0"));
    QCOMPARE(disks.first().type, AppPackage::DISK_D64);
    QCOMPARE(disks.first().info.absoluteFilePath(), Path("notes.txt"));
}

void tst_AppMediaMgr::suffixAloneMakesAProgram_data()
{
    QTest::addColumn<QString>("file");
    QTest::addColumn<bool>("isProgram");

    QTest::newRow("lower-case") << "game.prg" << true;
    QTest::newRow("upper-case") << "game.PRG" << true;
    QTest::newRow("mixed-case") << "game.Prg" << true;
    QTest::newRow("last-of-two-suffixes") << "game.bak.prg" << true;
    QTest::newRow("first-of-two-suffixes") << "game.prg.bak" << false;
    QTest::newRow("no-dot") << "prg" << false;
    QTest::newRow("nothing-after-the-dot") << "prg." << false;
    QTest::newRow("longer-suffix") << "game.prgs" << false;
    QTest::newRow("shorter-suffix") << "game.pr" << false;
    QTest::newRow("tilde-behind") << "game.prg~" << false;
    QTest::newRow("blank-behind") << "game.prg " << false;
    QTest::newRow("another-suffix") << "game.d64" << false;
}

void tst_AppMediaMgr::suffixAloneMakesAProgram()
{
    QFETCH(QString, file);
    QFETCH(bool, isProgram);

    for (const int size : {0, 1, 2, D64_SIZE}) {
        QVERIFY(WriteSparseFile(Path(file), size));
        QCOMPARE(FoundPrograms(), isProgram ? QStringList{file} : QStringList());
    }
}

void tst_AppMediaMgr::programCarriesNameAndFile()
{
    QVERIFY(WriteFile(Path("sub/deeper/hello.prg"), "\x01\x04"));
    const QList<AppMediaMgr::PROGRAM> programs =
        AppMediaMgr::Instance().SearchPrograms(mDirectory->path(), Everything());
    QCOMPARE(programs.size(), 1);
    QCOMPARE(Field(programs.first().name),
             QByteArray::fromHex("48454C4C4F A0A0A0A0A0A0A0A0A0A0A0"));
    QCOMPARE(programs.first().info.absoluteFilePath(), Path("sub/deeper/hello.prg"));
}

void tst_AppMediaMgr::directoryWithTheSuffixIsAProgram()
{
    SKIP_ON_WINDOWS("Windows does not tell names apart by case");
    QVERIFY(WriteFile(Path("tools.prg/inner.prg"), "\x01\x04"));
    QVERIFY(WriteFile(Path("tools.PRG/inner.txt"), "\x01\x04"));
    QCOMPARE(FoundPrograms(), (QStringList{QStringLiteral("tools.PRG"), QStringLiteral("tools.prg"),
                                           QStringLiteral("tools.prg/inner.prg")}));
    QCOMPARE(FoundPrograms(HostName("tools")),
             QStringList{QStringLiteral("tools.PRG")} << QStringLiteral("tools.prg"));
}

void tst_AppMediaMgr::nameIsMadeOfTheBaseName_data()
{
    QTest::addColumn<QString>("base");
    QTest::addColumn<QByteArray>("name"); // before the padding

    QTest::newRow("small-letters-become-capitals") << "hello" << QByteArray("HELLO");
    QTest::newRow("capitals-become-shifted-ones") << "Hello" << QByteArray::fromHex("C8454C4C4F");
    QTest::newRow("ends-at-the-first-dot") << "my.game" << QByteArray("MY");
    QTest::newRow("ends-at-the-first-of-two-dots") << "my..game" << QByteArray("MY");
    QTest::newRow("sixteen-characters") << "abcdefghijklmnop" << QByteArray("ABCDEFGHIJKLMNOP");
    QTest::newRow("seventeenth-is-cut") << "abcdefghijklmnopq" << QByteArray("ABCDEFGHIJKLMNOP");
    QTest::newRow("digits-and-signs-stay") << "a-1 (2)_+,;'" << QByteArray("A-1 (2)_+,;'");
    QTest::newRow("wildcards-stay") << "a*b?" << QByteArray("A*B?");
    QTest::newRow("quote-stays") << "a\"b" << QByteArray("A\"B");
    QTest::newRow("colon-in-front-stays") << ":a" << QByteArray(":A");
    QTest::newRow("one-character") << "x" << QByteArray("X");
    QTest::newRow("latin-1-letter-is-its-code")
        << QString(QChar(0xE9)) + QLatin1Char('a') << QByteArray::fromHex("E941");
}

void tst_AppMediaMgr::nameIsMadeOfTheBaseName()
{
    QFETCH(QString, base);
    QFETCH(QByteArray, name);

    if (!IsFileName(base))
        QSKIP(NO_FILE_NAME);
    const AppMediaMgr &media = AppMediaMgr::Instance();
    QVERIFY(WriteSparseFile(Path(base + QStringLiteral(".prg")), D64_SIZE));
    const QList<AppMediaMgr::PROGRAM> programs =
        media.SearchPrograms(mDirectory->path(), Everything());
    QCOMPARE(programs.size(), 1);
    QCOMPARE(Field(programs.first().name), Field(Name(name)));
    const QList<AppMediaMgr::DISK> disks = media.SearchDisks(mDirectory->path(), Everything());
    QCOMPARE(disks.size(), 1);
    QCOMPARE(Field(disks.first().name), Field(Name(name)));
}

void tst_AppMediaMgr::patternSelects_data()
{
    QTest::addColumn<QByteArray>("pattern"); // PETSCII
    QTest::addColumn<QStringList>("bases");

    const QString a = QStringLiteral("a");
    const QString abc = QStringLiteral("abc");
    const QString axc = QStringLiteral("axc");
    const QString capitals = QStringLiteral("ABC");
    const QString full = QStringLiteral("abcdefghijklmnop");
    QTest::newRow("star-finds-all") << QByteArray("*") << QStringList{capitals, a, abc, full, axc};
    QTest::newRow("one-question-mark-is-one-character") << QByteArray("?") << QStringList{a};
    QTest::newRow("question-mark-inside") << QByteArray("A?C") << QStringList{abc, axc};
    QTest::newRow("question-marks-for-capitals-too")
        << QByteArray("???") << QStringList{capitals, abc, axc};
    QTest::newRow("star-behind") << QByteArray("AB*") << QStringList{abc, full};
    QTest::newRow("text-after-star-is-ignored") << QByteArray("AB*Z") << QStringList{abc, full};
    QTest::newRow("whole-name") << QByteArray("ABC") << QStringList{abc};
    QTest::newRow("shifted-letters") << QByteArray::fromHex("C1C2C3") << QStringList{capitals};
    QTest::newRow("all-sixteen") << QByteArray("ABCDEFGHIJKLMNOP") << QStringList{full};
    QTest::newRow("not-in-ascii") << QByteArray("abc") << QStringList();
    QTest::newRow("suffix-is-no-part") << QByteArray("ABC.PRG") << QStringList();
    QTest::newRow("empty-finds-nothing") << QByteArray() << QStringList();
}

void tst_AppMediaMgr::patternSelects()
{
    SKIP_ON_WINDOWS("Windows does not tell names apart by case");
    QFETCH(QByteArray, pattern);
    QFETCH(QStringList, bases);

    for (const char *file :
         {"a.prg", "abc.prg", "axc.prg", "ABC.prg", "abcdefghijklmnop.prg", ".prg"})
        QVERIFY(WriteSparseFile(Path(file), D64_SIZE));
    QStringList expected;
    for (const QString &base : std::as_const(bases))
        expected.append(base + QStringLiteral(".prg"));
    QCOMPARE(FoundPrograms(Name(pattern)), expected);
    QCOMPARE(FoundDisks(Name(pattern)), expected);
}

void tst_AppMediaMgr::letterCaseTellsProgramsApart()
{
    SKIP_ON_WINDOWS("Windows does not tell names apart by case");
    QVERIFY(WriteFile(Path("GAME.PRG"), "1"));
    QVERIFY(WriteFile(Path("game.prg"), "2"));
    QCOMPARE(FoundPrograms(),
             (QStringList{QStringLiteral("GAME.PRG"), QStringLiteral("game.prg")}));
    QCOMPARE(FoundPrograms(Name(QByteArray::fromHex("C7C1CDC5"))),
             QStringList{QStringLiteral("GAME.PRG")});
    QCOMPARE(FoundPrograms(Name(QByteArray::fromHex("47414D45"))),
             QStringList{QStringLiteral("game.prg")});
}

void tst_AppMediaMgr::filesOfOneNameAreSeparateEntries()
{
    const QStringList files{QStringLiteral("LONGNAME12345678A.prg"),
                            QStringLiteral("LONGNAME12345678B.prg"),
                            QStringLiteral("sub/LONGNAME12345678A.prg")};
    for (const QString &file : files)
        QVERIFY(WriteSparseFile(Path(file), D64_SIZE));
    QCOMPARE(FoundPrograms(HostName("LONGNAME12345678")), files);
    QCOMPARE(FoundDisks(HostName("LONGNAME12345678")), files);
}

void tst_AppMediaMgr::searchDescendsToAnyDepth()
{
    QStringList expected;
    QString directory;
    for (int depth = 0; depth < 12; ++depth) {
        expected.append(directory + QStringLiteral("deep.prg"));
        QVERIFY(WriteSparseFile(Path(expected.last()), D64_SIZE));
        directory += QStringLiteral("x/");
    }
    QCOMPARE(FoundPrograms(), expected);
    QCOMPARE(FoundDisks(), expected);
}

void tst_AppMediaMgr::searchFollowsNoLinksToDirectories()
{
    SKIP_ON_WINDOWS("Windows lets only administrators make links");
    QTemporaryDir elsewhere;
    QVERIFY(WriteSparseFile(elsewhere.filePath(QStringLiteral("far.prg")), D64_SIZE));
    QVERIFY(WriteSparseFile(Path("sub/near.prg"), D64_SIZE));
    QVERIFY(MakeLink(elsewhere.path(), Path("elsewhere")));
    QVERIFY(MakeLink(QStringLiteral("sub"), Path("sibling")));
    QVERIFY(MakeLink(QStringLiteral("."), Path("itself")));
    QVERIFY(MakeLink(QStringLiteral(".."), Path("sub/parent")));
    QVERIFY(MakeLink(mDirectory->path(), Path("sub/top")));

    QCOMPARE(FoundDisks(), QStringList{QStringLiteral("sub/near.prg")});
    QCOMPARE(FoundPrograms(), QStringList{QStringLiteral("sub/near.prg")});
}

void tst_AppMediaMgr::searchSeesLinksToFiles()
{
    SKIP_ON_WINDOWS("Windows lets only administrators make links");
    QTemporaryDir elsewhere;
    QVERIFY(WriteSparseFile(elsewhere.filePath(QStringLiteral("far.bin")), D64_SIZE));
    QVERIFY(MakeLink(elsewhere.filePath(QStringLiteral("far.bin")), Path("near.prg")));
    QVERIFY(MakeLink(elsewhere.filePath(QStringLiteral("gone")), Path("dangling.prg")));
    QVERIFY(MakeLink(QStringLiteral("loop.prg"), Path("loop.prg")));
    QVERIFY(MakeLink(QStringLiteral("pong.prg"), Path("ping.prg")));
    QVERIFY(MakeLink(QStringLiteral("ping.prg"), Path("pong.prg")));

    QCOMPARE(FoundDisks(), QStringList{QStringLiteral("near.prg")});
    QCOMPARE(FoundPrograms(), QStringList{QStringLiteral("near.prg")});
    const QList<AppMediaMgr::DISK> disks =
        AppMediaMgr::Instance().SearchDisks(mDirectory->path(), HostName("near"));
    QCOMPARE(disks.size(), 1);
    QCOMPARE(int(disks.first().type), 0);
}

void tst_AppMediaMgr::linkToADirectoryWithTheSuffixIsAProgram()
{
    SKIP_ON_WINDOWS("Windows lets only administrators make links");
    const QTemporaryDir elsewhere;
    QVERIFY(WriteSparseFile(elsewhere.filePath(QStringLiteral("far.prg")), D64_SIZE));
    QVERIFY(MakeLink(elsewhere.path(), Path("linked.prg")));
    QVERIFY(MakeLink(elsewhere.path(), Path("sub.prg")));

    QCOMPARE(FoundPrograms(),
             (QStringList{QStringLiteral("linked.prg"), QStringLiteral("sub.prg")}));
    QCOMPARE(FoundPrograms(HostName("linked")), QStringList{QStringLiteral("linked.prg")});
    QCOMPARE(FoundPrograms(HostName("far")), QStringList());
    QCOMPARE(FoundDisks(), QStringList());
}

void tst_AppMediaMgr::directoryThatCannotBeReadIsPassedOver()
{
    SKIP_ON_WINDOWS("Windows has other permissions");
    QVERIFY(WriteSparseFile(Path("locked/inside.prg"), D64_SIZE));
    QVERIFY(WriteSparseFile(Path("locked.prg/inside.prg"), D64_SIZE));
    QVERIFY(WriteSparseFile(Path("unreadable.prg"), D64_SIZE));
    QVERIFY(WriteSparseFile(Path("sub/seen.prg"), D64_SIZE));
    for (const char *locked : {"locked", "locked.prg", "unreadable.prg"})
        QVERIFY(SetMode(locked, 0));
    {
        const OrdinaryUser user;
        const QString unreadable = QStringLiteral("unreadable.prg");
        const QString seen = QStringLiteral("sub/seen.prg");
        // Neither keeps the rest from being found, and both still have their own names.
        QCOMPARE(FoundPrograms(), (QStringList{QStringLiteral("locked.prg"), seen, unreadable}));
        QCOMPARE(FoundDisks(), (QStringList{seen, unreadable}));
    }
    QVERIFY(SetMode("locked", 0755));
    QVERIFY(SetMode("locked.prg", 0755));
}

void tst_AppMediaMgr::directoryWithoutRightToEnterIsListed()
{
    SKIP_ON_WINDOWS("Windows has other permissions");
    QVERIFY(WriteSparseFile(Path("listed/inside.prg"), D64_SIZE));
    QVERIFY(SetMode("listed", 0444));
    {
        // The names can be read, but not the sizes.
        const OrdinaryUser user;
        QCOMPARE(FoundPrograms(), QStringList{QStringLiteral("listed/inside.prg")});
        QCOMPARE(FoundDisks(), QStringList());
    }
    QVERIFY(SetMode("listed", 0755));
}

void tst_AppMediaMgr::searchSeesNothingHidden()
{
    QVERIFY(WriteSparseFile(Path(".hidden.prg"), D64_SIZE));
    QVERIFY(WriteSparseFile(Path(".prg"), D64_SIZE));
    QVERIFY(WriteSparseFile(Path("..prg"), D64_SIZE));
    QVERIFY(WriteSparseFile(Path(".hidden/inside.prg"), D64_SIZE));
    QVERIFY(WriteSparseFile(Path(".hidden/sub/inside.prg"), D64_SIZE));
    QVERIFY(WriteSparseFile(Path("sub/.hidden.prg"), D64_SIZE));
    QVERIFY(WriteSparseFile(Path("seen.prg"), D64_SIZE));

    QCOMPARE(FoundDisks(), QStringList{QStringLiteral("seen.prg")});
    QCOMPARE(FoundPrograms(), QStringList{QStringLiteral("seen.prg")});
}

void tst_AppMediaMgr::searchSeesNoSpecialFiles()
{
    SKIP_ON_WINDOWS("Windows has no fifos");
    QVERIFY(MakeFifo(Path("pipe.prg")));
    QVERIFY(MakeFifo(Path("pipe.d64")));
    QVERIFY(WriteSparseFile(Path("seen.prg"), D64_SIZE));

    QCOMPARE(FoundDisks(), QStringList{QStringLiteral("seen.prg")});
    QCOMPARE(FoundPrograms(), QStringList{QStringLiteral("seen.prg")});
}

void tst_AppMediaMgr::searchKeepsTheOrderOfTheIterator()
{
    for (int i = 0; i < 60; ++i) {
        const int scattered = i * 37 % 60;
        const QString file = QStringLiteral("%1/%2.prg").arg(scattered % 4).arg(scattered);
        QVERIFY(WriteSparseFile(Path(file), D64_SIZE));
        QVERIFY(WriteSparseFile(Path(file.mid(2)), D64_SIZE));
    }
    const QStringList expected = IteratorOrder(mDirectory->path()).filter(QStringLiteral(".prg"));
    QCOMPARE(expected.size(), 120);

    const AppMediaMgr &media = AppMediaMgr::Instance();
    QCOMPARE(Paths(media.SearchDisks(mDirectory->path(), Everything())), expected);
    QCOMPARE(Paths(media.SearchPrograms(mDirectory->path(), Everything())), expected);
}

void tst_AppMediaMgr::searchLooksAfreshEachTime()
{
    QCOMPARE(FoundDisks(), QStringList());
    QVERIFY(WriteSparseFile(Path("a.prg"), D64_SIZE));
    QCOMPARE(FoundDisks(), QStringList{QStringLiteral("a.prg")});
    QCOMPARE(FoundPrograms(), QStringList{QStringLiteral("a.prg")});
    QVERIFY(WriteSparseFile(Path("a.prg"), 1));
    QCOMPARE(FoundDisks(), QStringList());
    QVERIFY(QFile::remove(Path("a.prg")));
    QCOMPARE(FoundPrograms(), QStringList());
}

void tst_AppMediaMgr::searchOfNoDirectoryFindsNothing_data()
{
    AddNoDirectories();
}

void tst_AppMediaMgr::searchOfNoDirectoryFindsNothing()
{
    SKIP_ON_WINDOWS("Windows lets only administrators make links");
    QFETCH(QString, directory);

    QVERIFY(WriteSparseFile(Path("a.prg"), D64_SIZE));
    QVERIFY(MakeLink(QStringLiteral("gone"), Path("dangling")));
    const WorkingDirectory here(mDirectory->path());
    const AppMediaMgr &media = AppMediaMgr::Instance();
    QCOMPARE(media.SearchDisks(QStringLiteral("."), Everything()).size(), 1);
    QCOMPARE(media.SearchDisks(directory, Everything()).size(), 0);
    QCOMPARE(media.SearchPrograms(directory, Everything()).size(), 0);
}

void tst_AppMediaMgr::searchWorksOnAnySpellingOfTheDirectory_data()
{
    QTest::addColumn<QString>("directory"); // relative to the parent

    QTest::newRow("plain") << QStringLiteral("media");
    QTest::newRow("slash-behind") << QStringLiteral("media/");
    QTest::newRow("dots") << QStringLiteral("./media/../media/.");
    QTest::newRow("link") << QStringLiteral("link");
    QTest::newRow("hidden") << QStringLiteral(".hidden");
}

void tst_AppMediaMgr::searchWorksOnAnySpellingOfTheDirectory()
{
    SKIP_ON_WINDOWS("Windows lets only administrators make links");
    QFETCH(QString, directory);

    QVERIFY(WriteSparseFile(Path("media/sub/a.prg"), D64_SIZE));
    QVERIFY(WriteSparseFile(Path(".hidden/sub/a.prg"), D64_SIZE));
    QVERIFY(MakeLink(QStringLiteral("media"), Path("link")));
    const WorkingDirectory here(mDirectory->path());
    const AppMediaMgr &media = AppMediaMgr::Instance();
    const QString absolute = mDirectory->path() + QLatin1Char('/') + directory;
    for (const QString &spelling : {directory, absolute}) {
        QCOMPARE(media.SearchDisks(spelling, HostName("a")).size(), 1);
        QCOMPARE(media.SearchPrograms(spelling, HostName("a")).size(), 1);
    }
}

QTEST_GUILESS_MAIN(tst_AppMediaMgr)
#include "tst_AppMediaMgr.moc"
