// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#include "MxLog.h"

#include <QByteArray>
#include <QCoreApplication>
#include <QDir>
#include <QProcess>
#include <QStringList>
#include <QTemporaryDir>
#include <QtTest>

#include <cstdio>
#include <cstring>

namespace
{

/// As the program's argument: trace, and do nothing else.
constexpr char TRACE_ONLY[] = "--trace-only";

/// As the program's argument: write one line. Shows that what is traced would be seen.
constexpr char WRITE_ONLY[] = "--write-only";

void TraceInManyWays()
{
    MxLog log;
    log.Log(MxLog::LEVEL_TRACE, __FILE__, __LINE__, L"nothing to fill in\n");
    log.Log(MxLog::LEVEL_TRACE, __FILE__, __LINE__, L"%d bytes of %ls\n", 42, L"a request");
    log.Log(MxLog::LEVEL_TRACE, "", 0, L"");
    // Were the format read, these would end the process.
    log.Log(MxLog::LEVEL_TRACE, nullptr, -1, nullptr);
    log.Log(MxLog::LEVEL_TRACE, nullptr, 0, L"%ls %ls %ls", nullptr, nullptr, nullptr);
    for (int i = 0; i < 1000; ++i)
        MxLog().Log(MxLog::LEVEL_TRACE, __FILE__, __LINE__, L"a longer text, number %d\n", i);
}

} // namespace

class tst_MxLog : public QObject
{
    Q_OBJECT

private slots:
    void writesNothing_data();
    void writesNothing();
    void doesNotTouchItsArguments();
};

void tst_MxLog::writesNothing_data()
{
    QTest::addColumn<QString>("argument");
    QTest::addColumn<QByteArray>("output");
    QTest::addColumn<QByteArray>("errors");
    QTest::addColumn<QStringList>("files");

    QTest::newRow("trace-leaves-nothing")
        << QString::fromLatin1(TRACE_ONLY) << QByteArray() << QByteArray() << QStringList();
    QTest::newRow("anything-written-would-be-seen")
        << QString::fromLatin1(WRITE_ONLY) << QByteArray("to the output")
        << QByteArray("to the errors") << QStringList(QStringLiteral("file"));
}

void tst_MxLog::writesNothing()
{
    QFETCH(QString, argument);
    QFETCH(QByteArray, output);
    QFETCH(QByteArray, errors);
    QFETCH(QStringList, files);

    const QTemporaryDir directory;
    QVERIFY(directory.isValid());
    QProcess process;
    process.setWorkingDirectory(directory.path());
    process.start(QCoreApplication::applicationFilePath(), {argument});
    QVERIFY(process.waitForFinished());

    QCOMPARE(process.exitStatus(), QProcess::NormalExit);
    QCOMPARE(process.exitCode(), 0);
    QCOMPARE(process.readAllStandardOutput(), output);
    QCOMPARE(process.readAllStandardError(), errors);
    QCOMPARE(QDir(directory.path()).entryList(QDir::AllEntries | QDir::NoDotAndDotDot), files);
}

void tst_MxLog::doesNotTouchItsArguments()
{
    int number = 42;
    char text[] = "text";
    MxLog log;
    log.Log(MxLog::LEVEL_TRACE, __FILE__, __LINE__, L"filled in %n", &number);
    log.Log(MxLog::LEVEL_TRACE, text, __LINE__, L"%s", text);

    QCOMPARE(number, 42);
    QCOMPARE(QByteArray(text), QByteArray("text"));
}

int main(int argc, char **argv)
{
    if (argc == 2 && std::strcmp(argv[1], TRACE_ONLY) == 0) {
        TraceInManyWays();
        return 0;
    }
    if (argc == 2 && std::strcmp(argv[1], WRITE_ONLY) == 0) {
        std::fputs("to the output", stdout);
        std::fputs("to the errors", stderr);
        std::FILE *const file = std::fopen("file", "w");
        return file && std::fclose(file) == 0 ? 0 : 1;
    }

    QCoreApplication application(argc, argv);
    tst_MxLog test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_MxLog.moc"
