// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#include "SkyletFiles.h"

#include "AppImageKinds.h"

#include <QDir>
#include <QFileInfo>
#include <QSaveFile>

namespace
{

const char REFUSED_CHARACTERS[] = "/\\:*?\"<>|";

// Windows takes these for devices, with any extension; "com" and "lpt" with a digit behind.
const char *const DEVICES[] = {"con", "prn", "aux", "nul", "com", "lpt"};

bool IsRefused(QChar c)
{
    return c.category() == QChar::Other_Control || QLatin1String(REFUSED_CHARACTERS).contains(c);
}

bool IsDevice(const QString &name)
{
    QString stem = name.section(QLatin1Char('.'), 0, 0).trimmed().toLower();
    if (stem.size() == 4 && stem.at(3).isDigit())
        stem.chop(1);
    for (const char *device : DEVICES) {
        if (stem == QLatin1String(device))
            return true;
    }
    return false;
}

QString SafeStem(const AppDosName &name)
{
    QString text;
    name.ToString(&text, true);
    for (QChar &c : text) {
        if (IsRefused(c))
            c = QLatin1Char('_');
    }
    if (text.isEmpty())
        text = QStringLiteral("unnamed");
    // A hidden file would be missed, and ".." is a directory.
    if (text.startsWith(QLatin1Char('.')) || IsDevice(text))
        text.prepend(QLatin1Char('_'));
    return text;
}

} // namespace

QString SkyletFiles::Extension(AppPackage::DISKTYPE type)
{
    return QLatin1String(AppImageKinds::ListingType(type));
}

QString SkyletFiles::UniqueName(const AppDosName &name, const QString &extension)
{
    const QString stem = SafeStem(name);
    QString unique = SafeName(name, extension);
    for (int i = 2; mUsed.contains(unique.toLower()); ++i)
        unique = QStringLiteral("%1-%2.%3").arg(stem, QString::number(i), extension);
    mUsed.insert(unique.toLower());
    return unique;
}

QString SkyletFiles::SafeName(const AppDosName &name, const QString &extension)
{
    return SafeStem(name) + QLatin1Char('.') + extension;
}

int SkyletFiles::Write(const QString &path, const QByteArray &data, OVERWRITE overwrite,
                       QString *error)
{
    const QFileInfo info(path);
    const QString shown = QDir::toNativeSeparators(path);
    if (info.isSymLink()) {
        *error = tr("%1 is a link, which skylet does not write through").arg(shown);
        return -1;
    }
    if (info.exists() && !info.isFile()) {
        *error = tr("%1 exists and is no file").arg(shown);
        return -1;
    }
    if (info.exists() && overwrite == KEEP_EXISTING) {
        *error = tr("%1 exists already; --force replaces it").arg(shown);
        return -1;
    }

    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(data) != data.size() || !file.commit()) {
        *error = tr("%1 cannot be written: %2").arg(shown, file.errorString());
        return -1;
    }
    return 0;
}
