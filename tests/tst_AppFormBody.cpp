// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#include "AppFormBody.h"
#include "FormParts.h"
#include "FormText.h"
#include "LiteralBytes.h"

#include <QTest>

namespace
{

struct PAIRS_ROW {
    const char *name;
    QByteArray body;
    QByteArray fields;
};

const PAIRS_ROW PAIRS[] = {
    {"empty-body", "", ""},
    {"all-properties", "usr=u&pwd=p&dev=1&udid=i&pat=n&cmd=2&req=3&mem=4",
     "usr=[u] pwd=[p] dev=[1] udid=[i] pat=[n] cmd=[2] req=[3] mem=[4]"},
    {"empty-piece-is-skipped", "cmd=1&&pat=A%2A&udid=42", "cmd=[1] pat=[A*] udid=[42]"},
    {"empty-pieces-at-the-ends", "&cmd=1&", "cmd=[1]"},
    {"any-name-is-read", "foo=1&CMD=2&cmd=3", "foo=[1] CMD=[2] cmd=[3]"},
    {"given-twice-is-read-twice", "usr=a&usr=b&cmd=1&cmd=2", "usr=[a] usr=[b] cmd=[1] cmd=[2]"},
    {"number-is-text", "cmd=1&cmd=x&req=y", "cmd=[1] cmd=[x] req=[y]"},
    {"plus-is-a-blank", "usr=a+b", "usr=[a b]"},
    {"encoded-plus-stays", "usr=a%2Bb", "usr=[a+b]"},
    {"plus-in-a-code-is-replaced-first", "usr=%+41", "usr=[% 41]"},
    {"hexadecimal-in-both-cases", "usr=%4a%4B%4c%4D", "usr=[JKLM]"},
    {"hexadecimal-first-and-last-digits", "usr=%30%39%4a%4f%4A%4F", "usr=[09JOJO]"},
    {"decoded-once-only", "usr=%2541", "usr=[%41]"},
    {"percent-without-digits-stays", "usr=100%", "usr=[100%]"},
    {"percent-before-one-digit-stays", "usr=100%4", "usr=[100%4]"},
    {"percent-before-other-characters-stays", "usr=%zz%4g%g4", "usr=[%zz%4g%g4]"},
    {"percent-before-a-code", "usr=%%41", "usr=[%A]"},
    {"percent-and-digit-before-a-code", "usr=%4%41", "usr=[%4A]"},
    {"percent-before-the-next-piece", "usr=a%&cmd=1", "usr=[a%] cmd=[1]"},
    {"percent-before-sign-stays", "usr=%-1%+1", "usr=[%-1% 1]"},
    {"utf-8", "usr=%C3%A9%E2%82%AC", "usr=[\xC3\xA9\xE2\x82\xAC]"},
    {"utf-8-as-it-stands", "usr=\xC3\xA9", "usr=[\xC3\xA9]"},
    {"utf-8-half-encoded", "usr=%C3\xA9", "usr=[\xC3\xA9]"},
    {"utf-8-beyond-16-bits", "usr=%F0%9F%92%BE", "usr=[\xF0\x9F\x92\xBE]"},
    {"utf-8-cut-off", "usr=a%C3&cmd=1", "usr=[a\xEF\xBF\xBD] cmd=[1]"},
    {"no-utf-8", "usr=a%FFb&cmd=1",
     "usr=[a\xEF\xBF\xBD"
     "b] cmd=[1]"},
    {"encoded-nul-stays", "usr=a%00b&cmd=1", LiteralBytes("usr=[a\0b] cmd=[1]")},
    {"nul-stays", LiteralBytes("usr=a\0b&cmd=1"), LiteralBytes("usr=[a\0b] cmd=[1]")},
    {"encoded-name", "%75s%72=a", "usr=[a]"},
    {"value-ends-at-equals-sign", "usr=a=b&cmd=1", "usr=[a] cmd=[1]"},
    {"value-ends-at-encoded-equals-sign", "usr=a%3Db&cmd=1", "usr=[a] cmd=[1]"},
    {"value-ends-at-encoded-ampersand", "usr=a%26cmd=2", "usr=[a] cmd=[2]"},
    {"encoded-equals-sign-splits", "usr%3Da", "usr=[a]"},
    {"semicolon-does-not-split", "usr=a;cmd=1", "usr=[a;cmd]"},
    {"line-end-does-not-split", "usr=a\r\ncmd=1", "usr=[a\r\ncmd]"},
    {"value-is-trimmed", "usr=+a+b%20&pat=%20%20X", "usr=[a b] pat=[X]"},
    {"value-before-a-line-end-is-trimmed", "cmd=1&usr=bob\r\n", "cmd=[1] usr=[bob]"},
    {"name-is-trimmed", "+usr%09=a&\r\ncmd=1", "usr=[a] cmd=[1]"},
    {"empty-value-is-skipped", "usr=a&usr=&req=&cmd=1", "usr=[a] cmd=[1]"},
    {"blank-value-is-skipped", "usr=a&usr=+%09&cmd=1", "usr=[a] cmd=[1]"},
    {"value-behind-two-equals-signs-is-skipped", "usr=a&usr==b&cmd=1", "usr=[a] cmd=[1]"},
    {"name-alone-is-skipped", "usr&cmd=1&req", "cmd=[1]"},
    {"value-without-name", "=a&cmd=1", "=[a] cmd=[1]"},
    {"equals-sign-alone-is-skipped", "=&cmd=1", "cmd=[1]"},
    {"byte-order-mark-first-is-dropped", "%EF%BB%BFusr=a", "usr=[a]"},
    {"byte-order-mark-later-stays", "usr=%EF%BB%BFa&\xEF\xBB\xBFpwd=b",
     "usr=[\xEF\xBB\xBF"
     "a] \xEF\xBB\xBFpwd=[b]"},
    {"byte-order-mark-behind-another-stays", "\xEF\xBB\xBF\xEF\xBB\xBFusr=a",
     "\xEF\xBB\xBFusr=[a]"},
    {"hard-blanks-are-trimmed", "%C2%A0usr=%C2%A0a%E3%80%80", "usr=[a]"},
};

AppFormBody UrlEncoded(const QByteArray &body)
{
    return AppFormBody(AppFormBody::TYPE_URL_ENCODED, QString(), body);
}

} // namespace

class tst_AppFormBody : public QObject
{
    Q_OBJECT

private slots:
    void pairs_data();
    void pairs();
    void pairsAreReadToTheEnd();
    void fieldsAreReadInOrder();
    void fieldsDoNotShareTheirText();
    void bytesOfTheCallerStay();
    void otherTypesAreNotRead();
    void manyPairsTakeLinearTime_data();
    void manyPairsTakeLinearTime();
};

void tst_AppFormBody::pairs_data()
{
    QTest::addColumn<QByteArray>("body");
    QTest::addColumn<QByteArray>("fields");

    for (const PAIRS_ROW &row : PAIRS)
        QTest::newRow(row.name) << row.body << row.fields;
}

void tst_AppFormBody::pairs()
{
    QFETCH(QByteArray, body);
    AppFormBody form = UrlEncoded(body);
    QTEST(FormText(&form), "fields");
    QCOMPARE(form.Status(), 0);
}

void tst_AppFormBody::pairsAreReadToTheEnd()
{
    AppFormBody form = UrlEncoded("usr=a%20b&cmd=1&");
    AppFormBody::FIELD field;
    QVERIFY(form.ReadField(&field));
    QCOMPARE(form.Rest(), QByteArray("cmd=1&"));
    QVERIFY(form.ReadField(&field));
    QVERIFY(!form.ReadField(&field));
    QVERIFY(!form.ReadField(&field));
    QCOMPARE(form.Bytes(), QByteArray("usr=a b&cmd=1&"));
    QCOMPARE(form.Rest(), QByteArray());
    QCOMPARE(form.PackageSize(), qsizetype(0));
}

void tst_AppFormBody::fieldsAreReadInOrder()
{
    AppFormBody pairs = UrlEncoded("b=1&a=2&b=3");
    QCOMPARE(FormText(&pairs), QByteArray("b=[1] a=[2] b=[3]"));

    AppFormBody parts(AppFormBody::TYPE_MULTIPART, QStringLiteral("XyZ"),
                      FormField("b", "1") + FormField("a", "2") + FormField("b", "3") + FORM_END);
    QCOMPARE(FormText(&parts), QByteArray("b=[1] a=[2] b=[3]"));
}

void tst_AppFormBody::fieldsDoNotShareTheirText()
{
    AppFormBody form = UrlEncoded("first=11111&second=2&third=%C3%A9");
    AppFormBody::FIELD first;
    QVERIFY(form.ReadField(&first));
    AppFormBody::FIELD next = first;
    QVERIFY(form.ReadField(&next));
    QCOMPARE(next.value, QStringLiteral("2"));
    QVERIFY(form.ReadField(&next));
    QCOMPARE(next.value, QString(QChar(0xE9)));
    QCOMPARE(first.name, QStringLiteral("first"));
    QCOMPARE(first.value, QStringLiteral("11111"));
}

void tst_AppFormBody::bytesOfTheCallerStay()
{
    const QByteArray body = "usr=a%20b";
    AppFormBody form = UrlEncoded(body);
    QCOMPARE(FormText(&form), QByteArray("usr=[a b]"));
    QCOMPARE(body, QByteArray("usr=a%20b"));
}

void tst_AppFormBody::otherTypesAreNotRead()
{
    for (const QByteArray &body : {QByteArray("cmd=1&usr=a"), FormField("cmd", "2") + FORM_END}) {
        AppFormBody form(AppFormBody::TYPE_OTHER, QStringLiteral("XyZ"), body);
        QCOMPARE(FormText(&form), QByteArray());
        QCOMPARE(form.Status(), 0);
        QCOMPARE(form.Rest(), body);
    }
}

void tst_AppFormBody::manyPairsTakeLinearTime_data()
{
    QTest::addColumn<QByteArray>("body");
    QTest::addColumn<QByteArray>("last");

    constexpr int COUNT = 100000;
    QByteArray pairs;
    for (int i = 1; i <= COUNT; ++i)
        pairs += "udid=" + QByteArray::number(i) + '&';
    QTest::newRow("pairs") << pairs << QByteArray("100000");
    QTest::newRow("encoded-separators")
        << QByteArray("udid%3D1%26").repeated(COUNT) + "cmd=1" << QByteArray("1");
    QTest::newRow("empty-pairs") << QByteArray(COUNT, '&') + "cmd=1" << QByteArray("1");
    QTest::newRow("equals-signs") << "usr" + QByteArray(COUNT, '=') + "&cmd=1" << QByteArray("1");
    QTest::newRow("percent-signs") << "cmd=1&=" + QByteArray(COUNT, '%') << QByteArray(COUNT, '%');
    QTest::newRow("blanks") << "cmd=1&usr=" + QByteArray(COUNT, '+') << QByteArray("1");
}

void tst_AppFormBody::manyPairsTakeLinearTime()
{
    // In quadratic time this would take minutes.
    QFETCH(QByteArray, body);
    AppFormBody form = UrlEncoded(body);
    AppFormBody::FIELD field;
    QByteArray last;
    while (form.ReadField(&field))
        last = field.value.toUtf8();
    QTEST(last, "last");
}

QTEST_GUILESS_MAIN(tst_AppFormBody)
#include "tst_AppFormBody.moc"
