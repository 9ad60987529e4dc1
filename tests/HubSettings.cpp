// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#include "HubSettings.h"

#include "HostFiles.h"

#include <QFile>
#include <QHostAddress>
#include <QList>
#include <QNetworkInterface>

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
    return WriteFile(FilePath(), text);
}

QByteArray HubSettings::Read() const
{
    return ReadFile(FilePath());
}

bool HubSettings::Remove() const
{
    return QFile::remove(FilePath());
}
