// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#include "AppDiskHub.h"
#include "AppPrivileges.h"
#include "AppToolkitTexts.h"

#include <QLocale>

int main(int argc, char **argv)
{
    AppPrivileges::Guard(&argc, argv);
    // Where there is no such style the toolkit keeps its own.
    QApplication::setStyle(QStringLiteral("macintosh"));
    // Desktops find name and icon of the window by this.
    QApplication::setDesktopFileName(QStringLiteral("com.tesseline.DiskHub"));
    AppDiskHub hub(argc, argv);
    // After the settings have been read, and gone before they are written.
    AppToolkitTexts texts;
    if (texts.Load(QLocale::system()))
        QCoreApplication::installTranslator(&texts);
    return AppDiskHub::exec();
}
