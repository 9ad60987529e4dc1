// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#include "CheckReport.h"

#include "HostFiles.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTemporaryDir>
#include <QTest>

#include <memory>

namespace
{

constexpr qint64 D64_SIZE = 174848;

QJsonObject Parse(const QByteArray &json)
{
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(json, &error);
    return error.error == QJsonParseError::NoError ? document.object() : QJsonObject();
}

// ESC, DEL, the C1 control CSI and next line, line separator, right-to-left override, an isolate.
constexpr char ODD_CHARACTERS[] = "\x1B\x7F\xC2\x9B\xC2\x85\xE2\x80\xA8\xE2\x80\xAE\xE2\x81\xA6";

/// What of the characters above stands in a report as it is.
QStringList Unprintable(const QByteArray &report)
{
    QStringList found;
    const QString text = QString::fromUtf8(report);
    for (const QChar c : QString::fromUtf8(ODD_CHARACTERS)) {
        if (text.contains(c))
            found.append(QString::number(c.unicode(), 16));
    }
    return found;
}

} // namespace

class tst_CheckReport : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void textOfACleanShelf();
    void textOfRemarks();
    void textNamesAFewFiles();
    void textOfOneDirectory();
    void textOfUsersDirectories();
    void textOfNoDirectory();
    void textOfAListingThatDoesNotFit();
    void columnsAreAsWideAsTheirWidestCell();
    void jsonOfACleanShelf();
    void jsonOfRemarks();
    void jsonOfUsersDirectories();
    void jsonOfWhatTypingDoesNotGet();
    void jsonNamesAllFiles();
    void everyFieldIsEscaped();
    void printable_data();
    void printable();

private:
    QString Path(const char *file) const { return mRoot->filePath(QString::fromUtf8(file)); }

    CheckShelf::PLACE Place() const
    {
        CheckShelf::PLACE place;
        place.diskDirectory = Path("disks");
        place.programDirectory = Path("programs");
        return place;
    }

    static std::vector<CheckShelf> Shelves(const QVector<CheckShelf::PLACE> &places)
    {
        std::vector<CheckShelf> shelves;
        for (const CheckShelf::PLACE &place : places)
            shelves.push_back(CheckShelf::Look(place));
        return shelves;
    }

    /// The text, with "ROOT" for this test's directory.
    QString Text(const QVector<CheckShelf::PLACE> &places) const
    {
        return CheckReport::Text(Shelves(places)).replace(mRoot->path(), QStringLiteral("ROOT"));
    }

    QJsonObject Json(const QVector<CheckShelf::PLACE> &places) const
    {
        return Parse(CheckReport::Json(Shelves(places)));
    }

    std::unique_ptr<QTemporaryDir> mRoot;
};

void tst_CheckReport::init()
{
    mRoot = std::make_unique<QTemporaryDir>();
    QVERIFY(QDir(mRoot->path()).mkdir(QStringLiteral("disks")));
    QVERIFY(QDir(mRoot->path()).mkdir(QStringLiteral("programs")));
}

void tst_CheckReport::textOfACleanShelf()
{
    QVERIFY(WriteSparseFile(Path("disks/Games.d64"), D64_SIZE));
    QVERIFY(WriteFile(Path("programs/sub/hello.prg"), "x"));
    QCOMPARE(Text({Place()}),
             QStringLiteral("Disks from ROOT/disks: 1\n"
                            "    On the Commodore  To type  Kind  File\n"
                            "    │AMES             {G}AMES  D64   Games.d64\n"
                            "\n"
                            "Programs from ROOT/programs: 1\n"
                            "    On the Commodore  To type  Kind  File\n"
                            "    HELLO             HELLO    PRG   sub/hello.prg\n"
                            "\n"
                            "Listing of everything: 92 bytes; fits a C64 (38911 free), fits a "
                            "VIC-20 without expansion (3583 free)\n"
                            "\n"
                            "Nothing to remark.\n"));
}

void tst_CheckReport::textOfRemarks()
{
    SKIP_ON_WINDOWS("Windows has no fifos");
    QVERIFY(WriteFile(Path("programs/nothing.prg"), ""));
    QVERIFY(MakeFifo(Path("programs/pipe.prg")));
    QCOMPARE(Text({Place()}),
             QStringLiteral("Disks from ROOT/disks: 0\n"
                            "\n"
                            "Programs from ROOT/programs: 1\n"
                            "    On the Commodore  To type  Kind  File\n"
                            "    NOTHING           -        PRG   nothing.prg\n"
                            "  * nothing.prg: empty; SEARCH lists it, DOWNLOAD sends nothing\n"
                            "    Get it anew.\n"
                            "  * pipe.prg: not served: a pipe, a socket or a device\n"
                            "\n"
                            "Listing of everything: 62 bytes; fits a C64 (38911 free), fits a "
                            "VIC-20 without expansion (3583 free)\n"
                            "\n"
                            "Remarks: 2\n"));
}

void tst_CheckReport::textNamesAFewFiles()
{
    for (int i = 0; i < CheckReport::FILES_MAX + 2; ++i)
        QVERIFY(WriteFile(Path("programs/") + QStringLiteral("%1/a.prg").arg(i), "x"));
    const QString text = Text({Place()});
    const QString line = text.section(QStringLiteral("  * "), 1).section(QLatin1Char('\n'), 0, 0);
    QCOMPARE(line.section(QStringLiteral(": 7 files"), 0, 0).count(QStringLiteral("/a.prg")),
             CheckReport::FILES_MAX);
    QVERIFY2(line.contains(QStringLiteral("/a.prg and 2 more: 7 files share")), qPrintable(line));
}

void tst_CheckReport::textOfOneDirectory()
{
    CheckShelf::PLACE place = Place();
    place.diskDirectory.reset();
    const QString text = Text({place});
    QVERIFY(!text.contains(QStringLiteral("Disks from")));
    QVERIFY(text.startsWith(QStringLiteral("Programs from ROOT/programs: 0\n")));
}

void tst_CheckReport::textOfUsersDirectories()
{
    CheckShelf::PLACE own = Place();
    own.users = QStringList{QStringLiteral("ann"), QStringLiteral("b\nb")};
    CheckShelf::PLACE unused = own;
    unused.inUse = false;
    const QString text = Text({Place(), own, unused});
    QVERIFY(text.startsWith(QStringLiteral("The hub's directories\n\nDisks from ")));
    QVERIFY(text.contains(QStringLiteral("\n\nOwn directories of ann, b\\x0ab\n\nDisks from ")));
    QVERIFY(text.contains(QStringLiteral("\n\nOwn directories of ann, b\\x0ab (unused: access is "
                                         "not restricted)\n\nDisks from ")));
    QVERIFY(!Text({Place()}).contains(QStringLiteral("The hub's directories")));
}

void tst_CheckReport::textOfNoDirectory()
{
    CheckShelf::PLACE place = Place();
    place.diskDirectory = QString();
    QVERIFY(Text({place}).startsWith(
        QStringLiteral("Disks from no directory: 0\n  * no directory was chosen; ")));
}

void tst_CheckReport::textOfAListingThatDoesNotFit()
{
    for (int i = 0; i < 1300; ++i)
        QVERIFY(WriteFile(Path("programs/") + QStringLiteral("%1.prg").arg(i), "x"));
    const QString text = Text({Place()});
    QVERIFY(text.contains(
        QStringLiteral("\nListing of everything: 39032 bytes; does not fit a C64 (38911 free), "
                       "does not fit a VIC-20 without expansion (3583 free)\n  * the listing of "
                       "everything does not fit ")));
    QVERIFY(text.endsWith(QStringLiteral("\nRemarks: 1\n")));
}

void tst_CheckReport::columnsAreAsWideAsTheirWidestCell()
{
    QVERIFY(WriteFile(Path("programs/AbCdEfGhIjKlMnOp.prg"), "x"));
    QVERIFY(WriteFile(Path("programs/a.prg"), "x"));
    QStringList lines = Text({Place()}).split(QLatin1Char('\n'));
    lines = lines.filter(QRegularExpression(QStringLiteral("^    ")));
    QCOMPARE(lines.size(), 3);
    for (const QString &line : qAsConst(lines)) {
        QCOMPARE(line.indexOf(line.startsWith(QStringLiteral("    On")) ? QStringLiteral("Kind")
                                                                        : QStringLiteral("PRG")),
                 4 + 16 + 2 + 32 + 2);
    }
}

void tst_CheckReport::jsonOfACleanShelf()
{
    QVERIFY(WriteSparseFile(Path("disks/Games_1.d64"), D64_SIZE));
    const QJsonObject report = Json({Place()});
    QCOMPARE(report.value(QStringLiteral("version")).toString(), QStringLiteral(DISK_HUB_VERSION));
    QCOMPARE(report.value(QStringLiteral("remarks")).toInt(-1), 0);
    QCOMPARE(report.value(QStringLiteral("shelves")).toArray().size(), 1);
    QCOMPARE(report.size(), 3);

    const QJsonObject shelf = report.value(QStringLiteral("shelves")).toArray().at(0).toObject();
    const QByteArray expected =
        "{\"users\": [], \"inUse\": true,"
        " \"disks\": {\"directory\": \"ROOT/disks\", \"remarks\": [], \"served\": ["
        "   {\"screen\": \"│AMES←1\", \"keys\": \"{G}AMES←1\", \"pattern\": \"Games_1\","
        "    \"kind\": \"D64\", \"file\": \"Games_1.d64\"}]},"
        " \"programs\": {\"directory\": \"ROOT/programs\", \"remarks\": [], \"served\": []},"
        " \"listing\": {\"bytes\": 64, \"memory\": 62, \"fitsC64\": true, \"fitsVic20\": true,"
        "  \"remarks\": []}}";
    QCOMPARE(shelf, Parse(QByteArray(expected).replace("ROOT", mRoot->path().toUtf8())));
}

void tst_CheckReport::jsonOfRemarks()
{
    QVERIFY(WriteFile(Path("disks/a.zip"), "x"));
    const QJsonObject report = Json({Place()});
    QCOMPARE(report.value(QStringLiteral("remarks")).toInt(), 1);
    const QJsonArray remarks = report.value(QStringLiteral("shelves"))
                                   .toArray()
                                   .at(0)
                                   .toObject()
                                   .value(QStringLiteral("disks"))
                                   .toObject()
                                   .value(QStringLiteral("remarks"))
                                   .toArray();
    QCOMPARE(remarks, QJsonArray{Parse("{\"code\": \"compressed\", \"files\": [\"a.zip\"],"
                                       " \"text\": \"not served: compressed (ZIP)\","
                                       " \"advice\": \"Unpack it: unzip OLD\"}")});
}

void tst_CheckReport::jsonOfUsersDirectories()
{
    CheckShelf::PLACE own = Place();
    own.users = QStringList{QStringLiteral("ann")};
    own.inUse = false;
    own.programDirectory.reset();
    const QJsonArray shelves = Json({Place(), own}).value(QStringLiteral("shelves")).toArray();
    QCOMPARE(shelves.size(), 2);
    const QJsonObject shelf = shelves.at(1).toObject();
    QCOMPARE(shelf.value(QStringLiteral("users")).toArray(), QJsonArray{QStringLiteral("ann")});
    QCOMPARE(shelf.value(QStringLiteral("inUse")).toBool(true), false);
    QVERIFY(shelf.value(QStringLiteral("programs")).isNull());
    QVERIFY(shelf.value(QStringLiteral("disks")).isObject());
}

void tst_CheckReport::jsonOfWhatTypingDoesNotGet()
{
    QVERIFY(WriteFile(Path("programs/nothing.prg"), ""));
    const QJsonObject entry = Json({Place()})
                                  .value(QStringLiteral("shelves"))
                                  .toArray()
                                  .at(0)
                                  .toObject()
                                  .value(QStringLiteral("programs"))
                                  .toObject()
                                  .value(QStringLiteral("served"))
                                  .toArray()
                                  .at(0)
                                  .toObject();
    QCOMPARE(entry.value(QStringLiteral("screen")).toString(), QStringLiteral("NOTHING"));
    QVERIFY(entry.value(QStringLiteral("keys")).isNull());
    QVERIFY(entry.value(QStringLiteral("pattern")).isNull());
}

void tst_CheckReport::jsonNamesAllFiles()
{
    for (int i = 0; i < CheckReport::FILES_MAX + 2; ++i)
        QVERIFY(WriteFile(Path("programs/") + QStringLiteral("%1/a.prg").arg(i), "x"));
    const QByteArray json = CheckReport::Json(Shelves({Place()}));
    // Where it is served, and in the remark.
    for (int i = 0; i < CheckReport::FILES_MAX + 2; ++i)
        QCOMPARE(json.count('"' + QByteArray::number(i) + "/a.prg\""), 2);
}

void tst_CheckReport::everyFieldIsEscaped()
{
    if (!IsFileName(QString::fromUtf8(ODD_CHARACTERS)))
        QSKIP(NO_FILE_NAME);
    // Directory, user, file with a remark that names it, and a file that is not served.
    const QString odd = QString::fromUtf8(ODD_CHARACTERS);
    const QString directory = QStringLiteral("programs") + odd;
    CheckShelf::PLACE place;
    place.users = QStringList{QStringLiteral("ann") + odd};
    place.programDirectory = mRoot->filePath(directory);
    for (const char *file : {"/a%1.prg", "/sub%1/a%1.prg", "/b%1.x.prg", "/c%1.zip", "/.d%1.prg"})
        QVERIFY(WriteFile(mRoot->filePath(directory + QString::fromLatin1(file).replace(
                                                          QLatin1String("%1"), odd)),
                          "x"));
    const std::vector<CheckShelf> shelves = Shelves({place, place});
    const QString text = CheckReport::Text(shelves);
    QCOMPARE(Unprintable(text.toUtf8()), QStringList());
    const QByteArray json = CheckReport::Json(shelves);
    QCOMPARE(Unprintable(json), QStringList());
    // A reader gets them back.
    const QJsonObject shelf =
        Parse(json).value(QStringLiteral("shelves")).toArray().at(0).toObject();
    QCOMPARE(shelf.value(QStringLiteral("users")).toArray().at(0).toString(), place.users.first());
    QCOMPARE(shelf.value(QStringLiteral("programs"))
                 .toObject()
                 .value(QStringLiteral("directory"))
                 .toString(),
             *place.programDirectory);
}

void tst_CheckReport::printable_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("printable");

    QTest::newRow("plain") << "a b~"
                           << "a b~";
    QTest::newRow("beyond-ascii") << "ä日😀"
                                  << "ä日😀";
    QTest::newRow("escape") << "\x1B[31m"
                            << "\\x1b[31m";
    QTest::newRow("line-ends") << "a\r\nb"
                               << "a\\x0d\\x0ab";
    QTest::newRow("delete") << "\x7F"
                            << "\\x7f";
    QTest::newRow("high-control-code") << QStringLiteral("\u009B31m") << "\\x9b31m";
    QTest::newRow("text-direction") << QStringLiteral("\u202Egpj.exe") << "\\u202egpj.exe";
    QTest::newRow("line-separators")
        << QStringLiteral("a\u2028b\u2029c\u0085") << "a\\u2028b\\u2029c\\x85";
    QTest::newRow("isolates-and-marks")
        << QStringLiteral("\u2066a\u2069\u200E\u061C") << "\\u2066a\\u2069\\u200e\\u061c";
    QTest::newRow("half-a-pair") << QString(QChar(0xD83D)) + QLatin1Char('a') << "\uFFFDa";
    QTest::newRow("empty") << ""
                           << "";
}

void tst_CheckReport::printable()
{
    QFETCH(QString, text);
    QTEST(CheckReport::Printable(text), "printable");
}

QTEST_GUILESS_MAIN(tst_CheckReport)

#include "tst_CheckReport.moc"
