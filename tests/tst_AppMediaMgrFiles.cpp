// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#include "MediaTest.h"

namespace
{

/// The character that a byte of a DOS name becomes on the host.
QChar HostCharacter(int byte)
{
    if (byte >= 0x41 && byte <= 0x5A)
        return QChar(byte + 0x20);
    if (byte >= 0xC1 && byte <= 0xDA)
        return QChar(byte - 0x80);
    return QChar(byte);
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

class tst_AppMediaMgrFiles : public MediaTest
{
    Q_OBJECT

private slots:
    void initTestCase() { umask(022); }
    void init() { MakeDirectory(); }

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
};

void tst_AppMediaMgrFiles::readGivesTheWholeFile_data()
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

void tst_AppMediaMgrFiles::readGivesTheWholeFile()
{
    QFETCH(QByteArray, contents);

    QVERIFY(WriteFile(Path("a.prg"), contents));
    QByteArray data;
    QVERIFY(AppMediaMgr::Instance().Read(QFileInfo(Path("a.prg")), &data));
    QCOMPARE(data, contents);
    QVERIFY(AppMediaMgr::Instance().Read(QFileInfo(Path("a.prg")), nullptr));
}

void tst_AppMediaMgrFiles::readFollowsALinkToAFile()
{
    SKIP_ON_WINDOWS("Windows lets only administrators make links");
    QVERIFY(WriteFile(Path("a.bin"), "abc"));
    QVERIFY(MakeLink(QStringLiteral("a.bin"), Path("a.prg")));
    QByteArray data;
    QVERIFY(AppMediaMgr::Instance().Read(QFileInfo(Path("a.prg")), &data));
    QCOMPARE(data, QByteArray("abc"));
}

void tst_AppMediaMgrFiles::readReplacesWhatWasInTheBuffer()
{
    QVERIFY(WriteFile(Path("a.prg"), "abc"));
    QByteArray data = "from before";
    QVERIFY(AppMediaMgr::Instance().Read(QFileInfo(Path("a.prg")), &data));
    QCOMPARE(data, QByteArray("abc"));
}

void tst_AppMediaMgrFiles::readGivesTheFileAsItIsNow()
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

void tst_AppMediaMgrFiles::readRefusesWhatIsNoRegularFile_data()
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

void tst_AppMediaMgrFiles::readRefusesWhatIsNoRegularFile()
{
    SKIP_ON_WINDOWS("Windows has no fifos, and links for administrators only");
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

void tst_AppMediaMgrFiles::readRefusesWhatHasBecomeAFifo()
{
    SKIP_ON_WINDOWS("Windows has no fifos");
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

void tst_AppMediaMgrFiles::readRefusesAFifoThatHasData()
{
    SKIP_ON_WINDOWS("Windows has no fifos");
    QVERIFY(MakeFifo(Path("a.prg")));
    const int fd = OpenFifo(Path("a.prg"), O_RDWR);
    QVERIFY(fd >= 0);
    const bool written = write(fd, "abc", 3) == 3;
    QByteArray data;
    const bool read = AppMediaMgr::Instance().Read(QFileInfo(Path("a.prg")), &data);
    close(fd);
    QVERIFY(written);
    QVERIFY(!read);
}

void tst_AppMediaMgrFiles::readRefusesAnUnreadableFile()
{
    SKIP_ON_WINDOWS("Windows has other permissions");
    QVERIFY(WriteFile(Path("a.prg"), "abc"));
    QVERIFY(chmod(QFile::encodeName(Path("a.prg")).constData(), 0) == 0);
    const OrdinaryUser user;
    QByteArray data;
    QCOMPARE(FoundPrograms(), QStringList{QStringLiteral("a.prg")});
    QVERIFY(!AppMediaMgr::Instance().Read(QFileInfo(Path("a.prg")), &data));
    QVERIFY(!AppMediaMgr::Instance().Read(QFileInfo(Path("a.prg")), nullptr));
}

void tst_AppMediaMgrFiles::readRefusesWhatNoReplyCanCarry_data()
{
    QTest::addColumn<qint64>("size");
    QTest::addColumn<bool>("opened");

    QTest::newRow("as-much-as-it-can") << Q_INT64_C(0x7FF00000) << true;
    QTest::newRow("one-byte-more") << Q_INT64_C(0x7FF00001) << false;
    QTest::newRow("2-gib") << Q_INT64_C(0x80000000) << false;
    QTest::newRow("4-gib") << Q_INT64_C(0x100000000) << false;
    QTest::newRow("4-gib-and-a-byte") << Q_INT64_C(0x100000001) << false;
}

void tst_AppMediaMgrFiles::readRefusesWhatNoReplyCanCarry()
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

void tst_AppMediaMgrFiles::diskGetsTheExtensionOfItsSize_data()
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

void tst_AppMediaMgrFiles::diskGetsTheExtensionOfItsSize()
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

void tst_AppMediaMgrFiles::programIsWrittenAsItIs_data()
{
    readGivesTheWholeFile_data();
}

void tst_AppMediaMgrFiles::programIsWrittenAsItIs()
{
    QFETCH(QByteArray, contents);

    QCOMPARE(AppMediaMgr::Instance().AddUpdateProgram(mDirectory->path(), Name("HELLO"), contents),
             Path("hello.prg"));
    QVERIFY(ReadFile(Path("hello.prg")) == contents);
    QVERIFY(!ReadFile(Path("hello.prg")).isNull());
    QCOMPARE(Snapshot(mDirectory->path()).size(), 1);
}

void tst_AppMediaMgrFiles::fileNameIsTheNameInAscii_data()
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

void tst_AppMediaMgrFiles::fileNameIsTheNameInAscii()
{
    QFETCH(QByteArray, field);
    QFETCH(QString, base);

    if (!IsFileName(base))
        QSKIP(NO_FILE_NAME);
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

void tst_AppMediaMgrFiles::everyByteOfANameStaysInTheDirectory_data()
{
    QTest::addColumn<KIND>("kind");
    QTest::addColumn<QByteArray>("before");
    QTest::addColumn<QByteArray>("after");

    QTest::newRow("program-first") << KIND_PROGRAM << QByteArray() << QByteArray("X");
    QTest::newRow("program-last") << KIND_PROGRAM << QByteArray("SUB") << QByteArray();
    QTest::newRow("disk-alone") << KIND_DISK << QByteArray() << QByteArray();
    QTest::newRow("disk-sixteenth") << KIND_DISK << QByteArray(15, 'X') << QByteArray();
}

void tst_AppMediaMgrFiles::everyByteOfANameStaysInTheDirectory()
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
        const bool refused = !IsFileName(file);
        if (!refused)
            expected << QStringLiteral("media/%1 2 %2")
                            .arg(file, QStringLiteral("da23614e02469a0d7c7bd1bdab5c9c474b1904dc"));
        expected.sort();

        const QString path = AddUpdate(kind, inner, Name(bytes), "ab");
        QCOMPARE(path, refused ? QString() : inner + QLatin1Char('/') + file);
        QCOMPARE(Snapshot(outer.path()), expected);
    }
}

void tst_AppMediaMgrFiles::nameThatLeadsElsewhereIsRefused_data()
{
    AddNamesThatLeadElsewhere();
}

void tst_AppMediaMgrFiles::nameThatLeadsElsewhereIsRefused()
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

void tst_AppMediaMgrFiles::writingGoesToTheDirectoryItself()
{
    QVERIFY(WriteFile(Path("sub/deeper/hello.prg"), "below"));
    QCOMPARE(AddUpdate(KIND_PROGRAM, mDirectory->path(), Name("HELLO"), "new"), Path("hello.prg"));
    QCOMPARE(ReadFile(Path("hello.prg")), QByteArray("new"));
    QCOMPARE(ReadFile(Path("sub/deeper/hello.prg")), QByteArray("below"));
}

void tst_AppMediaMgrFiles::unknownDiskIsWrittenButNeverFound()
{
    QCOMPARE(AddUpdate(KIND_DISK, mDirectory->path(), Name("HELLO"), QByteArray(1000, 'x')),
             Path("hello.dxx"));
    QCOMPARE(FoundDisks(), QStringList());
    QCOMPARE(AddUpdate(KIND_DISK, mDirectory->path(), Name("HELLO"), QByteArray(D64_SIZE, 'x')),
             Path("hello.d64"));
    QCOMPARE(FoundDisks(), QStringList{QStringLiteral("hello.d64")});
}

void tst_AppMediaMgrFiles::writingReplacesTheWholeFile_data()
{
    QTest::addColumn<QByteArray>("before");
    QTest::addColumn<QByteArray>("after");

    QTest::newRow("by-shorter") << QByteArray(100000, 'a') << QByteArray("b");
    QTest::newRow("by-longer") << QByteArray("a") << QByteArray(100000, 'b');
    QTest::newRow("by-as-long") << QByteArray("aaa") << QByteArray("bbb");
    QTest::newRow("by-nothing") << QByteArray("aaa") << QByteArray("");
    QTest::newRow("nothing") << QByteArray("") << QByteArray("bbb");
}

void tst_AppMediaMgrFiles::writingReplacesTheWholeFile()
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
void tst_AppMediaMgrFiles::writingLeavesOpenReadersTheirFile()
{
    SKIP_ON_WINDOWS("Windows cannot put another file in the place of an open one");
    QVERIFY(WriteFile(Path("a.prg"), QByteArray(1000, 'a')));
    QFile reader(Path("a.prg"));
    QVERIFY(reader.open(QIODevice::ReadOnly));
    QCOMPARE(AddUpdate(KIND_PROGRAM, mDirectory->path(), Name("A"), "b"), Path("a.prg"));
    QCOMPARE(reader.readAll(), QByteArray(1000, 'a'));
    QCOMPARE(ReadFile(Path("a.prg")), QByteArray("b"));
}

void tst_AppMediaMgrFiles::writingKeepsThePermissionsOfTheFile()
{
    SKIP_ON_WINDOWS("Windows has other permissions");
    QVERIFY(WriteFile(Path("a.prg"), "a"));
    const QByteArray path = QFile::encodeName(Path("a.prg"));
    QVERIFY(chmod(path.constData(), 0640) == 0);
    QCOMPARE(AddUpdate(KIND_PROGRAM, mDirectory->path(), Name("A"), "b"), Path("a.prg"));
    struct stat status;
    QVERIFY(stat(path.constData(), &status) == 0);
    QCOMPARE(int(status.st_mode & 07777), 0640);
}

void tst_AppMediaMgrFiles::newFileHasTheUsualPermissions()
{
    SKIP_ON_WINDOWS("Windows has other permissions");
    QCOMPARE(AddUpdate(KIND_PROGRAM, mDirectory->path(), Name("A"), "b"), Path("a.prg"));
    struct stat status;
    QVERIFY(stat(QFile::encodeName(Path("a.prg")).constData(), &status) == 0);
    QCOMPARE(int(status.st_mode & 07777), 0644);
}

void tst_AppMediaMgrFiles::writingGoesThroughALinkToAFile_data()
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

void tst_AppMediaMgrFiles::writingGoesThroughALinkToAFile()
{
    SKIP_ON_WINDOWS("Windows lets only administrators make links");
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

void tst_AppMediaMgrFiles::writingLeavesNothingElseBehind()
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

void tst_AppMediaMgrFiles::writingIntoNoDirectoryFails_data()
{
    AddNoDirectories();
}

void tst_AppMediaMgrFiles::writingIntoNoDirectoryFails()
{
    SKIP_ON_WINDOWS("Windows lets only administrators make links");
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

void tst_AppMediaMgrFiles::writingOverWhatIsNoRegularFileFails_data()
{
    QTest::addColumn<QByteArray>("name");

    QTest::newRow("directory") << QByteArray("DIRECTORY");
    QTest::newRow("link-to-directory") << QByteArray("TO-DIRECTORY");
    QTest::newRow("fifo") << QByteArray("FIFO");
    QTest::newRow("link-to-fifo") << QByteArray("TO-FIFO");
    QTest::newRow("link-to-itself") << QByteArray("LOOP");
    QTest::newRow("links-to-each-other") << QByteArray("PING");
}

void tst_AppMediaMgrFiles::writingOverWhatIsNoRegularFileFails()
{
    SKIP_ON_WINDOWS("Windows has no fifos, and links for administrators only");
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

void tst_AppMediaMgrFiles::writingToAFifoThatIsReadFails()
{
    SKIP_ON_WINDOWS("Windows has no fifos");
    QVERIFY(MakeFifo(Path("a.prg")));
    const int fd = OpenFifo(Path("a.prg"), O_RDONLY);
    QVERIFY(fd >= 0);
    const QString path = AddUpdate(KIND_PROGRAM, mDirectory->path(), Name("A"), "b");
    char byte = 0;
    const ssize_t received = read(fd, &byte, 1);
    close(fd);
    QCOMPARE(path, QString());
    QVERIFY(received <= 0);
    QVERIFY(!QFileInfo(Path("a.prg")).isFile());
}

void tst_AppMediaMgrFiles::writingOverAReadOnlyFileFails()
{
    SKIP_ON_WINDOWS("Windows has other permissions");
    QVERIFY(WriteFile(Path("a.prg"), "a"));
    QVERIFY(chmod(QFile::encodeName(Path("a.prg")).constData(), 0444) == 0);
    const OrdinaryUser user;
    QCOMPARE(AddUpdate(KIND_PROGRAM, mDirectory->path(), Name("A"), "b"), QString());
    QCOMPARE(ReadFile(Path("a.prg")), QByteArray("a"));
    QCOMPARE(Snapshot(mDirectory->path()).size(), 1);
}

void tst_AppMediaMgrFiles::writingIntoAReadOnlyDirectoryFails()
{
    SKIP_ON_WINDOWS("Windows has other permissions");
    QVERIFY(chmod(QFile::encodeName(mDirectory->path()).constData(), 0555) == 0);
    {
        const OrdinaryUser user;
        QCOMPARE(AddUpdate(KIND_PROGRAM, mDirectory->path(), Name("A"), "b"), QString());
        QCOMPARE(Snapshot(mDirectory->path()), QStringList());
    }
    QVERIFY(chmod(QFile::encodeName(mDirectory->path()).constData(), 0777) == 0);
}

void tst_AppMediaMgrFiles::writableFileInAReadOnlyDirectoryIsReplaced()
{
    SKIP_ON_WINDOWS("Windows has other permissions");
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

void tst_AppMediaMgrFiles::returnedPathIsAbsolute_data()
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

void tst_AppMediaMgrFiles::returnedPathIsAbsolute()
{
    SKIP_ON_WINDOWS("Windows lets only administrators make links");
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

QTEST_GUILESS_MAIN(tst_AppMediaMgrFiles)
#include "tst_AppMediaMgrFiles.moc"
