// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#include "AppAccessRestrictionsDialog.h"
#include "MainWindowFixture.h"

#include <QSemaphore>
#include <QSettings>
#include <QThread>

#include <memory>

using namespace WindowDriver;

class tst_AppMainWindowControls : public QObject
{
    Q_OBJECT

private slots:
    void init();

    // Interface, port and restart.
    void chosenInterfaceIsActive();
    void chosenInterfaceWaitsForTheRestart();
    void noInterfaceCannotBeStarted();
    void portIsStored_data();
    void portIsStored();
    void badPortIsReplacedByTheOldOne_data();
    void badPortIsReplacedByTheOldOne();
    void portIsStoredWhenTheFieldIsLeft();
    void portWaitsForTheRestart();
    void portBeyond65535ReachesTheServer();
    void restartTakesThePortBeingTyped();
    void restartOnTheSamePort();
    void failedRestartShowsInTheConsoleOnly();

    // Access restrictions.
    void accessSwitchChangesTheHub();
    void accessSwitchAppliesFromTheNextRequest();
    void accessSwitchKeepsTheUsers();
    void halfCheckedIsOn();
    void anyStateButZeroIsOn_data();
    void anyStateButZeroIsOn();
    void configureOpensTheDialog_data();
    void configureOpensTheDialog();
    void configureIgnoresItsArgument_data();
    void configureIgnoresItsArgument();

    // Directories.
    void chosenDirectoryAppliesFromTheNextRequest();

    // Console.
    void consoleGetsEachTextAsAParagraph();
    void consoleCannotBeTypedInto();
    void requestsShowInTheConsole();
    void lineIsSeenWhileTheNextRequestBlocks();

    // Settings.
    void settingsWaitForTheEndOfTheHub();
    void hubMayEndWhileThePortIsEdited();

private:
    HubSettings mSettings;
};

namespace
{

constexpr int RESULT_AUTH_FAILURE = -89;

const QString SERVER_FAILED = QStringLiteral("Unable to start server on port %1!");

/// Lets another thread wait until the thread of the windows has painted a widget.
class PaintSignal : public QObject
{
public:
    explicit PaintSignal(QWidget *watched) { watched->installEventFilter(this); }

    /// From any thread: whether it is painted within that time.
    bool Wait(int timeoutMs) { return mPainted.tryAcquire(1, timeoutMs); }

    bool eventFilter(QObject *watched, QEvent *event) override
    {
        if (event->type() == QEvent::Paint)
            mPainted.release();
        return QObject::eventFilter(watched, event);
    }

private:
    QSemaphore mPainted;
};

} // namespace

void tst_AppMainWindowControls::init()
{
    QVERIFY(mSettings.Write(HubSettings::Loopback()));
}

void tst_AppMainWindowControls::chosenInterfaceIsActive()
{
    const WindowFixture hub;
    Choose(hub.Interface(), 1);
    QCOMPARE(hub->mActiveIfc, 1);
    Choose(hub.Interface(), 0);
    QCOMPARE(hub->mActiveIfc, 0);
}

void tst_AppMainWindowControls::chosenInterfaceWaitsForTheRestart()
{
    const WindowFixture hub;
    const QTcpServer *const server = hub->mServer;
    QVERIFY(server != nullptr);
    const QHostAddress address = server->serverAddress();
    const QStringList log = hub.Log();
    Choose(hub.Interface(), 1);
    QCOMPARE(hub->mServer, server);
    QCOMPARE(server->serverAddress(), address);
    QVERIFY(server->isListening());
    QCOMPARE(hub.Log(), log);

    Click(hub.Window(), "restartServer");
    QVERIFY(hub->mServer != nullptr);
    QCOMPARE(hub->mServer->serverAddress(), QHostAddress(QStringLiteral("127.0.0.2")));
    QCOMPARE(hub.Log(), log + QStringList{SERVER_RUNNING.arg(QStringLiteral("127.0.0.2")).arg(0)});
}

void tst_AppMainWindowControls::noInterfaceCannotBeStarted()
{
    const WindowFixture hub;
    hub.Interface()->setCurrentIndex(-1);
    QCOMPARE(hub->mActiveIfc, -1);
    Click(hub.Window(), "restartServer");
    QVERIFY(hub->mServer == nullptr);
    QCOMPARE(hub.LastLog(),
             QStringLiteral("Unable to start server - no valid interface selected."));
    QVERIFY(hub.Window().isVisible());
}

void tst_AppMainWindowControls::portIsStored_data()
{
    QTest::addColumn<QString>("typed");
    QTest::addColumn<int>("port");

    QTest::newRow("usual") << "6464" << 6464;
    QTest::newRow("one") << "1" << 1;
    QTest::newRow("last-of-16-bits") << "65535" << 65535;
    QTest::newRow("beyond-16-bits") << "70000" << 70000;
    QTest::newRow("negative") << "-1" << -1;
    QTest::newRow("plus-sign") << "+81" << 81;
    QTest::newRow("leading-zeros") << "0081" << 81;
    QTest::newRow("blanks-around") << " 81 " << 81;
    QTest::newRow("last-of-32-bits") << "2147483647" << 2147483647;
    QTest::newRow("first-of-32-bits") << "-2147483648" << int(-2147483647 - 1);
}

void tst_AppMainWindowControls::portIsStored()
{
    QFETCH(const QString, typed);
    QFETCH(const int, port);
    const WindowFixture hub;
    hub->mPort = 80;
    hub->SyncUi();
    Type(hub.PortField(), typed);
    QCOMPARE(hub->mPort, 80); // not before the field is done with
    Press(Qt::Key_Return);
    QCOMPARE(hub->mPort, port);
    QCOMPARE(hub.PortField()->text(), typed);
}

void tst_AppMainWindowControls::badPortIsReplacedByTheOldOne_data()
{
    QTest::addColumn<QString>("typed");

    QTest::newRow("empty") << "";
    QTest::newRow("blank") << " ";
    QTest::newRow("zero") << "0";
    QTest::newRow("zeros") << "000";
    QTest::newRow("minus-zero") << "-0";
    QTest::newRow("word") << "abc";
    QTest::newRow("number-then-word") << "80abc";
    QTest::newRow("two-numbers") << "80 81";
    QTest::newRow("hexadecimal") << "0x50";
    QTest::newRow("fraction") << "80.5";
    QTest::newRow("thousands-separator") << "1,000";
    QTest::newRow("one-over-32-bits") << "2147483648";
    QTest::newRow("one-under-32-bits") << "-2147483649";
    QTest::newRow("placeholder") << "%1";
}

void tst_AppMainWindowControls::badPortIsReplacedByTheOldOne()
{
    QFETCH(const QString, typed);
    const WindowFixture hub;
    hub->mPort = 70000;
    hub->SyncUi();
    Type(hub.PortField(), typed);
    QCOMPARE(hub.PortField()->text(), typed);
    Press(Qt::Key_Return);
    QCOMPARE(hub->mPort, 70000);
    QCOMPARE(hub.PortField()->text(), QStringLiteral("70000"));
}

void tst_AppMainWindowControls::portIsStoredWhenTheFieldIsLeft()
{
    const WindowFixture hub;
    hub->mPort = 80;
    hub->SyncUi();
    Type(hub.PortField(), QStringLiteral("70000"));
    Press(Qt::Key_Tab);
    QCOMPARE(hub->mPort, 70000);
    QCOMPARE(hub.PortField()->text(), QStringLiteral("70000"));
    Type(hub.PortField(), QStringLiteral("abc"));
    Press(Qt::Key_Backtab);
    QCOMPARE(hub->mPort, 70000);
    QCOMPARE(hub.PortField()->text(), QStringLiteral("70000"));
}

void tst_AppMainWindowControls::portWaitsForTheRestart()
{
    const WindowFixture hub;
    const quint16 before = hub.Port();
    const quint16 after = FreePort();
    const QStringList log = hub.Log();
    Type(hub.PortField(), QString::number(after));
    Press(Qt::Key_Return);
    QCOMPARE(hub->mPort, int(after));
    QCOMPARE(hub.Port(), before);
    QCOMPARE(hub.Log(), log);
    QVERIFY(hub.Search().valid); // still served on the old port

    hub.ClearLog();
    Click(hub.Window(), "restartServer");
    QCOMPARE(hub.Port(), after);
    QCOMPARE(hub.Log(), QStringList{SERVER_RUNNING.arg(QStringLiteral("127.0.0.1")).arg(after)});
    QVERIFY(hub.Search().valid);
}

void tst_AppMainWindowControls::portBeyond65535ReachesTheServer()
{
    const WindowFixture hub;
    const quint16 port = FreePort();
    Type(hub.PortField(), QString::number(65536 + port));
    Press(Qt::Key_Return);
    Click(hub.Window(), "restartServer");
    QCOMPARE(hub->mPort, 65536 + port);
    QCOMPARE(hub.LastLog(), SERVER_RUNNING.arg(QStringLiteral("127.0.0.1")).arg(65536 + port));
    QCOMPARE(hub.Port(), port);
}

void tst_AppMainWindowControls::restartTakesThePortBeingTyped()
{
    const WindowFixture hub;
    const quint16 port = FreePort();
    Type(hub.PortField(), QString::number(port));
    Click(hub.Window(), "restartServer");
    QCOMPARE(hub.Port(), port);
}

void tst_AppMainWindowControls::restartOnTheSamePort()
{
    const WindowFixture hub;
    const quint16 port = FreePort();
    Type(hub.PortField(), QString::number(port));
    hub.ClearLog();
    for (int i = 0; i < 3; ++i)
        Click(hub.Window(), "restartServer");
    const QString line = SERVER_RUNNING.arg(QStringLiteral("127.0.0.1")).arg(port);
    QCOMPARE(hub.Log(), (QStringList{line, line, line}));
    QCOMPARE(hub.Port(), port);
    QVERIFY(hub.Search().valid);
}

void tst_AppMainWindowControls::failedRestartShowsInTheConsoleOnly()
{
    const WindowFixture hub;
    QTcpServer other;
    QVERIFY(other.listen(QHostAddress::LocalHost));
    Type(hub.PortField(), QString::number(other.serverPort()));
    hub.ClearLog();
    Click(hub.Window(), "restartServer");
    QCOMPARE(hub.Log(),
             (QStringList{SERVER_FAILED.arg(other.serverPort()),
                          QStringLiteral("Please verify the selected interface is active and the "
                                         "selected port is not in use by another application.")}));
    QVERIFY(hub->mServer == nullptr);
    QVERIFY(QApplication::activeModalWidget() == nullptr);
    QVERIFY(hub.The<QPushButton>("restartServer")->isEnabled());
    QCOMPARE(hub.PortField()->text(), QString::number(other.serverPort()));
}

void tst_AppMainWindowControls::accessSwitchChangesTheHub()
{
    const WindowFixture hub;
    Click(hub.Access());
    QVERIFY(hub.Access()->isChecked());
    QVERIFY(hub->mValidate);
    QVERIFY(hub.Configure()->isEnabled());
    Click(hub.Access());
    QVERIFY(!hub.Access()->isChecked());
    QVERIFY(!hub->mValidate);
    QVERIFY(!hub.Configure()->isEnabled());
}

void tst_AppMainWindowControls::accessSwitchAppliesFromTheNextRequest()
{
    const WindowFixture hub;
    const QTcpServer *const server = hub->mServer;
    QCOMPARE(hub.Search().result, 0);
    Click(hub.Access());
    QCOMPARE(hub.Search().result, RESULT_AUTH_FAILURE);
    QCOMPARE(hub.LastLog(), QStringLiteral("Authentication Failure: unknown user 'nobody'"));
    Click(hub.Access());
    QCOMPARE(hub.Search().result, 0);
    QCOMPARE(hub->mServer, server);
}

void tst_AppMainWindowControls::accessSwitchKeepsTheUsers()
{
    const WindowFixture hub;
    hub->AddUser(QStringLiteral("alice"));
    hub->AddUser(QStringLiteral("bob"));
    Click(hub.Access());
    Click(hub.Access());
    QCOMPARE(hub->NumUsers(), 2);
    QCOMPARE(hub->User(0)->name, QStringLiteral("alice"));
    QCOMPARE(hub->User(1)->name, QStringLiteral("bob"));
}

void tst_AppMainWindowControls::halfCheckedIsOn()
{
    const WindowFixture hub;
    hub.Access()->setCheckState(Qt::PartiallyChecked);
    QVERIFY(hub->mValidate);
    QVERIFY(hub.Configure()->isEnabled());
}

void tst_AppMainWindowControls::anyStateButZeroIsOn_data()
{
    QTest::addColumn<int>("state");
    QTest::addColumn<bool>("on");

    QTest::newRow("unchecked") << int(Qt::Unchecked) << false;
    QTest::newRow("half-checked") << int(Qt::PartiallyChecked) << true;
    QTest::newRow("checked") << int(Qt::Checked) << true;
    QTest::newRow("negative") << -1 << true;
}

void tst_AppMainWindowControls::anyStateButZeroIsOn()
{
    QFETCH(const int, state);
    QFETCH(const bool, on);
    const WindowFixture hub;
    hub->mValidate = !on;
    hub.Configure()->setEnabled(!on);
    hub.Window().AccessRestrictionsChanged(state);
    QCOMPARE(hub->mValidate, on);
    QCOMPARE(hub.Configure()->isEnabled(), on);
}

void tst_AppMainWindowControls::configureOpensTheDialog_data()
{
    QTest::addColumn<QString>("button");

    QTest::newRow("answered-with-ok") << "okButton";
    QTest::newRow("answered-with-cancel") << "cancelButton";
}

void tst_AppMainWindowControls::configureOpensTheDialog()
{
    QFETCH(const QString, button);
    const WindowFixture hub;
    Click(hub.Access());
    QPointer<AppAccessRestrictionsDialog> opened;
    ModalAnswer<AppAccessRestrictionsDialog> answer([&](AppAccessRestrictionsDialog *dialog) {
        opened = dialog;
        QCOMPARE(dialog->parentWidget(), &hub.Window());
        QVERIFY(dialog->isModal());
        QCOMPARE(dialog->windowFlags() & Qt::WindowType_Mask, Qt::WindowFlags(Qt::Dialog));
        Click(*dialog, qPrintable(button));
    });
    Click(hub.Configure());
    QVERIFY(answer.Answered());
    QVERIFY(opened.isNull()); // gone by now, not later
    QVERIFY(hub.Window().findChildren<QDialog *>().isEmpty());
}

void tst_AppMainWindowControls::configureIgnoresItsArgument_data()
{
    QTest::addColumn<bool>("checked");

    QTest::newRow("unchecked") << false;
    QTest::newRow("checked") << true;
}

void tst_AppMainWindowControls::configureIgnoresItsArgument()
{
    QFETCH(const bool, checked);
    const WindowFixture hub;
    ModalAnswer<AppAccessRestrictionsDialog> answer(
        [](AppAccessRestrictionsDialog *dialog) { Click(*dialog, "okButton"); });
    hub.Window().ConfigureAccessRestrictions(checked);
    QVERIFY(answer.Answered());
    QVERIFY(!hub->mValidate);
}

void tst_AppMainWindowControls::chosenDirectoryAppliesFromTheNextRequest()
{
    const QTemporaryDir programs;
    QFile file(programs.filePath(QStringLiteral("hello.prg")));
    QVERIFY(file.open(QIODevice::WriteOnly));
    QCOMPARE(file.write(QByteArray::fromHex("0108")), qint64(2));
    file.close();
    const WindowFixture hub;
    const WirePackage before = hub.Search();
    QCOMPARE(before.objects.size(), decltype(before.objects.size())(1));
    QVERIFY(!before.objects.at(0).data.contains("HELLO"));

    ModalAnswer<QFileDialog> answer(
        [&](QFileDialog *chooser) { AnswerChooser(chooser, programs.path()); });
    Click(hub.Window(), "programDirectoryBrowse");
    QVERIFY(answer.Answered());
    const WirePackage after = hub.Search();
    QCOMPARE(after.objects.size(), decltype(after.objects.size())(1));
    QVERIFY(after.objects.at(0).data.contains("HELLO"));
}

void tst_AppMainWindowControls::consoleGetsEachTextAsAParagraph()
{
    const WindowFixture hub;
    hub.ClearLog();
    hub->Log(QStringLiteral("one"));
    hub->Log(QString());
    hub->Log(QStringLiteral("two\nthree"));
    QCOMPARE(hub.Log(), (QStringList{QStringLiteral("one"), QString(), QStringLiteral("two"),
                                     QStringLiteral("three")}));
}

void tst_AppMainWindowControls::consoleCannotBeTypedInto()
{
    const WindowFixture hub;
    const QStringList log = hub.Log();
    hub.Console()->setFocus();
    QTest::keyClicks(hub.Console(), QStringLiteral("abc"));
    QTest::keyClick(hub.Console(), Qt::Key_Backspace);
    QCOMPARE(hub.Log(), log);
}

void tst_AppMainWindowControls::requestsShowInTheConsole()
{
    const WindowFixture hub;
    hub.ClearLog();
    hub.Send(FormRequest({{"cmd", "1"}, {"pat", "*"}, {"udid", "device-<7>"}}));
    QVERIFY(!hub.Log().isEmpty());
    QCOMPARE(hub.Log().constFirst(), QStringLiteral("SEARCH request from Skylet UUID: device-<7>"));
}

void tst_AppMainWindowControls::lineIsSeenWhileTheNextRequestBlocks()
{
    constexpr int FAR_BELOW_THE_TIME_LIMIT_MS = 2000; // of a request that sends nothing

    const WindowFixture hub;
    QCoreApplication::processEvents();
    // Painted by nothing but the wait that begins: the usual time never comes.
    hub.The<QTimer>("consoleDelay")->setInterval(3600 * 1000);
    QVERIFY(hub.Search().valid);
    PaintSignal painted(hub.Console()->viewport());
    bool seen = false;
    QEventLoop loop;
    const std::unique_ptr<QThread> device(QThread::create([&seen, &painted, port = hub.Port()] {
        QTcpSocket silent;
        silent.connectToHost(QHostAddress::LocalHost, port);
        seen = silent.waitForConnected() && painted.Wait(FAR_BELOW_THE_TIME_LIMIT_MS);
    }));
    connect(device.get(), &QThread::finished, &loop, &QEventLoop::quit);
    device->start();
    loop.exec();
    device->wait();
    QVERIFY(seen);
}

void tst_AppMainWindowControls::settingsWaitForTheEndOfTheHub()
{
    const QTemporaryDir disks;
    const QByteArray before = mSettings.Read();
    {
        const WindowFixture hub;
        Click(hub.Access());
        Type(hub.PortField(), QStringLiteral("6464"));
        Press(Qt::Key_Return);
        Choose(hub.Interface(), 1);
        ModalAnswer<QFileDialog> answer(
            [&](QFileDialog *chooser) { AnswerChooser(chooser, disks.path()); });
        Click(hub.Window(), "diskDirectoryBrowse");
        QVERIFY(answer.Answered());
        QCOMPARE(mSettings.Read(), before);
    }
    QVERIFY(mSettings.Read() != before); // which brings the file up to date on Windows
    const QSettings after(mSettings.FilePath(), QSettings::IniFormat);
    QCOMPARE(after.value(QStringLiteral("security/validate")).toBool(), true);
    QCOMPARE(after.value(QStringLiteral("server/port")).toInt(), 6464);
    QCOMPARE(after.value(QStringLiteral("server/active_ifc_name")).toString(),
             QStringLiteral("second"));
    QCOMPARE(after.value(QStringLiteral("server/active_ifc_addr")).toString(),
             QStringLiteral("127.0.0.2"));
    QCOMPARE(after.value(QStringLiteral("media/disk_path")).toString(), disks.path());
}

void tst_AppMainWindowControls::hubMayEndWhileThePortIsEdited()
{
    {
        HubFixture hub;
        Activate(hub->mMainWindow);
        auto *const port = Named<QLineEdit>(*hub->mMainWindow, "serverPort");
        Type(port, QStringLiteral("6464"));
        QVERIFY(port->hasFocus());
        hub.Quit();
    }
    // What was typed but not yet taken is not kept.
    const QSettings after(mSettings.FilePath(), QSettings::IniFormat);
    QCOMPARE(after.value(QStringLiteral("server/port")).toInt(), 0);
}

QTEST_APPLESS_MAIN(tst_AppMainWindowControls) // each hub is the application object

#include "tst_AppMainWindowControls.moc"
