// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#include "AnswerServer.h"
#include "AppPackage.h"
#include "SkyletReply.h"

#include <QTest>

namespace
{

WireObject Program()
{
    return {WireObject::PROGRAM, false, PetsciiName("hello"), "\x01\x08 a program", 0};
}

WireObject Disk(int type)
{
    return {WireObject::DISK, false, PetsciiName("games"), QByteArray(D64_SIZE, 'd'), type};
}

/// A package whose bytes at `offset` were replaced.
QByteArray Changed(QByteArray package, int offset, const char *hex)
{
    const QByteArray bytes = QByteArray::fromHex(hex);
    return package.replace(offset, bytes.size(), bytes);
}

SkyletReply::STATUS Status(const QByteArray &bytes)
{
    return SkyletReply::Parse(bytes).status;
}

} // namespace

class tst_SkyletReply : public QObject
{
    Q_OBJECT

private slots:
    void emptyPackageIsRead();
    void programAndDisksAreRead();
    void fullPackageIsRead();
    void resultIsSigned_data();
    void resultIsSigned();
    void headsAreChecked_data();
    void headsAreChecked();
    void packagesAreChecked_data();
    void packagesAreChecked();
    void disksAreChecked_data();
    void disksAreChecked();
    void everyCutIsNoticed();
    void everyCutOfADiskIsNoticed();
    void oneByteMoreIsNoticed();
    void noChangeOfOneByteIsMisread();
    void announcedSize_data();
    void announcedSize();
    void longHeadEnds();
    void onlyAValidReplyHasNoMessage();
    void messagesNameTheFigures_data();
    void messagesNameTheFigures();
};

void tst_SkyletReply::emptyPackageIsRead()
{
    const SkyletReply reply = SkyletReply::Parse(HubAnswer(Package({})));
    QCOMPARE(reply.status, SkyletReply::VALID);
    QCOMPARE(reply.package->result, qint32(AppPackage::RESULT_OK));
    QCOMPARE(reply.package->NumDisks(), 0);
    QVERIFY(reply.package->Program().data.isEmpty());
}

void tst_SkyletReply::programAndDisksAreRead()
{
    const SkyletReply reply = SkyletReply::Parse(HubAnswer(Package({Program(), Disk(0), Disk(4)})));
    QCOMPARE(reply.status, SkyletReply::VALID);
    QCOMPARE(reply.package->Program().data, Program().data);
    QCOMPARE(QByteArray(reply.package->Program().name.Bytes(), AppDosName::SIZE), Program().name);
    QCOMPARE(reply.package->NumDisks(), 2);
    QCOMPARE(reply.package->Disk(0)->data, Disk(0).data);
    QCOMPARE(reply.package->Disk(1)->type, AppPackage::DISK_D82);
}

void tst_SkyletReply::fullPackageIsRead()
{
    QList<WireObject> objects{Program()};
    while (objects.size() < 20)
        objects.append(Disk(1));
    const SkyletReply reply = SkyletReply::Parse(HubAnswer(Package(objects)));
    QCOMPARE(reply.status, SkyletReply::VALID);
    QCOMPARE(reply.package->NumDisks(), 19);
}

void tst_SkyletReply::resultIsSigned_data()
{
    QTest::addColumn<int>("result");

    QTest::newRow("refused-login") << int(AppPackage::RESULT_AUTH_FAILURE);
    QTest::newRow("write-error") << -1;
    QTest::newRow("lowest") << -128;
    QTest::newRow("highest") << 127;
}

void tst_SkyletReply::resultIsSigned()
{
    QFETCH(int, result);

    const SkyletReply reply = SkyletReply::Parse(HubAnswer(Package({}, result)));
    QCOMPARE(reply.status, SkyletReply::VALID);
    QCOMPARE(reply.package->result, result);
}

void tst_SkyletReply::headsAreChecked_data()
{
    QTest::addColumn<QByteArray>("head");
    QTest::addColumn<int>("status");

    QTest::newRow("as-the-hub-sends-it")
        << QByteArray("HTTP/1.1 200 Ok\r\nContent-Length: 496\r\n") << int(SkyletReply::VALID);
    QTest::newRow("http-1.0") << QByteArray("HTTP/1.0 200 OK\r\nContent-Length: 496\r\n")
                              << int(SkyletReply::VALID);
    QTest::newRow("no-reason") << QByteArray("HTTP/1.1 200\r\nContent-Length: 496\r\n")
                               << int(SkyletReply::VALID);
    QTest::newRow("lower-case-and-no-blank")
        << QByteArray("HTTP/1.1 200 Ok\r\ncontent-length:496\r\n") << int(SkyletReply::VALID);
    QTest::newRow("other-lines-around")
        << QByteArray("HTTP/1.1 200 Ok\r\nA: b\r\nnonsense\r\nContent-Length: 496\r\nC: d\r\n")
        << int(SkyletReply::VALID);
    QTest::newRow("another-protocol")
        << QByteArray("SSH-2.0-x\r\nContent-Length: 496\r\n") << int(SkyletReply::NOT_HTTP);
    QTest::newRow("http-2") << QByteArray("HTTP/2 200 Ok\r\nContent-Length: 496\r\n")
                            << int(SkyletReply::NOT_HTTP);
    QTest::newRow("no-status") << QByteArray("HTTP/1.1\r\nContent-Length: 496\r\n")
                               << int(SkyletReply::NOT_HTTP);
    QTest::newRow("status-of-letters")
        << QByteArray("HTTP/1.1 abc Ok\r\nContent-Length: 496\r\n") << int(SkyletReply::NOT_HTTP);
    QTest::newRow("status-of-two-digits")
        << QByteArray("HTTP/1.1 20\r\nContent-Length: 496\r\n") << int(SkyletReply::NOT_HTTP);
    QTest::newRow("status-of-four-digits")
        << QByteArray("HTTP/1.1 2000 Ok\r\nContent-Length: 496\r\n") << int(SkyletReply::NOT_HTTP);
    QTest::newRow("not-found") << QByteArray("HTTP/1.1 404 Not Found\r\nContent-Length: 496\r\n")
                               << int(SkyletReply::BAD_STATUS);
    QTest::newRow("no-length") << QByteArray("HTTP/1.1 200 Ok\r\n") << int(SkyletReply::NO_LENGTH);
    QTest::newRow("length-in-a-status-line")
        << QByteArray("HTTP/1.1 200 Content-Length: 496\r\n") << int(SkyletReply::NO_LENGTH);
    QTest::newRow("two-lengths")
        << QByteArray("HTTP/1.1 200 Ok\r\nContent-Length: 496\r\nContent-Length: 496\r\n")
        << int(SkyletReply::BAD_LENGTH);
    QTest::newRow("empty-length") << QByteArray("HTTP/1.1 200 Ok\r\nContent-Length: \r\n")
                                  << int(SkyletReply::BAD_LENGTH);
    QTest::newRow("negative-length")
        << QByteArray("HTTP/1.1 200 Ok\r\nContent-Length: -1\r\n") << int(SkyletReply::BAD_LENGTH);
    QTest::newRow("signed-length") << QByteArray("HTTP/1.1 200 Ok\r\nContent-Length: +496\r\n")
                                   << int(SkyletReply::BAD_LENGTH);
    QTest::newRow("length-of-letters") << QByteArray("HTTP/1.1 200 Ok\r\nContent-Length: 496x\r\n")
                                       << int(SkyletReply::BAD_LENGTH);
    QTest::newRow("length-above-the-limit")
        << QByteArray("HTTP/1.1 200 Ok\r\nContent-Length: 268435457\r\n")
        << int(SkyletReply::BAD_LENGTH);
    QTest::newRow("length-at-the-limit")
        << QByteArray("HTTP/1.1 200 Ok\r\nContent-Length: 268435456\r\n")
        << int(SkyletReply::BODY_CUT);
    QTest::newRow("length-beyond-64-bits")
        << QByteArray("HTTP/1.1 200 Ok\r\nContent-Length: 18446744073709552112\r\n")
        << int(SkyletReply::BAD_LENGTH);
    QTest::newRow("length-one-too-large")
        << QByteArray("HTTP/1.1 200 Ok\r\nContent-Length: 497\r\n") << int(SkyletReply::BODY_CUT);
    QTest::newRow("length-one-too-small")
        << QByteArray("HTTP/1.1 200 Ok\r\nContent-Length: 495\r\n") << int(SkyletReply::BODY_LONG);
}

void tst_SkyletReply::headsAreChecked()
{
    QFETCH(QByteArray, head);
    QFETCH(int, status);

    QCOMPARE(int(Status(head + "\r\n" + Package({}))), status);
}

void tst_SkyletReply::packagesAreChecked_data()
{
    QTest::addColumn<QByteArray>("package");
    QTest::addColumn<int>("status");

    const QByteArray empty = Package({});
    const QByteArray program = Package({Program()});

    QTest::newRow("no-body") << QByteArray() << int(SkyletReply::NO_PACKAGE);
    QTest::newRow("one-byte-short") << empty.left(495) << int(SkyletReply::NO_PACKAGE);
    QTest::newRow("text") << QByteArray(600, 'x') << int(SkyletReply::BAD_MAGIC);
    QTest::newRow("magic-in-the-other-order")
        << Changed(empty, 0, "73CA241F") << int(SkyletReply::BAD_MAGIC);
    QTest::newRow("version-1") << Changed(empty, 4, "01") << int(SkyletReply::BAD_VERSION);
    QTest::newRow("version-256") << Changed(empty, 4, "0001") << int(SkyletReply::BAD_VERSION);
    QTest::newRow("count-21") << Changed(empty, 7, "15") << int(SkyletReply::BAD_COUNT);
    QTest::newRow("count-255") << Changed(empty, 7, "FF") << int(SkyletReply::BAD_COUNT);
    QTest::newRow("count-20-of-nothing-is-20-programs")
        << Changed(empty, 7, "14") << int(SkyletReply::BAD_OBJECT);
    QTest::newRow("count-1-of-an-empty-program")
        << Changed(empty, 7, "01") << int(SkyletReply::VALID);
    QTest::newRow("count-too-small") << Changed(program, 7, "00") << int(SkyletReply::BAD_SIZES);
    QTest::newRow("total-too-large") << Changed(program, 8, "0D") << int(SkyletReply::BAD_SIZES);
    QTest::newRow("total-too-small") << Changed(program, 8, "0B") << int(SkyletReply::BAD_SIZES);
    QTest::newRow("total-beyond-31-bits")
        << Changed(program, 8, "0C000080") << int(SkyletReply::BAD_SIZES);
    QTest::newRow("object-too-large") << Changed(program, 20, "0D") << int(SkyletReply::BAD_SIZES);
    QTest::newRow("object-too-small") << Changed(program, 20, "0B") << int(SkyletReply::BAD_SIZES);
    QTest::newRow("object-beyond-31-bits")
        << Changed(program, 20, "0C000080") << int(SkyletReply::BAD_SIZES);
    QTest::newRow("object-of-unknown-type")
        << Changed(program, 16, "02") << int(SkyletReply::BAD_OBJECT);
    QTest::newRow("two-programs") << Package({Program(), Program()})
                                  << int(SkyletReply::BAD_OBJECT);
    QTest::newRow("program-behind-a-disk")
        << Package({Disk(0), Program()}) << int(SkyletReply::VALID);
    QTest::newRow("disk-that-begins-at-the-end")
        << Changed(Changed(Package({{WireObject::PROGRAM, false, Program().name,
                                     QByteArray(8192, 'p'), 0},
                                    {WireObject::PROGRAM, false, Program().name, "1234", 0}}),
                           40, "01"),
                   44, "00100000")
        << int(SkyletReply::BAD_SIZES);
    QTest::newRow("reserved-bytes-are-not-looked-at")
        << Changed(program, 12, "FFFFFFFF") << int(SkyletReply::VALID);
}

void tst_SkyletReply::packagesAreChecked()
{
    QFETCH(QByteArray, package);
    QFETCH(int, status);

    const SkyletReply reply = SkyletReply::Parse(HubAnswer(package));
    QCOMPARE(int(reply.status), status);
    QCOMPARE(reply.package != nullptr, status == SkyletReply::VALID);
}

void tst_SkyletReply::disksAreChecked_data()
{
    QTest::addColumn<QByteArray>("package");
    QTest::addColumn<int>("status");

    const QByteArray disk = Package({Disk(0)});
    constexpr int block = 496; // where the disk's header begins

    QTest::newRow("disk-without-its-header")
        << Changed(Package({Program()}), 16, "01") << int(SkyletReply::BAD_DISK_HEADER);
    QTest::newRow("disk-magic-wrong")
        << Changed(disk, block, "00") << int(SkyletReply::BAD_DISK_HEADER);
    QTest::newRow("disk-type-4") << Changed(disk, block + 12, "04") << int(SkyletReply::VALID);
    QTest::newRow("disk-type-5") << Changed(disk, block + 12, "05")
                                 << int(SkyletReply::BAD_DISK_HEADER);
    QTest::newRow("disk-type-255")
        << Changed(disk, block + 12, "FF") << int(SkyletReply::BAD_DISK_HEADER);
    QTest::newRow("image-inside-the-disk-header")
        << Changed(disk, block + 4, "FF0F0000") << int(SkyletReply::BAD_DISK_HEADER);
    QTest::newRow("image-starts-behind-the-block")
        << Changed(disk, block + 4, "01C00200") << int(SkyletReply::BAD_DISK_HEADER);
    QTest::newRow("image-fills-the-block")
        << Changed(disk, block + 8, "00B00200") << int(SkyletReply::VALID);
    QTest::newRow("image-one-byte-too-large")
        << Changed(disk, block + 8, "01B00200") << int(SkyletReply::BAD_DISK_HEADER);
    QTest::newRow("image-beyond-31-bits")
        << Changed(disk, block + 8, "FFFFFFFF") << int(SkyletReply::BAD_DISK_HEADER);
    QTest::newRow("start-and-size-that-overflow-together")
        << Changed(Changed(disk, block + 4, "00F0FFFF"), block + 8, "00100000")
        << int(SkyletReply::BAD_DISK_HEADER);
}

void tst_SkyletReply::disksAreChecked()
{
    packagesAreChecked();
}

void tst_SkyletReply::everyCutIsNoticed()
{
    const QByteArray reply = HubAnswer(Package({Program()}));
    const auto headSize = reply.indexOf("\r\n\r\n") + 4;
    QCOMPARE(Status(reply.left(0)), SkyletReply::EMPTY);
    for (int size = 1; size < headSize; ++size)
        QCOMPARE(Status(reply.left(size)), SkyletReply::HEAD_CUT);
    for (int size = int(headSize); size < reply.size(); ++size)
        QCOMPARE(Status(reply.left(size)), SkyletReply::BODY_CUT);
    QCOMPARE(Status(reply), SkyletReply::VALID);
}

void tst_SkyletReply::everyCutOfADiskIsNoticed()
{
    // The announced length follows the cut here, so that the package itself is what is too short.
    const QByteArray package = Package({Disk(0)});
    for (int size = 496; size < package.size(); size += 997)
        QCOMPARE(Status(HubAnswer(package.left(size))), SkyletReply::BAD_SIZES);
    for (int size = 496; size < 496 + 4096; size += 61) {
        QByteArray cut = package.left(size);
        const QByteArray left = QByteArray::number(size - 496, 16).rightJustified(4, '0');
        const QByteArray littleEndian = left.mid(2) + left.left(2) + "0000";
        cut = Changed(Changed(cut, 8, littleEndian.constData()), 20, littleEndian.constData());
        QCOMPARE(Status(HubAnswer(cut)), SkyletReply::BAD_DISK_HEADER);
    }
}

void tst_SkyletReply::oneByteMoreIsNoticed()
{
    QCOMPARE(Status(HubAnswer(Package({Program()})) + '\0'), SkyletReply::BODY_LONG);
    QCOMPARE(Status(HubAnswer(Package({Program()}) + '\0')), SkyletReply::BAD_SIZES);
}

void tst_SkyletReply::noChangeOfOneByteIsMisread()
{
    // Whatever byte is wrong: the reply is refused, or its objects are those that were sent but for
    // that byte.
    const QByteArray reply = HubAnswer(Package({Program()}));
    for (int i = 0; i < reply.size(); ++i) {
        for (const char change : {'\x01', '\x80', '\xff'}) {
            QByteArray changed = reply;
            changed[i] = char(changed.at(i) ^ change);
            const SkyletReply read = SkyletReply::Parse(changed);
            if (read.status == SkyletReply::VALID)
                QCOMPARE(read.package->Program().data.size(), Program().data.size());
        }
    }
}

void tst_SkyletReply::announcedSize_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<qint64>("size");

    const qint64 notYet = SkyletReply::SIZE_NOT_YET;
    const qint64 never = SkyletReply::SIZE_NEVER;
    QTest::newRow("nothing") << QByteArray() << notYet;
    QTest::newRow("first-letter") << QByteArray("H") << notYet;
    QTest::newRow("another-first-letter") << QByteArray("<") << never;
    QTest::newRow("blank-line-cut")
        << QByteArray("HTTP/1.1 200 Ok\r\nContent-Length: 5\r\n\r") << notYet;
    QTest::newRow("head") << QByteArray("HTTP/1.1 200 Ok\r\nContent-Length: 5\r\n\r\n")
                          << qint64(38 + 5);
    QTest::newRow("head-and-part-of-the-body")
        << QByteArray("HTTP/1.1 200 Ok\r\nContent-Length: 5\r\n\r\nab") << qint64(38 + 5);
    QTest::newRow("no-length") << QByteArray("HTTP/1.1 200 Ok\r\n\r\n") << never;
    QTest::newRow("another-status")
        << QByteArray("HTTP/1.1 500 No\r\nContent-Length: 5\r\n\r\n") << never;
}

void tst_SkyletReply::announcedSize()
{
    QFETCH(QByteArray, bytes);
    QFETCH(qint64, size);

    QCOMPARE(SkyletReply::AnnouncedSize(bytes), size);
}

void tst_SkyletReply::longHeadEnds()
{
    const QByteArray start("HTTP/1.1 200 Ok\r\nContent-Length: 496\r\nX: ");
    const QByteArray end("\r\n\r\n");
    const QByteArray fill(int(SkyletReply::HEAD_MAX - start.size() - end.size()), 'x');

    QCOMPARE(Status(start + fill + end + Package({})), SkyletReply::VALID);
    QCOMPARE(Status(start + fill + 'x' + end + Package({})), SkyletReply::HEAD_TOO_LONG);
    QCOMPARE(Status(start + fill), SkyletReply::HEAD_CUT);
    QCOMPARE(SkyletReply::AnnouncedSize(start + fill + "xxxx"), qint64(SkyletReply::SIZE_NEVER));
}

void tst_SkyletReply::onlyAValidReplyHasNoMessage()
{
    SkyletReply reply;
    QStringList messages;
    for (int status = SkyletReply::VALID; status <= SkyletReply::BAD_DISK_HEADER; ++status) {
        reply.status = SkyletReply::STATUS(status);
        QCOMPARE(reply.Message().isEmpty(), status == SkyletReply::VALID);
        messages.append(reply.Message());
    }
    QCOMPARE(messages.removeDuplicates(), 0);
}

void tst_SkyletReply::messagesNameTheFigures_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<QString>("message");

    const QByteArray head("HTTP/1.1 200 Ok\r\nContent-Length: ");
    QTest::newRow("bytes-that-came")
        << head + "496\r\n\r\nabc" << QStringLiteral("it ends after 3 of 496 bytes");
    QTest::newRow("bytes-too-many")
        << head + "2\r\n\r\nabc" << QStringLiteral("it goes on behind its end: 3 of 2 bytes");
    QTest::newRow("length-as-it-stands")
        << head + "many\r\n\r\nabc" << QStringLiteral("it announces the length \"many\"");
    QTest::newRow("http-status") << QByteArray("HTTP/1.1 404 Not Found\r\n\r\n")
                                 << QStringLiteral("its HTTP status is 404, not 200");
}

void tst_SkyletReply::messagesNameTheFigures()
{
    QFETCH(QByteArray, bytes);
    QFETCH(QString, message);

    QCOMPARE(SkyletReply::Parse(bytes).Message(), message);
}

QTEST_GUILESS_MAIN(tst_SkyletReply)
#include "tst_SkyletReply.moc"
