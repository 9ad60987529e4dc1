// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#include "AccessDialogFixture.h"

#include "AppMainWindow.h"
#include "AppNewUserDialog.h"

#include <algorithm>

using namespace WindowDriver;

const QString EMPTY_DIGEST = QStringLiteral("d41d8cd98f00b204e9800998ecf8427e");
const QString ALICE_DIGEST = QStringLiteral("6384e2b2184bcbf58eccf10ca7a6563c");
const QString BOB_DIGEST = QStringLiteral("9f9d51bc70ef21ca5c14f307980a29d8");

const QVector<const char *> EDITING{"removeUser", "md5Password", "md5Browse", "permissions",
                                    "ownDirs"};

namespace
{

const QVector<const char *> DIRECTORY_CONTROLS{"diskDirectory", "diskDirectoryBrowse",
                                               "programDirectory", "programDirectoryBrowse"};

} // namespace

USER MakeUser(const QString &name, const QString &md5, bool ro, bool own_dir,
              const QString &disk_dir, const QString &program_dir)
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

DialogFixture::DialogFixture(const QList<USER> &users)
{
    for (const USER &user : users)
        *Hub().User(Hub().AddUser(user.name)) = user;
    mDialog = std::make_unique<AppAccessRestrictionsDialog>(Hub().mMainWindow);
    mFinished = std::make_unique<QSignalSpy>(mDialog.get(), &QDialog::finished);
    mDialog->open();
    Activate(mDialog.get());
}

QStringList DialogFixture::ListedNames() const
{
    QStringList names;
    for (int i = 0; i < List()->count(); ++i)
        names += List()->item(i)->text();
    return names;
}

QStringList DialogFixture::Users() const
{
    QStringList texts;
    for (int i = 0; i < Hub().NumUsers(); ++i)
        texts += Text(*Hub().User(i));
    return texts;
}

QString DialogFixture::Shown() const
{
    const QListWidgetItem *const item = List()->currentItem();
    return Text(MakeUser(item != nullptr ? item->text() : QString(), Digest()->text(),
                         Permissions()->currentIndex() == 0, OwnDirs()->isChecked(),
                         The<QLineEdit>("diskDirectory")->text(),
                         The<QLineEdit>("programDirectory")->text()));
}

bool DialogFixture::AllEnabled(const QVector<const char *> &names, bool enabled) const
{
    return std::all_of(std::begin(names), std::end(names),
                       [&](const char *name) { return The<>(name)->isEnabled() == enabled; });
}

bool DialogFixture::DirectoriesEnabled(bool enabled) const
{
    return std::all_of(std::begin(DIRECTORY_CONTROLS), std::end(DIRECTORY_CONTROLS),
                       [&](const char *name) { return The<>(name)->isEnabled() == enabled; });
}

void DialogFixture::Add(const QString &name) const
{
    ModalAnswer<AppNewUserDialog> answer([&](AppNewUserDialog *dialog) {
        Type(Named<QLineEdit>(*dialog, "username"), name);
        Click(*dialog, "okButton");
    });
    Press("addUser");
    if (!answer.Answered())
        QFAIL("no dialog asked for the name");
}

void DialogFixture::Remove(QMessageBox::StandardButton button) const
{
    ModalAnswer<QMessageBox> answer(
        [&](QMessageBox *question) { Click(question->button(button)); });
    Press("removeUser");
    if (!answer.Answered())
        QFAIL("no dialog asked whether to remove");
}
