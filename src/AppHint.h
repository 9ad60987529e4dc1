// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#pragma once

class QLineEdit;
class QString;
class QWidget;

/// What a control says about itself: its tool tip, and the same to a screen reader.
class AppHint
{
public:
    /// Sets the hint. The text is shown as it is, whatever looks like markup in it.
    static void Set(QWidget *control, const QString &text);

    /// Makes the field's own text its hint from now on, for texts that are longer than the field.
    static void ShowText(QLineEdit *field);
};
