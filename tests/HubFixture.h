// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#pragma once

#include "AppDiskHub.h"
#include "HubSettings.h"
#include "Wire.h"

#include <QElapsedTimer>
#include <QEventLoop>
#include <QPlainTextEdit>
#include <QStringList>
#include <QTcpServer>
#include <QTcpSocket>
#include <QThread>

#include <memory>

/// Keeps from the output what the platform without a screen says of each window: that it has no use
/// for size hints.
class SizeHintsFilter
{
public:
    SizeHintsFilter() { mNext = qInstallMessageHandler(Pass); }
    ~SizeHintsFilter() { qInstallMessageHandler(mNext); }
    SizeHintsFilter(const SizeHintsFilter &) = delete;
    SizeHintsFilter &operator=(const SizeHintsFilter &) = delete;

private:
    static void Pass(QtMsgType type, const QMessageLogContext &context, const QString &message)
    {
        if (message != QLatin1String("This plugin does not support propagateSizeHints()"))
            mNext(type, context, message);
    }

    inline static QtMessageHandler mNext = nullptr;
};

/// A running hub, and the device that talks to it.
class HubFixture
{
public:
    static constexpr int CLIENT_TIMEOUT_MS = 30000;

    HubFixture() : mHub(new AppDiskHub(1, mArgv)) {}

    AppDiskHub *operator->() const { return mHub.get(); }
    AppDiskHub &Hub() const { return *mHub; }

    /// Ends the hub as the end of the program does. Nothing else may be called then.
    void Quit() { mHub.reset(); }

    /// The port that the hub listens on, 0 if it does not.
    quint16 Port() const { return mHub->mServer ? mHub->mServer->serverPort() : quint16(0); }

    /// The main window's control of that object name, or null.
    template <typename T> static T *Control(const char *name)
    {
        const QWidgetList windows = QApplication::topLevelWidgets();
        for (QWidget *window : windows) {
            if (window->objectName() != QLatin1String("AppMainWindow"))
                continue;
            if (T *control = window->findChild<T *>(QLatin1String(name)))
                return control;
        }
        return nullptr;
    }

    static QPlainTextEdit *Console() { return Control<QPlainTextEdit>("console"); }

    /// The console's lines.
    static QStringList Log()
    {
        const QString text = Console()->toPlainText();
        return text.isEmpty() ? QStringList() : text.split(QLatin1Char('\n'));
    }

    static void ClearLog() { Console()->clear(); }

    /// Sends the segments on one connection, one after the other, and waits until the hub closes
    /// it. The device has a thread of its own, because the hub blocks this one.
    HubReply Send(const QList<QByteArray> &segments) const
    {
        HubReply reply;
        const quint16 port = Port();
        QEventLoop loop;
        const std::unique_ptr<QThread> device(
            QThread::create([&reply, &segments, port] { reply = Talk(segments, port); }));
        QObject::connect(device.get(), &QThread::finished, &loop, &QEventLoop::quit);
        device->start();
        loop.exec();
        device->wait();
        return reply;
    }

    HubReply Send(const QByteArray &request) const { return Send(QList<QByteArray>{request}); }

private:
    static HubReply Talk(const QList<QByteArray> &segments, quint16 port)
    {
        QElapsedTimer timer;
        timer.start();
        HubReply reply;
        QTcpSocket socket;
        socket.connectToHost(QHostAddress(QHostAddress::LocalHost), port);
        if (!socket.waitForConnected(CLIENT_TIMEOUT_MS))
            return reply;
        socket.setSocketOption(QAbstractSocket::LowDelayOption, 1);
        for (const QByteArray &segment : segments) {
            socket.write(segment);
            while (socket.bytesToWrite() > 0 && socket.waitForBytesWritten(CLIENT_TIMEOUT_MS))
                continue;
        }
        while (socket.state() == QAbstractSocket::ConnectedState &&
               timer.elapsed() < CLIENT_TIMEOUT_MS)
            socket.waitForReadyRead(CLIENT_TIMEOUT_MS);
        reply.raw = socket.readAll();
        return reply;
    }

    const SizeHintsFilter mFilter;
    // The application object keeps the pointer, not a copy.
    char mName[9] = "disk-hub";
    char *mArgv[2] = {mName, nullptr};
    std::unique_ptr<AppDiskHub> mHub;
};
