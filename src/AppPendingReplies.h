// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QElapsedTimer>
#include <QObject>
#include <QTimer>

#include <vector>

class AppConnection;

/// The connections whose reply waits for its reader, from the answer until they are closed.
///
/// A reply that the network does not take at once waits in memory, and its connection takes a
/// descriptor. Both have an end here: a reader that takes nothing for long is dropped, and so is
/// the one that has taken nothing for longest if the replies are too many or together too big.
class AppPendingReplies : public QObject
{
    Q_OBJECT

public:
    struct LIMITS {
        int count;    ///< connections
        qint64 bytes; ///< of all replies together, as far as they have not been sent
        int idleMs;   ///< for how long a reader may take nothing
        int crowdMs;  ///< if they are too many or too big: for how long a reader may take nothing,
                      ///< and for how long a request waits for room
    };

    /// Far below the descriptors that any system gives to a process. A reply may be above the
    /// bytes, as long as it is alone.
    static constexpr LIMITS DEFAULT_LIMITS = {64, 256 * 1024 * 1024, 60000, 500};

    explicit AppPendingReplies(const LIMITS &limits = DEFAULT_LIMITS);

    /// Drops those that are left.
    ~AppPendingReplies() override;

    /// Takes over an answered connection, which is closing: it lives until it is closed or dropped.
    void Add(AppConnection *connection);

    /// Whether another request can be answered within the limits. If not, MadeRoom() follows within
    /// LIMITS::crowdMs.
    bool HasRoom();

    /// Closes the one that has been idle for longest, if there is one, but first those that have
    /// been sent whole: the system is short of descriptors.
    void DropIdlest();

    /// Lets the event loop send what is left, at most for `msecs`.
    void Finish(int msecs);

    /// Connections that have not been closed.
    int Count() const;

    /// Bytes that have not been sent.
    qint64 Bytes() const;

signals:
    void MadeRoom();

private:
    struct REPLY {
        AppConnection *connection;
        QElapsedTimer idle; ///< since the system last took something of it

        bool IsSent() const; ///< it only waits for the peer to close its side
    };

    bool IsCrowded() const;

    /// The one to end first; there is one.
    const REPLY &Idlest() const;
    void MakeRoom();
    void End(const REPLY &reply);
    void Touch(const AppConnection *connection);
    void Forget(const AppConnection *connection);
    void Tend();
    void Schedule();

    const LIMITS mLimits;
    std::vector<REPLY> mReplies; ///< children of this object
    QTimer mTimer;               ///< until the next one may have to be dropped
    bool mRoomWanted = false;    ///< MadeRoom() is waited for
    QElapsedTimer mRoomWantedFor;
};
