// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QByteArray>
#include <QLatin1String>

class MxSearch;

/// A place in the body of a request, which moves from its start to its end.
///
/// A plain value that keeps the bytes alive. The texts it returns are views of them: one character
/// for each byte, valid as long as the bytes are. Every byte is looked at a fixed number of times,
/// however many lines are asked for.
class AppBodyCursor
{
public:
    explicit AppBodyCursor(const QByteArray &bytes);

    const QByteArray &Bytes() const;

    /// Bytes before this place.
    qsizetype Position() const;

    bool AtEnd() const;

    /// The bytes from here on.
    QByteArray Rest() const;

    /// Whether the bytes from here on begin with `prefix`.
    bool StartsWith(const QByteArray &prefix) const;

    /// The text up to the next CR, cut at a NUL. Moves behind the CR and the byte that follows it,
    /// which is not looked at. Without a CR the text is empty and one byte is passed over.
    QLatin1String ReadLine();

    /// The text up to the next `separator`, or else to the end. Moves behind the separator.
    QLatin1String ReadUpTo(char separator);

    /// Moves to where the next occurrence of the pattern begins. Without one it stays and returns
    /// false.
    bool MoveTo(const MxSearch &search);

private:
    const char *Here() const;
    const char *End() const;
    void MoveTo(const char *place);

    QByteArray mBytes;
    qsizetype mPosition = 0;
    qsizetype mLineEnd = -1; ///< the first CR that is not before mPosition; out of date if less
};
