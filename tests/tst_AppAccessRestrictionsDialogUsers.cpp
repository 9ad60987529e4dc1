// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#include "AccessDialogFixture.h"
#include "AppMainWindow.h"
#include "AppNewUserDialog.h"

#include <QPushButton>

#include <algorithm>

using namespace WindowDriver;

class tst_AppAccessRestrictionsDialogUsers : public QObject
{
    Q_OBJECT

private slots:
    void init();

    // Adding.
    void newUserHasTheDefaults();
    void newUserIsAppendedAndCurrent();
    void newUserDialogProposesAName();
    void newNameIsTakenAsItIs_data();
    void newNameIsTakenAsItIs();
    void rejectedNewUserAddsNothing_data();
    void rejectedNewUserAddsNothing();
    void takenNameIsRefusedAndProposedAgain_data();
    void takenNameIsRefusedAndProposedAgain();
    void takenNameMessage();
    void takenNameIsAskedForUntilItIsFree();
    void takenNameCanBeGivenUp();
    void nameOfAnotherCaseIsFree();
    void nameOfARemovedUserIsFree();
    void defaultNameIsTakenTheSecondTime();

    // Removing.
    void removalIsAskedFor();
    void deleteKeyAsksAsTheButtonDoes();
    void deleteKeyNeedsASelectedUser();
    void namesAreAskedForAsTheyAre_data();
    void namesAreAskedForAsTheyAre();
    void removalNeedsAYes_data();
    void removalNeedsAYes();
    void removedUserIsGone_data();
    void removedUserIsGone();
    void itemGoesBeforeTheUser();
    void lastUserRemovedLeavesNothing();
    void userThatIsCurrentButNotSelectedGoes();

    // Leaving.
    void okKeepsEverything();
    void leavingPutsEverythingBack_data();
    void leavingPutsEverythingBack();
    void cancelOfNothingChangesNothing();
    void listIsCopiedWhenTheDialogIsMade();
    void neitherWayWritesTheSettings_data();
    void neitherWayWritesTheSettings();

private:
    HubSettings mSettings;
};

namespace
{

/// Whether the labels of a message show what they were given and not its markup.
bool ShowsPlainText(const QMessageBox &message, const QString &text)
{
    const QList<QLabel *> labels = message.findChildren<QLabel *>();
    for (const QLabel *label : labels) {
        if (label->text() != text)
            continue;
        return label->textFormat() == Qt::PlainText ||
               (label->textFormat() == Qt::AutoText && !Qt::mightBeRichText(text));
    }
    return false;
}

/// Whether a message box names the program and carries its icon.
bool IsTheHubs(const QMessageBox &message)
{
    const QIcon icon(QStringLiteral(":/AppDiskHub/DiskHub.png"));
    return message.windowTitle() == QLatin1String("Disk Hub") &&
           message.windowIcon().pixmap(32, 32).toImage() == icon.pixmap(32, 32).toImage();
}

/// How many dialogs that ask for a name there are, hidden ones included.
int NameDialogs()
{
    const QWidgetList windows = QApplication::topLevelWidgets();
    return static_cast<int>(std::count_if(windows.begin(), windows.end(), [](QWidget *window) {
        return qobject_cast<AppNewUserDialog *>(window) != nullptr;
    }));
}

} // namespace

void tst_AppAccessRestrictionsDialogUsers::init()
{
    QVERIFY(mSettings.Write(HubSettings::Loopback()));
}

void tst_AppAccessRestrictionsDialogUsers::newUserHasTheDefaults()
{
    const DialogFixture hub(QList<USER>{});
    hub.Add(QStringLiteral("dave"));
    QCOMPARE(hub.Users(), QStringList{Text(MakeUser(QStringLiteral("dave")))});
    QCOMPARE(hub->User(0)->md5, EMPTY_DIGEST);
}

void tst_AppAccessRestrictionsDialogUsers::newUserIsAppendedAndCurrent()
{
    const DialogFixture hub;
    hub.Select(0);
    hub.Add(QStringLiteral("Aaron"));
    QCOMPARE(hub->NumUsers(), 4);
    QCOMPARE(hub->User(3)->name, QStringLiteral("Aaron"));
    QCOMPARE(hub.ListedNames().value(3), QStringLiteral("Aaron"));
    QCOMPARE(hub.List()->currentRow(), 3);
    QVERIFY(hub.List()->item(3)->isSelected());
    QCOMPARE(hub.Shown(), Text(MakeUser(QStringLiteral("Aaron"))));
    QVERIFY(hub.AllEnabled(EDITING, true));
    QVERIFY(hub.DirectoriesEnabled(false));
    QCOMPARE(hub.Users().mid(0, 3), Texts(ThreeUsers()));
}

void tst_AppAccessRestrictionsDialogUsers::newUserDialogProposesAName()
{
    const DialogFixture hub;
    QPointer<AppNewUserDialog> asked;
    for (int i = 0; i < 2; ++i) { // the same the second time: what was typed is forgotten
        ModalAnswer<AppNewUserDialog> answer([&](AppNewUserDialog *dialog) {
            asked = dialog;
            QCOMPARE(Named<QLineEdit>(*dialog, "username")->text(), QStringLiteral("newuser"));
            QCOMPARE(dialog->parentWidget(), &hub.Dialog());
            QCOMPARE(dialog->windowFlags() & Qt::WindowType_Mask, Qt::WindowFlags(Qt::Dialog));
            Type(Named<QLineEdit>(*dialog, "username"), QString::number(i));
            Click(*dialog, "okButton");
        });
        hub.Press("addUser");
        QVERIFY(answer.Answered());
        QVERIFY(asked.isNull());
    }
}

void tst_AppAccessRestrictionsDialogUsers::newNameIsTakenAsItIs_data()
{
    AddNameRows();
    QTest::newRow("empty") << "";
    QTest::newRow("blank") << " ";
}

void tst_AppAccessRestrictionsDialogUsers::newNameIsTakenAsItIs()
{
    QFETCH(const QString, name);
    const DialogFixture hub;
    hub.Add(name);
    QCOMPARE(hub->NumUsers(), 4);
    QCOMPARE(hub->User(3)->name, name);
    QCOMPARE(hub.ListedNames().value(3), name);
}

void tst_AppAccessRestrictionsDialogUsers::rejectedNewUserAddsNothing_data()
{
    QTest::addColumn<QString>("way");

    QTest::newRow("cancel") << "cancel";
    QTest::newRow("escape") << "escape";
    QTest::newRow("close") << "close";
}

void tst_AppAccessRestrictionsDialogUsers::rejectedNewUserAddsNothing()
{
    QFETCH(const QString, way);
    const DialogFixture hub;
    hub.Select(1);
    ModalAnswer<AppNewUserDialog> answer([&](AppNewUserDialog *dialog) {
        Type(Named<QLineEdit>(*dialog, "username"), QStringLiteral("dave"));
        if (way == QLatin1String("cancel"))
            Click(*dialog, "cancelButton");
        else if (way == QLatin1String("escape"))
            Press(Qt::Key_Escape);
        else
            dialog->close();
    });
    hub.Press("addUser");
    QVERIFY(answer.Answered());
    QCOMPARE(hub.Users(), Texts(ThreeUsers()));
    QCOMPARE(hub.List()->count(), 3);
    QCOMPARE(hub.List()->currentRow(), 1);
    QVERIFY(hub.Dialog().isVisible());
    QVERIFY(hub.Dialog().findChildren<QDialog *>().isEmpty());
}

void tst_AppAccessRestrictionsDialogUsers::takenNameIsRefusedAndProposedAgain_data()
{
    AddNameRows();
    QTest::newRow("empty") << "";
}

void tst_AppAccessRestrictionsDialogUsers::takenNameIsRefusedAndProposedAgain()
{
    QFETCH(const QString, name);
    const DialogFixture hub({MakeUser(name, ALICE_DIGEST)});
    ModalAnswers answers;
    answers.Then<AppNewUserDialog>([&](AppNewUserDialog *dialog) {
        Type(Named<QLineEdit>(*dialog, "username"), name);
        Click(*dialog, "okButton");
    });
    answers.Then<QMessageBox>([&](QMessageBox *message) {
        const QString text =
            QStringLiteral("The username '") + name + QStringLiteral("' already exists.");
        QCOMPARE(message->text(), text);
        QVERIFY(ShowsPlainText(*message, text));
        Click(message->button(QMessageBox::Ok));
    });
    answers.Then<AppNewUserDialog>([&](AppNewUserDialog *dialog) {
        QCOMPARE(Named<QLineEdit>(*dialog, "username")->text(), name);
        QCOMPARE(dialog->mName, name);
        Click(*dialog, "cancelButton");
    });
    hub.Press("addUser");
    QVERIFY(answers.Answered());
    QCOMPARE(hub.Users(), QStringList{Text(MakeUser(name, ALICE_DIGEST))});
    QCOMPARE(hub.ListedNames(), QStringList{name});
}

void tst_AppAccessRestrictionsDialogUsers::takenNameMessage()
{
    const DialogFixture hub;
    ModalAnswers answers;
    answers.Then<AppNewUserDialog>([](AppNewUserDialog *dialog) {
        Type(Named<QLineEdit>(*dialog, "username"), QStringLiteral("bob"));
        Click(*dialog, "okButton");
    });
    answers.Then<QMessageBox>([](QMessageBox *message) {
        QCOMPARE(message->text(), QStringLiteral("The username 'bob' already exists."));
        QCOMPARE(message->informativeText(), QString());
        QCOMPARE(message->standardButtons(), QMessageBox::StandardButtons(QMessageBox::Ok));
        QVERIFY(message->parentWidget() == nullptr);
        QVERIFY(IsTheHubs(*message));
        QCOMPARE(NameDialogs(), 1);
        Press(Qt::Key_Escape);
    });
    answers.Then<AppNewUserDialog>([](AppNewUserDialog *dialog) { dialog->reject(); });
    hub.Press("addUser");
    QVERIFY(answers.Answered());
}

void tst_AppAccessRestrictionsDialogUsers::takenNameIsAskedForUntilItIsFree()
{
    const DialogFixture hub;
    const QStringList taken{QStringLiteral("alice"), QStringLiteral("carol"),
                            QStringLiteral("alice"), QStringLiteral("bob")};
    QString proposed = QStringLiteral("newuser");
    QList<QPointer<QDialog>> asked;
    ModalAnswers answers;
    for (const QString &name : taken) {
        answers.Then<AppNewUserDialog>([&](AppNewUserDialog *dialog) {
            asked += dialog;
            QCOMPARE(Named<QLineEdit>(*dialog, "username")->text(), proposed);
            Type(Named<QLineEdit>(*dialog, "username"), name);
            Press(Qt::Key_Return);
        });
        answers.Then<QMessageBox>([&](QMessageBox *message) {
            proposed = name;
            asked += message;
            Press(Qt::Key_Return);
        });
    }
    answers.Then<AppNewUserDialog>([&](AppNewUserDialog *dialog) {
        QCOMPARE(hub->NumUsers(), 3);
        QCOMPARE(hub.Dialog().findChildren<AppNewUserDialog *>().size(),
                 decltype(hub.Dialog().findChildren<AppNewUserDialog *>().size())(1));
        QCOMPARE(Named<QLineEdit>(*dialog, "username")->text(), QStringLiteral("bob"));
        Type(Named<QLineEdit>(*dialog, "username"), QStringLiteral("dave"));
        Press(Qt::Key_Return);
    });
    hub.Press("addUser");
    QVERIFY(answers.Answered());
    QCOMPARE(hub.ListedNames().value(3), QStringLiteral("dave"));
    QCOMPARE(hub->NumUsers(), 4);
    for (const QPointer<QDialog> &dialog : std::as_const(asked))
        QVERIFY(dialog.isNull());
}

void tst_AppAccessRestrictionsDialogUsers::takenNameCanBeGivenUp()
{
    const DialogFixture hub;
    hub.Select(2);
    ModalAnswers answers;
    answers.Then<AppNewUserDialog>([](AppNewUserDialog *dialog) {
        Type(Named<QLineEdit>(*dialog, "username"), QStringLiteral("alice"));
        Click(*dialog, "okButton");
    });
    answers.Then<QMessageBox>([](QMessageBox *message) { message->close(); });
    answers.Then<AppNewUserDialog>([](AppNewUserDialog *) { Press(Qt::Key_Escape); });
    hub.Press("addUser");
    QVERIFY(answers.Answered());
    QCOMPARE(hub.Users(), Texts(ThreeUsers()));
    QCOMPARE(hub.List()->currentRow(), 2);
    QVERIFY(hub.Dialog().isVisible());
}

void tst_AppAccessRestrictionsDialogUsers::nameOfAnotherCaseIsFree()
{
    const DialogFixture hub;
    hub.Add(QStringLiteral("Alice"));
    hub.Add(QStringLiteral("alice "));
    QCOMPARE(hub.ListedNames().mid(3),
             (QStringList{QStringLiteral("Alice"), QStringLiteral("alice ")}));
}

void tst_AppAccessRestrictionsDialogUsers::nameOfARemovedUserIsFree()
{
    const DialogFixture hub;
    hub.Select(0);
    hub.Remove();
    hub.Add(QStringLiteral("alice"));
    QCOMPARE(hub.ListedNames(), (QStringList{QStringLiteral("bob"), QStringLiteral("carol"),
                                             QStringLiteral("alice")}));
    QCOMPARE(Text(*hub->User(2)), Text(MakeUser(QStringLiteral("alice"))));
}

void tst_AppAccessRestrictionsDialogUsers::defaultNameIsTakenTheSecondTime()
{
    const DialogFixture hub;
    ModalAnswer<AppNewUserDialog> first(
        [](AppNewUserDialog *dialog) { Click(*dialog, "okButton"); });
    hub.Press("addUser");
    QVERIFY(first.Answered());
    QCOMPARE(hub->User(3)->name, QStringLiteral("newuser"));

    ModalAnswers second;
    second.Then<AppNewUserDialog>([](AppNewUserDialog *dialog) { Click(*dialog, "okButton"); });
    second.Then<QMessageBox>([](QMessageBox *message) {
        QCOMPARE(message->text(), QStringLiteral("The username 'newuser' already exists."));
        Press(Qt::Key_Return);
    });
    second.Then<AppNewUserDialog>([](AppNewUserDialog *) { Press(Qt::Key_Escape); });
    hub.Press("addUser");
    QVERIFY(second.Answered());
    QCOMPARE(hub->NumUsers(), 4);
}

void tst_AppAccessRestrictionsDialogUsers::removalIsAskedFor()
{
    const DialogFixture hub;
    hub.Select(1);
    ModalAnswer<QMessageBox> answer([&](QMessageBox *question) {
        QCOMPARE(question->text(), QStringLiteral("Remove User"));
        QCOMPARE(question->informativeText(),
                 QStringLiteral("Are you sure you want to remove the user 'bob'?"));
        QCOMPARE(question->standardButtons(), QMessageBox::Yes | QMessageBox::No);
        QCOMPARE(question->defaultButton(),
                 static_cast<QPushButton *>(question->button(QMessageBox::No)));
        QVERIFY(question->parentWidget() == nullptr);
        QVERIFY(IsTheHubs(*question));
        QCOMPARE(hub.Users(), Texts(ThreeUsers()));
        Click(question->button(QMessageBox::No));
    });
    hub.Press("removeUser");
    QVERIFY(answer.Answered());
}

void tst_AppAccessRestrictionsDialogUsers::deleteKeyAsksAsTheButtonDoes()
{
    const DialogFixture hub;
    hub.Select(1);
    for (const auto button : {QMessageBox::No, QMessageBox::Yes}) {
        ModalAnswer<QMessageBox> answer([&](QMessageBox *question) {
            QCOMPARE(question->informativeText(),
                     QStringLiteral("Are you sure you want to remove the user 'bob'?"));
            Click(question->button(button));
        });
        Activate(&hub.Dialog());
        QTest::keyClick(hub.List(), Qt::Key_Delete);
        QVERIFY(answer.Answered());
        QCOMPARE(hub->NumUsers(), button == QMessageBox::No ? 3 : 2);
    }
    QCOMPARE(hub.ListedNames(), (QStringList{QStringLiteral("alice"), QStringLiteral("carol")}));
}

void tst_AppAccessRestrictionsDialogUsers::deleteKeyNeedsASelectedUser()
{
    const DialogFixture hub;
    ModalAnswer<QMessageBox> answer([](QMessageBox *question) { question->reject(); });
    QTest::keyClick(hub.List(), Qt::Key_Delete);
    QVERIFY(!answer.Answered());
    // In a field the key deletes text.
    hub.Select(1);
    hub.Digest()->setFocus();
    QTest::keyClick(hub.Digest(), Qt::Key_Home);
    QTest::keyClick(hub.Digest(), Qt::Key_Delete);
    QVERIFY(!answer.Answered());
    QCOMPARE(hub->User(1)->md5, BOB_DIGEST.mid(1));
}

void tst_AppAccessRestrictionsDialogUsers::namesAreAskedForAsTheyAre_data()
{
    AddNameRows();
}

void tst_AppAccessRestrictionsDialogUsers::namesAreAskedForAsTheyAre()
{
    QFETCH(const QString, name);
    const DialogFixture hub({MakeUser(name)});
    hub.Select(0);
    ModalAnswer<QMessageBox> answer([&](QMessageBox *question) {
        const QString text = QStringLiteral("Are you sure you want to remove the user '") + name +
                             QStringLiteral("'?");
        QCOMPARE(question->informativeText(), text);
        QVERIFY(ShowsPlainText(*question, text));
        Click(question->button(QMessageBox::Yes));
    });
    hub.Press("removeUser");
    QVERIFY(answer.Answered());
    QCOMPARE(hub->NumUsers(), 0);
}

void tst_AppAccessRestrictionsDialogUsers::removalNeedsAYes_data()
{
    QTest::addColumn<QString>("way");

    QTest::newRow("no") << "no";
    QTest::newRow("enter-takes-the-default") << "enter";
    QTest::newRow("escape") << "escape";
    QTest::newRow("close") << "close";
}

void tst_AppAccessRestrictionsDialogUsers::removalNeedsAYes()
{
    QFETCH(const QString, way);
    const DialogFixture hub;
    hub.Select(1);
    ModalAnswer<QMessageBox> answer([&](QMessageBox *question) {
        if (way == QLatin1String("no"))
            Click(question->button(QMessageBox::No));
        else if (way == QLatin1String("enter"))
            Press(Qt::Key_Return);
        else if (way == QLatin1String("escape"))
            Press(Qt::Key_Escape);
        else
            question->close();
    });
    hub.Press("removeUser");
    QVERIFY(answer.Answered());
    QCOMPARE(hub.Users(), Texts(ThreeUsers()));
    QCOMPARE(hub.List()->count(), 3);
    QCOMPARE(hub.List()->currentRow(), 1);
    QVERIFY(hub.Dialog().isVisible());
}

void tst_AppAccessRestrictionsDialogUsers::removedUserIsGone_data()
{
    QTest::addColumn<int>("row");

    QTest::newRow("first") << 0;
    QTest::newRow("middle") << 1;
    QTest::newRow("last") << 2;
}

void tst_AppAccessRestrictionsDialogUsers::removedUserIsGone()
{
    QFETCH(const int, row);
    const DialogFixture hub;
    hub.Select(row);
    hub.Remove();

    QList<USER> left = ThreeUsers();
    left.removeAt(row);
    QCOMPARE(hub.Users(), Texts(left));
    QCOMPARE(hub.ListedNames(), (QStringList{left.at(0).name, left.at(1).name}));

    // The controls are those of the user who is current now, and edit that one.
    const int current = hub.List()->currentRow();
    QVERIFY(current >= 0);
    QCOMPARE(hub.Shown(), Text(left.at(current)));
    QVERIFY(hub.AllEnabled(EDITING, true));
    QVERIFY(hub.DirectoriesEnabled(left.at(current).own_dir));
    Type(hub.Digest(), QStringLiteral("abc"));
    left[current].md5 = QStringLiteral("abc");
    QCOMPARE(hub.Users(), Texts(left));
}

void tst_AppAccessRestrictionsDialogUsers::itemGoesBeforeTheUser()
{
    const DialogFixture hub;
    hub.Select(1);
    QStringList users;
    QObject::connect(hub.List()->model(), &QAbstractItemModel::rowsRemoved, hub.List(),
                     [&] { users = hub.Users(); });
    hub.Remove();
    QCOMPARE(users, Texts(ThreeUsers()));
    QCOMPARE(hub->NumUsers(), 2);
}

void tst_AppAccessRestrictionsDialogUsers::lastUserRemovedLeavesNothing()
{
    const DialogFixture hub;
    for (int i = 0; i < 3; ++i) {
        hub.Select(0);
        hub.Remove();
    }
    QCOMPARE(hub->NumUsers(), 0);
    QCOMPARE(hub.List()->count(), 0);
    QVERIFY(hub.AllEnabled(EDITING, false));
    QVERIFY(hub.DirectoriesEnabled(false));
    QCOMPARE(hub.Shown(), Text(MakeUser(QString(), QString(), true)));
    hub.Add(QStringLiteral("dave"));
    QCOMPARE(hub.Shown(), Text(MakeUser(QStringLiteral("dave"))));
}

void tst_AppAccessRestrictionsDialogUsers::userThatIsCurrentButNotSelectedGoes()
{
    const DialogFixture hub;
    for (int i = 2; i >= 0; --i) {
        hub.Select(0);
        ClickRow(hub.List(), 0, Qt::ControlModifier);
        QVERIFY(hub.List()->selectedItems().isEmpty());
        hub.Remove();
        QCOMPARE(hub->NumUsers(), i);
        QCOMPARE(hub.List()->count(), i);
        const bool left = i > 0;
        QVERIFY(hub.AllEnabled(EDITING, left));
        QCOMPARE(hub.Shown(),
                 Text(left ? ThreeUsers().at(3 - i) : MakeUser(QString(), QString(), true)));
    }
}

void tst_AppAccessRestrictionsDialogUsers::okKeepsEverything()
{
    const DialogFixture hub;
    hub.Select(0);
    hub.Remove();
    hub.Add(QStringLiteral("dave"));
    Choose(hub.Permissions(), 0);
    hub.Select(0);
    Type(hub.Digest(), QStringLiteral("AB"));
    const QStringList edited = hub.Users();
    hub.Press("okButton");
    QCOMPARE(hub.Result(), int(QDialog::Accepted));
    QVERIFY(!hub.Dialog().isVisible());
    QCOMPARE(hub.Users(), edited);
    QList<USER> users = ThreeUsers().mid(1);
    users[0].md5 = QStringLiteral("ab");
    users += MakeUser(QStringLiteral("dave"), EMPTY_DIGEST, true);
    QCOMPARE(hub.Users(), Texts(users));
}

void tst_AppAccessRestrictionsDialogUsers::leavingPutsEverythingBack_data()
{
    QTest::addColumn<QString>("way");

    QTest::newRow("cancel") << "cancel";
    QTest::newRow("escape") << "escape";
    QTest::newRow("close") << "close";
    QTest::newRow("slot") << "slot";
}

void tst_AppAccessRestrictionsDialogUsers::leavingPutsEverythingBack()
{
    QFETCH(const QString, way);
    const QTemporaryDir chosen;
    // One digest in upper case: showing it lowers it, leaving brings it back.
    const QList<USER> users =
        ThreeUsers() +
        QList<USER>{MakeUser(QStringLiteral("%1 <b>&</b>"), ALICE_DIGEST.toUpper(), true, true),
                    MakeUser(QString()), MakeUser(QStringLiteral("bob"))};
    const DialogFixture hub(users);
    hub.Select(3);
    QCOMPARE(hub->User(3)->md5, ALICE_DIGEST);
    Choose(hub.Permissions(), 1);
    hub.Select(1);
    Click(hub.OwnDirs());
    for (const char *browse : {"diskDirectoryBrowse", "programDirectoryBrowse"}) {
        ModalAnswer<QFileDialog> answer(
            [&](QFileDialog *chooser) { AnswerChooser(chooser, chosen.path()); });
        hub.Press(browse);
        QVERIFY(answer.Answered());
    }
    Type(hub.Digest(), QStringLiteral("0000"));
    hub.Select(0);
    hub.Remove();
    hub.Add(QStringLiteral("dave"));
    hub.Add(QStringLiteral("erin"));
    QCOMPARE(hub->NumUsers(), 7);

    if (way == QLatin1String("cancel"))
        hub.Press("cancelButton");
    else if (way == QLatin1String("escape"))
        Press(Qt::Key_Escape);
    else if (way == QLatin1String("close"))
        hub.Dialog().close();
    else
        hub.Dialog().reject();
    QCOMPARE(hub.Result(), int(QDialog::Rejected));
    QVERIFY(!hub.Dialog().isVisible());
    QCOMPARE(hub.Users(), Texts(users));
}

void tst_AppAccessRestrictionsDialogUsers::cancelOfNothingChangesNothing()
{
    const DialogFixture hub;
    hub.Press("cancelButton");
    QCOMPARE(hub.Result(), int(QDialog::Rejected));
    QCOMPARE(hub.Users(), Texts(ThreeUsers()));
}

void tst_AppAccessRestrictionsDialogUsers::listIsCopiedWhenTheDialogIsMade()
{
    const HubFixture hub;
    hub->AddUser(QStringLiteral("alice"));
    AppAccessRestrictionsDialog dialog(hub->mMainWindow);
    hub->AddUser(QStringLiteral("bob"));
    hub->User(0)->ro = true;
    dialog.open();
    dialog.reject();
    QCOMPARE(hub->NumUsers(), 1);
    QCOMPARE(hub->User(0)->name, QStringLiteral("alice"));
    QVERIFY(!hub->User(0)->ro);
}

void tst_AppAccessRestrictionsDialogUsers::neitherWayWritesTheSettings_data()
{
    QTest::addColumn<QString>("button");

    QTest::newRow("ok") << "okButton";
    QTest::newRow("cancel") << "cancelButton";
}

void tst_AppAccessRestrictionsDialogUsers::neitherWayWritesTheSettings()
{
    QFETCH(const QString, button);
    const QByteArray before = mSettings.Read();
    const DialogFixture hub;
    hub.Add(QStringLiteral("dave"));
    hub.Press(qPrintable(button));
    QCOMPARE(mSettings.Read(), before);
}

QTEST_APPLESS_MAIN(tst_AppAccessRestrictionsDialogUsers) // each hub is the application object

#include "tst_AppAccessRestrictionsDialogUsers.moc"
