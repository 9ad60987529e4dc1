// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#include "AppCbmUtil.h"
#include "AppDeviceTransaction.h"
#include "AppDosName.h"
#include "AppMediaMgr.h"
#include "AppPackage.h"
#include "AppPendingReplies.h"
#include "AppSettings.h"
#include "HostFiles.h"
#include "HubFixture.h"
#include "ProtocolDocument.h"
#include "SegmentSocket.h"

#include <QDir>
#include <QFileInfo>
#include <QMap>
#include <QRegularExpression>
#include <QStringList>
#include <QTemporaryDir>
#include <QTest>
#include <QtEndian>

#include <memory>

// docs/protocol.md promises that its examples and tables are checked. Here they are; what its rules
// say is in tst_ProtocolRules.cpp.

namespace
{

/// The reply header of the document, with the length of `body`, and the body.
QByteArray ReplyWith(const QByteArray &body)
{
    return Example("reply-header").replace("496", QByteArray::number(body.size())) + body;
}

/// A request taken from a connection in memory.
struct RECEIVED {
    explicit RECEIVED(const QList<QByteArray> &segments)
        : socket(new SegmentSocket(segments)), transaction(new AppDeviceTransaction(socket.get()))
    {
    }

    std::unique_ptr<SegmentSocket> socket; // outlives the transaction
    std::unique_ptr<AppDeviceTransaction> transaction;
};

QString HostText(const AppDosName &name)
{
    QString text;
    name.ToString(&text, true);
    return text;
}

AppDosName NameOf(const QString &text)
{
    AppDosName name;
    name.FromString(text, true);
    return name;
}

QMap<QString, QString> PropertiesOf(const AppDeviceTransaction &transaction)
{
    return {{QStringLiteral("usr"), transaction.mUsr},
            {QStringLiteral("pwd"), transaction.mPwd},
            {QStringLiteral("dev"), QString::number(transaction.mDev)},
            {QStringLiteral("udid"), transaction.mUdid},
            {QStringLiteral("pat"), HostText(transaction.mPat)},
            {QStringLiteral("cmd"), QString::number(transaction.mCmd)},
            {QStringLiteral("req"), QString::number(transaction.mReq)},
            {QStringLiteral("mem"), QString::number(transaction.mMem)}};
}

QMap<QString, QString> PropertiesOf(const QByteArray &contentType, const QByteArray &body)
{
    return PropertiesOf(*RECEIVED({HttpPost(contentType, body)}).transaction);
}

QMap<QString, QString> PropertiesOfForm(const QByteArray &body)
{
    return PropertiesOf("application/x-www-form-urlencoded", body);
}

constexpr int D64_SIZE = 174848;

/// The image of the document's DOWNLOAD.
QByteArray ExampleImage()
{
    return QByteArray::fromHex("11") + QByteArray(D64_SIZE - 2, '\0') + QByteArray::fromHex("EE");
}

} // namespace

class tst_Protocol : public QObject
{
    Q_OBJECT

public:
    explicit tst_Protocol(HubFixture *hub) : mHub(*hub) {}

private slots:
    void init();

    void everyMarkOfTheDocumentIsChecked();
    void layoutsHaveNoGaps();
    void magicsAreThoseOfTheExamples();

    void requestsAreWellFormed();
    void searchRequestIsUnderstoodHoweverItIsCut();
    void uploadRequestIsUnderstoodHoweverItIsCut();
    void headerLinesCountAsListed_data();
    void headerLinesCountAsListed();
    void contentTypesAreReadAsListed_data();
    void contentTypesAreReadAsListed();
    void limitsAreThoseListed();
    void propertiesAreThoseListed();
    void valuesBecomeWhatIsListed_data();
    void valuesBecomeWhatIsListed();
    void lettersAreTranslatedAsListed();
    void charactersBeyondAsciiBecomeWhatIsDescribed();
    void patternsFitAsListed_data();
    void patternsFitAsListed();

    void replyHasTheHeaderShown();
    void resultCodesAreThoseListed();
    void imagesAreThoseListed_data();
    void imagesAreThoseListed();
    void noImagesButThoseListed();
    void packagesAreExportedAsShown_data();
    void packagesAreExportedAsShown();
    void packageWithADiskIsImportedAsDescribed();
    void listingIsBuiltAsShown();
    void listingLooksAsShown();

    void hubNamesTheCommandsAsListed();
    void hubAnswersTheSearchAsShown();
    void hubRefusesTheSearchAsShown();
    void hubAnswersTheDownloadAsShown();
    void hubStoresTheUploadAsShown();

private:
    /// The hub on two new directories, without restrictions.
    HubFixture &mHub;
    std::unique_ptr<QTemporaryDir> mShelf;
};

void tst_Protocol::init()
{
    mShelf = std::make_unique<QTemporaryDir>();
    QVERIFY(mShelf->isValid());
    QDir(mShelf->path()).mkdir(QStringLiteral("disks"));
    QDir(mShelf->path()).mkdir(QStringLiteral("programs"));
    mHub->mDiskPath = mShelf->filePath(QStringLiteral("disks"));
    mHub->mProgramPath = mShelf->filePath(QStringLiteral("programs"));
    mHub->mValidate = false;
    mHub->RemAllUsers();
}

void tst_Protocol::everyMarkOfTheDocumentIsChecked()
{
    QStringList marks;
    const QList<MARKED> all = ReadDocument();
    for (const MARKED &marked : all) {
        const int headLines = marked.kind == QLatin1String("table") ? 2 : 0;
        QVERIFY2(marked.lines.size() > headLines, qPrintable(marked.name));
        marks.append(marked.kind + QLatin1Char(' ') + marked.name);
    }
    const QStringList checked{QStringLiteral("example search-request"),
                              QStringLiteral("table header-lines"),
                              QStringLiteral("table content-types"),
                              QStringLiteral("table limits"),
                              QStringLiteral("table properties"),
                              QStringLiteral("example upload-head"),
                              QStringLiteral("example upload-package"),
                              QStringLiteral("example upload-tail"),
                              QStringLiteral("table values"),
                              QStringLiteral("table petscii"),
                              QStringLiteral("table patterns"),
                              QStringLiteral("example reply-header"),
                              QStringLiteral("layout 496"),
                              QStringLiteral("layout 24"),
                              QStringLiteral("layout 4096"),
                              QStringLiteral("table images"),
                              QStringLiteral("table results"),
                              QStringLiteral("example empty-package"),
                              QStringLiteral("example refused-package"),
                              QStringLiteral("example download-package"),
                              QStringLiteral("screen listing"),
                              QStringLiteral("example listing"),
                              QStringLiteral("example search-reply")};
    QCOMPARE(marks, checked);
}

void tst_Protocol::layoutsHaveNoGaps()
{
    for (const char *size : {"496", "24", "4096"}) {
        int offset = 0;
        const QList<ROW> rows = Rows(Marked("layout", size));
        for (const ROW &row : rows) {
            QCOMPARE(row.value(0).toInt(), offset);
            offset += row.value(1).toInt();
        }
        QCOMPARE(offset, QByteArray(size).toInt());
    }
}

void tst_Protocol::magicsAreThoseOfTheExamples()
{
    // The disk header of the example with a disk follows its manifest of 64 bytes.
    const QMap<QByteArray, int> offsets{{"496", 0}, {"4096", 496 + 64}};
    const QRegularExpression magic(QStringLiteral("magic: ([0-9A-F ]+) \\(0x([0-9A-F]{8})\\)"));
    for (auto it = offsets.begin(); it != offsets.end(); ++it) {
        const QByteArray bytes = Example("download-package").mid(it.value(), 4);
        const ROW row = Rows(Marked("layout", it.key().constData())).value(0);
        const QRegularExpressionMatch match = magic.match(row.value(2));
        QCOMPARE(match.captured(1).toLatin1(), bytes.toHex(' ').toUpper());
        QCOMPARE(match.captured(2).toUInt(nullptr, 16),
                 qFromLittleEndian<quint32>(bytes.constData()));
    }
}

void tst_Protocol::requestsAreWellFormed()
{
    const QRegularExpression header(
        QStringLiteral("^POST / HTTP/1\\.1\r\nHost: [0-9.]+\r\nContent-Type: [^\r\n]+\r\n"
                       "Content-Length: ([0-9]+)\r\n\r\n"));
    for (const QByteArray &request : {Example("search-request"), ExampleUpload()}) {
        const QRegularExpressionMatch match = header.match(QString::fromLatin1(request));
        QVERIFY(match.hasMatch());
        QCOMPARE(match.captured(1).toInt(), int(request.size()) - match.capturedLength());
    }
}

void tst_Protocol::searchRequestIsUnderstoodHoweverItIsCut()
{
    const QMap<QString, QString> expected{
        {QStringLiteral("usr"), QStringLiteral("anna")},
        {QStringLiteral("pwd"), QStringLiteral("5f4dcc3b5aa765d61d8327deb882cf99")},
        {QStringLiteral("dev"), QStringLiteral("8")},
        {QStringLiteral("udid"), QStringLiteral("00-1A-2B-3C")},
        {QStringLiteral("pat"), QStringLiteral("g*")},
        {QStringLiteral("cmd"), QStringLiteral("1")},
        {QStringLiteral("req"), QStringLiteral("0")},
        {QStringLiteral("mem"), QStringLiteral("38911")}};
    const QByteArray request = Example("search-request");
    QVERIFY(!request.isEmpty());
    for (int cut = 1; cut < request.size(); ++cut) {
        const RECEIVED received({request.left(cut), request.mid(cut)});
        QVERIFY2(received.transaction->mValid, qPrintable(QString::number(cut)));
        QCOMPARE(PropertiesOf(*received.transaction), expected);
    }
}

void tst_Protocol::uploadRequestIsUnderstoodHoweverItIsCut()
{
    const QByteArray request = ExampleUpload();
    QVERIFY(!request.isEmpty());
    for (int cut = 1; cut < request.size(); ++cut) {
        const RECEIVED received({request.left(cut), request.mid(cut)});
        const AppDeviceTransaction &transaction = *received.transaction;
        QVERIFY2(transaction.mValid, qPrintable(QString::number(cut)));
        QCOMPARE(transaction.mCmd, int(AppDeviceTransaction::COMMAND_UPLOAD));
        QCOMPARE(transaction.mUdid, QStringLiteral("00-1A-2B-3C"));
        QVERIFY(transaction.mPackage != nullptr);
        QCOMPARE(transaction.mPackage->NumDisks(), 0);
        const AppPackage::PROGRAM &program = transaction.mPackage->Program();
        QCOMPARE(HostText(program.name), QStringLiteral("hello"));
        QCOMPARE(program.data, QByteArray::fromHex("01080B080A009922484922000000"));
        QCOMPARE(program.replace, false);
    }
}

void tst_Protocol::headerLinesCountAsListed_data()
{
    AddRows("header-lines", {"line", "length", "boundary"});
}

void tst_Protocol::headerLinesCountAsListed()
{
    QFETCH(QString, line);
    QFETCH(QString, length);
    QFETCH(QString, boundary);

    const RECEIVED received({"POST / HTTP/1.1\r\n" + line.toLatin1() + "\r\n"});
    const int expected = length == QLatin1String("none") ? -1 : length.toInt();
    QCOMPARE(received.transaction->mContentRemaining, expected);
    QCOMPARE(received.transaction->mBoundary, boundary);
}

void tst_Protocol::contentTypesAreReadAsListed_data()
{
    AddRows("content-types", {"type", "readAs"});
}

void tst_Protocol::contentTypesAreReadAsListed()
{
    QFETCH(QString, type);
    QFETCH(QString, readAs);

    const auto isUnderstood = [&](const QByteArray &body) {
        return PropertiesOf(type.toLatin1(), body).value(QStringLiteral("cmd")) ==
               QLatin1String("1");
    };
    const QByteArray part = "--XyZ\r\nContent-Disposition: form-data; name=\"cmd\"\r\n\r\n1\r\n";
    QCOMPARE(isUnderstood("cmd=1"), readAs == QLatin1String("URL-encoded"));
    QCOMPARE(isUnderstood(part + "--XyZ--\r\n"), readAs == QLatin1String("multipart"));
}

void tst_Protocol::limitsAreThoseListed()
{
    // In the document's order.
    constexpr AppPendingReplies::LIMITS REPLIES = AppPendingReplies::DEFAULT_LIMITS;
    const auto seconds = [](int msecs) { return QStringLiteral("%1 seconds").arg(msecs / 1000.0); };
    const QStringList expected{
        QString::number(AppSettings::HUB().port),
        seconds(AppDeviceTransaction::READ_TIMEOUT_MS),
        seconds(AppDeviceTransaction::REQUEST_TIME_MS),
        QStringLiteral("%1 bytes a second").arg(AppDeviceTransaction::BYTES_PER_SECOND_MIN),
        seconds(REPLIES.idleMs),
        QString::number(REPLIES.count),
        QStringLiteral("%1 MiB").arg(REPLIES.bytes / 1024 / 1024),
        seconds(REPLIES.crowdMs)};
    QStringList listed;
    const QList<ROW> rows = Table("limits");
    for (const ROW &row : rows)
        listed.append(row.value(1));
    QCOMPARE(listed, expected);
}

void tst_Protocol::propertiesAreThoseListed()
{
    QMap<QString, QString> initial;
    const QList<ROW> rows = Table("properties");
    for (const ROW &row : rows) {
        const bool isEmpty = row.value(2) == QLatin1String("empty");
        initial.insert(row.value(0), isEmpty ? QString() : row.value(2));
    }
    QCOMPARE(PropertiesOfForm("unknown=7"), initial);

    for (const ROW &row : rows) {
        QMap<QString, QString> expected = initial;
        expected.insert(row.value(0), QStringLiteral("7"));
        QCOMPARE(PropertiesOfForm(row.value(0).toLatin1() + "=7"), expected);

        const bool isNumber = row.value(1) == QLatin1String("number");
        expected.insert(row.value(0), isNumber ? QStringLiteral("0") : QStringLiteral("x"));
        QCOMPARE(PropertiesOfForm(row.value(0).toLatin1() + "=x"), expected);
    }
}

void tst_Protocol::valuesBecomeWhatIsListed_data()
{
    AddRows("values", {"sent", "urlEncoded", "multipart"});
}

void tst_Protocol::valuesBecomeWhatIsListed()
{
    QFETCH(QString, sent);
    QFETCH(QString, urlEncoded);
    QFETCH(QString, multipart);

    const QString key = QStringLiteral("usr");
    const auto shown = [](QString text) {
        return text.replace(QLatin1Char(' '), QLatin1Char('_'));
    };
    QCOMPARE(shown(PropertiesOfForm("usr=" + sent.toUtf8()).value(key)), urlEncoded);

    const RECEIVED received({MultipartRequest({{"usr", sent.toUtf8()}}, QByteArray())});
    QCOMPARE(shown(received.transaction->mUsr), multipart);
}

void tst_Protocol::lettersAreTranslatedAsListed()
{
    QMap<int, int> petscii;
    const QList<ROW> rows = Table("petscii");
    for (const ROW &row : rows) {
        const QStringList from = row.value(0).split(QLatin1Char(' '));
        const QStringList to = row.value(1).split(QLatin1Char(' '));
        const int first = from.value(0).toInt(nullptr, 16);
        const int last = from.value(2).toInt(nullptr, 16);
        const int target = to.value(0).toInt(nullptr, 16);
        QCOMPARE(to.value(2).toInt(nullptr, 16) - target, last - first);
        for (int c = first; c <= last; ++c)
            petscii.insert(c, target + c - first);
    }
    QCOMPARE(petscii.size(), 52);

    for (int c = 0; c < 0x100; ++c) {
        const int there = AppCbmUtil::AsciiToPetscii(static_cast<unsigned char>(c));
        QCOMPARE(there, petscii.value(c, c));
        if (petscii.contains(c))
            QCOMPARE(int(AppCbmUtil::PetsciiToAscii(static_cast<unsigned char>(there))), c);
    }
    QCOMPARE(int(AppCbmUtil::PetsciiToAscii(AppDosName::PADDING)), 0x20);
}

void tst_Protocol::charactersBeyondAsciiBecomeWhatIsDescribed()
{
    const auto firstByte = [](ushort c) {
        return QByteArray(NameOf(QString(QChar(c))).Bytes(), 1).toHex();
    };
    QCOMPARE(firstByte(0xC4), QByteArray("c4"));
    QCOMPARE(firstByte('D'), QByteArray("c4"));
    QCOMPARE(NameOf(QStringLiteral("a\u00A0b")).Length(), 1u);
    QCOMPARE(firstByte(0x100), QByteArray("00"));
}

void tst_Protocol::patternsFitAsListed_data()
{
    AddRows("patterns", {"pattern", "name", "fits"});
}

void tst_Protocol::patternsFitAsListed()
{
    QFETCH(QString, pattern);
    QFETCH(QString, name);
    QFETCH(QString, fits);

    const bool matches = NameOf(name).MatchesPattern(NameOf(pattern));
    QCOMPARE(matches ? QStringLiteral("yes") : QStringLiteral("no"), fits);
}

void tst_Protocol::replyHasTheHeaderShown()
{
    const RECEIVED received({Example("search-request")});
    QVERIFY(received.transaction->mValid);
    received.transaction->Reply(AppPackage());
    QCOMPARE(received.socket->Writes().join(), Example("reply-header") + Example("empty-package"));
}

void tst_Protocol::resultCodesAreThoseListed()
{
    QList<int> codes;
    const QList<ROW> rows = Table("results");
    for (const ROW &row : rows) {
        AppPackage package;
        package.result = row.value(0).toInt();
        QByteArray bytes;
        package.Export(&bytes);
        QCOMPARE(QString::fromLatin1(bytes.mid(6, 1).toHex().toUpper()), row.value(1));
        codes.append(package.result);
    }
    const QList<int> known{AppPackage::RESULT_OK,          AppPackage::RESULT_WRITE_ERROR,
                           AppPackage::RESULT_BAD_VERSION, AppPackage::RESULT_READ_ONLY,
                           AppPackage::RESULT_DISK_EXISTS, AppPackage::RESULT_PROGRAM_EXISTS,
                           AppPackage::RESULT_AUTH_FAILURE};
    QCOMPARE(codes, known);
}

void tst_Protocol::imagesAreThoseListed_data()
{
    AddRows("images", {"image", "type", "size", "block"});
}

void tst_Protocol::imagesAreThoseListed()
{
    QFETCH(QString, image);
    QFETCH(QString, type);
    QFETCH(QString, size);
    QFETCH(QString, block);

    QCOMPARE(AppMediaMgr::Instance().IdentifyDiskBySize(size.toInt()), type.toInt());

    const QByteArray data(size.toInt(), 'x');
    AppPackage package;
    package.AddDisk(static_cast<AppPackage::DISKTYPE>(type.toInt()), AppDosName(), data);
    QVector<AppPackage::OBJECTINFO> packed;
    package.Pack(*package.Disk(0), &packed);
    QCOMPARE(int(packed.constFirst().block.size()), block.toInt());

    const QString path =
        AppMediaMgr::Instance().AddUpdateDisk(mHub->mDiskPath, NameOf(QStringLiteral("x")), data);
    QCOMPARE(QFileInfo(path).suffix(), image.left(3).toLower());
}

void tst_Protocol::noImagesButThoseListed()
{
    QList<int> listed;
    const QList<ROW> rows = Table("images");
    for (const ROW &row : rows)
        listed.append(row.value(2).toInt());
    constexpr int LARGER_THAN_ANY = 2000000;
    for (int size = 0; size < LARGER_THAN_ANY; ++size) {
        const bool known = AppMediaMgr::Instance().IdentifyDiskBySize(size) >= 0;
        if (known != listed.contains(size))
            QFAIL(qPrintable(QStringLiteral("%1 bytes").arg(size)));
    }
}

void tst_Protocol::packagesAreExportedAsShown_data()
{
    QTest::addColumn<QByteArray>("example");
    QTest::addColumn<int>("result");
    QTest::addColumn<QString>("name");
    QTest::addColumn<QByteArray>("program");
    QTest::addColumn<QByteArray>("image");

    const QByteArray none;
    QTest::newRow("empty") << QByteArray("empty-package") << 0 << QString() << none << none;
    QTest::newRow("refused") << QByteArray("refused-package") << -89 << QString() << none << none;
    QTest::newRow("with-a-program") << QByteArray("upload-package") << 0 << QStringLiteral("hello")
                                    << QByteArray::fromHex("01080B080A009922484922000000") << none;
    const QByteArray manifest =
        AppCbmUtil::ProgramBegin() + AppCbmUtil::ProgramDirectoryHeader("SENT DISK(S)") +
        AppCbmUtil::ProgramDirectoryEntry(0, "GAMES", "D64") + AppCbmUtil::ProgramEnd();
    QTest::newRow("with-a-disk") << QByteArray("download-package") << 0
                                 << QStringLiteral("manifest") << manifest << ExampleImage();
}

void tst_Protocol::packagesAreExportedAsShown()
{
    QFETCH(QByteArray, example);
    QFETCH(int, result);
    QFETCH(QString, name);
    QFETCH(QByteArray, program);
    QFETCH(QByteArray, image);

    AppPackage package;
    package.result = result;
    package.SetProgram(NameOf(name), program);
    if (!image.isEmpty())
        package.AddDisk(AppPackage::DISK_D64, NameOf(QStringLiteral("games")), image);
    QByteArray bytes;
    package.Export(&bytes);
    QVERIFY(!bytes.isEmpty());
    QVERIFY2(bytes == Example(example.constData()), example.constData());
}

void tst_Protocol::packageWithADiskIsImportedAsDescribed()
{
    AppPackage package;
    QCOMPARE(package.Import(Example("download-package")), 0);
    QCOMPARE(HostText(package.Program().name), QStringLiteral("manifest"));
    QCOMPARE(package.Program().data.size(), 64);
    QCOMPARE(package.NumDisks(), 1);
    QCOMPARE(HostText(package.Disk(0)->name), QStringLiteral("games"));
    QCOMPARE(package.Disk(0)->type, AppPackage::DISK_D64);
    QVERIFY(package.Disk(0)->data == ExampleImage());
}

void tst_Protocol::listingIsBuiltAsShown()
{
    const QByteArray listing =
        AppCbmUtil::ProgramBegin() + AppCbmUtil::ProgramDirectoryHeader("SEARCH RESULTS") +
        AppCbmUtil::ProgramDirectoryEntry(0, "GAMES", "D64") +
        AppCbmUtil::ProgramDirectoryEntry(0, "GHOST", "PRG") + AppCbmUtil::ProgramEnd();
    QCOMPARE(listing.toHex(' '), Example("listing").toHex(' '));
}

void tst_Protocol::listingLooksAsShown()
{
    // As LIST does it: the number, a blank, the line. Each line ends at its 00, the program at a
    // link of 00 00.
    const QByteArray listing = Example("listing");
    QStringList screen;
    int line = 2;
    while (line >= 2 && line + 4 < listing.size() && listing.mid(line, 2) != QByteArray(2, '\0')) {
        const int number = qFromLittleEndian<quint16>(listing.constData() + line + 2);
        const int end = int(listing.indexOf('\0', line + 4));
        const QByteArray text = listing.mid(line + 4, end - line - 4).replace('\x12', "");
        screen.append(QString::fromLatin1(QByteArray::number(number) + ' ' + text).trimmed());
        line = end + 1;
    }
    QCOMPARE(screen, Marked("screen", "listing").lines);
}

void tst_Protocol::hubNamesTheCommandsAsListed()
{
    QVERIFY(WriteFile(mHub->mProgramPath + QStringLiteral("/ghost.prg"), "any"));
    QMap<QString, QString> uses;
    const QList<ROW> rows = Table("properties");
    for (const ROW &row : rows)
        uses.insert(row.value(0), row.value(3));

    const QStringList names{QStringLiteral("SEARCH"), QStringLiteral("DOWNLOAD"),
                            QStringLiteral("UPLOAD")};
    for (const QString &name : names) {
        const QRegularExpression code(QLatin1String("([0-9]+) ") + name);
        const QString cmd = code.match(uses.value(QStringLiteral("cmd"))).captured(1);
        HubFixture::ClearLog();
        mHub.Send(FormRequest({{"cmd", cmd.toLatin1()}, {"udid", "x"}}));
        QCOMPARE(HubFixture::Log(),
                 QStringList(name + QLatin1String(" request from Skylet UUID: x")));
    }

    const QMap<QString, QByteArray> answers{{QStringLiteral("a program"), PetsciiName("ghost")},
                                            {QStringLiteral("disks"), PetsciiName("manifest")}};
    for (auto it = answers.begin(); it != answers.end(); ++it) {
        const QRegularExpression code(QLatin1String("([0-9]+) ") + it.key());
        const QString req = code.match(uses.value(QStringLiteral("req"))).captured(1);
        const HubReply reply =
            mHub.Send(FormRequest({{"cmd", "2"}, {"req", req.toLatin1()}, {"pat", "*"}}));
        QCOMPARE(reply.Package().objects.size(), 1);
        QCOMPARE(reply.Package().objects.constFirst().name, it.value());
    }
}

void tst_Protocol::hubAnswersTheSearchAsShown()
{
    QVERIFY(WriteFile(mHub->mDiskPath + QStringLiteral("/games.d64"), ExampleImage()));
    QVERIFY(WriteFile(mHub->mProgramPath + QStringLiteral("/ghost.prg"), "any"));

    const HubReply reply = mHub.Send(Example("search-request"));
    const QByteArray expected = ReplyWith(Example("search-reply") + Example("listing"));
    QCOMPARE(reply.raw.toHex(' '), expected.toHex(' '));
}

void tst_Protocol::hubRefusesTheSearchAsShown()
{
    mHub->mValidate = true;
    QCOMPARE(mHub.Send(Example("search-request")).raw, ReplyWith(Example("refused-package")));

    // "password" is the password of the document's user.
    AppDiskHub::USER *const user = mHub->User(mHub->AddUser(QStringLiteral("anna")));
    user->md5 = QStringLiteral("5f4dcc3b5aa765d61d8327deb882cf99");
    QCOMPARE(mHub.Send(Example("search-request")).Package().result, 0);
}

void tst_Protocol::hubAnswersTheDownloadAsShown()
{
    QVERIFY(WriteFile(mHub->mDiskPath + QStringLiteral("/games.d64"), ExampleImage()));

    const HubReply reply = mHub.Send(FormRequest({{"cmd", "2"}, {"req", "1"}, {"pat", "games"}}));
    QVERIFY(!reply.raw.isEmpty());
    QVERIFY(reply.raw == ReplyWith(Example("download-package")));
}

void tst_Protocol::hubStoresTheUploadAsShown()
{
    const HubReply reply = mHub.Send(ExampleUpload());
    QCOMPARE(reply.raw, Example("reply-header") + Example("empty-package"));
    QCOMPARE(ReadFile(mHub->mProgramPath + QStringLiteral("/hello.prg")),
             Example("upload-package").mid(0x1F0));
}

int main(int argc, char **argv)
{
    return RunWithHub<tst_Protocol>(argc, argv);
}

#include "tst_Protocol.moc"
