// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#include "AppMediaMgr.h"

#include "HostFiles.h"

#include <QTemporaryDir>
#include <QtTest>

#include <limits>
#include <memory>

namespace
{
constexpr int D64_SIZE = 174848;

/// A name of the bytes before the padding.
AppDosName Name(const QByteArray &bytes)
{
    return AppDosName::FromBytes(bytes.leftJustified(AppDosName::SIZE, char(0xA0)).constData());
}

/// The name of a host's text.
AppDosName HostName(const char *text)
{
    AppDosName name;
    name.FromString(QString::fromUtf8(text), true);
    return name;
}

AppDosName Everything()
{
    return Name("*");
}

QByteArray Field(const AppDosName &name)
{
    return QByteArray(name.Bytes(), AppDosName::SIZE);
}

/// The character that a byte of a DOS name becomes on the host.
QChar HostCharacter(int byte)
{
    if (byte >= 0x41 && byte <= 0x5A)
        return QChar(byte + 0x20);
    if (byte >= 0xC1 && byte <= 0xDA)
        return QChar(byte - 0x80);
    return QChar(byte);
}

template <typename RECORD> QStringList Paths(const QList<RECORD> &records)
{
    QStringList paths;
    for (const RECORD &record : records)
        paths.append(record.info.absoluteFilePath());
    return paths;
}

enum KIND { KIND_PROGRAM, KIND_DISK };

QString AddUpdate(KIND kind, const QString &directory, const AppDosName &name,
                  const QByteArray &data)
{
    const AppMediaMgr &media = AppMediaMgr::Instance();
    return kind == KIND_DISK ? media.AddUpdateDisk(directory, name, data)
                             : media.AddUpdateProgram(directory, name, data);
}
} // namespace

Q_DECLARE_METATYPE(KIND)

class tst_AppMediaMgr : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();

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
    void searchSeesNothingHidden();
    void searchSeesNoSpecialFiles();
    void searchKeepsTheOrderOfTheIterator();
    void searchLooksAfreshEachTime();
    void searchOfNoDirectoryFindsNothing_data();
    void searchOfNoDirectoryFindsNothing();
    void searchWorksOnAnySpellingOfTheDirectory_data();
    void searchWorksOnAnySpellingOfTheDirectory();

    void readGivesTheWholeFile_data();
    void readGivesTheWholeFile();
    void readFollowsALinkToAFile();
    void readReplacesWhatWasInTheBuffer();
    void readGivesTheFileAsItIsNow();
    void readRefusesWhatIsNoRegularFile_data();
    void readRefusesWhatIsNoRegularFile();
    void readRefusesWhatHasBecomeAFifo();
    void readRefusesAFifoThatHasData();
    void readRefusesAnUnreadableFile();
    void readRefusesWhatNoReplyCanCarry_data();
    void readRefusesWhatNoReplyCanCarry();

    void diskGetsTheExtensionOfItsSize_data();
    void diskGetsTheExtensionOfItsSize();
    void programIsWrittenAsItIs_data();
    void programIsWrittenAsItIs();
    void fileNameIsTheNameInAscii_data();
    void fileNameIsTheNameInAscii();
    void everyByteOfANameStaysInTheDirectory_data();
    void everyByteOfANameStaysInTheDirectory();
    void nameThatLeadsElsewhereIsRefused_data();
    void nameThatLeadsElsewhereIsRefused();
    void writingGoesToTheDirectoryItself();
    void unknownDiskIsWrittenButNeverFound();
    void writingReplacesTheWholeFile_data();
    void writingReplacesTheWholeFile();
    void writingLeavesOpenReadersTheirFile();
    void writingKeepsThePermissionsOfTheFile();
    void newFileHasTheUsualPermissions();
    void writingGoesThroughALinkToAFile_data();
    void writingGoesThroughALinkToAFile();
    void writingLeavesNothingElseBehind();
    void writingIntoNoDirectoryFails_data();
    void writingIntoNoDirectoryFails();
    void writingOverWhatIsNoRegularFileFails_data();
    void writingOverWhatIsNoRegularFileFails();
    void writingToAFifoThatIsReadFails();
    void writingOverAReadOnlyFileFails();
    void writingIntoAReadOnlyDirectoryFails();
    void writableFileInAReadOnlyDirectoryIsReplaced();
    void returnedPathIsAbsolute_data();
    void returnedPathIsAbsolute();

private:
    QString Path(const char *relative) const { return Path(QString::fromUtf8(relative)); }

    /// The same for any name: QTemporaryDir and QDir take a colon in front for Qt's own.
    QString Path(const QString &relative) const
    {
        return mDirectory->path() + QLatin1Char('/') + relative;
    }

    /// Relative paths, sorted.
    template <typename RECORD> QStringList Found(const QList<RECORD> &records) const
    {
        QStringList paths;
        for (const RECORD &record : records)
            paths.append(QDir(mDirectory->path()).relativeFilePath(record.info.filePath()));
        paths.sort();
        return paths;
    }

    QStringList FoundDisks(const AppDosName &pattern = Everything()) const
    {
        return Found(AppMediaMgr::Instance().SearchDisks(mDirectory->path(), pattern));
    }

    QStringList FoundPrograms(const AppDosName &pattern = Everything()) const
    {
        return Found(AppMediaMgr::Instance().SearchPrograms(mDirectory->path(), pattern));
    }

    std::unique_ptr<QTemporaryDir> mDirectory; ///< a new one for each row
};

void tst_AppMediaMgr::initTestCase()
{
    umask(022);
}

void tst_AppMediaMgr::init()
{
    mDirectory = std::make_unique<QTemporaryDir>();
    QVERIFY(mDirectory->isValid());
    // Open to everybody, see OrdinaryUser.
    QVERIFY(chmod(QFile::encodeName(mDirectory->path()).constData(), 0777) == 0);
}

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
    QTest::addColumn<QString>("directory");

    // Relative to a working directory that is full of media.
    QTest::newRow("never-chosen") << QString();
    QTest::newRow("empty-text") << QStringLiteral("");
    QTest::newRow("missing") << QStringLiteral("missing");
    QTest::newRow("missing-in-a-missing-one") << QStringLiteral("missing/missing");
    QTest::newRow("file") << QStringLiteral("a.prg");
    QTest::newRow("dangling-link") << QStringLiteral("dangling");
}

void tst_AppMediaMgr::searchOfNoDirectoryFindsNothing()
{
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

void tst_AppMediaMgr::readGivesTheWholeFile_data()
{
    QTest::addColumn<QByteArray>("contents");

    QByteArray bytes;
    for (int i = 0; i < 100000; ++i)
        bytes.append(char(i * 31 >> 3));
    QTest::newRow("nothing") << QByteArray("");
    QTest::newRow("one-byte") << QByteArray("\0", 1);
    QTest::newRow("line-ends-of-all-kinds") << QByteArray("\r\n\n\r\x1A\0\r\n", 8);
    QTest::newRow("many-bytes") << bytes;
}

void tst_AppMediaMgr::readGivesTheWholeFile()
{
    QFETCH(QByteArray, contents);

    QVERIFY(WriteFile(Path("a.prg"), contents));
    QByteArray data;
    QVERIFY(AppMediaMgr::Instance().Read(QFileInfo(Path("a.prg")), &data));
    QCOMPARE(data, contents);
    QVERIFY(AppMediaMgr::Instance().Read(QFileInfo(Path("a.prg")), nullptr));
}

void tst_AppMediaMgr::readFollowsALinkToAFile()
{
    QVERIFY(WriteFile(Path("a.bin"), "abc"));
    QVERIFY(MakeLink(QStringLiteral("a.bin"), Path("a.prg")));
    QByteArray data;
    QVERIFY(AppMediaMgr::Instance().Read(QFileInfo(Path("a.prg")), &data));
    QCOMPARE(data, QByteArray("abc"));
}

void tst_AppMediaMgr::readReplacesWhatWasInTheBuffer()
{
    QVERIFY(WriteFile(Path("a.prg"), "abc"));
    QByteArray data = "from before";
    QVERIFY(AppMediaMgr::Instance().Read(QFileInfo(Path("a.prg")), &data));
    QCOMPARE(data, QByteArray("abc"));
}

void tst_AppMediaMgr::readGivesTheFileAsItIsNow()
{
    QVERIFY(WriteFile(Path("a.prg"), "abc"));
    const QList<AppMediaMgr::PROGRAM> programs =
        AppMediaMgr::Instance().SearchPrograms(mDirectory->path(), Everything());
    QCOMPARE(programs.size(), 1);
    QCOMPARE(programs.first().info.size(), qint64(3));

    QVERIFY(WriteFile(Path("a.prg"), "longer than before"));
    QByteArray data;
    QVERIFY(AppMediaMgr::Instance().Read(programs.first().info, &data));
    QCOMPARE(data, QByteArray("longer than before"));
    QVERIFY(WriteFile(Path("a.prg"), "x"));
    QVERIFY(AppMediaMgr::Instance().Read(programs.first().info, &data));
    QCOMPARE(data, QByteArray("x"));
    QVERIFY(QFile::remove(Path("a.prg")));
    QVERIFY(!AppMediaMgr::Instance().Read(programs.first().info, &data));
}

void tst_AppMediaMgr::readRefusesWhatIsNoRegularFile_data()
{
    QTest::addColumn<QString>("file");

    QTest::newRow("missing") << "missing.prg";
    QTest::newRow("directory") << "directory.prg";
    QTest::newRow("link-to-directory") << "to-directory.prg";
    QTest::newRow("fifo") << "fifo.prg";
    QTest::newRow("link-to-fifo") << "to-fifo.prg";
    QTest::newRow("link-to-endless-device") << "to-zero.prg";
    QTest::newRow("link-to-empty-device") << "to-null.prg";
    QTest::newRow("dangling-link") << "dangling.prg";
    QTest::newRow("link-to-itself") << "loop.prg";
}

void tst_AppMediaMgr::readRefusesWhatIsNoRegularFile()
{
    QFETCH(QString, file);

    QVERIFY(QDir(mDirectory->path()).mkdir(QStringLiteral("directory.prg")));
    QVERIFY(MakeFifo(Path("fifo.prg")));
    QVERIFY(MakeLink(QStringLiteral("directory.prg"), Path("to-directory.prg")));
    QVERIFY(MakeLink(QStringLiteral("fifo.prg"), Path("to-fifo.prg")));
    QVERIFY(MakeLink(QStringLiteral("/dev/zero"), Path("to-zero.prg")));
    QVERIFY(MakeLink(QStringLiteral("/dev/null"), Path("to-null.prg")));
    QVERIFY(MakeLink(QStringLiteral("gone"), Path("dangling.prg")));
    QVERIFY(MakeLink(QStringLiteral("loop.prg"), Path("loop.prg")));

    const MemoryLimit limit;
    QByteArray data;
    QVERIFY(!AppMediaMgr::Instance().Read(QFileInfo(Path(file)), &data));
    QVERIFY(!AppMediaMgr::Instance().Read(QFileInfo(Path(file)), nullptr));
}

void tst_AppMediaMgr::readRefusesWhatHasBecomeAFifo()
{
    QVERIFY(WriteFile(Path("a.prg"), "abc"));
    const QList<AppMediaMgr::PROGRAM> programs =
        AppMediaMgr::Instance().SearchPrograms(mDirectory->path(), Everything());
    QCOMPARE(programs.size(), 1);
    QVERIFY(programs.first().info.isFile());

    QVERIFY(QFile::remove(Path("a.prg")));
    QVERIFY(MakeFifo(Path("a.prg")));
    QByteArray data;
    QVERIFY(!AppMediaMgr::Instance().Read(programs.first().info, &data));
}

void tst_AppMediaMgr::readRefusesAFifoThatHasData()
{
    QVERIFY(MakeFifo(Path("a.prg")));
    const int fd = open(QFile::encodeName(Path("a.prg")).constData(), O_RDWR | O_NONBLOCK);
    QVERIFY(fd >= 0);
    const bool written = write(fd, "abc", 3) == 3;
    QByteArray data;
    const bool read = AppMediaMgr::Instance().Read(QFileInfo(Path("a.prg")), &data);
    close(fd);
    QVERIFY(written);
    QVERIFY(!read);
}

void tst_AppMediaMgr::readRefusesAnUnreadableFile()
{
    QVERIFY(WriteFile(Path("a.prg"), "abc"));
    QVERIFY(chmod(QFile::encodeName(Path("a.prg")).constData(), 0) == 0);
    const OrdinaryUser user;
    QByteArray data;
    QCOMPARE(FoundPrograms(), QStringList{QStringLiteral("a.prg")});
    QVERIFY(!AppMediaMgr::Instance().Read(QFileInfo(Path("a.prg")), &data));
    QVERIFY(!AppMediaMgr::Instance().Read(QFileInfo(Path("a.prg")), nullptr));
}

void tst_AppMediaMgr::readRefusesWhatNoReplyCanCarry_data()
{
    QTest::addColumn<qint64>("size");
    QTest::addColumn<bool>("opened");

    QTest::newRow("as-much-as-it-can") << Q_INT64_C(0x7FF00000) << true;
    QTest::newRow("one-byte-more") << Q_INT64_C(0x7FF00001) << false;
    QTest::newRow("2-gib") << Q_INT64_C(0x80000000) << false;
    QTest::newRow("4-gib") << Q_INT64_C(0x100000000) << false;
    QTest::newRow("4-gib-and-a-byte") << Q_INT64_C(0x100000001) << false;
}

void tst_AppMediaMgr::readRefusesWhatNoReplyCanCarry()
{
    QFETCH(qint64, size);
    QFETCH(bool, opened);

    QVERIFY(WriteSparseFile(Path("a.prg"), size));
    QCOMPARE(FoundPrograms(), QStringList{QStringLiteral("a.prg")});
    const AppMediaMgr &media = AppMediaMgr::Instance();
    QCOMPARE(media.Read(QFileInfo(Path("a.prg")), nullptr), opened);
    QByteArray data = "from before";
    // What can be read is so large that the test leaves it.
    if (!opened)
        QVERIFY(!media.Read(QFileInfo(Path("a.prg")), &data));
    QCOMPARE(data, QByteArray("from before"));
}

void tst_AppMediaMgr::diskGetsTheExtensionOfItsSize_data()
{
    QTest::addColumn<int>("size");
    QTest::addColumn<QString>("file");

    QTest::newRow("d64") << 174848 << "games.d64";
    QTest::newRow("d64-with-error-bytes") << 175531 << "games.d64";
    QTest::newRow("d71") << 349696 << "games.d71";
    QTest::newRow("d81") << 819200 << "games.d81";
    QTest::newRow("d80") << 533248 << "games.d80";
    QTest::newRow("d82") << 1066496 << "games.d82";
    QTest::newRow("a-thousand-bytes") << 1000 << "games.dxx";
    QTest::newRow("nothing") << 0 << "games.dxx";
    QTest::newRow("one-byte-short") << 174847 << "games.dxx";
    QTest::newRow("d64-of-40-tracks") << 196608 << "games.dxx";
}

void tst_AppMediaMgr::diskGetsTheExtensionOfItsSize()
{
    QFETCH(int, size);
    QFETCH(QString, file);

    QByteArray image(size, '\0');
    for (int i = 0; i < size; ++i)
        image[i] = char(i ^ i >> 8);
    QCOMPARE(AppMediaMgr::Instance().AddUpdateDisk(mDirectory->path(), Name("GAMES"), image),
             Path(file));
    QVERIFY(ReadFile(Path(file)) == image);
    QCOMPARE(Snapshot(mDirectory->path()).size(), 1);
}

void tst_AppMediaMgr::programIsWrittenAsItIs_data()
{
    readGivesTheWholeFile_data();
}

void tst_AppMediaMgr::programIsWrittenAsItIs()
{
    QFETCH(QByteArray, contents);

    QCOMPARE(AppMediaMgr::Instance().AddUpdateProgram(mDirectory->path(), Name("HELLO"), contents),
             Path("hello.prg"));
    QVERIFY(ReadFile(Path("hello.prg")) == contents);
    QVERIFY(!ReadFile(Path("hello.prg")).isNull());
    QCOMPARE(Snapshot(mDirectory->path()).size(), 1);
}

void tst_AppMediaMgr::fileNameIsTheNameInAscii_data()
{
    QTest::addColumn<QByteArray>("field");
    QTest::addColumn<QString>("base");

    QTest::newRow("capitals-become-small-letters")
        << QByteArray::fromHex("48454C4C4FA0A0A0A0A0A0A0A0A0A0A0") << "hello";
    QTest::newRow("shifted-ones-become-capitals")
        << QByteArray::fromHex("C8454C4C4FA0A0A0A0A0A0A0A0A0A0A0") << "Hello";
    QTest::newRow("ascii-letters-stay")
        << QByteArray("hello").leftJustified(16, char(0xA0)) << "hello";
    QTest::newRow("sixteen-characters") << QByteArray("ABCDEFGHIJKLMNOP") << "abcdefghijklmnop";
    QTest::newRow("ends-at-the-first-padding") << QByteArray("AB\xA0"
                                                             "CDEFGHIJKLM/\0",
                                                             16)
                                               << "ab";
    QTest::newRow("blanks-at-the-end-stay")
        << QByteArray("AB  ").leftJustified(16, char(0xA0)) << "ab  ";
    QTest::newRow("dot-stays") << QByteArray("A.B").leftJustified(16, char(0xA0)) << "a.b";
    QTest::newRow("dot-alone") << QByteArray(".").leftJustified(16, char(0xA0)) << ".";
    QTest::newRow("two-dots") << QByteArray("..").leftJustified(16, char(0xA0)) << "..";
    QTest::newRow("sixteen-dots") << QByteArray(16, '.') << "................";
    QTest::newRow("empty-name") << QByteArray(16, char(0xA0)) << "";
    QTest::newRow("star") << QByteArray("*").leftJustified(16, char(0xA0)) << "*";
    QTest::newRow("question-mark") << QByteArray("?").leftJustified(16, char(0xA0)) << "?";
    QTest::newRow("placeholder") << QByteArray("%1").leftJustified(16, char(0xA0)) << "%1";
    QTest::newRow("tilde") << QByteArray("~").leftJustified(16, char(0xA0)) << "~";
    QTest::newRow("backslashes") << QByteArray("..\\X").leftJustified(16, char(0xA0)) << "..\\x";
    QTest::newRow("colon-in-front") << QByteArray(":X").leftJustified(16, char(0xA0)) << ":x";
    QTest::newRow("scheme-in-front")
        << QByteArray("FILE:X").leftJustified(16, char(0xA0)) << "file:x";
    QTest::newRow("scheme-of-resources")
        << QByteArray("QRC:X").leftJustified(16, char(0xA0)) << "qrc:x";
    QTest::newRow("drive-in-front") << QByteArray("C:X").leftJustified(16, char(0xA0)) << "c:x";
}

void tst_AppMediaMgr::fileNameIsTheNameInAscii()
{
    QFETCH(QByteArray, field);
    QFETCH(QString, base);

    const AppDosName name = AppDosName::FromBytes(field.constData());
    const QString program = mDirectory->path() + QLatin1Char('/') + base + QStringLiteral(".prg");
    const QString disk = mDirectory->path() + QLatin1Char('/') + base + QStringLiteral(".dxx");
    const QTemporaryDir elsewhere;
    const WorkingDirectory here(elsewhere.path());
    const AppMediaMgr &media = AppMediaMgr::Instance();
    QCOMPARE(media.AddUpdateProgram(mDirectory->path(), name, "program"), program);
    QCOMPARE(media.AddUpdateDisk(mDirectory->path(), name, "disk"), disk);
    QCOMPARE(ReadFile(program), QByteArray("program"));
    QCOMPARE(ReadFile(disk), QByteArray("disk"));
    QCOMPARE(Snapshot(mDirectory->path()).size(), 2);
}

void tst_AppMediaMgr::everyByteOfANameStaysInTheDirectory_data()
{
    QTest::addColumn<KIND>("kind");
    QTest::addColumn<QByteArray>("before");
    QTest::addColumn<QByteArray>("after");

    QTest::newRow("program-first") << KIND_PROGRAM << QByteArray() << QByteArray("X");
    QTest::newRow("program-last") << KIND_PROGRAM << QByteArray("SUB") << QByteArray();
    QTest::newRow("disk-alone") << KIND_DISK << QByteArray() << QByteArray();
    QTest::newRow("disk-sixteenth") << KIND_DISK << QByteArray(15, 'X') << QByteArray();
}

void tst_AppMediaMgr::everyByteOfANameStaysInTheDirectory()
{
    QFETCH(KIND, kind);
    QFETCH(QByteArray, before);
    QFETCH(QByteArray, after);

    for (int byte = 0; byte < 256; ++byte) {
        const QTemporaryDir outer;
        const QString inner = outer.filePath(QStringLiteral("media"));
        // What a "/" in the name would lead into.
        QVERIFY(QDir().mkpath(inner + QStringLiteral("/sub")));
        QStringList expected = Snapshot(outer.path());
        const WorkingDirectory here(outer.path());

        const QByteArray bytes = before + char(byte) + after;
        QString base;
        for (const char c : bytes) {
            if (c == char(0xA0))
                break;
            base += HostCharacter(static_cast<unsigned char>(c));
        }
        const QString file =
            base + (kind == KIND_DISK ? QStringLiteral(".dxx") : QStringLiteral(".prg"));
        const bool refused = byte == 0 || byte == '/';
        if (!refused)
            expected << QStringLiteral("media/%1 2 %2")
                            .arg(file, QStringLiteral("da23614e02469a0d7c7bd1bdab5c9c474b1904dc"));
        expected.sort();

        const QString path = AddUpdate(kind, inner, Name(bytes), "ab");
        QCOMPARE(path, refused ? QString() : inner + QLatin1Char('/') + file);
        QCOMPARE(Snapshot(outer.path()), expected);
    }
}

void tst_AppMediaMgr::nameThatLeadsElsewhereIsRefused_data()
{
    AddNamesThatLeadElsewhere();
}

void tst_AppMediaMgr::nameThatLeadsElsewhereIsRefused()
{
    QFETCH(QByteArray, name);

    QVERIFY(QDir().mkpath(Path("outer/media/sub")));
    QVERIFY(WriteFile(Path("outer/x.prg"), "outside"));
    QVERIFY(WriteFile(Path("outer/media/a.prg"), "inside"));
    QVERIFY(WriteFile(Path("outer/media/a"), "inside"));
    QVERIFY(WriteFile(Path("outer/media/sub/x.prg"), "below"));
    const QStringList before = Snapshot(mDirectory->path());
    const WorkingDirectory here(Path("outer/media"));
    const QString directory = Path("outer/media");
    QCOMPARE(AddUpdate(KIND_PROGRAM, directory, Name(name), "new"), QString());
    QCOMPARE(AddUpdate(KIND_DISK, directory, Name(name), "new"), QString());
    QCOMPARE(AddUpdate(KIND_DISK, directory, Name(name), QByteArray(D64_SIZE, 'x')), QString());
    QCOMPARE(Snapshot(mDirectory->path()), before);
}

void tst_AppMediaMgr::writingGoesToTheDirectoryItself()
{
    QVERIFY(WriteFile(Path("sub/deeper/hello.prg"), "below"));
    QCOMPARE(AddUpdate(KIND_PROGRAM, mDirectory->path(), Name("HELLO"), "new"), Path("hello.prg"));
    QCOMPARE(ReadFile(Path("hello.prg")), QByteArray("new"));
    QCOMPARE(ReadFile(Path("sub/deeper/hello.prg")), QByteArray("below"));
}

void tst_AppMediaMgr::unknownDiskIsWrittenButNeverFound()
{
    QCOMPARE(AddUpdate(KIND_DISK, mDirectory->path(), Name("HELLO"), QByteArray(1000, 'x')),
             Path("hello.dxx"));
    QCOMPARE(FoundDisks(), QStringList());
    QCOMPARE(AddUpdate(KIND_DISK, mDirectory->path(), Name("HELLO"), QByteArray(D64_SIZE, 'x')),
             Path("hello.d64"));
    QCOMPARE(FoundDisks(), QStringList{QStringLiteral("hello.d64")});
}

void tst_AppMediaMgr::writingReplacesTheWholeFile_data()
{
    QTest::addColumn<QByteArray>("before");
    QTest::addColumn<QByteArray>("after");

    QTest::newRow("by-shorter") << QByteArray(100000, 'a') << QByteArray("b");
    QTest::newRow("by-longer") << QByteArray("a") << QByteArray(100000, 'b');
    QTest::newRow("by-as-long") << QByteArray("aaa") << QByteArray("bbb");
    QTest::newRow("by-nothing") << QByteArray("aaa") << QByteArray("");
    QTest::newRow("nothing") << QByteArray("") << QByteArray("bbb");
}

void tst_AppMediaMgr::writingReplacesTheWholeFile()
{
    QFETCH(QByteArray, before);
    QFETCH(QByteArray, after);

    QVERIFY(WriteFile(Path("a.prg"), before));
    QVERIFY(WriteFile(Path("a.dxx"), before));
    QCOMPARE(AddUpdate(KIND_PROGRAM, mDirectory->path(), Name("A"), after), Path("a.prg"));
    QCOMPARE(AddUpdate(KIND_DISK, mDirectory->path(), Name("A"), after), Path("a.dxx"));
    QVERIFY(ReadFile(Path("a.prg")) == after);
    QVERIFY(ReadFile(Path("a.dxx")) == after);
    QCOMPARE(Snapshot(mDirectory->path()).size(), 2);
}

// A download that runs while an upload replaces its file gets the old one or the new one whole.
void tst_AppMediaMgr::writingLeavesOpenReadersTheirFile()
{
    QVERIFY(WriteFile(Path("a.prg"), QByteArray(1000, 'a')));
    QFile reader(Path("a.prg"));
    QVERIFY(reader.open(QIODevice::ReadOnly));
    QCOMPARE(AddUpdate(KIND_PROGRAM, mDirectory->path(), Name("A"), "b"), Path("a.prg"));
    QCOMPARE(reader.readAll(), QByteArray(1000, 'a'));
    QCOMPARE(ReadFile(Path("a.prg")), QByteArray("b"));
}

void tst_AppMediaMgr::writingKeepsThePermissionsOfTheFile()
{
    QVERIFY(WriteFile(Path("a.prg"), "a"));
    const QByteArray path = QFile::encodeName(Path("a.prg"));
    QVERIFY(chmod(path.constData(), 0640) == 0);
    QCOMPARE(AddUpdate(KIND_PROGRAM, mDirectory->path(), Name("A"), "b"), Path("a.prg"));
    struct stat status;
    QVERIFY(stat(path.constData(), &status) == 0);
    QCOMPARE(int(status.st_mode & 07777), 0640);
}

void tst_AppMediaMgr::newFileHasTheUsualPermissions()
{
    QCOMPARE(AddUpdate(KIND_PROGRAM, mDirectory->path(), Name("A"), "b"), Path("a.prg"));
    struct stat status;
    QVERIFY(stat(QFile::encodeName(Path("a.prg")).constData(), &status) == 0);
    QCOMPARE(int(status.st_mode & 07777), 0644);
}

void tst_AppMediaMgr::writingGoesThroughALinkToAFile_data()
{
    QTest::addColumn<QString>("target");
    QTest::addColumn<QString>("file"); // at the end of the link

    QTest::newRow("to-a-file") << "store/a.bin"
                               << "store/a.bin";
    QTest::newRow("to-a-link") << "store/link"
                               << "store/a.bin";
    QTest::newRow("to-a-file-that-is-not-there-yet") << "store/new"
                                                     << "store/new";
}

void tst_AppMediaMgr::writingGoesThroughALinkToAFile()
{
    QFETCH(QString, target);
    QFETCH(QString, file);

    QVERIFY(WriteFile(Path("store/a.bin"), "a"));
    QVERIFY(MakeLink(QStringLiteral("a.bin"), Path("store/link")));
    QVERIFY(MakeLink(target, Path("a.prg")));
    QCOMPARE(AddUpdate(KIND_PROGRAM, mDirectory->path(), Name("A"), "b"), Path("a.prg"));
    QVERIFY(QFileInfo(Path("a.prg")).isSymLink());
    QVERIFY(QFileInfo(Path("store/link")).isSymLink());
    QCOMPARE(ReadFile(Path(file)), QByteArray("b"));
}

void tst_AppMediaMgr::writingLeavesNothingElseBehind()
{
    QVERIFY(WriteFile(Path("other.prg"), "other"));
    QVERIFY(WriteFile(Path("a"), "other"));
    QVERIFY(WriteFile(Path("A.prg"), "other"));
    QVERIFY(WriteFile(Path("a.prg"), "b"));
    const QStringList expected = Snapshot(mDirectory->path());
    QVERIFY(WriteFile(Path("a.prg"), "a"));
    QCOMPARE(AddUpdate(KIND_PROGRAM, mDirectory->path(), Name("A"), "b"), Path("a.prg"));
    QCOMPARE(Snapshot(mDirectory->path()), expected);
}

void tst_AppMediaMgr::writingIntoNoDirectoryFails_data()
{
    searchOfNoDirectoryFindsNothing_data();
}

void tst_AppMediaMgr::writingIntoNoDirectoryFails()
{
    QFETCH(QString, directory);

    QVERIFY(WriteFile(Path("a.prg"), "a"));
    QVERIFY(MakeLink(QStringLiteral("gone"), Path("dangling")));
    const WorkingDirectory here(mDirectory->path());
    const QStringList before = Snapshot(mDirectory->path());
    for (const char *name : {"A", "NEW"}) {
        QCOMPARE(AddUpdate(KIND_PROGRAM, directory, Name(name), "b"), QString());
        QCOMPARE(AddUpdate(KIND_DISK, directory, Name(name), "b"), QString());
    }
    QCOMPARE(Snapshot(mDirectory->path()), before);
    QVERIFY(!QFileInfo::exists(QStringLiteral("/new.prg")));
    QVERIFY(!QFileInfo::exists(QStringLiteral("/new.dxx")));
}

void tst_AppMediaMgr::writingOverWhatIsNoRegularFileFails_data()
{
    QTest::addColumn<QByteArray>("name");

    QTest::newRow("directory") << QByteArray("DIRECTORY");
    QTest::newRow("link-to-directory") << QByteArray("TO-DIRECTORY");
    QTest::newRow("fifo") << QByteArray("FIFO");
    QTest::newRow("link-to-fifo") << QByteArray("TO-FIFO");
    QTest::newRow("link-to-itself") << QByteArray("LOOP");
    QTest::newRow("links-to-each-other") << QByteArray("PING");
}

void tst_AppMediaMgr::writingOverWhatIsNoRegularFileFails()
{
    QFETCH(QByteArray, name);

    for (const char *suffix : {"prg", "dxx"}) {
        const auto path = [this, suffix](const char *base) {
            return Path(base) + QLatin1Char('.') + QLatin1String(suffix);
        };
        QVERIFY(QDir().mkdir(path("directory")));
        QVERIFY(MakeFifo(path("fifo")));
        QVERIFY(MakeLink(path("directory"), path("to-directory")));
        QVERIFY(MakeLink(path("fifo"), path("to-fifo")));
        QVERIFY(MakeLink(path("loop"), path("loop")));
        QVERIFY(MakeLink(path("pong"), path("ping")));
        QVERIFY(MakeLink(path("ping"), path("pong")));
    }
    const QStringList before = Snapshot(mDirectory->path());
    QCOMPARE(AddUpdate(KIND_PROGRAM, mDirectory->path(), Name(name), "b"), QString());
    QCOMPARE(AddUpdate(KIND_DISK, mDirectory->path(), Name(name), "b"), QString());
    QCOMPARE(Snapshot(mDirectory->path()), before);
}

void tst_AppMediaMgr::writingToAFifoThatIsReadFails()
{
    QVERIFY(MakeFifo(Path("a.prg")));
    const int fd = open(QFile::encodeName(Path("a.prg")).constData(), O_RDONLY | O_NONBLOCK);
    QVERIFY(fd >= 0);
    const QString path = AddUpdate(KIND_PROGRAM, mDirectory->path(), Name("A"), "b");
    char byte = 0;
    const ssize_t received = read(fd, &byte, 1);
    close(fd);
    QCOMPARE(path, QString());
    QVERIFY(received <= 0);
    QVERIFY(!QFileInfo(Path("a.prg")).isFile());
}

void tst_AppMediaMgr::writingOverAReadOnlyFileFails()
{
    QVERIFY(WriteFile(Path("a.prg"), "a"));
    QVERIFY(chmod(QFile::encodeName(Path("a.prg")).constData(), 0444) == 0);
    const OrdinaryUser user;
    QCOMPARE(AddUpdate(KIND_PROGRAM, mDirectory->path(), Name("A"), "b"), QString());
    QCOMPARE(ReadFile(Path("a.prg")), QByteArray("a"));
    QCOMPARE(Snapshot(mDirectory->path()).size(), 1);
}

void tst_AppMediaMgr::writingIntoAReadOnlyDirectoryFails()
{
    QVERIFY(chmod(QFile::encodeName(mDirectory->path()).constData(), 0555) == 0);
    {
        const OrdinaryUser user;
        QCOMPARE(AddUpdate(KIND_PROGRAM, mDirectory->path(), Name("A"), "b"), QString());
        QCOMPARE(Snapshot(mDirectory->path()), QStringList());
    }
    QVERIFY(chmod(QFile::encodeName(mDirectory->path()).constData(), 0777) == 0);
}

void tst_AppMediaMgr::writableFileInAReadOnlyDirectoryIsReplaced()
{
    QVERIFY(WriteFile(Path("a.prg"), "longer than before"));
    QVERIFY(chmod(QFile::encodeName(Path("a.prg")).constData(), 0666) == 0);
    QVERIFY(chmod(QFile::encodeName(mDirectory->path()).constData(), 0555) == 0);
    QString path;
    {
        const OrdinaryUser user;
        path = AddUpdate(KIND_PROGRAM, mDirectory->path(), Name("A"), "b");
    }
    QVERIFY(chmod(QFile::encodeName(mDirectory->path()).constData(), 0777) == 0);
    QCOMPARE(path, Path("a.prg"));
    QCOMPARE(ReadFile(Path("a.prg")), QByteArray("b"));
    QCOMPARE(Snapshot(mDirectory->path()).size(), 1);
}

void tst_AppMediaMgr::returnedPathIsAbsolute_data()
{
    QTest::addColumn<QString>("directory"); // relative to the parent
    QTest::addColumn<QString>("path");

    QTest::newRow("plain") << "media"
                           << "media/a.prg";
    QTest::newRow("slash-behind") << "media/"
                                  << "media/a.prg";
    QTest::newRow("link-stays") << "link"
                                << "link/a.prg";
}

void tst_AppMediaMgr::returnedPathIsAbsolute()
{
    QFETCH(QString, directory);
    QFETCH(QString, path);

    QVERIFY(QDir().mkpath(Path("media")));
    QVERIFY(MakeLink(QStringLiteral("media"), Path("link")));
    const WorkingDirectory here(mDirectory->path());
    const QString absolute = mDirectory->path() + QLatin1Char('/') + directory;
    for (const QString &spelling : {directory, absolute}) {
        QCOMPARE(AddUpdate(KIND_PROGRAM, spelling, Name("A"), "b"), Path(path));
        QCOMPARE(ReadFile(Path("media/a.prg")), QByteArray("b"));
        QVERIFY(QFile::remove(Path("media/a.prg")));
    }
}

QTEST_GUILESS_MAIN(tst_AppMediaMgr)
#include "tst_AppMediaMgr.moc"
