// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#include "AppPrintable.h"

#include <QVector>

#include <algorithm>
#include <iterator>

namespace
{

/// Code points from `first` to `last`, both included.
struct RANGE {
    char32_t first;
    char32_t last;
};

const RANGE UNPRINTABLE[] = {
    {0x00, 0x1F},     // C0 control characters
    {0x7F, 0x9F},     // DEL and the C1 control characters
    {0x61C, 0x61C},   // Arabic letter mark
    {0x200E, 0x200F}, // left-to-right and right-to-left mark
    {0x2028, 0x2029}, // line and paragraph separator
    {0x202A, 0x202E}, // bidirectional embeddings and overrides
    {0x2066, 0x2069}, // bidirectional isolates
    {0xD800, 0xDFFF}, // surrogates
};

constexpr char32_t REPLACEMENT = 0xFFFD;
constexpr QChar ELLIPSIS(0x2026);

} // namespace

bool AppPrintable::IsUnprintable(char32_t character)
{
    return std::any_of(std::begin(UNPRINTABLE), std::end(UNPRINTABLE), [&](const RANGE &range) {
        return character >= range.first && character <= range.last;
    });
}

QString AppPrintable::Shown(const QString &text)
{
    // A character is at most two QChars.
    const QVector<uint> characters = text.left(2 * SHOWN_MAX + 1).toUcs4();
    QString shown;
    for (int i = 0; i < characters.size() && i < SHOWN_MAX; ++i) {
        const char32_t character = characters.at(i);
        const char32_t visible = IsUnprintable(character) ? REPLACEMENT : character;
        shown.append(QString::fromUcs4(&visible, 1));
    }
    if (characters.size() > SHOWN_MAX)
        shown.append(ELLIPSIS);
    return shown;
}
