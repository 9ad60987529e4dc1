// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#include "AppFileWriter.h"

#include <QByteArray>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>

#include <algorithm>

namespace
{

enum OUTCOME {
    WRITTEN,
    NO_ROOM, ///< or another reason for which not all could be written
    REFUSED, ///< a second file in the directory, or renaming it
};

/// Closes the file, too: some systems tell only then that there was no room.
bool Finish(QFile *file, bool written)
{
    file->close();
    return written && file->error() == QFileDevice::NoError;
}

bool Create(const QString &path, const QByteArray &data)
{
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Unbuffered))
        return false;
    if (Finish(&file, file.write(data) == data.size()))
        return true;
    // If a link leads to the file, only the file is ours.
    QFile::remove(QFileInfo(path).canonicalFilePath());
    return false;
}

OUTCOME Replace(const QString &path, const QByteArray &data)
{
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Unbuffered))
        return REFUSED;
    // A write that stops half-way is no error to QSaveFile: it would commit that.
    if (file.write(data) != data.size())
        return NO_ROOM;
    return file.commit() ? WRITTEN : REFUSED;
}

bool WriteAt(QFile *file, qint64 offset, const char *bytes, qint64 size)
{
    return size == 0 || (file->seek(offset) && file->write(bytes, size) == size);
}

bool WriteInPlace(const QString &path, const QByteArray &data)
{
    QFile file(path);
    // Without permission to read, nothing can be put back; opening it empties it.
    if (!file.open(QIODevice::ReadWrite | QIODevice::Unbuffered) &&
        !file.open(QIODevice::WriteOnly | QIODevice::Unbuffered))
        return false;
    const qint64 sizeBefore = file.size();
    const qint64 headSize = std::min<qint64>(sizeBefore, data.size());
    const QByteArray headBefore = headSize > 0 ? file.read(headSize) : QByteArray();
    if (headBefore.size() != headSize)
        return false;

    // What goes past the old end needs room, so it comes first: nothing is lost yet.
    const bool tailFits =
        WriteAt(&file, headSize, data.constData() + headSize, data.size() - headSize);
    const bool written =
        tailFits && WriteAt(&file, 0, data.constData(), headSize) && file.resize(data.size());
    if (!written) {
        // That this succeeds cannot be made sure of. It needs no room that the file did not have.
        WriteAt(&file, 0, headBefore.constData(), tailFits ? headSize : 0);
        file.resize(sizeBefore);
    }
    return Finish(&file, written);
}

} // namespace

bool AppFileWriter::Write(const QString &path, const QByteArray &data)
{
    if (!QFileInfo::exists(path))
        return Create(path, data);
    const OUTCOME outcome = Replace(path, data);
    return outcome == WRITTEN || (outcome == REFUSED && WriteInPlace(path, data));
}
