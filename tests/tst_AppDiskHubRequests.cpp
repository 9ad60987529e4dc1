// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#include "AppDiskHub.h"
#include "BracketTranslator.h"
#include "Digests.h"
#include "HostFiles.h"
#include "HubFixture.h"

#include <QCheckBox>

namespace
{

AppDiskHub::USER *AddUser(const HubFixture &hub, const char *name, const char *md5)
{
    AppDiskHub::USER *user = hub->User(hub->AddUser(QLatin1String(name)));
    user->md5 = QLatin1String(md5);
    return user;
}

QStringList EntriesOf(const QTemporaryDir &dir)
{
    return QDir(dir.path()).entryList(QDir::AllEntries | QDir::NoDotAndDotDot, QDir::Name);
}

/// An upload of the program "hello" by that user.
QByteArray LoginUpload(const QByteArray &usr, const QByteArray &pwd)
{
    WirePackage package;
    package.objects.append(ProgramObject("hello", "\x01\x08hello"));
    return MultipartRequest({{"usr", usr}, {"pwd", pwd}, {"udid", "42"}, {"cmd", "3"}},
                            package.Bytes());
}

/// A request of that user; `command` is the property `cmd`.
QByteArray LoginRequest(const QByteArray &usr, const QByteArray &pwd, const QByteArray &command)
{
    return FormRequest({{"usr", usr}, {"pwd", pwd}, {"udid", "42"}, {"cmd", command}});
}

/// Sends a request to a hub with restrictions. Its users are alice, the read-only bob, and another
/// alice, who is never found.
void CompareRefusal(const QByteArray &request, int result, const QString &line)
{
    const HubFixture hub;
    AddUser(hub, "alice", MD5_OF_A);
    AddUser(hub, "bob", MD5_OF_ABC)->ro = true;
    AddUser(hub, "alice", "second");
    hub->mValidate = true;
    hub.ClearLog();
    const HubReply reply = hub.Send(request);
    QCOMPARE(reply.Head(), HeadFor(496));
    QCOMPARE(reply.Body(), EmptyPackage(result));
    QCOMPARE(hub.Log(), QStringList{line});
}

} // namespace

/// Which request runs which command, and whom the restrictions keep out.
class tst_AppDiskHubRequests : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void dispatchesByCommand_data();
    void dispatchesByCommand();
    void unknownCommandGetsAnEmptyReply_data();
    void unknownCommandGetsAnEmptyReply();
    void udidIsLoggedAsItIs_data();
    void udidIsLoggedAsItIs();
    void incompleteRequestIsNeitherLoggedNorAnswered();
    void socketIsDisposedOf();
    void loginIsIgnoredWithoutRestrictions();
    void unknownUsersAreRefused_data();
    void unknownUsersAreRefused();
    void otherDigestsAreRefused_data();
    void otherDigestsAreRefused();
    void uploadsOfReadOnlyUsersAreRefused_data();
    void uploadsOfReadOnlyUsersAreRefused();
    void restrictionsAdmit_data();
    void restrictionsAdmit();
    void readOnlyUserStoresNothing();
    void restrictionsApplyFromTheNextRequest();
    void usersApplyFromTheNextRequest();
    void admittedUserHasOwnDirectories();
    void requestTextsAreTranslatable();

private:
    const HubSettings mSettings;
};

void tst_AppDiskHubRequests::init()
{
    QVERIFY(mSettings.Write(HubSettings::Loopback()));
}

void tst_AppDiskHubRequests::dispatchesByCommand_data()
{
    QTest::addColumn<QByteArray>("request");
    QTest::addColumn<QStringList>("log");
    QTest::addColumn<QByteArray>("program");

    QTest::newRow("search") << FormRequest({{"cmd", "1"}, {"udid", "42"}, {"pat", "hello"}})
                            << QStringList{QStringLiteral("SEARCH request from Skylet UUID: 42")}
                            << PetsciiName("listing");
    QTest::newRow("download-of-a-program")
        << FormRequest({{"cmd", "2"}, {"udid", "42"}, {"req", "0"}, {"pat", "hello"}})
        << QStringList{QStringLiteral("DOWNLOAD request from Skylet UUID: 42")}
        << PetsciiName("hello");
    QTest::newRow("download-of-disks")
        << FormRequest({{"cmd", "2"}, {"udid", "42"}, {"req", "1"}, {"pat", "hello"}})
        << QStringList{QStringLiteral("DOWNLOAD request from Skylet UUID: 42")}
        << PetsciiName("manifest");
    QTest::newRow("upload") << LoginUpload("", "")
                            << QStringList{QStringLiteral("UPLOAD request from Skylet UUID: 42"),
                                           QStringLiteral("> Received program \"hello\""),
                                           QStringLiteral("> Written as \"%1/hello.prg\".")}
                            << QByteArray();
}

void tst_AppDiskHubRequests::dispatchesByCommand()
{
    QFETCH(QByteArray, request);
    QFETCH(QStringList, log);
    QFETCH(QByteArray, program);

    const QTemporaryDir programs;
    QVERIFY(WriteFile(programs.filePath(QStringLiteral("hello.prg")), "old"));
    const HubFixture hub;
    hub->mProgramPath = programs.path();
    hub.ClearLog();
    const WirePackage package = hub.Send(request).Package();
    QVERIFY(package.valid);
    QCOMPARE(package.result, 0);
    QCOMPARE(package.objects.isEmpty() ? QByteArray() : package.objects.first().name, program);
    log.replaceInStrings(QStringLiteral("%1"), programs.path());
    QCOMPARE(hub.Log(), log);
}

void tst_AppDiskHubRequests::unknownCommandGetsAnEmptyReply_data()
{
    QTest::addColumn<QByteArray>("request");

    const QList<QByteArray> commands{"0",  "4",   "-1",    "abc",      "1x",        "1.0",
                                     "11", "257", "65537", "16777217", "4294967297"};
    for (const QByteArray &command : commands)
        QTest::newRow("cmd-" + command) << FormRequest({{"udid", "42"}, {"cmd", command}});
    QTest::newRow("no-cmd") << FormRequest({{"udid", "42"}});
    QTest::newRow("no-property") << FormRequest({});
    QTest::newRow("capital-CMD") << FormRequest({{"CMD", "1"}});
}

void tst_AppDiskHubRequests::unknownCommandGetsAnEmptyReply()
{
    QFETCH(QByteArray, request);

    const HubFixture hub;
    hub.ClearLog();
    const HubReply reply = hub.Send(request);
    QCOMPARE(reply.Head(), HeadFor(496));
    QCOMPARE(reply.Body(), EmptyPackage());
    QCOMPARE(hub.Log(), QStringList());
}

void tst_AppDiskHubRequests::udidIsLoggedAsItIs_data()
{
    QTest::addColumn<QByteArray>("udid");

    QTest::newRow("digits") << QByteArray("0123456789");
    QTest::newRow("missing") << QByteArray();
    QTest::newRow("blanks-inside") << QByteArray("a  b");
    QTest::newRow("placeholder") << QByteArray("%1 %2 100%");
    QTest::newRow("markup") << QByteArray("<i>x</i>");
    QTest::newRow("beyond-ascii") << QByteArray("\xC3\xBC \xE2\x82\xAC");
}

void tst_AppDiskHubRequests::udidIsLoggedAsItIs()
{
    QFETCH(QByteArray, udid);

    const HubFixture hub;
    const char *const names[] = {"SEARCH", "DOWNLOAD", "UPLOAD"};
    for (int i = 0; i < 3; ++i) {
        hub.ClearLog();
        QVERIFY(hub.Send(FormRequest({{"cmd", QByteArray::number(i + 1)}, {"udid", udid}}))
                    .Package()
                    .valid);
        QCOMPARE(hub.Log(), QStringList{QLatin1String(names[i]) +
                                        QLatin1String(" request from Skylet UUID: ") +
                                        QString::fromUtf8(udid)});
    }
}

void tst_AppDiskHubRequests::incompleteRequestIsNeitherLoggedNorAnswered()
{
    const HubFixture hub;
    hub.ClearLog();
    QByteArray request = FormRequest({{"cmd", "1"}, {"udid", "1"}});
    request.chop(1);
    QTcpSocket device;
    device.connectToHost(QHostAddress(QHostAddress::LocalHost), hub.Port());
    QVERIFY(device.waitForConnected());
    device.write(request);
    QVERIFY(device.flush());
    device.disconnectFromHost();

    // Connections are served in their order: once the second is answered, the first is done with.
    QVERIFY(hub.Send(FormRequest({{"cmd", "1"}, {"udid", "2"}})).Package().valid);
    QCOMPARE(hub.Log(), QStringList{QStringLiteral("SEARCH request from Skylet UUID: 2")});
    QCOMPARE(device.readAll(), QByteArray());
}

void tst_AppDiskHubRequests::socketIsDisposedOf()
{
    const HubFixture hub;
    for (int i = 0; i < 5; ++i)
        QVERIFY(hub.Send(FormRequest({{"cmd", "1"}})).Package().valid);
    QTRY_VERIFY(hub->findChildren<QTcpSocket *>().isEmpty());
}

void tst_AppDiskHubRequests::loginIsIgnoredWithoutRestrictions()
{
    const QTemporaryDir globalPrograms;
    const QTemporaryDir ownPrograms;
    QVERIFY(WriteFile(globalPrograms.filePath(QStringLiteral("game.prg")), "global"));
    QVERIFY(WriteFile(ownPrograms.filePath(QStringLiteral("game.prg")), "own"));
    const HubFixture hub;
    hub->mProgramPath = globalPrograms.path();
    AppDiskHub::USER *alice = AddUser(hub, "alice", MD5_OF_A);
    alice->ro = true;
    alice->own_dir = true;
    alice->program_dir = ownPrograms.path();
    hub->mValidate = false;

    const HubField download[] = {{"cmd", "2"}, {"req", "0"}, {"pat", "game"}};
    const QList<QList<HubField>> logins{{},
                                        {{"usr", "alice"}, {"pwd", MD5_OF_A}},
                                        {{"usr", "alice"}, {"pwd", "wrong"}},
                                        {{"usr", "nobody"}}};
    for (const QList<HubField> &login : logins) {
        const WirePackage package =
            hub.Send(FormRequest(login + QList<HubField>{download[0], download[1], download[2]}))
                .Package();
        QCOMPARE(package.result, 0);
        QCOMPARE(package.objects.size(), 1);
        QCOMPARE(package.objects.first().data, QByteArray("global"));
    }

    QCOMPARE(hub.Send(LoginUpload("alice", MD5_OF_A)).Package().result, 0);
    QCOMPARE(EntriesOf(globalPrograms),
             (QStringList{QStringLiteral("game.prg"), QStringLiteral("hello.prg")}));
    QCOMPARE(EntriesOf(ownPrograms), QStringList{QStringLiteral("game.prg")});
}

void tst_AppDiskHubRequests::unknownUsersAreRefused_data()
{
    QTest::addColumn<QByteArray>("request");
    QTest::addColumn<QString>("name"); // in the console

    QTest::newRow("unknown-user-searches") << LoginRequest("carol", MD5_OF_A, "1") << "carol";
    QTest::newRow("unknown-user-downloads") << LoginRequest("carol", MD5_OF_A, "2") << "carol";
    QTest::newRow("unknown-user-uploads") << LoginUpload("carol", MD5_OF_A) << "carol";
    QTest::newRow("unknown-user-commands-nothing")
        << LoginRequest("carol", MD5_OF_A, "0") << "carol";
    QTest::newRow("no-user") << FormRequest({{"pwd", MD5_OF_A}, {"cmd", "1"}}) << "";
    QTest::newRow("empty-user") << LoginRequest("", MD5_OF_A, "1") << "";
    QTest::newRow("other-letter-case") << LoginRequest("Alice", MD5_OF_A, "1") << "Alice";
    QTest::newRow("beginning-of-the-name") << LoginRequest("ali", MD5_OF_A, "1") << "ali";
    QTest::newRow("blank-behind-the-name")
        << MultipartRequest({{"usr", "alice "}, {"pwd", MD5_OF_A}, {"cmd", "1"}}, "") << "alice ";
    QTest::newRow("placeholder-as-the-name") << LoginRequest("%1", MD5_OF_A, "1") << "%1";
}

void tst_AppDiskHubRequests::unknownUsersAreRefused()
{
    QFETCH(QByteArray, request);
    QFETCH(QString, name);

    CompareRefusal(request, -89,
                   QLatin1String("Authentication Failure: unknown user '") + name +
                       QLatin1Char('\''));
}

void tst_AppDiskHubRequests::otherDigestsAreRefused_data()
{
    QTest::addColumn<QByteArray>("request");
    QTest::addColumn<QString>("name"); // in the console

    QTest::newRow("other-digest") << LoginRequest("alice", MD5_OF_ABC, "1") << "alice";
    QTest::newRow("no-digest") << FormRequest({{"usr", "alice"}, {"cmd", "1"}}) << "alice";
    QTest::newRow("digest-in-capitals")
        << LoginRequest("alice", QByteArray(MD5_OF_A).toUpper(), "1") << "alice";
    QTest::newRow("password-itself") << LoginRequest("alice", "a", "1") << "alice";
    QTest::newRow("digest-one-short")
        << LoginRequest("alice", QByteArray(MD5_OF_A).left(31), "1") << "alice";
    QTest::newRow("digest-one-over")
        << LoginRequest("alice", QByteArray(MD5_OF_A) + '1', "1") << "alice";
    QTest::newRow("blank-behind-the-digest")
        << MultipartRequest({{"usr", "alice"}, {"pwd", QByteArray(MD5_OF_A) + ' '}, {"cmd", "1"}},
                            "")
        << "alice";
    QTest::newRow("digest-of-the-second-of-that-name")
        << LoginRequest("alice", "second", "1") << "alice";
    QTest::newRow("read-only-user-uploads-with-other-digest")
        << LoginUpload("bob", MD5_OF_A) << "bob";
}

void tst_AppDiskHubRequests::otherDigestsAreRefused()
{
    QFETCH(QByteArray, request);
    QFETCH(QString, name);

    CompareRefusal(request, -89,
                   QLatin1String("Authentication Failure: password mismatch for user '") + name +
                       QLatin1Char('\''));
}

void tst_AppDiskHubRequests::uploadsOfReadOnlyUsersAreRefused_data()
{
    QTest::addColumn<QByteArray>("request");

    QTest::newRow("of-a-program") << LoginUpload("bob", MD5_OF_ABC);
    QTest::newRow("of-nothing") << LoginRequest("bob", MD5_OF_ABC, "3");
}

void tst_AppDiskHubRequests::uploadsOfReadOnlyUsersAreRefused()
{
    QFETCH(QByteArray, request);

    CompareRefusal(request, -85,
                   QStringLiteral("Authentication Failure: upload not accepted: user 'bob' has "
                                  "read-only access"));
}

void tst_AppDiskHubRequests::restrictionsAdmit_data()
{
    QTest::addColumn<QByteArray>("request");
    QTest::addColumn<QStringList>("log");

    const QStringList search{QStringLiteral("SEARCH request from Skylet UUID: 42")};
    const QStringList download{QStringLiteral("DOWNLOAD request from Skylet UUID: 42")};
    const QStringList upload{QStringLiteral("UPLOAD request from Skylet UUID: 42")};

    QTest::newRow("user-searches") << LoginRequest("alice", MD5_OF_A, "1") << search;
    QTest::newRow("user-downloads") << LoginRequest("alice", MD5_OF_A, "2") << download;
    QTest::newRow("user-uploads") << LoginRequest("alice", MD5_OF_A, "3") << upload;
    QTest::newRow("user-commands-nothing") << LoginRequest("alice", MD5_OF_A, "4") << QStringList();
    QTest::newRow("read-only-user-searches") << LoginRequest("bob", MD5_OF_ABC, "1") << search;
    QTest::newRow("read-only-user-downloads") << LoginRequest("bob", MD5_OF_ABC, "2") << download;
    QTest::newRow("read-only-user-commands-nothing")
        << LoginRequest("bob", MD5_OF_ABC, "0") << QStringList();
    // Nothing but 3 is an upload.
    for (const char *command : {"-1", "4", "255", "259", "65539"})
        QTest::addRow("read-only-user-commands-%s", command)
            << LoginRequest("bob", MD5_OF_ABC, command) << QStringList();
    QTest::newRow("digest-is-any-text") << LoginRequest("dave", "No Digest", "1") << search;
    QTest::newRow("empty-name-and-digest") << LoginRequest("", "", "1") << search;
}

void tst_AppDiskHubRequests::restrictionsAdmit()
{
    QFETCH(QByteArray, request);
    QFETCH(QStringList, log);

    const HubFixture hub;
    AddUser(hub, "alice", MD5_OF_A);
    AddUser(hub, "bob", MD5_OF_ABC)->ro = true;
    AddUser(hub, "dave", "No Digest");
    AddUser(hub, "", "");
    hub->mValidate = true;
    hub.ClearLog();
    const WirePackage package = hub.Send(request).Package();
    QVERIFY(package.valid);
    QCOMPARE(package.result, 0);
    QCOMPARE(hub.Log(), log);
}

void tst_AppDiskHubRequests::readOnlyUserStoresNothing()
{
    const QTemporaryDir programs;
    const HubFixture hub;
    hub->mProgramPath = programs.path();
    AppDiskHub::USER *bob = AddUser(hub, "bob", MD5_OF_ABC);
    bob->ro = true;
    hub->mValidate = true;
    QCOMPARE(hub.Send(LoginUpload("bob", MD5_OF_ABC)).Package().result, -85);
    QCOMPARE(EntriesOf(programs), QStringList());

    bob->ro = false;
    QCOMPARE(hub.Send(LoginUpload("bob", MD5_OF_ABC)).Package().result, 0);
    QCOMPARE(EntriesOf(programs), QStringList{QStringLiteral("hello.prg")});
}

void tst_AppDiskHubRequests::restrictionsApplyFromTheNextRequest()
{
    const HubFixture hub;
    const QByteArray request = FormRequest({{"cmd", "1"}});
    QCOMPARE(hub.Send(request).Package().result, 0);
    hub.Control<QCheckBox>("accessRestrictionsEnable")->setChecked(true);
    QCOMPARE(hub.Send(request).Package().result, -89);
    hub.Control<QCheckBox>("accessRestrictionsEnable")->setChecked(false);
    QCOMPARE(hub.Send(request).Package().result, 0);
}

void tst_AppDiskHubRequests::usersApplyFromTheNextRequest()
{
    const HubFixture hub;
    hub->mValidate = true;
    const QByteArray request = LoginRequest("alice", MD5_OF_A, "1");
    QCOMPARE(hub.Send(request).Package().result, -89);
    AppDiskHub::USER *alice = AddUser(hub, "alice", MD5_OF_A);
    QCOMPARE(hub.Send(request).Package().result, 0);
    alice->md5 = QLatin1String(MD5_OF_ABC);
    QCOMPARE(hub.Send(request).Package().result, -89);
    alice->md5 = QLatin1String(MD5_OF_A);
    QCOMPARE(hub.Send(request).Package().result, 0);
    hub->RemUser(0);
    QCOMPARE(hub.Send(request).Package().result, -89);
}

void tst_AppDiskHubRequests::admittedUserHasOwnDirectories()
{
    const QTemporaryDir globalPrograms;
    const QTemporaryDir ownPrograms;
    QVERIFY(WriteFile(globalPrograms.filePath(QStringLiteral("game.prg")), "global"));
    QVERIFY(WriteFile(ownPrograms.filePath(QStringLiteral("game.prg")), "own"));
    const HubFixture hub;
    hub->mProgramPath = globalPrograms.path();
    hub->mValidate = true;
    AddUser(hub, "bob", MD5_OF_ABC);
    AppDiskHub::USER *alice = AddUser(hub, "alice", MD5_OF_A);
    alice->own_dir = true;
    alice->program_dir = ownPrograms.path();

    const auto download = [&hub](const QByteArray &usr, const QByteArray &pwd) {
        const WirePackage package =
            hub.Send(FormRequest(
                         {{"usr", usr}, {"pwd", pwd}, {"cmd", "2"}, {"req", "0"}, {"pat", "game"}}))
                .Package();
        return package.objects.isEmpty() ? QByteArray() : package.objects.first().data;
    };
    QCOMPARE(download("alice", MD5_OF_A), QByteArray("own"));
    QCOMPARE(download("bob", MD5_OF_ABC), QByteArray("global"));
}

void tst_AppDiskHubRequests::requestTextsAreTranslatable()
{
    const HubFixture hub;
    AddUser(hub, "bob", MD5_OF_ABC)->ro = true;
    hub->mValidate = true;
    BracketTranslator translator;
    QVERIFY(hub->installTranslator(&translator));
    hub.ClearLog();

    hub.Send(LoginRequest("carol", "", "1"));
    hub.Send(LoginRequest("bob", "", "1"));
    hub.Send(LoginRequest("bob", MD5_OF_ABC, "3"));
    hub.Send(LoginRequest("bob", MD5_OF_ABC, "1"));
    hub.Send(LoginRequest("bob", MD5_OF_ABC, "2"));
    hub->mValidate = false;
    hub.Send(LoginRequest("bob", MD5_OF_ABC, "3"));
    QCOMPARE(
        hub.Log(),
        (QStringList{QStringLiteral("[Authentication Failure: unknown user 'carol']"),
                     QStringLiteral("[Authentication Failure: password mismatch for user 'bob']"),
                     QStringLiteral("[Authentication Failure: upload not accepted: user 'bob' has "
                                    "read-only access]"),
                     QStringLiteral("[SEARCH request from Skylet UUID: 42]"),
                     QStringLiteral("[DOWNLOAD request from Skylet UUID: 42]"),
                     QStringLiteral("[UPLOAD request from Skylet UUID: 42]")}));
}

int main(int argc, char **argv)
{
    // The hub is the application object, so there is none before a test makes it.
    tst_AppDiskHubRequests test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_AppDiskHubRequests.moc"
