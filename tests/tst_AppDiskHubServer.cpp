// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#include "AppDiskHub.h"
#include "BracketTranslator.h"
#include "HostFiles.h"
#include "HubFixture.h"

#include <QNetworkInterface>
#include <QPointer>
#include <QProcess>
#include <QPushButton>
#include <QSemaphore>
#include <QSignalSpy>
#include <QTextStream>
#include <QThread>

namespace
{

// Networks other than this machine's need a child: this program again, with this argument.
constexpr char REPORT[] = "--report";

constexpr int NETWORK_REFUSED = 77; ///< the child's exit code if its network cannot be made

constexpr char NO_INTERFACE_LINE[] = "Unable to start server - no valid interface selected.";
constexpr char VERIFY_LINE[] = "Please verify the selected interface is active and the selected "
                               "port is not in use by another application.";

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

/// The addresses that the hub finds, and the server that listens on one of them.
class tst_AppDiskHubServer : public QObject
{
    Q_OBJECT

public:
    explicit tst_AppDiskHubServer(char **arguments) : mArguments(arguments) {}

private slots:
    void init();
    void startsWithAPortInUse();
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
    void serverTextsAreTranslatable();

private:
    char **mArguments; ///< of this program
    HubSettings mSettings;
};

void tst_AppDiskHubServer::init()
{
    QVERIFY(mSettings.Write(HubSettings::Loopback()));
}

void tst_AppDiskHubServer::startsWithAPortInUse()
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

void tst_AppDiskHubServer::scanListsTheMachinesAddresses()
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

void tst_AppDiskHubServer::scanForgetsTheFormerList()
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

void tst_AppDiskHubServer::scanInANetwork_data()
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

void tst_AppDiskHubServer::scanInANetwork()
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

void tst_AppDiskHubServer::listensOnTheSelectedAddressOnly()
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

void tst_AppDiskHubServer::listensOnThePortModulo65536_data()
{
    QTest::addColumn<int>("offset");

    QTest::newRow("as-it-is") << 0;
    QTest::newRow("above-65535") << 65536;
    QTest::newRow("far-above-65535") << 65536 * 30000;
    QTest::newRow("negative") << -65536;
}

void tst_AppDiskHubServer::listensOnThePortModulo65536()
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

void tst_AppDiskHubServer::startFailsWithoutInterface_data()
{
    QTest::addColumn<bool>("listed");

    QTest::newRow("none-listed") << false;
    QTest::newRow("none-selected") << true;
}

void tst_AppDiskHubServer::startFailsWithoutInterface()
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

void tst_AppDiskHubServer::startFailsOnAPortInUse()
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

void tst_AppDiskHubServer::startFailsOnAnAddressThatIsGone()
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

void tst_AppDiskHubServer::startLeavesARunningServerAlone()
{
    const HubFixture hub;
    const QPointer<QTcpServer> former(hub->mServer);
    QCOMPARE(hub->StartServer(), 0);
    QVERIFY(former);
    QVERIFY(former->isListening());
    QVERIFY(hub->mServer != former.data());
    QVERIFY(hub->mServer->isListening());
}

void tst_AppDiskHubServer::stopClosesTheSocket()
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

void tst_AppDiskHubServer::stopWithoutServerDoesNothing()
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

void tst_AppDiskHubServer::stopDisconnectsTheServerFromAll()
{
    const HubFixture hub;
    const QSignalSpy destroyed(hub->mServer, &QObject::destroyed);
    QVERIFY(destroyed.isValid());
    hub->StopServer();
    QCOMPARE(destroyed.size(), 0);
}

void tst_AppDiskHubServer::stopCutsWaitingConnections()
{
    const HubFixture hub;
    QTcpSocket device;
    device.connectToHost(QHostAddress(QHostAddress::LocalHost), hub.Port());
    QVERIFY(device.waitForConnected());
    hub->StopServer();
    QTRY_COMPARE(device.state(), QAbstractSocket::UnconnectedState);
}

void tst_AppDiskHubServer::restartOnTheSamePort()
{
    const HubFixture hub;
    hub->mPort = FreePort();
    QCOMPARE(hub->RestartServer(), 0);
    for (int i = 0; i < 3; ++i) {
        // A connection that was served keeps the port busy for a while.
        QCOMPARE(hub.Send(FormRequest({})).Body(), EmptyPackage());
        hub.ClearLog();
        QCOMPARE(hub->RestartServer(), 0);
        QCOMPARE(hub.Log(), QStringList{RunningLine(hub->mPort)});
        QCOMPARE(hub->findChildren<QTcpServer *>(), QList<QTcpServer *>{hub->mServer});
    }
    QCOMPARE(hub.Send(FormRequest({})).Body(), EmptyPackage());
}

void tst_AppDiskHubServer::restartWhileAReplyIsUnderWay()
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
    QCOMPARE(hub.Send(FormRequest({})).Body(), EmptyPackage());
}

void tst_AppDiskHubServer::restartTakesTheNewPort()
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

void tst_AppDiskHubServer::restartThatFailsLeavesNoServer()
{
    const HubFixture hub;
    const quint16 former = hub.Port();
    hub->mActiveIfc = -1;
    QCOMPARE(hub->RestartServer(), -1);
    QVERIFY(!hub->mServer);
    QVERIFY(!Accepts(former));
}

void tst_AppDiskHubServer::serverTextsAreTranslatable()
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

int main(int argc, char **argv)
{
    if (argc == 2 && qstrcmp(argv[1], REPORT) == 0)
        return RunReport();

    // The hub is the application object, so there is none before a test makes it.
    tst_AppDiskHubServer test(argv);
    return QTest::qExec(&test, argc, argv);
}

#include "tst_AppDiskHubServer.moc"
