// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#pragma once

#include "AppDiskHub.h"
#include "HubSettings.h"
#include "Wire.h"

#include <QPlainTextEdit>
#include <QStringList>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTest>

#include <memory>

/// Keeps from the output what the platform without a screen says of each window: that it has no use
/// for size hints.
class SizeHintsFilter
{
public:
    SizeHintsFilter();
    ~SizeHintsFilter();
    SizeHintsFilter(const SizeHintsFilter &) = delete;
    SizeHintsFilter &operator=(const SizeHintsFilter &) = delete;
};

/// A running hub, and the device that talks to it.
class HubFixture
{
public:
    static constexpr int CLIENT_TIMEOUT_MS = 30000;

    HubFixture();

    AppDiskHub *operator->() const { return mHub.get(); }
    AppDiskHub &Hub() const { return *mHub; }

    /// Ends the hub as the end of the program does. Nothing else may be called then.
    void Quit() { mHub.reset(); }

    /// The port that the hub listens on, 0 if it does not.
    quint16 Port() const;

    /// The main window's control of that object name, or null.
    template <typename T> static T *Control(const char *name)
    {
        const QWidget *const window = Window();
        return window ? window->findChild<T *>(QLatin1String(name)) : nullptr;
    }

    static QPlainTextEdit *Console();

    /// The console's lines.
    static QStringList Log();

    static void ClearLog();

    /// Sends the segments on one connection, one after the other, and waits until the hub closes
    /// it. The device has a thread of its own, because the hub blocks this one.
    HubReply Send(const QList<QByteArray> &segments) const;
    HubReply Send(const QByteArray &request) const;

private:
    static const QWidget *Window();
    static HubReply Talk(const QList<QByteArray> &segments, quint16 port);

    const SizeHintsFilter mFilter;
    // The application object keeps the pointer, not a copy.
    char mName[9] = "disk-hub";
    char *mArgv[2] = {mName, nullptr};
    std::unique_ptr<AppDiskHub> mHub;
};

/// main() of a test program whose functions share one hub, which the test takes by pointer.
template <typename TEST> int RunWithHub(int argc, char **argv)
{
    const HubSettings settings;
    HubFixture hub;
    TEST test(&hub);
    return QTest::qExec(&test, argc, argv);
}
