// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#include "AppImageKinds.h"

#include <algorithm>

namespace
{

using namespace AppImageKinds;

constexpr std::array<KIND, COUNT> KINDS = {{
    {174848, AppPackage::DISK_D64, "D64", ".d64", 35, 0, 0, SERVED},
    {175531, AppPackage::DISK_D64, "D64", ".d64", 35, 683, 0, SERVED},
    {349696, AppPackage::DISK_D71, "D71", ".d71", 70, 0, 0, SERVED},
    {819200, AppPackage::DISK_D81, "D81", ".d81", 80, 0, 0, SERVED},
    {533248, AppPackage::DISK_D80, "D80", ".d80", 77, 0, 0, SERVED},
    {1066496, AppPackage::DISK_D82, "D82", ".d82", 154, 0, 0, SERVED},

    {196608, AppPackage::DISK_D64, "D64", ".d64", 40, 0, 0, TOO_MANY_TRACKS},
    {197376, AppPackage::DISK_D64, "D64", ".d64", 40, 768, 0, TOO_MANY_TRACKS},
    {205312, AppPackage::DISK_D64, "D64", ".d64", 42, 0, 0, TOO_MANY_TRACKS},
    {206114, AppPackage::DISK_D64, "D64", ".d64", 42, 802, 0, TOO_MANY_TRACKS},
    {351062, AppPackage::DISK_D71, "D71", ".d71", 70, 1366, 0, ERROR_BYTES},
    {822400, AppPackage::DISK_D81, "D81", ".d81", 80, 3200, 0, ERROR_BYTES},
    {535331, AppPackage::DISK_D80, "D80", ".d80", 77, 2083, 0, ERROR_BYTES},
    {1070662, AppPackage::DISK_D82, "D82", ".d82", 154, 4166, 0, ERROR_BYTES},
    {174912, AppPackage::DISK_D64, "D64", ".d64", 35, 0, 64, EXTRA_HEADER},
    {175595, AppPackage::DISK_D64, "D64", ".d64", 35, 683, 64, EXTRA_HEADER},
}};

constexpr int BLOCK_SIZE = 256; // bytes

/// Whether the size is made up of whole blocks, their error bytes and the header.
constexpr bool AddsUp(const KIND &kind)
{
    const int blockBytes = kind.size - kind.errorBytes - kind.headerBytes;
    const int blocks = blockBytes / BLOCK_SIZE;
    return blockBytes > 0 && blockBytes % BLOCK_SIZE == 0 &&
           (kind.errorBytes == 0 || kind.errorBytes == blocks);
}

constexpr bool AllAddUp()
{
    for (const KIND &kind : KINDS) {
        if (!AddsUp(kind))
            return false;
    }
    return true;
}

// A row short of COUNT would be one of zeros, which does not add up; one more does not compile.
static_assert(KINDS.size() == COUNT && AllAddUp(), "each row is an image's size");

} // namespace

const std::array<KIND, COUNT> &AppImageKinds::All()
{
    return KINDS;
}

const KIND *AppImageKinds::OfSize(qint64 size)
{
    const auto found = std::find_if(KINDS.begin(), KINDS.end(),
                                    [size](const KIND &kind) { return kind.size == size; });
    return found == KINDS.end() ? nullptr : &*found;
}

const KIND *AppImageKinds::OfType(int type)
{
    const auto found = std::find_if(KINDS.begin(), KINDS.end(),
                                    [type](const KIND &kind) { return kind.type == type; });
    return found == KINDS.end() ? nullptr : &*found;
}

int AppImageKinds::TypeOfSize(qint64 size)
{
    const KIND *const kind = OfSize(size);
    return kind != nullptr && kind->status == SERVED ? kind->type : NO_DISKTYPE;
}

QLatin1String AppImageKinds::Extension(int type)
{
    const KIND *const kind = OfType(type);
    return kind == nullptr ? QLatin1String() : QLatin1String(kind->extension);
}

const char *AppImageKinds::ListingType(int type)
{
    const KIND *const kind = OfType(type);
    return kind == nullptr ? "" : kind->extension + 1;
}
