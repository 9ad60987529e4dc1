// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#pragma once

#include "AppDeviceTransaction.h"
#include "AppPackage.h"
#include "SegmentSocket.h"

#include <QByteArray>
#include <QList>

#include <memory>
#include <vector>

// What the tests of AppDeviceTransaction share.

const QByteArray URL_ENCODED = QByteArrayLiteral("application/x-www-form-urlencoded");
const QByteArray MULTIPART = QByteArrayLiteral("multipart/form-data; boundary=XyZ");

/// A transaction that has read the segments, and its connection.
struct Exchange {
    explicit Exchange(const QList<QByteArray> &segments = QList<QByteArray>())
        : socket(new SegmentSocket(segments)), transaction(socket.get())
    {
    }

    std::unique_ptr<SegmentSocket> socket; // outlives the transaction
    AppDeviceTransaction transaction;
};

QList<QByteArray> Pieces(const QByteArray &bytes, int size);

/// The wire form of a package with the program HELLO of two bytes.
QByteArray HelloPackage();

/// The same with a disk GAMES of no bytes.
QByteArray HelloAndDiskPackage();

/// A package with as many D82 images as fit: more than the network takes at once.
void FillWithDisks(AppPackage *package);

/// What a package becomes whose wire form is `bytes`, as text.
QByteArray DescribedImport(const QByteArray &bytes);

/// The properties that differ from their initial values: "usr=[bob] cmd=1".
QByteArray Properties(const AppDeviceTransaction &transaction);

/// All that a request leaves in the transaction.
QByteArray State(const AppDeviceTransaction &transaction);

/// A request as it comes, and the state it leaves.
struct REQUEST_CASE {
    const char *name;
    QByteArray request;
    QByteArray state;
};

/// Requests of every kind.
std::vector<REQUEST_CASE> RequestCases();
