// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QJsonArray>
#include <QJsonObject>
#include <QJsonValue>
#include <QString>

/// What skylet says: lines of text, or one JSON object in the end. Remarks go to standard error
/// either way. Much of it is what a hub sent, so what a terminal would act on is escaped in all of
/// it, line feeds included.
class SkyletReport
{
public:
    enum FORMAT { TEXT, JSON };

    explicit SkyletReport(FORMAT format);

    /// A line on standard output; nothing if the format is JSON.
    void Line(const QString &text);

    /// The same in reverse video, if standard output is a terminal.
    void ReversedLine(const QString &text);

    /// A line on standard error; in JSON an element of "remarks", too.
    void Remark(const QString &text);

    /// A member of the JSON object.
    void Set(const QString &key, const QJsonValue &value);

    /// Ends the report with the members "exit" and "word". Returns the exit code: `exitCode`, or
    /// SkyletExit::LOCAL_FILE if standard output could not be written.
    int Finish(int exitCode);

private:
    void Print(const QString &text);

    FORMAT mFormat;
    QJsonObject mObject;
    QJsonArray mRemarks;
    bool mIsWritten = true; ///< all of standard output so far
};
