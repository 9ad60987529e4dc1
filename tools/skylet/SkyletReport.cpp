// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#include "SkyletReport.h"

#include "AppPrintable.h"
#include "AppStandardOutput.h"
#include "SkyletExit.h"
#include "SkyletProgress.h"

#include <QJsonDocument>

#include <cstdio>

namespace
{

const char REVERSE_ON[] = "\x1b[7m";
const char REVERSE_OFF[] = "\x1b[m";

/// There is no place left to say that this failed.
void WriteError(const QString &text)
{
    static_cast<void>(
        AppStandardOutput::Write(stderr, QStringLiteral("skylet: ") + text + QLatin1Char('\n')));
}

} // namespace

SkyletReport::SkyletReport(FORMAT format) : mFormat(format) {}

void SkyletReport::Line(const QString &text)
{
    Print(AppPrintable::Escaped(text));
}

void SkyletReport::ReversedLine(const QString &text)
{
    const QString shown = AppPrintable::Escaped(text);
    Print(SkyletProgress::IsTerminal(1)
              ? QLatin1String(REVERSE_ON) + shown + QLatin1String(REVERSE_OFF)
              : shown);
}

void SkyletReport::Remark(const QString &text)
{
    // In the order in which it was said, if both go to one place.
    mIsWritten &= std::fflush(stdout) == 0;
    WriteError(AppPrintable::Escaped(text));
    mRemarks.append(text);
}

void SkyletReport::Set(const QString &key, const QJsonValue &value)
{
    mObject.insert(key, value);
}

int SkyletReport::Finish(int exitCode)
{
    if (mFormat == JSON) {
        Set(QStringLiteral("remarks"), mRemarks);
        Set(QStringLiteral("exit"), exitCode);
        Set(QStringLiteral("word"), SkyletExit::Word(exitCode));
        const QByteArray json = QJsonDocument(mObject).toJson(QJsonDocument::Compact);
        mIsWritten &= AppStandardOutput::WriteUtf8(stdout, AppPrintable::EscapedJson(json) + '\n');
    }
    mIsWritten &= std::fflush(stdout) == 0;
    if (mIsWritten)
        return exitCode;
    WriteError(QStringLiteral("standard output cannot be written"));
    return exitCode == SkyletExit::SUCCESS ? static_cast<int>(SkyletExit::LOCAL_FILE) : exitCode;
}

void SkyletReport::Print(const QString &text)
{
    if (mFormat == TEXT)
        mIsWritten &= AppStandardOutput::Write(stdout, text + QLatin1Char('\n'));
}
