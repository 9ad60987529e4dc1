// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#pragma once

#include "SkyletBench.h"
#include "SkyletClient.h"
#include "SkyletFiles.h"
#include "SkyletInterrupt.h"
#include "SkyletListing.h"
#include "SkyletOptions.h"
#include "SkyletReport.h"
#include "SkyletUpload.h"

#include <QCoreApplication>

/// The commands of skylet. Each returns its exit code.
class SkyletCommands
{
    Q_DECLARE_TR_FUNCTIONS(SkyletCommands)

public:
    /// The whole program: reads the command line, runs the command and says what came of it. An
    /// application object must exist.
    static int Main(const QStringList &arguments);

private:
    explicit SkyletCommands(const SkyletOptions &options);

    int Run();
    int Search();
    int Get();
    int Disks();
    int Put();
    int Ping();
    int Bench();

    SkyletAnswer Ask(const SkyletRequest &request);
    QString Pattern(const SkyletOptions::COMMAND &command);
    SkyletRequest ToRequest(const SkyletOptions::COMMAND &command);

    int ReadListing(const SkyletAnswer &answer, QVector<SkyletListing::LINE> *lines);
    void ShowListing(const QVector<SkyletListing::LINE> &lines);
    int WriteDisks(const SkyletAnswer &answer);
    int ReportMissing(const SkyletAnswer &answer, const QVector<SkyletListing::LINE> &manifest);

    int WriteFile(const QString &path, const QByteArray &data);
    int TargetDirectory(QString *directory);

    int Identify(const QStringList &files, QVector<SkyletUpload::OBJECT> *objects);
    int PutPackage(const QVector<SkyletUpload::OBJECT> &objects, QJsonArray *packages);
    void ReportObject(const SkyletUpload::OBJECT &object, const SkyletAnswer &answer, bool isAlone);

    int MakeLoad(QVector<QByteArray> *requests);
    int ReportFigures(const SkyletBench::FIGURES &figures);

    const SkyletOptions &mOptions;
    SkyletReport mReport;
    SkyletInterrupt mInterrupt;
    SkyletClient mClient;
    SkyletFiles mFiles;
};
