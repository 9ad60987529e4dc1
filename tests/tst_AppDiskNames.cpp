// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#include "AppDiskNames.h"
#include "AppMediaMgr.h"
#include "HostFiles.h"

#include <QTemporaryDir>
#include <QTest>

#include <memory>

namespace
{

constexpr int D64_SIZE = 174848;
constexpr int D81_SIZE = 819200;

AppDosName HostName(const QString &text)
{
    AppDosName name;
    name.FromString(text, true);
    return name;
}

} // namespace

class tst_AppDiskNames : public QObject
{
    Q_OBJECT

private slots:
    void init();

    void answersAreThoseOfASearch_data();
    void answersAreThoseOfASearch();
    void noDirectoryHasNoNames_data();
    void noDirectoryHasNoNames();
    void whatWasFoundIsNotLookedForAgain();
    void whatWasNotFoundIsNotLookedForAgain_data();
    void whatWasNotFoundIsNotLookedForAgain();
    void writesAreSeen_data();
    void writesAreSeen();
    void writesOfNoDiskLeaveTheNames();
    void newDisksLeaveTheNames();
    void failedWritesLeaveTheNames();

private:
    QString Path(const char *relative) const
    {
        return mDirectory->filePath(QString::fromUtf8(relative));
    }

    /// Whether the names know what a search finds.
    bool Agree(AppDiskNames *names, const QStringList &patterns) const
    {
        const AppMediaMgr &media = AppMediaMgr::Instance();
        for (const QString &pattern : patterns) {
            const bool found = !media.SearchDisks(mDirectory->path(), HostName(pattern)).isEmpty();
            if (names->Contains(HostName(pattern)) != found) {
                qWarning() << pattern << (found ? "is found by a search only" : "is known only");
                return false;
            }
        }
        return true;
    }

    QString Write(const char *name, int size, AppDiskNames *names) const
    {
        return AppMediaMgr::Instance().AddUpdateDisk(
            mDirectory->path(), HostName(QString::fromUtf8(name)), QByteArray(size, 'x'), names);
    }

    std::unique_ptr<QTemporaryDir> mDirectory; ///< a new one for each row
};

void tst_AppDiskNames::init()
{
    mDirectory = std::make_unique<QTemporaryDir>();
    QVERIFY(mDirectory->isValid());
}

void tst_AppDiskNames::answersAreThoseOfASearch_data()
{
    QTest::addColumn<QStringList>("patterns");

    const auto row = [](const char *name, const char *patterns) {
        QTest::newRow(name) << QString::fromLatin1(patterns).split(QLatin1Char(' '));
    };
    row("one-that-is-there", "games");
    row("one-that-is-not", "ghost");
    row("below", "tools");
    row("every", "*");
    row("every-again", "* * *");
    row("there-then-not", "games ghost");
    row("not-then-there", "ghost games");
    row("not-twice-then-there", "ghost none games tools");
    row("each", "games tools two text ghost hidden prog * g* x* ????? ?");
    row("each-in-reverse", "? ????? x* g* * prog hidden ghost text two tools games");
}

void tst_AppDiskNames::answersAreThoseOfASearch()
{
    QFETCH(QStringList, patterns);

    QVERIFY(WriteSparseFile(Path("games.d64"), D64_SIZE));
    QVERIFY(WriteSparseFile(Path("sub/deeper/tools.d81"), D81_SIZE));
    QVERIFY(WriteSparseFile(Path("two.dots.d64"), D64_SIZE));
    QVERIFY(WriteSparseFile(Path("text"), D64_SIZE));
    QVERIFY(WriteSparseFile(Path("ghost.d64"), D64_SIZE - 1));
    QVERIFY(WriteSparseFile(Path(".hidden.d64"), D64_SIZE));
    QVERIFY(WriteSparseFile(Path("prog.prg"), 100));
    AppDiskNames names(mDirectory->path());
    QVERIFY(Agree(&names, patterns));
}

void tst_AppDiskNames::noDirectoryHasNoNames_data()
{
    QTest::addColumn<QString>("directory");

    QTest::newRow("none-chosen") << QString();
    QTest::newRow("missing") << QStringLiteral("/no/such/directory");
}

void tst_AppDiskNames::noDirectoryHasNoNames()
{
    QFETCH(QString, directory);

    QVERIFY(WriteSparseFile(Path("games.d64"), D64_SIZE));
    const WorkingDirectory here(mDirectory->path());
    AppDiskNames names(directory);
    QVERIFY(!names.Contains(HostName(QStringLiteral("*"))));
    QVERIFY(!names.Contains(HostName(QStringLiteral("games"))));
}

// That there is no further walk is seen by what it would no longer find.
void tst_AppDiskNames::whatWasFoundIsNotLookedForAgain()
{
    QVERIFY(WriteSparseFile(Path("games.d64"), D64_SIZE));
    QVERIFY(WriteSparseFile(Path("tools.d64"), D64_SIZE));
    AppDiskNames names(mDirectory->path());
    QVERIFY(names.Contains(HostName(QStringLiteral("games"))));
    QVERIFY(!names.Contains(HostName(QStringLiteral("ghost"))));
    QVERIFY(mDirectory->remove());
    QVERIFY(names.Contains(HostName(QStringLiteral("*"))));
    QVERIFY(names.Contains(HostName(QStringLiteral("games"))));
    QVERIFY(names.Contains(HostName(QStringLiteral("tools"))));
}

void tst_AppDiskNames::whatWasNotFoundIsNotLookedForAgain_data()
{
    QTest::addColumn<QStringList>("asked");

    QTest::newRow("every-name-once") << QStringList{QStringLiteral("*")};
    QTest::newRow("two-names") << QStringList{QStringLiteral("a"), QStringLiteral("b")};
}

void tst_AppDiskNames::whatWasNotFoundIsNotLookedForAgain()
{
    QFETCH(QStringList, asked);

    QVERIFY(WriteSparseFile(Path("ghost.prg"), 100));
    AppDiskNames names(mDirectory->path());
    for (const QString &pattern : asked)
        QVERIFY(!names.Contains(HostName(pattern)));
    QVERIFY(WriteSparseFile(Path("late.d64"), D64_SIZE));
    QVERIFY(!names.Contains(HostName(QStringLiteral("*"))));
    QVERIFY(!names.Contains(HostName(QStringLiteral("late"))));
}

void tst_AppDiskNames::writesAreSeen_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<int>("size");

    const int other = 1000; // no disk's
    QTest::newRow("new-disk") << "new" << D64_SIZE;
    QTest::newRow("new-disk-with-a-dot") << "two.dots" << D64_SIZE;
    QTest::newRow("new-disk-that-is-hidden") << ".new" << D64_SIZE;
    QTest::newRow("new-disk-named-by-a-pattern") << "a*b" << D64_SIZE;
    QTest::newRow("new-disk-without-a-name") << "" << D64_SIZE;
    QTest::newRow("new-file-of-no-disk's-size") << "new" << other;
    QTest::newRow("disk-over-a-disk") << "games" << D64_SIZE;
    QTest::newRow("disk-over-another-file") << "other" << D64_SIZE;
    QTest::newRow("other-size-over-a-disk") << "disk" << other;
    QTest::newRow("disk-through-a-link") << "link" << D64_SIZE;
    QTest::newRow("disk-through-a-dangling-link") << "dangling" << D64_SIZE;
    QTest::newRow("other-size-through-a-link-to-a-disk") << "diskLink" << other;
    QTest::newRow("disk-over-a-file-of-two-names") << "twin" << D64_SIZE;
    QTest::newRow("refused-name") << "a/b" << D64_SIZE;
    QTest::newRow("name-of-a-directory") << "directory" << D64_SIZE;
}

void tst_AppDiskNames::writesAreSeen()
{
    SKIP_ON_WINDOWS("Windows lets only administrators make links");
    QFETCH(QString, name);
    QFETCH(int, size);

    const QStringList patterns =
        QStringLiteral("* new two ?new a*b games other disk link target late dangling diskLink "
                       "bigTarget twin brother b directory ?")
            .split(QLatin1Char(' '))
        << QString();
    for (const int asked : {0, 1, int(patterns.size())}) { // before the write
        mDirectory = std::make_unique<QTemporaryDir>();
        QVERIFY(WriteSparseFile(Path("games.d64"), D64_SIZE));
        QVERIFY(WriteSparseFile(Path("other.d64"), 5));
        QVERIFY(WriteSparseFile(Path("disk.dxx"), D64_SIZE));
        QVERIFY(WriteSparseFile(Path("sub/target"), 5));
        QVERIFY(MakeLink(QStringLiteral("sub/target"), Path("link.d64")));
        QVERIFY(MakeLink(QStringLiteral("sub/late"), Path("dangling.d64")));
        QVERIFY(WriteSparseFile(Path("sub/bigTarget"), D64_SIZE));
        QVERIFY(MakeLink(QStringLiteral("sub/bigTarget"), Path("diskLink.dxx")));
        QVERIFY(WriteSparseFile(Path("brother"), 5));
        QVERIFY(MakeHardLink(Path("brother"), Path("twin.d64")));
        QVERIFY(QDir(mDirectory->path()).mkdir(QStringLiteral("directory.d64")));

        AppDiskNames names(mDirectory->path());
        QVERIFY(Agree(&names, patterns.mid(0, asked)));
        Write(name.toUtf8().constData(), size, &names);
        QVERIFY(Agree(&names, patterns));
    }
}

void tst_AppDiskNames::writesOfNoDiskLeaveTheNames()
{
    if (!IsFileName(QStringLiteral("*")))
        QSKIP(NO_FILE_NAME);
    AppDiskNames names(mDirectory->path());
    QVERIFY(!names.Contains(HostName(QStringLiteral("*"))));
    QVERIFY(!Write("*", 1000, &names).isEmpty());
    QVERIFY(!Write("*", 1001, &names).isEmpty());
    QVERIFY(WriteSparseFile(Path("late.d64"), D64_SIZE));
    QVERIFY(!names.Contains(HostName(QStringLiteral("*"))));
}

void tst_AppDiskNames::newDisksLeaveTheNames()
{
    AppDiskNames names(mDirectory->path());
    QVERIFY(!names.Contains(HostName(QStringLiteral("*"))));
    QVERIFY(!Write("one", D64_SIZE, &names).isEmpty());
    QVERIFY(!Write("two", D64_SIZE, &names).isEmpty());
    QVERIFY(!Write("two", D64_SIZE, &names).isEmpty());
    QVERIFY(WriteSparseFile(Path("late.d64"), D64_SIZE));
    QVERIFY(names.Contains(HostName(QStringLiteral("one"))));
    QVERIFY(names.Contains(HostName(QStringLiteral("two"))));
    QVERIFY(!names.Contains(HostName(QStringLiteral("late"))));
}

void tst_AppDiskNames::failedWritesLeaveTheNames()
{
    QVERIFY(QDir(mDirectory->path()).mkdir(QStringLiteral("directory.d64")));
    AppDiskNames names(mDirectory->path());
    QVERIFY(!names.Contains(HostName(QStringLiteral("*"))));
    QCOMPARE(Write("directory", D64_SIZE, &names), QString());
    QCOMPARE(Write("a/b", D64_SIZE, &names), QString());
    QVERIFY(WriteSparseFile(Path("late.d64"), D64_SIZE));
    QVERIFY(!names.Contains(HostName(QStringLiteral("*"))));
}

QTEST_GUILESS_MAIN(tst_AppDiskNames)
#include "tst_AppDiskNames.moc"
