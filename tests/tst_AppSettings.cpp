// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#include "AppSettings.h"

#include "HostFiles.h"
#include "HubSettings.h"

#include <QTemporaryDir>
#include <QTest>
#include <QThread>

#include <atomic>
#include <memory>

#include <sys/stat.h>

namespace
{

const QString MD5_OF_NOTHING =
    QStringLiteral("d41d8cd98f00b204e9800998ecf8427e"); // RFC 1321, section A.5: ""

AppSettings::USER Alice()
{
    return {QStringLiteral("alice"),
            QStringLiteral("AbC"),
            true,
            true,
            QStringLiteral("/alice/disks"),
            QStringLiteral("/alice/programs")};
}

/// The mode of the file that `path` leads to, as chmod takes it; -1 if there is none.
int Mode(const QString &path)
{
    struct stat status = {};
    const bool exists = stat(QFile::encodeName(path).constData(), &status) == 0;
    return exists ? int(status.st_mode & 07777) : -1;
}

bool SetMode(const QString &path, int mode)
{
    return chmod(QFile::encodeName(path).constData(), mode_t(mode)) == 0;
}

/// The path of a file in `directory` that others than its owner can read a digest from; empty if
/// there is none.
QString OpenToOthers(const QString &directory)
{
    const QStringList files = QDir(directory).entryList(QDir::Files | QDir::Hidden);
    for (const QString &name : files) {
        QFile file(QDir(directory).filePath(name));
        struct stat status = {};
        if (file.open(QIODevice::ReadOnly) && fstat(file.handle(), &status) == 0 &&
            (status.st_mode & 077) != 0 && file.readAll().contains("md5="))
            return file.fileName();
    }
    return QString();
}

void Save()
{
    AppSettings settings;
    settings.SetNumUsers(1);
    settings.SetUser(0, Alice());
    settings.Save();
}

/// While it lives new files and directories are everybody's.
class OpenUmask
{
public:
    OpenUmask() = default;
    ~OpenUmask() { umask(mBefore); }
    OpenUmask(const OpenUmask &) = delete;
    OpenUmask &operator=(const OpenUmask &) = delete;

private:
    const mode_t mBefore = umask(0);
};

/// Another language for the keys of a user.
QString InCapitals(const char *pattern)
{
    return QString::fromLatin1(pattern).toUpper();
}

} // namespace

class tst_AppSettings : public QObject
{
    Q_OBJECT

private slots:
    void init();

    void absentKeysHaveDefaults();
    void readsEachKey();
    void writesEachKey();
    void keysOfUsersAreTranslated();
    void whatIsNotSetStays();
    void readingWritesNothing();

    void savedFileIsItsOwnersAlone_data();
    void savedFileIsItsOwnersAlone();
    void newFileIsItsOwnersAlone();
    void linkedFileIsItsOwnersAlone_data();
    void linkedFileIsItsOwnersAlone();
    void nobodyElseReadsItMeanwhile();
    void newDirectoriesAreTheirOwnersAlone();
    void existingDirectoryKeepsItsMode();
    void fileThatMayNotBeWrittenStays();

private:
    QString Directory() const { return QFileInfo(mSettings.FilePath()).path(); }

    const HubSettings mSettings;
};

void tst_AppSettings::init()
{
    mSettings.Remove();
}

void tst_AppSettings::absentKeysHaveDefaults()
{
    const AppSettings settings;
    QCOMPARE(settings.Hub().diskPath, QString());
    QCOMPARE(settings.Hub().programPath, QString());
    QCOMPARE(settings.Hub().validate, false);
    QCOMPARE(settings.Hub().port, 80);
    QCOMPARE(settings.InterfaceName(), QString());
    QCOMPARE(settings.InterfaceAddr(), QString());
    QCOMPARE(settings.NumUsers(), 0);
    const AppSettings::USER user = settings.User(7);
    QCOMPARE(user.name, QStringLiteral("unknown"));
    QCOMPARE(user.md5, MD5_OF_NOTHING);
    QCOMPARE(user.ro, false);
    QCOMPARE(user.own_dir, false);
    QCOMPARE(user.disk_dir, QString());
    QCOMPARE(user.program_dir, QString());
}

void tst_AppSettings::readsEachKey()
{
    QVERIFY(mSettings.Write("[access]\nnum_users=2\n"
                            "user_1\\disk_dir=/alice/disks\nuser_1\\md5=AbC\nuser_1\\name=alice\n"
                            "user_1\\own_dir=true\nuser_1\\program_dir=/alice/programs\n"
                            "user_1\\ro=1\n"
                            "[media]\ndisk_path=/disks\nprogram_path=/programs\n"
                            "[security]\nvalidate=true\n"
                            "[server]\nactive_ifc_addr=192.0.2.1\nactive_ifc_name=eth0\n"
                            "port=6410\n"));
    const AppSettings settings;
    QCOMPARE(settings.Hub().diskPath, QStringLiteral("/disks"));
    QCOMPARE(settings.Hub().programPath, QStringLiteral("/programs"));
    QCOMPARE(settings.Hub().validate, true);
    QCOMPARE(settings.Hub().port, 6410);
    QCOMPARE(settings.InterfaceName(), QStringLiteral("eth0"));
    QCOMPARE(settings.InterfaceAddr(), QStringLiteral("192.0.2.1"));
    QCOMPARE(settings.NumUsers(), 2);
    QCOMPARE(settings.User(0).name, QStringLiteral("unknown"));
    const AppSettings::USER user = settings.User(1);
    QCOMPARE(user.name, QStringLiteral("alice"));
    QCOMPARE(user.md5, QStringLiteral("AbC"));
    QCOMPARE(user.ro, true);
    QCOMPARE(user.own_dir, true);
    QCOMPARE(user.disk_dir, QStringLiteral("/alice/disks"));
    QCOMPARE(user.program_dir, QStringLiteral("/alice/programs"));
}

void tst_AppSettings::writesEachKey()
{
    AppSettings settings;
    settings.SetHub({QStringLiteral("/disks"), QStringLiteral("/programs"), true, 6410});
    settings.SetInterface(QStringLiteral("eth0"), QStringLiteral("192.0.2.1"));
    settings.SetNumUsers(1);
    settings.SetUser(0, Alice());
    QVERIFY(!QFile::exists(mSettings.FilePath()));
    settings.Save();
    QCOMPARE(mSettings.Read(), QByteArray("[access]\n"
                                          "num_users=1\n"
                                          "user_0\\disk_dir=/alice/disks\n"
                                          "user_0\\md5=AbC\n"
                                          "user_0\\name=alice\n"
                                          "user_0\\own_dir=true\n"
                                          "user_0\\program_dir=/alice/programs\n"
                                          "user_0\\ro=1\n"
                                          "\n"
                                          "[media]\n"
                                          "disk_path=/disks\n"
                                          "program_path=/programs\n"
                                          "\n"
                                          "[security]\n"
                                          "validate=true\n"
                                          "\n"
                                          "[server]\n"
                                          "active_ifc_addr=192.0.2.1\n"
                                          "active_ifc_name=eth0\n"
                                          "port=6410\n"));
}

void tst_AppSettings::keysOfUsersAreTranslated()
{
    SKIP_ON_WINDOWS("the registry does not tell keys apart by case");
    AppSettings settings(InCapitals);
    settings.SetUser(0, Alice());
    settings.SetNumUsers(1);
    settings.Save();
    QCOMPARE(mSettings.Read(), QByteArray("[ACCESS]\n"
                                          "USER_0\\DISK_DIR=/alice/disks\n"
                                          "USER_0\\MD5=AbC\n"
                                          "USER_0\\NAME=alice\n"
                                          "USER_0\\OWN_DIR=true\n"
                                          "USER_0\\PROGRAM_DIR=/alice/programs\n"
                                          "USER_0\\RO=1\n"
                                          "\n"
                                          "[access]\n"
                                          "num_users=1\n"));
    QCOMPARE(AppSettings(InCapitals).User(0).name, QStringLiteral("alice"));
    QCOMPARE(AppSettings().User(0).name, QStringLiteral("unknown"));
}

void tst_AppSettings::whatIsNotSetStays()
{
    QVERIFY(mSettings.Write("[access]\nuser_0\\name=bob\n[server]\nactive_ifc_name=eth0\nport=1\n"
                            "[window]\nwidth=399\n"));
    AppSettings settings;
    settings.SetNumUsers(0);
    settings.SetHub(AppSettings::HUB());
    settings.Save();
    QVERIFY(mSettings.Read().contains("user_0\\name=bob\n"));
    QVERIFY(mSettings.Read().contains("active_ifc_name=eth0\nport=80\n"));
    QVERIFY(!mSettings.Read().contains("active_ifc_addr"));
    QVERIFY(mSettings.Read().contains("[window]\nwidth=399\n"));
}

void tst_AppSettings::readingWritesNothing()
{
    SKIP_ON_WINDOWS("the registry has no comments");
    const QByteArray text = "; a comment that a writer would lose\n[server]\nport=1\n";
    QVERIFY(mSettings.Write(text));
    QCOMPARE(AppSettings().Hub().port, 1);
    QCOMPARE(mSettings.Read(), text);

    QVERIFY(mSettings.Remove());
    QCOMPARE(AppSettings().NumUsers(), 0);
    QVERIFY(!QFile::exists(mSettings.FilePath()));
}

void tst_AppSettings::savedFileIsItsOwnersAlone_data()
{
    QTest::addColumn<int>("before");

    QTest::newRow("usual") << 0644;
    QTest::newRow("group-writes") << 0664;
    QTest::newRow("everybody-writes") << 0666;
    QTest::newRow("executable") << 0755;
    QTest::newRow("owner-alone") << 0600;
}

void tst_AppSettings::savedFileIsItsOwnersAlone()
{
    SKIP_ON_WINDOWS("Windows has other permissions");
    QFETCH(int, before);

    QVERIFY(mSettings.Write("[server]\nport=1\n"));
    QVERIFY(SetMode(mSettings.FilePath(), before));
    Save();
    QVERIFY(mSettings.Read().contains("port=1\n"));
    QVERIFY(mSettings.Read().contains("md5=AbC\n"));
    QCOMPARE(Mode(mSettings.FilePath()), 0600);
}

void tst_AppSettings::newFileIsItsOwnersAlone()
{
    SKIP_ON_WINDOWS("Windows has other permissions");
    const OpenUmask open;
    QVERIFY(QDir().mkpath(Directory()));
    Save();
    QVERIFY(mSettings.Read().contains("md5=AbC\n"));
    QCOMPARE(Mode(mSettings.FilePath()), 0600);
}

void tst_AppSettings::linkedFileIsItsOwnersAlone_data()
{
    QTest::addColumn<bool>("exists");

    QTest::newRow("existing") << true;
    QTest::newRow("to-be-made") << false;
}

void tst_AppSettings::linkedFileIsItsOwnersAlone()
{
    SKIP_ON_WINDOWS("Windows lets only administrators make links");
    QFETCH(bool, exists);

    const OpenUmask open;
    const QTemporaryDir elsewhere;
    const QString target = elsewhere.filePath(QStringLiteral("hub.conf"));
    QVERIFY(!exists || WriteFile(target, "[server]\nport=1\n"));
    QVERIFY(QDir().mkpath(Directory()) && MakeLink(target, mSettings.FilePath()));
    Save();
    QVERIFY(QFileInfo(mSettings.FilePath()).isSymLink());
    QVERIFY(ReadFile(target).contains("md5=AbC\n"));
    QCOMPARE(Mode(target), 0600);
}

void tst_AppSettings::nobodyElseReadsItMeanwhile()
{
    SKIP_ON_WINDOWS("Windows has other permissions");
    // A watcher looks at whatever lies in the directory while the file is made many times.
    constexpr int TIMES = 50;

    const OpenUmask open;
    QVERIFY(QDir().mkpath(Directory()));
    std::atomic_bool done{false};
    QString seen;
    const std::unique_ptr<QThread> watcher(QThread::create([&] {
        while (!done && seen.isEmpty())
            seen = OpenToOthers(Directory());
    }));
    watcher->start();
    for (int i = 0; i < TIMES; ++i) {
        Save();
        mSettings.Remove();
    }
    done = true;
    watcher->wait();
    QCOMPARE(seen, QString());
}

void tst_AppSettings::newDirectoriesAreTheirOwnersAlone()
{
    SKIP_ON_WINDOWS("Windows has other permissions");
    const OpenUmask open;
    const QString home = QFileInfo(Directory()).path();
    QVERIFY(QDir(Directory()).removeRecursively());
    QVERIFY(QDir().rename(home, home + QStringLiteral(".away")));
    Save();
    QCOMPARE(Mode(home), 0700);
    QCOMPARE(Mode(Directory()), 0700);
    QCOMPARE(Mode(mSettings.FilePath()), 0600);
    QVERIFY(mSettings.Read().contains("md5=AbC\n"));
    QVERIFY(QDir().rmdir(home + QStringLiteral(".away")));
}

void tst_AppSettings::existingDirectoryKeepsItsMode()
{
    SKIP_ON_WINDOWS("Windows has other permissions");
    QVERIFY(QDir().mkpath(Directory()) && SetMode(Directory(), 0750));
    Save();
    QCOMPARE(Mode(Directory()), 0750);
    QCOMPARE(Mode(mSettings.FilePath()), 0600);
    QVERIFY(SetMode(Directory(), 0755));
}

void tst_AppSettings::fileThatMayNotBeWrittenStays()
{
    SKIP_ON_WINDOWS("Windows has other permissions");
    const QByteArray text = "[server]\nport=1\n";
    QVERIFY(mSettings.Write(text) && SetMode(mSettings.FilePath(), 0444));
    const QString home = QFileInfo(Directory()).path();
    QVERIFY(SetMode(home, 0755));
    {
        const OrdinaryUser user;
        Save();
    }
    QVERIFY(SetMode(home, 0700));
    QCOMPARE(mSettings.Read(), text);
    QCOMPARE(Mode(mSettings.FilePath()), 0444);
}

QTEST_APPLESS_MAIN(tst_AppSettings)

#include "tst_AppSettings.moc"
