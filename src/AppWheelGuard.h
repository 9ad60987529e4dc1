// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QObject>

class QComboBox;

/// Keeps the mouse wheel from changing a combo box that has not got the focus.
///
/// The wheel neither gives the box the focus nor reaches it without; what lies below gets it.
class AppWheelGuard : public QObject
{
public:
    /// `combo` owns the guard.
    explicit AppWheelGuard(QComboBox *combo);

    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    const QComboBox *mCombo;
};
