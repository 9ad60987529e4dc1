// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#include "AppNarrowButton.h"

AppNarrowButton::AppNarrowButton(QWidget *parent) : QPushButton(parent) {}

QSize AppNarrowButton::sizeHint() const
{
    return {fontMetrics().horizontalAdvance(text()) + MARGINS, QPushButton::sizeHint().height()};
}

QSize AppNarrowButton::minimumSizeHint() const
{
    return sizeHint();
}
