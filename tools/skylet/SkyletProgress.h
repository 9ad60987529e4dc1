// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QObject>
#include <QString>
#include <QTimer>

#include <functional>

class SkyletConnection;

/// Shows on standard error how far something has come, if standard error is a terminal and it takes
/// longer than a second. The line is wiped in the end.
class SkyletProgress : public QObject
{
    Q_OBJECT

public:
    /// What the line says at the moment, without line end.
    using TEXT = std::function<QString()>;

    static constexpr int DELAY_MS = 1000;
    static constexpr int INTERVAL_MS = 200;

    explicit SkyletProgress(TEXT text, QObject *parent = nullptr);
    ~SkyletProgress() override;

    /// What one request is doing, and how much of it is done.
    static QString OfConnection(const SkyletConnection &connection);

    /// Whether what is written to the standard stream (1 output, 2 error) is seen on a terminal.
    static bool IsTerminal(int stream);

private:
    void Show();

    TEXT mText;
    QTimer mTimer;
    bool mShown = false;
};
