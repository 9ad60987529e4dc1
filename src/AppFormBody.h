// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#pragma once

#include "AppBodyCursor.h"
#include "MxSearch.h"

#include <QByteArray>
#include <QString>

/// The body of a request, read as a form: its fields, and where the bytes of its package lie.
///
/// A plain value: bytes in, fields out, one after the other, so that however many there are, they
/// take no memory beside the body. Nothing of the package is copied.
class AppFormBody
{
public:
    enum TYPE {
        TYPE_OTHER,       ///< no form: it has no fields, and nothing of it is read
        TYPE_URL_ENCODED, ///< name=value pairs
        TYPE_MULTIPART,   ///< multipart form-data (RFC 7578)
    };

    struct FIELD {
        QString name;
        QString value; ///< decoded
    };

    /// `boundary` is that of a multipart body. The bytes are shared, not copied; those of a
    /// URL-encoded body are decoded, in place if they are moved here.
    AppFormBody(TYPE type, const QString &boundary, QByteArray bytes);

    /// Reads the next field. Returns false if there is none left, because the body is over or
    /// malformed.
    ///
    /// A pair without a value is no field, and neither is a file. What surrounds the name and the
    /// value of a pair is trimmed; a part's value is the first line of its content as it is.
    bool ReadField(FIELD *field);

    // What follows is known once ReadField() has returned false.

    /// 0, or -1 for a multipart body that is malformed; the fields before the fault were read.
    int Status() const;

    /// The body, URL-encoded pairs decoded.
    const QByteArray &Bytes() const;

    /// The bytes behind what was read: at the end of a multipart body, its closing delimiter first.
    QByteArray Rest() const;

    /// Where the content of the last file named "package" lies in Bytes(), with the line end before
    /// the delimiter. The size is 0 if there is none or the body is malformed.
    qsizetype PackageOffset() const;
    qsizetype PackageSize() const;

private:
    bool ReadPair(FIELD *field);
    bool ReadPart(FIELD *field);
    void ReadValue(QString *value);
    void EndPart(bool isPackage);

    TYPE mType;
    MxSearch mDelimiter;
    QByteArray mClosingDelimiter;
    AppBodyCursor mCursor;
    QByteArray mDecoded; ///< the value of a part, before it is text
    bool mPartsLeft = false;
    int mStatus = 0;
    qsizetype mPackageOffset = 0;
    qsizetype mPackageSize = 0;
};
