// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#include "HubProgram.h"

#include <QRegularExpression>
#include <QStandardPaths>

#include <signal.h>

namespace
{

/// Calls that make or change something in a file system: by strace's own names, and whether they
/// exist depends on the machine.
const char CHANGING_CALLS[] = "?open,?openat,?openat2,?creat,?mkdir,?mkdirat,?mknod,?mknodat,?link,"
                              "?linkat,?symlink,?symlinkat,?rename,?renameat,?renameat2,?unlink,"
                              "?unlinkat,?rmdir,?truncate,?chmod,?fchmodat,?chown,?lchown,"
                              "?fchownat,?utimensat,?mount,?memfd_create";

/// The paths that a line of strace's names, as far as they were changed; empty if the call failed
/// or only opened something to read it.
QStringList ChangedPaths(const QString &line)
{
    static const QRegularExpression CALL(
        QStringLiteral("^(?:\\[pid +\\d+\\] |\\d+ +)?(\\w+)\\((.*)\\) += (-?\\d+)"));
    static const QRegularExpression QUOTED(QStringLiteral("\"([^\"]*)\""));

    const QRegularExpressionMatch call = CALL.match(line);
    if (!call.hasMatch() || call.captured(3).startsWith(QLatin1Char('-')))
        return QStringList();
    const QString arguments = call.captured(2);
    const bool opens = call.captured(1).startsWith(QLatin1String("open"));
    static const QRegularExpression WRITES(QStringLiteral("O_WRONLY|O_RDWR|O_CREAT|O_TRUNC"));
    if (opens && !arguments.contains(WRITES))
        return QStringList();
    QStringList paths;
    for (auto it = QUOTED.globalMatch(arguments); it.hasNext();)
        paths.append(it.next().captured(1));
    // The one that a file without a name goes by until it is linked.
    return paths.filter(QRegularExpression(QStringLiteral("^(?!/proc/self/fd/)")));
}

/// Everything that the device may ask for, and things that go wrong.
void UseAll(const HubProcess &hub)
{
    for (int i = 0; i < 3; ++i) {
        hub.Ask(SearchRequest("*"));
        hub.Ask(DownloadRequest("0", "*"));
        hub.Ask(DownloadRequest("1", "*"));
        hub.Ask(UploadRequest(ProgramObject("new", "x")));
        hub.Ask(UploadRequest(ProgramObject("../out", "x")));
        hub.Ask(UploadRequest(ProgramObject("/tmp/out", "x")));
        hub.Ask(UploadRequest(Disk("new", Image(D64_SIZE, 1), 0, i % 2 == 0)));
        hub.Ask(UploadRequest(Disk("odd", Image(1000, 1), 0, false)));
        hub.Ask(FormRequest({{"cmd", "4"}}));
        hub.Ask(HttpPost("text/plain", "x"));
    }
}

} // namespace

/// What a hub leaves on the machine that it runs on: its settings and the media, and no messages.
class tst_GoodCitizen : public QObject
{
    Q_OBJECT

private slots:
    void leavesNothingInItsHome_data();
    void leavesNothingInItsHome();
    void writesNoErrors();
    void errorsAreSeen();
    void changesNothingElsewhere_data();
    void changesNothingElsewhere();
    void changedPathsAreSeen_data();
    void changedPathsAreSeen();
};

void tst_GoodCitizen::leavesNothingInItsHome_data()
{
    QTest::addColumn<bool>("quits");
    QTest::addColumn<QStringList>("left");

    QTest::newRow("killed") << false
                            << QStringList{QStringLiteral("Tesseline LLC/"),
                                           QStringLiteral("Tesseline LLC/Disk Hub.conf")};
    QTest::newRow("quit") << true
                          << QStringList{QStringLiteral("Tesseline LLC/"),
                                         QStringLiteral("Tesseline LLC/Disk Hub.conf")};
}

void tst_GoodCitizen::leavesNothingInItsHome()
{
    QFETCH(bool, quits);
    QFETCH(QStringList, left);

    const Media media;
    HubProcess hub;
    QVERIFY(hub.WriteStore(hub.ServerSection() + media.Section()));
    QVERIFY(hub.StartAsItIs(quits ? HubProcess::Child()
                                  : QStringList{QStringLiteral(DISK_HUB_BINARY)}));
    UseAll(hub);
    if (quits)
        QCOMPARE(hub.Quit(), EXIT_CODE);
    hub.Kill();
    QCOMPARE(hub.Settings().contains("num_users=0"), quits);

    QStringList found;
    for (const QString &line : Snapshot(hub.Home()))
        found.append(line.section(QLatin1String(".conf "), 0, 0, QString::SectionIncludeTrailingSep)
                         .trimmed());
    QCOMPARE(found, left);
    QCOMPARE(QDir(media.programs.path()).entryList(QDir::AllEntries | QDir::NoDotAndDotDot),
             QStringList{QStringLiteral("new.prg")});
    QCOMPARE(QDir(media.disks.path()).entryList(QDir::AllEntries | QDir::NoDotAndDotDot),
             (QStringList{QStringLiteral("new.d64"), QStringLiteral("odd.dxx")}));
}

void tst_GoodCitizen::writesNoErrors()
{
    const Media media;
    HubProcess hub;
    QVERIFY(hub.WriteStore(hub.ServerSection() + media.Section()));
    QVERIFY(hub.StartAsItIs(HubProcess::Child()));
    UseAll(hub);
    QTcpSocket device;
    hub.Connect(&device);
    QVERIFY(device.waitForConnected(TIMEOUT_MS));
    device.write(SearchRequest("*").chopped(1));
    device.flush();
    Reset(&device);
    QVERIFY(hub.Ask(SearchRequest("*")).Package().valid);
    QCOMPARE(hub.Quit(), EXIT_CODE);
    QCOMPARE(hub.Errors(), QByteArray());
}

void tst_GoodCitizen::errorsAreSeen()
{
    HubProcess hub;
    QVERIFY(hub.WriteStore(hub.ServerSection()));
    QVERIFY(hub.StartAsItIs({QStringLiteral("sh"), QStringLiteral("-c"),
                             QStringLiteral("echo gone >&2; exec \"$0\""),
                             QStringLiteral(DISK_HUB_BINARY)}));
    hub.Kill();
    QCOMPARE(hub.Errors(), QByteArray("gone\n"));
}

void tst_GoodCitizen::changesNothingElsewhere_data()
{
    QTest::addColumn<bool>("quits");

    QTest::newRow("killed") << false;
    QTest::newRow("quit") << true;
}

void tst_GoodCitizen::changesNothingElsewhere()
{
    QFETCH(bool, quits);

    const QString strace = QStandardPaths::findExecutable(QStringLiteral("strace"));
    if (strace.isEmpty())
        QSKIP("no strace here");
    const QTemporaryDir traces;
    const QString trace = traces.filePath(QStringLiteral("trace"));
    QProcess trial;
    trial.start(strace, {QStringLiteral("-o"), trace, QStringLiteral("true")});
    if (!trial.waitForFinished(TIMEOUT_MS) || trial.exitCode() != 0)
        QSKIP("strace may not trace here");

    const Media media;
    HubProcess hub;
    QVERIFY(hub.WriteStore(hub.ServerSection() + media.Section()));
    QVERIFY(hub.StartAsItIs(
        // A leak checker cannot look into what is traced already.
        QStringList{strace, QStringLiteral("-E"), QStringLiteral("ASAN_OPTIONS=detect_leaks=0"),
                    QStringLiteral("-f"), QStringLiteral("-s"), QStringLiteral("4096"),
                    QStringLiteral("-o"), trace, QStringLiteral("-e"),
                    QStringLiteral("trace=") + QLatin1String(CHANGING_CALLS)} +
        (quits ? HubProcess::Child() : QStringList{QStringLiteral(DISK_HUB_BINARY)})));
    UseAll(hub);
    if (quits) {
        QCOMPARE(hub.Quit(), EXIT_CODE);
    } else {
        // The hub itself, which would outlive strace. Each line of the trace starts with its
        // process.
        const int process = ReadFile(trace).split(' ').constFirst().toInt();
        QVERIFY(process > 0);
        QCOMPARE(kill(process, SIGKILL), 0);
        QVERIFY(hub.WaitForEnd());
    }

    QStringList elsewhere;
    int inMedia = 0;
    int inSettings = 0;
    const QString settings = QFileInfo(hub.SettingsPath()).path() + QLatin1Char('/');
    const QStringList lines = QString::fromLocal8Bit(ReadFile(trace)).split(QLatin1Char('\n'));
    for (const QString &line : lines) {
        for (const QString &path : ChangedPaths(line)) {
            // A file may be made without a name first, which names its directory.
            if ((path + QLatin1Char('/')).startsWith(media.programs.path() + QLatin1Char('/')) ||
                (path + QLatin1Char('/')).startsWith(media.disks.path() + QLatin1Char('/')))
                ++inMedia;
            else if ((path + QLatin1Char('/')).startsWith(settings))
                ++inSettings;
            else
                elsewhere.append(line);
        }
    }
    QVERIFY2(elsewhere.isEmpty(), qPrintable(elsewhere.join(QLatin1Char('\n'))));
    QVERIFY(inMedia >= 6);
    QCOMPARE(inSettings > 0, quits);
}

void tst_GoodCitizen::changedPathsAreSeen_data()
{
    QTest::addColumn<QString>("line");
    QTest::addColumn<QStringList>("paths");

    QTest::newRow("open-to-read") << "12 openat(AT_FDCWD, \"/a\", O_RDONLY|O_CLOEXEC) = 3"
                                  << QStringList();
    QTest::newRow("open-to-write") << "12 openat(AT_FDCWD, \"/a\", O_WRONLY|O_CREAT, 0666) = 3"
                                   << QStringList{QStringLiteral("/a")};
    QTest::newRow("open-that-failed")
        << "12 openat(AT_FDCWD, \"/a\", O_WRONLY) = -1 EACCES (Permission denied)" << QStringList();
    QTest::newRow("rename") << "rename(\"/a b\", \"/c\") = 0"
                            << QStringList{QStringLiteral("/a b"), QStringLiteral("/c")};
    QTest::newRow("file-gets-its-name")
        << "linkat(AT_FDCWD, \"/proc/self/fd/8\", AT_FDCWD, \"/a\", AT_SYMLINK_FOLLOW) = 0"
        << QStringList{QStringLiteral("/a")};
    QTest::newRow("directory") << "[pid   12] mkdir(\"/a\", 0777)   = 0"
                               << QStringList{QStringLiteral("/a")};
    QTest::newRow("end") << "12 +++ exited with 0 +++" << QStringList();
}

void tst_GoodCitizen::changedPathsAreSeen()
{
    QFETCH(QString, line);
    QFETCH(QStringList, paths);
    QCOMPARE(ChangedPaths(line), paths);
}

int main(int argc, char **argv)
{
    return RunTestOrHub<tst_GoodCitizen>(argc, argv);
}

#include "tst_GoodCitizen.moc"
