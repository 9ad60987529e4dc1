// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#pragma once

class QLineEdit;
class QString;
class QWidget;

/// The toolkit's dialog for choosing a directory, as every window of the hub opens it.
class AppDirectoryChooser
{
public:
    /// Lets the user choose a directory, shows it in `field` and stores it in `*path`. If the user
    /// cancels, both stay as they are.
    static void Choose(QWidget *parent, const QString &caption, QLineEdit *field, QString *path);
};
