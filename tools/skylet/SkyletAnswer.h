// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#pragma once

#include "SkyletExit.h"
#include "SkyletReply.h"

#include <QCoreApplication>
#include <QString>

class SkyletConnection;

/// What became of one request: the reply's package, or what went wrong in words.
class SkyletAnswer
{
    Q_DECLARE_TR_FUNCTIONS(SkyletAnswer)

public:
    enum KIND {
        SUCCESS,
        HOST_NOT_FOUND,
        REFUSED,
        UNREACHABLE,
        CONNECT_TIMED_OUT,
        CLOSED,
        TIMED_OUT,
        MALFORMED,
        LOGIN_REFUSED,
        READ_ONLY,
        DISK_EXISTS,
        PROGRAM_EXISTS,
        WRITE_ERROR,
        OTHER_RESULT,
        INTERRUPTED,
    };

    /// The answer of a connection that has finished, INTERRUPTED for one that has not.
    static SkyletAnswer FromConnection(const SkyletConnection &connection);

    bool IsSuccess() const { return kind == SUCCESS; }
    SkyletExit::CODE ExitCode() const;

    /// The kind as a word for programs, for example "timed-out".
    QString Word() const;

    /// What went wrong, for people: a clause without a full stop, with its details.
    QString Message() const;

    /// What people can do about it: one sentence. Empty if there is nothing to say.
    QString Advice() const;

    KIND kind = INTERRUPTED;
    QString detail;
    SkyletReply reply; ///< VALID for SUCCESS and every kind that is a result code
};
