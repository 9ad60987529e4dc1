// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#include "AppFormBody.h"

#include "MxLatin1.h"

#include <QLatin1String>
#include <QStringView>

#include <utility>

namespace
{

/// The value of a hexadecimal digit, or -1.
int HexValue(char c)
{
    if (c >= '0' && c <= '9')
        return c - '0';
    if (c >= 'A' && c <= 'F')
        return c - 'A' + 10;
    if (c >= 'a' && c <= 'f')
        return c - 'a' + 10;
    return -1;
}

/// Decodes a form's bytes to `out`, which may be where they are: "+" is a blank and "%41" an "A".
/// A "%" without two hexadecimal digits stays what it is; the toolkit's own decoder would garble
/// it. Returns the end of what it wrote.
char *Decode(const char *in, const char *end, char *out)
{
    while (in < end) {
        const char c = *in++;
        if (c == '%' && end - in > 1 && HexValue(in[0]) >= 0 && HexValue(in[1]) >= 0) {
            *out++ = static_cast<char>(HexValue(in[0]) * 16 + HexValue(in[1]));
            in += 2;
        } else {
            *out++ = c == '+' ? ' ' : c;
        }
    }
    return out;
}

QByteArray Decoded(QByteArray bytes)
{
    char *const begin = bytes.data();
    bytes.truncate(static_cast<int>(Decode(begin, begin + bytes.size(), begin) - begin));
    return bytes;
}

bool IsAscii(QLatin1String bytes)
{
    unsigned int all = 0;
    for (const char c : bytes)
        all |= static_cast<unsigned char>(c);
    return all < 0x80;
}

/// Sets `*text` to a piece of the UTF-8 text that begins at `begin`, in the memory it has if that
/// is enough.
void SetText(QLatin1String piece, const char *begin, QString *text)
{
    const int size = static_cast<int>(piece.size());
    if (IsAscii(piece))
        *text = piece;
    else if (piece.data() == begin)
        *text = QString::fromUtf8(piece.data(), size);
    else // With the separator before it: a byte order mark counts as one at the beginning alone.
        *text = QString::fromUtf8(piece.data() - 1, size + 1).mid(1);
}

/// Takes off the white space around it.
void Trim(QString *text)
{
    const QStringView trimmed = QStringView(*text).trimmed();
    if (trimmed.size() != text->size())
        *text = trimmed.toString();
}

/// The value in a piece of a Content-Disposition line: what stands between the quotation marks.
/// The first character is taken to be one; without a second the value reaches to the end.
QLatin1String QuotedValue(QLatin1String piece)
{
    const char *const begin = piece.begin() + (piece.isEmpty() ? 0 : 1);
    return QLatin1String(begin, MxLatin1::Find(begin, piece.end(), '"'));
}

/// What the header of one part of a multipart body says: views of the body.
struct PART {
    QLatin1String fieldName;
    QLatin1String fileName;
};

/// Reads `name="value"` pairs. What stands before each "=" but the first is the value before it,
/// too.
void ReadDisposition(QLatin1String line, PART *part)
{
    const char *begin = line.begin();
    const char *end = MxLatin1::Find(begin, line.end(), '=');
    while (end != line.end()) {
        const QLatin1String name(begin, end);
        begin = end + 1;
        end = MxLatin1::Find(begin, line.end(), '=');
        const QLatin1String piece(begin, end);
        // "filename" first, since it ends with "name" too.
        if (name.endsWith(QLatin1String("filename")))
            part->fileName = QuotedValue(piece);
        else if (name.endsWith(QLatin1String("name")))
            part->fieldName = QuotedValue(piece);
    }
}

/// Reads the header of a part up to the empty line that ends it.
PART ReadPartHeader(AppBodyCursor *cursor)
{
    PART part;
    for (QLatin1String line = cursor->ReadLine(); !line.isEmpty(); line = cursor->ReadLine()) {
        if (line.startsWith(QLatin1String("Content-Disposition: form-data")))
            ReadDisposition(line, &part);
    }
    return part;
}

} // namespace

AppFormBody::AppFormBody(TYPE type, const QString &boundary, QByteArray bytes)
    : mType(type)
    , mDelimiter("--" + boundary.toLatin1())
    , mClosingDelimiter(mDelimiter.Pattern() + "--")
    , mCursor(type == TYPE_URL_ENCODED ? Decoded(std::move(bytes)) : bytes)
{
    if (type != TYPE_MULTIPART)
        return;
    mPartsLeft = mCursor.ReadLine() == QString(QLatin1String("--") + boundary);
    mStatus = mPartsLeft ? 0 : -1;
}

bool AppFormBody::ReadField(FIELD *field)
{
    switch (mType) {
    case TYPE_URL_ENCODED:
        return ReadPair(field);
    case TYPE_MULTIPART:
        return ReadPart(field);
    case TYPE_OTHER:
        break;
    }
    return false;
}

bool AppFormBody::ReadPair(FIELD *field)
{
    // Decoded before it is split, so an encoded "&" or "=" splits like a plain one.
    const char *const begin = mCursor.Bytes().constData();
    while (!mCursor.AtEnd()) {
        const QLatin1String pair = mCursor.ReadUpTo('&');
        SetText(MxLatin1::PieceAt(pair, '=', 1), begin, &field->value);
        Trim(&field->value);
        if (field->value.isEmpty())
            continue;
        SetText(MxLatin1::PieceAt(pair, '=', 0), begin, &field->name);
        Trim(&field->name);
        return true;
    }
    return false;
}

bool AppFormBody::ReadPart(FIELD *field)
{
    while (mPartsLeft) {
        const PART part = ReadPartHeader(&mCursor);
        const bool isField = !part.fieldName.isEmpty() && part.fileName.isEmpty();
        if (isField) {
            field->name = part.fieldName;
            ReadValue(&field->value);
        }
        EndPart(!part.fieldName.isEmpty() && part.fileName == QLatin1String("package"));
        if (isField)
            return true;
    }
    return false;
}

void AppFormBody::ReadValue(QString *value)
{
    const QLatin1String line = mCursor.ReadLine();
    mDecoded.resize(static_cast<int>(line.size()));
    const char *const end = Decode(line.begin(), line.end(), mDecoded.data());
    SetText(QLatin1String(mDecoded.constData(), end), mDecoded.constData(), value);
}

void AppFormBody::EndPart(bool isPackage)
{
    const qsizetype contentBegin = mCursor.Position();
    if (!mCursor.MoveTo(mDelimiter)) {
        mPartsLeft = false;
        mStatus = -1;
        mPackageSize = 0;
        return;
    }

    if (isPackage) {
        mPackageOffset = contentBegin;
        mPackageSize = mCursor.Position() - contentBegin;
    }
    mPartsLeft = !mCursor.StartsWith(mClosingDelimiter);
    if (mPartsLeft)
        mCursor.ReadLine();
}

int AppFormBody::Status() const
{
    return mStatus;
}

const QByteArray &AppFormBody::Bytes() const
{
    return mCursor.Bytes();
}

QByteArray AppFormBody::Rest() const
{
    return mCursor.Rest();
}

qsizetype AppFormBody::PackageOffset() const
{
    return mPackageOffset;
}

qsizetype AppFormBody::PackageSize() const
{
    return mPackageSize;
}
