// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QObject>
#include <QTimer>

/// Ctrl-C and the other signals that ask a program to end, as a Qt signal.
///
/// While an object of this class exists, these signals do not end the process, so that a file is
/// written whole or not at all. Whatever takes long asks IsRequested().
class SkyletInterrupt : public QObject
{
    Q_OBJECT

public:
    explicit SkyletInterrupt(QObject *parent = nullptr);
    ~SkyletInterrupt() override;

    /// Whether such a signal came.
    static bool IsRequested();

signals:
    /// Such a signal came. Emitted again and again until the program ends.
    void Requested();

private:
    QTimer mTimer;
};
