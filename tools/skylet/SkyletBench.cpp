// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#include "SkyletBench.h"

#include "SkyletAnswer.h"
#include "SkyletConnection.h"
#include "SkyletInterrupt.h"
#include "SkyletProgress.h"

#include <QElapsedTimer>
#include <QEventLoop>

#include <algorithm>

#ifdef Q_OS_UNIX
#include <sys/resource.h>
#endif

namespace
{

constexpr double NANOSECONDS_PER_SECOND = 1e9;
constexpr double NANOSECONDS_PER_MILLISECOND = 1e6;

/// A thousand clients need more descriptors than a process has at first.
void AllowManyConnections()
{
#ifdef Q_OS_UNIX
    rlimit limit;
    if (getrlimit(RLIMIT_NOFILE, &limit) != 0)
        return;
    limit.rlim_cur = limit.rlim_max;
    setrlimit(RLIMIT_NOFILE, &limit);
#endif
}

} // namespace

int SkyletBench::FIGURES::Failures() const
{
    int sum = 0;
    for (const int count : failures)
        sum += count;
    return sum;
}

double SkyletBench::FIGURES::Seconds() const
{
    return double(elapsed) / NANOSECONDS_PER_SECOND;
}

double SkyletBench::FIGURES::Rate() const
{
    return elapsed > 0 ? double(sorted.size()) / Seconds() : 0;
}

double SkyletBench::FIGURES::Latency(int percent) const
{
    if (sorted.isEmpty())
        return 0;
    const qint64 rank = (qint64(percent) * sorted.size() + 99) / 100;
    const qint64 index = std::max<qint64>(rank, 1) - 1;
    return double(sorted.at(static_cast<int>(index))) / NANOSECONDS_PER_MILLISECOND;
}

SkyletBench::SkyletBench(const SkyletAddress &hub, int timeoutMs, const LOAD &load, QObject *parent)
    : QObject(parent), mHub(hub), mTimeoutMs(timeoutMs), mLoad(load)
{
    Q_ASSERT(!load.requests.isEmpty());
}

SkyletBench::FIGURES SkyletBench::Run(const SkyletInterrupt *interrupt)
{
    AllowManyConnections();
    const SkyletProgress progress([this] {
        return SkyletProgress::tr("%1 of %2 requests").arg(mFigures.done).arg(mLoad.count);
    });
    QEventLoop loop;
    connect(this, &SkyletBench::Done, &loop, &QEventLoop::quit);
    connect(interrupt, &SkyletInterrupt::Requested, &loop, &QEventLoop::quit);
    for (int i = 0; i < mLoad.clients; ++i)
        QMetaObject::invokeMethod(this, &SkyletBench::StartNext, Qt::QueuedConnection);

    QElapsedTimer timer;
    timer.start();
    loop.exec();
    mFigures.elapsed = timer.nsecsElapsed();
    std::sort(mFigures.sorted.begin(), mFigures.sorted.end());
    return mFigures;
}

void SkyletBench::StartNext()
{
    if (mStarted == mLoad.count)
        return;
    const QByteArray request = mLoad.requests.at(mStarted % mLoad.requests.size());
    ++mStarted;

    auto *const connection = new SkyletConnection(mHub, mTimeoutMs, this);
    QElapsedTimer timer;
    timer.start();
    connect(connection, &SkyletConnection::Finished, this, [this, connection, timer] {
        Take(*connection, timer.nsecsElapsed());
        // Later, since a connection can fail while it is being started.
        QMetaObject::invokeMethod(this, &SkyletBench::StartNext, Qt::QueuedConnection);
    });
    connect(connection, &SkyletConnection::Released, connection, &QObject::deleteLater);
    connection->Send(request);
}

void SkyletBench::Take(const SkyletConnection &connection, qint64 nanoseconds)
{
    const SkyletAnswer answer = SkyletAnswer::FromConnection(connection);
    mFigures.sent += connection.BytesSent();
    mFigures.received += connection.Bytes().size();
    if (answer.IsSuccess()) {
        mFigures.sorted.append(nanoseconds);
    } else {
        ++mFigures.failures[answer.Word()];
        mFigures.exitCode = answer.ExitCode();
    }
    if (++mFigures.done == mLoad.count)
        emit Done();
}
