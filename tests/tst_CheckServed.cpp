// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#include "CheckName.h"
#include "CheckServed.h"

#include "HostFiles.h"

#include <QTemporaryDir>
#include <QTest>

#include <algorithm>
#include <memory>

namespace
{

constexpr qint64 D64_SIZE = 174848;
constexpr qint64 D81_SIZE = 819200;

QStringList Files(const CheckServed &served)
{
    QStringList files;
    for (const CheckEntry &entry : served.Entries())
        files.append(entry.file);
    files.sort();
    return files;
}

/// The entry of a file; a row of its own for each is not needed, so it must be there.
CheckEntry EntryOf(const CheckServed &served, const QString &file)
{
    for (const CheckEntry &entry : served.Entries()) {
        if (entry.file == file)
            return entry;
    }
    return CheckEntry();
}

} // namespace

class tst_CheckServed : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void noDirectoryChosen();
    void missingDirectory();
    void emptyDirectory();
    void entriesOfDisks();
    void entriesOfPrograms();
    void entriesAreInTheOrderOfTheListing();
    void relativeDirectoriesAreAbsolute();
    void servesWhatIsListed();
    void lastProgramOfANameIsSent();
    void programOfANameIsSentWhileReadable();
    void emptyProgramHidesItsNamesakes();
    void nineteenDisksOfANameAreSent();
    void unreadableDiskIsPassedOver();
    void nothingCanBeTypedForAnEmptyName();

private:
    QString Path(const QString &file) const { return mRoot->filePath(file); }

    /// What is served from the directory of this test.
    CheckServed Find(CheckServed::ROLE role) const
    {
        return CheckServed::Find(role, mRoot->path());
    }

    std::unique_ptr<QTemporaryDir> mRoot;
};

void tst_CheckServed::init()
{
    mRoot = std::make_unique<QTemporaryDir>();
    QVERIFY(mRoot->isValid());
}

void tst_CheckServed::noDirectoryChosen()
{
    // The working directory must not take its place.
    QVERIFY(WriteFile(Path(QStringLiteral("a.prg")), "x"));
    const WorkingDirectory working(mRoot->path());
    const CheckServed served = CheckServed::Find(CheckServed::ROLE_PROGRAMS, QString());
    QCOMPARE(served.Directory(), QString());
    QCOMPARE(served.CanonicalDirectory(), QString());
    QVERIFY(served.Entries().isEmpty());
    QVERIFY(!served.Serves(QStringLiteral("/a.prg")));
}

void tst_CheckServed::missingDirectory()
{
    const CheckServed served =
        CheckServed::Find(CheckServed::ROLE_DISKS, Path(QStringLiteral("none")));
    QCOMPARE(served.Directory(), Path(QStringLiteral("none")));
    QCOMPARE(served.CanonicalDirectory(), QString());
}

void tst_CheckServed::emptyDirectory()
{
    const CheckServed served = Find(CheckServed::ROLE_DISKS);
    QVERIFY(served.Entries().isEmpty());
}

void tst_CheckServed::entriesOfDisks()
{
    QVERIFY(WriteSparseFile(Path(QStringLiteral("games.d64")), D64_SIZE));
    QVERIFY(WriteSparseFile(Path(QStringLiteral("errors.d64")), 175531));
    QVERIFY(WriteSparseFile(Path(QStringLiteral("sub/b.d71")), 349696));
    QVERIFY(WriteSparseFile(Path(QStringLiteral("c.d81")), D81_SIZE));
    QVERIFY(WriteSparseFile(Path(QStringLiteral("d.d80")), 533248));
    QVERIFY(WriteSparseFile(Path(QStringLiteral("E.D82")), 1066496));
    QVERIFY(WriteFile(Path(QStringLiteral("a.prg")), "x"));
    const CheckServed served = Find(CheckServed::ROLE_DISKS);
    QCOMPARE(Files(served),
             (QStringList{QStringLiteral("E.D82"), QStringLiteral("c.d81"), QStringLiteral("d.d80"),
                          QStringLiteral("errors.d64"), QStringLiteral("games.d64"),
                          QStringLiteral("sub/b.d71")}));
    QCOMPARE(EntryOf(served, QStringLiteral("games.d64")).type, QLatin1String("D64"));
    QCOMPARE(EntryOf(served, QStringLiteral("errors.d64")).type, QLatin1String("D64"));
    QCOMPARE(EntryOf(served, QStringLiteral("sub/b.d71")).type, QLatin1String("D71"));
    QCOMPARE(EntryOf(served, QStringLiteral("c.d81")).type, QLatin1String("D81"));
    QCOMPARE(EntryOf(served, QStringLiteral("d.d80")).type, QLatin1String("D80"));
    QCOMPARE(EntryOf(served, QStringLiteral("E.D82")).type, QLatin1String("D82"));
    QCOMPARE(CheckName::Pattern(EntryOf(served, QStringLiteral("E.D82")).name),
             QStringLiteral("E"));
    QVERIFY(std::all_of(served.Entries().begin(), served.Entries().end(),
                        [](const CheckEntry &entry) { return entry.sent; }));
}

void tst_CheckServed::entriesOfPrograms()
{
    QVERIFY(WriteFile(Path(QStringLiteral("hello.prg")), "x"));
    QVERIFY(WriteFile(Path(QStringLiteral("sub/deeper/GAME.Prg")), "x"));
    QVERIFY(WriteFile(Path(QStringLiteral("read.me")), "x"));
    const CheckServed served = Find(CheckServed::ROLE_PROGRAMS);
    QCOMPARE(Files(served),
             (QStringList{QStringLiteral("hello.prg"), QStringLiteral("sub/deeper/GAME.Prg")}));
    QCOMPARE(served.Entries().first().type, QLatin1String("PRG"));
    QVERIFY(served.Entries().first().sent);
}

void tst_CheckServed::entriesAreInTheOrderOfTheListing()
{
    for (int i = 0; i < 50; ++i)
        QVERIFY(WriteFile(Path(QStringLiteral("%1/%2.prg").arg(i % 3).arg(i)), "x"));
    const CheckServed served = Find(CheckServed::ROLE_PROGRAMS);
    QStringList paths;
    for (const CheckEntry &entry : served.Entries())
        paths.append(Path(entry.file));
    QStringList expected = IteratorOrder(mRoot->path());
    expected = expected.filter(QStringLiteral(".prg"));
    QCOMPARE(paths, expected);
}

void tst_CheckServed::relativeDirectoriesAreAbsolute()
{
    QVERIFY(WriteFile(Path(QStringLiteral("sub/a.prg")), "x"));
    const WorkingDirectory working(mRoot->path());
    const CheckServed served =
        CheckServed::Find(CheckServed::ROLE_PROGRAMS, QStringLiteral("sub/./"));
    QCOMPARE(served.Directory(), QDir::currentPath() + QStringLiteral("/sub"));
    QCOMPARE(Files(served), QStringList{QStringLiteral("a.prg")});
}

void tst_CheckServed::servesWhatIsListed()
{
    SKIP_ON_WINDOWS("Windows lets only administrators make links");
    QVERIFY(WriteFile(Path(QStringLiteral("root/sub/a.prg")), "x"));
    QVERIFY(WriteFile(Path(QStringLiteral("root/b.txt")), "x"));
    QVERIFY(MakeLink(QStringLiteral("root"), Path(QStringLiteral("link"))));
    const CheckServed served =
        CheckServed::Find(CheckServed::ROLE_PROGRAMS, Path(QStringLiteral("link")));
    const QString canonical = QFileInfo(Path(QStringLiteral("root"))).canonicalFilePath();
    QCOMPARE(served.Directory(), Path(QStringLiteral("link")));
    QCOMPARE(served.CanonicalDirectory(), canonical);
    QVERIFY(served.Serves(canonical + QStringLiteral("/sub/a.prg")));
    QVERIFY(!served.Serves(canonical + QStringLiteral("/b.txt")));
    QVERIFY(!served.Serves(canonical + QStringLiteral("2/sub/a.prg")));
    QVERIFY(!served.Serves(QStringLiteral("sub/a.prg")));
}

void tst_CheckServed::lastProgramOfANameIsSent()
{
    QVERIFY(WriteFile(Path(QStringLiteral("game.prg")), "1"));
    QVERIFY(WriteFile(Path(QStringLiteral("sub/game.PRG")), "2"));
    QVERIFY(WriteFile(Path(QStringLiteral("GAME.prg")), "3"));
    const CheckServed served = Find(CheckServed::ROLE_PROGRAMS);
    QStringList order = IteratorOrder(mRoot->path()).filter(QStringLiteral("/game."));
    QCOMPARE(order.size(), 2);
    for (const CheckEntry &entry : served.Entries())
        QCOMPARE(entry.sent, Path(entry.file) != order.first());
}

void tst_CheckServed::programOfANameIsSentWhileReadable()
{
    SKIP_ON_WINDOWS("Windows has other permissions");
    QVERIFY(WriteFile(Path(QStringLiteral("game.prg")), "1"));
    QVERIFY(WriteFile(Path(QStringLiteral("sub/game.prg")), "2"));
    QVERIFY(QFile::setPermissions(mRoot->path(), QFile::Permissions(0x7755)));
    const QString last = Find(CheckServed::ROLE_PROGRAMS).Entries().last().file;
    QVERIFY(QFile::setPermissions(Path(last), QFile::Permissions()));
    const OrdinaryUser user;
    const CheckServed served = Find(CheckServed::ROLE_PROGRAMS);
    QCOMPARE(served.Entries().first().readable, true);
    QCOMPARE(served.Entries().first().sent, true);
    QCOMPARE(served.Entries().last().readable, false);
    QCOMPARE(served.Entries().last().sent, false);
}

void tst_CheckServed::emptyProgramHidesItsNamesakes()
{
    QVERIFY(WriteFile(Path(QStringLiteral("game.prg")), "1"));
    QVERIFY(WriteFile(Path(QStringLiteral("sub/game.prg")), "2"));
    QVERIFY(QFile::resize(Path(Find(CheckServed::ROLE_PROGRAMS).Entries().last().file), 0));
    const CheckServed served = Find(CheckServed::ROLE_PROGRAMS);
    QVERIFY(!served.IsEmpty(served.Entries().first()));
    QVERIFY(served.IsEmpty(served.Entries().last()));
    QCOMPARE(served.Entries().first().sent, false);
    QCOMPARE(served.Entries().last().sent, false);
}

void tst_CheckServed::nineteenDisksOfANameAreSent()
{
    for (int i = 0; i < 20; ++i)
        QVERIFY(WriteSparseFile(Path(QStringLiteral("%1/a.d64").arg(i)), D64_SIZE));
    const CheckServed served = Find(CheckServed::ROLE_DISKS);
    QCOMPARE(served.Entries().size(), 20);
    for (int i = 0; i < 20; ++i)
        QCOMPARE(served.Entries().at(i).sent, i < 19);
}

void tst_CheckServed::unreadableDiskIsPassedOver()
{
    SKIP_ON_WINDOWS("Windows has other permissions");
    for (int i = 0; i < 3; ++i)
        QVERIFY(WriteSparseFile(Path(QStringLiteral("%1/a.d64").arg(i)), D64_SIZE));
    QVERIFY(QFile::setPermissions(mRoot->path(), QFile::Permissions(0x7755)));
    const QString first = Find(CheckServed::ROLE_DISKS).Entries().first().file;
    QVERIFY(QFile::setPermissions(Path(first), QFile::Permissions()));
    const OrdinaryUser user;
    const CheckServed served = Find(CheckServed::ROLE_DISKS);
    QCOMPARE(served.Entries().at(0).sent, false);
    QCOMPARE(served.Entries().at(1).sent, true);
    QCOMPARE(served.Entries().at(2).sent, true);
}

void tst_CheckServed::nothingCanBeTypedForAnEmptyName()
{
    QVERIFY(WriteFile(Path(QStringLiteral("\u00A0.prg")), "x"));
    const CheckServed served = Find(CheckServed::ROLE_PROGRAMS);
    QCOMPARE(served.Entries().first().name.Length(), 0u);
    QVERIFY(!served.Entries().first().sent);
}

QTEST_GUILESS_MAIN(tst_CheckServed)

#include "tst_CheckServed.moc"
