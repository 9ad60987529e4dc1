// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#pragma once

#include "AppAccessRestrictionsDialog.h"
#include "HubFixture.h"
#include "WindowDriver.h"

#include <QMessageBox>
#include <QSignalSpy>

#include <memory>

using USER = AppDiskHub::USER;

extern const QString EMPTY_DIGEST;
extern const QString ALICE_DIGEST;
extern const QString BOB_DIGEST;

/// The controls that work on the current user, without the directories.
extern const QVector<const char *> EDITING;

USER MakeUser(const QString &name, const QString &md5 = EMPTY_DIGEST, bool ro = false,
              bool own_dir = false, const QString &disk_dir = QString(),
              const QString &program_dir = QString());

/// Alice, Bob and Carol.
QList<USER> ThreeUsers();

/// All fields in one text, for comparing.
QString Text(const USER &user);
QStringList Texts(const QList<USER> &users);

/// Rows of names that must come through as they are.
void AddNameRows();

/// A hub with users and its dialog, which is open and active.
class DialogFixture : public HubFixture
{
public:
    explicit DialogFixture(const QList<USER> &users = ThreeUsers());

    AppAccessRestrictionsDialog &Dialog() const { return *mDialog; }

    template <typename T = QWidget> T *The(const char *name) const
    {
        return WindowDriver::Named<T>(*mDialog, name);
    }

    QListWidget *List() const { return The<QListWidget>("userList"); }
    QLineEdit *Digest() const { return The<QLineEdit>("md5Password"); }
    QComboBox *Permissions() const { return The<QComboBox>("permissions"); }
    QCheckBox *OwnDirs() const { return The<QCheckBox>("ownDirs"); }

    void Select(int row) const { WindowDriver::ClickRow(List(), row); }
    void Press(const char *name) const { WindowDriver::Click(*mDialog, name); }

    QStringList ListedNames() const;

    /// The hub's users as texts.
    QStringList Users() const;

    /// What the controls show, as a user's text.
    QString Shown() const;

    bool AllEnabled(const QVector<const char *> &names, bool enabled) const;

    bool DirectoriesEnabled(bool enabled) const;

    /// Adds a user by the button and the dialog that it opens.
    void Add(const QString &name) const;

    /// Removes the current user by the button and the question that it asks.
    void Remove(QMessageBox::StandardButton button = QMessageBox::Yes) const;

    /// The one result that the dialog has finished with, or -1.
    int Result() const { return mFinished->size() == 1 ? mFinished->at(0).at(0).toInt() : -1; }

private:
    std::unique_ptr<AppAccessRestrictionsDialog> mDialog;
    std::unique_ptr<QSignalSpy> mFinished;
};
