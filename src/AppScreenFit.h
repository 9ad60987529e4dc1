// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QObject>
#include <QSize>

class QDialog;

/// Keeps a dialog from opening larger than the screen.
///
/// Where large letters make it so, the upper part of the dialog scrolls; the last row, with its
/// buttons, stays in view. The dialog's layout is a column.
class AppScreenFit : public QObject
{
public:
    /// `dialog` owns the object and has its layout.
    explicit AppScreenFit(QDialog *dialog);

    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    /// What the screen offers to a window without its frame.
    QSize Room() const;

    /// Puts the first item of the column into an area that scrolls.
    void Scroll();

    QDialog *mDialog;
};
