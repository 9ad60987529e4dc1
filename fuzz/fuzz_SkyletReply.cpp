// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

// Any bytes can come back from what calls itself a hub.

#include "AppPackage.h"
#include "Fuzz.h"
#include "SkyletListing.h"
#include "SkyletReply.h"

int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const QByteArray bytes = BytesOf(data, size);
    const qint64 announced = SkyletReply::AnnouncedSize(bytes);
    const SkyletReply reply = SkyletReply::Parse(bytes);
    Q_ASSERT((reply.status == SkyletReply::VALID) == (reply.package != nullptr));
    Q_ASSERT((reply.status == SkyletReply::VALID) == reply.Message().isEmpty());
    if (reply.status != SkyletReply::VALID)
        return 0;

    Q_ASSERT(announced == bytes.size());
    Q_ASSERT(reply.package->NumDisks() <= AppPackageFormat::OBJECTS_MAX);
    QVector<SkyletListing::LINE> lines;
    SkyletListing::Parse(reply.package->Program().data, &lines);
    return 0;
}
