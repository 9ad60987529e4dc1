// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QByteArray>

#include <vector>

/// A search for one pattern of bytes (Knuth, Morris and Pratt).
///
/// Takes time proportional to the text and the pattern, whatever a peer puts into both; the
/// toolkit's search does not.
class MxSearch
{
public:
    /// Prepares the search. `pattern` has at least one byte.
    explicit MxSearch(const QByteArray &pattern);

    const QByteArray &Pattern() const;

    /// Where the first occurrence between `begin` and `end` begins, or `end` if there is none.
    const char *Find(const char *begin, const char *end) const;

private:
    std::size_t Extend(std::size_t matched, char next) const;

    QByteArray mPattern;
    std::vector<std::size_t> mBorders; ///< at n: how much of its start ends its first n + 1 bytes
};
