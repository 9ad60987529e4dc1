// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#include "MxSearch.h"

#include "MxLatin1.h"

MxSearch::MxSearch(const QByteArray &pattern)
    : mPattern(pattern), mBorders(static_cast<std::size_t>(pattern.size()), 0)
{
    Q_ASSERT(!pattern.isEmpty());
    for (std::size_t i = 1; i < mBorders.size(); ++i)
        mBorders[i] = Extend(mBorders[i - 1], mPattern.constData()[i]);
}

const QByteArray &MxSearch::Pattern() const
{
    return mPattern;
}

/// How much of the pattern ends at `next` if `matched` bytes of it end before.
std::size_t MxSearch::Extend(std::size_t matched, char next) const
{
    const char *const pattern = mPattern.constData();
    while (matched > 0 && pattern[matched] != next)
        matched = mBorders[matched - 1];
    return pattern[matched] == next ? matched + 1 : 0;
}

const char *MxSearch::Find(const char *begin, const char *end) const
{
    const char first = mPattern.constData()[0];
    std::size_t matched = 0;
    for (const char *at = begin; at != end; ++at) {
        // Most bytes of a disk image cannot begin the pattern.
        if (matched == 0) {
            at = MxLatin1::Find(at, end, first);
            if (at == end)
                return end;
        }
        matched = Extend(matched, *at);
        if (matched == mBorders.size())
            return at + 1 - matched;
    }
    return end;
}
