// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#include "CheckMatches.h"

#include "CheckName.h"

#include <QHash>
#include <QMap>

#include <algorithm>
#include <cstring>
#include <utility>

namespace
{

/// A name with "?" in the places of its wildcards, and padding behind its end. Two names have the
/// same key if and only if the pattern with these wildcards that fits one fits the other.
struct KEY {
    KEY(const AppDosName &name, quint32 wildcards)
    {
        char bytes[AppDosName::SIZE];
        const int length = static_cast<int>(name.Length());
        std::fill_n(bytes, AppDosName::SIZE, static_cast<char>(AppDosName::PADDING));
        std::memcpy(bytes, name.Bytes(), static_cast<std::size_t>(length));
        for (int i = 0; wildcards != 0 && i < length; ++i) {
            if (wildcards & (quint32(1) << i))
                bytes[i] = '?';
        }
        static_assert(sizeof halves == sizeof bytes, "a key is a name");
        std::memcpy(halves, bytes, sizeof halves);
    }

    bool operator==(const KEY &other) const
    {
        return halves[0] == other.halves[0] && halves[1] == other.halves[1];
    }

    quint64 halves[2];
};

auto qHash(const KEY &key, decltype(::qHash(0)) seed = 0)
{
    return ::qHash(key.halves[0] * 31 + key.halves[1], seed);
}

void Count(int index, bool readable, CheckEntry::MATCH *match)
{
    ++match->fits;
    if (!readable)
        return;
    ++match->readable;
    match->lastReadable = index;
    if (match->readable <= CheckMatches::DISKS_MAX)
        match->lastDisk = index;
}

} // namespace

void CheckMatches::Find(QVector<CheckEntry> *entries)
{
    QMap<quint32, QVector<CheckEntry *>> entriesOfWildcards;
    for (CheckEntry &entry : *entries)
        entriesOfWildcards[CheckName::Wildcards(entry.name)].append(&entry);

    for (auto it = entriesOfWildcards.cbegin(); it != entriesOfWildcards.cend(); ++it) {
        QHash<KEY, CheckEntry::MATCH> matchOfKey;
        matchOfKey.reserve(entries->size());
        int index = 0;
        for (const CheckEntry &entry : std::as_const(*entries))
            Count(index++, entry.readable, &matchOfKey[KEY(entry.name, it.key())]);
        for (CheckEntry *const entry : it.value())
            entry->match = matchOfKey.value(KEY(entry->name, it.key()));
    }
}
