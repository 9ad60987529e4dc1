// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#include "AppDosName.h"
#include "CheckName.h"

#include "HostFiles.h"
#include "HubSettings.h"
#include "Wire.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QRegularExpression>
#include <QTcpServer>
#include <QTest>

#include <memory>

// What disk-hub-check says of a tree is held to what a hub does on the same tree.

namespace
{

constexpr int TIMEOUT_MS = 60000;

constexpr qint64 D64_SIZE = 174848;
constexpr qint64 D71_SIZE = 349696;
constexpr qint64 D81_SIZE = 819200;
constexpr int EMPTY_LISTING_SIZE = 34;
constexpr int LISTING_ENTRY_SIZE = 30;

constexpr char MD5_OF_A[] = "0cc175b9c0f1b6a831c399e269772661";       // RFC 1321, A.5: "a"
constexpr char MD5_OF_NOTHING[] = "d41d8cd98f00b204e9800998ecf8427e"; // RFC 1321, A.5: ""

// Who sends a request: somebody with directories of her own, and somebody without.
const QList<HubField> ANN{{"usr", "ann"}, {"pwd", MD5_OF_A}};
const QList<HubField> BOB{{"usr", "bob"}, {"pwd", MD5_OF_NOTHING}};

/// What a program left behind.
struct RUN {
    int exitCode = -1; ///< -1 if it crashed or did not end
    QByteArray output;
    QByteArray errors;

    QJsonObject Json() const { return QJsonDocument::fromJson(output).object(); }
};

/// What a served file is said to be.
struct SERVED {
    QString screen;
    QString pattern; ///< null if nothing that one types gets it
    QString kind;
    QString path; ///< absolute
};

/// "%XX" for each byte, as a careful client sends it.
QByteArray PercentEncoded(const QByteArray &text)
{
    QByteArray encoded;
    for (const char c : text)
        encoded += '%' + QByteArray(1, c).toHex();
    return encoded;
}

QByteArray FormDownload(const QByteArray &req, const QByteArray &pattern)
{
    return FormRequest(QList<HubField>{{"cmd", "2"}, {"req", req}, {"pat", pattern}} + BOB);
}

QByteArray MultipartDownload(const QByteArray &req, const QByteArray &pattern)
{
    return MultipartRequest(
        QList<HubField>{{"cmd", "2"}, {"req", req}, {"pat", PercentEncoded(pattern)}} + BOB,
        QByteArray());
}

/// The value of `req` for a file of that kind.
QByteArray ReqOf(const SERVED &served)
{
    return served.kind == QLatin1String("PRG") ? "0" : "1";
}

/// A file like no other of that size.
bool WriteImage(const QString &path, qint64 size)
{
    static int count = 0;
    QFile file(path);
    return WriteSparseFile(path, size) && file.open(QIODevice::ReadWrite) &&
           file.write("image " + QByteArray::number(++count)) > 0;
}

bool WriteProgram(const QString &path)
{
    static int count = 0;
    return WriteFile(path, "\x01\x08program " + QByteArray::number(++count));
}

/// The directories of disks and programs, with all that can be said about such.
class MessyTree
{
public:
    bool Make() const
    {
        return MakeDisks() && MakeOddDisks() && MakeUnservedDisks() && MakePrograms() &&
               MakeUnservedPrograms();
    }

    QString Disks() const { return mRoot.filePath(QStringLiteral("disks")); }
    QString Programs() const { return mRoot.filePath(QStringLiteral("programs")); }
    QString Root() const { return mRoot.path(); }

    QByteArray Section() const
    {
        return "[media]\ndisk_path=" + Disks().toUtf8() + "\nprogram_path=" + Programs().toUtf8() +
               '\n';
    }

private:
    QString Disk(const char *file) const
    {
        return Disks() + QLatin1Char('/') + QString::fromUtf8(file);
    }
    QString Program(const char *file) const
    {
        return Programs() + QLatin1Char('/') + QString::fromUtf8(file);
    }

    bool MakeDisks() const
    {
        return WriteImage(Disk("games.d64"), D64_SIZE) &&
               WriteImage(Disk("Boulder_Dash.d64"), D64_SIZE) &&
               WriteImage(Disk("errors.d64"), 175531) &&
               WriteImage(Disk("sub/two.d71"), D71_SIZE) &&
               WriteImage(Disk("sub/deeper/three.d81"), D81_SIZE) &&
               WriteImage(Disk("four.d80"), 533248) && WriteImage(Disk("five.d82"), 1066496);
    }

    bool MakeOddDisks() const
    {
        return WriteImage(Disk("notes.txt"), D64_SIZE) && WriteImage(Disk("odd.d64"), D81_SIZE) &&
               WriteImage(Disk("a very long name of a disk.d64"), D64_SIZE) &&
               WriteImage(Disk("name with fifte en.d64"), D64_SIZE) &&
               WriteImage(Disk("my.own.d64"), D64_SIZE) &&
               WriteImage(Disk("twice.d64"), D64_SIZE) &&
               WriteImage(Disk("sub/twice.d71"), D71_SIZE) &&
               WriteImage(Disk("tom & jerry.d64"), D64_SIZE) &&
               WriteImage(Disk("e=mc2.d64"), D64_SIZE) && WriteImage(Disk(" lead.d64"), D64_SIZE) &&
               WriteImage(Disk("q\"uote.d64"), D64_SIZE) &&
               WriteImage(Disk("st*ar.d64"), D64_SIZE) && WriteImage(Disk("wha?t.d64"), D64_SIZE) &&
               WriteImage(Disk("über.d64"), D64_SIZE) && WriteImage(Disk("日本語.d64"), D64_SIZE) &&
               WriteImage(Disk("locked.d64"), D64_SIZE) &&
               QFile::setPermissions(Disk("locked.d64"), QFile::Permissions(0x2222));
    }

    bool MakeUnservedDisks() const
    {
        const QString elsewhere = mRoot.filePath(QStringLiteral("elsewhere"));
        return WriteImage(Disk("forty.d64"), 196608) && WriteImage(Disk("forty-e.d64"), 197376) &&
               WriteImage(Disk("err71.d71"), 351062) && WriteImage(Disk("err81.d81"), 822400) &&
               WriteImage(Disk("short.d64"), 174000) && WriteImage(Disk("packed.d64.gz"), 5000) &&
               WriteFile(Disk("inside.d64"), QByteArray::fromHex("1F8B0800")) &&
               WriteImage(Disk("format.g64"), 269862) && WriteImage(Disk("upload.dxx"), 1000) &&
               WriteImage(Disk(".hidden.d64"), D64_SIZE) &&
               WriteImage(Disk(".trash/thrown.d64"), D64_SIZE) && WriteProgram(Disk("wrong.prg")) &&
               MakeFifo(Disk("pipe.d64")) &&
               WriteImage(elsewhere + QStringLiteral("/far.d64"), D64_SIZE) &&
               MakeLink(elsewhere, Disk("linked")) && MakeLink(QStringLiteral("no"), Disk("usb")) &&
               MakeLink(elsewhere + QStringLiteral("/far.d64"), Disk("near.d64"));
    }

    bool MakePrograms() const
    {
        return WriteProgram(Program("hello.prg")) && WriteProgram(Program("GAME.PRG")) &&
               WriteProgram(Program("game.prg")) && WriteProgram(Program("sub/game.prg")) &&
               WriteProgram(Program("sub/two/game.Prg")) && WriteProgram(Program("x&y.prg")) &&
               WriteProgram(Program("x=y.prg")) && WriteProgram(Program("100%+1.prg")) &&
               WriteProgram(Program("tilde~.prg")) && WriteProgram(Program("secret.prg")) &&
               WriteProgram(Program("both.prg")) && WriteProgram(Program("sub/both.prg")) &&
               QFile::setPermissions(Program("secret.prg"), QFile::Permissions(0x2222)) &&
               QFile::setPermissions(Program("both.prg"), QFile::Permissions(0x2222));
    }

    bool MakeUnservedPrograms() const
    {
        return WriteFile(Program("nothing.prg"), "") &&
               QDir().mkpath(Program("directory.prg/empty")) && WriteProgram(Program("old.p00")) &&
               WriteProgram(Program(".hid.prg")) && WriteImage(Program("blocked.d64"), D64_SIZE);
    }

    const QTemporaryDir mRoot;
};

/// A hub with settings of its own, and disk-hub-check beside it. Both run as a user whom file
/// permissions stop, from copies that such a user can reach.
class Programs
{
public:
    Programs() = default;
    ~Programs()
    {
        mHub.kill();
        mHub.waitForFinished(TIMEOUT_MS);
    }
    Programs(const Programs &) = delete;
    Programs &operator=(const Programs &) = delete;

    /// `settings` are sections besides "[server]".
    bool Start(const QByteArray &settings)
    {
        return Copy(QStringLiteral(DISK_HUB_BINARY), QStringLiteral("disk-hub")) &&
               Copy(QStringLiteral(DISK_HUB_CHECK_BINARY), QStringLiteral("disk-hub-check")) &&
               WriteSettings(settings) && StartHub() &&
               QTest::qWaitFor([this] { return !IsRunning() || Accepts(); }, TIMEOUT_MS) &&
               IsRunning();
    }

    RUN Check(const QStringList &arguments) const
    {
        QProcess check;
        QProcessEnvironment environment = Environment();
        environment.remove(QStringLiteral("DISPLAY"));
        environment.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("none-there-is"));
        check.setProcessEnvironment(environment);
        {
            const OrdinaryUser user;
            check.start(mHome.filePath(QStringLiteral("disk-hub-check")), arguments,
                        QIODevice::ReadOnly);
        }
        if (!check.waitForFinished(TIMEOUT_MS) || check.exitStatus() != QProcess::NormalExit)
            return RUN();
        return {check.exitCode(), check.readAllStandardOutput(), check.readAllStandardError()};
    }

    WirePackage Ask(const QByteArray &request) const
    {
        QTcpSocket device;
        device.connectToHost(QHostAddress(QHostAddress::LocalHost), mPort);
        device.write(request);
        if (!device.waitForConnected(TIMEOUT_MS))
            return WirePackage();
        if (device.state() != QAbstractSocket::UnconnectedState)
            device.waitForDisconnected(TIMEOUT_MS);
        return HubReply{device.readAll()}.Package();
    }

    /// The listing that a SEARCH sends.
    QByteArray Search(const QByteArray &pattern, const QList<HubField> &user = BOB) const
    {
        const WirePackage package =
            Ask(FormRequest(QList<HubField>{{"cmd", "1"}, {"pat", pattern}} + user));
        return package.valid && package.objects.size() == 1 ? package.objects.first().data
                                                            : QByteArray();
    }

private:
    bool Copy(const QString &from, const QString &name) const
    {
        const QString to = mHome.filePath(name);
        return QFile::setPermissions(mHome.path(), QFile::Permissions(0x7755)) &&
               QFile::copy(from, to) && QFile::setPermissions(to, QFile::Permissions(0x7755));
    }

    bool WriteSettings(const QByteArray &settings)
    {
        QTcpServer server;
        if (!server.listen(QHostAddress(QHostAddress::LocalHost)))
            return false;
        mPort = server.serverPort();
        const QByteArray port = "port=" + QByteArray::number(mPort);
        return WriteFile(mHome.filePath(QStringLiteral("Tesseline LLC/Disk Hub.conf")),
                         HubSettings::Loopback().replace("port=0", port) + settings);
    }

    QProcessEnvironment Environment() const
    {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("offscreen"));
        environment.insert(QStringLiteral("XDG_CONFIG_HOME"), mHome.path());
        environment.insert(QStringLiteral("XDG_RUNTIME_DIR"), mHome.path());
        return environment;
    }

    bool StartHub()
    {
        mHub.setProcessEnvironment(Environment());
        mHub.setStandardErrorFile(QProcess::nullDevice());
        const OrdinaryUser user;
        mHub.start(mHome.filePath(QStringLiteral("disk-hub")), QStringList());
        return mHub.waitForStarted(TIMEOUT_MS);
    }

    bool IsRunning() const { return mHub.state() == QProcess::Running; }

    bool Accepts() const
    {
        QTcpSocket device;
        device.connectToHost(QHostAddress(QHostAddress::LocalHost), mPort);
        const bool accepted = device.waitForConnected(TIMEOUT_MS);
        device.abort();
        return accepted;
    }

    const QTemporaryDir mHome;
    quint16 mPort = 0;
    QProcess mHub;
};

QVector<SERVED> ServedOf(const QJsonObject &section)
{
    QVector<SERVED> served;
    const QString directory =
        section.value(QStringLiteral("directory")).toString() + QLatin1Char('/');
    const QJsonArray entries = section.value(QStringLiteral("served")).toArray();
    for (const QJsonValue &value : entries) {
        const QJsonObject entry = value.toObject();
        served.append({entry.value(QStringLiteral("screen")).toString(),
                       entry.value(QStringLiteral("pattern")).toString(),
                       entry.value(QStringLiteral("kind")).toString(),
                       directory + entry.value(QStringLiteral("file")).toString()});
    }
    return served;
}

/// The remarks of that code: their first files and their texts.
QMap<QString, QString> RemarksOf(const QJsonObject &section, const char *code)
{
    QMap<QString, QString> remarks;
    const QJsonArray array = section.value(QStringLiteral("remarks")).toArray();
    for (const QJsonValue &value : array) {
        const QJsonObject remark = value.toObject();
        if (remark.value(QStringLiteral("code")).toString() == QLatin1String(code))
            remarks.insert(remark.value(QStringLiteral("files")).toArray().at(0).toString(),
                           remark.value(QStringLiteral("text")).toString());
    }
    return remarks;
}

/// The names and types that a listing shows, in its order, as a Commodore does.
QStringList Shown(const QByteArray &listing)
{
    QStringList shown;
    for (qsizetype at = EMPTY_LISTING_SIZE - 2; at + LISTING_ENTRY_SIZE < listing.size();
         at += LISTING_ENTRY_SIZE) {
        // Offset 4 holds two blanks and the quoted name in 22 bytes, offset 26 the type.
        const QByteArray field = listing.mid(at + 4, 22);
        const QByteArray name = field.mid(3, field.lastIndexOf('"') - 3);
        const AppDosName petscii =
            AppDosName::FromBytes(name.leftJustified(AppDosName::SIZE, char(0xA0)).constData());
        shown.append(CheckName::Screen(petscii) + QLatin1Char(' ') +
                     QString::fromLatin1(listing.mid(at + 26, 3)));
    }
    return shown;
}

} // namespace

class tst_CheckEndToEnd : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void listingIsAsSaid();
    void everyFileIsSentIfThatIsTyped_data();
    void everyFileIsSentIfThatIsTyped();
    void filesThatTypingDoesNotGetAreNotSent();
    void untypableNamesAreNotFoundAsTheyAre_data();
    void untypableNamesAreNotFoundAsTheyAre();
    void lastOfTheProgramsOfOneNameIsSent();
    void allDisksOfOneNameAreSent();
    void filesNotServedAreNotFound_data();
    void filesNotServedAreNotFound();
    void everyFileThatIsNotServedIsRemarkedOn();
    void diskAmongProgramsBlocksAnUpload();
    void ownDirectoriesAreThoseOfTheUser();
    void nothingIsChanged();
    void exitCodes();
    void outputThatCannotBeWritten();
    void needsNoWidgets();

private:
    QJsonObject Shelf(int index) const
    {
        return mReport.value(QStringLiteral("shelves")).toArray().at(index).toObject();
    }

    QJsonObject Section(int shelf, const char *name) const
    {
        return Shelf(shelf).value(QLatin1String(name)).toObject();
    }

    /// Whether a DOWNLOAD with the request carries the bytes of the file.
    bool Sends(const QByteArray &request, const QString &path) const
    {
        const QByteArray data = ReadFile(path);
        const WirePackage package = mPrograms.Ask(request);
        for (const WireObject &object : package.objects) {
            if (object.data == data)
                return true;
        }
        return false;
    }

    MessyTree mTree;
    QTemporaryDir mOwn;
    Programs mPrograms;
    QJsonObject mReport;
    QVector<SERVED> mDisks;        ///< by the hub's own directories
    QVector<SERVED> mProgramFiles; ///< likewise
};

void tst_CheckEndToEnd::initTestCase()
{
    QVERIFY(mTree.Make());
    QVERIFY(WriteImage(mOwn.filePath(QStringLiteral("anns.d64")), D64_SIZE));
    QVERIFY(WriteProgram(mOwn.filePath(QStringLiteral("anns.prg"))));
    for (const QString &directory : {mTree.Root(), mOwn.path()})
        QVERIFY(QFile::setPermissions(directory, QFile::Permissions(0x7755)));
    const QByteArray own = mOwn.path().toUtf8();
    QVERIFY(mPrograms.Start(mTree.Section() + "[security]\nvalidate=true\n[access]\nnum_users=2\n" +
                            "user_0\\name=ann\nuser_0\\md5=" + MD5_OF_A +
                            "\nuser_0\\own_dir=true\nuser_0\\disk_dir=" + own +
                            "\nuser_0\\program_dir=" + own + "\nuser_1\\name=bob\n"));

    const RUN run = mPrograms.Check({QStringLiteral("--settings"), QStringLiteral("--json")});
    QCOMPARE(run.exitCode, 1);
    QCOMPARE(run.errors, QByteArray());
    mReport = run.Json();
    mDisks = ServedOf(Section(0, "disks"));
    mProgramFiles = ServedOf(Section(0, "programs"));
    QCOMPARE(mDisks.size(), 24);
    QCOMPARE(mProgramFiles.size(), 14);
}

void tst_CheckEndToEnd::listingIsAsSaid()
{
    const QByteArray listing = mPrograms.Search("*");
    QStringList expected;
    for (const SERVED &served : mDisks + mProgramFiles)
        expected.append(served.screen + QLatin1Char(' ') + served.kind);
    QCOMPARE(Shown(listing), expected);

    const QJsonObject said = Shelf(0).value(QStringLiteral("listing")).toObject();
    QCOMPARE(said.value(QStringLiteral("bytes")).toInt(), int(listing.size()));
    QCOMPARE(said.value(QStringLiteral("memory")).toInt(), int(listing.size()) - 2);
}

void tst_CheckEndToEnd::everyFileIsSentIfThatIsTyped_data()
{
    QTest::addColumn<bool>("multipart");

    QTest::newRow("url-encoded") << false;
    QTest::newRow("multipart") << true;
}

void tst_CheckEndToEnd::everyFileIsSentIfThatIsTyped()
{
    QFETCH(bool, multipart);
    int sent = 0;
    for (const SERVED &served : mDisks + mProgramFiles) {
        if (served.pattern.isNull())
            continue;
        const QByteArray pattern = served.pattern.toLatin1();
        QVERIFY2(Sends(multipart ? MultipartDownload(ReqOf(served), pattern)
                                 : FormDownload(ReqOf(served), pattern),
                       served.path),
                 qPrintable(served.path));
        ++sent;
    }
    QCOMPARE(sent, 23 + 7);
}

void tst_CheckEndToEnd::filesThatTypingDoesNotGetAreNotSent()
{
    QStringList files;
    for (const SERVED &served : mDisks + mProgramFiles) {
        if (!served.pattern.isNull())
            continue;
        files.append(QFileInfo(served.path).fileName());
        AppDosName name;
        name.FromString(QFileInfo(served.path).baseName(), true);
        const QByteArray pattern = CheckName::Pattern(name).toLatin1();
        QVERIFY2(!Sends(FormDownload(ReqOf(served), pattern), served.path),
                 qPrintable(served.path));
    }
    files.sort();
    // Two of three that share a name, one of two, and one of two that differ only in what one
    // cannot type; which of them is the file system's affair.
    QCOMPARE(files.filter(QRegularExpression(QStringLiteral("^game.[pP]rg$"))).size(), 2);
    QCOMPARE(files.filter(QRegularExpression(QStringLiteral("^both.prg$"))).size(), 1);
    QCOMPARE(files.filter(QRegularExpression(QStringLiteral("^x.y.prg$"))).size(), 1);
    QCOMPARE(files.filter(QRegularExpression(QStringLiteral("^[^gbx]"))),
             (QStringList{QStringLiteral("directory.prg"), QStringLiteral("locked.d64"),
                          QStringLiteral("nothing.prg"), QStringLiteral("secret.prg")}));
    QCOMPARE(files.size(), 8);
}

void tst_CheckEndToEnd::untypableNamesAreNotFoundAsTheyAre_data()
{
    QTest::addColumn<QByteArray>("name");
    QTest::addColumn<QByteArray>("pattern");
    QTest::addColumn<QString>("file");

    QTest::newRow("ampersand") << QByteArray("tom & jerry") << QByteArray("tom ? jerry")
                               << "tom & jerry.d64";
    QTest::newRow("equals-sign") << QByteArray("e=mc2") << QByteArray("e?mc2") << "e=mc2.d64";
    QTest::newRow("blank-in-front") << QByteArray(" lead") << QByteArray("?lead") << " lead.d64";
    QTest::newRow("blank-at-the-cut") << QByteArray("name with fifte ")
                                      << QByteArray("name with fifte?") << "name with fifte en.d64";
}

void tst_CheckEndToEnd::untypableNamesAreNotFoundAsTheyAre()
{
    QFETCH(QByteArray, name);
    QFETCH(QByteArray, pattern);
    QFETCH(QString, file);

    QCOMPARE(mPrograms.Search(name).size(), qsizetype(EMPTY_LISTING_SIZE));
    QCOMPARE(mPrograms.Search(pattern).size(), qsizetype(EMPTY_LISTING_SIZE + LISTING_ENTRY_SIZE));
    QVERIFY(RemarksOf(Section(0, "disks"), "name").contains(file));
}

void tst_CheckEndToEnd::lastOfTheProgramsOfOneNameIsSent()
{
    const QMap<QString, QString> remarks = RemarksOf(Section(0, "programs"), "same-name");
    QCOMPARE(remarks.size(), 2);
    for (const QString &remark : remarks) {
        const QByteArray name = remark.section(QLatin1Char('"'), 1, 1).toLower().toLatin1();
        const QString file = remark.section(QStringLiteral(", "), 1);
        QVERIFY(name == "game" || name == "both");
        QVERIFY2(Sends(FormDownload("0", name), mTree.Programs() + QLatin1Char('/') + file),
                 qPrintable(remark));
    }
}

void tst_CheckEndToEnd::allDisksOfOneNameAreSent()
{
    const QMap<QString, QString> remarks = RemarksOf(Section(0, "disks"), "same-name");
    QCOMPARE(remarks.size(), 1);
    QVERIFY(remarks.first().contains(QStringLiteral("2 files share the name \"TWICE\"")));
    QVERIFY(remarks.first().endsWith(QStringLiteral("all of them")));
    QCOMPARE(mPrograms.Ask(FormDownload("1", "twice")).objects.size(), 1 + 2);
}

void tst_CheckEndToEnd::filesNotServedAreNotFound_data()
{
    QTest::addColumn<QByteArray>("pattern");
    QTest::addColumn<QString>("section");
    QTest::addColumn<QString>("code");
    QTest::addColumn<QString>("file");

    const auto row = [](const char *pattern, const char *section, const char *code,
                        const char *file) {
        QTest::newRow(file) << QByteArray(pattern) << QString::fromLatin1(section)
                            << QString::fromLatin1(code) << QString::fromLatin1(file);
    };
    row("forty", "disks", "too-many-tracks", "forty.d64");
    row("forty-e", "disks", "too-many-tracks", "forty-e.d64");
    row("err71", "disks", "error-bytes", "err71.d71");
    row("err81", "disks", "error-bytes", "err81.d81");
    row("short", "disks", "wrong-size", "short.d64");
    row("upload", "disks", "wrong-size", "upload.dxx");
    row("packed", "disks", "compressed", "packed.d64.gz");
    row("inside", "disks", "compressed", "inside.d64");
    row("format", "disks", "other-format", "format.g64");
    row("wrong", "disks", "wrong-directory", "wrong.prg");
    row("pipe", "disks", "no-file", "pipe.d64");
    row("far", "disks", "link", "linked");
    row("usb", "disks", "link", "usb");
    row("thrown", "disks", "hidden", ".trash");
    row(".hidden", "disks", "hidden", ".hidden.d64");
    row(".hid", "programs", "hidden", ".hid.prg");
    row("old", "programs", "other-format", "old.p00");
    row("blocked", "programs", "wrong-directory", "blocked.d64");
}

void tst_CheckEndToEnd::filesNotServedAreNotFound()
{
    QFETCH(QByteArray, pattern);
    QFETCH(QString, section);
    QFETCH(QString, code);
    QFETCH(QString, file);

    QCOMPARE(mPrograms.Search(pattern).size(), qsizetype(EMPTY_LISTING_SIZE));
    QVERIFY(RemarksOf(Section(0, section.toLatin1()), code.toLatin1()).contains(file));
}

void tst_CheckEndToEnd::everyFileThatIsNotServedIsRemarkedOn()
{
    QSet<QString> known;
    for (const SERVED &served : mDisks + mProgramFiles)
        known.insert(served.path);
    for (const char *section : {"disks", "programs"}) {
        const QString directory =
            Section(0, section).value(QStringLiteral("directory")).toString() + QLatin1Char('/');
        const QJsonArray remarks = Section(0, section).value(QStringLiteral("remarks")).toArray();
        for (const QJsonValue &remark : remarks) {
            const QJsonArray files = remark.toObject().value(QStringLiteral("files")).toArray();
            for (const QJsonValue &file : files)
                known.insert(directory + file.toString());
        }
    }
    QStringList unknown;
    for (const QString &directory : {mTree.Disks(), mTree.Programs()}) {
        QDirIterator it(directory,
                        QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot,
                        QDirIterator::Subdirectories);
        while (it.hasNext()) {
            const QFileInfo info(it.next());
            if (!known.contains(info.filePath()) && (!info.isDir() || info.isSymLink()))
                unknown.append(info.fileName());
        }
    }
    // Said of its directory.
    QCOMPARE(unknown, QStringList{QStringLiteral("thrown.d64")});
}

void tst_CheckEndToEnd::diskAmongProgramsBlocksAnUpload()
{
    QVERIFY(RemarksOf(Section(0, "programs"), "wrong-directory")
                .value(QStringLiteral("blocked.d64"))
                .contains(QStringLiteral("no program of its name can be uploaded")));
    WireObject program;
    program.name = PetsciiName("blocked");
    program.data = "\x01\x08";
    WirePackage package;
    package.objects.append(program);
    const WirePackage reply =
        mPrograms.Ask(MultipartRequest(QList<HubField>{{"cmd", "3"}} + BOB, package.Bytes()));
    QVERIFY(reply.valid);
    QCOMPARE(reply.result, -88);
}

void tst_CheckEndToEnd::ownDirectoriesAreThoseOfTheUser()
{
    QCOMPARE(mReport.value(QStringLiteral("shelves")).toArray().size(), 2);
    QCOMPARE(Shelf(1).value(QStringLiteral("users")).toArray(), QJsonArray{QStringLiteral("ann")});
    QCOMPARE(Shelf(1).value(QStringLiteral("inUse")).toBool(), true);
    QStringList expected;
    for (const SERVED &served : ServedOf(Section(1, "disks")) + ServedOf(Section(1, "programs")))
        expected.append(served.screen + QLatin1Char(' ') + served.kind);
    QCOMPARE(expected, (QStringList{QStringLiteral("ANNS D64"), QStringLiteral("ANNS PRG")}));
    QCOMPARE(Shown(mPrograms.Search("*", ANN)), expected);
}

void tst_CheckEndToEnd::nothingIsChanged()
{
    const QStringList before = Snapshot(mTree.Root());
    QCOMPARE(mPrograms.Check({}).exitCode, 1);
    QCOMPARE(Snapshot(mTree.Root()), before);
}

void tst_CheckEndToEnd::exitCodes()
{
    const QString own = mOwn.path();
    const QString disks = QStringLiteral("--disks");
    const QString programs = QStringLiteral("--programs");
    const RUN clean = mPrograms.Check({disks, own, programs, own});
    QCOMPARE(clean.exitCode, 0);
    QVERIFY(clean.output.endsWith("\nNothing to remark.\n"));
    const RUN remarks = mPrograms.Check({disks, mTree.Disks()});
    QCOMPARE(remarks.exitCode, 1);
    QCOMPARE(remarks.errors, QByteArray());
    const RUN usage = mPrograms.Check({disks, own + QStringLiteral("/none")});
    QCOMPARE(usage.exitCode, 2);
    QCOMPARE(usage.output, QByteArray());
    QVERIFY(usage.errors.startsWith("disk-hub-check: "));
    QCOMPARE(mPrograms.Check({QStringLiteral("--help")}).exitCode, 0);
    const RUN version = mPrograms.Check({QStringLiteral("--version")});
    QCOMPARE(version.exitCode, 0);
    QCOMPARE(version.output, QByteArray("disk-hub-check " DISK_HUB_VERSION "\n"));
}

void tst_CheckEndToEnd::outputThatCannotBeWritten()
{
    if (!QFileInfo::exists(QStringLiteral("/dev/full")))
        QSKIP("there is no /dev/full");
    QProcess check;
    check.setStandardOutputFile(QStringLiteral("/dev/full"));
    check.start(QStringLiteral(DISK_HUB_CHECK_BINARY), {QStringLiteral("--programs"), mOwn.path()});
    QVERIFY(check.waitForFinished(TIMEOUT_MS));
    QCOMPARE(check.exitCode(), 2);
    QVERIFY(check.readAllStandardError().startsWith("disk-hub-check: cannot write the report: "));
}

void tst_CheckEndToEnd::needsNoWidgets()
{
#ifdef Q_OS_LINUX
    const QByteArray binary = ReadFile(QStringLiteral(DISK_HUB_CHECK_BINARY));
    const QByteArray library = "libQt" + QByteArray::number(QT_VERSION_MAJOR);
    QVERIFY(binary.contains(library + "Core.so"));
    QVERIFY(!binary.contains(library + "Gui.so"));
    QVERIFY(!binary.contains(library + "Widgets.so"));
#else
    QSKIP("only where the names of libraries are known");
#endif
}

QTEST_GUILESS_MAIN(tst_CheckEndToEnd)
#include "tst_CheckEndToEnd.moc"
