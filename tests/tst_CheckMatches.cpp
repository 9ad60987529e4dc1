// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#include "AppDosName.h"
#include "CheckMatches.h"
#include "CheckName.h"

#include <QRandomGenerator>
#include <QTest>

namespace
{

CheckMatches::FILE File(const QString &text, bool readable = true)
{
    AppDosName name;
    name.FromString(text, true);
    return {name, CheckName::Wildcards(name), readable};
}

QVector<CheckMatches::FILE> Files(const QStringList &texts)
{
    QVector<CheckMatches::FILE> files;
    for (const QString &text : texts)
        files.append(File(text));
    return files;
}

/// What asking for one file's pattern alone gives.
CheckMatches::MATCH Asked(const QVector<CheckMatches::FILE> &files, int index)
{
    AppDosName pattern;
    pattern.FromString(CheckName::Pattern(files.at(index).name), true);
    CheckMatches::MATCH match;
    for (int i = 0; i < files.size(); ++i) {
        if (!files.at(i).name.MatchesPattern(pattern))
            continue;
        ++match.fits;
        if (!files.at(i).readable)
            continue;
        match.lastReadable = i;
        if (++match.readable <= CheckMatches::DISKS_MAX)
            match.lastDisk = i;
    }
    return match;
}

} // namespace

class tst_CheckMatches : public QObject
{
    Q_OBJECT

private slots:
    void noFilesHaveNoMatches();
    void aNameOfItsOwnFitsItself();
    void sharedNamesFitAllOfThem();
    void unreadableFilesFitButAreNotSent();
    void aPackageHoldsNineteenDisks();
    void wildcardsFitOtherNames();
    void lengthCounts();
    void whatStandsBehindTheEndDoesNotCount();
    void agreesWithAskingForEachAlone();
};

void tst_CheckMatches::noFilesHaveNoMatches()
{
    QVERIFY(CheckMatches::Find({}).isEmpty());
}

void tst_CheckMatches::aNameOfItsOwnFitsItself()
{
    const QVector<CheckMatches::MATCH> matches =
        CheckMatches::Find(Files({QStringLiteral("a"), QStringLiteral("b")}));
    QCOMPARE(matches.at(0).fits, 1);
    QCOMPARE(matches.at(0).readable, 1);
    QCOMPARE(matches.at(0).lastReadable, 0);
    QCOMPARE(matches.at(0).lastDisk, 0);
    QCOMPARE(matches.at(1).lastReadable, 1);
}

void tst_CheckMatches::sharedNamesFitAllOfThem()
{
    const QVector<CheckMatches::MATCH> matches =
        CheckMatches::Find(Files({QStringLiteral("a"), QStringLiteral("A"), QStringLiteral("a")}));
    QCOMPARE(matches.at(0).fits, 2);
    QCOMPARE(matches.at(0).lastReadable, 2);
    QCOMPARE(matches.at(1).fits, 1);
    QCOMPARE(matches.at(1).lastReadable, 1);
    QCOMPARE(matches.at(2).lastReadable, 2);
}

void tst_CheckMatches::unreadableFilesFitButAreNotSent()
{
    const QVector<CheckMatches::MATCH> matches =
        CheckMatches::Find({File(QStringLiteral("a")), File(QStringLiteral("a"), false),
                            File(QStringLiteral("b"), false)});
    QCOMPARE(matches.at(1).fits, 2);
    QCOMPARE(matches.at(1).readable, 1);
    QCOMPARE(matches.at(1).lastReadable, 0);
    QCOMPARE(matches.at(1).lastDisk, 0);
    QCOMPARE(matches.at(2).fits, 1);
    QCOMPARE(matches.at(2).readable, 0);
    QCOMPARE(matches.at(2).lastReadable, -1);
    QCOMPARE(matches.at(2).lastDisk, -1);
}

void tst_CheckMatches::aPackageHoldsNineteenDisks()
{
    QCOMPARE(CheckMatches::DISKS_MAX, 19);
    QVector<CheckMatches::FILE> files{File(QStringLiteral("a"), false)};
    while (files.size() < 20)
        files.append(File(QStringLiteral("a")));
    QCOMPARE(CheckMatches::Find(files).first().lastDisk, 19);
    files.append(File(QStringLiteral("a")));
    const CheckMatches::MATCH match = CheckMatches::Find(files).first();
    QCOMPARE(match.fits, 21);
    QCOMPARE(match.readable, 20);
    QCOMPARE(match.lastDisk, 19);
    QCOMPARE(match.lastReadable, 20);
}

void tst_CheckMatches::wildcardsFitOtherNames()
{
    const QVector<CheckMatches::MATCH> matches =
        CheckMatches::Find(Files({QStringLiteral("a=b"), QStringLiteral("axb"),
                                  QStringLiteral("a&b"), QStringLiteral("axc")}));
    QCOMPARE(matches.at(0).fits, 3);
    QCOMPARE(matches.at(0).lastReadable, 2);
    QCOMPARE(matches.at(1).fits, 1);
    QCOMPARE(matches.at(2).fits, 3);
    QCOMPARE(matches.at(3).fits, 1);
}

void tst_CheckMatches::lengthCounts()
{
    const QVector<CheckMatches::MATCH> matches =
        CheckMatches::Find(Files({QStringLiteral("ab*"), QStringLiteral("ab"),
                                  QStringLiteral("abcd"), QStringLiteral("abc"), QString()}));
    QCOMPARE(matches.at(0).fits, 2);
    QCOMPARE(matches.at(0).lastReadable, 3);
    QCOMPARE(matches.at(4).fits, 1);
}

void tst_CheckMatches::whatStandsBehindTheEndDoesNotCount()
{
    CheckMatches::FILE odd = File(QStringLiteral("ab"));
    odd.name = AppDosName::FromBytes("AB\xA0"
                                     "garbage behind");
    const QVector<CheckMatches::MATCH> matches =
        CheckMatches::Find({odd, File(QStringLiteral("ab"))});
    QCOMPARE(matches.at(0).fits, 2);
    QCOMPARE(matches.at(1).fits, 2);
}

void tst_CheckMatches::agreesWithAskingForEachAlone()
{
    // Few characters and short names, so that many fit each other's patterns.
    const QString characters = QStringLiteral("aaabbA*?&ä日 ");
    QRandomGenerator random(20);
    QVector<CheckMatches::FILE> files;
    for (int i = 0; i < 400; ++i) {
        QString text;
        for (int length = random.bounded(5); length > 0; --length)
            text.append(characters.at(random.bounded(int(characters.size()))));
        files.append(File(text, random.bounded(4) != 0));
    }

    const QVector<CheckMatches::MATCH> matches = CheckMatches::Find(files);
    QCOMPARE(matches.size(), files.size());
    for (int i = 0; i < files.size(); ++i) {
        const CheckMatches::MATCH expected = Asked(files, i);
        QCOMPARE(matches.at(i).fits, expected.fits);
        QCOMPARE(matches.at(i).readable, expected.readable);
        QCOMPARE(matches.at(i).lastReadable, expected.lastReadable);
        QCOMPARE(matches.at(i).lastDisk, expected.lastDisk);
    }
}

QTEST_GUILESS_MAIN(tst_CheckMatches)
#include "tst_CheckMatches.moc"
