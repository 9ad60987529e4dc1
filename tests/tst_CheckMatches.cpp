// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#include "AppDosName.h"
#include "CheckMatches.h"
#include "CheckName.h"

#include <QRandomGenerator>
#include <QTest>

namespace
{

CheckEntry Entry(const QString &text, bool readable = true)
{
    CheckEntry entry;
    entry.name.FromString(text, true);
    entry.readable = readable;
    return entry;
}

QVector<CheckEntry> Entries(const QStringList &texts)
{
    QVector<CheckEntry> entries;
    for (const QString &text : texts)
        entries.append(Entry(text));
    return entries;
}

QVector<CheckEntry> Found(QVector<CheckEntry> entries)
{
    CheckMatches::Find(&entries);
    return entries;
}

/// What asking for one file's pattern alone gives.
CheckEntry::MATCH Asked(const QVector<CheckEntry> &entries, int index)
{
    AppDosName pattern;
    pattern.FromString(CheckName::Pattern(entries.at(index).name), true);
    CheckEntry::MATCH match;
    for (int i = 0; i < entries.size(); ++i) {
        if (!entries.at(i).name.MatchesPattern(pattern))
            continue;
        ++match.fits;
        if (!entries.at(i).readable)
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
    QVERIFY(Found({}).isEmpty());
}

void tst_CheckMatches::aNameOfItsOwnFitsItself()
{
    const QVector<CheckEntry> found = Found(Entries({QStringLiteral("a"), QStringLiteral("b")}));
    QCOMPARE(found.at(0).match.fits, 1);
    QCOMPARE(found.at(0).match.readable, 1);
    QCOMPARE(found.at(0).match.lastReadable, 0);
    QCOMPARE(found.at(0).match.lastDisk, 0);
    QCOMPARE(found.at(1).match.lastReadable, 1);
}

void tst_CheckMatches::sharedNamesFitAllOfThem()
{
    const QVector<CheckEntry> found =
        Found(Entries({QStringLiteral("a"), QStringLiteral("A"), QStringLiteral("a")}));
    QCOMPARE(found.at(0).match.fits, 2);
    QCOMPARE(found.at(0).match.lastReadable, 2);
    QCOMPARE(found.at(1).match.fits, 1);
    QCOMPARE(found.at(1).match.lastReadable, 1);
    QCOMPARE(found.at(2).match.lastReadable, 2);
}

void tst_CheckMatches::unreadableFilesFitButAreNotSent()
{
    const QVector<CheckEntry> found =
        Found({Entry(QStringLiteral("a")), Entry(QStringLiteral("a"), false),
               Entry(QStringLiteral("b"), false)});
    QCOMPARE(found.at(1).match.fits, 2);
    QCOMPARE(found.at(1).match.readable, 1);
    QCOMPARE(found.at(1).match.lastReadable, 0);
    QCOMPARE(found.at(1).match.lastDisk, 0);
    QCOMPARE(found.at(2).match.fits, 1);
    QCOMPARE(found.at(2).match.readable, 0);
    QCOMPARE(found.at(2).match.lastReadable, -1);
    QCOMPARE(found.at(2).match.lastDisk, -1);
}

void tst_CheckMatches::aPackageHoldsNineteenDisks()
{
    QCOMPARE(CheckMatches::DISKS_MAX, 19);
    QVector<CheckEntry> entries{Entry(QStringLiteral("a"), false)};
    while (entries.size() < 20)
        entries.append(Entry(QStringLiteral("a")));
    QCOMPARE(Found(entries).first().match.lastDisk, 19);
    entries.append(Entry(QStringLiteral("a")));
    const CheckEntry::MATCH match = Found(entries).first().match;
    QCOMPARE(match.fits, 21);
    QCOMPARE(match.readable, 20);
    QCOMPARE(match.lastDisk, 19);
    QCOMPARE(match.lastReadable, 20);
}

void tst_CheckMatches::wildcardsFitOtherNames()
{
    const QVector<CheckEntry> found =
        Found(Entries({QStringLiteral("a=b"), QStringLiteral("axb"), QStringLiteral("a&b"),
                       QStringLiteral("axc")}));
    QCOMPARE(found.at(0).match.fits, 3);
    QCOMPARE(found.at(0).match.lastReadable, 2);
    QCOMPARE(found.at(1).match.fits, 1);
    QCOMPARE(found.at(2).match.fits, 3);
    QCOMPARE(found.at(3).match.fits, 1);
}

void tst_CheckMatches::lengthCounts()
{
    const QVector<CheckEntry> found =
        Found(Entries({QStringLiteral("ab*"), QStringLiteral("ab"), QStringLiteral("abcd"),
                       QStringLiteral("abc"), QString()}));
    QCOMPARE(found.at(0).match.fits, 2);
    QCOMPARE(found.at(0).match.lastReadable, 3);
    QCOMPARE(found.at(4).match.fits, 1);
}

void tst_CheckMatches::whatStandsBehindTheEndDoesNotCount()
{
    CheckEntry odd = Entry(QStringLiteral("ab"));
    odd.name = AppDosName::FromBytes("AB\xA0"
                                     "garbage behind");
    const QVector<CheckEntry> found = Found({odd, Entry(QStringLiteral("ab"))});
    QCOMPARE(found.at(0).match.fits, 2);
    QCOMPARE(found.at(1).match.fits, 2);
}

void tst_CheckMatches::agreesWithAskingForEachAlone()
{
    // Few characters and short names, so that many fit each other's patterns.
    const QString characters = QStringLiteral("aaabbA*?&ä日 ");
    QRandomGenerator random(20);
    QVector<CheckEntry> entries;
    for (int i = 0; i < 400; ++i) {
        QString text;
        for (int length = random.bounded(5); length > 0; --length)
            text.append(characters.at(random.bounded(int(characters.size()))));
        entries.append(Entry(text, random.bounded(4) != 0));
    }

    const QVector<CheckEntry> found = Found(entries);
    QCOMPARE(found.size(), entries.size());
    for (int i = 0; i < entries.size(); ++i) {
        const CheckEntry::MATCH expected = Asked(entries, i);
        QCOMPARE(found.at(i).match.fits, expected.fits);
        QCOMPARE(found.at(i).match.readable, expected.readable);
        QCOMPARE(found.at(i).match.lastReadable, expected.lastReadable);
        QCOMPARE(found.at(i).match.lastDisk, expected.lastDisk);
    }
}

QTEST_GUILESS_MAIN(tst_CheckMatches)

#include "tst_CheckMatches.moc"
