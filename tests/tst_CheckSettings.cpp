// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#include "CheckSettings.h"

#include "AppSettings.h"
#include "HostFiles.h"
#include "HubSettings.h"

#include <QTest>

class tst_CheckSettings : public QObject
{
    Q_OBJECT

private slots:
    void noStoreChoosesNothing();
    void hubsDirectories();
    void ownDirectories();
    void usersWithoutOwnDirectoriesHaveNoPlace();
    void usersPastTheCountAreNotRead();
    void missingKeysTakeTheirDefaults();
    void sharedDirectoriesShareAPlace();
    void ownDirectoriesLikeTheHubsHaveAPlaceOfTheirOwn();
    void unrestrictedOwnDirectoriesAreUnused();
    void whatTheHubSavesIsRead();
    void theStoreIsNotWritten();

private:
    const HubSettings mSettings;
};

void tst_CheckSettings::noStoreChoosesNothing()
{
    mSettings.Remove();
    const QVector<CheckShelf::PLACE> places = CheckSettings::Places();
    QCOMPARE(places.size(), 1);
    QVERIFY(places.first().users.isEmpty());
    QVERIFY(places.first().inUse);
    QVERIFY(places.first().diskDirectory.has_value());
    QCOMPARE(*places.first().diskDirectory, QString());
    QCOMPARE(*places.first().programDirectory, QString());
}

void tst_CheckSettings::hubsDirectories()
{
    QVERIFY(mSettings.Write("[media]\ndisk_path=/srv/disks\nprogram_path=/srv/programs\n"));
    const QVector<CheckShelf::PLACE> places = CheckSettings::Places();
    QCOMPARE(places.size(), 1);
    QCOMPARE(*places.first().diskDirectory, QStringLiteral("/srv/disks"));
    QCOMPARE(*places.first().programDirectory, QStringLiteral("/srv/programs"));
}

void tst_CheckSettings::ownDirectories()
{
    QVERIFY(mSettings.Write("[media]\ndisk_path=/d\nprogram_path=/p\n[security]\nvalidate=true\n"
                            "[access]\nnum_users=2\n"
                            "user_0\\name=ann\nuser_0\\own_dir=true\nuser_0\\disk_dir=/ann/d\n"
                            "user_0\\program_dir=/ann/p\n"
                            "user_1\\name=bob\nuser_1\\own_dir=1\nuser_1\\disk_dir=/bob/d\n"));
    const QVector<CheckShelf::PLACE> places = CheckSettings::Places();
    QCOMPARE(places.size(), 3);
    QCOMPARE(*places.at(0).diskDirectory, QStringLiteral("/d"));
    QCOMPARE(places.at(1).users, QStringList{QStringLiteral("ann")});
    QCOMPARE(*places.at(1).diskDirectory, QStringLiteral("/ann/d"));
    QCOMPARE(*places.at(1).programDirectory, QStringLiteral("/ann/p"));
    QVERIFY(places.at(1).inUse);
    QCOMPARE(places.at(2).users, QStringList{QStringLiteral("bob")});
    QCOMPARE(*places.at(2).diskDirectory, QStringLiteral("/bob/d"));
    QCOMPARE(*places.at(2).programDirectory, QString());
}

void tst_CheckSettings::usersWithoutOwnDirectoriesHaveNoPlace()
{
    QVERIFY(mSettings.Write("[access]\nnum_users=1\nuser_0\\name=ann\nuser_0\\own_dir=false\n"
                            "user_0\\disk_dir=/ann/d\n"));
    QCOMPARE(CheckSettings::Places().size(), 1);
}

void tst_CheckSettings::usersPastTheCountAreNotRead()
{
    QVERIFY(mSettings.Write("[access]\nnum_users=1\nuser_1\\name=ann\nuser_1\\own_dir=true\n"));
    QCOMPARE(CheckSettings::Places().size(), 1);
    QVERIFY(mSettings.Write("[access]\nnum_users=-1\nuser_0\\name=ann\nuser_0\\own_dir=true\n"));
    QCOMPARE(CheckSettings::Places().size(), 1);
    QVERIFY(mSettings.Write("[access]\nnum_users=two\nuser_0\\own_dir=true\n"));
    QCOMPARE(CheckSettings::Places().size(), 1);
}

void tst_CheckSettings::missingKeysTakeTheirDefaults()
{
    QVERIFY(mSettings.Write("[access]\nnum_users=1\nuser_0\\own_dir=true\n"));
    const QVector<CheckShelf::PLACE> places = CheckSettings::Places();
    QCOMPARE(places.size(), 2);
    QCOMPARE(places.at(1).users, QStringList{QStringLiteral("unknown")});
    QCOMPARE(*places.at(1).diskDirectory, QString());
}

void tst_CheckSettings::sharedDirectoriesShareAPlace()
{
    QVERIFY(mSettings.Write("[access]\nnum_users=3\n"
                            "user_0\\name=ann\nuser_0\\own_dir=true\nuser_0\\disk_dir=/d\n"
                            "user_1\\name=bob\nuser_1\\own_dir=true\nuser_1\\disk_dir=/e\n"
                            "user_2\\name=cid\nuser_2\\own_dir=true\nuser_2\\disk_dir=/d\n"));
    const QVector<CheckShelf::PLACE> places = CheckSettings::Places();
    QCOMPARE(places.size(), 3);
    QCOMPARE(places.at(1).users, (QStringList{QStringLiteral("ann"), QStringLiteral("cid")}));
    QCOMPARE(places.at(2).users, QStringList{QStringLiteral("bob")});
}

void tst_CheckSettings::ownDirectoriesLikeTheHubsHaveAPlaceOfTheirOwn()
{
    QVERIFY(mSettings.Write("[media]\ndisk_path=/d\nprogram_path=/p\n[access]\nnum_users=1\n"
                            "user_0\\name=ann\nuser_0\\own_dir=true\nuser_0\\disk_dir=/d\n"
                            "user_0\\program_dir=/p\n"));
    const QVector<CheckShelf::PLACE> places = CheckSettings::Places();
    QCOMPARE(places.size(), 2);
    QVERIFY(places.at(0).users.isEmpty());
}

void tst_CheckSettings::unrestrictedOwnDirectoriesAreUnused()
{
    QVERIFY(mSettings.Write("[security]\nvalidate=false\n[access]\nnum_users=1\n"
                            "user_0\\name=ann\nuser_0\\own_dir=true\n"));
    const QVector<CheckShelf::PLACE> places = CheckSettings::Places();
    QVERIFY(places.at(0).inUse);
    QVERIFY(!places.at(1).inUse);
}

void tst_CheckSettings::whatTheHubSavesIsRead()
{
    AppSettings settings;
    settings.SetHub(
        {QStringLiteral("/srv/my disks, all"), QStringLiteral("/srv/Prögramme"), true, 0});
    AppSettings::USER ann;
    ann.name = QStringLiteral("änn");
    ann.own_dir = true;
    ann.disk_dir = QStringLiteral("/srv/änn");
    ann.program_dir = QStringLiteral("C:\\programs");
    settings.SetNumUsers(2);
    settings.SetUser(0, ann);
    settings.SetUser(1, AppSettings::USER());
    settings.Save();

    const QVector<CheckShelf::PLACE> places = CheckSettings::Places();
    QCOMPARE(places.size(), 2);
    QCOMPARE(*places.at(0).diskDirectory, QStringLiteral("/srv/my disks, all"));
    QCOMPARE(*places.at(0).programDirectory, QStringLiteral("/srv/Prögramme"));
    QCOMPARE(places.at(1).users, QStringList{QStringLiteral("änn")});
    QVERIFY(places.at(1).inUse);
    QCOMPARE(*places.at(1).diskDirectory, QStringLiteral("/srv/änn"));
    QCOMPARE(*places.at(1).programDirectory, QStringLiteral("C:\\programs"));
}

void tst_CheckSettings::theStoreIsNotWritten()
{
    SKIP_ON_WINDOWS("the registry has no comments");
    const QByteArray text = "; a comment that a writer would lose\n[media]\ndisk_path=/d\n";
    QVERIFY(mSettings.Write(text));
    QCOMPARE(*CheckSettings::Places().first().diskDirectory, QStringLiteral("/d"));
    QCOMPARE(mSettings.Read(), text);

    mSettings.Remove();
    CheckSettings::Places();
    QVERIFY(!QFileInfo::exists(mSettings.FilePath()));
}

QTEST_APPLESS_MAIN(tst_CheckSettings)

#include "tst_CheckSettings.moc"
