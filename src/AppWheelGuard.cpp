// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#include "AppWheelGuard.h"

#include <QComboBox>
#include <QEvent>

AppWheelGuard::AppWheelGuard(QComboBox *combo) : QObject(combo), mCombo(combo)
{
    combo->setFocusPolicy(Qt::StrongFocus); // as before, but not by the wheel
    combo->installEventFilter(this);
}

bool AppWheelGuard::eventFilter(QObject *watched, QEvent *event)
{
    if (event->type() != QEvent::Wheel || mCombo->hasFocus())
        return QObject::eventFilter(watched, event);
    event->ignore(); // so that the toolkit offers it to the parent
    return true;
}
