// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QLatin1String>

#include <cstring>

/// Text of one byte for each character, looked at where it lies: nothing is copied, and what is
/// returned is valid as long as the bytes are.
namespace MxLatin1
{

/// The first `c` from `begin` on, or `end` if there is none.
inline const char *Find(const char *begin, const char *end, char c)
{
    if (begin == end)
        return end;
    const void *const found = std::memchr(begin, c, static_cast<std::size_t>(end - begin));
    return found != nullptr ? static_cast<const char *>(found) : end;
}

/// The characters before the first NUL.
inline QLatin1String TextOf(const char *begin, const char *end)
{
    return QLatin1String(begin, Find(begin, end, '\0'));
}

/// The piece at `index` of a text split at `separator`, empty if there are not so many.
inline QLatin1String PieceAt(QLatin1String text, char separator, int index)
{
    const char *begin = text.begin();
    for (; index > 0; --index) {
        begin = Find(begin, text.end(), separator);
        if (begin == text.end())
            return QLatin1String();
        ++begin;
    }
    return QLatin1String(begin, Find(begin, text.end(), separator));
}

} // namespace MxLatin1
