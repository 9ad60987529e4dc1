// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#include "AppPendingReplies.h"

#include "AppConnection.h"

#include <QCoreApplication>
#include <QEventLoop>

#include <algorithm>
#include <numeric>

AppPendingReplies::AppPendingReplies(const LIMITS &limits) : mLimits(limits)
{
    mTimer.setSingleShot(true);
    connect(&mTimer, &QTimer::timeout, this, &AppPendingReplies::Tend);
}

AppPendingReplies::~AppPendingReplies()
{
    for (const REPLY &reply : mReplies) {
        reply.connection->disconnect(this);
        reply.connection->Drop();
    }
}

void AppPendingReplies::Add(AppConnection *connection)
{
    if (connection->state() == QAbstractSocket::UnconnectedState)
        return; // It has deleted itself, or will.
    connection->setParent(this);
    connect(connection, &QAbstractSocket::bytesWritten, this,
            [this, connection] { Touch(connection); });
    connect(connection, &QAbstractSocket::disconnected, this,
            [this, connection] { Forget(connection); });
    mReplies.push_back({connection, {}});
    mReplies.back().idle.start();
    if (!mTimer.isActive())
        Schedule();
}

bool AppPendingReplies::HasRoom()
{
    MakeRoom();
    if (!IsCrowded())
        return true;
    if (!mRoomWanted) {
        mRoomWanted = true;
        mRoomWantedFor.start();
        Schedule();
    }
    return false;
}

void AppPendingReplies::DropIdlest()
{
    if (!mReplies.empty())
        End(Idlest());
}

void AppPendingReplies::Finish(int msecs)
{
    // A loop of its own would end at once, since the application has been told to quit.
    QTimer timer;
    timer.setSingleShot(true);
    timer.start(msecs);
    while (Bytes() > 0 && timer.isActive())
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
}

int AppPendingReplies::Count() const
{
    return static_cast<int>(mReplies.size());
}

qint64 AppPendingReplies::Bytes() const
{
    return std::accumulate(
        mReplies.begin(), mReplies.end(), qint64(0),
        [](qint64 sum, const REPLY &reply) { return sum + reply.connection->bytesToWrite(); });
}

bool AppPendingReplies::REPLY::IsSent() const
{
    return connection->bytesToWrite() == 0;
}

bool AppPendingReplies::IsCrowded() const
{
    return Count() >= mLimits.count || (Count() > 0 && Bytes() >= mLimits.bytes);
}

const AppPendingReplies::REPLY &AppPendingReplies::Idlest() const
{
    return *std::min_element(mReplies.begin(), mReplies.end(),
                             [](const REPLY &left, const REPLY &right) {
                                 if (left.IsSent() != right.IsSent())
                                     return left.IsSent();
                                 return left.idle.elapsed() > right.idle.elapsed();
                             });
}

void AppPendingReplies::MakeRoom()
{
    const qint64 patience = mLimits.crowdMs - 1;
    const bool waitedForRoom = mRoomWanted && mRoomWantedFor.hasExpired(patience);
    // Those that have been sent whole only wait for the peer to close its side.
    while (IsCrowded() &&
           (Idlest().IsSent() || waitedForRoom || Idlest().idle.hasExpired(patience)))
        End(Idlest());
}

void AppPendingReplies::End(const REPLY &reply)
{
    // Forget() follows at once, and with it the end of `reply`.
    AppConnection *const connection = reply.connection;
    if (reply.IsSent())
        connection->disconnectFromHost();
    else
        connection->Drop();
}

void AppPendingReplies::Touch(const AppConnection *connection)
{
    const auto reply = std::find_if(mReplies.begin(), mReplies.end(), [&](const REPLY &candidate) {
        return candidate.connection == connection;
    });
    reply->idle.start();
    if (mRoomWanted)
        mTimer.start(0);
}

void AppPendingReplies::Forget(const AppConnection *connection)
{
    mReplies.erase(
        std::remove_if(mReplies.begin(), mReplies.end(),
                       [&](const REPLY &reply) { return reply.connection == connection; }),
        mReplies.end());
    if (mRoomWanted)
        mTimer.start(0);
}

void AppPendingReplies::Tend()
{
    const std::vector<REPLY> replies = mReplies; // which gets shorter meanwhile
    for (const REPLY &reply : replies) {
        if (reply.idle.hasExpired(mLimits.idleMs - 1))
            End(reply);
    }
    if (mRoomWanted) {
        MakeRoom();
        mRoomWanted = IsCrowded();
        if (!mRoomWanted)
            emit MadeRoom();
    }
    Schedule();
}

void AppPendingReplies::Schedule()
{
    qint64 remaining = mLimits.idleMs;
    for (const REPLY &reply : mReplies)
        remaining = std::min(remaining, mLimits.idleMs - reply.idle.elapsed());
    if (mRoomWanted)
        remaining = std::min(remaining, mLimits.crowdMs - mRoomWantedFor.elapsed());
    if (mReplies.empty() && !mRoomWanted)
        mTimer.stop();
    else
        mTimer.start(static_cast<int>(std::max<qint64>(remaining, 0)));
}
