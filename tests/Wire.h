// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#pragma once

// What hub and device exchange, byte by byte: names, packages, requests and replies as a test makes
// and reads them, without a class of the hub.

#include <QByteArray>
#include <QList>
#include <QPair>
#include <QtEndian>

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
