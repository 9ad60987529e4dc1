// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#include "AppMainWindow.h"

#include "AppAccessRestrictionsDialog.h"
#include "AppDirectoryChooser.h"
#include "AppDiskHub.h"

#include <QIcon>
#include <QSignalBlocker>

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
    mUi.setupUi(this);

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
}

void AppMainWindow::PortChanged()
{
    // Anything but 0 is taken, even what is no port.
    const int port = mUi.serverPort->text().toInt();
    if (port == 0)
        mUi.serverPort->setText(QString::number(AppDiskHub::Instance()->mPort));
    else
        AppDiskHub::Instance()->mPort = port;
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
