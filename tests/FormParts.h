// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QByteArray>

// A multipart body with the boundary "XyZ", part by part, delimiters first.

/// The delimiter behind the last part.
const QByteArray FORM_END = QByteArrayLiteral("--XyZ--\r\n");

/// A part with one line of header and one of content.
inline QByteArray FormPart(const QByteArray &header, const QByteArray &content)
{
    return "--XyZ\r\n" + header + "\r\n\r\n" + content + "\r\n";
}

inline QByteArray FormField(const QByteArray &name, const QByteArray &value)
{
    return FormPart("Content-Disposition: form-data; name=\"" + name + '"', value);
}

inline QByteArray FormFile(const QByteArray &name, const QByteArray &fileName,
                           const QByteArray &bytes)
{
    return FormPart("Content-Disposition: form-data; name=\"" + name + "\"; filename=\"" +
                        fileName + "\"\r\nContent-Type: application/octet-stream",
                    bytes);
}
