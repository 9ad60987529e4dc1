// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#pragma once

#include "CheckRemark.h"

#include <QCoreApplication>
#include <QVector>

class CheckServed;

/// What is to be said about a directory and about the files that the hub serves from it: what their
/// names become, which of them a DOWNLOAD does not send. Stateless.
class CheckServedRemarks
{
    Q_DECLARE_TR_FUNCTIONS(CheckServedRemarks)

public:
    /// The remarks, in no particular order.
    static QVector<CheckRemark> Of(const CheckServed &served);
};
