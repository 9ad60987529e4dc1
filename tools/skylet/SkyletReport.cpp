// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#include "SkyletReport.h"

#include "AppPrintable.h"
#include "SkyletExit.h"
#include "SkyletProgress.h"

#include <QJsonDocument>

#include <cstdio>

namespace
{

const char REVERSE_ON[] = "\x1b[7m";
const char REVERSE_OFF[] = "\x1b[m";

bool Write(std::FILE *stream, const QByteArray &bytes)
{
    const auto size = static_cast<std::size_t>(bytes.size());
    return std::fwrite(bytes.constData(), 1, size, stream) == size;
}

/// There is no place left to say that this failed.
void WriteError(const QByteArray &text)
{
    static_cast<void>(Write(stderr, "skylet: " + text + '\n'));
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
    WriteError(AppPrintable::Escaped(text).toLocal8Bit());
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
        mIsWritten &= Write(stdout, AppPrintable::EscapedJson(json) + '\n');
    }
    mIsWritten &= std::fflush(stdout) == 0;
    if (mIsWritten)
        return exitCode;
    WriteError("standard output cannot be written");
    return exitCode == SkyletExit::SUCCESS ? static_cast<int>(SkyletExit::LOCAL_FILE) : exitCode;
}

void SkyletReport::Print(const QString &text)
{
    if (mFormat == TEXT)
        mIsWritten &= Write(stdout, text.toLocal8Bit() + '\n');
}
