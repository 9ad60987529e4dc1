// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QPushButton>

/// A button that is hardly wider than its text, for "..." beside a field.
class AppNarrowButton : public QPushButton
{
public:
    static constexpr int MARGINS = 24; ///< points, on both sides of the text together

    explicit AppNarrowButton(QWidget *parent = nullptr);

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;
};
