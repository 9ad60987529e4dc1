// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#include "AppMediaMgr.h"
#include "HubProgram.h"
#include "MountedFiles.h"

#include <QDeadlineTimer>
#include <QTemporaryDir>

#include <cerrno>
#include <csignal>
#include <cstring>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/un.h>

namespace
{

constexpr int CLIENTS_MANY = 200;
constexpr int CLIENTS_MOST = 1000;
constexpr int GONE_TIMEOUT_MS = 120000; ///< a connection refused for the moment is tried again late

constexpr int RESULT_OK = 0;
constexpr int RESULT_WRITE_ERROR = -1;

using Sockets = std::vector<std::unique_ptr<QTcpSocket>>;

/// The names in the listing of a search reply, sorted.
QList<QByteArray> Names(const HubReply &reply)
{
    QList<QByteArray> names;
    const WirePackage package = reply.Package();
    if (!package.valid || package.objects.size() != 1)
        return {"no listing"};
    const QList<QByteArray> pieces = package.objects.at(0).data.split('"');
    for (int i = 1; i < pieces.size(); i += 2)
        names.append(pieces.at(i));
    std::sort(names.begin(), names.end());
    return names;
}

/// What the hub answers for an upload of one object.
int Upload(const HubProcess &hub, const WireObject &object)
{
    const WirePackage package = hub.Ask(UploadRequest(object)).Package();
    return package.valid ? package.result : 1;
}

/// The data of the program that a download delivers, null without one.
QByteArray Download(const HubProcess &hub, const char *name)
{
    const WirePackage package = hub.Ask(DownloadRequest("0", name)).Package();
    return package.objects.isEmpty() ? QByteArray() : package.objects.at(0).data;
}

/// Bytes without a meaning in a settings file: no section starts there, nor what would reach beyond
/// them.
QByteArray Garbage()
{
    QByteArray garbage = Image(5000, 7);
    for (char &byte : garbage) {
        if (byte == '[' || byte == '"' || byte == '\\' || byte == ';')
            byte = '?';
    }
    return garbage;
}

/// Sets how large a file of another process may grow.
bool LimitFileSize(qint64 process, rlim_t bytes)
{
    const rlimit limit = {bytes, RLIM_INFINITY};
    return prlimit(pid_t(process), RLIMIT_FSIZE, &limit, nullptr) == 0;
}

/// An entry of the file system that is no ordinary file, nor in order.
bool MakeOddity(const QString &kind, const QString &path)
{
    const QByteArray encoded = QFile::encodeName(path);
    if (kind == QLatin1String("directory"))
        return QDir().mkpath(path);
    if (kind == QLatin1String("fifo"))
        return MakeFifo(path);
    if (kind == QLatin1String("link-to-nothing"))
        return MakeLink(QStringLiteral("nothing/there.is"), path);
    if (kind == QLatin1String("link-to-itself"))
        return MakeLink(path, path);
    if (kind == QLatin1String("link-to-its-directory"))
        return MakeLink(QStringLiteral("."), path);
    if (kind == QLatin1String("link-to-a-fifo"))
        return MakeFifo(path + QLatin1String(".fifo")) &&
               MakeLink(path + QLatin1String(".fifo"), path);
    if (kind == QLatin1String("socket")) {
        const int descriptor = socket(AF_UNIX, SOCK_STREAM, 0);
        sockaddr_un address = {};
        address.sun_family = AF_UNIX;
        if (encoded.size() >= int(sizeof(address.sun_path)))
            return false;
        memcpy(address.sun_path, encoded.constData(), size_t(encoded.size()));
        const bool made =
            bind(descriptor, reinterpret_cast<const sockaddr *>(&address), sizeof(address)) == 0;
        close(descriptor);
        return made;
    }
    return false;
}

/// A directory and files with names that are no UTF-8, which Qt cannot even remove.
class ByteNames
{
public:
    explicit ByteNames(const QString &directory) : mDirectory(QFile::encodeName(directory))
    {
        mMade = mkdir((mDirectory + "/\x80").constData(), 0777) == 0;
        for (const char *name : FILES) {
            const int file = open((mDirectory + name).constData(), O_WRONLY | O_CREAT, 0666);
            mMade = mMade && file >= 0 && close(file) == 0;
        }
    }
    ~ByteNames()
    {
        for (const char *name : FILES)
            unlink((mDirectory + name).constData());
        rmdir((mDirectory + "/\x80").constData());
    }
    ByteNames(const ByteNames &) = delete;
    ByteNames &operator=(const ByteNames &) = delete;

    bool AreMade() const { return mMade; }

private:
    static constexpr const char *FILES[] = {
        "/caf\xE9.prg",      // Latin-1
        "/\xFF\xFE.prg",     // bytes that UTF-8 never has
        "/\xED\xA0\x80.prg", // half a surrogate pair
        "/\x80/deep.prg",
    };

    const QByteArray mDirectory;
    bool mMade = false;
};

/// What is stored as a disk in a round of uploads.
QByteArray ImageOf(int round, int disk)
{
    return Image(D82_SIZE, unsigned(round * 100 + disk));
}

/// The request that stores all disks of a round.
QByteArray UploadOf(int round)
{
    WirePackage package;
    for (int i = 0; i < DISKS_IN_A_PACKAGE; ++i)
        package.objects.append(
            Disk(("disk" + QByteArray::number(i)).constData(), ImageOf(round, i), 4, true));
    return MultipartRequest({{"cmd", "3"}}, package.Bytes());
}

/// Asks until what the toolkit opens once, for a console that scrolls and has been painted so, is
/// open.
bool FillConsole(const HubProcess &hub)
{
    constexpr int PAINTED_MS = 1000;
    for (const QDeadlineTimer painted(PAINTED_MS); !painted.hasExpired();) {
        if (!hub.Ask(SearchRequest("g*")).Package().valid)
            return false;
    }
    return true;
}

} // namespace

/// What goes wrong around a hub, and what it does then.
class tst_Faults : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();

    void clientsAtOnceAreAllAnswered_data();
    void clientsAtOnceAreAllAnswered();
    void clientsThatGoAwayLeaveNothing_data();
    void clientsThatGoAwayLeaveNothing();
    void readersThatNeverReadLeaveNothing_data();
    void readersThatNeverReadLeaveNothing();

    void fullDiskKeepsWhatWasStored();
    void fileThatCannotGrowKeepsWhatWasStored();
    void writeThatStopsHalfWayIsUndone();
    void fileThatCannotBeRenamedOverIsReplaced();
    void directoryThatCannotBeWrittenIsServed();
    void removedDirectoryIsEmptyUntilItComesBack();
    void oddEntryHoldsUpNobody_data();
    void oddEntryHoldsUpNobody();
    void fileReplacedByADirectoryIsRefused();
    void namesThatAreNotTextAreLeftOut();

    void brokenSettingsAreRead_data();
    void brokenSettingsAreRead();
    void brokenSettingsEndInDefaults_data();
    void brokenSettingsEndInDefaults();
    void unreadableSettingsEndInDefaults();
    void portIsTakenModulo65536_data();
    void portIsTakenModulo65536();

    void killedWhileReceivingLosesNothing();
    void killedWhileStoringLosesNothing();
    void killedInTheMiddleOfAFileLosesNothing();
};

void tst_Faults::initTestCase()
{
    rlimit files = {};
    QCOMPARE(getrlimit(RLIMIT_NOFILE, &files), 0);
    files.rlim_cur = files.rlim_max;
    QCOMPARE(setrlimit(RLIMIT_NOFILE, &files), 0);
    // A child that is made to crash leaves no image of itself.
    const rlimit none = {0, 0};
    QCOMPARE(setrlimit(RLIMIT_CORE, &none), 0);
}

void tst_Faults::clientsAtOnceAreAllAnswered_data()
{
    QTest::addColumn<int>("clients");

    QTest::newRow("200-clients") << CLIENTS_MANY;
    QTest::newRow("1000-clients") << CLIENTS_MOST;
}

void tst_Faults::clientsAtOnceAreAllAnswered()
{
    QFETCH(int, clients);

    const Media media;
    QVERIFY(WriteFile(media.Program("ghost.prg"), "\x01\x08ghost"));
    HubProcess hub;
    QVERIFY(hub.Start(media.Section()));
    const QByteArray request = SearchRequest("g*");
    const QByteArray expected = hub.Ask(request).raw;
    QVERIFY(expected.contains("GHOST"));
    QVERIFY(FillConsole(hub));
    const int descriptors = hub.Descriptors();

    // The hub rests until all are there, so that none of them is served in between.
    hub.Signal(SIGSTOP);
    Sockets devices;
    int sent = 0;
    int closed = 0;
    for (int i = 0; i < clients; ++i) {
        devices.push_back(std::make_unique<QTcpSocket>());
        connect(devices.back().get(), &QTcpSocket::bytesWritten, this, [&sent] { ++sent; });
        connect(devices.back().get(), &QTcpSocket::disconnected, this, [&closed] { ++closed; });
        hub.Connect(devices.back().get());
        devices.back()->write(request);
    }
    QTRY_COMPARE_WITH_TIMEOUT(sent, clients, GONE_TIMEOUT_MS);
    hub.Signal(SIGCONT);
    QTRY_COMPARE_WITH_TIMEOUT(closed, clients, GONE_TIMEOUT_MS);
    for (const std::unique_ptr<QTcpSocket> &device : devices) {
        QCOMPARE(device->error(), QAbstractSocket::RemoteHostClosedError);
        QCOMPARE(device->readAll(), expected);
    }
    QTRY_COMPARE_WITH_TIMEOUT(hub.Descriptors(), descriptors, TIMEOUT_MS);
}

void tst_Faults::clientsThatGoAwayLeaveNothing_data()
{
    QTest::addColumn<QByteArray>("sent");

    const QByteArray request = UploadRequest(ProgramObject("half", Image(50000, 1)));
    const int head = int(request.indexOf("\r\n\r\n")) + 4;
    QTest::newRow("nothing") << QByteArray();
    QTest::newRow("half-a-header") << request.left(head / 2);
    QTest::newRow("half-a-body") << request.left(head + int(request.size() - head) / 2);
    QTest::newRow("all-but-a-byte") << request.left(int(request.size()) - 1);
}

void tst_Faults::clientsThatGoAwayLeaveNothing()
{
    QFETCH(QByteArray, sent);

    const Media media;
    QVERIFY(WriteFile(media.Program("ghost.prg"), "\x01\x08ghost"));
    HubProcess hub;
    QVERIFY(hub.Start(media.Section()));
    QVERIFY(hub.Ask(SearchRequest("*")).Package().valid);
    const int descriptors = hub.Descriptors();
    const QStringList before = Snapshot(media.programs.path());

    Sockets devices;
    for (int i = 0; i < CLIENTS_MANY; ++i) {
        devices.push_back(std::make_unique<QTcpSocket>());
        QTcpSocket *const device = devices.back().get();
        connect(device, &QTcpSocket::connected, device, [device, &sent] {
            device->write(sent);
            device->disconnectFromHost();
        });
        hub.Connect(device);
    }
    for (const std::unique_ptr<QTcpSocket> &device : devices) {
        QTRY_COMPARE_WITH_TIMEOUT(device->state(), QAbstractSocket::UnconnectedState,
                                  GONE_TIMEOUT_MS);
        QCOMPARE(device->readAll(), QByteArray());
    }
    QCOMPARE(Names(hub.Ask(SearchRequest("*"))), QList<QByteArray>{"GHOST"});
    QTRY_COMPARE_WITH_TIMEOUT(hub.Descriptors(), descriptors, TIMEOUT_MS);
    QCOMPARE(Snapshot(media.programs.path()), before);
}

void tst_Faults::readersThatNeverReadLeaveNothing_data()
{
    QTest::addColumn<bool>("resets");

    QTest::newRow("gone-by-closing") << false;
    QTest::newRow("gone-by-a-reset") << true;
}

void tst_Faults::readersThatNeverReadLeaveNothing()
{
    constexpr int READERS = 5;
    QFETCH(bool, resets);

    const Media media;
    QVERIFY(WriteFile(media.Program("ghost.prg"), "\x01\x08ghost"));
    for (int i = 0; i < DISKS_IN_A_PACKAGE; ++i)
        QVERIFY(
            WriteSparseFile(media.disks.filePath(QStringLiteral("disk%1.d82").arg(i)), D82_SIZE));
    HubProcess hub;
    QVERIFY(hub.Start(media.Section()));
    QVERIFY(FillConsole(hub));
    const int descriptors = hub.Descriptors();

    Sockets devices;
    for (int i = 0; i < READERS; ++i) {
        devices.push_back(std::make_unique<QTcpSocket>());
        QTcpSocket *const device = devices.back().get();
        device->setReadBufferSize(1);
        hub.Connect(device);
        device->write(DownloadRequest("1", "*"));
        QTRY_COMPARE_WITH_TIMEOUT(device->bytesAvailable(), 1, TIMEOUT_MS);
    }
    for (int i = 0; i < CLIENTS_MANY; ++i)
        QVERIFY(hub.Ask(SearchRequest("g*")).raw.contains("GHOST"));
    QCOMPARE(hub.Descriptors(), descriptors + READERS);

    for (const std::unique_ptr<QTcpSocket> &device : devices) {
        QCOMPARE(device->state(), QAbstractSocket::ConnectedState);
        if (resets)
            Reset(device.get());
    }
    devices.clear();
    QVERIFY(hub.Ask(SearchRequest("g*")).raw.contains("GHOST"));
    QTRY_COMPARE_WITH_TIMEOUT(hub.Descriptors(), descriptors, TIMEOUT_MS);
}

void tst_Faults::fullDiskKeepsWhatWasStored()
{
    const SmallDisk disk;
    if (!disk.IsMounted())
        QSKIP(disk.Reason().constData());
    const QByteArray first = Image(D64_SIZE, 1);
    const QByteArray second = Image(D64_SIZE, 2);
    QVERIFY(WriteFile(disk.FilePath("games.d64"), first));
    QVERIFY(WriteFile(disk.FilePath("hello.prg"), "\x01\x08hello"));
    QVERIFY(disk.Fill() > SmallDisk::SIZE / 2);
    const QStringList before = Snapshot(disk.DirPath());
    HubProcess hub;
    QVERIFY(hub.Start("[media]\ndisk_path=" + disk.DirPath().toUtf8() +
                      "\nprogram_path=" + disk.DirPath().toUtf8() + '\n'));

    QCOMPARE(Upload(hub, Disk("games", second, 0, true)), RESULT_WRITE_ERROR);
    QCOMPARE(Upload(hub, Disk("new", second, 0, false)), RESULT_WRITE_ERROR);
    QCOMPARE(Upload(hub, ProgramObject("hello", Image(5000, 1))), RESULT_WRITE_ERROR);
    QCOMPARE(Snapshot(disk.DirPath()), before);
    QCOMPARE(Download(hub, "hello"), QByteArray("\x01\x08hello"));

    QVERIFY(QFile::remove(disk.FilePath("filler")));
    QCOMPARE(Upload(hub, Disk("games", second, 0, true)), RESULT_OK);
    QVERIFY(ReadFile(disk.FilePath("games.d64")) == second);
}

void tst_Faults::fileThatCannotGrowKeepsWhatWasStored()
{
    constexpr int LIMIT = 100000; // bytes, in the middle of an image

    const Media media;
    const QByteArray first = Image(D64_SIZE, 1);
    const QByteArray second = Image(D64_SIZE, 2);
    QVERIFY(WriteFile(media.Disk("games.d64"), first));
    const QStringList before = Snapshot(media.disks.path());
    HubProcess hub;
    QVERIFY(hub.WriteStore(hub.ServerSection() + media.Section()));
    // Without the signal that comes with the limit a write just fails, as on a full disk.
    QVERIFY(hub.StartAsItIs({QStringLiteral("/bin/sh"), QStringLiteral("-c"),
                             QStringLiteral("trap '' XFSZ; exec \"$0\""),
                             QStringLiteral(DISK_HUB_BINARY)}));
    QVERIFY(LimitFileSize(hub.Id(), LIMIT));

    QCOMPARE(Upload(hub, Disk("games", second, 0, true)), RESULT_WRITE_ERROR);
    QCOMPARE(Upload(hub, Disk("new", second, 0, false)), RESULT_WRITE_ERROR);
    QCOMPARE(Snapshot(media.disks.path()), before);
    QCOMPARE(Upload(hub, ProgramObject("small", Image(LIMIT, 1))), RESULT_OK);
    QVERIFY(ReadFile(media.Program("small.prg")) == Image(LIMIT, 1));

    QVERIFY(LimitFileSize(hub.Id(), RLIM_INFINITY));
    QCOMPARE(Upload(hub, Disk("games", second, 0, true)), RESULT_OK);
    QVERIFY(ReadFile(media.Disk("games.d64")) == second);
}

void tst_Faults::writeThatStopsHalfWayIsUndone()
{
    constexpr int LIMIT = 100000; // bytes, in the middle of an image

    const Media media;
    const QByteArray first = Image(D64_SIZE, 1);
    const QByteArray second = Image(D64_SIZE, 2);
    QVERIFY(WriteFile(media.Disk("games.d64"), first));
    const QStringList before = Snapshot(media.disks.path());
    AppDosName games;
    games.FromString(QStringLiteral("games"), true);
    AppDosName fresh;
    fresh.FromString(QStringLiteral("new"), true);

    const FileSizeLimit limit(LIMIT);
    const AppMediaMgr &manager = AppMediaMgr::Instance();
    QCOMPARE(manager.AddUpdateDisk(media.disks.path(), games, second), QString());
    QCOMPARE(manager.AddUpdateDisk(media.disks.path(), fresh, second), QString());
    QCOMPARE(Snapshot(media.disks.path()), before);
}

void tst_Faults::fileThatCannotBeRenamedOverIsReplaced()
{
    const QByteArray program = Image(100000, 1);
    const Media media;
    QVERIFY(WriteFile(media.Program("hello.prg"), "\x01\x08hello"));
    const MountedFile file(media.Program("hello.prg"));
    if (!file.IsMounted())
        QSKIP(file.Reason().constData());
    HubProcess hub;
    QVERIFY(hub.Start(media.Section()));
    QCOMPARE(Upload(hub, ProgramObject("hello", program)), RESULT_OK);
    QVERIFY(Download(hub, "hello") == program);
    QCOMPARE(Snapshot(media.programs.path()).size(), 1);
}

void tst_Faults::directoryThatCannotBeWrittenIsServed()
{
    const OrdinaryUser user;
    if (access(DISK_HUB_BINARY, X_OK) != 0)
        QSKIP("an ordinary user cannot start the program from here");
    const Media media;
    QVERIFY(WriteFile(media.Program("ghost.prg"), "\x01\x08ghost"));
    QVERIFY(WriteFile(media.Disk("games.d64"), Image(D64_SIZE, 1)));
    QVERIFY(QFile::setPermissions(media.Program("ghost.prg"), QFile::ReadOwner));
    const QFile::Permissions readable = QFile::ReadOwner | QFile::ExeOwner;
    QVERIFY(QFile::setPermissions(media.programs.path(), readable));
    QVERIFY(QFile::setPermissions(media.disks.path(), readable));
    HubProcess hub;
    QVERIFY(hub.Start(media.Section()));

    QCOMPARE(Upload(hub, ProgramObject("new", "x")), RESULT_WRITE_ERROR);
    QCOMPARE(Upload(hub, ProgramObject("ghost", "x")), RESULT_WRITE_ERROR);
    QCOMPARE(Upload(hub, Disk("new", Image(D64_SIZE, 2), 0, false)), RESULT_WRITE_ERROR);
    QCOMPARE(Names(hub.Ask(SearchRequest("*"))), (QList<QByteArray>{"GAMES", "GHOST"}));
    QCOMPARE(Download(hub, "ghost"), QByteArray("\x01\x08ghost"));
    QVERIFY(ReadFile(media.Disk("games.d64")) == Image(D64_SIZE, 1));

    QVERIFY(QFile::setPermissions(media.programs.path(), readable | QFile::WriteOwner));
    QCOMPARE(Upload(hub, ProgramObject("new", "x")), RESULT_OK);
    QVERIFY(QFile::setPermissions(media.disks.path(), readable | QFile::WriteOwner));
}

void tst_Faults::removedDirectoryIsEmptyUntilItComesBack()
{
    const Media media;
    const QByteArray section = "[media]\ndisk_path=" + media.Disk("shelf").toUtf8() +
                               "\nprogram_path=" + media.Program("shelf").toUtf8() + '\n';
    const auto fill = [&media] {
        return WriteFile(media.Program("shelf/ghost.prg"), "\x01\x08ghost") &&
               WriteFile(media.Disk("shelf/games.d64"), Image(D64_SIZE, 1));
    };
    const QList<QByteArray> all{"GAMES", "GHOST"};
    QVERIFY(fill());
    HubProcess hub;
    QVERIFY(hub.Start(section));
    QCOMPARE(Names(hub.Ask(SearchRequest("*"))), all);

    QVERIFY(QDir(media.Disk("shelf")).removeRecursively());
    QVERIFY(QDir(media.Program("shelf")).removeRecursively());
    QCOMPARE(Names(hub.Ask(SearchRequest("*"))), QList<QByteArray>());
    QCOMPARE(Download(hub, "ghost"), QByteArray());
    QCOMPARE(hub.Ask(DownloadRequest("1", "*")).Package().objects.size(), 1);
    QCOMPARE(Upload(hub, ProgramObject("new", "x")), RESULT_WRITE_ERROR);
    QCOMPARE(Upload(hub, Disk("new", Image(D64_SIZE, 2), 0, true)), RESULT_WRITE_ERROR);
    QCOMPARE(Snapshot(media.disks.path()) + Snapshot(media.programs.path()), QStringList());

    QVERIFY(fill());
    QCOMPARE(Names(hub.Ask(SearchRequest("*"))), all);
    QCOMPARE(Upload(hub, ProgramObject("new", "x")), RESULT_OK);
}

void tst_Faults::oddEntryHoldsUpNobody_data()
{
    QTest::addColumn<QString>("kind");
    QTest::addColumn<int>("result"); // of an upload by that name
    QTest::addColumn<bool>("listed");

    QTest::newRow("directory") << "directory" << RESULT_WRITE_ERROR << true;
    QTest::newRow("fifo") << "fifo" << RESULT_WRITE_ERROR << false;
    QTest::newRow("socket") << "socket" << RESULT_WRITE_ERROR << false;
    QTest::newRow("link-to-a-fifo") << "link-to-a-fifo" << RESULT_WRITE_ERROR << true;
    QTest::newRow("link-to-nothing") << "link-to-nothing" << RESULT_WRITE_ERROR << false;
    QTest::newRow("link-to-itself") << "link-to-itself" << RESULT_WRITE_ERROR << false;
    QTest::newRow("link-to-its-directory") << "link-to-its-directory" << RESULT_WRITE_ERROR << true;
}

void tst_Faults::oddEntryHoldsUpNobody()
{
    QFETCH(QString, kind);
    QFETCH(int, result);
    QFETCH(bool, listed);

    const Media media;
    QVERIFY(WriteFile(media.Program("ghost.prg"), "\x01\x08ghost"));
    QVERIFY(WriteFile(media.Disk("games.d64"), Image(D64_SIZE, 1)));
    QVERIFY(MakeOddity(kind, media.Program("odd.prg")));
    QVERIFY(MakeOddity(kind, media.Disk("odd.d64")));
    const QStringList before = Snapshot(media.programs.path()) + Snapshot(media.disks.path());
    HubProcess hub;
    QVERIFY(hub.Start(media.Section()));

    QList<QByteArray> names{"GAMES", "GHOST"};
    if (listed)
        names.append("ODD");
    QCOMPARE(Names(hub.Ask(SearchRequest("*"))), names);
    QCOMPARE(Download(hub, "odd"), QByteArray());
    QCOMPARE(Download(hub, "ghost"), QByteArray("\x01\x08ghost"));
    const WirePackage disks = hub.Ask(DownloadRequest("1", "*")).Package();
    QVERIFY(disks.valid);
    QCOMPARE(disks.objects.size(), 2);
    QCOMPARE(Upload(hub, ProgramObject("odd", "x")), result);
    QCOMPARE(Upload(hub, Disk("odd", Image(D64_SIZE, 2), 0, true)), result);
    QCOMPARE(Snapshot(media.programs.path()) + Snapshot(media.disks.path()), before);
    QVERIFY(hub.IsRunning());
}

void tst_Faults::fileReplacedByADirectoryIsRefused()
{
    const Media media;
    HubProcess hub;
    QVERIFY(hub.Start(media.Section()));
    QCOMPARE(Upload(hub, ProgramObject("game", "first")), RESULT_OK);
    QCOMPARE(Download(hub, "game"), QByteArray("first"));

    QVERIFY(QFile::remove(media.Program("game.prg")));
    QVERIFY(WriteFile(media.Program("game.prg/inside.prg"), "inside"));
    QCOMPARE(Upload(hub, ProgramObject("game", "second")), RESULT_WRITE_ERROR);
    QCOMPARE(Names(hub.Ask(SearchRequest("*"))), (QList<QByteArray>{"GAME", "INSIDE"}));
    QCOMPARE(Download(hub, "game"), QByteArray());
    QCOMPARE(Download(hub, "inside"), QByteArray("inside"));
}

void tst_Faults::namesThatAreNotTextAreLeftOut()
{
    const Media media;
    QVERIFY(WriteFile(media.Program("ghost.prg"), "\x01\x08ghost"));
    const ByteNames names(media.programs.path());
    QVERIFY(names.AreMade());
    HubProcess hub;
    QVERIFY(hub.Start(media.Section()));

    QCOMPARE(Names(hub.Ask(SearchRequest("*"))), QList<QByteArray>{"GHOST"});
    QCOMPARE(Names(hub.Ask(SearchRequest("caf\xE9"))), QList<QByteArray>());
    QCOMPARE(Download(hub, "*"), QByteArray("\x01\x08ghost"));
    QCOMPARE(Upload(hub, ProgramObject("caf\xE9", "x")), RESULT_OK);
    QCOMPARE(ReadFile(media.programs.filePath(QString::fromUtf8("caf\xC3\xA9.prg"))),
             QByteArray("x"));
}

void tst_Faults::brokenSettingsAreRead_data()
{
    QTest::addColumn<QByteArray>("before");
    QTest::addColumn<QByteArray>("after");

    QTest::newRow("garbage-in-front") << Garbage() + '\n' << QByteArray();
    QTest::newRow("garbage-behind") << QByteArray() << Image(5000, 7);
    QTest::newRow("nul-bytes-behind") << QByteArray() << QByteArray(5000, '\0');
    QTest::newRow("line-without-an-end") << QByteArray() << QByteArray(1000000, 'x');
    QTest::newRow("escapes-cut-short")
        << QByteArray() << QByteArray("[access]\nuser_0\\name=\"\\x\nname=\\x1\nmd5=\"\\");
    QTest::newRow("words-for-numbers")
        << QByteArray() << QByteArray("[security]\nvalidate=maybe\n[access]\nnum_users=many\n");
    QTest::newRow("lists-for-values")
        << QByteArray()
        << QByteArray("[security]\nvalidate=a, b\n[access]\nnum_users=1, 2\nuser_0\\name=x, y\n");
    QTest::newRow("objects-for-values")
        << QByteArray()
        << QByteArray("[access]\nnum_users=@Variant(\\0\\0\\0\\x8)\nuser_0\\ro=@ByteArray()\n");
    QTest::newRow("fewer-than-no-users") << QByteArray() << QByteArray("[access]\nnum_users=-5\n");
    QTest::newRow("fewest-users") << QByteArray()
                                  << QByteArray("[access]\nnum_users=-2147483648\n");
}

void tst_Faults::brokenSettingsAreRead()
{
    QFETCH(QByteArray, before);
    QFETCH(QByteArray, after);

    const Media media;
    QVERIFY(WriteFile(media.Program("ghost.prg"), "\x01\x08ghost"));
    HubProcess hub;
    QVERIFY(hub.WriteStore(before + hub.ServerSection() + media.Section() + after));
    QVERIFY(hub.StartAsItIs({QStringLiteral(DISK_HUB_BINARY)}));
    QVERIFY(hub.Ask(SearchRequest("*")).Package().valid);
    QVERIFY(hub.Ask(FormRequest({{"cmd", "2"}, {"req", "0"}, {"pat", "ghost"}})).Package().valid);
    QVERIFY(hub.IsRunning());
}

void tst_Faults::brokenSettingsEndInDefaults_data()
{
    QTest::addColumn<QByteArray>("text");

    QTest::newRow("empty") << QByteArray();
    QTest::newRow("garbage") << Garbage();
    QTest::newRow("nul-bytes") << QByteArray(5000, '\0');
}

void tst_Faults::brokenSettingsEndInDefaults()
{
    QFETCH(QByteArray, text);

    HubProcess hub;
    QVERIFY(hub.WriteStore(text));
    QCOMPARE(hub.RunAsItIsUntilQuit(), EXIT_CODE);
    const QByteArray settings = hub.Settings();
    QVERIFY2(settings.contains("\nport=80\n"), settings.constData());
    QVERIFY2(settings.contains("\nvalidate=false\n"), settings.constData());
    QVERIFY2(settings.contains("\nnum_users=0\n"), settings.constData());
}

void tst_Faults::unreadableSettingsEndInDefaults()
{
    const OrdinaryUser user;
    if (access(DISK_HUB_BINARY, X_OK) != 0)
        QSKIP("an ordinary user cannot start the program from here");
    const QByteArray text = "[access]\nnum_users=3\n";
    HubProcess hub;
    QVERIFY(hub.WriteStore(text));
    QVERIFY(QFile::setPermissions(hub.SettingsPath(), QFile::Permissions()));
    QCOMPARE(hub.RunAsItIsUntilQuit(), EXIT_CODE);
    // Nor is it written over.
    QVERIFY(QFile::setPermissions(hub.SettingsPath(), QFile::ReadOwner | QFile::WriteOwner));
    QCOMPARE(hub.Settings(), text);
}

void tst_Faults::portIsTakenModulo65536_data()
{
    QTest::addColumn<int>("more");

    QTest::newRow("65536-more") << 65536;
    QTest::newRow("65536-less") << -65536;
    QTest::newRow("far-more") << 65536 * 32000;
    QTest::newRow("far-less") << -65536 * 32000;
}

void tst_Faults::portIsTakenModulo65536()
{
    QFETCH(int, more);

    const Media media;
    HubProcess hub;
    QVERIFY(hub.WriteStore(hub.ServerSection(more) + media.Section()));
    QVERIFY(hub.StartAsItIs({QStringLiteral(DISK_HUB_BINARY)}));
    QVERIFY(hub.Ask(SearchRequest("*")).Package().valid);
}

void tst_Faults::killedWhileReceivingLosesNothing()
{
    const Media media;
    const QByteArray first = Image(D64_SIZE, 1);
    const QByteArray second = Image(D64_SIZE, 2);
    QVERIFY(WriteFile(media.Disk("games.d64"), first));
    const QStringList before = Snapshot(media.disks.path());
    const QByteArray request = UploadRequest(Disk("games", second, 0, true));
    for (const int sent : {1, int(request.size()) / 2, int(request.size()) - 1}) {
        HubProcess hub;
        QVERIFY(hub.Start(media.Section()));
        QTcpSocket device;
        hub.Connect(&device);
        device.write(request.left(sent));
        while (device.bytesToWrite() > 0)
            QVERIFY(device.waitForBytesWritten(TIMEOUT_MS));
        hub.Kill();
        QCOMPARE(Snapshot(media.disks.path()), before);
    }

    HubProcess hub;
    QVERIFY(hub.Start(media.Section()));
    QCOMPARE(Names(hub.Ask(SearchRequest("*"))), QList<QByteArray>{"GAMES"});
    QCOMPARE(Upload(hub, Disk("games", second, 0, true)), RESULT_OK);
    QVERIFY(ReadFile(media.Disk("games.d64")) == second);
}

void tst_Faults::killedWhileStoringLosesNothing()
{
    constexpr int ROUNDS = 10;

    const Media media;
    QStringList paths;
    for (int i = 0; i < DISKS_IN_A_PACKAGE; ++i)
        paths.append(media.disks.filePath(QStringLiteral("disk%1.d82").arg(i)));
    QList<QByteArray> stored;
    for (int i = 0; i < DISKS_IN_A_PACKAGE; ++i) {
        stored.append(ImageOf(0, i));
        QVERIFY(WriteFile(paths.at(i), stored.at(i)));
    }

    for (int round = 1; round <= ROUNDS; ++round) {
        const QByteArray request = UploadOf(round);
        HubProcess hub;
        QVERIFY(hub.Start(media.Section()));
        QTcpSocket device;
        hub.Connect(&device);
        device.write(request);
        while (device.bytesToWrite() > 0)
            QVERIFY(device.waitForBytesWritten(TIMEOUT_MS));

        // The hub is killed while it stores one of the disks behind this one, if it is not done.
        const int watched = round * DISKS_IN_A_PACKAGE / (ROUNDS + 1);
        QElapsedTimer timer;
        timer.start();
        const auto isWritten = [&] {
            QFile file(paths.at(watched));
            return file.open(QIODevice::ReadOnly) && file.read(16) != stored.at(watched).left(16);
        };
        while (!isWritten())
            QVERIFY(timer.elapsed() < TIMEOUT_MS);
        hub.Kill();

        for (int i = 0; i < DISKS_IN_A_PACKAGE; ++i) {
            const QByteArray found = ReadFile(paths.at(i));
            const QByteArray sent = ImageOf(round, i);
            QVERIFY2(found == stored.at(i) || found == sent, qPrintable(paths.at(i)));
            stored[i] = found;
        }
        QVERIFY(stored.at(watched) == ImageOf(round, watched));
    }

    HubProcess hub;
    QVERIFY(hub.Start(media.Section()));
    const HubReply reply = hub.Ask(MultipartRequest({{"cmd", "3"}}, QByteArray()));
    QVERIFY(reply.Package().valid);
    const QByteArray request = UploadOf(ROUNDS + 1);
    QCOMPARE(hub.Ask(request).Package().result, RESULT_OK);
    for (int i = 0; i < DISKS_IN_A_PACKAGE; ++i)
        QVERIFY(ReadFile(paths.at(i)) == ImageOf(ROUNDS + 1, i));
}

void tst_Faults::killedInTheMiddleOfAFileLosesNothing()
{
    constexpr int LIMIT = 100000; // bytes, in the middle of an image

    const Media media;
    const QByteArray first = Image(D64_SIZE, 1);
    const QByteArray second = Image(D64_SIZE, 2);
    QVERIFY(WriteFile(media.Disk("games.d64"), first));
    QVERIFY(WriteFile(media.Program("hello.prg"), "\x01\x08hello"));
    for (const WireObject &object :
         {Disk("games", second, 0, true), ProgramObject("hello", second)}) {
        HubProcess hub;
        QVERIFY(hub.Start(media.Section()));
        QVERIFY(LimitFileSize(hub.Id(), LIMIT));
        // The write that goes past the limit ends the program there and then, by a signal.
        QCOMPARE(hub.Ask(UploadRequest(object)).raw, QByteArray());
        QVERIFY(hub.WaitForEnd());
        QVERIFY(ReadFile(media.Disk("games.d64")) == first);
        QCOMPARE(ReadFile(media.Program("hello.prg")), QByteArray("\x01\x08hello"));
    }

    HubProcess hub;
    QVERIFY(hub.Start(media.Section()));
    QCOMPARE(Names(hub.Ask(SearchRequest("*"))), (QList<QByteArray>{"GAMES", "HELLO"}));
    QCOMPARE(Download(hub, "hello"), QByteArray("\x01\x08hello"));
    QCOMPARE(Upload(hub, Disk("games", second, 0, true)), RESULT_OK);
    QVERIFY(ReadFile(media.Disk("games.d64")) == second);
}

int main(int argc, char **argv)
{
    return RunTestOrHub<tst_Faults>(argc, argv);
}

#include "tst_Faults.moc"
