// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#pragma once

#include "SkyletAnswer.h"
#include "SkyletInterrupt.h"
#include "SkyletOptions.h"
#include "SkyletReport.h"
#include "SkyletRequest.h"
#include "SkyletUpload.h"

#include <QByteArray>
#include <QCoreApplication>
#include <QString>
#include <QStringList>
#include <QVector>

#include <optional>

/// One run of skylet: what the command line wants, the hub that it names, and what is said to the
/// person who asked. The commands work with it.
class SkyletSession
{
    Q_DECLARE_TR_FUNCTIONS(SkyletSession)

public:
    /// A request that is not made yet: the files that it uploads are read when it is their turn, so
    /// that only one package is in memory.
    struct PLANNED_REQUEST {
        SkyletRequest request;
        QVector<SkyletUpload::OBJECT> objects; ///< what it uploads; empty for most
    };

    /// `options` must outlive this.
    explicit SkyletSession(const SkyletOptions &options);

    const SkyletOptions &Options() const { return mOptions; }
    SkyletReport &Report() { return mReport; }
    const SkyletInterrupt &Interrupt() const { return mInterrupt; }

    /// The pattern among a command's arguments, "*" without one, with a remark on what a hub does
    /// not see of it.
    QString Pattern(const QStringList &arguments);

    /// Makes the request. Returns none, with a remark, if a file that it uploads cannot be read or
    /// is not what it was.
    std::optional<SkyletRequest> Make(const PLANNED_REQUEST &planned);

    /// Sends a request on a connection of its own and waits for what becomes of it, with progress
    /// on a terminal and a remark if it fails. The event loop runs meanwhile; Ctrl-C ends the wait.
    SkyletAnswer Ask(const SkyletRequest &request);

    /// Writes a file that came. Returns SUCCESS, or LOCAL_FILE with a remark.
    SkyletExit::CODE WriteFile(const QString &path, const QByteArray &data);

    /// Makes the directory that was named, if it is not there. An empty name becomes the working
    /// directory. Returns SUCCESS, or LOCAL_FILE with a remark.
    SkyletExit::CODE MakeDirectory(QString *directory);

private:
    SkyletAnswer Exchange(const SkyletRequest &request) const;

    const SkyletOptions &mOptions;
    SkyletReport mReport;
    SkyletInterrupt mInterrupt;
};
