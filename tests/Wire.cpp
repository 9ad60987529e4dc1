// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#include "Wire.h"

#include <QtEndian>

namespace
{

constexpr int HEADER_SIZE = 496;
constexpr int ENTRY_OFFSET = 16; ///< of the first one
constexpr int ENTRY_SIZE = 24;
constexpr int ENTRY_COUNT = 20; ///< that there is room for
constexpr int DISK_HEADER_SIZE = 4096;

QByteArray Word(qsizetype value)
{
    QByteArray bytes(4, '\0');
    qToLittleEndian(quint32(value), bytes.data());
    return bytes;
}

qsizetype WordAt(const QByteArray &bytes, int offset)
{
    return qsizetype(qFromLittleEndian<quint32>(bytes.constData() + offset));
}

QByteArray DiskBlock(const WireObject &disk)
{
    const QByteArray header = QByteArray::fromHex("A6135C7100100000") + Word(disk.data.size()) +
                              QByteArray(1, char(disk.diskType)) + QByteArray(19, '\0') +
                              disk.name + QByteArray(4048, '\0');
    const qsizetype padding = (4096 - disk.data.size() % 4096) % 4096;
    return header + disk.data + QByteArray(padding, '\0');
}

bool TakeDiskBlock(const QByteArray &block, WireObject *disk)
{
    if (block.size() < DISK_HEADER_SIZE || block.size() - DISK_HEADER_SIZE < WordAt(block, 8))
        return false;
    disk->diskType = block.at(12);
    disk->data = block.mid(DISK_HEADER_SIZE, WordAt(block, 8));
    return block == DiskBlock(*disk);
}

bool TakeHeader(const QByteArray &in, int *count)
{
    if (in.size() < HEADER_SIZE || !in.startsWith(QByteArray::fromHex("1F24CA730000")) ||
        WordAt(in, 8) != in.size() - HEADER_SIZE || WordAt(in, 12) != 0)
        return false;
    *count = static_cast<unsigned char>(in.at(7));
    if (*count > ENTRY_COUNT)
        return false;
    const int unusedSize = ENTRY_SIZE * (ENTRY_COUNT - *count);
    return in.mid(HEADER_SIZE - unusedSize, unusedSize).count('\0') == unusedSize;
}

bool TakeObject(const QByteArray &entry, const QByteArray &block, WireObject *object)
{
    object->type = entry.at(0);
    object->name = entry.mid(8);
    object->data = block;
    return entry.mid(1, 3) == QByteArray(3, '\0') && block.size() == WordAt(entry, 4) &&
           (object->type != WireObject::DISK || TakeDiskBlock(block, object));
}

} // namespace

QByteArray NameField(const QByteArray &petscii)
{
    return petscii.leftJustified(16, char(0xA0), true);
}

QByteArray PetsciiName(const char *text)
{
    QByteArray name(text);
    for (char &c : name) {
        if (c >= 'a' && c <= 'z')
            c = char(c - 0x20);
        else if (c >= 'A' && c <= 'Z')
            c = char(c | 0x80);
    }
    return NameField(name);
}

QByteArray Image(int size, unsigned int seed)
{
    QByteArray image(size, '\0');
    for (char &byte : image) {
        seed = seed * 1103515245 + 12345;
        byte = char(seed >> 16);
    }
    return image;
}

QByteArray WirePackage::Bytes() const
{
    QByteArray header = QByteArray::fromHex("1F24CA73") + QByteArray(492, '\0');
    QByteArray blocks;
    header[6] = char(result);
    header[7] = char(objects.size());
    int offset = ENTRY_OFFSET;
    for (const WireObject &object : objects) {
        const QByteArray block = object.type == WireObject::DISK ? DiskBlock(object) : object.data;
        const QByteArray entry = QByteArray(1, char(object.type)) +
                                 QByteArray(1, char(object.replace)) + QByteArray(2, '\0') +
                                 Word(block.size()) + object.name;
        header.replace(offset, ENTRY_SIZE, entry);
        blocks += block;
        offset += ENTRY_SIZE;
    }
    header.replace(8, 4, Word(blocks.size()));
    return header + blocks;
}

WirePackage WirePackage::FromBytes(const QByteArray &in)
{
    WirePackage package;
    int count = 0;
    if (!TakeHeader(in, &count))
        return package;
    package.result = static_cast<signed char>(in.at(6));
    qsizetype data = HEADER_SIZE;
    for (int i = 0; i < count; ++i) {
        const QByteArray entry = in.mid(ENTRY_OFFSET + ENTRY_SIZE * i, ENTRY_SIZE);
        const QByteArray block = in.mid(data, WordAt(entry, 4));
        WireObject object;
        if (!TakeObject(entry, block, &object))
            return package;
        package.objects.append(object);
        data += block.size();
    }
    package.valid = data == in.size();
    return package;
}

WireObject Disk(const char *name, const QByteArray &data, int diskType, bool replace)
{
    WireObject disk;
    disk.type = WireObject::DISK;
    disk.name = PetsciiName(name);
    disk.data = data;
    disk.diskType = diskType;
    disk.replace = replace;
    return disk;
}

WireObject ProgramObject(const char *name, const QByteArray &data)
{
    WireObject program;
    program.name = PetsciiName(name);
    program.data = data;
    return program;
}

QByteArray EmptyPackage(int result)
{
    return QByteArray::fromHex("1F24CA730000") + char(result) + QByteArray(489, '\0');
}

QByteArray ListingEntry(const QByteArray &name, const QByteArray &type)
{
    return QByteArray::fromHex("01010000") + ("  \"" + name + '"').leftJustified(22, ' ') + type +
           '\0';
}

QByteArray Listing(const QByteArray &title, const QByteArray &entries)
{
    return QByteArray::fromHex("0104 01010000 12") + title.leftJustified(24, ' ') + '\0' + entries +
           QByteArray(2, '\0');
}

QByteArray HeadFor(qsizetype bodySize)
{
    return "HTTP/1.1 200 Ok\r\nContent-Type: application/octet-stream\r\n"
           "Content-Transfer-Encoding: binary\r\nContent-Length: " +
           QByteArray::number(bodySize) + "\r\n\r\n";
}

QByteArray HttpPost(const QByteArray &contentType, const QByteArray &body)
{
    return "POST / HTTP/1.1\r\nHost: hub\r\nContent-Type: " + contentType +
           "\r\nContent-Length: " + QByteArray::number(body.size()) + "\r\n\r\n" + body;
}

QByteArray FormRequest(const QList<HubField> &fields)
{
    QByteArray body;
    for (const HubField &field : fields) {
        body += (body.isEmpty() ? "" : "&") + field.first + '=';
        for (const char c : field.second)
            body += '%' + QByteArray(1, c).toHex();
    }
    return HttpPost("application/x-www-form-urlencoded", body);
}

QByteArray MultipartRequest(const QList<HubField> &fields, const QByteArray &package)
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

QByteArray SearchRequest(const QByteArray &pattern)
{
    return FormRequest({{"cmd", "1"}, {"udid", "42"}, {"pat", pattern}});
}

QByteArray DownloadRequest(const char *req, const QByteArray &pattern)
{
    return FormRequest({{"cmd", "2"}, {"udid", "42"}, {"req", req}, {"pat", pattern}});
}

QByteArray UploadRequest(const QList<WireObject> &objects)
{
    WirePackage package;
    package.objects = objects;
    return MultipartRequest({{"cmd", "3"}, {"udid", "42"}}, package.Bytes());
}

QByteArray UploadRequest(const WireObject &object)
{
    return UploadRequest(QList<WireObject>{object});
}
