// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#pragma once

#include "AppDosName.h"
#include "AppPackageFormat.h"

#include <QByteArray>
#include <QVector>

/// What hub and device exchange: at most one program, disk images and a result code.
///
/// Export() and Import() are its wire form: a header of 496 bytes with 20 directory entries of 24
/// bytes, then the data block of each object. Integers are little-endian.
class AppPackage
{
public:
    /// The result code of a request, as the device gets it.
    enum RESULT : qint32 {
        RESULT_OK = 0,
        RESULT_WRITE_ERROR = -1,     ///< a file could not be written
        RESULT_BAD_VERSION = -84,    ///< the package's version is not 0
        RESULT_READ_ONLY = -85,      ///< an upload by a read-only user
        RESULT_DISK_EXISTS = -87,    ///< and the upload did not ask to replace it
        RESULT_PROGRAM_EXISTS = -88, ///< and the upload did not ask to replace it
        RESULT_AUTH_FAILURE = -89,   ///< unknown user or wrong password
    };

    enum DISKTYPE : qint32 {
        DISK_D64 = 0,
        DISK_D71 = 1,
        DISK_D81 = 2,
        DISK_D80 = 3,
        DISK_D82 = 4,
    };

    struct PROGRAM {
        AppDosName name;
        QByteArray data;      ///< as in a ".prg" file: load address and bytes; empty for no program
        bool replace = false; ///< the device asks to overwrite; set by Import() only
        QByteArray source =
            {}; ///< keeps the bytes that `data` is a view of; null if it has its own
    };

    struct DISK {
        DISKTYPE type;
        AppDosName name;
        QByteArray data;      ///< the image, unpadded
        bool replace = false; ///< the device asks to overwrite; set by Import() only
        QByteArray source =
            {}; ///< keeps the bytes that `data` is a view of; null if it has its own
    };

    /// An object ready for export.
    struct OBJECTINFO {
        char entry[AppPackageFormat::ENTRY_SIZE]; ///< its directory entry, as on the wire
        QByteArray block;                         ///< its data block
    };

    AppPackage() = default;
    ~AppPackage();
    AppPackage(const AppPackage &) = delete;
    AppPackage &operator=(const AppPackage &) = delete;

    int NumDisks() const;
    const PROGRAM &Program() const;

    /// The disk at `index`, 0 to NumDisks() - 1, which is not checked. The package owns it.
    const DISK *Disk(int index) const;

    /// Replaces the program's name and data. Returns 0.
    int SetProgram(const AppDosName &name, const QByteArray &data);

    /// Appends a disk. Returns its index.
    int AddDisk(DISKTYPE type, const AppDosName &name, const QByteArray &data);

    /// Appends one object: the program's data as it is.
    void Pack(const PROGRAM &object, QVector<OBJECTINFO> *objects) const;

    /// Appends one object: a disk header of 4096 bytes and the image, padded to a multiple of 4096.
    void Pack(const DISK &object, QVector<OBJECTINFO> *objects) const;

    /// Bytes of the wire form.
    qsizetype ExportSize() const;

    /// The wire form, to be sent one piece after the other: the program if it has data, then as
    /// many disks as fit into AppPackageFormat::OBJECTS_MAX. The rest is left out without a word.
    ///
    /// Images and long programs are pieces of their own that share the package's bytes; the short
    /// stretches between them are joined. The pieces stay valid without the package.
    QVector<QByteArray> Pieces() const;

    /// Appends the wire form, the pieces joined, to `*out`. Returns 0.
    int Export(QByteArray *out) const;

    /// Adds the objects of the wire form `in` and takes its result code; a program replaces the one
    /// here. What follows the last object is ignored.
    ///
    /// The objects' data are views of `in`, however often its entries name the same bytes; each
    /// object keeps a share of `in`, so it needs none elsewhere. What `in` does not own is copied
    /// first, once.
    ///
    /// Returns 0, or -1 and leaves the package as it was if `in` has another magic or is too short
    /// for its header, one of its entries or a disk header. Data that end early are taken as far as
    /// they go. Another version than 0 gives RESULT_BAD_VERSION and no objects.
    int Import(const QByteArray &in);

    /// The same for a wire form that is the `size` bytes at `offset` of `bytes`.
    int Import(const QByteArray &bytes, qsizetype offset, qsizetype size);

    qint32 result = RESULT_OK; ///< a RESULT, or whatever byte an imported package carried
    QVector<DISK *> disks;     ///< owned, in the order added
    PROGRAM program;
};
