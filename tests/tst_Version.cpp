// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#include "HostFiles.h"

#include <QDirIterator>
#include <QFileInfo>
#include <QRegularExpression>
#include <QTest>

#include <utility>

namespace
{

const QString VERSION = QStringLiteral(DISK_HUB_VERSION);

QString SourceText(const QString &path)
{
    return QString::fromUtf8(ReadFile(QStringLiteral(DISK_HUB_SOURCE_DIR "/") + path));
}

/// A file that the configuration makes.
QString ConfiguredText(const QString &path)
{
    const QString directory = QFileInfo(QStringLiteral(DISK_HUB_BINARY)).path();
    return QString::fromUtf8(ReadFile(directory + QLatin1Char('/') + path));
}

/// Whether the version stands in `text`, not as a part of a longer number.
bool States(const QString &text)
{
    const QString version = QRegularExpression::escape(VERSION);
    return QRegularExpression(QStringLiteral("(?<![\\d.])%1(?![\\d.]*\\d)").arg(version))
        .match(text)
        .hasMatch();
}

} // namespace

class tst_Version : public QObject
{
    Q_OBJECT

private slots:
    void changelogBeginsWithIt();
    void manPagesTellIt_data();
    void manPagesTellIt();
    void packagesTellIt();
    void noOtherSourceStatesIt_data();
    void noOtherSourceStatesIt();
};

void tst_Version::changelogBeginsWithIt()
{
    const QRegularExpressionMatch heading =
        QRegularExpression(QStringLiteral("^## (.*)$"), QRegularExpression::MultilineOption)
            .match(SourceText(QStringLiteral("CHANGELOG.md")));
    QCOMPARE(heading.captured(1), VERSION);
}

void tst_Version::manPagesTellIt_data()
{
    QTest::addColumn<QString>("page");

    QTest::newRow("disk-hub") << "packaging/disk-hub.1";
    QTest::newRow("disk-hub-check") << "tools/check/disk-hub-check.1";
    QTest::newRow("skylet") << "tools/skylet/skylet.1";
}

void tst_Version::manPagesTellIt()
{
    QFETCH(QString, page);

    const QString text = ConfiguredText(page);
    if (text.isEmpty())
        SKIP_ON_WINDOWS("a page of other systems");
    const QRegularExpression title(QStringLiteral("\n\\.TH [A-Z-]+ 1 \\d{4}-\\d\\d-\\d\\d \"Disk "
                                                  "Hub %1\" \"User Commands\"\n")
                                       .arg(QRegularExpression::escape(VERSION)));
    QVERIFY2(title.match(text).hasMatch(), qPrintable(text.left(200)));
}

void tst_Version::packagesTellIt()
{
    SKIP_ON_WINDOWS("packages of other systems");
    const QString changelog = ConfiguredText(QStringLiteral("packaging/changelog"));
    QVERIFY2(changelog.startsWith(QStringLiteral("disk-hub (%1) unstable;").arg(VERSION)),
             qPrintable(changelog));
    const QRegularExpression date(QStringLiteral(
        "  [A-Z][a-z]{2}, \\d\\d [A-Z][a-z]{2} \\d{4} \\d\\d:\\d\\d:\\d\\d \\+0000\n$"));
    QVERIFY2(date.match(changelog).hasMatch(), qPrintable(changelog));
    const QString metainfo =
        ConfiguredText(QStringLiteral("packaging/com.tesseline.DiskHub.metainfo.xml"));
    QVERIFY2(metainfo.contains(QStringLiteral("<release version=\"%1\" date=\"").arg(VERSION)),
             qPrintable(metainfo));
}

void tst_Version::noOtherSourceStatesIt_data()
{
    QTest::addColumn<QString>("place");

    for (const char *place : {"README.md", "CONTRIBUTING.md", "docs", "packaging", "scripts", "src",
                              "tests", "tools", "bench"})
        QTest::newRow(place) << place;
}

void tst_Version::noOtherSourceStatesIt()
{
    QFETCH(QString, place);

    const QString path = QStringLiteral(DISK_HUB_SOURCE_DIR "/") + place;
    QStringList files{path};
    if (QFileInfo(path).isDir()) {
        files.clear();
        QDirIterator it(path, QDir::Files, QDirIterator::Subdirectories);
        while (it.hasNext())
            files.append(it.next());
    }
    QVERIFY(!files.isEmpty());
    // It says what was measured, whatever the version is now.
    files.removeAll(QStringLiteral(DISK_HUB_SOURCE_DIR "/docs/performance.md"));
    for (const QString &file : std::as_const(files))
        QVERIFY2(!States(QString::fromLatin1(ReadFile(file))), qPrintable(file));
}

QTEST_GUILESS_MAIN(tst_Version)

#include "tst_Version.moc"
