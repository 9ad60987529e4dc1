// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

// What the toolkit alone does, on the offscreen platform or any other:
//
//   ServeQt PORT canned FILE    QTcpServer and the bytes of FILE, read once; no window
//   ServeQt PORT store DIR      QTcpServer, each body cut into 19 files in DIR; no window
//   ServeQt PORT window FILE    as canned, with a window whose console gets a line for each request
//   ServeQt PORT empty          an empty widgets program that listens

#include <QApplication>
#include <QFile>
#include <QPlainTextEdit>
#include <QTcpServer>
#include <QTcpSocket>

#include <functional>
#include <memory>

namespace
{

constexpr int PARTS = 19;

/// Calls `answer(body)` once the request is there, and sends what it returns.
void Serve(QTcpSocket *socket, const std::function<QByteArray(const QByteArray &)> &answer)
{
    auto request = std::make_shared<QByteArray>();
    QObject::connect(socket, &QTcpSocket::disconnected, socket, &QTcpSocket::deleteLater);
    QObject::connect(socket, &QTcpSocket::readyRead, socket, [=] {
        *request += socket->readAll();
        const auto end = request->indexOf("\r\n\r\n");
        const auto length = request->indexOf("Content-Length:");
        if (end < 0 || length < 0)
            return;
        const auto announced = request->mid(length + 15, 12).split('\r').first().trimmed().toInt();
        if (request->size() < end + 4 + announced)
            return;
        const QByteArray reply = answer(request->mid(end + 4));
        socket->write("HTTP/1.1 200 Ok\r\nContent-Type: application/octet-stream\r\n"
                      "Content-Length: " +
                      QByteArray::number(reply.size()) + "\r\n\r\n");
        socket->write(reply);
        socket->disconnectFromHost();
    });
}

QByteArray FileBytes(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

void Store(const QString &directory, const QByteArray &body)
{
    const auto part = body.size() / PARTS;
    for (int i = 0; i < PARTS; ++i) {
        QFile file(QStringLiteral("%1/part%2").arg(directory).arg(i));
        if (file.open(QIODevice::WriteOnly))
            file.write(body.mid(i * part, part));
    }
}

} // namespace

int main(int argc, char **argv)
{
    if (argc < 3)
        return 2;
    const QString mode = QString::fromLocal8Bit(argv[2]);
    const QString path = argc > 3 ? QString::fromLocal8Bit(argv[3]) : QString();
    const auto port = static_cast<quint16>(QString::fromLocal8Bit(argv[1]).toInt());
    const bool window = mode == QLatin1String("window") || mode == QLatin1String("empty");
    const std::unique_ptr<QCoreApplication> application(window ? new QApplication(argc, argv)
                                                               : new QCoreApplication(argc, argv));

    std::unique_ptr<QPlainTextEdit> console;
    if (mode == QLatin1String("window"))
        console = std::make_unique<QPlainTextEdit>();
    std::unique_ptr<QWidget> empty;
    if (mode == QLatin1String("empty"))
        empty = std::make_unique<QWidget>();
    if (console)
        console->show();
    if (empty)
        empty->show();

    const QByteArray canned =
        mode == QLatin1String("store") || path.isEmpty() ? QByteArray() : FileBytes(path);
    QTcpServer server;
    QObject::connect(&server, &QTcpServer::newConnection, &server, [&] {
        Serve(server.nextPendingConnection(), [&](const QByteArray &body) {
            if (console)
                console->appendPlainText(QStringLiteral("request from %1").arg(body.size()));
            if (mode == QLatin1String("store"))
                Store(path, body);
            return canned;
        });
    });
#if QT_VERSION >= QT_VERSION_CHECK(6, 3, 0)
    server.setListenBacklogSize(512);
#endif
    if (!server.listen(QHostAddress::LocalHost, port))
        return 1;
    return QCoreApplication::exec();
}
