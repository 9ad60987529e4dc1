// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#include "AppPrivileges.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

#include <vector>

namespace
{

constexpr int TIMEOUT_MS = 60000;

/// Runs a command to its end. Returns its exit code, or -1 if there is none.
int Run(const QString &program, const QStringList &arguments)
{
    QProcess process;
    process.start(program, arguments);
    const bool ended = process.waitForFinished(TIMEOUT_MS);
    return ended && process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
}

} // namespace

class tst_AppPrivileges : public QObject
{
    Q_OBJECT

private slots:
    void restrictsEnvironment_data();
    void restrictsEnvironment();
    void restrictsArguments_data();
    void restrictsArguments();
    void leavesAnOrdinaryProcessAlone();
    void raisedProgramIgnoresPluginsOfItsUser_data();
    void raisedProgramIgnoresPluginsOfItsUser();
};

void tst_AppPrivileges::restrictsEnvironment_data()
{
    QTest::addColumn<bool>("kept");

    QTest::newRow("XDG_CONFIG_HOME") << true;
    QTest::newRow("QT_QPA_PLATFORM") << true;
    QTest::newRow("QT_SCALE_FACTOR") << true;
    QTest::newRow("LC_ALL") << true;
    QTest::newRow("QT_PLUGIN_PATH") << false;
    QTest::newRow("QT_QPA_PLATFORM_PLUGIN_PATH") << false;
    QTest::newRow("QT_QPA_GENERIC_PLUGINS") << false;
    QTest::newRow("QT_QPA_PLATFORMTHEME") << false;
    QTest::newRow("GTK_MODULES") << false;
    QTest::newRow("LIBGL_DRIVERS_PATH") << false;
    QTest::newRow("ANYTHING_UNKNOWN") << false;
}

void tst_AppPrivileges::restrictsEnvironment()
{
    QFETCH(bool, kept);
    const char *const variable = QTest::currentDataTag();

    const QByteArray before = qgetenv(variable);
    const QByteArray path = qgetenv("PATH");
    qputenv(variable, "x");
    AppPrivileges::RestrictEnvironment();
    QCOMPARE(qgetenv(variable), QByteArray(kept ? "x" : ""));
    QCOMPARE(qEnvironmentVariableIsSet(variable), kept);
    QCOMPARE(qgetenv("PATH"), path);
    if (before.isNull())
        qunsetenv(variable);
    else
        qputenv(variable, before);
}

void tst_AppPrivileges::restrictsArguments_data()
{
    QTest::addColumn<QStringList>("given");
    QTest::addColumn<QStringList>("kept");

    const QString hub = QStringLiteral("disk-hub");
    const QString path = QStringLiteral("-platformpluginpath");
    const QString plugin = QStringLiteral("-plugin");
    const QString platform = QStringLiteral("-platform");
    const QString x = QStringLiteral("x");

    QTest::newRow("none") << QStringList{hub} << QStringList{hub};
    QTest::newRow("platform-stays")
        << QStringList{hub, platform, x} << QStringList{hub, platform, x};
    QTest::newRow("path-goes-with-its-value")
        << QStringList{hub, path, x, platform, x} << QStringList{hub, platform, x};
    QTest::newRow("two-dashes") << QStringList{hub, QLatin1Char('-') + path, x} << QStringList{hub};
    QTest::newRow("plugin") << QStringList{hub, x, plugin, x} << QStringList{hub, x};
    QTest::newRow("again-and-again")
        << QStringList{hub, plugin, x, path, x, plugin, x} << QStringList{hub};
    QTest::newRow("without-its-value") << QStringList{hub, path} << QStringList{hub};
    QTest::newRow("the-programs-own-name-stays") << QStringList{path, x} << QStringList{path, x};
}

void tst_AppPrivileges::restrictsArguments()
{
    QFETCH(QStringList, given);
    QFETCH(QStringList, kept);

    QList<QByteArray> texts;
    for (const QString &argument : std::as_const(given))
        texts.append(argument.toLatin1());
    std::vector<char *> argv;
    for (QByteArray &text : texts)
        argv.push_back(text.data());
    argv.push_back(nullptr);

    int argc = static_cast<int>(given.size());
    AppPrivileges::RestrictArguments(&argc, argv.data());
    QStringList found;
    for (int i = 0; i < argc; ++i)
        found.append(QLatin1String(argv[static_cast<std::size_t>(i)]));
    QCOMPARE(found, kept);
    QVERIFY(argv[static_cast<std::size_t>(argc)] == nullptr);
}

void tst_AppPrivileges::leavesAnOrdinaryProcessAlone()
{
    char name[] = "disk-hub";
    char plugin[] = "-plugin";
    char value[] = "x";
    char *argv[] = {name, plugin, value, nullptr};
    int argc = 3;
    qputenv("QT_PLUGIN_PATH", "x");
    AppPrivileges::Guard(&argc, argv);
    QCOMPARE(argc, 3);
    QCOMPARE(qgetenv("QT_PLUGIN_PATH"), QByteArray("x"));
    qunsetenv("QT_PLUGIN_PATH");
}

void tst_AppPrivileges::raisedProgramIgnoresPluginsOfItsUser_data()
{
    QTest::addColumn<bool>("raised");

    QTest::newRow("as-it-is-it-looks-there") << false;
    QTest::newRow("with-the-right-to-low-ports-it-does-not") << true;
}

// The toolkit tells where it looks for plugins; a platform that nobody has ends the program at
// once.
void tst_AppPrivileges::raisedProgramIgnoresPluginsOfItsUser()
{
    QFETCH(bool, raised);

    const QTemporaryDir directory;
    const QString plugins = directory.filePath(QStringLiteral("of-the-user"));
    const QString platforms = directory.filePath(QStringLiteral("for-the-platform"));
    const QString program = directory.filePath(QStringLiteral("disk-hub"));
    QVERIFY(QDir().mkpath(plugins) && QDir().mkpath(platforms));
    QVERIFY(QFile::copy(QStringLiteral(DISK_HUB_BINARY), program));
    // Root has all rights anyway, so none are raised for it.
    const QString other = QStringLiteral("65534");
    if (Run(QStringLiteral("chown"), {QStringLiteral("-R"), other, directory.path()}) != 0)
        QSKIP("only root can run a program as another user");
    // Behind the change of the owner, which would take the right away.
    const QStringList right = {QStringLiteral("cap_net_bind_service=+ep"), program};
    if (raised && Run(QStringLiteral("setcap"), right) != 0)
        QSKIP("no file can be given a right here");

    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("QT_PLUGIN_PATH"), plugins);
    environment.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("nobody-has-this"));
    environment.insert(QStringLiteral("QT_DEBUG_PLUGINS"), QStringLiteral("1"));
    QProcess hub;
    hub.setProcessEnvironment(environment);
    hub.setWorkingDirectory(directory.path());
    hub.start(QStringLiteral("setpriv"),
              {QStringLiteral("--reuid"), other, QStringLiteral("--clear-groups"), program,
               QStringLiteral("-platformpluginpath"), platforms});
    QVERIFY(hub.waitForFinished(TIMEOUT_MS));
    const QByteArray said = hub.readAllStandardError();
    QVERIFY(said.contains("nobody-has-this"));
    QCOMPARE(said.contains(QFile::encodeName(plugins)), !raised);
    QCOMPARE(said.contains(QFile::encodeName(platforms)), !raised);
}

QTEST_GUILESS_MAIN(tst_AppPrivileges)
#include "tst_AppPrivileges.moc"
