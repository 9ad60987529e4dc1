// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#include "AccessDialogFixture.h"
#include "AppGenerateMd5Dialog.h"
#include "AppMainWindow.h"

using namespace WindowDriver;

class tst_AppAccessRestrictionsDialogEditing : public QObject
{
    Q_OBJECT

private slots:
    void init();

    // Editing.
    void digestIsStoredInLowerCase_data();
    void digestIsStoredInLowerCase();
    void digestIsStoredWithEveryKey();
    void digestMayHaveAnyLength();
    void permissionsAreStored();
    void ownDirectoriesAreSwitched();
    void ownDirectoriesFollowTheMarkOnly();
    void generatedDigestIsStored();
    void rejectedGeneratorChangesNothing_data();
    void rejectedGeneratorChangesNothing();
    void editsChangeTheCurrentUserOnly();

    // Requests while the dialog is open.
    void editsApplyFromTheNextRequest();
    void removalAppliesFromTheNextRequest();
    void additionAppliesFromTheNextRequest();

private:
    HubSettings mSettings;
};

namespace
{

constexpr int RESULT_AUTH_FAILURE = -89;

/// The result code of a SEARCH by that user, and the last line of the console.
int SearchAs(const HubFixture &hub, const QString &name, const QString &digest)
{
    return hub
        .Send(FormRequest(
            {{"cmd", "1"}, {"pat", "*"}, {"usr", name.toUtf8()}, {"pwd", digest.toUtf8()}}))
        .Package()
        .result;
}

} // namespace

void tst_AppAccessRestrictionsDialogEditing::init()
{
    QVERIFY(mSettings.Write(HubSettings::Loopback()));
}

void tst_AppAccessRestrictionsDialogEditing::digestIsStoredInLowerCase_data()
{
    QTest::addColumn<QString>("typed");
    QTest::addColumn<QString>("stored");

    QTest::newRow("lower-case") << ALICE_DIGEST << ALICE_DIGEST;
    QTest::newRow("upper-case") << ALICE_DIGEST.toUpper() << ALICE_DIGEST;
    QTest::newRow("mixed-case") << "0aF"
                                << "0af";
    QTest::newRow("empty") << ""
                           << "";
    QTest::newRow("blanks-are-kept") << " AB "
                                     << " ab ";
    QTest::newRow("no-digest") << "Password <b>%1</b> & \"x\""
                               << "password <b>%1</b> & \"x\"";
    QTest::newRow("umlauts") << QString::fromUtf8("GR\xC3\x9C\xC3\x9F")
                             << QString::fromUtf8("gr\xC3\xBC\xC3\x9F");
    QTest::newRow("one-too-long") << ALICE_DIGEST + QLatin1Char('0')
                                  << ALICE_DIGEST + QLatin1Char('0');
}

void tst_AppAccessRestrictionsDialogEditing::digestIsStoredInLowerCase()
{
    QFETCH(const QString, typed);
    QFETCH(const QString, stored);
    const DialogFixture hub;
    hub.Select(1);
    Type(hub.Digest(), typed);
    QCOMPARE(hub.Digest()->text(), typed); // only what is stored changes
    QList<USER> users = ThreeUsers();
    users[1].md5 = stored;
    QCOMPARE(hub.Users(), Texts(users));
}

void tst_AppAccessRestrictionsDialogEditing::digestIsStoredWithEveryKey()
{
    const DialogFixture hub;
    hub.Select(1);
    Type(hub.Digest(), QString());
    QCOMPARE(hub->User(1)->md5, QString());
    QTest::keyClick(hub.Digest(), 'A');
    QCOMPARE(hub->User(1)->md5, QStringLiteral("a"));
    QTest::keyClick(hub.Digest(), '1');
    QCOMPARE(hub->User(1)->md5, QStringLiteral("a1"));
    QTest::keyClick(hub.Digest(), Qt::Key_Backspace);
    QCOMPARE(hub->User(1)->md5, QStringLiteral("a"));
}

void tst_AppAccessRestrictionsDialogEditing::digestMayHaveAnyLength()
{
    const DialogFixture hub;
    hub.Select(1);
    const QString text(100000, QLatin1Char('F'));
    hub.Dialog().Md5PasswordChanged(text);
    QCOMPARE(hub->User(1)->md5, text.toLower());
}

void tst_AppAccessRestrictionsDialogEditing::permissionsAreStored()
{
    const DialogFixture hub;
    hub.Select(1);
    QCOMPARE(hub.Permissions()->currentText(), QStringLiteral("Read/Write"));
    Choose(hub.Permissions(), 0);
    QCOMPARE(hub.Permissions()->currentText(), QStringLiteral("Read Only"));
    QList<USER> users = ThreeUsers();
    users[1].ro = true;
    QCOMPARE(hub.Users(), Texts(users));
    Choose(hub.Permissions(), 1);
    QCOMPARE(hub.Users(), Texts(ThreeUsers()));
}

void tst_AppAccessRestrictionsDialogEditing::ownDirectoriesAreSwitched()
{
    const DialogFixture hub;
    hub.Select(1);
    Click(hub.OwnDirs());
    QList<USER> users = ThreeUsers();
    users[1].own_dir = true;
    QCOMPARE(hub.Users(), Texts(users));
    QVERIFY(hub.DirectoriesEnabled(true));
    QCOMPARE(hub.Shown(), Text(users.at(1)));

    Click(hub.OwnDirs());
    QCOMPARE(hub.Users(), Texts(ThreeUsers())); // the directories stay
    QVERIFY(hub.DirectoriesEnabled(false));
    QCOMPARE(hub.Shown(), Text(ThreeUsers().at(1)));
}

void tst_AppAccessRestrictionsDialogEditing::ownDirectoriesFollowTheMarkOnly()
{
    const DialogFixture hub;
    hub.Select(1);
    hub.OwnDirs()->setChecked(true); // nobody has clicked
    QVERIFY(!hub->User(1)->own_dir);
    hub.Dialog().OwnDirsClicked();
    QVERIFY(hub->User(1)->own_dir);
    hub.Dialog().OwnDirsClicked(); // takes what is checked, does not toggle
    QVERIFY(hub->User(1)->own_dir);
}

void tst_AppAccessRestrictionsDialogEditing::generatedDigestIsStored()
{
    const DialogFixture hub;
    hub.Select(1);
    QPointer<AppGenerateMd5Dialog> opened;
    ModalAnswer<AppGenerateMd5Dialog> answer([&](AppGenerateMd5Dialog *generator) {
        opened = generator;
        QCOMPARE(generator->parentWidget(), &hub.Dialog());
        QCOMPARE(generator->windowFlags() & Qt::WindowType_Mask, Qt::WindowFlags(Qt::Dialog));
        Type(Named<QLineEdit>(*generator, "textEdit"), QStringLiteral("abc"));
        QCOMPARE(hub.Users(), Texts(ThreeUsers())); // not before OK
        Click(*generator, "okButton");
    });
    hub.Press("md5Browse");
    QVERIFY(answer.Answered());
    QVERIFY(opened.isNull());
    QList<USER> users = ThreeUsers();
    users[1].md5 = QStringLiteral("900150983cd24fb0d6963f7d28e17f72");
    QCOMPARE(hub.Users(), Texts(users));
    QCOMPARE(hub.Digest()->text(), users.at(1).md5);
}

void tst_AppAccessRestrictionsDialogEditing::rejectedGeneratorChangesNothing_data()
{
    QTest::addColumn<QString>("way");

    QTest::newRow("cancel") << "cancel";
    QTest::newRow("escape") << "escape";
    QTest::newRow("close") << "close";
}

void tst_AppAccessRestrictionsDialogEditing::rejectedGeneratorChangesNothing()
{
    QFETCH(const QString, way);
    const DialogFixture hub;
    hub.Select(1);
    QPointer<AppGenerateMd5Dialog> opened;
    ModalAnswer<AppGenerateMd5Dialog> answer([&](AppGenerateMd5Dialog *generator) {
        opened = generator;
        Type(Named<QLineEdit>(*generator, "textEdit"), QStringLiteral("abc"));
        if (way == QLatin1String("cancel"))
            Click(*generator, "cancelButton");
        else if (way == QLatin1String("escape"))
            Press(Qt::Key_Escape);
        else
            generator->close();
    });
    hub.Press("md5Browse");
    QVERIFY(answer.Answered());
    QVERIFY(opened.isNull());
    QCOMPARE(hub.Users(), Texts(ThreeUsers()));
    QCOMPARE(hub.Digest()->text(), BOB_DIGEST);
}

void tst_AppAccessRestrictionsDialogEditing::editsChangeTheCurrentUserOnly()
{
    const DialogFixture hub;
    hub.Select(2);
    Type(hub.Digest(), QStringLiteral("FFFF"));
    Choose(hub.Permissions(), 1);
    Click(hub.OwnDirs());
    hub.Select(0);
    Choose(hub.Permissions(), 1);
    Click(hub.OwnDirs());
    QList<USER> users = ThreeUsers();
    users[2].md5 = QStringLiteral("ffff");
    users[2].ro = false;
    users[2].own_dir = true;
    users[0].ro = false;
    users[0].own_dir = false;
    QCOMPARE(hub.Users(), Texts(users));
    hub.Select(2);
    QCOMPARE(hub.Shown(), Text(users.at(2)));
}

void tst_AppAccessRestrictionsDialogEditing::editsApplyFromTheNextRequest()
{
    const HubFixture hub;
    *hub->User(hub->AddUser(QStringLiteral("alice"))) =
        MakeUser(QStringLiteral("alice"), ALICE_DIGEST);
    Click(*hub->mMainWindow, "accessRestrictionsEnable");
    const QString alice = QStringLiteral("alice");
    QCOMPARE(SearchAs(hub, alice, ALICE_DIGEST), 0);
    ModalAnswer<AppAccessRestrictionsDialog> answer([&](AppAccessRestrictionsDialog *dialog) {
        ClickRow(Named<QListWidget>(*dialog, "userList"), 0);
        QCOMPARE(SearchAs(hub, alice, ALICE_DIGEST), 0);
        Type(Named<QLineEdit>(*dialog, "md5Password"), BOB_DIGEST.toUpper());
        QCOMPARE(SearchAs(hub, alice, ALICE_DIGEST), RESULT_AUTH_FAILURE);
        QCOMPARE(hub.Log().constLast(),
                 QStringLiteral("Authentication Failure: password mismatch for user 'alice'"));
        QCOMPARE(SearchAs(hub, alice, BOB_DIGEST), 0);
        Press(Qt::Key_Escape);
    });
    Click(*hub->mMainWindow, "accessRestrictionsConfigure");
    QVERIFY(answer.Answered());
    QCOMPARE(SearchAs(hub, alice, BOB_DIGEST), RESULT_AUTH_FAILURE);
    QCOMPARE(SearchAs(hub, alice, ALICE_DIGEST), 0);
}

void tst_AppAccessRestrictionsDialogEditing::removalAppliesFromTheNextRequest()
{
    const DialogFixture hub;
    hub->mValidate = true;
    const QString bob = QStringLiteral("bob");
    hub.Select(1);
    QCOMPARE(SearchAs(hub, bob, BOB_DIGEST), 0);
    hub.Remove();
    QCOMPARE(SearchAs(hub, bob, BOB_DIGEST), RESULT_AUTH_FAILURE);
    QCOMPARE(hub.Log().constLast(), QStringLiteral("Authentication Failure: unknown user 'bob'"));
    hub.Press("cancelButton");
    QCOMPARE(SearchAs(hub, bob, BOB_DIGEST), 0);
}

void tst_AppAccessRestrictionsDialogEditing::additionAppliesFromTheNextRequest()
{
    const DialogFixture hub;
    hub->mValidate = true;
    const QString dave = QStringLiteral("dave");
    QCOMPARE(SearchAs(hub, dave, EMPTY_DIGEST), RESULT_AUTH_FAILURE);
    hub.Add(dave);
    QCOMPARE(SearchAs(hub, dave, EMPTY_DIGEST), 0);
    hub.Press("cancelButton");
    QCOMPARE(SearchAs(hub, dave, EMPTY_DIGEST), RESULT_AUTH_FAILURE);
}

QTEST_APPLESS_MAIN(tst_AppAccessRestrictionsDialogEditing) // each hub is the application object

#include "tst_AppAccessRestrictionsDialogEditing.moc"
