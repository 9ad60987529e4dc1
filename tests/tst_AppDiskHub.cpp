// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#include "AppDiskHub.h"
#include "HubFixture.h"

#include <QCheckBox>
#include <QComboBox>
#include <QLineEdit>
#include <QMetaMethod>
#include <QPointer>
#include <QProcess>
#include <QPushButton>
#include <QSignalSpy>
#include <QTcpServer>
#include <QTimer>

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

// What ends the process needs a child: this program again, with one of these arguments.
constexpr char TWO_HUBS[] = "--two-hubs";
constexpr char LOST_INSTANCE[] = "--lost-instance";

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

} // namespace

/// The hub's life, from the first line in the console to the last writing of the settings.
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
    void closingTheWindowEndsTheEventLoop();
    void quitStopsTheServerAndSaves();
    void quitStopsTheServerThenSavesThenClosesTheWindow();
    void quitWithoutServer();
    void logAppendsALine_data();
    void logAppendsALine();
    void syncUiShowsTheMembers();
    void syncUiWithoutInterfaces();

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
        QCOMPARE(hub.Send(FormRequest({})).Body(), EmptyPackage());
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
    QCOMPARE(log.at(3), QStringLiteral("Server running on IP: 127.0.0.1 PORT: 0"));
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

void tst_AppDiskHub::quitStopsTheServerThenSavesThenClosesTheWindow()
{
    HubFixture hub;
    hub->mDiskPath = QStringLiteral("/changed");
    QStringList order;
    const auto note = [this, &order](const char *what) {
        const bool saved = mSettings.Read().contains("disk_path=/changed\n");
        order.append(QLatin1String(what) +
                     QLatin1String(saved ? " after saving" : " before saving"));
    };
    // The server's own signals are cut off before it goes, those of a child of it are not.
    const QObject *const part = new QObject(hub->mServer);
    connect(part, &QObject::destroyed, this, [&note] { note("server"); });
    connect(hub.Console()->window(), &QObject::destroyed, this, [&note] { note("window"); });

    hub.Quit();
    QCOMPARE(order, (QStringList{QStringLiteral("server before saving"),
                                 QStringLiteral("window after saving")}));
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

int main(int argc, char **argv)
{
    if (argc == 2 && qstrcmp(argv[1], TWO_HUBS) == 0)
        return RunTwoHubs(argc, argv);
    if (argc == 2 && qstrcmp(argv[1], LOST_INSTANCE) == 0)
        return RunLostInstance(argc, argv);

    // The hub is the application object, so there is none before a test makes it.
    tst_AppDiskHub test(argv);
    return QTest::qExec(&test, argc, argv);
}

#include "tst_AppDiskHub.moc"
