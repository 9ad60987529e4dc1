// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#pragma once

#include "AppDosName.h"

#include <QByteArray>
#include <QObject>
#include <QString>

class AppPackage;
class QTcpSocket;

/// One request of the device and its reply, on one connection.
///
/// The request is an HTTP/1.1 POST with a form as its body; the reply carries a package. The
/// constructor blocks until the request is there or has failed; the destructor closes the
/// connection, and the socket deletes itself once it is down.
class AppDeviceTransaction : public QObject
{
    Q_OBJECT

public:
    static constexpr int READ_TIMEOUT_MS = 5000; ///< for each wait, not for the whole request

    /// For the request as a whole; one that takes longer must have come with BYTES_PER_SECOND_MIN
    /// on average.
    static constexpr int REQUEST_TIME_MS = 60000;
    static constexpr int BYTES_PER_SECOND_MIN = 1024;

    /// The command codes of the property `cmd`.
    enum COMMAND {
        COMMAND_SEARCH = 1,
        COMMAND_DOWNLOAD = 2,
        COMMAND_UPLOAD = 3,
    };

    /// The values of the property `req`: what to download.
    enum REQUEST {
        REQUEST_PROGRAM = 0,
        REQUEST_DISKS = 1,
    };

    /// Reads and parses the request. `socket` is not owned, but told to delete itself as soon as it
    /// is disconnected. Afterwards mValid says whether the request arrived whole; if it did not,
    /// the connection is already being closed. `requestTimeMs` is for tests, which cannot wait.
    explicit AppDeviceTransaction(QTcpSocket *socket, int requestTimeMs = REQUEST_TIME_MS);
    ~AppDeviceTransaction() override;

    /// Removes the first line and its CR LF from mContent and returns it, one character for each
    /// byte, cut at a NUL. Without a CR the line is empty and one byte is removed.
    QString ReadContentLine();

    /// Sets the properties from mContent, which is consumed: a URL-encoded form or multipart
    /// form-data (RFC 7578), as mContentType says; nothing for any other type. Returns 0, or -1 for
    /// a multipart body that is malformed; the fields before the fault stay set.
    int ParseContent();

    /// Sets one property; an unknown name is ignored. A number that is none becomes 0. Returns 0.
    int SetProperty(const QString &name, const QString &value);

    /// Sends the package as the reply and hands as much of it to the network as that takes; the
    /// event loop sends the rest. Only for a valid transaction, and once. Returns 0.
    int Reply(const AppPackage &package);

    QTcpSocket *mSocket = nullptr; ///< set once the request is complete
    bool mValid = false;           ///< the request is complete
    int mHeadersDone = 0;          ///< 1 once the blank line behind the headers was read
    QByteArray mContent;           ///< the body, or what is left of it
    QString mContentType;          ///< second word of the "Content-Type:" line
    QString mBoundary;             ///< of the multipart body
    int mContentRemaining = -1;    ///< bytes of the body still to come; negative never completes
    bool mFromWebPage = false;     ///< it has an "Origin:" line, as only browsers send it
    QString mOrigin;               ///< where that page comes from, as the browser says

    QString mUsr;                   ///< `usr`: the user's name
    QString mPwd;                   ///< `pwd`: the digest of the user's password
    int mDev = 0;                   ///< `dev`
    QString mUdid;                  ///< `udid`: the device's identifier
    int mCmd = 0;                   ///< `cmd`: a COMMAND, or anything else for none
    AppDosName mPat;                ///< `pat`: the name or pattern
    int mReq = -1;                  ///< `req`: a REQUEST, or anything else for none
    int mMem = 0;                   ///< `mem`
    AppPackage *mPackage = nullptr; ///< what was uploaded, or null; owned

private slots:
    void ReadyRead();

private:
    bool IsTooSlow(qint64 elapsedMs, int requestTimeMs, qint64 received) const;
    void ReadHeaderLine(QTcpSocket *socket);
    void ReadBody(QTcpSocket *socket);

    qint64 mReceived = 0; ///< bytes of whole header lines and of the body
    bool mGone = false;   ///< the device has closed or reset the connection
};
