// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QByteArray>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QHostAddress>
#include <QList>
#include <QNetworkInterface>
#include <QString>
#include <QTemporaryDir>

/// A settings store of the test program's own, at first with a free port of the loopback interface.
///
/// One per program, made before anything that reads settings: Qt looks up the place only once.
class HubSettings
{
public:
    HubSettings()
    {
        qputenv("XDG_CONFIG_HOME", QFile::encodeName(mHome.path()));
        qputenv("XDG_CONFIG_DIRS", QFile::encodeName(mHome.filePath(QStringLiteral("system"))));
        if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
            qputenv("QT_QPA_PLATFORM", "offscreen");
        qputenv("XDG_RUNTIME_DIR", QFile::encodeName(mHome.path()));
        Write(Loopback());
    }

    QString FilePath() const
    {
        return mHome.filePath(QStringLiteral("Tesseline LLC/Disk Hub.conf"));
    }

    /// The section "[server]" that makes a hub listen on a free port of 127.0.0.1. Other sections
    /// can follow.
    static QByteArray Loopback()
    {
        return "[server]\nport=0\nactive_ifc_name=" + LoopbackName().toUtf8() +
               "\nactive_ifc_addr=127.0.0.1\n";
    }

    /// Replaces the whole store by the text of an INI file.
    bool Write(const QByteArray &text) const
    {
        QDir().mkpath(QFileInfo(FilePath()).path());
        QFile file(FilePath());
        return file.open(QIODevice::WriteOnly) && file.write(text) == text.size() && file.flush();
    }

    /// The INI file as it is, empty if there is none.
    QByteArray Read() const
    {
        QFile file(FilePath());
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }

    bool Remove() const { return QFile::remove(FilePath()); }

private:
    static QString LoopbackName()
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

    QTemporaryDir mHome;
};
