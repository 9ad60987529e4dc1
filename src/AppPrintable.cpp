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
constexpr char32_t ELLIPSIS = 0x2026;
constexpr char32_t ONE_BYTE_MAX = 0xFF;
constexpr char32_t LAYOUT_END = 0x20; // the first character that a string of JSON may hold as it is

/// The text with each unprintable character replaced by what `escape` makes of it.
QString Replaced(const QString &text, QString (*escape)(char32_t))
{
    QString replaced;
    replaced.reserve(text.size());
    for (auto c = text.begin(); c != text.end(); ++c) {
        // A pair of surrogates is one character, beyond all that are unprintable.
        const auto next = std::next(c);
        if (c->isHighSurrogate() && next != text.end() && next->isLowSurrogate()) {
            replaced += *c;
            replaced += *next;
            c = next;
        } else if (AppPrintable::IsUnprintable(c->unicode())) {
            replaced += escape(c->unicode());
        } else {
            replaced += *c;
        }
    }
    return replaced;
}

QString EscapeOfFourDigits(char32_t character)
{
    return QStringLiteral("\\u%1").arg(uint(character), 4, 16, QLatin1Char('0'));
}

QString EscapeForPeople(char32_t character)
{
    return character <= ONE_BYTE_MAX
               ? QStringLiteral("\\x%1").arg(uint(character), 2, 16, QLatin1Char('0'))
               : EscapeOfFourDigits(character);
}

QString ReplacementFor(char32_t /*character*/)
{
    return QString(QChar(static_cast<ushort>(REPLACEMENT)));
}

QString EscapeForJson(char32_t character)
{
    return character < LAYOUT_END ? QString(QChar(static_cast<ushort>(character)))
                                  : EscapeOfFourDigits(character);
}

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
    const QVector<uint> characters = text.left(2 * SHOWN_MAX + 2).toUcs4();
    if (characters.size() <= SHOWN_MAX)
        return Replaced(text, ReplacementFor);
    QString shown;
    for (int i = 0; i < SHOWN_MAX; ++i) {
        const char32_t character = characters.at(i);
        shown.append(QString::fromUcs4(&character, 1));
    }
    return Replaced(shown, ReplacementFor) + QChar(static_cast<ushort>(ELLIPSIS));
}

QString AppPrintable::Escaped(const QString &text)
{
    return Replaced(text, EscapeForPeople);
}

QByteArray AppPrintable::EscapedJson(const QByteArray &json)
{
    const bool isAscii = std::none_of(json.begin(), json.end(),
                                      [](char c) { return static_cast<unsigned char>(c) >= 0x7F; });
    return isAscii ? json : Replaced(QString::fromUtf8(json), EscapeForJson).toUtf8();
}
