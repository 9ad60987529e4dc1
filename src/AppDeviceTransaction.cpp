// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#include "AppDeviceTransaction.h"

#include "AppPackage.h"
#include "MxLog.h"

#include <QElapsedTimer>
#include <QStringView>
#include <QTcpSocket>

#include <algorithm>
#include <functional>
#include <limits>
#include <utility>
#include <vector>

namespace
{

const char TRACE_FILE[] = "src/AppDeviceTransaction";

// The longest announced body that memory is set aside for at once: a full package and its form.
constexpr int RESERVE_MAX = 32 * 1024 * 1024; // bytes

// What the socket reads of a body at a time.
constexpr int READ_STEP = 256 * 1024; // bytes

/// One character for each byte, up to the first NUL.
QString TextOf(const QByteArray &bytes)
{
    const auto end = std::find(bytes.cbegin(), bytes.cend(), '\0');
    return QString::fromLatin1(bytes.constData(), static_cast<int>(end - bytes.cbegin()));
}

/// The piece at `index` of a text split at `separator`, empty if there are not so many.
QStringView PieceAt(QStringView text, char separator, int index)
{
    for (; index > 0; --index) {
        const qsizetype end = text.indexOf(QLatin1Char(separator));
        if (end < 0)
            return QStringView();
        text = text.mid(end + 1);
    }
    const qsizetype end = text.indexOf(QLatin1Char(separator));
    return end < 0 ? text : text.left(end);
}

/// The value of a hexadecimal digit, or -1.
int HexValue(char c)
{
    if (c >= '0' && c <= '9')
        return c - '0';
    if (c >= 'A' && c <= 'F')
        return c - 'A' + 10;
    if (c >= 'a' && c <= 'f')
        return c - 'a' + 10;
    return -1;
}

/// A form's value as text: "+" is a blank, "%41" is an "A", and the bytes are UTF-8. A "%" without
/// two hexadecimal digits stays what it is; the toolkit's own decoder would garble it.
QString FormDecoded(QByteArray bytes)
{
    char *out = bytes.data();
    const char *in = out;
    const char *const end = in + bytes.size();
    while (in < end) {
        const bool escape =
            *in == '%' && end - in > 2 && HexValue(in[1]) >= 0 && HexValue(in[2]) >= 0;
        if (escape) {
            *out++ = static_cast<char>(HexValue(in[1]) * 16 + HexValue(in[2]));
            in += 3;
        } else {
            *out++ = *in == '+' ? ' ' : *in;
            ++in;
        }
    }
    return QString::fromUtf8(bytes.constData(), static_cast<int>(out - bytes.constData()));
}

/// The position of the first `pattern` in `text`, or -1 (Knuth, Morris and Pratt). In time
/// proportional to both lengths, whatever boundary a peer makes up; the toolkit's search is not.
qsizetype IndexOf(const QByteArray &text, const QByteArray &pattern)
{
    // borders[n]: how much of the pattern's start ends its first n + 1 bytes, too.
    std::vector<qsizetype> borders(static_cast<std::size_t>(pattern.size()), 0);
    const auto extend = [&](qsizetype matched, char next) {
        while (matched > 0 && pattern[static_cast<int>(matched)] != next)
            matched = borders[static_cast<std::size_t>(matched - 1)];
        return pattern[static_cast<int>(matched)] == next ? matched + 1 : 0;
    };
    for (int i = 1; i < pattern.size(); ++i)
        borders[static_cast<std::size_t>(i)] =
            extend(borders[static_cast<std::size_t>(i - 1)], pattern[i]);

    qsizetype matched = 0;
    for (qsizetype i = 0; i < text.size(); ++i) {
        // Most of a disk image cannot start the pattern.
        if (matched == 0)
            i = text.indexOf(pattern[0], static_cast<int>(i));
        if (i < 0)
            return -1;
        matched = extend(matched, text.constData()[i]);
        if (matched == pattern.size())
            return i + 1 - matched;
    }
    return -1;
}

/// The value in a piece of a Content-Disposition line: what stands between the quotation marks.
/// The first character is taken to be one; without a second the value reaches to the end.
QString QuotedValue(QStringView piece)
{
    const QStringView value = piece.mid(std::min<qsizetype>(piece.size(), 1));
    return PieceAt(value, '"', 0).toString();
}

/// What the header of one part of a multipart body says.
struct PART {
    QString fieldName;
    QString fileName;
};

/// Reads `name="value"` pairs. What stands before each "=" but the first is the value before it,
/// too.
void ReadDisposition(const QString &line, PART *part)
{
    QStringView rest(line);
    for (qsizetype end = rest.indexOf(QLatin1Char('=')); end >= 0;
         end = rest.indexOf(QLatin1Char('='))) {
        const QStringView name = rest.left(end);
        rest = rest.mid(end + 1);
        // "filename" first, since it ends with "name" too.
        if (name.endsWith(QLatin1String("filename")))
            part->fileName = QuotedValue(PieceAt(rest, '=', 0));
        else if (name.endsWith(QLatin1String("name")))
            part->fieldName = QuotedValue(PieceAt(rest, '=', 0));
    }
}

/// Whether `bytes` lie in the memory of `storage`.
bool LiesIn(const QByteArray &bytes, const QByteArray &storage)
{
    const std::less_equal<const char *> notAfter;
    return notAfter(storage.constData(), bytes.constData()) &&
           notAfter(bytes.constData() + bytes.size(), storage.constData() + storage.size());
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
            IsTooSlow(timer.elapsed(), requestTimeMs)) {
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

bool AppDeviceTransaction::IsTooSlow(qint64 elapsedMs, int requestTimeMs) const
{
    // A request that is complete is answered, however long it took.
    return mContentRemaining != 0 && elapsedMs > requestTimeMs &&
           mReceived * 1000 < elapsedMs * BYTES_PER_SECOND_MIN;
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
    const QByteArray bytes = socket->readLine();
    mReceived += bytes.size();
    const QString line = TextOf(bytes);
    if (line.trimmed().isEmpty()) {
        mHeadersDone = 1;
        return;
    }

    if (line.startsWith(QLatin1String("Origin:"), Qt::CaseInsensitive)) {
        mFromWebPage = true;
        mOrigin = line.mid(static_cast<int>(sizeof("Origin:")) - 1).trimmed();
    }
    // Names are taken in the device's letter case only. A missing word is an empty one.
    const QStringView name = PieceAt(line, ' ', 0);
    if (name == QLatin1String("Content-Type:")) {
        mContentType = PieceAt(line, ' ', 1).toString();
        if (mContentType.startsWith(QLatin1String("multipart")))
            mBoundary = PieceAt(PieceAt(line, ' ', 2), '=', 1).trimmed().toString();
    } else if (name == QLatin1String("Content-Length:")) {
        mContentRemaining = PieceAt(line, ' ', 1).toString().toInt();
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
    mContent.reserve(std::min(received + mContentRemaining, RESERVE_MAX));
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
    HoldContent();
    const bool linesOver = mContentLinesEnd != nullptr && mContent.constData() >= mContentLinesEnd;
    const int end = linesOver ? -1 : static_cast<int>(mContent.indexOf('\r'));
    if (end < 0 && !linesOver)
        mContentLinesEnd = mContent.constData();
    QString line = TextOf(QByteArray::fromRawData(mContent.constData(), std::max(end, 0)));
    ConsumeContent(end + 2);
    return line;
}

void AppDeviceTransaction::HoldContent()
{
    if (LiesIn(mContent, mContentStorage))
        return;
    mContentStorage = mContent;
    mContentLinesEnd = nullptr;
}

void AppDeviceTransaction::ConsumeContent(qsizetype count)
{
    const qsizetype consumed = std::min<qsizetype>(count, mContent.size());
    mContent = QByteArray::fromRawData(mContent.constData() + consumed,
                                       static_cast<int>(mContent.size() - consumed));
}

int AppDeviceTransaction::ParseContent()
{
    if (mContentType.contains(tr("application/x-www-form-urlencoded")))
        return ParseUrlEncoded();
    if (mContentType.contains(tr("multipart/form-data")))
        return ParseMultipart();
    return 0;
}

int AppDeviceTransaction::ParseUrlEncoded()
{
    // Decoded before it is split, so an encoded "&" or "=" splits like a plain one.
    const QString text = FormDecoded(std::exchange(mContent, QByteArray()));
    QStringView rest(text);
    while (!rest.isEmpty()) {
        const QStringView pair = PieceAt(rest, '&', 0);
        const QStringView value = PieceAt(pair, '=', 1).trimmed();
        if (!value.isEmpty())
            SetProperty(PieceAt(pair, '=', 0).trimmed().toString(), value.toString());
        rest = rest.mid(std::min(pair.size() + 1, rest.size()));
    }
    return 0;
}

int AppDeviceTransaction::ParseMultipart()
{
    const QString delimiterLine = QLatin1String("--") + mBoundary;
    const QByteArray delimiter = delimiterLine.toLatin1();
    const QByteArray closingDelimiter = delimiter + "--";
    if (ReadContentLine() != delimiterLine)
        return -1;

    // A view of the body, which mContentStorage keeps.
    QByteArray packageBytes;
    do {
        PART part;
        for (QString line = ReadContentLine(); !line.isEmpty(); line = ReadContentLine()) {
            if (line.startsWith(QLatin1String("Content-Disposition: form-data")))
                ReadDisposition(line, &part);
        }

        if (!part.fieldName.isEmpty() && part.fileName.isEmpty())
            SetProperty(part.fieldName, FormDecoded(ReadContentLine().toLatin1()));

        const int end = static_cast<int>(IndexOf(mContent, delimiter));
        if (!part.fieldName.isEmpty() && part.fileName == QLatin1String("package"))
            packageBytes = QByteArray::fromRawData(mContent.constData(), std::max(end, 0));
        if (end < 0)
            return -1;
        ConsumeContent(end);
        if (mContent.startsWith(closingDelimiter))
            break;
        ReadContentLine();
    } while (true);

    if (!packageBytes.isEmpty()) {
        mPackage = new AppPackage;
        // A package that cannot be imported stays an empty one.
        mPackage->Import(packageBytes);
    }
    return 0;
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
    if (!mSocket->flush())
        mSocket->waitForBytesWritten(-1);
    return 0;
}
