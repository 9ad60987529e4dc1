// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QCoreApplication>
#include <QString>

/// The exit codes of skylet, with a word for programs and a text for people.
class SkyletExit
{
    Q_DECLARE_TR_FUNCTIONS(SkyletExit)

public:
    enum CODE {
        SUCCESS = 0,
        INCOMPLETE = 1,       ///< nothing fits, or not all that fits was sent
        USAGE = 2,            ///< the command line is wrong
        NO_CONNECTION = 3,    ///< no connection to the hub
        NO_ANSWER = 4,        ///< a connection, but no whole answer in time
        MALFORMED_ANSWER = 5, ///< an answer that is not a hub's, or a damaged one
        LOGIN_REFUSED = 6,
        READ_ONLY = 7,
        EXISTS = 8,
        WRITE_ERROR = 9,   ///< on the hub's side
        OTHER_RESULT = 10, ///< a result code that has no word here
        LOCAL_FILE = 11,   ///< a file on this side
        INTERRUPTED = 130, ///< as a shell has it for SIGINT
    };

    /// The word that JSON carries, for example "login-refused". Empty for a number that is no CODE.
    static QString Word(int code);

    /// One line for each code, in rising order: the number, the word and what it means.
    static QString Table();
};
