// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#include "HubSettings.h"

#include "HostFiles.h"

#include <QFile>
#include <QHostAddress>
#include <QList>
#include <QNetworkInterface>
#include <QSettings>

namespace
{

QString LoopbackName()
{
    const QList<QNetworkInterface> interfaces = QNetworkInterface::allInterfaces();
    for (const QNetworkInterface &interface : interfaces) {
        const QList<QNetworkAddressEntry> entries = interface.addressEntries();
        for (const QNetworkAddressEntry &entry : entries) {
            if (entry.ip() == QHostAddress(QHostAddress::LocalHost))
                return interface.humanReadableName();
        }
    }
    return QStringLiteral("lo");
}

#ifdef Q_OS_WIN
const QString ORGANISATION = QStringLiteral("Tesseline LLC");
const QString APPLICATION = QStringLiteral("Disk Hub");

void Copy(const QSettings &from, QSettings *to)
{
    const QStringList keys = from.allKeys();
    for (const QString &key : keys)
        to->setValue(key, from.value(key));
    to->sync();
}
#endif

} // namespace

HubSettings::HubSettings()
{
    qputenv("XDG_CONFIG_HOME", QFile::encodeName(mHome.path()));
    qputenv("XDG_CONFIG_DIRS", QFile::encodeName(mHome.filePath(QStringLiteral("system"))));
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    qputenv("XDG_RUNTIME_DIR", QFile::encodeName(mHome.path()));
    Write(Loopback());
}

QString HubSettings::FilePath() const
{
    return mHome.filePath(QStringLiteral("Tesseline LLC/Disk Hub.conf"));
}

QByteArray HubSettings::Loopback()
{
    return "[server]\nport=0\nactive_ifc_name=" + LoopbackName().toUtf8() +
           "\nactive_ifc_addr=127.0.0.1\n";
}

bool HubSettings::Write(const QByteArray &text) const
{
    return WriteStore(FilePath(), text);
}

QByteArray HubSettings::Read() const
{
    return ReadStore(FilePath());
}

#ifdef Q_OS_WIN

bool HubSettings::Remove() const
{
    QSettings(ORGANISATION, APPLICATION).clear();
    return QFile::remove(FilePath());
}

bool HubSettings::WriteStore(const QString &path, const QByteArray &text)
{
    if (!WriteFile(path, text))
        return false;
    QSettings registry(ORGANISATION, APPLICATION);
    registry.clear();
    Copy(QSettings(path, QSettings::IniFormat), &registry);
    return registry.status() == QSettings::NoError;
}

QByteArray HubSettings::ReadStore(const QString &path)
{
    QSettings file(path, QSettings::IniFormat);
    file.clear();
    Copy(QSettings(ORGANISATION, APPLICATION), &file);
    return ReadFile(path).replace("\r\n", "\n");
}

#else

bool HubSettings::Remove() const
{
    return QFile::remove(FilePath());
}

bool HubSettings::WriteStore(const QString &path, const QByteArray &text)
{
    return WriteFile(path, text);
}

QByteArray HubSettings::ReadStore(const QString &path)
{
    return ReadFile(path);
}

#endif
