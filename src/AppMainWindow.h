// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#pragma once

#include "ui_AppMainWindow.h"

#include <QMainWindow>

/// The main window: directories, interface, port, access restrictions and the console.
///
/// It keeps no settings of its own: each control writes to the members of AppDiskHub, and SyncUi()
/// fills the controls from them.
class AppMainWindow : public QMainWindow
{
    Q_OBJECT

public:
    explicit AppMainWindow(QWidget *parent = nullptr, Qt::WindowFlags flags = Qt::WindowFlags());

    /// The port field ends its editing as it is destroyed; by then PortChanged() must not run.
    ~AppMainWindow() override;

    /// Fills every control from the members of AppDiskHub.
    void SyncUi();

    /// Appends a line to the console; see AppConsole::Append().
    void AppendToConsole(const QString &text);

    /// Shows every line of the console now; see AppConsole::ShowAll().
    void ShowConsole();

    /// Makes the tool tips tell what interface and port wait for, and what the server listens on
    /// meanwhile. To be called after the server was started or stopped by another than this window.
    void SyncHints();

public slots:
    void InterfaceChanged(int pIndex);
    void AccessRestrictionsChanged(int pState);
    void ConfigureAccessRestrictions(bool pChecked);
    void RestartServer();
    void PortChanged();
    void ChooseDiskDirectory();
    void ChooseProgramDirectory();

protected:
    /// Follows a change of the font.
    void changeEvent(QEvent *event) override;

private:
    void FillInterfaces();

    /// Keeps "Configure..." from growing with the window.
    void LimitConfigure();

    Ui_AppMainWindow mUi;
};
