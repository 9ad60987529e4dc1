// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

// The program against peers that want to end or to fill it.

#include "HubProgram.h"

#include <QElapsedTimer>
#include <QtEndian>

#include <memory>
#include <vector>

namespace
{

constexpr qint64 MIB = 1024 * 1024;
constexpr int D82_DISK_TYPE = 4;

using Sockets = std::vector<std::unique_ptr<QTcpSocket>>;

/// The figure of a process in /proc/PID/status, in bytes; -1 if there is none.
qint64 MemoryOf(const HubProcess &hub, const char *figure)
{
    const QList<QByteArray> lines =
        ReadFile(QStringLiteral("/proc/%1/status").arg(hub.Id())).split('\n');
    for (const QByteArray &line : lines) {
        if (line.startsWith(figure))
            return line.simplified().split(' ').value(1).toLongLong() * 1024;
    }
    return -1;
}

/// Connects a device that sends a request and then reads nothing.
void AskAndDoNotRead(const HubProcess &hub, const QByteArray &request, Sockets *devices)
{
    devices->push_back(std::make_unique<QTcpSocket>());
    QTcpSocket *const device = devices->back().get();
    device->setReadBufferSize(1);
    hub.Connect(device);
    QVERIFY(device->waitForConnected(TIMEOUT_MS));
    device->write(request);
    while (device->bytesToWrite() > 0)
        QVERIFY(device->waitForBytesWritten(TIMEOUT_MS));
}

/// Devices that ask for all disks and take nothing of the reply.
Sockets ReadersThatNeverRead(const HubProcess &hub, int count)
{
    Sockets devices;
    for (int i = 0; i < count; ++i)
        AskAndDoNotRead(hub, DownloadRequest("1", "*"), &devices);
    return devices;
}

/// Nineteen disks of the largest kind.
bool MakeLargestReply(const Media &media)
{
    for (int i = 0; i < DISKS_IN_A_PACKAGE; ++i) {
        if (!WriteFile(media.Disk(qPrintable(QStringLiteral("d%1.d82").arg(i))),
                       Image(D82_SIZE, static_cast<unsigned int>(i))))
            return false;
    }
    return true;
}

/// Runs the hub with at most that many descriptors.
QStringList WithDescriptors(int count)
{
    return {QStringLiteral("prlimit"), QStringLiteral("--nofile=%1").arg(count),
            QStringLiteral(DISK_HUB_BINARY)};
}

} // namespace

class tst_Strangers : public QObject
{
    Q_OBJECT

private slots:
    void readersThatNeverReadDoNotEndTheHub_data();
    void readersThatNeverReadDoNotEndTheHub();
    void shortageOfDescriptorsIsNoEnd();
    void requestThatWaitsForRoomIsAnswered();
    void readersThatNeverReadDoNotFillTheMemory();
    void packageThatMultipliesTakesTheBodyOnce();
    void uploadTakesItsBodyOnce();
    void quitLetsReplyEnd();
    void quitDoesNotWaitForAReaderThatNeverReads();
};

void tst_Strangers::readersThatNeverReadDoNotEndTheHub_data()
{
    QTest::addColumn<int>("descriptors");
    QTest::addColumn<int>("readers");

    QTest::newRow("128-descriptors") << 128 << 200;
    QTest::newRow("1024-descriptors") << 1024 << 1100;
}

void tst_Strangers::readersThatNeverReadDoNotEndTheHub()
{
    QFETCH(int, descriptors);
    QFETCH(int, readers);

    const Media media;
    QVERIFY(WriteFile(media.Disk("games.d64"), Image(D64_SIZE, 1)));
    QVERIFY(WriteFile(media.Program("ghost.prg"), "\x01\x08ghost"));
    HubProcess hub;
    QVERIFY(hub.WriteStore(hub.ServerSection() + media.Section()));
    QVERIFY(hub.StartAsItIs(WithDescriptors(descriptors)));

    Sockets devices;
    for (int i = 0; i < readers; ++i) {
        AskAndDoNotRead(hub, DownloadRequest("1", "*"), &devices);
        QVERIFY(hub.IsRunning());
    }
    QVERIFY(hub.Ask(SearchRequest("ghost")).raw.contains("GHOST"));
    QVERIFY(hub.IsRunning());
    QVERIFY2(hub.Descriptors() < descriptors, qPrintable(QString::number(hub.Descriptors())));
}

void tst_Strangers::shortageOfDescriptorsIsNoEnd()
{
    if (IsUnderAsan())
        QSKIP("the sanitizers look at memory through descriptors of their own");
    if (IsEmulated())
        QSKIP("the emulator needs descriptors of its own");
    const Media media;
    QVERIFY(WriteFile(media.Program("ghost.prg"), "\x01\x08ghost"));
    HubProcess hub;
    QVERIFY(hub.WriteStore(hub.ServerSection() + media.Section()));
    QVERIFY(hub.StartAsItIs(WithDescriptors(1024)));
    const QByteArray expected = hub.Ask(SearchRequest("ghost")).raw;
    QVERIFY(expected.contains("GHOST"));

    // From now on there is none for a connection, until there are some again.
    const auto limit = [&](int count) {
        return QProcess::execute(QStringLiteral("prlimit"),
                                 {QStringLiteral("--pid=%1").arg(hub.Id()),
                                  QStringLiteral("--nofile=%1:1024").arg(count)});
    };
    QCOMPARE(limit(3), 0);
    QTcpSocket device;
    hub.Connect(&device);
    QVERIFY(device.waitForConnected(TIMEOUT_MS));
    device.write(SearchRequest("ghost"));
    QVERIFY(device.waitForBytesWritten(TIMEOUT_MS));
    QVERIFY(!device.waitForReadyRead(1500));
    QVERIFY2(device.state() == QAbstractSocket::ConnectedState, hub.Errors().constData());
    QCOMPARE(limit(1024), 0);
    QVERIFY(device.waitForDisconnected(TIMEOUT_MS));
    QCOMPARE(device.readAll(), expected);
}

void tst_Strangers::requestThatWaitsForRoomIsAnswered()
{
    constexpr int READERS = 64; // that leave no room, unless it takes long to make them

    const Media media;
    QVERIFY(WriteFile(media.Disk("games.d82"), Image(D82_SIZE, 1)));
    HubProcess hub;
    QVERIFY(hub.Start(media.Section()));
    const Sockets devices = ReadersThatNeverRead(hub, READERS);
    QTcpSocket impatient;
    hub.Connect(&impatient);
    QVERIFY(impatient.waitForConnected(TIMEOUT_MS));
    impatient.disconnectFromHost();
    QVERIFY(hub.Ask(SearchRequest("games")).raw.contains("GAMES"));
}

void tst_Strangers::readersThatNeverReadDoNotFillTheMemory()
{
    constexpr int READERS = 60;
    constexpr qint64 MEMORY_MAX = 400 * MIB;

    const Media media;
    QVERIFY(MakeLargestReply(media));
    HubProcess hub;
    QVERIFY(hub.Start(media.Section()));
    const Sockets devices = ReadersThatNeverRead(hub, READERS);
    QVERIFY(hub.Ask(SearchRequest("d1")).raw.contains("D1"));
    const qint64 peak = MemoryOf(hub, "VmHWM:");
    QVERIFY2(IsUnderAsan() || (peak > 0 && peak <= MEMORY_MAX),
             qPrintable(QString::number(peak / MIB)));
}

void tst_Strangers::packageThatMultipliesTakesTheBodyOnce()
{
    constexpr int ENTRIES = 254;
    constexpr int SIZE = int(10 * MIB);

    // All entries lie on the same bytes: a block of size 0 does not move the next one's place.
    QByteArray package = WirePackage().Bytes().left(16);
    package[7] = char(ENTRIES);
    QByteArray entry(24, '\0');
    entry[0] = 1;
    entry.replace(8, 16, PetsciiName("many"));
    for (int i = 0; i < ENTRIES; ++i)
        package += entry;
    // The disk header that all share stands where the data begin, among the entries: at offset 496.
    package += QByteArray(4096 + SIZE, 'd');
    const QByteArray magic = QByteArray::fromHex("A6135C7100100000");
    QByteArray size(4, '\0');
    qToLittleEndian(quint32(SIZE), size.data());
    package.replace(496, 12, magic + size);

    const Media media;
    HubProcess hub;
    QVERIFY(hub.Start(media.Section() + "\n[security]\nvalidate=true\n"));
    QVERIFY(!hub.Ask(SearchRequest("*")).raw.isEmpty());
    const qint64 idle = MemoryOf(hub, "VmRSS:");
    const QByteArray request = MultipartRequest({{"cmd", "3"}}, package);
    QCOMPARE(hub.Ask(request).Package().result, -89);
    const qint64 peak = MemoryOf(hub, "VmHWM:");
    QVERIFY2(IsUnderAsan() || peak - idle <= 2 * request.size(),
             qPrintable(QString::number((peak - idle) / MIB)));
}

void tst_Strangers::uploadTakesItsBodyOnce()
{
    QList<WireObject> disks;
    for (int i = 0; i < DISKS_IN_A_PACKAGE; ++i)
        disks.append(Disk(qPrintable(QStringLiteral("d%1").arg(i)),
                          Image(D82_SIZE, static_cast<unsigned int>(i)), D82_DISK_TYPE, false));
    const Media media;
    HubProcess hub;
    QVERIFY(hub.Start(media.Section()));
    QVERIFY(!hub.Ask(SearchRequest("*")).raw.isEmpty());
    const qint64 idle = MemoryOf(hub, "VmRSS:");
    const QByteArray request = UploadRequest(disks);
    QCOMPARE(hub.Ask(request).Package().result, 0);
    QCOMPARE(ReadFile(media.Disk("d18.d82")), Image(D82_SIZE, 18));
    const qint64 peak = MemoryOf(hub, "VmHWM:");
    QVERIFY2(IsUnderAsan() || IsEmulated() || 5 * (peak - idle) <= 6 * request.size(),
             qPrintable(QString::number(double(peak - idle) / double(request.size()))));
}

void tst_Strangers::quitLetsReplyEnd()
{
    const Media media;
    QVERIFY(MakeLargestReply(media));
    HubProcess hub;
    QVERIFY(hub.WriteStore(hub.ServerSection() + media.Section()));
    QVERIFY(hub.StartAsItIs(HubProcess::Child()));
    const QByteArray whole = hub.Ask(DownloadRequest("1", "*")).raw;
    QVERIFY(whole.size() > DISKS_IN_A_PACKAGE * D82_SIZE);

    Sockets devices;
    AskAndDoNotRead(hub, DownloadRequest("1", "*"), &devices);
    QTcpSocket *const device = devices.back().get();
    QVERIFY(device->waitForReadyRead(TIMEOUT_MS));
    hub.BeginQuit();
    device->setReadBufferSize(0);
    QVERIFY(device->waitForDisconnected(TIMEOUT_MS));
    QCOMPARE(device->readAll().size(), whole.size());
    QCOMPARE(hub.Quit(), EXIT_CODE);
}

void tst_Strangers::quitDoesNotWaitForAReaderThatNeverReads()
{
    constexpr int QUIT_MS = 5000;

    const Media media;
    QVERIFY(MakeLargestReply(media));
    HubProcess hub;
    QVERIFY(hub.WriteStore(hub.ServerSection() + media.Section()));
    QVERIFY(hub.StartAsItIs(HubProcess::Child()));
    Sockets devices;
    AskAndDoNotRead(hub, DownloadRequest("1", "*"), &devices);
    QVERIFY(devices.back()->waitForReadyRead(TIMEOUT_MS));
    QElapsedTimer timer;
    timer.start();
    QCOMPARE(hub.Quit(), EXIT_CODE);
    QVERIFY2(timer.elapsed() < 2 * QUIT_MS, qPrintable(QString::number(timer.elapsed())));
}

int main(int argc, char **argv)
{
    return RunTestOrHub<tst_Strangers>(argc, argv);
}

#include "tst_Strangers.moc"
