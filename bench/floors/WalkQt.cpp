// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

// What a search costs that asks the toolkit's iterator for the base name and the size of every
// entry below the directories: WalkQt DIR...

#include <QByteArray>
#include <QDirIterator>
#include <QFileInfo>

#include <cstdio>

int main(int argc, char **argv)
{
    QByteArray listing;
    for (int i = 1; i < argc; ++i) {
        QDirIterator entries(QString::fromLocal8Bit(argv[i]), QDirIterator::Subdirectories);
        while (entries.hasNext()) {
            entries.next();
            const QFileInfo info = entries.fileInfo();
            listing += info.baseName().toLatin1() + ' ' + QByteArray::number(info.size()) + '\n';
        }
    }
    std::fwrite(listing.constData(), 1, static_cast<std::size_t>(listing.size()), stdout);
    return 0;
}
