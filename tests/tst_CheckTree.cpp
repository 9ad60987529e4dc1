// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#include "CheckTree.h"

#include "HostFiles.h"

#include <QTemporaryDir>
#include <QTest>

#include <memory>

namespace
{

/// One line for each item, sorted: kind and path.
QStringList Lines(const QVector<CheckTree::ITEM> &items)
{
    QStringList lines;
    for (const CheckTree::ITEM &item : items)
        lines.append(QStringLiteral("%1 %2").arg(int(item.kind)).arg(item.path));
    lines.sort();
    return lines;
}

} // namespace

class tst_CheckTree : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void emptyDirectoryHasNoItems();
    void missingRootIsUnreadable();
    void fileAsRootIsUnreadable();
    void onlyExpectedFilesAreFound();
    void subdirectoriesAreSearched();
    void linksToFilesAreFiles();
    void linksToDirectoriesAreNotFollowed();
    void rootMayBeALink();
    void brokenLinksAreFoundWhateverTheirName();
    void linksToThemselvesAreBroken();
    void hiddenFilesAreTold();
    void hiddenDirectoriesAreToldOnce();
    void hiddenDirectoriesWithoutExpectedFilesAreNot();
    void hiddenLinksAreNotTold();
    void pipesAreSpecial();
    void linksToPipesAreSpecial();
    void unreadableDirectoriesAreTold();
    void unreadableHiddenDirectoriesAreNot();
    void undecodableNamesAreTold();
    void namesBeyondAsciiAreDecoded();

private:
    QString Path(const char *file) const { return mRoot->filePath(QString::fromUtf8(file)); }
    bool Touch(const char *file) const { return WriteFile(Path(file), "x"); }
    QStringList Walk() const { return Lines(CheckTree::Walk(mRoot->path())); }
    /// What somebody finds who may not read that directory.
    QStringList WalkWithout(const char *directory) const
    {
        const QString path = Path(directory);
        const QFile::Permissions before = QFile::permissions(path);
        QFile::setPermissions(mRoot->path(), QFile::Permissions(0x7755));
        QFile::setPermissions(path, QFile::Permissions());
        QStringList lines;
        {
            const OrdinaryUser user;
            lines = Walk();
        }
        QFile::setPermissions(path, before);
        return lines;
    }

    static QString Line(CheckTree::KIND kind, const char *path)
    {
        return Lines({{kind, QString::fromUtf8(path)}}).first();
    }

    std::unique_ptr<QTemporaryDir> mRoot;
};

void tst_CheckTree::init()
{
    mRoot = std::make_unique<QTemporaryDir>();
    QVERIFY(mRoot->isValid());
}

void tst_CheckTree::emptyDirectoryHasNoItems()
{
    QCOMPARE(Walk(), QStringList());
}

void tst_CheckTree::missingRootIsUnreadable()
{
    QCOMPARE(Lines(CheckTree::Walk(Path("none"))),
             QStringList{Line(CheckTree::KIND_UNREADABLE_DIRECTORY, "")});
}

void tst_CheckTree::fileAsRootIsUnreadable()
{
    QVERIFY(Touch("a.d64"));
    QCOMPARE(Lines(CheckTree::Walk(Path("a.d64"))),
             QStringList{Line(CheckTree::KIND_UNREADABLE_DIRECTORY, "")});
}

void tst_CheckTree::onlyExpectedFilesAreFound()
{
    QVERIFY(Touch("a.d64") && Touch("b.PRG") && Touch("c.zip") && Touch("d.txt") && Touch("e"));
    QCOMPARE(Walk(),
             (QStringList{Line(CheckTree::KIND_FILE, "a.d64"), Line(CheckTree::KIND_FILE, "b.PRG"),
                          Line(CheckTree::KIND_FILE, "c.zip")}));
}

void tst_CheckTree::subdirectoriesAreSearched()
{
    QVERIFY(Touch("sub/deeper/a.d64") && Touch("dir.prg/b.prg"));
    QCOMPARE(Walk(), (QStringList{Line(CheckTree::KIND_FILE, "dir.prg/b.prg"),
                                  Line(CheckTree::KIND_FILE, "sub/deeper/a.d64")}));
}

void tst_CheckTree::linksToFilesAreFiles()
{
    SKIP_ON_WINDOWS("Windows lets only administrators make links");
    QVERIFY(Touch("a.txt"));
    QVERIFY(MakeLink(QStringLiteral("a.txt"), Path("link.d64")));
    QCOMPARE(Walk(), QStringList{Line(CheckTree::KIND_FILE, "link.d64")});
}

void tst_CheckTree::linksToDirectoriesAreNotFollowed()
{
    SKIP_ON_WINDOWS("Windows lets only administrators make links");
    const QTemporaryDir elsewhere;
    QVERIFY(WriteFile(elsewhere.filePath(QStringLiteral("a.d64")), "x"));
    QVERIFY(MakeLink(elsewhere.path(), Path("more")));
    QVERIFY(MakeLink(QStringLiteral("."), Path("loop")));
    QCOMPARE(Walk(), (QStringList{Line(CheckTree::KIND_LINKED_DIRECTORY, "loop"),
                                  Line(CheckTree::KIND_LINKED_DIRECTORY, "more")}));
}

void tst_CheckTree::rootMayBeALink()
{
    SKIP_ON_WINDOWS("Windows lets only administrators make links");
    QVERIFY(Touch("root/a.d64"));
    QVERIFY(MakeLink(QStringLiteral("root"), Path("link")));
    QCOMPARE(Lines(CheckTree::Walk(Path("link"))),
             QStringList{Line(CheckTree::KIND_FILE, "a.d64")});
}

void tst_CheckTree::brokenLinksAreFoundWhateverTheirName()
{
    SKIP_ON_WINDOWS("Windows lets only administrators make links");
    QVERIFY(MakeLink(QStringLiteral("/nowhere/at/all"), Path("stick")));
    QVERIFY(MakeLink(QStringLiteral("none.d64"), Path("a.d64")));
    QCOMPARE(Walk(), (QStringList{Line(CheckTree::KIND_BROKEN_LINK, "a.d64"),
                                  Line(CheckTree::KIND_BROKEN_LINK, "stick")}));
}

void tst_CheckTree::linksToThemselvesAreBroken()
{
    SKIP_ON_WINDOWS("Windows lets only administrators make links");
    QVERIFY(MakeLink(QStringLiteral("me"), Path("me")));
    QCOMPARE(Walk(), QStringList{Line(CheckTree::KIND_BROKEN_LINK, "me")});
}

void tst_CheckTree::hiddenFilesAreTold()
{
    QVERIFY(Touch(".a.d64") && Touch(".profile"));
    QCOMPARE(Walk(), QStringList{Line(CheckTree::KIND_HIDDEN_FILE, ".a.d64")});
}

void tst_CheckTree::hiddenDirectoriesAreToldOnce()
{
    QVERIFY(Touch(".trash/a.d64") && Touch(".trash/b.d64") && Touch(".deep/down/c.prg"));
    QCOMPARE(Walk(), (QStringList{Line(CheckTree::KIND_HIDDEN_DIRECTORY, ".deep"),
                                  Line(CheckTree::KIND_HIDDEN_DIRECTORY, ".trash")}));
}

void tst_CheckTree::hiddenDirectoriesWithoutExpectedFilesAreNot()
{
    QVERIFY(Touch(".git/config") && QDir(mRoot->path()).mkdir(QStringLiteral(".empty")));
    QCOMPARE(Walk(), QStringList());
}

void tst_CheckTree::hiddenLinksAreNotTold()
{
    SKIP_ON_WINDOWS("Windows lets only administrators make links");
    QVERIFY(Touch("sub/a.d64"));
    QVERIFY(MakeLink(QStringLiteral("sub"), Path(".directory")));
    QVERIFY(MakeLink(QStringLiteral("nowhere"), Path(".broken")));
    QCOMPARE(Walk(), QStringList{Line(CheckTree::KIND_FILE, "sub/a.d64")});
}

void tst_CheckTree::pipesAreSpecial()
{
    SKIP_ON_WINDOWS("Windows has no fifos");
    QVERIFY(MakeFifo(Path("a.d64")) && MakeFifo(Path("pipe")));
    QCOMPARE(Walk(), QStringList{Line(CheckTree::KIND_SPECIAL, "a.d64")});
}

void tst_CheckTree::linksToPipesAreSpecial()
{
    SKIP_ON_WINDOWS("Windows has no fifos, and links for administrators only");
    QVERIFY(MakeFifo(Path("pipe")));
    QVERIFY(MakeLink(QStringLiteral("pipe"), Path("a.prg")));
    QCOMPARE(Walk(), QStringList{Line(CheckTree::KIND_SPECIAL, "a.prg")});
}

void tst_CheckTree::unreadableDirectoriesAreTold()
{
    SKIP_ON_WINDOWS("Windows has other permissions");
    QVERIFY(Touch("sub/a.d64") && Touch("b.d64"));
    QCOMPARE(WalkWithout("sub"), (QStringList{Line(CheckTree::KIND_FILE, "b.d64"),
                                              Line(CheckTree::KIND_UNREADABLE_DIRECTORY, "sub")}));
}

void tst_CheckTree::unreadableHiddenDirectoriesAreNot()
{
    SKIP_ON_WINDOWS("Windows has other permissions");
    QVERIFY(Touch(".sub/a.d64"));
    QCOMPARE(WalkWithout(".sub"), QStringList());
}

void tst_CheckTree::undecodableNamesAreTold()
{
    SKIP_ON_WINDOWS("names on Windows are Unicode");
    const QByteArray root = QFile::encodeName(mRoot->path());
    const QByteArray image = root + "/b\xE4"
                                    "d.d64";
    const QByteArray text = root + "/b\xE4"
                                   "d.txt";
    const QByteArray directory = root + "/d\xFFr";
    const QByteArray inside = directory + "/a.d64";
    QVERIFY(MakeDirectory(directory));
    for (const QByteArray &file : {image, text, inside})
        QCOMPARE(::close(::creat(file.constData(), 0644)), 0);
    const QStringList lines = Walk();
    // The temporary directory cannot remove what Qt does not see.
    for (const QByteArray &file : {image, text, inside})
        QCOMPARE(::unlink(file.constData()), 0);
    QCOMPARE(::rmdir(directory.constData()), 0);
    QCOMPARE(lines, (QStringList{Line(CheckTree::KIND_UNDECODABLE, "b\\xe4d.d64"),
                                 Line(CheckTree::KIND_UNDECODABLE, "d\\xffr")}));
}

void tst_CheckTree::namesBeyondAsciiAreDecoded()
{
    QVERIFY(Touch("ä/日本.d64"));
    QCOMPARE(Walk(), QStringList{Line(CheckTree::KIND_FILE, "ä/日本.d64")});
}

QTEST_GUILESS_MAIN(tst_CheckTree)
#include "tst_CheckTree.moc"
