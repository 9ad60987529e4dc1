// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#include "AppMediaMgr.h"
#include "CheckImage.h"

#include <QRegularExpression>
#include <QTest>

namespace
{

/// Of the rows that TellsWhyNot() looks at.
void AddColumns()
{
    QTest::addColumn<QString>("file");
    QTest::addColumn<qint64>("size");
    QTest::addColumn<QByteArray>("head");
    QTest::addColumn<QString>("code");
    QTest::addColumn<QString>("text");   // a regular expression
    QTest::addColumn<QString>("advice"); // likewise
}

void AddRow(const char *row, const char *file, qint64 bytes, const QByteArray &head,
            const char *code, const char *text, const char *advice)
{
    QTest::newRow(row) << QString::fromLatin1(file) << bytes << head << QString::fromLatin1(code)
                       << QString::fromLatin1(text) << QString::fromLatin1(advice);
}

/// A row of a file whose content tells nothing.
void AddSize(const char *row, const char *file, qint64 bytes, const char *code, const char *text,
             const char *advice)
{
    AddRow(row, file, bytes, QByteArray(CheckImage::HEAD_SIZE, '\0'), code, text, advice);
}

/// A row of a file that begins with `head` and whose size tells nothing.
void AddContent(const char *row, const char *file, const QByteArray &head, const char *code,
                const char *text, const char *advice)
{
    AddRow(row, file, 50000, head, code, text, advice);
}

void TellsWhyNot()
{
    QFETCH(QString, file);
    QFETCH(qint64, size);
    QFETCH(QByteArray, head);
    QFETCH(QString, text);
    QFETCH(QString, advice);

    const CheckImage::REASON reason = CheckImage::WhyNot(file, size, head);
    QTEST(reason.code, "code");
    QVERIFY2(reason.text.contains(QRegularExpression(text)), qPrintable(reason.text));
    QVERIFY2(reason.advice.contains(QRegularExpression(advice)), qPrintable(reason.advice));
}

} // namespace

class tst_CheckImage : public QObject
{
    Q_OBJECT

private slots:
    void whatIsExpected_data();
    void whatIsExpected();
    void sizeTellsWhyNot_data();
    void sizeTellsWhyNot();
    void extensionTellsWhyNot_data();
    void extensionTellsWhyNot();
    void contentTellsWhyNot_data();
    void contentTellsWhyNot();
    void sizesNamedAreThoseOfTheHub_data();
    void sizesNamedAreThoseOfTheHub();
    void sizesThatAreExplainedAreNotServed_data();
    void sizesThatAreExplainedAreNotServed();
    void sizesToCutToAreServed_data();
    void sizesToCutToAreServed();
};

void tst_CheckImage::whatIsExpected_data()
{
    QTest::addColumn<QString>("file");
    QTest::addColumn<bool>("expected");
    QTest::addColumn<bool>("program");

    QTest::newRow("program") << "a.prg" << true << true;
    QTest::newRow("program-in-capitals") << "A.PRG" << true << true;
    QTest::newRow("wrapped-program") << "a.p00" << true << false;
    QTest::newRow("last-wrapped-program") << "a.P99" << true << false;
    QTest::newRow("wrapped-but-not-numbered") << "a.pa0" << false << false;
    QTest::newRow("wrapped-with-too-long-a-number") << "a.p001" << false << false;
    QTest::newRow("d64") << "a.d64" << true << false;
    QTest::newRow("d71-in-capitals") << "A.D71" << true << false;
    QTest::newRow("d81") << "a.d81" << true << false;
    QTest::newRow("d80") << "a.d80" << true << false;
    QTest::newRow("d82") << "a.d82" << true << false;
    QTest::newRow("upload-of-another-size") << "a.dxx" << true << false;
    QTest::newRow("g64") << "a.g64" << true << false;
    QTest::newRow("tape") << "a.t64" << true << false;
    QTest::newRow("cartridge") << "a.crt" << true << false;
    QTest::newRow("archive") << "a.zip" << true << false;
    QTest::newRow("archive-behind-another-dot") << "a.d64.gz" << true << false;
    QTest::newRow("text") << "a.txt" << false << false;
    QTest::newRow("another-behind-an-image") << "a.d64.txt" << false << false;
    QTest::newRow("no-extension") << "d64" << false << false;
    QTest::newRow("nothing-behind-the-dot") << "a." << false << false;
    QTest::newRow("empty") << "" << false << false;
}

void tst_CheckImage::whatIsExpected()
{
    QFETCH(QString, file);
    QTEST(CheckImage::IsExpected(file), "expected");
    QTEST(CheckImage::IsProgram(file), "program");
}

void tst_CheckImage::sizeTellsWhyNot_data()
{
    AddColumns();

    AddSize("40-tracks", "a.d64", 196608, "too-many-tracks", "40 tracks; .* 35", "head -c 174848 ");
    AddSize("40-tracks-with-errors", "a.d64", 197376, "too-many-tracks",
            "40 tracks with error bytes", "head -c 174848 ");
    AddSize("42-tracks", "a.d64", 205312, "too-many-tracks", "42 tracks;", "head -c 174848 ");
    AddSize("42-tracks-with-errors", "a.d64", 206114, "too-many-tracks",
            "42 tracks with error bytes", "head -c 174848 ");
    AddSize("d71-with-errors", "a.d71", 351062, "error-bytes", "D71 with error", "head -c 349696 ");
    AddSize("d81-with-errors", "a.d81", 822400, "error-bytes", "D81 with error", "head -c 819200 ");
    AddSize("d80-with-errors", "a.d80", 535331, "error-bytes", "D80 with error", "head -c 533248 ");
    AddSize("d82-with-errors", "a.d82", 1070662, "error-bytes", "D82 with error",
            "head -c 1066496 ");
    AddSize("d64-with-header", "a.d64", 174912, "extra-header", "64 bytes", "tail -c \\+65 ");
    AddSize("d64-with-errors-and-header", "a.d64", 175595, "extra-header", "64 bytes",
            "tail -c \\+65 ");
    AddSize("d64-one-byte-short", "a.d64", 174847, "wrong-size", "^174847 bytes; a D64 has 174848",
            "anew");
    AddSize("d64-one-byte-long", "a.d64", 174849, "wrong-size", "^174849 bytes; .* 175531", "anew");
    AddSize("d64-in-capitals", "A.D64", 1, "wrong-size", "^1 bytes; a D64 has", "anew");
    AddSize("d64-empty", "a.d64", 0, "wrong-size", "^0 bytes; a D64 has", "anew");
    AddSize("d71-of-another-size", "a.d71", 5, "wrong-size", "a D71 has 349696 bytes$", "anew");
    AddSize("d81-of-another-size", "a.d81", 5, "wrong-size", "a D81 has 819200 bytes$", "anew");
    AddSize("d80-of-another-size", "a.d80", 5, "wrong-size", "a D80 has 533248 bytes$", "anew");
    AddSize("d82-of-another-size", "a.d82", 5, "wrong-size", "a D82 has 1066496 bytes$", "anew");
    AddSize("four-gib-more-than-a-d64", "a.d64", 174848 + (Q_INT64_C(1) << 32), "wrong-size",
            "^4295142144 bytes", "anew");
}

void tst_CheckImage::sizeTellsWhyNot()
{
    TellsWhyNot();
}

void tst_CheckImage::extensionTellsWhyNot_data()
{
    AddColumns();

    AddSize("upload", "a.dxx", 1000, "wrong-size", "^1000 bytes; it was uploaded", "anew");
    AddSize("40-tracks-uploaded", "a.dxx", 196608, "too-many-tracks", "40 tracks",
            "head -c 174848 ");
    AddSize("g64", "a.g64", 269862, "other-format", "^a G64; the hub serves D64", "nibconv");
    AddSize("nib", "a.nib", 327936, "other-format", "^a NIB;", "nibconv");
    AddSize("x64", "a.x64", 174912, "extra-header", "64 bytes", "tail -c \\+65 ");
    AddSize("t64", "a.t64", 5000, "other-format", "^a T64;", "c1541 .* -tape ");
    AddSize("tap", "a.tap", 5000, "other-format", "^a TAP;", "emulator");
    AddSize("crt", "a.crt", 5000, "other-format", "^a CRT;", "disk");
    AddSize("d2m", "a.d2m", 1658880, "other-format", "^a D2M;", "c1541");
    AddSize("p00", "a.p00", 5000, "other-format", "header \\(P00\\)", "tail -c \\+27 ");
    AddSize("zip", "a.zip", 5000, "compressed", "\\(ZIP\\)", "^Unpack it: unzip ");
    AddSize("gz", "a.d64.gz", 5000, "compressed", "\\(GZ\\)", "gunzip ");
    AddSize("7z", "a.7z", 5000, "compressed", "\\(7Z\\)", "7z x ");
    AddSize("rar", "a.rar", 5000, "compressed", "\\(RAR\\)", "unrar x ");
    AddSize("d6z", "a.d6z", 5000, "compressed", "\\(D6Z\\)", "gunzip -c ");
    AddSize("nothing-against-a-program", "a.prg", 174848, "", "^$", "^$");
    AddSize("nothing-against-a-text", "a.txt", 5000, "", "^$", "^$");
}

void tst_CheckImage::extensionTellsWhyNot()
{
    TellsWhyNot();
}

void tst_CheckImage::contentTellsWhyNot_data()
{
    AddColumns();

    AddContent("gzip-inside", "a.d64", QByteArray::fromHex("1F8B080000000000"), "compressed",
               "a gzip file by its content", "gunzip -c ");
    AddContent("zip-inside", "a.d81", QByteArray::fromHex("504B030414000000"), "compressed",
               "a ZIP file", "unzip ");
    AddContent("7z-inside", "a.d64", QByteArray::fromHex("377ABCAF271C0004"), "compressed",
               "a 7z file", "7z x ");
    AddContent("xz-inside", "a.d64", QByteArray::fromHex("FD377A585A000004"), "compressed",
               "a xz file", "unxz ");
    AddContent("g64-inside", "a.d64", "GCR-1541", "other-format", "a G64 file", "nibconv");
    AddContent("x64-inside", "a.d64", QByteArray::fromHex("4315416401020000"), "other-format",
               "a X64 file", "tail -c ");
    AddContent("t64-inside", "a.d64", "C64 tape", "other-format", "a T64 file", "c1541");
    AddContent("web-page-inside", "a.d64", "<!DOCTYP", "other-format", "web page", "anew");
    AddContent("magic-cut-short", "a.d64", "GCR-154", "wrong-size", "50000 bytes", "anew");
    AddContent("extension-goes-before-content", "a.zip", "GCR-1541", "compressed", "\\(ZIP\\)",
               "unzip");
}

void tst_CheckImage::contentTellsWhyNot()
{
    TellsWhyNot();
}

void tst_CheckImage::sizesNamedAreThoseOfTheHub_data()
{
    QTest::addColumn<QString>("file");
    QTest::addColumn<int>("type");
    QTest::addColumn<int>("count");

    QTest::newRow("d64") << "a.d64" << int(AppPackage::DISK_D64) << 2;
    QTest::newRow("d71") << "a.d71" << int(AppPackage::DISK_D71) << 1;
    QTest::newRow("d81") << "a.d81" << int(AppPackage::DISK_D81) << 1;
    QTest::newRow("d80") << "a.d80" << int(AppPackage::DISK_D80) << 1;
    QTest::newRow("d82") << "a.d82" << int(AppPackage::DISK_D82) << 1;
}

void tst_CheckImage::sizesNamedAreThoseOfTheHub()
{
    QFETCH(QString, file);

    const QString text = CheckImage::WhyNot(file, 1, QByteArray()).text;
    const QString sizes = text.mid(text.indexOf(QStringLiteral(" has ")));
    QRegularExpressionMatchIterator numbers =
        QRegularExpression(QStringLiteral("[0-9]+")).globalMatch(sizes);
    int count = 0;
    while (numbers.hasNext()) {
        ++count;
        QTEST(AppMediaMgr::Instance().IdentifyDiskBySize(numbers.next().captured().toInt()),
              "type");
    }
    QTEST(count, "count");
}

void tst_CheckImage::sizesThatAreExplainedAreNotServed_data()
{
    QTest::addColumn<int>("size");

    // 256 bytes and, with error bytes, one more for each block; 17 blocks for each track past 35.
    QTest::newRow("d64-of-40-tracks") << (683 + 5 * 17) * 256;
    QTest::newRow("d64-of-40-tracks-with-errors") << (683 + 5 * 17) * 257;
    QTest::newRow("d64-of-42-tracks") << (683 + 7 * 17) * 256;
    QTest::newRow("d64-of-42-tracks-with-errors") << (683 + 7 * 17) * 257;
    QTest::newRow("d71-with-errors") << 2 * 683 * 257;
    QTest::newRow("d81-with-errors") << 3200 * 257;
    QTest::newRow("d80-with-errors") << 2083 * 257;
    QTest::newRow("d82-with-errors") << 2 * 2083 * 257;
    QTest::newRow("d64-behind-a-header") << 683 * 256 + 64;
    QTest::newRow("d64-with-errors-behind-a-header") << 683 * 257 + 64;
}

void tst_CheckImage::sizesThatAreExplainedAreNotServed()
{
    QFETCH(int, size);
    QCOMPARE(AppMediaMgr::Instance().IdentifyDiskBySize(size), -1);
    const CheckImage::REASON reason =
        CheckImage::WhyNot(QStringLiteral("a.d64"), size, QByteArray());
    QVERIFY(!reason.code.isEmpty());
    QVERIFY(reason.code != QLatin1String("wrong-size"));
}

void tst_CheckImage::sizesToCutToAreServed_data()
{
    sizesThatAreExplainedAreNotServed_data();
}

void tst_CheckImage::sizesToCutToAreServed()
{
    QFETCH(int, size);
    const QString advice = CheckImage::WhyNot(QStringLiteral("a.d64"), size, QByteArray()).advice;
    const QRegularExpressionMatch head =
        QRegularExpression(QStringLiteral("head -c ([0-9]+)")).match(advice);
    const QRegularExpressionMatch tail =
        QRegularExpression(QStringLiteral("tail -c \\+([0-9]+)")).match(advice);
    QVERIFY(head.hasMatch() != tail.hasMatch());
    const int left =
        head.hasMatch() ? head.captured(1).toInt() : size - tail.captured(1).toInt() + 1;
    QVERIFY(AppMediaMgr::Instance().IdentifyDiskBySize(left) >= 0);
}

QTEST_GUILESS_MAIN(tst_CheckImage)

#include "tst_CheckImage.moc"
