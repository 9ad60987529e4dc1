// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#include "SkyletCommands.h"
#include "SkyletOptions.h"

#include <QCoreApplication>

int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    return SkyletCommands::Main(QCoreApplication::arguments());
}
