// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#include "AppStandardOutput.h"

#ifdef Q_OS_WIN
#include <algorithm>

#include <io.h>
#include <windows.h>
#endif

namespace
{

bool WriteBytes(std::FILE *stream, const QByteArray &bytes)
{
    const auto size = static_cast<std::size_t>(bytes.size());
    return std::fwrite(bytes.constData(), 1, size, stream) == size;
}

#ifdef Q_OS_WIN
/// The console that `stream` goes to; null if it goes to a file or a pipe.
HANDLE ConsoleOf(std::FILE *stream)
{
    const auto handle = reinterpret_cast<HANDLE>(_get_osfhandle(_fileno(stream)));
    DWORD mode = 0;
    return GetConsoleMode(handle, &mode) != 0 ? handle : nullptr;
}

bool WriteToConsole(HANDLE console, const QString &text)
{
    constexpr qsizetype UNITS_MAX = 8192; // in one call; old systems refuse more than 64 KiB

    const auto *const units = reinterpret_cast<const wchar_t *>(text.utf16());
    DWORD written = 0;
    for (qsizetype start = 0; start < text.size(); start += written) {
        const auto count = static_cast<DWORD>(std::min<qsizetype>(text.size() - start, UNITS_MAX));
        if (WriteConsoleW(console, units + start, count, &written, nullptr) == 0 || written == 0)
            return false;
    }
    return true;
}
#endif

} // namespace

bool AppStandardOutput::Write(std::FILE *stream, const QString &text)
{
#ifdef Q_OS_WIN
    // What was written before comes first.
    if (const HANDLE console = ConsoleOf(stream))
        return std::fflush(stream) == 0 && WriteToConsole(console, text);
#endif
    return WriteBytes(stream, text.toLocal8Bit());
}

bool AppStandardOutput::WriteUtf8(std::FILE *stream, const QByteArray &text)
{
#ifdef Q_OS_WIN
    if (ConsoleOf(stream) != nullptr)
        return Write(stream, QString::fromUtf8(text));
#endif
    return WriteBytes(stream, text);
}
