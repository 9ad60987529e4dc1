// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#include "AppMediaMgr.h"
#include "AppWindowsName.h"
#include "HostFiles.h"

#include <QTemporaryDir>
#include <QTest>

class tst_AppWindowsName : public QObject
{
    Q_OBJECT

private slots:
    void namesOfNoFiles_data();
    void namesOfNoFiles();
    void theyAreRefusedOnWindowsOnly_data();
    void theyAreRefusedOnWindowsOnly();
};

void tst_AppWindowsName::namesOfNoFiles_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<bool>("noFile");

    for (const char *device : {"nul", "aux", "con", "prn"})
        QTest::addRow("device-%s", device) << QString::fromLatin1(device) << true;
    for (int i = 1; i <= 9; ++i) {
        QTest::addRow("com%d", i) << QStringLiteral("com%1.prg").arg(i) << true;
        QTest::addRow("lpt%d", i) << QStringLiteral("LPT%1.d64").arg(i) << true;
    }
    QTest::newRow("superscript-1") << QString::fromUtf8("com\u00B9.prg") << true;
    QTest::newRow("superscript-2") << QString::fromUtf8("com\u00B2.prg") << true;
    QTest::newRow("superscript-3") << QString::fromUtf8("LPT\u00B3.prg") << true;
    QTest::newRow("any-extension") << "nul.prg" << true;
    QTest::newRow("two-extensions") << "nul.a.prg" << true;
    QTest::newRow("capitals") << "NUL.prg" << true;
    QTest::newRow("mixed-case") << "cOn.dxx" << true;
    QTest::newRow("blanks-before-the-extension") << "nul  .prg" << true;
    QTest::newRow("colon-inside") << "a:b.prg" << true;
    QTest::newRow("colon-in-front") << ":a.prg" << true;
    QTest::newRow("colon-at-the-end") << "a.prg:" << true;

    QTest::newRow("usual") << "games.d64" << false;
    QTest::newRow("empty") << "" << false;
    QTest::newRow("extension-alone") << ".prg" << false;
    QTest::newRow("blank-in-front") << " nul.prg" << false;
    QTest::newRow("device-in-the-extension") << "a.nul" << false;
    QTest::newRow("longer") << "null.prg" << false;
    QTest::newRow("shorter") << "nu.prg" << false;
    QTest::newRow("com-without-number") << "com.prg" << false;
    QTest::newRow("com0") << "com0.prg" << false;
    QTest::newRow("com10") << "com10.prg" << false;
    QTest::newRow("coma") << "coma.prg" << false;
    QTest::newRow("number-behind-another") << "nul1.prg" << false;
}

void tst_AppWindowsName::namesOfNoFiles()
{
    QFETCH(QString, name);
    QTEST(AppWindowsName::IsNoFile(name), "noFile");
}

void tst_AppWindowsName::theyAreRefusedOnWindowsOnly_data()
{
    QTest::addColumn<QString>("name");

    QTest::newRow("nul") << "nul";
    QTest::newRow("aux-in-capitals") << "AUX";
    QTest::newRow("com1") << "com1";
    QTest::newRow("device-with-an-extension") << "prn.x";
    QTest::newRow("stream") << "a:b";
}

void tst_AppWindowsName::theyAreRefusedOnWindowsOnly()
{
    QFETCH(QString, name);

    const QTemporaryDir directory;
    AppDosName dosName;
    dosName.FromString(name, true);
    const QString path =
        AppMediaMgr::Instance().AddUpdateProgram(directory.path(), dosName, "program");
#ifdef Q_OS_WIN
    QCOMPARE(path, QString());
    QCOMPARE(Snapshot(directory.path()), QStringList());
#else
    QCOMPARE(path, directory.path() + QLatin1Char('/') + name + QStringLiteral(".prg"));
    QCOMPARE(ReadFile(path), QByteArray("program"));
#endif
}

QTEST_GUILESS_MAIN(tst_AppWindowsName)
#include "tst_AppWindowsName.moc"
