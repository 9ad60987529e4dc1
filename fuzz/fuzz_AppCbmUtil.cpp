// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

// A listing built from any names and types can be read again, line by line, and any bytes can be
// read as a listing. Input for building: fields that end at a line feed.

#include "AppCbmUtil.h"
#include "Fuzz.h"
#include "SkyletListing.h"

#include <QList>

int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const QByteArray bytes = BytesOf(data, size);

    QVector<SkyletListing::LINE> lines;
    SkyletListing::Parse(bytes, &lines);
    for (const SkyletListing::LINE &line : std::as_const(lines))
        SkyletListing::ToText(line);
    SkyletListing::Entries(lines);

    const QList<QByteArray> fields = bytes.split('\n');
    QByteArray listing =
        AppCbmUtil::ProgramBegin() + AppCbmUtil::ProgramDirectoryHeader(fields.constFirst());
    for (int i = 1; i < fields.size(); ++i) {
        listing += i % 2 != 0 ? AppCbmUtil::ProgramDirectoryEntry(static_cast<unsigned short>(i),
                                                                  fields.at(i), fields.at(i - 1))
                              : AppCbmUtil::ProgramLine(static_cast<unsigned short>(i),
                                                        AppCbmUtil::AsciiToPetscii(fields.at(i)));
    }
    listing += AppCbmUtil::ProgramEnd();

    QVector<SkyletListing::LINE> readLines;
    const int read = SkyletListing::Parse(listing, &readLines);
    Q_ASSERT(read == 0);
    Q_ASSERT(readLines.size() == fields.size());
    return 0;
}
