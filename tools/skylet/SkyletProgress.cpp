// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#include "SkyletProgress.h"

#include "AppStandardOutput.h"
#include "SkyletConnection.h"

#include <cstdio>
#include <utility>

#ifdef Q_OS_WIN
#include <io.h>
#else
#include <unistd.h>
#endif

namespace
{

const QLatin1String WIPE_LINE("\r\x1b[K");

/// Writes to the terminal. If that fails, no one is there to be told.
void Write(const QString &text)
{
    static_cast<void>(AppStandardOutput::Write(stderr, text));
    static_cast<void>(std::fflush(stderr));
}

/// "3.1 of 20.4 MB"
QString Share(qint64 done, qint64 whole)
{
    constexpr double MEGABYTE = 1e6;
    return SkyletProgress::tr("%1 of %2 MB")
        .arg(double(done) / MEGABYTE, 0, 'f', 1)
        .arg(double(whole) / MEGABYTE, 0, 'f', 1);
}

} // namespace

SkyletProgress::SkyletProgress(TEXT text, QObject *parent) : QObject(parent), mText(std::move(text))
{
    if (!IsTerminal(2))
        return;
    connect(&mTimer, &QTimer::timeout, this, &SkyletProgress::Show);
    mTimer.start(DELAY_MS);
}

SkyletProgress::~SkyletProgress()
{
    if (mShown)
        Write(WIPE_LINE);
}

QString SkyletProgress::OfConnection(const SkyletConnection &connection)
{
    switch (connection.State()) {
    case SkyletConnection::CONNECTING:
        return tr("connecting");
    case SkyletConnection::SENDING:
        return tr("sending %1").arg(Share(connection.BytesSent(), connection.RequestSize()));
    case SkyletConnection::WAITING:
        return tr("waiting for the hub");
    case SkyletConnection::RECEIVING:
        if (connection.ReplySize() >= 0)
            return tr("receiving %1").arg(Share(connection.Bytes().size(), connection.ReplySize()));
        return tr("receiving");
    case SkyletConnection::IDLE:
    case SkyletConnection::FINISHED:
        break;
    }
    return QString();
}

bool SkyletProgress::IsTerminal(int stream)
{
#ifdef Q_OS_WIN
    return _isatty(stream) != 0;
#else
    return isatty(stream) != 0;
#endif
}

void SkyletProgress::Show()
{
    mShown = true;
    mTimer.setInterval(INTERVAL_MS);
    Write(WIPE_LINE + mText());
}
