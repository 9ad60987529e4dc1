// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QByteArray>
#include <QString>

#include <cstdio>

/// Text on standard output and standard error, as those who read it expect it. Stateless.
///
/// A console of Windows gets Unicode: of bytes it would show other characters, since it takes them
/// to be in a code page of its own.
class AppStandardOutput
{
public:
    /// Writes text for people: in the system's 8-bit encoding, or to a console of Windows. Returns
    /// whether `stream` took all of it; what it buffers can still fail when it is flushed.
    static bool Write(std::FILE *stream, const QString &text);

    /// The same for text that is UTF-8 whatever the system's encoding is, as JSON is.
    static bool WriteUtf8(std::FILE *stream, const QByteArray &text);
};
