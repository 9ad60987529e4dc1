// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

// Fixed requests without network, window or clock, for counting instructions: RequestScript CASE
// prepares what the case wants and calls RunCase() once. Without a case it prints their names.

#include "AppCbmUtil.h"
#include "AppDeviceTransaction.h"
#include "AppMediaMgr.h"
#include "AppPackage.h"
#include "SegmentSocket.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <memory>
#include <utility>

namespace
{

constexpr int FILES = 2000;
constexpr int FIELDS = 10000;
constexpr int SMALL_REQUESTS = 200;
constexpr int IMAGES = 19;
constexpr int D64_SIZE = 174848;
constexpr int D82_SIZE = 1066496;

using WORK = std::function<void()>;

void Require(bool condition)
{
    if (!condition)
        std::exit(EXIT_FAILURE);
}

void MakeFile(const QString &path, int size)
{
    QFile file(path);
    Require(file.open(QIODevice::WriteOnly) && file.resize(size));
}

AppDosName Everything()
{
    AppDosName all;
    all.FromString("*", true);
    return all;
}

QByteArray Request(const QByteArray &type, const QByteArray &body, const QByteArray &lines = "")
{
    return "POST / HTTP/1.1\r\nHost: hub\r\n" + lines + "Content-Type: " + type +
           "\r\nContent-Length: " + QByteArray::number(body.size()) + "\r\n\r\n" + body;
}

QByteArray UrlEncoded(const QByteArray &body, const QByteArray &lines = "")
{
    return Request("application/x-www-form-urlencoded", body, lines);
}

QByteArray Multipart(const QByteArray &parts)
{
    return Request("multipart/form-data; boundary=XyZ", parts + "--XyZ--\r\n");
}

/// The package's disks as an upload, each with the flag that lets it replace one of its name.
QByteArray Upload(const AppPackage &package)
{
    QByteArray bytes;
    package.Export(&bytes);
    return Multipart("--XyZ\r\nContent-Disposition: form-data; name=\"up\"; filename=\"package\""
                     "\r\n\r\n" +
                     bytes + "\r\n");
}

/// Receives the request in segments of a network's usual size, calls `command` and sends what it
/// has filled.
void Serve(const QByteArray &request,
           const std::function<void(const AppDeviceTransaction &, AppPackage *)> &command)
{
    constexpr int SEGMENT = 65536;
    const std::unique_ptr<SegmentSocket> socket(new SegmentSocket);
    for (int i = 0; i < request.size(); i += SEGMENT)
        socket->AddSegment(request.mid(i, SEGMENT));
    AppDeviceTransaction transaction(socket.get());
    Require(transaction.mValid);
    AppPackage reply;
    command(transaction, &reply);
    transaction.Reply(reply);
}

void Nothing(const AppDeviceTransaction & /*transaction*/, AppPackage * /*reply*/) {}

void AddDisks(const QString &directory, AppPackage *package)
{
    const AppMediaMgr &media = AppMediaMgr::Instance();
    const auto disks = media.SearchDisks(directory, Everything());
    for (const AppMediaMgr::DISK &disk : disks) {
        QByteArray data;
        Require(media.Read(disk.info, &data));
        package->AddDisk(disk.type, disk.name, data);
    }
    Require(package->NumDisks() == IMAGES);
}

void MakeImages(const QString &directory)
{
    for (int i = 0; i < IMAGES; ++i)
        MakeFile(QStringLiteral("%1/disk%2.d82").arg(directory).arg(i), D82_SIZE);
}

WORK Search(const QString &directory)
{
    for (int i = 0; i < FILES; ++i) {
        const bool image = i % 2 == 0;
        MakeFile(QStringLiteral("%1/file%2.%3")
                     .arg(directory)
                     .arg(i)
                     .arg(QLatin1String(image ? "d64" : "prg")),
                 image ? D64_SIZE : 100);
    }
    return [directory] {
        Serve(UrlEncoded("cmd=1&pat=%2A&udid=42"),
              [&](const AppDeviceTransaction &transaction, AppPackage *reply) {
                  const AppMediaMgr &media = AppMediaMgr::Instance();
                  QByteArray listing = AppCbmUtil::ProgramBegin();
                  const auto disks = media.SearchDisks(directory, transaction.mPat);
                  const auto programs = media.SearchPrograms(directory, transaction.mPat);
                  Require(disks.size() + programs.size() == FILES);
                  for (int i = 0; i < FILES; ++i)
                      listing += AppCbmUtil::ProgramDirectoryEntry(0, "NAME", "D64");
                  reply->SetProgram(transaction.mPat, listing + AppCbmUtil::ProgramEnd());
              });
    };
}

WORK Download(const QString &directory)
{
    MakeImages(directory);
    return [directory] {
        Serve(UrlEncoded("cmd=2&req=1&pat=%2A&udid=42"),
              [&](const AppDeviceTransaction & /*transaction*/, AppPackage *reply) {
                  AddDisks(directory, reply);
              });
    };
}

WORK UploadImages(const QString &directory)
{
    MakeImages(directory);
    AppPackage package;
    AddDisks(directory, &package);
    const QByteArray request = Upload(package);
    Require(QDir(directory).mkdir(QStringLiteral("stored")));
    return [directory, request] {
        Serve(request, [&](const AppDeviceTransaction &transaction, AppPackage * /*reply*/) {
            Require(transaction.mPackage != nullptr && transaction.mPackage->NumDisks() == IMAGES);
            for (const AppPackage::DISK *disk : std::as_const(transaction.mPackage->disks)) {
                Require(!AppMediaMgr::Instance()
                             .AddUpdateDisk(directory + QLatin1String("/stored"), disk->name,
                                            disk->data)
                             .isEmpty());
            }
        });
    };
}

WORK Small(const QString & /*directory*/)
{
    return [] {
        for (int i = 0; i < SMALL_REQUESTS; ++i)
            Serve(UrlEncoded("cmd=1&pat=%2A&udid=42&usr=a+b"), Nothing);
    };
}

WORK Pairs(const QString & /*directory*/)
{
    QByteArray body;
    for (int i = 0; i < FIELDS; ++i)
        body += "field" + QByteArray::number(i) + "=value+%41" + QByteArray::number(i) + "&";
    return [request = UrlEncoded(body)] { Serve(request, Nothing); };
}

WORK Fields(const QString & /*directory*/)
{
    QByteArray parts;
    for (int i = 0; i < FIELDS; ++i) {
        parts += "--XyZ\r\nContent-Disposition: form-data; name=\"field" + QByteArray::number(i) +
                 "\"\r\n\r\nvalue+%41" + QByteArray::number(i) + "\r\n";
    }
    return [request = Multipart(parts)] { Serve(request, Nothing); };
}

WORK Lines(const QString & /*directory*/)
{
    const QByteArray lines = QByteArray("X-Filler: some words\r\n").repeated(FIELDS);
    return [request = UrlEncoded("cmd=0", lines)] { Serve(request, Nothing); };
}

struct CASE {
    const char *name;
    WORK (*prepare)(const QString &directory);
};

const CASE CASES[] = {
    {"search-of-2000-files", Search},   {"download-of-19-d82", Download},
    {"upload-of-19-d82", UploadImages}, {"200-small-requests", Small},
    {"10000-url-encoded-pairs", Pairs}, {"10000-multipart-fields", Fields},
    {"10000-header-lines", Lines},
};

} // namespace

/// Only what happens in here is counted, so it must be a function that the compiler keeps.
Q_NEVER_INLINE void RunCase(const WORK &work);

void RunCase(const WORK &work)
{
    work();
}

int main(int argc, char **argv)
{
    for (const CASE &one : CASES) {
        if (argc < 2)
            std::printf("%s\n", one.name);
        if (argc < 2 || std::strcmp(one.name, argv[1]) != 0)
            continue;
        const QTemporaryDir directory;
        RunCase(one.prepare(directory.path()));
        return EXIT_SUCCESS;
    }
    return argc < 2 ? EXIT_SUCCESS : EXIT_FAILURE;
}
