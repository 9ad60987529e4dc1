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

    Ui_AppMainWindow mUi;
};
