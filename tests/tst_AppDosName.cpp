// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#include "AppDosName.h"

#include <QByteArray>
#include <QRandomGenerator>
#include <QString>
#include <QVector>
#include <QtTest>

#include <cstring>
#include <iterator>
#include <new>
#include <type_traits>

namespace
{

constexpr char PAD = char(0xA0);

/// The 16 bytes of a field that begins with `bytes`; the rest is padding.
QByteArray Field(const QByteArray &bytes)
{
    return bytes.leftJustified(16, PAD);
}

/// The bytes of `text`, in which "|" stands for the padding.
QByteArray WithPadding(const char *text)
{
    return QByteArray(text).replace('|', PAD);
}

/// A name whose field begins with `bytes`, which may hold padding followed by something else.
AppDosName Name(const QByteArray &bytes)
{
    return AppDosName::FromBytes(Field(bytes).constData());
}

QByteArray Bytes(const AppDosName &name)
{
    return QByteArray(name.Bytes(), 16);
}

/// What is matched, seen as two whole strings rather than position by position.
bool FitsAsStrings(const QByteArray &nameField, const QByteArray &patternField)
{
    const QByteArray name = nameField.left((nameField + PAD).indexOf(PAD));
    const QByteArray pattern = patternField.left((patternField + PAD).indexOf(PAD));
    const auto star = pattern.indexOf('*');
    const auto compared = star < 0 ? pattern.size() : star;
    if (star < 0 ? name.size() != compared : name.size() < compared)
        return false;
    for (int i = 0; i < compared; ++i) {
        if (pattern.at(i) != '?' && pattern.at(i) != name.at(i))
            return false;
    }
    return true;
}

/// All texts of 0 to `length` characters of `alphabet`.
QVector<QByteArray> AllTexts(const QByteArray &alphabet, int length)
{
    QVector<QByteArray> texts{QByteArray()};
    for (int begin = 0, i = 0; i < length; ++i) {
        const int end = int(texts.size());
        for (int k = begin; k < end; ++k) {
            for (const char c : alphabet)
                texts.append(QByteArray(texts.at(k)) + c);
        }
        begin = end;
    }
    return texts;
}

/// Columns and rows of candidates and patterns.
struct MATCH_ROWS {
    MATCH_ROWS()
    {
        QTest::addColumn<QByteArray>("name");
        QTest::addColumn<QByteArray>("pattern");
        QTest::addColumn<bool>("matches");
    }

    void operator()(const char *claim, const QByteArray &name, const QByteArray &pattern,
                    bool matches) const
    {
        QTest::newRow(claim) << name << pattern << matches;
    }
};

} // namespace

class tst_AppDosName : public QObject
{
    Q_OBJECT

private slots:
    void isAPlainValueOf16Bytes();
    void freshNameIsAllPadding();
    void fieldIsKeptAsItIs();
    void copyIsIndependent();

    void lengthIsThePlaceOfTheFirstPadding_data();
    void lengthIsThePlaceOfTheFirstPadding();

    void matchesPattern_data();
    void matchesPattern();
    void matchesWildcards_data();
    void matchesWildcards();
    void anyByteMatchesItselfOnly();
    void matchesLikeWholeStringsForAllShortNames();
    void matchesLikeWholeStringsForRandomFields();

    void containsWildcards_data();
    void containsWildcards();
    void noOtherByteIsAWildcard();

    void takesText_data();
    void takesText();
    void takesEachLatin1CharacterAsItsByte();
    void convertsOnlyLettersOfText();
    void textReplacesTheWholeField();

    void takesTerminatedText_data();
    void takesTerminatedText();
    void lengthOfTerminatedTextCountsModulo256_data();
    void lengthOfTerminatedTextCountsModulo256();
    void takesEachByteOfTerminatedTextAsItStands();
    void terminatedTextReplacesTheWholeField();

    void writesCharactersAndANul_data();
    void writesCharactersAndANul();
    void appendsCharacters_data();
    void appendsCharacters();
    void writesEachByteAsItsLatin1Character();
    void textComesBackUnchanged_data();
    void textComesBackUnchanged();
};

void tst_AppDosName::isAPlainValueOf16Bytes()
{
    QCOMPARE(sizeof(AppDosName), size_t(16));
    QCOMPARE(AppDosName::SIZE, 16);
    QCOMPARE(int(AppDosName::PADDING), 0xA0);
    QVERIFY(std::is_trivially_copyable<AppDosName>::value);
    QVERIFY(!std::is_polymorphic<AppDosName>::value);
}

void tst_AppDosName::freshNameIsAllPadding()
{
    // Where the name is made, other bytes have been before.
    alignas(AppDosName) unsigned char storage[sizeof(AppDosName)];
    std::memset(storage, 0x41, sizeof(storage));
    const AppDosName *const name = new (storage) AppDosName;

    QCOMPARE(Bytes(*name), QByteArray(16, PAD));
    QCOMPARE(name->Length(), 0u);
}

void tst_AppDosName::fieldIsKeptAsItIs()
{
    const QByteArray field = QByteArray::fromHex("0041FFA0422A3FA000017F80C1DA2020");
    QCOMPARE(field.size(), AppDosName::SIZE);
    QCOMPARE(Bytes(AppDosName::FromBytes(field.constData())), field);
}

void tst_AppDosName::copyIsIndependent()
{
    AppDosName original;
    original.FromString("FIRST", false);
    const AppDosName copy = original;
    original.FromString("SECOND", false);

    QCOMPARE(Bytes(copy), Field("FIRST"));
    QCOMPARE(Bytes(original), Field("SECOND"));
}

void tst_AppDosName::lengthIsThePlaceOfTheFirstPadding_data()
{
    QTest::addColumn<QByteArray>("field");
    QTest::addColumn<unsigned int>("length");

    QTest::newRow("no-character") << QByteArray() << 0u;
    QTest::newRow("one-character") << QByteArray("A") << 1u;
    QTest::newRow("15-characters") << QByteArray("ABCDEFGHIJKLMNO") << 15u;
    QTest::newRow("16-characters-without-padding") << QByteArray("ABCDEFGHIJKLMNOP") << 16u;
    QTest::newRow("text-after-padding-does-not-count") << WithPadding("AB|CD") << 2u;
    QTest::newRow("text-after-leading-padding-does-not-count") << WithPadding("|ABC") << 0u;
    QTest::newRow("space-is-a-character") << QByteArray("AB  ") << 4u;
    QTest::newRow("nul-is-a-character") << QByteArray("A\0B", 3) << 3u;
}

void tst_AppDosName::lengthIsThePlaceOfTheFirstPadding()
{
    QFETCH(QByteArray, field);
    QFETCH(unsigned int, length);

    QCOMPARE(Name(field).Length(), length);
}

void tst_AppDosName::matchesPattern_data()
{
    const MATCH_ROWS row;
    row("equal-names-match", "ABC", "ABC", true);
    row("other-character-does-not-match", "ABC", "ABD", false);
    row("other-first-character-does-not-match", "ABC", "XBC", false);
    row("case-counts", "ABC", "aBC", false);
    row("petscii-case-counts", "\xC1XY", "AXY", false);
    row("shorter-name-does-not-match", "AB", "ABC", false);
    row("longer-name-does-not-match", "ABCD", "ABC", false);
    row("empty-pattern-accepts-empty-name", "", "", true);
    row("empty-pattern-accepts-no-other-name", "A", "", false);
    row("empty-name-needs-empty-pattern", "", "A", false);

    row("16-equal-characters-match", "ABCDEFGHIJKLMNOP", "ABCDEFGHIJKLMNOP", true);
    row("last-of-16-characters-counts", "ABCDEFGHIJKLMNOP", "ABCDEFGHIJKLMNOX", false);

    row("text-after-padding-of-name-is-ignored", WithPadding("AB|CD"), "AB", true);
    row("text-after-padding-of-pattern-is-ignored", "AB", WithPadding("AB|CD"), true);
    row("star-after-padding-of-pattern-is-ignored", "ABC", WithPadding("AB|*"), false);
    row("text-after-both-paddings-is-ignored", WithPadding("AB|CD"), WithPadding("AB|XY"), true);
    row("name-does-not-go-on-after-padding", WithPadding("AB|CD"), "AB?CD", false);
}

void tst_AppDosName::matchesPattern()
{
    QFETCH(QByteArray, name);
    QFETCH(QByteArray, pattern);
    QFETCH(bool, matches);

    QCOMPARE(Name(name).MatchesPattern(Name(pattern)), matches);
    QCOMPARE(FitsAsStrings(Field(name), Field(pattern)), matches);
}

void tst_AppDosName::matchesWildcards_data()
{
    const MATCH_ROWS row;
    row("star-accepts-any-name", "GAMES", "*", true);
    row("star-accepts-empty-name", "", "*", true);
    row("star-accepts-16-characters", "ABCDEFGHIJKLMNOP", "*", true);
    row("star-accepts-the-end", "ABC", "ABC*", true);
    row("star-accepts-the-rest", "ABCDEF", "ABC*", true);
    row("text-before-star-must-fit", "ABXDEF", "ABC*", false);
    row("text-before-star-must-be-there", "AB", "ABC*", false);
    row("text-after-star-is-ignored", "ABCDEF", "ABC*XYZ", true);
    row("text-after-star-is-ignored-at-the-end", "AB", "AB*CD", true);
    row("second-star-is-ignored", "ABC", "A*X*", true);
    row("star-in-last-place-accepts-16-characters", "ABCDEFGHIJKLMNOP", "ABCDEFGHIJKLMNO*", true);
    row("star-in-last-place-accepts-15-characters", "ABCDEFGHIJKLMNO", "ABCDEFGHIJKLMNO*", true);
    row("star-in-last-place-refuses-14-characters", "ABCDEFGHIJKLMN", "ABCDEFGHIJKLMNO*", false);

    row("question-mark-accepts-the-same-character", "ABC", "A?C", true);
    row("question-mark-accepts-another-character", "AXC", "A?C", true);
    row("question-mark-needs-what-follows", "AB", "A?C", false);
    row("question-mark-is-one-character", "ABCD", "A?C", false);
    row("question-mark-never-accepts-the-end", "AB", "AB?", false);
    row("question-mark-never-accepts-empty-name", "", "?", false);
    row("question-mark-accepts-a-space", "A C", "A?C", true);
    row("question-marks-accept-16-characters", "ABCDEFGHIJKLMNOP", "????????????????", true);
    row("question-marks-need-16-characters", "ABCDEFGHIJKLMNO", "????????????????", false);
    row("question-marks-refuse-one-character-more", "ABCDEFGHIJKLMNOP", "???????????????", false);
    row("question-mark-before-star-needs-a-character", "A", "A?*", false);
    row("question-mark-before-star-accepts-more", "ABC", "A?*", true);

    row("star-in-name-is-itself", "A*", "A*", true);
    row("star-in-name-is-no-wildcard", "A*", "ABC", false);
    row("star-in-name-is-no-end", "*", "", false);
    row("question-mark-in-name-is-no-wildcard", "A?C", "ABC", false);
    row("question-mark-in-name-is-itself", "A?C", "A?C", true);
}

void tst_AppDosName::matchesWildcards()
{
    matchesPattern();
}

void tst_AppDosName::anyByteMatchesItselfOnly()
{
    for (int n = 0; n < 256; ++n) {
        for (int p = 0; p < 256; ++p) {
            const QByteArray name(1, char(n));
            const QByteArray pattern(1, char(p));
            const bool expected = n == p || p == '*' || (p == '?' && n != 0xA0);
            const bool actual = Name(name).MatchesPattern(Name(pattern));
            if (actual != expected)
                QFAIL(qPrintable(QStringLiteral("name byte %1, pattern byte %2").arg(n).arg(p)));
        }
    }
}

void tst_AppDosName::matchesLikeWholeStringsForAllShortNames()
{
    const QVector<QByteArray> texts = AllTexts("AB?*", 4);
    QCOMPARE(int(texts.size()), 1 + 4 + 16 + 64 + 256);
    int matches = 0;
    for (const QByteArray &name : texts) {
        for (const QByteArray &pattern : texts) {
            const bool expected = FitsAsStrings(Field(name), Field(pattern));
            matches += expected;
            if (Name(name).MatchesPattern(Name(pattern)) != expected)
                QFAIL((name + " against " + pattern).constData());
        }
    }
    QVERIFY(matches > int(texts.size()));
}

void tst_AppDosName::matchesLikeWholeStringsForRandomFields()
{
    QRandomGenerator random(1541);
    // Each list is a climate: mostly equal, so that late positions are reached, or wild.
    const QByteArray alphabets[] = {"A",
                                    "AAAAAAAAAAAAAAA?",
                                    "AAAAAAAAAAAAAAAA?*",
                                    "AB?*",
                                    "AAAAAAAAAAAAAAAAAAA\xA0",
                                    "AAAAA?????*\xA0",
                                    "A\xC1 a?*\xA0"};
    int matches = 0;
    int mismatches = 0;
    for (int round = 0; round < 200000; ++round) {
        QByteArray fields[2];
        for (QByteArray &field : fields) {
            const QByteArray &alphabet = alphabets[random.bounded(int(std::size(alphabets)))];
            const int length = random.bounded(2) == 0 ? 16 : random.bounded(17);
            for (int i = 0; i < length; ++i)
                field.append(alphabet.at(random.bounded(int(alphabet.size()))));
            field = Field(field);
        }
        const bool expected = FitsAsStrings(fields[0], fields[1]);
        ++(expected ? matches : mismatches);
        if (Name(fields[0]).MatchesPattern(Name(fields[1])) != expected)
            QFAIL((fields[0].toHex() + " against " + fields[1].toHex()).constData());
    }
    QVERIFY(matches > 10000);
    QVERIFY(mismatches > 10000);
}

void tst_AppDosName::containsWildcards_data()
{
    QTest::addColumn<QByteArray>("field");
    QTest::addColumn<bool>("wild");

    QTest::newRow("empty-name-has-none") << QByteArray() << false;
    QTest::newRow("letters-are-none") << QByteArray("ABC") << false;
    QTest::newRow("16-letters-are-none") << QByteArray("ABCDEFGHIJKLMNOP") << false;
    QTest::newRow("star-alone") << QByteArray("*") << true;
    QTest::newRow("question-mark-alone") << QByteArray("?") << true;
    QTest::newRow("star-at-the-end") << QByteArray("ABC*") << true;
    QTest::newRow("question-mark-inside") << QByteArray("A?C") << true;
    QTest::newRow("star-in-16th-place") << QByteArray("ABCDEFGHIJKLMNO*") << true;
    QTest::newRow("question-mark-in-16th-place") << QByteArray("ABCDEFGHIJKLMNO?") << true;
    QTest::newRow("star-after-padding-is-none") << WithPadding("ABC|*") << false;
    QTest::newRow("question-mark-after-padding-is-none") << WithPadding("|?") << false;
}

void tst_AppDosName::containsWildcards()
{
    QFETCH(QByteArray, field);
    QFETCH(bool, wild);

    QCOMPARE(Name(field).ContainsWildcards(), wild);
}

void tst_AppDosName::noOtherByteIsAWildcard()
{
    for (int c = 0; c < 256; ++c)
        QCOMPARE(Name(QByteArray(1, char(c))).ContainsWildcards(), c == 0x2A || c == 0x3F);
}

void tst_AppDosName::takesText_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<bool>("convert");
    QTest::addColumn<QByteArray>("field");

    const auto row = [](const char *claim, const QString &text, bool convert,
                        const QByteArray &bytes) {
        QTest::newRow(claim) << text << convert << Field(bytes);
    };
    const QByteArray letters = "ABCDEFGHIJKLMNOPQRSTUVWXYZ";

    row("null-text-is-the-empty-name", QString(), false, QByteArray());
    row("empty-text-is-the-empty-name", QLatin1String(""), false, QByteArray());
    row("empty-text-converted-is-the-empty-name", QLatin1String(""), true, QByteArray());
    row("lower-case-becomes-unshifted", QLatin1String("hello"), true,
        QByteArray::fromHex("48454C4C4F"));
    row("upper-case-becomes-shifted", QLatin1String("Hello"), true,
        QByteArray::fromHex("C8454C4C4F"));
    row("unconverted-text-keeps-its-codes", QLatin1String("Hello"), false,
        QByteArray::fromHex("48656C6C6F"));
    row("15-characters-leave-one-padding", QString::fromLatin1(letters.left(15)), false,
        letters.left(15));
    row("16-characters-leave-none", QString::fromLatin1(letters.left(16)), false, letters.left(16));
    row("17th-character-is-cut", QString::fromLatin1(letters.left(17)), false, letters.left(16));
    row("20-characters-are-cut-to-16", QString::fromLatin1(letters.left(20)), false,
        letters.left(16));
    row("272-characters-are-cut-to-16", QString(272, QLatin1Char('B')), false, QByteArray(16, 'B'));
    row("256-characters-are-cut-to-16", QString(256, QLatin1Char('B')), false, QByteArray(16, 'B'));
    row("cut-text-is-converted", QString::fromLatin1(letters.left(20)), true,
        QByteArray::fromHex("C1C2C3C4C5C6C7C8C9CACBCCCDCECFD0"));
    row("no-character-is-refused", QLatin1String("\"$0:A,B=C/*?\\\""), false,
        QByteArray("\"$0:A,B=C/*?\\\""));
    row("no-character-is-refused-converted", QLatin1String("\"$0:,=/*?\\ @_\""), true,
        QByteArray("\"$0:,=/*?\\ @_\""));
    row("space-stays-a-space", QLatin1String("a b "), true, QByteArray::fromHex("41204220"));
    row("latin-1-character-is-its-code", QString(QChar(0xE4)) + QChar(0xFF) + QChar(0x80), true,
        QByteArray::fromHex("E4FF80"));
    row("character-beyond-latin-1-becomes-0", QLatin1String("a") + QChar(0x20AC) + QChar(0x0100),
        false, QByteArray::fromHex("610000"));
    row("character-beyond-latin-1-becomes-0-converted",
        QLatin1String("a") + QChar(0x20AC) + QLatin1Char('b'), true, QByteArray::fromHex("410042"));
    // U+1F4BE, a floppy disk, is two UTF-16 units.
    row("character-beyond-16-bits-becomes-two", QString(QChar(0xD83D)) + QChar(0xDCBE), false,
        QByteArray::fromHex("0000"));
    row("nul-is-a-character", QString(QLatin1Char('A')) + QChar(0) + QLatin1Char('B'), false,
        QByteArray::fromHex("410042"));
    row("no-break-space-is-the-padding", QLatin1String("ab") + QChar(0xA0) + QLatin1String("c"),
        true, QByteArray::fromHex("4142A043"));
}

void tst_AppDosName::takesText()
{
    QFETCH(QString, text);
    QFETCH(bool, convert);
    QFETCH(QByteArray, field);

    AppDosName name;
    name.FromString(text, convert);
    QCOMPARE(Bytes(name), field);

    const QString longer = QLatin1Char('<') + text + QLatin1Char('>');
    AppDosName ofPart;
    ofPart.FromString(QStringView(longer).mid(1, text.size()), convert);
    QCOMPARE(Bytes(ofPart), field);
}

void tst_AppDosName::takesEachLatin1CharacterAsItsByte()
{
    for (int c = 0; c < 256; ++c) {
        AppDosName name;
        name.FromString(QString(QChar(c)), false);
        QCOMPARE(Bytes(name), Field(QByteArray(1, char(c))));
    }
}

void tst_AppDosName::convertsOnlyLettersOfText()
{
    for (int c = 0; c < 256; ++c) {
        int petscii = c;
        if (c >= 'A' && c <= 'Z')
            petscii = 0xC1 + (c - 'A');
        if (c >= 'a' && c <= 'z')
            petscii = 0x41 + (c - 'a');
        const QByteArray expected = Field(QByteArray(1, char(petscii)));

        AppDosName name;
        name.FromString(QString(QChar(c)), true);
        QCOMPARE(Bytes(name), expected);

        if (c == 0)
            continue;
        name.FromString(QByteArray(1, char(c)).constData(), true);
        QCOMPARE(Bytes(name), expected);
    }
}

void tst_AppDosName::textReplacesTheWholeField()
{
    AppDosName name = Name("ABCDEFGHIJKLMNOP");
    name.FromString(QStringLiteral("X"), false);
    QCOMPARE(Bytes(name), Field("X"));

    name = Name(WithPadding("AB|CDEFGHIJKLMNO"));
    name.FromString(QString(), true);
    QCOMPARE(Bytes(name), QByteArray(16, PAD));
}

void tst_AppDosName::takesTerminatedText_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<bool>("convert");
    QTest::addColumn<QByteArray>("field");

    const auto row = [](const char *claim, const QByteArray &text, bool convert,
                        const QByteArray &bytes) {
        QTest::newRow(claim) << text << convert << Field(bytes);
    };

    row("empty-text-is-the-empty-name", "", false, QByteArray());
    row("empty-text-converted-is-the-empty-name", "", true, QByteArray());
    row("lower-case-becomes-unshifted", "hello", true, QByteArray::fromHex("48454C4C4F"));
    row("upper-case-becomes-shifted", "Hello", true, QByteArray::fromHex("C8454C4C4F"));
    row("unconverted-text-keeps-its-codes", "Hello", false, QByteArray::fromHex("48656C6C6F"));
    row("text-ends-at-its-nul", QByteArray("AB\0CD", 5), false, "AB");
    row("bytes-are-not-decoded", "\xC3\xA4\xE2\x82\xAC", false, QByteArray::fromHex("C3A4E282AC"));
    row("20-characters-are-cut-to-16", "ABCDEFGHIJKLMNOPQRST", false, "ABCDEFGHIJKLMNOP");
    row("no-character-is-refused", "\"$0:A,B=C/*?\\\"", false, "\"$0:A,B=C/*?\\\"");
    row("padding-byte-is-kept", WithPadding("AB|C"), false, QByteArray::fromHex("4142A043"));
    row("padding-byte-is-kept-converted", WithPadding("ab|c"), true,
        QByteArray::fromHex("4142A043"));
}

void tst_AppDosName::takesTerminatedText()
{
    QFETCH(QByteArray, text);
    QFETCH(bool, convert);
    QFETCH(QByteArray, field);

    AppDosName name;
    name.FromString(text.constData(), convert);
    QCOMPARE(Bytes(name), field);
}

void tst_AppDosName::lengthOfTerminatedTextCountsModulo256_data()
{
    QTest::addColumn<int>("length");
    QTest::addColumn<unsigned int>("taken");

    QTest::newRow("0-are-none") << 0 << 0u;
    QTest::newRow("1-is-1") << 1 << 1u;
    QTest::newRow("15-are-15") << 15 << 15u;
    QTest::newRow("16-are-16") << 16 << 16u;
    QTest::newRow("17-are-16") << 17 << 16u;
    QTest::newRow("128-are-16") << 128 << 16u;
    QTest::newRow("255-are-16") << 255 << 16u;
    QTest::newRow("256-are-none") << 256 << 0u;
    QTest::newRow("257-are-1") << 257 << 1u;
    QTest::newRow("271-are-15") << 271 << 15u;
    QTest::newRow("272-are-16") << 272 << 16u;
    QTest::newRow("511-are-16") << 511 << 16u;
    QTest::newRow("512-are-none") << 512 << 0u;
    QTest::newRow("65539-are-3") << 65539 << 3u;
}

void tst_AppDosName::lengthOfTerminatedTextCountsModulo256()
{
    QFETCH(int, length);
    QFETCH(unsigned int, taken);

    AppDosName name;
    name.FromString(QByteArray(length, 'Q').constData(), false);
    QCOMPARE(Bytes(name), Field(QByteArray(int(taken), 'Q')));
    QCOMPARE(name.Length(), taken);
}

void tst_AppDosName::takesEachByteOfTerminatedTextAsItStands()
{
    for (int c = 1; c < 256; ++c) {
        AppDosName name;
        name.FromString(QByteArray(1, char(c)).constData(), false);
        QCOMPARE(Bytes(name), Field(QByteArray(1, char(c))));
    }
}

void tst_AppDosName::terminatedTextReplacesTheWholeField()
{
    AppDosName name = Name("ABCDEFGHIJKLMNOP");
    name.FromString("X", false);
    QCOMPARE(Bytes(name), Field("X"));

    name = Name(WithPadding("AB|CDEFGHIJKLMNO"));
    name.FromString("", true);
    QCOMPARE(Bytes(name), QByteArray(16, PAD));
}

void tst_AppDosName::writesCharactersAndANul_data()
{
    QTest::addColumn<QByteArray>("field");
    QTest::addColumn<bool>("convert");
    QTest::addColumn<QByteArray>("written");

    const auto row = [](const char *claim, const QByteArray &field, bool convert,
                        const QByteArray &written) {
        QTest::newRow(claim) << field << convert << written;
    };

    row("empty-name-writes-the-nul-alone", "", false, QByteArray(1, '\0'));
    row("short-name", "ABC", false, QByteArray("ABC\0", 4));
    row("16-characters-write-17-bytes", "ABCDEFGHIJKLMNOP", false,
        QByteArray("ABCDEFGHIJKLMNOP\0", 17));
    row("16-characters-converted-write-17-bytes", "ABCDEFGHIJKLMNOP", true,
        QByteArray("abcdefghijklmnop\0", 17));
    row("unconverted-bytes-stand", QByteArray::fromHex("C8454C4C4F"), false,
        QByteArray::fromHex("C8454C4C4F00"));
    row("petscii-letters-become-ascii", QByteArray::fromHex("C8454C4C4F"), true,
        QByteArray("Hello\0", 6));
    row("other-bytes-are-not-converted", QByteArray::fromHex("20313261DBFF"), true,
        QByteArray::fromHex("20313261DBFF00"));
    row("text-after-padding-is-not-written", WithPadding("AB|CD"), true, QByteArray("ab\0", 3));
    row("nul-is-a-character", QByteArray("A\0B", 3), false, QByteArray("A\0B\0", 4));
}

void tst_AppDosName::writesCharactersAndANul()
{
    QFETCH(QByteArray, field);
    QFETCH(bool, convert);
    QFETCH(QByteArray, written);

    // What lies behind the text stays untouched.
    QByteArray out(20, char(0x55));
    Name(field).ToString(out.data(), convert);
    QCOMPARE(out, written.leftJustified(20, char(0x55)));
}

void tst_AppDosName::appendsCharacters_data()
{
    QTest::addColumn<QByteArray>("field");
    QTest::addColumn<bool>("convert");
    QTest::addColumn<QString>("before");
    QTest::addColumn<QString>("after");

    const auto row = [](const char *claim, const QByteArray &field, bool convert,
                        const QString &before, const QString &after) {
        QTest::newRow(claim) << field << convert << before << after;
    };

    row("empty-name-appends-nothing", "", true, QStringLiteral("x"), QStringLiteral("x"));
    row("empty-name-gives-empty-text", "", false, QString(), QString());
    row("text-in-front-is-kept", "ABC", false, QStringLiteral("0:"), QStringLiteral("0:ABC"));
    row("16-characters", "ABCDEFGHIJKLMNOP", false, QString(), QStringLiteral("ABCDEFGHIJKLMNOP"));
    row("lower-case-comes-back", QByteArray::fromHex("48454C4C4F"), true, QString(),
        QStringLiteral("hello"));
    row("upper-case-comes-back", QByteArray::fromHex("C8454C4C4F"), true, QString(),
        QStringLiteral("Hello"));
    row("unconverted-bytes-are-latin-1", QByteArray::fromHex("C8454CFF80"), false, QString(),
        QString(QChar(0xC8)) + QLatin1String("EL") + QChar(0xFF) + QChar(0x80));
    row("text-after-padding-is-not-appended", WithPadding("AB|CD"), false, QString(),
        QStringLiteral("AB"));
    row("nul-is-a-character", QByteArray("A\0B", 3), false, QString(),
        QString(QLatin1Char('A')) + QChar(0) + QLatin1Char('B'));
}

void tst_AppDosName::appendsCharacters()
{
    QFETCH(QByteArray, field);
    QFETCH(bool, convert);
    QFETCH(QString, before);
    QFETCH(QString, after);

    QString out = before;
    Name(field).ToString(&out, convert);
    QCOMPARE(out, after);
}

void tst_AppDosName::writesEachByteAsItsLatin1Character()
{
    for (int c = 0; c < 256; ++c) {
        if (c == 0xA0)
            continue;
        int ascii = c;
        if (c >= 0x41 && c <= 0x5A)
            ascii = 'a' + (c - 0x41);
        if (c >= 0xC1 && c <= 0xDA)
            ascii = 'A' + (c - 0xC1);
        const AppDosName name = Name(QByteArray(1, char(c)));

        QString text;
        name.ToString(&text, false);
        QCOMPARE(text, QString(QChar(c)));
        text.clear();
        name.ToString(&text, true);
        QCOMPARE(text, QString(QChar(ascii)));

        char bytes[17];
        name.ToString(bytes, false);
        QCOMPARE(QByteArray(bytes, 2), QByteArray(1, char(c)) + '\0');
        name.ToString(bytes, true);
        QCOMPARE(QByteArray(bytes, 2), QByteArray(1, char(ascii)) + '\0');
    }
}

void tst_AppDosName::textComesBackUnchanged_data()
{
    QTest::addColumn<QString>("text");

    QTest::newRow("empty") << QString();
    QTest::newRow("lower-case") << QStringLiteral("hello");
    QTest::newRow("mixed-case") << QStringLiteral("Hello");
    QTest::newRow("digits-and-signs") << QStringLiteral("a-1 (b).prg+*?");
    QTest::newRow("16-letters") << QStringLiteral("AbcdefghijklmnoZ");
}

void tst_AppDosName::textComesBackUnchanged()
{
    QFETCH(QString, text);

    for (const bool convert : {false, true}) {
        AppDosName name;
        name.FromString(text, convert);
        QString fromText;
        name.ToString(&fromText, convert);
        QCOMPARE(fromText, text);

        name.FromString(text.toLatin1().constData(), convert);
        char bytes[AppDosName::SIZE + 1];
        name.ToString(bytes, convert);
        QCOMPARE(QString::fromLatin1(bytes), text);
    }
}

QTEST_GUILESS_MAIN(tst_AppDosName)
#include "tst_AppDosName.moc"
