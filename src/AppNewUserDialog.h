// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#pragma once

#include "ui_AppNewUserDialog.h"

#include <QDialog>
#include <QString>

/// Asks for the name of a new user. Any name will do, the empty one too.
class AppNewUserDialog : public QDialog
{
    Q_OBJECT

public:
    /// `name` is the one proposed.
    AppNewUserDialog(QWidget *parent, Qt::WindowFlags flags, const QString &name);

    QString mName; ///< as typed so far

public slots:
    void TextChanged(const QString &text);

private:
    Ui_AppNewUserDialog mUi;
};
