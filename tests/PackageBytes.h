// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#pragma once

// Packages as bytes, field by field, and a reader of its own that knows nothing of AppPackage's.
// Unlike WirePackage, which takes only what a hub may send, it also reads what Import() lets pass.

#include "AppPackage.h"
#include "Wire.h"

#include <QByteArray>
#include <QVector>

constexpr int HEADER_SIZE = 496;
constexpr int DISK_HEADER_SIZE = 4096;

/// A name whose field begins with `bytes`; the rest is padding.
AppDosName Name(const QByteArray &bytes);

/// The field of a name.
QByteArray NameBytes(const AppDosName &name);

/// `width` bytes, least significant first.
QByteArray Le(quint64 value, int width);

QByteArray Zeros(int count);

QByteArray EntryBytes(int type, int flags, quint32 size, const QByteArray &name);
QByteArray DiskHeaderBytes(int type, quint32 headerSize, quint32 dataSize, const QByteArray &name);

/// A header; `count` need not be the number of entries.
QByteArray HeaderBytes(int count, const QVector<QByteArray> &entries, quint32 totalSize = 0,
                       int result = 0);
QByteArray HeaderBytes(const QVector<QByteArray> &entries);

struct READ_DISK {
    int type;
    QByteArray name;
    QByteArray data;
    bool replace;
};

/// What a package holds.
struct READ_PACKAGE {
    int status = 0; ///< -1 if it is malformed
    int result = 0;
    bool hasProgram = false;
    QByteArray programName;
    QByteArray programData;
    bool programReplace = false;
    QVector<READ_DISK> disks;
};

/// The little-endian integer of `width` bytes at `offset`.
quint64 ReadLe(const QByteArray &bytes, quint64 offset, int width);

READ_PACKAGE ReadPackage(const QByteArray &in);

/// A text of everything in the package, for comparison.
QByteArray Described(const READ_PACKAGE &package);
QByteArray Described(const AppPackage &package);

READ_PACKAGE Contents(const AppPackage &package);

/// What a package that held `before` holds after it has imported `read`.
READ_PACKAGE Added(const READ_PACKAGE &before, const READ_PACKAGE &read);

/// What a new package holds.
READ_PACKAGE NothingYet();

QByteArray Exported(const AppPackage &package);

/// Makes a package that is easily told from others, `replace` included.
void Fill(AppPackage *package);
