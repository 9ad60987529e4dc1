// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#pragma once

#include "AppDosName.h"
#include "AppPackage.h"

#include <QtEndian>

/// The places in a package that skylet itself looks at; AppPackage reads and writes the rest.
/// Integers are little-endian, offsets and sizes in bytes.
namespace SkyletWire
{

// Package header, at the start.
constexpr quint32 PACKAGE_MAGIC = 0x73CA241F;    // bytes 1F 24 CA 73, at offset 0
constexpr qsizetype PACKAGE_VERSION_OFFSET = 4;  // quint16: 0
constexpr qsizetype PACKAGE_COUNT_OFFSET = 7;    // quint8: objects
constexpr qsizetype PACKAGE_TOTAL_OFFSET = 8;    // quint32: bytes after the header
constexpr qsizetype PACKAGE_ENTRIES_OFFSET = 16; // one entry for each object
constexpr qsizetype PACKAGE_HEADER_SIZE = 496;   // the first object's block follows
static_assert(PACKAGE_ENTRIES_OFFSET + AppPackage::OBJECTS_MAX * AppPackage::ENTRY_SIZE ==
                  PACKAGE_HEADER_SIZE,
              "the entries fill the header");

// Directory entry of one object.
constexpr qsizetype ENTRY_TYPE_OFFSET = 0;  // quint8: OBJECT_PROGRAM or OBJECT_DISK
constexpr qsizetype ENTRY_FLAGS_OFFSET = 1; // quint8: FLAG_REPLACE or 0
constexpr qsizetype ENTRY_SIZE_OFFSET = 4;  // quint32: bytes of the object's block
constexpr quint8 OBJECT_PROGRAM = 0;
constexpr quint8 OBJECT_DISK = 1;
constexpr quint8 FLAG_REPLACE = 0x01;

// Disk header, at the start of a disk's block.
constexpr quint32 DISK_HEADER_MAGIC = 0x715C13A6; // bytes A6 13 5C 71, at offset 0
constexpr qsizetype DISK_IMAGE_OFFSET = 4;        // quint32: where the image starts
constexpr qsizetype DISK_IMAGE_SIZE_OFFSET = 8;   // quint32: its size without padding
constexpr qsizetype DISK_TYPE_OFFSET = 12;        // quint8: AppPackage::DISKTYPE
constexpr qsizetype DISK_HEADER_SIZE = 4096;

/// Where the entry of object `index` stands.
constexpr qsizetype EntryOffset(int index)
{
    return PACKAGE_ENTRIES_OFFSET + index * qsizetype(AppPackage::ENTRY_SIZE);
}

/// The little-endian T at byte `offset`. The caller has checked that it lies inside.
template <typename T> T LeAt(const QByteArray &bytes, qint64 offset)
{
    Q_ASSERT(offset >= 0 && offset <= bytes.size() - qint64(sizeof(T)));
    return qFromLittleEndian<T>(bytes.constData() + offset);
}

} // namespace SkyletWire
