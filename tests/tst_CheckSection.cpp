// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#include "AppDosName.h"
#include "CheckName.h"
#include "CheckSection.h"

#include "HostFiles.h"

#include <QTemporaryDir>
#include <QTest>

#include <algorithm>
#include <memory>

namespace
{

constexpr qint64 D64_SIZE = 174848;
constexpr qint64 D81_SIZE = 819200;

QStringList Files(const CheckSection &section)
{
    QStringList files;
    for (const CheckSection::ENTRY &entry : section.Entries())
        files.append(entry.file);
    files.sort();
    return files;
}

/// The entry of a file; a row of its own for each is not needed, so it must be there.
CheckSection::ENTRY EntryOf(const CheckSection &section, const QString &file)
{
    for (const CheckSection::ENTRY &entry : section.Entries()) {
        if (entry.file == file)
            return entry;
    }
    return CheckSection::ENTRY();
}

/// "code file,file" for each remark, sorted.
QStringList Codes(const CheckSection &section)
{
    QStringList codes;
    for (const CheckSection::REMARK &remark : section.Remarks()) {
        QStringList files = remark.files;
        files.sort();
        codes.append(remark.code + QLatin1Char(' ') + files.join(QLatin1Char(',')));
    }
    codes.sort();
    return codes;
}

} // namespace

class tst_CheckSection : public QObject
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
    void servedFiles_data();
    void servedFiles();
    void programsOfOneName();
    void programsOfOneNameAreSentWhileReadable();
    void emptyProgramHidesItsNamesakes();
    void disksOfOneName();
    void moreDisksOfOneNameThanFit();
    void unreadableDisksOfOneName();
    void nameThatGetsAnotherProgram();
    void nameOfAProgramThatIsNotSent();
    void nameThatFitsMoreDisks();
    void unreadableDiskBeforeReadableOnes();
    void unreadableFiles();
    void directoryAsProgram();
    void pipeAsProgram();
    void notServed_data();
    void notServed();
    void wrongDirectoryNeedsTheOther();
    void unservedFilesOfADirectoryThatCannotBeEntered();
    void whatWasSaidIsNotSaidAgain();
    void remarksAreSortedByFile();

private:
    QString Path(const QString &file) const { return mRoot->filePath(file); }

    CheckSection Looked(CheckSection::ROLE role) const
    {
        CheckSection section(role, mRoot->path());
        section.LookAtServed();
        return section;
    }

    /// The directory of this test, and all that is found in it.
    CheckSection LookedThrough(CheckSection::ROLE role, const CheckSection *other = nullptr) const
    {
        CheckSection section = Looked(role);
        QSet<QString> remarked;
        section.LookAtRest(CheckTree::Walk(section.CanonicalDirectory()), other, &remarked);
        return section;
    }

    std::unique_ptr<QTemporaryDir> mRoot;
};

void tst_CheckSection::init()
{
    mRoot = std::make_unique<QTemporaryDir>();
    QVERIFY(mRoot->isValid());
}

void tst_CheckSection::noDirectoryChosen()
{
    // The working directory must not take its place.
    QVERIFY(WriteFile(Path(QStringLiteral("a.prg")), "x"));
    const WorkingDirectory working(mRoot->path());
    CheckSection section(CheckSection::ROLE_PROGRAMS, QString());
    section.LookAtServed();
    QCOMPARE(section.Directory(), QString());
    QCOMPARE(section.CanonicalDirectory(), QString());
    QVERIFY(section.Entries().isEmpty());
    QCOMPARE(Codes(section), QStringList{QStringLiteral("directory-not-chosen ")});
    QVERIFY(!section.Serves(QStringLiteral("/a.prg")));
}

void tst_CheckSection::missingDirectory()
{
    CheckSection section(CheckSection::ROLE_DISKS, Path(QStringLiteral("none")));
    section.LookAtServed();
    QCOMPARE(section.Directory(), Path(QStringLiteral("none")));
    QCOMPARE(section.CanonicalDirectory(), QString());
    QCOMPARE(Codes(section), QStringList{QStringLiteral("directory-missing ")});
}

void tst_CheckSection::emptyDirectory()
{
    const CheckSection section = LookedThrough(CheckSection::ROLE_DISKS);
    QVERIFY(section.Entries().isEmpty());
    QVERIFY(section.Remarks().isEmpty());
}

void tst_CheckSection::entriesOfDisks()
{
    QVERIFY(WriteSparseFile(Path(QStringLiteral("games.d64")), D64_SIZE));
    QVERIFY(WriteSparseFile(Path(QStringLiteral("errors.d64")), 175531));
    QVERIFY(WriteSparseFile(Path(QStringLiteral("sub/b.d71")), 349696));
    QVERIFY(WriteSparseFile(Path(QStringLiteral("c.d81")), D81_SIZE));
    QVERIFY(WriteSparseFile(Path(QStringLiteral("d.d80")), 533248));
    QVERIFY(WriteSparseFile(Path(QStringLiteral("E.D82")), 1066496));
    QVERIFY(WriteFile(Path(QStringLiteral("a.prg")), "x"));
    const CheckSection section = LookedThrough(CheckSection::ROLE_DISKS);
    QCOMPARE(Files(section),
             (QStringList{QStringLiteral("E.D82"), QStringLiteral("c.d81"), QStringLiteral("d.d80"),
                          QStringLiteral("errors.d64"), QStringLiteral("games.d64"),
                          QStringLiteral("sub/b.d71")}));
    QCOMPARE(EntryOf(section, QStringLiteral("games.d64")).type, QLatin1String("D64"));
    QCOMPARE(EntryOf(section, QStringLiteral("errors.d64")).type, QLatin1String("D64"));
    QCOMPARE(EntryOf(section, QStringLiteral("sub/b.d71")).type, QLatin1String("D71"));
    QCOMPARE(EntryOf(section, QStringLiteral("c.d81")).type, QLatin1String("D81"));
    QCOMPARE(EntryOf(section, QStringLiteral("d.d80")).type, QLatin1String("D80"));
    QCOMPARE(EntryOf(section, QStringLiteral("E.D82")).type, QLatin1String("D82"));
    QCOMPARE(CheckName::Pattern(EntryOf(section, QStringLiteral("E.D82")).name),
             QStringLiteral("E"));
    QVERIFY(std::all_of(section.Entries().begin(), section.Entries().end(),
                        [](const CheckSection::ENTRY &entry) { return entry.sent; }));
    QCOMPARE(Codes(section), QStringList());
}

void tst_CheckSection::entriesOfPrograms()
{
    QVERIFY(WriteFile(Path(QStringLiteral("hello.prg")), "x"));
    QVERIFY(WriteFile(Path(QStringLiteral("sub/deeper/GAME.Prg")), "x"));
    QVERIFY(WriteFile(Path(QStringLiteral("read.me")), "x"));
    const CheckSection section = LookedThrough(CheckSection::ROLE_PROGRAMS);
    QCOMPARE(Files(section),
             (QStringList{QStringLiteral("hello.prg"), QStringLiteral("sub/deeper/GAME.Prg")}));
    QCOMPARE(section.Entries().first().type, QLatin1String("PRG"));
    QVERIFY(section.Entries().first().sent);
    QCOMPARE(Codes(section), QStringList());
}

void tst_CheckSection::entriesAreInTheOrderOfTheListing()
{
    for (int i = 0; i < 50; ++i)
        QVERIFY(WriteFile(Path(QStringLiteral("%1/%2.prg").arg(i % 3).arg(i)), "x"));
    const CheckSection section = Looked(CheckSection::ROLE_PROGRAMS);
    QStringList paths;
    for (const CheckSection::ENTRY &entry : section.Entries())
        paths.append(Path(entry.file));
    QStringList expected = IteratorOrder(mRoot->path());
    expected = expected.filter(QStringLiteral(".prg"));
    QCOMPARE(paths, expected);
}

void tst_CheckSection::relativeDirectoriesAreAbsolute()
{
    QVERIFY(WriteFile(Path(QStringLiteral("sub/a.prg")), "x"));
    const WorkingDirectory working(mRoot->path());
    CheckSection section(CheckSection::ROLE_PROGRAMS, QStringLiteral("sub/./"));
    section.LookAtServed();
    QCOMPARE(section.Directory(), QDir::currentPath() + QStringLiteral("/sub"));
    QCOMPARE(Files(section), QStringList{QStringLiteral("a.prg")});
}

void tst_CheckSection::servesWhatIsListed()
{
    QVERIFY(WriteFile(Path(QStringLiteral("root/sub/a.prg")), "x"));
    QVERIFY(WriteFile(Path(QStringLiteral("root/b.txt")), "x"));
    QVERIFY(MakeLink(QStringLiteral("root"), Path(QStringLiteral("link"))));
    CheckSection section(CheckSection::ROLE_PROGRAMS, Path(QStringLiteral("link")));
    section.LookAtServed();
    const QString canonical = QFileInfo(Path(QStringLiteral("root"))).canonicalFilePath();
    QCOMPARE(section.Directory(), Path(QStringLiteral("link")));
    QCOMPARE(section.CanonicalDirectory(), canonical);
    QVERIFY(section.Serves(canonical + QStringLiteral("/sub/a.prg")));
    QVERIFY(!section.Serves(canonical + QStringLiteral("/b.txt")));
    QVERIFY(!section.Serves(canonical + QStringLiteral("2/sub/a.prg")));
    QVERIFY(!section.Serves(QStringLiteral("sub/a.prg")));
}

void tst_CheckSection::servedFiles_data()
{
    QTest::addColumn<int>("role");
    QTest::addColumn<QString>("file");
    QTest::addColumn<qint64>("size");
    QTest::addColumn<QString>("code");
    QTest::addColumn<QString>("words"); // in the remark's text
    QTest::addColumn<bool>("sent");

    const int disk = CheckSection::ROLE_DISKS;
    const int program = CheckSection::ROLE_PROGRAMS;
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

void tst_CheckSection::servedFiles()
{
    QFETCH(int, role);
    QFETCH(QString, file);
    QFETCH(qint64, size);
    QFETCH(QString, code);
    QFETCH(QString, words);

    QVERIFY(WriteSparseFile(Path(file), size));
    const CheckSection section = LookedThrough(CheckSection::ROLE(role));
    QCOMPARE(Files(section), QStringList{file});
    QTEST(section.Entries().first().sent, "sent");
    QCOMPARE(section.Remarks().size(), code.isEmpty() ? 0 : 1);
    if (!code.isEmpty()) {
        const CheckSection::REMARK &remark = section.Remarks().first();
        QCOMPARE(remark.code, code);
        QCOMPARE(remark.files, QStringList{file});
        QVERIFY2(remark.text.contains(words), qPrintable(remark.text));
        QVERIFY(!remark.advice.isEmpty());
    }
}

void tst_CheckSection::programsOfOneName()
{
    QVERIFY(WriteFile(Path(QStringLiteral("game.prg")), "1"));
    QVERIFY(WriteFile(Path(QStringLiteral("sub/game.PRG")), "2"));
    QVERIFY(WriteFile(Path(QStringLiteral("GAME.prg")), "3"));
    const CheckSection section = LookedThrough(CheckSection::ROLE_PROGRAMS);
    QCOMPARE(Codes(section), QStringList{QStringLiteral("same-name game.prg,sub/game.PRG")});
    const CheckSection::REMARK &remark = section.Remarks().first();
    const QStringList order = IteratorOrder(mRoot->path());
    QVERIFY(order.indexOf(Path(remark.files.first())) < order.indexOf(Path(remark.files.last())));
    QVERIFY2(remark.text.startsWith(QStringLiteral("2 files share the name \"GAME\"")),
             qPrintable(remark.text));
    QVERIFY2(remark.text.endsWith(remark.files.last()), qPrintable(remark.text));
    QVERIFY(!EntryOf(section, remark.files.first()).sent);
    QVERIFY(EntryOf(section, remark.files.last()).sent);
    QVERIFY(EntryOf(section, QStringLiteral("GAME.prg")).sent);
}

void tst_CheckSection::programsOfOneNameAreSentWhileReadable()
{
    QVERIFY(WriteFile(Path(QStringLiteral("game.prg")), "1"));
    QVERIFY(WriteFile(Path(QStringLiteral("sub/game.prg")), "2"));
    QVERIFY(QFile::setPermissions(mRoot->path(), QFile::Permissions(0x7755)));
    const QString last = Looked(CheckSection::ROLE_PROGRAMS).Entries().last().file;
    const QString first = Looked(CheckSection::ROLE_PROGRAMS).Entries().first().file;
    QVERIFY(QFile::setPermissions(Path(last), QFile::Permissions()));
    const OrdinaryUser user;
    const CheckSection section = LookedThrough(CheckSection::ROLE_PROGRAMS);
    QCOMPARE(EntryOf(section, first).sent, true);
    QCOMPARE(EntryOf(section, last).sent, false);
    for (const CheckSection::REMARK &remark : section.Remarks()) {
        if (remark.code == QLatin1String("same-name"))
            QVERIFY2(remark.text.endsWith(first), qPrintable(remark.text));
        else
            QCOMPARE(remark.code + remark.files.first(), QStringLiteral("unreadable") + last);
    }
    QCOMPARE(section.Remarks().size(), 2);
}

void tst_CheckSection::emptyProgramHidesItsNamesakes()
{
    QVERIFY(WriteFile(Path(QStringLiteral("game.prg")), "1"));
    QVERIFY(WriteFile(Path(QStringLiteral("sub/game.prg")), "2"));
    const QString last = Looked(CheckSection::ROLE_PROGRAMS).Entries().last().file;
    QVERIFY(QFile::resize(Path(last), 0));
    const CheckSection section = LookedThrough(CheckSection::ROLE_PROGRAMS);
    QCOMPARE(section.Entries().first().sent, false);
    QCOMPARE(section.Entries().last().sent, false);
    QString shared;
    for (const CheckSection::REMARK &remark : section.Remarks()) {
        if (remark.code == QLatin1String("same-name"))
            shared = remark.text;
    }
    QVERIFY2(shared.endsWith(
                 QStringLiteral("sends nothing, since the last one, %1, is empty").arg(last)),
             qPrintable(shared));
}

void tst_CheckSection::disksOfOneName()
{
    QVERIFY(WriteSparseFile(Path(QStringLiteral("games.d64")), D64_SIZE));
    QVERIFY(WriteSparseFile(Path(QStringLiteral("games.d81")), D81_SIZE));
    const CheckSection section = LookedThrough(CheckSection::ROLE_DISKS);
    QCOMPARE(Codes(section), QStringList{QStringLiteral("same-name games.d64,games.d81")});
    QVERIFY(section.Remarks().first().text.endsWith(QStringLiteral("DOWNLOAD sends all of them")));
    QVERIFY(section.Entries().first().sent);
    QVERIFY(section.Entries().last().sent);
}

void tst_CheckSection::moreDisksOfOneNameThanFit()
{
    for (int i = 0; i < 20; ++i)
        QVERIFY(WriteSparseFile(Path(QStringLiteral("%1/a.d64").arg(i)), D64_SIZE));
    const CheckSection section = LookedThrough(CheckSection::ROLE_DISKS);
    QCOMPARE(section.Entries().size(), 20);
    QCOMPARE(section.Remarks().size(), 1);
    QVERIFY2(section.Remarks().first().text.endsWith(
                 QStringLiteral("no more than 19, up to %1").arg(section.Entries().at(18).file)),
             qPrintable(section.Remarks().first().text));
    QVERIFY(section.Entries().at(18).sent);
    QVERIFY(!section.Entries().at(19).sent);
}

void tst_CheckSection::unreadableDisksOfOneName()
{
    QVERIFY(WriteSparseFile(Path(QStringLiteral("a.d64")), D64_SIZE));
    QVERIFY(WriteSparseFile(Path(QStringLiteral("a.d81")), D81_SIZE));
    QVERIFY(QFile::setPermissions(mRoot->path(), QFile::Permissions(0x7755)));
    QVERIFY(QFile::setPermissions(Path(QStringLiteral("a.d81")), QFile::Permissions()));
    QString one;
    QString none;
    const auto shared = [this] {
        const CheckSection section = LookedThrough(CheckSection::ROLE_DISKS);
        for (const CheckSection::REMARK &remark : section.Remarks()) {
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

void tst_CheckSection::nameThatGetsAnotherProgram()
{
    QVERIFY(WriteFile(Path(QStringLiteral("a=b.prg")), "1"));
    QVERIFY(WriteFile(Path(QStringLiteral("a&b.prg")), "2"));
    const CheckSection section = LookedThrough(CheckSection::ROLE_PROGRAMS);
    const QString lost = section.Entries().first().file;
    const QString sent = section.Entries().last().file;
    QVERIFY(!section.Entries().first().sent);
    QVERIFY(section.Entries().last().sent);
    for (const CheckSection::REMARK &remark : section.Remarks()) {
        QCOMPARE(remark.code, QStringLiteral("name"));
        QCOMPARE(remark.advice,
                 remark.files.first() == lost
                     ? QStringLiteral("Rename it: A?B gets %1.").arg(sent)
                     : QStringLiteral("Type A?B, which fits 2 files, or rename it."));
    }
    QCOMPARE(section.Remarks().size(), 2);
}

void tst_CheckSection::nameOfAProgramThatIsNotSent()
{
    QVERIFY(WriteFile(Path(QStringLiteral("a&b.prg")), ""));
    const CheckSection section = LookedThrough(CheckSection::ROLE_PROGRAMS);
    QCOMPARE(Codes(section),
             (QStringList{QStringLiteral("empty a&b.prg"), QStringLiteral("name a&b.prg")}));
    for (const CheckSection::REMARK &remark : section.Remarks()) {
        if (remark.code == QLatin1String("name"))
            QCOMPARE(remark.advice, QStringLiteral("Rename it."));
    }
}

void tst_CheckSection::nameThatFitsMoreDisks()
{
    QVERIFY(WriteSparseFile(Path(QStringLiteral("what?.d64")), D64_SIZE));
    QCOMPARE(LookedThrough(CheckSection::ROLE_DISKS).Remarks().first().advice,
             QStringLiteral("Type WHAT?, or rename it."));
    QVERIFY(WriteSparseFile(Path(QStringLiteral("whats.d64")), D64_SIZE));
    const CheckSection section = LookedThrough(CheckSection::ROLE_DISKS);
    QCOMPARE(Codes(section), QStringList{QStringLiteral("name what?.d64")});
    QCOMPARE(section.Remarks().first().advice,
             QStringLiteral("Type WHAT?, which fits 2 files, or rename it."));
}

void tst_CheckSection::unreadableDiskBeforeReadableOnes()
{
    for (int i = 0; i < 3; ++i)
        QVERIFY(WriteSparseFile(Path(QStringLiteral("%1/a.d64").arg(i)), D64_SIZE));
    QVERIFY(QFile::setPermissions(mRoot->path(), QFile::Permissions(0x7755)));
    const QString first = Looked(CheckSection::ROLE_DISKS).Entries().first().file;
    QVERIFY(QFile::setPermissions(Path(first), QFile::Permissions()));
    const OrdinaryUser user;
    const CheckSection section = LookedThrough(CheckSection::ROLE_DISKS);
    QCOMPARE(section.Entries().at(0).sent, false);
    QCOMPARE(section.Entries().at(1).sent, true);
    QCOMPARE(section.Entries().at(2).sent, true);
}

void tst_CheckSection::unreadableFiles()
{
    QVERIFY(WriteSparseFile(Path(QStringLiteral("a.d64")), D64_SIZE));
    QVERIFY(WriteSparseFile(Path(QStringLiteral("b.d64")), D64_SIZE));
    QVERIFY(QFile::setPermissions(mRoot->path(), QFile::Permissions(0x7755)));
    QVERIFY(QFile::setPermissions(Path(QStringLiteral("a.d64")), QFile::Permissions(0x2222)));
    QVERIFY(
        QFile::setPermissions(Path(QStringLiteral("b.d64")), QFile::ReadGroup | QFile::ReadOther));
    const OrdinaryUser user;
    const CheckSection section = LookedThrough(CheckSection::ROLE_DISKS);
    QCOMPARE(Codes(section).filter(QStringLiteral("a.d64")),
             QStringList{QStringLiteral("unreadable a.d64")});
    QVERIFY(!EntryOf(section, QStringLiteral("a.d64")).sent);
    // What others may read its owner may not.
    const bool isOwner = QFileInfo(Path(QStringLiteral("b.d64"))).ownerId() == getuid();
    QCOMPARE(EntryOf(section, QStringLiteral("b.d64")).sent, !isOwner);
}

void tst_CheckSection::directoryAsProgram()
{
    QVERIFY(WriteFile(Path(QStringLiteral("dir.prg/a.prg")), "x"));
    const CheckSection section = LookedThrough(CheckSection::ROLE_PROGRAMS);
    QCOMPARE(Files(section),
             (QStringList{QStringLiteral("dir.prg"), QStringLiteral("dir.prg/a.prg")}));
    QCOMPARE(Codes(section), QStringList{QStringLiteral("no-file dir.prg")});
    QVERIFY(!EntryOf(section, QStringLiteral("dir.prg")).sent);
}

void tst_CheckSection::pipeAsProgram()
{
    QVERIFY(MakeFifo(Path(QStringLiteral("pipe.prg"))));
    QVERIFY(MakeLink(QStringLiteral("pipe.prg"), Path(QStringLiteral("link.prg"))));
    const CheckSection section = LookedThrough(CheckSection::ROLE_PROGRAMS);
    QCOMPARE(Files(section), QStringList{QStringLiteral("link.prg")});
    QCOMPARE(Codes(section),
             (QStringList{QStringLiteral("no-file link.prg"), QStringLiteral("no-file pipe.prg")}));
    for (const CheckSection::REMARK &remark : section.Remarks())
        QCOMPARE(remark.text.contains(QStringLiteral("SEARCH lists it")),
                 remark.files.first() == QLatin1String("link.prg"));
}

void tst_CheckSection::notServed_data()
{
    QTest::addColumn<int>("role");
    QTest::addColumn<QString>("file");
    QTest::addColumn<qint64>("size");
    QTest::addColumn<QString>("remark"); // code and file, as in Codes()
    QTest::addColumn<QString>("words");

    const int disk = CheckSection::ROLE_DISKS;
    const int program = CheckSection::ROLE_PROGRAMS;
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

void tst_CheckSection::notServed()
{
    QFETCH(int, role);
    QFETCH(QString, file);
    QFETCH(qint64, size);
    QFETCH(QString, remark);
    QFETCH(QString, words);

    QVERIFY(WriteSparseFile(Path(file), size));
    const QTemporaryDir elsewhere;
    CheckSection other(role == CheckSection::ROLE_DISKS ? CheckSection::ROLE_PROGRAMS
                                                        : CheckSection::ROLE_DISKS,
                       elsewhere.path());
    other.LookAtServed();
    const CheckSection section = LookedThrough(CheckSection::ROLE(role), &other);
    QVERIFY(section.Entries().isEmpty());
    QCOMPARE(Codes(section), remark.isEmpty() ? QStringList() : QStringList{remark});
    if (!remark.isEmpty())
        QVERIFY2(section.Remarks().first().text.contains(words),
                 qPrintable(section.Remarks().first().text));
}

void tst_CheckSection::wrongDirectoryNeedsTheOther()
{
    QVERIFY(WriteFile(Path(QStringLiteral("a.prg")), "x"));
    QVERIFY(WriteSparseFile(Path(QStringLiteral("a.d64")), D64_SIZE));
    QCOMPARE(Codes(LookedThrough(CheckSection::ROLE_DISKS)), QStringList());
    QCOMPARE(Codes(LookedThrough(CheckSection::ROLE_PROGRAMS)), QStringList());
    // What the other one serves from the same place is not in a wrong one.
    const CheckSection programs = Looked(CheckSection::ROLE_PROGRAMS);
    QCOMPARE(Codes(LookedThrough(CheckSection::ROLE_DISKS, &programs)), QStringList());
    const CheckSection disks = Looked(CheckSection::ROLE_DISKS);
    QCOMPARE(Codes(LookedThrough(CheckSection::ROLE_PROGRAMS, &disks)), QStringList());
}

void tst_CheckSection::unservedFilesOfADirectoryThatCannotBeEntered()
{
    QVERIFY(WriteSparseFile(Path(QStringLiteral("sub/a.d64")), D64_SIZE));
    QVERIFY(QFile::setPermissions(mRoot->path(), QFile::Permissions(0x7755)));
    QVERIFY(QFile::setPermissions(Path(QStringLiteral("sub")), QFile::Permissions(0x4444)));
    QStringList codes;
    {
        const OrdinaryUser user;
        codes = Codes(LookedThrough(CheckSection::ROLE_DISKS));
    }
    QVERIFY(QFile::setPermissions(Path(QStringLiteral("sub")), QFile::Permissions(0x7777)));
    QCOMPARE(codes, QStringList{QStringLiteral("unreadable sub/a.d64")});
}

void tst_CheckSection::whatWasSaidIsNotSaidAgain()
{
    QVERIFY(WriteFile(Path(QStringLiteral("sub/a.zip")), "x"));
    CheckSection outer(CheckSection::ROLE_DISKS, mRoot->path());
    CheckSection inner(CheckSection::ROLE_PROGRAMS, Path(QStringLiteral("sub")));
    QSet<QString> remarked;
    outer.LookAtRest(CheckTree::Walk(outer.CanonicalDirectory()), &inner, &remarked);
    inner.LookAtRest(CheckTree::Walk(inner.CanonicalDirectory()), &outer, &remarked);
    QCOMPARE(Codes(outer), QStringList{QStringLiteral("compressed sub/a.zip")});
    QCOMPARE(Codes(inner), QStringList());
}

void tst_CheckSection::remarksAreSortedByFile()
{
    for (const char *file : {"c.zip", "a.zip", "sub/b.zip", "b.zip", "d.x.prg", ".e.prg"})
        QVERIFY(WriteFile(Path(QLatin1String(file)), "x"));
    const CheckSection section = LookedThrough(CheckSection::ROLE_PROGRAMS);
    QStringList files;
    for (const CheckSection::REMARK &remark : section.Remarks())
        files.append(remark.files);
    QStringList sorted = files;
    sorted.sort();
    QCOMPARE(files.size(), 6);
    QCOMPARE(files, sorted);
}

QTEST_GUILESS_MAIN(tst_CheckSection)
#include "tst_CheckSection.moc"
