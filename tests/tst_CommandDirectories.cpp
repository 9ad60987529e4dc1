// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#include "CommandsFixture.h"
#include "Digests.h"

/// Which directories the three commands work on, and that they stay inside them.
class tst_CommandDirectories : public CommandsFixture
{
    Q_OBJECT

public:
    using CommandsFixture::CommandsFixture;

private slots:
    void searchOfMissingDirectoriesListsNothing_data();
    void searchOfMissingDirectoriesListsNothing();
    void uploadIntoNoDirectoryFails_data();
    void uploadIntoNoDirectoryFails();
    void uploadLogsThePathAsItIs();
    void uploadStaysInItsDirectory_data();
    void uploadStaysInItsDirectory();
    void searchStaysInItsDirectory_data();
    void searchStaysInItsDirectory();
    void everyByteOfAName_data();
    void everyByteOfAName();
    void userDecidesTheDirectories_data();
    void userDecidesTheDirectories();
    void userDecidesWhereUploadsGo_data();
    void userDecidesWhereUploadsGo();
    void newDirectoryCountsFromTheNextRequestOn();

private:
    bool MakeUsersAndDirectories() const;
    void AddUser(const char *name, bool hasOwn, const QString &directory) const;
};

void tst_CommandDirectories::searchOfMissingDirectoriesListsNothing_data()
{
    AddDirectoriesOfNothing();
}

void tst_CommandDirectories::searchOfMissingDirectoriesListsNothing()
{
    QFETCH(QString, directory);

    const QString full = MakeFullDirectory();
    QVERIFY(!full.isNull());
    const WorkingDirectory here(full);
    mHub->mDiskPath = directory;
    mHub->mProgramPath = full;
    QCOMPARE(OnlyProgram(mHub.Send(SearchRequest("*"))), SearchListing(ListingEntry("A", "PRG")));
    mHub->mDiskPath = full;
    mHub->mProgramPath = directory;
    QCOMPARE(OnlyProgram(mHub.Send(SearchRequest("*"))), SearchListing(ListingEntry("A", "D64")));
    mHub->mDiskPath = directory;
    const HubReply reply = mHub.Send(SearchRequest("*"));
    QCOMPARE(OnlyProgram(reply), SearchListing());
    QCOMPARE(reply.Package().result, 0);
    QCOMPARE(mHub.Log(), QStringList()
                             << Requested("SEARCH") << Requested("SEARCH") << Requested("SEARCH"));
}

void tst_CommandDirectories::uploadIntoNoDirectoryFails_data()
{
    AddDirectoriesOfNothing();
}

void tst_CommandDirectories::uploadIntoNoDirectoryFails()
{
    QFETCH(QString, directory);

    const QString full = MakeFullDirectory();
    QVERIFY(!full.isNull());
    const QStringList before = Snapshot(mDirectory->path());
    const WorkingDirectory here(full);
    mHub->mDiskPath = directory;
    mHub->mProgramPath = directory;
    const QByteArray body = mHub.Send(UploadRequest({Disk("A", Image(D64_SIZE)), Disk("B", "b"),
                                                     Program("A", "new", true)}))
                                .Body();
    QCOMPARE(body, EmptyPackage(WRITE_ERROR));
    QCOMPARE(body.mid(6, 1), QByteArray::fromHex("FF"));
    QCOMPARE(Snapshot(mDirectory->path()), before);
    QCOMPARE(mHub.Log(), (QStringList{QStringLiteral("UPLOAD request from Skylet UUID: 42"),
                                      QStringLiteral("> Received disk \"a\""),
                                      QStringLiteral("    ** Unknown error writing disk!"),
                                      QStringLiteral("> Received disk \"b\""),
                                      QStringLiteral("    ** Unknown error writing disk!"),
                                      QStringLiteral("> Received program \"a\""),
                                      QStringLiteral("    ** Unknown error writing program!")}));
}

void tst_CommandDirectories::uploadLogsThePathAsItIs()
{
    SKIP_ON_WINDOWS("Windows lets only administrators make links");
    const QString directory = Path("%1 %2 \"quoted\" \u00e9/");
    QVERIFY(QDir().mkpath(directory));
    mHub->mProgramPath = directory;
    QCOMPARE(mHub.Send(UploadRequest({Program("A", "x")})).Body(), EmptyPackage());
    QCOMPARE(UploadLog(), Received("program", QStringLiteral("a"))
                              << Written(directory + QStringLiteral("a.prg")));

    // A link is not resolved, and a relative path becomes absolute.
    QVERIFY(MakeLink(QStringLiteral("programs"), Path("link")));
    const WorkingDirectory here(mDirectory->path());
    mHub->mProgramPath = QStringLiteral("link");
    mHub.ClearLog();
    QCOMPARE(mHub.Send(UploadRequest({Program("A", "x")})).Body(), EmptyPackage());
    QCOMPARE(UploadLog(), Received("program", QStringLiteral("a")) << Written(Path("link/a.prg")));
    QCOMPARE(ReadFile(Path("programs/a.prg")), QByteArray("x"));
}

void tst_CommandDirectories::uploadStaysInItsDirectory_data()
{
    AddNamesThatLeadElsewhere();
}

void tst_CommandDirectories::uploadStaysInItsDirectory()
{
    QFETCH(QByteArray, name);

    for (const char *directory : {"disks", "programs"}) {
        QVERIFY(QDir().mkpath(Path(directory) + QStringLiteral("/sub")));
        QVERIFY(WriteFile(Path(directory) + QStringLiteral("/a.prg"), "a"));
    }
    QVERIFY(WriteFile(Path("x.prg"), "outside"));
    const QStringList before = Snapshot(mDirectory->path());
    const WorkingDirectory here(Path("disks"));
    for (const bool replace : {false, true}) {
        mHub.ClearLog();
        const HubReply reply =
            mHub.Send(UploadRequest({Disk(name, Image(D64_SIZE), replace), Disk(name, "x", replace),
                                     Program(name, "x", replace)}));
        QCOMPARE(reply.Body(), EmptyPackage(WRITE_ERROR));
        QCOMPARE(Snapshot(mDirectory->path()), before);
        const QStringList disk = Received("disk", HostText(name)) + DiskFailed();
        QCOMPARE(mHub.Log(), AsShown(QStringList{Requested("UPLOAD")} + disk + disk +
                                     Received("program", HostText(name)) + ProgramFailed()));
    }
}

void tst_CommandDirectories::searchStaysInItsDirectory_data()
{
    QTest::addColumn<QByteArray>("pattern"); // UTF-8

    QTest::newRow("parent") << QByteArray("../*");
    QTest::newRow("parent-alone") << QByteArray("..");
    QTest::newRow("here") << QByteArray(".");
    QTest::newRow("slash") << QByteArray("/");
    QTest::newRow("absolute") << QByteArray("/*");
    QTest::newRow("nul-and-star") << QByteArray("\0*", 2);
    QTest::newRow("control-and-star") << QByteArray("\x01*");
    QTest::newRow("high-and-star") << QByteArray("\xC3\xBF*");
    QTest::newRow("bracket-is-no-wildcard") << QByteArray("[a-z]*");
    QTest::newRow("backslash-and-star") << QByteArray("\\*");
}

void tst_CommandDirectories::searchStaysInItsDirectory()
{
    QFETCH(QByteArray, pattern);

    QVERIFY(WriteSparseFile(Path("outside.prg"), D64_SIZE));
    QVERIFY(WriteSparseFile(Path("disks/inside.prg"), D64_SIZE));
    QVERIFY(WriteSparseFile(Path("programs/inside.prg"), D64_SIZE));
    const QStringList before = Snapshot(mDirectory->path());
    QCOMPARE(OnlyProgram(mHub.Send(SearchRequest(pattern))), SearchListing());
    QCOMPARE(mHub.Send(DownloadRequest("0", pattern)).Body(), EmptyPackage());
    QCOMPARE(OnlyProgram(mHub.Send(DownloadRequest("1", pattern))), ManifestListing());
    QCOMPARE(Snapshot(mDirectory->path()), before);
}

void tst_CommandDirectories::everyByteOfAName_data()
{
    QTest::addColumn<QByteArray>("before");
    QTest::addColumn<QByteArray>("after");

    QTest::newRow("alone") << QByteArray() << QByteArray();
    QTest::newRow("first") << QByteArray() << QByteArray("X");
    QTest::newRow("inside") << QByteArray("SUB") << QByteArray("X");
    QTest::newRow("sixteen-times") << QByteArray("*16") << QByteArray();
}

void tst_CommandDirectories::everyByteOfAName()
{
    QFETCH(QByteArray, before);
    QFETCH(QByteArray, after);

    QVERIFY(QDir().mkdir(Path("programs/sub")));
    const QStringList untouched = Snapshot(mDirectory->path());
    const WorkingDirectory here(Path("programs"));
    for (int byte = 0; byte < 256; ++byte) {
        const QByteArray name =
            before == "*16" ? QByteArray(16, char(byte)) : before + char(byte) + after;
        const bool refused = !IsFileName(HostText(name) + QStringLiteral(".prg"));
        const QString path = Path("programs/") + HostText(name) + QStringLiteral(".prg");
        mHub.ClearLog();

        QCOMPARE(mHub.Send(UploadRequest({Program(name, "ab")})).Body(),
                 EmptyPackage(refused ? WRITE_ERROR : 0));
        QCOMPARE(mHub.Log(),
                 AsShown(QStringList{Requested("UPLOAD")} + Received("program", HostText(name)) +
                         (refused ? ProgramFailed() : QStringList{Written(path)})));
        if (!refused) {
            QCOMPARE(ReadFile(path), QByteArray("ab"));
            QVERIFY(QFile::remove(path));
        }
        QCOMPARE(Snapshot(mDirectory->path()), untouched);
    }
}

void tst_CommandDirectories::userDecidesTheDirectories_data()
{
    QTest::addColumn<QByteArray>("usr");
    QTest::addColumn<bool>("validate");
    QTest::addColumn<QByteArray>("directory"); // what the commands work on; null: none

    QTest::newRow("own-directories") << QByteArray("own") << true << QByteArray("own");
    QTest::newRow("hub's-for-a-user-without") << QByteArray("plain") << true << QByteArray("hub");
    QTest::newRow("hub's-without-restrictions") << QByteArray("own") << false << QByteArray("hub");
    QTest::newRow("hub's-without-restrictions-or-user")
        << QByteArray() << false << QByteArray("hub");
    QTest::newRow("none-for-a-user-who-never-chose") << QByteArray("empty") << true << QByteArray();
}

void tst_CommandDirectories::userDecidesTheDirectories()
{
    QFETCH(QByteArray, usr);
    QFETCH(bool, validate);
    QFETCH(QByteArray, directory);

    QVERIFY(MakeUsersAndDirectories());
    const WorkingDirectory here(Path("unused"));
    mHub->mValidate = validate;
    const auto request = [&usr](const char *cmd, const char *req) {
        return FormRequest(
            {{"cmd", cmd}, {"req", req}, {"pat", "*"}, {"usr", usr}, {"pwd", MD5_OF_NOTHING}});
    };

    const QByteArray title = directory.toUpper();
    const QByteArray entries =
        directory.isNull() ? QByteArray() : ListingEntry(title, "D64") + ListingEntry(title, "PRG");
    QCOMPARE(OnlyProgram(mHub.Send(request("1", "0"))), SearchListing(entries));
    QCOMPARE(OnlyProgram(mHub.Send(request("2", "0"))), directory);
    const QList<WireObject> disks = Disks(mHub.Send(request("2", "1")));
    QCOMPARE(disks.size(), directory.isNull() ? 0 : 1);
    if (!disks.isEmpty())
        QVERIFY(disks.first().data == Image(D64_SIZE, directory.at(0)));
}

void tst_CommandDirectories::userDecidesWhereUploadsGo_data()
{
    userDecidesTheDirectories_data();
}

void tst_CommandDirectories::userDecidesWhereUploadsGo()
{
    QFETCH(QByteArray, usr);
    QFETCH(bool, validate);
    QFETCH(QByteArray, directory);

    QVERIFY(MakeUsersAndDirectories());
    const WorkingDirectory here(Path("unused"));
    mHub->mValidate = validate;
    const auto upload = [&](const QList<WireObject> &objects) {
        WirePackage package;
        package.objects = objects;
        return mHub.Send(MultipartRequest({{"cmd", "3"}, {"usr", usr}, {"pwd", MD5_OF_NOTHING}},
                                          package.Bytes()));
    };

    QStringList files = Snapshot(mDirectory->path());
    const int result = directory.isNull() ? WRITE_ERROR : 0;
    QCOMPARE(upload({Disk("NEW", "ab"), Program("NEW", "ab")}).Body(), EmptyPackage(result));
    if (!directory.isNull()) {
        const QString line = QStringLiteral("%1/%2 2 da23614e02469a0d7c7bd1bdab5c9c474b1904dc")
                                 .arg(QString::fromLatin1(directory));
        files << line.arg(QStringLiteral("disks/new.dxx"))
              << line.arg(QStringLiteral("programs/new.prg"));
        files.sort();
    }
    QCOMPARE(Snapshot(mDirectory->path()), files);

    // What exists elsewhere does not count, what exists there does.
    const QByteArray image = Image(D64_SIZE);
    const int blocked = directory.isNull() ? WRITE_ERROR : DISK_EXISTS;
    QCOMPARE(upload({Disk("UNUSED", image), Disk("HUB", image), Disk("OWN", image)}).Body(),
             EmptyPackage(blocked));
    QCOMPARE(mHub.Log().filter(QStringLiteral("** Disk with that name")).size(),
             directory.isNull() ? 0 : 1);
}

/// Makes the directories "hub", "own" and "unused", each with a disk and a program that bear its
/// name, and a user for each of the ways in which one can have directories: "own" has them, "plain"
/// names some but does not use them, "empty" is to use those that were never chosen.
bool tst_CommandDirectories::MakeUsersAndDirectories() const
{
    for (const char *name : {"hub", "own", "unused"}) {
        const QString base = QLatin1String(name);
        if (!WriteFile(Path(base + QStringLiteral("/disks/%1.d64").arg(base)),
                       Image(D64_SIZE, *name)) ||
            !WriteFile(Path(base + QStringLiteral("/programs/%1.prg").arg(base)), name))
            return false;
    }
    mHub->mDiskPath = Path("hub/disks");
    mHub->mProgramPath = Path("hub/programs");
    AddUser("own", true, QStringLiteral("own"));
    AddUser("plain", false, QStringLiteral("unused"));
    AddUser("empty", true, QString());
    return true;
}

void tst_CommandDirectories::AddUser(const char *name, bool hasOwn, const QString &directory) const
{
    AppDiskHub::USER *const user = mHub->User(mHub->AddUser(QLatin1String(name)));
    user->md5 = QLatin1String(MD5_OF_NOTHING);
    user->own_dir = hasOwn;
    if (directory.isNull())
        return;
    user->disk_dir = Path(directory + QStringLiteral("/disks"));
    user->program_dir = Path(directory + QStringLiteral("/programs"));
}

void tst_CommandDirectories::newDirectoryCountsFromTheNextRequestOn()
{
    QVERIFY(WriteFile(Path("programs/a.prg"), "first"));
    QVERIFY(WriteFile(Path("second/a.prg"), "second"));
    QCOMPARE(OnlyProgram(mHub.Send(DownloadRequest("0", "a"))), QByteArray("first"));
    mHub->mProgramPath = Path("second");
    QCOMPARE(OnlyProgram(mHub.Send(DownloadRequest("0", "a"))), QByteArray("second"));
    mHub->mProgramPath = Path("disks");
    QCOMPARE(mHub.Send(DownloadRequest("0", "a")).Body(), EmptyPackage());
}

int main(int argc, char **argv)
{
    return RunWithHub<tst_CommandDirectories>(argc, argv);
}

#include "tst_CommandDirectories.moc"
