// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

// Any bytes can be a form, and what is read of them is what a reader finds that copies everything
// and has nothing in common with this one. Input: "u" for URL-encoded pairs, "m" for multipart
// form-data or any other byte; the boundary, up to a line feed; the body.

#include "AppFormBody.h"
#include "Fuzz.h"

#include <QList>
#include <QPair>
#include <QStringList>

#include <algorithm>
#include <cctype>

namespace
{

/// What is in a form.
struct FORM {
    QList<QPair<QString, QString>> fields;
    int status = 0;
    QByteArray package;
    QByteArray rest;
};

/// One character for each byte, NULs too.
QString Latin1(const QByteArray &bytes)
{
    return QString::fromLatin1(bytes.constData(), static_cast<int>(bytes.size()));
}

bool IsHexDigit(char c)
{
    return std::isxdigit(static_cast<unsigned char>(c)) != 0;
}

QString Decoded(QByteArray bytes)
{
    bytes.replace('+', ' ');
    for (int i = 0; i + 2 < bytes.size(); ++i) {
        if (bytes.at(i) == '%' && IsHexDigit(bytes.at(i + 1)) && IsHexDigit(bytes.at(i + 2)))
            bytes.replace(i, 3, QByteArray::fromHex(bytes.mid(i + 1, 2)));
    }
    return QString::fromUtf8(bytes.constData(), static_cast<int>(bytes.size()));
}

FORM PlainPairs(const QByteArray &body)
{
    FORM form;
    const QStringList pairs = Decoded(body).split(QLatin1Char('&'));
    for (const QString &pair : pairs) {
        const QStringList pieces = pair.split(QLatin1Char('='));
        const QString value = pieces.value(1).trimmed();
        if (!value.isEmpty())
            form.fields.append({pieces.first().trimmed(), value});
    }
    return form;
}

QString TakeLine(QByteArray *content)
{
    const int end = static_cast<int>(content->indexOf('\r'));
    QByteArray line = content->left(std::max(end, 0));
    if (line.contains('\0'))
        line.truncate(line.indexOf('\0'));
    content->remove(0, end + 2);
    return Latin1(line);
}

QString Unquoted(const QString &piece)
{
    return piece.mid(1).section(QLatin1Char('"'), 0, 0);
}

void TakeHeader(QByteArray *content, QString *name, QString *fileName)
{
    for (QString line = TakeLine(content); !line.isEmpty(); line = TakeLine(content)) {
        const QStringList pieces = line.split(QLatin1Char('='));
        if (!line.startsWith(QLatin1String("Content-Disposition: form-data")))
            continue;
        for (int i = 1; i < pieces.size(); ++i) {
            if (pieces.at(i - 1).endsWith(QLatin1String("filename")))
                *fileName = Unquoted(pieces.at(i));
            else if (pieces.at(i - 1).endsWith(QLatin1String("name")))
                *name = Unquoted(pieces.at(i));
        }
    }
}

FORM PlainParts(const QByteArray &boundary, const QByteArray &body)
{
    FORM form;
    form.rest = body;
    const QByteArray delimiter = "--" + boundary;
    form.status = TakeLine(&form.rest) == Latin1(delimiter) ? 0 : -1;
    while (form.status == 0) {
        QString name;
        QString fileName;
        TakeHeader(&form.rest, &name, &fileName);
        if (!name.isEmpty() && fileName.isEmpty())
            form.fields.append({name, Decoded(TakeLine(&form.rest).toLatin1())});
        const int end = static_cast<int>(form.rest.indexOf(delimiter));
        if (!name.isEmpty() && fileName == QLatin1String("package"))
            form.package = form.rest.left(std::max(end, 0));
        form.status = end < 0 ? -1 : 0;
        form.rest.remove(0, std::max(end, 0));
        if (form.rest.startsWith(delimiter + "--"))
            break;
        if (form.status == 0)
            TakeLine(&form.rest);
    }
    if (form.status != 0)
        form.package.clear();
    return form;
}

FORM Read(AppFormBody body)
{
    FORM form;
    AppFormBody::FIELD field;
    while (body.ReadField(&field))
        form.fields.append({field.name, field.value});
    form.status = body.Status();
    Q_ASSERT(body.PackageOffset() >= 0 && body.PackageSize() >= 0);
    Q_ASSERT(body.PackageSize() <= body.Bytes().size() - body.PackageOffset());
    form.package = body.Bytes().mid(static_cast<int>(body.PackageOffset()),
                                    static_cast<int>(body.PackageSize()));
    form.rest = body.Rest();
    Q_ASSERT(!body.ReadField(&field));
    return form;
}

void CheckSame(const FORM &a, const FORM &b)
{
    Q_ASSERT(a.fields == b.fields);
    Q_ASSERT(a.status == b.status);
    Q_ASSERT(a.package == b.package);
    Q_ASSERT(a.rest == b.rest);
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const QByteArray input = BytesOf(data, size);
    const int lineEnd = static_cast<int>(input.indexOf('\n'));
    if (lineEnd < 1)
        return 0;
    const QByteArray boundary = input.mid(1, lineEnd - 1);
    // In memory of exactly its size.
    const QByteArray body =
        BytesOf(data + lineEnd + 1, size - static_cast<std::size_t>(lineEnd) - 1);

    const QString text = Latin1(boundary);
    if (data[0] == 'u') {
        CheckSame(Read({AppFormBody::TYPE_URL_ENCODED, text, body}), PlainPairs(body));
    } else if (data[0] == 'm') {
        CheckSame(Read({AppFormBody::TYPE_MULTIPART, text, body}), PlainParts(boundary, body));
    } else {
        FORM unread;
        unread.rest = body;
        CheckSame(Read({AppFormBody::TYPE_OTHER, text, body}), unread);
    }
    return 0;
}
