// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QByteArray>
#include <QList>
#include <QTcpSocket>

#include <algorithm>
#include <cstring>

/// A connection without a network: the peer's bytes are a list of segments.
///
/// Each waitForReadyRead() makes the next segment available and emits readyRead(); after the last
/// one it fails at once, as if the time were over. What is written, waited for and closed is only
/// recorded. It needs no event loop and nothing of it takes time, so it serves tests, fuzz targets
/// and benchmarks alike.
///
/// Make it on the heap: an AppDeviceTransaction lets disconnected() delete its socket. This one
/// never emits that signal by itself, so without somebody emitting it the maker deletes the socket.
class SegmentSocket : public QTcpSocket
{
public:
    explicit SegmentSocket(const QList<QByteArray> &segments = QList<QByteArray>())
        : mSegments(segments)
    {
        // QIODevice keeps no bytes of its own, so that mAvailable is all there is.
        setOpenMode(QIODevice::ReadWrite | QIODevice::Unbuffered);
    }

    /// Appends one segment to those still to come.
    void AddSegment(const QByteArray &segment) { mSegments.append(segment); }

    /// From now on writing fails, and so does waiting for it.
    void SetPeerGone() { mPeerGone = true; }

    /// Segments that no wait has asked for yet.
    int SegmentsLeft() const { return int(mSegments.size()); }

    /// Sizes of the reads that gave bytes, without those of whole lines.
    const QList<qint64> &Reads() const { return mReads; }

    /// What was written, one element for each write.
    const QList<QByteArray> &Writes() const { return mWrites; }

    /// The limits of waitForReadyRead() and waitForBytesWritten(), in milliseconds, as asked for.
    const QList<int> &ReadTimeouts() const { return mReadTimeouts; }
    const QList<int> &WriteTimeouts() const { return mWriteTimeouts; }

    /// Calls of disconnectFromHost().
    int Disconnects() const { return mDisconnects; }

    bool waitForReadyRead(int msecs) override
    {
        mReadTimeouts.append(msecs);
        if (mSegments.isEmpty())
            return false;
        mAvailable = mAvailable.mid(mConsumed) + mSegments.takeFirst();
        mConsumed = 0;
        emit readyRead();
        return true;
    }

    bool waitForBytesWritten(int msecs) override
    {
        mWriteTimeouts.append(msecs);
        return !mPeerGone;
    }

    qint64 bytesAvailable() const override { return QIODevice::bytesAvailable() + Unread(); }

    bool canReadLine() const override
    {
        return QIODevice::canReadLine() || mAvailable.indexOf('\n', mConsumed) >= 0;
    }

    void disconnectFromHost() override { ++mDisconnects; }

protected:
    qint64 readData(char *data, qint64 maxSize) override
    {
        const qint64 size = Take(data, std::min(maxSize, Unread()));
        if (size > 0)
            mReads.append(size);
        return size;
    }

    qint64 readLineData(char *data, qint64 maxSize) override
    {
        const qint64 end = mAvailable.indexOf('\n', mConsumed);
        const qint64 lineSize = end < 0 ? Unread() : end + 1 - mConsumed;
        return Take(data, std::min(maxSize, lineSize));
    }

    qint64 writeData(const char *data, qint64 size) override
    {
        if (mPeerGone)
            return -1;
        mWrites.append(QByteArray(data, int(size)));
        return size;
    }

private:
    qint64 Unread() const { return mAvailable.size() - mConsumed; }

    qint64 Take(char *data, qint64 size)
    {
        if (size > 0)
            std::memcpy(data, mAvailable.constData() + mConsumed, size_t(size));
        mConsumed += int(size);
        return size;
    }

    QList<QByteArray> mSegments; ///< still to come
    QByteArray mAvailable;       ///< has come; the first mConsumed bytes have been read
    int mConsumed = 0;
    bool mPeerGone = false;

    QList<qint64> mReads;
    QList<QByteArray> mWrites;
    QList<int> mReadTimeouts;
    QList<int> mWriteTimeouts;
    int mDisconnects = 0;
};
