// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QByteArray>

/// What the system knows of Commodore text and programs: ASCII to PETSCII and back, and BASIC
/// programs that LIST like a disk directory. Stateless; nothing fails.
///
/// A listing is ProgramBegin(), ProgramDirectoryHeader(), any number of ProgramDirectoryEntry() or
/// ProgramLine(), and ProgramEnd(), appended in this order. Texts are PETSCII bytes and end at
/// their first NUL.
class AppCbmUtil
{
public:
    /// PETSCII letters to ASCII ones and the shifted space 0xA0 to a space; the rest is unchanged.
    static unsigned char PetsciiToAscii(unsigned char c);

    /// ASCII letters to PETSCII ones ("a" is 0x41, "A" is 0xC1); the rest is unchanged, so a space
    /// never becomes 0xA0.
    static unsigned char AsciiToPetscii(unsigned char c);

    /// Each byte mapped. For names and labels: at most 255 bytes.
    static QByteArray PetsciiToAscii(const QByteArray &text);

    /// Each byte mapped. For names and labels: at most 255 bytes.
    static QByteArray AsciiToPetscii(const QByteArray &text);

    /// 2 bytes: the load address $0401, little-endian.
    static QByteArray ProgramBegin();

    /// A BASIC line of 5 bytes and the text: link, line number (both little-endian), text, NUL.
    static QByteArray ProgramLine(unsigned short line, const QByteArray &text);

    /// BASIC line 0, 30 bytes: the title in reverse video, cut or filled to 24 characters.
    static QByteArray ProgramDirectoryHeader(const QByteArray &title);

    /// A BASIC line of 27 bytes and the type: `blocks` is the line number; offset 4 holds two
    /// spaces and the quoted name, cut or filled to 22 bytes; offset 26 the type and a NUL.
    static QByteArray ProgramDirectoryEntry(unsigned short blocks, const QByteArray &name,
                                            const QByteArray &type);

    /// The same, appended to a program; both texts end at their NUL.
    static void AppendDirectoryEntry(unsigned short blocks, const char *name, const char *type,
                                     QByteArray *program);

    /// 2 bytes: the null link that ends a BASIC program.
    static QByteArray ProgramEnd();
};
