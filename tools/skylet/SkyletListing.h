// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QByteArray>
#include <QString>
#include <QVector>

/// Reads a BASIC program that LISTs like a directory, as AppCbmUtil builds it. Stateless.
class SkyletListing
{
public:
    /// One BASIC line.
    struct LINE {
        quint16 number;
        QByteArray text; ///< PETSCII, without the NUL
    };

    /// One line of a directory.
    struct ENTRY {
        quint16 blocks;
        QByteArray name; ///< PETSCII, at most 16 bytes
        QByteArray type; ///< PETSCII, for example "D64"
    };

    /// Reads the lines of a program file up to the null link. The links are not followed, since
    /// only LOAD makes them right. Returns 0, or -1 if the program ends before that link; `*lines`
    /// then has those that are whole.
    static int Parse(const QByteArray &program, QVector<LINE> *lines);

    /// The entry that a line shows. Returns 0, or -1 if it shows none, as the title does.
    static int ToEntry(const LINE &line, ENTRY *entry);

    /// The entries of all lines that show one.
    static QVector<ENTRY> Entries(const QVector<LINE> &lines);

    /// The line as LIST shows it, without blanks at its end. Reverse video is left out.
    static QString ToText(const LINE &line);

    /// Whether LIST shows the line in reverse video.
    static bool IsReversed(const LINE &line);

    /// PETSCII as a Commodore shows it in its lower-case mode, so that a name can be typed as it is
    /// read. What has no glyph becomes "?", which fits any character when it is typed.
    static QString PetsciiToText(const QByteArray &petscii);
};
