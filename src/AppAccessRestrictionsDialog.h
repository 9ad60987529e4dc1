// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#pragma once

#include "AppDiskHub.h"
#include "ui_AppAccessRestrictionsDialog.h"

#include <QDialog>
#include <QList>

/// Edits the users of the access restrictions.
///
/// Every edit goes straight into the hub's list and takes effect with the next request. OK keeps
/// the list as it is then; Cancel, Escape and closing put back the list as it was when the dialog
/// was made.
class AppAccessRestrictionsDialog : public QDialog
{
    Q_OBJECT

public:
    explicit AppAccessRestrictionsDialog(QWidget *parent = nullptr,
                                         Qt::WindowFlags flags = Qt::WindowFlags());

    /// Does nothing: the controls follow the selection.
    void SyncUi();

public slots:
    void reject() override;
    void UserListSelectionChanged();
    void AddUserClicked();
    void RemoveUserClicked();
    void Md5PasswordChanged(const QString &pVal);
    void PermissionsChanged(int pIndex);
    void Md5BrowseClicked();
    void OwnDirsClicked();
    void DiskDirectoryBrowseClicked();
    void ProgramDirectoryBrowseClicked();

protected:
    /// In the list of users: the first Down selects the first one, who is current but not selected
    /// as soon as the list has the focus.
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void ConnectControls();
    void EnableDirectories(bool enabled);

    /// The user of the current row, or null.
    AppDiskHub::USER *CurrentUser();

    Ui_AppAccessRestrictionsDialog mUi;
    QList<AppDiskHub::USER> mUsers; ///< as they were when the dialog was made
};
