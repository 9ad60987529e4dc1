// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#include "AppDiskHub.h"
#include "HostFiles.h"
#include "HubFixture.h"

#include <QTest>
#include <QTranslator>

namespace
{

constexpr char MD5_OF_NOTHING[] = "d41d8cd98f00b204e9800998ecf8427e"; // RFC 1321, section A.5: ""

/// A user as text, so that a failed comparison shows it.
QString Describe(const AppDiskHub::USER &user)
{
    return QStringLiteral("%1 %2 %3 %4 %5 %6")
        .arg(user.name, user.md5, user.ro ? QStringLiteral("ro") : QStringLiteral("rw"),
             user.own_dir ? QStringLiteral("own") : QStringLiteral("global"), user.disk_dir,
             user.program_dir);
}

QString DefaultUser(const char *name)
{
    return QLatin1String(name) + QLatin1Char(' ') + QLatin1String(MD5_OF_NOTHING) +
           QLatin1String(" rw global  ");
}

QStringList Describe(const HubFixture &hub)
{
    QStringList users;
    for (int i = 0; i < hub->NumUsers(); ++i)
        users.append(Describe(*hub->User(i)));
    return users;
}

QStringList NamesOf(const HubFixture &hub)
{
    QStringList names;
    for (int i = 0; i < hub->NumUsers(); ++i)
        names.append(hub->User(i)->name);
    return names;
}

/// The lines of a user's keys as they stand in the file, which sorts them.
QByteArray UserLines(int index, const QByteArray &name)
{
    const QByteArray user = "user_" + QByteArray::number(index) + '\\';
    return user + "disk_dir=\n" + user + "md5=" + MD5_OF_NOTHING + '\n' + user + "name=" + name +
           '\n' + user + "own_dir=false\n" + user + "program_dir=\n" + user + "ro=0\n";
}

/// Another language for the keys of a user.
class KeyTranslator : public QTranslator
{
public:
    bool isEmpty() const override { return false; }

    QString translate(const char *context, const char *sourceText, const char *, int) const override
    {
        const QString text = QString::fromUtf8(sourceText);
        if (qstrcmp(context, "AppDiskHub") != 0 || !text.startsWith(QLatin1String("access/user_")))
            return QString();
        return QLatin1String("access/person_") + text.mid(12);
    }
};

} // namespace

class tst_Settings : public QObject
{
    Q_OBJECT

private slots:
    void init();

    void freshStoreGivesDefaults();
    void loadsEachKey();
    void loadReplacesTheUsers();
    void loadValidatesNothing();
    void missingKeysOfAUserTakeDefaults();
    void wrongTypesAreConverted_data();
    void wrongTypesAreConverted();
    void userFlagsAreRead_data();
    void userFlagsAreRead();
    void garbageGivesDefaults_data();
    void garbageGivesDefaults();

    void restoresTheInterface_data();
    void restoresTheInterface();
    void restoresNoInterfaceIntoAnEmptyList();
    void startSelectsTheSavedInterface();

    void savesTheFileAsText();
    void savesFlagsAsIntegerAndBool_data();
    void savesFlagsAsIntegerAndBool();
    void savesNoInterfaceWithoutASelectedOne();
    void savesTheSelectedInterface();
    void formerUsersStayInTheFile();
    void otherKeysStayInTheFile();
    void savesOnlyAtTheEnd();
    void savedFileIsItsOwnersAlone();
    void storeInAForeignPlaceIsLeftAlone();
    void forbiddenStoreIsLeftAlone();
    void valuesComeBack_data();
    void valuesComeBack();
    void keysOfUsersAreTranslatable();

private:
    HubSettings mSettings;
};

void tst_Settings::init()
{
    QFile::remove(QFileInfo(mSettings.FilePath()).path());
    QVERIFY(mSettings.Write(HubSettings::Loopback()));
}

void tst_Settings::freshStoreGivesDefaults()
{
    const HubFixture hub;
    hub->ScanInterfaces();
    const int scanned = hub->mActiveIfc;
    hub->mPort = 1;
    hub->mValidate = true;
    hub->mDiskPath = QStringLiteral("/disks");
    hub->mProgramPath = QStringLiteral("/programs");
    hub->AddUser(QStringLiteral("alice"));
    hub.ClearLog();

    QVERIFY(mSettings.Remove());
    hub->LoadSettings();
    QCOMPARE(hub->mPort, 80);
    QCOMPARE(hub->mValidate, false);
    QCOMPARE(hub->mDiskPath, QString());
    QCOMPARE(hub->mProgramPath, QString());
    QCOMPARE(hub->NumUsers(), 0);
    QCOMPARE(hub->mActiveIfc, scanned);
    QCOMPARE(hub.Log(), QStringList());
    QVERIFY(!QFile::exists(mSettings.FilePath()));
}

void tst_Settings::loadsEachKey()
{
    QVERIFY(mSettings.Write(HubSettings::Loopback().replace("port=0", "port=65536") +
                            "[media]\ndisk_path=/my/disks\nprogram_path=/my/programs\n"
                            "[security]\nvalidate=true\n"
                            "[access]\nnum_users=2\n"
                            "user_0\\name=alice\nuser_0\\md5=AbC\nuser_0\\ro=1\n"
                            "user_0\\own_dir=true\nuser_0\\disk_dir=/alice/disks\n"
                            "user_0\\program_dir=/alice/programs\n"
                            "user_1\\name=bob\nuser_1\\md5=dEf\nuser_1\\ro=0\n"
                            "user_1\\own_dir=false\nuser_1\\disk_dir=/bob/disks\n"
                            "user_1\\program_dir=/bob/programs\n"));
    const HubFixture hub;
    QCOMPARE(hub->mPort, 65536);
    QCOMPARE(hub->mDiskPath, QStringLiteral("/my/disks"));
    QCOMPARE(hub->mProgramPath, QStringLiteral("/my/programs"));
    QCOMPARE(hub->mValidate, true);
    QCOMPARE(Describe(hub),
             (QStringList{QStringLiteral("alice AbC ro own /alice/disks /alice/programs"),
                          QStringLiteral("bob dEf rw global /bob/disks /bob/programs")}));
}

void tst_Settings::loadReplacesTheUsers()
{
    QVERIFY(mSettings.Write(HubSettings::Loopback() + "[access]\nnum_users=1\nuser_0\\name=bob\n"));
    const HubFixture hub;
    hub->AddUser(QStringLiteral("carol"));
    hub->LoadSettings();
    hub->LoadSettings();
    QCOMPARE(NamesOf(hub), QStringList{QStringLiteral("bob")});
}

void tst_Settings::loadValidatesNothing()
{
    QVERIFY(mSettings.Write(HubSettings::Loopback().replace("port=0", "port=-65536") +
                            "[media]\ndisk_path=/not/there\n"
                            "[access]\nnum_users=3\n"
                            "user_0\\name=\nuser_1\\name=bob\nuser_1\\md5=\nuser_2\\name=bob\n"));
    const HubFixture hub;
    QCOMPARE(hub->mPort, -65536);
    QCOMPARE(hub->mDiskPath, QStringLiteral("/not/there"));
    QCOMPARE(NamesOf(hub), (QStringList{QString(), QStringLiteral("bob"), QStringLiteral("bob")}));
    QCOMPARE(hub->User(1)->md5, QString());
}

void tst_Settings::missingKeysOfAUserTakeDefaults()
{
    QVERIFY(mSettings.Write(HubSettings::Loopback() + "[access]\nnum_users=3\nuser_0\\name=alice\n"
                                                      "user_2\\ro=1\n"));
    const HubFixture hub;
    QCOMPARE(Describe(hub), (QStringList{DefaultUser("alice"), DefaultUser("unknown"),
                                         DefaultUser("unknown").replace(QLatin1String("rw"),
                                                                        QLatin1String("ro"))}));
}

void tst_Settings::wrongTypesAreConverted_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<int>("port");
    QTest::addColumn<bool>("validate");
    QTest::addColumn<int>("users");

    const auto port = [](const char *value) {
        return QByteArray("[server]\nport=") + value + '\n';
    };
    const auto validate = [](const char *value) {
        return QByteArray("[security]\nvalidate=") + value + '\n';
    };
    const auto users = [](const char *value) {
        return QByteArray("[access]\nnum_users=") + value + '\n';
    };

    QTest::newRow("port-above-65535") << port("70000") << 70000 << false << 0;
    QTest::newRow("port-negative") << port("-1") << -1 << false << 0;
    QTest::newRow("port-zero") << port("0") << 0 << false << 0;
    QTest::newRow("port-text") << port("http") << 0 << false << 0;
    QTest::newRow("port-empty") << port("") << 0 << false << 0;
    QTest::newRow("port-hexadecimal") << port("0x50") << 0 << false << 0;
    QTest::newRow("port-beyond-32-bits") << port("99999999999999999999") << 0 << false << 0;
    QTest::newRow("port-list") << port("80, 81") << 0 << false << 0;
    QTest::newRow("validate-true") << validate("true") << 80 << true << 0;
    QTest::newRow("validate-one") << validate("1") << 80 << true << 0;
    QTest::newRow("validate-other-text") << validate("yes") << 80 << true << 0;
    QTest::newRow("validate-false") << validate("false") << 80 << false << 0;
    QTest::newRow("validate-zero") << validate("0") << 80 << false << 0;
    QTest::newRow("validate-empty") << validate("") << 80 << false << 0;
    QTest::newRow("users-text") << users("many") << 80 << false << 0;
    QTest::newRow("users-empty") << users("") << 80 << false << 0;
    QTest::newRow("users-zero") << users("0") << 80 << false << 0;
    QTest::newRow("users-negative") << users("-3") << 80 << false << 0;
    QTest::newRow("users-lowest") << users("-2147483648") << 80 << false << 0;
    QTest::newRow("users-bool") << users("true") << 80 << false << 0;
    QTest::newRow("users-as-quoted-text") << users("\"2\"") << 80 << false << 2;
}

void tst_Settings::wrongTypesAreConverted()
{
    QFETCH(QByteArray, text);
    QFETCH(int, port);
    QFETCH(bool, validate);
    QFETCH(int, users);

    const HubFixture hub;
    hub->AddUser(QStringLiteral("alice"));
    hub.ClearLog();
    QVERIFY(mSettings.Write(text));
    hub->LoadSettings();
    QCOMPARE(hub->mPort, port);
    QCOMPARE(hub->mValidate, validate);
    QCOMPARE(hub->NumUsers(), users);
    QCOMPARE(hub.Log(), QStringList());
}

void tst_Settings::userFlagsAreRead_data()
{
    QTest::addColumn<QByteArray>("value");
    QTest::addColumn<bool>("flag");

    QTest::newRow("zero") << QByteArray("0") << false;
    QTest::newRow("one") << QByteArray("1") << true;
    QTest::newRow("two") << QByteArray("2") << true;
    QTest::newRow("false") << QByteArray("false") << false;
    QTest::newRow("true") << QByteArray("true") << true;
    QTest::newRow("empty") << QByteArray("") << false;
    QTest::newRow("text") << QByteArray("on") << true;
}

void tst_Settings::userFlagsAreRead()
{
    QFETCH(QByteArray, value);
    QFETCH(bool, flag);

    const QByteArray users =
        "[access]\nnum_users=2\nuser_0\\ro=" + value + "\nuser_1\\own_dir=" + value + '\n';
    QVERIFY(mSettings.Write(HubSettings::Loopback() + users));
    const HubFixture hub;
    QCOMPARE(hub->User(0)->ro, flag);
    QCOMPARE(hub->User(0)->own_dir, false);
    QCOMPARE(hub->User(1)->ro, false);
    QCOMPARE(hub->User(1)->own_dir, flag);
}

void tst_Settings::garbageGivesDefaults_data()
{
    QTest::addColumn<QByteArray>("text");

    QByteArray bytes;
    for (int i = 0; i < 4096; ++i)
        bytes += char((i * 7919) >> 3);
    QTest::newRow("bytes") << bytes;
    QTest::newRow("nul-bytes") << QByteArray(1000, '\0');
    QTest::newRow("empty-file") << QByteArray("");
    QTest::newRow("key-without-value") << QByteArray("[server]\nport\n[access]\nnum_users\n");
    QTest::newRow("keys-without-section") << QByteArray("port=1\nvalidate=true\nnum_users=1\n");
    QTest::newRow("other-letter-case") << QByteArray("[Server]\nPort=1\n[Access]\nNum_Users=1\n");
}

void tst_Settings::garbageGivesDefaults()
{
    QFETCH(QByteArray, text);
    if (qstrcmp(QTest::currentDataTag(), "other-letter-case") == 0)
        SKIP_ON_WINDOWS("the registry does not tell keys apart by case");

    const HubFixture hub;
    const int active = hub->mActiveIfc;
    hub->AddUser(QStringLiteral("alice"));
    hub.ClearLog();
    QVERIFY(mSettings.Write(text));
    hub->LoadSettings();
    QCOMPARE(hub->mPort, 80);
    QCOMPARE(hub->mValidate, false);
    QCOMPARE(hub->mDiskPath, QString());
    QCOMPARE(hub->mProgramPath, QString());
    QCOMPARE(hub->NumUsers(), 0);
    QCOMPARE(hub->mActiveIfc, active);
    QCOMPARE(hub.Log(), QStringList());
}

void tst_Settings::restoresTheInterface_data()
{
    QTest::addColumn<QByteArray>("name");
    QTest::addColumn<QByteArray>("address");
    QTest::addColumn<int>("active");

    // The list is eth0 192.0.2.1, eth0 192.0.2.2, wlan0 192.0.2.3, lo 127.0.0.1; the second was
    // selected before.
    QTest::newRow("first") << QByteArray("eth0") << QByteArray("192.0.2.1") << 0;
    QTest::newRow("second-address-of-a-name") << QByteArray("eth0") << QByteArray("192.0.2.2") << 1;
    QTest::newRow("third") << QByteArray("wlan0") << QByteArray("192.0.2.3") << 2;
    QTest::newRow("last") << QByteArray("lo") << QByteArray("127.0.0.1") << 3;
    QTest::newRow("other-address-selects-the-last")
        << QByteArray("eth0") << QByteArray("192.0.2.9") << 3;
    QTest::newRow("other-name-selects-the-last")
        << QByteArray("eth9") << QByteArray("192.0.2.1") << 3;
    QTest::newRow("name-and-address-of-two-records-select-the-last")
        << QByteArray("wlan0") << QByteArray("192.0.2.1") << 3;
    QTest::newRow("neither-selects-the-last") << QByteArray("eth9") << QByteArray("192.0.2.9") << 3;
    QTest::newRow("other-letter-case-selects-the-last")
        << QByteArray("ETH0") << QByteArray("192.0.2.1") << 3;
    QTest::newRow("address-in-other-form-selects-the-last")
        << QByteArray("eth0") << QByteArray("192.0.2.001") << 3;
    QTest::newRow("address-that-is-none-selects-the-last")
        << QByteArray("eth0") << QByteArray("none") << 3;
    QTest::newRow("empty-name-keeps") << QByteArray("") << QByteArray("192.0.2.1") << 1;
    QTest::newRow("empty-address-keeps") << QByteArray("eth0") << QByteArray("") << 1;
    QTest::newRow("both-empty-keep") << QByteArray("") << QByteArray("") << 1;
    QTest::newRow("name-alone-keeps") << QByteArray("eth0") << QByteArray() << 1;
    QTest::newRow("address-alone-keeps") << QByteArray() << QByteArray("192.0.2.1") << 1;
    QTest::newRow("no-keys-keep") << QByteArray() << QByteArray() << 1;
}

void tst_Settings::restoresTheInterface()
{
    QFETCH(QByteArray, name);
    QFETCH(QByteArray, address);
    QFETCH(int, active);

    const HubFixture hub;
    const char *const list[][2] = {
        {"eth0", "192.0.2.1"}, {"eth0", "192.0.2.2"}, {"wlan0", "192.0.2.3"}, {"lo", "127.0.0.1"}};
    hub->mInterfaces.clear();
    for (const auto &record : list)
        hub->mInterfaces.append({QLatin1String(record[0]), QHostAddress(QLatin1String(record[1]))});
    hub->mActiveIfc = 1;

    QByteArray text = "[server]\nport=0\n";
    if (!name.isNull())
        text += "active_ifc_name=" + name + '\n';
    if (!address.isNull())
        text += "active_ifc_addr=" + address + '\n';
    QVERIFY(mSettings.Write(text));
    hub->LoadSettings();
    QCOMPARE(hub->mActiveIfc, active);
}

void tst_Settings::restoresNoInterfaceIntoAnEmptyList()
{
    const HubFixture hub;
    hub->mInterfaces.clear();
    hub->mActiveIfc = -1;
    hub->LoadSettings();
    QCOMPARE(hub->mActiveIfc, -1);
}

void tst_Settings::startSelectsTheSavedInterface()
{
    {
        const HubFixture hub;
        QCOMPARE(hub->mInterfaces.at(hub->mActiveIfc).addr, QHostAddress(QHostAddress::LocalHost));
    }
    QVERIFY(mSettings.Write("[server]\nport=0\nactive_ifc_name=gone\nactive_ifc_addr=192.0.2.9\n"));
    const HubFixture hub;
    QCOMPARE(hub->mActiveIfc, int(hub->mInterfaces.size()) - 1);
}

void tst_Settings::savesTheFileAsText()
{
    const HubFixture hub;
    hub->mDiskPath = QStringLiteral("/disks");
    hub->mProgramPath = QStringLiteral("/programs");
    hub->mValidate = true;
    hub->mPort = 70000;
    hub->mInterfaces = {{QStringLiteral("eth0"), QHostAddress(QStringLiteral("192.0.2.1"))},
                        {QStringLiteral("wlan0"), QHostAddress(QStringLiteral("192.0.2.3"))}};
    hub->mActiveIfc = 1;
    AppDiskHub::USER *alice = hub->User(hub->AddUser(QStringLiteral("alice")));
    alice->md5 = QStringLiteral("0cc175b9c0f1b6a831c399e269772661");
    alice->ro = true;
    alice->own_dir = true;
    alice->disk_dir = QStringLiteral("/alice/disks");
    alice->program_dir = QStringLiteral("/alice/programs");
    hub->AddUser(QStringLiteral("bob"));
    QVERIFY(mSettings.Remove());
    hub->SaveSettings();

    QCOMPARE(mSettings.Read(), "[access]\n"
                               "num_users=2\n"
                               "user_0\\disk_dir=/alice/disks\n"
                               "user_0\\md5=0cc175b9c0f1b6a831c399e269772661\n"
                               "user_0\\name=alice\n"
                               "user_0\\own_dir=true\n"
                               "user_0\\program_dir=/alice/programs\n"
                               "user_0\\ro=1\n" +
                                   UserLines(1, "bob") +
                                   "\n"
                                   "[media]\n"
                                   "disk_path=/disks\n"
                                   "program_path=/programs\n"
                                   "\n"
                                   "[security]\n"
                                   "validate=true\n"
                                   "\n"
                                   "[server]\n"
                                   "active_ifc_addr=192.0.2.3\n"
                                   "active_ifc_name=wlan0\n"
                                   "port=70000\n");
}

void tst_Settings::savesFlagsAsIntegerAndBool_data()
{
    QTest::addColumn<bool>("ro");
    QTest::addColumn<bool>("ownDir");
    QTest::addColumn<QByteArray>("roLine");
    QTest::addColumn<QByteArray>("ownDirLine");

    QTest::newRow("neither") << false << false << QByteArray("ro=0") << QByteArray("own_dir=false");
    QTest::newRow("read-only") << true << false << QByteArray("ro=1")
                               << QByteArray("own_dir=false");
    QTest::newRow("own-directories")
        << false << true << QByteArray("ro=0") << QByteArray("own_dir=true");
    QTest::newRow("both") << true << true << QByteArray("ro=1") << QByteArray("own_dir=true");
}

void tst_Settings::savesFlagsAsIntegerAndBool()
{
    QFETCH(bool, ro);
    QFETCH(bool, ownDir);
    QFETCH(QByteArray, roLine);
    QFETCH(QByteArray, ownDirLine);

    const HubFixture hub;
    AppDiskHub::USER *user = hub->User(hub->AddUser(QStringLiteral("alice")));
    user->ro = ro;
    user->own_dir = ownDir;
    hub->SaveSettings();
    QVERIFY(mSettings.Read().contains("\nuser_0\\" + roLine + '\n'));
    QVERIFY(mSettings.Read().contains("\nuser_0\\" + ownDirLine + '\n'));
}

void tst_Settings::savesNoInterfaceWithoutASelectedOne()
{
    const HubFixture hub;
    hub->mActiveIfc = -1;
    QVERIFY(
        mSettings.Write("[server]\nport=1\nactive_ifc_name=former\nactive_ifc_addr=192.0.2.9\n"));
    hub->SaveSettings();
    QVERIFY(mSettings.Read().contains("port=0\n"));
    QVERIFY(mSettings.Read().contains("active_ifc_name=former\n"));
    QVERIFY(mSettings.Read().contains("active_ifc_addr=192.0.2.9\n"));

    QVERIFY(mSettings.Remove());
    hub->SaveSettings();
    QVERIFY(mSettings.Read().contains("port=0\n"));
    QVERIFY(!mSettings.Read().contains("active_ifc"));
}

void tst_Settings::savesTheSelectedInterface()
{
    const HubFixture hub;
    hub->mInterfaces.append({QStringLiteral("wlan0"), QHostAddress(QStringLiteral("192.0.2.3"))});
    hub->mActiveIfc = int(hub->mInterfaces.size()) - 1;
    hub->SaveSettings();
    QVERIFY(mSettings.Read().contains("active_ifc_name=wlan0\n"));
    QVERIFY(mSettings.Read().contains("active_ifc_addr=192.0.2.3\n"));

    hub->mActiveIfc = 0;
    hub->SaveSettings();
    QVERIFY(mSettings.Read().contains(
        "active_ifc_addr=" + hub->mInterfaces.at(0).addr.toString().toLatin1() + '\n'));
}

void tst_Settings::formerUsersStayInTheFile()
{
    SKIP_ON_WINDOWS("the registry has an order of its own");
    {
        const HubFixture hub;
        for (const char *name : {"a", "b", "c", "d", "e"})
            hub->AddUser(QLatin1String(name));
    }
    QVERIFY(mSettings.Read().contains("num_users=5\n"));
    {
        const HubFixture hub;
        QCOMPARE(hub->NumUsers(), 5);
        hub->RemUser(1);
        hub->RemUser(1);
    }
    const QByteArray text = mSettings.Read();
    QCOMPARE(text.left(text.indexOf("\n[media]\n")), "[access]\nnum_users=3\n" + UserLines(0, "a") +
                                                         UserLines(1, "d") + UserLines(2, "e") +
                                                         UserLines(3, "d") + UserLines(4, "e"));
    const HubFixture hub;
    QCOMPARE(Describe(hub), (QStringList{DefaultUser("a"), DefaultUser("d"), DefaultUser("e")}));
}

void tst_Settings::otherKeysStayInTheFile()
{
    const HubFixture hub;
    QVERIFY(mSettings.Write("[window]\nwidth=399\n[server]\nport=1\nbacklog=5\n"));
    hub->SaveSettings();
    QVERIFY(mSettings.Read().contains("[window]\nwidth=399\n"));
    QVERIFY(mSettings.Read().contains("backlog=5\n"));
    QVERIFY(mSettings.Read().contains("port=0\n"));
}

void tst_Settings::savesOnlyAtTheEnd()
{
    const QByteArray before = mSettings.Read();
    HubFixture hub;
    hub->mValidate = true;
    hub->mDiskPath = QStringLiteral("/disks");
    hub->AddUser(QStringLiteral("alice"));
    hub->SyncUi();
    hub->RestartServer();
    QVERIFY(hub.Send(FormRequest({{"cmd", "1"}})).Package().valid);
    QCOMPARE(mSettings.Read(), before);

    hub.Quit();
    QVERIFY(mSettings.Read().contains("validate=true\n"));
    QVERIFY(mSettings.Read().contains("disk_path=/disks\n"));
    QVERIFY(mSettings.Read().contains("user_0\\name=alice\n"));
}

void tst_Settings::savedFileIsItsOwnersAlone()
{
    SKIP_ON_WINDOWS("Windows has other permissions");
    QVERIFY(QFile::setPermissions(mSettings.FilePath(), QFile::ReadOwner | QFile::WriteOwner |
                                                            QFile::ReadGroup | QFile::ReadOther));
    HubFixture().Quit();
    constexpr QFile::Permissions OTHERS = QFile::ReadGroup | QFile::WriteGroup | QFile::ExeGroup |
                                          QFile::ReadOther | QFile::WriteOther | QFile::ExeOther;
    QCOMPARE(QFile::permissions(mSettings.FilePath()) & OTHERS, QFile::Permissions());
}

void tst_Settings::storeInAForeignPlaceIsLeftAlone()
{
    SKIP_ON_WINDOWS("the registry is no file");
    // Where the directory of the store should be, there is a file.
    const QString directory = QFileInfo(mSettings.FilePath()).path();
    const HubFixture hub;
    QVERIFY(mSettings.Remove());
    QVERIFY(QDir().rmdir(directory));
    QVERIFY(WriteFile(directory, "a file"));
    hub->AddUser(QStringLiteral("alice"));
    hub->mPort = 1;
    hub.ClearLog();

    hub->SaveSettings();
    QCOMPARE(hub.Log(), QStringList());
    QCOMPARE(ReadFile(directory), QByteArray("a file"));
    hub->LoadSettings();
    QCOMPARE(hub->mPort, 80);
    QCOMPARE(hub->NumUsers(), 0);
    QCOMPARE(hub.Log(), QStringList());
}

void tst_Settings::forbiddenStoreIsLeftAlone()
{
    SKIP_ON_WINDOWS("Windows has other permissions");
    const HubFixture hub;
    QVERIFY(mSettings.Write("[server]\nport=8080\n"));
    const QString directory = QFileInfo(mSettings.FilePath()).path();
    QVERIFY(QFile::setPermissions(mSettings.FilePath(), QFileDevice::Permissions()));
    QVERIFY(QFile::setPermissions(directory, QFileDevice::ReadOwner | QFileDevice::ExeOwner));
    hub->mPort = 1;
    hub.ClearLog();
    {
        const OrdinaryUser user;
        hub->SaveSettings();
        QCOMPARE(hub.Log(), QStringList());
        hub->LoadSettings();
        QCOMPARE(hub->mPort, 80);
        QCOMPARE(hub.Log(), QStringList());
    }
    QVERIFY(QFile::setPermissions(directory, QFileDevice::ReadOwner | QFileDevice::WriteOwner |
                                                 QFileDevice::ExeOwner));
    QVERIFY(QFile::setPermissions(mSettings.FilePath(),
                                  QFileDevice::ReadOwner | QFileDevice::WriteOwner));
    QCOMPARE(mSettings.Read(), QByteArray("[server]\nport=8080\n"));
}

void tst_Settings::valuesComeBack_data()
{
    QTest::addColumn<QString>("text");

    QTest::newRow("plain") << "/home/alice/disks";
    QTest::newRow("empty") << "";
    QTest::newRow("blanks-around") << "  a  b  ";
    QTest::newRow("separators") << "a,b;c:d=e[f]#g";
    QTest::newRow("quotes-and-backslashes") << "C:\\disks\\\"new\"\\x41";
    QTest::newRow("percent") << "%1 100% %20";
    QTest::newRow("at-sign") << "@disk:";
    QTest::newRow("text-of-a-variant") << "@Invalid()";
    QTest::newRow("number") << "007";
    QTest::newRow("bool") << "false";
    QTest::newRow("control-characters") << "a\nb\tc\rd";
    QTest::newRow("latin-1") << QString::fromUtf8("\xC3\xA4\xC3\xB6\xC3\xBC\xC3\x9F");
    QTest::newRow("beyond-latin-1") << QString::fromUtf8("\xE2\x82\xAC\xF0\x9F\x92\xBE");
}

void tst_Settings::valuesComeBack()
{
    QFETCH(QString, text);

    {
        const HubFixture hub;
        hub->mDiskPath = text;
        hub->mProgramPath = text + QLatin1Char('p');
        AppDiskHub::USER *user = hub->User(hub->AddUser(text));
        user->md5 = text + QLatin1Char('m');
        user->disk_dir = text + QLatin1Char('d');
        user->program_dir = text + QLatin1Char('r');
        hub->mInterfaces.prepend({text, QHostAddress(QStringLiteral("192.0.2.1"))});
        hub->mActiveIfc = 0;
    }
    const HubFixture hub;
    QCOMPARE(hub->mDiskPath, text);
    QCOMPARE(hub->mProgramPath, text + QLatin1Char('p'));
    QCOMPARE(hub->NumUsers(), 1);
    QCOMPARE(hub->User(0)->name, text);
    QCOMPARE(hub->User(0)->md5, text + QLatin1Char('m'));
    QCOMPARE(hub->User(0)->disk_dir, text + QLatin1Char('d'));
    QCOMPARE(hub->User(0)->program_dir, text + QLatin1Char('r'));

    hub->mInterfaces = {{text, QHostAddress(QStringLiteral("192.0.2.1"))},
                        {QStringLiteral("last"), QHostAddress(QStringLiteral("192.0.2.2"))}};
    hub->mActiveIfc = 0;
    hub->LoadSettings();
    QCOMPARE(hub->mActiveIfc, 0);
}

void tst_Settings::keysOfUsersAreTranslatable()
{
    const HubFixture hub;
    hub->AddUser(QStringLiteral("alice"));
    hub->AddUser(QStringLiteral("bob"));
    KeyTranslator translator;
    QVERIFY(hub->installTranslator(&translator));
    hub->SaveSettings();
    const QByteArray text = mSettings.Read();
    QVERIFY2(text.contains("\n" + UserLines(0, "alice").replace("user_", "person_")),
             text.constData());
    QVERIFY2(text.contains("\n" + UserLines(1, "bob").replace("user_", "person_")),
             text.constData());
    QVERIFY2(!text.contains("user_"), text.constData());

    hub->RemAllUsers();
    hub->LoadSettings();
    QCOMPARE(Describe(hub), (QStringList{DefaultUser("alice"), DefaultUser("bob")}));
    hub->removeTranslator(&translator);
    hub->LoadSettings();
    QCOMPARE(Describe(hub), (QStringList{DefaultUser("unknown"), DefaultUser("unknown")}));
}

// The hub is the application object, so there is none before a test makes it.
QTEST_APPLESS_MAIN(tst_Settings)

#include "tst_Settings.moc"
