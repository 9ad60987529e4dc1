// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#include "AppDosName.h"
#include "CheckName.h"

#include <QTest>

Q_DECLARE_METATYPE(AppDosName)

namespace
{

/// The name that the hub makes of a file's base name.
AppDosName Name(const QString &text)
{
    AppDosName name;
    name.FromString(text, true);
    return name;
}

/// The name of these bytes, padded.
AppDosName Petscii(const QByteArray &bytes)
{
    return AppDosName::FromBytes(bytes.leftJustified(AppDosName::SIZE, char(0xA0)).constData());
}

} // namespace

class tst_CheckName : public QObject
{
    Q_OBJECT

private slots:
    void screen_data();
    void screen();
    void everyCodeHasOneGlyph();
    void codesThatLookAlikeHaveTheSameGlyph();
    void pattern_data();
    void pattern();
    void patternFitsItsName_data();
    void patternFitsItsName();
    void wildcardsArePlacesOfThePattern();
    void keys_data();
    void keys();
    void faults_data();
    void faults();
};

void tst_CheckName::screen_data()
{
    QTest::addColumn<AppDosName>("name");
    QTest::addColumn<QString>("screen");

    QTest::newRow("small-letters-are-capitals") << Name(QStringLiteral("games")) << "GAMES";
    QTest::newRow("capitals-are-graphics") << Name(QStringLiteral("ASXZ")) << "♠♥♣♦";
    QTest::newRow("digits-and-signs-stay") << Name(QStringLiteral("1+1 @[]#")) << "1+1 @[]#";
    QTest::newRow("backslash-is-a-pound") << Name(QStringLiteral("a\\b")) << "A£B";
    QTest::newRow("caret-is-an-arrow") << Name(QStringLiteral("a^b")) << "A↑B";
    QTest::newRow("underscore-is-an-arrow") << Name(QStringLiteral("a_b")) << "A←B";
    QTest::newRow("braces-are-graphics") << Name(QStringLiteral("{|}~`")) << "┼▒│π─";
    QTest::newRow("latin1-is-graphics") << Name(QStringLiteral("ä¡ÿ")) << "▁▌π";
    QTest::newRow("beyond-latin1-ends-it") << Name(QStringLiteral("a日b")) << "A";
    QTest::newRow("control-codes-have-none")
        << Name(QStringLiteral("a\x1Bz\x0D")) << QStringLiteral("A\uFFFDZ\uFFFD");
    QTest::newRow("high-control-codes-have-none")
        << Petscii(QByteArray::fromHex("41809F")) << QStringLiteral("A\uFFFD\uFFFD");
    QTest::newRow("padding-ends-it") << Petscii(QByteArray::fromHex("41A042")) << "A";
    QTest::newRow("empty") << AppDosName() << "";
    QTest::newRow("sixteen-characters")
        << Name(QStringLiteral("abcdefghijklmnopq")) << "ABCDEFGHIJKLMNOP";
}

void tst_CheckName::screen()
{
    QFETCH(AppDosName, name);
    QTEST(CheckName::Screen(name), "screen");
}

void tst_CheckName::everyCodeHasOneGlyph()
{
    for (int code = 1; code < 0x100; ++code) {
        const QString screen = CheckName::Screen(Petscii(QByteArray(1, char(code))));
        QCOMPARE(screen.size(), code == AppDosName::PADDING ? 0 : 1);
        QVERIFY2(screen.isEmpty() || screen.at(0).isPrint() || screen.at(0) == QChar(0xFFFD),
                 qPrintable(screen));
    }
}

void tst_CheckName::codesThatLookAlikeHaveTheSameGlyph()
{
    const auto screen = [](int code) {
        return CheckName::Screen(Petscii(QByteArray(1, char(code))));
    };
    for (int code = 0x60; code < 0x7F; ++code)
        QCOMPARE(screen(code), screen(code + 0x60));
    for (int code = 0xA1; code < 0xBF; ++code)
        QCOMPARE(screen(code), screen(code + 0x40));
    QCOMPARE(screen(0xDE), screen(0xFF));
}

void tst_CheckName::pattern_data()
{
    QTest::addColumn<AppDosName>("name");
    QTest::addColumn<QString>("pattern");

    QTest::newRow("plain") << Name(QStringLiteral("games")) << "games";
    QTest::newRow("case-stays") << Name(QStringLiteral("Boulder Dash")) << "Boulder Dash";
    QTest::newRow("signs-stay") << Name(QStringLiteral("a+b%c'd/e_f")) << "a+b%c'd/e_f";
    QTest::newRow("quotation-mark") << Name(QStringLiteral("a\"b")) << "a?b";
    QTest::newRow("star") << Name(QStringLiteral("a*b")) << "a?b";
    QTest::newRow("question-mark") << Name(QStringLiteral("a?b")) << "a?b";
    QTest::newRow("ampersand") << Name(QStringLiteral("a&b")) << "a?b";
    QTest::newRow("equals-sign") << Name(QStringLiteral("a=b")) << "a?b";
    QTest::newRow("blank-in-front") << Name(QStringLiteral(" ab")) << "?ab";
    QTest::newRow("blank-at-the-end") << Name(QStringLiteral("ab ")) << "ab?";
    QTest::newRow("blank-at-the-cut")
        << Name(QStringLiteral("abcdefghijklmno pq")) << "abcdefghijklmno?";
    QTest::newRow("blank-inside") << Name(QStringLiteral("a b")) << "a b";
    QTest::newRow("latin1") << Name(QStringLiteral("über")) << "?ber";
    QTest::newRow("latin1-of-a-shifted-letter") << Name(QStringLiteral("ÁB")) << "AB";
    QTest::newRow("latin1-of-the-last-shifted-letter") << Name(QStringLiteral("Ú")) << "Z";
    QTest::newRow("latin1-before-the-shifted-letters") << Name(QStringLiteral("À")) << "?";
    QTest::newRow("latin1-behind-the-shifted-letters") << Name(QStringLiteral("Û")) << "?";
    QTest::newRow("beyond-latin1") << Name(QStringLiteral("日本")) << "??";
    QTest::newRow("two-units-are-two-places") << Name(QStringLiteral("a😀")) << "a??";
    QTest::newRow("braces") << Name(QStringLiteral("a{b|c}d~e`")) << "a?b?c?d?e?";
    QTest::newRow("control-code") << Name(QStringLiteral("a\tb")) << "a?b";
    QTest::newRow("empty") << AppDosName() << "";
}

void tst_CheckName::pattern()
{
    QFETCH(AppDosName, name);
    QTEST(CheckName::Pattern(name), "pattern");
}

void tst_CheckName::patternFitsItsName_data()
{
    pattern_data();
}

void tst_CheckName::patternFitsItsName()
{
    QFETCH(AppDosName, name);
    QVERIFY(name.MatchesPattern(Name(CheckName::Pattern(name))));
}

void tst_CheckName::wildcardsArePlacesOfThePattern()
{
    QCOMPARE(CheckName::Wildcards(Name(QStringLiteral("games"))), 0u);
    QCOMPARE(CheckName::Wildcards(Name(QStringLiteral("&a=b"))), 5u);
    QCOMPARE(CheckName::Wildcards(Name(QStringLiteral("abcdefghijklmno*"))), 0x8000u);
    QCOMPARE(CheckName::Wildcards(AppDosName()), 0u);
}

void tst_CheckName::keys_data()
{
    QTest::addColumn<AppDosName>("name");
    QTest::addColumn<QString>("keys");

    QTest::newRow("small-letters") << Name(QStringLiteral("games")) << "GAMES";
    QTest::newRow("one-with-shift") << Name(QStringLiteral("Games")) << "{G}AMES";
    QTest::newRow("several-with-shift") << Name(QStringLiteral("aBCd")) << "A{BC}D";
    QTest::newRow("shift-up-to-the-end") << Name(QStringLiteral("aB")) << "A{B}";
    QTest::newRow("first-and-last-shifted-letter") << Name(QStringLiteral("AZ")) << "{AZ}";
    QTest::newRow("signs-have-keys-of-their-own") << Name(QStringLiteral("a_^\\1")) << "A←↑£1";
    QTest::newRow("wildcard") << Name(QStringLiteral("a&b")) << "A?B";
    QTest::newRow("wildcard-ends-shift") << Name(QStringLiteral("AäB")) << "{A}?{B}";
    QTest::newRow("slash-is-typed") << Name(QStringLiteral("a/b")) << "A/B";
    QTest::newRow("beyond-latin1-goes-on") << Name(QStringLiteral("a日b")) << "A?B";
    QTest::newRow("empty") << AppDosName() << "";
}

void tst_CheckName::keys()
{
    QFETCH(AppDosName, name);
    QTEST(CheckName::Keys(name), "keys");
}

void tst_CheckName::faults_data()
{
    QTest::addColumn<AppDosName>("name");
    QTest::addColumn<QStringList>("words"); // one in each of the faults

    QTest::newRow("none") << Name(QStringLiteral("Boulder_Dash 2+")) << QStringList();
    QTest::newRow("quotation-mark")
        << Name(QStringLiteral("a\"b")) << QStringList{QStringLiteral("quotation mark")};
    QTest::newRow("star") << Name(QStringLiteral("a*")) << QStringList{QStringLiteral("\"*\"")};
    QTest::newRow("question-mark")
        << Name(QStringLiteral("?a")) << QStringList{QStringLiteral("\"?\"")};
    QTest::newRow("slash") << Name(QStringLiteral("a/b")) << QStringList{QStringLiteral("\"/\"")};
    QTest::newRow("ampersand") << Name(QStringLiteral("a&b"))
                               << QStringList{QStringLiteral("\"&\" or \"=\"")};
    QTest::newRow("equals-sign") << Name(QStringLiteral("a=b"))
                                 << QStringList{QStringLiteral("\"&\" or \"=\"")};
    QTest::newRow("outer-blank") << Name(QStringLiteral("a "))
                                 << QStringList{QStringLiteral("blank")};
    QTest::newRow("no-key") << Name(QStringLiteral("ä")) << QStringList{QStringLiteral("no key")};
    QTest::newRow("beyond-latin1")
        << Name(QStringLiteral("本")) << QStringList{QStringLiteral("beyond Latin-1")};
    QTest::newRow("each-once-in-order")
        << Name(QStringLiteral("*a*ü*"))
        << QStringList{QStringLiteral("\"*\""), QStringLiteral("no key")};
    QTest::newRow("empty") << AppDosName() << QStringList{QStringLiteral("nothing")};
}

void tst_CheckName::faults()
{
    QFETCH(AppDosName, name);
    QFETCH(QStringList, words);

    const QStringList faults = CheckName::Faults(name);
    QCOMPARE(faults.size(), words.size());
    for (int i = 0; i < faults.size(); ++i)
        QVERIFY2(faults.at(i).contains(words.at(i)), qPrintable(faults.at(i)));
}

QTEST_GUILESS_MAIN(tst_CheckName)
#include "tst_CheckName.moc"
