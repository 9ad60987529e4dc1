// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#include "AppCbmUtil.h"

#include <algorithm>
#include <cstring>

namespace
{

// A BASIC program file: the load address, lines, and a null link. Integers are little-endian.
const char LOAD_ADDRESS[] = {0x01, 0x04}; // $0401
// The same link for every line: LOAD chains the lines anew, and any non-zero link will do.
const char LINE_LINK[] = {0x01, 0x01};
const char PROGRAM_END[] = {0x00, 0x00};

constexpr char REVERSE_ON = 0x12; // PETSCII
constexpr char QUOTE = 0x22;
constexpr qsizetype TITLE_SIZE = 24;
constexpr qsizetype NAME_SIZE = 22;      // lead-in, quotation marks and fill included
constexpr qsizetype LINE_START_SIZE = 4; // link and line number
constexpr qsizetype LINE_OVERHEAD = LINE_START_SIZE + 1;

template <std::size_t SIZE> void AppendAll(QByteArray *out, const char (&bytes)[SIZE])
{
    out->append(bytes, static_cast<int>(SIZE));
}

/// Bytes of a text.
struct TEXT {
    const char *bytes;
    qsizetype size;
};

/// `text` up to its first NUL.
TEXT TextOf(const QByteArray &text)
{
    return {text.constData(), std::find(text.cbegin(), text.cend(), '\0') - text.cbegin()};
}

TEXT TextOf(const char *text)
{
    return {text, static_cast<qsizetype>(std::strlen(text))};
}

/// Appends `text` up to its first NUL.
void AppendText(QByteArray *out, const QByteArray &text)
{
    out->append(text.constData(), static_cast<int>(TextOf(text).size));
}

/// Cuts or fills the field that starts at `offset` to `size` bytes.
void FitField(QByteArray *out, qsizetype offset, qsizetype size)
{
    out->truncate(static_cast<int>(offset + size));
    out->append(static_cast<int>(offset + size - out->size()), ' ');
}

/// Appends the link and the line number.
void AppendLineStart(QByteArray *out, unsigned short line)
{
    AppendAll(out, LINE_LINK);
    out->append(static_cast<char>(line & 0xFF));
    out->append(static_cast<char>(line >> 8));
}

/// Appends a line of a directory. What comes before the type is made here and appended at once.
void AppendEntry(unsigned short blocks, const TEXT &name, const TEXT &type, QByteArray *out)
{
    constexpr qsizetype LEAD_IN = 3; // two spaces and a quotation mark
    const char blocksLow = static_cast<char>(blocks & 0xFF);
    const char blocksHigh = static_cast<char>(blocks >> 8);
    char line[LINE_START_SIZE + NAME_SIZE] = {LINE_LINK[0], LINE_LINK[1], blocksLow, blocksHigh};
    char *const field = line + LINE_START_SIZE;
    std::fill_n(field, NAME_SIZE, ' ');
    field[LEAD_IN - 1] = QUOTE;
    const qsizetype shown = std::min(name.size, NAME_SIZE - LEAD_IN);
    std::copy_n(name.bytes, shown, field + LEAD_IN);
    if (LEAD_IN + shown < NAME_SIZE)
        field[LEAD_IN + shown] = QUOTE;
    AppendAll(out, line);
    out->append(type.bytes, static_cast<int>(type.size));
    out->append('\0');
}

} // namespace

unsigned char AppCbmUtil::PetsciiToAscii(unsigned char c)
{
    if (c >= 0x41 && c <= 0x5A)
        return static_cast<unsigned char>(c + 0x20);
    if (c >= 0xC1 && c <= 0xDA)
        return c & 0x7F;
    if (c == 0xA0) // shifted space
        return 0x20;
    return c;
}

unsigned char AppCbmUtil::AsciiToPetscii(unsigned char c)
{
    if (c >= 'A' && c <= 'Z')
        return c | 0x80;
    if (c >= 'a' && c <= 'z')
        return static_cast<unsigned char>(c - 0x20);
    return c;
}

QByteArray AppCbmUtil::PetsciiToAscii(const QByteArray &text)
{
    QByteArray ascii = text;
    for (char &c : ascii)
        c = static_cast<char>(PetsciiToAscii(static_cast<unsigned char>(c)));
    return ascii;
}

QByteArray AppCbmUtil::AsciiToPetscii(const QByteArray &text)
{
    QByteArray petscii = text;
    for (char &c : petscii)
        c = static_cast<char>(AsciiToPetscii(static_cast<unsigned char>(c)));
    return petscii;
}

QByteArray AppCbmUtil::ProgramBegin()
{
    return QByteArray(LOAD_ADDRESS, sizeof(LOAD_ADDRESS));
}

QByteArray AppCbmUtil::ProgramLine(unsigned short line, const QByteArray &text)
{
    QByteArray bytes;
    bytes.reserve(static_cast<int>(LINE_OVERHEAD + text.size()));
    AppendLineStart(&bytes, line);
    AppendText(&bytes, text);
    bytes.append('\0');
    return bytes;
}

QByteArray AppCbmUtil::ProgramDirectoryHeader(const QByteArray &title)
{
    QByteArray text(1, REVERSE_ON);
    AppendText(&text, title);
    FitField(&text, 1, TITLE_SIZE);
    return ProgramLine(0, text);
}

QByteArray AppCbmUtil::ProgramDirectoryEntry(unsigned short blocks, const QByteArray &name,
                                             const QByteArray &type)
{
    QByteArray bytes;
    AppendEntry(blocks, TextOf(name), TextOf(type), &bytes);
    return bytes;
}

void AppCbmUtil::AppendDirectoryEntry(unsigned short blocks, const char *name, const char *type,
                                      QByteArray *program)
{
    AppendEntry(blocks, TextOf(name), TextOf(type), program);
}

QByteArray AppCbmUtil::ProgramEnd()
{
    return QByteArray(PROGRAM_END, sizeof(PROGRAM_END));
}
