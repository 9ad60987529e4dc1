// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#include "AppBodyCursor.h"
#include "LiteralBytes.h"
#include "MxSearch.h"

#include <QTest>

namespace
{

struct LINE_ROW {
    const char *name;
    QByteArray bytes;
    const char *line;
    QByteArray rest;
};

const LINE_ROW LINES[] = {
    {"line-ends-at-carriage-return", "ab\r\ncd", "ab", "cd"},
    {"last-line", "ab\r\n", "ab", ""},
    {"empty-line", "\r\nab", "", "ab"},
    {"only-one-line-is-taken", "ab\r\n\r\ncd\r\n", "ab", "\r\ncd\r\n"},
    {"without-carriage-return-one-byte-is-lost", "xyz", "", "yz"},
    {"without-carriage-return-a-line-feed-is-no-end", "x\nz", "", "\nz"},
    {"one-byte-is-lost", "x", "", ""},
    {"empty-content-stays-empty", "", "", ""},
    {"byte-behind-carriage-return-is-not-looked-at", "ab\rXcd", "ab", "cd"},
    {"carriage-return-behind-carriage-return-is-lost", "ab\r\r\ncd", "ab", "\ncd"},
    {"carriage-return-at-the-end", "ab\r", "ab", ""},
    {"nothing-but-carriage-return", "\r", "", ""},
    {"line-feed-before-carriage-return-stays", "a\nb\r\nc", "a\nb", "c"},
    {"line-ends-at-nul", LiteralBytes("ab\0cd\r\nef"), "ab", "ef"},
    {"line-behind-nul-is-empty", LiteralBytes("\0cd\r\nef"), "", "ef"},
    {"nul-behind-the-line-stays", LiteralBytes("ab\r\n\0cd"), "ab", LiteralBytes("\0cd")},
    {"nul-in-place-of-line-feed-is-lost", LiteralBytes("ab\r\0cd"), "ab", "cd"},
    {"one-character-for-each-byte", "\xC3\xA9\xFF\x80\r\n.", "\xC3\xA9\xFF\x80", "."},
    {"blanks-stay", "  a b \t\r\n c", "  a b \t", " c"},
};

} // namespace

class tst_AppBodyCursor : public QObject
{
    Q_OBJECT

private slots:
    void readLine_data();
    void readLine();
    void linesAreReadUpToTheEnd();
    void lineEndIsFoundAgainBehindAMove();
    void bytesWithoutLinesTakeLinearTime();
    void readUpTo_data();
    void readUpTo();
    void startsWith();
    void moveToAnOccurrence();
    void keepsTheBytes();
};

void tst_AppBodyCursor::readLine_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<QString>("line");
    QTest::addColumn<QByteArray>("rest");

    for (const LINE_ROW &row : LINES)
        QTest::newRow(row.name) << row.bytes << QString::fromLatin1(row.line) << row.rest;
}

void tst_AppBodyCursor::readLine()
{
    QFETCH(QByteArray, bytes);
    AppBodyCursor cursor(bytes);
    QTEST(QString(cursor.ReadLine()), "line");
    QTEST(cursor.Rest(), "rest");
    QCOMPARE(cursor.Position(), qsizetype(bytes.size() - cursor.Rest().size()));
    QCOMPARE(cursor.AtEnd(), cursor.Rest().isEmpty());
}

void tst_AppBodyCursor::linesAreReadUpToTheEnd()
{
    AppBodyCursor cursor("one\r\n\r\n\rxyz");
    QCOMPARE(QString(cursor.ReadLine()), QStringLiteral("one"));
    QCOMPARE(QString(cursor.ReadLine()), QString());
    QCOMPARE(QString(cursor.ReadLine()), QString());
    QCOMPARE(cursor.Rest(), QByteArray("yz"));
    for (const char *rest : {"z", "", ""}) {
        QCOMPARE(QString(cursor.ReadLine()), QString());
        QCOMPARE(cursor.Rest(), QByteArray(rest));
    }
}

void tst_AppBodyCursor::lineEndIsFoundAgainBehindAMove()
{
    AppBodyCursor cursor("a;b\r\nc;d\r\ne");
    QCOMPARE(QString(cursor.ReadUpTo(';')), QStringLiteral("a"));
    QCOMPARE(QString(cursor.ReadLine()), QStringLiteral("b"));
    QVERIFY(cursor.MoveTo(MxSearch("d")));
    QCOMPARE(QString(cursor.ReadLine()), QStringLiteral("d"));
    QCOMPARE(cursor.Rest(), QByteArray("e"));
}

void tst_AppBodyCursor::bytesWithoutLinesTakeLinearTime()
{
    // In quadratic time this would take minutes.
    constexpr int COUNT = 1 << 20;
    AppBodyCursor cursor(QByteArray(COUNT, '.'));
    int lines = 0;
    for (; !cursor.AtEnd(); ++lines)
        cursor.ReadLine();
    QCOMPARE(lines, COUNT);
}

void tst_AppBodyCursor::readUpTo_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<QString>("text");
    QTest::addColumn<QByteArray>("rest");

    QTest::newRow("separator-is-passed") << QByteArray("ab&cd&") << "ab" << QByteArray("cd&");
    QTest::newRow("separator-first") << QByteArray("&&a") << "" << QByteArray("&a");
    QTest::newRow("separator-last") << QByteArray("ab&") << "ab" << QByteArray();
    QTest::newRow("no-separator") << QByteArray("ab\r\n") << "ab\r\n" << QByteArray();
    QTest::newRow("no-bytes") << QByteArray() << "" << QByteArray();
    QTest::newRow("nul-stays") << LiteralBytes("a\0b&c") << QString(QLatin1String("a\0b", 3))
                               << QByteArray("c");
}

void tst_AppBodyCursor::readUpTo()
{
    QFETCH(QByteArray, bytes);
    AppBodyCursor cursor(bytes);
    QTEST(QString(cursor.ReadUpTo('&')), "text");
    QTEST(cursor.Rest(), "rest");
}

void tst_AppBodyCursor::startsWith()
{
    AppBodyCursor cursor(";ab");
    cursor.ReadUpTo(';');
    QVERIFY(cursor.StartsWith(""));
    QVERIFY(cursor.StartsWith("a"));
    QVERIFY(cursor.StartsWith("ab"));
    QVERIFY(!cursor.StartsWith("abc"));
    QVERIFY(!cursor.StartsWith("b"));
    QVERIFY(!cursor.StartsWith(";"));
}

void tst_AppBodyCursor::moveToAnOccurrence()
{
    AppBodyCursor cursor("ab-ab-c");
    QVERIFY(cursor.MoveTo(MxSearch("ab-c")));
    QCOMPARE(cursor.Position(), qsizetype(3));
    QVERIFY(cursor.MoveTo(MxSearch("ab")));
    QCOMPARE(cursor.Position(), qsizetype(3));
    QVERIFY(!cursor.MoveTo(MxSearch("ab-a")));
    QCOMPARE(cursor.Position(), qsizetype(3));
}

void tst_AppBodyCursor::keepsTheBytes()
{
    QByteArray bytes = "one\r\ntwo";
    AppBodyCursor cursor(bytes);
    bytes.fill('x');
    QCOMPARE(QString(cursor.ReadLine()), QStringLiteral("one"));
    QCOMPARE(cursor.Rest(), QByteArray("two"));
}

QTEST_GUILESS_MAIN(tst_AppBodyCursor)
#include "tst_AppBodyCursor.moc"
