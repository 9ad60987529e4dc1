// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#include "AppDiskHub.h"
#include "HubFixture.h"

#include <QTest>

#include <limits>
#include <type_traits>

namespace
{

constexpr char MD5_OF_NOTHING[] = "d41d8cd98f00b204e9800998ecf8427e"; // RFC 1321, section A.5: ""

QStringList NamesOf(const HubFixture &hub)
{
    QStringList names;
    for (int i = 0; i < hub->NumUsers(); ++i)
        names.append(hub->User(i)->name);
    return names;
}

} // namespace

class tst_Users : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void addedUserHasDefaults();
    void addUserReturnsTheIndex();
    void addUserTakesAnyName_data();
    void addUserTakesAnyName();
    void userIsFoundByItsExactName();
    void userIsFoundByNameInConstHub();
    void firstOfTwoUsersOfANameIsFound();
    void noUserIsFoundInAnEmptyList();
    void remUserMovesTheRestDown();
    void remUserIgnoresOtherIndexes_data();
    void remUserIgnoresOtherIndexes();
    void remAllUsersEmptiesTheList();
    void pointersToUsersStayValid();

private:
    const HubSettings mSettings;
};

void tst_Users::init()
{
    QVERIFY(mSettings.Write(HubSettings::Loopback()));
}

void tst_Users::addedUserHasDefaults()
{
    const HubFixture hub;
    hub->AddUser(QStringLiteral("alice"));
    const AppDiskHub::USER *user = hub->User(0);
    QCOMPARE(user->name, QStringLiteral("alice"));
    QCOMPARE(user->md5, QLatin1String(MD5_OF_NOTHING));
    QCOMPARE(user->ro, false);
    QCOMPARE(user->own_dir, false);
    QCOMPARE(user->disk_dir, QString());
    QCOMPARE(user->program_dir, QString());
}

void tst_Users::addUserReturnsTheIndex()
{
    const HubFixture hub;
    QCOMPARE(hub->NumUsers(), 0);
    QCOMPARE(hub->AddUser(QStringLiteral("alice")), 0);
    QCOMPARE(hub->NumUsers(), 1);
    QCOMPARE(hub->AddUser(QStringLiteral("bob")), 1);
    QCOMPARE(hub->AddUser(QStringLiteral("carol")), 2);
    QCOMPARE(hub->NumUsers(), 3);
    hub->RemUser(1);
    QCOMPARE(hub->AddUser(QStringLiteral("dave")), 2);
    QCOMPARE(NamesOf(hub), (QStringList{QStringLiteral("alice"), QStringLiteral("carol"),
                                        QStringLiteral("dave")}));
}

void tst_Users::addUserTakesAnyName_data()
{
    QTest::addColumn<QString>("name");

    QTest::newRow("empty") << "";
    QTest::newRow("blanks") << "  a  ";
    QTest::newRow("slash-and-percent") << "a/b%1\\c";
    QTest::newRow("beyond-latin-1") << QString::fromUtf8("\xE2\x82\xAC\xF0\x9F\x92\xBE");
    QTest::newRow("long") << QString(5000, QLatin1Char('x'));
}

void tst_Users::addUserTakesAnyName()
{
    QFETCH(QString, name);

    const HubFixture hub;
    hub->AddUser(name);
    QCOMPARE(hub->User(0)->name, name);
    QCOMPARE(hub->User(name), hub->User(0));
}

void tst_Users::userIsFoundByItsExactName()
{
    const HubFixture hub;
    hub->AddUser(QStringLiteral("alice"));
    hub->AddUser(QStringLiteral("bob"));
    QCOMPARE(hub->User(QStringLiteral("alice")), hub->User(0));
    QCOMPARE(hub->User(QStringLiteral("bob")), hub->User(1));
    for (const char *name : {"Bob", "BOB", " bob", "bob ", "bo", "bobb", "", "b*", "b?b"})
        QVERIFY2(!hub->User(QLatin1String(name)), name);
}

void tst_Users::userIsFoundByNameInConstHub()
{
    const HubFixture hub;
    hub->AddUser(QStringLiteral("alice"));
    hub->AddUser(QStringLiteral("bob"));
    const AppDiskHub &constHub = hub.Hub();
    static_assert(std::is_same<decltype(constHub.User(0)), const AppDiskHub::USER *>::value,
                  "a const hub shows its users, but not for change");
    QCOMPARE(constHub.User(1)->name, QStringLiteral("bob"));
    QCOMPARE(constHub.User(1), hub->User(1));
    QCOMPARE(constHub.User(QStringLiteral("bob")), constHub.User(1));
    QVERIFY(!constHub.User(QStringLiteral("Bob")));
}

void tst_Users::firstOfTwoUsersOfANameIsFound()
{
    const HubFixture hub;
    hub->AddUser(QStringLiteral("bob"));
    QCOMPARE(hub->AddUser(QStringLiteral("alice")), 1);
    QCOMPARE(hub->AddUser(QStringLiteral("alice")), 2);
    QCOMPARE(hub->NumUsers(), 3);
    QVERIFY(hub->User(1) != hub->User(2));
    QCOMPARE(hub->User(QStringLiteral("alice")), hub->User(1));
}

void tst_Users::noUserIsFoundInAnEmptyList()
{
    const HubFixture hub;
    QVERIFY(!hub->User(QStringLiteral("alice")));
    QVERIFY(!hub->User(QString()));
}

void tst_Users::remUserMovesTheRestDown()
{
    const HubFixture hub;
    for (const char *name : {"a", "b", "c", "d"})
        hub->AddUser(QLatin1String(name));
    hub->RemUser(1);
    QCOMPARE(NamesOf(hub),
             (QStringList{QStringLiteral("a"), QStringLiteral("c"), QStringLiteral("d")}));
    hub->RemUser(2);
    QCOMPARE(NamesOf(hub), (QStringList{QStringLiteral("a"), QStringLiteral("c")}));
    hub->RemUser(0);
    QCOMPARE(NamesOf(hub), QStringList{QStringLiteral("c")});
    hub->RemUser(0);
    QCOMPARE(hub->NumUsers(), 0);
}

void tst_Users::remUserIgnoresOtherIndexes_data()
{
    QTest::addColumn<int>("index");

    QTest::newRow("one-below") << -1;
    QTest::newRow("one-above") << 2;
    QTest::newRow("lowest") << std::numeric_limits<int>::min();
    QTest::newRow("highest") << std::numeric_limits<int>::max();
}

void tst_Users::remUserIgnoresOtherIndexes()
{
    QFETCH(int, index);

    const HubFixture hub;
    hub->AddUser(QStringLiteral("alice"));
    hub->AddUser(QStringLiteral("bob"));
    hub.ClearLog();
    hub->RemUser(index);
    QCOMPARE(NamesOf(hub), (QStringList{QStringLiteral("alice"), QStringLiteral("bob")}));
    QCOMPARE(hub.Log(), QStringList());
    hub->RemAllUsers();
    hub->RemUser(0);
    QCOMPARE(hub->NumUsers(), 0);
}

void tst_Users::remAllUsersEmptiesTheList()
{
    const HubFixture hub;
    hub->RemAllUsers();
    QCOMPARE(hub->NumUsers(), 0);
    hub->AddUser(QStringLiteral("alice"));
    hub->AddUser(QStringLiteral("bob"));
    hub->RemAllUsers();
    QCOMPARE(hub->NumUsers(), 0);
    QVERIFY(!hub->User(QStringLiteral("alice")));
    QCOMPARE(hub->AddUser(QStringLiteral("carol")), 0);
}

void tst_Users::pointersToUsersStayValid()
{
    const HubFixture hub;
    for (int i = 0; i < 10; ++i)
        hub->AddUser(QString::number(i));
    AppDiskHub::USER *user = hub->User(5);

    // More than any reserve holds, and removals before, behind and at both ends.
    for (int i = 10; i < 1000; ++i)
        hub->AddUser(QString::number(i));
    QCOMPARE(hub->User(5), user);
    hub->RemUser(0);
    hub->RemUser(3);
    hub->RemUser(4);
    hub->RemUser(hub->NumUsers() - 1);
    QCOMPARE(hub->User(QStringLiteral("5")), user);
    QCOMPARE(user->name, QStringLiteral("5"));
    user->ro = true;
    user->name = QStringLiteral("five");
    QCOMPARE(hub->User(QStringLiteral("five")), user);
    QVERIFY(hub->User(3)->ro);
}

// The hub is the application object, so there is none before a test makes it.
QTEST_APPLESS_MAIN(tst_Users)

#include "tst_Users.moc"
