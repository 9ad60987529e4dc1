// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

// The multipart bodies of AppFormBody: parts, their headers, and the package among them.

#include "AppFormBody.h"
#include "FormParts.h"
#include "FormText.h"
#include "LiteralBytes.h"

#include <QTest>

#include <utility>

namespace
{

struct PARTS_ROW {
    const char *name;
    QByteArray body;
    int status;
    QByteArray fields;
};

const QByteArray DASH = "--XyZ\r\n";
const QByteArray USR = "Content-Disposition: form-data; name=\"usr\"\r\n";
const QByteArray CMD_2 = FormField("cmd", "2");

const PARTS_ROW PARTS[] = {
    {"one-field", CMD_2 + FORM_END, 0, "cmd=[2]"},
    {"all-properties",
     FormField("usr", "u") + FormField("pwd", "p") + FormField("dev", "1") +
         FormField("udid", "i") + FormField("pat", "n") + FormField("cmd", "2") +
         FormField("req", "3") + FormField("mem", "4") + FORM_END,
     0, "usr=[u] pwd=[p] dev=[1] udid=[i] pat=[n] cmd=[2] req=[3] mem=[4]"},
    {"any-name-is-read", FormField("foo", "1") + FormField("CMD", "3") + CMD_2 + FORM_END, 0,
     "foo=[1] CMD=[3] cmd=[2]"},
    {"given-twice-is-read-twice", FormField("usr", "a") + FormField("usr", "b") + CMD_2 + FORM_END,
     0, "usr=[a] usr=[b] cmd=[2]"},
    {"plus-is-a-blank", FormField("usr", "a+b") + FORM_END, 0, "usr=[a b]"},
    {"encoded-plus-stays", FormField("usr", "a%2Bb") + FORM_END, 0, "usr=[a+b]"},
    {"decoded-once-only", FormField("usr", "%2541%4a") + FORM_END, 0, "usr=[%41J]"},
    {"percent-without-digits-stays", FormField("usr", "%%41%4%zz%") + FORM_END, 0,
     "usr=[%A%4%zz%]"},
    {"utf-8", FormField("usr", "%C3%A9\xC3\xA9") + FORM_END, 0, "usr=[\xC3\xA9\xC3\xA9]"},
    {"no-utf-8",
     FormField("usr", "a\xFF"
                      "b") +
         FORM_END,
     0,
     "usr=[a\xEF\xBF\xBD"
     "b]"},
    {"separators-stay", FormField("usr", "a=b&c%26d%3De") + FORM_END, 0, "usr=[a=b&c&d=e]"},
    {"value-is-not-trimmed", FormField("usr", " a\t") + FormField("pat", "%20%20x ") + FORM_END, 0,
     "usr=[ a\t] pat=[  x ]"},
    {"number-is-not-trimmed", FormField("cmd", " 2 ") + FORM_END, 0, "cmd=[ 2 ]"},
    {"empty-value-counts",
     FormField("usr", "a") + FormField("usr", "") + FormField("req", "") + CMD_2 + FORM_END, 0,
     "usr=[a] usr=[] req=[] cmd=[2]"},
    {"value-ends-at-the-line", FormField("usr", "a\r\nb") + CMD_2 + FORM_END, 0, "usr=[a] cmd=[2]"},
    {"value-ends-at-carriage-return", FormField("usr", "a\rXb") + CMD_2 + FORM_END, 0,
     "usr=[a] cmd=[2]"},
    {"value-with-line-feed", FormField("usr", "a\nb") + CMD_2 + FORM_END, 0, "usr=[a\nb] cmd=[2]"},
    {"value-ends-at-nul", FormField("usr", LiteralBytes("a\0b")) + CMD_2 + FORM_END, 0,
     "usr=[a] cmd=[2]"},
    {"encoded-nul-stays", FormField("usr", "a%00b") + CMD_2 + FORM_END, 0,
     LiteralBytes("usr=[a\0b] cmd=[2]")},
    {"value-holds-the-delimiter", FormField("usr", "a--XyZb") + CMD_2 + FORM_END, 0,
     "usr=[a--XyZb] cmd=[2]"},
    {"second-line-holds-the-delimiter", FormField("usr", "a\r\n.--XyZ.") + CMD_2 + FORM_END, 0,
     "usr=[a] cmd=[2]"},
    {"value-missing-takes-the-delimiter",
     DASH + USR + "\r\n" + CMD_2 + FormField("dev", "4") + FORM_END, 0, "usr=[--XyZ] dev=[4]"},
    {"value-without-line-end-takes-the-delimiter",
     DASH + USR + "\r\na" + CMD_2 + FormField("dev", "4") + FORM_END, 0, "usr=[a--XyZ] dev=[4]"},
    {"preamble", "preamble\r\n" + CMD_2 + FORM_END, -1, ""},
    {"empty-line-first", "\r\n" + CMD_2 + FORM_END, -1, ""},
    {"empty-body", "", -1, ""},
    {"closing-delimiter-first", FORM_END, -1, ""},
    {"first-delimiter-with-a-blank", "--XyZ \r\n" + CMD_2.mid(7) + FORM_END, -1, ""},
    {"first-delimiter-too-short", "--Xy\r\n" + CMD_2.mid(7) + FORM_END, -1, ""},
    {"first-delimiter-without-DASHes", "XyZ\r\n" + CMD_2.mid(7) + FORM_END, -1, ""},
    {"first-delimiter-in-other-case", "--xyz\r\n" + CMD_2.mid(7) + FORM_END, -1, ""},
    {"first-delimiter-without-line-end", "--XyZ", -1, ""},
    {"first-delimiter-before-nul", LiteralBytes("--XyZ\0 \r\n") + CMD_2.mid(7) + FORM_END, 0,
     "cmd=[2]"},
    {"first-delimiter-alone", DASH, -1, ""},
    {"first-delimiter-before-carriage-return", "--XyZ\rX" + CMD_2.mid(7) + FORM_END, 0, "cmd=[2]"},
    {"no-parts", DASH + FORM_END, -1, ""},
    {"no-parts-but-an-empty-line", DASH + "\r\n" + FORM_END, 0, ""},
    {"later-delimiter-with-more-behind",
     FormField("usr", "a") + "--XyZ and more\r\n" + CMD_2.mid(7) + FORM_END, 0, "usr=[a] cmd=[2]"},
    {"later-delimiter-within-a-line", FormField("usr", "a") + "no new line" + CMD_2 + FORM_END, 0,
     "usr=[a] cmd=[2]"},
    {"later-delimiter-with-one-dash",
     FormField("usr", "a") + "--XyZ-\r\n" + CMD_2.mid(7) + FORM_END, 0, "usr=[a] cmd=[2]"},
    {"text-between-parts", FormField("usr", "a") + "text\r\nmore\r\n" + CMD_2 + FORM_END, 0,
     "usr=[a] cmd=[2]"},
    {"closing-delimiter-with-more-behind", CMD_2 + "--XyZ--more", 0, "cmd=[2]"},
    {"closing-delimiter-without-line-end", CMD_2 + "--XyZ--", 0, "cmd=[2]"},
    {"closing-delimiter-ends-it", CMD_2 + FORM_END + FormField("cmd", "3") + FORM_END, 0,
     "cmd=[2]"},
    {"no-closing-delimiter", FormField("usr", "a") + CMD_2, -1, "usr=[a] cmd=[2]"},
    {"cut-in-the-closing-delimiter", FormField("usr", "a") + CMD_2 + "--Xy", -1, "usr=[a] cmd=[2]"},
    {"cut-behind-a-delimiter", FormField("usr", "a") + DASH, -1, "usr=[a]"},
    {"cut-behind-a-delimiter-without-line-end", FormField("usr", "a") + "--XyZ", -1, "usr=[a]"},
    {"cut-in-the-part-headers", FormField("usr", "a") + DASH + "Content-Disposition: form-data;",
     -1, "usr=[a]"},
    {"cut-behind-the-part-headers", FormField("cmd", "3") + DASH + USR, -1, "cmd=[3] usr=[]"},
    {"cut-before-the-value", FormField("cmd", "3") + FormField("usr", "a") + DASH + USR + "\r\n",
     -1, "cmd=[3] usr=[a] usr=[]"},
    {"cut-in-the-value", FormField("cmd", "3") + FormField("usr", "a") + DASH + USR + "\r\nbob", -1,
     "cmd=[3] usr=[a] usr=[]"},
    {"part-without-headers-is-skipped", DASH + "\r\nusr\r\n" + CMD_2 + FORM_END, 0, "cmd=[2]"},
    {"other-part-headers-are-ignored",
     DASH + "Content-Type: text/plain; name=\"pwd\"\r\nX-Y: 1\r\n" + USR +
         "Content-Transfer-Encoding: binary; filename=\"package\"\r\n\r\na\r\n" + CMD_2 + FORM_END,
     0, "usr=[a] cmd=[2]"},
    {"part-headers-end-at-nul",
     DASH + LiteralBytes("\0x\r\n") + USR + "\r\na\r\n" + CMD_2 + FORM_END, 0, "cmd=[2]"},
    {"part-headers-do-not-end-at-blanks", DASH + " \r\n" + USR + "\r\na\r\n" + CMD_2 + FORM_END, 0,
     "usr=[a] cmd=[2]"},
    {"part-headers-with-the-delimiter", DASH + CMD_2 + FORM_END, 0, "cmd=[2]"},
    {"disposition-given-twice-is-the-later",
     DASH + "Content-Disposition: form-data; name=\"pwd\"\r\n" + USR + "\r\na\r\n" + FORM_END, 0,
     "usr=[a]"},
    {"disposition-given-twice-is-joined",
     DASH + "Content-Disposition: form-data; filename=\"other\"\r\n" + USR + "\r\na\r\n" + FORM_END,
     0, ""},
    {"byte-order-mark-of-a-value-is-dropped",
     FormField("usr", "%EF%BB%BF\xEF\xBB\xBF"
                      "a") +
         FORM_END,
     0,
     "usr=[\xEF\xBB\xBF"
     "a]"},
    {"name-beyond-ascii-is-latin-1", FormField("\xE9", "a") + FORM_END, 0, "\xC3\xA9=[a]"},
};

struct DISPOSITION_ROW {
    const char *name;
    const char *line;
    const char *fields;
};

const DISPOSITION_ROW DISPOSITIONS[] = {
    {"quoted-name", R"(Content-Disposition: form-data; name="usr")", "usr=[7]"},
    {"unquoted-name-loses-a-character", "Content-Disposition: form-data; name=cmd", "md=[7]"},
    {"unquoted-name-without-its-first-character",
     "Content-Disposition: form-data; name=md; name=xcmd", "cmd=[7]"},
    {"name-in-other-quotes", "Content-Disposition: form-data; name='usr\"", "usr=[7]"},
    {"name-without-closing-quote", R"(Content-Disposition: form-data; name="usr)", "usr=[7]"},
    {"name-ends-at-equals-sign", R"(Content-Disposition: form-data; name="usr=x")", "usr=[7]"},
    {"name-ends-at-quote", R"(Content-Disposition: form-data; name="usr"x"y")", "usr=[7]"},
    {"name-empty", R"(Content-Disposition: form-data; name="")", ""},
    {"name-behind-two-quotes-is-empty", R"(Content-Disposition: form-data; name=""usr")", ""},
    {"name-of-one-character", "Content-Disposition: form-data; name=x", ""},
    {"name-without-value", "Content-Disposition: form-data; name=", ""},
    {"name-without-equals-sign", "Content-Disposition: form-data; name", ""},
    {"name-is-not-trimmed", R"(Content-Disposition: form-data; name=" usr")", " usr=[7]"},
    {"name-before-a-blank-is-none", R"(Content-Disposition: form-data; name ="usr")", ""},
    {"name-behind-a-blank-is-cut", R"(Content-Disposition: form-data; name= "usr")", ""},
    {"name-in-capitals-is-none", R"(Content-Disposition: form-data; NAME="usr")", ""},
    {"name-as-the-end-of-another", R"(Content-Disposition: form-data; nickname="usr")", "usr=[7]"},
    {"name-with-more-behind-is-none", R"(Content-Disposition: form-data; name*="usr")", ""},
    {"name-given-twice-is-the-later", R"(Content-Disposition: form-data; name="pwd"; name="usr")",
     "usr=[7]"},
    {"name-behind-another", R"(Content-Disposition: form-data; foo="bar"; name="usr")", "usr=[7]"},
    {"name-before-another", R"(Content-Disposition: form-data; name="usr"; foo="pwd")", "usr=[7]"},
    {"name-within-a-value", R"(Content-Disposition: form-data; foo="name=pwd")", "wd=[7]"},
    {"name-within-a-value-loses-a-character", R"(Content-Disposition: form-data; foo="name=xusr")",
     "usr=[7]"},
    {"name-without-semicolon", R"(Content-Disposition: form-dataname="usr")", "usr=[7]"},
    {"name-behind-a-longer-type", R"(Content-Disposition: form-data-x; name="usr")", "usr=[7]"},
    {"name-first-in-the-line", R"(name="usr"; Content-Disposition: form-data)", ""},
    {"other-disposition", R"(Content-Disposition: attachment; name="usr")", ""},
    {"disposition-in-lower-case", R"(content-disposition: form-data; name="usr")", ""},
    {"type-in-capitals", R"(Content-Disposition: FORM-DATA; name="usr")", ""},
    {"disposition-without-blank", R"(Content-Disposition:form-data; name="usr")", ""},
    {"disposition-behind-a-blank", R"( Content-Disposition: form-data; name="usr")", ""},
    {"file-name-makes-no-property",
     R"(Content-Disposition: form-data; name="usr"; filename="other")", ""},
    {"file-name-may-come-first", R"(Content-Disposition: form-data; filename="other"; name="usr")",
     ""},
    {"file-name-alone", R"(Content-Disposition: form-data; filename="usr")", ""},
    {"file-name-empty-is-none", R"(Content-Disposition: form-data; name="usr"; filename="")",
     "usr=[7]"},
    {"file-name-of-one-character-is-none",
     "Content-Disposition: form-data; name=\"usr\"; filename=x", "usr=[7]"},
    {"file-name-in-capitals-is-a-name-of-none",
     R"(Content-Disposition: form-data; name="usr"; FILENAME="other")", "usr=[7]"},
    {"file-name-in-mixed-case-is-none",
     R"(Content-Disposition: form-data; name="usr"; fileName="other")", "usr=[7]"},
    {"file-name-ending-in-name-replaces-the-name",
     R"(Content-Disposition: form-data; name="usr"; file-name="pwd")", "pwd=[7]"},
    {"file-name-as-the-end-of-another",
     R"(Content-Disposition: form-data; name="usr"; myfilename="usr")", ""},
};

const QByteArray CMD_3 = FormField("cmd", "3");

QByteArray Disposition(const QByteArray &parameters, const QByteArray &bytes)
{
    return FormPart("Content-Disposition: form-data; " + parameters, bytes);
}

/// A file "package" without a byte of content.
QByteArray EmptyFile()
{
    return Disposition("name=\"up\"; filename=\"package\"", "").chopped(2);
}

const PARTS_ROW PACKAGES[] = {
    {"package", FormFile("up", "package", "bytes") + FORM_END, 0, "package=[bytes\r\n]"},
    {"package-before-a-field", FormFile("up", "package", "bytes") + CMD_3 + FORM_END, 0,
     "cmd=[3] package=[bytes\r\n]"},
    {"package-behind-a-field", CMD_3 + FormFile("up", "package", "bytes") + FORM_END, 0,
     "cmd=[3] package=[bytes\r\n]"},
    {"package-in-a-field-of-any-name", FormFile("usr", "package", "bytes") + FORM_END, 0,
     "package=[bytes\r\n]"},
    {"package-of-any-bytes",
     FormFile("up", "package", LiteralBytes("\r\n\0%41+\xFF--Xy\r")) + FORM_END, 0,
     LiteralBytes("package=[\r\n\0%41+\xFF--Xy\r\r\n]")},
    {"no-package", CMD_3 + FORM_END, 0, "cmd=[3]"},
    {"package-of-a-line-end", FormFile("up", "package", "") + FORM_END, 0, "package=[\r\n]"},
    {"package-of-one-byte", EmptyFile() + "\r" + FORM_END, 0, "package=[\r]"},
    {"package-of-no-byte-is-none", EmptyFile() + CMD_3 + FORM_END, 0, "cmd=[3]"},

    {"last-package-counts",
     FormFile("up", "package", "first") + FormFile("up", "package", "last") + FORM_END, 0,
     "package=[last\r\n]"},
    {"last-package-counts-if-of-no-byte",
     FormFile("up", "package", "first") + EmptyFile() + FORM_END, 0, ""},
    {"other-file-behind-the-package",
     FormFile("up", "package", "first") + FormFile("up", "other", "last") + FORM_END, 0,
     "package=[first\r\n]"},

    {"other-file-name", FormFile("up", "other", "bytes") + CMD_3 + FORM_END, 0, "cmd=[3]"},
    {"other-file-name-in-capitals", FormFile("up", "PACKAGE", "bytes") + CMD_3 + FORM_END, 0,
     "cmd=[3]"},
    {"other-file-name-with-extension", FormFile("up", "package.bin", "bytes") + FORM_END, 0, ""},
    {"other-file-name-with-blank", FormFile("up", " package", "bytes") + FORM_END, 0, ""},
    {"unquoted-file-name-loses-a-character",
     Disposition("name=\"up\"; filename=package", "bytes") + FORM_END, 0, ""},
    {"unquoted-file-name-without-its-first-character",
     Disposition("name=\"up\"; filename=xpackage", "bytes") + FORM_END, 0, "package=[bytes\r\n]"},
    {"file-name-without-closing-quote",
     Disposition("name=\"up\"; filename=\"package", "bytes") + FORM_END, 0, "package=[bytes\r\n]"},
    {"file-name-ends-at-equals-sign",
     Disposition("name=\"up\"; filename=\"package=x\"", "bytes") + FORM_END, 0,
     "package=[bytes\r\n]"},
    {"file-name-before-the-name",
     Disposition("filename=\"package\"; name=\"up\"", "bytes") + FORM_END, 0,
     "package=[bytes\r\n]"},
    {"file-name-without-name", Disposition("filename=\"package\"", "bytes") + CMD_3 + FORM_END, 0,
     "cmd=[3]"},
    {"file-name-with-empty-name",
     Disposition("name=\"\"; filename=\"package\"", "bytes") + CMD_3 + FORM_END, 0, "cmd=[3]"},
    {"package-as-a-field", FormField("package", "bytes") + CMD_3 + FORM_END, 0,
     "package=[bytes] cmd=[3]"},

    {"package-without-closing-delimiter", CMD_3 + FormFile("up", "package", "bytes"), -1,
     "cmd=[3]"},
    {"package-before-an-unclosed-field", FormFile("up", "package", "bytes") + CMD_3, -1, "cmd=[3]"},
    {"package-without-line-end", FormFile("up", "package", "bytes").chopped(2) + CMD_3 + FORM_END,
     0, "cmd=[3] package=[bytes]"},
    {"package-ends-at-the-delimiter",
     FormFile("up", "package", "bytes--XyZ behind it") + CMD_3 + FORM_END, 0,
     "cmd=[3] package=[bytes]"},
    {"package-behind-more-dashes",
     FormFile("up", "package", "bytes").chopped(2) + "-" + CMD_3 + FORM_END, 0,
     "cmd=[3] package=[bytes-]"},
};

AppFormBody Multipart(const QByteArray &body)
{
    return AppFormBody(AppFormBody::TYPE_MULTIPART, QStringLiteral("XyZ"), body);
}

void AddRow(const PARTS_ROW &row)
{
    QTest::newRow(row.name) << row.body << row.status << row.fields;
}

} // namespace

class tst_AppFormBodyParts : public QObject
{
    Q_OBJECT

private slots:
    void parts_data();
    void parts();
    void disposition_data();
    void disposition();
    void package_data();
    void package();
    void packageIsNotCopied();
    void boundaryBeyondLatin1FitsNothing();
    void restBeginsWithTheClosingDelimiter();
    void restBeginsWhereAFaultIs();
    void firstDelimiterIsFound();
    void manyPartsTakeLinearTime_data();
    void manyPartsTakeLinearTime();
};

void tst_AppFormBodyParts::parts_data()
{
    QTest::addColumn<QByteArray>("body");
    QTest::addColumn<int>("status");
    QTest::addColumn<QByteArray>("fields");

    for (const PARTS_ROW &row : PARTS)
        AddRow(row);
}

void tst_AppFormBodyParts::parts()
{
    QFETCH(QByteArray, body);
    AppFormBody form = Multipart(body);
    QTEST(FormText(&form), "fields");
    QTEST(form.Status(), "status");
}

void tst_AppFormBodyParts::disposition_data()
{
    QTest::addColumn<QByteArray>("line");
    QTest::addColumn<QByteArray>("fields");

    for (const DISPOSITION_ROW &row : DISPOSITIONS)
        QTest::newRow(row.name) << QByteArray(row.line) << QByteArray(row.fields);
}

void tst_AppFormBodyParts::disposition()
{
    QFETCH(QByteArray, line);
    AppFormBody form = Multipart(FormPart(line, "7") + FORM_END);
    QTEST(FormText(&form), "fields");
    QCOMPARE(form.Status(), 0);
}

void tst_AppFormBodyParts::package_data()
{
    QTest::addColumn<QByteArray>("body");
    QTest::addColumn<int>("status");
    QTest::addColumn<QByteArray>("fields");

    for (const PARTS_ROW &row : PACKAGES)
        AddRow(row);
}

void tst_AppFormBodyParts::package()
{
    parts();
}

void tst_AppFormBodyParts::packageIsNotCopied()
{
    const QByteArray body = FormFile("up", "package", "bytes") + FORM_END;
    AppFormBody form = Multipart(body);
    AppFormBody::FIELD field;
    QVERIFY(!form.ReadField(&field));
    QCOMPARE(static_cast<const void *>(form.Bytes().constData()),
             static_cast<const void *>(body.constData()));
    QCOMPARE(form.PackageOffset(), qsizetype(body.indexOf("bytes")));
    QCOMPARE(form.PackageSize(), qsizetype(7));
}

void tst_AppFormBodyParts::boundaryBeyondLatin1FitsNothing()
{
    AppFormBody form(AppFormBody::TYPE_MULTIPART, QString(QChar(0x20AC)),
                     "--?\r\nContent-Disposition: form-data; name=\"cmd\"\r\n\r\n2\r\n--?--");
    QCOMPARE(FormText(&form), QByteArray());
    QCOMPARE(form.Status(), -1);
}

void tst_AppFormBodyParts::restBeginsWithTheClosingDelimiter()
{
    AppFormBody form = Multipart(FormField("usr", "a") + CMD_2 + FORM_END + "behind");
    QCOMPARE(FormText(&form), QByteArray("usr=[a] cmd=[2]"));
    QCOMPARE(form.Rest(), FORM_END + "behind");
}

void tst_AppFormBodyParts::restBeginsWhereAFaultIs()
{
    AppFormBody unknown = Multipart("preamble\r\n" + CMD_2 + FORM_END);
    QCOMPARE(FormText(&unknown), QByteArray());
    QCOMPARE(unknown.Rest(), CMD_2 + FORM_END);

    AppFormBody unclosed = Multipart(FormField("usr", "a") + FormField("cmd", "2") + "more");
    QCOMPARE(FormText(&unclosed), QByteArray("usr=[a] cmd=[2]"));
    QCOMPARE(unclosed.Rest(), QByteArray("more"));
}

void tst_AppFormBodyParts::firstDelimiterIsFound()
{
    // All short texts that begin like a delimiter again and again, in front of one.
    QList<QByteArray> texts = {""};
    for (int i = 0; texts.at(i).size() < 6; ++i)
        texts << texts.at(i) + '-' << texts.at(i) + 'a' << texts.at(i) + 'b';
    for (const QByteArray boundary : {"", "-", "a", "-a", "ab", "aab", "a-a", "a--ab", "a--a--b"}) {
        const QByteArray delimiter = "--" + boundary;
        for (const QByteArray &text : std::as_const(texts)) {
            const QByteArray rest = text + delimiter + "--end";
            const QByteArray expected = rest.mid(rest.indexOf(delimiter));
            if (!expected.startsWith(delimiter + "--"))
                continue; // another part, not the end
            AppFormBody form(AppFormBody::TYPE_MULTIPART, QString::fromLatin1(boundary),
                             delimiter + "\r\n\r\n" + rest);
            QCOMPARE(FormText(&form), QByteArray());
            QCOMPARE(form.Status(), 0);
            QCOMPARE(form.Rest(), expected);
        }
    }
}

void tst_AppFormBodyParts::manyPartsTakeLinearTime_data()
{
    QTest::addColumn<QString>("boundary");
    QTest::addColumn<QByteArray>("body");

    constexpr int COUNT = 100000;
    const QString boundary = QStringLiteral("XyZ");
    QTest::newRow("parts") << boundary << FormField("udid", "1").repeated(COUNT) + CMD_2 + FORM_END;
    QTest::newRow("parts-without-lines")
        << boundary << CMD_2 + QByteArray("--XyZ.").repeated(COUNT) + "--XyZ--";
    QTest::newRow("part-headers") << boundary
                                  << "--XyZ\r\n" + QByteArray("X: y\r\n").repeated(COUNT) +
                                         CMD_2.mid(7) + FORM_END;
    QTest::newRow("names-in-a-part-header")
        << boundary
        << FormPart("Content-Disposition: form-data" +
                        QByteArray("; name=\"usr\"").repeated(COUNT) + "; name=\"cmd\"",
                    "2") +
               FORM_END;

    const QByteArray alike(COUNT / 2, 'a');
    const QByteArray delimiter = "--" + alike + "b";
    const QByteArray nearly = "--" + alike.chopped(1);
    QTest::newRow("boundary-and-file-alike")
        << QString::fromLatin1(alike + 'b')
        << delimiter + "\r\nContent-Disposition: form-data; name=\"up\"; filename=\"other\"" +
               "\r\n\r\n" + nearly.repeated(20) + delimiter +
               "\r\nContent-Disposition: form-data; name=\"cmd\"\r\n\r\n2\r\n" + delimiter + "--";
}

void tst_AppFormBodyParts::manyPartsTakeLinearTime()
{
    // In quadratic time this would take minutes.
    QFETCH(QString, boundary);
    QFETCH(QByteArray, body);
    AppFormBody form(AppFormBody::TYPE_MULTIPART, boundary, body);
    AppFormBody::FIELD last;
    while (form.ReadField(&last))
        continue;
    QCOMPARE(form.Status(), 0);
    QCOMPARE(last.name, QStringLiteral("cmd"));
    QCOMPARE(last.value, QStringLiteral("2"));
}

QTEST_GUILESS_MAIN(tst_AppFormBodyParts)
#include "tst_AppFormBodyParts.moc"
