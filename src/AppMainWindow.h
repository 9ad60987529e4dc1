// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#pragma once

#include "ui_AppMainWindow.h"

#include <QMainWindow>
#include <QTimer>

/// The main window: directories, interface, port, access restrictions and the console.
///
/// It keeps no settings of its own: each control writes to the members of AppDiskHub, and SyncUi()
/// fills the controls from them.
class AppMainWindow : public QMainWindow
{
    Q_OBJECT

public:
    explicit AppMainWindow(QWidget *parent = nullptr, Qt::WindowFlags flags = Qt::WindowFlags());

    /// The port field ends its editing when it goes; that is for nobody any more.
    ~AppMainWindow() override;

    /// Fills every control from the members of AppDiskHub.
    void SyncUi();

    /// Lines that come within it are laid out and painted at once.
    static constexpr int CONSOLE_DELAY_MS = 40;

    /// The area that AppDiskHub::Log() writes to.
    QPlainTextEdit *Console() const;

    /// Appends a line to the console, as its appendPlainText() would, and scrolls to it if the end
    /// was in view. The text is there at once; what takes longer than a request waits for
    /// CONSOLE_DELAY_MS: laying it out, scrolling, painting.
    void AppendToConsole(const QString &text);

public slots:
    void InterfaceChanged(int pIndex);
    void AccessRestrictionsChanged(int pState);
    void ConfigureAccessRestrictions(bool pChecked);
    void RestartServer();
    void PortChanged();
    void ChooseDiskDirectory();
    void ChooseProgramDirectory();

private:
    void FillInterfaces();

    void ShowAppended();

    Ui_AppMainWindow mUi;
    QTimer mConsoleDelay{this};
    bool mConsoleAtEnd = true; ///< while mConsoleDelay runs: whether the end was in view before
};
