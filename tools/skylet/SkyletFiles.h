// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#pragma once

#include "AppDosName.h"
#include "AppPackage.h"

#include <QByteArray>
#include <QCoreApplication>
#include <QSet>
#include <QString>

/// The files that skylet writes.
///
/// Their names come from the network and stay in the chosen directory; a file appears whole or not
/// at all; what exists is only replaced when that was asked for, and a link never.
class SkyletFiles
{
    Q_DECLARE_TR_FUNCTIONS(SkyletFiles)

public:
    enum OVERWRITE { KEEP_EXISTING, REPLACE_EXISTING };

    /// The extension of an image, without dot; empty for a number that is no DISKTYPE.
    static QString Extension(AppPackage::DISKTYPE type);

    /// The name with the extension as the name of a file that any system takes: "_" stands for
    /// what one of them refuses. Two calls on the same object never give the same name, not even
    /// in other letter case: the later one gets a number.
    QString UniqueName(const AppDosName &name, const QString &extension);

    /// The same without the number, for a single file.
    static QString SafeName(const AppDosName &name, const QString &extension);

    /// Writes a file. Returns 0, or -1 with a clause for people in `*error` and the file, if there
    /// is one, as it was.
    static int Write(const QString &path, const QByteArray &data, OVERWRITE overwrite,
                     QString *error);

private:
    QSet<QString> mUsed; ///< names in lower case
};
