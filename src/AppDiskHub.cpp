// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#include "AppDiskHub.h"

#include "AppCbmUtil.h"
#include "AppConnection.h"
#include "AppDeviceTransaction.h"
#include "AppDiskNames.h"
#include "AppDosName.h"
#include "AppImageKinds.h"
#include "AppMainWindow.h"
#include "AppMediaMgr.h"
#include "AppPackage.h"
#include "AppPrintable.h"
#include "AppServer.h"

#include <QAbstractEventDispatcher>
#include <QNetworkInterface>
#include <QPlainTextEdit>
#include <QTimer>

#include <algorithm>
#include <utility>

namespace
{

// Requests that are answered one after the other before the event loop gets a turn, which sends
// what is left of replies and lets the window live.
constexpr int REQUESTS_IN_TURN_MAX = 16;

constexpr int ACCEPT_AGAIN_MS = 1000; // after the system had no descriptor for a connection

// The type column of a listing, for programs.
const char PROGRAM_TYPE[] = "prg";

/// A place for argc that outlives the application object, which keeps a reference to it.
int &KeepArgc(int argc)
{
    static int kept;
    kept = argc;
    return kept;
}

/// The keys of a user are texts of the hub, in the store too.
QString TranslateKey(const char *pattern)
{
    return AppDiskHub::tr(pattern);
}

AppDosName DosName(const char *ascii)
{
    AppDosName name;
    name.FromString(ascii, true);
    return name;
}

QByteArray ListingBegin(const char *title)
{
    return AppCbmUtil::ProgramBegin() +
           AppCbmUtil::ProgramDirectoryHeader(AppCbmUtil::AsciiToPetscii(QByteArray(title)));
}

/// A PETSCII text as the builders of listings take it.
struct LISTED {
    explicit LISTED(const AppDosName &name) { name.ToString(text, false); }

    char text[AppDosName::SIZE + 1];
};

void AppendEntry(QByteArray *listing, const AppDosName &name, const char *type)
{
    const LISTED listedType(DosName(type)); // shorter than any name
    AppCbmUtil::AppendDirectoryEntry(0, LISTED(name).text, listedType.text, listing);
}

/// The directories that a request works on.
struct DIRECTORIES {
    QString disks;
    QString programs;
};

DIRECTORIES DirectoriesOf(const AppDiskHub &hub, const AppDiskHub::USER *user)
{
    if (user != nullptr && user->own_dir)
        return {user->disk_dir, user->program_dir};
    return {hub.mDiskPath, hub.mProgramPath};
}

void DownloadProgram(const QString &directory, const AppDosName &pattern, AppPackage *package)
{
    // The last match that can be opened is what the device gets; only that one is read.
    const QList<AppMediaMgr::PROGRAM> programs =
        AppMediaMgr::Instance().SearchPrograms(directory, pattern);
    for (auto program = programs.crbegin(); program != programs.crend(); ++program) {
        QByteArray data;
        if (!AppMediaMgr::Instance().Read(program->info, &data))
            continue;
        package->SetProgram(program->name, data);
        return;
    }
}

void DownloadDisks(const QString &directory, const AppDosName &pattern, AppPackage *package)
{
    // The manifest takes one place in the package. It lists what does not fit, too; that is only
    // opened, not read.
    constexpr int DISKS_MAX = AppPackageFormat::OBJECTS_MAX - 1;
    QByteArray listing = ListingBegin("sent disk(s)");
    const QList<AppMediaMgr::DISK> disks = AppMediaMgr::Instance().SearchDisks(directory, pattern);
    for (const AppMediaMgr::DISK &disk : disks) {
        QByteArray data;
        const bool fits = package->NumDisks() < DISKS_MAX;
        if (!AppMediaMgr::Instance().Read(disk.info, fits ? &data : nullptr))
            continue;
        if (fits)
            package->AddDisk(disk.type, disk.name, data);
        AppendEntry(&listing, disk.name, AppImageKinds::ListingType(disk.type));
    }
    listing.append(AppCbmUtil::ProgramEnd());
    package->SetProgram(DosName("manifest"), listing);
}

/// The path of a file as the console shows it: the directory is the user's, the name a device's.
QString ShownPath(const QString &path)
{
    const int name = static_cast<int>(path.lastIndexOf(QLatin1Char('/'))) + 1;
    return path.left(name) + AppPrintable::Shown(path.mid(name));
}

} // namespace

/// What differs between a disk and a program that the device sent.
struct AppDiskHub::UPLOAD_KIND {
    const char *received;
    const char *exists;
    const char *replaceHint;
    const char *writeError;
    qint32 existsResult;
    QString (AppMediaMgr::*write)(const QString &directory, const AppDosName &name,
                                  const QByteArray &data, AppDiskNames *names) const;
};

const AppDiskHub::UPLOAD_KIND AppDiskHub::DISK_UPLOAD = {
    QT_TR_NOOP("> Received disk \"%1\""),
    QT_TR_NOOP("    ** Disk with that name already exists!"),
    QT_TR_NOOP("    ** Specify \"@disk:\" to replace..."),
    QT_TR_NOOP("    ** Unknown error writing disk!"),
    AppPackage::RESULT_DISK_EXISTS,
    &AppMediaMgr::AddUpdateDisk,
};

const AppDiskHub::UPLOAD_KIND AppDiskHub::PROGRAM_UPLOAD = {
    QT_TR_NOOP("> Received program \"%1\""),
    QT_TR_NOOP("    ** Program with that name already exists!"),
    QT_TR_NOOP("    ** Specify \"@:\" to replace..."),
    QT_TR_NOOP("    ** Unknown error writing program!"),
    AppPackage::RESULT_PROGRAM_EXISTS,
    &AppMediaMgr::AddUpdateProgram,
};

AppDiskHub *AppDiskHub::mInstance = nullptr;

AppDiskHub::AppDiskHub(int argc, char **argv) : QApplication(KeepArgc(argc), argv)
{
    Q_ASSERT(mInstance == 0); // NOLINT(modernize-use-nullptr): the text is part of the report
    mInstance = this;

    connect(QAbstractEventDispatcher::instance(), &QAbstractEventDispatcher::awake, this,
            [this] { mRequestsInTurn = 0; });
    connect(&mReplies, &AppPendingReplies::MadeRoom, this, &AppDiskHub::HandleRequest,
            Qt::QueuedConnection);

    mMainWindow = new AppMainWindow;
    mMainWindow->show();
    ScanInterfaces();
    LoadSettings();
    SyncUi();
    Log(tr("Disk Hub %1").arg(QStringLiteral(DISK_HUB_VERSION)));
    Log(tr("Copyright (c) 2026 the Disk Hub developers"));
    Log(QString());
    StartServer(); // A failure has been logged; the user can choose otherwise and restart.
    mMainWindow->SyncHints();
}

AppDiskHub::~AppDiskHub()
{
    StopServer();
    SaveSettings();
    delete mMainWindow;
    mReplies.Finish(REPLIES_END_MS);
    Q_ASSERT(mInstance);
    mInstance = nullptr;
}

AppDiskHub *AppDiskHub::Instance()
{
    return mInstance;
}

int AppDiskHub::StartServer()
{
    if (mActiveIfc < 0) {
        Log(tr("Unable to start server - no valid interface selected."));
        return -1;
    }

    auto *const server = new AppServer(this);
    connect(server, &AppServer::LongWait, this, [this] { mMainWindow->ShowConsole(); });
    mServer = server;
    const QHostAddress address = mInterfaces.at(mActiveIfc).addr;
    if (!server->Listen(address, static_cast<quint16>(mPort))) {
        Log(tr("Unable to start server on port %1!").arg(mPort));
        Log(tr("Please verify the selected interface is active and the selected port is not in "
               "use by another application."));
        delete mServer;
        mServer = nullptr;
        return -1;
    }
    Log(tr("Server running on IP: %1 PORT: %2").arg(address.toString()).arg(mPort));
    connect(mServer, &QTcpServer::newConnection, this, &AppDiskHub::HandleRequest);
    connect(mServer, &QTcpServer::acceptError, this, &AppDiskHub::AcceptFailed);
    return 0;
}

void AppDiskHub::StopServer()
{
    if (mServer == nullptr)
        return;
    mServer->disconnect();
    delete mServer;
    mServer = nullptr;
}

int AppDiskHub::RestartServer()
{
    StopServer();
    return StartServer();
}

void AppDiskHub::ScanInterfaces()
{
    mInterfaces.clear();
    int defaultIfc = -1;
    const QList<QNetworkInterface> interfaces = QNetworkInterface::allInterfaces();
    for (const QNetworkInterface &networkInterface : interfaces) {
        const QNetworkInterface::InterfaceFlags flags = networkInterface.flags();
        const bool preferred = flags.testFlag(QNetworkInterface::IsUp) &&
                               !flags.testFlag(QNetworkInterface::IsLoopBack);
        const QList<QNetworkAddressEntry> entries = networkInterface.addressEntries();
        for (const QNetworkAddressEntry &entry : entries) {
            if (entry.ip().protocol() != QAbstractSocket::IPv4Protocol)
                continue;
            if (defaultIfc < 0 && preferred)
                defaultIfc = static_cast<int>(mInterfaces.size());
            mInterfaces.append({networkInterface.humanReadableName(), entry.ip()});
        }
    }
    mActiveIfc = mInterfaces.isEmpty() ? -1 : std::max(defaultIfc, 0);
}

void AppDiskHub::Log(const QString &text)
{
    mMainWindow->AppendToConsole(text);
}

void AppDiskHub::SyncUi()
{
    mMainWindow->SyncUi();
}

int AppDiskHub::NumUsers() const
{
    return static_cast<int>(mUsers.size());
}

AppDiskHub::USER *AppDiskHub::User(int index)
{
    return mUsers[static_cast<std::size_t>(index)].get();
}

const AppDiskHub::USER *AppDiskHub::User(int index) const
{
    return mUsers[static_cast<std::size_t>(index)].get();
}

AppDiskHub::USER *AppDiskHub::User(const QString &name)
{
    return const_cast<USER *>(std::as_const(*this).User(name));
}

const AppDiskHub::USER *AppDiskHub::User(const QString &name) const
{
    const auto found =
        std::find_if(mUsers.begin(), mUsers.end(),
                     [&](const std::unique_ptr<USER> &user) { return user->name == name; });
    return found == mUsers.end() ? nullptr : found->get();
}

int AppDiskHub::AddUser(const QString &name)
{
    auto user = std::make_unique<USER>();
    user->name = name;
    mUsers.push_back(std::move(user));
    return NumUsers() - 1;
}

void AppDiskHub::RemUser(int index)
{
    if (index >= 0 && index < NumUsers())
        mUsers.erase(mUsers.begin() + index);
}

void AppDiskHub::RemAllUsers()
{
    mUsers.clear();
}

void AppDiskHub::LoadSettings()
{
    const AppSettings settings(TranslateKey);
    const AppSettings::HUB hub = settings.Hub();
    mDiskPath = hub.diskPath;
    mProgramPath = hub.programPath;
    mValidate = hub.validate;
    mPort = hub.port;
    RemAllUsers();
    const int count = settings.NumUsers();
    for (int i = 0; i < count; ++i)
        mUsers.push_back(std::make_unique<USER>(settings.User(i)));
    RestoreInterface(settings.InterfaceName(), settings.InterfaceAddr());
}

void AppDiskHub::RestoreInterface(const QString &name, const QString &addr)
{
    if (name.isEmpty() || addr.isEmpty())
        return;
    // If none is the saved one, the last of the list is selected; that is deliberate.
    for (int i = 0; i < mInterfaces.size(); ++i) {
        mActiveIfc = i;
        if (mInterfaces.at(i).name == name && mInterfaces.at(i).addr.toString() == addr)
            return;
    }
}

void AppDiskHub::SaveSettings() const
{
    AppSettings settings(TranslateKey);
    settings.SetHub({mDiskPath, mProgramPath, mValidate, mPort});
    if (mActiveIfc >= 0) {
        const INTERFACE &active = mInterfaces.at(mActiveIfc);
        settings.SetInterface(active.name, active.addr.toString());
    }
    settings.SetNumUsers(NumUsers());
    for (int i = 0; i < NumUsers(); ++i)
        settings.SetUser(i, *User(i));
    settings.Save();
}

void AppDiskHub::HandleRequest()
{
    // Called later, too, for a connection that had to wait; the server may be another by then.
    if (mServer == nullptr || !mServer->hasPendingConnections() || !mReplies.HasRoom())
        return;
    if (++mRequestsInTurn > REQUESTS_IN_TURN_MAX) {
        QTimer::singleShot(0, mServer, [this] { HandleRequest(); });
        return;
    }

    mShortOfResources = false;
    auto *const connection = static_cast<AppConnection *>(mServer->nextPendingConnection());
    if (connection == nullptr)
        return;
    {
        AppDeviceTransaction transaction(connection);
        if (!transaction.mValid)
            return;
        Answer(&transaction);
    }
    mReplies.Add(connection);
}

void AppDiskHub::Answer(AppDeviceTransaction *transaction)
{
    AppPackage package;
    const USER *user = nullptr;
    if (transaction->mFromWebPage)
        RefuseWebPage(*transaction, &package);
    else if (mValidate)
        user = Authenticate(*transaction, &package);
    if (package.result == AppPackage::RESULT_OK)
        RunCommand(*transaction, user, &package);
    transaction->Reply(package);
}

void AppDiskHub::AcceptFailed()
{
    // The server has paused. It would find the same again at once, so give others time to close.
    if (!mShortOfResources)
        Log(tr("Unable to accept connections: %1").arg(mServer->errorString()));
    mShortOfResources = true;
    mReplies.DropIdlest();
    QTimer::singleShot(ACCEPT_AGAIN_MS, mServer, [this] { mServer->resumeAccepting(); });
}

void AppDiskHub::RefuseWebPage(const AppDeviceTransaction &transaction, AppPackage *package)
{
    // No device sends this header, but every browser: a page that its user looks at could otherwise
    // read and overwrite what the hub serves.
    Log(tr("Authentication Failure: request of a web page (%1)")
            .arg(AppPrintable::Shown(transaction.mOrigin)));
    package->result = AppPackage::RESULT_AUTH_FAILURE;
}

const AppDiskHub::USER *AppDiskHub::Authenticate(const AppDeviceTransaction &transaction,
                                                 AppPackage *package)
{
    // Why a login failed is told to the console only.
    const USER *const user = User(transaction.mUsr);
    if (user == nullptr) {
        Log(tr("Authentication Failure: unknown user '%1'")
                .arg(AppPrintable::Shown(transaction.mUsr)));
        package->result = AppPackage::RESULT_AUTH_FAILURE;
    } else if (user->md5 != transaction.mPwd) {
        Log(tr("Authentication Failure: password mismatch for user '%1'")
                .arg(AppPrintable::Shown(transaction.mUsr)));
        package->result = AppPackage::RESULT_AUTH_FAILURE;
    } else if (user->ro && transaction.mCmd == AppDeviceTransaction::COMMAND_UPLOAD) {
        Log(tr("Authentication Failure: upload not accepted: user '%1' has read-only access")
                .arg(AppPrintable::Shown(transaction.mUsr)));
        package->result = AppPackage::RESULT_READ_ONLY;
    }
    return user;
}

void AppDiskHub::RunCommand(const AppDeviceTransaction &transaction, const USER *user,
                            AppPackage *package)
{
    switch (transaction.mCmd) {
    case AppDeviceTransaction::COMMAND_SEARCH:
        Log(tr("SEARCH request from Skylet UUID: %1").arg(AppPrintable::Shown(transaction.mUdid)));
        CommandSearch(transaction, user, package);
        break;
    case AppDeviceTransaction::COMMAND_DOWNLOAD:
        Log(tr("DOWNLOAD request from Skylet UUID: %1")
                .arg(AppPrintable::Shown(transaction.mUdid)));
        CommandDownload(transaction, user, package);
        break;
    case AppDeviceTransaction::COMMAND_UPLOAD:
        Log(tr("UPLOAD request from Skylet UUID: %1").arg(AppPrintable::Shown(transaction.mUdid)));
        CommandUpload(transaction, user, package);
        break;
    default:
        break;
    }
}

void AppDiskHub::CommandSearch(const AppDeviceTransaction &transaction, const USER *user,
                               AppPackage *package)
{
    const DIRECTORIES directories = DirectoriesOf(*this, user);
    QByteArray listing = ListingBegin("search results");
    const AppMediaMgr &media = AppMediaMgr::Instance();
    media.VisitDisks(directories.disks, transaction.mPat, [&](const AppMediaMgr::DISK &disk) {
        AppendEntry(&listing, disk.name, AppImageKinds::ListingType(disk.type));
    });
    media.VisitPrograms(directories.programs, transaction.mPat,
                        [&](const AppMediaMgr::PROGRAM &program) {
                            AppendEntry(&listing, program.name, PROGRAM_TYPE);
                        });
    listing.append(AppCbmUtil::ProgramEnd());
    package->SetProgram(DosName("listing"), listing);
}

void AppDiskHub::CommandDownload(const AppDeviceTransaction &transaction, const USER *user,
                                 AppPackage *package)
{
    const DIRECTORIES directories = DirectoriesOf(*this, user);
    if (transaction.mReq == AppDeviceTransaction::REQUEST_PROGRAM)
        DownloadProgram(directories.programs, transaction.mPat, package);
    else if (transaction.mReq == AppDeviceTransaction::REQUEST_DISKS)
        DownloadDisks(directories.disks, transaction.mPat, package);
}

void AppDiskHub::CommandUpload(const AppDeviceTransaction &transaction, const USER *user,
                               AppPackage *package)
{
    if (transaction.mPackage == nullptr)
        return;
    const DIRECTORIES directories = DirectoriesOf(*this, user);
    AppDiskNames diskNames(directories.disks);
    for (const AppPackage::DISK *disk : std::as_const(transaction.mPackage->disks))
        Store(DISK_UPLOAD, directories.disks, *disk, &diskNames, package);
    const AppPackage::PROGRAM &program = transaction.mPackage->Program();
    if (program.data.isEmpty())
        return;
    // Made only now: the disks can lie in the same directory.
    AppDiskNames namesBesidePrograms(directories.programs);
    Store(PROGRAM_UPLOAD, directories.programs, program, &namesBesidePrograms, package);
}

template <typename OBJECT>
void AppDiskHub::Store(const UPLOAD_KIND &kind, const QString &directory, const OBJECT &object,
                       AppDiskNames *names, AppPackage *package)
{
    QString hostName;
    object.name.ToString(&hostName, true);
    Log(tr(kind.received).arg(AppPrintable::Shown(hostName)));

    // Disk images are looked for in either case: the device counts on being able to save a program
    // again without asking to replace it.
    if (!object.replace && names->Contains(object.name)) {
        Log(tr(kind.exists));
        Log(tr(kind.replaceHint));
        package->result = kind.existsResult;
        return;
    }
    const QString path =
        (AppMediaMgr::Instance().*kind.write)(directory, object.name, object.data, names);
    if (path.isEmpty()) {
        Log(tr(kind.writeError));
        package->result = AppPackage::RESULT_WRITE_ERROR;
        return;
    }
    Log(tr("> Written as \"%1\".").arg(ShownPath(path)));
}
