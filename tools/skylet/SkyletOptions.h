// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#pragma once

#include "SkyletAddress.h"
#include "SkyletRequest.h"

#include <QCoreApplication>
#include <QString>
#include <QStringList>
#include <QVector>

/// What the command line asks for.
class SkyletOptions
{
    Q_DECLARE_TR_FUNCTIONS(SkyletOptions)

public:
    enum ACTION { RUN, SHOW_HELP, SHOW_VERSION };

    /// A command and what follows it.
    struct COMMAND {
        QString name;
        QStringList arguments;
    };

    static constexpr int TIMEOUT_DEFAULT_S = 30;
    static constexpr int TIMEOUT_MAX_S = 86400;
    static constexpr int CLIENTS_DEFAULT = 4;
    static constexpr int CLIENTS_MAX = 10000;
    static constexpr int REQUESTS_DEFAULT = 1000;
    static constexpr int REQUESTS_MAX = 100000000;

    /// Reads the command line, the program's name first, and SKYLET_HUB from the environment.
    /// Returns 0, or -1 with a clause for people in `*error`; `json` is right even then.
    static int Parse(const QStringList &arguments, SkyletOptions *options, QString *error);

    /// What --help prints.
    static QString Help();

    /// Whether all characters are Latin-1. Names on a hub have no others.
    static bool IsLatin1(const QString &text);

    ACTION action = RUN;
    SkyletAddress hub;
    SkyletIdentity identity;
    int timeoutMs = TIMEOUT_DEFAULT_S * 1000;
    bool json = false;
    COMMAND command;
    QVector<COMMAND> load; ///< for bench: what to send, in turn; at least one
    QString rawFile;       ///< empty for none
    QString output;        ///< file or directory; empty for the working directory
    QString name;          ///< empty for the file's own
    bool force = false;
    bool replace = false;
    int clients = CLIENTS_DEFAULT;
    int requests = REQUESTS_DEFAULT;
};
