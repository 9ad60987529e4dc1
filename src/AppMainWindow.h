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

    /// Lets the user choose a directory, and shows it in `field` and stores it in `*path`; if the
    /// user cancels, neither.
    static void ChooseDirectory(QWidget *parent, const QString &caption, QLineEdit *field,
                                QString *path);

    static constexpr int CONSOLE_PAINT_MS = 40; ///< lines that come within it are painted at once

    /// The area that AppDiskHub::Log() writes to. It paints what it got a little later, so that a
    /// burst of requests is not held up by painting after each.
    QPlainTextEdit *Console() const;

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

    void DelayConsolePaint();

    Ui_AppMainWindow mUi;
    QTimer mConsolePaint;
};
