// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#pragma once

#include "AppDeviceTransaction.h"

#include <QByteArray>
#include <QList>
#include <QPair>
#include <QString>

/// Who sends a request. All may be empty.
struct SkyletIdentity {
    QString user;
    QString digest; ///< of the user's password
    QString udid;   ///< the device's identifier
};

/// One request, byte for byte as the device sends it: an HTTP/1.1 POST whose body is a form.
///
/// A hub reads header names in exactly this letter case, one "Content-Length:" and a boundary
/// without quotation marks. A request with a package is multipart form-data, any other is
/// URL-encoded, unless one of its values would not arrive as it is: hubs decode the body before
/// they split it, so that an encoded "&" or "=" splits it too, and trim the values.
class SkyletRequest
{
public:
    /// What fits `pattern`, as a listing. For all patterns: text, which the hub turns to PETSCII.
    static SkyletRequest Search(const SkyletIdentity &identity, const QString &pattern);

    /// A program or disks that fit `pattern`.
    static SkyletRequest Download(const SkyletIdentity &identity,
                                  AppDeviceTransaction::REQUEST what, const QString &pattern);

    /// A package to be stored, which SetPackage() names.
    static SkyletRequest Upload(const SkyletIdentity &identity);

    /// No command at all. A hub checks user and password and answers with an empty package.
    static SkyletRequest Nothing(const SkyletIdentity &identity);

    /// The wire form of the package that an upload carries; empty for none.
    void SetPackage(const QByteArray &package) { mPackage = package; }

    /// The whole request. `host` is the value of the "Host:" header.
    QByteArray ToBytes(const QString &host) const;

private:
    explicit SkyletRequest(const SkyletIdentity &identity);

    void Add(const char *name, const QString &value);
    void Add(const char *name, int value);
    bool FitsUrlEncoding() const;
    QByteArray UrlEncodedBody() const;
    QByteArray MultipartBody(const QByteArray &boundary) const;
    QByteArray FreeBoundary() const;

    QList<QPair<QByteArray, QString>> mProperties; ///< in the order sent; none is empty
    QByteArray mPackage;                           ///< empty for none
};
