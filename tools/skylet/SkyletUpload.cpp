// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#include "SkyletUpload.h"

#include "AppImageKinds.h"
#include "AppMediaMgr.h"
#include "AppPackageFormat.h"
#include "MxEndian.h"

#include <QDir>
#include <QFileInfo>

#include <algorithm>

namespace
{

/// Returns 0, or -1 if the Commodore has no such name.
int MakeName(const QString &text, AppDosName *name)
{
    const bool fits = std::all_of(text.begin(), text.end(), [](QChar c) {
        return c.unicode() != 0 && c.unicode() <= 0xFF && c.unicode() != AppDosName::PADDING;
    });
    if (text.isEmpty() || !fits)
        return -1;
    name->FromString(text, true);
    return 0;
}

void AskToReplace(QByteArray *package)
{
    const int count = MxEndian::LeAt<quint8>(*package, AppPackageFormat::PACKAGE_COUNT_OFFSET);
    for (int i = 0; i < count; ++i) {
        char *const entry = package->data() + AppPackageFormat::EntryOffset(i);
        entry[AppPackageFormat::ENTRY_FLAGS_OFFSET] =
            static_cast<char>(AppPackageFormat::FLAG_REPLACE);
    }
}

/// Reads one file into the package. Returns 0 or -1.
int AddFile(const SkyletUpload::OBJECT &object, AppPackage *package)
{
    QByteArray data;
    if (!AppMediaMgr::Instance().Read(QFileInfo(object.path), &data) || data.isEmpty())
        return -1;
    if (object.isProgram)
        return package->SetProgram(object.name, data);
    if (AppImageKinds::TypeOfSize(data.size()) != object.type)
        return -1;
    package->AddDisk(object.type, object.name, data);
    return 0;
}

} // namespace

int SkyletUpload::Identify(const QString &path, const QString &name, OBJECT *object, QString *error)
{
    const QFileInfo info(path);
    const QString shown = QDir::toNativeSeparators(path);
    object->path = path;
    object->isProgram = info.suffix().compare(QLatin1String("prg"), Qt::CaseInsensitive) == 0;
    const int type = AppImageKinds::TypeOfSize(info.size());
    const bool isTooLarge = info.size() > AppMediaMgr::READ_SIZE_MAX; // for any kind of file
    if (!isTooLarge && !AppMediaMgr::Instance().Read(info, nullptr)) {
        *error = tr("%1 cannot be read").arg(shown);
        return -1;
    }
    if (!object->isProgram && type == AppImageKinds::NO_DISKTYPE) {
        *error = tr("%1 is neither a program (.prg) nor, with %2 bytes, a disk image")
                     .arg(shown, QString::number(info.size()));
        return -1;
    }
    if (object->isProgram && info.size() == 0) {
        *error = tr("%1 is empty, which a hub takes for no program").arg(shown);
        return -1;
    }
    if (!object->isProgram)
        object->type = static_cast<AppPackage::DISKTYPE>(type);
    if (MakeName(name.isEmpty() ? info.baseName() : name, &object->name) != 0) {
        *error = tr("%1 has no name that a Commodore can write; --as gives it one").arg(shown);
        return -1;
    }
    return 0;
}

QVector<QVector<SkyletUpload::OBJECT>> SkyletUpload::Plan(const QVector<OBJECT> &objects)
{
    QVector<OBJECT> programs;
    QVector<OBJECT> disks;
    for (const OBJECT &object : objects)
        (object.isProgram ? programs : disks).append(object);

    QVector<QVector<OBJECT>> packages;
    while (!programs.isEmpty() || !disks.isEmpty()) {
        QVector<OBJECT> package;
        if (!programs.isEmpty())
            package.append(programs.takeFirst());
        while (!disks.isEmpty() && package.size() < AppPackageFormat::OBJECTS_MAX)
            package.append(disks.takeFirst());
        packages.append(package);
    }
    return packages;
}

int SkyletUpload::Pack(const QVector<OBJECT> &objects, REPLACE replace, QByteArray *package,
                       QString *error)
{
    AppPackage content;
    for (const OBJECT &object : objects) {
        if (AddFile(object, &content) != 0) {
            *error = tr("%1 changed, or cannot be read").arg(QDir::toNativeSeparators(object.path));
            return -1;
        }
    }
    package->clear();
    content.Export(package);
    // Export never asks for it: in a reply it would mean nothing.
    if (replace == REPLACE_EXISTING)
        AskToReplace(package);
    return 0;
}
