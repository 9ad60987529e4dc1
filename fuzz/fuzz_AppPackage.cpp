// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

// Any bytes can be imported, and what came of them survives an export and another import.

#include "AppPackage.h"
#include "Fuzz.h"

#include <algorithm>
#include <cstring>

namespace
{

bool SameName(const AppDosName &a, const AppDosName &b)
{
    return std::memcmp(a.Bytes(), b.Bytes(), AppDosName::SIZE) == 0;
}

void CheckSameDisk(const AppPackage::DISK &a, const AppPackage::DISK &b)
{
    Q_ASSERT(a.type == b.type);
    Q_ASSERT(a.data == b.data);
    Q_ASSERT(SameName(a.name, b.name));
    Q_ASSERT(!b.replace);
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    AppPackage first;
    if (first.Import(BytesOf(data, size)) != 0) {
        Q_ASSERT(first.result == AppPackage::RESULT_OK);
        Q_ASSERT(first.NumDisks() == 0);
        Q_ASSERT(first.Program().data.isEmpty());
        return 0;
    }

    QByteArray wire("kept");
    first.Export(&wire);
    Q_ASSERT(wire.startsWith("kept"));
    Q_ASSERT(wire.size() == 4 + first.ExportSize());

    AppPackage second;
    const int imported = second.Import(wire.mid(4));
    Q_ASSERT(imported == 0);
    Q_ASSERT(static_cast<qint8>(second.result) == static_cast<qint8>(first.result));
    Q_ASSERT(second.Program().data == first.Program().data);
    const int room = AppPackageFormat::OBJECTS_MAX - (first.Program().data.isEmpty() ? 0 : 1);
    Q_ASSERT(second.NumDisks() == std::min(first.NumDisks(), room));
    for (int i = 0; i < second.NumDisks(); ++i)
        CheckSameDisk(*first.Disk(i), *second.Disk(i));
    return 0;
}
