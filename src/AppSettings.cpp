// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#include "AppSettings.h"

#include "MxMd5.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QLatin1String>
#include <QStringList>
#include <QVariant>
#include <QtGlobal>

#include <utility>

namespace
{

const QLatin1String ORGANISATION("Tesseline LLC");
const QLatin1String APPLICATION("Disk Hub");

// In the order in which they are read and written.
const QLatin1String DISK_PATH("media/disk_path");             // text
const QLatin1String PROGRAM_PATH("media/program_path");       // text
const QLatin1String VALIDATE("security/validate");            // bool
const QLatin1String PORT("server/port");                      // integer
const QLatin1String INTERFACE_NAME("server/active_ifc_name"); // text
const QLatin1String INTERFACE_ADDR("server/active_ifc_addr"); // text
const QLatin1String NUM_USERS("access/num_users");            // integer

// Patterns of a user's keys. All hold text but for "ro", which is written as an integer since
// existing stores have it so, and "own_dir", a bool; both are read as a bool.
const char *const USER_NAME = QT_TRANSLATE_NOOP("AppDiskHub", "access/user_%1/name");
const char *const USER_MD5 = QT_TRANSLATE_NOOP("AppDiskHub", "access/user_%1/md5");
const char *const USER_RO = QT_TRANSLATE_NOOP("AppDiskHub", "access/user_%1/ro");
const char *const USER_OWN_DIR = QT_TRANSLATE_NOOP("AppDiskHub", "access/user_%1/own_dir");
const char *const USER_DISK_DIR = QT_TRANSLATE_NOOP("AppDiskHub", "access/user_%1/disk_dir");
const char *const USER_PROGRAM_DIR = QT_TRANSLATE_NOOP("AppDiskHub", "access/user_%1/program_dir");

#if defined(Q_OS_UNIX) && !defined(Q_OS_DARWIN)
constexpr bool STORE_IS_A_FILE = true;
#else
constexpr bool STORE_IS_A_FILE = false; // The system keeps it, and keeps it private.
#endif

constexpr QFileDevice::Permissions OWNER_READS_AND_WRITES =
    QFileDevice::ReadOwner | QFileDevice::WriteOwner;

/// Makes the directory, and those that lead to it, if there is none.
void MakePrivateDirectory(const QString &path)
{
    QStringList missing; // the outermost first
    for (QString outer = path; !QFileInfo::exists(outer); outer = QFileInfo(outer).path())
        missing.prepend(outer);
    for (const QString &directory : std::as_const(missing)) {
        if (QDir().mkdir(directory))
            QFile::setPermissions(directory, OWNER_READS_AND_WRITES | QFileDevice::ExeOwner);
    }
}

/// Takes the file from everybody but its owner, and makes an empty one if there is none. One that
/// may not be written stays as it is.
void MakePrivateFile(const QString &path)
{
    MakePrivateDirectory(QFileInfo(path).path());
    QFile file(path);
    if (file.open(QIODevice::WriteOnly | QIODevice::Append))
        file.setPermissions(file.permissions() & OWNER_READS_AND_WRITES);
}

} // namespace

AppSettings::AppSettings(TRANSLATE translate)
    : mStore(ORGANISATION, APPLICATION), mTranslate(translate)
{
}

AppSettings::HUB AppSettings::Hub() const
{
    HUB hub;
    hub.diskPath = mStore.value(DISK_PATH, hub.diskPath).toString();
    hub.programPath = mStore.value(PROGRAM_PATH, hub.programPath).toString();
    hub.validate = mStore.value(VALIDATE, hub.validate).toBool();
    hub.port = mStore.value(PORT, hub.port).toInt();
    return hub;
}

QString AppSettings::InterfaceName() const
{
    return mStore.value(INTERFACE_NAME).toString();
}

QString AppSettings::InterfaceAddr() const
{
    return mStore.value(INTERFACE_ADDR).toString();
}

int AppSettings::NumUsers() const
{
    return mStore.value(NUM_USERS, 0).toInt();
}

AppSettings::USER AppSettings::User(int index) const
{
    const auto value = [&](const char *pattern, const QVariant &absent) {
        return mStore.value(UserKey(pattern, index), absent);
    };
    USER user;
    user.name = value(USER_NAME, user.name).toString();
    user.md5 = value(USER_MD5, user.md5).toString();
    user.ro = value(USER_RO, user.ro).toBool();
    user.own_dir = value(USER_OWN_DIR, user.own_dir).toBool();
    user.disk_dir = value(USER_DISK_DIR, user.disk_dir).toString();
    user.program_dir = value(USER_PROGRAM_DIR, user.program_dir).toString();
    return user;
}

void AppSettings::SetHub(const HUB &hub)
{
    mStore.setValue(DISK_PATH, hub.diskPath);
    mStore.setValue(PROGRAM_PATH, hub.programPath);
    mStore.setValue(VALIDATE, hub.validate);
    mStore.setValue(PORT, hub.port);
}

void AppSettings::SetInterface(const QString &name, const QString &addr)
{
    mStore.setValue(INTERFACE_NAME, name);
    mStore.setValue(INTERFACE_ADDR, addr);
}

void AppSettings::SetNumUsers(int count)
{
    mStore.setValue(NUM_USERS, count);
}

void AppSettings::SetUser(int index, const USER &user)
{
    mStore.setValue(UserKey(USER_NAME, index), user.name);
    mStore.setValue(UserKey(USER_MD5, index), user.md5);
    mStore.setValue(UserKey(USER_RO, index), user.ro ? 1 : 0);
    mStore.setValue(UserKey(USER_OWN_DIR, index), user.own_dir);
    mStore.setValue(UserKey(USER_DISK_DIR, index), user.disk_dir);
    mStore.setValue(UserKey(USER_PROGRAM_DIR, index), user.program_dir);
}

void AppSettings::Save()
{
    // Before anything is written: what then takes the place of the file has the file's mode from
    // the start, so that others can read it at no time.
    if (STORE_IS_A_FILE)
        MakePrivateFile(mStore.fileName());
    mStore.sync();
}

QString AppSettings::EmptyPasswordDigest()
{
    return MxMd5::HashDataToString("", 0);
}

QString AppSettings::Untranslated(const char *pattern)
{
    return QString::fromLatin1(pattern);
}

QString AppSettings::UserKey(const char *pattern, int index) const
{
    return mTranslate(pattern).arg(index);
}
