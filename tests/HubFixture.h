// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#pragma once

// What tests of a running hub share: its settings store, a client and the wire form of packages.

#include "AppDiskHub.h"

#include <QByteArray>
#include <QDir>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QFile>
#include <QHostAddress>
#include <QList>
#include <QNetworkInterface>
#include <QPair>
#include <QPlainTextEdit>
#include <QStringList>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTemporaryDir>
#include <QThread>
#include <QtEndian>

#include <memory>
#include <vector>

/// A settings store of the test program's own, at first with a free port of the loopback interface.
///
/// One per program, made before anything that reads settings: Qt looks up the place only once.
class HubSettings
{
public:
    HubSettings()
    {
        qputenv("XDG_CONFIG_HOME", QFile::encodeName(mHome.path()));
        qputenv("XDG_CONFIG_DIRS", QFile::encodeName(mHome.filePath(QStringLiteral("system"))));
        if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
            qputenv("QT_QPA_PLATFORM", "offscreen");
        qputenv("XDG_RUNTIME_DIR", QFile::encodeName(mHome.path()));
        Write(Loopback());
    }

    QString FilePath() const
    {
        return mHome.filePath(QStringLiteral("Tesseline LLC/Disk Hub.conf"));
    }

    /// The section "[server]" that makes a hub listen on a free port of 127.0.0.1. Other sections
    /// can follow.
    static QByteArray Loopback()
    {
        return "[server]\nport=0\nactive_ifc_name=" + LoopbackName().toUtf8() +
               "\nactive_ifc_addr=127.0.0.1\n";
    }

    /// Replaces the whole store by the text of an INI file.
    bool Write(const QByteArray &text) const
    {
        QDir().mkpath(QFileInfo(FilePath()).path());
        QFile file(FilePath());
        return file.open(QIODevice::WriteOnly) && file.write(text) == text.size() && file.flush();
    }

    /// The INI file as it is, empty if there is none.
    QByteArray Read() const
    {
        QFile file(FilePath());
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }

    bool Remove() const { return QFile::remove(FilePath()); }

private:
    static QString LoopbackName()
    {
        const QList<QNetworkInterface> interfaces = QNetworkInterface::allInterfaces();
        for (const QNetworkInterface &interface : interfaces) {
            const QList<QNetworkAddressEntry> entries = interface.addressEntries();
            for (const QNetworkAddressEntry &entry : entries) {
                if (entry.ip() == QHostAddress(QHostAddress::LocalHost))
                    return interface.humanReadableName();
            }
        }
        return QStringLiteral("lo");
    }

    QTemporaryDir mHome;
};

/// The 16 bytes of the DOS name that the hub makes of a host's `text` (Latin-1).
inline QByteArray PetsciiName(const char *text)
{
    QByteArray name(text);
    for (char &c : name) {
        if (c >= 'a' && c <= 'z')
            c = char(c - 0x20);
        else if (c >= 'A' && c <= 'Z')
            c = char(c | 0x80);
    }
    return name.leftJustified(16, char(0xA0), true);
}

/// One object of a package, as the device sends or gets it.
struct WireObject {
    enum { PROGRAM = 0, DISK = 1 };

    int type = PROGRAM;
    bool replace = false;
    QByteArray name; ///< 16 bytes
    QByteArray data; ///< a disk's without its header and padding
    int diskType = 0;
};

/// A package, read and written byte by byte: tests must see what the device sees, so this knows
/// nothing of AppPackage.
struct WirePackage {
    bool valid = false; ///< sizes, magics and reserved bytes are as documented
    int result = 0;
    QList<WireObject> objects;

    QByteArray Bytes() const
    {
        QByteArray header = QByteArray::fromHex("1F24CA73") + QByteArray(492, '\0');
        QByteArray blocks;
        header[6] = char(result);
        header[7] = char(objects.size());
        int offset = 16;
        for (const WireObject &object : objects) {
            const QByteArray block =
                object.type == WireObject::DISK ? DiskBlock(object) : object.data;
            const QByteArray entry = QByteArray(1, char(object.type)) +
                                     QByteArray(1, char(object.replace)) + QByteArray(2, '\0') +
                                     Word(block.size()) + object.name;
            header.replace(offset, 24, entry);
            blocks += block;
            offset += 24;
        }
        header.replace(8, 4, Word(blocks.size()));
        return header + blocks;
    }

    static WirePackage FromBytes(const QByteArray &in)
    {
        WirePackage package;
        if (in.size() < 496 || !in.startsWith(QByteArray::fromHex("1F24CA730000")) ||
            WordAt(in, 8) != in.size() - 496 || WordAt(in, 12) != 0)
            return package;
        package.result = static_cast<signed char>(in.at(6));
        const int count = static_cast<unsigned char>(in.at(7));
        if (count > 20 ||
            in.mid(16 + 24 * count, 24 * (20 - count)).count('\0') != 480 - 24 * count)
            return package;
        qsizetype data = 496;
        for (int i = 0; i < count; ++i) {
            const QByteArray entry = in.mid(16 + 24 * i, 24);
            const QByteArray block = in.mid(data, WordAt(entry, 4));
            WireObject object;
            object.type = entry.at(0);
            object.name = entry.mid(8);
            object.data = block;
            if (entry.mid(1, 3) != QByteArray(3, '\0') || block.size() != WordAt(entry, 4) ||
                (object.type == WireObject::DISK && !TakeDiskBlock(block, &object)))
                return package;
            package.objects.append(object);
            data += block.size();
        }
        package.valid = data == in.size();
        return package;
    }

private:
    static QByteArray Word(qsizetype value)
    {
        QByteArray bytes(4, '\0');
        qToLittleEndian(quint32(value), bytes.data());
        return bytes;
    }

    static qsizetype WordAt(const QByteArray &bytes, int offset)
    {
        return qsizetype(qFromLittleEndian<quint32>(bytes.constData() + offset));
    }

    static QByteArray DiskBlock(const WireObject &disk)
    {
        const QByteArray header = QByteArray::fromHex("A6135C7100100000") + Word(disk.data.size()) +
                                  QByteArray(1, char(disk.diskType)) + QByteArray(19, '\0') +
                                  disk.name + QByteArray(4048, '\0');
        const qsizetype padding = (4096 - disk.data.size() % 4096) % 4096;
        return header + disk.data + QByteArray(padding, '\0');
    }

    static bool TakeDiskBlock(const QByteArray &block, WireObject *disk)
    {
        if (block.size() < 4096 || block.size() - 4096 < WordAt(block, 8))
            return false;
        disk->diskType = block.at(12);
        disk->data = block.mid(4096, WordAt(block, 8));
        return block == DiskBlock(*disk);
    }
};

/// What came back on a connection before the hub closed it; empty without a reply.
struct HubReply {
    QByteArray raw;

    QByteArray Head() const { return raw.left(raw.indexOf("\r\n\r\n") + 4); }
    QByteArray Body() const { return raw.mid(Head().size()); }
    WirePackage Package() const { return WirePackage::FromBytes(Body()); }
};

/// A field of a form: name and value.
using HubField = QPair<QByteArray, QByteArray>;

/// A whole request with `body`. The content type needs no line end.
inline QByteArray HttpPost(const QByteArray &contentType, const QByteArray &body)
{
    return "POST / HTTP/1.1\r\nHost: hub\r\nContent-Type: " + contentType +
           "\r\nContent-Length: " + QByteArray::number(body.size()) + "\r\n\r\n" + body;
}

/// A request with a URL-encoded form, every byte of the values (UTF-8) as "%XX".
inline QByteArray FormRequest(const QList<HubField> &fields)
{
    QByteArray body;
    for (const HubField &field : fields) {
        body += (body.isEmpty() ? "" : "&") + field.first + '=';
        for (const char c : field.second)
            body += '%' + QByteArray(1, c).toHex();
    }
    return HttpPost("application/x-www-form-urlencoded", body);
}

/// A request with multipart form-data: the fields as they are, then `package` as the file
/// "package" unless it is empty.
inline QByteArray MultipartRequest(const QList<HubField> &fields, const QByteArray &package)
{
    const QByteArray delimiter = "--hub-test-boundary-9d41";
    QByteArray body;
    for (const HubField &field : fields)
        body += delimiter + "\r\nContent-Disposition: form-data; name=\"" + field.first +
                "\"\r\n\r\n" + field.second + "\r\n";
    if (!package.isEmpty())
        body += delimiter +
                "\r\nContent-Disposition: form-data; name=\"up\"; filename=\"package\"" +
                "\r\nContent-Type: application/octet-stream\r\n\r\n" + package + "\r\n";
    body += delimiter + "--\r\n";
    return HttpPost("multipart/form-data; boundary=" + delimiter.mid(2), body);
}

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
