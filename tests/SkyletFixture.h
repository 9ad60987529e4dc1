// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#pragma once

// What the tests of the whole skylet share: a hub and the program itself.

#include "AnswerServer.h"
#include "HubProcess.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QTest>

inline QString S(const char *text)
{
    return QString::fromUtf8(text);
}

/// The words of a line, with a blank between each.
inline QStringList Words(const QString &line)
{
    return line.split(QLatin1Char(' '), Qt::SkipEmptyParts);
}

/// The names of all that a directory holds.
inline QStringList Names(const QString &directory)
{
    return QDir(directory).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot,
                                     QDir::Name);
}

/// The hub's own program with empty directories of its own.
class RunningHub
{
public:
    /// Starts it and waits until it listens. `settings` are sections besides those for the port and
    /// the directories.
    bool Start(const QByteArray &settings = QByteArray())
    {
        return mProcess.Start(mMedia.Section() + settings);
    }

    /// As it is given to --hub.
    QString Address() const { return QStringLiteral("127.0.0.1:%1").arg(mProcess.Port()); }

    QString Disk(const char *file) const { return mMedia.Disk(file); }
    QString Program(const char *file) const { return mMedia.Program(file); }

private:
    Media mMedia;
    HubProcess mProcess;
};

/// What a run of skylet left behind.
struct SkyletRun {
    int exitCode = -1; ///< -1 if it crashed or did not end
    QByteArray output;
    QByteArray errors;

    /// The object that --json prints; empty if the output is anything else.
    QJsonObject Json() const { return QJsonDocument::fromJson(output).object(); }
};

/// What a program wrote, as it would on a system with line feeds, slashes and UTF-8.
inline QByteArray AsElsewhere(QByteArray written)
{
#ifdef Q_OS_WIN
    if (!written.startsWith('{')) // JSON is UTF-8 anyway
        written = QString::fromLocal8Bit(written).toUtf8();
    written.replace("\r\n", "\n").replace(".\\", "./");
#endif
    return written;
}

/// Runs skylet, or `program`, to its end. The event loop runs meanwhile, so that a server of this
/// process can answer it.
inline SkyletRun RunSkylet(const QStringList &arguments,
                           const QString &workingDirectory = QString(),
                           const QString &program = QStringLiteral(SKYLET_BINARY))
{
    QProcess process;
    process.setWorkingDirectory(workingDirectory);
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.remove(QStringLiteral("SKYLET_HUB"));
    environment.remove(QStringLiteral("DISPLAY"));
    environment.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("none-there-is"));
    process.setProcessEnvironment(environment);
    process.start(program, arguments, QIODevice::ReadOnly);
    SkyletRun run;
    if (!QTest::qWaitFor([&] { return process.state() == QProcess::NotRunning; }, TIMEOUT_MS)) {
        process.kill();
        process.waitForFinished();
        return run;
    }
    run.output = AsElsewhere(process.readAllStandardOutput());
    run.errors = AsElsewhere(process.readAllStandardError());
    if (process.exitStatus() == QProcess::NormalExit && process.error() == QProcess::UnknownError)
        run.exitCode = process.exitCode();
    return run;
}
