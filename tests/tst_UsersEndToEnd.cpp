// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#include "AppAccessRestrictionsDialog.h"
#include "AppGenerateMd5Dialog.h"
#include "AppMainWindow.h"
#include "AppNewUserDialog.h"
#include "HubFixture.h"
#include "WindowDriver.h"

#include <QMessageBox>

using namespace WindowDriver;

/// What a person does about users in the windows, seen from the device, from start to start.
class Desk;

class tst_UsersEndToEnd : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();
    void restrictedUserIsServedFromHisDirectories();
    void cancelledUsersAreForgotten();
    void removedUserIsRefused();

private:
    void ChooseDirectories(const Desk &desk);
    void MakeUsers(const Desk &desk);
    void SeeThatAllIsInForce(const Desk &desk, int run);
    void SeeThatAliceIsServed(const Desk &desk);
    void SeeThatAliceIsRefused(const Desk &desk);
    void SeeThatBobMayUpload(const Desk &desk, int run);
    void SeeThatTheDialogShowsThem(const Desk &desk);

    HubSettings mSettings;
    std::unique_ptr<QTemporaryDir> mMedia;
};

namespace
{

constexpr int RESULT_OK = 0;
constexpr int RESULT_READ_ONLY = -85;
constexpr int RESULT_AUTH_FAILURE = -89;

const QString SECRET_DIGEST = QStringLiteral("5ebe2294ecd0e0f08eab7690d2a6ee69"); // of "secret"
const QString EMPTY_DIGEST = QStringLiteral("d41d8cd98f00b204e9800998ecf8427e");

const QString ALICE = QStringLiteral("alice");
const QString BOB = QString::fromUtf8("J\xC3\xB6rg <b>%1</b>");

} // namespace

/// A hub and the person in front of it.
class Desk : public HubFixture
{
public:
    Desk() { Activate(&Window()); }

    AppMainWindow &Window() const { return *Hub().mMainWindow; }

    void ChooseDirectory(const QWidget &window, const char *browse, const QString &path) const
    {
        ModalAnswer<QFileDialog> answer(
            [&](QFileDialog *chooser) { AnswerChooser(chooser, path); });
        Click(window, browse);
        QVERIFY(answer.Answered());
    }

    /// Opens the dialog by its button, has it worked with, and closes it by that button.
    void Configure(const std::function<void(AppAccessRestrictionsDialog &)> &work,
                   const char *closing) const
    {
        ModalAnswer<AppAccessRestrictionsDialog> answer([&](AppAccessRestrictionsDialog *dialog) {
            work(*dialog);
            Click(*dialog, closing);
        });
        Click(Window(), "accessRestrictionsConfigure");
        QVERIFY(answer.Answered());
    }

    static void AddUser(const AppAccessRestrictionsDialog &dialog, const QString &name)
    {
        ModalAnswer<AppNewUserDialog> answer([&](AppNewUserDialog *asking) {
            Type(Named<QLineEdit>(*asking, "username"), name);
            Press(Qt::Key_Return);
        });
        Click(dialog, "addUser");
        QVERIFY(answer.Answered());
    }

    static void SetPassword(const AppAccessRestrictionsDialog &dialog, const QString &password)
    {
        ModalAnswer<AppGenerateMd5Dialog> answer([&](AppGenerateMd5Dialog *generator) {
            Type(Named<QLineEdit>(*generator, "textEdit"), password);
            Press(Qt::Key_Return);
        });
        Click(dialog, "md5Browse");
        QVERIFY(answer.Answered());
    }

    /// What the device gets for a search of everything.
    WirePackage Search(const QString &user, const QString &digest) const
    {
        return Send(FormRequest({{"cmd", "1"},
                                 {"pat", "*"},
                                 {"udid", "device-1"},
                                 {"usr", user.toUtf8()},
                                 {"pwd", digest.toUtf8()}}))
            .Package();
    }

    /// What the device gets for an upload of a program.
    WirePackage Upload(const QString &user, const QString &digest, const char *name) const
    {
        WireObject program;
        program.name = PetsciiName(name);
        program.data = QByteArray::fromHex("010800");
        WirePackage package;
        package.objects.append(program);
        return Send(MultipartRequest({{"cmd", "3"},
                                      {"udid", "device-1"},
                                      {"usr", user.toUtf8()},
                                      {"pwd", digest.toUtf8()}},
                                     package.Bytes()))
            .Package();
    }

    QString LastLog() const { return Log().isEmpty() ? QString() : Log().constLast(); }
};

namespace
{

/// The listing that came, empty if none did.
QByteArray Listing(const WirePackage &package)
{
    return package.objects.size() == 1 ? package.objects.at(0).data : QByteArray();
}

bool MakeFile(const QString &path, int size)
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.resize(size);
}

} // namespace

void tst_UsersEndToEnd::init()
{
    QVERIFY(mSettings.Write(HubSettings::Loopback()));
    mMedia = std::make_unique<QTemporaryDir>();
    const QDir media(mMedia->path());
    for (const char *name : {"disks", "programs", "alice's disks", "alice's programs"})
        QVERIFY(media.mkdir(QLatin1String(name)));
    QVERIFY(MakeFile(media.filePath(QStringLiteral("disks/common.d64")), 174848));
    QVERIFY(MakeFile(media.filePath(QStringLiteral("programs/shared.prg")), 3));
    QVERIFY(MakeFile(media.filePath(QStringLiteral("alice's disks/private.d64")), 174848));
    QVERIFY(MakeFile(media.filePath(QStringLiteral("alice's programs/diary.prg")), 3));
}

void tst_UsersEndToEnd::cleanup()
{
    mMedia.reset();
}

void tst_UsersEndToEnd::restrictedUserIsServedFromHisDirectories()
{
    {
        const Desk desk;
        ChooseDirectories(desk);
        MakeUsers(desk);
        SeeThatAllIsInForce(desk, 0);
    }
    for (int run = 1; run < 3 && !QTest::currentTestFailed(); ++run) {
        const Desk desk;
        QCOMPARE(desk.Log().value(0), QStringLiteral("Disk Hub " DISK_HUB_VERSION));
        SeeThatAllIsInForce(desk, run);
        if (QTest::currentTestFailed())
            return;
    }
}

void tst_UsersEndToEnd::ChooseDirectories(const Desk &desk)
{
    const QDir media(mMedia->path());
    desk.ChooseDirectory(desk.Window(), "diskDirectoryBrowse",
                         media.filePath(QStringLiteral("disks")));
    desk.ChooseDirectory(desk.Window(), "programDirectoryBrowse",
                         media.filePath(QStringLiteral("programs")));
    const QByteArray open = Listing(desk.Search(ALICE, QString()));
    QVERIFY(open.contains("COMMON"));
    QVERIFY(open.contains("SHARED"));
    QCOMPARE(desk.LastLog(), QStringLiteral("SEARCH request from Skylet UUID: device-1"));
}

void tst_UsersEndToEnd::MakeUsers(const Desk &desk)
{
    const QDir media(mMedia->path());
    Click(desk.Window(), "accessRestrictionsEnable");
    QCOMPARE(desk.Search(ALICE, SECRET_DIGEST).result, RESULT_AUTH_FAILURE);
    QCOMPARE(desk.LastLog(), QStringLiteral("Authentication Failure: unknown user 'alice'"));

    desk.Configure(
        [&](AppAccessRestrictionsDialog &dialog) {
            Desk::AddUser(dialog, ALICE);
            QCOMPARE(desk.Search(ALICE, EMPTY_DIGEST).result, RESULT_OK);
            Desk::SetPassword(dialog, QStringLiteral("secret"));
            Choose(Named<QComboBox>(dialog, "permissions"), 0);
            Click(dialog, "ownDirs");
            desk.ChooseDirectory(dialog, "diskDirectoryBrowse",
                                 media.filePath(QStringLiteral("alice's disks")));
            desk.ChooseDirectory(dialog, "programDirectoryBrowse",
                                 media.filePath(QStringLiteral("alice's programs")));
            Desk::AddUser(dialog, BOB);
        },
        "okButton");
}

void tst_UsersEndToEnd::SeeThatAllIsInForce(const Desk &desk, int run)
{
    const QDir media(mMedia->path());
    QVERIFY(Named<QCheckBox>(desk.Window(), "accessRestrictionsEnable")->isChecked());
    QVERIFY(Named<>(desk.Window(), "accessRestrictionsConfigure")->isEnabled());
    QCOMPARE(Named<QLineEdit>(desk.Window(), "diskDirectory")->text(),
             media.filePath(QStringLiteral("disks")));
    SeeThatAliceIsServed(desk);
    SeeThatAliceIsRefused(desk);
    SeeThatBobMayUpload(desk, run);
    SeeThatTheDialogShowsThem(desk);
}

void tst_UsersEndToEnd::SeeThatAliceIsServed(const Desk &desk)
{
    const QByteArray own = Listing(desk.Search(ALICE, SECRET_DIGEST));
    QVERIFY(own.contains("PRIVATE"));
    QVERIFY(own.contains("DIARY"));
    QVERIFY(!own.contains("COMMON"));
    QVERIFY(!own.contains("SHARED"));
    QCOMPARE(desk.LastLog(), QStringLiteral("SEARCH request from Skylet UUID: device-1"));
}

void tst_UsersEndToEnd::SeeThatAliceIsRefused(const Desk &desk)
{
    const QDir media(mMedia->path());
    for (const QString &wrong :
         {EMPTY_DIGEST, SECRET_DIGEST.toUpper(), QStringLiteral("secret"), QString()}) {
        const WirePackage refused = desk.Search(ALICE, wrong);
        QCOMPARE(refused.result, RESULT_AUTH_FAILURE);
        QVERIFY(refused.objects.isEmpty());
        QCOMPARE(desk.LastLog(),
                 QStringLiteral("Authentication Failure: password mismatch for user 'alice'"));
    }
    QCOMPARE(desk.Search(QStringLiteral("Alice"), SECRET_DIGEST).result, RESULT_AUTH_FAILURE);
    QCOMPARE(desk.LastLog(), QStringLiteral("Authentication Failure: unknown user 'Alice'"));

    QCOMPARE(desk.Upload(ALICE, SECRET_DIGEST, "new").result, RESULT_READ_ONLY);
    QCOMPARE(desk.LastLog(), QStringLiteral("Authentication Failure: upload not accepted: user "
                                            "'alice' has read-only access"));
    QVERIFY(!media.exists(QStringLiteral("alice's programs/new.prg")));
    QVERIFY(!media.exists(QStringLiteral("programs/new.prg")));
}

/// He has the common directories.
void tst_UsersEndToEnd::SeeThatBobMayUpload(const Desk &desk, int run)
{
    const QDir media(mMedia->path());
    const QByteArray common = Listing(desk.Search(BOB, EMPTY_DIGEST));
    QVERIFY(common.contains("SHARED"));
    QVERIFY(!common.contains("DIARY"));
    const QString upload = QStringLiteral("run%1").arg(run);
    QCOMPARE(desk.Upload(BOB, EMPTY_DIGEST, qPrintable(upload)).result, RESULT_OK);
    const QStringList stored =
        QDir(media.filePath(QStringLiteral("programs"))).entryList(QDir::Files);
    QVERIFY(stored.contains(upload + QStringLiteral(".prg"), Qt::CaseInsensitive));
}

void tst_UsersEndToEnd::SeeThatTheDialogShowsThem(const Desk &desk)
{
    const QDir media(mMedia->path());
    desk.Configure(
        [&](AppAccessRestrictionsDialog &dialog) {
            auto *const list = Named<QListWidget>(dialog, "userList");
            QCOMPARE(list->count(), 2);
            QCOMPARE(list->item(1)->text(), BOB);
            ClickRow(list, 0);
            QCOMPARE(list->item(0)->text(), ALICE);
            QCOMPARE(Named<QLineEdit>(dialog, "md5Password")->text(), SECRET_DIGEST);
            QCOMPARE(Named<QComboBox>(dialog, "permissions")->currentText(),
                     QStringLiteral("Read Only"));
            QVERIFY(Named<QCheckBox>(dialog, "ownDirs")->isChecked());
            QCOMPARE(Named<QLineEdit>(dialog, "diskDirectory")->text(),
                     media.filePath(QStringLiteral("alice's disks")));
            QCOMPARE(Named<QLineEdit>(dialog, "programDirectory")->text(),
                     media.filePath(QStringLiteral("alice's programs")));
        },
        "cancelButton");
}

void tst_UsersEndToEnd::cancelledUsersAreForgotten()
{
    const QString alice = QStringLiteral("alice");
    {
        const Desk desk;
        Click(desk.Window(), "accessRestrictionsEnable");
        desk.Configure(
            [&](AppAccessRestrictionsDialog &dialog) {
                Desk::AddUser(dialog, alice);
                Desk::SetPassword(dialog, QStringLiteral("secret"));
                QCOMPARE(desk.Search(alice, SECRET_DIGEST).result, RESULT_OK);
            },
            "cancelButton");
        QCOMPARE(desk.Search(alice, SECRET_DIGEST).result, RESULT_AUTH_FAILURE);
        QCOMPARE(desk.LastLog(), QStringLiteral("Authentication Failure: unknown user 'alice'"));
    }
    const Desk desk;
    QVERIFY(desk->mValidate);
    QCOMPARE(desk->NumUsers(), 0);
    QCOMPARE(desk.Search(alice, SECRET_DIGEST).result, RESULT_AUTH_FAILURE);
}

void tst_UsersEndToEnd::removedUserIsRefused()
{
    const QString alice = QStringLiteral("alice");
    const QString bob = QStringLiteral("bob");
    {
        const Desk desk;
        Click(desk.Window(), "accessRestrictionsEnable");
        desk.Configure(
            [&](AppAccessRestrictionsDialog &dialog) {
                Desk::AddUser(dialog, alice);
                Desk::AddUser(dialog, bob);
            },
            "okButton");
        QCOMPARE(desk.Search(alice, EMPTY_DIGEST).result, RESULT_OK);
    }
    {
        const Desk desk;
        QCOMPARE(desk.Search(alice, EMPTY_DIGEST).result, RESULT_OK);
        desk.Configure(
            [&](AppAccessRestrictionsDialog &dialog) {
                ClickRow(Named<QListWidget>(dialog, "userList"), 0);
                ModalAnswer<QMessageBox> answer(
                    [](QMessageBox *question) { Click(question->button(QMessageBox::Yes)); });
                Click(dialog, "removeUser");
                QVERIFY(answer.Answered());
            },
            "okButton");
        QCOMPARE(desk.Search(alice, EMPTY_DIGEST).result, RESULT_AUTH_FAILURE);
        QCOMPARE(desk.Search(bob, EMPTY_DIGEST).result, RESULT_OK);
    }
    const Desk desk;
    QCOMPARE(desk->NumUsers(), 1);
    QCOMPARE(desk.Search(alice, EMPTY_DIGEST).result, RESULT_AUTH_FAILURE);
    QCOMPARE(desk.Search(bob, EMPTY_DIGEST).result, RESULT_OK);
}

QTEST_APPLESS_MAIN(tst_UsersEndToEnd) // each hub is the application object

#include "tst_UsersEndToEnd.moc"
