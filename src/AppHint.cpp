// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#include "AppHint.h"

#include <QLineEdit>
#include <QString>
#include <QTextDocument>

void AppHint::Set(QWidget *control, const QString &text)
{
    control->setToolTip(Qt::mightBeRichText(text) ? Qt::convertFromPlainText(text) : text);
    control->setAccessibleDescription(text);
}

void AppHint::ShowText(QLineEdit *field)
{
    QObject::connect(field, &QLineEdit::textChanged, field,
                     [field](const QString &text) { Set(field, text); });
}
