// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#include "HostFiles.h"
#include "SkyletNames.h"
#include "SkyletUpload.h"
#include "Wire.h"

#include <QTemporaryDir>
#include <QTest>

namespace
{

constexpr int D64_SIZE = 174848;

using OBJECTS = QVector<SkyletUpload::OBJECT>;

SkyletUpload::OBJECT Object(bool isProgram, int number)
{
    SkyletUpload::OBJECT object;
    object.path = QString::number(number);
    object.isProgram = isProgram;
    return object;
}

OBJECTS Objects(int programs, int disks)
{
    OBJECTS objects;
    for (int i = 0; i < disks; ++i)
        objects.append(Object(false, i));
    for (int i = 0; i < programs; ++i)
        objects.append(Object(true, 1000 + i));
    return objects;
}

} // namespace

class tst_SkyletUpload : public QObject
{
    Q_OBJECT

private slots:
    void filesAreRecognised_data();
    void filesAreRecognised();
    void filesAreRefused_data();
    void filesAreRefused();
    void directoriesAndMissingFilesAreRefused();
    void nameIsTheOneGiven();
    void packagesAreFew_data();
    void packagesAreFew();
    void packagesKeepTheOrder();
    void bytesOfAPackage_data();
    void bytesOfAPackage();
    void fileThatChangedIsNoticed_data();
    void fileThatChangedIsNoticed();
};

void tst_SkyletUpload::filesAreRecognised_data()
{
    QTest::addColumn<QString>("file");
    QTest::addColumn<int>("size");
    QTest::addColumn<bool>("isProgram");
    QTest::addColumn<int>("type");
    QTest::addColumn<QByteArray>("name");

    QTest::newRow("program") << "hello.prg" << 14 << true << 0 << PetsciiName("hello");
    QTest::newRow("program-in-capitals") << "Hello.PRG" << 1 << true << 0 << PetsciiName("Hello");
    QTest::newRow("program-of-the-size-of-a-disk")
        << "hello.prg" << D64_SIZE << true << 0 << PetsciiName("hello");
    QTest::newRow("d64") << "games.d64" << 174848 << false << 0 << PetsciiName("games");
    QTest::newRow("d64-with-error-bytes")
        << "games.d64" << 175531 << false << 0 << PetsciiName("games");
    QTest::newRow("d71") << "games.d71" << 349696 << false << 1 << PetsciiName("games");
    QTest::newRow("d81") << "games.d81" << 819200 << false << 2 << PetsciiName("games");
    QTest::newRow("d80") << "games.d80" << 533248 << false << 3 << PetsciiName("games");
    QTest::newRow("d82") << "games.d82" << 1066496 << false << 4 << PetsciiName("games");
    QTest::newRow("disk-of-any-extension")
        << "games.bin" << 174848 << false << 0 << PetsciiName("games");
    QTest::newRow("name-ends-at-the-first-dot")
        << "my.game.prg" << 14 << true << 0 << PetsciiName("my");
    QTest::newRow("name-ends-after-16-characters")
        << "0123456789abcdefgh.prg" << 14 << true << 0 << PetsciiName("0123456789abcdef");
    QTest::newRow("latin-1-name") << QString::fromUtf8("\xc3\xa9.prg") << 14 << true << 0
                                  << PetsciiName("\xe9");
}

void tst_SkyletUpload::filesAreRecognised()
{
    QFETCH(QString, file);
    QFETCH(int, size);
    QFETCH(bool, isProgram);
    QFETCH(int, type);
    QFETCH(QByteArray, name);

    const QTemporaryDir directory;
    const QString path = directory.filePath(file);
    QVERIFY(WriteSparseFile(path, size));
    SkyletUpload::OBJECT object;
    QString error;
    QCOMPARE(SkyletUpload::Identify(path, QString(), &object, &error), 0);
    QCOMPARE(object.path, path);
    QCOMPARE(object.isProgram, isProgram);
    QCOMPARE(int(object.type), type);
    QCOMPARE(Field(object.name), name);
}

void tst_SkyletUpload::filesAreRefused_data()
{
    QTest::addColumn<QString>("file");
    QTest::addColumn<qint64>("size");
    QTest::addColumn<QString>("error");

    QTest::newRow("neither-program-nor-disk")
        << "notes.txt" << qint64(100)
        << "%1 is neither a program (.prg) nor, with 100 bytes, a disk image";
    QTest::newRow("d64-of-40-tracks")
        << "games.d64" << qint64(196608)
        << "%1 is neither a program (.prg) nor, with 196608 bytes, a disk image";
    QTest::newRow("size-of-a-d64-modulo-4-gib")
        << "games.d64" << (qint64(1) << 32) + D64_SIZE
        << "%1 is neither a program (.prg) nor, with 4295142144 bytes, a disk image";
    QTest::newRow("empty-program")
        << "hello.prg" << qint64(0) << "%1 is empty, which a hub takes for no program";
    QTest::newRow("no-name-before-the-dot")
        << ".prg" << qint64(1) << "%1 has no name that a Commodore can write; --as gives it one";
    QTest::newRow("name-beyond-latin-1")
        << QString::fromUtf8("\xe2\x82\xac.prg") << qint64(1)
        << "%1 has no name that a Commodore can write; --as gives it one";
}

void tst_SkyletUpload::filesAreRefused()
{
    QFETCH(QString, file);
    QFETCH(qint64, size);
    QFETCH(QString, error);

    const QTemporaryDir directory;
    const QString path = directory.filePath(file);
    QVERIFY(WriteSparseFile(path, size));
    SkyletUpload::OBJECT object;
    QString said;
    QCOMPARE(SkyletUpload::Identify(path, QString(), &object, &said), -1);
    QCOMPARE(said, error.arg(QDir::toNativeSeparators(path)));
}

void tst_SkyletUpload::directoriesAndMissingFilesAreRefused()
{
    const QTemporaryDir directory;
    const QString missing = directory.filePath(QStringLiteral("missing.prg"));
    SkyletUpload::OBJECT object;
    QString error;
    QCOMPARE(SkyletUpload::Identify(missing, QString(), &object, &error), -1);
    QCOMPARE(error, QDir::toNativeSeparators(missing) + QStringLiteral(" cannot be read"));
    QCOMPARE(SkyletUpload::Identify(directory.path(), QString(), &object, &error), -1);
    QCOMPARE(error, QDir::toNativeSeparators(directory.path()) + QStringLiteral(" cannot be read"));
}

void tst_SkyletUpload::nameIsTheOneGiven()
{
    const QTemporaryDir directory;
    const QString path = directory.filePath(QStringLiteral(".prg"));
    QVERIFY(WriteFile(path, "x"));
    SkyletUpload::OBJECT object;
    QString error;
    QCOMPARE(SkyletUpload::Identify(path, QStringLiteral("New.Name"), &object, &error), 0);
    QCOMPARE(Field(object.name), PetsciiName("New.Name"));
}

void tst_SkyletUpload::packagesAreFew_data()
{
    QTest::addColumn<int>("programs");
    QTest::addColumn<int>("disks");
    QTest::addColumn<QList<int>>("sizes");

    QTest::newRow("one-program") << 1 << 0 << QList<int>{1};
    QTest::newRow("one-disk") << 0 << 1 << QList<int>{1};
    QTest::newRow("twenty-disks") << 0 << 20 << QList<int>{20};
    QTest::newRow("twenty-one-disks") << 0 << 21 << QList<int>{20, 1};
    QTest::newRow("program-and-19-disks") << 1 << 19 << QList<int>{20};
    QTest::newRow("program-and-20-disks") << 1 << 20 << QList<int>{20, 1};
    QTest::newRow("two-programs") << 2 << 0 << QList<int>{1, 1};
    QTest::newRow("two-programs-and-38-disks") << 2 << 38 << QList<int>{20, 20};
    QTest::newRow("two-programs-and-39-disks") << 2 << 39 << QList<int>{20, 20, 1};
    QTest::newRow("three-programs-and-a-disk") << 3 << 1 << QList<int>{2, 1, 1};
}

void tst_SkyletUpload::packagesAreFew()
{
    QFETCH(int, programs);
    QFETCH(int, disks);
    QFETCH(QList<int>, sizes);

    QList<int> planned;
    for (const OBJECTS &package : SkyletUpload::Plan(Objects(programs, disks))) {
        planned.append(int(package.size()));
        QVERIFY(std::count_if(package.begin(), package.end(),
                              [](const SkyletUpload::OBJECT &o) { return o.isProgram; }) <= 1);
    }
    QCOMPARE(planned, sizes);
}

void tst_SkyletUpload::packagesKeepTheOrder()
{
    QStringList disks;
    QStringList programs;
    for (const OBJECTS &package : SkyletUpload::Plan(Objects(3, 41))) {
        for (const SkyletUpload::OBJECT &object : package)
            (object.isProgram ? programs : disks).append(object.path);
    }
    QStringList expected;
    for (int i = 0; i < 41; ++i)
        expected.append(QString::number(i));
    QCOMPARE(disks, expected);
    QCOMPARE(programs,
             QStringList({QStringLiteral("1000"), QStringLiteral("1001"), QStringLiteral("1002")}));
}

void tst_SkyletUpload::bytesOfAPackage_data()
{
    QTest::addColumn<bool>("replace");

    QTest::newRow("keeping") << false;
    QTest::newRow("replacing") << true;
}

void tst_SkyletUpload::bytesOfAPackage()
{
    QFETCH(bool, replace);

    const QTemporaryDir directory;
    const QByteArray image(D64_SIZE, 'd');
    WirePackage expected;
    expected.objects = {{WireObject::PROGRAM, replace, PetsciiName("hello"), "\x01\x08x", 0},
                        {WireObject::DISK, replace, PetsciiName("games"), image, 0}};
    QVERIFY(WriteFile(directory.filePath(QStringLiteral("hello.prg")), "\x01\x08x"));
    QVERIFY(WriteFile(directory.filePath(QStringLiteral("games.d64")), image));

    OBJECTS objects(2);
    QString error;
    QCOMPARE(SkyletUpload::Identify(directory.filePath(QStringLiteral("games.d64")), QString(),
                                    &objects[0], &error),
             0);
    QCOMPARE(SkyletUpload::Identify(directory.filePath(QStringLiteral("hello.prg")), QString(),
                                    &objects[1], &error),
             0);
    QByteArray package("replaced");
    const auto how = replace ? SkyletUpload::REPLACE_EXISTING : SkyletUpload::KEEP_EXISTING;
    QCOMPARE(SkyletUpload::Pack(objects, how, &package, &error), 0);
    QCOMPARE(package.left(496).toHex(), expected.Bytes().left(496).toHex());
    QVERIFY(package == expected.Bytes());
}

void tst_SkyletUpload::fileThatChangedIsNoticed_data()
{
    QTest::addColumn<QString>("file");
    QTest::addColumn<qint64>("size");

    QTest::newRow("disk-of-another-type") << "games.d64" << qint64(349696);
    QTest::newRow("disk-no-more") << "games.d64" << qint64(1);
    QTest::newRow("empty-program") << "hello.prg" << qint64(0);
    QTest::newRow("gone") << "hello.prg" << qint64(-1);
}

void tst_SkyletUpload::fileThatChangedIsNoticed()
{
    QFETCH(QString, file);
    QFETCH(qint64, size);

    const QTemporaryDir directory;
    const QString path = directory.filePath(file);
    QVERIFY(WriteSparseFile(path, D64_SIZE));
    OBJECTS objects(1);
    QString error;
    QCOMPARE(SkyletUpload::Identify(path, QString(), &objects[0], &error), 0);
    if (size < 0)
        QVERIFY(QFile::remove(path));
    else
        QVERIFY(WriteSparseFile(path, size));
    QByteArray package;
    QCOMPARE(SkyletUpload::Pack(objects, SkyletUpload::KEEP_EXISTING, &package, &error), -1);
    QCOMPARE(error, QDir::toNativeSeparators(path) + QStringLiteral(" changed, or cannot be read"));
}

QTEST_GUILESS_MAIN(tst_SkyletUpload)
#include "tst_SkyletUpload.moc"
