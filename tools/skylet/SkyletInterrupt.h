// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QObject>
#include <QTimer>

/// Ctrl-C and the other signals that ask a program to end, as a Qt signal.
///
/// While one of these exists the process does not die of them, so that a file is written whole or
/// not at all. What runs then looks here.
class SkyletInterrupt : public QObject
{
    Q_OBJECT

public:
    explicit SkyletInterrupt(QObject *parent = nullptr);
    ~SkyletInterrupt() override;

    /// Whether one came.
    static bool IsRequested();

signals:
    /// One came; again and again until the program ends.
    void Requested();

private:
    QTimer mTimer;
};
