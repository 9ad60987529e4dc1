// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#include "SkyletFiles.h"

#include "AppImageKinds.h"
#include "AppWindowsName.h"

#include <QDir>
#include <QFileInfo>
#include <QSaveFile>

namespace
{

const char REFUSED_CHARACTERS[] = "/\\:*?\"<>|";

bool IsRefused(QChar c)
{
    return c.category() == QChar::Other_Control || QLatin1String(REFUSED_CHARACTERS).contains(c);
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
    if (text.startsWith(QLatin1Char('.')) || AppWindowsName::IsNoFile(text))
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
