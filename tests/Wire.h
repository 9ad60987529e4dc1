// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#pragma once

// What hub and device exchange, byte by byte: names, packages, requests and replies as a test makes
// and reads them, without a class of the hub.

#include <QByteArray>
#include <QList>
#include <QPair>

/// The 16 bytes of a DOS name from those before the padding.
QByteArray NameField(const QByteArray &petscii);

/// The 16 bytes of the DOS name that the hub makes of a host's `text` (Latin-1).
QByteArray PetsciiName(const char *text);

/// Bytes in which no two blocks are alike, nor those of two seeds.
QByteArray Image(int size, unsigned int seed = 0);

/// One object of a package, as the device sends or gets it.
struct WireObject {
    enum { PROGRAM = 0, DISK = 1 };

    int type = PROGRAM;
    bool replace = false;
    QByteArray name; ///< 16 bytes
    QByteArray data; ///< a disk's without its header and padding
    int diskType = 0;
};

/// A package, read and written byte by byte: tests must see what the device sees, so this knows
/// nothing of AppPackage.
struct WirePackage {
    bool valid = false; ///< sizes, magics and reserved bytes are as documented
    int result = 0;
    QList<WireObject> objects;

    QByteArray Bytes() const;

    /// The package that these bytes are. At the first one that is not as documented reading ends:
    /// what came before is there, and the package is not valid.
    static WirePackage FromBytes(const QByteArray &in);
};

/// A disk or a program of that name on the host.
WireObject Disk(const char *name, const QByteArray &data, int diskType, bool replace);
WireObject ProgramObject(const char *name, const QByteArray &data);

/// The bytes of a package without objects.
QByteArray EmptyPackage(int result = 0);

/// A line of a directory listing: link, line number 0, the quoted name in 22 bytes, the type.
QByteArray ListingEntry(const QByteArray &name, const QByteArray &type);

/// A whole listing: load address, the title in reverse video, the entries, the null link.
QByteArray Listing(const QByteArray &title, const QByteArray &entries);

/// What comes back before a body of that size.
QByteArray HeadFor(qsizetype bodySize);

/// What came back on a connection before the hub closed it; empty without a reply.
struct HubReply {
    QByteArray raw;

    QByteArray Head() const { return raw.left(raw.indexOf("\r\n\r\n") + 4); }
    QByteArray Body() const { return raw.mid(Head().size()); }
    WirePackage Package() const { return WirePackage::FromBytes(Body()); }
};

/// A field of a form: name and value.
using HubField = QPair<QByteArray, QByteArray>;

/// A whole request with `body`. The content type needs no line end.
QByteArray HttpPost(const QByteArray &contentType, const QByteArray &body);

/// A request with a URL-encoded form, every byte of the values (UTF-8) as "%XX".
QByteArray FormRequest(const QList<HubField> &fields);

/// A request with multipart form-data: the fields as they are, then `package` as the file
/// "package" unless it is empty.
QByteArray MultipartRequest(const QList<HubField> &fields, const QByteArray &package);

/// The device's three commands. Its identifier is 42.
QByteArray SearchRequest(const QByteArray &pattern);
QByteArray DownloadRequest(const char *req, const QByteArray &pattern);
QByteArray UploadRequest(const QList<WireObject> &objects);
QByteArray UploadRequest(const WireObject &object);
