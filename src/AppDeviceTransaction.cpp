// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#include "AppDeviceTransaction.h"

#include "AppBodyCursor.h"
#include "AppFormBody.h"
#include "AppPackage.h"
#include "MxLatin1.h"
#include "MxLog.h"

#include <QElapsedTimer>
#include <QTcpSocket>

#include <algorithm>
#include <limits>
#include <utility>

using MxLatin1::PieceAt;

namespace
{

const char TRACE_FILE[] = "src/AppDeviceTransaction";

// Memory that is set aside for a body: as much as it announces, or for a large one always the same,
// more than for a full package. A block of that size is one that the system gets back when the
// request is over, instead of one that stays for the next; what is not filled takes no memory.
constexpr int LARGE_BODY = 1024 * 1024;              // bytes
constexpr int LARGE_BODY_RESERVE = 33 * 1024 * 1024; // bytes

const QLatin1String ORIGIN("Origin:");

// What the socket reads of a body at a time.
constexpr int READ_STEP = 256 * 1024; // bytes

// As much of a header line as is read without asking the heap for it.
constexpr int LINE_START_SIZE = 512; // bytes

/// The next line of any length, with its end. It must have arrived.
QByteArray ReadLine(QTcpSocket *socket)
{
    // The socket's other function sets 16 KiB aside for each line.
    char start[LINE_START_SIZE];
    const qint64 size = socket->readLine(start, sizeof(start));
    QByteArray line(start, static_cast<int>(std::max<qint64>(size, 0)));
    if (!line.endsWith('\n'))
        line += socket->readLine();
    return line;
}

/// Whether a line is empty once white space is taken off, that of Latin-1 beyond ASCII too.
bool IsBlank(QLatin1String line)
{
    return std::all_of(line.begin(), line.end(),
                       [](char c) { return QChar(QLatin1Char(c)).isSpace(); });
}

} // namespace

AppDeviceTransaction::AppDeviceTransaction(QTcpSocket *socket, int requestTimeMs)
{
    connect(socket, &QTcpSocket::disconnected, socket, &QTcpSocket::deleteLater);
    connect(socket, &QTcpSocket::disconnected, this, [this] { mGone = true; });
    connect(socket, &QTcpSocket::readyRead, this, &AppDeviceTransaction::ReadyRead);

    QElapsedTimer timer;
    timer.start();
    while (mContentRemaining != 0) {
        if (!socket->waitForReadyRead(READ_TIMEOUT_MS) ||
            IsTooSlow(timer.elapsed(), requestTimeMs, mReceived + socket->bytesAvailable())) {
            socket->disconnectFromHost();
            return;
        }
    }
    MxLog().Log(MxLog::LEVEL_TRACE, TRACE_FILE, 45, L"Out of loop.");
    mValid = true;
    mSocket = socket;
}

AppDeviceTransaction::~AppDeviceTransaction()
{
    delete mPackage;
    if (mSocket != nullptr)
        mSocket->disconnectFromHost();
}

bool AppDeviceTransaction::IsTooSlow(qint64 elapsedMs, int requestTimeMs, qint64 received) const
{
    // A request that is complete is answered, however long it took.
    return mContentRemaining != 0 && elapsedMs > requestTimeMs &&
           received * 1000 < elapsedMs * BYTES_PER_SECOND_MIN;
}

void AppDeviceTransaction::ReadyRead()
{
    auto *const socket = qobject_cast<QTcpSocket *>(sender());
    while (mHeadersDone == 0 && socket->canReadLine())
        ReadHeaderLine(socket);
    ReadBody(socket);
}

void AppDeviceTransaction::ReadHeaderLine(QTcpSocket *socket)
{
    const QByteArray bytes = ReadLine(socket);
    mReceived += bytes.size();
    const QLatin1String line = MxLatin1::TextOf(bytes.cbegin(), bytes.cend());
    if (IsBlank(line)) {
        mHeadersDone = 1;
        return;
    }

    if (line.startsWith(ORIGIN, Qt::CaseInsensitive)) {
        mFromWebPage = true;
        mOrigin = QString(line.mid(ORIGIN.size())).trimmed();
    }
    // Names are taken in the device's letter case only. A missing word is an empty one.
    const QLatin1String name = PieceAt(line, ' ', 0);
    if (name == QLatin1String("Content-Type:")) {
        mContentType = PieceAt(line, ' ', 1);
        if (mContentType.startsWith(QLatin1String("multipart")))
            mBoundary = QString(PieceAt(PieceAt(line, ' ', 2), '=', 1)).trimmed();
    } else if (name == QLatin1String("Content-Length:")) {
        mContentRemaining = QString(PieceAt(line, ' ', 1)).toInt();
    }
}

void AppDeviceTransaction::ReadBody(QTcpSocket *socket)
{
    const int available = static_cast<int>(
        std::min<qint64>(socket->bytesAvailable(), std::numeric_limits<int>::max()));
    if (available == 0 || mHeadersDone != 1)
        return;
    mReceived += available;

    // Past the announced length, or without one, the request can never complete: what comes is
    // taken off the socket and dropped.
    if (mContentRemaining < available) {
        socket->read(available);
        mContent.clear();
        mContentRemaining = -1;
        return;
    }

    // From here on it comes to mContent in small steps, so that the socket keeps no second copy.
    socket->setReadBufferSize(READ_STEP);
    const int received = static_cast<int>(mContent.size());
    const int announced = received + mContentRemaining;
    mContent.reserve(announced > LARGE_BODY ? LARGE_BODY_RESERVE : announced);
    mContent.resize(received + available);
    socket->read(mContent.data() + received, available);
    mContentRemaining -= available;
    if (mContentRemaining != 0)
        return;

    MxLog().Log(MxLog::LEVEL_TRACE, TRACE_FILE, 114, L"done reading - content length: %d",
                static_cast<int>(mContent.size()));
    ParseContent(); // The result is deliberately not looked at.
}

QString AppDeviceTransaction::ReadContentLine()
{
    AppBodyCursor cursor(mContent);
    QString line = cursor.ReadLine();
    mContent = cursor.Rest();
    return line;
}

int AppDeviceTransaction::ParseContent()
{
    AppFormBody::TYPE type = AppFormBody::TYPE_OTHER;
    if (mContentType.contains(tr("application/x-www-form-urlencoded")))
        type = AppFormBody::TYPE_URL_ENCODED;
    else if (mContentType.contains(tr("multipart/form-data")))
        type = AppFormBody::TYPE_MULTIPART;

    AppFormBody form(type, mBoundary, std::exchange(mContent, QByteArray()));
    AppFormBody::FIELD field;
    while (form.ReadField(&field))
        SetProperty(field.name, field.value);
    mContent = form.Rest();
    if (form.PackageSize() > 0) {
        mPackage = new AppPackage;
        // A package that cannot be imported stays an empty one.
        mPackage->Import(form.Bytes(), form.PackageOffset(), form.PackageSize());
    }
    return form.Status();
}

int AppDeviceTransaction::SetProperty(const QString &name, const QString &value)
{
    if (name == QLatin1String("usr"))
        mUsr = value;
    else if (name == QLatin1String("pwd"))
        mPwd = value;
    else if (name == QLatin1String("dev"))
        mDev = value.toInt();
    else if (name == QLatin1String("udid"))
        mUdid = value;
    else if (name == QLatin1String("pat"))
        mPat.FromString(value, true);
    else if (name == QLatin1String("cmd"))
        mCmd = value.toInt();
    else if (name == QLatin1String("req"))
        mReq = value.toInt();
    else if (name == QLatin1String("mem"))
        mMem = value.toInt();
    return 0;
}

int AppDeviceTransaction::Reply(const AppPackage &package)
{
    const QVector<QByteArray> pieces = package.Pieces();
    // The device finds the end of the body by its length alone; it gets just these three headers.
    const QByteArray header = "HTTP/1.1 200 Ok\r\n"
                              "Content-Type: application/octet-stream\r\n"
                              "Content-Transfer-Encoding: binary\r\n"
                              "Content-Length: " +
                              QByteArray::number(package.ExportSize()) + "\r\n\r\n";
    if (mGone)
        return 0;
    // The first piece is short. The others go to the socket as they are, and it keeps no copy.
    mSocket->write(header + pieces.first());
    for (int i = 1; i < pieces.size(); ++i)
        mSocket->write(pieces.at(i));
    // Flushed first, since a wait would notice before it sends anything that the device has closed
    // its side. And no wait behind it: a device that never reads would make it last for ever.
    if (!mSocket->flush() && !mGone)
        mSocket->waitForBytesWritten(-1);
    return 0;
}
