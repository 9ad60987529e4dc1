// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#include "AppAccessRestrictionsDialog.h"
#include "AppMainWindow.h"
#include "HubFixture.h"
#include "WindowDriver.h"

#include <QAction>
#include <QMenu>
#include <QMenuBar>
#include <QPushButton>
#include <QSemaphore>
#include <QSettings>
#include <QSignalSpy>
#include <QToolBar>

using namespace WindowDriver;

class tst_AppMainWindow : public QObject
{
    Q_OBJECT

private slots:
    void init();

    // The form.
    void isAMainWindow();
    void parentAndFlagsAreTaken();
    void slotsAreInOrder();
    void slotParametersAreNamed();
    void formIsNamedTitledAndSized();
    void iconIsTheOneCompiledIn();
    void controls_data();
    void controls();
    void controlsAreMadeInOrder();
    void labelsAreRightAligned_data();
    void labelsAreRightAligned();
    void layoutsAreNested();
    void settingsGridIsTight();
    void sizePolicies_data();
    void sizePolicies();
    void portTakesAnyText();
    void directoriesAreReadOnly();
    void consoleIsReadOnly();
    void configureIsDisabledInTheForm();
    void quitActionIsNowhereAndDoesNothing();
    void textsAreTranslated();
    void interfaceFormatIsTheHubsToTranslate();

    // Filling the controls.
    void hubShowsTheWindow();
    void syncShowsTheMembers();
    void syncListsTheInterfaces();
    void syncReplacesTheList();
    void syncSelectsTheActiveInterface_data();
    void syncSelectsTheActiveInterface();
    void syncNeverChangesTheActiveInterface();
    void syncLeavesTheSignalsLive();
    void syncWithoutInterfacesDisables();
    void syncNeverEnablesAgain();
    void syncRunsTheAccessSlot();
    void syncShowsThePort_data();
    void syncShowsThePort();
    void oddInterfaceNamesAreShownAsTheyAre_data();
    void oddInterfaceNamesAreShownAsTheyAre();

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
    void accessSwitchHoldsForTheNextRequest();
    void accessSwitchKeepsTheUsers();
    void halfCheckedIsOn();
    void anyStateButZeroIsOn_data();
    void anyStateButZeroIsOn();
    void configureOpensTheDialog_data();
    void configureOpensTheDialog();
    void configureIgnoresItsArgument_data();
    void configureIgnoresItsArgument();

    // Directories.
    void chooserIsSetUp_data();
    void chooserIsSetUp();
    void chooserForgetsTheStoredDirectory_data();
    void chooserForgetsTheStoredDirectory();
    void chosenDirectoryIsStored_data();
    void chosenDirectoryIsStored();
    void cancelledChooserChangesNothing_data();
    void cancelledChooserChangesNothing();
    void linkIsNotResolved();
    void chosenDirectoryHoldsForTheNextRequest();

    // Console.
    void consoleGetsEachTextAsAParagraph();
    void consoleCannotBeTypedInto();
    void requestsShowInTheConsole();
    void lineIsSeenWhileTheNextRequestBlocks();

    // Settings.
    void settingsWaitForTheEndOfTheHub();
    void hubMayEndWhileThePortIsEdited();

    // Keyboard, screen reader and room.
    void tabReachesEveryControl();
    void tabSkipsConfigureWhileOff();
    void keyboardAloneWorksTheWindow();
    void escapeLeavesTheWindowOpen();
    void screenReaderNamesEveryControl();
    void nothingIsCutOff();
    void longNamesDoNotWidenTheWindow();
    void consoleTakesTheExtraRoom();

private:
    HubSettings mSettings;
};

namespace
{

constexpr int RESULT_AUTH_FAILURE = -89;

const QString SERVER_RUNNING = QStringLiteral("Server running on IP: %1 PORT: %2");
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

/// A hub with two interfaces that both work, and its active window.
class WindowFixture : public HubFixture
{
public:
    WindowFixture()
    {
        AppDiskHub &hub = Hub();
        hub.mInterfaces = {
            {QStringLiteral("first"), QHostAddress(QStringLiteral("127.0.0.1"))},
            {QStringLiteral("second"), QHostAddress(QStringLiteral("127.0.0.2"))},
        };
        hub.mActiveIfc = 0;
        hub.SyncUi();
        Activate(&Window());
    }

    /// Ends as a person does.
    ~WindowFixture() { Window().close(); }
    WindowFixture(const WindowFixture &) = delete;
    WindowFixture &operator=(const WindowFixture &) = delete;

    /// As on a machine without a network.
    void LoseInterfaces() const
    {
        Hub().mInterfaces.clear();
        Hub().mActiveIfc = -1;
    }

    AppMainWindow &Window() const { return *Hub().mMainWindow; }

    template <typename T> T *The(const char *name) const { return Named<T>(Window(), name); }

    QComboBox *Interface() const { return The<QComboBox>("interfaceCombo"); }
    QLineEdit *PortField() const { return The<QLineEdit>("serverPort"); }
    QCheckBox *Access() const { return The<QCheckBox>("accessRestrictionsEnable"); }
    QPushButton *Configure() const { return The<QPushButton>("accessRestrictionsConfigure"); }

    QString LastLog() const { return Log().isEmpty() ? QString() : Log().constLast(); }

    /// The listing that a device gets for all names.
    WirePackage Search() const
    {
        return Send(FormRequest({{"cmd", "1"}, {"pat", "*"}, {"usr", "nobody"}})).Package();
    }
};

/// A port that nobody listens on.
quint16 FreePort()
{
    QTcpServer server;
    server.listen(QHostAddress::LocalHost);
    return server.serverPort();
}

const QVector<DIRECTORY<AppDiskHub>> DIRECTORIES =
    Directories(&AppDiskHub::mDiskPath, &AppDiskHub::mProgramPath);

} // namespace

void tst_AppMainWindow::init()
{
    QVERIFY(mSettings.Write(HubSettings::Loopback()));
}

void tst_AppMainWindow::isAMainWindow()
{
    QCOMPARE(AppMainWindow::staticMetaObject.superClass(), &QMainWindow::staticMetaObject);
}

void tst_AppMainWindow::parentAndFlagsAreTaken()
{
    const WindowFixture hub;
    QWidget parent;
    const auto *const window = new AppMainWindow(&parent, Qt::Window | Qt::WindowStaysOnTopHint);
    QCOMPARE(window->parentWidget(), &parent);
    QVERIFY(window->windowFlags().testFlag(Qt::WindowStaysOnTopHint));
    QCOMPARE(hub.Window().parentWidget(), nullptr);
}

void tst_AppMainWindow::slotsAreInOrder()
{
    const QStringList expected{
        QStringLiteral("InterfaceChanged(int)"),
        QStringLiteral("AccessRestrictionsChanged(int)"),
        QStringLiteral("ConfigureAccessRestrictions(bool)"),
        QStringLiteral("RestartServer()"),
        QStringLiteral("PortChanged()"),
        QStringLiteral("ChooseDiskDirectory()"),
        QStringLiteral("ChooseProgramDirectory()"),
    };
    QCOMPARE(Slots(AppMainWindow::staticMetaObject), expected);
    QCOMPARE(AppMainWindow::staticMetaObject.methodCount() -
                 AppMainWindow::staticMetaObject.methodOffset(),
             int(expected.size()));
}

void tst_AppMainWindow::slotParametersAreNamed()
{
    const QMetaObject &type = AppMainWindow::staticMetaObject;
    const QByteArray names[] = {"pIndex", "pState", "pChecked"};
    for (int i = 0; i < 3; ++i)
        QCOMPARE(type.method(type.methodOffset() + i).parameterNames(),
                 QList<QByteArray>{names[i]});
}

void tst_AppMainWindow::formIsNamedTitledAndSized()
{
    const WindowFixture hub;
    const AppMainWindow window;
    QCOMPARE(window.objectName(), QStringLiteral("AppMainWindow"));
    QCOMPARE(window.windowTitle(), QStringLiteral("Disk Hub"));
    QCOMPARE(window.size(), QSize(399, 383));
    QCOMPARE(hub.Window().windowTitle(), QStringLiteral("Disk Hub"));
}

void tst_AppMainWindow::iconIsTheOneCompiledIn()
{
    const WindowFixture hub;
    const QImage icon(QStringLiteral(":/AppDiskHub/DiskHub.png"));
    QVERIFY(!icon.isNull());
    QVERIFY(!hub.Window().windowIcon().isNull());
    QCOMPARE(hub.Window().windowIcon().pixmap(icon.size()).size(), icon.size());
    QCOMPARE(hub.Window()
                 .windowIcon()
                 .pixmap(icon.size())
                 .toImage()
                 .convertToFormat(QImage::Format_ARGB32),
             QPixmap::fromImage(icon).toImage().convertToFormat(QImage::Format_ARGB32));
}

void tst_AppMainWindow::controls_data()
{
    QTest::addColumn<QString>("kind");
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("grid");
    QTest::addColumn<QString>("place");

    const char *const grid = "gridLayout_2";
    QTest::newRow("label") << "QLabel"
                           << "Disk Directory" << grid << "3,0";
    QTest::newRow("diskDirectory") << "QLineEdit"
                                   << "" << grid << "3,1";
    QTest::newRow("diskDirectoryBrowse") << "QPushButton"
                                         << "Browse" << grid << "3,2";
    QTest::newRow("label_2") << "QLabel"
                             << "Program Directory" << grid << "4,0";
    QTest::newRow("programDirectory") << "QLineEdit"
                                      << "" << grid << "4,1";
    QTest::newRow("programDirectoryBrowse") << "QPushButton"
                                            << "Browse" << grid << "4,2";
    QTest::newRow("interfaceLabel") << "QLabel"
                                    << "Interface" << grid << "0,0";
    QTest::newRow("interfaceCombo") << "QComboBox"
                                    << "" << grid << "0,1";
    QTest::newRow("portLabel") << "QLabel"
                               << "Server Port" << grid << "1,0";
    QTest::newRow("serverPort") << "QLineEdit"
                                << "" << grid << "1,1";
    QTest::newRow("restartServer") << "QPushButton"
                                   << "Restart Server" << grid << "0,2";
    QTest::newRow("console") << "QPlainTextEdit"
                             << ""
                             << "gridLayout"
                             << "9,0";
}

void tst_AppMainWindow::controls()
{
    QFETCH(const QString, kind);
    QFETCH(const QString, text);
    QFETCH(const QString, grid);
    QFETCH(const QString, place);
    const WindowFixture hub;
    const AppMainWindow window;
    auto *const control = Named<>(window, QTest::currentDataTag());
    QCOMPARE(QString::fromLatin1(control->metaObject()->className()), kind);
    QCOMPARE(control->property("text").toString(), text);
    QVERIFY(control->isEnabled());
    QCOMPARE(CellOf(Named<QGridLayout>(window, qPrintable(grid)), control), place);
    QCOMPARE(control->parentWidget(), window.centralWidget());
    QVERIFY(hub.The<QWidget>(QTest::currentDataTag())->isVisible());
}

void tst_AppMainWindow::controlsAreMadeInOrder()
{
    const WindowFixture hub;
    const QStringList expected{
        QStringLiteral("label"),
        QStringLiteral("diskDirectory"),
        QStringLiteral("diskDirectoryBrowse"),
        QStringLiteral("label_2"),
        QStringLiteral("programDirectory"),
        QStringLiteral("programDirectoryBrowse"),
        QStringLiteral("interfaceLabel"),
        QStringLiteral("interfaceCombo"),
        QStringLiteral("portLabel"),
        QStringLiteral("serverPort"),
        QStringLiteral("restartServer"),
        QStringLiteral("accessRestrictionsEnable"),
        QStringLiteral("accessRestrictionsConfigure"),
        QStringLiteral("console"),
    };
    QStringList names;
    const AppMainWindow window;
    for (const QObject *child : window.centralWidget()->children()) {
        if (child->isWidgetType())
            names += child->objectName();
    }
    QCOMPARE(names, expected);
}

void tst_AppMainWindow::labelsAreRightAligned_data()
{
    QTest::addColumn<QString>("text");

    QTest::newRow("interfaceLabel") << "Interface";
    QTest::newRow("portLabel") << "Server Port";
    QTest::newRow("label") << "Disk Directory";
    QTest::newRow("label_2") << "Program Directory";
}

void tst_AppMainWindow::labelsAreRightAligned()
{
    QFETCH(const QString, text);
    const WindowFixture hub;
    const auto *const label = hub.The<QLabel>(QTest::currentDataTag());
    QCOMPARE(label->text(), text);
    QCOMPARE(label->alignment() & Qt::AlignHorizontal_Mask, Qt::Alignment(Qt::AlignRight));
    QCOMPARE(label->alignment() & Qt::AlignVertical_Mask, Qt::Alignment(Qt::AlignVCenter));
}

void tst_AppMainWindow::layoutsAreNested()
{
    const WindowFixture hub;
    QCOMPARE(hub.Window().centralWidget()->objectName(), QStringLiteral("centralwidget"));
    const auto *const outer = hub.The<QGridLayout>("gridLayout");
    QCOMPARE(static_cast<const QLayout *>(outer), hub.Window().centralWidget()->layout());
    QCOMPARE(CellOf(outer, hub.The<QVBoxLayout>("verticalLayout")), QStringLiteral("6,0"));
    QCOMPARE(NamesIn(hub.The<QVBoxLayout>("verticalLayout")).value(0),
             QStringLiteral("gridLayout_2"));
    QCOMPARE(CellOf(hub.The<QGridLayout>("gridLayout_2"), hub.The<QHBoxLayout>("horizontalLayout")),
             QStringLiteral("2,1"));
    QCOMPARE(NamesIn(hub.The<QHBoxLayout>("horizontalLayout")),
             (QStringList{QStringLiteral("accessRestrictionsEnable"),
                          QStringLiteral("accessRestrictionsConfigure")}));
}

void tst_AppMainWindow::settingsGridIsTight()
{
    const WindowFixture hub;
    const auto *const grid = hub.The<QGridLayout>("gridLayout_2");
    QCOMPARE(grid->sizeConstraint(), QLayout::SetDefaultConstraint);
    QCOMPARE(grid->verticalSpacing(), 3);
}

void tst_AppMainWindow::sizePolicies_data()
{
    QTest::addColumn<int>("horizontal");
    QTest::addColumn<int>("vertical");

    QTest::newRow("diskDirectoryBrowse") << int(QSizePolicy::Minimum) << int(QSizePolicy::Fixed);
    QTest::newRow("accessRestrictionsEnable") << int(QSizePolicy::Fixed) << int(QSizePolicy::Fixed);
}

void tst_AppMainWindow::sizePolicies()
{
    QFETCH(const int, horizontal);
    QFETCH(const int, vertical);
    const WindowFixture hub;
    const QSizePolicy policy = hub.The<QWidget>(QTest::currentDataTag())->sizePolicy();
    QCOMPARE(int(policy.horizontalPolicy()), horizontal);
    QCOMPARE(int(policy.verticalPolicy()), vertical);
}

void tst_AppMainWindow::portTakesAnyText()
{
    const WindowFixture hub;
    QVERIFY(!hub.PortField()->isReadOnly());
    QVERIFY(hub.PortField()->validator() == nullptr);
    QCOMPARE(hub.PortField()->inputMask(), QString());
    QCOMPARE(hub.PortField()->maxLength(), QLineEdit().maxLength());
    Type(hub.PortField(), QStringLiteral("any <text> & 100 characters").repeated(4));
    QCOMPARE(hub.PortField()->text(), QStringLiteral("any <text> & 100 characters").repeated(4));
}

void tst_AppMainWindow::directoriesAreReadOnly()
{
    const WindowFixture hub;
    for (const DIRECTORY<AppDiskHub> &directory : DIRECTORIES) {
        auto *const field = hub.The<QLineEdit>(directory.field);
        QVERIFY(field->isReadOnly());
        Type(field, QStringLiteral("x"));
        QCOMPARE(field->text(), QString());
        QCOMPARE(hub.Hub().*directory.member, QString());
    }
}

void tst_AppMainWindow::consoleIsReadOnly()
{
    const WindowFixture hub;
    QVERIFY(hub.The<QPlainTextEdit>("console")->isReadOnly());
}

void tst_AppMainWindow::configureIsDisabledInTheForm()
{
    const WindowFixture hub;
    const AppMainWindow window;
    const auto *const access = Named<QCheckBox>(window, "accessRestrictionsEnable");
    const auto *const configure = Named<QPushButton>(window, "accessRestrictionsConfigure");
    QCOMPARE(access->text(), QStringLiteral("Access Restrictions"));
    QVERIFY(access->isEnabled());
    QVERIFY(!access->isChecked());
    QVERIFY(!access->isTristate());
    QCOMPARE(configure->text(), QStringLiteral("Configure..."));
    QVERIFY(!configure->isEnabled());
}

void tst_AppMainWindow::quitActionIsNowhereAndDoesNothing()
{
    const WindowFixture hub;
    auto *const action = hub.The<QAction>("actionQuite");
    QCOMPARE(action->text(), QStringLiteral("Quit"));
    QCOMPARE(action->parent(), &hub.Window());
    QVERIFY(hub.Window().findChildren<QToolBar *>().isEmpty());
    for (const QWidget *widget : hub.Window().findChildren<QWidget *>())
        QVERIFY(!widget->actions().contains(action));
    QVERIFY(!hub.Window().actions().contains(action));

    const QSignalSpy quit(qApp, &QCoreApplication::aboutToQuit);
    const QStringList log = hub.Log();
    action->trigger();
    QCoreApplication::processEvents();
    QVERIFY(hub.Window().isVisible());
    QVERIFY(quit.isEmpty());
    QCOMPARE(hub.Log(), log);
}

void tst_AppMainWindow::textsAreTranslated()
{
    const WindowFixture hub;
    MarkingTranslator translator;
    QVERIFY(QCoreApplication::installTranslator(&translator));
    AppMainWindow window;
    const QString mark = QStringLiteral("[AppMainWindow]");
    QCOMPARE(window.windowTitle(), mark + QStringLiteral("Disk Hub"));
    QCOMPARE(Named<QAction>(window, "actionQuite")->text(), mark + QStringLiteral("Quit"));
    for (const QLabel *label : window.findChildren<QLabel *>())
        QVERIFY2(label->text().startsWith(mark), qPrintable(label->text()));
    for (const QAbstractButton *button : window.findChildren<QAbstractButton *>())
        QVERIFY2(button->text().startsWith(mark), qPrintable(button->text()));

    hub.LoseInterfaces();
    window.SyncUi();
    QVERIFY(Named<QComboBox>(window, "interfaceCombo")->currentText().startsWith(QLatin1Char('[')));
    ModalAnswer<QFileDialog> answer([&mark](QFileDialog *chooser) {
        QCOMPARE(chooser->windowTitle(), mark + QStringLiteral("Select Disk Directory"));
        AnswerChooser(chooser, QString());
    });
    window.ChooseDiskDirectory();
    QVERIFY(answer.Answered());
}

void tst_AppMainWindow::interfaceFormatIsTheHubsToTranslate()
{
    class FormatTranslator : public MarkingTranslator
    {
        QString translate(const char *context, const char *sourceText, const char *,
                          int) const override
        {
            const bool format =
                qstrcmp(context, "AppDiskHub") == 0 && qstrcmp(sourceText, "%1 (%2)") == 0;
            return format ? QStringLiteral("%2 at %1") : QString();
        }
    };
    const WindowFixture hub;
    FormatTranslator translator;
    QVERIFY(QCoreApplication::installTranslator(&translator));
    hub->SyncUi();
    QCOMPARE(hub.Interface()->currentText(), QStringLiteral("first at 127.0.0.1"));
}

void tst_AppMainWindow::hubShowsTheWindow()
{
    const HubFixture hub;
    QVERIFY(hub->mMainWindow->isVisible());
    QVERIFY(hub->mMainWindow->isWindow());
    const int active = hub->mActiveIfc;
    QCOMPARE(Named<QComboBox>(*hub->mMainWindow, "interfaceCombo")->count(),
             int(hub->mInterfaces.size()));
    QCOMPARE(Named<QComboBox>(*hub->mMainWindow, "interfaceCombo")->currentIndex(), active);
    QCOMPARE(Named<QLineEdit>(*hub->mMainWindow, "serverPort")->text(), QStringLiteral("0"));
}

void tst_AppMainWindow::syncShowsTheMembers()
{
    const WindowFixture hub;
    hub->mDiskPath = QStringLiteral("/media/<b>disks</b> & %1");
    hub->mProgramPath = QString::fromUtf8("/media/\xC3\xBC\"programs\"");
    hub->mPort = 6464;
    hub->mValidate = true;
    hub->mActiveIfc = 1;
    hub->SyncUi();
    QCOMPARE(hub.The<QLineEdit>("diskDirectory")->text(), hub->mDiskPath);
    QCOMPARE(hub.The<QLineEdit>("programDirectory")->text(), hub->mProgramPath);
    QCOMPARE(hub.PortField()->text(), QStringLiteral("6464"));
    QVERIFY(hub.Access()->isChecked());
    QVERIFY(hub.Configure()->isEnabled());
    QCOMPARE(hub.Interface()->currentIndex(), 1);
}

void tst_AppMainWindow::syncListsTheInterfaces()
{
    const WindowFixture hub;
    QCOMPARE(hub.Interface()->count(), 2);
    QCOMPARE(hub.Interface()->itemText(0), QStringLiteral("127.0.0.1 (first)"));
    QCOMPARE(hub.Interface()->itemText(1), QStringLiteral("127.0.0.2 (second)"));
    for (int i = 0; i < 2; ++i) {
        QVERIFY(hub.Interface()->itemIcon(i).isNull());
        QVERIFY(!hub.Interface()->itemData(i).isValid());
    }
    QVERIFY(hub.Interface()->isEnabled());
    QVERIFY(!hub.Interface()->isEditable());
}

void tst_AppMainWindow::syncReplacesTheList()
{
    const WindowFixture hub;
    hub->SyncUi();
    QCOMPARE(hub.Interface()->count(), 2);
    hub->mInterfaces.removeFirst();
    hub->SyncUi();
    QCOMPARE(hub.Interface()->count(), 1);
    QCOMPARE(hub.Interface()->currentText(), QStringLiteral("127.0.0.2 (second)"));
}

void tst_AppMainWindow::syncSelectsTheActiveInterface_data()
{
    QTest::addColumn<int>("active");
    QTest::addColumn<QString>("shown");

    QTest::newRow("first") << 0 << "127.0.0.1 (first)";
    QTest::newRow("second") << 1 << "127.0.0.2 (second)";
    QTest::newRow("none") << -1 << "";
}

void tst_AppMainWindow::syncSelectsTheActiveInterface()
{
    QFETCH(const int, active);
    QFETCH(const QString, shown);
    const WindowFixture hub;
    hub->mActiveIfc = active;
    hub->SyncUi();
    QCOMPARE(hub.Interface()->currentIndex(), active);
    QCOMPARE(hub.Interface()->currentText(), shown);
    QCOMPARE(hub->mActiveIfc, active);
}

void tst_AppMainWindow::syncNeverChangesTheActiveInterface()
{
    const WindowFixture hub;
    for (const int active : {1, 0, -1}) {
        hub->mActiveIfc = active;
        hub->SyncUi();
        QCOMPARE(hub->mActiveIfc, active);
    }
    hub.LoseInterfaces();
    hub->SyncUi();
    QCOMPARE(hub->mActiveIfc, -1);
}

void tst_AppMainWindow::syncLeavesTheSignalsLive()
{
    const WindowFixture hub;
    QVERIFY(!hub.Interface()->signalsBlocked());
    hub.LoseInterfaces();
    hub->SyncUi();
    QVERIFY(!hub.Interface()->signalsBlocked());
}

void tst_AppMainWindow::syncWithoutInterfacesDisables()
{
    const WindowFixture hub;
    hub.LoseInterfaces();
    hub->SyncUi();
    QCOMPARE(hub.Interface()->count(), 1);
    QCOMPARE(hub.Interface()->currentIndex(), 0);
    QCOMPARE(hub.Interface()->currentText(), QStringLiteral("(none detected)"));
    QVERIFY(!hub.Interface()->isEnabled());
    QVERIFY(!hub.PortField()->isEnabled());
    QVERIFY(!hub.The<QPushButton>("restartServer")->isEnabled());
    QVERIFY(hub.Access()->isEnabled());
    QVERIFY(hub.The<QPushButton>("diskDirectoryBrowse")->isEnabled());
    QVERIFY(hub.The<QPushButton>("programDirectoryBrowse")->isEnabled());
    QCOMPARE(hub->mActiveIfc, -1);
}

void tst_AppMainWindow::syncNeverEnablesAgain()
{
    const WindowFixture hub;
    const QList<AppDiskHub::INTERFACE> interfaces = hub->mInterfaces;
    hub.LoseInterfaces();
    hub->SyncUi();
    hub->mInterfaces = interfaces;
    hub->mActiveIfc = 0;
    hub->SyncUi();
    QCOMPARE(hub.Interface()->count(), 2);
    QVERIFY(!hub.Interface()->isEnabled());
    QVERIFY(!hub.PortField()->isEnabled());
    QVERIFY(!hub.The<QPushButton>("restartServer")->isEnabled());
}

void tst_AppMainWindow::syncRunsTheAccessSlot()
{
    const WindowFixture hub;
    QVERIFY(!hub.Configure()->isEnabled());
    hub->mValidate = true;
    hub->SyncUi();
    QVERIFY(hub.Access()->isChecked());
    QVERIFY(hub.Configure()->isEnabled());
    hub->mValidate = false;
    hub->SyncUi();
    QVERIFY(!hub.Access()->isChecked());
    QVERIFY(!hub.Configure()->isEnabled());
}

void tst_AppMainWindow::syncShowsThePort_data()
{
    QTest::addColumn<int>("port");
    QTest::addColumn<QString>("text");

    QTest::newRow("default") << 80 << "80";
    QTest::newRow("zero") << 0 << "0";
    QTest::newRow("without-thousands-separator") << 65535 << "65535";
    QTest::newRow("beyond-16-bits") << 70000 << "70000";
    QTest::newRow("negative") << -1 << "-1";
}

void tst_AppMainWindow::syncShowsThePort()
{
    QFETCH(const int, port);
    QFETCH(const QString, text);
    const WindowFixture hub;
    hub->mPort = port;
    hub->SyncUi();
    QCOMPARE(hub.PortField()->text(), text);
    QCOMPARE(hub->mPort, port);
}

void tst_AppMainWindow::oddInterfaceNamesAreShownAsTheyAre_data()
{
    QTest::addColumn<QString>("name");

    QTest::newRow("placeholder") << "%1 %2 %3";
    QTest::newRow("ampersand") << "A & B";
    QTest::newRow("markup") << "<b>eth0</b>";
    QTest::newRow("umlaut") << QString::fromUtf8("Ethernet-Anschlu\xC3\x9F");
    QTest::newRow("quotes") << "\"lo\"";
    QTest::newRow("empty") << "";
}

void tst_AppMainWindow::oddInterfaceNamesAreShownAsTheyAre()
{
    QFETCH(const QString, name);
    const WindowFixture hub;
    hub->mInterfaces[0].name = name;
    hub->SyncUi();
    QCOMPARE(hub.Interface()->itemText(0), QStringLiteral("127.0.0.1 (") + name + QLatin1Char(')'));
}

void tst_AppMainWindow::chosenInterfaceIsActive()
{
    const WindowFixture hub;
    Choose(hub.Interface(), 1);
    QCOMPARE(hub->mActiveIfc, 1);
    Choose(hub.Interface(), 0);
    QCOMPARE(hub->mActiveIfc, 0);
}

void tst_AppMainWindow::chosenInterfaceWaitsForTheRestart()
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

void tst_AppMainWindow::noInterfaceCannotBeStarted()
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

void tst_AppMainWindow::portIsStored_data()
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

void tst_AppMainWindow::portIsStored()
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

void tst_AppMainWindow::badPortIsReplacedByTheOldOne_data()
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

void tst_AppMainWindow::badPortIsReplacedByTheOldOne()
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

void tst_AppMainWindow::portIsStoredWhenTheFieldIsLeft()
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

void tst_AppMainWindow::portWaitsForTheRestart()
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

void tst_AppMainWindow::portBeyond65535ReachesTheServer()
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

void tst_AppMainWindow::restartTakesThePortBeingTyped()
{
    const WindowFixture hub;
    const quint16 port = FreePort();
    Type(hub.PortField(), QString::number(port));
    Click(hub.Window(), "restartServer");
    QCOMPARE(hub.Port(), port);
}

void tst_AppMainWindow::restartOnTheSamePort()
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

void tst_AppMainWindow::failedRestartShowsInTheConsoleOnly()
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

void tst_AppMainWindow::accessSwitchChangesTheHub()
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

void tst_AppMainWindow::accessSwitchHoldsForTheNextRequest()
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

void tst_AppMainWindow::accessSwitchKeepsTheUsers()
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

void tst_AppMainWindow::halfCheckedIsOn()
{
    const WindowFixture hub;
    hub.Access()->setCheckState(Qt::PartiallyChecked);
    QVERIFY(hub->mValidate);
    QVERIFY(hub.Configure()->isEnabled());
}

void tst_AppMainWindow::anyStateButZeroIsOn_data()
{
    QTest::addColumn<int>("state");
    QTest::addColumn<bool>("on");

    QTest::newRow("unchecked") << int(Qt::Unchecked) << false;
    QTest::newRow("half-checked") << int(Qt::PartiallyChecked) << true;
    QTest::newRow("checked") << int(Qt::Checked) << true;
    QTest::newRow("negative") << -1 << true;
}

void tst_AppMainWindow::anyStateButZeroIsOn()
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

void tst_AppMainWindow::configureOpensTheDialog_data()
{
    QTest::addColumn<QString>("button");

    QTest::newRow("answered-with-ok") << "okButton";
    QTest::newRow("answered-with-cancel") << "cancelButton";
}

void tst_AppMainWindow::configureOpensTheDialog()
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

void tst_AppMainWindow::configureIgnoresItsArgument_data()
{
    QTest::addColumn<bool>("checked");

    QTest::newRow("unchecked") << false;
    QTest::newRow("checked") << true;
}

void tst_AppMainWindow::configureIgnoresItsArgument()
{
    QFETCH(const bool, checked);
    const WindowFixture hub;
    ModalAnswer<AppAccessRestrictionsDialog> answer(
        [](AppAccessRestrictionsDialog *dialog) { Click(*dialog, "okButton"); });
    hub.Window().ConfigureAccessRestrictions(checked);
    QVERIFY(answer.Answered());
    QVERIFY(!hub->mValidate);
}

void tst_AppMainWindow::chooserIsSetUp_data()
{
    AddDirectoryRows();
}

void tst_AppMainWindow::chooserIsSetUp()
{
    QFETCH(const int, which);
    const DIRECTORY<AppDiskHub> &directory = DIRECTORIES[which];
    const WindowFixture hub;
    ModalAnswer<QFileDialog> answer([&](QFileDialog *chooser) {
        QCOMPARE(chooser->windowTitle(), directory.caption);
        QCOMPARE(chooser->parentWidget(), &hub.Window());
        QVERIFY(TakesDirectories(chooser));
        QVERIFY(chooser->testOption(QFileDialog::ShowDirsOnly));
        QVERIFY(chooser->testOption(QFileDialog::DontResolveSymlinks));
        AnswerChooser(chooser, QString());
    });
    Click(hub.Window(), directory.browse);
    QVERIFY(answer.Answered());
}

void tst_AppMainWindow::chooserForgetsTheStoredDirectory_data()
{
    AddDirectoryRows();
}

void tst_AppMainWindow::chooserForgetsTheStoredDirectory()
{
    QFETCH(const int, which);
    const DIRECTORY<AppDiskHub> &directory = DIRECTORIES[which];
    const QTemporaryDir stored;
    const WindowFixture hub;
    hub.Hub().*directory.member = stored.path();
    hub->SyncUi();
    ModalAnswer<QFileDialog> answer([&](QFileDialog *chooser) {
        QVERIFY(chooser->directory() != QDir(stored.path()));
        AnswerChooser(chooser, QString());
    });
    Click(hub.Window(), directory.browse);
    QVERIFY(answer.Answered());
}

void tst_AppMainWindow::chosenDirectoryIsStored_data()
{
    AddDirectoryNameRows();
}

void tst_AppMainWindow::chosenDirectoryIsStored()
{
    QFETCH(const int, which);
    QFETCH(const QString, name);
    const DIRECTORY<AppDiskHub> &directory = DIRECTORIES[which];
    const DIRECTORY<AppDiskHub> &other = DIRECTORIES[1 - which];
    const QTemporaryDir home;
    QVERIFY(QDir(home.path()).mkdir(name));
    const WindowFixture hub;
    const QTcpServer *const server = hub->mServer;
    const QStringList log = hub.Log();
    ModalAnswer<QFileDialog> answer(
        [&](QFileDialog *chooser) { AnswerChooser(chooser, home.filePath(name)); });
    Click(hub.Window(), directory.browse);
    QVERIFY(answer.Answered());
    QCOMPARE(hub.Hub().*directory.member, home.filePath(name));
    QCOMPARE(hub.The<QLineEdit>(directory.field)->text(), home.filePath(name));
    QCOMPARE(hub.Hub().*other.member, QString());
    QCOMPARE(hub.The<QLineEdit>(other.field)->text(), QString());
    QCOMPARE(hub->mServer, server);
    QCOMPARE(hub.Log(), log);
}

void tst_AppMainWindow::cancelledChooserChangesNothing_data()
{
    AddDirectoryRows();
}

void tst_AppMainWindow::cancelledChooserChangesNothing()
{
    QFETCH(const int, which);
    const DIRECTORY<AppDiskHub> &directory = DIRECTORIES[which];
    const WindowFixture hub;
    hub->mDiskPath = QStringLiteral("/disks");
    hub->mProgramPath = QStringLiteral("/programs");
    hub->SyncUi();
    ModalAnswer<QFileDialog> answer(
        [](QFileDialog *chooser) { AnswerChooser(chooser, QString()); });
    Click(hub.Window(), directory.browse);
    QVERIFY(answer.Answered());
    QCOMPARE(hub->mDiskPath, QStringLiteral("/disks"));
    QCOMPARE(hub->mProgramPath, QStringLiteral("/programs"));
    QCOMPARE(hub.The<QLineEdit>("diskDirectory")->text(), QStringLiteral("/disks"));
    QCOMPARE(hub.The<QLineEdit>("programDirectory")->text(), QStringLiteral("/programs"));
}

void tst_AppMainWindow::linkIsNotResolved()
{
    const QTemporaryDir home;
    const QDir dir(home.path());
    QVERIFY(dir.mkdir(QStringLiteral("target")));
    QVERIFY(
        QFile::link(dir.filePath(QStringLiteral("target")), dir.filePath(QStringLiteral("link"))));
    const WindowFixture hub;
    ModalAnswer<QFileDialog> answer([&](QFileDialog *chooser) {
        AnswerChooser(chooser, dir.filePath(QStringLiteral("link")));
    });
    Click(hub.Window(), "diskDirectoryBrowse");
    QVERIFY(answer.Answered());
    QCOMPARE(hub->mDiskPath, dir.filePath(QStringLiteral("link")));
}

void tst_AppMainWindow::chosenDirectoryHoldsForTheNextRequest()
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

void tst_AppMainWindow::consoleGetsEachTextAsAParagraph()
{
    const WindowFixture hub;
    hub.ClearLog();
    hub->Log(QStringLiteral("one"));
    hub->Log(QString());
    hub->Log(QStringLiteral("two\nthree"));
    QCOMPARE(hub.Log(), (QStringList{QStringLiteral("one"), QString(), QStringLiteral("two"),
                                     QStringLiteral("three")}));
}

void tst_AppMainWindow::consoleCannotBeTypedInto()
{
    const WindowFixture hub;
    const QStringList log = hub.Log();
    hub.Console()->setFocus();
    QTest::keyClicks(hub.Console(), QStringLiteral("abc"));
    QTest::keyClick(hub.Console(), Qt::Key_Backspace);
    QCOMPARE(hub.Log(), log);
}

void tst_AppMainWindow::requestsShowInTheConsole()
{
    const WindowFixture hub;
    hub.ClearLog();
    hub.Send(FormRequest({{"cmd", "1"}, {"pat", "*"}, {"udid", "device-<7>"}}));
    QVERIFY(!hub.Log().isEmpty());
    QCOMPARE(hub.Log().constFirst(), QStringLiteral("SEARCH request from Skylet UUID: device-<7>"));
}

void tst_AppMainWindow::lineIsSeenWhileTheNextRequestBlocks()
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

void tst_AppMainWindow::hubMayEndWhileThePortIsEdited()
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

void tst_AppMainWindow::settingsWaitForTheEndOfTheHub()
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
    const QSettings after(mSettings.FilePath(), QSettings::IniFormat);
    QCOMPARE(after.value(QStringLiteral("security/validate")).toBool(), true);
    QCOMPARE(after.value(QStringLiteral("server/port")).toInt(), 6464);
    QCOMPARE(after.value(QStringLiteral("server/active_ifc_name")).toString(),
             QStringLiteral("second"));
    QCOMPARE(after.value(QStringLiteral("server/active_ifc_addr")).toString(),
             QStringLiteral("127.0.0.2"));
    QCOMPARE(after.value(QStringLiteral("media/disk_path")).toString(), disks.path());
}

void tst_AppMainWindow::tabReachesEveryControl()
{
    const WindowFixture hub;
    Click(hub.Access());
    const QStringList order{
        QStringLiteral("interfaceCombo"),
        QStringLiteral("restartServer"),
        QStringLiteral("serverPort"),
        QStringLiteral("accessRestrictionsEnable"),
        QStringLiteral("accessRestrictionsConfigure"),
        QStringLiteral("diskDirectory"),
        QStringLiteral("diskDirectoryBrowse"),
        QStringLiteral("programDirectory"),
        QStringLiteral("programDirectoryBrowse"),
        QStringLiteral("console"),
    };
    QCOMPARE(TabOrder(hub.Window(), "interfaceCombo"), order);
    QCOMPARE(BacktabOrder(hub.Window(), "interfaceCombo"), order);
}

void tst_AppMainWindow::tabSkipsConfigureWhileOff()
{
    const WindowFixture hub;
    const QStringList order = TabOrder(hub.Window(), "interfaceCombo");
    QCOMPARE(int(order.size()), 9);
    QVERIFY(!order.contains(QStringLiteral("accessRestrictionsConfigure")));
}

void tst_AppMainWindow::keyboardAloneWorksTheWindow()
{
    const WindowFixture hub;
    const quint16 port = FreePort();
    hub.Interface()->setFocus(Qt::TabFocusReason);
    Press(Qt::Key_Down);
    Press(Qt::Key_Tab);
    Press(Qt::Key_Tab);
    QTest::keyClicks(QApplication::focusWidget(), QString::number(port)); // Tab selects the old one
    Press(Qt::Key_Backtab);
    Press(Qt::Key_Space);
    QCOMPARE(hub.LastLog(), SERVER_RUNNING.arg(QStringLiteral("127.0.0.2")).arg(port));

    Press(Qt::Key_Tab);
    Press(Qt::Key_Tab);
    Press(Qt::Key_Space);
    QVERIFY(hub->mValidate);
    Press(Qt::Key_Tab);
    ModalAnswer<AppAccessRestrictionsDialog> answer(
        [](AppAccessRestrictionsDialog *) { Press(Qt::Key_Escape); });
    Press(Qt::Key_Space);
    QVERIFY(answer.Answered());

    const QTemporaryDir directory;
    for (int i = 0; i < 2; ++i) {
        Press(Qt::Key_Tab);
        Press(Qt::Key_Tab);
        ModalAnswer<QFileDialog> chooser([&](QFileDialog *dialog) {
            auto *const name = Named<QLineEdit>(*dialog, "fileNameEdit");
            name->setText(directory.path());
            QTest::keyClick(name, Qt::Key_Return);
        });
        Press(Qt::Key_Space);
        QVERIFY(chooser.Answered());
    }
    QCOMPARE(hub->mDiskPath, directory.path());
    QCOMPARE(hub->mProgramPath, directory.path());
}

void tst_AppMainWindow::escapeLeavesTheWindowOpen()
{
    const WindowFixture hub;
    for (QWidget *control : Controls(hub.Window()))
        QTest::keyClick(control, Qt::Key_Escape);
    QVERIFY(hub.Window().isVisible());
}

void tst_AppMainWindow::screenReaderNamesEveryControl()
{
    const WindowFixture hub;
    QCOMPARE(Controls(hub.Window()).size(), 10);
    QCOMPARE(BadlySpoken(hub.Window()), QStringList());
}

void tst_AppMainWindow::nothingIsCutOff()
{
    const WindowFixture hub;
    QCOMPARE(CutOff(hub.Window()), QStringList());
}

void tst_AppMainWindow::longNamesDoNotWidenTheWindow()
{
    const WindowFixture hub;
    const int width = hub.Window().width();
    hub->mDiskPath = QStringLiteral("/a-long-path").repeated(50);
    hub->mProgramPath = hub->mDiskPath;
    hub->Log(hub->mDiskPath);
    hub->SyncUi();
    QCoreApplication::processEvents();
    QCOMPARE(hub.Window().width(), width);
    QCOMPARE(CutOff(hub.Window()), QStringList());
}

void tst_AppMainWindow::consoleTakesTheExtraRoom()
{
    const WindowFixture hub;
    const QSize console = hub.Console()->size();
    const int field = hub.The<QLineEdit>("diskDirectory")->height();
    hub.Window().resize(hub.Window().size() + QSize(150, 200));
    QTRY_COMPARE(hub.Console()->size(), console + QSize(150, 200));
    QCOMPARE(hub.The<QLineEdit>("diskDirectory")->height(), field);
    QCOMPARE(CutOff(hub.Window()), QStringList());
}

QTEST_APPLESS_MAIN(tst_AppMainWindow) // each hub is the application object

#include "tst_AppMainWindow.moc"
