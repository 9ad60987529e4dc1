// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#include "AccessDialogFixture.h"
#include "AppGenerateMd5Dialog.h"
#include "AppMainWindow.h"
#include "AppNewUserDialog.h"

#include <QFrame>
#include <QPushButton>

using namespace WindowDriver;

class tst_AppAccessRestrictionsDialog : public QObject
{
    Q_OBJECT

private slots:
    void init();

    // The form.
    void isADialog();
    void parentAndFlagsAreTaken();
    void slotsAreInOrder();
    void md5SlotParameterIsNamed();
    void syncUiDoesNothing();
    void formIsNamedTitledAndSized();
    void controls_data();
    void controls();
    void labelsAreRightAligned_data();
    void labelsAreRightAligned();
    void buttonsAreBelowTheList();
    void lineIsAboveTheButtons();
    void permissionsAreTwo();
    void digestIsShownInTheClear();
    void textsAreTranslated();

    // Opening and selecting.
    void usersAreListedInOrder();
    void namesAreListedAsTheyAre_data();
    void namesAreListedAsTheyAre();
    void nothingIsSelectedAtFirst();
    void openingChangesNothing();
    void selectedUserIsShown_data();
    void selectedUserIsShown();
    void showingLowersTheDigestInTheList();
    void goingThroughTheUsersMixesNothingUp();
    void usersOfOneNameAreSeparate();
    void deselectedUserStaysTheCurrentOne();
    void withoutCurrentUserAllIsEmptyAndDisabled();
    void slotsWithoutCurrentUserDoNothing_data();
    void slotsWithoutCurrentUserDoNothing();

    // Many users.
    void manyUsers();

    // Keyboard, screen reader and room.
    void listHasTheFocusAtFirst();
    void tabReachesEveryControl();
    void tabSkipsWhatIsDisabled();
    void enterAccepts_data();
    void enterAccepts();
    void keyboardAloneWorksTheDialog();
    void blankKeySelectsTheOnlyUser();
    void firstDownSelectsTheFirstUser();
    void downOnADeselectedUserGoesOn();
    void downWithoutUsersDoesNothing();
    void screenReaderNamesEveryControl();
    void nothingIsCutOff();
    void longTextsDoNotWidenTheDialog();
    void listTakesTheExtraHeight();
    void fieldsTakeExtraWidth();

private:
    HubSettings mSettings;
};

void tst_AppAccessRestrictionsDialog::init()
{
    QVERIFY(mSettings.Write(HubSettings::Loopback()));
}

void tst_AppAccessRestrictionsDialog::isADialog()
{
    QCOMPARE(AppAccessRestrictionsDialog::staticMetaObject.superClass(),
             &QDialog::staticMetaObject);
}

void tst_AppAccessRestrictionsDialog::parentAndFlagsAreTaken()
{
    const HubFixture hub;
    const AppAccessRestrictionsDialog dialog(hub->mMainWindow,
                                             Qt::Dialog | Qt::FramelessWindowHint);
    QCOMPARE(dialog.parentWidget(), hub->mMainWindow);
    QVERIFY(dialog.windowFlags().testFlag(Qt::FramelessWindowHint));
}

void tst_AppAccessRestrictionsDialog::slotsAreInOrder()
{
    const QStringList expected{
        QStringLiteral("reject()"),
        QStringLiteral("UserListSelectionChanged()"),
        QStringLiteral("AddUserClicked()"),
        QStringLiteral("RemoveUserClicked()"),
        QStringLiteral("Md5PasswordChanged(QString)"),
        QStringLiteral("PermissionsChanged(int)"),
        QStringLiteral("Md5BrowseClicked()"),
        QStringLiteral("OwnDirsClicked()"),
        QStringLiteral("DiskDirectoryBrowseClicked()"),
        QStringLiteral("ProgramDirectoryBrowseClicked()"),
    };
    QCOMPARE(Slots(AppAccessRestrictionsDialog::staticMetaObject), expected);
}

void tst_AppAccessRestrictionsDialog::md5SlotParameterIsNamed()
{
    const QMetaObject &type = AppAccessRestrictionsDialog::staticMetaObject;
    const QMetaMethod slot = type.method(type.indexOfSlot("Md5PasswordChanged(QString)"));
    QCOMPARE(slot.parameterNames(), QList<QByteArray>{"pVal"});
}

void tst_AppAccessRestrictionsDialog::syncUiDoesNothing()
{
    const DialogFixture hub;
    hub.Select(0);
    const QString shown = hub.Shown();
    hub->User(0)->ro = false;
    hub->AddUser(QStringLiteral("dave"));
    hub.Dialog().SyncUi();
    QCOMPARE(hub.Shown(), shown);
    QCOMPARE(hub.List()->count(), 3);
}

void tst_AppAccessRestrictionsDialog::formIsNamedTitledAndSized()
{
    const HubFixture hub;
    const AppAccessRestrictionsDialog dialog(hub->mMainWindow);
    QCOMPARE(dialog.objectName(), QStringLiteral("AppAccessRestrictionsDialog"));
    QCOMPARE(dialog.windowTitle(), QStringLiteral("Access Restrictions"));
    QCOMPARE(dialog.size(), QSize(525, 346));
}

void tst_AppAccessRestrictionsDialog::controls_data()
{
    QTest::addColumn<QString>("kind");
    QTest::addColumn<QString>("text");
    QTest::addColumn<bool>("enabled");
    QTest::addColumn<QString>("layout");
    QTest::addColumn<QString>("place");

    const char *const grid = "gridLayout";
    const char *const row = "horizontalLayout_2";
    QTest::newRow("userList") << "QListWidget"
                              << "" << true << "verticalLayout_4"
                              << "0";
    QTest::newRow("addUser") << "QPushButton"
                             << "Add User" << true << row << "0";
    QTest::newRow("removeUser") << "QPushButton"
                                << "Remove User" << false << row << "1";
    QTest::newRow("label_2") << "QLabel"
                             << "MD5 Password" << true << grid << "0,0";
    QTest::newRow("md5Password") << "QLineEdit"
                                 << "" << false << grid << "0,1";
    QTest::newRow("md5Browse") << "QPushButton"
                               << "..." << false << grid << "0,2";
    QTest::newRow("label") << "QLabel"
                           << "Permissions" << true << grid << "1,0";
    QTest::newRow("permissions") << "QComboBox"
                                 << "" << false << grid << "1,1";
    QTest::newRow("ownDirs") << "QCheckBox"
                             << "User specific disk and program directories" << false << grid
                             << "2,1";
    QTest::newRow("label_4") << "QLabel"
                             << "Disk Directory" << true << grid << "3,0";
    QTest::newRow("diskDirectory") << "QLineEdit"
                                   << "" << false << grid << "3,1";
    QTest::newRow("diskDirectoryBrowse") << "QPushButton"
                                         << "..." << false << grid << "3,2";
    QTest::newRow("label_3") << "QLabel"
                             << "Program Directory" << true << grid << "4,0";
    QTest::newRow("programDirectory") << "QLineEdit"
                                      << "" << false << grid << "4,1";
    QTest::newRow("programDirectoryBrowse") << "QPushButton"
                                            << "..." << false << grid << "4,2";
    QTest::newRow("okButton") << "QPushButton"
                              << "OK" << true << "hboxLayout"
                              << "0";
    QTest::newRow("cancelButton") << "QPushButton"
                                  << "Cancel" << true << "hboxLayout"
                                  << "1";
}

void tst_AppAccessRestrictionsDialog::controls()
{
    QFETCH(const QString, kind);
    QFETCH(const QString, text);
    QFETCH(const bool, enabled);
    QFETCH(const QString, layout);
    QFETCH(const QString, place);
    const DialogFixture hub;
    auto *const control = hub.The<>(QTest::currentDataTag());
    QCOMPARE(QString::fromLatin1(control->metaObject()->className()), kind);
    QCOMPARE(control->property("text").toString(), text);
    QCOMPARE(control->isEnabled(), enabled);
    QVERIFY(control->isVisible());
    if (layout == QLatin1String("gridLayout"))
        QCOMPARE(CellOf(hub.The<QGridLayout>("gridLayout"), control), place);
    else
        QCOMPARE(NamesIn(hub.The<QLayout>(qPrintable(layout))).value(place.toInt()),
                 control->objectName());
}

void tst_AppAccessRestrictionsDialog::labelsAreRightAligned_data()
{
    QTest::addColumn<QString>("text");

    QTest::newRow("label") << "Permissions";
    QTest::newRow("label_4") << "Disk Directory";
    QTest::newRow("label_3") << "Program Directory";
}

void tst_AppAccessRestrictionsDialog::labelsAreRightAligned()
{
    QFETCH(const QString, text);
    const DialogFixture hub;
    const auto *const label = hub.The<QLabel>(QTest::currentDataTag());
    QCOMPARE(label->text(), text);
    QCOMPARE(label->alignment() & Qt::AlignHorizontal_Mask, Qt::Alignment(Qt::AlignRight));
    QCOMPARE(label->alignment() & Qt::AlignVertical_Mask, Qt::Alignment(Qt::AlignVCenter));
}

void tst_AppAccessRestrictionsDialog::buttonsAreBelowTheList()
{
    const DialogFixture hub;
    const QRect list = hub.List()->geometry();
    const QRect add = hub.The<>("addUser")->geometry();
    const QRect remove = hub.The<>("removeUser")->geometry();
    QVERIFY(add.top() > list.bottom());
    QCOMPARE(remove.top(), add.top());
    QVERIFY(remove.left() > add.right());
    QVERIFY(list.right() < hub.The<>("label_2")->geometry().left());
    QVERIFY(list.right() < hub.The<>("label_3")->geometry().left());
}

void tst_AppAccessRestrictionsDialog::lineIsAboveTheButtons()
{
    const DialogFixture hub;
    const auto *const line = hub.The<QFrame>("line");
    QCOMPARE(line->frameShape(), QFrame::HLine);
    QVERIFY(line->geometry().top() > hub.The<>("addUser")->geometry().bottom());
    QVERIFY(line->geometry().bottom() < hub.The<>("okButton")->geometry().top());
    QCOMPARE(hub.The<>("okButton")->geometry().top(), hub.The<>("cancelButton")->geometry().top());
}

void tst_AppAccessRestrictionsDialog::permissionsAreTwo()
{
    const DialogFixture hub;
    QCOMPARE(hub.Permissions()->count(), 2);
    QCOMPARE(hub.Permissions()->itemText(0), QStringLiteral("Read Only"));
    QCOMPARE(hub.Permissions()->itemText(1), QStringLiteral("Read/Write"));
    QVERIFY(!hub.Permissions()->isEditable());
}

void tst_AppAccessRestrictionsDialog::digestIsShownInTheClear()
{
    const DialogFixture hub;
    QCOMPARE(hub.Digest()->echoMode(), QLineEdit::Normal);
    QVERIFY(!hub.Digest()->isReadOnly());
    QVERIFY(hub.Digest()->validator() == nullptr);
    QCOMPARE(hub.Digest()->inputMask(), QString());
}

void tst_AppAccessRestrictionsDialog::textsAreTranslated()
{
    const HubFixture hub;
    hub->AddUser(QStringLiteral("alice"));
    MarkingTranslator translator;
    QVERIFY(QCoreApplication::installTranslator(&translator));
    AppAccessRestrictionsDialog dialog(hub->mMainWindow);
    const QString mark = QStringLiteral("[AppAccessRestrictionsDialog]");
    QCOMPARE(dialog.windowTitle(), mark + QStringLiteral("Access Restrictions"));
    for (const QLabel *label : dialog.findChildren<QLabel *>())
        QVERIFY2(label->text().startsWith(mark), qPrintable(label->text()));
    for (const QAbstractButton *button : dialog.findChildren<QPushButton *>())
        QVERIFY2(button->text().startsWith(mark), qPrintable(button->text()));
    QVERIFY(Named<QCheckBox>(dialog, "ownDirs")->text().startsWith(mark));
    const auto *const permissions = Named<QComboBox>(dialog, "permissions");
    QCOMPARE(permissions->itemText(0), mark + QStringLiteral("Read Only"));
    QCOMPARE(permissions->itemText(1), mark + QStringLiteral("Read/Write"));

    dialog.open();
    Activate(&dialog);
    ClickRow(Named<QListWidget>(dialog, "userList"), 0);
    ModalAnswer<QMessageBox> answer([&](QMessageBox *question) {
        QCOMPARE(question->text(), mark + QStringLiteral("Remove User"));
        QCOMPARE(question->informativeText(),
                 mark + QStringLiteral("Are you sure you want to remove the user '%1'?")
                            .arg(QStringLiteral("alice")));
        Click(question->button(QMessageBox::No));
    });
    Click(dialog, "removeUser");
    QVERIFY(answer.Answered());
}

void tst_AppAccessRestrictionsDialog::usersAreListedInOrder()
{
    const DialogFixture hub({MakeUser(QStringLiteral("zoe")), MakeUser(QStringLiteral("Adam")),
                             MakeUser(QStringLiteral("bob")), MakeUser(QString()),
                             MakeUser(QStringLiteral("Adam"))});
    QCOMPARE(hub.ListedNames(),
             (QStringList{QStringLiteral("zoe"), QStringLiteral("Adam"), QStringLiteral("bob"),
                          QString(), QStringLiteral("Adam")}));
}

void tst_AppAccessRestrictionsDialog::namesAreListedAsTheyAre_data()
{
    AddNameRows();
}

void tst_AppAccessRestrictionsDialog::namesAreListedAsTheyAre()
{
    QFETCH(const QString, name);
    const DialogFixture hub({MakeUser(name)});
    QCOMPARE(hub.ListedNames(), QStringList{name});
}

void tst_AppAccessRestrictionsDialog::nothingIsSelectedAtFirst()
{
    const DialogFixture hub;
    QVERIFY(hub.List()->selectedItems().isEmpty());
    QVERIFY(hub.AllEnabled(EDITING, false));
    QVERIFY(hub.DirectoriesEnabled(false));
    QVERIFY(hub.The<>("addUser")->isEnabled());
    QCOMPARE(hub.Digest()->text(), QString());
    QCOMPARE(hub.Permissions()->currentIndex(), 0);
    QVERIFY(!hub.OwnDirs()->isChecked());
    QCOMPARE(hub.The<QLineEdit>("diskDirectory")->text(), QString());
    QCOMPARE(hub.The<QLineEdit>("programDirectory")->text(), QString());
}

void tst_AppAccessRestrictionsDialog::openingChangesNothing()
{
    const QList<USER> users{MakeUser(QStringLiteral("alice"), ALICE_DIGEST.toUpper(), false, true,
                                     QStringLiteral("/disks"), QStringLiteral("/programs"))};
    const DialogFixture hub(users);
    QCOMPARE(hub.Users(), Texts(users));
}

void tst_AppAccessRestrictionsDialog::selectedUserIsShown_data()
{
    QTest::addColumn<bool>("ro");
    QTest::addColumn<bool>("own");
    QTest::addColumn<QString>("disks");
    QTest::addColumn<QString>("programs");

    QTest::newRow("read-write") << false << false << ""
                                << "";
    QTest::newRow("read-only") << true << false << ""
                               << "";
    QTest::newRow("own-directories") << false << true << "/disks"
                                     << "/programs";
    QTest::newRow("own-directories-not-chosen") << true << true << ""
                                                << "";
    QTest::newRow("own-directories-off") << true << false << "/disks"
                                         << "/programs";
    QTest::newRow("odd-directories")
        << false << true << "/<b>a</b> & \"%1\"" << QString::fromUtf8("/gr\xC3\xBC\xC3\x9F");
}

void tst_AppAccessRestrictionsDialog::selectedUserIsShown()
{
    QFETCH(const bool, ro);
    QFETCH(const bool, own);
    QFETCH(const QString, disks);
    QFETCH(const QString, programs);
    const USER user = MakeUser(QStringLiteral("dave"), BOB_DIGEST, ro, own, disks, programs);
    const DialogFixture hub(ThreeUsers() + QList<USER>{user});
    const QStringList users = hub.Users();
    hub.Select(3);
    QCOMPARE(hub.Shown(), Text(user));
    QVERIFY(hub.AllEnabled(EDITING, true));
    QVERIFY(hub.DirectoriesEnabled(own));
    QCOMPARE(hub.Users(), users);
}

void tst_AppAccessRestrictionsDialog::showingLowersTheDigestInTheList()
{
    const DialogFixture hub({MakeUser(QStringLiteral("alice"), ALICE_DIGEST.toUpper()),
                             MakeUser(QStringLiteral("bob"), BOB_DIGEST.toUpper())});
    hub.Select(1);
    QCOMPARE(hub->User(0)->md5, ALICE_DIGEST.toUpper()); // not shown yet
    QCOMPARE(hub->User(1)->md5, BOB_DIGEST);
    hub.Select(0);
    QCOMPARE(hub->User(0)->md5, ALICE_DIGEST);
}

void tst_AppAccessRestrictionsDialog::goingThroughTheUsersMixesNothingUp()
{
    const DialogFixture hub;
    for (const int row : {0, 1, 2, 1, 0, 2, 0}) {
        hub.Select(row);
        QCOMPARE(hub.Shown(), Text(ThreeUsers().at(row)));
        QCOMPARE(hub.Users(), Texts(ThreeUsers()));
    }
}

void tst_AppAccessRestrictionsDialog::usersOfOneNameAreSeparate()
{
    const DialogFixture hub({MakeUser(QStringLiteral("twin"), ALICE_DIGEST),
                             MakeUser(QStringLiteral("twin"), BOB_DIGEST)});
    hub.Select(1);
    QCOMPARE(hub.Digest()->text(), BOB_DIGEST);
    Type(hub.Digest(), QStringLiteral("abc"));
    QCOMPARE(hub->User(0)->md5, ALICE_DIGEST);
    QCOMPARE(hub->User(1)->md5, QStringLiteral("abc"));
}

void tst_AppAccessRestrictionsDialog::deselectedUserStaysTheCurrentOne()
{
    const DialogFixture hub;
    hub.Select(0);
    ClickRow(hub.List(), 0, Qt::ControlModifier);
    QVERIFY(hub.List()->selectedItems().isEmpty());
    QCOMPARE(hub.List()->currentRow(), 0);
    QVERIFY(hub.AllEnabled(EDITING, true)); // the current row counts
    QCOMPARE(hub.Shown(), Text(ThreeUsers().at(0)));
}

void tst_AppAccessRestrictionsDialog::withoutCurrentUserAllIsEmptyAndDisabled()
{
    const DialogFixture hub;
    hub.Select(0);
    hub.List()->setCurrentRow(-1);
    QVERIFY(hub.AllEnabled(EDITING, false));
    QVERIFY(hub.DirectoriesEnabled(false));
    QCOMPARE(hub.Shown(), Text(MakeUser(QString(), QString(), true))); // "Read Only" has index 0
    QCOMPARE(hub.Users(), Texts(ThreeUsers()));
}

void tst_AppAccessRestrictionsDialog::slotsWithoutCurrentUserDoNothing_data()
{
    QTest::addColumn<QString>("slot");

    for (const char *slot :
         {"RemoveUserClicked", "Md5BrowseClicked", "OwnDirsClicked", "DiskDirectoryBrowseClicked",
          "ProgramDirectoryBrowseClicked", "Md5PasswordChanged", "PermissionsChanged"})
        QTest::newRow(slot) << slot;
}

void tst_AppAccessRestrictionsDialog::slotsWithoutCurrentUserDoNothing()
{
    QFETCH(const QString, slot);
    const DialogFixture hub;
    hub.List()->setCurrentRow(-1);
    ModalAnswer<QDialog> answer([](QDialog *dialog) { dialog->reject(); });
    AppAccessRestrictionsDialog &dialog = hub.Dialog();
    if (slot == QLatin1String("Md5PasswordChanged"))
        dialog.Md5PasswordChanged(QStringLiteral("abc"));
    else if (slot == QLatin1String("PermissionsChanged"))
        dialog.PermissionsChanged(0);
    else
        QVERIFY(QMetaObject::invokeMethod(&dialog, slot.toLatin1().constData()));
    QVERIFY(!answer.Answered());
    QCOMPARE(hub.Users(), Texts(ThreeUsers()));
    QVERIFY(hub.DirectoriesEnabled(false));
}

void tst_AppAccessRestrictionsDialog::manyUsers()
{
    QList<USER> users;
    for (int i = 0; i < 500; ++i)
        users +=
            MakeUser(QStringLiteral("user %1").arg(i), ALICE_DIGEST, i % 2 == 0, i % 3 == 0,
                     QStringLiteral("/disks/%1").arg(i), QStringLiteral("/programs/%1").arg(i));
    const DialogFixture hub(users);
    QCOMPARE(hub.List()->count(), 500);
    hub.Select(499);
    QCOMPARE(hub.Shown(), Text(users.at(499)));
    Type(hub.Digest(), BOB_DIGEST);
    hub.Select(0);
    QCOMPARE(hub.Shown(), Text(users.at(0)));
    hub.Remove();
    hub.Add(QStringLiteral("user 0"));
    QCOMPARE(hub.List()->currentRow(), 499);
    QVERIFY(hub.List()->viewport()->rect().intersects(
        hub.List()->visualItemRect(hub.List()->item(499)))); // scrolled to
    QCOMPARE(hub->User(498)->md5, BOB_DIGEST);
    QCOMPARE(CutOff(hub.Dialog()), QStringList());
    hub.Press("cancelButton");
    QCOMPARE(hub.Users(), Texts(users));
}

void tst_AppAccessRestrictionsDialog::listHasTheFocusAtFirst()
{
    const DialogFixture hub;
    QCOMPARE(QApplication::focusWidget(), hub.List());
}

void tst_AppAccessRestrictionsDialog::tabReachesEveryControl()
{
    const DialogFixture hub;
    hub.Select(0);
    const QStringList order{
        QStringLiteral("userList"),
        QStringLiteral("addUser"),
        QStringLiteral("removeUser"),
        QStringLiteral("md5Password"),
        QStringLiteral("md5Browse"),
        QStringLiteral("permissions"),
        QStringLiteral("ownDirs"),
        QStringLiteral("diskDirectory"),
        QStringLiteral("diskDirectoryBrowse"),
        QStringLiteral("programDirectory"),
        QStringLiteral("programDirectoryBrowse"),
        QStringLiteral("okButton"),
        QStringLiteral("cancelButton"),
    };
    QCOMPARE(TabOrder(hub.Dialog(), "userList"), order);
    QCOMPARE(BacktabOrder(hub.Dialog(), "userList"), order);
}

void tst_AppAccessRestrictionsDialog::tabSkipsWhatIsDisabled()
{
    const DialogFixture hub;
    const QStringList order{QStringLiteral("userList"), QStringLiteral("addUser"),
                            QStringLiteral("okButton"), QStringLiteral("cancelButton")};
    QCOMPARE(TabOrder(hub.Dialog(), "userList"), order);
}

void tst_AppAccessRestrictionsDialog::enterAccepts_data()
{
    QTest::addColumn<QString>("control");

    QTest::newRow("in-the-list") << "userList";
    QTest::newRow("in-the-digest") << "md5Password";
    QTest::newRow("in-a-directory") << "diskDirectory";
    QTest::newRow("on-a-check-box") << "ownDirs";
    QTest::newRow("on-the-permissions") << "permissions";
}

void tst_AppAccessRestrictionsDialog::enterAccepts()
{
    QFETCH(const QString, control);
    const DialogFixture hub;
    hub.Select(0);
    hub.The<>(qPrintable(control))->setFocus();
    ModalAnswer<QDialog> answer([](QDialog *dialog) { dialog->reject(); });
    Press(Qt::Key_Return);
    QVERIFY(!answer.Answered()); // no other button has taken it
    QCOMPARE(hub.Result(), int(QDialog::Accepted));
    QCOMPARE(hub.Users(), Texts(ThreeUsers()));
}

void tst_AppAccessRestrictionsDialog::keyboardAloneWorksTheDialog()
{
    const DialogFixture hub;
    Press(Qt::Key_Tab);
    ModalAnswer<AppNewUserDialog> name([](AppNewUserDialog *) {
        Press(Qt::Key_A, Qt::ControlModifier);
        QTest::keyClicks(QApplication::focusWidget(), QStringLiteral("dave"));
        Press(Qt::Key_Return);
    });
    Press(Qt::Key_Space);
    QVERIFY(name.Answered());
    QCOMPARE(hub.Dialog().focusWidget()->objectName(), QStringLiteral("addUser"));

    for (int i = 0; i < 3; ++i)
        Press(Qt::Key_Tab);
    ModalAnswer<AppGenerateMd5Dialog> generator([](AppGenerateMd5Dialog *) {
        QTest::keyClicks(QApplication::focusWidget(), QStringLiteral("abc"));
        Press(Qt::Key_Return);
    });
    Press(Qt::Key_Space);
    QVERIFY(generator.Answered());
    Press(Qt::Key_Tab);
    Press(Qt::Key_Up);
    Press(Qt::Key_Tab);
    Press(Qt::Key_Space);
    QCOMPARE(Text(*hub->User(3)),
             Text(MakeUser(QStringLiteral("dave"),
                           QStringLiteral("900150983cd24fb0d6963f7d28e17f72"), true, true)));

    hub.List()->setFocus(Qt::TabFocusReason);
    Press(Qt::Key_Up);
    QCOMPARE(hub.Shown(), Text(ThreeUsers().at(2)));
    Press(Qt::Key_Tab);
    Press(Qt::Key_Tab);
    ModalAnswer<QMessageBox> question([](QMessageBox *) {
        Press(Qt::Key_Backtab);
        Press(Qt::Key_Space);
    });
    Press(Qt::Key_Space);
    QVERIFY(question.Answered());
    QCOMPARE(hub.ListedNames(),
             (QStringList{QStringLiteral("alice"), QStringLiteral("bob"), QStringLiteral("dave")}));
}

void tst_AppAccessRestrictionsDialog::blankKeySelectsTheOnlyUser()
{
    const DialogFixture hub({ThreeUsers().at(0)});
    QVERIFY(hub.AllEnabled(EDITING, false));
    Press(Qt::Key_Space);
    QVERIFY(hub.AllEnabled(EDITING, true));
    QCOMPARE(hub.Shown(), Text(ThreeUsers().at(0)));
}

void tst_AppAccessRestrictionsDialog::firstDownSelectsTheFirstUser()
{
    const DialogFixture hub;
    for (int row = 0; row < 3; ++row) {
        Press(Qt::Key_Down);
        QCOMPARE(hub.List()->currentRow(), row);
        QCOMPARE(hub.List()->selectedItems(), QList<QListWidgetItem *>{hub.List()->item(row)});
        QCOMPARE(hub.Shown(), Text(ThreeUsers().at(row)));
        QVERIFY(hub.AllEnabled(EDITING, true));
    }
}

void tst_AppAccessRestrictionsDialog::downOnADeselectedUserGoesOn()
{
    const DialogFixture hub;
    hub.Select(1);
    ClickRow(hub.List(), 1, Qt::ControlModifier);
    QVERIFY(hub.List()->selectedItems().isEmpty());
    Press(Qt::Key_Down);
    QCOMPARE(hub.List()->currentRow(), 2);
}

void tst_AppAccessRestrictionsDialog::downWithoutUsersDoesNothing()
{
    const DialogFixture hub(QList<USER>{});
    Press(Qt::Key_Down);
    QCOMPARE(hub.List()->currentRow(), -1);
    QVERIFY(hub.AllEnabled(EDITING, false));
}

void tst_AppAccessRestrictionsDialog::screenReaderNamesEveryControl()
{
    const DialogFixture hub;
    QCOMPARE(Controls(hub.Dialog()).size(), 13);
    QCOMPARE(BadlySpoken(hub.Dialog()), QStringList());
}

void tst_AppAccessRestrictionsDialog::nothingIsCutOff()
{
    const DialogFixture hub;
    hub.Select(0);
    QCOMPARE(CutOff(hub.Dialog()), QStringList());
}

void tst_AppAccessRestrictionsDialog::longTextsDoNotWidenTheDialog()
{
    const QString path = QStringLiteral("/a-long-path").repeated(50);
    const DialogFixture hub({MakeUser(QString(500, QLatin1Char('x')), ALICE_DIGEST.repeated(10),
                                      true, true, path, path)});
    const int width = hub.Dialog().width();
    hub.Select(0);
    QCoreApplication::processEvents();
    QCOMPARE(hub.Dialog().width(), width);
    QCOMPARE(CutOff(hub.Dialog()), QStringList());
}

void tst_AppAccessRestrictionsDialog::listTakesTheExtraHeight()
{
    const DialogFixture hub;
    const int list = hub.List()->height();
    const int field = hub.Digest()->height();
    hub.Dialog().resize(hub.Dialog().size() + QSize(0, 200));
    QTRY_COMPARE(hub.List()->height(), list + 200);
    QCOMPARE(hub.Digest()->height(), field);
    QCOMPARE(CutOff(hub.Dialog()), QStringList());
}

void tst_AppAccessRestrictionsDialog::fieldsTakeExtraWidth()
{
    const DialogFixture hub;
    const int list = hub.List()->width();
    const int field = hub.Digest()->width();
    hub.Dialog().resize(hub.Dialog().size() + QSize(200, 0));
    QTRY_COMPARE(hub.List()->width() - list + hub.Digest()->width() - field, 200);
    QVERIFY(hub.List()->width() >= list);
    QVERIFY(hub.Digest()->width() >= field);
    QCOMPARE(CutOff(hub.Dialog()), QStringList());
}

QTEST_APPLESS_MAIN(tst_AppAccessRestrictionsDialog) // each hub is the application object

#include "tst_AppAccessRestrictionsDialog.moc"
