// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#pragma once

#include "SkyletAddress.h"
#include "SkyletExit.h"

#include <QByteArray>
#include <QMap>
#include <QObject>
#include <QString>
#include <QVector>

class SkyletConnection;
class SkyletInterrupt;

/// A load on a hub: a number of clients, each of which sends request after request, every one on a
/// connection of its own.
///
/// It checks each answer as a device would have to. bench/floors/client.c, the other one of the
/// tree, does not, so that comparing the hub with bare servers measures them and not the client.
class SkyletBench : public QObject
{
    Q_OBJECT

public:
    struct LOAD {
        QVector<QByteArray> requests; ///< at least one; taken in turn
        int clients = 1;              ///< connections at the same time
        int count = 1;                ///< requests in all
    };

    struct FIGURES {
        int done = 0;           ///< requests that ended, well or not
        QVector<qint64> sorted; ///< nanoseconds from connecting to the last byte, of those that
                                ///< ended well, in rising order
        QMap<QString, int> failures;                     ///< by SkyletAnswer::Word()
        qint64 elapsed = 0;                              ///< nanoseconds
        qint64 sent = 0;                                 ///< bytes
        qint64 received = 0;                             ///< bytes
        SkyletExit::CODE exitCode = SkyletExit::SUCCESS; ///< of the last failure

        int Failures() const;
        double Seconds() const;

        /// Requests that ended well for each second.
        double Rate() const;

        /// Milliseconds in which `percent` of the requests that ended well did (nearest rank); 100
        /// gives the slowest. 0 if there is none.
        double Latency(int percent) const;
    };

    SkyletBench(const SkyletAddress &hub, int timeoutMs, const LOAD &load,
                QObject *parent = nullptr);

    /// Runs the load to its end, or until an interrupt. The event loop runs meanwhile.
    FIGURES Run(const SkyletInterrupt *interrupt);

signals:
    void Done();

private:
    void StartNext();
    void Take(const SkyletConnection &connection, qint64 nanoseconds);

    SkyletAddress mHub;
    int mTimeoutMs;
    LOAD mLoad;
    int mStarted = 0;
    FIGURES mFigures;
};
