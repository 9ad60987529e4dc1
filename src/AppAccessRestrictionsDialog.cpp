// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#include "AppAccessRestrictionsDialog.h"

#include "AppDirectoryChooser.h"
#include "AppGenerateMd5Dialog.h"
#include "AppHint.h"
#include "AppNewUserDialog.h"
#include "AppScreenFit.h"
#include "AppWheelGuard.h"

#include <QKeyEvent>
#include <QLabel>
#include <QMessageBox>
#include <QShortcut>

#include <utility>

namespace
{

// Rows of the permissions box.
constexpr int PERMISSION_READ_ONLY = 0;
constexpr int PERMISSION_READ_WRITE = 1;

} // namespace

AppAccessRestrictionsDialog::AppAccessRestrictionsDialog(QWidget *parent, Qt::WindowFlags flags)
    : QDialog(parent, flags)
{
    mUi.setupUi(this);
    new AppScreenFit(this);
    new AppWheelGuard(mUi.permissions);
    AppHint::ShowText(mUi.diskDirectory);
    AppHint::ShowText(mUi.programDirectory);
    ConnectControls();

    const AppDiskHub &hub = *AppDiskHub::Instance();
    for (int i = 0; i < hub.NumUsers(); ++i) {
        mUi.userList->addItem(hub.User(i)->name);
        mUsers.append(*hub.User(i));
    }
    mUi.permissions->addItem(tr("Read Only"));
    mUi.permissions->addItem(tr("Read/Write"));
}

void AppAccessRestrictionsDialog::ConnectControls()
{
    using Dialog = AppAccessRestrictionsDialog;
    connect(mUi.userList, &QListWidget::itemSelectionChanged, this,
            &Dialog::UserListSelectionChanged);
    connect(mUi.addUser, &QPushButton::clicked, this, &Dialog::AddUserClicked);
    connect(mUi.removeUser, &QPushButton::clicked, this, &Dialog::RemoveUserClicked);
    connect(mUi.md5Password, &QLineEdit::textChanged, this, &Dialog::Md5PasswordChanged);
    connect(mUi.md5Browse, &QPushButton::clicked, this, &Dialog::Md5BrowseClicked);
    connect(mUi.permissions, QOverload<int>::of(&QComboBox::currentIndexChanged), this,
            &Dialog::PermissionsChanged);
    connect(mUi.ownDirs, &QCheckBox::clicked, this, &Dialog::OwnDirsClicked);
    connect(mUi.diskDirectoryBrowse, &QPushButton::clicked, this,
            &Dialog::DiskDirectoryBrowseClicked);
    connect(mUi.programDirectoryBrowse, &QPushButton::clicked, this,
            &Dialog::ProgramDirectoryBrowseClicked);

    mUi.userList->installEventFilter(this);
    const auto *const remove =
        new QShortcut(QKeySequence::Delete, mUi.userList, nullptr, nullptr, Qt::WidgetShortcut);
    connect(remove, &QShortcut::activated, mUi.removeUser, &QPushButton::click);
}

bool AppAccessRestrictionsDialog::eventFilter(QObject *watched, QEvent *event)
{
    const bool down =
        event->type() == QEvent::KeyPress && static_cast<QKeyEvent *>(event)->key() == Qt::Key_Down;
    if (watched != mUi.userList || !down || mUi.userList->currentRow() > 0 ||
        !mUi.userList->selectedItems().isEmpty())
        return QDialog::eventFilter(watched, event);
    mUi.userList->setCurrentRow(0);
    return true;
}

void AppAccessRestrictionsDialog::SyncUi() {}

AppDiskHub::USER *AppAccessRestrictionsDialog::CurrentUser()
{
    const int row = mUi.userList->currentRow();
    return row < 0 ? nullptr : AppDiskHub::Instance()->User(row);
}

void AppAccessRestrictionsDialog::UserListSelectionChanged()
{
    const AppDiskHub::USER *const user = CurrentUser();
    const bool selected = user != nullptr;
    mUi.removeUser->setEnabled(selected);
    mUi.md5Password->setEnabled(selected);
    mUi.md5Browse->setEnabled(selected);
    mUi.permissions->setEnabled(selected);
    mUi.ownDirs->setEnabled(selected);

    // The controls write back what they show; so a digest becomes lower case when it is shown.
    mUi.md5Password->setText(selected ? user->md5 : QString());
    mUi.permissions->setCurrentIndex(selected && !user->ro ? PERMISSION_READ_WRITE
                                                           : PERMISSION_READ_ONLY);
    mUi.ownDirs->setChecked(selected && user->own_dir);
    mUi.diskDirectory->setText(selected ? user->disk_dir : QString());
    mUi.programDirectory->setText(selected ? user->program_dir : QString());
    EnableDirectories(selected && user->own_dir);
}

void AppAccessRestrictionsDialog::EnableDirectories(bool enabled)
{
    mUi.diskDirectory->setEnabled(enabled);
    mUi.diskDirectoryBrowse->setEnabled(enabled);
    mUi.programDirectory->setEnabled(enabled);
    mUi.programDirectoryBrowse->setEnabled(enabled);
}

void AppAccessRestrictionsDialog::AddUserClicked()
{
    QString name = QStringLiteral("newuser");
    while (true) {
        AppNewUserDialog dialog(this, Qt::WindowFlags(), name);
        if (dialog.exec() != QDialog::Accepted)
            return;
        name = dialog.mName;
        if (AppDiskHub::Instance()->User(name) == nullptr)
            break;
        QMessageBox box;
        box.setWindowTitle(tr("Disk Hub"));
        box.setTextFormat(Qt::PlainText);
        box.setText(tr("The username '%1' already exists.").arg(name));
        box.setStandardButtons(QMessageBox::Ok);
        box.exec();
    }
    AppDiskHub::Instance()->AddUser(name);
    mUi.userList->addItem(name);
    mUi.userList->setCurrentRow(mUi.userList->count() - 1);
}

void AppAccessRestrictionsDialog::RemoveUserClicked()
{
    const AppDiskHub::USER *const user = CurrentUser();
    if (user == nullptr)
        return;
    QMessageBox box;
    box.setWindowTitle(tr("Disk Hub"));
    box.setText(tr("Remove User"));
    box.setInformativeText(tr("Are you sure you want to remove the user '%1'?").arg(user->name));
    // The box's own text format is not the informative text's: a name would be taken for markup.
    const QList<QLabel *> labels = box.findChildren<QLabel *>();
    for (QLabel *label : labels)
        label->setTextFormat(Qt::PlainText);
    box.setStandardButtons(QMessageBox::Yes | QMessageBox::No);
    box.setDefaultButton(QMessageBox::No);
    if (box.exec() != QMessageBox::Yes)
        return;

    const int row = mUi.userList->currentRow();
    delete mUi.userList->takeItem(row);
    AppDiskHub::Instance()->RemUser(row);
    // The selection does not change if the row was current without being selected.
    UserListSelectionChanged();
}

void AppAccessRestrictionsDialog::Md5PasswordChanged(const QString &pVal)
{
    if (AppDiskHub::USER *const user = CurrentUser())
        user->md5 = pVal.toLower();
}

void AppAccessRestrictionsDialog::PermissionsChanged(int pIndex)
{
    if (AppDiskHub::USER *const user = CurrentUser())
        user->ro = pIndex == PERMISSION_READ_ONLY;
}

void AppAccessRestrictionsDialog::Md5BrowseClicked()
{
    AppDiskHub::USER *const user = CurrentUser();
    if (user == nullptr)
        return;
    AppGenerateMd5Dialog dialog(this);
    if (dialog.exec() != QDialog::Accepted)
        return;
    user->md5 = dialog.mDigest;
    mUi.md5Password->setText(dialog.mDigest);
}

void AppAccessRestrictionsDialog::OwnDirsClicked()
{
    AppDiskHub::USER *const user = CurrentUser();
    if (user == nullptr)
        return;
    user->own_dir = mUi.ownDirs->isChecked();
    EnableDirectories(user->own_dir);
}

void AppAccessRestrictionsDialog::DiskDirectoryBrowseClicked()
{
    if (AppDiskHub::USER *const user = CurrentUser())
        AppDirectoryChooser::Choose(this, tr("Select Disk Directory"), mUi.diskDirectory,
                                    &user->disk_dir);
}

void AppAccessRestrictionsDialog::ProgramDirectoryBrowseClicked()
{
    if (AppDiskHub::USER *const user = CurrentUser())
        AppDirectoryChooser::Choose(this, tr("Select Program Directory"), mUi.programDirectory,
                                    &user->program_dir);
}

void AppAccessRestrictionsDialog::reject()
{
    AppDiskHub *const hub = AppDiskHub::Instance();
    hub->RemAllUsers();
    for (const AppDiskHub::USER &user : std::as_const(mUsers))
        *hub->User(hub->AddUser(QString())) = user;
    QDialog::reject();
}
