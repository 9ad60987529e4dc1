// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QByteArray>
#include <QCoreApplication>
#include <QString>

/// Tells files that people take for disk images or programs, and why the hub does not serve one.
/// Knows names, sizes and first bytes, not files.
class CheckImage
{
    Q_DECLARE_TR_FUNCTIONS(CheckImage)

public:
    static constexpr int HEAD_SIZE = 8; ///< bytes at the start of a file that tell its format

    struct REASON {
        QString code;   ///< a word for programs, for example "forty-tracks"
        QString text;   ///< one clause
        QString advice; ///< what people do about it; may be empty
    };

    /// Whether a file's extension makes one expect something of the hub's: a disk image of any
    /// kind, a tape, a cartridge, a program, or an archive, in which all of them travel.
    static bool IsExpected(const QString &fileName);

    /// Whether the extension is ".prg", in any case.
    static bool IsProgram(const QString &fileName);

    /// Why the hub does not serve a file that is expected of it. `head` is its first HEAD_SIZE
    /// bytes, or as many as there are. The code is empty if nothing is known against it, as for a
    /// program.
    static REASON WhyNot(const QString &fileName, qint64 size, const QByteArray &head);
};
