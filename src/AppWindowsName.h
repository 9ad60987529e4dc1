// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#pragma once

class QString;

/// Names of files that Windows takes for something else than a file.
namespace AppWindowsName
{

/// Whether `fileName`, without directories, would open a device ("NUL", "COM1" and their like, in
/// any case and with any extension) or, with a ":", a drive or a stream beside a file. The answer
/// is the same on any system.
bool IsNoFile(const QString &fileName);

} // namespace AppWindowsName
