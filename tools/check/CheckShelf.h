// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#pragma once

#include "CheckRemark.h"
#include "CheckServed.h"

#include <QCoreApplication>
#include <QString>
#include <QStringList>
#include <QVector>

#include <optional>

/// What the hub serves from one disk directory and one program directory, as one request sees them,
/// and what is to be said about it. A plain value.
class CheckShelf
{
    Q_DECLARE_TR_FUNCTIONS(CheckShelf)

public:
    static constexpr qint64 C64_MEMORY = 38911;  ///< bytes free for BASIC
    static constexpr qint64 VIC20_MEMORY = 3583; ///< the same, without an expansion

    /// Two directories that a request works on.
    struct PLACE {
        QStringList users; ///< whose own they are; empty for the hub's
        bool inUse = true; ///< false for users' own ones while access is not restricted
        /// As in the settings: an empty one was never chosen. One that is not asked about is null.
        std::optional<QString> diskDirectory;
        std::optional<QString> programDirectory;
    };

    /// One of the two directories.
    struct SECTION {
        CheckServed served;
        QVector<CheckRemark> remarks; ///< those on the directory itself come first, then by file
    };

    /// Looks through both directories, which may take seconds; changes nothing on the host.
    static CheckShelf Look(const PLACE &place);

    const PLACE &Place() const;

    /// Null if it is not asked about.
    const std::optional<SECTION> &Disks() const;
    const std::optional<SECTION> &Programs() const;

    /// Bytes of the listing that a SEARCH for everything sends.
    qint64 ListingSize() const;

    /// Bytes that it takes in a Commodore, which does not keep the load address.
    qint64 ListingMemory() const;

    /// What is to be said about the listing.
    QVector<CheckRemark> ListingRemarks() const;

    /// Of the two directories and the listing.
    qsizetype NumRemarks() const;

private:
    explicit CheckShelf(const PLACE &place);
    void RemarkOnUnserved();

    PLACE mPlace;
    std::optional<SECTION> mDisks;
    std::optional<SECTION> mPrograms;
};
