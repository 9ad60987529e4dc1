// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#include "AppPrintable.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QTest>

class tst_AppPrintable : public QObject
{
    Q_OBJECT

private slots:
    void unprintable_data();
    void unprintable();
    void plainTextIsPrintable();
    void escapedForPeople_data();
    void escapedForPeople();
    void escapedJsonSaysTheSame();
    void layoutOfJsonStays();
};

void tst_AppPrintable::unprintable_data()
{
    QTest::addColumn<uint>("first");
    QTest::addColumn<uint>("last");

    QTest::newRow("c0-controls") << 0x00u << 0x1Fu;
    QTest::newRow("delete-and-c1-controls") << 0x7Fu << 0x9Fu;
    QTest::newRow("arabic-letter-mark") << 0x61Cu << 0x61Cu;
    QTest::newRow("direction-marks") << 0x200Eu << 0x200Fu;
    QTest::newRow("line-and-paragraph-separator-then-embeddings") << 0x2028u << 0x202Eu;
    QTest::newRow("isolates") << 0x2066u << 0x2069u;
    QTest::newRow("surrogates") << 0xD800u << 0xDFFFu;
}

void tst_AppPrintable::unprintable()
{
    QFETCH(uint, first);
    QFETCH(uint, last);

    for (uint point = first; point <= last; ++point)
        QVERIFY2(AppPrintable::IsUnprintable(point), qPrintable(QString::number(point, 16)));
    QVERIFY(!AppPrintable::IsUnprintable(last + 1));
    if (first > 0)
        QVERIFY(!AppPrintable::IsUnprintable(first - 1));
}

void tst_AppPrintable::plainTextIsPrintable()
{
    for (const uint point : {uint(' '), uint('~'), 0xA0u, 0xE4u, 0x20ACu, 0xFFFDu, 0x1F4BEu})
        QVERIFY2(!AppPrintable::IsUnprintable(point), qPrintable(QString::number(point, 16)));
}

void tst_AppPrintable::escapedForPeople_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("escaped");

    QTest::newRow("nothing") << QString() << QString();
    QTest::newRow("plain") << QStringLiteral("a~ ") << QStringLiteral("a~ ");
    QTest::newRow("latin-1-stays") << QString(QChar(0xA0)) << QString(QChar(0xA0));
    QTest::newRow("escape") << QStringLiteral("a\x1b[0m") << QStringLiteral("a\\x1b[0m");
    QTest::newRow("c1-control") << QString(QChar(0x9B)) << QStringLiteral("\\x9b");
    QTest::newRow("line-feed") << QStringLiteral("\n") << QStringLiteral("\\x0a");
    QTest::newRow("override") << QString(QChar(0x202E)) << QStringLiteral("\\u202e");
    QTest::newRow("arabic-letter-mark") << QString(QChar(0x61C)) << QStringLiteral("\\u061c");
    QTest::newRow("half-of-a-pair") << QString(QChar(0xD83D)) << QStringLiteral("\\ud83d");
    QTest::newRow("other-half-of-a-pair")
        << QString(QChar(0xDCBE)) + QLatin1Char('a') << QStringLiteral("\\udcbea");
    QTest::newRow("whole-pair-stays")
        << QStringLiteral("\U0001F4BEa") << QStringLiteral("\U0001F4BEa");
}

void tst_AppPrintable::escapedForPeople()
{
    QFETCH(QString, text);
    QFETCH(QString, escaped);

    QCOMPARE(AppPrintable::Escaped(text), escaped);
}

void tst_AppPrintable::escapedJsonSaysTheSame()
{
    QString text;
    for (ushort unit = 0; unit < 0xD800; ++unit)
        text += QChar(unit);
    text += QStringLiteral("\U0001F4BE");
    const QJsonObject object{{text, text}};
    const QByteArray json = AppPrintable::EscapedJson(QJsonDocument(object).toJson());
    QCOMPARE(QJsonDocument::fromJson(json).object(), object);
    for (const uint point : QString::fromUtf8(json).toUcs4())
        QVERIFY2(point == '\n' || !AppPrintable::IsUnprintable(point),
                 qPrintable(QString::number(point, 16)));
}

void tst_AppPrintable::layoutOfJsonStays()
{
    QCOMPARE(AppPrintable::EscapedJson("[\n\t\"\x7f\"\r\n]"), QByteArray("[\n\t\"\\u007f\"\r\n]"));
    QCOMPARE(AppPrintable::EscapedJson("[\"a\"]\n"), QByteArray("[\"a\"]\n"));
}

QTEST_GUILESS_MAIN(tst_AppPrintable)

#include "tst_AppPrintable.moc"
