// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QByteArray>
#include <QString>
#include <QTemporaryDir>

/// A settings store of the test program's own, at first with a free port of the loopback interface.
///
/// One per program, made before anything that reads settings: Qt looks up the place only once.
class HubSettings
{
public:
    HubSettings();

    QString FilePath() const;

    /// The section "[server]" that makes a hub listen on a free port of 127.0.0.1. Other sections
    /// can follow.
    static QByteArray Loopback();

    /// Replaces the whole store by the text of an INI file.
    bool Write(const QByteArray &text) const;

    /// The INI file as it is, empty if there is none.
    QByteArray Read() const;

    bool Remove() const;

    /// Replaces the settings that a program finds in the file `path` by the text of an INI file. On
    /// Windows it finds them in the registry, which all programs of the user have in common; the
    /// file is then only how tests see it.
    static bool WriteStore(const QString &path, const QByteArray &text);

    /// What WriteStore wrote, or a program since; empty if there is nothing.
    static QByteArray ReadStore(const QString &path);

private:
    const QTemporaryDir mHome;
};
