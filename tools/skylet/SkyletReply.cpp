// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#include "SkyletReply.h"

#include "AppImageKinds.h"
#include "AppPackage.h"
#include "AppPackageFormat.h"
#include "MxEndian.h"

#include <algorithm>

using namespace AppPackageFormat;
using MxEndian::LeAt;

namespace
{

/// The header of the response.
struct HEAD {
    qint64 size = 0;      ///< bytes, the blank line included
    qint64 bodySize = -1; ///< "Content-Length:", -1 without one
    QString detail;       ///< what is wrong
};

constexpr char HTTP_VERSION[] = "HTTP/1.";
constexpr qsizetype HTTP_VERSION_SIZE = sizeof("HTTP/1.1") - 1;
constexpr qsizetype HTTP_STATUS_OFFSET = HTTP_VERSION_SIZE + 1;
constexpr qsizetype HTTP_STATUS_SIZE = 3;

bool IsNumber(const QByteArray &text)
{
    return !text.isEmpty() &&
           std::all_of(text.begin(), text.end(), [](char c) { return c >= '0' && c <= '9'; });
}

/// Whether the bytes, which may be cut anywhere, can be the beginning of an HTTP response.
bool BeginsLikeHttp(const QByteArray &bytes)
{
    const QByteArray version(HTTP_VERSION);
    return version.startsWith(bytes.left(version.size()));
}

SkyletReply::STATUS ReadStatusLine(const QByteArray &line, HEAD *head)
{
    const QByteArray status = line.mid(HTTP_STATUS_OFFSET, HTTP_STATUS_SIZE);
    const QByteArray behind = line.mid(HTTP_STATUS_OFFSET + HTTP_STATUS_SIZE);
    if (line.mid(HTTP_VERSION_SIZE, 1) != " " || status.size() != HTTP_STATUS_SIZE ||
        !IsNumber(status) || !(behind.isEmpty() || behind.startsWith(' ')))
        return SkyletReply::NOT_HTTP;
    if (status != "200") {
        head->detail = QString::fromLatin1(status);
        return SkyletReply::BAD_STATUS;
    }
    return SkyletReply::VALID;
}

SkyletReply::STATUS ReadHeaderLine(const QByteArray &line, HEAD *head)
{
    const auto colon = line.indexOf(':');
    if (line.left(colon).toLower() != "content-length")
        return SkyletReply::VALID;
    const QByteArray value = line.mid(colon + 1).trimmed();
    head->detail = QString::fromLatin1(value);
    bool fits = false;
    const qint64 size = value.toLongLong(&fits);
    if (head->bodySize >= 0 || !IsNumber(value) || !fits || size > SkyletReply::BODY_MAX)
        return SkyletReply::BAD_LENGTH;
    head->bodySize = size;
    return SkyletReply::VALID;
}

SkyletReply::STATUS ReadHead(const QByteArray &bytes, HEAD *head)
{
    if (bytes.isEmpty())
        return SkyletReply::EMPTY;
    if (!BeginsLikeHttp(bytes))
        return SkyletReply::NOT_HTTP;
    const QByteArray start = bytes.left(SkyletReply::HEAD_MAX);
    const auto end = start.indexOf("\r\n\r\n");
    if (end < 0)
        return bytes.size() < SkyletReply::HEAD_MAX ? SkyletReply::HEAD_CUT
                                                    : SkyletReply::HEAD_TOO_LONG;

    head->size = end + 4;
    auto lineEnd = start.indexOf("\r\n");
    SkyletReply::STATUS status = ReadStatusLine(start.left(lineEnd), head);
    while (status == SkyletReply::VALID && lineEnd < end) {
        const auto lineStart = lineEnd + 2;
        lineEnd = start.indexOf("\r\n", lineStart);
        status = ReadHeaderLine(start.mid(lineStart, lineEnd - lineStart), head);
    }
    if (status == SkyletReply::VALID && head->bodySize < 0)
        return SkyletReply::NO_LENGTH;
    return status;
}

SkyletReply::STATUS CheckDiskBlock(const QByteArray &body, qint64 offset, quint32 size)
{
    if (size < DISK_HEADER_SIZE ||
        LeAt<quint32>(body, offset + DISK_HEADER_MAGIC_OFFSET) != DISK_HEADER_MAGIC)
        return SkyletReply::BAD_DISK_HEADER;
    const qint64 imageOffset = LeAt<quint32>(body, offset + DISK_HEADER_SIZE_OFFSET);
    const qint64 imageSize = LeAt<quint32>(body, offset + DISK_HEADER_DATA_SIZE_OFFSET);
    const bool inside =
        imageOffset >= DISK_HEADER_SIZE && imageOffset <= size && imageSize <= size - imageOffset;
    const quint8 type = LeAt<quint8>(body, offset + DISK_HEADER_TYPE_OFFSET);
    return inside && AppImageKinds::OfType(type) != nullptr ? SkyletReply::VALID
                                                            : SkyletReply::BAD_DISK_HEADER;
}

/// Checks the entries and the blocks behind them; the header itself is known to be good.
SkyletReply::STATUS CheckObjects(const QByteArray &body)
{
    const int count = LeAt<quint8>(body, PACKAGE_COUNT_OFFSET);
    qint64 offset = PACKAGE_HEADER_SIZE;
    int programs = 0;
    for (int i = 0; i < count; ++i) {
        const quint8 type = LeAt<quint8>(body, EntryOffset(i) + ENTRY_TYPE_OFFSET);
        const quint32 size = LeAt<quint32>(body, EntryOffset(i) + ENTRY_SIZE_OFFSET);
        if (size > body.size() - offset)
            return SkyletReply::BAD_SIZES;
        if (type == OBJECT_PROGRAM ? ++programs > 1 : type != OBJECT_DISK)
            return SkyletReply::BAD_OBJECT;
        if (type == OBJECT_DISK && CheckDiskBlock(body, offset, size) != SkyletReply::VALID)
            return SkyletReply::BAD_DISK_HEADER;
        offset += size;
    }
    return offset == body.size() ? SkyletReply::VALID : SkyletReply::BAD_SIZES;
}

SkyletReply::STATUS CheckPackage(const QByteArray &body)
{
    if (body.size() < PACKAGE_HEADER_SIZE)
        return SkyletReply::NO_PACKAGE;
    if (LeAt<quint32>(body, PACKAGE_MAGIC_OFFSET) != PACKAGE_MAGIC)
        return SkyletReply::BAD_MAGIC;
    if (LeAt<quint16>(body, PACKAGE_VERSION_OFFSET) != PACKAGE_VERSION)
        return SkyletReply::BAD_VERSION;
    if (LeAt<quint8>(body, PACKAGE_COUNT_OFFSET) > AppPackageFormat::OBJECTS_MAX)
        return SkyletReply::BAD_COUNT;
    const qint64 total = LeAt<quint32>(body, PACKAGE_TOTAL_SIZE_OFFSET);
    if (total != body.size() - PACKAGE_HEADER_SIZE)
        return SkyletReply::BAD_SIZES;
    return CheckObjects(body);
}

QString CutMessage(qint64 there, qint64 announced)
{
    return SkyletReply::tr("%1 of %2 bytes").arg(there).arg(announced);
}

} // namespace

SkyletReply::SkyletReply() = default;
SkyletReply::~SkyletReply() = default;
SkyletReply::SkyletReply(SkyletReply &&other) noexcept = default;
SkyletReply &SkyletReply::operator=(SkyletReply &&other) noexcept = default;

qint64 SkyletReply::AnnouncedSize(const QByteArray &bytes)
{
    HEAD head;
    const STATUS headStatus = ReadHead(bytes, &head);
    if (headStatus == VALID)
        return head.size + head.bodySize;
    return headStatus == EMPTY || headStatus == HEAD_CUT ? SIZE_NOT_YET : SIZE_NEVER;
}

SkyletReply SkyletReply::Parse(const QByteArray &bytes)
{
    SkyletReply reply;
    HEAD head;
    reply.status = ReadHead(bytes, &head);
    reply.detail = head.detail;
    if (reply.status != VALID)
        return reply;

    const qint64 there = bytes.size() - head.size;
    if (there != head.bodySize) {
        reply.status = there < head.bodySize ? BODY_CUT : BODY_LONG;
        reply.detail = CutMessage(there, head.bodySize);
        return reply;
    }

    const QByteArray body = // as it lies in `bytes`
        QByteArray::fromRawData(bytes.constData() + head.size, static_cast<int>(there));
    reply.detail.clear();
    reply.status = CheckPackage(body);
    if (reply.status == VALID) {
        reply.package = std::make_unique<AppPackage>();
        const int imported = reply.package->Import(bytes, head.size, there);
        Q_ASSERT(imported == 0);
        Q_UNUSED(imported)
    }
    return reply;
}

QString SkyletReply::Message() const
{
    switch (status) {
    case VALID:
        return QString();
    case EMPTY:
        return tr("there is no answer");
    case NOT_HTTP:
        return tr("it is no HTTP");
    case BAD_STATUS:
        return tr("its HTTP status is %1, not 200").arg(detail);
    case HEAD_CUT:
        return tr("it ends inside its header");
    case HEAD_TOO_LONG:
        return tr("its header does not end");
    case NO_LENGTH:
        return tr("it announces no length");
    case BAD_LENGTH:
        return tr("it announces the length \"%1\"").arg(detail);
    case BODY_CUT:
        return tr("it ends after %1").arg(detail);
    case BODY_LONG:
        return tr("it goes on behind its end: %1").arg(detail);
    case NO_PACKAGE:
        return tr("it is too short for a package");
    case BAD_MAGIC:
        return tr("it holds no package");
    case BAD_VERSION:
        return tr("its package has another version");
    case BAD_COUNT:
        return tr("its package counts more than 20 objects");
    case BAD_SIZES:
        return tr("the sizes in its package do not agree");
    case BAD_OBJECT:
        return tr("its package holds an object that is neither disk nor the one program");
    case BAD_DISK_HEADER:
        return tr("its package holds a disk with a wrong header");
    }
    return QString();
}
