// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#include "CheckShelf.h"

#include "HostFiles.h"

#include <QTemporaryDir>
#include <QTest>

#include <memory>

namespace
{

constexpr qint64 D64_SIZE = 174848;

/// "code file" for each remark.
QStringList Codes(const QVector<CheckRemark> &remarks)
{
    QStringList codes;
    for (const CheckRemark &remark : remarks)
        codes.append(remark.code + QLatin1Char(' ') + remark.files.join(QLatin1Char(',')));
    return codes;
}

} // namespace

class tst_CheckShelf : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void onlyWhatIsAskedAboutIsLookedAt();
    void bothDirectories();
    void nothingChosen();
    void oneDirectoryForBoth();
    void oneDirectoryInTheOther();
    void oneDirectoryUnderTwoNames();
    void remarksAreSortedByFile();
    void listing_data();
    void listing();
    void listingThatDoesNotFitIsARemark();
    void nothingIsChanged();

private:
    QString Path(const char *file) const { return mRoot->filePath(QLatin1String(file)); }

    CheckShelf Look(const char *disks, const char *programs) const
    {
        CheckShelf::PLACE place;
        place.diskDirectory = Path(disks);
        place.programDirectory = Path(programs);
        return CheckShelf::Look(place);
    }

    std::unique_ptr<QTemporaryDir> mRoot;
};

void tst_CheckShelf::init()
{
    mRoot = std::make_unique<QTemporaryDir>();
    QVERIFY(mRoot->isValid());
}

void tst_CheckShelf::onlyWhatIsAskedAboutIsLookedAt()
{
    QVERIFY(WriteFile(Path("a.prg"), "x") && WriteSparseFile(Path("a.d64"), D64_SIZE));
    CheckShelf::PLACE place;
    place.diskDirectory = mRoot->path();
    const CheckShelf disks = CheckShelf::Look(place);
    QCOMPARE(disks.Disks()->served.Entries().size(), 1);
    QVERIFY(!disks.Programs());
    QCOMPARE(disks.ListingSize(), 64);
    QCOMPARE(disks.NumRemarks(), 0);

    place.diskDirectory.reset();
    place.programDirectory = mRoot->path();
    const CheckShelf programs = CheckShelf::Look(place);
    QVERIFY(!programs.Disks());
    QCOMPARE(programs.Programs()->served.Entries().size(), 1);
    QCOMPARE(programs.NumRemarks(), 0);

    place.programDirectory.reset();
    const CheckShelf neither = CheckShelf::Look(place);
    QVERIFY(!neither.Disks() && !neither.Programs());
    QCOMPARE(neither.ListingSize(), 34);
}

void tst_CheckShelf::bothDirectories()
{
    QVERIFY(WriteSparseFile(Path("disks/a.d64"), D64_SIZE));
    QVERIFY(WriteFile(Path("disks/b.prg"), "x"));
    QVERIFY(WriteFile(Path("programs/c.prg"), "x"));
    QVERIFY(WriteSparseFile(Path("programs/d.d64"), D64_SIZE));
    const CheckShelf shelf = Look("disks", "programs");
    QCOMPARE(shelf.Disks()->served.Entries().size(), 1);
    QCOMPARE(shelf.Programs()->served.Entries().size(), 1);
    QCOMPARE(Codes(shelf.Disks()->remarks), QStringList{QStringLiteral("wrong-directory b.prg")});
    QCOMPARE(Codes(shelf.Programs()->remarks),
             QStringList{QStringLiteral("wrong-directory d.d64")});
    QCOMPARE(shelf.NumRemarks(), 2);
    QCOMPARE(*shelf.Place().diskDirectory, Path("disks"));
}

void tst_CheckShelf::nothingChosen()
{
    CheckShelf::PLACE place;
    place.diskDirectory = QString();
    place.programDirectory = QString();
    const CheckShelf shelf = CheckShelf::Look(place);
    QCOMPARE(Codes(shelf.Disks()->remarks), QStringList{QStringLiteral("directory-not-chosen ")});
    QCOMPARE(shelf.NumRemarks(), 2);
}

void tst_CheckShelf::oneDirectoryForBoth()
{
    QVERIFY(WriteSparseFile(Path("a.d64"), D64_SIZE) && WriteFile(Path("a.prg"), "x"));
    QVERIFY(WriteFile(Path("b.zip"), "x") && WriteFile(Path("c.d64"), "x"));
    const CheckShelf shelf = Look(".", ".");
    QCOMPARE(Codes(shelf.Disks()->remarks),
             (QStringList{QStringLiteral("compressed b.zip"), QStringLiteral("wrong-size c.d64")}));
    QCOMPARE(Codes(shelf.Programs()->remarks), QStringList());
}

void tst_CheckShelf::oneDirectoryInTheOther()
{
    QVERIFY(WriteSparseFile(Path("a.d64"), D64_SIZE) && WriteFile(Path("b.prg"), "x"));
    QVERIFY(WriteSparseFile(Path("sub/c.d64"), D64_SIZE) && WriteFile(Path("sub/d.prg"), "x"));
    QVERIFY(WriteFile(Path("sub/e.zip"), "x"));

    const CheckShelf programsInside = Look(".", "sub");
    QCOMPARE(Codes(programsInside.Disks()->remarks),
             (QStringList{QStringLiteral("wrong-directory b.prg"),
                          QStringLiteral("compressed sub/e.zip")}));
    QCOMPARE(Codes(programsInside.Programs()->remarks), QStringList());

    const CheckShelf disksInside = Look("sub", ".");
    QCOMPARE(Codes(disksInside.Disks()->remarks), QStringList{QStringLiteral("compressed e.zip")});
    QCOMPARE(Codes(disksInside.Programs()->remarks),
             QStringList{QStringLiteral("wrong-directory a.d64")});
}

void tst_CheckShelf::oneDirectoryUnderTwoNames()
{
    SKIP_ON_WINDOWS("Windows lets only administrators make links");
    QVERIFY(WriteSparseFile(Path("real/a.d64"), D64_SIZE) && WriteFile(Path("real/b.prg"), "x"));
    QVERIFY(MakeLink(QStringLiteral("real"), Path("link")));
    const CheckShelf shelf = Look("real", "link");
    QCOMPARE(shelf.Disks()->served.Entries().size(), 1);
    QCOMPARE(shelf.Programs()->served.Entries().size(), 1);
    QCOMPARE(shelf.NumRemarks(), 0);
}

void tst_CheckShelf::remarksAreSortedByFile()
{
    for (const char *file : {"c.zip", "a.zip", "sub/b.zip", "b.zip", "d.x.prg", ".e.prg"})
        QVERIFY(WriteFile(Path(file), "x"));
    CheckShelf::PLACE place;
    place.programDirectory = mRoot->path();
    const CheckShelf shelf = CheckShelf::Look(place);
    QStringList files;
    for (const CheckRemark &remark : shelf.Programs()->remarks)
        files.append(remark.files);
    QStringList sorted = files;
    sorted.sort();
    QCOMPARE(files.size(), 6);
    QCOMPARE(files, sorted);
}

void tst_CheckShelf::listing_data()
{
    QTest::addColumn<int>("programs");
    QTest::addColumn<qint64>("size");
    QTest::addColumn<bool>("fitsVic20");

    QTest::newRow("empty") << 0 << qint64(34) << true;
    QTest::newRow("one") << 1 << qint64(64) << true;
    QTest::newRow("the-most-that-fit-a-vic-20") << 118 << qint64(3574) << true;
    QTest::newRow("one-more") << 119 << qint64(3604) << false;
}

void tst_CheckShelf::listing()
{
    QFETCH(int, programs);
    QFETCH(qint64, size);
    QVERIFY(QDir(mRoot->path()).mkdir(QStringLiteral("none")));
    for (int i = 0; i < programs; ++i)
        QVERIFY(WriteFile(Path(QByteArray::number(i) + ".prg"), "x"));
    const CheckShelf shelf = Look("none", ".");
    QCOMPARE(shelf.ListingSize(), size);
    QCOMPARE(shelf.ListingMemory(), size - 2);
    QTEST(shelf.ListingMemory() <= CheckShelf::VIC20_MEMORY, "fitsVic20");
    QVERIFY(shelf.ListingRemarks().isEmpty());
}

void tst_CheckShelf::listingThatDoesNotFitIsARemark()
{
    // 32 bytes and 30 for each entry: 1295 fit into 38911.
    for (int i = 0; i < 1296; ++i)
        QVERIFY(WriteFile(Path(QByteArray::number(i) + ".prg"), "x"));
    const CheckShelf tooLong = Look(".", ".");
    QCOMPARE(tooLong.ListingMemory(), 38912);
    QCOMPARE(Codes(tooLong.ListingRemarks()), QStringList{QStringLiteral("listing-too-long ")});
    QCOMPARE(tooLong.NumRemarks(), 1);

    QVERIFY(QFile::remove(Path("0.prg")));
    const CheckShelf fits = Look(".", ".");
    QCOMPARE(fits.ListingMemory(), 38882);
    QCOMPARE(fits.NumRemarks(), 0);
}

void tst_CheckShelf::nothingIsChanged()
{
    SKIP_ON_WINDOWS("Windows has no fifos, and links for administrators only");
    QVERIFY(WriteSparseFile(Path("a.d64"), D64_SIZE) && WriteFile(Path("b.d64"), "short"));
    QVERIFY(WriteFile(Path("sub/c.prg"), "x") && WriteFile(Path(".d.prg"), "x"));
    QVERIFY(MakeLink(QStringLiteral("nowhere"), Path("link")) && MakeFifo(Path("pipe.prg")));
    const QStringList before = Snapshot(mRoot->path());
    const QDateTime changed = QFileInfo(mRoot->path()).lastModified();
    QCOMPARE(before.size(), 7);
    QVERIFY(Look(".", ".").NumRemarks() > 0);
    QCOMPARE(Snapshot(mRoot->path()), before);
    QCOMPARE(QFileInfo(mRoot->path()).lastModified(), changed);
}

QTEST_GUILESS_MAIN(tst_CheckShelf)

#include "tst_CheckShelf.moc"
