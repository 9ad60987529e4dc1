// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

// disk-hub-pictures DIRECTORY light|dark: opens the windows of a hub that has something to show and
// writes a picture of each to DIRECTORY, as on a desktop of light or of dark colours. The settings
// are its own, and the requests in the console are real.

#include "AppAccessRestrictionsDialog.h"
#include "AppDiskHub.h"
#include "AppGenerateMd5Dialog.h"
#include "AppMainWindow.h"
#include "AppNewUserDialog.h"
#include "MxMd5.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QLineEdit>
#include <QListWidget>
#include <QPalette>
#include <QPixmap>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTemporaryDir>
#include <QTextStream>

namespace
{

constexpr int PORT = 6410;
constexpr int TIMEOUT_MS = 10000;

const char *const LIGHT = "light"; // the style's own colours
const char *const DARK = "dark";   // added to the names of the pictures

struct PERSON {
    const char *name;
    const char *password;
    bool ro;
    const char *shelf; ///< home of the own directories, or null
};

const PERSON PEOPLE[] = {
    {"anna", "commodore", false, nullptr},
    {"ben", "datasette", true, "/srv/commodore/ben"},
    {"guest", "", true, nullptr},
};
constexpr int SHOWN_PERSON = 1; // the one with most to show

QString Digest(const char *password)
{
    return MxMd5::HashDataToString(password, static_cast<unsigned short>(qstrlen(password)));
}

/// Tells what is wrong. Returns false.
bool Complain(const QString &text)
{
    QTextStream(stderr) << "disk-hub-pictures: " << text << Qt::endl;
    return false;
}

/// A form with the fields that every request has, and those of its command.
QByteArray Request(const PERSON &person, const char *password, const char *command)
{
    const QByteArray body = QByteArray("udid=5F0C-2A7E&usr=") + person.name +
                            "&pwd=" + Digest(password).toLatin1() + '&' + command;
    return "POST / HTTP/1.1\r\nContent-Type: "
           "application/x-www-form-urlencoded\r\nContent-Length: " +
           QByteArray::number(body.size()) + "\r\n\r\n" + body;
}

/// Sends a request to the hub, which runs in this thread, and waits until it has hung up.
bool Ask(const QTcpServer &server, const QByteArray &request)
{
    QTcpSocket device;
    device.connectToHost(server.serverAddress(), server.serverPort());
    if (!device.waitForConnected(TIMEOUT_MS))
        return false;
    device.write(request);
    device.flush();
    QElapsedTimer timer;
    timer.start();
    while (device.state() != QAbstractSocket::UnconnectedState && !timer.hasExpired(TIMEOUT_MS))
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents, TIMEOUT_MS);
    return device.readAll().startsWith("HTTP/1.1 200 ");
}

/// A store that makes the hub listen on the loopback interface, whatever else there is.
bool WriteSettings(const QString &home)
{
    const QDir dir(home + QStringLiteral("/Tesseline LLC"));
    QFile file(dir.filePath(QStringLiteral("Disk Hub.conf")));
    const QByteArray text = "[server]\nactive_ifc_name=lo\nactive_ifc_addr=127.0.0.1\nport=" +
                            QByteArray::number(PORT) +
                            "\n[security]\nvalidate=true\n"
                            "[media]\n"
                            "disk_path=/srv/commodore/disks\n"
                            "program_path=/srv/commodore/programs\n";
    return dir.mkpath(QStringLiteral(".")) && file.open(QIODevice::WriteOnly) &&
           file.write(text) == text.size();
}

void AddPeople(AppDiskHub *hub)
{
    for (const PERSON &person : PEOPLE) {
        AppDiskHub::USER *const user = hub->User(hub->AddUser(QString::fromLatin1(person.name)));
        user->md5 = Digest(person.password);
        user->ro = person.ro;
        if (person.shelf != nullptr) {
            user->own_dir = true;
            user->disk_dir = QString::fromLatin1(person.shelf) + QStringLiteral("/disks");
            user->program_dir = QString::fromLatin1(person.shelf) + QStringLiteral("/programs");
        }
    }
}

bool AskAll(const QTcpServer &server)
{
    const PERSON &anna = PEOPLE[0];
    const PERSON &ben = PEOPLE[1];
    const PERSON &guest = PEOPLE[2];
    return Ask(server, Request(anna, anna.password, "cmd=1&pat=*")) &&
           Ask(server, Request(anna, anna.password, "cmd=2&req=1&pat=games*")) &&
           Ask(server, Request(ben, "tape", "cmd=1&pat=*")) &&
           Ask(server, Request(ben, ben.password, "cmd=2&req=0&pat=hello")) &&
           Ask(server, Request(guest, guest.password, "cmd=3"));
}

/// What a desktop with dark colours hands to its programs.
QPalette DarkPalette()
{
    QPalette palette(QColor(0x32, 0x32, 0x32));
    palette.setColor(QPalette::Base, QColor(0x24, 0x24, 0x24));
    palette.setColor(QPalette::Highlight, QColor(0x30, 0x8C, 0xC6));
    palette.setColor(QPalette::HighlightedText, Qt::white);
    return palette;
}

/// Shows the window, has it painted with nothing that blinks, and writes it to `name`.png, or to
/// `name`-dark.png.
bool TakePicture(QWidget *window, const char *name)
{
    const bool dark = QApplication::arguments().constLast() == QLatin1String(DARK);
    window->show();
    window->activateWindow();
    QCoreApplication::processEvents();
    const QString path =
        QLatin1String(name) + (dark ? QStringLiteral("-dark.png") : QStringLiteral(".png"));
    return window->grab().save(path) || Complain(QStringLiteral("cannot write ") + path);
}

bool TakePictures(AppDiskHub *hub)
{
    bool taken = TakePicture(hub->mMainWindow, "main-window");

    AppAccessRestrictionsDialog access(hub->mMainWindow);
    access.findChild<QListWidget *>(QStringLiteral("userList"))->setCurrentRow(SHOWN_PERSON);
    taken = TakePicture(&access, "access-restrictions") && taken;

    AppNewUserDialog name(&access, Qt::WindowFlags(), QStringLiteral("newuser"));
    taken = TakePicture(&name, "new-user") && taken;

    AppGenerateMd5Dialog generator(&access);
    generator.findChild<QLineEdit *>(QStringLiteral("textEdit"))
        ->setText(QString::fromLatin1(PEOPLE[SHOWN_PERSON].password));
    return TakePicture(&generator, "generate-md5") && taken;
}

} // namespace

int main(int argc, char **argv)
{
    const QByteArray colours = argc == 3 ? argv[2] : "";
    if ((colours != LIGHT && colours != DARK) || !QDir::setCurrent(QFile::decodeName(argv[1]))) {
        Complain(QStringLiteral("give the directory for the pictures, and \"light\" or \"dark\""));
        return 2;
    }
    const QTemporaryDir home;
    qputenv("XDG_CONFIG_HOME", QFile::encodeName(home.path()));
    if (!WriteSettings(home.path())) {
        Complain(QStringLiteral("cannot write the settings"));
        return 1;
    }
    QApplication::setStyle(QStringLiteral("fusion"));
    if (colours == DARK)
        QApplication::setPalette(DarkPalette());
    AppDiskHub hub(argc, argv);
    QApplication::setCursorFlashTime(0);
    AddPeople(&hub);
    const bool taken = hub.mServer == nullptr
                           ? Complain(QStringLiteral("port %1 is in use").arg(PORT))
                       : AskAll(*hub.mServer) ? TakePictures(&hub)
                                              : Complain(QStringLiteral("the hub does not answer"));
    return taken ? 0 : 1;
}
