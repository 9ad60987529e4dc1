// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#include "HubProgram.h"

#include <QThread>

#include <unistd.h>

int RunProgram(int argc, char **argv); // the hub's main()

namespace
{

bool quitsWhenInputEnds = false;

void QuitWhenInputEnds()
{
    if (!quitsWhenInputEnds)
        return;
    QThread *const reader = QThread::create([] {
        char c = 0;
        while (read(STDIN_FILENO, &c, 1) > 0)
            continue;
        QMetaObject::invokeMethod(
            qApp, [] { QCoreApplication::exit(EXIT_CODE); }, Qt::QueuedConnection);
    });
    QObject::connect(reader, &QThread::finished, reader, &QThread::deleteLater);
    reader->start();
}
Q_COREAPP_STARTUP_FUNCTION(QuitWhenInputEnds)

} // namespace

int RunHubUntilInputEnds(int argc, char **argv)
{
    quitsWhenInputEnds = true;
    return RunProgram(argc, argv);
}
