// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#include "CheckSettings.h"

#include "AppSettings.h"

#include <QStringList>

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
    const AppSettings settings;
    const AppSettings::HUB saved = settings.Hub();
    CheckShelf::PLACE hub;
    hub.diskDirectory = saved.diskPath;
    hub.programDirectory = saved.programPath;
    QVector<CheckShelf::PLACE> places{hub};

    const int count = settings.NumUsers();
    for (int i = 0; i < count; ++i) {
        const AppSettings::USER user = settings.User(i);
        if (!user.own_dir)
            continue;
        CheckShelf::PLACE own;
        own.users = QStringList(user.name);
        own.inUse = saved.validate;
        own.diskDirectory = user.disk_dir;
        own.programDirectory = user.program_dir;
        AddUser(own, &places);
    }
    return places;
}
