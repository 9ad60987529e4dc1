// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#include "AppDiskHub.h"
#include "HostFiles.h"
#include "HubFixture.h"

#include <QCheckBox>
#include <QComboBox>
#include <QLineEdit>
#include <QMetaMethod>
#include <QNetworkInterface>
#include <QPointer>
#include <QProcess>
#include <QPushButton>
#include <QSemaphore>
#include <QSignalSpy>
#include <QTest>
#include <QTextStream>
#include <QTimer>
#include <QTranslator>

#ifdef Q_OS_UNIX
#include <sys/resource.h>
#endif

// The hub's pointer to its one instance is private. An explicit instantiation may name it all the
// same, and hands it out.
AppDiskHub **InstanceSlot();
template <AppDiskHub **SLOT> struct InstanceThief {
    friend AppDiskHub **InstanceSlot() { return SLOT; }
};
template struct InstanceThief<&AppDiskHub::mInstance>;

namespace
{

// What ends the process, and networks other than this machine's, need a child: this program again,
// with one of these arguments.
constexpr char TWO_HUBS[] = "--two-hubs";
constexpr char LOST_INSTANCE[] = "--lost-instance";
constexpr char REPORT[] = "--report";

constexpr int NETWORK_REFUSED = 77; ///< the child's exit code if its network cannot be made

constexpr char MD5_OF_A[] = "0cc175b9c0f1b6a831c399e269772661";   // RFC 1321, section A.5: "a"
constexpr char MD5_OF_ABC[] = "900150983cd24fb0d6963f7d28e17f72"; // RFC 1321, section A.5: "abc"

constexpr char NO_INTERFACE_LINE[] = "Unable to start server - no valid interface selected.";
constexpr char VERIFY_LINE[] = "Please verify the selected interface is active and the selected "
                               "port is not in use by another application.";

/// The wire form of a package without objects; `result` is one byte in hexadecimal.
QByteArray EmptyPackage(const char *result)
{
    return QByteArray::fromHex("1F24CA730000") + QByteArray::fromHex(result) +
           QByteArray(489, '\0');
}

QString RunningLine(int port)
{
    return QStringLiteral("Server running on IP: 127.0.0.1 PORT: %1").arg(port);
}

QString FailedLine(int port)
{
    return QStringLiteral("Unable to start server on port %1!").arg(port);
}

/// A port of 127.0.0.1 that nobody listens on. Only while a hub lives, as it needs its dispatcher.
quint16 FreePort()
{
    QTcpServer server;
    return server.listen(QHostAddress(QHostAddress::LocalHost)) ? server.serverPort() : quint16(0);
}

/// Whether a connection can be made. It is cut at once, which a hub takes for a request that
/// failed.
bool Accepts(quint16 port, const char *address = "127.0.0.1")
{
    QTcpSocket socket;
    socket.connectToHost(QHostAddress(QLatin1String(address)), port);
    const bool accepted = socket.waitForConnected(HubFixture::CLIENT_TIMEOUT_MS);
    socket.abort();
    return accepted;
}

/// Listens on a port of 127.0.0.1 from a thread of its own, so that it does without a hub.
class PortHolder
{
public:
    PortHolder()
        : mThread(QThread::create([this] {
            QTcpServer server;
            if (server.listen(QHostAddress(QHostAddress::LocalHost)))
                mPort = server.serverPort();
            mListening.release();
            mEnough.acquire();
        }))
    {
        mThread->start();
        mListening.acquire();
    }

    ~PortHolder() { Release(); }

    quint16 Port() const { return mPort; }

    void Release()
    {
        mEnough.release();
        mThread->wait();
    }

private:
    QSemaphore mListening;
    QSemaphore mEnough;
    quint16 mPort = 0;
    const std::unique_ptr<QThread> mThread;
};

/// A language in which each text of the hub stands in brackets.
class BracketTranslator : public QTranslator
{
public:
    bool isEmpty() const override { return false; }

    QString translate(const char *context, const char *sourceText, const char *, int) const override
    {
        if (qstrcmp(context, "AppDiskHub") != 0)
            return QString();
        return QLatin1Char('[') + QString::fromUtf8(sourceText) + QLatin1Char(']');
    }
};

AppDiskHub::USER *AddUser(const HubFixture &hub, const char *name, const char *md5)
{
    AppDiskHub::USER *user = hub->User(hub->AddUser(QLatin1String(name)));
    user->md5 = QLatin1String(md5);
    return user;
}

QStringList EntriesOf(const QTemporaryDir &dir)
{
    return QDir(dir.path()).entryList(QDir::AllEntries | QDir::NoDotAndDotDot, QDir::Name);
}

/// An upload of the program "hello" by that user.
QByteArray UploadRequest(const QByteArray &usr, const QByteArray &pwd)
{
    WireObject program;
    program.name = PetsciiName("hello");
    program.data = "\x01\x08hello";
    WirePackage package;
    package.objects.append(program);
    return MultipartRequest({{"usr", usr}, {"pwd", pwd}, {"udid", "42"}, {"cmd", "3"}},
                            package.Bytes());
}

/// A request of that user; `command` is the property `cmd`.
QByteArray LoginRequest(const QByteArray &usr, const QByteArray &pwd, const QByteArray &command)
{
    return FormRequest({{"usr", usr}, {"pwd", pwd}, {"udid", "42"}, {"cmd", command}});
}

#ifdef Q_OS_UNIX
void ForbidCoreDumps()
{
    const rlimit none = {0, 0};
    setrlimit(RLIMIT_CORE, &none);
}
#else
void ForbidCoreDumps() {}
#endif

/// A program that makes the hub twice.
int RunTwoHubs(int argc, char **argv)
{
    ForbidCoreDumps();
    AppDiskHub first(argc, argv);
    AppDiskHub second(argc, argv);
    return 0;
}

/// A program in which the one instance is forgotten while it lives.
int RunLostInstance(int argc, char **argv)
{
    ForbidCoreDumps();
    const AppDiskHub hub(argc, argv);
    *InstanceSlot() = nullptr;
    return 0;
}

/// A program that says which interfaces the hub found and what its console shows.
int RunReport()
{
    const HubFixture hub;
    QTextStream out(stdout);
    for (const AppDiskHub::INTERFACE &interface : std::as_const(hub->mInterfaces))
        out << interface.name << ' ' << interface.addr.toString() << '\n';
    out << "active " << hub->mActiveIfc << '\n';
    out << hub.Log().last() << '\n';
    return 0;
}

} // namespace

class tst_AppDiskHub : public QObject
{
    Q_OBJECT

public:
    explicit tst_AppDiskHub(char **arguments) : mArguments(arguments) {}

private slots:
    void init();

    void instanceExistsWhileTheHubLives();
    void hubsCanFollowOneAnother();
    void brokenInstanceEndsTheProcess_data();
    void brokenInstanceEndsTheProcess();
    void declaresOneSlotAndNoSignal();

    void windowIsShown();
    void windowShowsTheSettingsAtStart();
    void consoleAtStart();
    void startsWithAPortInUse();
    void closingTheWindowEndsTheEventLoop();
    void quitStopsTheServerAndSaves();
    void quitWithoutServer();

    void logAppendsALine_data();
    void logAppendsALine();
    void syncUiShowsTheMembers();
    void syncUiWithoutInterfaces();

    void scanListsTheMachinesAddresses();
    void scanForgetsTheFormerList();
    void scanInANetwork_data();
    void scanInANetwork();

    void listensOnTheSelectedAddressOnly();
    void listensOnThePortModulo65536_data();
    void listensOnThePortModulo65536();
    void startFailsWithoutInterface_data();
    void startFailsWithoutInterface();
    void startFailsOnAPortInUse();
    void startFailsOnAnAddressThatIsGone();
    void startLeavesARunningServerAlone();
    void stopClosesTheSocket();
    void stopWithoutServerDoesNothing();
    void stopDisconnectsTheServerFromAll();
    void stopCutsWaitingConnections();
    void restartOnTheSamePort();
    void restartWhileAReplyIsUnderWay();
    void restartTakesTheNewPort();
    void restartThatFailsLeavesNoServer();

    void dispatchesByCommand_data();
    void dispatchesByCommand();
    void unknownCommandGetsAnEmptyReply_data();
    void unknownCommandGetsAnEmptyReply();
    void udidIsLoggedAsItIs_data();
    void udidIsLoggedAsItIs();
    void incompleteRequestIsNeitherLoggedNorAnswered();
    void socketIsDisposedOf();

    void loginIsIgnoredWithoutRestrictions();
    void restrictionsRefuse_data();
    void restrictionsRefuse();
    void restrictionsAdmit_data();
    void restrictionsAdmit();
    void readOnlyUserStoresNothing();
    void restrictionsApplyFromTheNextRequest();
    void usersApplyFromTheNextRequest();
    void admittedUserHasOwnDirectories();

    void serverTextsAreTranslatable();
    void requestTextsAreTranslatable();

private:
    char **mArguments; ///< of this program
    HubSettings mSettings;
};

void tst_AppDiskHub::init()
{
    QVERIFY(mSettings.Write(HubSettings::Loopback()));
}

void tst_AppDiskHub::instanceExistsWhileTheHubLives()
{
    QVERIFY(!AppDiskHub::Instance());
    HubFixture hub;
    QCOMPARE(AppDiskHub::Instance(), &hub.Hub());
    QCOMPARE(QCoreApplication::instance(), &hub.Hub());
    hub.Quit();
    QVERIFY(!AppDiskHub::Instance());
}

void tst_AppDiskHub::hubsCanFollowOneAnother()
{
    for (int i = 0; i < 3; ++i) {
        const HubFixture hub;
        QCOMPARE(AppDiskHub::Instance(), &hub.Hub());
        QCOMPARE(hub.Log().size(), 4);
        QCOMPARE(hub.Send(FormRequest({})).Body(), EmptyPackage("00"));
    }
}

void tst_AppDiskHub::brokenInstanceEndsTheProcess_data()
{
    QTest::addColumn<QString>("argument");
    QTest::addColumn<QString>("assertion");

    QTest::newRow("second-hub") << TWO_HUBS << "\"mInstance == 0\"";
    QTest::newRow("destruction-without-instance") << LOST_INSTANCE << "\"mInstance\"";
}

void tst_AppDiskHub::brokenInstanceEndsTheProcess()
{
    QFETCH(QString, argument);
    QFETCH(QString, assertion);

    int count = 1;
    const QCoreApplication application(count, mArguments);
    QProcess child;
    child.start(application.applicationFilePath(), {argument});
    QVERIFY(child.waitForFinished());
    QCOMPARE(child.exitStatus(), QProcess::CrashExit);
    const QString error = QString::fromLocal8Bit(child.readAllStandardError());
    QVERIFY2(error.contains(assertion), qPrintable(error));
    QVERIFY2(error.contains(QLatin1String("AppDiskHub")), qPrintable(error));
}

void tst_AppDiskHub::declaresOneSlotAndNoSignal()
{
    const QMetaObject &meta = AppDiskHub::staticMetaObject;
    QCOMPARE(meta.className(), "AppDiskHub");
    QCOMPARE(meta.superClass(), &QApplication::staticMetaObject);
    QCOMPARE(meta.methodCount() - meta.methodOffset(), 1);
    const QMetaMethod method = meta.method(meta.methodOffset());
    QCOMPARE(method.methodSignature(), QByteArray("HandleRequest()"));
    QCOMPARE(method.methodType(), QMetaMethod::Slot);
}

void tst_AppDiskHub::windowIsShown()
{
    const HubFixture hub;
    QVERIFY(hub->mMainWindow);
    const QWidget *window = hub.Console()->window();
    QVERIFY(window->isVisible());
    QVERIFY(!window->parent());
    QCOMPARE(window->windowTitle(), QStringLiteral("Disk Hub"));
}

void tst_AppDiskHub::windowShowsTheSettingsAtStart()
{
    QVERIFY(mSettings.Write(HubSettings::Loopback() + "[media]\ndisk_path=/disks\n"
                                                      "program_path=/programs\n"
                                                      "[security]\nvalidate=true\n"));
    const HubFixture hub;
    QCOMPARE(hub.Control<QLineEdit>("diskDirectory")->text(), QStringLiteral("/disks"));
    QCOMPARE(hub.Control<QLineEdit>("programDirectory")->text(), QStringLiteral("/programs"));
    QCOMPARE(hub.Control<QLineEdit>("serverPort")->text(), QStringLiteral("0"));
    QVERIFY(hub.Control<QCheckBox>("accessRestrictionsEnable")->isChecked());
    QVERIFY(hub.Control<QComboBox>("interfaceCombo")
                ->currentText()
                .startsWith(QLatin1String("127.0.0.1 (")));
}

void tst_AppDiskHub::consoleAtStart()
{
    const HubFixture hub;
    const QStringList log = hub.Log();
    QCOMPARE(log.size(), 4);
    QCOMPARE(log.at(0), QLatin1String("Disk Hub ") + QLatin1String(DISK_HUB_VERSION));
    QVERIFY(log.at(1).startsWith(QLatin1String("Copyright")));
    QCOMPARE(log.at(2), QString());
    QCOMPARE(log.at(3), RunningLine(0));
}

void tst_AppDiskHub::startsWithAPortInUse()
{
    PortHolder holder;
    QByteArray settings = HubSettings::Loopback();
    QVERIFY(
        mSettings.Write(settings.replace("port=0", "port=" + QByteArray::number(holder.Port()))));

    const HubFixture hub;
    QVERIFY(!hub->mServer);
    QVERIFY(hub.Console()->window()->isVisible());
    QCOMPARE(hub.Log().mid(2),
             (QStringList{QString(), FailedLine(holder.Port()), QLatin1String(VERIFY_LINE)}));

    holder.Release();
    hub.ClearLog();
    hub.Control<QPushButton>("restartServer")->click();
    QCOMPARE(hub.Log(), QStringList{RunningLine(holder.Port())});
    QCOMPARE(hub.Port(), holder.Port());
}

void tst_AppDiskHub::closingTheWindowEndsTheEventLoop()
{
    const HubFixture hub;
    QTimer::singleShot(0, hub.Console()->window(), &QWidget::close);
    QTimer::singleShot(HubFixture::CLIENT_TIMEOUT_MS, &hub.Hub(),
                       [] { QCoreApplication::exit(1); });
    QCOMPARE(hub->exec(), 0);
}

void tst_AppDiskHub::quitStopsTheServerAndSaves()
{
    HubFixture hub;
    const QPointer<QTcpServer> server(hub->mServer);
    // Silent if the hub stops the server, but not if that only dies with its parent.
    const QSignalSpy destroyed(hub->mServer, &QObject::destroyed);
    const QPointer<QWidget> window(hub.Console()->window());
    hub->mDiskPath = QStringLiteral("/changed");
    QVERIFY(!mSettings.Read().contains("/changed"));

    hub.Quit();
    QVERIFY(!server);
    QCOMPARE(destroyed.size(), 0);
    QVERIFY(!window);
    QVERIFY(mSettings.Read().contains("disk_path=/changed\n"));
}

void tst_AppDiskHub::quitWithoutServer()
{
    HubFixture hub;
    hub->StopServer();
    hub->mDiskPath = QStringLiteral("/changed");
    hub.Quit();
    QVERIFY(mSettings.Read().contains("disk_path=/changed\n"));
}

void tst_AppDiskHub::logAppendsALine_data()
{
    QTest::addColumn<QString>("text");

    QTest::newRow("plain") << "> Received disk \"GAMES\"";
    QTest::newRow("empty") << "";
    QTest::newRow("leading-blanks-stay") << "    ** Unknown error writing disk!";
    QTest::newRow("placeholder-is-not-filled") << "100 %1";
    QTest::newRow("markup-is-text") << "<b>bold</b> &amp;";
    QTest::newRow("beyond-latin-1") << QString::fromUtf8("\xC3\xBC \xE2\x82\xAC");
}

void tst_AppDiskHub::logAppendsALine()
{
    QFETCH(QString, text);

    const HubFixture hub;
    const QStringList before = hub.Log();
    hub->Log(text);
    QCOMPARE(hub.Log(), before + QStringList{text});
    hub->Log(QStringLiteral("next"));
    QCOMPARE(hub.Log(), (before + QStringList{text, QStringLiteral("next")}));
}

void tst_AppDiskHub::syncUiShowsTheMembers()
{
    const HubFixture hub;
    hub->mPort = 6400;
    hub->mDiskPath = QStringLiteral("/some/disks");
    hub->mProgramPath = QStringLiteral("/some/programs");
    hub->mValidate = true;
    QCOMPARE(hub.Control<QLineEdit>("serverPort")->text(), QStringLiteral("0"));

    hub->SyncUi();
    QCOMPARE(hub.Control<QLineEdit>("serverPort")->text(), QStringLiteral("6400"));
    QCOMPARE(hub.Control<QLineEdit>("diskDirectory")->text(), hub->mDiskPath);
    QCOMPARE(hub.Control<QLineEdit>("programDirectory")->text(), hub->mProgramPath);
    QVERIFY(hub.Control<QCheckBox>("accessRestrictionsEnable")->isChecked());
}

void tst_AppDiskHub::syncUiWithoutInterfaces()
{
    const HubFixture hub;
    hub->mInterfaces.clear();
    hub->mActiveIfc = -1;
    hub->SyncUi();
    const auto *combo = hub.Control<QComboBox>("interfaceCombo");
    QCOMPARE(combo->count(), 1);
    QCOMPARE(combo->currentText(), QStringLiteral("(none detected)"));
    QVERIFY(!combo->isEnabled());
    QVERIFY(!hub.Control<QPushButton>("restartServer")->isEnabled());
    QCOMPARE(hub->mActiveIfc, -1);
}

void tst_AppDiskHub::scanListsTheMachinesAddresses()
{
    QStringList expected;
    int active = -1;
    const QList<QNetworkInterface> interfaces = QNetworkInterface::allInterfaces();
    for (const QNetworkInterface &interface : interfaces) {
        const bool preferred = interface.flags().testFlag(QNetworkInterface::IsUp) &&
                               !interface.flags().testFlag(QNetworkInterface::IsLoopBack);
        const QList<QNetworkAddressEntry> entries = interface.addressEntries();
        for (const QNetworkAddressEntry &entry : entries) {
            if (entry.ip().protocol() != QAbstractSocket::IPv4Protocol)
                continue;
            if (active < 0 && preferred)
                active = int(expected.size());
            expected.append(interface.humanReadableName() + QLatin1Char(' ') +
                            entry.ip().toString());
        }
    }
    QVERIFY(!expected.isEmpty());

    const HubFixture hub;
    hub->ScanInterfaces();
    QStringList found;
    for (const AppDiskHub::INTERFACE &interface : std::as_const(hub->mInterfaces))
        found.append(interface.name + QLatin1Char(' ') + interface.addr.toString());
    QCOMPARE(found, expected);
    QCOMPARE(hub->mActiveIfc, qMax(active, 0));
}

void tst_AppDiskHub::scanForgetsTheFormerList()
{
    const HubFixture hub;
    hub->ScanInterfaces();
    const auto count = hub->mInterfaces.size();
    const int active = hub->mActiveIfc;
    hub->mInterfaces.prepend({QStringLiteral("gone"), QHostAddress(QStringLiteral("192.0.2.99"))});
    hub->mActiveIfc = 99;

    hub->ScanInterfaces();
    QCOMPARE(hub->mInterfaces.size(), count);
    QCOMPARE(hub->mActiveIfc, active);
    for (const AppDiskHub::INTERFACE &interface : std::as_const(hub->mInterfaces))
        QVERIFY(interface.name != QLatin1String("gone"));
}

void tst_AppDiskHub::scanInANetwork_data()
{
    QTest::addColumn<QString>("setup");
    QTest::addColumn<QStringList>("report");

    const QString running = QStringLiteral("Server running on IP: %1 PORT: 0");
    QTest::newRow("no-address-selects-none")
        << "true" << QStringList{QStringLiteral("active -1"), QLatin1String(NO_INTERFACE_LINE)};
    QTest::newRow("loopback-alone-is-selected")
        << "ip link set lo up"
        << QStringList{QStringLiteral("lo 127.0.0.1"), QStringLiteral("active 0"),
                       running.arg(QStringLiteral("127.0.0.1"))};
    QTest::newRow("up-is-selected-before-loopback-and-down")
        << "ip link set lo up"
           " && ip link add d0 type bridge && ip addr add 10.9.0.1/24 dev d0"
           " && ip link add d1 type bridge && ip addr add 10.9.1.1/24 dev d1 && ip link set d1 up"
        << QStringList{QStringLiteral("lo 127.0.0.1"), QStringLiteral("d0 10.9.0.1"),
                       QStringLiteral("d1 10.9.1.1"), QStringLiteral("active 2"),
                       running.arg(QStringLiteral("10.9.1.1"))};
    QTest::newRow("first-of-several-up-is-selected")
        << "ip link add d0 type bridge && ip addr add 10.9.0.1/24 dev d0 && ip link set d0 up"
           " && ip link add d1 type bridge && ip addr add 10.9.1.1/24 dev d1 && ip link set d1 up"
        << QStringList{QStringLiteral("d0 10.9.0.1"), QStringLiteral("d1 10.9.1.1"),
                       QStringLiteral("active 0"), running.arg(QStringLiteral("10.9.0.1"))};
    QTest::newRow("each-address-of-an-interface-is-a-record")
        << "ip link add d0 type bridge && ip addr add 10.9.0.1/24 dev d0"
           " && ip addr add 10.9.0.2/24 dev d0 && ip link set d0 up"
        << QStringList{QStringLiteral("d0 10.9.0.1"), QStringLiteral("d0 10.9.0.2"),
                       QStringLiteral("active 0"), running.arg(QStringLiteral("10.9.0.1"))};
    QTest::newRow("up-without-ipv4-is-passed-over")
        << "ip link add d0 type bridge && ip link set d0 up"
           " && ip link add d1 type bridge && ip addr add 10.9.1.1/24 dev d1 && ip link set d1 up"
        << QStringList{QStringLiteral("d1 10.9.1.1"), QStringLiteral("active 0"),
                       running.arg(QStringLiteral("10.9.1.1"))};
    QTest::newRow("loopback-before-down-is-selected-when-none-is-up")
        << "ip link set lo up && ip link add d0 type bridge && ip addr add 10.9.0.1/24 dev d0"
        << QStringList{QStringLiteral("lo 127.0.0.1"), QStringLiteral("d0 10.9.0.1"),
                       QStringLiteral("active 0"), running.arg(QStringLiteral("127.0.0.1"))};
}

void tst_AppDiskHub::scanInANetwork()
{
    QFETCH(QString, setup);
    QFETCH(QStringList, report);

    int count = 1;
    const QCoreApplication application(count, mArguments);
    const QString unshare = QStringLiteral("unshare");
    const QStringList network{QStringLiteral("--map-root-user"), QStringLiteral("--net")};
    if (QProcess::execute(unshare, network + QStringList{QStringLiteral("true")}) != 0)
        QSKIP("no network of one's own here");

    QVERIFY(mSettings.Write("[server]\nport=0\n"));
    const QString script = setup + QStringLiteral(" || exit %1; exec \"$0\" %2")
                                       .arg(NETWORK_REFUSED)
                                       .arg(QLatin1String(REPORT));
    QProcess child;
    child.start(unshare, network + QStringList{QStringLiteral("sh"), QStringLiteral("-c"), script,
                                               application.applicationFilePath()});
    QVERIFY(child.waitForFinished());
    if (child.exitCode() == NETWORK_REFUSED)
        QSKIP("no bridges here");
    QCOMPARE(child.exitStatus(), QProcess::NormalExit);
    QCOMPARE(QString::fromUtf8(child.readAllStandardOutput()).split(QLatin1Char('\n')),
             report + QStringList{QString()});
}

void tst_AppDiskHub::listensOnTheSelectedAddressOnly()
{
    const HubFixture hub;
    QVERIFY(hub->mServer);
    QVERIFY(hub->mServer->isListening());
    QCOMPARE(hub->mServer->parent(), &hub.Hub());
    QCOMPARE(hub->mServer->serverAddress(), QHostAddress(QHostAddress::LocalHost));
    QVERIFY(Accepts(hub.Port()));
    for (const AppDiskHub::INTERFACE &interface : std::as_const(hub->mInterfaces)) {
        if (interface.addr != QHostAddress(QHostAddress::LocalHost))
            QVERIFY(!Accepts(hub.Port(), interface.addr.toString().toLatin1().constData()));
    }
    QVERIFY(!Accepts(hub.Port(), "::1"));
}

void tst_AppDiskHub::listensOnThePortModulo65536_data()
{
    QTest::addColumn<int>("offset");

    QTest::newRow("as-it-is") << 0;
    QTest::newRow("above-65535") << 65536;
    QTest::newRow("far-above-65535") << 65536 * 30000;
    QTest::newRow("negative") << -65536;
}

void tst_AppDiskHub::listensOnThePortModulo65536()
{
    QFETCH(int, offset);

    const HubFixture hub;
    const quint16 port = FreePort();
    hub->mPort = port + offset;
    hub.ClearLog();
    QCOMPARE(hub->RestartServer(), 0);
    QCOMPARE(hub.Port(), port);
    QCOMPARE(hub.Log(), QStringList{RunningLine(port + offset)});
    QCOMPARE(hub->mPort, port + offset);
    QVERIFY(Accepts(port));
}

void tst_AppDiskHub::startFailsWithoutInterface_data()
{
    QTest::addColumn<bool>("listed");

    QTest::newRow("none-listed") << false;
    QTest::newRow("none-selected") << true;
}

void tst_AppDiskHub::startFailsWithoutInterface()
{
    QFETCH(bool, listed);

    const HubFixture hub;
    hub->StopServer();
    if (!listed)
        hub->mInterfaces.clear();
    hub->mActiveIfc = -1;
    hub.ClearLog();
    QCOMPARE(hub->StartServer(), -1);
    QVERIFY(!hub->mServer);
    QVERIFY(hub->findChildren<QTcpServer *>().isEmpty());
    QCOMPARE(hub.Log(), QStringList{QLatin1String(NO_INTERFACE_LINE)});
}

void tst_AppDiskHub::startFailsOnAPortInUse()
{
    const HubFixture hub;
    const PortHolder holder;
    hub->StopServer();
    hub->mPort = holder.Port();
    hub.ClearLog();
    QCOMPARE(hub->StartServer(), -1);
    QVERIFY(!hub->mServer);
    QVERIFY(hub->findChildren<QTcpServer *>().isEmpty());
    QCOMPARE(hub.Log(), (QStringList{FailedLine(holder.Port()), QLatin1String(VERIFY_LINE)}));
}

void tst_AppDiskHub::startFailsOnAnAddressThatIsGone()
{
    const HubFixture hub;
    hub->StopServer();
    // An address for documentation (RFC 5737), which no machine has.
    hub->mInterfaces.append({QStringLiteral("gone"), QHostAddress(QStringLiteral("203.0.113.77"))});
    hub->mActiveIfc = int(hub->mInterfaces.size()) - 1;
    hub->mPort = 65536 + FreePort();
    hub.ClearLog();
    QCOMPARE(hub->StartServer(), -1);
    QVERIFY(!hub->mServer);
    QVERIFY(hub->findChildren<QTcpServer *>().isEmpty());
    QCOMPARE(hub.Log(), (QStringList{FailedLine(hub->mPort), QLatin1String(VERIFY_LINE)}));
}

void tst_AppDiskHub::startLeavesARunningServerAlone()
{
    const HubFixture hub;
    const QPointer<QTcpServer> former(hub->mServer);
    QCOMPARE(hub->StartServer(), 0);
    QVERIFY(former);
    QVERIFY(former->isListening());
    QVERIFY(hub->mServer != former.data());
    QVERIFY(hub->mServer->isListening());
}

void tst_AppDiskHub::stopClosesTheSocket()
{
    const HubFixture hub;
    const quint16 port = hub.Port();
    const QPointer<QTcpServer> server(hub->mServer);
    hub.ClearLog();
    hub->StopServer();
    QVERIFY(!hub->mServer);
    QVERIFY(!server);
    QVERIFY(!Accepts(port));
    QCOMPARE(hub.Log(), QStringList());
}

void tst_AppDiskHub::stopWithoutServerDoesNothing()
{
    const HubFixture hub;
    hub->StopServer();
    hub.ClearLog();
    hub->StopServer();
    QVERIFY(!hub->mServer);
    QCOMPARE(hub.Log(), QStringList());
    QCOMPARE(hub->StartServer(), 0);
    QVERIFY(Accepts(hub.Port()));
}

void tst_AppDiskHub::stopDisconnectsTheServerFromAll()
{
    const HubFixture hub;
    const QSignalSpy destroyed(hub->mServer, &QObject::destroyed);
    QVERIFY(destroyed.isValid());
    hub->StopServer();
    QCOMPARE(destroyed.size(), 0);
}

void tst_AppDiskHub::stopCutsWaitingConnections()
{
    const HubFixture hub;
    QTcpSocket device;
    device.connectToHost(QHostAddress(QHostAddress::LocalHost), hub.Port());
    QVERIFY(device.waitForConnected());
    hub->StopServer();
    QTRY_COMPARE(device.state(), QAbstractSocket::UnconnectedState);
}

void tst_AppDiskHub::restartOnTheSamePort()
{
    const HubFixture hub;
    hub->mPort = FreePort();
    QCOMPARE(hub->RestartServer(), 0);
    for (int i = 0; i < 3; ++i) {
        // A connection that was served keeps the port busy for a while.
        QCOMPARE(hub.Send(FormRequest({})).Body(), EmptyPackage("00"));
        hub.ClearLog();
        QCOMPARE(hub->RestartServer(), 0);
        QCOMPARE(hub.Log(), QStringList{RunningLine(hub->mPort)});
        QCOMPARE(hub->findChildren<QTcpServer *>(), QList<QTcpServer *>{hub->mServer});
    }
    QCOMPARE(hub.Send(FormRequest({})).Body(), EmptyPackage("00"));
}

void tst_AppDiskHub::restartWhileAReplyIsUnderWay()
{
    const QTemporaryDir programs;
    const QByteArray program(32 * 1024 * 1024, 'p');
    QVERIFY(WriteFile(programs.filePath(QStringLiteral("big.prg")), program));
    const HubFixture hub;
    hub->mProgramPath = programs.path();

    QTcpSocket device;
    device.setReadBufferSize(1);
    device.connectToHost(QHostAddress(QHostAddress::LocalHost), hub.Port());
    QVERIFY(device.waitForConnected());
    device.write(FormRequest({{"cmd", "2"}, {"req", "0"}, {"pat", "big"}}));
    QVERIFY(device.flush());
    QTRY_VERIFY(device.bytesAvailable() > 0);

    QCOMPARE(hub->RestartServer(), 0);
    device.setReadBufferSize(0);
    device.readAll();
    QTRY_COMPARE(device.state(), QAbstractSocket::UnconnectedState);
    QCOMPARE(hub.Send(FormRequest({})).Body(), EmptyPackage("00"));
}

void tst_AppDiskHub::restartTakesTheNewPort()
{
    const HubFixture hub;
    const quint16 former = hub.Port();
    hub->mPort = FreePort();
    QCOMPARE(hub.Port(), former);
    QVERIFY(Accepts(former));
    QVERIFY(!Accepts(quint16(hub->mPort)));

    QCOMPARE(hub->RestartServer(), 0);
    QVERIFY(!Accepts(former));
    QVERIFY(Accepts(quint16(hub->mPort)));
}

void tst_AppDiskHub::restartThatFailsLeavesNoServer()
{
    const HubFixture hub;
    const quint16 former = hub.Port();
    hub->mActiveIfc = -1;
    QCOMPARE(hub->RestartServer(), -1);
    QVERIFY(!hub->mServer);
    QVERIFY(!Accepts(former));
}

void tst_AppDiskHub::dispatchesByCommand_data()
{
    QTest::addColumn<QByteArray>("request");
    QTest::addColumn<QStringList>("log");
    QTest::addColumn<QByteArray>("program");

    QTest::newRow("search") << FormRequest({{"cmd", "1"}, {"udid", "42"}, {"pat", "hello"}})
                            << QStringList{QStringLiteral("SEARCH request from Skylet UUID: 42")}
                            << PetsciiName("listing");
    QTest::newRow("download-of-a-program")
        << FormRequest({{"cmd", "2"}, {"udid", "42"}, {"req", "0"}, {"pat", "hello"}})
        << QStringList{QStringLiteral("DOWNLOAD request from Skylet UUID: 42")}
        << PetsciiName("hello");
    QTest::newRow("download-of-disks")
        << FormRequest({{"cmd", "2"}, {"udid", "42"}, {"req", "1"}, {"pat", "hello"}})
        << QStringList{QStringLiteral("DOWNLOAD request from Skylet UUID: 42")}
        << PetsciiName("manifest");
    QTest::newRow("upload") << UploadRequest("", "")
                            << QStringList{QStringLiteral("UPLOAD request from Skylet UUID: 42"),
                                           QStringLiteral("> Received program \"hello\""),
                                           QStringLiteral("> Written as \"%1/hello.prg\".")}
                            << QByteArray();
}

void tst_AppDiskHub::dispatchesByCommand()
{
    QFETCH(QByteArray, request);
    QFETCH(QStringList, log);
    QFETCH(QByteArray, program);

    const QTemporaryDir programs;
    QVERIFY(WriteFile(programs.filePath(QStringLiteral("hello.prg")), "old"));
    const HubFixture hub;
    hub->mProgramPath = programs.path();
    hub.ClearLog();
    const WirePackage package = hub.Send(request).Package();
    QVERIFY(package.valid);
    QCOMPARE(package.result, 0);
    QCOMPARE(package.objects.isEmpty() ? QByteArray() : package.objects.first().name, program);
    log.replaceInStrings(QStringLiteral("%1"), programs.path());
    QCOMPARE(hub.Log(), log);
}

void tst_AppDiskHub::unknownCommandGetsAnEmptyReply_data()
{
    QTest::addColumn<QByteArray>("request");

    const QList<QByteArray> commands{"0", "4", "-1", "abc", "1x", "1.0", "4294967297", "11"};
    for (const QByteArray &command : commands)
        QTest::newRow("cmd-" + command) << FormRequest({{"udid", "42"}, {"cmd", command}});
    QTest::newRow("no-cmd") << FormRequest({{"udid", "42"}});
    QTest::newRow("no-property") << FormRequest({});
    QTest::newRow("capital-CMD") << FormRequest({{"CMD", "1"}});
}

void tst_AppDiskHub::unknownCommandGetsAnEmptyReply()
{
    QFETCH(QByteArray, request);

    const HubFixture hub;
    hub.ClearLog();
    const HubReply reply = hub.Send(request);
    QCOMPARE(reply.Head(),
             QByteArray("HTTP/1.1 200 Ok\r\nContent-Type: application/octet-stream\r\n"
                        "Content-Transfer-Encoding: binary\r\n"
                        "Content-Length: 496\r\n\r\n"));
    QCOMPARE(reply.Body(), EmptyPackage("00"));
    QCOMPARE(hub.Log(), QStringList());
}

void tst_AppDiskHub::udidIsLoggedAsItIs_data()
{
    QTest::addColumn<QByteArray>("udid");

    QTest::newRow("digits") << QByteArray("0123456789");
    QTest::newRow("missing") << QByteArray();
    QTest::newRow("blanks-inside") << QByteArray("a  b");
    QTest::newRow("placeholder") << QByteArray("%1 %2 100%");
    QTest::newRow("markup") << QByteArray("<i>x</i>");
    QTest::newRow("beyond-ascii") << QByteArray("\xC3\xBC \xE2\x82\xAC");
}

void tst_AppDiskHub::udidIsLoggedAsItIs()
{
    QFETCH(QByteArray, udid);

    const HubFixture hub;
    const char *const names[] = {"SEARCH", "DOWNLOAD", "UPLOAD"};
    for (int i = 0; i < 3; ++i) {
        hub.ClearLog();
        QVERIFY(hub.Send(FormRequest({{"cmd", QByteArray::number(i + 1)}, {"udid", udid}}))
                    .Package()
                    .valid);
        QCOMPARE(hub.Log(), QStringList{QLatin1String(names[i]) +
                                        QLatin1String(" request from Skylet UUID: ") +
                                        QString::fromUtf8(udid)});
    }
}

void tst_AppDiskHub::incompleteRequestIsNeitherLoggedNorAnswered()
{
    const HubFixture hub;
    hub.ClearLog();
    QByteArray request = FormRequest({{"cmd", "1"}, {"udid", "1"}});
    request.chop(1);
    QTcpSocket device;
    device.connectToHost(QHostAddress(QHostAddress::LocalHost), hub.Port());
    QVERIFY(device.waitForConnected());
    device.write(request);
    QVERIFY(device.flush());
    device.disconnectFromHost();

    // Connections are served in their order: once the second is answered, the first is done with.
    QVERIFY(hub.Send(FormRequest({{"cmd", "1"}, {"udid", "2"}})).Package().valid);
    QCOMPARE(hub.Log(), QStringList{QStringLiteral("SEARCH request from Skylet UUID: 2")});
    QCOMPARE(device.readAll(), QByteArray());
}

void tst_AppDiskHub::socketIsDisposedOf()
{
    const HubFixture hub;
    for (int i = 0; i < 5; ++i)
        QVERIFY(hub.Send(FormRequest({{"cmd", "1"}})).Package().valid);
    QTRY_VERIFY(hub->findChildren<QTcpSocket *>().isEmpty());
}

void tst_AppDiskHub::loginIsIgnoredWithoutRestrictions()
{
    const QTemporaryDir globalPrograms;
    const QTemporaryDir ownPrograms;
    QVERIFY(WriteFile(globalPrograms.filePath(QStringLiteral("game.prg")), "global"));
    QVERIFY(WriteFile(ownPrograms.filePath(QStringLiteral("game.prg")), "own"));
    const HubFixture hub;
    hub->mProgramPath = globalPrograms.path();
    AppDiskHub::USER *alice = AddUser(hub, "alice", MD5_OF_A);
    alice->ro = true;
    alice->own_dir = true;
    alice->program_dir = ownPrograms.path();
    hub->mValidate = false;

    const HubField download[] = {{"cmd", "2"}, {"req", "0"}, {"pat", "game"}};
    const QList<QList<HubField>> logins{{},
                                        {{"usr", "alice"}, {"pwd", MD5_OF_A}},
                                        {{"usr", "alice"}, {"pwd", "wrong"}},
                                        {{"usr", "nobody"}}};
    for (const QList<HubField> &login : logins) {
        const WirePackage package =
            hub.Send(FormRequest(login + QList<HubField>{download[0], download[1], download[2]}))
                .Package();
        QCOMPARE(package.result, 0);
        QCOMPARE(package.objects.size(), 1);
        QCOMPARE(package.objects.first().data, QByteArray("global"));
    }

    QCOMPARE(hub.Send(UploadRequest("alice", MD5_OF_A)).Package().result, 0);
    QCOMPARE(EntriesOf(globalPrograms),
             (QStringList{QStringLiteral("game.prg"), QStringLiteral("hello.prg")}));
    QCOMPARE(EntriesOf(ownPrograms), QStringList{QStringLiteral("game.prg")});
}

void tst_AppDiskHub::restrictionsRefuse_data()
{
    QTest::addColumn<QByteArray>("request");
    QTest::addColumn<QByteArray>("result");
    QTest::addColumn<QString>("log");

    const QByteArray a(MD5_OF_A);
    const QByteArray abc(MD5_OF_ABC);
    const QString unknown = QStringLiteral("Authentication Failure: unknown user '%1'");
    const QString mismatch =
        QStringLiteral("Authentication Failure: password mismatch for user '%1'");
    const QString readOnly = QStringLiteral(
        "Authentication Failure: upload not accepted: user '%1' has read-only access");
    const QString alice = QStringLiteral("alice");
    const QString bob = QStringLiteral("bob");

    QTest::newRow("unknown-user-searches")
        << LoginRequest("carol", a, "1") << QByteArray("A7") << unknown.arg(QLatin1String("carol"));
    QTest::newRow("unknown-user-downloads")
        << LoginRequest("carol", a, "2") << QByteArray("A7") << unknown.arg(QLatin1String("carol"));
    QTest::newRow("unknown-user-uploads")
        << UploadRequest("carol", a) << QByteArray("A7") << unknown.arg(QLatin1String("carol"));
    QTest::newRow("unknown-user-commands-nothing")
        << LoginRequest("carol", a, "0") << QByteArray("A7") << unknown.arg(QLatin1String("carol"));
    QTest::newRow("no-user") << FormRequest({{"pwd", a}, {"cmd", "1"}}) << QByteArray("A7")
                             << unknown.arg(QString());
    QTest::newRow("empty-user") << LoginRequest("", a, "1") << QByteArray("A7")
                                << unknown.arg(QString());
    QTest::newRow("other-letter-case")
        << LoginRequest("Alice", a, "1") << QByteArray("A7") << unknown.arg(QLatin1String("Alice"));
    QTest::newRow("beginning-of-the-name")
        << LoginRequest("ali", a, "1") << QByteArray("A7") << unknown.arg(QLatin1String("ali"));
    QTest::newRow("blank-behind-the-name")
        << MultipartRequest({{"usr", "alice "}, {"pwd", a}, {"cmd", "1"}}, "") << QByteArray("A7")
        << unknown.arg(QLatin1String("alice "));
    QTest::newRow("placeholder-as-the-name")
        << LoginRequest("%1", a, "1") << QByteArray("A7") << unknown.arg(QLatin1String("%1"));

    QTest::newRow("other-digest") << LoginRequest("alice", abc, "1") << QByteArray("A7")
                                  << mismatch.arg(alice);
    QTest::newRow("no-digest") << FormRequest({{"usr", "alice"}, {"cmd", "1"}}) << QByteArray("A7")
                               << mismatch.arg(alice);
    QTest::newRow("digest-in-capitals")
        << LoginRequest("alice", a.toUpper(), "1") << QByteArray("A7") << mismatch.arg(alice);
    QTest::newRow("password-itself")
        << LoginRequest("alice", "a", "1") << QByteArray("A7") << mismatch.arg(alice);
    QTest::newRow("digest-one-short")
        << LoginRequest("alice", a.left(31), "1") << QByteArray("A7") << mismatch.arg(alice);
    QTest::newRow("digest-one-over")
        << LoginRequest("alice", a + '1', "1") << QByteArray("A7") << mismatch.arg(alice);
    QTest::newRow("blank-behind-the-digest")
        << MultipartRequest({{"usr", "alice"}, {"pwd", a + ' '}, {"cmd", "1"}}, "")
        << QByteArray("A7") << mismatch.arg(alice);
    QTest::newRow("digest-of-the-second-of-that-name")
        << LoginRequest("alice", "second", "1") << QByteArray("A7") << mismatch.arg(alice);
    QTest::newRow("read-only-user-uploads-with-other-digest")
        << UploadRequest("bob", a) << QByteArray("A7") << mismatch.arg(bob);

    QTest::newRow("read-only-user-uploads")
        << UploadRequest("bob", abc) << QByteArray("AB") << readOnly.arg(bob);
    QTest::newRow("read-only-user-uploads-nothing")
        << LoginRequest("bob", abc, "3") << QByteArray("AB") << readOnly.arg(bob);
}

void tst_AppDiskHub::restrictionsRefuse()
{
    QFETCH(QByteArray, request);
    QFETCH(QByteArray, result);
    QFETCH(QString, log);

    const HubFixture hub;
    AddUser(hub, "alice", MD5_OF_A);
    AddUser(hub, "bob", MD5_OF_ABC)->ro = true;
    AddUser(hub, "alice", "second");
    hub->mValidate = true;
    hub.ClearLog();
    const HubReply reply = hub.Send(request);
    QVERIFY(reply.Head().startsWith("HTTP/1.1 200 Ok\r\n"));
    QCOMPARE(reply.Body(), EmptyPackage(result.constData()));
    QCOMPARE(hub.Log(), QStringList{log});
}

void tst_AppDiskHub::restrictionsAdmit_data()
{
    QTest::addColumn<QByteArray>("request");
    QTest::addColumn<QStringList>("log");

    const QStringList search{QStringLiteral("SEARCH request from Skylet UUID: 42")};
    const QStringList download{QStringLiteral("DOWNLOAD request from Skylet UUID: 42")};
    const QStringList upload{QStringLiteral("UPLOAD request from Skylet UUID: 42")};

    QTest::newRow("user-searches") << LoginRequest("alice", MD5_OF_A, "1") << search;
    QTest::newRow("user-downloads") << LoginRequest("alice", MD5_OF_A, "2") << download;
    QTest::newRow("user-uploads") << LoginRequest("alice", MD5_OF_A, "3") << upload;
    QTest::newRow("user-commands-nothing") << LoginRequest("alice", MD5_OF_A, "4") << QStringList();
    QTest::newRow("read-only-user-searches") << LoginRequest("bob", MD5_OF_ABC, "1") << search;
    QTest::newRow("read-only-user-downloads") << LoginRequest("bob", MD5_OF_ABC, "2") << download;
    QTest::newRow("read-only-user-commands-nothing")
        << LoginRequest("bob", MD5_OF_ABC, "0") << QStringList();
    QTest::newRow("digest-is-any-text") << LoginRequest("dave", "No Digest", "1") << search;
    QTest::newRow("empty-name-and-digest") << LoginRequest("", "", "1") << search;
}

void tst_AppDiskHub::restrictionsAdmit()
{
    QFETCH(QByteArray, request);
    QFETCH(QStringList, log);

    const HubFixture hub;
    AddUser(hub, "alice", MD5_OF_A);
    AddUser(hub, "bob", MD5_OF_ABC)->ro = true;
    AddUser(hub, "dave", "No Digest");
    AddUser(hub, "", "");
    hub->mValidate = true;
    hub.ClearLog();
    const WirePackage package = hub.Send(request).Package();
    QVERIFY(package.valid);
    QCOMPARE(package.result, 0);
    QCOMPARE(hub.Log(), log);
}

void tst_AppDiskHub::readOnlyUserStoresNothing()
{
    const QTemporaryDir programs;
    const HubFixture hub;
    hub->mProgramPath = programs.path();
    AppDiskHub::USER *bob = AddUser(hub, "bob", MD5_OF_ABC);
    bob->ro = true;
    hub->mValidate = true;
    QCOMPARE(hub.Send(UploadRequest("bob", MD5_OF_ABC)).Package().result, -85);
    QCOMPARE(EntriesOf(programs), QStringList());

    bob->ro = false;
    QCOMPARE(hub.Send(UploadRequest("bob", MD5_OF_ABC)).Package().result, 0);
    QCOMPARE(EntriesOf(programs), QStringList{QStringLiteral("hello.prg")});
}

void tst_AppDiskHub::restrictionsApplyFromTheNextRequest()
{
    const HubFixture hub;
    const QByteArray request = FormRequest({{"cmd", "1"}});
    QCOMPARE(hub.Send(request).Package().result, 0);
    hub.Control<QCheckBox>("accessRestrictionsEnable")->setChecked(true);
    QCOMPARE(hub.Send(request).Package().result, -89);
    hub.Control<QCheckBox>("accessRestrictionsEnable")->setChecked(false);
    QCOMPARE(hub.Send(request).Package().result, 0);
}

void tst_AppDiskHub::usersApplyFromTheNextRequest()
{
    const HubFixture hub;
    hub->mValidate = true;
    const QByteArray request = LoginRequest("alice", MD5_OF_A, "1");
    QCOMPARE(hub.Send(request).Package().result, -89);
    AppDiskHub::USER *alice = AddUser(hub, "alice", MD5_OF_A);
    QCOMPARE(hub.Send(request).Package().result, 0);
    alice->md5 = QLatin1String(MD5_OF_ABC);
    QCOMPARE(hub.Send(request).Package().result, -89);
    alice->md5 = QLatin1String(MD5_OF_A);
    QCOMPARE(hub.Send(request).Package().result, 0);
    hub->RemUser(0);
    QCOMPARE(hub.Send(request).Package().result, -89);
}

void tst_AppDiskHub::admittedUserHasOwnDirectories()
{
    const QTemporaryDir globalPrograms;
    const QTemporaryDir ownPrograms;
    QVERIFY(WriteFile(globalPrograms.filePath(QStringLiteral("game.prg")), "global"));
    QVERIFY(WriteFile(ownPrograms.filePath(QStringLiteral("game.prg")), "own"));
    const HubFixture hub;
    hub->mProgramPath = globalPrograms.path();
    hub->mValidate = true;
    AddUser(hub, "bob", MD5_OF_ABC);
    AppDiskHub::USER *alice = AddUser(hub, "alice", MD5_OF_A);
    alice->own_dir = true;
    alice->program_dir = ownPrograms.path();

    const auto download = [&hub](const QByteArray &usr, const QByteArray &pwd) {
        const WirePackage package =
            hub.Send(FormRequest(
                         {{"usr", usr}, {"pwd", pwd}, {"cmd", "2"}, {"req", "0"}, {"pat", "game"}}))
                .Package();
        return package.objects.isEmpty() ? QByteArray() : package.objects.first().data;
    };
    QCOMPARE(download("alice", MD5_OF_A), QByteArray("own"));
    QCOMPARE(download("bob", MD5_OF_ABC), QByteArray("global"));
}

void tst_AppDiskHub::serverTextsAreTranslatable()
{
    const HubFixture hub;
    const PortHolder holder;
    BracketTranslator translator;
    QVERIFY(hub->installTranslator(&translator));
    hub.ClearLog();

    hub->RestartServer();
    hub->mPort = holder.Port();
    hub->RestartServer();
    hub->mActiveIfc = -1;
    hub->RestartServer();
    QCOMPARE(hub.Log(),
             (QStringList{QLatin1Char('[') + RunningLine(0) + QLatin1Char(']'),
                          QLatin1Char('[') + FailedLine(holder.Port()) + QLatin1Char(']'),
                          QLatin1Char('[') + QLatin1String(VERIFY_LINE) + QLatin1Char(']'),
                          QLatin1Char('[') + QLatin1String(NO_INTERFACE_LINE) + QLatin1Char(']')}));
}

void tst_AppDiskHub::requestTextsAreTranslatable()
{
    const HubFixture hub;
    AddUser(hub, "bob", MD5_OF_ABC)->ro = true;
    hub->mValidate = true;
    BracketTranslator translator;
    QVERIFY(hub->installTranslator(&translator));
    hub.ClearLog();

    hub.Send(LoginRequest("carol", "", "1"));
    hub.Send(LoginRequest("bob", "", "1"));
    hub.Send(LoginRequest("bob", MD5_OF_ABC, "3"));
    hub.Send(LoginRequest("bob", MD5_OF_ABC, "1"));
    hub.Send(LoginRequest("bob", MD5_OF_ABC, "2"));
    hub->mValidate = false;
    hub.Send(LoginRequest("bob", MD5_OF_ABC, "3"));
    QCOMPARE(
        hub.Log(),
        (QStringList{QStringLiteral("[Authentication Failure: unknown user 'carol']"),
                     QStringLiteral("[Authentication Failure: password mismatch for user 'bob']"),
                     QStringLiteral("[Authentication Failure: upload not accepted: user 'bob' has "
                                    "read-only access]"),
                     QStringLiteral("[SEARCH request from Skylet UUID: 42]"),
                     QStringLiteral("[DOWNLOAD request from Skylet UUID: 42]"),
                     QStringLiteral("[UPLOAD request from Skylet UUID: 42]")}));
}

int main(int argc, char **argv)
{
    if (argc == 2 && qstrcmp(argv[1], TWO_HUBS) == 0)
        return RunTwoHubs(argc, argv);
    if (argc == 2 && qstrcmp(argv[1], LOST_INSTANCE) == 0)
        return RunLostInstance(argc, argv);
    if (argc == 2 && qstrcmp(argv[1], REPORT) == 0)
        return RunReport();

    // The hub is the application object, so there is none before a test makes it.
    tst_AppDiskHub test(argv);
    return QTest::qExec(&test, argc, argv);
}

#include "tst_AppDiskHub.moc"
