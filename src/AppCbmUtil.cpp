// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#include "AppCbmUtil.h"

#include <algorithm>

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
constexpr qsizetype NAME_SIZE = 22; // lead-in, quotation marks and fill included
constexpr qsizetype LINE_OVERHEAD = 5;

template <std::size_t SIZE> void AppendAll(QByteArray *out, const char (&bytes)[SIZE])
{
    out->append(bytes, static_cast<int>(SIZE));
}

/// Appends `text` up to its first NUL.
void AppendText(QByteArray *out, const QByteArray &text)
{
    const auto end = std::find(text.cbegin(), text.cend(), '\0');
    out->append(text.constData(), static_cast<int>(end - text.cbegin()));
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
    bytes.reserve(static_cast<int>(LINE_OVERHEAD + NAME_SIZE + name.size() + type.size()));
    AppendLineStart(&bytes, blocks);
    const qsizetype field = bytes.size();
    bytes.append(2, ' ');
    bytes.append(QUOTE);
    AppendText(&bytes, name);
    bytes.append(QUOTE);
    FitField(&bytes, field, NAME_SIZE);
    AppendText(&bytes, type);
    bytes.append('\0');
    return bytes;
}

QByteArray AppCbmUtil::ProgramEnd()
{
    return QByteArray(PROGRAM_END, sizeof(PROGRAM_END));
}
