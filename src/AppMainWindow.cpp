// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#include "AppMainWindow.h"

#include "AppAccessRestrictionsDialog.h"
#include "AppDirectoryChooser.h"
#include "AppDiskHub.h"

#include <QAbstractTextDocumentLayout>
#include <QIcon>
#include <QScrollBar>
#include <QSignalBlocker>
#include <QTextCursor>
#include <QTextDocument>

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

    // Nobody can undo what the hub writes, and the history takes more memory than the text.
    mUi.console->setUndoRedoEnabled(false);
    mConsoleDelay.setObjectName(QStringLiteral("consoleDelay"));
    mConsoleDelay.setSingleShot(true);
    mConsoleDelay.setInterval(CONSOLE_DELAY_MS);
    connect(&mConsoleDelay, &QTimer::timeout, this, &AppMainWindow::ShowAppended);
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

QPlainTextEdit *AppMainWindow::Console() const
{
    return mUi.console;
}

void AppMainWindow::AppendToConsole(const QString &text)
{
    if (!mConsoleDelay.isActive()) {
        const QScrollBar *const bar = mUi.console->verticalScrollBar();
        mConsoleAtEnd = bar->value() == bar->maximum();
        mConsoleDelay.start();
    }
    QTextDocument *const document = mUi.console->document();
    const QSignalBlocker blocker(document->documentLayout()); // ShowAppended() makes up for it
    QTextCursor end(document);
    end.beginEditBlock();
    end.movePosition(QTextCursor::End);
    if (!document->isEmpty())
        end.insertBlock();
    end.insertText(text);
    end.endEditBlock();
}

void AppMainWindow::ShowAppended()
{
    QAbstractTextDocumentLayout *const layout = mUi.console->document()->documentLayout();
    emit layout->documentSizeChanged(layout->documentSize());
    emit layout->update();
    QScrollBar *const bar = mUi.console->verticalScrollBar();
    if (mConsoleAtEnd)
        bar->setValue(bar->maximum());
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
