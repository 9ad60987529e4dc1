// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QString>
#include <QVector>

/// Looks through a directory tree for what the hub's searches pass over.
///
/// The media manager says what is served; this finds the rest, so it reports more than a search
/// sees: hidden entries, links, and what is no file. It only reads directories.
class CheckTree
{
public:
    enum KIND {
        KIND_FILE,                 ///< a regular file, or a link to one
        KIND_HIDDEN_FILE,          ///< by a leading dot
        KIND_HIDDEN_DIRECTORY,     ///< with at least one expected file in it
        KIND_SPECIAL,              ///< a pipe, a socket or a device
        KIND_LINKED_DIRECTORY,     ///< a link to a directory
        KIND_BROKEN_LINK,          ///< a link to what is not there, or to itself
        KIND_UNREADABLE_DIRECTORY, ///< its entries cannot be listed
        KIND_UNDECODABLE,          ///< a name whose bytes are no text in the host's encoding
    };

    struct ITEM {
        KIND kind;
        QString path; ///< relative to the root, empty for the root itself
    };

    /// The items below `root`, in no particular order. Files count only if their extension is one
    /// that CheckImage expects. Links to directories are not followed.
    static QVector<ITEM> Walk(const QString &root);
};
