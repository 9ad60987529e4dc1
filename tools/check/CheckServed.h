// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#pragma once

#include "CheckEntry.h"

#include <QSet>
#include <QString>
#include <QVector>

/// What the hub serves from one directory of disks or of programs. A plain value.
class CheckServed
{
public:
    enum ROLE {
        ROLE_DISKS,
        ROLE_PROGRAMS,
    };

    /// Asks the media manager for everything. `directory` is as in the settings: empty if none was
    /// chosen, which gives no entries, as one does that is not there.
    static CheckServed Find(ROLE role, const QString &directory);

    ROLE Role() const;

    /// Absolute; empty if none was chosen.
    QString Directory() const;

    /// The same without any link; empty if it does not exist.
    QString CanonicalDirectory() const;

    /// In the order of the listing.
    const QVector<CheckEntry> &Entries() const;

    /// Whether SEARCH lists the file, which is relative to the directory.
    bool Lists(const QString &file) const;

    /// Whether SEARCH lists the file at `path`, which is absolute and leads there without a link to
    /// a directory.
    bool Serves(const QString &path) const;

    /// Whether a DOWNLOAD of the entry sends nothing because there is nothing in it: a program
    /// without data is left out of a package.
    bool IsEmpty(const CheckEntry &entry) const;

private:
    CheckServed(ROLE role, const QString &directory);
    void Search();
    void Reserve(qsizetype size);
    void Append(const AppDosName &name, const char *type, const QFileInfo &info);
    bool IsSent(int index) const;

    ROLE mRole;
    QString mDirectory;
    QString mCanonical;
    QVector<CheckEntry> mEntries;
    QSet<QString> mFiles; ///< of the entries
};
