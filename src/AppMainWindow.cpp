// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#include "AppMainWindow.h"

#include "AppAccessRestrictionsDialog.h"
#include "AppDirectoryChooser.h"
#include "AppDiskHub.h"
#include "AppHint.h"
#include "AppWheelGuard.h"

#include <QEvent>
#include <QFile>
#include <QIcon>
#include <QSignalBlocker>
#include <QTcpServer>

#include <algorithm>

namespace
{

constexpr int CONFIGURE_WIDTH_MAX = 200; // points, unless its text needs more

/// The first port that needs no privilege to listen on, or 0 if none does.
int FirstFreePort()
{
#if defined(Q_OS_LINUX)
    QFile setting(QStringLiteral("/proc/sys/net/ipv4/ip_unprivileged_port_start"));
    if (setting.open(QIODevice::ReadOnly))
        return setting.readAll().trimmed().toInt();
#endif
#if defined(Q_OS_UNIX)
    return 1024;
#else
    return 0;
#endif
}

} // namespace

/// Links the compiled resources into every program that has a window; they register themselves
/// before main(). At global scope, as the macro asks for.
static void LinkResources()
{
    Q_INIT_RESOURCE(DiskHub);
}

AppMainWindow::AppMainWindow(QWidget *parent, Qt::WindowFlags flags) : QMainWindow(parent, flags)
{
    LinkResources();
    setWindowIcon(QIcon(QStringLiteral(":/AppDiskHub/DiskHub.png")));
    QApplication::setWindowIcon(windowIcon()); // of the message boxes, which have no parent
    mUi.setupUi(this);
    mUi.console->setFocus(); // at first; the wheel over the interface must not change it
    LimitConfigure();
    new AppWheelGuard(mUi.interfaceCombo);
    AppHint::ShowText(mUi.diskDirectory);
    AppHint::ShowText(mUi.programDirectory);

    connect(mUi.interfaceCombo, QOverload<int>::of(&QComboBox::currentIndexChanged), this,
            &AppMainWindow::InterfaceChanged);
    connect(mUi.accessRestrictionsEnable, &QCheckBox::stateChanged, this,
            &AppMainWindow::AccessRestrictionsChanged);
    connect(mUi.accessRestrictionsConfigure, &QPushButton::clicked, this,
            &AppMainWindow::ConfigureAccessRestrictions);
    connect(mUi.serverPort, &QLineEdit::editingFinished, this, &AppMainWindow::PortChanged);
    connect(mUi.restartServer, &QPushButton::clicked, this, &AppMainWindow::RestartServer);
    connect(mUi.diskDirectoryBrowse, &QPushButton::clicked, this,
            &AppMainWindow::ChooseDiskDirectory);
    connect(mUi.programDirectoryBrowse, &QPushButton::clicked, this,
            &AppMainWindow::ChooseProgramDirectory);
}

AppMainWindow::~AppMainWindow()
{
    mUi.serverPort->disconnect(this);
}

void AppMainWindow::SyncUi()
{
    const AppDiskHub &hub = *AppDiskHub::Instance();
    FillInterfaces();
    mUi.accessRestrictionsEnable->setChecked(hub.mValidate);
    mUi.serverPort->setText(QString::number(hub.mPort));
    mUi.diskDirectory->setText(hub.mDiskPath);
    mUi.programDirectory->setText(hub.mProgramPath);
    SyncHints();
}

void AppMainWindow::FillInterfaces()
{
    const AppDiskHub &hub = *AppDiskHub::Instance();
    const QSignalBlocker blocker(mUi.interfaceCombo); // the user has chosen nothing
    mUi.interfaceCombo->clear();
    if (hub.mInterfaces.isEmpty()) {
        mUi.interfaceCombo->addItem(tr("(none detected)"));
        mUi.interfaceCombo->setCurrentIndex(0);
        mUi.interfaceCombo->setEnabled(false);
        mUi.restartServer->setEnabled(false);
        mUi.serverPort->setEnabled(false);
        return;
    }
    for (const AppDiskHub::INTERFACE &networkInterface : hub.mInterfaces) {
        mUi.interfaceCombo->addItem(
            AppDiskHub::tr("%1 (%2)").arg(networkInterface.addr.toString(), networkInterface.name));
    }
    mUi.interfaceCombo->setCurrentIndex(hub.mActiveIfc);
}

void AppMainWindow::SyncHints()
{
    const AppDiskHub &hub = *AppDiskHub::Instance();
    const QTcpServer *const server = hub.mServer;
    const QString when = tr("A change takes effect from the next Restart Server on");
    const QString now = tr("; the server listens on %1 now");
    const QString stopped = server == nullptr ? tr("; the server does not listen now") : QString();

    QString interfaceHint = when + stopped;
    if (server != nullptr && server->serverAddress() != hub.mInterfaces.value(hub.mActiveIfc).addr)
        interfaceHint += now.arg(server->serverAddress().toString());
    AppHint::Set(mUi.interfaceCombo, interfaceHint);

    QString portHint = when + stopped;
    if (server != nullptr && server->serverPort() != static_cast<quint16>(hub.mPort))
        portHint += now.arg(server->serverPort());
    if (const int free = FirstFreePort(); free > 0)
        portHint += tr("; below %1 needs a privilege").arg(free);
    AppHint::Set(mUi.serverPort, portHint);
}

void AppMainWindow::changeEvent(QEvent *event)
{
    QMainWindow::changeEvent(event);
    if (event->type() == QEvent::FontChange || event->type() == QEvent::StyleChange)
        LimitConfigure();
}

void AppMainWindow::LimitConfigure()
{
    QPushButton *const configure = mUi.accessRestrictionsConfigure;
    configure->setMaximumWidth(std::max(CONFIGURE_WIDTH_MAX, configure->sizeHint().width()));
}

void AppMainWindow::AppendToConsole(const QString &text)
{
    mUi.console->Append(text);
}

void AppMainWindow::ShowConsole()
{
    mUi.console->ShowAll();
}

void AppMainWindow::InterfaceChanged(int pIndex)
{
    AppDiskHub::Instance()->mActiveIfc = pIndex;
    SyncHints();
}

void AppMainWindow::AccessRestrictionsChanged(int pState)
{
    AppDiskHub::Instance()->mValidate = pState != 0;
    mUi.accessRestrictionsConfigure->setEnabled(pState != 0);
}

void AppMainWindow::ConfigureAccessRestrictions(bool /*pChecked*/)
{
    AppAccessRestrictionsDialog(this).exec();
}

void AppMainWindow::RestartServer()
{
    AppDiskHub::Instance()->RestartServer(); // The console tells how it went.
    SyncHints();
}

void AppMainWindow::PortChanged()
{
    // Anything but 0 is taken, even what is no port.
    const int port = mUi.serverPort->text().toInt();
    if (port == 0)
        mUi.serverPort->setText(QString::number(AppDiskHub::Instance()->mPort));
    else
        AppDiskHub::Instance()->mPort = port;
    SyncHints();
}

void AppMainWindow::ChooseDiskDirectory()
{
    AppDirectoryChooser::Choose(this, tr("Select Disk Directory"), mUi.diskDirectory,
                                &AppDiskHub::Instance()->mDiskPath);
}

void AppMainWindow::ChooseProgramDirectory()
{
    AppDirectoryChooser::Choose(this, tr("Select Program Directory"), mUi.programDirectory,
                                &AppDiskHub::Instance()->mProgramPath);
}
