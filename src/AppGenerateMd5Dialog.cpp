// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#include "AppGenerateMd5Dialog.h"

#include "AppScreenFit.h"
#include "MxMd5.h"

AppGenerateMd5Dialog::AppGenerateMd5Dialog(QWidget *parent, Qt::WindowFlags flags)
    : QDialog(parent, flags)
{
    mUi.setupUi(this);
    new AppScreenFit(this);
    connect(mUi.showText, &QCheckBox::clicked, this, &AppGenerateMd5Dialog::ShowTextClicked);
    mUi.textEdit->setEchoMode(QLineEdit::Password);
}

void AppGenerateMd5Dialog::accept()
{
    const QString text = mUi.textEdit->text();
    const QByteArray bytes = text.toLatin1();
    mDigest = MxMd5::HashDataToString(bytes.constData(), static_cast<unsigned short>(text.size()));
    QDialog::accept();
}

void AppGenerateMd5Dialog::ShowTextClicked()
{
    mUi.textEdit->setEchoMode(mUi.showText->isChecked() ? QLineEdit::Normal : QLineEdit::Password);
}
