// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

// SEARCH, DOWNLOAD and UPLOAD as the device sees them: each test sends requests to a running hub
// over loopback and takes the replies apart byte by byte.

#include "HostFiles.h"
#include "HubFixture.h"

#include <QProcess>
#include <QStandardPaths>
#include <QtTest>

namespace
{
constexpr int D64_SIZE = 174848;

enum COMMAND { SEARCH = 1, DOWNLOAD = 2, UPLOAD = 3 };

// Byte 6 of the reply's body, for the three failures of an upload.
constexpr int WRITE_ERROR = -1;
constexpr int DISK_EXISTS = -87;
constexpr int PROGRAM_EXISTS = -88;

QByteArray Search(const QByteArray &pattern)
{
    return FormRequest({{"cmd", "1"}, {"udid", "42"}, {"pat", pattern}});
}

QByteArray DownloadProgram(const QByteArray &pattern)
{
    return FormRequest({{"cmd", "2"}, {"udid", "42"}, {"req", "0"}, {"pat", pattern}});
}

QByteArray DownloadDisks(const QByteArray &pattern)
{
    return FormRequest({{"cmd", "2"}, {"udid", "42"}, {"req", "1"}, {"pat", pattern}});
}

QByteArray Upload(const QList<WireObject> &objects)
{
    WirePackage package;
    package.objects = objects;
    return MultipartRequest({{"cmd", "3"}, {"udid", "42"}}, package.Bytes());
}

/// A field of 16 bytes from the ones before the padding.
QByteArray NameField(const QByteArray &bytes)
{
    return bytes.leftJustified(16, char(0xA0));
}

WireObject Program(const QByteArray &name, const QByteArray &data, bool replace = false)
{
    WireObject object;
    object.type = WireObject::PROGRAM;
    object.name = NameField(name);
    object.data = data;
    object.replace = replace;
    return object;
}

WireObject Disk(const QByteArray &name, const QByteArray &data, bool replace = false)
{
    WireObject object;
    object.type = WireObject::DISK;
    object.name = NameField(name);
    object.data = data;
    object.replace = replace;
    return object;
}

/// `size` bytes that differ from those of another `seed`.
QByteArray Image(int size, int seed = 0)
{
    QByteArray image(size, '\0');
    for (int i = 0; i < size; ++i)
        image[i] = char((i >> 8) * 7 + i + seed);
    return image;
}

/// A line of a listing: number 0, the quoted name in a field of 22 characters, the type.
QByteArray Entry(const QByteArray &name, const QByteArray &type)
{
    return QByteArray::fromHex("0101 0000") + ("  \"" + name + '"').leftJustified(22, ' ') + type +
           '\0';
}

QByteArray Listing(const QByteArray &title, const QByteArray &entries)
{
    return QByteArray::fromHex("0104 0101 0000 12") + title.leftJustified(24, ' ') + '\0' +
           entries + QByteArray(2, '\0');
}

QByteArray SearchListing(const QByteArray &entries = QByteArray())
{
    return Listing("SEARCH RESULTS", entries);
}

QByteArray ManifestListing(const QByteArray &entries = QByteArray())
{
    return Listing("SENT DISK(S)", entries);
}

/// A reply's body without objects.
QByteArray EmptyBody(int result = 0)
{
    return QByteArray::fromHex("1F24CA730000") + char(result) + QByteArray(489, '\0');
}

/// The names in a listing, in order, each with its type behind a dot.
QList<QByteArray> Entries(const QByteArray &listing)
{
    constexpr int HEADER_SIZE = 32; // load address and title line
    constexpr int NAME_OFFSET = 7;  // in an entry
    constexpr int TYPE_OFFSET = 26; // in an entry
    constexpr int ENTRY_SIZE = 30;  // with a type of three characters

    QList<QByteArray> entries;
    for (int at = HEADER_SIZE; at + ENTRY_SIZE <= listing.size(); at += ENTRY_SIZE) {
        const QByteArray name = listing.mid(at + NAME_OFFSET);
        entries.append(name.left(name.indexOf('"')) + '.' + listing.mid(at + TYPE_OFFSET, 3));
    }
    return entries;
}

/// The only program in the reply, or null.
QByteArray OnlyProgram(const HubReply &reply)
{
    const WirePackage package = reply.Package();
    if (!package.valid || package.objects.size() != 1 ||
        package.objects.first().type != WireObject::PROGRAM)
        return QByteArray();
    return package.objects.first().data;
}

/// The reply's disks, in order.
QList<WireObject> Disks(const HubReply &reply)
{
    QList<WireObject> disks;
    const WirePackage package = reply.Package();
    for (const WireObject &object : package.objects) {
        if (object.type == WireObject::DISK)
            disks.append(object);
    }
    return disks;
}

/// What a console shows of the lines: a control character may break or hide.
QStringList AsShown(const QStringList &lines)
{
    QPlainTextEdit console;
    for (const QString &line : lines)
        console.appendPlainText(line);
    return console.toPlainText().split(QLatin1Char('\n'));
}

/// The text of a DOS name on the host.
QString HostText(const QByteArray &name)
{
    QString text;
    for (const char c : name) {
        const int byte = static_cast<unsigned char>(c);
        if (byte == 0xA0)
            break;
        if (byte >= 0x41 && byte <= 0x5A)
            text += QChar(byte + 0x20);
        else if (byte >= 0xC1 && byte <= 0xDA)
            text += QChar(byte - 0x80);
        else
            text += QChar(byte);
    }
    return text;
}
} // namespace

Q_DECLARE_METATYPE(COMMAND)

class tst_Commands : public QObject
{
    Q_OBJECT

public:
    explicit tst_Commands(const HubFixture *hub) : mHub(*hub) {}

private slots:
    void initTestCase();
    void init();
    void cleanup();

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
    void searchOfMissingDirectoriesListsNothing_data();
    void searchOfMissingDirectoriesListsNothing();

    void downloadSendsTheProgram();
    void downloadSendsProgramsWholeAndUnchanged_data();
    void downloadSendsProgramsWholeAndUnchanged();
    void downloadSendsTheFilesNameNotThePattern();
    void downloadSendsTheLastOfManyPrograms();
    void downloadSkipsProgramsThatCannotBeOpened_data();
    void downloadSkipsProgramsThatCannotBeOpened();
    void downloadSendsTheLastProgramThatCanBeOpened();
    void downloadOfAnEmptyProgramSendsNothing();
    void downloadWithoutMatchingProgramSendsNothing_data();
    void downloadWithoutMatchingProgramSendsNothing();

    void downloadSendsADiskAndAManifest();
    void downloadSendsEachSizeOfDisk();
    void downloadSendsMatchingDisksInIteratorOrder();
    void downloadWithoutMatchingDiskSendsAManifest_data();
    void downloadWithoutMatchingDiskSendsAManifest();
    void downloadLeavesOutUnreadableDisks();
    void downloadDropsDisksPastTheNineteenth_data();
    void downloadDropsDisksPastTheNineteenth();
    void downloadOfAnythingElseSendsNothing_data();
    void downloadOfAnythingElseSendsNothing();

    void uploadWritesDisksThenTheProgram();
    void uploadWritesEachSizeOfDisk_data();
    void uploadWritesEachSizeOfDisk();
    void uploadRefusesADiskThatExists();
    void uploadReplacesADiskIfAsked();
    void uploadRefusesADiskForAnyFileOfADisksSize_data();
    void uploadRefusesADiskForAnyFileOfADisksSize();
    void uploadTakesTheDisksNameForAPattern_data();
    void uploadTakesTheDisksNameForAPattern();
    void uploadIsNotStoppedByWhatIsNoDisk_data();
    void uploadIsNotStoppedByWhatIsNoDisk();
    void uploadReplacesAFileOfUnknownSizeUnasked();
    void uploadReplacesADiskWhoseNameIsReadBackDifferently_data();
    void uploadReplacesADiskWhoseNameIsReadBackDifferently();
    void uploadOfAnotherTypeLeavesTheOldDisk();
    void uploadOverwritesAProgramUnasked();
    void uploadRefusesAProgramForADisk_data();
    void uploadRefusesAProgramForADisk();
    void uploadOfAProgramDoesNotLookAtTheDisks();
    void uploadReportsTheLastFailure_data();
    void uploadReportsTheLastFailure();
    void uploadTreatsEachObjectByItsOwnFlag();
    void uploadedDiskBlocksTheNextOfItsName();
    void uploadTakesTwentyDisks();
    void uploadOfNothingDoesNothing_data();
    void uploadOfNothingDoesNothing();
    void uploadTakesTheLastOfTwoPrograms();
    void uploadIntoNoDirectoryFails_data();
    void uploadIntoNoDirectoryFails();
    void uploadOverWhatIsNoRegularFileFails_data();
    void uploadOverWhatIsNoRegularFileFails();
    void uploadLogsTheNameInAscii_data();
    void uploadLogsTheNameInAscii();
    void uploadLogsThePathAsItIs();
    void uploadStaysInItsDirectory_data();
    void uploadStaysInItsDirectory();
    void searchStaysInItsDirectory_data();
    void searchStaysInItsDirectory();
    void everyByteOfAName_data();
    void everyByteOfAName();

    void userDecidesTheDirectories_data();
    void userDecidesTheDirectories();
    void newDirectoryHoldsFromTheNextRequestOn();
    void realImagesGoThereAndBack_data();
    void realImagesGoThereAndBack();

private:
    QString Path(const QString &relative) const
    {
        return mDirectory->path() + QLatin1Char('/') + relative;
    }
    QString Path(const char *relative) const { return Path(QString::fromUtf8(relative)); }

    QStringList Received(const char *kind, const QString &name) const
    {
        return {QStringLiteral("> Received %1 \"%2\"").arg(QLatin1String(kind), name)};
    }
    static QString Written(const QString &path)
    {
        return QStringLiteral("> Written as \"") + path + QStringLiteral("\".");
    }
    static QStringList DiskRefused()
    {
        return {QStringLiteral("    ** Disk with that name already exists!"),
                QStringLiteral("    ** Specify \"@disk:\" to replace...")};
    }
    static QStringList ProgramRefused()
    {
        return {QStringLiteral("    ** Program with that name already exists!"),
                QStringLiteral("    ** Specify \"@:\" to replace...")};
    }
    static QStringList DiskFailed()
    {
        return {QStringLiteral("    ** Unknown error writing disk!")};
    }
    static QStringList ProgramFailed()
    {
        return {QStringLiteral("    ** Unknown error writing program!")};
    }
    static QString Requested(const char *command)
    {
        return QStringLiteral("%1 request from Skylet UUID: 42").arg(QLatin1String(command));
    }

    /// The console's lines since the start of the test, without the one of the dispatcher.
    QStringList UploadLog() const
    {
        QStringList log = mHub.Log();
        log.removeAll(Requested("UPLOAD"));
        return log;
    }

    const HubFixture &mHub;
    std::unique_ptr<QTemporaryDir> mDirectory; ///< a new one for each row
    QString mWorkingDirectory;
};

void tst_Commands::initTestCase()
{
    umask(022);
    QVERIFY(mHub.Port() != 0);
    QVERIFY(mHub.Console());
    mWorkingDirectory = QDir::currentPath();
}

void tst_Commands::init()
{
    mDirectory = std::make_unique<QTemporaryDir>();
    QVERIFY(mDirectory->isValid());
    // Open to everybody, see OrdinaryUser.
    QVERIFY(chmod(QFile::encodeName(mDirectory->path()).constData(), 0777) == 0);
    QVERIFY(QDir().mkpath(Path("disks")));
    QVERIFY(QDir().mkpath(Path("programs")));
    mHub->mDiskPath = Path("disks");
    mHub->mProgramPath = Path("programs");
    mHub->mValidate = false;
    mHub->RemAllUsers();
    mHub.ClearLog();
}

void tst_Commands::cleanup()
{
    QCOMPARE(QDir::currentPath(), mWorkingDirectory);
}

void tst_Commands::searchAnswersWithAListing()
{
    QVERIFY(WriteSparseFile(Path("disks/games.d64"), D64_SIZE));
    QVERIFY(WriteSparseFile(Path("disks/other.d64"), D64_SIZE));
    QVERIFY(WriteFile(Path("programs/ghost.prg"), "\x01\x08"));
    QVERIFY(WriteFile(Path("programs/other.prg"), "\x01\x08"));

    const HubReply reply = mHub.Send(Search("g*"));
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

void tst_Commands::searchWithoutMatchListsNothing()
{
    QVERIFY(WriteSparseFile(Path("disks/games.d64"), D64_SIZE));
    QVERIFY(WriteFile(Path("programs/ghost.prg"), "\x01\x08"));

    const HubReply reply = mHub.Send(Search("x*"));
    QCOMPARE(reply.Body().size(), 496 + 34);
    QCOMPARE(reply.Package().objects.first().name, PetsciiName("listing"));
    QCOMPARE(OnlyProgram(reply),
             QByteArray::fromHex("0104 0101 0000 12 53454152434820524553554C5453"
                                 "20202020202020202020 00 0000"));
    QCOMPARE(reply.Package().result, 0);
    QCOMPARE(mHub.Log(), QStringList{Requested("SEARCH")});
}

void tst_Commands::searchWithoutPatternListsNothing()
{
    for (const char *file :
         {"disks/a.d64", "disks/.d64", "disks/sub/.d64", "programs/a.prg", "programs/.prg"})
        QVERIFY(WriteSparseFile(Path(file), D64_SIZE));
    const HubReply reply = mHub.Send(FormRequest({{"cmd", "1"}, {"udid", "42"}}));
    QCOMPARE(OnlyProgram(reply), SearchListing());
}

void tst_Commands::searchListsTheTypeOfEachSize()
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
    QList<QByteArray> entries = Entries(OnlyProgram(mHub.Send(Search("*"))));
    std::sort(entries.begin(), entries.end());
    QCOMPARE(entries, expected);
}

void tst_Commands::searchListsDisksThenProgramsInIteratorOrder()
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
            entries +=
                Entry(QFileInfo(path).baseName().toLatin1(), *directory == 'd' ? "D64" : "PRG");
    }
    QCOMPARE(OnlyProgram(mHub.Send(Search("*"))), SearchListing(entries));
}

void tst_Commands::searchLooksForEachKindInItsDirectory()
{
    QVERIFY(WriteSparseFile(Path("programs/disk.d64"), D64_SIZE));
    QVERIFY(WriteFile(Path("disks/program.prg"), "\x01\x08"));
    QVERIFY(WriteSparseFile(Path("outside.d64"), D64_SIZE));
    QVERIFY(WriteFile(Path("outside.prg"), "\x01\x08"));
    QCOMPARE(OnlyProgram(mHub.Send(Search("*"))), SearchListing());

    // With one directory for both, one file can be both.
    mHub->mProgramPath = Path("disks");
    QVERIFY(WriteSparseFile(Path("disks/both.prg"), D64_SIZE));
    QCOMPARE(OnlyProgram(mHub.Send(Search("b*"))),
             SearchListing(Entry("BOTH", "D64") + Entry("BOTH", "PRG")));
}

void tst_Commands::searchListsSubdirectoriesToo()
{
    QTemporaryDir elsewhere;
    QVERIFY(WriteSparseFile(elsewhere.filePath(QStringLiteral("far.prg")), D64_SIZE));
    for (const char *root : {"disks", "programs"}) {
        const QString directory = Path(root);
        QVERIFY(WriteSparseFile(directory + QStringLiteral("/sub/deeper/a.prg"), D64_SIZE));
        QVERIFY(WriteSparseFile(directory + QStringLiteral("/.hidden/b.prg"), D64_SIZE));
        QVERIFY(MakeLink(elsewhere.path(), directory + QStringLiteral("/linked")));
        QVERIFY(MakeLink(QStringLiteral(".."), directory + QStringLiteral("/sub/loop")));
    }
    QCOMPARE(OnlyProgram(mHub.Send(Search("*"))),
             SearchListing(Entry("A", "D64") + Entry("A", "PRG")));
}

void tst_Commands::searchPatternSelects_data()
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

void tst_Commands::searchPatternSelects()
{
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
    QList<QByteArray> entries = Entries(OnlyProgram(mHub.Send(Search(pattern))));
    std::sort(entries.begin(), entries.end());
    std::sort(expected.begin(), expected.end());
    QCOMPARE(entries, expected);
}

void tst_Commands::searchKeepsNamesInPetscii_data()
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

void tst_Commands::searchKeepsNamesInPetscii()
{
    QFETCH(QString, base);
    QFETCH(QByteArray, name);

    QVERIFY(WriteSparseFile(Path("disks/") + base + QStringLiteral(".d71"), 349696));
    QVERIFY(WriteSparseFile(Path("programs/") + base + QStringLiteral(".PRG"), 0));
    QCOMPARE(OnlyProgram(mHub.Send(Search("*"))),
             SearchListing(Entry(name, "D71") + Entry(name, "PRG")));
}

void tst_Commands::searchHasNoLimit()
{
    constexpr int COUNT = 300;

    for (int i = 0; i < COUNT; ++i) {
        QVERIFY(WriteSparseFile(Path("disks/") + QString::number(i), D64_SIZE));
        QVERIFY(WriteSparseFile(Path(QStringLiteral("programs/%1.prg").arg(i)), 10));
    }
    const QByteArray listing = OnlyProgram(mHub.Send(Search("*")));
    QCOMPARE(listing.size(), 34 + 2 * COUNT * 30);
    QCOMPARE(Entries(listing).size(), 2 * COUNT);
}

void tst_Commands::searchListsWhatCannotBeOpened()
{
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
        entries = Entries(OnlyProgram(mHub.Send(Search("*"))));
    }
    std::sort(entries.begin(), entries.end());
    QCOMPARE(entries, (QList<QByteArray>{"LOCKED.D64", "LOCKED.PRG", "TOOLS.PRG", "ZERO.PRG"}));
}

void tst_Commands::searchOfMissingDirectoriesListsNothing_data()
{
    QTest::addColumn<QString>("directory");

    // Relative to a working directory that is full of media.
    QTest::newRow("never-chosen") << QString();
    QTest::newRow("empty-text") << QStringLiteral("");
    QTest::newRow("missing") << QStringLiteral("missing");
    QTest::newRow("file") << QStringLiteral("a.prg");
    QTest::newRow("dangling-link") << QStringLiteral("dangling");
}

void tst_Commands::searchOfMissingDirectoriesListsNothing()
{
    QFETCH(QString, directory);

    QVERIFY(WriteSparseFile(Path("full/a.prg"), D64_SIZE));
    QVERIFY(MakeLink(QStringLiteral("gone"), Path("full/dangling")));
    const WorkingDirectory here(Path("full"));
    mHub->mDiskPath = directory;
    mHub->mProgramPath = Path("full");
    QCOMPARE(OnlyProgram(mHub.Send(Search("*"))), SearchListing(Entry("A", "PRG")));
    mHub->mDiskPath = Path("full");
    mHub->mProgramPath = directory;
    QCOMPARE(OnlyProgram(mHub.Send(Search("*"))), SearchListing(Entry("A", "D64")));
    mHub->mDiskPath = directory;
    const HubReply reply = mHub.Send(Search("*"));
    QCOMPARE(OnlyProgram(reply), SearchListing());
    QCOMPARE(reply.Package().result, 0);
    QCOMPARE(mHub.Log(), QStringList()
                             << Requested("SEARCH") << Requested("SEARCH") << Requested("SEARCH"));
}

void tst_Commands::downloadSendsTheProgram()
{
    QVERIFY(WriteFile(Path("programs/hello.prg"), QByteArray::fromHex("0108 0B08 0A00")));
    QVERIFY(WriteFile(Path("programs/other.prg"), "other"));

    const HubReply reply = mHub.Send(DownloadProgram("hello"));
    const QByteArray header =
        QByteArray::fromHex("1F24CA73 0000 00 01 06000000 00000000"
                            "00 00 0000 06000000 48454C4C4FA0A0A0A0A0A0A0A0A0A0A0") +
        QByteArray(19 * 24, '\0');
    QCOMPARE(reply.Body(), header + QByteArray::fromHex("0108 0B08 0A00"));
    QCOMPARE(mHub.Log(), QStringList{Requested("DOWNLOAD")});
}

void tst_Commands::downloadSendsProgramsWholeAndUnchanged_data()
{
    QTest::addColumn<QByteArray>("contents");

    QTest::newRow("one-byte") << QByteArray("\0", 1);
    QTest::newRow("line-ends-of-all-kinds") << QByteArray("\r\n\n\r\x1A\0\r\n", 8);
    QTest::newRow("a-disk's-size") << Image(D64_SIZE);
    QTest::newRow("megabytes") << Image(5000001);
}

void tst_Commands::downloadSendsProgramsWholeAndUnchanged()
{
    QFETCH(QByteArray, contents);

    QVERIFY(WriteFile(Path("programs/sub/a.PRG"), contents));
    const HubReply reply = mHub.Send(DownloadProgram("a"));
    QVERIFY(reply.Package().valid);
    QVERIFY(OnlyProgram(reply) == contents);
}

void tst_Commands::downloadSendsTheFilesNameNotThePattern()
{
    QVERIFY(WriteFile(Path("programs/Hello.World.prg"), "1"));
    const HubReply reply = mHub.Send(DownloadProgram("H?l*"));
    QCOMPARE(reply.Package().objects.size(), 1);
    QCOMPARE(reply.Package().objects.first().name,
             QByteArray::fromHex("C8454C4C4FA0A0A0A0A0A0A0A0A0A0A0"));
}

void tst_Commands::downloadSendsTheLastOfManyPrograms()
{
    for (const char *name : {"delta", "alpha", "echo", "bravo", "sub/golf", "charlie", "foxtrot"})
        QVERIFY(WriteFile(Path("programs/") + QLatin1String(name) + QStringLiteral(".prg"), name));
    const QStringList paths = IteratorOrder(Path("programs")).filter(QStringLiteral(".prg"));
    QCOMPARE(paths.size(), 7);

    const HubReply reply = mHub.Send(DownloadProgram("*"));
    QCOMPARE(OnlyProgram(reply), ReadFile(paths.last()));
    QCOMPARE(reply.Package().objects.first().name,
             PetsciiName(QFileInfo(paths.last()).baseName().toLatin1().constData()));
    QCOMPARE(mHub.Log(), QStringList{Requested("DOWNLOAD")});
}

void tst_Commands::downloadSkipsProgramsThatCannotBeOpened_data()
{
    QTest::addColumn<QString>("file");

    QTest::newRow("directory") << "directory.prg";
    QTest::newRow("link-to-directory") << "to-directory.prg";
    QTest::newRow("fifo") << "fifo.prg";
    QTest::newRow("link-to-fifo") << "to-fifo.prg";
    QTest::newRow("link-to-endless-device") << "to-zero.prg";
    QTest::newRow("link-to-empty-device") << "to-null.prg";
    QTest::newRow("dangling-link") << "dangling.prg";
    QTest::newRow("link-to-itself") << "loop.prg";
    QTest::newRow("unreadable") << "locked.prg";
}

void tst_Commands::downloadSkipsProgramsThatCannotBeOpened()
{
    QFETCH(QString, file);

    QVERIFY(QDir().mkpath(Path("elsewhere")));
    QVERIFY(MakeFifo(Path("elsewhere-fifo")));
    const QString path = Path("programs/") + file;
    if (file == QLatin1String("directory.prg"))
        QVERIFY(QDir().mkdir(path));
    else if (file == QLatin1String("to-directory.prg"))
        QVERIFY(MakeLink(Path("elsewhere"), path));
    else if (file == QLatin1String("fifo.prg"))
        QVERIFY(MakeFifo(path));
    else if (file == QLatin1String("to-fifo.prg"))
        QVERIFY(MakeLink(Path("elsewhere-fifo"), path));
    else if (file == QLatin1String("to-zero.prg"))
        QVERIFY(MakeLink(QStringLiteral("/dev/zero"), path));
    else if (file == QLatin1String("to-null.prg"))
        QVERIFY(MakeLink(QStringLiteral("/dev/null"), path));
    else if (file == QLatin1String("dangling.prg"))
        QVERIFY(MakeLink(Path("gone"), path));
    else if (file == QLatin1String("loop.prg"))
        QVERIFY(MakeLink(path, path));
    else
        QVERIFY(WriteFile(path, "locked") && chmod(QFile::encodeName(path).constData(), 0) == 0);

    const MemoryLimit limit;
    HubReply alone;
    HubReply together;
    {
        const OrdinaryUser user;
        alone = mHub.Send(DownloadProgram("*"));
    }
    QVERIFY(WriteFile(Path("programs/regular.prg"), "regular"));
    {
        const OrdinaryUser user;
        together = mHub.Send(DownloadProgram("*"));
    }
    QCOMPARE(alone.Body(), EmptyBody());
    QCOMPARE(OnlyProgram(together), QByteArray("regular"));
    QCOMPARE(mHub.Log(), QStringList() << Requested("DOWNLOAD") << Requested("DOWNLOAD"));
}

void tst_Commands::downloadSendsTheLastProgramThatCanBeOpened()
{
    // Half of them are directories, so that in all likelihood some come last.
    for (int i = 0; i < 20; ++i) {
        const QString path = Path(QStringLiteral("programs/%1.prg").arg(i));
        if (i % 4 == 0)
            QVERIFY(WriteFile(path, path.toLatin1()));
        else
            QVERIFY(QDir().mkdir(path));
    }
    QString last;
    for (const QString &path : IteratorOrder(Path("programs"))) {
        if (QFileInfo(path).isFile())
            last = path;
    }
    QCOMPARE(OnlyProgram(mHub.Send(DownloadProgram("*"))), last.toLatin1());
}

void tst_Commands::downloadOfAnEmptyProgramSendsNothing()
{
    for (const char *name : {"delta", "alpha", "echo", "bravo"})
        QVERIFY(WriteFile(Path("programs/") + QLatin1String(name) + QStringLiteral(".prg"), name));
    const QStringList paths = IteratorOrder(Path("programs")).filter(QStringLiteral(".prg"));
    QVERIFY(WriteFile(paths.last(), QByteArray()));

    // The empty one is read last and takes the place of the others.
    QCOMPARE(mHub.Send(DownloadProgram("*")).Body(), EmptyBody());
}

void tst_Commands::downloadWithoutMatchingProgramSendsNothing_data()
{
    QTest::addColumn<QByteArray>("pattern");

    QTest::newRow("unknown-name") << QByteArray("unknown");
    QTest::newRow("another-letter-case") << QByteArray("GAME");
    QTest::newRow("disk") << QByteArray("disk");
    QTest::newRow("backup-of-a-program") << QByteArray("backup");
    QTest::newRow("no-pattern") << QByteArray();
    QTest::newRow("path") << QByteArray("../programs/game");
    QTest::newRow("path-below") << QByteArray("sub/game");
    QTest::newRow("with-suffix") << QByteArray("game.prg");
}

void tst_Commands::downloadWithoutMatchingProgramSendsNothing()
{
    QFETCH(QByteArray, pattern);

    QVERIFY(WriteFile(Path("programs/game.prg"), "1"));
    QVERIFY(WriteFile(Path("programs/sub/other.prg"), "1"));
    QVERIFY(WriteFile(Path("programs/backup.prg.bak"), "1"));
    QVERIFY(WriteSparseFile(Path("programs/disk.d64"), D64_SIZE));
    QVERIFY(WriteSparseFile(Path("disks/disk.d64"), D64_SIZE));
    QVERIFY(WriteFile(Path("disks/unknown.prg"), "1"));
    QCOMPARE(mHub.Send(DownloadProgram(pattern)).Body(), EmptyBody());
    QCOMPARE(mHub.Log(), QStringList{Requested("DOWNLOAD")});
}

void tst_Commands::downloadSendsADiskAndAManifest()
{
    const QByteArray image = Image(D64_SIZE);
    QVERIFY(WriteFile(Path("disks/games.d64"), image));
    QVERIFY(WriteSparseFile(Path("disks/other.d64"), D64_SIZE));

    const HubReply reply = mHub.Send(DownloadDisks("games"));
    const QByteArray manifest =
        QByteArray::fromHex("0104"
                            "0101 0000 12 53454E54204449534B285329 202020202020202020202020 00"
                            "0101 0000 2020 22 47414D4553 22 20202020202020202020202020 443634 00"
                            "0000");
    QCOMPARE(manifest.size(), 0x40);
    const QByteArray header =
        QByteArray::fromHex("1F24CA73 0000 00 02 40C00200 00000000"
                            "00 00 0000 40000000 4D414E4946455354A0A0A0A0A0A0A0A0"
                            "01 00 0000 00C00200 47414D4553A0A0A0A0A0A0A0A0A0A0A0") +
        QByteArray(18 * 24, '\0');
    const QByteArray diskHeader =
        QByteArray::fromHex("A6135C71 00100000 00AB0200 00") + QByteArray(19, '\0') +
        QByteArray::fromHex("47414D4553A0A0A0A0A0A0A0A0A0A0A0") + QByteArray(4048, '\0');
    QVERIFY(reply.Body() ==
            header + manifest + diskHeader + image + QByteArray(176128 - D64_SIZE, '\0'));
    QCOMPARE(mHub.Log(), QStringList{Requested("DOWNLOAD")});
}

void tst_Commands::downloadSendsEachSizeOfDisk()
{
    const struct {
        const char *name;
        int size;
        int type;
        const char *typeText;
        int blockSize;
    } IMAGES[] = {
        {"a", 174848, 0, "D64", 180224}, {"b", 175531, 0, "D64", 180224},
        {"c", 349696, 1, "D71", 356352}, {"d", 819200, 2, "D81", 823296},
        {"e", 533248, 3, "D80", 540672}, {"f", 1066496, 4, "D82", 1073152},
    };
    for (const auto &image : IMAGES)
        QVERIFY(WriteFile(Path("disks/") + QLatin1String(image.name),
                          Image(image.size, image.name[0])));

    for (const auto &image : IMAGES) {
        const HubReply reply = mHub.Send(DownloadDisks(image.name));
        QCOMPARE(reply.Body().size(), 496 + 34 + 30 + image.blockSize);
        const WirePackage package = reply.Package();
        QVERIFY(package.valid);
        QCOMPARE(package.objects.size(), 2);
        QCOMPARE(package.objects.at(0).type, int(WireObject::PROGRAM));
        QCOMPARE(package.objects.at(0).name, PetsciiName("manifest"));
        QCOMPARE(package.objects.at(0).data,
                 ManifestListing(Entry(QByteArray(image.name).toUpper(), image.typeText)));
        QCOMPARE(package.objects.at(1).type, int(WireObject::DISK));
        QCOMPARE(package.objects.at(1).name, PetsciiName(image.name));
        QCOMPARE(package.objects.at(1).diskType, image.type);
        QVERIFY(package.objects.at(1).data == Image(image.size, image.name[0]));
    }
}

void tst_Commands::downloadSendsMatchingDisksInIteratorOrder()
{
    for (int i = 0; i < 8; ++i) {
        const QString name = QString::number(i * 5 % 8);
        QVERIFY(WriteFile(Path("disks/g") + name, Image(D64_SIZE, i)));
        QVERIFY(WriteFile(Path("disks/sub/g") + name, Image(D64_SIZE, 100 + i)));
        QVERIFY(WriteFile(Path("disks/x") + name, Image(D64_SIZE, 200 + i)));
    }
    const HubReply reply = mHub.Send(DownloadDisks("g?"));
    const QList<WireObject> disks = Disks(reply);
    const QStringList paths = IteratorOrder(Path("disks")).filter(QStringLiteral("/g"));
    QCOMPARE(paths.size(), 16);
    QCOMPARE(disks.size(), 16);
    QByteArray entries;
    for (int i = 0; i < 16; ++i) {
        const QByteArray base = QFileInfo(paths.at(i)).baseName().toLatin1();
        QCOMPARE(disks.at(i).name, PetsciiName(base.constData()));
        QVERIFY(disks.at(i).data == ReadFile(paths.at(i)));
        entries += Entry(base.toUpper(), "D64");
    }
    QCOMPARE(reply.Package().objects.first().data, ManifestListing(entries));
}

void tst_Commands::downloadWithoutMatchingDiskSendsAManifest_data()
{
    QTest::addColumn<QByteArray>("pattern");

    QTest::newRow("unknown-name") << QByteArray("unknown");
    QTest::newRow("another-letter-case") << QByteArray("GAMES");
    QTest::newRow("no-disk's-size") << QByteArray("forty");
    QTest::newRow("program") << QByteArray("hello");
    QTest::newRow("no-pattern") << QByteArray();
    QTest::newRow("path") << QByteArray("../disks/games");
}

void tst_Commands::downloadWithoutMatchingDiskSendsAManifest()
{
    QFETCH(QByteArray, pattern);

    QVERIFY(WriteSparseFile(Path("disks/games.d64"), D64_SIZE));
    QVERIFY(WriteSparseFile(Path("disks/forty.d64"), 196608));
    QVERIFY(WriteSparseFile(Path("disks/hello.prg"), 10));
    QVERIFY(WriteSparseFile(Path("programs/unknown.d64"), D64_SIZE));
    const HubReply reply = mHub.Send(DownloadDisks(pattern));
    QCOMPARE(reply.Body().size(), 496 + 34);
    QCOMPARE(reply.Package().result, 0);
    QCOMPARE(reply.Package().objects.first().name, PetsciiName("manifest"));
    QCOMPARE(OnlyProgram(reply), ManifestListing());
    QCOMPARE(mHub.Log(), QStringList{Requested("DOWNLOAD")});
}

void tst_Commands::downloadLeavesOutUnreadableDisks()
{
    for (const char *name : {"a", "b", "c"})
        QVERIFY(WriteFile(Path("disks/") + QLatin1String(name), Image(D64_SIZE, *name)));
    QVERIFY(chmod(QFile::encodeName(Path("disks/b")).constData(), 0) == 0);
    QVERIFY(MakeFifo(Path("disks/fifo.d64")));
    QVERIFY(MakeLink(QStringLiteral("fifo.d64"), Path("disks/to-fifo.d64")));
    QVERIFY(MakeLink(QStringLiteral("/dev/zero"), Path("disks/to-zero.d64")));
    QVERIFY(QDir().mkdir(Path("disks/directory.d64")));

    HubReply reply;
    {
        const OrdinaryUser user;
        reply = mHub.Send(DownloadDisks("*"));
    }
    QList<QByteArray> names;
    const QList<WireObject> disks = Disks(reply);
    for (const WireObject &disk : disks)
        names.append(disk.name);
    std::sort(names.begin(), names.end());
    QCOMPARE(names, (QList<QByteArray>{PetsciiName("a"), PetsciiName("c")}));
    QList<QByteArray> entries = Entries(reply.Package().objects.first().data);
    std::sort(entries.begin(), entries.end());
    QCOMPARE(entries, (QList<QByteArray>{"A.D64", "C.D64"}));
    QCOMPARE(reply.Package().result, 0);
    QCOMPARE(mHub.Log(), QStringList{Requested("DOWNLOAD")});
}

void tst_Commands::downloadDropsDisksPastTheNineteenth_data()
{
    QTest::addColumn<int>("files");
    QTest::addColumn<int>("sent");

    QTest::newRow("eighteen-are-sent") << 18 << 18;
    QTest::newRow("nineteen-are-sent") << 19 << 19;
    QTest::newRow("twentieth-is-dropped") << 20 << 19;
    QTest::newRow("thirty-are-cut-to-nineteen") << 30 << 19;
}

void tst_Commands::downloadDropsDisksPastTheNineteenth()
{
    QFETCH(int, files);
    QFETCH(int, sent);

    for (int i = 0; i < files; ++i)
        QVERIFY(WriteFile(Path(QStringLiteral("disks/%1").arg(i)), Image(D64_SIZE, i)));
    const HubReply reply = mHub.Send(DownloadDisks("*"));
    const WirePackage package = reply.Package();
    QVERIFY(package.valid);
    QCOMPARE(package.result, 0);
    QCOMPARE(package.objects.size(), sent + 1);

    const QStringList paths =
        IteratorOrder(Path("disks")).filter(QRegularExpression(QStringLiteral("/[0-9]+$")));
    QCOMPARE(paths.size(), files);
    QByteArray entries;
    for (const QString &path : paths)
        entries += Entry(QFileInfo(path).fileName().toLatin1(), "D64");
    // The manifest lists those that were dropped, too.
    QCOMPARE(package.objects.first().data, ManifestListing(entries));
    const QList<WireObject> disks = Disks(reply);
    QCOMPARE(disks.size(), sent);
    for (int i = 0; i < sent; ++i)
        QVERIFY(disks.at(i).data == ReadFile(paths.at(i)));
}

void tst_Commands::downloadOfAnythingElseSendsNothing_data()
{
    QTest::addColumn<QByteArray>("req");

    QTest::newRow("two") << QByteArray("2");
    QTest::newRow("minus-one") << QByteArray("-1");
    QTest::newRow("two-to-the-8th") << QByteArray("256");
    QTest::newRow("two-to-the-8th-and-one") << QByteArray("257");
    QTest::newRow("no-req") << QByteArray();
}

void tst_Commands::downloadOfAnythingElseSendsNothing()
{
    QFETCH(QByteArray, req);

    QVERIFY(WriteSparseFile(Path("disks/a.d64"), D64_SIZE));
    QVERIFY(WriteFile(Path("programs/a.prg"), "1"));
    QList<HubField> fields{{"cmd", "2"}, {"udid", "42"}, {"pat", "*"}};
    if (!req.isEmpty())
        fields.append({"req", req});
    QCOMPARE(mHub.Send(FormRequest(fields)).Body(), EmptyBody());
    QCOMPARE(mHub.Log(), QStringList{Requested("DOWNLOAD")});
}

void tst_Commands::uploadWritesDisksThenTheProgram()
{
    const QByteArray games = Image(D64_SIZE, 1);
    const QByteArray tools = Image(819200, 2);
    // The program comes first in the package and last in the log.
    const HubReply reply = mHub.Send(
        Upload({Program("HELLO", "\x01\x08"), Disk("GAMES", games), Disk("TOOLS", tools)}));
    QCOMPARE(reply.Body(), EmptyBody());
    QVERIFY(ReadFile(Path("disks/games.d64")) == games);
    QVERIFY(ReadFile(Path("disks/tools.d81")) == tools);
    QCOMPARE(ReadFile(Path("programs/hello.prg")), QByteArray("\x01\x08"));
    QCOMPARE(Snapshot(mDirectory->path()).size(), 2 + 3);
    QCOMPARE(mHub.Log(),
             (QStringList{
                 QStringLiteral("UPLOAD request from Skylet UUID: 42"),
                 QStringLiteral("> Received disk \"games\""),
                 QStringLiteral("> Written as \"%1/disks/games.d64\".").arg(mDirectory->path()),
                 QStringLiteral("> Received disk \"tools\""),
                 QStringLiteral("> Written as \"%1/disks/tools.d81\".").arg(mDirectory->path()),
                 QStringLiteral("> Received program \"hello\""),
                 QStringLiteral("> Written as \"%1/programs/hello.prg\".").arg(mDirectory->path()),
             }));
}

void tst_Commands::uploadWritesEachSizeOfDisk_data()
{
    QTest::addColumn<int>("size");
    QTest::addColumn<QString>("file");

    QTest::newRow("d64") << 174848 << "a.d64";
    QTest::newRow("d64-with-error-bytes") << 175531 << "a.d64";
    QTest::newRow("d71") << 349696 << "a.d71";
    QTest::newRow("d81") << 819200 << "a.d81";
    QTest::newRow("d80") << 533248 << "a.d80";
    QTest::newRow("d82") << 1066496 << "a.d82";
    QTest::newRow("d64-of-40-tracks") << 196608 << "a.dxx";
    QTest::newRow("one-byte-short") << 174847 << "a.dxx";
    QTest::newRow("one-byte-over") << 174849 << "a.dxx";
    QTest::newRow("nothing") << 0 << "a.dxx";
}

void tst_Commands::uploadWritesEachSizeOfDisk()
{
    QFETCH(int, size);
    QFETCH(QString, file);

    // Whatever type the device gives, the size decides.
    for (int type = 0; type <= 5; ++type) {
        WireObject disk = Disk("A", Image(size, type), true);
        disk.diskType = type;
        QCOMPARE(mHub.Send(Upload({disk})).Body(), EmptyBody());
        QVERIFY(ReadFile(Path("disks/") + file) == Image(size, type));
        QCOMPARE(Snapshot(Path("disks")).size(), 1);
        QCOMPARE(UploadLog(), Received("disk", QStringLiteral("a"))
                                  << Written(Path("disks/") + file));
        mHub.ClearLog();
    }
}

void tst_Commands::uploadRefusesADiskThatExists()
{
    QCOMPARE(mHub.Send(Upload({Disk("GAMES", Image(D64_SIZE, 1))})).Body(), EmptyBody());
    QCOMPARE(UploadLog(), Received("disk", QStringLiteral("games"))
                              << Written(Path("disks/games.d64")));
    mHub.ClearLog();

    const QByteArray body = mHub.Send(Upload({Disk("GAMES", Image(D64_SIZE, 2))})).Body();
    QCOMPARE(body, EmptyBody(DISK_EXISTS));
    QCOMPARE(body.mid(6, 1), QByteArray::fromHex("A9"));
    QVERIFY(ReadFile(Path("disks/games.d64")) == Image(D64_SIZE, 1));
    QCOMPARE(mHub.Log(), (QStringList{QStringLiteral("UPLOAD request from Skylet UUID: 42"),
                                      QStringLiteral("> Received disk \"games\""),
                                      QStringLiteral("    ** Disk with that name already exists!"),
                                      QStringLiteral("    ** Specify \"@disk:\" to replace...")}));
}

void tst_Commands::uploadReplacesADiskIfAsked()
{
    QVERIFY(WriteFile(Path("disks/games.d64"), Image(175531, 1)));
    QCOMPARE(mHub.Send(Upload({Disk("GAMES", Image(D64_SIZE, 2), true)})).Body(), EmptyBody());
    QVERIFY(ReadFile(Path("disks/games.d64")) == Image(D64_SIZE, 2));
    QCOMPARE(UploadLog(), Received("disk", QStringLiteral("games"))
                              << Written(Path("disks/games.d64")));
    QCOMPARE(Snapshot(Path("disks")).size(), 1);
}

void tst_Commands::uploadRefusesADiskForAnyFileOfADisksSize_data()
{
    QTest::addColumn<QString>("file");
    QTest::addColumn<int>("size");

    QTest::newRow("same-file") << "games.d64" << 174848;
    QTest::newRow("in-a-subdirectory") << "sub/deeper/games.d64" << 174848;
    QTest::newRow("another-type") << "games.d81" << 819200;
    QTest::newRow("text-of-a-disk's-size") << "games.txt" << 174848;
    QTest::newRow("no-suffix") << "games" << 1066496;
    QTest::newRow("more-behind-the-dot") << "games.and.more" << 174848;
}

void tst_Commands::uploadRefusesADiskForAnyFileOfADisksSize()
{
    QFETCH(QString, file);
    QFETCH(int, size);

    QVERIFY(WriteSparseFile(Path("disks/") + file, size));
    const QStringList before = Snapshot(mDirectory->path());
    // What cannot be found later is refused all the same.
    for (const int uploaded : {D64_SIZE, 1000}) {
        mHub.ClearLog();
        QCOMPARE(mHub.Send(Upload({Disk("GAMES", Image(uploaded))})).Body(),
                 EmptyBody(DISK_EXISTS));
        QCOMPARE(UploadLog(), Received("disk", QStringLiteral("games")) + DiskRefused());
        QCOMPARE(Snapshot(mDirectory->path()), before);
    }
}

void tst_Commands::uploadTakesTheDisksNameForAPattern_data()
{
    QTest::addColumn<QByteArray>("name");
    QTest::addColumn<QString>("file"); // that is written; empty if the disk is refused

    QTest::newRow("star-is-any-disk") << QByteArray("*") << QString();
    QTest::newRow("star-behind-a-beginning") << QByteArray("GA*") << QString();
    QTest::newRow("question-mark-inside") << QByteArray("GA?ES") << QString();
    QTest::newRow("star-behind-another-beginning") << QByteArray("X*") << QStringLiteral("x*.d64");
    QTest::newRow("too-many-question-marks")
        << QByteArray("??????") << QStringLiteral("??????.d64");
}

void tst_Commands::uploadTakesTheDisksNameForAPattern()
{
    QFETCH(QByteArray, name);
    QFETCH(QString, file);

    QVERIFY(WriteFile(Path("disks/games.d64"), Image(D64_SIZE, 1)));
    QVERIFY(WriteFile(Path("programs/games.d64"), Image(D64_SIZE, 1)));
    const HubReply reply = mHub.Send(Upload({Disk(name, Image(D64_SIZE, 2))}));
    const QStringList received = Received("disk", HostText(name));
    QCOMPARE(reply.Body(), EmptyBody(file.isEmpty() ? DISK_EXISTS : 0));
    QCOMPARE(UploadLog(), file.isEmpty() ? received + DiskRefused()
                                         : received + QStringList{Written(Path("disks/") + file)});
    QVERIFY(ReadFile(Path("disks/games.d64")) == Image(D64_SIZE, 1));

    // So for programs.
    QCOMPARE(mHub.Send(Upload({Program(name, "1")})).Package().result,
             file.isEmpty() ? PROGRAM_EXISTS : 0);
    QCOMPARE(Snapshot(Path("programs")).size(), file.isEmpty() ? 1 : 2);

    // With the flag it is a name like any other.
    QCOMPARE(mHub.Send(Upload({Disk(name, Image(D64_SIZE, 3), true)})).Body(), EmptyBody());
    QVERIFY(ReadFile(Path("disks/") + HostText(name) + QStringLiteral(".d64")) ==
            Image(D64_SIZE, 3));
    QVERIFY(ReadFile(Path("disks/games.d64")) == Image(D64_SIZE, 1));
}

void tst_Commands::uploadIsNotStoppedByWhatIsNoDisk_data()
{
    QTest::addColumn<QString>("file");
    QTest::addColumn<int>("size");

    QTest::newRow("small-file") << "games.d64" << 10;
    QTest::newRow("d64-of-40-tracks") << "games.d64" << 196608;
    QTest::newRow("hidden") << ".games.d64" << 174848;
    QTest::newRow("another-letter-case") << "GAMES.d64" << 174848;
    QTest::newRow("longer-name") << "games2.d64" << 174848;
    QTest::newRow("in-a-hidden-subdirectory") << ".sub/games.d64" << 174848;
    QTest::newRow("in-the-program-directory") << "../programs/games.d64" << 174848;
    QTest::newRow("above") << "../games.d64" << 174848;
}

void tst_Commands::uploadIsNotStoppedByWhatIsNoDisk()
{
    QFETCH(QString, file);
    QFETCH(int, size);

    QVERIFY(WriteSparseFile(Path("disks/") + file, size));
    QCOMPARE(mHub.Send(Upload({Disk("GAMES", Image(D64_SIZE))})).Body(), EmptyBody());
    QVERIFY(ReadFile(Path("disks/games.d64")) == Image(D64_SIZE));
}

void tst_Commands::uploadReplacesAFileOfUnknownSizeUnasked()
{
    for (const int seed : {1, 2, 3}) {
        mHub.ClearLog();
        const QByteArray data = Image(1000 - seed, seed);
        QCOMPARE(mHub.Send(Upload({Disk("GAMES", data)})).Body(), EmptyBody());
        QCOMPARE(ReadFile(Path("disks/games.dxx")), data);
        QCOMPARE(UploadLog(), Received("disk", QStringLiteral("games"))
                                  << Written(Path("disks/games.dxx")));
    }
}

void tst_Commands::uploadReplacesADiskWhoseNameIsReadBackDifferently_data()
{
    QTest::addColumn<QByteArray>("name");
    QTest::addColumn<QString>("file");

    QTest::newRow("letters-in-ascii") << QByteArray("games") << "games.d64";
    QTest::newRow("dot-inside") << QByteArray("A.B") << "a.b.d64";
    QTest::newRow("dot-in-front-hides-the-file") << QByteArray(".A") << ".a.d64";
    QTest::newRow("empty-name") << QByteArray() << ".d64";
}

void tst_Commands::uploadReplacesADiskWhoseNameIsReadBackDifferently()
{
    QFETCH(QByteArray, name);
    QFETCH(QString, file);

    for (const int seed : {1, 2}) {
        QCOMPARE(mHub.Send(Upload({Disk(name, Image(D64_SIZE, seed))})).Body(), EmptyBody());
        QVERIFY(ReadFile(Path("disks/") + file) == Image(D64_SIZE, seed));
        QCOMPARE(Snapshot(Path("disks")).size(), 1);
    }
}

void tst_Commands::uploadOfAnotherTypeLeavesTheOldDisk()
{
    QVERIFY(WriteFile(Path("disks/games.d81"), Image(819200, 1)));
    QVERIFY(WriteFile(Path("disks/sub/games.d64"), Image(D64_SIZE, 1)));
    QCOMPARE(mHub.Send(Upload({Disk("GAMES", Image(D64_SIZE, 2), true)})).Body(), EmptyBody());
    QVERIFY(ReadFile(Path("disks/games.d81")) == Image(819200, 1));
    QVERIFY(ReadFile(Path("disks/sub/games.d64")) == Image(D64_SIZE, 1));
    QVERIFY(ReadFile(Path("disks/games.d64")) == Image(D64_SIZE, 2));
}

void tst_Commands::uploadOverwritesAProgramUnasked()
{
    QVERIFY(WriteFile(Path("programs/hello.prg"), "longer than before"));
    for (const bool replace : {false, true}) {
        mHub.ClearLog();
        const QByteArray data = replace ? "replaced" : "new";
        QCOMPARE(mHub.Send(Upload({Program("HELLO", data, replace)})).Body(), EmptyBody());
        QCOMPARE(ReadFile(Path("programs/hello.prg")), data);
        QCOMPARE(UploadLog(), Received("program", QStringLiteral("hello"))
                                  << Written(Path("programs/hello.prg")));
    }
    QCOMPARE(Snapshot(Path("programs")).size(), 1);
}

void tst_Commands::uploadRefusesAProgramForADisk_data()
{
    QTest::addColumn<QString>("file");

    QTest::newRow("disk") << "hello.d64";
    QTest::newRow("program-of-a-disk's-size") << "hello.prg";
    QTest::newRow("in-a-subdirectory") << "sub/hello.d64";
}

void tst_Commands::uploadRefusesAProgramForADisk()
{
    QFETCH(QString, file);

    QVERIFY(WriteSparseFile(Path("programs/") + file, D64_SIZE));
    const QStringList before = Snapshot(mDirectory->path());
    const QByteArray body = mHub.Send(Upload({Program("HELLO", "new")})).Body();
    QCOMPARE(body, EmptyBody(PROGRAM_EXISTS));
    QCOMPARE(body.mid(6, 1), QByteArray::fromHex("A8"));
    QCOMPARE(Snapshot(mDirectory->path()), before);
    QCOMPARE(mHub.Log(),
             (QStringList{QStringLiteral("UPLOAD request from Skylet UUID: 42"),
                          QStringLiteral("> Received program \"hello\""),
                          QStringLiteral("    ** Program with that name already exists!"),
                          QStringLiteral("    ** Specify \"@:\" to replace...")}));

    mHub.ClearLog();
    QCOMPARE(mHub.Send(Upload({Program("HELLO", "new", true)})).Body(), EmptyBody());
    QCOMPARE(ReadFile(Path("programs/hello.prg")), QByteArray("new"));
    QCOMPARE(UploadLog(), Received("program", QStringLiteral("hello"))
                              << Written(Path("programs/hello.prg")));
}

void tst_Commands::uploadOfAProgramDoesNotLookAtTheDisks()
{
    QVERIFY(WriteSparseFile(Path("disks/hello.d64"), D64_SIZE));
    QCOMPARE(mHub.Send(Upload({Program("HELLO", "new")})).Body(), EmptyBody());
    QCOMPARE(ReadFile(Path("programs/hello.prg")), QByteArray("new"));
}

void tst_Commands::uploadReportsTheLastFailure_data()
{
    QTest::addColumn<QByteArray>("objects"); // a letter each, see uploadReportsTheLastFailure()
    QTest::addColumn<int>("result");

    QTest::newRow("refused-disk") << QByteArray("d") << DISK_EXISTS;
    QTest::newRow("failed-disk") << QByteArray("f") << WRITE_ERROR;
    QTest::newRow("refused-program") << QByteArray("p") << PROGRAM_EXISTS;
    QTest::newRow("failed-program") << QByteArray("q") << WRITE_ERROR;
    QTest::newRow("all-written") << QByteArray("wx") << 0;
    QTest::newRow("success-does-not-reset") << QByteArray("dw") << DISK_EXISTS;
    QTest::newRow("success-of-the-program-does-not-reset") << QByteArray("dx") << DISK_EXISTS;
    QTest::newRow("success-does-not-reset-a-write-error") << QByteArray("fwx") << WRITE_ERROR;
    QTest::newRow("refused-after-written") << QByteArray("wd") << DISK_EXISTS;
    QTest::newRow("failed-after-refused") << QByteArray("df") << WRITE_ERROR;
    QTest::newRow("refused-after-failed") << QByteArray("fd") << DISK_EXISTS;
    QTest::newRow("refused-program-after-refused-disk") << QByteArray("dp") << PROGRAM_EXISTS;
    QTest::newRow("refused-program-after-failed-disk") << QByteArray("fp") << PROGRAM_EXISTS;
    QTest::newRow("failed-program-after-refused-disk") << QByteArray("dq") << WRITE_ERROR;
    QTest::newRow("program-first-in-the-package-is-still-last")
        << QByteArray("pd") << PROGRAM_EXISTS;
}

void tst_Commands::uploadReportsTheLastFailure()
{
    QFETCH(QByteArray, objects);
    QFETCH(int, result);

    QVERIFY(WriteFile(Path("disks/taken.d64"), Image(D64_SIZE, 1)));
    QVERIFY(WriteFile(Path("programs/taken.d64"), Image(D64_SIZE, 1)));
    QVERIFY(QDir().mkdir(Path("disks/failing.dxx")));
    QVERIFY(QDir().mkdir(Path("programs/failing.prg")));
    QStringList files = Snapshot(mDirectory->path());
    QList<WireObject> uploaded;
    QStringList diskLog;
    QStringList programLog;
    for (const char c : objects) {
        switch (c) {
        case 'd':
            uploaded.append(Disk("TAKEN", Image(D64_SIZE, 2)));
            diskLog += Received("disk", QStringLiteral("taken")) + DiskRefused();
            break;
        case 'f':
            uploaded.append(Disk("FAILING", "abc"));
            diskLog += Received("disk", QStringLiteral("failing")) + DiskFailed();
            break;
        case 'w':
            uploaded.append(Disk("FREE", "ab"));
            diskLog += Received("disk", QStringLiteral("free")) << Written(Path("disks/free.dxx"));
            files << QStringLiteral("disks/free.dxx 2 da23614e02469a0d7c7bd1bdab5c9c474b1904dc");
            break;
        case 'p':
            uploaded.append(Program("TAKEN", "abc"));
            programLog += Received("program", QStringLiteral("taken")) + ProgramRefused();
            break;
        case 'q':
            uploaded.append(Program("FAILING", "abc"));
            programLog += Received("program", QStringLiteral("failing")) + ProgramFailed();
            break;
        default:
            uploaded.append(Program("FREE", "ab"));
            programLog += Received("program", QStringLiteral("free"))
                          << Written(Path("programs/free.prg"));
            files << QStringLiteral("programs/free.prg 2 da23614e02469a0d7c7bd1bdab5c9c474b1904dc");
        }
    }
    files.sort();
    QCOMPARE(mHub.Send(Upload(uploaded)).Body(), EmptyBody(result));
    QCOMPARE(mHub.Log(), QStringList{Requested("UPLOAD")} + diskLog + programLog);
    QCOMPARE(Snapshot(mDirectory->path()), files);
}

void tst_Commands::uploadTreatsEachObjectByItsOwnFlag()
{
    for (const char *file : {"disks/a.d64", "disks/b.d64", "disks/c.d64", "programs/p.d64"})
        QVERIFY(WriteFile(Path(file), Image(D64_SIZE, 1)));
    const HubReply reply =
        mHub.Send(Upload({Disk("A", Image(D64_SIZE, 2)), Disk("B", Image(D64_SIZE, 2), true),
                          Disk("C", Image(D64_SIZE, 2)), Program("P", "new", true)}));
    QCOMPARE(reply.Package().result, DISK_EXISTS);
    QVERIFY(ReadFile(Path("disks/a.d64")) == Image(D64_SIZE, 1));
    QVERIFY(ReadFile(Path("disks/b.d64")) == Image(D64_SIZE, 2));
    QVERIFY(ReadFile(Path("disks/c.d64")) == Image(D64_SIZE, 1));
    QCOMPARE(ReadFile(Path("programs/p.prg")), QByteArray("new"));
    QCOMPARE(UploadLog(), Received("disk", QStringLiteral("a")) + DiskRefused() +
                              Received("disk", QStringLiteral("b")) +
                              QStringList{Written(Path("disks/b.d64"))} +
                              Received("disk", QStringLiteral("c")) + DiskRefused() +
                              Received("program", QStringLiteral("p")) +
                              QStringList{Written(Path("programs/p.prg"))});
}

void tst_Commands::uploadedDiskBlocksTheNextOfItsName()
{
    const HubReply reply =
        mHub.Send(Upload({Disk("A", Image(D64_SIZE, 1)), Disk("A", Image(819200, 2))}));
    QCOMPARE(reply.Body(), EmptyBody(DISK_EXISTS));
    QVERIFY(ReadFile(Path("disks/a.d64")) == Image(D64_SIZE, 1));
    QCOMPARE(Snapshot(Path("disks")).size(), 1);
}

void tst_Commands::uploadTakesTwentyDisks()
{
    QList<WireObject> disks;
    QStringList log;
    for (int i = 0; i < 20; ++i) {
        const QString name = QStringLiteral("disk %1").arg(i);
        disks.append(Disk("DISK " + QByteArray::number(i), Image(D64_SIZE, i)));
        log += Received("disk", name) << Written(Path("disks/") + name + QStringLiteral(".d64"));
    }
    QCOMPARE(mHub.Send(Upload(disks)).Body(), EmptyBody());
    QCOMPARE(UploadLog(), log);
    for (int i = 0; i < 20; ++i)
        QVERIFY(ReadFile(Path(QStringLiteral("disks/disk %1.d64").arg(i))) == Image(D64_SIZE, i));
}

void tst_Commands::uploadOfNothingDoesNothing_data()
{
    QTest::addColumn<QByteArray>("request");

    WirePackage package;
    const QList<HubField> fields{{"cmd", "3"}, {"udid", "42"}, {"pat", "hello"}};
    QTest::newRow("no-package") << FormRequest(fields);
    QTest::newRow("no-package-in-the-parts") << MultipartRequest(fields, QByteArray());
    QTest::newRow("empty-package") << MultipartRequest(fields, package.Bytes());
    package.result = -5;
    QTest::newRow("empty-package-with-a-result") << MultipartRequest(fields, package.Bytes());
    package.result = 0;
    package.objects = {Program("HELLO", QByteArray())};
    QTest::newRow("program-without-data") << MultipartRequest(fields, package.Bytes());
    package.objects = {Program("HELLO", "new"), Disk("GAMES", Image(D64_SIZE))};
    const QByteArray whole = package.Bytes();
    QTest::newRow("wrong-magic") << MultipartRequest(fields, QByteArray(whole).replace(0, 1, "X"));
    QTest::newRow("another-version")
        << MultipartRequest(fields, QByteArray(whole).replace(4, 1, "X"));
    QTest::newRow("cut-inside-the-header") << MultipartRequest(fields, whole.left(400));
}

void tst_Commands::uploadOfNothingDoesNothing()
{
    QFETCH(QByteArray, request);

    const QStringList before = Snapshot(mDirectory->path());
    QCOMPARE(mHub.Send(request).Body(), EmptyBody());
    QCOMPARE(mHub.Log(), QStringList{Requested("UPLOAD")});
    QCOMPARE(Snapshot(mDirectory->path()), before);
}

void tst_Commands::uploadTakesTheLastOfTwoPrograms()
{
    QCOMPARE(mHub.Send(Upload({Program("A", "1"), Program("B", "2")})).Body(), EmptyBody());
    QCOMPARE(UploadLog(), Received("program", QStringLiteral("b"))
                              << Written(Path("programs/b.prg")));
    QCOMPARE(Snapshot(Path("programs")).size(), 1);
}

void tst_Commands::uploadIntoNoDirectoryFails_data()
{
    searchOfMissingDirectoriesListsNothing_data();
}

void tst_Commands::uploadIntoNoDirectoryFails()
{
    QFETCH(QString, directory);

    QVERIFY(WriteFile(Path("full/a.prg"), "a"));
    QVERIFY(WriteSparseFile(Path("full/a.d64"), D64_SIZE));
    QVERIFY(MakeLink(QStringLiteral("gone"), Path("full/dangling")));
    const QStringList before = Snapshot(mDirectory->path());
    const WorkingDirectory here(Path("full"));
    mHub->mDiskPath = directory;
    mHub->mProgramPath = directory;
    const QByteArray body =
        mHub.Send(Upload({Disk("A", Image(D64_SIZE)), Disk("B", "b"), Program("A", "new", true)}))
            .Body();
    QCOMPARE(body, EmptyBody(WRITE_ERROR));
    QCOMPARE(body.mid(6, 1), QByteArray::fromHex("FF"));
    QCOMPARE(Snapshot(mDirectory->path()), before);
    QCOMPARE(mHub.Log(), (QStringList{QStringLiteral("UPLOAD request from Skylet UUID: 42"),
                                      QStringLiteral("> Received disk \"a\""),
                                      QStringLiteral("    ** Unknown error writing disk!"),
                                      QStringLiteral("> Received disk \"b\""),
                                      QStringLiteral("    ** Unknown error writing disk!"),
                                      QStringLiteral("> Received program \"a\""),
                                      QStringLiteral("    ** Unknown error writing program!")}));
}

void tst_Commands::uploadOverWhatIsNoRegularFileFails_data()
{
    QTest::addColumn<QString>("kind");
    QTest::addColumn<bool>("replace");

    for (const char *kind : {"directory", "fifo", "link-to-fifo"}) {
        QTest::addRow("%s", kind) << QString::fromLatin1(kind) << false;
        QTest::addRow("%s-with-the-flag", kind) << QString::fromLatin1(kind) << true;
    }
}

void tst_Commands::uploadOverWhatIsNoRegularFileFails()
{
    QFETCH(QString, kind);
    QFETCH(bool, replace);

    QVERIFY(MakeFifo(Path("pipe")));
    for (const QString &path : {Path("disks/a.d64"), Path("programs/a.prg")}) {
        if (kind == QLatin1String("directory"))
            QVERIFY(QDir().mkdir(path));
        else if (kind == QLatin1String("fifo"))
            QVERIFY(MakeFifo(path));
        else
            QVERIFY(MakeLink(Path("pipe"), path));
    }
    const QStringList before = Snapshot(mDirectory->path());
    const HubReply reply =
        mHub.Send(Upload({Disk("A", Image(D64_SIZE), replace), Program("A", "new", replace)}));
    QCOMPARE(reply.Body(), EmptyBody(WRITE_ERROR));
    QCOMPARE(UploadLog(), Received("disk", QStringLiteral("a")) + DiskFailed() +
                              Received("program", QStringLiteral("a")) + ProgramFailed());
    QCOMPARE(Snapshot(mDirectory->path()), before);
}

void tst_Commands::uploadLogsTheNameInAscii_data()
{
    QTest::addColumn<QByteArray>("name");
    QTest::addColumn<QString>("text");

    QTest::newRow("capitals") << QByteArray("GAMES 1") << "games 1";
    QTest::newRow("shifted-capitals") << QByteArray::fromHex("C7414D4553") << "Games";
    QTest::newRow("ends-at-the-first-padding") << QByteArray("GA\xA0MES") << "ga";
    QTest::newRow("sixteen-characters") << QByteArray("ABCDEFGHIJKLMNOP") << "abcdefghijklmnop";
    QTest::newRow("quotes") << QByteArray("\"A\"") << "\"a\"";
    QTest::newRow("placeholders") << QByteArray("%1%2%\xCC"
                                                "1%9")
                                  << "%1%2%L1%9";
    QTest::newRow("markup") << QByteArray("<B>&AMP;") << "<b>&amp;";
    QTest::newRow("empty-name") << QByteArray() << "";
    QTest::newRow("two-dots") << QByteArray("..") << "..";
    QTest::newRow("no-break-of-the-line") << QByteArray("A\tB") << "a\tb";
    QTest::newRow("latin-1") << QByteArray("\xE9\xFF") << QString::fromUtf8("\xC3\xA9\xC3\xBF");
}

void tst_Commands::uploadLogsTheNameInAscii()
{
    QFETCH(QByteArray, name);
    QFETCH(QString, text);

    mHub.Send(Upload({Disk(name, "x"), Program(name, "x")}));
    QCOMPARE(UploadLog(), Received("disk", text)
                              << Written(Path("disks/") + text + QStringLiteral(".dxx"))
                              << QStringLiteral("> Received program \"") + text + QLatin1Char('"')
                              << Written(Path("programs/") + text + QStringLiteral(".prg")));
}

void tst_Commands::uploadLogsThePathAsItIs()
{
    const QString directory = Path("%1 %2 \"quoted\" \u00e9/");
    QVERIFY(QDir().mkpath(directory));
    mHub->mProgramPath = directory;
    QCOMPARE(mHub.Send(Upload({Program("A", "x")})).Body(), EmptyBody());
    QCOMPARE(UploadLog(), Received("program", QStringLiteral("a"))
                              << Written(directory + QStringLiteral("a.prg")));

    // A link is not resolved, and a relative path becomes absolute.
    QVERIFY(MakeLink(QStringLiteral("programs"), Path("link")));
    const WorkingDirectory here(mDirectory->path());
    mHub->mProgramPath = QStringLiteral("link");
    mHub.ClearLog();
    QCOMPARE(mHub.Send(Upload({Program("A", "x")})).Body(), EmptyBody());
    QCOMPARE(UploadLog(), Received("program", QStringLiteral("a")) << Written(Path("link/a.prg")));
    QCOMPARE(ReadFile(Path("programs/a.prg")), QByteArray("x"));
}

void tst_Commands::uploadStaysInItsDirectory_data()
{
    AddNamesThatLeadElsewhere();
}

void tst_Commands::uploadStaysInItsDirectory()
{
    QFETCH(QByteArray, name);

    for (const char *directory : {"disks", "programs"}) {
        QVERIFY(QDir().mkpath(Path(directory) + QStringLiteral("/sub")));
        QVERIFY(WriteFile(Path(directory) + QStringLiteral("/a.prg"), "a"));
    }
    QVERIFY(WriteFile(Path("x.prg"), "outside"));
    const QStringList before = Snapshot(mDirectory->path());
    const WorkingDirectory here(Path("disks"));
    for (const bool replace : {false, true}) {
        mHub.ClearLog();
        const HubReply reply =
            mHub.Send(Upload({Disk(name, Image(D64_SIZE), replace), Disk(name, "x", replace),
                              Program(name, "x", replace)}));
        QCOMPARE(reply.Body(), EmptyBody(WRITE_ERROR));
        QCOMPARE(Snapshot(mDirectory->path()), before);
        const QStringList disk = Received("disk", HostText(name)) + DiskFailed();
        QCOMPARE(mHub.Log(), AsShown(QStringList{Requested("UPLOAD")} + disk + disk +
                                     Received("program", HostText(name)) + ProgramFailed()));
    }
}

void tst_Commands::searchStaysInItsDirectory_data()
{
    QTest::addColumn<QByteArray>("pattern"); // UTF-8

    QTest::newRow("parent") << QByteArray("../*");
    QTest::newRow("parent-alone") << QByteArray("..");
    QTest::newRow("here") << QByteArray(".");
    QTest::newRow("slash") << QByteArray("/");
    QTest::newRow("absolute") << QByteArray("/*");
    QTest::newRow("nul-and-star") << QByteArray("\0*", 2);
    QTest::newRow("control-and-star") << QByteArray("\x01*");
    QTest::newRow("high-and-star") << QByteArray("\xC3\xBF*");
    QTest::newRow("bracket-is-no-wildcard") << QByteArray("[a-z]*");
    QTest::newRow("backslash-and-star") << QByteArray("\\*");
}

void tst_Commands::searchStaysInItsDirectory()
{
    QFETCH(QByteArray, pattern);

    QVERIFY(WriteSparseFile(Path("outside.prg"), D64_SIZE));
    QVERIFY(WriteSparseFile(Path("disks/inside.prg"), D64_SIZE));
    QVERIFY(WriteSparseFile(Path("programs/inside.prg"), D64_SIZE));
    const QStringList before = Snapshot(mDirectory->path());
    QCOMPARE(OnlyProgram(mHub.Send(Search(pattern))), SearchListing());
    QCOMPARE(mHub.Send(DownloadProgram(pattern)).Body(), EmptyBody());
    QCOMPARE(OnlyProgram(mHub.Send(DownloadDisks(pattern))), ManifestListing());
    QCOMPARE(Snapshot(mDirectory->path()), before);
}

void tst_Commands::everyByteOfAName_data()
{
    QTest::addColumn<QByteArray>("before");
    QTest::addColumn<QByteArray>("after");

    QTest::newRow("alone") << QByteArray() << QByteArray();
    QTest::newRow("first") << QByteArray() << QByteArray("X");
    QTest::newRow("inside") << QByteArray("SUB") << QByteArray("X");
    QTest::newRow("sixteen-times") << QByteArray("*16") << QByteArray();
}

void tst_Commands::everyByteOfAName()
{
    QFETCH(QByteArray, before);
    QFETCH(QByteArray, after);

    QVERIFY(QDir().mkdir(Path("programs/sub")));
    const QStringList untouched = Snapshot(mDirectory->path());
    const WorkingDirectory here(Path("programs"));
    for (int byte = 0; byte < 256; ++byte) {
        const QByteArray name =
            before == "*16" ? QByteArray(16, char(byte)) : before + char(byte) + after;
        const bool refused = name.contains('\0') || name.contains('/');
        const QString path = Path("programs/") + HostText(name) + QStringLiteral(".prg");
        mHub.ClearLog();

        QCOMPARE(mHub.Send(Upload({Program(name, "ab")})).Body(),
                 EmptyBody(refused ? WRITE_ERROR : 0));
        QCOMPARE(mHub.Log(),
                 AsShown(QStringList{Requested("UPLOAD")} + Received("program", HostText(name)) +
                         (refused ? ProgramFailed() : QStringList{Written(path)})));
        if (!refused) {
            QCOMPARE(ReadFile(path), QByteArray("ab"));
            QVERIFY(QFile::remove(path));
        }
        QCOMPARE(Snapshot(mDirectory->path()), untouched);
    }
}

void tst_Commands::userDecidesTheDirectories_data()
{
    QTest::addColumn<QByteArray>("usr");
    QTest::addColumn<bool>("validate");
    QTest::addColumn<QString>("directory"); // what the commands work on; empty: none

    QTest::newRow("own-directories") << QByteArray("own") << true << "own";
    QTest::newRow("hub's-for-a-user-without") << QByteArray("plain") << true << "";
    QTest::newRow("hub's-without-restrictions") << QByteArray("own") << false << "";
    QTest::newRow("hub's-without-restrictions-or-user") << QByteArray() << false << "";
    QTest::newRow("none-for-a-user-who-never-chose") << QByteArray("empty") << true << "none";
}

void tst_Commands::userDecidesTheDirectories()
{
    QFETCH(QByteArray, usr);
    QFETCH(bool, validate);
    QFETCH(QString, directory);

    // Each directory holds a disk and a program that bear its name.
    for (const char *name : {"hub", "own", "unused"}) {
        const QString base = QLatin1String(name);
        QVERIFY(WriteFile(Path(base + QStringLiteral("/disks/%1.d64").arg(base)),
                          Image(D64_SIZE, *name)));
        QVERIFY(WriteFile(Path(base + QStringLiteral("/programs/%1.prg").arg(base)), name));
    }
    const WorkingDirectory here(Path("unused"));
    mHub->mDiskPath = Path("hub/disks");
    mHub->mProgramPath = Path("hub/programs");
    mHub->mValidate = validate;
    const QByteArray md5 = "d41d8cd98f00b204e9800998ecf8427e";
    for (const char *name : {"own", "plain", "empty"})
        mHub->AddUser(QLatin1String(name));
    for (int i = 0; i < 3; ++i)
        mHub->User(i)->md5 = QString::fromLatin1(md5);
    AppDiskHub::USER *user = mHub->User(0);
    user->own_dir = true;
    user->disk_dir = Path("own/disks");
    user->program_dir = Path("own/programs");
    user = mHub->User(1);
    user->disk_dir = Path("unused/disks");
    user->program_dir = Path("unused/programs");
    mHub->User(2)->own_dir = true;

    const QString chosen = directory.isEmpty() ? QStringLiteral("hub") : directory;
    const bool exists = chosen != QLatin1String("none");
    const QByteArray name = chosen.toLatin1();
    const auto request = [&usr, &md5](const char *cmd, const char *req) {
        return FormRequest({{"cmd", cmd}, {"req", req}, {"pat", "*"}, {"usr", usr}, {"pwd", md5}});
    };

    const QByteArray entries =
        exists ? Entry(name.toUpper(), "D64") + Entry(name.toUpper(), "PRG") : QByteArray();
    QCOMPARE(OnlyProgram(mHub.Send(request("1", "0"))), SearchListing(entries));
    QCOMPARE(OnlyProgram(mHub.Send(request("2", "0"))), exists ? name : QByteArray());
    const QList<WireObject> disks = Disks(mHub.Send(request("2", "1")));
    QCOMPARE(disks.size(), exists ? 1 : 0);
    if (exists)
        QVERIFY(disks.first().data == Image(D64_SIZE, name.at(0)));

    QStringList files = Snapshot(mDirectory->path());
    if (exists) {
        const QString line = QStringLiteral("%1/%2 2 da23614e02469a0d7c7bd1bdab5c9c474b1904dc");
        files << line.arg(chosen, QStringLiteral("disks/new.dxx"))
              << line.arg(chosen, QStringLiteral("programs/new.prg"));
        files.sort();
    }
    WirePackage package;
    package.objects = {Disk("NEW", "ab"), Program("NEW", "ab")};
    const HubReply reply =
        mHub.Send(MultipartRequest({{"cmd", "3"}, {"usr", usr}, {"pwd", md5}}, package.Bytes()));
    QCOMPARE(reply.Body(), EmptyBody(exists ? 0 : WRITE_ERROR));
    QCOMPARE(Snapshot(mDirectory->path()), files);

    // What exists elsewhere does not count, what exists there does.
    package.objects = {Disk("UNUSED", Image(D64_SIZE)), Disk("HUB", Image(D64_SIZE)),
                       Disk("OWN", Image(D64_SIZE))};
    const HubReply blocked =
        mHub.Send(MultipartRequest({{"cmd", "3"}, {"usr", usr}, {"pwd", md5}}, package.Bytes()));
    QCOMPARE(blocked.Body(), EmptyBody(exists ? DISK_EXISTS : WRITE_ERROR));
    QCOMPARE(mHub.Log().filter(QStringLiteral("** Disk with that name")).size(), exists ? 1 : 0);
}

void tst_Commands::newDirectoryHoldsFromTheNextRequestOn()
{
    QVERIFY(WriteFile(Path("programs/a.prg"), "first"));
    QVERIFY(WriteFile(Path("second/a.prg"), "second"));
    QCOMPARE(OnlyProgram(mHub.Send(DownloadProgram("a"))), QByteArray("first"));
    mHub->mProgramPath = Path("second");
    QCOMPARE(OnlyProgram(mHub.Send(DownloadProgram("a"))), QByteArray("second"));
    mHub->mProgramPath = Path("disks");
    QCOMPARE(mHub.Send(DownloadProgram("a")).Body(), EmptyBody());
}

void tst_Commands::realImagesGoThereAndBack_data()
{
    QTest::addColumn<QString>("suffix");
    QTest::addColumn<int>("size");
    QTest::addColumn<int>("type");

    QTest::newRow("d64") << "d64" << 174848 << 0;
    QTest::newRow("d71") << "d71" << 349696 << 1;
    QTest::newRow("d81") << "d81" << 819200 << 2;
}

// An image that a disk tool made is found, sent and stored under another name, byte for byte.
void tst_Commands::realImagesGoThereAndBack()
{
    QFETCH(QString, suffix);
    QFETCH(int, size);
    QFETCH(int, type);

    const QString tool = QStandardPaths::findExecutable(QStringLiteral("cc1541"));
    if (tool.isEmpty()) {
        // The macro is not standard C++ with one argument.
        QTest::qSkip("no cc1541 here", __FILE__, __LINE__);
        return;
    }
    QVERIFY(WriteFile(Path("hello.prg"), "\x01\x08" + Image(1000)));
    const QString image = Path("disks/real.") + suffix;
    QProcess process;
    process.start(tool, QStringList{QStringLiteral("-q"), QStringLiteral("-n"),
                                    QStringLiteral("real disk"), QStringLiteral("-f"),
                                    QStringLiteral("hello"), QStringLiteral("-w"),
                                    Path("hello.prg"), image});
    QVERIFY(process.waitForFinished());
    QCOMPARE(process.exitCode(), 0);
    const QByteArray bytes = ReadFile(image);
    QCOMPARE(bytes.size(), size);

    QCOMPARE(OnlyProgram(mHub.Send(Search("real"))),
             SearchListing(Entry("REAL", suffix.toLatin1().toUpper())));
    const QList<WireObject> disks = Disks(mHub.Send(DownloadDisks("real")));
    QCOMPARE(disks.size(), 1);
    QCOMPARE(disks.first().diskType, type);
    QVERIFY(disks.first().data == bytes);

    WireObject copy = disks.first();
    copy.name = PetsciiName("copy");
    QCOMPARE(mHub.Send(Upload({copy})).Body(), EmptyBody());
    QVERIFY(ReadFile(Path("disks/copy.") + suffix) == bytes);
}

int main(int argc, char **argv)
{
    const HubSettings settings;
    const HubFixture hub;
    tst_Commands test(&hub);
    return QTest::qExec(&test, argc, argv);
}

#include "tst_Commands.moc"
