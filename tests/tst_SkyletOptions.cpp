// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#include "HostFiles.h"
#include "SkyletCommands.h"
#include "SkyletExit.h"
#include "SkyletOptions.h"

#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>

namespace
{

const char MD5_OF_NOTHING[] = "d41d8cd98f00b204e9800998ecf8427e"; // RFC 1321, section A.5
const char MD5_OF_A[] = "0cc175b9c0f1b6a831c399e269772661";       // the same
const char MD5_OF_ABC[] = "900150983cd24fb0d6963f7d28e17f72";     // the same

/// What the words of a command line, with a blank between each, become. Returns the error.
QString Parse(const QString &line, SkyletOptions *options)
{
    QString error;
    const QStringList words = (QStringLiteral("skylet ") + line).split(QLatin1Char(' '));
    const int status = SkyletOptions::Parse(words, options, &error);
    return status == 0 ? error : error.isEmpty() ? QStringLiteral("no error text") : error;
}

QString Text(const SkyletOptions::COMMAND &command)
{
    return command.name + QLatin1Char('(') + command.arguments.join(QLatin1Char('|')) +
           QLatin1Char(')');
}

QString ManPage()
{
    return QString::fromUtf8(
        ReadFile(QStringLiteral(DISK_HUB_SOURCE_DIR "/tools/skylet/skylet.1.in")));
}

} // namespace

class tst_SkyletOptions : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void defaults();
    void everyOptionIsTaken();
    void optionsMayStandAnywhere();
    void hubOfTheEnvironment();
    void digests_data();
    void digests();
    void passwordFiles_data();
    void passwordFiles();
    void passwordIsHashedAsTheHubsDialogDoes();
    void missingPasswordFileIsNamed();
    void loadOfABench_data();
    void loadOfABench();
    void wrongCommandsAreRefused_data();
    void wrongCommandsAreRefused();
    void wrongOptionsAreRefused_data();
    void wrongOptionsAreRefused();
    void helpAndVersionNeedNothingElse_data();
    void helpAndVersionNeedNothingElse();
    void jsonIsKnownEvenWhenTheLineIsWrong();
    void helpNamesAllExitCodes();
    void manPageHasTheSameExitCodes();
    void manPageNamesAllOptions();
    void manPageNamesAllCommands();
    void latin1();
};

void tst_SkyletOptions::init()
{
    qunsetenv("SKYLET_HUB");
}

void tst_SkyletOptions::defaults()
{
    SkyletOptions options;
    QCOMPARE(Parse(QStringLiteral("--hub h search"), &options), QString());
    QCOMPARE(options.action, SkyletOptions::RUN);
    QCOMPARE(options.hub.ToString(), QStringLiteral("h"));
    QCOMPARE(options.identity.user, QString());
    QCOMPARE(options.identity.digest, QString());
    QCOMPARE(options.identity.udid, QStringLiteral("skylet"));
    QCOMPARE(options.timeoutMs, 30000);
    QCOMPARE(options.json, false);
    QCOMPARE(Text(options.command), QStringLiteral("search()"));
    QCOMPARE(options.load.size(), 0);
    QCOMPARE(options.rawFile, QString());
    QCOMPARE(options.output, QString());
    QCOMPARE(options.name, QString());
    QCOMPARE(options.force, false);
    QCOMPARE(options.replace, false);
    QCOMPARE(options.clients, 4);
    QCOMPARE(options.requests, 1000);
}

void tst_SkyletOptions::everyOptionIsTaken()
{
    SkyletOptions options;
    QCOMPARE(Parse(QStringLiteral("--hub h:81 --user anna --password abc --udid 00-1A --timeout 7 "
                                  "--json --raw r.prg --force search g*"),
                   &options),
             QString());
    QCOMPARE(options.hub.ToString(), QStringLiteral("h:81"));
    QCOMPARE(options.identity.user, QStringLiteral("anna"));
    QCOMPARE(options.identity.digest, QLatin1String(MD5_OF_ABC));
    QCOMPARE(options.identity.udid, QStringLiteral("00-1A"));
    QCOMPARE(options.timeoutMs, 7000);
    QCOMPARE(options.json, true);
    QCOMPARE(options.rawFile, QStringLiteral("r.prg"));
    QCOMPARE(options.force, true);
    QCOMPARE(Text(options.command), QStringLiteral("search(g*)"));

    QCOMPARE(Parse(QStringLiteral("--hub h put a.prg b.d64 --replace"), &options), QString());
    QCOMPARE(options.replace, true);
    QCOMPARE(Text(options.command), QStringLiteral("put(a.prg|b.d64)"));

    QCOMPARE(Parse(QStringLiteral("--hub h put a.prg --as b"), &options), QString());
    QCOMPARE(options.name, QStringLiteral("b"));

    QCOMPARE(Parse(QStringLiteral("--hub h --clients 3 --requests 5 bench ping"), &options),
             QString());
    QCOMPARE(options.clients, 3);
    QCOMPARE(options.requests, 5);
}

void tst_SkyletOptions::optionsMayStandAnywhere()
{
    SkyletOptions options;
    QCOMPARE(Parse(QStringLiteral("get -o out --hub h x --force"), &options), QString());
    QCOMPARE(options.output, QStringLiteral("out"));
    QCOMPARE(options.force, true);
    QCOMPARE(Text(options.command), QStringLiteral("get(x)"));

    QCOMPARE(Parse(QStringLiteral("--hub h get --output=out -- -x"), &options), QString());
    QCOMPARE(options.output, QStringLiteral("out"));
    QCOMPARE(Text(options.command), QStringLiteral("get(-x)"));
}

void tst_SkyletOptions::hubOfTheEnvironment()
{
    qputenv("SKYLET_HUB", "from.environment:82");
    SkyletOptions options;
    QCOMPARE(Parse(QStringLiteral("ping"), &options), QString());
    QCOMPARE(options.hub.ToString(), QStringLiteral("from.environment:82"));
    QCOMPARE(Parse(QStringLiteral("--hub h ping"), &options), QString());
    QCOMPARE(options.hub.ToString(), QStringLiteral("h"));
    qputenv("SKYLET_HUB", "not an address");
    QCOMPARE(Parse(QStringLiteral("ping"), &options),
             QStringLiteral("\"not an address\" is no HOST[:PORT]"));
}

void tst_SkyletOptions::digests_data()
{
    QTest::addColumn<QString>("line");
    QTest::addColumn<QString>("digest");

    QTest::newRow("no-user") << "" << QString();
    QTest::newRow("user-without-password") << "--user u" << MD5_OF_NOTHING;
    QTest::newRow("empty-password") << "--user u --password=" << MD5_OF_NOTHING;
    QTest::newRow("password") << "--user u --password a" << MD5_OF_A;
    QTest::newRow("digest") << "--user u --digest 0cc175b9c0f1b6a831c399e269772661" << MD5_OF_A;
    QTest::newRow("digest-in-capitals")
        << "--user u --digest 0CC175B9C0F1B6A831C399E269772661" << MD5_OF_A;
}

void tst_SkyletOptions::digests()
{
    QFETCH(QString, line);
    QFETCH(QString, digest);

    SkyletOptions options;
    const QString start = line.isEmpty() ? line : line + QLatin1Char(' ');
    QCOMPARE(Parse(start + QStringLiteral("--hub h ping"), &options), QString());
    QCOMPARE(options.identity.digest, digest);
}

void tst_SkyletOptions::passwordFiles_data()
{
    QTest::addColumn<QByteArray>("contents");
    QTest::addColumn<QString>("digest");

    QTest::newRow("empty-file") << QByteArray() << MD5_OF_NOTHING;
    QTest::newRow("no-line-end") << QByteArray("abc") << MD5_OF_ABC;
    QTest::newRow("line-end") << QByteArray("abc\n") << MD5_OF_ABC;
    QTest::newRow("dos-line-end") << QByteArray("abc\r\n") << MD5_OF_ABC;
    QTest::newRow("second-line-is-not-looked-at") << QByteArray("abc\nxyz\n") << MD5_OF_ABC;
    QTest::newRow("blanks-count") << QByteArray(" abc\n") << "12cfaf7fd98f33be8038b3d56c18f061";
}

void tst_SkyletOptions::passwordFiles()
{
    QFETCH(QByteArray, contents);
    QFETCH(QString, digest);

    const QTemporaryDir directory;
    const QString path = directory.filePath(QStringLiteral("secret"));
    QVERIFY(WriteFile(path, contents));
    SkyletOptions options;
    QCOMPARE(
        Parse(QStringLiteral("--hub h --user u --password-file ") + path + QStringLiteral(" ping"),
              &options),
        QString());
    QCOMPARE(options.identity.digest, digest);
}

void tst_SkyletOptions::passwordIsHashedAsTheHubsDialogDoes()
{
    SkyletOptions options;
    // One byte for each character, "?" for one beyond Latin-1: E9 3F, by md5sum.
    QCOMPARE(
        Parse(QString::fromUtf8("--hub h --user u --password \xc3\xa9\xe2\x82\xac ping"), &options),
        QString());
    QCOMPARE(options.identity.digest, QStringLiteral("88dae2d01e43506c30c1b3ee6076009e"));
    // The length counts modulo 65536.
    const QString longOne(65536 + 1, QLatin1Char('a'));
    QCOMPARE(Parse(QStringLiteral("--hub h --user u ping --password ") + longOne, &options),
             QString());
    QCOMPARE(options.identity.digest, QLatin1String(MD5_OF_A));
}

void tst_SkyletOptions::missingPasswordFileIsNamed()
{
    SkyletOptions options;
    const QString error =
        Parse(QStringLiteral("--hub h --user u --password-file /nowhere/x ping"), &options);
    QVERIFY2(error.startsWith(QStringLiteral("/nowhere/x cannot be read: ")), qPrintable(error));
}

void tst_SkyletOptions::loadOfABench_data()
{
    QTest::addColumn<QString>("line");
    QTest::addColumn<QStringList>("load");

    QTest::newRow("one-command") << "ping" << QStringList{QStringLiteral("ping()")};
    QTest::newRow("with-arguments")
        << "put a.prg b.d64" << QStringList{QStringLiteral("put(a.prg|b.d64)")};
    QTest::newRow("several") << "search g* , get x , ping"
                             << QStringList{QStringLiteral("search(g*)"), QStringLiteral("get(x)"),
                                            QStringLiteral("ping()")};
    QTest::newRow("comma-inside-a-word") << "get a,b" << QStringList{QStringLiteral("get(a,b)")};
}

void tst_SkyletOptions::loadOfABench()
{
    QFETCH(QString, line);
    QFETCH(QStringList, load);

    SkyletOptions options;
    QCOMPARE(Parse(QStringLiteral("--hub h bench ") + line, &options), QString());
    QStringList texts;
    for (const SkyletOptions::COMMAND &command : std::as_const(options.load))
        texts.append(Text(command));
    QCOMPARE(texts, load);
}

void tst_SkyletOptions::wrongCommandsAreRefused_data()
{
    QTest::addColumn<QString>("line");
    QTest::addColumn<QString>("error");

    QTest::newRow("no-command") << "--hub h"
                                << "a command is missing: search, get, disks, put, ping or bench";
    QTest::newRow("unknown-command") << "--hub h serch"
                                     << "\"serch\" is no command";
    QTest::newRow("get-what") << "--hub h get"
                              << "get needs to know what";
    QTest::newRow("disks-what") << "--hub h disks"
                                << "disks needs to know what";
    QTest::newRow("put-what") << "--hub h put"
                              << "put needs to know what";
    QTest::newRow("bench-what") << "--hub h bench"
                                << "bench needs to know what";
    QTest::newRow("search-too-much")
        << "--hub h search a b"
        << "search takes no \"b\"; quote patterns, or the shell replaces them";
    QTest::newRow("get-too-much")
        << "--hub h get a b"
        << "get takes no \"b\"; quote patterns, or the shell replaces them";
    QTest::newRow("ping-too-much")
        << "--hub h ping a"
        << "ping takes no \"a\"; quote patterns, or the shell replaces them";
    QTest::newRow("bench-of-bench") << "--hub h bench bench ping"
                                    << "a bench of a bench makes no sense";
    QTest::newRow("bench-of-unknown") << "--hub h bench ping , foo"
                                      << "\"foo\" is no command";
    QTest::newRow("bench-of-get-what") << "--hub h bench get , ping"
                                       << "get needs to know what";
    QTest::newRow("bench-of-a-comma") << "--hub h bench ,"
                                      << "\",\" is no command";
}

void tst_SkyletOptions::wrongCommandsAreRefused()
{
    QFETCH(QString, line);
    QFETCH(QString, error);

    SkyletOptions options;
    QCOMPARE(Parse(line, &options), error);
}

void tst_SkyletOptions::wrongOptionsAreRefused_data()
{
    QTest::addColumn<QString>("line");
    QTest::addColumn<QString>("error");

    QTest::newRow("unknown-option") << "--hub h --nope ping"
                                    << "Unknown option 'nope'.";
    QTest::newRow("value-missing") << "ping --hub"
                                   << "Missing value after '--hub'.";
    QTest::newRow("no-hub") << "ping"
                            << "no hub is named; say --hub HOST[:PORT], or set SKYLET_HUB";
    QTest::newRow("empty-hub") << "--hub= ping"
                               << "no hub is named; say --hub HOST[:PORT], or set SKYLET_HUB";
    QTest::newRow("bad-hub") << "--hub h:x ping"
                             << "\"h:x\" is no HOST[:PORT]";
    QTest::newRow("force-of-put") << "--hub h put a.prg --force"
                                  << "put takes no --force";
    QTest::newRow("output-of-search") << "--hub h search -o x"
                                      << "search takes no --output";
    QTest::newRow("raw-of-get") << "--hub h get x --raw y"
                                << "get takes no --raw";
    QTest::newRow("replace-of-disks") << "--hub h disks x --replace"
                                      << "disks takes no --replace";
    QTest::newRow("clients-of-ping") << "--hub h ping --clients 2"
                                     << "ping takes no --clients";
    QTest::newRow("output-of-bench") << "--hub h bench get x -o y"
                                     << "bench takes no --output";
    QTest::newRow("as-of-two-files") << "--hub h put a.prg b.prg --as c"
                                     << "--as gives a name to a single file";
    QTest::newRow("as-of-two-files-in-a-bench") << "--hub h bench put a.prg b.prg --as c"
                                                << "--as gives a name to a single file";
    QTest::newRow("password-and-digest")
        << "--hub h --user u --password a --digest b ping"
        << "only one of --password, --password-file and --digest makes sense";
    QTest::newRow("password-and-file")
        << "--hub h --user u --password a --password-file b ping"
        << "only one of --password, --password-file and --digest makes sense";
    QTest::newRow("password-without-user") << "--hub h --password a ping"
                                           << "a password without --user makes no sense";
    QTest::newRow("digest-too-short") << "--hub h --user u --digest 0cc175b9 ping"
                                      << "a digest has 32 hexadecimal digits";
    QTest::newRow("digest-of-other-letters")
        << "--hub h --user u --digest 0cc175b9c0f1b6a831c399e26977266g ping"
        << "a digest has 32 hexadecimal digits";
    QTest::newRow("timeout-0") << "--hub h --timeout 0 ping"
                               << "--timeout takes a number from 1 to 86400";
    QTest::newRow("timeout-of-letters") << "--hub h --timeout x ping"
                                        << "--timeout takes a number from 1 to 86400";
    QTest::newRow("clients-0") << "--hub h --clients 0 bench ping"
                               << "--clients takes a number from 1 to 10000";
    QTest::newRow("requests-too-many") << "--hub h --requests 100000001 bench ping"
                                       << "--requests takes a number from 1 to 100000000";
}

void tst_SkyletOptions::wrongOptionsAreRefused()
{
    wrongCommandsAreRefused();
}

void tst_SkyletOptions::helpAndVersionNeedNothingElse_data()
{
    QTest::addColumn<QString>("line");
    QTest::addColumn<int>("action");

    QTest::newRow("help") << "--help" << int(SkyletOptions::SHOW_HELP);
    QTest::newRow("h") << "-h" << int(SkyletOptions::SHOW_HELP);
    QTest::newRow("help-of-a-command") << "get --help" << int(SkyletOptions::SHOW_HELP);
    QTest::newRow("version") << "--version" << int(SkyletOptions::SHOW_VERSION);
    QTest::newRow("v") << "-v" << int(SkyletOptions::SHOW_VERSION);
}

void tst_SkyletOptions::helpAndVersionNeedNothingElse()
{
    QFETCH(QString, line);
    QFETCH(int, action);

    SkyletOptions options;
    QCOMPARE(Parse(line, &options), QString());
    QCOMPARE(int(options.action), action);
}

void tst_SkyletOptions::jsonIsKnownEvenWhenTheLineIsWrong()
{
    SkyletOptions options;
    QVERIFY(!Parse(QStringLiteral("--nope --json"), &options).isEmpty());
    QCOMPARE(options.json, true);
}

void tst_SkyletOptions::helpNamesAllExitCodes()
{
    QCOMPARE(SkyletExit::Word(SkyletExit::LOGIN_REFUSED), QStringLiteral("login-refused"));
    QCOMPARE(SkyletExit::Word(77), QString());

    QStringList words;
    for (int code = 0; code < 256; ++code) {
        const QString word = SkyletExit::Word(code);
        if (word.isEmpty())
            continue;
        words.append(word);
        QVERIFY(SkyletOptions::Help().contains(
            QStringLiteral("\n  %1  %2 ").arg(QString::number(code).rightJustified(3), word)));
    }
    QCOMPARE(words.size(), 13);
    QCOMPARE(words.removeDuplicates(), 0);
}

void tst_SkyletOptions::manPageHasTheSameExitCodes()
{
    const QString page = ManPage();
    QString table;
    for (const QString &line : SkyletExit::Table().split(QLatin1Char('\n')))
        table += line.mid(2) + QLatin1Char('\n');
    QVERIFY(page.contains(QStringLiteral(".nf\n") + table.trimmed().prepend(QStringLiteral("  ")) +
                          QStringLiteral("\n.fi\n")));
}

void tst_SkyletOptions::manPageNamesAllOptions()
{
    const QString page = ManPage();
    QStringList options;
    for (const QString &line : SkyletOptions::Help().split(QLatin1Char('\n'))) {
        const QString option =
            line.section(QStringLiteral("--"), 1, 1).section(QLatin1Char(' '), 0, 0);
        if (line.startsWith(QStringLiteral("  -")))
            options.append(option);
    }
    QCOMPARE(options.size(), 17);
    for (QString option : std::as_const(options)) {
        option.replace(QLatin1Char('-'), QStringLiteral("\\-"));
        QVERIFY2(page.contains(QStringLiteral(" \\-\\-") + option), qPrintable(option));
    }
}

void tst_SkyletOptions::manPageNamesAllCommands()
{
    const QString page = ManPage();
    const QString synopsis = page.section(QStringLiteral("\n.SH "), 2, 2);
    const QString commands = page.section(QStringLiteral("\n.SH "), 4, 4);
    QVERIFY(synopsis.startsWith(QStringLiteral("SYNOPSIS\n")));
    QVERIFY(commands.startsWith(QStringLiteral("COMMANDS\n")));
    QCOMPARE(commands.count(QStringLiteral("\n.TP\n")), SkyletCommands::All().size());
    for (const SkyletCommands::COMMAND &command : SkyletCommands::All()) {
        const QString name = QLatin1String(command.name);
        QVERIFY2(synopsis.contains(QStringLiteral("\n.B ") + name + QLatin1Char('\n')),
                 command.name);
        const QRegularExpression entry(QStringLiteral("\n\\.TP\n\\.B[RI]? %1\\b").arg(name));
        QVERIFY2(commands.contains(entry), command.name);
    }
}

void tst_SkyletOptions::latin1()
{
    QVERIFY(SkyletOptions::IsLatin1(QString()));
    QVERIFY(SkyletOptions::IsLatin1(QString(QChar(0xFF))));
    QVERIFY(!SkyletOptions::IsLatin1(QString(QChar(0x100))));
}

QTEST_GUILESS_MAIN(tst_SkyletOptions)
#include "tst_SkyletOptions.moc"
