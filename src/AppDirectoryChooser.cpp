// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#include "AppDirectoryChooser.h"

#include <QFileDialog>
#include <QLineEdit>

void AppDirectoryChooser::Choose(QWidget *parent, const QString &caption, QLineEdit *field,
                                 QString *path)
{
    const QString chosen = QFileDialog::getExistingDirectory(
        parent, caption, QString(), QFileDialog::ShowDirsOnly | QFileDialog::DontResolveSymlinks);
    if (chosen.isEmpty())
        return;
    field->setText(chosen);
    *path = chosen;
}
