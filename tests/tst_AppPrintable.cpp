// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#include "AppPrintable.h"

#include <QTest>

class tst_AppPrintable : public QObject
{
    Q_OBJECT

private slots:
    void unprintable_data();
    void unprintable();
    void plainTextIsPrintable();
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

QTEST_GUILESS_MAIN(tst_AppPrintable)

#include "tst_AppPrintable.moc"
