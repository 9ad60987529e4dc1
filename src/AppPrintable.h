// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QByteArray>
#include <QString>

/// Tells the characters that a console, a terminal or a viewer would act on instead of showing
/// them: what comes from a device or a file system may hold any. Stateless.
class AppPrintable
{
public:
    /// Whether `character`, a Unicode code point, breaks a line, controls a terminal, turns the
    /// direction of the text around it, or is no character by itself (half of a surrogate pair).
    static bool IsUnprintable(char32_t character);

    static constexpr int SHOWN_MAX = 256; ///< characters

    /// `text` as one line of the console or a message may show it, whoever sent it: the first
    /// SHOWN_MAX characters, with U+FFFD for each that is unprintable, and "..." (one character)
    /// for the rest.
    static QString Shown(const QString &text);
    /// The text for people, each unprintable character as "\x1b" or "\u202e".
    static QString Escaped(const QString &text);

    /// The JSON text (RFC 8259, UTF-8), each unprintable character in its strings as "\u202e". A
    /// reader takes it for the same. What is below 0x20 is layout and stays: a string has none.
    static QByteArray EscapedJson(const QByteArray &json);
};
