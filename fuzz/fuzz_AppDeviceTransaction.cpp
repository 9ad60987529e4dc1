// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

// Any bytes can arrive, in any segments, and the segments do not change what is understood. Input:
// a byte that says how long the segments are, then what the peer sends.

#include "AppDeviceTransaction.h"
#include "AppPackage.h"
#include "Fuzz.h"
#include "SegmentSocket.h"

#include <cstring>
#include <memory>

namespace
{

/// What a transaction made of the peer's bytes.
struct OUTCOME {
    bool valid = false;
    int segmentsLeft = 0;
    QString properties;
    QByteArray package;
};

/// Segments of 1, 2, 3, ... bytes for 0; of `segmentSize` bytes otherwise.
QList<QByteArray> Segments(const QByteArray &bytes, int segmentSize)
{
    QList<QByteArray> segments;
    int size = segmentSize == 0 ? 1 : segmentSize;
    for (int i = 0; i < bytes.size(); i += size, size += segmentSize == 0 ? 1 : 0)
        segments.append(bytes.mid(i, size));
    return segments;
}

OUTCOME Receive(const QList<QByteArray> &segments)
{
    OUTCOME outcome;
    const std::unique_ptr<SegmentSocket> socket(new SegmentSocket(segments));
    AppDeviceTransaction transaction(socket.get());
    Q_ASSERT(transaction.mValid == (transaction.mSocket != nullptr));
    outcome.valid = transaction.mValid;
    outcome.segmentsLeft = socket->SegmentsLeft();
    if (!outcome.valid)
        return outcome;

    outcome.properties = QStringLiteral("%1|%2|%3|%4|%5|%6|%7")
                             .arg(transaction.mUsr, transaction.mPwd, transaction.mUdid)
                             .arg(transaction.mDev)
                             .arg(transaction.mCmd)
                             .arg(transaction.mReq)
                             .arg(transaction.mMem);
    transaction.mPat.ToString(&outcome.properties, false);
    if (transaction.mPackage != nullptr)
        transaction.mPackage->Export(&outcome.package);
    transaction.Reply(AppPackage());
    Q_ASSERT(socket->Writes().size() == 1);
    return outcome;
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    if (size < 1)
        return 0;
    const QByteArray bytes(reinterpret_cast<const char *>(data) + 1, static_cast<int>(size - 1));
    const OUTCOME whole = Receive({bytes});
    const OUTCOME parts = Receive(Segments(bytes, data[0]));

    // A length of 0 completes a request between two segments whatever follows it; such a request is
    // left out.
    if (whole.valid && parts.segmentsLeft == 0) {
        Q_ASSERT(parts.valid);
        Q_ASSERT(whole.properties == parts.properties);
        Q_ASSERT(whole.package == parts.package);
    }
    return 0;
}
