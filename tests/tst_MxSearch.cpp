// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#include "MxSearch.h"

#include <QList>
#include <QTest>

class tst_MxSearch : public QObject
{
    Q_OBJECT

private slots:
    void findsTheFirstOccurrence();
    void findsOnlyWithinTheText();
    void findsAnyByte();
    void hostileTextTakesLinearTime();
};

namespace
{

/// The position of the pattern in the text, or -1.
int IndexOf(const QByteArray &text, const QByteArray &pattern)
{
    const MxSearch search(pattern);
    const char *const found = search.Find(text.cbegin(), text.cend());
    return found == text.cend() ? -1 : static_cast<int>(found - text.cbegin());
}

/// All texts of "a" and "b" with 0 to `length` characters.
QList<QByteArray> Texts(int length)
{
    QList<QByteArray> texts = {""};
    for (int i = 0; texts.at(i).size() < length; ++i)
        texts << texts.at(i) + 'a' << texts.at(i) + 'b';
    return texts;
}

} // namespace

void tst_MxSearch::findsTheFirstOccurrence()
{
    const QList<QByteArray> patterns = Texts(5);
    const QList<QByteArray> texts = Texts(9);
    for (const QByteArray &pattern : patterns) {
        for (const QByteArray &text : texts) {
            if (!pattern.isEmpty())
                QCOMPARE(IndexOf(text, pattern), int(text.indexOf(pattern)));
        }
    }
}

void tst_MxSearch::findsOnlyWithinTheText()
{
    const QByteArray text = "xabcabx";
    const MxSearch search("abc");
    QCOMPARE(search.Pattern(), QByteArray("abc"));
    QCOMPARE(search.Find(text.cbegin() + 1, text.cend()), text.cbegin() + 1);
    QCOMPARE(search.Find(text.cbegin() + 2, text.cend()), text.cend());
    QCOMPARE(search.Find(text.cbegin(), text.cbegin() + 3), text.cbegin() + 3);
    QCOMPARE(search.Find(text.cend(), text.cend()), text.cend());
}

void tst_MxSearch::findsAnyByte()
{
    QByteArray text;
    for (int i = 0; i < 256; ++i)
        text += static_cast<char>(i);
    for (int i = 0; i < 256; ++i)
        QCOMPARE(IndexOf(text, text.mid(i, 3)), i);
}

void tst_MxSearch::hostileTextTakesLinearTime()
{
    // In quadratic time this would take minutes.
    constexpr int SIZE = 1 << 20;
    QCOMPARE(IndexOf(QByteArray(2 * SIZE, '-'), QByteArray(SIZE, '-') + 'a'), -1);
    QCOMPARE(IndexOf(QByteArray(2 * SIZE, '-') + 'a', QByteArray(SIZE, '-') + 'a'), SIZE);
}

QTEST_GUILESS_MAIN(tst_MxSearch)
#include "tst_MxSearch.moc"
