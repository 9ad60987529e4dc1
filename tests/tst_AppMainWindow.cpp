// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#include "AppAccessRestrictionsDialog.h"
#include "MainWindowFixture.h"

#include <QAction>
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
