// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#pragma once

#include "AppDosName.h"

#include <QtGlobal>

/// The wire form of an AppPackage in numbers. Integers are little-endian, offsets and sizes in
/// bytes.
namespace AppPackageFormat
{

constexpr int OBJECTS_MAX = 20; // objects in one package
constexpr int ENTRY_SIZE = 24;  // bytes of a directory entry

// Package header, at the start.
constexpr quint32 PACKAGE_MAGIC = 0x73CA241F; // bytes 1F 24 CA 73
constexpr qsizetype PACKAGE_MAGIC_OFFSET = 0;
constexpr quint16 PACKAGE_VERSION = 0;
constexpr qsizetype PACKAGE_VERSION_OFFSET = 4;
constexpr qsizetype PACKAGE_RESULT_OFFSET = 6;     // qint8: low byte of the result code
constexpr qsizetype PACKAGE_COUNT_OFFSET = 7;      // quint8: objects
constexpr qsizetype PACKAGE_TOTAL_SIZE_OFFSET = 8; // quint32: bytes after the header
constexpr qsizetype PACKAGE_ENTRIES_OFFSET = 16;   // the directory; unused entries are zero
constexpr qsizetype PACKAGE_HEADER_SIZE = 496;
static_assert(PACKAGE_ENTRIES_OFFSET + OBJECTS_MAX * ENTRY_SIZE == PACKAGE_HEADER_SIZE,
              "the directory fills the header");

// Directory entry of one object.
constexpr qsizetype ENTRY_TYPE_OFFSET = 0;  // quint8: OBJECT_PROGRAM or OBJECT_DISK
constexpr qsizetype ENTRY_FLAGS_OFFSET = 1; // quint8
constexpr qsizetype ENTRY_SIZE_OFFSET = 4;  // quint32: bytes of the data block
constexpr qsizetype ENTRY_NAME_OFFSET = 8;  // AppDosName::SIZE bytes, PETSCII
static_assert(ENTRY_NAME_OFFSET + AppDosName::SIZE == ENTRY_SIZE, "the name ends the entry");
constexpr quint8 OBJECT_PROGRAM = 0;
constexpr quint8 OBJECT_DISK = 1;
constexpr quint8 FLAG_REPLACE = 0x01;

// Disk header, at the start of a disk's data block.
constexpr quint32 DISK_HEADER_MAGIC = 0x715C13A6; // bytes A6 13 5C 71
constexpr qsizetype DISK_HEADER_MAGIC_OFFSET = 0;
constexpr qsizetype DISK_HEADER_SIZE_OFFSET = 4;      // quint32: where the image starts
constexpr qsizetype DISK_HEADER_DATA_SIZE_OFFSET = 8; // quint32: the image before padding
constexpr qsizetype DISK_HEADER_TYPE_OFFSET = 12;     // quint8: DISKTYPE
constexpr qsizetype DISK_HEADER_NAME_OFFSET = 32;     // AppDosName::SIZE bytes, as in the entry
constexpr qsizetype DISK_HEADER_SIZE = 4096;
constexpr qsizetype DISK_ALIGNMENT = 4096; // images are padded with zeros to a multiple

/// Where the entry of object `index` stands. One above OBJECTS_MAX lies among the data.
constexpr qsizetype EntryOffset(int index)
{
    return PACKAGE_ENTRIES_OFFSET + index * static_cast<qsizetype>(ENTRY_SIZE);
}

} // namespace AppPackageFormat
