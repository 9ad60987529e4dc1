// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#pragma once

#include "AppMainWindow.h"
#include "HubFixture.h"
#include "WindowDriver.h"

#include <QPushButton>

/// A hub with two interfaces that both work, and its active window.
class WindowFixture : public HubFixture
{
public:
    WindowFixture()
    {
        AppDiskHub &hub = Hub();
        hub.mInterfaces = {
            {QStringLiteral("first"), QHostAddress(QStringLiteral("127.0.0.1"))},
            {QStringLiteral("second"), QHostAddress(QStringLiteral("127.0.0.2"))},
        };
        hub.mActiveIfc = 0;
        hub.SyncUi();
        WindowDriver::Activate(&Window());
    }

    /// Ends as a person does.
    ~WindowFixture() { Window().close(); }
    WindowFixture(const WindowFixture &) = delete;
    WindowFixture &operator=(const WindowFixture &) = delete;

    /// As on a machine without a network.
    void LoseInterfaces() const
    {
        Hub().mInterfaces.clear();
        Hub().mActiveIfc = -1;
    }

    AppMainWindow &Window() const { return *Hub().mMainWindow; }

    template <typename T> T *The(const char *name) const
    {
        return WindowDriver::Named<T>(Window(), name);
    }

    QComboBox *Interface() const { return The<QComboBox>("interfaceCombo"); }
    QLineEdit *PortField() const { return The<QLineEdit>("serverPort"); }
    QCheckBox *Access() const { return The<QCheckBox>("accessRestrictionsEnable"); }
    QPushButton *Configure() const { return The<QPushButton>("accessRestrictionsConfigure"); }

    QString LastLog() const { return Log().isEmpty() ? QString() : Log().constLast(); }

    /// The listing that a device gets for all names.
    WirePackage Search() const
    {
        return Send(FormRequest({{"cmd", "1"}, {"pat", "*"}, {"usr", "nobody"}})).Package();
    }
};

/// A port that nobody listens on.
quint16 FreePort();

/// A line of the console; %1 is the address, %2 the port.
extern const QString SERVER_RUNNING;
