// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#pragma once

#include "AppPackage.h"

#include <QLatin1String>

#include <array>

/// The kinds of disk images, each known by its exact size in bytes: those that the hub serves, and
/// those that people have but that it does not serve, with the reason.
namespace AppImageKinds
{

/// Whether the hub serves a kind, and if not, what is too much in it.
enum STATUS {
    SERVED,
    TOO_MANY_TRACKS,
    ERROR_BYTES,
    EXTRA_HEADER,
};

struct KIND {
    int size; ///< bytes of such a file, all told
    AppPackage::DISKTYPE type;
    const char *name;      ///< of the type, as people write it
    const char *extension; ///< of a file that holds one, with its dot
    int tracks;            ///< on all sides together
    int errorBytes;        ///< one for each block behind the blocks, or 0
    int headerBytes;       ///< that another program has put in front, or 0
    STATUS status;
};

constexpr int COUNT = 16;

constexpr int NO_DISKTYPE = -1; ///< stands for a DISKTYPE where there is none

/// All kinds: the served ones first, of each type the one without error bytes before the other.
const std::array<KIND, COUNT> &All();

/// The kind of a file of exactly `size` bytes, or null.
const KIND *OfSize(qint64 size);

/// The kind of a DISKTYPE that is served, without error bytes; null for any other number.
const KIND *OfType(int type);

/// The AppPackage::DISKTYPE of a file of exactly `size` bytes, or NO_DISKTYPE if it is not served.
int TypeOfSize(qint64 size);

/// The extension of images of a DISKTYPE, with its dot; empty for any other number.
QLatin1String Extension(int type);

/// The same without the dot, as a listing shows it.
const char *ListingType(int type);

} // namespace AppImageKinds
