// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#include "PackageBytes.h"

namespace
{

/// Those of the `count` bytes at `offset` that are there.
QByteArray ReadWhatIsThere(const QByteArray &bytes, quint64 offset, quint64 count)
{
    const quint64 size = quint64(bytes.size());
    return offset < size ? bytes.mid(int(offset), int(qMin(count, size - offset))) : QByteArray();
}

READ_PACKAGE Malformed()
{
    READ_PACKAGE package;
    package.status = -1;
    return package;
}

} // namespace

AppDosName Name(const QByteArray &bytes)
{
    return AppDosName::FromBytes(NameField(bytes).constData());
}

QByteArray NameBytes(const AppDosName &name)
{
    return QByteArray(name.Bytes(), 16);
}

QByteArray Le(quint64 value, int width)
{
    QByteArray bytes;
    for (int i = 0; i < width; ++i)
        bytes.append(char((value >> (8 * i)) & 0xFF));
    return bytes;
}

QByteArray Zeros(int count)
{
    return QByteArray(count, '\0');
}

QByteArray EntryBytes(int type, int flags, quint32 size, const QByteArray &name)
{
    return Le(quint64(type), 1) + Le(quint64(flags), 1) + Zeros(2) + Le(size, 4) + NameField(name);
}

QByteArray DiskHeaderBytes(int type, quint32 headerSize, quint32 dataSize, const QByteArray &name)
{
    return QByteArray::fromHex("A6135C71") + Le(headerSize, 4) + Le(dataSize, 4) +
           Le(quint64(type), 1) + Zeros(19) + NameField(name) + Zeros(4048);
}

QByteArray HeaderBytes(int count, const QVector<QByteArray> &entries, quint32 totalSize, int result)
{
    QByteArray header = QByteArray::fromHex("1F24CA73") + Zeros(2) + Le(quint64(result), 1) +
                        Le(quint64(count), 1) + Le(totalSize, 4) + Zeros(4);
    for (const QByteArray &entry : entries)
        header += entry;
    return header.leftJustified(HEADER_SIZE, '\0');
}

QByteArray HeaderBytes(const QVector<QByteArray> &entries)
{
    return HeaderBytes(int(entries.size()), entries);
}

quint64 ReadLe(const QByteArray &bytes, quint64 offset, int width)
{
    quint64 value = 0;
    for (int i = 0; i < width; ++i)
        value |= quint64(uchar(bytes.at(int(offset) + i))) << (8 * i);
    return value;
}

READ_PACKAGE ReadPackage(const QByteArray &in)
{
    const quint64 length = quint64(in.size());
    if (length < 496 || in.left(4) != QByteArray::fromHex("1F24CA73"))
        return Malformed();

    READ_PACKAGE package;
    if (ReadLe(in, 4, 2) != 0) {
        package.result = -84;
        return package;
    }
    package.result = int(ReadLe(in, 6, 1)) - (ReadLe(in, 6, 1) > 127 ? 256 : 0);
    const int count = int(ReadLe(in, 7, 1));
    quint64 data = 496;
    for (int i = 0; i < count; ++i) {
        const quint64 entry = 16 + 24 * quint64(i);
        if (entry + 24 > length)
            return Malformed();
        const quint64 type = ReadLe(in, entry, 1);
        const bool replace = ReadLe(in, entry + 1, 1) % 2 == 1;
        const quint64 size = ReadLe(in, entry + 4, 4);
        const QByteArray name = in.mid(int(entry) + 8, 16);
        if (type == 0) {
            package.hasProgram = true;
            package.programName = name;
            package.programData = ReadWhatIsThere(in, data, size);
            package.programReplace = replace;
        } else if (type == 1) {
            if (data + 4096 > length)
                return Malformed();
            package.disks.append(
                {int(ReadLe(in, data + 12, 1)), name,
                 ReadWhatIsThere(in, data + ReadLe(in, data + 4, 4), ReadLe(in, data + 8, 4)),
                 replace});
        } else {
            continue;
        }
        data += size;
    }
    return package;
}

QByteArray Described(const READ_PACKAGE &package)
{
    QByteArray text = "result " + QByteArray::number(package.result) + "\nprogram " +
                      package.programName.toHex() +
                      (package.programReplace ? " replace " : " keep ") +
                      package.programData.toHex();
    for (const READ_DISK &disk : package.disks)
        text += "\ndisk " + QByteArray::number(disk.type) + ' ' + disk.name.toHex() +
                (disk.replace ? " replace " : " keep ") + disk.data.toHex();
    return text;
}

READ_PACKAGE Contents(const AppPackage &package)
{
    READ_PACKAGE contents;
    contents.result = package.result;
    contents.programName = NameBytes(package.Program().name);
    contents.programData = package.Program().data;
    contents.programReplace = package.Program().replace;
    for (int i = 0; i < package.NumDisks(); ++i) {
        const AppPackage::DISK *const disk = package.Disk(i);
        contents.disks.append({int(disk->type), NameBytes(disk->name), disk->data, disk->replace});
    }
    return contents;
}

QByteArray Described(const AppPackage &package)
{
    return Described(Contents(package));
}

READ_PACKAGE Added(const READ_PACKAGE &before, const READ_PACKAGE &read)
{
    READ_PACKAGE sum = before;
    if (read.status != 0)
        return sum;
    sum.result = read.result;
    if (read.hasProgram) {
        sum.programName = read.programName;
        sum.programData = read.programData;
        sum.programReplace = read.programReplace;
    }
    sum.disks += read.disks;
    return sum;
}

READ_PACKAGE NothingYet()
{
    READ_PACKAGE package;
    package.programName = NameField("");
    return package;
}

QByteArray Exported(const AppPackage &package)
{
    QByteArray out;
    package.Export(&out);
    return out;
}

void Fill(AppPackage *package)
{
    package->result = 77;
    package->SetProgram(Name("OLD PROGRAM"), "\x01\x08old");
    package->program.replace = true;
    package->AddDisk(AppPackage::DISK_D81, Name("OLD DISK"), "old image");
    package->disks.first()->replace = true;
}
