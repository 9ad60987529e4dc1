// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

// What the console's lines cost: appends to a hub's console what a mix of requests leaves there,
// and prints the resident memory in KiB after every so many lines.
//
//   console-cost PATH LINES TIMES BURST     PATH: of the program that the mix stores; BURST: lines
//                                           that are laid out at once, only the last ones of each

#include "AppDiskHub.h"
#include "AppMainWindow.h"

#include <QFile>
#include <QStringList>
#include <QTimer>

#include <cstdio>

namespace
{

/// From the line "VmRSS:     1234 kB", or -1.
long ResidentKib()
{
    QFile status(QStringLiteral("/proc/self/status"));
    if (!status.open(QIODevice::ReadOnly))
        return -1;
    const QList<QByteArray> lines = status.readAll().split('\n');
    for (const QByteArray &line : lines) {
        if (line.startsWith("VmRSS:"))
            return line.mid(6).replace("kB", "").trimmed().toLong();
    }
    return -1;
}

} // namespace

int main(int argc, char **argv)
{
    if (argc != 5) {
        std::fputs("Usage: console-cost PATH LINES TIMES BURST\n", stderr);
        return 2;
    }
    const QStringList texts{
        QStringLiteral("SEARCH request from Skylet UUID: skylet"),
        QStringLiteral("DOWNLOAD request from Skylet UUID: skylet"),
        QStringLiteral("DOWNLOAD request from Skylet UUID: skylet"),
        QStringLiteral("UPLOAD request from Skylet UUID: skylet"),
        QStringLiteral("> Received program \"stored\""),
        QStringLiteral("> Written as \"%1\".").arg(QString::fromLocal8Bit(argv[1])),
    };
    const int lines = QByteArray(argv[2]).toInt();
    const int times = QByteArray(argv[3]).toInt();

    const int burst = QByteArray(argv[4]).toInt();

    AppDiskHub hub(argc, argv);
    hub.mMainWindow->findChild<QTimer *>(QStringLiteral("consoleDelay"))->setInterval(0);
    for (int i = 1; i <= lines * times; ++i) {
        hub.Log(texts.at(i % texts.size()));
        if (i % burst == 0)
            QCoreApplication::processEvents();
        if (i % lines == 0)
            std::printf("%ld\n", ResidentKib());
    }
    return 0;
}
