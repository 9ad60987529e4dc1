// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#include "CheckCommandLine.h"

#include "HostFiles.h"
#include "HubSettings.h"

#include <QJsonDocument>
#include <QRegularExpression>
#include <QTest>

#include <memory>

class tst_CheckCommandLine : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void help_data();
    void help();
    void helpNamesEveryOptionOfTheManual();
    void version_data();
    void version();
    void badUsage_data();
    void badUsage();
    void cleanDirectoriesGiveZero();
    void remarksGiveOne();
    void oneDirectoryIsEnough();
    void settingsAreTheDefault();
    void settingsWithoutAStore();
    void json();

private:
    /// What the program writes, in the system's encoding.
    struct WRITTEN {
        CheckCommandLine::EXIT_CODE exitCode;
        QByteArray output;
        QByteArray error;
    };

    /// "ROOT" in the arguments stands for this test's directory.
    WRITTEN Run(const QStringList &arguments) const
    {
        QStringList all{QStringLiteral("disk-hub-check")};
        for (QString argument : arguments)
            all.append(argument.replace(QStringLiteral("ROOT"), mRoot->path()));
        const CheckCommandLine::RESULT result = CheckCommandLine::Run(all);
        return {result.exitCode, result.text.toLocal8Bit() + result.json,
                result.error.toLocal8Bit()};
    }

    QString Path(const char *file) const { return mRoot->filePath(QLatin1String(file)); }

    const HubSettings mSettings;
    std::unique_ptr<QTemporaryDir> mRoot;
};

void tst_CheckCommandLine::init()
{
    mRoot = std::make_unique<QTemporaryDir>();
    QVERIFY(WriteFile(Path("clean/a.prg"), "x"));
    QVERIFY(WriteFile(Path("messy/a.zip"), "x"));
}

void tst_CheckCommandLine::help_data()
{
    QTest::addColumn<QStringList>("arguments");

    QTest::newRow("long") << QStringList{QStringLiteral("--help")};
    QTest::newRow("short") << QStringList{QStringLiteral("-h")};
    QTest::newRow("with-others") << QStringList{QStringLiteral("--json"), QStringLiteral("--help"),
                                                QStringLiteral("--disks"), QStringLiteral("none")};
}

void tst_CheckCommandLine::help()
{
    QFETCH(QStringList, arguments);
    const WRITTEN result = Run(arguments);
    QCOMPARE(int(result.exitCode), 0);
    QCOMPARE(result.error, QByteArray());
    for (const char *option : {"--settings", "--disks <DIR>", "--programs <DIR>", "--json",
                               "--help", "--version", "Exits with 0"})
        QVERIFY2(result.output.contains(option), option);
}

void tst_CheckCommandLine::helpNamesEveryOptionOfTheManual()
{
    const QString manual =
        QString::fromUtf8(
            ReadFile(QStringLiteral(DISK_HUB_SOURCE_DIR "/tools/check/disk-hub-check.1.in")))
            .section(QStringLiteral(".SH OPTIONS"), 1)
            .section(QStringLiteral(".SH"), 0, 0)
            .remove(QLatin1Char('\\'));
    const QString help = QString::fromLocal8Bit(Run({QStringLiteral("--help")}).output);
    const QRegularExpression option(QStringLiteral("--[a-z]+"));
    const auto options = [&](const QString &text) {
        QStringList found;
        QRegularExpressionMatchIterator matches = option.globalMatch(text);
        while (matches.hasNext())
            found.append(matches.next().captured());
        found.removeDuplicates();
        found.sort();
        return found;
    };
    QCOMPARE(options(manual).size(), 6);
    QCOMPARE(options(help), options(manual));
}

void tst_CheckCommandLine::version_data()
{
    QTest::addColumn<QString>("argument");

    QTest::newRow("long") << "--version";
    QTest::newRow("short") << "-v";
}

void tst_CheckCommandLine::version()
{
    QFETCH(QString, argument);
    const WRITTEN result = Run({argument});
    QCOMPARE(int(result.exitCode), 0);
    QCOMPARE(result.output, QByteArray("disk-hub-check " DISK_HUB_VERSION "\n"));
    QCOMPARE(result.error, QByteArray());
}

void tst_CheckCommandLine::badUsage_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QByteArray>("words");

    const auto row = [](const char *name, const char *arguments, const char *words) {
        QTest::newRow(name) << QString::fromLatin1(arguments).split(QLatin1Char(' '))
                            << QByteArray(words);
    };
    row("unknown-option", "--fast", "fast");
    row("no-value", "--disks", "disks");
    row("argument", "ROOT/clean", "unexpected argument");
    row("settings-and-disks", "--settings --disks ROOT/clean", "--settings does not go with");
    row("settings-and-programs", "--programs ROOT/clean --settings", "--settings does not go with");
    row("disks-twice", "--disks ROOT/clean --disks ROOT/messy", "--disks is given twice");
    row("programs-twice", "--programs ROOT --programs ROOT", "--programs is given twice");
    row("no-such-directory", "--disks ROOT/none", "no such directory: \"");
    row("no-such-directory-of-programs", "--disks ROOT --programs ROOT/none", "no such directory");
    row("file-as-directory", "--disks ROOT/clean/a.prg", "no such directory");
    row("empty-directory-name", "--disks=", "no such directory: \"\"");
    row("argument-that-a-terminal-would-act-on", "\x1B[2J", "\"\\x1b[2J\"");
    row("value-for-json", "--json=yes", "json");
}

void tst_CheckCommandLine::badUsage()
{
    QFETCH(QStringList, arguments);
    QFETCH(QByteArray, words);
    const WRITTEN result = Run(arguments);
    QCOMPARE(int(result.exitCode), 2);
    QCOMPARE(result.output, QByteArray());
    QVERIFY2(result.error.startsWith("disk-hub-check: "), result.error.constData());
    QVERIFY2(result.error.contains(words), result.error.constData());
    QVERIFY2(result.error.endsWith("\nTry \"disk-hub-check --help\".\n"), result.error.constData());
}

void tst_CheckCommandLine::cleanDirectoriesGiveZero()
{
    const WRITTEN result = Run({QStringLiteral("--disks"), QStringLiteral("ROOT/clean"),
                                QStringLiteral("--programs"), QStringLiteral("ROOT/clean")});
    QCOMPARE(int(result.exitCode), 0);
    QCOMPARE(result.error, QByteArray());
    QVERIFY(result.output.endsWith("\nNothing to remark.\n"));
}

void tst_CheckCommandLine::remarksGiveOne()
{
    const WRITTEN result =
        Run({QStringLiteral("--disks=ROOT/clean"), QStringLiteral("--programs=ROOT/messy")});
    QCOMPARE(int(result.exitCode), 1);
    QCOMPARE(result.error, QByteArray());
    // The program lies among the disks, the archive among the programs.
    QVERIFY(result.output.endsWith("\nRemarks: 2\n"));
}

void tst_CheckCommandLine::oneDirectoryIsEnough()
{
    const WRITTEN disks = Run({QStringLiteral("--disks=ROOT/clean")});
    QCOMPARE(int(disks.exitCode), 0);
    QVERIFY(disks.output.startsWith("Disks from "));
    QVERIFY(!disks.output.contains("Programs from "));
    const WRITTEN programs = Run({QStringLiteral("--programs=ROOT/clean")});
    QCOMPARE(int(programs.exitCode), 0);
    QVERIFY(programs.output.startsWith("Programs from "));
    QVERIFY(!programs.output.contains("Disks from "));
}

void tst_CheckCommandLine::settingsAreTheDefault()
{
    const QByteArray root = mRoot->path().toUtf8();
    QVERIFY(mSettings.Write("[media]\ndisk_path=" + root + "/clean\nprogram_path=" + root +
                            "/clean\n[security]\nvalidate=true\n[access]\nnum_users=1\n"
                            "user_0\\name=ann\nuser_0\\own_dir=true\nuser_0\\disk_dir=" +
                            root + "/messy\nuser_0\\program_dir=" + root + "/clean\n"));
    const WRITTEN result = Run({});
    QCOMPARE(int(result.exitCode), 1);
    QVERIFY(result.output.startsWith("The hub's directories\n"));
    QVERIFY(result.output.contains("\nOwn directories of ann\n"));
    QVERIFY(result.output.endsWith("\nRemarks: 1\n"));
    QCOMPARE(Run({QStringLiteral("--settings")}).output, result.output);
    QCOMPARE(int(Run({QStringLiteral("--settings")}).exitCode), 1);
}

void tst_CheckCommandLine::settingsWithoutAStore()
{
    mSettings.Remove();
    const WRITTEN result = Run({QStringLiteral("--settings")});
    QCOMPARE(int(result.exitCode), 1);
    QCOMPARE(result.output.count("no directory was chosen"), 2);
}

void tst_CheckCommandLine::json()
{
    const WRITTEN result = Run({QStringLiteral("--json"), QStringLiteral("--disks=ROOT/messy")});
    QCOMPARE(int(result.exitCode), 1);
    QVERIFY(!QJsonDocument::fromJson(result.output).isNull());
    QVERIFY(result.output.contains("\"compressed\""));
    QVERIFY(result.output.endsWith("}\n"));
}

QTEST_GUILESS_MAIN(tst_CheckCommandLine)
#include "tst_CheckCommandLine.moc"
