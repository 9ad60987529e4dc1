// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#include "AppNewUserDialog.h"

#include "AppScreenFit.h"

AppNewUserDialog::AppNewUserDialog(QWidget *parent, Qt::WindowFlags flags, const QString &name)
    : QDialog(parent, flags), mName(name)
{
    mUi.setupUi(this);
    new AppScreenFit(this);
    connect(mUi.username, &QLineEdit::textChanged, this, &AppNewUserDialog::TextChanged);
    mUi.username->setText(name);
    mUi.username->selectAll(); // typing replaces the proposal
}

void AppNewUserDialog::TextChanged(const QString &text)
{
    mName = text;
}
