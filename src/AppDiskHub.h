// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#pragma once

#include "AppPendingReplies.h"
#include "AppSettings.h"

#include <QApplication>
#include <QHostAddress>
#include <QList>
#include <QString>

#include <memory>
#include <vector>

class AppDeviceTransaction;
class AppDiskNames;
class AppMainWindow;
class AppPackage;
class QTcpServer;

/// The hub: the application object, the server, its users and settings, and the device's commands.
///
/// There is one, reached through Instance(). Its members are public: the windows show and change
/// them directly. All of it runs on the GUI thread.
class AppDiskHub : public QApplication
{
    Q_OBJECT

public:
    /// One IPv4 address to listen on.
    struct INTERFACE {
        QString name; ///< of the network interface, as people read it
        QHostAddress addr;
    };

    using USER = AppSettings::USER;

    /// Shows the main window, loads the settings and starts the server. A failed start is logged.
    /// `argv` must outlive the object.
    AppDiskHub(int argc, char **argv);

    /// Stops the server, saves the settings, which is the only time that they are written, and
    /// closes the window. Replies that are still being read get REPLIES_END_MS to be finished.
    ~AppDiskHub() override;

    /// The one hub, or null before and after its life.
    static AppDiskHub *Instance();

    /// Listens on the active interface and port; the outcome is logged. A running server must have
    /// been stopped. Returns 0, or -1 without a server.
    int StartServer();

    /// Closes the listening socket, if there is one. Requests that have been answered get their
    /// whole reply all the same.
    void StopServer();

    /// StopServer() and StartServer(); returns the latter's result.
    int RestartServer();

    /// Lists the IPv4 addresses of all interfaces and selects the first that is up and not
    /// loopback, else the first, else none.
    void ScanInterfaces();

    /// Appends a line to the console.
    void Log(const QString &text);

    /// Makes the main window show the members.
    void SyncUi();

    int NumUsers() const;

    /// The user at `index`, 0 to NumUsers() - 1, which is not checked. The pointer stays valid
    /// until that user is removed, whatever happens to others.
    USER *User(int index);
    const USER *User(int index) const;

    /// The first user of exactly that name, or null.
    USER *User(const QString &name);
    const USER *User(const QString &name) const;

    /// Appends a user with an empty password, read-write; the name may be taken. Returns the index.
    int AddUser(const QString &name);

    /// Removes the user at `index`; does nothing if there is none.
    void RemUser(int index);
    void RemAllUsers();

    void LoadSettings();
    void SaveSettings() const;

    /// Answers with a listing of the disks and programs that fit the pattern. `user` is null while
    /// access is not restricted; the reply goes into `*package`. So for all three commands.
    void CommandSearch(const AppDeviceTransaction &transaction, const USER *user,
                       AppPackage *package);

    /// Answers with the last program that fits the pattern, or with the disks and a manifest.
    void CommandDownload(const AppDeviceTransaction &transaction, const USER *user,
                         AppPackage *package);

    /// Stores the uploaded disks and program. The result is that of the last failure.
    void CommandUpload(const AppDeviceTransaction &transaction, const USER *user,
                       AppPackage *package);

    static constexpr int REPLIES_END_MS = 5000; ///< for the readers, when the hub ends

    AppMainWindow *mMainWindow = nullptr; ///< owned
    QList<INTERFACE> mInterfaces;
    int mActiveIfc = -1;           ///< index into mInterfaces, -1 for none
    bool mValidate = false;        ///< access is restricted to mUsers
    QTcpServer *mServer = nullptr; ///< null while stopped; a child of this object
    int mPort = 0;                 ///< as chosen; the server listens on it modulo 65536
    QString mDiskPath;
    QString mProgramPath;
    std::vector<std::unique_ptr<USER>> mUsers; ///< on the heap each, so that pointers stay valid

public slots:
    /// Takes one connection from the server, reads its request and answers it.
    void HandleRequest();

private:
    struct UPLOAD_KIND;
    static const UPLOAD_KIND DISK_UPLOAD;
    static const UPLOAD_KIND PROGRAM_UPLOAD;

    void RestoreInterface(const QString &name, const QString &addr);
    void Answer(AppDeviceTransaction *transaction);
    void AcceptFailed();
    void RefuseWebPage(const AppDeviceTransaction &transaction, AppPackage *package);
    const USER *Authenticate(const AppDeviceTransaction &transaction, AppPackage *package);
    void RunCommand(const AppDeviceTransaction &transaction, const USER *user, AppPackage *package);
    template <typename OBJECT>
    void Store(const UPLOAD_KIND &kind, const QString &directory, const OBJECT &object,
               AppDiskNames *names, AppPackage *package);

    AppPendingReplies mReplies;
    int mRequestsInTurn = 0;        ///< taken since the event loop last had its turn
    bool mShortOfResources = false; ///< the last connection could not be accepted

    static AppDiskHub *mInstance;
};
