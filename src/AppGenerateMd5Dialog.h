// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#pragma once

#include "ui_AppGenerateMd5Dialog.h"

#include <QDialog>
#include <QString>

/// Turns a typed password into the digest that a user's record keeps.
class AppGenerateMd5Dialog : public QDialog
{
    Q_OBJECT

public:
    explicit AppGenerateMd5Dialog(QWidget *parent = nullptr,
                                  Qt::WindowFlags flags = Qt::WindowFlags());

    QString mDigest; ///< 32 lower-case hexadecimal digits once accepted, empty before

public slots:
    /// Hashes the text as Latin-1, "?" for what that lacks; only the low 16 bits of its length.
    void accept() override;
    void ShowTextClicked();

private:
    Ui_AppGenerateMd5Dialog mUi;
};
