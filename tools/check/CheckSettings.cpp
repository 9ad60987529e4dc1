// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#include "CheckSettings.h"

#include <QLatin1String>
#include <QSettings>
#include <QString>
#include <QVariant>

#include <algorithm>

namespace
{

/// Adds the user to the place of these directories, which is made if there is none.
void AddUser(const CheckShelf::PLACE &own, QVector<CheckShelf::PLACE> *places)
{
    const auto found =
        std::find_if(places->begin() + 1, places->end(), [&](const CheckShelf::PLACE &place) {
            return place.diskDirectory == own.diskDirectory &&
                   place.programDirectory == own.programDirectory;
        });
    if (found == places->end())
        places->append(own);
    else
        found->users.append(own.users);
}

} // namespace

QVector<CheckShelf::PLACE> CheckSettings::Places()
{
    const QSettings settings(QStringLiteral("Tesseline LLC"), QStringLiteral("Disk Hub"));
    const auto text = [&](const QString &key) { return settings.value(key).toString(); };

    CheckShelf::PLACE hub;
    hub.diskDirectory = text(QStringLiteral("media/disk_path"));
    hub.programDirectory = text(QStringLiteral("media/program_path"));
    QVector<CheckShelf::PLACE> places{hub};

    const bool restricted = settings.value(QStringLiteral("security/validate"), false).toBool();
    const int count = settings.value(QStringLiteral("access/num_users"), 0).toInt();
    for (int i = 0; i < count; ++i) {
        const QString user = QStringLiteral("access/user_%1/").arg(i);
        if (!settings.value(user + QStringLiteral("own_dir"), false).toBool())
            continue;
        CheckShelf::PLACE own;
        own.users = QStringList(
            settings.value(user + QStringLiteral("name"), QStringLiteral("unknown")).toString());
        own.inUse = restricted;
        own.diskDirectory = text(user + QStringLiteral("disk_dir"));
        own.programDirectory = text(user + QStringLiteral("program_dir"));
        AddUser(own, &places);
    }
    return places;
}
