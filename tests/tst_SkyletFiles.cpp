// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#include "HostFiles.h"
#include "SkyletFiles.h"
#include "SkyletNames.h"

#include <QTemporaryDir>
#include <QTest>

class tst_SkyletFiles : public QObject
{
    Q_OBJECT

private slots:
    void namesAreSafe_data();
    void namesAreSafe();
    void everyNameStaysInItsDirectory();
    void namesThatAreTakenGetNumbers();
    void extensionsOfTheTypes_data();
    void extensionsOfTheTypes();
    void fileIsWritten();
    void fileThatExistsIsKept();
    void fileThatExistsIsReplacedWhenAsked();
    void linksAreNotWrittenThrough_data();
    void linksAreNotWrittenThrough();
    void directoriesAreNoFiles();
    void missingDirectoryIsAnError();
};

void tst_SkyletFiles::namesAreSafe_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("file");

    QTest::newRow("letters") << "Games"
                             << "Games.d64";
    QTest::newRow("blanks-stay") << "my game"
                                 << "my game.d64";
    QTest::newRow("latin-1-stays")
        << QString::fromUtf8("\xc3\xa9t\xc3\xa9") << QString::fromUtf8("\xc3\xa9t\xc3\xa9.d64");
    QTest::newRow("dots-inside-stay") << "v1.5"
                                      << "v1.5.d64";
    QTest::newRow("empty") << ""
                           << "unnamed.d64";
    QTest::newRow("slash") << "a/b"
                           << "a_b.d64";
    QTest::newRow("backslash") << "a\\b"
                               << "a_b.d64";
    QTest::newRow("parent-directory") << "../../etc/x"
                                      << "_.._.._etc_x.d64";
    QTest::newRow("only-dots") << ".."
                               << "_...d64";
    QTest::newRow("absolute-path") << "/etc/passwd"
                                   << "_etc_passwd.d64";
    QTest::newRow("drive-letter") << "c:x"
                                  << "c_x.d64";
    QTest::newRow("hidden") << ".profile"
                            << "_.profile.d64";
    QTest::newRow("wildcards-and-quotation-mark") << "a*b?c\"d<e>f|"
                                                  << "a_b_c_d_e_f_.d64";
    QTest::newRow("control-characters") << QStringLiteral("a\x1b\n\x7f\u0085") << "a____.d64";
    QTest::newRow("nul") << QString(QChar(0)) << "_.d64";
    QTest::newRow("windows-device") << "con"
                                    << "_con.d64";
    QTest::newRow("windows-device-with-number") << "Com1"
                                                << "_Com1.d64";
    QTest::newRow("windows-device-with-more") << "nul.x"
                                              << "_nul.x.d64";
    QTest::newRow("no-windows-device") << "console"
                                       << "console.d64";
    QTest::newRow("placeholder") << "%1%2%3"
                                 << "%1%2%3.d64";
}

void tst_SkyletFiles::namesAreSafe()
{
    QFETCH(QString, name);
    QFETCH(QString, file);

    QCOMPARE(SkyletFiles::SafeName(DosName(name), QStringLiteral("d64")), file);
}

void tst_SkyletFiles::everyNameStaysInItsDirectory()
{
    const QTemporaryDir directory;
    const QString inside = QDir(directory.path()).absolutePath();
    for (int first = 0; first < 256; ++first) {
        for (const int second : {0x00, 0x2e, 0x2f, 0x41, 0x5c, 0xa0}) {
            QByteArray bytes(AppDosName::SIZE, char(AppDosName::PADDING));
            bytes[0] = char(first);
            bytes[1] = char(second);
            bytes[2] = '/';
            const QString name = SkyletFiles::SafeName(AppDosName::FromBytes(bytes.constData()),
                                                       QStringLiteral("prg"));
            const QFileInfo info(QDir(directory.path()).filePath(name));
            QCOMPARE(QDir::cleanPath(info.absolutePath()), inside);
            QCOMPARE(info.fileName(), name);
            QVERIFY(!name.startsWith(QLatin1Char('.')));
        }
    }
}

void tst_SkyletFiles::namesThatAreTakenGetNumbers()
{
    SkyletFiles files;
    const QString d64 = QStringLiteral("d64");
    QCOMPARE(files.UniqueName(DosName(QStringLiteral("games")), d64), QStringLiteral("games.d64"));
    QCOMPARE(files.UniqueName(DosName(QStringLiteral("games")), d64),
             QStringLiteral("games-2.d64"));
    QCOMPARE(files.UniqueName(DosName(QStringLiteral("GAMES")), d64),
             QStringLiteral("GAMES-3.d64"));
    QCOMPARE(files.UniqueName(DosName(QStringLiteral("games")), QStringLiteral("d71")),
             QStringLiteral("games.d71"));
    QCOMPARE(files.UniqueName(DosName(QStringLiteral("MORE")), d64), QStringLiteral("MORE.d64"));
    QCOMPARE(files.UniqueName(DosName(QStringLiteral("more")), d64), QStringLiteral("more-2.d64"));
    QCOMPARE(files.UniqueName(DosName(QStringLiteral("%1")), d64), QStringLiteral("%1.d64"));
    QCOMPARE(files.UniqueName(DosName(QStringLiteral("%1")), d64), QStringLiteral("%1-2.d64"));
}

void tst_SkyletFiles::extensionsOfTheTypes_data()
{
    QTest::addColumn<int>("type");
    QTest::addColumn<QString>("extension");

    QTest::newRow("d64") << int(AppPackage::DISK_D64) << "d64";
    QTest::newRow("d71") << int(AppPackage::DISK_D71) << "d71";
    QTest::newRow("d81") << int(AppPackage::DISK_D81) << "d81";
    QTest::newRow("d80") << int(AppPackage::DISK_D80) << "d80";
    QTest::newRow("d82") << int(AppPackage::DISK_D82) << "d82";
    QTest::newRow("none") << 5 << QString();
    QTest::newRow("negative") << -1 << QString();
}

void tst_SkyletFiles::extensionsOfTheTypes()
{
    QFETCH(int, type);
    QFETCH(QString, extension);

    QCOMPARE(SkyletFiles::Extension(AppPackage::DISKTYPE(type)), extension);
}

void tst_SkyletFiles::fileIsWritten()
{
    const QTemporaryDir directory;
    const QString path = directory.filePath(QStringLiteral("a.prg"));
    QString error;
    QCOMPARE(SkyletFiles::Write(path, "data", SkyletFiles::KEEP_EXISTING, &error), 0);
    QCOMPARE(ReadFile(path), QByteArray("data"));
    QCOMPARE(error, QString());
    QCOMPARE(QDir(directory.path()).entryList(QDir::Files | QDir::Hidden).size(), 1);
}

void tst_SkyletFiles::fileThatExistsIsKept()
{
    const QTemporaryDir directory;
    const QString path = directory.filePath(QStringLiteral("a.prg"));
    QVERIFY(WriteFile(path, "before"));
    QString error;
    QCOMPARE(SkyletFiles::Write(path, "data", SkyletFiles::KEEP_EXISTING, &error), -1);
    QCOMPARE(error, QDir::toNativeSeparators(path) +
                        QStringLiteral(" exists already; --force replaces it"));
    QCOMPARE(ReadFile(path), QByteArray("before"));
}

void tst_SkyletFiles::fileThatExistsIsReplacedWhenAsked()
{
    const QTemporaryDir directory;
    const QString path = directory.filePath(QStringLiteral("a.prg"));
    QVERIFY(WriteFile(path, "what was here before"));
    QString error;
    QCOMPARE(SkyletFiles::Write(path, "data", SkyletFiles::REPLACE_EXISTING, &error), 0);
    QCOMPARE(ReadFile(path), QByteArray("data"));
}

void tst_SkyletFiles::linksAreNotWrittenThrough_data()
{
    QTest::addColumn<bool>("targetExists");
    QTest::addColumn<bool>("force");

    QTest::newRow("to-a-file") << true << false;
    QTest::newRow("to-a-file-with-force") << true << true;
    QTest::newRow("to-nothing") << false << false;
    QTest::newRow("to-nothing-with-force") << false << true;
}

void tst_SkyletFiles::linksAreNotWrittenThrough()
{
    SKIP_ON_WINDOWS("Windows lets only administrators make links");
    QFETCH(bool, targetExists);
    QFETCH(bool, force);

    const QTemporaryDir directory;
    const QTemporaryDir elsewhere;
    const QString target = elsewhere.filePath(QStringLiteral("target"));
    const QString path = directory.filePath(QStringLiteral("a.prg"));
    QVERIFY(!targetExists || WriteFile(target, "before"));
    QVERIFY(MakeLink(target, path));
    QString error;
    const auto overwrite = force ? SkyletFiles::REPLACE_EXISTING : SkyletFiles::KEEP_EXISTING;
    QCOMPARE(SkyletFiles::Write(path, "data", overwrite, &error), -1);
    QCOMPARE(error, path + QStringLiteral(" is a link, which skylet does not write through"));
    QCOMPARE(QFileInfo::exists(target), targetExists);
    QCOMPARE(ReadFile(target), targetExists ? QByteArray("before") : QByteArray());
}

void tst_SkyletFiles::directoriesAreNoFiles()
{
    const QTemporaryDir directory;
    QString error;
    QCOMPARE(SkyletFiles::Write(directory.path(), "data", SkyletFiles::REPLACE_EXISTING, &error),
             -1);
    QCOMPARE(error,
             QDir::toNativeSeparators(directory.path()) + QStringLiteral(" exists and is no file"));
}

void tst_SkyletFiles::missingDirectoryIsAnError()
{
    const QTemporaryDir directory;
    const QString path = directory.filePath(QStringLiteral("missing/a.prg"));
    QString error;
    QCOMPARE(SkyletFiles::Write(path, "data", SkyletFiles::KEEP_EXISTING, &error), -1);
    QVERIFY(
        error.startsWith(QDir::toNativeSeparators(path) + QStringLiteral(" cannot be written: ")));
}

QTEST_GUILESS_MAIN(tst_SkyletFiles)
#include "tst_SkyletFiles.moc"
