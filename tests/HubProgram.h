// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#pragma once

// For test programs that are also the hub: the program itself cannot be told from outside to end in
// good order, a child of the test can.

#include "HubProcess.h"

#include <QThread>

#include <unistd.h>

#define main RunProgram
#include "main.cpp"
#undef main

constexpr int EXIT_CODE = 7; ///< that such a child ends with

inline bool quitsWhenInputEnds = false;

inline void QuitWhenInputEnds()
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

/// main() of such a program.
template <typename TEST> int RunTestOrHub(int argc, char **argv)
{
    quitsWhenInputEnds = argc == 2 && qstrcmp(argv[1], UNTIL_INPUT_ENDS) == 0;
    if (quitsWhenInputEnds)
        return RunProgram(argc, argv);

    const QCoreApplication application(argc, argv);
    TEST test;
    return QTest::qExec(&test, argc, argv);
}
