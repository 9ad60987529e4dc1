// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

// A fixed script of requests without network, window or clock, for counting instructions: requests
// are received and parsed, a shelf is searched, listings are built, disks read, packages exported
// and imported.

#include "AppCbmUtil.h"
#include "AppDeviceTransaction.h"
#include "AppMediaMgr.h"
#include "AppPackage.h"
#include "SegmentSocket.h"

#include <QFile>
#include <QTemporaryDir>

#include <cstdlib>
#include <memory>

namespace
{

constexpr int FILES = 300;
constexpr int ROUNDS = 50;
constexpr int D64_SIZE = 174848;

void MakeShelf(const QString &directory)
{
    for (int i = 0; i < FILES; ++i) {
        const QString extension = i % 10 == 0 ? QStringLiteral("d64") : QStringLiteral("prg");
        QFile file(QStringLiteral("%1/file%2.%3").arg(directory).arg(i).arg(extension));
        if (!file.open(QIODevice::WriteOnly) || !file.resize(i % 10 == 0 ? D64_SIZE : 100))
            std::exit(EXIT_FAILURE);
    }
}

QByteArray Request(const QByteArray &type, const QByteArray &body)
{
    return "POST / HTTP/1.1\r\nHost: hub\r\nContent-Type: " + type +
           "\r\nContent-Length: " + QByteArray::number(body.size()) + "\r\n\r\n" + body;
}

QByteArray Upload(const QByteArray &package)
{
    return Request("multipart/form-data; boundary=XyZ",
                   "--XyZ\r\nContent-Disposition: form-data; name=\"cmd\"\r\n\r\n3\r\n"
                   "--XyZ\r\nContent-Disposition: form-data; name=\"up\"; filename=\"package\""
                   "\r\n\r\n" +
                       package + "\r\n--XyZ--\r\n");
}

/// Receives the request in segments of a network's usual size and sends the package.
void Serve(const QByteArray &request, const AppPackage &reply)
{
    constexpr int SEGMENT = 65536;
    const std::unique_ptr<SegmentSocket> socket(new SegmentSocket);
    for (int i = 0; i < request.size(); i += SEGMENT)
        socket->AddSegment(request.mid(i, SEGMENT));
    AppDeviceTransaction transaction(socket.get());
    if (!transaction.mValid)
        std::exit(EXIT_FAILURE);
    transaction.Reply(reply);
}

} // namespace

int main()
{
    const QTemporaryDir shelf;
    MakeShelf(shelf.path());
    AppDosName all;
    all.FromString("*", true);

    for (int round = 0; round < ROUNDS; ++round) {
        AppPackage disks;
        QByteArray listing = AppCbmUtil::ProgramBegin();
        const auto found = AppMediaMgr::Instance().SearchDisks(shelf.path(), all);
        for (const AppMediaMgr::DISK &disk : found) {
            QByteArray data;
            AppMediaMgr::Instance().Read(disk.info, &data);
            disks.AddDisk(disk.type, disk.name, data);
            listing += AppCbmUtil::ProgramDirectoryEntry(0, "NAME", "D64");
        }
        disks.SetProgram(all, listing + AppCbmUtil::ProgramEnd());
        QByteArray package;
        disks.Export(&package);
        Serve(Upload(package), disks);

        const auto programs = AppMediaMgr::Instance().SearchPrograms(shelf.path(), all);
        if (programs.size() + found.size() != FILES)
            return EXIT_FAILURE;
        for (int i = 0; i < 20; ++i)
            Serve(Request("application/x-www-form-urlencoded", "cmd=1&pat=%2A&udid=42&usr=a+b"),
                  AppPackage());
    }
    return EXIT_SUCCESS;
}
