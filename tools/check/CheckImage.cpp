// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#include "CheckImage.h"

#include "AppImageKinds.h"

#include <QHash>
#include <QStringList>

namespace
{

/// What an extension makes one expect.
enum KIND {
    KIND_IMAGE,   ///< an image as the hub serves it
    KIND_UPLOAD,  ///< what the hub itself has stored, but does not serve
    KIND_FORMAT,  ///< a disk, tape or cartridge in another form
    KIND_ARCHIVE, ///< something compressed
    KIND_WRAPPED, ///< a program with something around it
    KIND_PROGRAM, ///< a program as the hub serves it
};

struct EXTENSION {
    const char *suffix; // in lower case
    KIND kind;
    const char *advice; // what makes something of it that the hub serves
};

const char *const COPY_TO_D81 =
    QT_TRANSLATE_NOOP("CheckImage", "Copy its files to D81 images with c1541.");
const char *const DECODE_GCR = QT_TRANSLATE_NOOP(
    "CheckImage", "Convert it, which loses a copy protection: nibconv OLD NEW.d64");
const char *const GET_ANEW =
    QT_TRANSLATE_NOOP("CheckImage", "Get it anew: something was lost or added on its way.");
const char *const UNPACK_GZIP =
    QT_TRANSLATE_NOOP("CheckImage", "Unpack it: gunzip -c OLD > NEW.d64");
const char *const UNPACK_LHA = QT_TRANSLATE_NOOP("CheckImage", "Unpack it: lha -x OLD");
const char *const UNPACK_TAR = QT_TRANSLATE_NOOP("CheckImage", "Unpack it: tar -xf OLD");

const EXTENSION EXTENSIONS[] = {
    {"prg", KIND_PROGRAM, ""},

    {"dxx", KIND_UPLOAD, GET_ANEW},
    {"g64", KIND_FORMAT, DECODE_GCR},
    {"nib", KIND_FORMAT, DECODE_GCR},
    {"nb2", KIND_FORMAT, DECODE_GCR},
    {"nbz", KIND_FORMAT, DECODE_GCR},
    {"g71", KIND_FORMAT,
     QT_TRANSLATE_NOOP("CheckImage", "Copy its files to a D71 image with c1541.")},
    {"p64", KIND_FORMAT,
     QT_TRANSLATE_NOOP("CheckImage", "Copy its files to a D64 image with c1541.")},
    {"x64", KIND_FORMAT,
     QT_TRANSLATE_NOOP("CheckImage", "Cut its header off: tail -c +65 OLD > NEW.d64")},
    {"d67", KIND_FORMAT,
     QT_TRANSLATE_NOOP("CheckImage", "Copy its files to D64 images with c1541.")},
    {"d90", KIND_FORMAT, COPY_TO_D81},
    {"d1m", KIND_FORMAT, COPY_TO_D81},
    {"d2m", KIND_FORMAT, COPY_TO_D81},
    {"d4m", KIND_FORMAT, COPY_TO_D81},
    {"dnp", KIND_FORMAT, COPY_TO_D81},
    {"t64", KIND_FORMAT,
     QT_TRANSLATE_NOOP("CheckImage",
                       "Copy its files to a disk: c1541 -format new,00 d64 NEW.d64 -tape OLD")},
    {"tap", KIND_FORMAT,
     QT_TRANSLATE_NOOP("CheckImage", "Load it in an emulator and save it to a disk image.")},
    {"crt", KIND_FORMAT,
     QT_TRANSLATE_NOOP("CheckImage", "A cartridge becomes no disk; look for a version on disk.")},

    {"zip", KIND_ARCHIVE, QT_TRANSLATE_NOOP("CheckImage", "Unpack it: unzip OLD")},
    {"7z", KIND_ARCHIVE, QT_TRANSLATE_NOOP("CheckImage", "Unpack it: 7z x OLD")},
    {"rar", KIND_ARCHIVE, QT_TRANSLATE_NOOP("CheckImage", "Unpack it: unrar x OLD")},
    {"gz", KIND_ARCHIVE, QT_TRANSLATE_NOOP("CheckImage", "Unpack it: gunzip OLD")},
    {"bz2", KIND_ARCHIVE, QT_TRANSLATE_NOOP("CheckImage", "Unpack it: bunzip2 OLD")},
    {"xz", KIND_ARCHIVE, QT_TRANSLATE_NOOP("CheckImage", "Unpack it: unxz OLD")},
    {"zst", KIND_ARCHIVE, QT_TRANSLATE_NOOP("CheckImage", "Unpack it: unzstd OLD")},
    {"tar", KIND_ARCHIVE, UNPACK_TAR},
    {"tgz", KIND_ARCHIVE, UNPACK_TAR},
    {"lha", KIND_ARCHIVE, UNPACK_LHA},
    {"lzh", KIND_ARCHIVE, UNPACK_LHA},
    {"d6z", KIND_ARCHIVE, UNPACK_GZIP},
    {"d7z", KIND_ARCHIVE, UNPACK_GZIP},
    {"d8z", KIND_ARCHIVE, UNPACK_GZIP},
};

// Stands for the extensions of all images that the hub serves.
const EXTENSION SERVED_IMAGE = {"d64", KIND_IMAGE, GET_ANEW};

// Stands for "p00" to "p99".
const EXTENSION WRAPPED_PROGRAM = {
    "p00", KIND_WRAPPED,
    QT_TRANSLATE_NOOP("CheckImage", "Cut its header off: tail -c +27 OLD > NEW.prg")};

/// How a file of another kind begins, what it is, and the extension whose advice fits it.
struct MAGIC {
    const char *bytes;
    const char *name;
    const char *suffix;
};

const MAGIC MAGICS[] = {
    {"\x1F\x8B", "gzip", "d6z"},
    {"PK\x03\x04", "ZIP", "zip"},
    {"7z\xBC\xAF\x27\x1C", "7z", "7z"},
    {"Rar!", "RAR", "rar"},
    {"BZh", "bzip2", "bz2"},
    {"\xFD"
     "7zXZ",
     "xz", "xz"},
    {"GCR-1541", "G64", "g64"},
    {"GCR-1571", "G71", "g71"},
    {"MNIB-154", "NIB", "nib"},
    {"P64-1541", "P64", "p64"},
    {"C\x15"
     "Ad",
     "X64", "x64"},
    {"C64-TAPE", "TAP", "tap"},
    {"C64 tape", "T64", "t64"},
    {"C64S tap", "T64", "t64"},
    {"C64 CART", "CRT", "crt"},
};

/// The extension after the last dot, in lower case.
QString Suffix(const QString &fileName)
{
    const qsizetype dot = fileName.lastIndexOf(QLatin1Char('.'));
    return dot < 0 ? QString() : fileName.mid(dot + 1).toLower();
}

bool IsWrappedProgram(const QString &suffix)
{
    const auto isDigit = [](QChar c) { return c >= QLatin1Char('0') && c <= QLatin1Char('9'); };
    return suffix.size() == 3 && suffix.at(0) == QLatin1Char('p') && isDigit(suffix.at(1)) &&
           isDigit(suffix.at(2));
}

/// What is known of an extension in lower case, or null. "p64" is an image, "p63" a program.
const EXTENSION *Find(const QString &suffix)
{
    static const QHash<QString, const EXTENSION *> BY_SUFFIX = [] {
        QHash<QString, const EXTENSION *> bySuffix;
        for (const AppImageKinds::KIND &kind : AppImageKinds::All())
            bySuffix.insert(QLatin1String(AppImageKinds::ListingType(kind.type)), &SERVED_IMAGE);
        for (const EXTENSION &extension : EXTENSIONS)
            bySuffix.insert(QLatin1String(extension.suffix), &extension);
        return bySuffix;
    }();
    const EXTENSION *const found = BY_SUFFIX.value(suffix);
    return found == nullptr && IsWrappedProgram(suffix) ? &WRAPPED_PROGRAM : found;
}

CheckImage::REASON OtherFormat(const EXTENSION &extension, const QString &text)
{
    const QString code = extension.kind == KIND_ARCHIVE ? QStringLiteral("compressed")
                                                        : QStringLiteral("other-format");
    return {code, text, CheckImage::tr(extension.advice)};
}

/// What the first bytes of a would-be image tell, if anything.
CheckImage::REASON WhyNotByContent(const QByteArray &head)
{
    if (head.startsWith("<!DOCTYP") || head.startsWith("<!doctyp") || head.startsWith("<html"))
        return {QStringLiteral("other-format"), CheckImage::tr("a web page by its content"),
                CheckImage::tr("Get it anew: the page stands where the file should have come.")};
    for (const MAGIC &magic : MAGICS) {
        if (head.startsWith(magic.bytes))
            return OtherFormat(
                *Find(QLatin1String(magic.suffix)),
                CheckImage::tr("a %1 file by its content").arg(QLatin1String(magic.name)));
    }
    return {};
}

CheckImage::REASON TooManyTracks(const AppImageKinds::KIND &kind, const AppImageKinds::KIND &served)
{
    const QString text =
        kind.errorBytes > 0
            ? CheckImage::tr("a %1 of %2 tracks with error bytes; the hub serves those of %3")
            : CheckImage::tr("a %1 of %2 tracks; the hub serves those of %3");
    return {QStringLiteral("too-many-tracks"),
            text.arg(QLatin1String(kind.name)).arg(kind.tracks).arg(served.tracks),
            CheckImage::tr("If nothing lies beyond track %1: head -c %2 OLD > NEW%3; else copy its "
                           "files to other images with c1541.")
                .arg(served.tracks)
                .arg(served.size)
                .arg(QLatin1String(served.extension))};
}

CheckImage::REASON ErrorBytes(const AppImageKinds::KIND &served)
{
    return {QStringLiteral("error-bytes"),
            CheckImage::tr("a %1 with error bytes; the hub serves those without")
                .arg(QLatin1String(served.name)),
            CheckImage::tr("Cut them off: head -c %1 OLD > NEW%2")
                .arg(served.size)
                .arg(QLatin1String(served.extension))};
}

CheckImage::REASON ExtraHeader(const AppImageKinds::KIND &kind)
{
    const QString text = kind.errorBytes > 0
                             ? CheckImage::tr("a %1 with error bytes behind a header of %2 bytes")
                             : CheckImage::tr("a %1 behind a header of %2 bytes");
    return {QStringLiteral("extra-header"),
            text.arg(QLatin1String(kind.name)).arg(kind.headerBytes),
            CheckImage::tr("Cut its header off: tail -c +%1 OLD > NEW%2")
                .arg(kind.headerBytes + 1)
                .arg(QLatin1String(kind.extension))};
}

CheckImage::REASON WhyNotBySize(qint64 size)
{
    const AppImageKinds::KIND *const kind = AppImageKinds::OfSize(size);
    if (kind == nullptr)
        return {};
    const AppImageKinds::KIND &served = *AppImageKinds::OfType(kind->type);
    switch (kind->status) {
    case AppImageKinds::TOO_MANY_TRACKS:
        return TooManyTracks(*kind, served);
    case AppImageKinds::ERROR_BYTES:
        return ErrorBytes(served);
    case AppImageKinds::EXTRA_HEADER:
        return ExtraHeader(*kind);
    case AppImageKinds::SERVED:
        break;
    }
    return {};
}

/// The sizes that an image should have, in words.
QString SizesOf(const QString &suffix)
{
    QStringList sizes; // without error bytes, then with them
    for (const AppImageKinds::KIND &kind : AppImageKinds::All()) {
        if (kind.status == AppImageKinds::SERVED &&
            suffix == QLatin1String(AppImageKinds::ListingType(kind.type)))
            sizes.append(QString::number(kind.size));
    }
    return sizes.size() > 1
               ? CheckImage::tr("%1 bytes, or %2 with error bytes").arg(sizes.at(0), sizes.at(1))
               : CheckImage::tr("%1 bytes").arg(sizes.value(0));
}

} // namespace

bool CheckImage::IsExpected(const QString &fileName)
{
    return Find(Suffix(fileName)) != nullptr;
}

bool CheckImage::IsProgram(const QString &fileName)
{
    const EXTENSION *const extension = Find(Suffix(fileName));
    return extension != nullptr && extension->kind == KIND_PROGRAM;
}

CheckImage::REASON CheckImage::WhyNot(const QString &fileName, qint64 size, const QByteArray &head)
{
    const QString suffix = Suffix(fileName);
    const EXTENSION *const extension = Find(suffix);
    if (extension == nullptr || extension->kind == KIND_PROGRAM)
        return {};

    const QString type = suffix.toUpper();
    if (extension->kind == KIND_ARCHIVE)
        return OtherFormat(*extension, tr("compressed (%1)").arg(type));
    if (extension->kind == KIND_WRAPPED)
        return OtherFormat(*extension, tr("a program with a header (%1)").arg(type));

    REASON byContent = WhyNotByContent(head);
    if (extension->kind == KIND_IMAGE && !byContent.code.isEmpty())
        return byContent;
    REASON bySize = WhyNotBySize(size);
    if (!bySize.code.isEmpty())
        return bySize;
    if (extension->kind == KIND_UPLOAD)
        return {QStringLiteral("wrong-size"),
                tr("%1 bytes; it was uploaded as a disk, but no disk has that size").arg(size),
                tr(extension->advice)};
    if (extension->kind == KIND_FORMAT)
        return OtherFormat(*extension,
                           tr("a %1; the hub serves D64, D71, D81, D80 and D82").arg(type));
    return {QStringLiteral("wrong-size"),
            tr("%1 bytes; a %2 has %3").arg(QString::number(size), type, SizesOf(suffix)),
            tr(extension->advice)};
}
