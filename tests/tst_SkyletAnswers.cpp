// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#include "SkyletFixture.h"

#include <QJsonArray>
#include <QTemporaryDir>

#include <algorithm>
#include <csignal>

// What skylet says to answers that no hub sends, to terminals and pipes, and to signals.

namespace
{

constexpr int LONGER_THAN_THE_PROGRESS_WAITS_MS = 2500;

QStringList Line(const QTcpServer &server, const char *line)
{
    return QStringList{S("--hub"), S("127.0.0.1:%1").arg(server.serverPort())} + Words(S(line));
}

/// The reply to a SEARCH that finds nothing.
QByteArray EmptyListing()
{
    return HubAnswer(Package({ProgramObject("listing", Listing("SEARCH RESULTS", QByteArray()))}));
}

WireObject Manifest(const QByteArray &entries)
{
    return ProgramObject("manifest", Listing("SENT DISK(S)", entries));
}

/// Runs skylet on a pseudo-terminal of its own, with its input and both outputs there.
SkyletRun RunOnTerminal(const QStringList &arguments)
{
    return RunSkylet(
        {S("-qec"), S(SKYLET_BINARY " ") + arguments.join(QLatin1Char(' ')), S("/dev/null")},
        QString(), S("script"));
}

// Bytes that a terminal acts on: ESC, 0x9B, DEL and, in UTF-8, U+202E and U+2066.
const QByteArray ACTED_ON("\x1b\x9b\x7f\xe2\x80\xae\xe2\x81\xa6");

/// Whether the text (UTF-8) has a character that a terminal acts on, other than a line end.
bool IsActedOn(const QByteArray &text)
{
    const QString shown = QString::fromUtf8(text);
    return std::any_of(shown.begin(), shown.end(), [](QChar c) {
        return (c.category() == QChar::Other_Control && c != QLatin1Char('\n')) ||
               (c >= QChar(0x202A) && c <= QChar(0x202E)) ||
               (c >= QChar(0x2066) && c <= QChar(0x2069));
    });
}

/// Keeps the columns of answers and what is said to them.
void AddAnswer(const char *row, const QByteArray &answer, int exitCode, const char *message)
{
    QTest::newRow(row) << answer << exitCode << QByteArray(message);
}

} // namespace

class tst_SkyletAnswers : public QObject
{
    Q_OBJECT

private slots:
    void wrongAnswersAreReported_data();
    void wrongAnswersAreReported();
    void wrongListingsAreReported_data();
    void wrongListingsAreReported();
    void pingGivesAdvice_data();
    void pingGivesAdvice();
    void pingOfARefusedConnection();
    void connectionMayFailAtOnce_data();
    void connectionMayFailAtOnce();
    void disksWithoutAManifestAreWrittenAllTheSame();
    void disksOfTheWrongSizeAreRemarkedOn();
    void manifestMayListWhatDidNotCome();
    void nulInANameIsNotMissed();
    void namesStayInTheirDirectory();
    void textOfTheNetworkDoesNotReachTheTerminal();
    void everyFieldOfAnAnswerIsEscaped_data();
    void everyFieldOfAnAnswerIsEscaped();
    void lengthIsShownEscaped();
    void nameOfAFileIsShownEscaped();
    void directoryThatCannotBeMadeIsReported();
    void putStopsWhenNoAnswerComes();
    void usageErrors_data();
    void usageErrors();
    void jsonOfEveryFailure_data();
    void jsonOfEveryFailure();
    void helpAndVersion();
    void pipeGetsPlainText();
    void terminalGetsReverseVideo();
    void progressIsForTerminals();
    void fullOutputIsReported();
    void signalsLeaveNoFile_data();
    void signalsLeaveNoFile();
    void signalEndsABenchWithItsFigures();
    void benchMayHaveMoreConnectionsThanTheSoftLimit();
    void ignoredSignalsStayIgnored_data();
    void ignoredSignalsStayIgnored();
    void needsNoGui();
};

void tst_SkyletAnswers::wrongAnswersAreReported_data()
{
    QTest::addColumn<QByteArray>("answer");
    QTest::addColumn<int>("exitCode");
    QTest::addColumn<QByteArray>("message");

    const QByteArray empty = Package({});
    const QByteArray head = HeadFor(empty.size());
    QByteArray twentyOne = empty;
    twentyOne[7] = 21;
    QByteArray version = empty;
    version[4] = 1;

    AddAnswer("closed", "", 4, "the connection was closed without an answer");
    AddAnswer("web-page", "HTTP/1.1 200 OK\r\nContent-Length: 600\r\n\r\n" + QByteArray(600, 'x'),
              5, "the answer is not a hub's: it holds no package");
    AddAnswer("not-found", "HTTP/1.1 404 Not Found\r\nContent-Length: 0\r\n\r\n", 5,
              "the answer is not a hub's: its HTTP status is 404, not 200");
    AddAnswer("no-http", "SSH-2.0-OpenSSH\r\n", 5, "the answer is not a hub's: it is no HTTP");
    AddAnswer("no-length", "HTTP/1.1 200 Ok\r\n\r\n", 5,
              "the answer is not a hub's: it announces no length");
    AddAnswer("length-too-large", HeadFor(497) + empty, 5,
              "the answer is not a hub's: it ends after 496 of 497 bytes");
    AddAnswer("length-too-small", HeadFor(495) + empty, 5,
              "the answer is not a hub's: it goes on behind its end: 496 of 495 bytes");
    AddAnswer("cut-in-the-header", head.left(40), 5,
              "the answer is not a hub's: it ends inside its header");
    AddAnswer("cut-in-the-body", head + empty.left(200), 5,
              "the answer is not a hub's: it ends after 200 of 496 bytes");
    AddAnswer("bad-magic", head + QByteArray(496, '\0'), 5,
              "the answer is not a hub's: it holds no package");
    AddAnswer("another-version", head + version, 5,
              "the answer is not a hub's: its package has another version");
    AddAnswer("count-above-twenty", head + twentyOne, 5,
              "the answer is not a hub's: its package counts more than 20 objects");
    AddAnswer("write-error", HubAnswer(Package({}, -1)), 9, "the hub cannot write a file");
    AddAnswer("bad-version-as-a-result", HubAnswer(Package({}, -84)), 10,
              "the hub sends another result code: -84");
    AddAnswer("read-only", HubAnswer(Package({}, -85)), 7, "the hub lets this user read only");
    AddAnswer("disk-exists", HubAnswer(Package({}, -87)), 8,
              "the hub has a disk of that name; --replace replaces it");
    AddAnswer("program-exists", HubAnswer(Package({}, -88)), 8,
              "the program's name is taken; --replace replaces it");
    AddAnswer("login-refused", HubAnswer(Package({}, -89)), 6,
              "the hub refuses the user or the password");
    AddAnswer("unknown-result", HubAnswer(Package({}, 5)), 10,
              "the hub sends another result code: 5");
}

void tst_SkyletAnswers::wrongAnswersAreReported()
{
    QFETCH(QByteArray, answer);
    QFETCH(int, exitCode);
    QFETCH(QByteArray, message);

    AnswerServer server({answer});
    const QByteArray line = "skylet: " + server.Address().toUtf8() + ": " + message + '\n';
    for (const char *command : {"search", "get x", "disks x", "put x.prg", "ping"}) {
        const QTemporaryDir here;
        QVERIFY(WriteFile(here.filePath(S("x.prg")), "x"));
        const SkyletRun run = RunSkylet(Line(server, command), here.path());
        QCOMPARE(run.exitCode, exitCode);
        QCOMPARE(run.errors.left(line.size()), line);
        QCOMPARE(run.output, QByteArray());
        QCOMPARE(Names(here.path()), QStringList{S("x.prg")});
    }
}

void tst_SkyletAnswers::wrongListingsAreReported_data()
{
    QTest::addColumn<QByteArray>("package");
    QTest::addColumn<QByteArray>("output");

    const QByteArray listing = Listing("SEARCH RESULTS", ListingEntry("A", "D64"));
    QTest::newRow("no-program") << Package({}) << QByteArray();
    QTest::newRow("one-byte") << Package({ProgramObject("listing", "x")}) << QByteArray();
    QTest::newRow("cut-in-the-second-line") << Package({ProgramObject("listing", listing.left(40))})
                                            << QByteArray("0 search results\n");
    QTest::newRow("end-is-missing") << Package({ProgramObject("listing", listing.left(62))})
                                    << QByteArray("0 search results\n"
                                                  "0   \"a\"                 d64\n");
}

void tst_SkyletAnswers::wrongListingsAreReported()
{
    QFETCH(QByteArray, package);
    QFETCH(QByteArray, output);

    AnswerServer server({HubAnswer(package)});
    const QTemporaryDir here;
    const SkyletRun run = RunSkylet(Line(server, "search --raw kept.prg"), here.path());
    QCOMPARE(run.exitCode, 5);
    QCOMPARE(run.errors,
             "skylet: " + server.Address().toUtf8() + ": the answer carries no whole listing\n");
    QCOMPARE(run.output, output);
    QCOMPARE(Names(here.path()), QStringList());
}

void tst_SkyletAnswers::pingGivesAdvice_data()
{
    QTest::addColumn<QByteArray>("answer");
    QTest::addColumn<int>("end");
    QTest::addColumn<int>("exitCode");
    QTest::addColumn<QByteArray>("advice");

    QTest::newRow("closed") << QByteArray() << int(AnswerServer::CLOSE) << 4
                            << QByteArray("Something listens there that does not take requests as "
                                          "a hub does: compare the port with the hub's window.");
    QTest::newRow("silent") << QByteArray() << int(AnswerServer::KEEP_OPEN) << 4
                            << QByteArray("The hub is busy or stuck, or another program listens "
                                          "there; --timeout waits longer.");
    QTest::newRow("not-a-hub") << QByteArray("HTTP/1.1 404 Not Found\r\n\r\n")
                               << int(AnswerServer::CLOSE) << 5
                               << QByteArray("Another program listens on this port, or a proxy "
                                             "stands between: compare the port with the hub's "
                                             "window.");
    QTest::newRow("login-refused") << HubAnswer(Package({}, -89)) << int(AnswerServer::CLOSE) << 6
                                   << QByteArray("Compare both with the hub's access restrictions, "
                                                 "where upper and lower case differ; its console "
                                                 "says which.");
}

void tst_SkyletAnswers::pingGivesAdvice()
{
    QFETCH(QByteArray, answer);
    QFETCH(int, end);
    QFETCH(int, exitCode);
    QFETCH(QByteArray, advice);

    AnswerServer server({answer}, AnswerServer::END(end));
    const SkyletRun run = RunSkylet(Line(server, "--timeout 1 ping"));
    QCOMPARE(run.exitCode, exitCode);
    const QList<QByteArray> lines = run.errors.split('\n');
    QCOMPARE(lines.size(), 3);
    QCOMPARE(lines.at(1), "skylet: " + advice);
    QCOMPARE(lines.at(2), QByteArray());
}

void tst_SkyletAnswers::pingOfARefusedConnection()
{
    AnswerServer server({});
    const QStringList line = Line(server, "ping");
    server.close();
    const SkyletRun run = RunSkylet(line);
    QCOMPARE(run.exitCode, 3);
    QCOMPARE(run.errors, "skylet: " + line.at(1).toUtf8() +
                             ": the connection is refused\n"
                             "skylet: Nothing listens there: start the hub, and compare address "
                             "and port with those in its window.\n");
}

void tst_SkyletAnswers::connectionMayFailAtOnce_data()
{
    QTest::addColumn<QString>("command");

    QTest::newRow("ping") << "ping";
    QTest::newRow("bench") << "bench --requests 5000 ping";
}

void tst_SkyletAnswers::connectionMayFailAtOnce()
{
    QFETCH(QString, command);

    // No TCP connection to the broadcast address is even begun.
    const SkyletRun run =
        RunSkylet(QStringList{S("--hub"), S("255.255.255.255")} + command.split(QLatin1Char(' ')));
    QCOMPARE(run.exitCode, 3);
    QVERIFY2(run.errors.contains("unreachable") || run.errors.contains("cannot be reached"),
             run.errors.constData());
}

void tst_SkyletAnswers::disksWithoutAManifestAreWrittenAllTheSame()
{
    const QByteArray image = Image(D64_SIZE, 1);
    AnswerServer server({HubAnswer(Package({Disk("games", image, 0, false)}))});
    const QTemporaryDir here;
    const SkyletRun run = RunSkylet(Line(server, "disks x"), here.path());
    QCOMPARE(run.exitCode, 5);
    QVERIFY(run.errors.contains(": the answer carries no whole listing\n"));
    QVERIFY(ReadFile(here.filePath(S("games.d64"))) == image);
}

void tst_SkyletAnswers::disksOfTheWrongSizeAreRemarkedOn()
{
    AnswerServer server({HubAnswer(Package(
        {Manifest(ListingEntry("GAMES", "D71")), Disk("games", Image(D64_SIZE, 1), 1, false)}))});
    const QTemporaryDir here;
    const SkyletRun run = RunSkylet(Line(server, "disks x"), here.path());
    QCOMPARE(run.exitCode, 0);
    QCOMPARE(run.errors, QByteArray("skylet: ./games.d71: 174848 bytes are not the size of such "
                                    "an image\n"));
    QCOMPARE(ReadFile(here.filePath(S("games.d71"))).size(), D64_SIZE);
}

void tst_SkyletAnswers::manifestMayListWhatDidNotCome()
{
    AnswerServer server(
        {HubAnswer(Package({Manifest(ListingEntry("GAMES", "D64") + ListingEntry("GAMES", "D81") +
                                     ListingEntry("MORE", "D64")),
                            Disk("games", Image(D64_SIZE, 1), 0, false)}))});
    const QTemporaryDir here;
    const SkyletRun run = RunSkylet(Line(server, "disks x"), here.path());
    QCOMPARE(run.exitCode, 1);
    QCOMPARE(run.errors, QByteArray("skylet: listed, but not sent: \"games\" d81\n"
                                    "skylet: listed, but not sent: \"more\" d64\n"
                                    "skylet: an answer carries 19 disks at most; a narrower "
                                    "pattern fetches them\n"));
    QCOMPARE(Names(here.path()), QStringList{S("games.d64")});
}

void tst_SkyletAnswers::nulInANameIsNotMissed()
{
    // A listing ends the name there, the package does not.
    WireObject disk = Disk("games", Image(D64_SIZE, 1), 0, false);
    disk.name[2] = '\0';
    AnswerServer server({HubAnswer(Package({Manifest(ListingEntry("GA", "D64")), disk}))});
    const QTemporaryDir here;
    const SkyletRun run = RunSkylet(Line(server, "disks x"), here.path());
    QCOMPARE(run.errors, QByteArray());
    QCOMPARE(run.exitCode, 0);
    QCOMPARE(Names(here.path()), QStringList{S("ga_es.d64")});
}

void tst_SkyletAnswers::namesStayInTheirDirectory()
{
    const QByteArray image = Image(D64_SIZE, 1);
    AnswerServer program({HubAnswer(Package({ProgramObject("../../p", "x")}))});
    AnswerServer disks(
        {HubAnswer(Package({Manifest(ListingEntry("../D", "D64")), Disk("../d", image, 0, false),
                            Disk("/tmp/skylet-d", image, 0, false)}))});
    const QTemporaryDir outer;
    QVERIFY(QDir(outer.path()).mkpath(S("a/b")));
    QCOMPARE(RunSkylet(Line(program, "get x"), outer.filePath(S("a/b"))).exitCode, 0);
    QCOMPARE(RunSkylet(Line(disks, "disks x -o ."), outer.filePath(S("a/b"))).exitCode, 0);
    QCOMPARE(Snapshot(outer.path()).size(), 5);
    for (const char *name : {"_.._.._p.prg", "_.._d.d64", "_tmp_skylet-d.d64"})
        QVERIFY2(QFile::exists(outer.filePath(S("a/b/") + S(name))), name);
    QVERIFY(!QFile::exists(S("/tmp/skylet-d.d64")));
}

void tst_SkyletAnswers::textOfTheNetworkDoesNotReachTheTerminal()
{
    const QByteArray name("A\x1b]0;x\x07\x9b"
                          "2J");
    AnswerServer server({HubAnswer(Package({ProgramObject(
        "listing", Listing("\x1b[31mRED", ListingEntry(name.constData(), "\x1b[0m")))}))});
    for (const SkyletRun &run :
         {RunSkylet(Line(server, "search")), RunSkylet(Line(server, "search --json"))}) {
        QCOMPARE(run.exitCode, 0);
        QVERIFY(!run.output.contains('\x1b'));
        QVERIFY(!run.output.contains('\x07'));
        QVERIFY(!run.output.contains("\xc2\x9b")); // 0x9B in UTF-8
        QVERIFY(run.output.contains("a?]0;x??2j"));
    }
}

void tst_SkyletAnswers::everyFieldOfAnAnswerIsEscaped_data()
{
    QTest::addColumn<QByteArray>("answer");

    const QByteArray image = Image(D64_SIZE, 1);
    const QByteArray head = "HTTP/1.1 200 Ok\r\n";
    const QByteArray end = "\r\n\r\n";
    const auto program = [](const char *name, const QByteArray &data) {
        return HubAnswer(Package({ProgramObject(name, data)}));
    };

    QTest::newRow("http-version") << "HTTP/1." + ACTED_ON + " 200 Ok" + end;
    QTest::newRow("status") << "HTTP/1.1 " + ACTED_ON + " Ok" + end;
    QTest::newRow("reason") << "HTTP/1.1 404 " + ACTED_ON + end;
    QTest::newRow("header-name") << head + ACTED_ON + ": 5" + end;
    QTest::newRow("header-value") << head + "X: " + ACTED_ON + end;
    QTest::newRow("content-length") << head + "Content-Length: 9" + ACTED_ON + end;
    QTest::newRow("no-head") << ACTED_ON;
    QTest::newRow("package") << HeadFor(ACTED_ON.size()) + ACTED_ON;
    QTest::newRow("program-name") << program(ACTED_ON.constData(), Listing("X", QByteArray()));
    QTest::newRow("disk-name") << HubAnswer(
        Package({Manifest(QByteArray()), Disk(ACTED_ON.constData(), image, 0, false)}));
    QTest::newRow("listing-title") << program("x", Listing(ACTED_ON.constData(), QByteArray()));
    QTest::newRow("listing-name") << program(
        "x", Listing("X", ListingEntry(ACTED_ON.constData(), "D64")));
    QTest::newRow("listing-type") << program("x",
                                             Listing("X", ListingEntry("A", ACTED_ON.constData())));
}

void tst_SkyletAnswers::everyFieldOfAnAnswerIsEscaped()
{
    QFETCH(QByteArray, answer);

    AnswerServer server({answer});
    const QTemporaryDir here;
    QVERIFY(WriteFile(here.filePath(S("x.prg")), "x"));
    for (const char *command :
         {"search", "get x --force", "disks x --force", "put x.prg", "ping"}) {
        for (const char *format : {"", "--json "}) {
            const QByteArray line = QByteArray(format) + command;
            const SkyletRun run = RunSkylet(Line(server, line.constData()), here.path());
            QVERIFY(run.exitCode >= 0);
            QVERIFY2(!IsActedOn(run.output), run.output.constData());
            QVERIFY2(!IsActedOn(run.errors), run.errors.constData());
        }
    }
}

void tst_SkyletAnswers::lengthIsShownEscaped()
{
    AnswerServer server({"HTTP/1.1 200 Ok\r\nContent-Length: 9\x1b\x9b\r\n\r\n"});
    const QByteArray said = server.Address().toUtf8() +
                            ": the answer is not a hub's: it announces the length \"9\\x1b\\x9b\"";
    const SkyletRun text = RunSkylet(Line(server, "search"));
    QCOMPARE(text.exitCode, 5);
    QCOMPARE(text.errors, "skylet: " + said + '\n');

    const SkyletRun json = RunSkylet(Line(server, "search --json"));
    QCOMPARE(json.errors, text.errors);
    QVERIFY2(json.output.contains("\\\"9\\u001b\\u009b\\\""), json.output.constData());
    QVERIFY(json.Json()
                .value(S("remarks"))
                .toArray()
                .at(0)
                .toString()
                .endsWith(QLatin1String("9\x1b\x9b\"")));
}

void tst_SkyletAnswers::nameOfAFileIsShownEscaped()
{
    const QString file = S("\xe2\x80\xaegrp.prg"); // U+202E turns it into ".prgprg"
    AnswerServer server({HubAnswer(Package({}))});
    const QTemporaryDir here;
    QVERIFY(WriteFile(here.filePath(file), "x"));
    const QStringList line = Line(server, "put --as x") + QStringList{file};
    QCOMPARE(RunSkylet(line, here.path()).output, QByteArray("\\u202egrp.prg: sent as \"x\"\n"));
    const SkyletRun json = RunSkylet(line + QStringList{S("--json")}, here.path());
    QVERIFY2(!IsActedOn(json.output), json.output.constData());
    QCOMPARE(json.Json().value(S("packages"))[0][S("objects")][0][S("file")].toString(), file);
}

void tst_SkyletAnswers::directoryThatCannotBeMadeIsReported()
{
    const QTemporaryDir here;
    QVERIFY(WriteFile(here.filePath(S("file")), "x"));
    AnswerServer program({HubAnswer(Package({ProgramObject("p", "x")}))});
    const SkyletRun get = RunSkylet(Line(program, "get x -o file/sub/"), here.path());
    QCOMPARE(get.exitCode, 11);
    QCOMPARE(get.errors, QByteArray("skylet: file/sub/ is no directory, and none can be made\n"));
    AnswerServer disks({HubAnswer(
        Package({Manifest(ListingEntry("D", "D64")), Disk("d", Image(D64_SIZE, 1), 0, false)}))});
    QCOMPARE(RunSkylet(Line(disks, "disks x -o file"), here.path()).exitCode, 11);
    QCOMPARE(Names(here.path()), QStringList{S("file")});
}

void tst_SkyletAnswers::putStopsWhenNoAnswerComes()
{
    AnswerServer server({});
    const QTemporaryDir here;
    QVERIFY(WriteFile(here.filePath(S("a.prg")), "a"));
    QVERIFY(WriteFile(here.filePath(S("b.prg")), "b"));
    const SkyletRun run = RunSkylet(Line(server, "put a.prg b.prg"), here.path());
    QCOMPARE(run.exitCode, 4);
    QCOMPARE(server.Connections(), 1);
    QVERIFY(run.errors.endsWith("skylet: a.prg: perhaps not stored as \"a\"\n"
                                "skylet: 1 of 2 packages were sent\n"));
}

void tst_SkyletAnswers::usageErrors_data()
{
    QTest::addColumn<QString>("line");
    QTest::addColumn<QByteArray>("error");

    QTest::newRow("nothing") << ""
                             << QByteArray("a command is missing: search, get, disks, put, ping "
                                           "or bench");
    QTest::newRow("no-hub") << "ping"
                            << QByteArray("no hub is named; say --hub HOST[:PORT], or set "
                                          "SKYLET_HUB");
    QTest::newRow("unknown-option") << "--nope" << QByteArray("Unknown option 'nope'.");
}

void tst_SkyletAnswers::usageErrors()
{
    QFETCH(QString, line);
    QFETCH(QByteArray, error);

    const QStringList words = Words(line);
    const SkyletRun run = RunSkylet(words);
    QCOMPARE(run.exitCode, 2);
    QCOMPARE(run.output, QByteArray());
    QCOMPARE(run.errors, "skylet: " + error + "\nskylet: \"skylet --help\" shows how it is used\n");

    const QJsonObject json = RunSkylet(words + QStringList{S("--json")}).Json();
    QCOMPARE(json.value(S("exit")).toInt(), 2);
    QCOMPARE(json.value(S("word")).toString(), S("usage"));
    QCOMPARE(json.value(S("remarks")).toArray().at(0).toString(), QString::fromUtf8(error));
}

void tst_SkyletAnswers::jsonOfEveryFailure_data()
{
    QTest::addColumn<QString>("line");

    QTest::newRow("search") << "search";
    QTest::newRow("get") << "get x";
    QTest::newRow("disks") << "disks x";
    QTest::newRow("put") << "put x.prg";
    QTest::newRow("ping") << "ping";
    QTest::newRow("bench") << "bench --requests 1 ping";
}

void tst_SkyletAnswers::jsonOfEveryFailure()
{
    QFETCH(QString, line);

    AnswerServer server({});
    const QTemporaryDir here;
    QVERIFY(WriteFile(here.filePath(S("x.prg")), "x"));
    const SkyletRun run = RunSkylet(Line(server, "--json ") + Words(line), here.path());
    QCOMPARE(run.exitCode, 4);
    const QJsonObject json = run.Json();
    QCOMPARE(json.value(S("command")).toString(), QLatin1String(QTest::currentDataTag()));
    QCOMPARE(json.value(S("hub")).toString(), server.Address());
    QCOMPARE(json.value(S("exit")).toInt(), 4);
    QCOMPARE(json.value(S("word")).toString(), S("no-answer"));
    QStringList said;
    for (const auto &remark : json.value(S("remarks")).toArray())
        said.append(S("skylet: ") + remark.toString() + S("\n"));
    QCOMPARE(run.errors, said.join(QString()).toUtf8());
    QVERIFY(!said.isEmpty());
    QCOMPARE(run.output.count('\n'), 1);
}

void tst_SkyletAnswers::helpAndVersion()
{
    const SkyletRun help = RunSkylet({S("--help")});
    QCOMPARE(help.exitCode, 0);
    QCOMPARE(help.errors, QByteArray());
    QVERIFY(help.output.startsWith("Usage: "));
    QVERIFY(help.output.endsWith("  130  interrupted       stopped by Ctrl-C or a signal\n"));

    const SkyletRun version = RunSkylet({S("--version")});
    QCOMPARE(version.exitCode, 0);
    QCOMPARE(version.output, QByteArray("skylet " DISK_HUB_VERSION "\n"));
}

void tst_SkyletAnswers::pipeGetsPlainText()
{
    AnswerServer server({EmptyListing()});
    const SkyletRun run = RunSkylet(Line(server, "search"));
    QCOMPARE(run.exitCode, 0);
    QCOMPARE(run.output, QByteArray("0 search results\n"));
}

void tst_SkyletAnswers::terminalGetsReverseVideo()
{
    AnswerServer server({EmptyListing()});
    const SkyletRun run = RunOnTerminal(Line(server, "search"));
    QCOMPARE(run.exitCode, 0);
    QCOMPARE(run.output, QByteArray("\x1b[7m0 search results\x1b[m\r\n"));
}

void tst_SkyletAnswers::progressIsForTerminals()
{
    const QByteArray answer = EmptyListing();
    AnswerServer slow({answer.left(300), answer.mid(300)}, AnswerServer::CLOSE,
                      LONGER_THAN_THE_PROGRESS_WAITS_MS);
    const SkyletRun terminal = RunOnTerminal(Line(slow, "search"));
    QCOMPARE(terminal.exitCode, 0);
    QVERIFY(terminal.output.startsWith("\r\x1b[Kreceiving 0.0 of 0.0 MB\r\x1b[K"));
    QVERIFY(terminal.output.endsWith("\r\x1b[K\x1b[7m0 search results\x1b[m\r\n"));

    const SkyletRun pipe = RunSkylet(Line(slow, "search"));
    QCOMPARE(pipe.exitCode, 0);
    QCOMPARE(pipe.errors, QByteArray());
    QCOMPARE(pipe.output, QByteArray("0 search results\n"));
}

void tst_SkyletAnswers::fullOutputIsReported()
{
    AnswerServer server({EmptyListing()});
    for (const char *line : {"search", "search --json"}) {
        const SkyletRun run =
            RunSkylet({S("-c"), S(SKYLET_BINARY " ") + Line(server, line).join(QLatin1Char(' ')) +
                                    S(" > /dev/full")},
                      QString(), S("sh"));
        QCOMPARE(run.exitCode, 11);
        QCOMPARE(run.errors, QByteArray("skylet: standard output cannot be written\n"));
    }
}

void tst_SkyletAnswers::signalsLeaveNoFile_data()
{
    QTest::addColumn<int>("signal");

    QTest::newRow("sigint") << SIGINT;
    QTest::newRow("sigterm") << SIGTERM;
    QTest::newRow("sighup") << SIGHUP;
}

void tst_SkyletAnswers::signalsLeaveNoFile()
{
    QFETCH(int, signal);

    const QByteArray answer = HubAnswer(
        Package({Manifest(ListingEntry("D", "D64")), Disk("d", Image(D64_SIZE, 1), 0, false)}));
    AnswerServer server({answer.left(answer.size() - 1)}, AnswerServer::KEEP_OPEN);
    const QTemporaryDir here;
    QProcess process;
    process.setWorkingDirectory(here.path());
    process.start(S(SKYLET_BINARY), Line(server, "disks x"));
    QTRY_VERIFY(!server.Received().isEmpty());
    QCOMPARE(::kill(pid_t(process.processId()), signal), 0);
    QTRY_COMPARE(process.state(), QProcess::NotRunning);
    QCOMPARE(process.exitStatus(), QProcess::NormalExit);
    QCOMPARE(process.exitCode(), 130);
    QVERIFY(process.readAllStandardError().endsWith(": interrupted\n"));
    QCOMPARE(Names(here.path()), QStringList());
}

void tst_SkyletAnswers::signalEndsABenchWithItsFigures()
{
    AnswerServer server({HubAnswer(Package({}))});
    QProcess process;
    process.start(S(SKYLET_BINARY), Line(server, "--json bench --requests 100000000 ping"));
    QTRY_VERIFY(server.Connections() > 100);
    QCOMPARE(::kill(pid_t(process.processId()), SIGINT), 0);
    QTRY_COMPARE(process.state(), QProcess::NotRunning);
    QCOMPARE(process.exitCode(), 130);
    const QJsonObject json = QJsonDocument::fromJson(process.readAllStandardOutput()).object();
    QVERIFY(json.value(S("requests")).toInt() > 90);
    QCOMPARE(json.value(S("failed")).toInt(-1), 0);
    QCOMPARE(json.value(S("word")).toString(), S("interrupted"));
}

void tst_SkyletAnswers::benchMayHaveMoreConnectionsThanTheSoftLimit()
{
    AnswerServer server({HubAnswer(Package({}))});
    const SkyletRun run = RunSkylet(
        {S("-c"),
         S("ulimit -S -n 64; exec " SKYLET_BINARY " ") +
             Line(server, "bench --clients 100 --requests 200 ping").join(QLatin1Char(' '))},
        QString(), S("sh"));
    QCOMPARE(run.errors, QByteArray());
    QCOMPARE(run.exitCode, 0);
}

void tst_SkyletAnswers::ignoredSignalsStayIgnored_data()
{
    QTest::addColumn<QString>("trap");
    QTest::addColumn<int>("exitCode");

    QTest::newRow("not-ignored") << "" << 130;
    QTest::newRow("ignored") << "trap '' HUP; " << 0;
}

void tst_SkyletAnswers::ignoredSignalsStayIgnored()
{
    QFETCH(QString, trap);
    QFETCH(int, exitCode);

    // Long enough for the signal to be noticed before the answer comes.
    AnswerServer server({QByteArray(), EmptyListing()}, AnswerServer::CLOSE, 2000);
    QProcess process;
    process.start(S("sh"), {S("-c"), trap + S("exec " SKYLET_BINARY " ") +
                                         Line(server, "search").join(QLatin1Char(' '))});
    QTRY_VERIFY(!server.Received().isEmpty());
    QCOMPARE(::kill(pid_t(process.processId()), SIGHUP), 0);
    QTRY_COMPARE(process.state(), QProcess::NotRunning);
    QCOMPARE(process.exitStatus(), QProcess::NormalExit);
    QCOMPARE(process.exitCode(), exitCode);
}

void tst_SkyletAnswers::needsNoGui()
{
    // The loader's own answer, as ldd's would be of another architecture.
    const SkyletRun run =
        RunSkylet({S("LD_TRACE_LOADED_OBJECTS=1"), S(SKYLET_BINARY)}, QString(), S("env"));
    QCOMPARE(run.exitCode, 0);
    QVERIFY(run.output.contains("Network.so"));
    QVERIFY(!run.output.contains("Gui.so"));
    QVERIFY(!run.output.contains("Widgets.so"));
}

QTEST_GUILESS_MAIN(tst_SkyletAnswers)
#include "tst_SkyletAnswers.moc"
