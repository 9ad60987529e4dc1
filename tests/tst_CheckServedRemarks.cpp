// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#include "CheckServed.h"
#include "CheckServedRemarks.h"

#include "HostFiles.h"

#include <QTemporaryDir>
#include <QTest>

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

/// Of the rows that HasTheRemark() looks at.
void AddColumns()
{
    QTest::addColumn<int>("role");
    QTest::addColumn<QString>("file");
    QTest::addColumn<qint64>("size");
    QTest::addColumn<QString>("code");
    QTest::addColumn<QString>("words"); // in the remark's text
    QTest::addColumn<bool>("sent");
}

} // namespace

class tst_CheckServedRemarks : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void directoryNotChosen();
    void directoryMissing();
    void nothingServedNothingSaid();
    void servedFiles_data();
    void servedFiles();
    void namesThatAreHardToType_data();
    void namesThatAreHardToType();
    void programsOfOneName();
    void programsOfOneNameOfWhichOneIsReadable();
    void programsOfOneNameOfWhichTheLastIsEmpty();
    void disksOfOneName();
    void moreDisksOfOneNameThanFit();
    void unreadableDisksOfOneName();
    void nameThatGetsAnotherProgram();
    void nameOfAProgramThatIsNotSent();
    void nameThatFitsMoreDisks();
    void unreadableFiles();
    void programsThatNoAnswerCarries();
    void directoryAsProgram();
    void pipeAsProgram();

private:
    QString Path(const QString &file) const { return mRoot->filePath(file); }

    /// What is served from the directory of this test.
    CheckServed Find(CheckServed::ROLE role) const
    {
        return CheckServed::Find(role, mRoot->path());
    }

    /// Whether the row's file, alone in its directory, has the row's remark and no other.
    void HasTheRemark() const;

    std::unique_ptr<QTemporaryDir> mRoot;
};

void tst_CheckServedRemarks::init()
{
    mRoot = std::make_unique<QTemporaryDir>();
    QVERIFY(mRoot->isValid());
}

void tst_CheckServedRemarks::directoryNotChosen()
{
    const CheckServed served = CheckServed::Find(CheckServed::ROLE_PROGRAMS, QString());
    QCOMPARE(Codes(CheckServedRemarks::Of(served)),
             QStringList{QStringLiteral("directory-not-chosen ")});
}

void tst_CheckServedRemarks::directoryMissing()
{
    const CheckServed served =
        CheckServed::Find(CheckServed::ROLE_DISKS, Path(QStringLiteral("none")));
    QCOMPARE(Codes(CheckServedRemarks::Of(served)),
             QStringList{QStringLiteral("directory-missing ")});
}

void tst_CheckServedRemarks::nothingServedNothingSaid()
{
    QVERIFY(CheckServedRemarks::Of(Find(CheckServed::ROLE_DISKS)).isEmpty());
}

void tst_CheckServedRemarks::servedFiles_data()
{
    AddColumns();

    const int disk = CheckServed::ROLE_DISKS;
    const int program = CheckServed::ROLE_PROGRAMS;
    const qint64 few = 2;
    QTest::newRow("seventeen-characters")
        << program << "abcdefghijklmnopq.prg" << few << "cut-at-16"
        << "\"ABCDEFGHIJKLMNOP\"" << true;
    QTest::newRow("sixteen-characters") << program << "abcdefghijklmnop.prg" << few << ""
                                        << "" << true;
    QTest::newRow("long-directory") << program << "abcdefghijklmnopqrst/a.prg" << few << ""
                                    << "" << true;
    QTest::newRow("directory-with-dots") << program << "a.b.c/a.prg" << few << ""
                                         << "" << true;
    QTest::newRow("two-dots") << program << "my.game.prg" << few << "cut-at-dot"
                              << "\"MY\"" << true;
    QTest::newRow("two-dots-of-a-disk") << disk << "v1.2.d64" << D64_SIZE << "cut-at-dot"
                                        << "\"V1\"" << true;
    QTest::newRow("no-dot") << disk << "games" << D64_SIZE << ""
                            << "" << true;
    QTest::newRow("seventeen-characters-without-dot")
        << disk << "abcdefghijklmnopq" << D64_SIZE << "cut-at-16"
        << "\"ABCDEFGHIJKLMNOP\"" << true;
    QTest::newRow("text-of-a-disk's-size") << disk << "notes.txt" << D64_SIZE << "other-extension"
                                           << "a D64" << true;
    QTest::newRow("d64-of-a-d81's-size") << disk << "odd.d64" << D81_SIZE << "other-extension"
                                         << "a D81" << true;
    QTest::newRow("extension-in-capitals") << disk << "A.D64" << D64_SIZE << ""
                                           << "" << true;
    QTest::newRow("disk-as-program") << program << "a.prg" << D64_SIZE << ""
                                     << "" << true;
    QTest::newRow("empty-program") << program << "a.prg" << qint64(0) << "empty"
                                   << "sends nothing" << false;
}

void tst_CheckServedRemarks::servedFiles()
{
    HasTheRemark();
}

void tst_CheckServedRemarks::namesThatAreHardToType_data()
{
    AddColumns();

    const int disk = CheckServed::ROLE_DISKS;
    const int program = CheckServed::ROLE_PROGRAMS;
    const qint64 few = 2;
    QTest::newRow("quotation-mark") << program << "a\"b.prg" << few << "name"
                                    << "quotation" << true;
    QTest::newRow("star") << program << "a*b.prg" << few << "name"
                          << "\"*\"" << true;
    QTest::newRow("question-mark") << disk << "a?b.d64" << D64_SIZE << "name"
                                   << "\"?\"" << true;
    QTest::newRow("ampersand") << disk << "a&b.d64" << D64_SIZE << "name"
                               << "\"&\"" << true;
    QTest::newRow("outer-blank") << disk << "a .d64" << D64_SIZE << "name"
                                 << "blank" << true;
    QTest::newRow("no-key") << disk << "ä.d64" << D64_SIZE << "name"
                            << "no key" << true;
    QTest::newRow("beyond-latin1") << program << "日本.prg" << few << "name"
                                   << "Latin-1" << true;
    QTest::newRow("several-faults") << program << "a*b\"c&.prg" << few << "name"
                                    << "fits whatever follows; a quotation mark, "
                                       "which ends what one types; a \"&\""
                                    << true;
    QTest::newRow("nothing-left-of-the-name") << program << "\u00A0.prg" << few << "name"
                                              << "nothing at all" << false;
}

void tst_CheckServedRemarks::namesThatAreHardToType()
{
    HasTheRemark();
}

void tst_CheckServedRemarks::HasTheRemark() const
{
    QFETCH(int, role);
    QFETCH(QString, file);
    QFETCH(qint64, size);
    QFETCH(QString, code);
    QFETCH(QString, words);

    if (!IsFileName(QFileInfo(file).fileName()))
        QSKIP(NO_FILE_NAME);
    QVERIFY(WriteSparseFile(Path(file), size));
    const CheckServed served = Find(CheckServed::ROLE(role));
    const QVector<CheckRemark> remarks = CheckServedRemarks::Of(served);
    QCOMPARE(Files(served), QStringList{file});
    QTEST(served.Entries().first().sent, "sent");
    QCOMPARE(remarks.size(), code.isEmpty() ? 0 : 1);
    if (!code.isEmpty()) {
        const CheckRemark &remark = remarks.first();
        QCOMPARE(remark.code, code);
        QCOMPARE(remark.files, QStringList{file});
        QVERIFY2(remark.text.contains(words), qPrintable(remark.text));
        QVERIFY(!remark.advice.isEmpty());
    }
}

void tst_CheckServedRemarks::programsOfOneName()
{
    SKIP_ON_WINDOWS("Windows does not tell names apart by case");
    QVERIFY(WriteFile(Path(QStringLiteral("game.prg")), "1"));
    QVERIFY(WriteFile(Path(QStringLiteral("sub/game.PRG")), "2"));
    QVERIFY(WriteFile(Path(QStringLiteral("GAME.prg")), "3"));
    const CheckServed served = Find(CheckServed::ROLE_PROGRAMS);
    const QVector<CheckRemark> remarks = CheckServedRemarks::Of(served);
    QCOMPARE(Codes(remarks), QStringList{QStringLiteral("same-name game.prg,sub/game.PRG")});
    const CheckRemark &remark = remarks.first();
    const QStringList order = IteratorOrder(mRoot->path());
    QVERIFY(order.indexOf(Path(remark.files.first())) < order.indexOf(Path(remark.files.last())));
    QVERIFY2(remark.text.startsWith(QStringLiteral("2 files share the name \"GAME\"")),
             qPrintable(remark.text));
    QVERIFY2(remark.text.endsWith(remark.files.last()), qPrintable(remark.text));
    QVERIFY(!EntryOf(served, remark.files.first()).sent);
    QVERIFY(EntryOf(served, remark.files.last()).sent);
    QVERIFY(EntryOf(served, QStringLiteral("GAME.prg")).sent);
}

void tst_CheckServedRemarks::programsOfOneNameOfWhichOneIsReadable()
{
    SKIP_ON_WINDOWS("Windows has other permissions");
    QVERIFY(WriteFile(Path(QStringLiteral("game.prg")), "1"));
    QVERIFY(WriteFile(Path(QStringLiteral("sub/game.prg")), "2"));
    QVERIFY(QFile::setPermissions(mRoot->path(), QFile::Permissions(0x7755)));
    const QString last = Find(CheckServed::ROLE_PROGRAMS).Entries().last().file;
    const QString first = Find(CheckServed::ROLE_PROGRAMS).Entries().first().file;
    QVERIFY(QFile::setPermissions(Path(last), QFile::Permissions()));
    const OrdinaryUser user;
    const CheckServed served = Find(CheckServed::ROLE_PROGRAMS);
    const QVector<CheckRemark> remarks = CheckServedRemarks::Of(served);
    QCOMPARE(EntryOf(served, first).sent, true);
    QCOMPARE(EntryOf(served, last).sent, false);
    for (const CheckRemark &remark : remarks) {
        if (remark.code == QLatin1String("same-name"))
            QVERIFY2(remark.text.endsWith(first), qPrintable(remark.text));
        else
            QCOMPARE(remark.code + remark.files.first(), QStringLiteral("unreadable") + last);
    }
    QCOMPARE(remarks.size(), 2);
}

void tst_CheckServedRemarks::programsOfOneNameOfWhichTheLastIsEmpty()
{
    QVERIFY(WriteFile(Path(QStringLiteral("game.prg")), "1"));
    QVERIFY(WriteFile(Path(QStringLiteral("sub/game.prg")), "2"));
    const QString last = Find(CheckServed::ROLE_PROGRAMS).Entries().last().file;
    QVERIFY(QFile::resize(Path(last), 0));
    const CheckServed served = Find(CheckServed::ROLE_PROGRAMS);
    const QVector<CheckRemark> remarks = CheckServedRemarks::Of(served);
    QCOMPARE(served.Entries().first().sent, false);
    QCOMPARE(served.Entries().last().sent, false);
    QString shared;
    for (const CheckRemark &remark : remarks) {
        if (remark.code == QLatin1String("same-name"))
            shared = remark.text;
    }
    QVERIFY2(shared.endsWith(
                 QStringLiteral("sends nothing, since the last one, %1, is empty").arg(last)),
             qPrintable(shared));
}

void tst_CheckServedRemarks::disksOfOneName()
{
    QVERIFY(WriteSparseFile(Path(QStringLiteral("games.d64")), D64_SIZE));
    QVERIFY(WriteSparseFile(Path(QStringLiteral("games.d81")), D81_SIZE));
    const CheckServed served = Find(CheckServed::ROLE_DISKS);
    const QVector<CheckRemark> remarks = CheckServedRemarks::Of(served);
    QCOMPARE(Codes(remarks), QStringList{QStringLiteral("same-name games.d64,games.d81")});
    QVERIFY(remarks.first().text.endsWith(QStringLiteral("DOWNLOAD sends all of them")));
    QVERIFY(served.Entries().first().sent);
    QVERIFY(served.Entries().last().sent);
}

void tst_CheckServedRemarks::moreDisksOfOneNameThanFit()
{
    for (int i = 0; i < 20; ++i)
        QVERIFY(WriteSparseFile(Path(QStringLiteral("%1/a.d64").arg(i)), D64_SIZE));
    const CheckServed served = Find(CheckServed::ROLE_DISKS);
    const QVector<CheckRemark> remarks = CheckServedRemarks::Of(served);
    QCOMPARE(served.Entries().size(), 20);
    QCOMPARE(remarks.size(), 1);
    QVERIFY2(remarks.first().text.endsWith(
                 QStringLiteral("no more than 19, up to %1").arg(served.Entries().at(18).file)),
             qPrintable(remarks.first().text));
    QVERIFY(served.Entries().at(18).sent);
    QVERIFY(!served.Entries().at(19).sent);
}

void tst_CheckServedRemarks::unreadableDisksOfOneName()
{
    SKIP_ON_WINDOWS("Windows has other permissions");
    QVERIFY(WriteSparseFile(Path(QStringLiteral("a.d64")), D64_SIZE));
    QVERIFY(WriteSparseFile(Path(QStringLiteral("a.d81")), D81_SIZE));
    QVERIFY(QFile::setPermissions(mRoot->path(), QFile::Permissions(0x7755)));
    QVERIFY(QFile::setPermissions(Path(QStringLiteral("a.d81")), QFile::Permissions()));
    QString one;
    QString none;
    const auto shared = [this] {
        const CheckServed served = Find(CheckServed::ROLE_DISKS);
        const QVector<CheckRemark> remarks = CheckServedRemarks::Of(served);
        for (const CheckRemark &remark : remarks) {
            if (remark.code == QLatin1String("same-name"))
                return remark.text;
        }
        return QString();
    };
    {
        const OrdinaryUser user;
        one = shared();
    }
    QVERIFY(QFile::setPermissions(Path(QStringLiteral("a.d64")), QFile::Permissions()));
    {
        const OrdinaryUser user;
        none = shared();
    }
    QVERIFY2(one.endsWith(QStringLiteral("those that can be read")), qPrintable(one));
    QVERIFY2(none.endsWith(QStringLiteral("none of them")), qPrintable(none));
}

void tst_CheckServedRemarks::nameThatGetsAnotherProgram()
{
    QVERIFY(WriteFile(Path(QStringLiteral("a=b.prg")), "1"));
    QVERIFY(WriteFile(Path(QStringLiteral("a&b.prg")), "2"));
    const CheckServed served = Find(CheckServed::ROLE_PROGRAMS);
    const QVector<CheckRemark> remarks = CheckServedRemarks::Of(served);
    const QString lost = served.Entries().first().file;
    const QString sent = served.Entries().last().file;
    QVERIFY(!served.Entries().first().sent);
    QVERIFY(served.Entries().last().sent);
    for (const CheckRemark &remark : remarks) {
        QCOMPARE(remark.code, QStringLiteral("name"));
        QCOMPARE(remark.advice,
                 remark.files.first() == lost
                     ? QStringLiteral("Rename it: A?B gets %1.").arg(sent)
                     : QStringLiteral("Type A?B, which fits 2 files, or rename it."));
    }
    QCOMPARE(remarks.size(), 2);
}

void tst_CheckServedRemarks::nameOfAProgramThatIsNotSent()
{
    QVERIFY(WriteFile(Path(QStringLiteral("a&b.prg")), ""));
    const CheckServed served = Find(CheckServed::ROLE_PROGRAMS);
    const QVector<CheckRemark> remarks = CheckServedRemarks::Of(served);
    QCOMPARE(Codes(remarks),
             (QStringList{QStringLiteral("empty a&b.prg"), QStringLiteral("name a&b.prg")}));
    for (const CheckRemark &remark : remarks) {
        if (remark.code == QLatin1String("name"))
            QCOMPARE(remark.advice, QStringLiteral("Rename it."));
    }
}

void tst_CheckServedRemarks::nameThatFitsMoreDisks()
{
    if (!IsFileName(QStringLiteral("what?")))
        QSKIP(NO_FILE_NAME);
    QVERIFY(WriteSparseFile(Path(QStringLiteral("what?.d64")), D64_SIZE));
    QCOMPARE(CheckServedRemarks::Of(Find(CheckServed::ROLE_DISKS)).first().advice,
             QStringLiteral("Type WHAT?, or rename it."));
    QVERIFY(WriteSparseFile(Path(QStringLiteral("whats.d64")), D64_SIZE));
    const CheckServed served = Find(CheckServed::ROLE_DISKS);
    const QVector<CheckRemark> remarks = CheckServedRemarks::Of(served);
    QCOMPARE(Codes(remarks), QStringList{QStringLiteral("name what?.d64")});
    QCOMPARE(remarks.first().advice,
             QStringLiteral("Type WHAT?, which fits 2 files, or rename it."));
}

void tst_CheckServedRemarks::programsThatNoAnswerCarries()
{
    const qint64 most = 2147483648 - 1048576;
    QVERIFY(WriteSparseFile(Path(QStringLiteral("a.prg")), most));
    QVERIFY(WriteSparseFile(Path(QStringLiteral("b.prg")), most + 1));
    const CheckServed served = Find(CheckServed::ROLE_PROGRAMS);
    QCOMPARE(Codes(CheckServedRemarks::Of(served)), QStringList{QStringLiteral("too-large b.prg")});
    QVERIFY(EntryOf(served, QStringLiteral("a.prg")).sent);
    QVERIFY(!EntryOf(served, QStringLiteral("b.prg")).sent);
}

void tst_CheckServedRemarks::unreadableFiles()
{
    SKIP_ON_WINDOWS("Windows has other permissions");
    QVERIFY(WriteSparseFile(Path(QStringLiteral("a.d64")), D64_SIZE));
    QVERIFY(WriteSparseFile(Path(QStringLiteral("b.d64")), D64_SIZE));
    QVERIFY(QFile::setPermissions(mRoot->path(), QFile::Permissions(0x7755)));
    QVERIFY(QFile::setPermissions(Path(QStringLiteral("a.d64")), QFile::Permissions(0x2222)));
    QVERIFY(
        QFile::setPermissions(Path(QStringLiteral("b.d64")), QFile::ReadGroup | QFile::ReadOther));
    const OrdinaryUser user;
    const CheckServed served = Find(CheckServed::ROLE_DISKS);
    const QVector<CheckRemark> remarks = CheckServedRemarks::Of(served);
    QCOMPARE(Codes(remarks).filter(QStringLiteral("a.d64")),
             QStringList{QStringLiteral("unreadable a.d64")});
    QVERIFY(!EntryOf(served, QStringLiteral("a.d64")).sent);
    // What others may read its owner may not.
    const bool isOwner = IsOwnFile(Path(QStringLiteral("b.d64")));
    QCOMPARE(EntryOf(served, QStringLiteral("b.d64")).sent, !isOwner);
}

void tst_CheckServedRemarks::directoryAsProgram()
{
    QVERIFY(WriteFile(Path(QStringLiteral("dir.prg/a.prg")), "x"));
    const CheckServed served = Find(CheckServed::ROLE_PROGRAMS);
    const QVector<CheckRemark> remarks = CheckServedRemarks::Of(served);
    QCOMPARE(Files(served),
             (QStringList{QStringLiteral("dir.prg"), QStringLiteral("dir.prg/a.prg")}));
    QCOMPARE(Codes(remarks), QStringList{QStringLiteral("no-file dir.prg")});
    QVERIFY(!EntryOf(served, QStringLiteral("dir.prg")).sent);
}

void tst_CheckServedRemarks::pipeAsProgram()
{
    SKIP_ON_WINDOWS("Windows has no fifos, and links for administrators only");
    // A search lists a link to it, but not the pipe itself.
    QVERIFY(MakeFifo(Path(QStringLiteral("pipe.prg"))));
    QVERIFY(MakeLink(QStringLiteral("pipe.prg"), Path(QStringLiteral("link.prg"))));
    const CheckServed served = Find(CheckServed::ROLE_PROGRAMS);
    const QVector<CheckRemark> remarks = CheckServedRemarks::Of(served);
    QCOMPARE(Files(served), QStringList{QStringLiteral("link.prg")});
    QCOMPARE(Codes(remarks), QStringList{QStringLiteral("no-file link.prg")});
    QVERIFY(remarks.first().text.contains(QStringLiteral("SEARCH lists it")));
}

QTEST_GUILESS_MAIN(tst_CheckServedRemarks)

#include "tst_CheckServedRemarks.moc"
