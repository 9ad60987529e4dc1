// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#include "CheckServed.h"
#include "CheckUnserved.h"

#include "HostFiles.h"

#include <QTemporaryDir>
#include <QTest>

#include <memory>

namespace
{

constexpr qint64 D64_SIZE = 174848;

/// "code file,file" for each remark, sorted.
QStringList Codes(const QVector<CheckRemark> &remarks)
{
    QStringList codes;
    for (const CheckRemark &remark : remarks) {
        QStringList files = remark.files;
        files.sort();
        codes.append(remark.code + QLatin1Char(' ') + files.join(QLatin1Char(',')));
    }
    codes.sort();
    return codes;
}

} // namespace

class tst_CheckUnserved : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void notServed_data();
    void notServed();
    void servedFilesAreNotUnserved();
    void pipeThatIsListedIsNotUnserved();
    void wrongDirectoryNeedsTheOther();
    void missingDirectoryHasNothing();
    void filesOfADirectoryThatCannotBeEntered();

private:
    QString Path(const QString &file) const { return mRoot->filePath(file); }

    /// The remarks on the directory of this test.
    QVector<CheckRemark> Unserved(CheckServed::ROLE role, const CheckServed *other = nullptr) const
    {
        return CheckUnserved::Remarks(CheckServed::Find(role, mRoot->path()), other);
    }

    std::unique_ptr<QTemporaryDir> mRoot;
};

void tst_CheckUnserved::init()
{
    mRoot = std::make_unique<QTemporaryDir>();
    QVERIFY(mRoot->isValid());
}

void tst_CheckUnserved::notServed_data()
{
    QTest::addColumn<int>("role");
    QTest::addColumn<QString>("file");
    QTest::addColumn<qint64>("size");
    QTest::addColumn<QString>("remark"); // code and file, as in Codes()
    QTest::addColumn<QString>("words");

    const int disk = CheckServed::ROLE_DISKS;
    const int program = CheckServed::ROLE_PROGRAMS;
    QTest::newRow("40-tracks") << disk << "a.d64" << qint64(196608) << "too-many-tracks a.d64"
                               << "not served: a D64 of 40 tracks";
    QTest::newRow("error-bytes") << disk << "sub/a.d71" << qint64(351062) << "error-bytes sub/a.d71"
                                 << "not served: a D71 with error";
    QTest::newRow("wrong-size") << disk << "a.d64" << qint64(174847) << "wrong-size a.d64"
                                << "not served: 174847 bytes; a D64 has";
    QTest::newRow("four-gib-and-a-d64")
        << disk << "a.d64" << (Q_INT64_C(1) << 32) + D64_SIZE << "wrong-size a.d64"
        << "not served: 4295142144 bytes";
    QTest::newRow("compressed") << disk << "a.d64.gz" << qint64(9) << "compressed a.d64.gz"
                                << "not served: compressed";
    QTest::newRow("other-format") << disk << "a.g64" << qint64(9) << "other-format a.g64"
                                  << "G64";
    QTest::newRow("hidden-file") << disk << ".a.d64" << D64_SIZE << "hidden .a.d64"
                                 << "hides it";
    QTest::newRow("hidden-directory") << disk << ".a/a.d64" << D64_SIZE << "hidden .a"
                                      << "hides it";
    QTest::newRow("program-among-disks") << disk << "a.prg" << qint64(9) << "wrong-directory a.prg"
                                         << "program directory";
    QTest::newRow("disk-among-programs")
        << program << "a.d64" << D64_SIZE << "wrong-directory a.d64"
        << "no program of its name can be uploaded";
    QTest::newRow("40-tracks-among-programs")
        << program << "a.d64" << qint64(196608) << "too-many-tracks a.d64"
        << "40 tracks";
    QTest::newRow("wrapped-program") << program << "a.p00" << qint64(9) << "other-format a.p00"
                                     << "P00";
    QTest::newRow("compressed-program") << program << "a.zip" << qint64(9) << "compressed a.zip"
                                        << "ZIP";
    QTest::newRow("anything-else") << disk << "read.me" << qint64(9) << ""
                                   << "";
}

void tst_CheckUnserved::notServed()
{
    QFETCH(int, role);
    QFETCH(QString, file);
    QFETCH(qint64, size);
    QFETCH(QString, remark);
    QFETCH(QString, words);

    QVERIFY(WriteSparseFile(Path(file), size));
    const QTemporaryDir elsewhere;
    const CheckServed other = CheckServed::Find(
        role == CheckServed::ROLE_DISKS ? CheckServed::ROLE_PROGRAMS : CheckServed::ROLE_DISKS,
        elsewhere.path());
    const QVector<CheckRemark> remarks = Unserved(CheckServed::ROLE(role), &other);
    QCOMPARE(Codes(remarks), remark.isEmpty() ? QStringList() : QStringList{remark});
    if (!remark.isEmpty())
        QVERIFY2(remarks.first().text.contains(words), qPrintable(remarks.first().text));
}

void tst_CheckUnserved::servedFilesAreNotUnserved()
{
    SKIP_ON_WINDOWS("Windows has no fifos");
    QVERIFY(WriteSparseFile(Path(QStringLiteral("sub/a.d64")), D64_SIZE));
    QVERIFY(WriteSparseFile(Path(QStringLiteral("notes.txt")), D64_SIZE));
    QVERIFY(MakeFifo(Path(QStringLiteral("pipe.prg"))));
    const QVector<CheckRemark> remarks = Unserved(CheckServed::ROLE_DISKS);
    QCOMPARE(Codes(remarks), QStringList{QStringLiteral("no-file pipe.prg")});
    QCOMPARE(remarks.first().text, QStringLiteral("not served: a pipe, a socket or a device"));
}

void tst_CheckUnserved::pipeThatIsListedIsNotUnserved()
{
    SKIP_ON_WINDOWS("Windows has no fifos, and links for administrators only");
    QVERIFY(MakeFifo(Path(QStringLiteral("pipe.prg"))));
    QVERIFY(MakeLink(QStringLiteral("pipe.prg"), Path(QStringLiteral("link.prg"))));
    const CheckServed programs = CheckServed::Find(CheckServed::ROLE_PROGRAMS, mRoot->path());
    QVERIFY(programs.Lists(QStringLiteral("link.prg")));
    QCOMPARE(Codes(Unserved(CheckServed::ROLE_PROGRAMS)),
             QStringList{QStringLiteral("no-file pipe.prg")});
    QCOMPARE(Codes(Unserved(CheckServed::ROLE_DISKS, &programs)),
             QStringList{QStringLiteral("no-file pipe.prg")});
}

void tst_CheckUnserved::wrongDirectoryNeedsTheOther()
{
    QVERIFY(WriteFile(Path(QStringLiteral("a.prg")), "x"));
    QVERIFY(WriteSparseFile(Path(QStringLiteral("a.d64")), D64_SIZE));
    QCOMPARE(Codes(Unserved(CheckServed::ROLE_DISKS)), QStringList());
    QCOMPARE(Codes(Unserved(CheckServed::ROLE_PROGRAMS)), QStringList());
    // What the other one serves from the same place is not in a wrong one.
    const CheckServed programs = CheckServed::Find(CheckServed::ROLE_PROGRAMS, mRoot->path());
    QCOMPARE(Codes(Unserved(CheckServed::ROLE_DISKS, &programs)), QStringList());
    const CheckServed disks = CheckServed::Find(CheckServed::ROLE_DISKS, mRoot->path());
    QCOMPARE(Codes(Unserved(CheckServed::ROLE_PROGRAMS, &disks)), QStringList());
}

void tst_CheckUnserved::missingDirectoryHasNothing()
{
    const CheckServed missing =
        CheckServed::Find(CheckServed::ROLE_DISKS, Path(QStringLiteral("none")));
    QVERIFY(CheckUnserved::Remarks(missing, nullptr).isEmpty());
    const CheckServed notChosen = CheckServed::Find(CheckServed::ROLE_DISKS, QString());
    QVERIFY(CheckUnserved::Remarks(notChosen, nullptr).isEmpty());
}

void tst_CheckUnserved::filesOfADirectoryThatCannotBeEntered()
{
    SKIP_ON_WINDOWS("Windows has other permissions");
    QVERIFY(WriteSparseFile(Path(QStringLiteral("sub/a.d64")), D64_SIZE));
    QVERIFY(QFile::setPermissions(mRoot->path(), QFile::Permissions(0x7755)));
    QVERIFY(QFile::setPermissions(Path(QStringLiteral("sub")), QFile::Permissions(0x4444)));
    QStringList codes;
    {
        const OrdinaryUser user;
        codes = Codes(Unserved(CheckServed::ROLE_DISKS));
    }
    QVERIFY(QFile::setPermissions(Path(QStringLiteral("sub")), QFile::Permissions(0x7777)));
    QCOMPARE(codes, QStringList{QStringLiteral("unreadable sub/a.d64")});
}

QTEST_GUILESS_MAIN(tst_CheckUnserved)

#include "tst_CheckUnserved.moc"
