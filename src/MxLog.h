// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#pragma once

/// A trace facility that traces nothing: the place where a real one can be attached.
///
/// Not the console, which is AppDiskHub::Log().
class MxLog
{
public:
    enum LEVEL {
        LEVEL_TRACE = 1,
    };

    MxLog() = default;
    ~MxLog() = default;

    /// Returns at once. `format` and what follows are as for wprintf().
    void Log(LEVEL level, const char *file, int line, const wchar_t *format, ...);
};
