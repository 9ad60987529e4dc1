// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#include "AppPackage.h"

#include "MxEndian.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <vector>

using namespace AppPackageFormat;
using MxEndian::LeAt;
using MxEndian::PutLe;

namespace
{

/// Up to `size` bytes at `offset`: what is there of them.
QByteArray BytesAt(const QByteArray &bytes, qint64 offset, quint32 size)
{
    const qint64 there = std::max<qint64>(bytes.size() - offset, 0);
    const qint64 taken = std::min<qint64>(size, there);
    return QByteArray(bytes.constData() + (taken > 0 ? offset : 0), static_cast<int>(taken));
}

qsizetype PaddedSize(qsizetype size)
{
    return (size + DISK_ALIGNMENT - 1) / DISK_ALIGNMENT * DISK_ALIGNMENT;
}

void PutEntry(char *entry, quint8 type, qsizetype blockSize, const AppDosName &name)
{
    std::memset(entry, 0, ENTRY_SIZE);
    PutLe<quint8>(entry, ENTRY_TYPE_OFFSET, type);
    PutLe<quint32>(entry, ENTRY_SIZE_OFFSET, static_cast<quint32>(blockSize));
    std::memcpy(entry + ENTRY_NAME_OFFSET, name.Bytes(), AppDosName::SIZE);
}

qsizetype BlockSize(const AppPackage::PROGRAM &program)
{
    return program.data.size();
}

qsizetype BlockSize(const AppPackage::DISK &disk)
{
    return DISK_HEADER_SIZE + PaddedSize(disk.data.size());
}

/// Appends the data block. Its size is BlockSize().
void AppendBlock(const AppPackage::PROGRAM &program, QByteArray *out)
{
    out->append(program.data);
}

void AppendBlock(const AppPackage::DISK &disk, QByteArray *out)
{
    char header[DISK_HEADER_SIZE] = {};
    PutLe<quint32>(header, DISK_HEADER_MAGIC_OFFSET, DISK_HEADER_MAGIC);
    PutLe<quint32>(header, DISK_HEADER_SIZE_OFFSET, DISK_HEADER_SIZE);
    PutLe<quint32>(header, DISK_HEADER_DATA_SIZE_OFFSET, static_cast<quint32>(disk.data.size()));
    PutLe<quint8>(header, DISK_HEADER_TYPE_OFFSET, static_cast<quint8>(disk.type));
    std::memcpy(header + DISK_HEADER_NAME_OFFSET, disk.name.Bytes(), AppDosName::SIZE);

    out->append(header, static_cast<int>(DISK_HEADER_SIZE));
    out->append(disk.data);
    out->append(static_cast<int>(PaddedSize(disk.data.size()) - disk.data.size()), '\0');
}

/// How many of `disks` fit into a package beside its program, if it has one.
int DisksThatFit(const AppPackage &package)
{
    const int room = OBJECTS_MAX - (package.Program().data.isEmpty() ? 0 : 1);
    return std::min(package.NumDisks(), room);
}

/// The objects of one package while they are being read.
struct OBJECTS {
    bool hasProgram = false;
    AppPackage::PROGRAM program;
    std::vector<std::unique_ptr<AppPackage::DISK>> disks;
};

void ReadProgram(const QByteArray &in, const QByteArray &entry, qint64 dataOffset, OBJECTS *objects)
{
    objects->hasProgram = true;
    objects->program.name = AppDosName::FromBytes(entry.constData() + ENTRY_NAME_OFFSET);
    objects->program.data = BytesAt(in, dataOffset, LeAt<quint32>(entry, ENTRY_SIZE_OFFSET));
    objects->program.replace = (LeAt<quint8>(entry, ENTRY_FLAGS_OFFSET) & FLAG_REPLACE) != 0;
}

/// Returns 0, or -1 if there is no whole disk header at `dataOffset`.
int ReadDisk(const QByteArray &in, const QByteArray &entry, qint64 dataOffset, OBJECTS *objects)
{
    if (in.size() - dataOffset < DISK_HEADER_SIZE)
        return -1;

    auto disk = std::make_unique<AppPackage::DISK>();
    disk->type =
        static_cast<AppPackage::DISKTYPE>(LeAt<quint8>(in, dataOffset + DISK_HEADER_TYPE_OFFSET));
    disk->name = AppDosName::FromBytes(entry.constData() + ENTRY_NAME_OFFSET);
    disk->data = BytesAt(in, dataOffset + LeAt<quint32>(in, dataOffset + DISK_HEADER_SIZE_OFFSET),
                         LeAt<quint32>(in, dataOffset + DISK_HEADER_DATA_SIZE_OFFSET));
    disk->replace = (LeAt<quint8>(entry, ENTRY_FLAGS_OFFSET) & FLAG_REPLACE) != 0;
    objects->disks.push_back(std::move(disk));
    return 0;
}

/// Reads all objects of `in`, whose header is whole. Returns 0, or -1 if an entry or a disk header
/// lies past the end.
int ReadObjects(const QByteArray &in, OBJECTS *objects)
{
    const int count = LeAt<quint8>(in, PACKAGE_COUNT_OFFSET);
    qint64 dataOffset = PACKAGE_HEADER_SIZE;
    // A count above OBJECTS_MAX is not refused: the entries go on where the data begin.
    for (int i = 0; i < count; ++i) {
        const qint64 entryOffset = EntryOffset(i);
        if (in.size() - entryOffset < ENTRY_SIZE)
            return -1;
        const QByteArray entry = QByteArray::fromRawData(in.constData() + entryOffset, ENTRY_SIZE);

        const quint8 type = LeAt<quint8>(entry, ENTRY_TYPE_OFFSET);
        if (type == OBJECT_PROGRAM)
            ReadProgram(in, entry, dataOffset, objects);
        else if (type != OBJECT_DISK)
            continue; // Without moving the data offset; devices in the field rely on it.
        else if (ReadDisk(in, entry, dataOffset, objects) != 0)
            return -1;
        dataOffset += LeAt<quint32>(entry, ENTRY_SIZE_OFFSET);
    }
    return 0;
}

} // namespace

AppPackage::~AppPackage()
{
    qDeleteAll(disks);
}

int AppPackage::NumDisks() const
{
    return static_cast<int>(disks.size());
}

const AppPackage::PROGRAM &AppPackage::Program() const
{
    return program;
}

const AppPackage::DISK *AppPackage::Disk(int index) const
{
    return disks.at(index);
}

int AppPackage::SetProgram(const AppDosName &name, const QByteArray &data)
{
    program.name = name;
    program.data = data;
    return 0;
}

int AppPackage::AddDisk(DISKTYPE type, const AppDosName &name, const QByteArray &data)
{
    disks.append(new DISK{type, name, data});
    return NumDisks() - 1;
}

void AppPackage::Pack(const PROGRAM &object, QVector<OBJECTINFO> *objects) const
{
    OBJECTINFO packed;
    PutEntry(packed.entry, OBJECT_PROGRAM, BlockSize(object), object.name);
    AppendBlock(object, &packed.block);
    objects->append(packed);
}

void AppPackage::Pack(const DISK &object, QVector<OBJECTINFO> *objects) const
{
    OBJECTINFO packed;
    packed.block.reserve(static_cast<int>(BlockSize(object)));
    PutEntry(packed.entry, OBJECT_DISK, BlockSize(object), object.name);
    AppendBlock(object, &packed.block);
    objects->append(packed);
}

qsizetype AppPackage::ExportSize() const
{
    qsizetype size = PACKAGE_HEADER_SIZE + BlockSize(program);
    const int numDisks = DisksThatFit(*this);
    for (int i = 0; i < numDisks; ++i)
        size += BlockSize(*Disk(i));
    return size;
}

int AppPackage::Export(QByteArray *out) const
{
    const qsizetype headerOffset = out->size();
    const qsizetype exportSize = ExportSize();
    out->reserve(static_cast<int>(headerOffset + exportSize));
    out->append(static_cast<int>(PACKAGE_HEADER_SIZE), '\0');

    // Each block goes to its place at once: no copy of it is held beside the data and the result.
    int count = 0;
    const auto appendObject = [&](quint8 type, const auto &object) {
        PutEntry(out->data() + headerOffset + EntryOffset(count), type, BlockSize(object),
                 object.name);
        AppendBlock(object, out);
        ++count;
    };
    if (!program.data.isEmpty())
        appendObject(OBJECT_PROGRAM, program);
    const int numDisks = DisksThatFit(*this);
    for (int i = 0; i < numDisks; ++i)
        appendObject(OBJECT_DISK, *Disk(i));

    char *const header = out->data() + headerOffset;
    PutLe<quint32>(header, PACKAGE_MAGIC_OFFSET, PACKAGE_MAGIC);
    PutLe<quint16>(header, PACKAGE_VERSION_OFFSET, PACKAGE_VERSION);
    PutLe<quint8>(header, PACKAGE_RESULT_OFFSET, static_cast<quint8>(result & 0xFF));
    PutLe<quint8>(header, PACKAGE_COUNT_OFFSET, static_cast<quint8>(count));
    PutLe<quint32>(header, PACKAGE_TOTAL_SIZE_OFFSET,
                   static_cast<quint32>(exportSize - PACKAGE_HEADER_SIZE));
    return 0;
}

int AppPackage::Import(const QByteArray &in)
{
    if (in.size() < PACKAGE_HEADER_SIZE)
        return -1;
    if (LeAt<quint32>(in, PACKAGE_MAGIC_OFFSET) != PACKAGE_MAGIC)
        return -1;
    if (LeAt<quint16>(in, PACKAGE_VERSION_OFFSET) != PACKAGE_VERSION) {
        result = RESULT_BAD_VERSION;
        return 0;
    }

    OBJECTS objects;
    if (ReadObjects(in, &objects) != 0)
        return -1;

    result = LeAt<qint8>(in, PACKAGE_RESULT_OFFSET);
    if (objects.hasProgram)
        program = objects.program;
    for (std::unique_ptr<DISK> &disk : objects.disks)
        disks.append(disk.release());
    return 0;
}
