// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#include "AppFileWriter.h"
#include "MountedFiles.h"

#include <QTest>

#include <memory>

namespace
{

constexpr int LIMIT = 100000; // bytes of a file that can be written

/// Bytes that differ from place to place and from seed to seed.
QByteArray Bytes(int size, int seed)
{
    QByteArray bytes(size, '\0');
    for (int i = 0; i < size; ++i)
        bytes[i] = char((i * 31 + seed) ^ (i >> 8));
    return bytes;
}

void AddPairsOfSizes()
{
    QTest::addColumn<int>("before");
    QTest::addColumn<int>("after");

    QTest::newRow("by-longer") << 1000 << 5000;
    QTest::newRow("by-shorter") << 5000 << 1000;
    QTest::newRow("by-as-long") << 5000 << 5000;
    QTest::newRow("by-nothing") << 5000 << 0;
    QTest::newRow("nothing") << 0 << 5000;
}

} // namespace

class tst_AppFileWriter : public QObject
{
    Q_OBJECT

private slots:
    void init();

    void newFileThatDoesNotFitIsRemoved();
    void linkToAFileThatDoesNotFitStays();
    void oldFileStaysIfTheNewOneDoesNotFit();
    void fullDiskKeepsTheOldFile();

    void fileThatCannotBeRenamedOverIsWrittenInPlace_data();
    void fileThatCannotBeRenamedOverIsWrittenInPlace();
    void mountedFileIsWrittenInPlace_data();
    void mountedFileIsWrittenInPlace();
    void directoryThatTakesNoFurtherFileIsWrittenInPlace_data();
    void directoryThatTakesNoFurtherFileIsWrittenInPlace();
    void fileThatCannotBeReadIsWrittenInPlace();
    void fileThatCannotBeWrittenStays();

    void oldFileStaysIfTheNewOneDoesNotFitInPlace_data();
    void oldFileStaysIfTheNewOneDoesNotFitInPlace();
    void oldFileIsPutBackWhereItHadHoles();

private:
    QString Path(const char *relative) const
    {
        return mDirectory->filePath(QLatin1String(relative));
    }

    bool SetMode(const QString &path, mode_t mode) const
    {
        return chmod(QFile::encodeName(path).constData(), mode) == 0;
    }

    std::unique_ptr<QTemporaryDir> mDirectory; ///< a new one for each row, open to everybody
};

void tst_AppFileWriter::init()
{
    mDirectory = std::make_unique<QTemporaryDir>();
    QVERIFY(SetMode(mDirectory->path(), 0777));
}

void tst_AppFileWriter::newFileThatDoesNotFitIsRemoved()
{
    const FileSizeLimit limit(LIMIT);
    QVERIFY(!AppFileWriter::Write(Path("a"), Bytes(LIMIT + 1, 1)));
    QCOMPARE(Snapshot(mDirectory->path()), QStringList());
    QVERIFY(AppFileWriter::Write(Path("a"), Bytes(LIMIT, 1)));
    QVERIFY(ReadFile(Path("a")) == Bytes(LIMIT, 1));
}

void tst_AppFileWriter::linkToAFileThatDoesNotFitStays()
{
    QVERIFY(QDir(mDirectory->path()).mkdir(QStringLiteral("store")));
    QVERIFY(MakeLink(QStringLiteral("store/new"), Path("a")));
    const QStringList before = Snapshot(mDirectory->path());
    const FileSizeLimit limit(LIMIT);
    QVERIFY(!AppFileWriter::Write(Path("a"), Bytes(LIMIT + 1, 1)));
    QCOMPARE(Snapshot(mDirectory->path()), before);
}

void tst_AppFileWriter::oldFileStaysIfTheNewOneDoesNotFit()
{
    QVERIFY(WriteFile(Path("a"), Bytes(5000, 1)));
    const QStringList before = Snapshot(mDirectory->path());
    const FileSizeLimit limit(LIMIT);
    QVERIFY(!AppFileWriter::Write(Path("a"), Bytes(LIMIT + 1, 2)));
    QCOMPARE(Snapshot(mDirectory->path()), before);
}

void tst_AppFileWriter::fullDiskKeepsTheOldFile()
{
    const SmallDisk disk;
    if (!disk.IsMounted())
        QSKIP(disk.Reason().constData());
    QVERIFY(WriteFile(disk.FilePath("a"), Bytes(50000, 1)));
    QVERIFY(disk.Fill() > SmallDisk::SIZE / 2);
    const QStringList before = Snapshot(disk.DirPath());
    QVERIFY(!AppFileWriter::Write(disk.FilePath("a"), Bytes(50000, 2)));
    QVERIFY(!AppFileWriter::Write(disk.FilePath("new"), Bytes(50000, 2)));
    QCOMPARE(Snapshot(disk.DirPath()), before);
}

void tst_AppFileWriter::fileThatCannotBeRenamedOverIsWrittenInPlace_data()
{
    AddPairsOfSizes();
}

void tst_AppFileWriter::fileThatCannotBeRenamedOverIsWrittenInPlace()
{
    QFETCH(int, before);
    QFETCH(int, after);

    if (getuid() != 0)
        QSKIP("an ordinary user has no file of another's");
    // Who may write there may make files, but not replace those of others.
    QVERIFY(WriteFile(Path("a"), Bytes(before, 1)));
    QVERIFY(SetMode(Path("a"), 0666));
    QVERIFY(SetMode(mDirectory->path(), 01777));
    const OrdinaryUser user;
    QVERIFY(AppFileWriter::Write(Path("a"), Bytes(after, 2)));
    QVERIFY(ReadFile(Path("a")) == Bytes(after, 2));
    QCOMPARE(Snapshot(mDirectory->path()).size(), 1);
}

void tst_AppFileWriter::mountedFileIsWrittenInPlace_data()
{
    AddPairsOfSizes();
}

void tst_AppFileWriter::mountedFileIsWrittenInPlace()
{
    QFETCH(int, before);
    QFETCH(int, after);

    QVERIFY(WriteFile(Path("a"), Bytes(before, 1)));
    const MountedFile file(Path("a"));
    if (!file.IsMounted())
        QSKIP(file.Reason().constData());
    QVERIFY(AppFileWriter::Write(Path("a"), Bytes(after, 2)));
    QVERIFY(ReadFile(Path("a")) == Bytes(after, 2));
    QCOMPARE(Snapshot(mDirectory->path()).size(), 1);
}

void tst_AppFileWriter::directoryThatTakesNoFurtherFileIsWrittenInPlace_data()
{
    AddPairsOfSizes();
}

void tst_AppFileWriter::directoryThatTakesNoFurtherFileIsWrittenInPlace()
{
    QFETCH(int, before);
    QFETCH(int, after);

    const SmallDisk disk(2);
    if (!disk.IsMounted())
        QSKIP(disk.Reason().constData());
    QVERIFY(WriteFile(disk.FilePath("a"), Bytes(before, 1)));
    QVERIFY(!WriteFile(disk.FilePath("b"), "b"));
    QVERIFY(AppFileWriter::Write(disk.FilePath("a"), Bytes(after, 2)));
    QVERIFY(ReadFile(disk.FilePath("a")) == Bytes(after, 2));
}

void tst_AppFileWriter::fileThatCannotBeReadIsWrittenInPlace()
{
    QVERIFY(WriteFile(Path("a"), Bytes(5000, 1)));
    QVERIFY(SetMode(Path("a"), 0222));
    QVERIFY(SetMode(mDirectory->path(), 0555));
    bool written = false;
    {
        const OrdinaryUser user;
        written = AppFileWriter::Write(Path("a"), Bytes(1000, 2));
    }
    QVERIFY(SetMode(Path("a"), 0666));
    QVERIFY(SetMode(mDirectory->path(), 0777));
    QVERIFY(written);
    QVERIFY(ReadFile(Path("a")) == Bytes(1000, 2));
}

void tst_AppFileWriter::fileThatCannotBeWrittenStays()
{
    QVERIFY(WriteFile(Path("a"), Bytes(5000, 1)));
    QVERIFY(SetMode(Path("a"), 0444));
    const OrdinaryUser user;
    QVERIFY(!AppFileWriter::Write(Path("a"), Bytes(1000, 2)));
    QVERIFY(ReadFile(Path("a")) == Bytes(5000, 1));
    QCOMPARE(Snapshot(mDirectory->path()).size(), 1);
}

void tst_AppFileWriter::oldFileStaysIfTheNewOneDoesNotFitInPlace_data()
{
    QTest::addColumn<int>("before");

    QTest::newRow("nothing") << 0;
    QTest::newRow("shorter") << 5000;
    QTest::newRow("up-to-the-limit") << LIMIT;
}

void tst_AppFileWriter::oldFileStaysIfTheNewOneDoesNotFitInPlace()
{
    QFETCH(int, before);

    QVERIFY(WriteFile(Path("a"), Bytes(before, 1)));
    QVERIFY(SetMode(Path("a"), 0666));
    QVERIFY(SetMode(mDirectory->path(), 0555));
    bool written = true;
    {
        const OrdinaryUser user;
        const FileSizeLimit limit(LIMIT);
        written = AppFileWriter::Write(Path("a"), Bytes(LIMIT + 1000, 2));
    }
    QVERIFY(SetMode(mDirectory->path(), 0777));
    QVERIFY(!written);
    QVERIFY(ReadFile(Path("a")) == Bytes(before, 1));
}

// Holes take room when they are written over, so even as much as before may not fit.
void tst_AppFileWriter::oldFileIsPutBackWhereItHadHoles()
{
    constexpr int PAGES = 4 * 4096;

    const SmallDisk disk(3);
    if (!disk.IsMounted())
        QSKIP(disk.Reason().constData());
    QFile file(disk.FilePath("a"));
    QVERIFY(file.open(QIODevice::WriteOnly));
    QCOMPARE(file.write(Bytes(PAGES, 1)), qint64(PAGES));
    QVERIFY(file.resize(2 * PAGES));
    file.close();
    QVERIFY(disk.Fill() > SmallDisk::SIZE / 2);
    const QStringList before = Snapshot(disk.DirPath());
    QVERIFY(!AppFileWriter::Write(disk.FilePath("a"), Bytes(2 * PAGES, 2)));
    QCOMPARE(Snapshot(disk.DirPath()), before);
}

QTEST_GUILESS_MAIN(tst_AppFileWriter)
#include "tst_AppFileWriter.moc"
