// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#include "AppPackage.h"

#include "MxEndian.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <utility>
#include <vector>

using namespace AppPackageFormat;
using MxEndian::LeAt;
using MxEndian::PutLe;

namespace
{

/// A copy of a view, an unchanged share of bytes that are their own.
template <typename OBJECT> QByteArray OwnData(const OBJECT &object)
{
    if (object.source.isNull())
        return object.data;
    return QByteArray(object.data.constData(), static_cast<int>(object.data.size()));
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

/// `bytes` in memory that is theirs. A view of somebody else's has no capacity.
QByteArray OwnBytes(const QByteArray &bytes)
{
    if (bytes.capacity() >= bytes.size())
        return bytes;
    return QByteArray(bytes.constData(), static_cast<int>(bytes.size()));
}

QByteArray DiskHeader(const AppPackage::DISK &disk)
{
    QByteArray bytes(static_cast<int>(DISK_HEADER_SIZE), '\0');
    char *const header = bytes.data();
    PutLe<quint32>(header, DISK_HEADER_MAGIC_OFFSET, DISK_HEADER_MAGIC);
    PutLe<quint32>(header, DISK_HEADER_SIZE_OFFSET, DISK_HEADER_SIZE);
    PutLe<quint32>(header, DISK_HEADER_DATA_SIZE_OFFSET, static_cast<quint32>(disk.data.size()));
    PutLe<quint8>(header, DISK_HEADER_TYPE_OFFSET, static_cast<quint8>(disk.type));
    std::memcpy(header + DISK_HEADER_NAME_OFFSET, disk.name.Bytes(), AppDosName::SIZE);
    return bytes;
}

/// Bytes that are put together from long ones, which are shared, and short ones, which are copied.
class PieceList
{
public:
    void Append(const QByteArray &bytes)
    {
        if (bytes.size() < SHARED_MIN) {
            mShort.append(bytes);
            return;
        }
        End();
        mPieces.append(bytes);
    }

    /// The pieces; nothing can be appended afterwards.
    QVector<QByteArray> Take()
    {
        End();
        return std::move(mPieces);
    }

private:
    static constexpr int SHARED_MIN = 16 * 1024; // bytes; below, a copy costs less than a piece

    void End()
    {
        if (!mShort.isEmpty())
            mPieces.append(std::exchange(mShort, QByteArray()));
    }

    QVector<QByteArray> mPieces;
    QByteArray mShort; // what comes behind them
};

/// Appends the data block to something with Append(). Its size is BlockSize().
template <typename OUT> void AppendBlock(const AppPackage::PROGRAM &program, OUT *out)
{
    out->Append(OwnData(program));
}

template <typename OUT> void AppendBlock(const AppPackage::DISK &disk, OUT *out)
{
    out->Append(DiskHeader(disk));
    out->Append(OwnData(disk));
    out->Append(
        QByteArray(static_cast<int>(PaddedSize(disk.data.size()) - disk.data.size()), '\0'));
}

QByteArray Joined(const QVector<QByteArray> &pieces)
{
    qsizetype size = 0;
    for (const QByteArray &piece : pieces)
        size += piece.size();
    QByteArray bytes;
    bytes.reserve(static_cast<int>(size));
    for (const QByteArray &piece : pieces)
        bytes.append(piece);
    return bytes;
}

template <typename OBJECT> AppPackage::OBJECTINFO Packed(quint8 type, const OBJECT &object)
{
    AppPackage::OBJECTINFO packed;
    PutEntry(packed.entry, type, BlockSize(object), object.name);
    PieceList block;
    AppendBlock(object, &block);
    packed.block = Joined(block.Take());
    return packed;
}

/// How many of the disks fit into a package beside its program, if it has one.
int DisksThatFit(const AppPackage &package)
{
    const int room = OBJECTS_MAX - (package.Program().data.isEmpty() ? 0 : 1);
    return std::min(package.NumDisks(), room);
}

/// The header: what it says of the package, and the directory of what is exported.
QByteArray Header(const AppPackage &package)
{
    QByteArray bytes(static_cast<int>(PACKAGE_HEADER_SIZE), '\0');
    char *const header = bytes.data();
    int count = 0;
    const auto addEntry = [&](quint8 type, qsizetype blockSize, const AppDosName &name) {
        PutEntry(header + EntryOffset(count), type, blockSize, name);
        ++count;
    };
    const AppPackage::PROGRAM &program = package.Program();
    if (!program.data.isEmpty())
        addEntry(OBJECT_PROGRAM, BlockSize(program), program.name);
    const int numDisks = DisksThatFit(package);
    for (int i = 0; i < numDisks; ++i)
        addEntry(OBJECT_DISK, BlockSize(*package.Disk(i)), package.Disk(i)->name);

    PutLe<quint32>(header, PACKAGE_MAGIC_OFFSET, PACKAGE_MAGIC);
    PutLe<quint16>(header, PACKAGE_VERSION_OFFSET, PACKAGE_VERSION);
    PutLe<quint8>(header, PACKAGE_RESULT_OFFSET, static_cast<quint8>(package.result & 0xFF));
    PutLe<quint8>(header, PACKAGE_COUNT_OFFSET, static_cast<quint8>(count));
    PutLe<quint32>(header, PACKAGE_TOTAL_SIZE_OFFSET,
                   static_cast<quint32>(package.ExportSize() - PACKAGE_HEADER_SIZE));
    return bytes;
}

/// A wire form: bytes of `source`, which owns them.
struct WIRE_FORM {
    const QByteArray &source;
    const QByteArray bytes; ///< a view
};

/// The objects of one package while they are being read.
struct OBJECTS {
    bool hasProgram = false;
    AppPackage::PROGRAM program;
    std::vector<std::unique_ptr<AppPackage::DISK>> disks;
};

/// Makes `*object` a view of up to `size` bytes at `offset`: of what is there of them.
template <typename OBJECT>
void ViewData(const WIRE_FORM &in, qint64 offset, quint32 size, OBJECT *object)
{
    const qint64 there = std::max<qint64>(in.bytes.size() - offset, 0);
    const qint64 taken = std::min<qint64>(size, there);
    if (taken == 0)
        return;
    object->data = QByteArray::fromRawData(in.bytes.constData() + offset, static_cast<int>(taken));
    object->source = in.source;
}

void ReadProgram(const WIRE_FORM &in, const QByteArray &entry, qint64 dataOffset, OBJECTS *objects)
{
    AppPackage::PROGRAM program;
    program.name = AppDosName::FromBytes(entry.constData() + ENTRY_NAME_OFFSET);
    program.replace = (LeAt<quint8>(entry, ENTRY_FLAGS_OFFSET) & FLAG_REPLACE) != 0;
    ViewData(in, dataOffset, LeAt<quint32>(entry, ENTRY_SIZE_OFFSET), &program);
    objects->hasProgram = true;
    objects->program = program;
}

/// Returns 0, or -1 if there is no whole disk header at `dataOffset`.
int ReadDisk(const WIRE_FORM &in, const QByteArray &entry, qint64 dataOffset, OBJECTS *objects)
{
    const QByteArray &bytes = in.bytes;
    if (bytes.size() - dataOffset < DISK_HEADER_SIZE)
        return -1;

    auto disk = std::make_unique<AppPackage::DISK>();
    disk->type = static_cast<AppPackage::DISKTYPE>(
        LeAt<quint8>(bytes, dataOffset + DISK_HEADER_TYPE_OFFSET));
    disk->name = AppDosName::FromBytes(entry.constData() + ENTRY_NAME_OFFSET);
    disk->replace = (LeAt<quint8>(entry, ENTRY_FLAGS_OFFSET) & FLAG_REPLACE) != 0;
    ViewData(in, dataOffset + LeAt<quint32>(bytes, dataOffset + DISK_HEADER_SIZE_OFFSET),
             LeAt<quint32>(bytes, dataOffset + DISK_HEADER_DATA_SIZE_OFFSET), disk.get());
    objects->disks.push_back(std::move(disk));
    return 0;
}

/// Reads all objects of `in`, whose header is whole. Returns 0, or -1 if an entry or a disk header
/// lies past the end.
int ReadObjects(const WIRE_FORM &in, OBJECTS *objects)
{
    const QByteArray &bytes = in.bytes;
    const int count = LeAt<quint8>(bytes, PACKAGE_COUNT_OFFSET);
    qint64 dataOffset = PACKAGE_HEADER_SIZE;
    // A count above OBJECTS_MAX is not refused: the entries go on where the data begin.
    for (int i = 0; i < count; ++i) {
        const qint64 entryOffset = EntryOffset(i);
        if (bytes.size() - entryOffset < ENTRY_SIZE)
            return -1;
        const QByteArray entry =
            QByteArray::fromRawData(bytes.constData() + entryOffset, ENTRY_SIZE);

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
    program.source.clear();
    return 0;
}

int AppPackage::AddDisk(DISKTYPE type, const AppDosName &name, const QByteArray &data)
{
    disks.append(new DISK{type, name, data});
    return NumDisks() - 1;
}

void AppPackage::Pack(const PROGRAM &object, QVector<OBJECTINFO> *objects) const
{
    objects->append(Packed(OBJECT_PROGRAM, object));
}

void AppPackage::Pack(const DISK &object, QVector<OBJECTINFO> *objects) const
{
    objects->append(Packed(OBJECT_DISK, object));
}

qsizetype AppPackage::ExportSize() const
{
    qsizetype size = PACKAGE_HEADER_SIZE + BlockSize(program);
    const int numDisks = DisksThatFit(*this);
    for (int i = 0; i < numDisks; ++i)
        size += BlockSize(*Disk(i));
    return size;
}

QVector<QByteArray> AppPackage::Pieces() const
{
    PieceList pieces;
    pieces.Append(Header(*this));
    if (!program.data.isEmpty())
        AppendBlock(program, &pieces);
    const int numDisks = DisksThatFit(*this);
    for (int i = 0; i < numDisks; ++i)
        AppendBlock(*Disk(i), &pieces);
    return pieces.Take();
}

int AppPackage::Export(QByteArray *out) const
{
    *out = Joined(QVector<QByteArray>{*out} + Pieces());
    return 0;
}

int AppPackage::Import(const QByteArray &in)
{
    return Import(in, 0, in.size());
}

int AppPackage::Import(const QByteArray &bytes, qsizetype offset, qsizetype size)
{
    const QByteArray source = OwnBytes(bytes);
    const WIRE_FORM in{
        source, QByteArray::fromRawData(source.constData() + offset, static_cast<int>(size))};
    if (in.bytes.size() < PACKAGE_HEADER_SIZE)
        return -1;
    if (LeAt<quint32>(in.bytes, PACKAGE_MAGIC_OFFSET) != PACKAGE_MAGIC)
        return -1;
    if (LeAt<quint16>(in.bytes, PACKAGE_VERSION_OFFSET) != PACKAGE_VERSION) {
        result = RESULT_BAD_VERSION;
        return 0;
    }

    OBJECTS objects;
    if (ReadObjects(in, &objects) != 0)
        return -1;

    result = LeAt<qint8>(in.bytes, PACKAGE_RESULT_OFFSET);
    if (objects.hasProgram)
        program = objects.program;
    for (std::unique_ptr<DISK> &disk : objects.disks)
        disks.append(disk.release());
    return 0;
}
