// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#include "AppAccessRestrictionsDialog.h"
#include "AppGenerateMd5Dialog.h"
#include "AppMainWindow.h"
#include "AppNewUserDialog.h"
#include "HubFixture.h"
#include "WindowDriver.h"

#include <QFrame>
#include <QMessageBox>
#include <QPushButton>
#include <QSignalSpy>

#include <algorithm>

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
    void directoriesAreReadOnly();
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
    void namesAreAskedForAsTheyAre_data();
    void namesAreAskedForAsTheyAre();
    void removalNeedsAYes_data();
    void removalNeedsAYes();
    void removedUserIsGone_data();
    void removedUserIsGone();
    void itemGoesBeforeTheUser();
    void lastUserRemovedLeavesNothing();
    void userThatIsCurrentButNotSelectedGoes();

    // Editing.
    void digestIsStoredInLowerCase_data();
    void digestIsStoredInLowerCase();
    void digestIsStoredWithEveryKey();
    void digestMayHaveAnyLength();
    void permissionsAreStored();
    void ownDirectoriesAreSwitched();
    void ownDirectoriesFollowTheMarkOnly();
    void chooserIsSetUp_data();
    void chooserIsSetUp();
    void chooserForgetsTheStoredDirectory_data();
    void chooserForgetsTheStoredDirectory();
    void chosenDirectoryIsStored_data();
    void chosenDirectoryIsStored();
    void cancelledChooserChangesNothing_data();
    void cancelledChooserChangesNothing();
    void linkIsNotResolved_data();
    void linkIsNotResolved();
    void generatedDigestIsStored();
    void rejectedGeneratorChangesNothing_data();
    void rejectedGeneratorChangesNothing();
    void editsChangeTheCurrentUserOnly();

    // Leaving.
    void okKeepsEverything();
    void leavingPutsEverythingBack_data();
    void leavingPutsEverythingBack();
    void cancelOfNothingChangesNothing();
    void listIsCopiedWhenTheDialogIsMade();
    void neitherWayWritesTheSettings_data();
    void neitherWayWritesTheSettings();

    // Requests while the dialog is open.
    void editsHoldForTheNextRequest();
    void removalHoldsForTheNextRequest();
    void additionHoldsForTheNextRequest();

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
    void screenReaderNamesEveryControl();
    void nothingIsCutOff();
    void longTextsDoNotWidenTheDialog();
    void listTakesTheExtraHeight();
    void fieldsTakeExtraWidth();

private:
    HubSettings mSettings;
};

namespace
{

using USER = AppDiskHub::USER;

constexpr int RESULT_AUTH_FAILURE = -89;

const QString EMPTY_DIGEST = QStringLiteral("d41d8cd98f00b204e9800998ecf8427e");
const QString ALICE_DIGEST = QStringLiteral("6384e2b2184bcbf58eccf10ca7a6563c");
const QString BOB_DIGEST = QStringLiteral("9f9d51bc70ef21ca5c14f307980a29d8");

/// The controls that work on the current user, without the directories.
const char *const EDITING[] = {"removeUser", "md5Password", "md5Browse", "permissions", "ownDirs"};
const char *const DIRECTORY_CONTROLS[] = {"diskDirectory", "diskDirectoryBrowse",
                                          "programDirectory", "programDirectoryBrowse"};

USER MakeUser(const QString &name, const QString &md5 = EMPTY_DIGEST, bool ro = false,
              bool own_dir = false, const QString &disk_dir = QString(),
              const QString &program_dir = QString())
{
    USER user;
    user.name = name;
    user.md5 = md5;
    user.ro = ro;
    user.own_dir = own_dir;
    user.disk_dir = disk_dir;
    user.program_dir = program_dir;
    return user;
}

QList<USER> ThreeUsers()
{
    return {
        MakeUser(QStringLiteral("alice"), ALICE_DIGEST, true, true, QStringLiteral("/alice/disks"),
                 QStringLiteral("/alice/programs")),
        MakeUser(QStringLiteral("bob"), BOB_DIGEST, false, false, QStringLiteral("/bob/disks"),
                 QStringLiteral("/bob/programs")),
        MakeUser(QStringLiteral("carol"), EMPTY_DIGEST, true, false),
    };
}

/// All fields in one text, for comparing.
QString Text(const USER &user)
{
    const QStringList fields{user.name,
                             user.md5,
                             user.ro ? QStringLiteral("ro") : QStringLiteral("rw"),
                             user.own_dir ? QStringLiteral("own") : QStringLiteral("shared"),
                             user.disk_dir,
                             user.program_dir};
    return fields.join(QLatin1Char('|'));
}

QStringList Texts(const QList<USER> &users)
{
    QStringList texts;
    for (const USER &user : users)
        texts += Text(user);
    return texts;
}

/// A hub with users and its dialog, which is open and active.
class DialogFixture : public HubFixture
{
public:
    explicit DialogFixture(const QList<USER> &users = ThreeUsers())
    {
        for (const USER &user : users)
            *Hub().User(Hub().AddUser(user.name)) = user;
        mDialog = std::make_unique<AppAccessRestrictionsDialog>(Hub().mMainWindow);
        mFinished = std::make_unique<QSignalSpy>(mDialog.get(), &QDialog::finished);
        mDialog->open();
        Activate(mDialog.get());
    }

    AppAccessRestrictionsDialog &Dialog() const { return *mDialog; }

    template <typename T = QWidget> T *The(const char *name) const
    {
        return Named<T>(*mDialog, name);
    }

    QListWidget *List() const { return The<QListWidget>("userList"); }
    QLineEdit *Digest() const { return The<QLineEdit>("md5Password"); }
    QComboBox *Permissions() const { return The<QComboBox>("permissions"); }
    QCheckBox *OwnDirs() const { return The<QCheckBox>("ownDirs"); }

    void Select(int row) const { ClickRow(List(), row); }
    void Press(const char *name) const { Click(*mDialog, name); }

    QStringList ListedNames() const
    {
        QStringList names;
        for (int i = 0; i < List()->count(); ++i)
            names += List()->item(i)->text();
        return names;
    }

    /// The hub's users as texts.
    QStringList Users() const
    {
        QStringList texts;
        for (int i = 0; i < Hub().NumUsers(); ++i)
            texts += Text(*Hub().User(i));
        return texts;
    }

    /// What the controls show, as a user's text.
    QString Shown() const
    {
        const QListWidgetItem *const item = List()->currentItem();
        return Text(MakeUser(item != nullptr ? item->text() : QString(), Digest()->text(),
                             Permissions()->currentIndex() == 0, OwnDirs()->isChecked(),
                             The<QLineEdit>("diskDirectory")->text(),
                             The<QLineEdit>("programDirectory")->text()));
    }

    bool AllEnabled(const char *const (&names)[5], bool enabled) const
    {
        return std::all_of(std::begin(names), std::end(names),
                           [&](const char *name) { return The<>(name)->isEnabled() == enabled; });
    }

    bool DirectoriesEnabled(bool enabled) const
    {
        return std::all_of(std::begin(DIRECTORY_CONTROLS), std::end(DIRECTORY_CONTROLS),
                           [&](const char *name) { return The<>(name)->isEnabled() == enabled; });
    }

    /// Adds a user by the button and the dialog that it opens.
    void Add(const QString &name) const
    {
        ModalAnswer<AppNewUserDialog> answer([&](AppNewUserDialog *dialog) {
            Type(Named<QLineEdit>(*dialog, "username"), name);
            Click(*dialog, "okButton");
        });
        Press("addUser");
        if (!answer.Answered())
            QFAIL("nobody asked for the name");
    }

    /// Removes the current user by the button and the question that it asks.
    void Remove(QMessageBox::StandardButton button = QMessageBox::Yes) const
    {
        ModalAnswer<QMessageBox> answer(
            [&](QMessageBox *question) { Click(question->button(button)); });
        Press("removeUser");
        if (!answer.Answered())
            QFAIL("nobody asked whether to remove");
    }

    /// The one result that the dialog has finished with, or -1.
    int Result() const { return mFinished->size() == 1 ? mFinished->at(0).at(0).toInt() : -1; }

private:
    std::unique_ptr<AppAccessRestrictionsDialog> mDialog;
    std::unique_ptr<QSignalSpy> mFinished;
};

/// The result code of a SEARCH by that user, and the last line of the console.
int SearchAs(const HubFixture &hub, const QString &name, const QString &digest)
{
    return hub
        .Send(FormRequest(
            {{"cmd", "1"}, {"pat", "*"}, {"usr", name.toUtf8()}, {"pwd", digest.toUtf8()}}))
        .Package()
        .result;
}

const QVector<DIRECTORY<USER>> DIRECTORIES = Directories(&USER::disk_dir, &USER::program_dir);

void AddNameRows()
{
    QTest::addColumn<QString>("name");

    QTest::newRow("plain") << "dave";
    QTest::newRow("blanks-around") << "  dave ";
    QTest::newRow("quotes") << "O'Brien \"Bob\"";
    QTest::newRow("umlauts") << QString::fromUtf8("J\xC3\xB6rg M\xC3\xBCller");
    QTest::newRow("outside-latin-1") << QString::fromUtf8("\xE6\xBC\xA2\xE5\xAD\x97");
    QTest::newRow("placeholders") << "%1 %2 100%";
    QTest::newRow("ampersand") << "you & me";
    QTest::newRow("markup") << "<b>bold</b>";
}

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

} // namespace

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

void tst_AppAccessRestrictionsDialog::directoriesAreReadOnly()
{
    const DialogFixture hub;
    hub.Select(0);
    const QStringList users = hub.Users();
    for (const DIRECTORY<USER> &directory : DIRECTORIES) {
        auto *const field = hub.The<QLineEdit>(directory.field);
        QVERIFY(field->isReadOnly());
        const QString text = field->text();
        Type(field, QStringLiteral("x"));
        QCOMPARE(field->text(), text);
    }
    QCOMPARE(hub.Users(), users);
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

void tst_AppAccessRestrictionsDialog::newUserHasTheDefaults()
{
    const DialogFixture hub(QList<USER>{});
    hub.Add(QStringLiteral("dave"));
    QCOMPARE(hub.Users(), QStringList{Text(MakeUser(QStringLiteral("dave")))});
    QCOMPARE(hub->User(0)->md5, EMPTY_DIGEST);
}

void tst_AppAccessRestrictionsDialog::newUserIsAppendedAndCurrent()
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

void tst_AppAccessRestrictionsDialog::newUserDialogProposesAName()
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

void tst_AppAccessRestrictionsDialog::newNameIsTakenAsItIs_data()
{
    AddNameRows();
    QTest::newRow("empty") << "";
    QTest::newRow("blank") << " ";
}

void tst_AppAccessRestrictionsDialog::newNameIsTakenAsItIs()
{
    QFETCH(const QString, name);
    const DialogFixture hub;
    hub.Add(name);
    QCOMPARE(hub->NumUsers(), 4);
    QCOMPARE(hub->User(3)->name, name);
    QCOMPARE(hub.ListedNames().value(3), name);
}

void tst_AppAccessRestrictionsDialog::rejectedNewUserAddsNothing_data()
{
    QTest::addColumn<QString>("way");

    QTest::newRow("cancel") << "cancel";
    QTest::newRow("escape") << "escape";
    QTest::newRow("close") << "close";
}

void tst_AppAccessRestrictionsDialog::rejectedNewUserAddsNothing()
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

void tst_AppAccessRestrictionsDialog::takenNameIsRefusedAndProposedAgain_data()
{
    AddNameRows();
    QTest::newRow("empty") << "";
}

void tst_AppAccessRestrictionsDialog::takenNameIsRefusedAndProposedAgain()
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

void tst_AppAccessRestrictionsDialog::takenNameMessage()
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
        Press(Qt::Key_Escape);
    });
    answers.Then<AppNewUserDialog>([](AppNewUserDialog *dialog) { dialog->reject(); });
    hub.Press("addUser");
    QVERIFY(answers.Answered());
}

void tst_AppAccessRestrictionsDialog::takenNameIsAskedForUntilItIsFree()
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

void tst_AppAccessRestrictionsDialog::takenNameCanBeGivenUp()
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

void tst_AppAccessRestrictionsDialog::nameOfAnotherCaseIsFree()
{
    const DialogFixture hub;
    hub.Add(QStringLiteral("Alice"));
    hub.Add(QStringLiteral("alice "));
    QCOMPARE(hub.ListedNames().mid(3),
             (QStringList{QStringLiteral("Alice"), QStringLiteral("alice ")}));
}

void tst_AppAccessRestrictionsDialog::nameOfARemovedUserIsFree()
{
    const DialogFixture hub;
    hub.Select(0);
    hub.Remove();
    hub.Add(QStringLiteral("alice"));
    QCOMPARE(hub.ListedNames(), (QStringList{QStringLiteral("bob"), QStringLiteral("carol"),
                                             QStringLiteral("alice")}));
    QCOMPARE(Text(*hub->User(2)), Text(MakeUser(QStringLiteral("alice"))));
}

void tst_AppAccessRestrictionsDialog::defaultNameIsTakenTheSecondTime()
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

void tst_AppAccessRestrictionsDialog::removalIsAskedFor()
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
        QCOMPARE(hub.Users(), Texts(ThreeUsers()));
        Click(question->button(QMessageBox::No));
    });
    hub.Press("removeUser");
    QVERIFY(answer.Answered());
}

void tst_AppAccessRestrictionsDialog::namesAreAskedForAsTheyAre_data()
{
    AddNameRows();
}

void tst_AppAccessRestrictionsDialog::namesAreAskedForAsTheyAre()
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

void tst_AppAccessRestrictionsDialog::removalNeedsAYes_data()
{
    QTest::addColumn<QString>("way");

    QTest::newRow("no") << "no";
    QTest::newRow("enter-takes-the-default") << "enter";
    QTest::newRow("escape") << "escape";
    QTest::newRow("close") << "close";
}

void tst_AppAccessRestrictionsDialog::removalNeedsAYes()
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

void tst_AppAccessRestrictionsDialog::removedUserIsGone_data()
{
    QTest::addColumn<int>("row");

    QTest::newRow("first") << 0;
    QTest::newRow("middle") << 1;
    QTest::newRow("last") << 2;
}

void tst_AppAccessRestrictionsDialog::removedUserIsGone()
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

void tst_AppAccessRestrictionsDialog::itemGoesBeforeTheUser()
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

void tst_AppAccessRestrictionsDialog::lastUserRemovedLeavesNothing()
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

void tst_AppAccessRestrictionsDialog::userThatIsCurrentButNotSelectedGoes()
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

void tst_AppAccessRestrictionsDialog::digestIsStoredInLowerCase_data()
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

void tst_AppAccessRestrictionsDialog::digestIsStoredInLowerCase()
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

void tst_AppAccessRestrictionsDialog::digestIsStoredWithEveryKey()
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

void tst_AppAccessRestrictionsDialog::digestMayHaveAnyLength()
{
    const DialogFixture hub;
    hub.Select(1);
    const QString text(100000, QLatin1Char('F'));
    hub.Dialog().Md5PasswordChanged(text);
    QCOMPARE(hub->User(1)->md5, text.toLower());
}

void tst_AppAccessRestrictionsDialog::permissionsAreStored()
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

void tst_AppAccessRestrictionsDialog::ownDirectoriesAreSwitched()
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

void tst_AppAccessRestrictionsDialog::ownDirectoriesFollowTheMarkOnly()
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

void tst_AppAccessRestrictionsDialog::chooserIsSetUp_data()
{
    AddDirectoryRows();
}

void tst_AppAccessRestrictionsDialog::chooserIsSetUp()
{
    QFETCH(const int, which);
    const DIRECTORY<USER> &directory = DIRECTORIES[which];
    const DialogFixture hub;
    hub.Select(0);
    ModalAnswer<QFileDialog> answer([&](QFileDialog *chooser) {
        QCOMPARE(chooser->windowTitle(), directory.caption);
        QCOMPARE(chooser->parentWidget(), &hub.Dialog());
        QVERIFY(TakesDirectories(chooser));
        QVERIFY(chooser->testOption(QFileDialog::ShowDirsOnly));
        QVERIFY(chooser->testOption(QFileDialog::DontResolveSymlinks));
        AnswerChooser(chooser, QString());
    });
    hub.Press(directory.browse);
    QVERIFY(answer.Answered());
}

void tst_AppAccessRestrictionsDialog::chooserForgetsTheStoredDirectory_data()
{
    AddDirectoryRows();
}

void tst_AppAccessRestrictionsDialog::chooserForgetsTheStoredDirectory()
{
    QFETCH(const int, which);
    const DIRECTORY<USER> &directory = DIRECTORIES[which];
    const QTemporaryDir stored;
    QList<USER> users = ThreeUsers();
    users[0].*directory.member = stored.path();
    const DialogFixture hub(users);
    hub.Select(0);
    ModalAnswer<QFileDialog> answer([&](QFileDialog *chooser) {
        QVERIFY(chooser->directory() != QDir(stored.path()));
        AnswerChooser(chooser, QString());
    });
    hub.Press(directory.browse);
    QVERIFY(answer.Answered());
}

void tst_AppAccessRestrictionsDialog::chosenDirectoryIsStored_data()
{
    AddDirectoryNameRows();
}

void tst_AppAccessRestrictionsDialog::chosenDirectoryIsStored()
{
    QFETCH(const int, which);
    QFETCH(const QString, name);
    const DIRECTORY<USER> &directory = DIRECTORIES[which];
    const QTemporaryDir home;
    QVERIFY(QDir(home.path()).mkdir(name));
    const DialogFixture hub;
    hub.Select(0);
    ModalAnswer<QFileDialog> answer(
        [&](QFileDialog *chooser) { AnswerChooser(chooser, home.filePath(name)); });
    hub.Press(directory.browse);
    QVERIFY(answer.Answered());
    QList<USER> users = ThreeUsers();
    users[0].*directory.member = home.filePath(name);
    QCOMPARE(hub.Users(), Texts(users));
    QCOMPARE(hub.Shown(), Text(users.at(0)));
    QCOMPARE(hub->mDiskPath, QString());
    QCOMPARE(hub->mProgramPath, QString());
}

void tst_AppAccessRestrictionsDialog::cancelledChooserChangesNothing_data()
{
    AddDirectoryRows();
}

void tst_AppAccessRestrictionsDialog::cancelledChooserChangesNothing()
{
    QFETCH(const int, which);
    const DialogFixture hub;
    hub.Select(0);
    ModalAnswer<QFileDialog> answer(
        [](QFileDialog *chooser) { AnswerChooser(chooser, QString()); });
    hub.Press(DIRECTORIES[which].browse);
    QVERIFY(answer.Answered());
    QCOMPARE(hub.Users(), Texts(ThreeUsers()));
    QCOMPARE(hub.Shown(), Text(ThreeUsers().at(0)));
}

void tst_AppAccessRestrictionsDialog::linkIsNotResolved_data()
{
    AddDirectoryRows();
}

void tst_AppAccessRestrictionsDialog::linkIsNotResolved()
{
    QFETCH(const int, which);
    const QTemporaryDir home;
    const QDir dir(home.path());
    QVERIFY(dir.mkdir(QStringLiteral("target")));
    QVERIFY(
        QFile::link(dir.filePath(QStringLiteral("target")), dir.filePath(QStringLiteral("link"))));
    const DialogFixture hub;
    hub.Select(0);
    ModalAnswer<QFileDialog> answer([&](QFileDialog *chooser) {
        AnswerChooser(chooser, dir.filePath(QStringLiteral("link")));
    });
    hub.Press(DIRECTORIES[which].browse);
    QVERIFY(answer.Answered());
    QCOMPARE(hub->User(0)->*DIRECTORIES[which].member, dir.filePath(QStringLiteral("link")));
}

void tst_AppAccessRestrictionsDialog::generatedDigestIsStored()
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

void tst_AppAccessRestrictionsDialog::rejectedGeneratorChangesNothing_data()
{
    QTest::addColumn<QString>("way");

    QTest::newRow("cancel") << "cancel";
    QTest::newRow("escape") << "escape";
    QTest::newRow("close") << "close";
}

void tst_AppAccessRestrictionsDialog::rejectedGeneratorChangesNothing()
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

void tst_AppAccessRestrictionsDialog::editsChangeTheCurrentUserOnly()
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

void tst_AppAccessRestrictionsDialog::okKeepsEverything()
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

void tst_AppAccessRestrictionsDialog::leavingPutsEverythingBack_data()
{
    QTest::addColumn<QString>("way");

    QTest::newRow("cancel") << "cancel";
    QTest::newRow("escape") << "escape";
    QTest::newRow("close") << "close";
    QTest::newRow("slot") << "slot";
}

void tst_AppAccessRestrictionsDialog::leavingPutsEverythingBack()
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
    for (const DIRECTORY<USER> &directory : DIRECTORIES) {
        ModalAnswer<QFileDialog> answer(
            [&](QFileDialog *chooser) { AnswerChooser(chooser, chosen.path()); });
        hub.Press(directory.browse);
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

void tst_AppAccessRestrictionsDialog::cancelOfNothingChangesNothing()
{
    const DialogFixture hub;
    hub.Press("cancelButton");
    QCOMPARE(hub.Result(), int(QDialog::Rejected));
    QCOMPARE(hub.Users(), Texts(ThreeUsers()));
}

void tst_AppAccessRestrictionsDialog::listIsCopiedWhenTheDialogIsMade()
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

void tst_AppAccessRestrictionsDialog::neitherWayWritesTheSettings_data()
{
    QTest::addColumn<QString>("button");

    QTest::newRow("ok") << "okButton";
    QTest::newRow("cancel") << "cancelButton";
}

void tst_AppAccessRestrictionsDialog::neitherWayWritesTheSettings()
{
    QFETCH(const QString, button);
    const QByteArray before = mSettings.Read();
    const DialogFixture hub;
    hub.Add(QStringLiteral("dave"));
    hub.Press(qPrintable(button));
    QCOMPARE(mSettings.Read(), before);
}

void tst_AppAccessRestrictionsDialog::editsHoldForTheNextRequest()
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

void tst_AppAccessRestrictionsDialog::removalHoldsForTheNextRequest()
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

void tst_AppAccessRestrictionsDialog::additionHoldsForTheNextRequest()
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
