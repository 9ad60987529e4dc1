// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QByteArray>
#include <QCoreApplication>
#include <QString>
#include <QStringList>

/// The program without its process: arguments in, output and exit code out.
class CheckCommandLine
{
    Q_DECLARE_TR_FUNCTIONS(CheckCommandLine)

public:
    enum EXIT_CODE {
        EXIT_CLEAN = 0,   ///< nothing to remark; also for the help and the version
        EXIT_REMARKS = 1, ///< there are remarks
        EXIT_USAGE = 2,   ///< the arguments are wrong, or the report could not be written
    };

    struct RESULT {
        EXIT_CODE exitCode = EXIT_CLEAN;
        QString text;    ///< for the standard output
        QByteArray json; ///< for the standard output instead, in UTF-8
        QString error;   ///< for the standard error output
    };

    /// `arguments` begin with the program's name.
    static RESULT Run(const QStringList &arguments);
};
