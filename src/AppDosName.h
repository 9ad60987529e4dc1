// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QStringView>

class QString;

/// A Commodore DOS file name: 16 PETSCII bytes, padded with 0xA0 (shifted space).
///
/// A plain value, as in a disk's directory entry. Nothing fails: text past 16 characters is cut,
/// and no character is refused.
class AppDosName
{
public:
    static constexpr int SIZE = 16;                ///< bytes
    static constexpr unsigned char PADDING = 0xA0; ///< the first one ends the name

    /// The empty name: SIZE bytes of PADDING.
    AppDosName();

    /// The name whose field is the SIZE bytes at `bytes`, as in a directory entry.
    static AppDosName FromBytes(const char *bytes);

    /// The whole field: SIZE bytes, not terminated. What follows the first PADDING is kept as is.
    const char *Bytes() const;

    /// Characters before the padding, 0 to SIZE.
    unsigned int Length() const;

    /// Whether this name fits `pattern`: "?" is any one character but never the end of the name,
    /// and what follows the first "*" is not looked at. Byte for byte, so case counts.
    bool MatchesPattern(const AppDosName &pattern) const;

    /// Whether a "?" or "*" stands before the end of the name.
    bool ContainsWildcards() const;

    /// Takes the first SIZE characters of `text`, one byte each; a character beyond Latin-1 becomes
    /// 0. With `convert`, ASCII letters become PETSCII ones.
    void FromString(const QString &text, bool convert);
    void FromString(QStringView text, bool convert);

    /// The same for the bytes of a NUL-terminated text. Its length counts modulo 256.
    void FromString(const char *text, bool convert);

    /// Writes the characters and a NUL: at most SIZE + 1 bytes. With `convert`, PETSCII letters
    /// become ASCII ones.
    void ToString(char *out, bool convert) const;

    /// Appends the characters to `*out`, one Latin-1 character for each byte.
    void ToString(QString *out, bool convert) const;

private:
    unsigned char mName[SIZE];
};
