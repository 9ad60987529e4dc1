// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#include "AppImageKinds.h"
#include "HostFiles.h"

#include <QRegularExpression>
#include <QSet>
#include <QTest>

namespace
{

/// A document of the project.
QString Document(const QString &path)
{
    return QString::fromUtf8(
        ReadFile(QStringLiteral(DISK_HUB_SOURCE_DIR "/%1").arg(path)).simplified());
}

/// What stands in `text` from `begin` to before `end`; empty if either is missing.
QString Between(const QString &text, const QString &begin, const QString &end)
{
    const auto from = text.indexOf(begin);
    const auto to = text.indexOf(end, from + begin.size());
    return from < 0 || to < 0 ? QString() : text.mid(from, to - from);
}

/// All that the first group of `pattern` catches.
QStringList Captures(const QString &text, const QString &pattern)
{
    QStringList captures;
    QRegularExpressionMatchIterator matches = QRegularExpression(pattern).globalMatch(text);
    while (matches.hasNext())
        captures.append(matches.next().captured(1));
    return captures;
}

QString TypeName(const AppImageKinds::KIND &kind)
{
    return QString::fromLatin1(kind.name);
}

/// A line "TYPE SIZE" for each size in the `sizes` of a type.
QStringList Claims(const QString &type, const QString &sizes)
{
    QStringList claims;
    // A number can be written in groups of three digits.
    for (QString size : Captures(sizes, QStringLiteral("(\\d{1,3}(?: \\d{3})+|\\d+)")))
        claims.append(type + QLatin1Char(' ') + size.remove(QLatin1Char(' ')));
    return claims;
}

/// What a table with the columns image and bytes says, or one with image, type and bytes.
QStringList ClaimsOfTable(const QString &table)
{
    QStringList claims;
    const QRegularExpression row(QStringLiteral("\\| (D\\d\\d)([^|]*)\\|(?: \\d \\|)? ([^|]+)\\|"));
    QRegularExpressionMatchIterator rows = row.globalMatch(table);
    while (rows.hasNext()) {
        const QRegularExpressionMatch match = rows.next();
        claims +=
            Claims(match.captured(1), match.captured(3).section(QLatin1String(" with"), 0, 0));
    }
    return claims;
}

/// What a sentence says: "1 or 2 bytes (D64), 3 (D71)".
QStringList ClaimsOfSentence(const QString &sentence)
{
    QStringList claims;
    const QRegularExpression item(QStringLiteral("([\\d or]+\\d)(?: bytes)? \\((D\\d\\d)\\)"));
    QRegularExpressionMatchIterator items = item.globalMatch(sentence);
    while (items.hasNext()) {
        const QRegularExpressionMatch match = items.next();
        claims += Claims(match.captured(2),
                         match.captured(1).replace(QLatin1String(" or "), QLatin1String(", ")));
    }
    return claims;
}

/// What the table says of the kinds that are served, in the documents' order.
QStringList ServedKinds()
{
    QStringList claims;
    for (const AppImageKinds::KIND &kind : AppImageKinds::All()) {
        if (kind.status == AppImageKinds::SERVED)
            claims.append(QStringLiteral("%1 %2").arg(TypeName(kind)).arg(kind.size));
    }
    return claims;
}

QSet<QString> TypesThatAre(AppImageKinds::STATUS status)
{
    QSet<QString> types;
    for (const AppImageKinds::KIND &kind : AppImageKinds::All()) {
        if (kind.status == status)
            types.insert(TypeName(kind));
    }
    return types;
}

QSet<QString> ToSet(const QStringList &list)
{
    return QSet<QString>(list.begin(), list.end());
}

} // namespace

class tst_AppImageKinds : public QObject
{
    Q_OBJECT

private slots:
    void kinds_data();
    void kinds();
    void otherSizesAreUnknown_data();
    void otherSizesAreUnknown();
    void servedKindsComeFirst();
    void sizesAreUnique();
    void extensionsAndListingTypes_data();
    void extensionsAndListingTypes();
    void documentsNameTheServedSizes_data();
    void documentsNameTheServedSizes();
    void protocolNamesTheTypeCodes();
    void documentsNameTheServedTypes_data();
    void documentsNameTheServedTypes();
    void faqNamesTheSizesOf40Tracks();
    void manPageNamesWhatIsNotServed_data();
    void manPageNamesWhatIsNotServed();
};

void tst_AppImageKinds::kinds_data()
{
    QTest::addColumn<qint64>("size");
    QTest::addColumn<int>("type");
    QTest::addColumn<int>("tracks");
    QTest::addColumn<int>("errorBytes");
    QTest::addColumn<int>("headerBytes");
    QTest::addColumn<int>("status");
    QTest::addColumn<int>("served"); // the type by which it is served, or -1

    using namespace AppImageKinds;
    const auto row = [](const char *name, qint64 size, int type, int tracks, int errorBytes,
                        int headerBytes, STATUS status) {
        QTest::newRow(name) << size << type << tracks << errorBytes << headerBytes << int(status)
                            << (status == SERVED ? type : -1);
    };
    row("d64", 174848, 0, 35, 0, 0, SERVED);
    row("d64-with-errors", 175531, 0, 35, 683, 0, SERVED);
    row("d71", 349696, 1, 70, 0, 0, SERVED);
    row("d81", 819200, 2, 80, 0, 0, SERVED);
    row("d80", 533248, 3, 77, 0, 0, SERVED);
    row("d82", 1066496, 4, 154, 0, 0, SERVED);
    row("d64-of-40-tracks", 196608, 0, 40, 0, 0, TOO_MANY_TRACKS);
    row("d64-of-40-tracks-with-errors", 197376, 0, 40, 768, 0, TOO_MANY_TRACKS);
    row("d64-of-42-tracks", 205312, 0, 42, 0, 0, TOO_MANY_TRACKS);
    row("d64-of-42-tracks-with-errors", 206114, 0, 42, 802, 0, TOO_MANY_TRACKS);
    row("d71-with-errors", 351062, 1, 70, 1366, 0, ERROR_BYTES);
    row("d81-with-errors", 822400, 2, 80, 3200, 0, ERROR_BYTES);
    row("d80-with-errors", 535331, 3, 77, 2083, 0, ERROR_BYTES);
    row("d82-with-errors", 1070662, 4, 154, 4166, 0, ERROR_BYTES);
    row("d64-behind-a-header", 174912, 0, 35, 0, 64, EXTRA_HEADER);
    row("d64-with-errors-behind-a-header", 175595, 0, 35, 683, 64, EXTRA_HEADER);
}

void tst_AppImageKinds::kinds()
{
    QFETCH(qint64, size);

    const AppImageKinds::KIND *const kind = AppImageKinds::OfSize(size);
    QVERIFY(kind != nullptr);
    QCOMPARE(qint64(kind->size), size);
    QTEST(int(kind->type), "type");
    QTEST(kind->tracks, "tracks");
    QTEST(kind->errorBytes, "errorBytes");
    QTEST(kind->headerBytes, "headerBytes");
    QTEST(int(kind->status), "status");
    QTEST(AppImageKinds::TypeOfSize(size), "served");
}

void tst_AppImageKinds::otherSizesAreUnknown_data()
{
    QTest::addColumn<qint64>("size");

    QTest::newRow("empty") << qint64(0);
    QTest::newRow("negative") << qint64(-1);
    QTest::newRow("one-byte-short") << qint64(174847);
    QTest::newRow("one-byte-over") << qint64(174849);
    QTest::newRow("d64-and-4-gib") << 174848 + (Q_INT64_C(1) << 32);
}

void tst_AppImageKinds::otherSizesAreUnknown()
{
    QFETCH(qint64, size);
    QVERIFY(AppImageKinds::OfSize(size) == nullptr);
    QCOMPARE(AppImageKinds::TypeOfSize(size), -1);
}

void tst_AppImageKinds::servedKindsComeFirst()
{
    bool served = true;
    for (const AppImageKinds::KIND &kind : AppImageKinds::All()) {
        QVERIFY2(served || kind.status != AppImageKinds::SERVED, qPrintable(TypeName(kind)));
        served = kind.status == AppImageKinds::SERVED;
    }
}

void tst_AppImageKinds::sizesAreUnique()
{
    QSet<int> sizes;
    for (const AppImageKinds::KIND &kind : AppImageKinds::All())
        sizes.insert(kind.size);
    QCOMPARE(int(sizes.size()), AppImageKinds::COUNT);
}

void tst_AppImageKinds::extensionsAndListingTypes_data()
{
    QTest::addColumn<int>("type");
    QTest::addColumn<QString>("extension");
    QTest::addColumn<QString>("listingType");

    QTest::newRow("d64") << 0 << ".d64"
                         << "d64";
    QTest::newRow("d71") << 1 << ".d71"
                         << "d71";
    QTest::newRow("d81") << 2 << ".d81"
                         << "d81";
    QTest::newRow("d80") << 3 << ".d80"
                         << "d80";
    QTest::newRow("d82") << 4 << ".d82"
                         << "d82";
    QTest::newRow("one-past-the-last") << 5 << ""
                                       << "";
    QTest::newRow("none") << -1 << ""
                          << "";
}

void tst_AppImageKinds::extensionsAndListingTypes()
{
    QFETCH(int, type);
    QTEST(QString(AppImageKinds::Extension(type)), "extension");
    QTEST(QString::fromLatin1(AppImageKinds::ListingType(type)), "listingType");
}

void tst_AppImageKinds::documentsNameTheServedSizes_data()
{
    QTest::addColumn<QStringList>("claims");

    QTest::newRow("readme") << ClaimsOfTable(Between(Document(QStringLiteral("README.md")),
                                                     QStringLiteral("| Image | Bytes |"),
                                                     QStringLiteral(" The name on the")));
    QTest::newRow("protocol") << ClaimsOfTable(Between(Document(QStringLiteral("docs/protocol.md")),
                                                       QStringLiteral("<!-- table: images -->"),
                                                       QStringLiteral("###")));
    QTest::newRow("faq") << ClaimsOfSentence(Between(Document(QStringLiteral("docs/faq.md")),
                                                     QStringLiteral("known by its size alone"),
                                                     QStringLiteral("Not served")));
    QTest::newRow("man-page") << ClaimsOfSentence(
        Between(Document(QStringLiteral("tools/check/disk-hub-check.1.in")),
                QStringLiteral(".B wrong\\-size"), QStringLiteral(".TP")));
}

void tst_AppImageKinds::documentsNameTheServedSizes()
{
    QFETCH(QStringList, claims);
    QCOMPARE(claims, ServedKinds());
}

void tst_AppImageKinds::protocolNamesTheTypeCodes()
{
    const QString table = Between(Document(QStringLiteral("docs/protocol.md")),
                                  QStringLiteral("<!-- table: images -->"), QStringLiteral("###"));
    const QStringList codes = Captures(table, QStringLiteral("\\| (D\\d\\d[^|]*\\| \\d+) \\|"));
    QStringList expected;
    for (const AppImageKinds::KIND &kind : AppImageKinds::All()) {
        const QString errors =
            kind.errorBytes > 0 ? QStringLiteral(" with error bytes") : QString();
        if (kind.status == AppImageKinds::SERVED)
            expected.append(
                QStringLiteral("%1%2 | %3").arg(TypeName(kind), errors).arg(int(kind.type)));
    }
    QCOMPARE(codes, expected);
}

void tst_AppImageKinds::documentsNameTheServedTypes_data()
{
    QTest::addColumn<QString>("sentence");

    QTest::newRow("skylet's-man-page")
        << Between(Document(QStringLiteral("tools/skylet/skylet.1.in")),
                   QStringLiteral("disk images, known by their"), QStringLiteral(". What stands"));
    QTest::newRow("metainfo") << Between(
        Document(QStringLiteral("packaging/com.tesseline.DiskHub.metainfo.xml.in")),
        QStringLiteral("Serves D64"), QStringLiteral(" from "));
}

void tst_AppImageKinds::documentsNameTheServedTypes()
{
    QFETCH(QString, sentence);
    QCOMPARE(ToSet(Captures(sentence, QStringLiteral("(D\\d\\d)"))),
             TypesThatAre(AppImageKinds::SERVED));
}

void tst_AppImageKinds::faqNamesTheSizesOf40Tracks()
{
    const QString sentence =
        Between(Document(QStringLiteral("docs/faq.md")), QStringLiteral("images of 40 tracks ("),
                QStringLiteral(" bytes)"));
    QStringList expected;
    for (const AppImageKinds::KIND &kind : AppImageKinds::All()) {
        if (kind.tracks == 40)
            expected.append(QString::number(kind.size));
    }
    QCOMPARE(Captures(sentence, QStringLiteral("(\\d{3,})")), expected);
}

void tst_AppImageKinds::manPageNamesWhatIsNotServed_data()
{
    QTest::addColumn<QString>("remark");
    QTest::addColumn<int>("status");

    QTest::newRow("too-many-tracks")
        << ".B too\\-many\\-tracks" << int(AppImageKinds::TOO_MANY_TRACKS);
    QTest::newRow("error-bytes") << ".B error\\-bytes" << int(AppImageKinds::ERROR_BYTES);
    QTest::newRow("extra-header") << ".B extra\\-header" << int(AppImageKinds::EXTRA_HEADER);
}

void tst_AppImageKinds::manPageNamesWhatIsNotServed()
{
    QFETCH(QString, remark);
    QFETCH(int, status);

    const QString text = Between(Document(QStringLiteral("tools/check/disk-hub-check.1.in")),
                                 remark, QStringLiteral(".TP"));
    QCOMPARE(ToSet(Captures(text, QStringLiteral("(D\\d\\d)"))),
             TypesThatAre(static_cast<AppImageKinds::STATUS>(status)));
    QSet<QString> tracks;
    for (const AppImageKinds::KIND &kind : AppImageKinds::All()) {
        if (kind.status == status && status == AppImageKinds::TOO_MANY_TRACKS)
            tracks.insert(QString::number(kind.tracks));
    }
    QCOMPARE(ToSet(Captures(text, QStringLiteral(" (\\d\\d) "))), tracks);
}

QTEST_GUILESS_MAIN(tst_AppImageKinds)
#include "tst_AppImageKinds.moc"
