// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#pragma once

class QByteArray;
class QString;

/// Writes files whole: afterwards a file holds what was sent, or what it held before.
namespace AppFileWriter
{

/// Makes a file, or writes over a regular one; goes through links. Returns whether it holds `data`.
///
/// What is written over is replaced as a whole where the system lets it be: then not even a crash
/// in the middle loses the old file. Where it does not (a directory that takes no further file, or
/// lets nobody rename; a file that is mounted or held open), it is written in place.
///
/// If not all can be written, a new file is removed and an old one is as before, unless it could
/// not be read.
bool Write(const QString &path, const QByteArray &data);

} // namespace AppFileWriter
