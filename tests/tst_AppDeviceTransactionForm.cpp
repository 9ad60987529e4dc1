// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

// How AppDeviceTransaction takes over what its body holds: lines, properties and the package.

#include "AppDeviceTransaction.h"
#include "FormParts.h"
#include "LiteralBytes.h"
#include "TransactionState.h"
#include "Wire.h"

#include <QCoreApplication>
#include <QTest>
#include <QTranslator>

namespace
{

struct PROPERTY_ROW {
    const char *row;
    const char *name;
    const char *value;
    QByteArray properties;
};

const PROPERTY_ROW PROPERTIES[] = {
    {"usr", "usr", "bob", "usr=[bob]"},
    {"usr-is-not-trimmed", "usr", " bob\t", "usr=[ bob\t]"},
    {"usr-is-not-decoded", "usr", "a+b%41=&", "usr=[a+b%41=&]"},
    {"usr-of-any-characters", "usr", "\xC3\xA9\xE2\x82\xAC", "usr=[\xC3\xA9\xE2\x82\xAC]"},
    {"pwd", "pwd", "5F4dcc3b", "pwd=[5F4dcc3b]"},
    {"pwd-is-not-trimmed", "pwd", " x ", "pwd=[ x ]"},
    {"udid", "udid", "00:04:A3", "udid=[00:04:A3]"},
    {"udid-is-not-trimmed", "udid", " 42 ", "udid=[ 42 ]"},
    {"dev", "dev", "12", "dev=12"},
    {"cmd", "cmd", "3", "cmd=3"},
    {"req", "req", "1", "req=1"},
    {"mem", "mem", "38911", "mem=38911"},
    {"pat-in-lower-case-is-unshifted", "pat", "hello", "pat=[HELLO]"},
    {"pat-in-upper-case-is-shifted", "pat", "Hello", "pat=[\\xc8ELLO]"},
    {"pat-keeps-wildcards", "pat", "a?c*", "pat=[A?C*]"},
    {"pat-keeps-blanks", "pat", "  x ", "pat=[  X ]"},
    {"pat-of-16-characters", "pat", "0123456789abcdef", "pat=[0123456789ABCDEF]"},
    {"pat-is-cut-to-16-characters", "pat", "0123456789abcdefghi", "pat=[0123456789ABCDEF]"},
    {"pat-empty", "pat", "", ""},
    {"unknown-name-is-ignored", "command", "1", ""},
    {"empty-name-is-ignored", "", "1", ""},
    {"name-in-capitals-is-ignored", "CMD", "1", ""},
    {"name-between-blanks-is-ignored", " cmd ", "1", ""},
    {"beginning-of-a-name-is-ignored", "us", "1", ""},
    {"name-with-more-behind-is-ignored", "usrx", "1", ""},
    {"number-between-white-space", "cmd", " \t12\r\n", "cmd=12"},
    {"number-with-plus", "cmd", "+12", "cmd=12"},
    {"number-with-minus", "cmd", "-12", "cmd=-12"},
    {"number-with-leading-zeros", "cmd", "0012", "cmd=12"},
    {"largest-number", "cmd", "2147483647", "cmd=2147483647"},
    {"smallest-number", "cmd", "-2147483648", "cmd=-2147483648"},
};

struct BODY_ROW {
    const char *name;
    QByteArray contentType;
    QByteArray body;
    QByteArray properties;
};

const BODY_ROW BODIES[] = {
    {"pairs", URL_ENCODED, "usr=u&pwd=p&dev=1&udid=i&pat=n&cmd=2&req=3&mem=4",
     "usr=[u] pwd=[p] dev=1 udid=[i] pat=[N] cmd=2 req=3 mem=4"},
    {"pairs-of-other-names", URL_ENCODED, "foo=1&CMD=2&cmd=3&=4", "cmd=3"},
    {"later-pair-counts", URL_ENCODED, "usr=a&usr=b&cmd=1&cmd=x", "usr=[b]"},
    {"empty-pair-counts-not", URL_ENCODED, "usr=a&usr=&req=&cmd=1", "usr=[a] cmd=1"},
    {"pat-of-a-pair-is-trimmed", URL_ENCODED, "pat=%20%20X", "pat=[\\xd8]"},
    {"pat-is-cut-after-decoding", URL_ENCODED, "pat=%30123456789abcdefgh",
     "pat=[0123456789ABCDEF]"},
    {"pat-beyond-ascii", URL_ENCODED, "pat=%C3%A9", "pat=[\\xe9]"},
    {"pairs-without-anything-but-white-space", URL_ENCODED, "\r\n", ""},

    {"fields", MULTIPART,
     FormField("usr", "u") + FormField("pwd", "p") + FormField("dev", "1") +
         FormField("udid", "i") + FormField("pat", "n") + FormField("cmd", "2") +
         FormField("req", "3") + FormField("mem", "4") + FORM_END,
     "usr=[u] pwd=[p] dev=1 udid=[i] pat=[N] cmd=2 req=3 mem=4"},
    {"fields-of-other-names", MULTIPART, FormField("foo", "1") + FormField("cmd", "2") + FORM_END,
     "cmd=2"},
    {"empty-field-counts", MULTIPART,
     FormField("usr", "a") + FormField("usr", "") + FormField("req", "") + FORM_END, "req=0"},
    {"pat-of-a-field-keeps-its-blanks", MULTIPART, FormField("pat", "%20%20x ") + FORM_END,
     "pat=[  X ]"},
    {"number-of-a-field-is-trimmed", MULTIPART, FormField("cmd", " 2 ") + FORM_END, "cmd=2"},
    {"fields-before-a-fault", MULTIPART, FormField("usr", "a") + FormField("cmd", "2"),
     "usr=[a] cmd=2"},
};

struct TYPE_ROW {
    const char *name;
    const char *contentType;
    QByteArray content;
    QByteArray properties;
};

const QByteArray PAIRS = "cmd=1&usr=a";
const QByteArray PARTS = FormField("cmd", "2") + FORM_END;

const TYPE_ROW TYPES[] = {
    {"no-type", "", PAIRS, ""},
    {"no-type-of-parts", "", PARTS, ""},
    {"text", "text/plain", PAIRS, ""},
    {"pairs-type-in-capitals", "Application/x-www-form-urlencoded", PAIRS, ""},
    {"pairs-type-cut-off", "application/x-www-form-urlencode", PAIRS, ""},
    {"parts-type-in-capitals", "multipart/Form-Data;", PARTS, ""},
    {"parts-of-another-type", "multipart/mixed;", PARTS, ""},
    {"pairs-type-within-another", "xapplication/x-www-form-urlencoded;y", PAIRS, "usr=[a] cmd=1"},
    {"parts-type-within-another", "xmultipart/form-datay", PARTS, "cmd=2"},
    {"pairs-type-before-parts-type", "multipart/form-data;application/x-www-form-urlencoded", PAIRS,
     "usr=[a] cmd=1"},
};

/// Translates the two content types into others.
class TypeTranslator : public QTranslator
{
public:
    bool isEmpty() const override { return false; }

    QString translate(const char *context, const char *sourceText, const char *, int) const override
    {
        if (QByteArray(context) != "AppDeviceTransaction")
            return QString();
        if (QByteArray(sourceText) == "application/x-www-form-urlencoded")
            return QStringLiteral("text/pairs");
        if (QByteArray(sourceText) == "multipart/form-data")
            return QStringLiteral("text/parts");
        return QString();
    }
};

} // namespace

class tst_AppDeviceTransactionForm : public QObject
{
    Q_OBJECT

private slots:
    void readContentLine();
    void contentMayBeAssignedAtAnyTime();
    void setProperty_data();
    void setProperty();
    void setPropertyTakesTheLaterValue();
    void fieldsBecomeProperties_data();
    void fieldsBecomeProperties();
    void typeIsFoundWithinAnother_data();
    void typeIsFoundWithinAnother();
    void parsePassesTheTypesThroughTranslation();
    void parseWithBoundary_data();
    void parseWithBoundary();
    void parseConsumesUpToTheClosingDelimiter();
    void packageIsImported_data();
    void packageIsImported();
    void packageOfAMalformedBodyIsNone();
};

void tst_AppDeviceTransactionForm::readContentLine()
{
    Exchange exchange;
    AppDeviceTransaction &transaction = exchange.transaction;
    transaction.mContent = LiteralBytes("one\r\nt\xE9\0o\r\n\r\nxy");
    QCOMPARE(transaction.ReadContentLine(), QStringLiteral("one"));
    QCOMPARE(transaction.mContent, LiteralBytes("t\xE9\0o\r\n\r\nxy"));
    QCOMPARE(transaction.ReadContentLine(), QString::fromLatin1("t\xE9"));
    QCOMPARE(transaction.mContent, QByteArray("\r\nxy"));
    for (const char *rest : {"xy", "y", "", ""}) {
        QCOMPARE(transaction.ReadContentLine(), QString());
        QCOMPARE(transaction.mContent, QByteArray(rest));
    }
}

void tst_AppDeviceTransactionForm::contentMayBeAssignedAtAnyTime()
{
    Exchange exchange;
    AppDeviceTransaction &transaction = exchange.transaction;
    const QByteArray content = "one\r\ntwo\r\nthree\r\n";

    transaction.mContent = content;
    QCOMPARE(transaction.ReadContentLine(), QStringLiteral("one"));
    transaction.mContent = content; // the same bytes at the same place
    QCOMPARE(transaction.ReadContentLine(), QStringLiteral("one"));
    QCOMPARE(transaction.mContent, QByteArray("two\r\nthree\r\n"));

    const QByteArray endingWithoutLine = content + "four";
    for (int i = 0; i < 2; ++i) { // the same bytes again, after all of them were read
        transaction.mContent = endingWithoutLine;
        QCOMPARE(transaction.ReadContentLine(), QStringLiteral("one"));
        QCOMPARE(transaction.mContent, QByteArray("two\r\nthree\r\nfour"));
        while (!transaction.mContent.isEmpty())
            transaction.ReadContentLine();
    }

    transaction.mContent = QByteArray("other\r\nbytes");
    QCOMPARE(transaction.ReadContentLine(), QStringLiteral("other"));
    QCOMPARE(transaction.mContent, QByteArray("bytes"));

    transaction.mContent += "\r\nadded"; // to what is left
    QCOMPARE(transaction.ReadContentLine(), QStringLiteral("bytes"));
    QCOMPARE(transaction.mContent, QByteArray("added"));

    transaction.mContent = content.mid(5);
    QCOMPARE(transaction.ReadContentLine(), QStringLiteral("two"));
    transaction.mContent[0] = 'T';
    QCOMPARE(transaction.ReadContentLine(), QStringLiteral("Three"));

    transaction.mContent.clear();
    QCOMPARE(transaction.ReadContentLine(), QString());
    QCOMPARE(transaction.mContent, QByteArray());

    transaction.mContentType = QString::fromLatin1(URL_ENCODED);
    transaction.mContent = QByteArray("usr=first&cmd=1");
    QCOMPARE(transaction.ParseContent(), 0);
    transaction.mContent = QByteArray("usr=a+longer+second&cmd=2");
    QCOMPARE(transaction.ParseContent(), 0);
    QCOMPARE(Properties(transaction), QByteArray("usr=[a longer second] cmd=2"));

    transaction.mContentType = QString::fromLatin1(MULTIPART);
    transaction.mBoundary = QStringLiteral("XyZ");
    transaction.mContent = FormField("usr", "third") + FORM_END;
    QCOMPARE(transaction.ParseContent(), 0);
    transaction.mContent =
        FormField("usr", "a much longer fourth") + FormField("cmd", "4") + FORM_END;
    QCOMPARE(transaction.ParseContent(), 0);
    QCOMPARE(Properties(transaction), QByteArray("usr=[a much longer fourth] cmd=4"));

    QCOMPARE(content, QByteArray("one\r\ntwo\r\nthree\r\n"));
}

void tst_AppDeviceTransactionForm::setProperty_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("value");
    QTest::addColumn<QByteArray>("properties");

    for (const PROPERTY_ROW &row : PROPERTIES)
        QTest::newRow(row.row) << QString::fromLatin1(row.name) << QString::fromUtf8(row.value)
                               << row.properties;
    for (const char *property : {"dev", "cmd", "req", "mem"}) {
        for (const char *value :
             {"", " ", "x", "12x", "x12", "1 2", "1.0", "1e3", "0x10", "1,000", "--1", "- 1", "+",
              "2147483648", "-2147483649", "4294967297", "99999999999999999999"}) {
            const QByteArray row = QByteArray("no-number-") + property + "-\"" + value + '"';
            QTest::newRow(row.constData())
                << QString::fromLatin1(property) << QString::fromLatin1(value)
                << QByteArray(QByteArray(property) == "req" ? "req=0" : "");
        }
    }
}

void tst_AppDeviceTransactionForm::setProperty()
{
    QFETCH(QString, name);
    QFETCH(QString, value);
    Exchange exchange;
    QCOMPARE(exchange.transaction.SetProperty(name, value), 0);
    QTEST(Properties(exchange.transaction), "properties");
}

void tst_AppDeviceTransactionForm::setPropertyTakesTheLaterValue()
{
    Exchange exchange;
    for (const char *name : {"usr", "pwd", "dev", "udid", "pat", "cmd", "req", "mem"}) {
        for (const char *value : {"11111", "22"}) {
            QCOMPARE(exchange.transaction.SetProperty(QString::fromLatin1(name),
                                                      QString::fromLatin1(value)),
                     0);
        }
    }
    QCOMPARE(Properties(exchange.transaction),
             QByteArray("usr=[22] pwd=[22] dev=22 udid=[22] pat=[22] cmd=22 req=22 mem=22"));

    for (const char *name : {"usr", "pwd", "dev", "udid", "pat", "cmd", "req", "mem"})
        QCOMPARE(exchange.transaction.SetProperty(QString::fromLatin1(name), QString()), 0);
    QCOMPARE(Properties(exchange.transaction), QByteArray("req=0"));
}

void tst_AppDeviceTransactionForm::fieldsBecomeProperties_data()
{
    QTest::addColumn<QByteArray>("contentType");
    QTest::addColumn<QByteArray>("body");
    QTest::addColumn<QByteArray>("properties");

    for (const BODY_ROW &row : BODIES)
        QTest::newRow(row.name) << row.contentType << row.body << row.properties;
}

void tst_AppDeviceTransactionForm::fieldsBecomeProperties()
{
    QFETCH(QByteArray, contentType);
    QFETCH(QByteArray, body);
    const Exchange exchange({HttpPost(contentType, body)});
    QVERIFY(exchange.transaction.mValid);
    QTEST(Properties(exchange.transaction), "properties");
}

void tst_AppDeviceTransactionForm::typeIsFoundWithinAnother_data()
{
    QTest::addColumn<QString>("contentType");
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<QByteArray>("properties");

    for (const TYPE_ROW &row : TYPES)
        QTest::newRow(row.name) << QString::fromLatin1(row.contentType) << row.content
                                << row.properties;
}

void tst_AppDeviceTransactionForm::typeIsFoundWithinAnother()
{
    QFETCH(QString, contentType);
    QFETCH(QByteArray, content);
    QFETCH(QByteArray, properties);
    Exchange exchange;
    exchange.transaction.mContentType = contentType;
    exchange.transaction.mBoundary = QStringLiteral("XyZ");
    exchange.transaction.mContent = content;
    QCOMPARE(exchange.transaction.ParseContent(), 0);
    QCOMPARE(Properties(exchange.transaction), properties);
    if (properties.isEmpty())
        QCOMPARE(exchange.transaction.mContent, content);
}

void tst_AppDeviceTransactionForm::parsePassesTheTypesThroughTranslation()
{
    TypeTranslator translator;
    QVERIFY(QCoreApplication::installTranslator(&translator));
    Exchange exchange;
    exchange.transaction.mBoundary = QStringLiteral("XyZ");

    exchange.transaction.mContentType = QStringLiteral("text/pairs");
    exchange.transaction.mContent = "cmd=1";
    QCOMPARE(exchange.transaction.ParseContent(), 0);
    QCOMPARE(exchange.transaction.mCmd, 1);

    exchange.transaction.mContentType = QStringLiteral("text/parts");
    exchange.transaction.mContent = FormField("cmd", "2") + FORM_END;
    QCOMPARE(exchange.transaction.ParseContent(), 0);
    QCOMPARE(exchange.transaction.mCmd, 2);

    QCoreApplication::removeTranslator(&translator);
    exchange.transaction.mContentType = QStringLiteral("text/pairs");
    exchange.transaction.mContent = "cmd=3";
    QCOMPARE(exchange.transaction.ParseContent(), 0);
    QCOMPARE(exchange.transaction.mCmd, 2);
}

void tst_AppDeviceTransactionForm::parseWithBoundary_data()
{
    QTest::addColumn<QByteArray>("parameter");
    QTest::addColumn<QByteArray>("delimiter");
    QTest::addColumn<int>("cmd");

    const auto row = [](const char *name, const QByteArray &parameter, const QByteArray &delimiter,
                        int cmd) { QTest::newRow(name) << parameter << delimiter << cmd; };
    row("plain", " boundary=XyZ", "--XyZ", 2);
    row("of-dashes", " boundary=--------42", "----------42", 2);
    row("cut-at-equals-sign", " boundary=ab=cd", "--ab", 2);
    row("cut-at-equals-sign-does-not-fit-the-whole", " boundary=ab=cd", "--ab=cd", 0);
    row("quoted-does-not-fit-plain-delimiters", " boundary=\"XyZ\"", "--XyZ", 0);
    row("quoted-fits-quoted-delimiters", " boundary=\"XyZ\"", "--\"XyZ\"", 2);
    row("missing-is-empty", "", "--", 2);
    row("without-value-is-empty", " boundary=", "--", 2);
    row("without-equals-sign-is-empty", " boundary", "--", 2);
    row("in-other-case-does-not-fit", " boundary=XyZ", "--xyz", 0);
    row("beyond-ascii", " boundary=X\xE9Z", "--X\xE9Z", 2);
    row("beyond-ascii-does-not-fit-utf-8", " boundary=X\xE9Z", "--X\xC3\xA9Z", 0);
}

void tst_AppDeviceTransactionForm::parseWithBoundary()
{
    QFETCH(QByteArray, parameter);
    QFETCH(QByteArray, delimiter);
    // The second field is only found by searching for the delimiter.
    const Exchange exchange(
        {HttpPost("multipart/form-data;" + parameter,
                  delimiter + "\r\nContent-Disposition: form-data; name=\"usr\"\r\n\r\nbob\r\n" +
                      delimiter + "\r\nContent-Disposition: form-data; name=\"cmd\"\r\n\r\n2\r\n" +
                      delimiter + "--\r\n")});
    QVERIFY(exchange.transaction.mValid);
    QTEST(exchange.transaction.mCmd, "cmd");
}

void tst_AppDeviceTransactionForm::parseConsumesUpToTheClosingDelimiter()
{
    Exchange exchange;
    exchange.transaction.mContentType = QStringLiteral("multipart/form-data;");
    exchange.transaction.mBoundary = QStringLiteral("XyZ");
    exchange.transaction.mContent =
        FormField("usr", "a") + FormField("cmd", "2") + FORM_END + "behind";
    QCOMPARE(exchange.transaction.ParseContent(), 0);
    QCOMPARE(exchange.transaction.mContent, FORM_END + "behind");
}

void tst_AppDeviceTransactionForm::packageIsImported_data()
{
    QTest::addColumn<QByteArray>("package");
    QTest::addColumn<QByteArray>("properties");

    QTest::newRow("program") << HelloPackage() << DescribedImport(HelloPackage());
    QTest::newRow("program-and-disk")
        << HelloAndDiskPackage() << DescribedImport(HelloAndDiskPackage());
    QByteArray replacing = HelloPackage();
    replacing[17] = 1;
    QTest::newRow("replacing") << replacing << DescribedImport(HelloPackage()).chopped(1) + "!}";
    QByteArray withResult = HelloPackage();
    withResult[6] = char(0xA7);
    QTest::newRow("with-a-result")
        << withResult << "package{-89" + DescribedImport(HelloPackage()).mid(9);

    QByteArray badMagic = HelloPackage();
    badMagic[0] = 0;
    QTest::newRow("bad-magic-is-empty") << badMagic << QByteArray("package{0}");
    QByteArray badVersion = HelloPackage();
    badVersion[4] = 1;
    QTest::newRow("another-version-is-empty") << badVersion << QByteArray("package{-84}");
    QTest::newRow("too-short-is-empty") << HelloPackage().left(100) << QByteArray("package{0}");
    QTest::newRow("line-end-alone-is-empty") << QByteArray() << QByteArray("package{0}");
}

void tst_AppDeviceTransactionForm::packageIsImported()
{
    QFETCH(QByteArray, package);
    QFETCH(QByteArray, properties);
    const Exchange first({HttpPost(MULTIPART, FormFile("up", "package", package) +
                                                  FormField("cmd", "3") + FORM_END)});
    QCOMPARE(Properties(first.transaction), "cmd=3 " + properties);
    const Exchange last({HttpPost(MULTIPART, FormField("cmd", "3") +
                                                 FormFile("up", "package", package) + FORM_END)});
    QCOMPARE(Properties(last.transaction), "cmd=3 " + properties);
}

void tst_AppDeviceTransactionForm::packageOfAMalformedBodyIsNone()
{
    Exchange exchange;
    AppDeviceTransaction &transaction = exchange.transaction;
    transaction.mContentType = QStringLiteral("multipart/form-data;");
    transaction.mBoundary = QStringLiteral("XyZ");
    transaction.mContent = FormFile("up", "package", HelloPackage()) + FormField("cmd", "3");
    QCOMPARE(transaction.ParseContent(), -1);
    QCOMPARE(Properties(transaction), QByteArray("cmd=3"));
}

QTEST_GUILESS_MAIN(tst_AppDeviceTransactionForm)
#include "tst_AppDeviceTransactionForm.moc"
