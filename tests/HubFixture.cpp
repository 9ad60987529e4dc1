// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#include "HubFixture.h"

#include <QElapsedTimer>
#include <QEventLoop>
#include <QThread>

namespace
{

QtMessageHandler nextHandler = nullptr;

void PassMessage(QtMsgType type, const QMessageLogContext &context, const QString &message)
{
    if (message != QLatin1String("This plugin does not support propagateSizeHints()"))
        nextHandler(type, context, message);
}

} // namespace

SizeHintsFilter::SizeHintsFilter()
{
    nextHandler = qInstallMessageHandler(PassMessage);
}

SizeHintsFilter::~SizeHintsFilter()
{
    qInstallMessageHandler(nextHandler);
}

HubFixture::HubFixture()
{
#ifdef Q_OS_WIN // whose own chooser of directories is none that a test can answer
    QCoreApplication::setAttribute(Qt::AA_DontUseNativeDialogs);
#endif
    mHub.reset(new AppDiskHub(1, mArgv));
}

quint16 HubFixture::Port() const
{
    return mHub->mServer ? mHub->mServer->serverPort() : quint16(0);
}

const QWidget *HubFixture::Window()
{
    const QWidgetList windows = QApplication::topLevelWidgets();
    for (const QWidget *window : windows) {
        if (window->objectName() == QLatin1String("AppMainWindow"))
            return window;
    }
    return nullptr;
}

QPlainTextEdit *HubFixture::Console()
{
    return Control<QPlainTextEdit>("console");
}

QStringList HubFixture::Log()
{
    const QString text = Console()->toPlainText();
    return text.isEmpty() ? QStringList() : text.split(QLatin1Char('\n'));
}

void HubFixture::ClearLog()
{
    Console()->clear();
}

HubReply HubFixture::Send(const QList<QByteArray> &segments) const
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

HubReply HubFixture::Send(const QByteArray &request) const
{
    return Send(QList<QByteArray>{request});
}

HubReply HubFixture::Talk(const QList<QByteArray> &segments, quint16 port)
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
    while (socket.state() == QAbstractSocket::ConnectedState && timer.elapsed() < CLIENT_TIMEOUT_MS)
        socket.waitForReadyRead(CLIENT_TIMEOUT_MS);
    reply.raw = socket.readAll();
    return reply;
}
