// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QSettings>
#include <QString>

/// The hub's settings in the platform's store for this user: their keys, types and defaults.
///
/// Made afresh for each load and each save. Nothing is checked: a key that is absent or cannot be
/// read has its default, a value of another type is converted as the toolkit does.
class AppSettings
{
public:
    /// What the hub serves and where it listens.
    struct HUB {
        QString diskPath; ///< empty while none was chosen
        QString programPath;
        bool validate = false; ///< access is restricted to the users
        int port = 80;
    };

    /// One user of the access restrictions; one that is new has the defaults.
    struct USER {
        QString name = QStringLiteral("unknown");
        QString md5 = EmptyPasswordDigest(); ///< compared as text with what the device sends
        bool ro = false;                     ///< may not upload
        bool own_dir = false; ///< works on the two directories below, not on the hub's
        QString disk_dir;
        QString program_dir;
    };

    /// Gives the pattern of a user's key, for example "access/user_%1/name" with the user's index
    /// in place of "%1", in the language of the store. The patterns are texts of AppDiskHub.
    using TRANSLATE = QString (*)(const char *pattern);

    /// Opens the store; the keys of users stand in it as `translate` gives them.
    explicit AppSettings(TRANSLATE translate = Untranslated);

    HUB Hub() const;

    // The interface that the hub listens on: its name as people read it and its address as text.
    // Empty if none was saved.
    QString InterfaceName() const;
    QString InterfaceAddr() const;

    /// As it is stored: 0 or less if there are none.
    int NumUsers() const;

    /// The user at `index`, from 0. One past NumUsers() may be left from a former save.
    USER User(int index) const;

    // Save() must follow and writes what was set. What was not set stays in the store as it was.
    void SetHub(const HUB &hub);
    void SetInterface(const QString &name, const QString &addr);
    void SetNumUsers(int count);
    void SetUser(int index, const USER &user);

    /// Writes what was set. The store's file, and the directories that are made for it, are their
    /// owner's alone, since it holds the digests; a directory that exists keeps its mode. A store
    /// that cannot be written stays as it is.
    void Save();

private:
    static QString EmptyPasswordDigest();
    static QString Untranslated(const char *pattern);
    QString UserKey(const char *pattern, int index) const;

    QSettings mStore;
    TRANSLATE mTranslate;
};
