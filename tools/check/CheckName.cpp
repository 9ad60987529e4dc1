// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#include "CheckName.h"

#include "AppDosName.h"

#include <iterator>

namespace
{

constexpr QChar NO_GLYPH(0xFFFD);

// PETSCII C0 to DF, and again 60 to 7F: what SHIFT and a letter give.
const char16_t SHIFTED[] = u"─♠│──▔─││╮╰╯└╲╱┌┐●▁♥▏╭╳○♣▕♦┼▒│π◥";
static_assert(std::size(SHIFTED) == 32 + 1, "a glyph for each code from C0 to DF");

// PETSCII A0 to BF, and again E0 to FE. The first of them ends a name, the second one is a blank.
const char16_t BLOCKS[] = u" ▌▄▔▁▏▒▕▒◤▕├▗└┐▂┌┴┬┤▎▍▐▔▀▃┘▖▝┘▘▚";
static_assert(std::size(BLOCKS) == 32 + 1, "a glyph for each code from A0 to BF");

QChar Glyph(unsigned char petscii)
{
    if (petscii == 0xFF)
        return QChar(u'π');
    if (petscii >= 0xC0 && petscii <= 0xDF)
        return QChar(SHIFTED[petscii - 0xC0]);
    if (petscii >= 0x60 && petscii <= 0x7F)
        return QChar(SHIFTED[petscii - 0x60]);
    if (petscii >= 0xA0)
        return QChar(BLOCKS[petscii & 0x1F]);
    if (petscii < 0x20 || petscii >= 0x80)
        return NO_GLYPH;
    switch (petscii) {
    case 0x5C:
        return QChar(u'£');
    case 0x5E:
        return QChar(u'↑');
    case 0x5F:
        return QChar(u'←');
    default:
        return QChar(ushort(petscii));
    }
}

bool IsShiftedLetter(unsigned char petscii)
{
    return petscii >= 0xC1 && petscii <= 0xDA;
}

/// What stands in the way of typing a name.
enum OBSTACLE {
    OBSTACLE_NONE,
    OBSTACLE_QUOTE,
    OBSTACLE_STAR,
    OBSTACLE_QUESTION_MARK,
    OBSTACLE_SLASH,
    OBSTACLE_SEPARATOR,
    OBSTACLE_OUTER_BLANK,
    OBSTACLE_NO_KEY,
    OBSTACLE_BEYOND_LATIN1,
};

OBSTACLE ObstacleOf(unsigned char petscii, bool atEdge)
{
    switch (petscii) {
    case '"':
        return OBSTACLE_QUOTE;
    case '*':
        return OBSTACLE_STAR;
    case '?':
        return OBSTACLE_QUESTION_MARK;
    case '/':
        return OBSTACLE_SLASH;
    case '&':
    case '=':
        return OBSTACLE_SEPARATOR;
    case ' ':
        return atEdge ? OBSTACLE_OUTER_BLANK : OBSTACLE_NONE;
    case 0:
        return OBSTACLE_BEYOND_LATIN1;
    default:
        break;
    }
    const bool plain = petscii > 0x20 && petscii < 0x60;
    return plain || IsShiftedLetter(petscii) ? OBSTACLE_NONE : OBSTACLE_NO_KEY;
}

OBSTACLE ObstacleAt(const AppDosName &name, int index, int length)
{
    return ObstacleOf(static_cast<unsigned char>(name.Bytes()[index]),
                      index == 0 || index == length - 1);
}

QString Phrase(OBSTACLE obstacle)
{
    switch (obstacle) {
    case OBSTACLE_QUOTE:
        return CheckName::tr("a quotation mark, which ends what one types");
    case OBSTACLE_STAR:
        return CheckName::tr("a \"*\", which as a pattern fits whatever follows");
    case OBSTACLE_QUESTION_MARK:
        return CheckName::tr("a \"?\", which as a pattern fits any character");
    case OBSTACLE_SLASH:
        return CheckName::tr("a \"/\", under which the hub stores no file");
    case OBSTACLE_SEPARATOR:
        return CheckName::tr("a \"&\" or \"=\", where the hub may cut what was typed");
    case OBSTACLE_OUTER_BLANK:
        return CheckName::tr("a blank at its start or end, which the hub may take off");
    case OBSTACLE_NO_KEY:
        return CheckName::tr("a character that no key types");
    case OBSTACLE_BEYOND_LATIN1:
        return CheckName::tr("a character beyond Latin-1, where the listing ends the name");
    case OBSTACLE_NONE:
        break;
    }
    return QString();
}

} // namespace

QString CheckName::Screen(const AppDosName &name)
{
    const int length = static_cast<int>(name.Length());
    QString screen;
    screen.reserve(length);
    for (int i = 0; i < length && name.Bytes()[i] != '\0'; ++i)
        screen.append(Glyph(static_cast<unsigned char>(name.Bytes()[i])));
    return screen;
}

quint32 CheckName::Wildcards(const AppDosName &name)
{
    const int length = static_cast<int>(name.Length());
    quint32 wildcards = 0;
    for (int i = 0; i < length; ++i) {
        const OBSTACLE obstacle = ObstacleAt(name, i, length);
        if (obstacle != OBSTACLE_NONE && obstacle != OBSTACLE_SLASH)
            wildcards |= quint32(1) << i;
    }
    return wildcards;
}

QString CheckName::Pattern(const AppDosName &name)
{
    const quint32 wildcards = Wildcards(name);
    QString pattern;
    pattern.reserve(AppDosName::SIZE);
    name.ToString(&pattern, true);
    for (int i = 0; i < pattern.size(); ++i) {
        if (wildcards & (quint32(1) << i))
            pattern[i] = QLatin1Char('?');
    }
    return pattern;
}

QString CheckName::Keys(const AppDosName &name)
{
    const int length = static_cast<int>(name.Length());
    const quint32 wildcards = Wildcards(name);
    QString keys;
    keys.reserve(length);
    bool shift = false;
    for (int i = 0; i < length; ++i) {
        const auto petscii = static_cast<unsigned char>(name.Bytes()[i]);
        const bool isWildcard = (wildcards & (quint32(1) << i)) != 0;
        const bool isShifted = !isWildcard && IsShiftedLetter(petscii);
        if (isShifted != shift)
            keys.append(isShifted ? QLatin1Char('{') : QLatin1Char('}'));
        shift = isShifted;
        if (isWildcard)
            keys.append(QLatin1Char('?'));
        else
            keys.append(Glyph(isShifted ? petscii & 0x7F : petscii));
    }
    if (shift)
        keys.append(QLatin1Char('}'));
    return keys;
}

QStringList CheckName::Faults(const AppDosName &name)
{
    const int length = static_cast<int>(name.Length());
    if (length == 0)
        return {tr("nothing at all")};

    QStringList faults;
    for (int i = 0; i < length; ++i) {
        const OBSTACLE obstacle = ObstacleAt(name, i, length);
        if (obstacle != OBSTACLE_NONE && !faults.contains(Phrase(obstacle)))
            faults.append(Phrase(obstacle));
    }
    return faults;
}
