// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#pragma once

// For test programs that are also the hub: the program itself cannot be told from outside to end in
// good order, a child of the test can.

#include "HubProcess.h"

#include <QTest>

constexpr int EXIT_CODE = 7; ///< that such a child ends with

/// Runs the hub's main() until standard input ends. Returns its exit code.
int RunHubUntilInputEnds(int argc, char **argv);

/// main() of such a program.
template <typename TEST> int RunTestOrHub(int argc, char **argv)
{
    if (argc == 2 && qstrcmp(argv[1], UNTIL_INPUT_ENDS) == 0)
        return RunHubUntilInputEnds(argc, argv);

    const QCoreApplication application(argc, argv);
    TEST test;
    return QTest::qExec(&test, argc, argv);
}
