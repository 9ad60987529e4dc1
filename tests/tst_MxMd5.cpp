// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#include "MxMd5.h"

#include <QByteArray>
#include <QCryptographicHash>
#include <QRandomGenerator>
#include <QString>
#include <QVector>
#include <QtTest>

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <type_traits>

// The length is 16-bit for the caller too; a longer one is cut before it gets here.
static_assert(std::is_same<decltype(&MxMd5::HashData),
                           void (*)(const void *, unsigned short, unsigned char *)>::value,
              "HashData takes a 16-bit length");
static_assert(std::is_same<decltype(&MxMd5::HashDataToString),
                           QString (*)(const void *, unsigned short)>::value,
              "HashDataToString takes a 16-bit length");

namespace
{

constexpr char EMPTY_DIGEST[] = "d41d8cd98f00b204e9800998ecf8427e"; // RFC 1321, A.5

const unsigned char *Unsigned(const char *bytes)
{
    return reinterpret_cast<const unsigned char *>(bytes);
}

QByteArray RandomBytes(QRandomGenerator *random, int length)
{
    QByteArray bytes;
    bytes.reserve(length);
    for (int i = 0; i < length; ++i)
        bytes.append(char(random->bounded(256)));
    return bytes;
}

QByteArray QtDigest(const QByteArray &bytes)
{
    return QCryptographicHash::hash(bytes, QCryptographicHash::Md5);
}

QByteArray Digest(const MD5_CTX &context)
{
    return QByteArray(reinterpret_cast<const char *>(context.digest), 16);
}

/// The digest of `bytes`, fed in pieces of `lengths` in turn.
QByteArray DigestOfPieces(const QByteArray &bytes, const QVector<int> &lengths)
{
    MD5_CTX context;
    MD5Init(&context);
    int at = 0;
    for (int piece = 0; at < bytes.size(); ++piece) {
        const int length =
            std::min(lengths.at(piece % int(lengths.size())), int(bytes.size()) - at);
        MD5Update(&context, Unsigned(bytes.constData()) + at, static_cast<unsigned int>(length));
        at += length;
    }
    MD5Final(&context);
    return Digest(context);
}

} // namespace

class tst_MxMd5 : public QObject
{
    Q_OBJECT

private slots:
    void contextIsLaidOutInOrder();
    void initStartsFromNothing();
    void updateCountsBits();
    void updateKeepsTheUnfinishedBlock();
    void updateCarriesIntoTheHighWord();
    void updateCountsHalfAGigabyte();
    void alignedBlocksAreNotCopied();
    void finalUsesBothCountWords();
    void transformCompressesOneBlock();

    void digestsOfTheStandard_data();
    void digestsOfTheStandard();
    void digestsAroundThePadding_data();
    void digestsAroundThePadding();
    void digestsOfRandomBytesAreThoseOfQt();
    void longestLengthIsHashed();
    void divisionIntoUpdatesDoesNotMatter();
    void everySplitOfThreeBlocksGivesTheSame();
    void alignmentDoesNotMatter();
    void contextServesAgainAfterInit();

    void hashDataWrites16Bytes();
    void hashDataTakesExactlyLengthBytes();
    void digestOfNothing();
    void lengthCountsModulo65536_data();
    void lengthCountsModulo65536();
    void textHas32LowerCaseDigits();
    void textKeepsLeadingZeros();
};

void tst_MxMd5::contextIsLaidOutInOrder()
{
    QCOMPARE(offsetof(MD5_CTX, count), size_t(0));
    QCOMPARE(offsetof(MD5_CTX, state), size_t(8));
    QCOMPARE(offsetof(MD5_CTX, buffer), size_t(24));
    QCOMPARE(offsetof(MD5_CTX, digest), size_t(88));
    QCOMPARE(sizeof(MD5_CTX), size_t(104));
}

void tst_MxMd5::initStartsFromNothing()
{
    MD5_CTX context;
    std::memset(&context, 0xEE, sizeof(context));
    MD5Init(&context);

    QCOMPARE(context.count[0], 0u);
    QCOMPARE(context.count[1], 0u);
    // RFC 1321, section 3.3
    QCOMPARE(context.state[0], 0x67452301u);
    QCOMPARE(context.state[1], 0xEFCDAB89u);
    QCOMPARE(context.state[2], 0x98BADCFEu);
    QCOMPARE(context.state[3], 0x10325476u);
}

void tst_MxMd5::updateCountsBits()
{
    const QByteArray bytes(200, 'x');
    MD5_CTX context;
    MD5Init(&context);
    unsigned int sum = 0;
    for (const unsigned int length : {0u, 1u, 63u, 64u, 65u, 200u, 0u}) {
        MD5Update(&context, Unsigned(bytes.constData()), length);
        sum += length;
        QCOMPARE(context.count[0], sum * 8);
        QCOMPARE(context.count[1], 0u);
    }
}

void tst_MxMd5::updateKeepsTheUnfinishedBlock()
{
    QRandomGenerator random(1);
    for (int length = 0; length < 200; ++length) {
        const QByteArray bytes = RandomBytes(&random, length);
        MD5_CTX context;
        MD5Init(&context);
        MD5Update(&context, Unsigned(bytes.constData()), static_cast<unsigned int>(length));

        const int used = length % 64;
        QCOMPARE(QByteArray(reinterpret_cast<const char *>(context.buffer), used),
                 bytes.right(used));
    }
}

void tst_MxMd5::updateCarriesIntoTheHighWord()
{
    const QByteArray bytes("abcdef");
    MD5_CTX context;
    MD5Init(&context);
    context.count[0] = 0xFFFFFFF0; // 62 bytes of the block are in use
    MD5Update(&context, Unsigned(bytes.constData()), 1);
    QCOMPARE(context.count[0], 0xFFFFFFF8u);
    QCOMPARE(context.count[1], 0u);
    MD5Update(&context, Unsigned(bytes.constData()), 1);
    QCOMPARE(context.count[0], 0u);
    QCOMPARE(context.count[1], 1u);

    MD5Init(&context);
    context.count[0] = 0xFFFFFFF0;
    context.count[1] = 0xFFFFFFFF;
    MD5Update(&context, Unsigned(bytes.constData()), 6);
    QCOMPARE(context.count[0], 0x20u);
    QCOMPARE(context.count[1], 0u);
}

void tst_MxMd5::updateCountsHalfAGigabyte()
{
    // 2^29 bytes are 2^32 bits: the low word comes out as it was, and the high word must grow.
    constexpr unsigned int LENGTH = 0x20000000;
    const std::unique_ptr<void, decltype(&std::free)> zeros(std::calloc(LENGTH, 1), &std::free);
    QVERIFY(zeros);

    MD5_CTX context;
    MD5Init(&context);
    MD5Update(&context, static_cast<const unsigned char *>(zeros.get()), LENGTH);
    QCOMPARE(context.count[0], 0u);
    QCOMPARE(context.count[1], 1u);
    MD5Final(&context);

    QCryptographicHash hash(QCryptographicHash::Md5);
    const QByteArray piece(1 << 20, '\0');
    for (unsigned int fed = 0; fed < LENGTH; fed += 1u << 20)
        hash.addData(piece);
    QCOMPARE(Digest(context).toHex(), hash.result().toHex());
}

void tst_MxMd5::alignedBlocksAreNotCopied()
{
    alignas(8) unsigned char bytes[128];
    std::memset(bytes, 'x', sizeof(bytes));
    MD5_CTX context;
    MD5Init(&context);
    std::memset(context.buffer, 0xEE, sizeof(context.buffer));
    MD5Update(&context, bytes, sizeof(bytes));

    QCOMPARE(QByteArray(reinterpret_cast<const char *>(context.buffer), 64),
             QByteArray(64, char(0xEE)));
}

void tst_MxMd5::finalUsesBothCountWords()
{
    // As after 9 * 2^32 bytes: whole blocks, so the last block is padding and the count.
    MD5_CTX context;
    MD5Init(&context);
    context.count[1] = 0x48;
    MD5Final(&context);

    MD5_CTX expected;
    MD5Init(&expected);
    const unsigned int block[16] = {0x80, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0x48};
    MD5Transform(expected.state, block);
    QByteArray digest;
    for (const unsigned int word : expected.state) {
        for (int shift = 0; shift < 32; shift += 8)
            digest.append(char((word >> shift) & 0xFF));
    }
    QCOMPARE(Digest(context).toHex(), digest.toHex());
    QVERIFY(Digest(context).toHex() != QByteArray(EMPTY_DIGEST));
}

void tst_MxMd5::transformCompressesOneBlock()
{
    // The padded empty message; its digest read as words, least significant byte first.
    unsigned int state[4] = {0x67452301, 0xEFCDAB89, 0x98BADCFE, 0x10325476};
    unsigned int block[16] = {0x80};
    MD5Transform(state, block);

    QCOMPARE(state[0], 0xD98C1DD4u);
    QCOMPARE(state[1], 0x04B2008Fu);
    QCOMPARE(state[2], 0x980980E9u);
    QCOMPARE(state[3], 0x7E42F8ECu);
    QCOMPARE(block[0], 0x80u);
    QVERIFY(std::all_of(block + 1, block + 16, [](unsigned int word) { return word == 0; }));
}

void tst_MxMd5::digestsOfTheStandard_data()
{
    QTest::addColumn<QByteArray>("message");
    QTest::addColumn<QByteArray>("digest");

    // RFC 1321, A.5
    QTest::newRow("empty") << QByteArray() << QByteArray(EMPTY_DIGEST);
    QTest::newRow("a") << QByteArray("a") << QByteArray("0cc175b9c0f1b6a831c399e269772661");
    QTest::newRow("abc") << QByteArray("abc") << QByteArray("900150983cd24fb0d6963f7d28e17f72");
    QTest::newRow("message-digest")
        << QByteArray("message digest") << QByteArray("f96b697d7cb7938d525a2f31aaf161d0");
    QTest::newRow("alphabet") << QByteArray("abcdefghijklmnopqrstuvwxyz")
                              << QByteArray("c3fcd3d76192e4007dfb496cca67e13b");
    QTest::newRow("letters-and-digits")
        << QByteArray("ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789")
        << QByteArray("d174ab98d277d9f5a5611c2c9f419d9f");
    QTest::newRow("eight-times-ten-digits")
        << QByteArray("1234567890").repeated(8) << QByteArray("57edf4a22be3c955ac49da2e2107b67a");
}

void tst_MxMd5::digestsOfTheStandard()
{
    QFETCH(QByteArray, message);
    QFETCH(QByteArray, digest);
    const auto length = static_cast<unsigned short>(message.size());

    QCOMPARE(MxMd5::HashDataToString(message.constData(), length), QString::fromLatin1(digest));

    unsigned char bytes[16];
    MxMd5::HashData(message.constData(), length, bytes);
    QCOMPARE(QByteArray(reinterpret_cast<const char *>(bytes), 16), QByteArray::fromHex(digest));

    QCOMPARE(DigestOfPieces(message, {int(message.size())}), QByteArray::fromHex(digest));
}

void tst_MxMd5::digestsAroundThePadding_data()
{
    QTest::addColumn<int>("length");
    QTest::addColumn<QByteArray>("digest");

    // Figures: head -c LENGTH /dev/zero | tr '\0' x | md5sum
    QTest::newRow("55-bytes-pad-with-1") << 55 << QByteArray("04364420e25c512fd958a70738aa8f72");
    QTest::newRow("56-bytes-pad-with-64") << 56 << QByteArray("668a72d5ba17f08e62dabcafad6db14b");
    QTest::newRow("57-bytes-pad-with-63") << 57 << QByteArray("693037871c4a9d3d8685018905cb530a");
    QTest::newRow("63-bytes-pad-with-57") << 63 << QByteArray("7dc2ca208106a2f703567bdff99d8981");
    QTest::newRow("64-bytes-pad-with-56") << 64 << QByteArray("c1bb4f81d892b2d57947682aeb252456");
    QTest::newRow("65-bytes-pad-with-55") << 65 << QByteArray("1bc932052302d074bdec39795fe00cf6");
    QTest::newRow("119-bytes-pad-with-1") << 119 << QByteArray("ab347a5f68c8a443cfcddc633f12c24f");
    QTest::newRow("120-bytes-pad-with-64") << 120 << QByteArray("fb98667f98096de92620b64f46e1c5b5");
    QTest::newRow("128-bytes-pad-with-56") << 128 << QByteArray("d69cb61a6ee87200676eb0d4b90edbcb");
}

void tst_MxMd5::digestsAroundThePadding()
{
    QFETCH(int, length);
    QFETCH(QByteArray, digest);

    const QByteArray message(length, 'x');
    QCOMPARE(MxMd5::HashDataToString(message.constData(), static_cast<unsigned short>(length)),
             QString::fromLatin1(digest));
}

void tst_MxMd5::digestsOfRandomBytesAreThoseOfQt()
{
    QRandomGenerator random(1321);
    for (int round = 0; round < 1000; ++round) {
        // Every length up to five blocks once, then any.
        const int length = round <= 320 ? round : random.bounded(65536);
        const QByteArray bytes = RandomBytes(&random, length);
        QCOMPARE(MxMd5::HashDataToString(bytes.constData(), static_cast<unsigned short>(length)),
                 QString::fromLatin1(QtDigest(bytes).toHex()));
    }
}

void tst_MxMd5::longestLengthIsHashed()
{
    const QByteArray bytes(65535, 'x');
    QCOMPARE(MxMd5::HashDataToString(bytes.constData(), 65535),
             QString::fromLatin1(QtDigest(bytes).toHex()));
}

void tst_MxMd5::divisionIntoUpdatesDoesNotMatter()
{
    QRandomGenerator random(2);
    for (int round = 0; round < 500; ++round) {
        const QByteArray bytes = RandomBytes(&random, random.bounded(2000));
        QVector<int> lengths;
        for (int i = 0; i < 5; ++i)
            lengths.append(random.bounded(i == 0 ? 300 : 130));
        lengths[0] += 1; // or nothing would ever move
        QCOMPARE(DigestOfPieces(bytes, lengths).toHex(), QtDigest(bytes).toHex());
    }
    const QByteArray bytes = RandomBytes(&random, 1000);
    QCOMPARE(DigestOfPieces(bytes, {1}).toHex(), QtDigest(bytes).toHex());
    QCOMPARE(DigestOfPieces(bytes, {64}).toHex(), QtDigest(bytes).toHex());
    QCOMPARE(DigestOfPieces(bytes, {0, 64, 0, 1, 63}).toHex(), QtDigest(bytes).toHex());
}

void tst_MxMd5::everySplitOfThreeBlocksGivesTheSame()
{
    QRandomGenerator random(3);
    const QByteArray bytes = RandomBytes(&random, 192);
    const QByteArray expected = QtDigest(bytes).toHex();
    for (int first = 0; first <= 192; ++first) {
        for (int second = first; second <= 192; second += 3) {
            const QByteArray actual =
                DigestOfPieces(bytes, {first, second - first, 192 - second}).toHex();
            if (actual != expected)
                QFAIL(qPrintable(QStringLiteral("split at %1 and %2").arg(first).arg(second)));
        }
    }
}

void tst_MxMd5::alignmentDoesNotMatter()
{
    QRandomGenerator random(4);
    alignas(8) unsigned char memory[8 + 300];
    for (int length = 0; length <= 300; ++length) {
        const QByteArray bytes = RandomBytes(&random, length);
        const QByteArray expected = QtDigest(bytes).toHex();
        for (int shift = 0; shift < 8; ++shift) {
            std::memcpy(memory + shift, bytes.constData(), size_t(length));
            unsigned char digest[16];
            MxMd5::HashData(memory + shift, static_cast<unsigned short>(length), digest);
            QCOMPARE(QByteArray(reinterpret_cast<const char *>(digest), 16).toHex(), expected);
        }
    }
}

void tst_MxMd5::contextServesAgainAfterInit()
{
    MD5_CTX context;
    MD5Init(&context);
    MD5Update(&context, Unsigned("something else"), 14);
    MD5Final(&context);
    MD5Init(&context);
    MD5Update(&context, Unsigned("abc"), 3);
    MD5Final(&context);
    QCOMPARE(Digest(context).toHex(), QByteArray("900150983cd24fb0d6963f7d28e17f72"));
}

void tst_MxMd5::hashDataWrites16Bytes()
{
    QByteArray memory(18, char(0x55));
    MxMd5::HashData("abc", 3, reinterpret_cast<unsigned char *>(memory.data()) + 1);
    QCOMPARE(memory.toHex(), QByteArray("55"
                                        "900150983cd24fb0d6963f7d28e17f72"
                                        "55"));
}

void tst_MxMd5::hashDataTakesExactlyLengthBytes()
{
    QCOMPARE(MxMd5::HashDataToString("abcXYZ", 3), MxMd5::HashDataToString("abc", 3));
    // A NUL is a byte like any other.
    const QByteArray bytes("a\0bc\0", 5);
    QCOMPARE(MxMd5::HashDataToString(bytes.constData(), 5),
             QString::fromLatin1(QtDigest(bytes).toHex()));
}

void tst_MxMd5::digestOfNothing()
{
    QCOMPARE(MxMd5::HashDataToString("not looked at", 0), QString::fromLatin1(EMPTY_DIGEST));
    QCOMPARE(MxMd5::HashDataToString(nullptr, 0), QString::fromLatin1(EMPTY_DIGEST));
}

void tst_MxMd5::lengthCountsModulo65536_data()
{
    QTest::addColumn<int>("length");
    QTest::addColumn<int>("hashed");

    QTest::newRow("65535-bytes") << 65535 << 65535;
    QTest::newRow("65536-bytes-are-none") << 65536 << 0;
    QTest::newRow("65537-bytes-are-1") << 65537 << 1;
    QTest::newRow("70000-bytes-are-4464") << 70000 << 4464;
}

void tst_MxMd5::lengthCountsModulo65536()
{
    QFETCH(int, length);
    QFETCH(int, hashed);

    QRandomGenerator random(5);
    const QByteArray bytes = RandomBytes(&random, length);
    const QByteArray expected = QtDigest(bytes.left(hashed));
    const auto cut = static_cast<unsigned short>(length);

    QCOMPARE(MxMd5::HashDataToString(bytes.constData(), cut),
             QString::fromLatin1(expected.toHex()));
    unsigned char digest[16];
    MxMd5::HashData(bytes.constData(), cut, digest);
    QCOMPARE(QByteArray(reinterpret_cast<const char *>(digest), 16), expected);
}

void tst_MxMd5::textHas32LowerCaseDigits()
{
    QByteArray seen;
    for (unsigned short i = 0; i < 200; ++i) {
        const QString text = MxMd5::HashDataToString(&i, sizeof(i));
        QCOMPARE(int(text.size()), 32);
        for (const QChar c : text) {
            QVERIFY(QByteArray("0123456789abcdef").contains(c.toLatin1()));
            if (!seen.contains(c.toLatin1()))
                seen.append(c.toLatin1());
        }
    }
    QCOMPARE(int(seen.size()), 16);
}

void tst_MxMd5::textKeepsLeadingZeros()
{
    // The digests begin 0C C1 and D4 1D 8C D9 8F 00 B2.
    QCOMPARE(MxMd5::HashDataToString("a", 1).left(2), QStringLiteral("0c"));
    QCOMPARE(MxMd5::HashDataToString("", 0).mid(10, 4), QStringLiteral("00b2"));
}

QTEST_GUILESS_MAIN(tst_MxMd5)
#include "tst_MxMd5.moc"
