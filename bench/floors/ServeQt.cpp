// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

// What the toolkit alone does, on the offscreen platform or any other:
//
//   ServeQt PORT canned FILE      QTcpServer and the bytes of FILE, read once; no window
//   ServeQt PORT joined FILE      as canned, header and bytes joined for one write; no window
//   ServeQt PORT store DIR        QTcpServer, each body cut into 19 files in DIR; no window
//   ServeQt PORT search DIR DIR   QTcpServer and a line for each D64 below the first DIR and for
//                                 each program below the second; no window
//   ServeQt PORT split            QTcpServer, header lines and form body split and decoded with the
//                                 toolkit's own functions; no window
//   ServeQt PORT window FILE      as canned, with a window whose console gets a line for each
//                                 request

#include <QApplication>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#include <QList>
#include <QPlainTextEdit>
#include <QStringList>
#include <QTcpServer>
#include <QTcpSocket>

#include <algorithm>
#include <functional>
#include <memory>

namespace
{

constexpr int PARTS = 19;
constexpr qint64 D64_SIZE = 174848;
constexpr int NAME_SIZE = 16; // characters of a name in a listing

/// One request. Its memory is asked for once, as soon as the length is known.
struct REQUEST {
    QByteArray bytes;
    int bodyStart = -1;
    int size = -1;

    bool IsWhole() const { return size >= 0 && bytes.size() >= size; }
};

using ANSWER = std::function<QByteArray(const REQUEST &)>;

void Receive(QTcpSocket *socket, REQUEST *request)
{
    const int received = static_cast<int>(request->bytes.size());
    const int available = static_cast<int>(socket->bytesAvailable());
    request->bytes.resize(received + available);
    socket->read(request->bytes.data() + received, available);
    if (request->size >= 0)
        return;
    const int end = static_cast<int>(request->bytes.indexOf("\r\n\r\n"));
    const int length = static_cast<int>(request->bytes.indexOf("Content-Length:"));
    if (end < 0 || length < 0)
        return;
    request->bodyStart = end + 4;
    request->size = request->bodyStart +
                    request->bytes.mid(length + 15, 12).split('\r').first().trimmed().toInt();
    request->bytes.reserve(request->size);
}

void Reply(QTcpSocket *socket, const QByteArray &body, bool joined)
{
    const QByteArray header = "HTTP/1.1 200 Ok\r\nContent-Type: application/octet-stream\r\n"
                              "Content-Length: " +
                              QByteArray::number(body.size()) + "\r\n\r\n";
    if (joined) {
        socket->write(header + body);
    } else {
        socket->write(header);
        socket->write(body);
    }
    socket->disconnectFromHost();
}

/// Calls `answer` once the request is there, and sends what it returns.
void Serve(QTcpSocket *socket, const ANSWER &answer, bool joined)
{
    auto request = std::make_shared<REQUEST>();
    QObject::connect(socket, &QTcpSocket::disconnected, socket, &QTcpSocket::deleteLater);
    QObject::connect(socket, &QTcpSocket::readyRead, socket, [=] {
        Receive(socket, request.get());
        if (request->IsWhole())
            Reply(socket, answer(*request), joined);
    });
}

QByteArray FileBytes(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

QByteArray Store(const REQUEST &request, const QString &directory)
{
    const int part = (request.size - request.bodyStart) / PARTS;
    for (int i = 0; i < PARTS; ++i) {
        QFile file(QStringLiteral("%1/part%2").arg(directory).arg(i));
        if (file.open(QIODevice::WriteOnly | QIODevice::Unbuffered))
            file.write(request.bytes.constData() + request.bodyStart + i * part, part);
    }
    return QByteArray();
}

void AppendLine(QByteArray *listing, const QString &fileName, const char *type)
{
    const int size =
        static_cast<int>(std::min<qsizetype>(fileName.indexOf(QLatin1Char('.')), NAME_SIZE));
    listing->append("0   \"");
    for (int i = 0; i < size; ++i)
        listing->append(fileName.at(i).toLatin1());
    listing->append('"').append(NAME_SIZE + 1 - size, ' ').append(type).append('\n');
}

QByteArray Search(const QString &disks, const QString &programs)
{
    QByteArray listing;
    QDirIterator images(disks, QDirIterator::Subdirectories);
    while (images.hasNext()) {
        images.next();
        if (images.fileInfo().size() == D64_SIZE)
            AppendLine(&listing, images.fileName(), "d64");
    }
    QDirIterator others(programs, QDirIterator::Subdirectories);
    while (others.hasNext()) {
        others.next();
        const QString name = others.fileName();
        if (name.endsWith(QLatin1String(".prg"), Qt::CaseInsensitive))
            AppendLine(&listing, name, "prg");
    }
    return listing;
}

QString Decoded(QByteArray bytes)
{
    bytes.replace('+', ' ');
    return QString::fromUtf8(QByteArray::fromPercentEncoding(bytes));
}

// These return the characters of names or values, which the answer tells: so that the work cannot
// be optimised away.

qint64 SplitLines(const QByteArray &header)
{
    qint64 characters = 0;
    const QList<QByteArray> lines = header.split('\n');
    for (const QByteArray &line : lines)
        characters += QString::fromLatin1(line).indexOf(QLatin1Char(':'));
    return characters;
}

qint64 SplitUrlEncoded(const QByteArray &body)
{
    qint64 characters = 0;
    const QStringList pairs = Decoded(body).split(QLatin1Char('&'));
    for (const QString &pair : pairs)
        characters += pair.mid(pair.indexOf(QLatin1Char('=')) + 1).size();
    return characters;
}

qint64 SplitMultipart(const QByteArray &body)
{
    const QByteArray delimiter = body.left(body.indexOf('\r'));
    qint64 characters = 0;
    for (auto part = body.indexOf("name=\""); part >= 0; part = body.indexOf("name=\"", part)) {
        const auto nameEnd = body.indexOf('"', part + 6);
        const auto value = body.indexOf("\r\n\r\n", nameEnd) + 4;
        const auto end = body.indexOf(delimiter, value);
        characters += QString::fromLatin1(body.mid(part + 6, nameEnd - part - 6)).size();
        characters += Decoded(body.mid(value, end - 2 - value)).size();
        part = end;
    }
    return characters;
}

QByteArray Split(const REQUEST &request)
{
    const QByteArray header = request.bytes.left(request.bodyStart);
    const QByteArray body = request.bytes.mid(request.bodyStart);
    const bool multipart = header.contains("multipart/form-data");
    return QByteArray::number(SplitLines(header) +
                              (multipart ? SplitMultipart(body) : SplitUrlEncoded(body)));
}

ANSWER AnswerOf(const QString &mode, const QString &first, const QString &second)
{
    if (mode == QLatin1String("store"))
        return [=](const REQUEST &request) { return Store(request, first); };
    if (mode == QLatin1String("search"))
        return [=](const REQUEST & /*request*/) { return Search(first, second); };
    if (mode == QLatin1String("split"))
        return Split;
    return [canned = FileBytes(first)](const REQUEST & /*request*/) { return canned; };
}

} // namespace

int main(int argc, char **argv)
{
    if (argc < 3)
        return 2;
    const auto argument = [&](int i) {
        return i < argc ? QString::fromLocal8Bit(argv[i]) : QString();
    };
    const QString mode = argument(2);
    const bool window = mode == QLatin1String("window");
    const bool joined = mode == QLatin1String("joined");
    const std::unique_ptr<QCoreApplication> application(window ? new QApplication(argc, argv)
                                                               : new QCoreApplication(argc, argv));
    const std::unique_ptr<QPlainTextEdit> console(window ? new QPlainTextEdit : nullptr);
    if (window)
        console->show();

    const ANSWER answer = AnswerOf(mode, argument(3), argument(4));
    QTcpServer server;
    QObject::connect(&server, &QTcpServer::newConnection, &server, [&] {
        const auto answered = [&](const REQUEST &request) {
            if (window)
                console->appendPlainText(QStringLiteral("request of %1").arg(request.size));
            return answer(request);
        };
        Serve(server.nextPendingConnection(), answered, joined);
    });
#if QT_VERSION >= QT_VERSION_CHECK(6, 3, 0)
    server.setListenBacklogSize(512);
#endif
    if (!server.listen(QHostAddress::LocalHost, static_cast<quint16>(argument(1).toInt())))
        return 1;
    return QCoreApplication::exec();
}
