// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#include "HubProcess.h"

#include "HubSettings.h"

#include <QCoreApplication>
#include <QHostAddress>

#include <csignal>
#ifdef Q_OS_WIN
#include <winsock2.h>
#else
#include <sys/socket.h>
#endif

bool HubProcess::Start(const QByteArray &settings, const QStringList &arguments)
{
    return WriteStore(ServerSection() + settings) &&
           StartAsItIs({QStringLiteral(DISK_HUB_BINARY)}, arguments);
}

bool HubProcess::StartAsItIs(const QStringList &command, const QStringList &arguments)
{
    return Run(command + arguments) &&
           QTest::qWaitFor([this] { return !IsRunning() || Accepts(); }, TIMEOUT_MS) && IsRunning();
}

int HubProcess::RunUntilQuit(const QByteArray &settings)
{
    return WriteStore(ServerSection() + settings) ? RunAsItIsUntilQuit() : -1;
}

int HubProcess::RunAsItIsUntilQuit()
{
    return Run(Child()) ? Quit() : -1;
}

QStringList HubProcess::Child()
{
    return {QCoreApplication::applicationFilePath(), QLatin1String(UNTIL_INPUT_ENDS)};
}

int HubProcess::Quit()
{
    BeginQuit();
    const bool ended = mProcess.waitForFinished(TIMEOUT_MS);
    return ended && mProcess.exitStatus() == QProcess::NormalExit ? mProcess.exitCode() : -1;
}

void HubProcess::Kill()
{
    mProcess.kill();
    mProcess.waitForFinished(TIMEOUT_MS);
}

void HubProcess::Signal(int signal) const
{
#ifdef Q_OS_UNIX
    ::kill(pid_t(Id()), signal);
#else
    Q_UNUSED(signal)
#endif
}

bool HubProcess::WaitForEnd()
{
    return mProcess.waitForFinished(TIMEOUT_MS);
}

QString HubProcess::SettingsPath() const
{
    return mHome.filePath(QStringLiteral("Tesseline LLC/Disk Hub.conf"));
}

QByteArray HubProcess::Settings() const
{
    return HubSettings::ReadStore(SettingsPath());
}

bool HubProcess::WriteStore(const QByteArray &text) const
{
    return HubSettings::WriteStore(SettingsPath(), text);
}

QByteArray HubProcess::ServerSection(int more)
{
    QTcpServer server;
    server.listen(QHostAddress(QHostAddress::LocalHost));
    mPort = server.serverPort();
    return HubSettings::Loopback().replace("port=0", "port=" + QByteArray::number(mPort + more));
}

QByteArray HubProcess::Errors() const
{
    return ReadFile(ErrorsPath())
        .replace("This plugin does not support propagateSizeHints()\n", QByteArray());
}

int HubProcess::Descriptors() const
{
    return int(QDir(QStringLiteral("/proc/%1/fd").arg(Id()))
                   .entryList(QDir::AllEntries | QDir::System | QDir::NoDotAndDotDot)
                   .size());
}

void HubProcess::Connect(QTcpSocket *device) const
{
    device->connectToHost(QHostAddress(QHostAddress::LocalHost), mPort);
}

HubReply HubProcess::Ask(const QByteArray &request) const
{
    QTcpSocket device;
    Connect(&device);
    device.write(request);
    if (!device.waitForConnected(TIMEOUT_MS))
        return HubReply();
    if (device.state() != QAbstractSocket::UnconnectedState)
        device.waitForDisconnected(TIMEOUT_MS);
    return {device.readAll()};
}

bool HubProcess::Run(const QStringList &command)
{
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("offscreen"));
    for (const char *variable : {"HOME", "TMPDIR", "XDG_CONFIG_HOME", "XDG_RUNTIME_DIR"})
        environment.insert(QLatin1String(variable), mHome.path());
    for (const char *variable : {"XDG_CACHE_HOME", "XDG_DATA_HOME", "XDG_STATE_HOME"})
        environment.remove(QLatin1String(variable));
    mProcess.setProcessEnvironment(environment);
    mProcess.setWorkingDirectory(mHome.path());
    mProcess.setStandardErrorFile(ErrorsPath());
    mProcess.start(command.first(), command.mid(1));
    return mProcess.waitForStarted(TIMEOUT_MS);
}

QString HubProcess::ErrorsPath() const
{
    return mOutside.filePath(QStringLiteral("errors"));
}

bool HubProcess::Accepts() const
{
    QTcpSocket device;
    Connect(&device);
    const bool accepted = device.waitForConnected(TIMEOUT_MS);
    device.abort();
    return accepted;
}

QByteArray Media::Section() const
{
    return "[media]\ndisk_path=" + disks.path().toUtf8() +
           "\nprogram_path=" + programs.path().toUtf8() + '\n';
}

void Reset(QTcpSocket *device)
{
    const linger now = {1, 0};
    setsockopt(device->socketDescriptor(), SOL_SOCKET, SO_LINGER,
               reinterpret_cast<const char *>(&now), sizeof(now));
    device->abort();
}
