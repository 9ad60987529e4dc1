// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#pragma once

#include "SkyletExit.h"
#include "SkyletSession.h"

#include <QCoreApplication>
#include <QString>
#include <QStringList>
#include <QVector>

/// The commands of skylet: one table, which the command line, its help and the runs go by. A new
/// command is a row of it and the two functions that the row names.
class SkyletCommands
{
    Q_DECLARE_TR_FUNCTIONS(SkyletCommands)

public:
    using REQUESTS = QVector<SkyletSession::PLANNED_REQUEST>;

    /// What the arguments of a command are.
    enum ARGUMENTS { OWN_ARGUMENTS, OTHER_COMMANDS };

    struct COMMAND {
        const char *name;
        const char *usage; ///< of the arguments, as the help shows it
        const char *help;  ///< one line; for tr()
        ARGUMENTS arguments;
        int minArguments;
        int maxArguments;     ///< -1 for any number
        QStringList options;  ///< its own, beside those of all commands
        QStringList passedOn; ///< options of others that it takes on behalf of those

        /// Plans the requests that the arguments ask for. Returns SUCCESS, or why there are none,
        /// with a remark.
        SkyletExit::CODE (*plan)(SkyletSession *session, const QStringList &arguments,
                                 REQUESTS *requests);

        /// Sends what was planned and reports the answers. Returns how it went.
        SkyletExit::CODE (*run)(SkyletSession *session, const REQUESTS &requests);
    };

    /// In the order of the help.
    static const QVector<COMMAND> &All();

    /// The command of that name, or null.
    static const COMMAND *Find(const QString &name);

    /// The whole program: reads the command line, runs the command and says what came of it.
    /// Returns the exit code. An application object must exist.
    static int Main(const QStringList &arguments);
};
