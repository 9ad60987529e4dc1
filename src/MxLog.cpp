// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#include "MxLog.h"

void MxLog::Log(LEVEL /*level*/, const char * /*file*/, int /*line*/, const wchar_t * /*format*/,
                ...)
{
}
