// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#include "AppBodyCursor.h"

#include "MxLatin1.h"
#include "MxSearch.h"

#include <algorithm>

AppBodyCursor::AppBodyCursor(const QByteArray &bytes) : mBytes(bytes) {}

const QByteArray &AppBodyCursor::Bytes() const
{
    return mBytes;
}

qsizetype AppBodyCursor::Position() const
{
    return mPosition;
}

bool AppBodyCursor::AtEnd() const
{
    return mPosition == mBytes.size();
}

QByteArray AppBodyCursor::Rest() const
{
    return mBytes.mid(static_cast<int>(mPosition));
}

bool AppBodyCursor::StartsWith(const QByteArray &prefix) const
{
    return End() - Here() >= prefix.size() && std::equal(prefix.cbegin(), prefix.cend(), Here());
}

QLatin1String AppBodyCursor::ReadLine()
{
    // A body without line ends is not searched for them again and again.
    if (mLineEnd < mPosition)
        mLineEnd = MxLatin1::Find(Here(), End(), '\r') - mBytes.constData();
    if (mLineEnd == mBytes.size()) {
        MoveTo(Here() + std::min<qsizetype>(End() - Here(), 1));
        return QLatin1String();
    }

    const char *const end = mBytes.constData() + mLineEnd;
    const QLatin1String line = MxLatin1::TextOf(Here(), end);
    MoveTo(end + std::min<qsizetype>(End() - end, 2));
    return line;
}

QLatin1String AppBodyCursor::ReadUpTo(char separator)
{
    const char *const end = MxLatin1::Find(Here(), End(), separator);
    const QLatin1String text(Here(), end);
    MoveTo(end == End() ? end : end + 1);
    return text;
}

bool AppBodyCursor::MoveTo(const MxSearch &search)
{
    const char *const found = search.Find(Here(), End());
    if (found == End())
        return false;
    MoveTo(found);
    return true;
}

const char *AppBodyCursor::Here() const
{
    return mBytes.constData() + mPosition;
}

const char *AppBodyCursor::End() const
{
    return mBytes.constData() + mBytes.size();
}

void AppBodyCursor::MoveTo(const char *place)
{
    mPosition = place - mBytes.constData();
}
