// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

// The client that docs/protocol.md shows, with the program itself.

#include "HubProgram.h"

#include <memory>

namespace
{

constexpr int LINES_MAX = 60; // as the document says

const char CLIENT[] = DISK_HUB_SOURCE_DIR "/docs/examples/skylet.py";

/// What a run of the client said, and how it ended.
struct RUN {
    int exitCode = -1;
    QString output;
    QString errors;
};

} // namespace

class tst_ProtocolExample : public QObject
{
    Q_OBJECT

private slots:
    void init();

    void hasAtMostTheLinesThatTheDocumentSays();
    void tellsHowToUseIt();
    void searches();
    void getsAProgram();
    void getsDisks();
    void putsAProgram();
    void putsADisk();
    void tellsARefusal();

private:
    RUN Run(const QStringList &arguments) const;
    QString Here(const char *name) const { return mHere->filePath(QLatin1String(name)); }

    std::unique_ptr<Media> mMedia;
    std::unique_ptr<HubProcess> mHub;
    std::unique_ptr<QTemporaryDir> mHere; ///< the client's working directory
};

void tst_ProtocolExample::init()
{
    SKIP_ON_WINDOWS("there is no python3 for certain");
    mMedia = std::make_unique<Media>();
    mHere = std::make_unique<QTemporaryDir>();
    QVERIFY(WriteFile(mMedia->Disk("games.d64"), Image(D64_SIZE)));
    QVERIFY(WriteFile(mMedia->Disk("Tools.d82"), Image(D82_SIZE, 1)));
    QVERIFY(WriteFile(mMedia->Program("ghost.prg"), "\x01\x08ghost"));
    mHub = std::make_unique<HubProcess>();
    QVERIFY(mHub->Start(mMedia->Section()));
}

RUN tst_ProtocolExample::Run(const QStringList &arguments) const
{
    QProcess client;
    client.setWorkingDirectory(mHere->path());
    const QString hub = QStringLiteral("127.0.0.1:%1").arg(mHub->Port());
    client.start(QStringLiteral("python3"), QStringList{QLatin1String(CLIENT), hub} + arguments);
    if (!client.waitForFinished(TIMEOUT_MS) || client.exitStatus() != QProcess::NormalExit)
        return {-1, QString(), client.errorString()};
    return {client.exitCode(), QString::fromUtf8(client.readAllStandardOutput()),
            QString::fromUtf8(client.readAllStandardError())};
}

void tst_ProtocolExample::hasAtMostTheLinesThatTheDocumentSays()
{
    const QByteArray document =
        ReadFile(QStringLiteral(DISK_HUB_SOURCE_DIR "/docs/protocol.md")).simplified();
    QVERIFY(document.contains("in " + QByteArray::number(LINES_MAX) + " lines of Python"));
    const int lines = static_cast<int>(ReadFile(QLatin1String(CLIENT)).count('\n'));
    QVERIFY2(lines > 0 && lines <= LINES_MAX, qPrintable(QString::number(lines)));
}

void tst_ProtocolExample::tellsHowToUseIt()
{
    const RUN run = Run({});
    QCOMPARE(run.exitCode, 1);
    QVERIFY2(run.errors.startsWith(QLatin1String("Usage: ")), qPrintable(run.errors));
}

void tst_ProtocolExample::searches()
{
    const RUN run = Run({QStringLiteral("search"), QStringLiteral("g*")});
    QCOMPARE(run.errors, QString());
    QCOMPARE(run.exitCode, 0);
    QCOMPARE(run.output, QStringLiteral("0 search results\n"
                                        "0   \"games\"             d64\n"
                                        "0   \"ghost\"             prg\n"));
}

void tst_ProtocolExample::getsAProgram()
{
    const RUN run = Run({QStringLiteral("get"), QStringLiteral("gh?st")});
    QCOMPARE(run.errors, QString());
    QCOMPARE(run.output, QStringLiteral("ghost.prg: 7 bytes\n"));
    QCOMPARE(ReadFile(Here("ghost.prg")), QByteArray("\x01\x08ghost"));
}

void tst_ProtocolExample::getsDisks()
{
    const RUN run = Run({QStringLiteral("disks"), QStringLiteral("*")});
    QCOMPARE(run.errors, QString());
    QVERIFY2(run.output.startsWith(QLatin1String("0 sent disk(s)\n")), qPrintable(run.output));
    QVERIFY(ReadFile(Here("games.d64")) == Image(D64_SIZE));
    QVERIFY(ReadFile(Here("Tools.d82")) == Image(D82_SIZE, 1));
}

void tst_ProtocolExample::putsAProgram()
{
    QVERIFY(WriteFile(Here("new.prg"), "\x01\x08new"));
    const RUN run = Run({QStringLiteral("put"), Here("new.prg"), QStringLiteral("Copy 1")});
    QCOMPARE(run.errors, QString());
    QCOMPARE(run.exitCode, 0);
    QCOMPARE(ReadFile(mMedia->Program("Copy 1.prg")), QByteArray("\x01\x08new"));
}

void tst_ProtocolExample::putsADisk()
{
    QVERIFY(WriteFile(Here("new.d64"), Image(D64_SIZE, 2)));
    const RUN run = Run({QStringLiteral("put"), Here("new.d64"), QStringLiteral("new")});
    QCOMPARE(run.errors, QString());
    QCOMPARE(run.exitCode, 0);
    QVERIFY(ReadFile(mMedia->Disk("new.d64")) == Image(D64_SIZE, 2));
}

void tst_ProtocolExample::tellsARefusal()
{
    QVERIFY(WriteFile(Here("new.d64"), Image(D64_SIZE, 2)));
    const RUN run = Run({QStringLiteral("put"), Here("new.d64"), QStringLiteral("games")});
    QCOMPARE(run.errors, QStringLiteral("refused: -87\n"));
    QCOMPARE(run.exitCode, 1);
    QVERIFY(ReadFile(mMedia->Disk("games.d64")) == Image(D64_SIZE));
}

int main(int argc, char **argv)
{
    return RunTestOrHub<tst_ProtocolExample>(argc, argv);
}

#include "tst_ProtocolExample.moc"
