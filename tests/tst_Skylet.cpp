// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#include "AppCbmUtil.h"
#include "SkyletFixture.h"

#include <QJsonArray>
#include <QTemporaryDir>

// Every command, run as a program against the hub's program.

namespace
{

const char USERS[] = "[security]\nvalidate=true\n"
                     "[access]\nnum_users=3\n"
                     "user_0\\name=anna\n"
                     "user_0\\md5=900150983cd24fb0d6963f7d28e17f72\n" // "abc"
                     "user_1\\name=reader\n"
                     "user_1\\md5=900150983cd24fb0d6963f7d28e17f72\n"
                     "user_1\\ro=1\n"
                     "user_2\\name=new\n"
                     "user_2\\md5=d41d8cd98f00b204e9800998ecf8427e\n"; // ""

const char PROGRAM[] = "\x01\x08\x0b\x08\x0a";

QByteArray Noise(int size)
{
    return Image(size, static_cast<unsigned int>(size));
}

/// Makes an image with cc1541, which knows it by its extension. Returns its bytes.
QByteArray RealImage(const QString &path, const QByteArray &content)
{
    const QTemporaryDir directory;
    const QString program = directory.filePath(S("content.prg"));
    if (!WriteFile(program, content))
        return QByteArray();
    RunSkylet({S("-n"), S("games"), S("-w"), program, path}, QString(), S("cc1541"));
    return ReadFile(path);
}

SkyletRun Run(const RunningHub &hub, const QString &line, const QTemporaryDir &directory)
{
    return RunSkylet(QStringList{S("--hub"), hub.Address()} + Words(line), directory.path());
}

} // namespace

class tst_Skylet : public QObject
{
    Q_OBJECT

private slots:
    void searchShowsTheListing();
    void searchKeepsTheListing();
    void searchAsJson();
    void getWritesTheProgram_data();
    void getWritesTheProgram();
    void getWithoutAMatchWritesNothing();
    void getKeepsWhatExists();
    void imagesComeBackAsTheyWere_data();
    void imagesComeBackAsTheyWere();
    void disksShowsTheManifest();
    void disksKeepsWhatExistsAndWritesTheRest();
    void disksOfOneNameGetNumbers();
    void disksThatDoNotFitAreNamed();
    void disksWithoutAMatch();
    void putFillsPackages();
    void putRefusesAndReplaces();
    void putOfTwoTellsThatOneMayBeStored();
    void putOfAProgramWhoseNameIsTaken();
    void putTakesAName();
    void putSendsNothingIfAFileIsWrong();
    void namesOfEveryKindComeBack_data();
    void namesOfEveryKindComeBack();
    void writeErrorsAreReported();
    void refusedUsersAreReported_data();
    void refusedUsersAreReported();
    void readersMayNotPut();
    void pingOfAHub();
    void remarksOnPatterns();
    void benchOfAllCommands();
    void benchSendsAsManyRequestsAsAsked_data();
    void benchSendsAsManyRequestsAsAsked();
    void benchCountsFailures();
};

void tst_Skylet::searchShowsTheListing()
{
    SKIP_ON_WINDOWS("there is no cc1541 for certain");
    RunningHub hub;
    QVERIFY(hub.Start());
    const QTemporaryDir here;
    QVERIFY(!RealImage(hub.Disk("games.d64"), PROGRAM).isEmpty());
    QVERIFY(WriteFile(hub.Program("Ghost.prg"), PROGRAM));

    const SkyletRun all = Run(hub, S("search"), here);
    QCOMPARE(all.errors, QByteArray());
    QCOMPARE(all.output, QByteArray("0 search results\n"
                                    "0   \"games\"             d64\n"
                                    "0   \"Ghost\"             prg\n"));
    QCOMPARE(all.exitCode, 0);
    QCOMPARE(Run(hub, S("search G*"), here).output,
             QByteArray("0 search results\n0   \"Ghost\"             prg\n"));
    const SkyletRun nothing = Run(hub, S("search nothing"), here);
    QCOMPARE(nothing.output, QByteArray("0 search results\n"));
    QCOMPARE(nothing.exitCode, 0);
    QCOMPARE(Names(here.path()), QStringList());
}

void tst_Skylet::searchKeepsTheListing()
{
    RunningHub hub;
    QVERIFY(hub.Start());
    const QTemporaryDir here;
    QVERIFY(WriteFile(hub.Program("ghost.prg"), PROGRAM));

    QCOMPARE(Run(hub, S("search --raw list.prg"), here).exitCode, 0);
    QCOMPARE(ReadFile(here.filePath(S("list.prg"))),
             AppCbmUtil::ProgramBegin() + AppCbmUtil::ProgramDirectoryHeader("SEARCH RESULTS") +
                 AppCbmUtil::ProgramDirectoryEntry(0, "GHOST", "PRG") + AppCbmUtil::ProgramEnd());

    QVERIFY(WriteFile(here.filePath(S("list.prg")), "before"));
    QCOMPARE(Run(hub, S("search --raw list.prg"), here).exitCode, 11);
    QCOMPARE(ReadFile(here.filePath(S("list.prg"))), QByteArray("before"));
    QCOMPARE(Run(hub, S("search --raw list.prg --force"), here).exitCode, 0);
    QVERIFY(ReadFile(here.filePath(S("list.prg"))) != QByteArray("before"));
}

void tst_Skylet::searchAsJson()
{
    RunningHub hub;
    QVERIFY(hub.Start());
    const QTemporaryDir here;
    QVERIFY(WriteFile(hub.Program("Ghost.prg"), PROGRAM));

    const SkyletRun run = Run(hub, S("search --json"), here);
    const QJsonObject expected{
        {S("command"), S("search")},
        {S("hub"), hub.Address()},
        {S("answer"), S("success")},
        {S("exit"), 0},
        {S("word"), S("success")},
        {S("remarks"), QJsonArray()},
        {S("listing"), QJsonArray{S("0 search results"), S("0   \"Ghost\"             prg")}},
        {S("entries"), QJsonArray{QJsonObject{{S("blocks"), 0},
                                              {S("name"), S("Ghost")},
                                              {S("petscii"), S("c7484f5354")},
                                              {S("type"), S("prg")}}}},
    };
    QCOMPARE(run.Json(), expected);
    QCOMPARE(run.errors, QByteArray());
}

void tst_Skylet::getWritesTheProgram_data()
{
    QTest::addColumn<QString>("options");
    QTest::addColumn<QString>("file");
    QTest::addColumn<QString>("shown");

    QTest::newRow("working-directory") << ""
                                       << "hello.prg"
                                       << "./hello.prg";
    QTest::newRow("directory-that-exists") << "-o there"
                                           << "there/hello.prg"
                                           << "there/hello.prg";
    QTest::newRow("directory-that-is-made") << "-o a/b/"
                                            << "a/b/hello.prg"
                                            << "a/b/hello.prg";
    QTest::newRow("file") << "-o x.bin"
                          << "x.bin"
                          << "x.bin";
}

void tst_Skylet::getWritesTheProgram()
{
    QFETCH(QString, options);
    QFETCH(QString, file);
    QFETCH(QString, shown);

    RunningHub hub;
    QVERIFY(hub.Start());
    const QTemporaryDir here;
    QVERIFY(QDir(here.path()).mkdir(S("there")));
    const QByteArray program = Noise(40000);
    QVERIFY(WriteFile(hub.Program("hello.prg"), program));

    const SkyletRun run = Run(hub, S("get h* ") + options, here);
    QCOMPARE(run.errors, QByteArray());
    QCOMPARE(run.output, shown.toUtf8() + ": 40000 bytes\n");
    QCOMPARE(run.exitCode, 0);
    QVERIFY(ReadFile(here.filePath(file)) == program);
    QVERIFY(QFile::remove(here.filePath(file)));

    const QJsonObject json = Run(hub, S("get h* --json ") + options, here).Json();
    const QJsonObject expected{{S("file"), shown},
                               {S("name"), S("hello")},
                               {S("petscii"), S("48454c4c4f")},
                               {S("size"), 40000}};
    QCOMPARE(json.value(S("program")).toObject(), expected);
    QCOMPARE(json.value(S("exit")).toInt(-1), 0);
}

void tst_Skylet::getWithoutAMatchWritesNothing()
{
    RunningHub hub;
    QVERIFY(hub.Start());
    const QTemporaryDir here;
    const SkyletRun run = Run(hub, S("get hello"), here);
    QCOMPARE(run.exitCode, 1);
    QCOMPARE(run.output, QByteArray());
    QCOMPARE(run.errors, QByteArray("skylet: no program fits \"hello\"\n"));
    QCOMPARE(Names(here.path()), QStringList());
}

void tst_Skylet::getKeepsWhatExists()
{
    RunningHub hub;
    QVERIFY(hub.Start());
    const QTemporaryDir here;
    const QString path = here.filePath(S("hello.prg"));
    QVERIFY(WriteFile(hub.Program("hello.prg"), PROGRAM));
    QVERIFY(WriteFile(path, "mine"));

    const SkyletRun run = Run(hub, S("get hello"), here);
    QCOMPARE(run.exitCode, 11);
    QCOMPARE(run.errors, QByteArray("skylet: ./hello.prg exists already; --force replaces it\n"));
    QCOMPARE(ReadFile(path), QByteArray("mine"));
    QCOMPARE(Run(hub, S("get hello --force"), here).exitCode, 0);
    QCOMPARE(ReadFile(path), QByteArray(PROGRAM));
    QCOMPARE(Names(here.path()), QStringList{S("hello.prg")});
}

void tst_Skylet::imagesComeBackAsTheyWere_data()
{
    QTest::addColumn<QString>("extension");
    QTest::addColumn<int>("size");
    QTest::addColumn<bool>("isReal");

    QTest::newRow("d64") << "d64" << 174848 << true;
    QTest::newRow("d64-with-error-bytes") << "d64" << 175531 << true;
    QTest::newRow("d71") << "d71" << 349696 << true;
    QTest::newRow("d81") << "d81" << 819200 << true;
    QTest::newRow("d80") << "d80" << 533248 << false; // cc1541 does not make these two
    QTest::newRow("d82") << "d82" << 1066496 << false;
}

void tst_Skylet::imagesComeBackAsTheyWere()
{
    QFETCH(QString, extension);
    QFETCH(int, size);
    QFETCH(bool, isReal);

    RunningHub hub;
    QVERIFY(hub.Start());
    const QTemporaryDir here;
    const QString name = S("games.") + extension;
    QByteArray image = isReal ? RealImage(here.filePath(name), Noise(30000)) : Noise(size);
    image += QByteArray(size - int(image.size()), '\x01'); // no error in any sector
    QCOMPARE(image.size(), size);
    QVERIFY(WriteFile(here.filePath(name), image));

    const SkyletRun put = Run(hub, S("put ") + name, here);
    QCOMPARE(put.errors, QByteArray());
    QCOMPARE(put.output, name.toUtf8() + ": sent as \"games\"\n");
    QCOMPARE(put.exitCode, 0);
    QVERIFY(ReadFile(hub.Disk(name.toUtf8().constData())) == image);

    const SkyletRun disks = Run(hub, S("disks games -o back"), here);
    QCOMPARE(disks.errors, QByteArray());
    QCOMPARE(disks.exitCode, 0);
    QVERIFY(ReadFile(here.filePath(S("back/") + name)) == image);
    QCOMPARE(Names(here.filePath(S("back"))), QStringList{name});
}

void tst_Skylet::disksShowsTheManifest()
{
    RunningHub hub;
    QVERIFY(hub.Start());
    const QTemporaryDir here;
    QVERIFY(WriteFile(hub.Disk("games.d64"), Noise(D64_SIZE)));

    const SkyletRun run = Run(hub, S("disks *"), here);
    QCOMPARE(run.errors, QByteArray());
    QCOMPARE(run.output, QByteArray("0 sent disk(s)\n"
                                    "0   \"games\"             d64\n"
                                    "./games.d64: 174848 bytes\n"));
    QCOMPARE(run.exitCode, 0);

    const QJsonObject json = Run(hub, S("disks * --json --force"), here).Json();
    QCOMPARE(json.value(S("listing")).toArray().size(), 2);
    QCOMPARE(json.value(S("missing")).toArray(), QJsonArray());
    const QJsonObject expected{{S("file"), S("./games.d64")},
                               {S("name"), S("games")},
                               {S("petscii"), S("47414d4553")},
                               {S("size"), D64_SIZE}};
    QCOMPARE(json.value(S("disks")).toArray(), QJsonArray{expected});
}

void tst_Skylet::disksKeepsWhatExistsAndWritesTheRest()
{
    RunningHub hub;
    QVERIFY(hub.Start());
    const QTemporaryDir here;
    QVERIFY(WriteFile(hub.Disk("one.d64"), Noise(D64_SIZE)));
    QVERIFY(WriteFile(hub.Disk("two.d64"), Noise(D64_SIZE)));
    QVERIFY(WriteFile(here.filePath(S("one.d64")), "mine"));

    const SkyletRun run = Run(hub, S("disks *"), here);
    QCOMPARE(run.exitCode, 11);
    QCOMPARE(run.errors, QByteArray("skylet: ./one.d64 exists already; --force replaces it\n"));
    QCOMPARE(ReadFile(here.filePath(S("one.d64"))), QByteArray("mine"));
    QVERIFY(ReadFile(here.filePath(S("two.d64"))) == Noise(D64_SIZE));
}

void tst_Skylet::disksOfOneNameGetNumbers()
{
    RunningHub hub;
    QVERIFY(hub.Start());
    const QTemporaryDir here;
    QVERIFY(WriteFile(hub.Disk("a/games.d64"), QByteArray(D64_SIZE, 'a')));
    QVERIFY(WriteFile(hub.Disk("b/games.d64"), QByteArray(D64_SIZE, 'b')));

    QCOMPARE(Run(hub, S("disks games"), here).exitCode, 0);
    QCOMPARE(Names(here.path()), QStringList({S("games-2.d64"), S("games.d64")}));
    QSet<char> contents;
    for (const QString &name : Names(here.path()))
        contents.insert(ReadFile(here.filePath(name)).at(0));
    QCOMPARE(contents, QSet<char>({'a', 'b'}));
}

void tst_Skylet::disksThatDoNotFitAreNamed()
{
    RunningHub hub;
    QVERIFY(hub.Start());
    const QTemporaryDir here;
    for (int i = 0; i < 21; ++i) {
        const QByteArray name = "disk" + QByteArray::number(i) + ".d64";
        QVERIFY(WriteFile(hub.Disk(name.constData()), QByteArray(D64_SIZE, char(i))));
    }

    const SkyletRun run = Run(hub, S("disks * --json"), here);
    QCOMPARE(run.exitCode, 1);
    QStringList names;
    for (const QString &file : Names(here.path()))
        names.append(QFileInfo(file).baseName());
    QCOMPARE(names.size(), 19);
    const QJsonArray missing = run.Json().value(S("missing")).toArray();
    QCOMPARE(missing.size(), 2);
    for (const auto &entry : missing) {
        const QString name = entry.toObject().value(S("name")).toString();
        QVERIFY(
            run.errors.contains("skylet: listed, but not sent: \"" + name.toUtf8() + "\" d64\n"));
        names.append(name);
    }
    QCOMPARE(names.removeDuplicates(), 0);
    QCOMPARE(names.size(), 21);
}

void tst_Skylet::disksWithoutAMatch()
{
    RunningHub hub;
    QVERIFY(hub.Start());
    const QTemporaryDir here;
    const SkyletRun run = Run(hub, S("disks games -o back"), here);
    QCOMPARE(run.exitCode, 1);
    QCOMPARE(run.output, QByteArray("0 sent disk(s)\n"));
    QCOMPARE(run.errors, QByteArray("skylet: no disk fits \"games\"\n"));
    QCOMPARE(Names(here.path()), QStringList());
}

void tst_Skylet::putFillsPackages()
{
    RunningHub hub;
    QVERIFY(hub.Start());
    const QTemporaryDir here;
    QStringList files{S("one.prg"), S("two.prg")};
    QVERIFY(WriteFile(here.filePath(files.at(0)), "1"));
    QVERIFY(WriteFile(here.filePath(files.at(1)), "2"));
    for (int i = 0; i < 21; ++i) {
        files.append(S("disk%1.d64").arg(i));
        QVERIFY(WriteFile(here.filePath(files.constLast()), QByteArray(D64_SIZE, char(i))));
    }

    const SkyletRun run = Run(hub, S("--json put ") + files.join(QLatin1Char(' ')), here);
    QCOMPARE(run.errors, QByteArray());
    QCOMPARE(run.exitCode, 0);
    QList<int> sizes;
    for (const auto &package : run.Json().value(S("packages")).toArray()) {
        sizes.append(int(package.toObject().value(S("objects")).toArray().size()));
        QCOMPARE(package.toObject().value(S("answer")).toString(), S("success"));
    }
    QCOMPARE(sizes, QList<int>({20, 3}));
    QCOMPARE(ReadFile(hub.Program("one.prg")), QByteArray("1"));
    QCOMPARE(ReadFile(hub.Program("two.prg")), QByteArray("2"));
    for (const QString &file : files.mid(2))
        QVERIFY(ReadFile(hub.Disk(file.toUtf8().constData())) == ReadFile(here.filePath(file)));
}

void tst_Skylet::putRefusesAndReplaces()
{
    RunningHub hub;
    QVERIFY(hub.Start());
    const QTemporaryDir here;
    const QByteArray before(D64_SIZE, 'b');
    const QByteArray after(D64_SIZE, 'a');
    QVERIFY(WriteFile(hub.Disk("games.d64"), before));
    QVERIFY(WriteFile(here.filePath(S("games.d64")), after));

    const SkyletRun refused = Run(hub, S("put games.d64"), here);
    QCOMPARE(refused.exitCode, 8);
    QCOMPARE(refused.output, QByteArray());
    QCOMPARE(refused.errors, "skylet: " + hub.Address().toUtf8() +
                                 ": the hub has a disk of that name; --replace replaces it\n"
                                 "skylet: games.d64: not stored as \"games\"\n");
    QVERIFY(ReadFile(hub.Disk("games.d64")) == before);

    QCOMPARE(Run(hub, S("put games.d64 --replace"), here).exitCode, 0);
    QVERIFY(ReadFile(hub.Disk("games.d64")) == after);
}

void tst_Skylet::putOfTwoTellsThatOneMayBeStored()
{
    RunningHub hub;
    QVERIFY(hub.Start());
    const QTemporaryDir here;
    QVERIFY(WriteFile(hub.Disk("games.d64"), QByteArray(D64_SIZE, 'b')));
    QVERIFY(WriteFile(here.filePath(S("games.d64")), QByteArray(D64_SIZE, 'a')));
    QVERIFY(WriteFile(here.filePath(S("more.d64")), QByteArray(D64_SIZE, 'a')));

    const SkyletRun run = Run(hub, S("put games.d64 more.d64"), here);
    QCOMPARE(run.exitCode, 8);
    QVERIFY(run.errors.endsWith("skylet: games.d64: perhaps not stored as \"games\"\n"
                                "skylet: more.d64: perhaps not stored as \"more\"\n"));
    QCOMPARE(ReadFile(hub.Disk("more.d64")).size(), D64_SIZE);
}

void tst_Skylet::putOfAProgramWhoseNameIsTaken()
{
    RunningHub hub;
    QVERIFY(hub.Start());
    const QTemporaryDir here;
    QVERIFY(WriteFile(hub.Program("hello.d64"), QByteArray(D64_SIZE, 'b')));
    QVERIFY(WriteFile(here.filePath(S("hello.prg")), PROGRAM));
    const SkyletRun run = Run(hub, S("--json put hello.prg"), here);
    QCOMPARE(run.exitCode, 8);
    QCOMPARE(run.Json().value(S("answer")).toString(), S("program-exists"));
    QCOMPARE(run.Json().value(S("word")).toString(), S("exists"));
    QCOMPARE(Run(hub, S("put hello.prg --replace"), here).exitCode, 0);
    QCOMPARE(ReadFile(hub.Program("hello.prg")), QByteArray(PROGRAM));
}

void tst_Skylet::putTakesAName()
{
    RunningHub hub;
    QVERIFY(hub.Start());
    const QTemporaryDir here;
    QVERIFY(WriteFile(here.filePath(S("hello.prg")), PROGRAM));
    QCOMPARE(Run(hub, S("put hello.prg --as Other"), here).output,
             QByteArray("hello.prg: sent as \"Other\"\n"));
    QCOMPARE(Names(hub.Program("")), QStringList{S("Other.prg")});
}

void tst_Skylet::putSendsNothingIfAFileIsWrong()
{
    RunningHub hub;
    QVERIFY(hub.Start());
    const QTemporaryDir here;
    QVERIFY(WriteFile(here.filePath(S("hello.prg")), PROGRAM));
    QVERIFY(WriteFile(here.filePath(S("notes.txt")), "notes"));
    const SkyletRun run = Run(hub, S("put hello.prg notes.txt missing.d64"), here);
    QCOMPARE(run.exitCode, 11);
    QCOMPARE(run.errors, QByteArray("skylet: notes.txt is neither a program (.prg) nor, with 5 "
                                    "bytes, a disk image\n"
                                    "skylet: missing.d64 cannot be read\n"));
    QCOMPARE(Names(hub.Program("")), QStringList());
}

void tst_Skylet::namesOfEveryKindComeBack_data()
{
    QTest::addColumn<QString>("name");

    QTest::newRow("letters") << S("Hello");
    QTest::newRow("ampersand-and-equals-sign") << S("a&cmd=1");
    QTest::newRow("plus-and-percent") << S("a+b%41");
    QTest::newRow("latin-1") << S("caf\xc3\xa9");
    QTest::newRow("sixteen-characters") << S("0123456789abcdef");
}

void tst_Skylet::namesOfEveryKindComeBack()
{
    QFETCH(QString, name);

    RunningHub hub;
    QVERIFY(hub.Start());
    const QTemporaryDir here;
    QVERIFY(WriteFile(here.filePath(S("x.prg")), PROGRAM));
    QCOMPARE(Run(hub, S("put x.prg --as ") + name, here).exitCode, 0);
    QCOMPARE(Names(hub.Program("")), QStringList{name + S(".prg")});

    const SkyletRun get = Run(hub, S("get ") + name, here);
    QCOMPARE(get.errors, QByteArray());
    QCOMPARE(get.output, "./" + name.toUtf8() + ".prg: 5 bytes\n");
    QCOMPARE(ReadFile(here.filePath(name + S(".prg"))), QByteArray(PROGRAM));
    QVERIFY(Run(hub, S("search"), here).output.contains("\"" + name.toUtf8() + "\" "));
}

void tst_Skylet::writeErrorsAreReported()
{
    RunningHub hub;
    QVERIFY(hub.Start());
    const QTemporaryDir here;
    QVERIFY(WriteFile(here.filePath(S("hello.prg")), PROGRAM));
    QVERIFY(QDir(hub.Program("")).rmdir(hub.Program("")));
    const SkyletRun run = Run(hub, S("put hello.prg"), here);
    QCOMPARE(run.exitCode, 9);
    QCOMPARE(run.errors, "skylet: " + hub.Address().toUtf8() +
                             ": the hub cannot write a file\n"
                             "skylet: hello.prg: not stored as \"hello\"\n");
}

void tst_Skylet::refusedUsersAreReported_data()
{
    QTest::addColumn<QString>("options");
    QTest::addColumn<int>("exitCode");

    QTest::newRow("nobody") << "" << 6;
    QTest::newRow("wrong-password") << "--user anna --password xyz" << 6;
    QTest::newRow("password-in-another-case") << "--user anna --password Abc" << 6;
    QTest::newRow("no-password") << "--user anna" << 6;
    QTest::newRow("unknown-user") << "--user Anna --password abc" << 6;
    QTest::newRow("password") << "--user anna --password abc" << 0;
    QTest::newRow("password-file") << "--user anna --password-file secret" << 0;
    QTest::newRow("digest") << "--user anna --digest 900150983cd24fb0d6963f7d28e17f72" << 0;
    QTest::newRow("new-user-without-password") << "--user new" << 0;
}

void tst_Skylet::refusedUsersAreReported()
{
    QFETCH(QString, options);
    QFETCH(int, exitCode);

    RunningHub hub;
    QVERIFY(hub.Start(USERS));
    QVERIFY(WriteFile(hub.Program("hello.prg"), PROGRAM));
    QVERIFY(WriteFile(hub.Disk("games.d64"), Noise(D64_SIZE)));
    for (const char *command : {"ping", "search", "get hello", "disks games", "put new.prg"}) {
        const QTemporaryDir here;
        QVERIFY(WriteFile(here.filePath(S("secret")), "abc\n"));
        QVERIFY(WriteFile(here.filePath(S("new.prg")), PROGRAM));
        const SkyletRun run = Run(hub, options + QLatin1Char(' ') + S(command), here);
        QVERIFY2(run.exitCode == exitCode, command);
        QCOMPARE(run.errors.contains(": the hub refuses the user or the password\n"),
                 exitCode == 6);
        QCOMPARE(run.output.isEmpty(), exitCode == 6);
    }
    QCOMPARE(QFile::exists(hub.Program("new.prg")), exitCode == 0);
}

void tst_Skylet::readersMayNotPut()
{
    RunningHub hub;
    QVERIFY(hub.Start(USERS));
    const QTemporaryDir here;
    QVERIFY(WriteFile(here.filePath(S("hello.prg")), PROGRAM));
    const SkyletRun run = Run(hub, S("--user reader --password abc put hello.prg"), here);
    QCOMPARE(run.exitCode, 7);
    QVERIFY(run.errors.contains(": the hub lets this user read only\n"));
    QCOMPARE(Names(hub.Program("")), QStringList());
    QCOMPARE(Run(hub, S("--user reader --password abc search"), here).exitCode, 0);
}

void tst_Skylet::pingOfAHub()
{
    RunningHub hub;
    QVERIFY(hub.Start());
    const QTemporaryDir here;
    const SkyletRun run = Run(hub, S("ping"), here);
    QCOMPARE(run.exitCode, 0);
    QCOMPARE(run.errors, QByteArray());
    QVERIFY(run.output.startsWith(hub.Address().toUtf8() + ": a hub answers, after "));
    QVERIFY(Run(hub, S("ping --json"), here).Json().value(S("milliseconds")).toDouble() > 0);
}

void tst_Skylet::remarksOnPatterns()
{
    RunningHub hub;
    QVERIFY(hub.Start());
    const QTemporaryDir here;
    QCOMPARE(Run(hub, S("search 0123456789abcdefg"), here).errors,
             QByteArray("skylet: only the first 16 characters of \"0123456789abcdefg\" count\n"));
    QCOMPARE(Run(hub, S("search 0123456789abcdef"), here).errors, QByteArray());
    QCOMPARE(Run(hub, S("search \xe2\x82\xac"), here).errors,
             QByteArray("skylet: \"\xe2\x82\xac\" has a character that no Commodore name has\n"));
}

void tst_Skylet::benchOfAllCommands()
{
    RunningHub hub;
    QVERIFY(hub.Start());
    const QTemporaryDir here;
    QVERIFY(WriteFile(hub.Program("hello.prg"), PROGRAM));
    QVERIFY(WriteFile(hub.Disk("games.d64"), Noise(D64_SIZE)));
    QVERIFY(WriteFile(here.filePath(S("new.prg")), PROGRAM));
    QVERIFY(WriteFile(here.filePath(S("new.d64")), Noise(D64_SIZE)));

    const SkyletRun run = Run(hub,
                              S("bench --json --clients 8 --requests 60 --replace search * , get "
                                "hello , disks games , put new.prg new.d64 , ping"),
                              here);
    QCOMPARE(run.errors, QByteArray());
    QCOMPARE(run.exitCode, 0);
    const QJsonObject json = run.Json();
    QCOMPARE(json.value(S("requests")).toInt(), 60);
    QCOMPARE(json.value(S("clients")).toInt(), 8);
    QCOMPARE(json.value(S("failed")).toInt(-1), 0);
    QCOMPARE(json.value(S("failures")).toObject(), QJsonObject());
    QVERIFY(json.value(S("seconds")).toDouble() > 0);
    QVERIFY(json.value(S("rate")).toDouble() > 0);
    QVERIFY(json.value(S("sent")).toDouble() > 12 * D64_SIZE);
    QVERIFY(json.value(S("received")).toDouble() > 12 * D64_SIZE);
    const QJsonObject latency = json.value(S("latency_ms")).toObject();
    QVERIFY(latency.value(S("p50")).toDouble() > 0);
    QVERIFY(latency.value(S("p90")).toDouble() >= latency.value(S("p50")).toDouble());
    QVERIFY(latency.value(S("p99")).toDouble() >= latency.value(S("p90")).toDouble());
    QVERIFY(latency.value(S("max")).toDouble() >= latency.value(S("p99")).toDouble());
    QVERIFY(ReadFile(hub.Disk("new.d64")) == Noise(D64_SIZE));
    QCOMPARE(ReadFile(hub.Program("new.prg")), QByteArray(PROGRAM));
    QCOMPARE(Names(here.path()), QStringList({S("new.d64"), S("new.prg")}));
}

void tst_Skylet::benchSendsAsManyRequestsAsAsked_data()
{
    QTest::addColumn<int>("clients");
    QTest::addColumn<int>("requests");

    QTest::newRow("one-of-one") << 1 << 1;
    QTest::newRow("more-clients-than-requests") << 9 << 4;
    QTest::newRow("more-requests-than-clients") << 4 << 9;
    QTest::newRow("many-clients") << 200 << 400;
}

void tst_Skylet::benchSendsAsManyRequestsAsAsked()
{
    QFETCH(int, clients);
    QFETCH(int, requests);

    AnswerServer server({HubAnswer(Package({}))});
    const SkyletRun run =
        RunSkylet({S("--hub"), server.Address(), S("bench"), S("ping"), S("--clients"),
                   QString::number(clients), S("--requests"), QString::number(requests)});
    QCOMPARE(run.exitCode, 0);
    QCOMPARE(server.Connections(), requests);
    QCOMPARE(server.Received().count("POST / HTTP/1.1\r\n"), requests);
    const QList<QByteArray> lines = run.output.split('\n');
    QCOMPARE(lines.size(), 5);
    QVERIFY(lines.at(0).startsWith(QByteArray::number(requests) + " requests, " +
                                   QByteArray::number(clients) + " clients, "));
    QVERIFY(lines.at(1).contains(" requests/s, "));
    QVERIFY(lines.at(2).startsWith("latency in ms: p50 "));
    QCOMPARE(lines.at(3), QByteArray("0 failures"));
}

void tst_Skylet::benchCountsFailures()
{
    RunningHub hub;
    QVERIFY(hub.Start(USERS));
    const QTemporaryDir here;
    const SkyletRun run = Run(hub, S("bench --json --requests 10 search"), here);
    QCOMPARE(run.exitCode, 6);
    QCOMPARE(run.Json().value(S("requests")).toInt(), 10);
    QCOMPARE(run.Json().value(S("failed")).toInt(), 10);
    QCOMPARE(run.Json().value(S("failures")).toObject(), QJsonObject({{S("login-refused"), 10}}));
    QCOMPARE(run.errors, QByteArray("skylet: 10 failed: login-refused\n"));
}

QTEST_GUILESS_MAIN(tst_Skylet)
#include "tst_Skylet.moc"
