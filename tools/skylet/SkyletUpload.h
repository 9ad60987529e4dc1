// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#pragma once

#include "AppDosName.h"
#include "AppPackage.h"

#include <QByteArray>
#include <QCoreApplication>
#include <QString>
#include <QVector>

/// Files on their way to a hub: what each is, and how they go into packages.
class SkyletUpload
{
    Q_DECLARE_TR_FUNCTIONS(SkyletUpload)

public:
    enum REPLACE { KEEP_EXISTING, REPLACE_EXISTING };

    /// A file that can be sent.
    struct OBJECT {
        QString path;
        AppDosName name;
        bool isProgram = false;
        AppPackage::DISKTYPE type = AppPackage::DISK_D64; ///< of a disk
    };

    /// What the file is: a program by its extension ".prg", a disk image by its size. Its
    /// name on the hub is `name` or, if that is empty, what stands before the first dot of the
    /// file's name. Returns 0, or -1 with a clause for people in `*error`.
    static int Identify(const QString &path, const QString &name, OBJECT *object, QString *error);

    /// As few packages as hold all objects: at most 20 in each and at most one program among them.
    /// Programs and disks keep their order.
    static QVector<QVector<OBJECT>> Plan(const QVector<OBJECT> &objects);

    /// Reads the files and makes one package of them. Returns 0, or -1 with a clause for people in
    /// `*error`, also if a file is not what it was.
    static int Pack(const QVector<OBJECT> &objects, REPLACE replace, QByteArray *package,
                    QString *error);
};
