// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

// Runs the program's main() in a user's language, which is German here.

#include "AppToolkitTexts.h"
#include "HostFiles.h"
#include "HubFixture.h"

#include <QAbstractButton>
#include <QLocale>
#include <QMessageBox>
#include <QSettings>
#include <QTest>
#include <QTimer>
#include <QtEndian>

#include <functional>
#include <memory>

#define main RunProgram
#include "main.cpp"
#undef main

class tst_AppToolkitTexts : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void cleanupTestCase();
    void init();
    void germanIsInstalled();
    void unknownLanguageHasNone();
    void hubsTextsAreNeverTranslated();
    void windowsKeepTheirDirection();
    void buttonsSpeakGermanInTheRunningProgram();
    void consoleStaysEnglish();
    void windowStaysEnglish();
    void settingsKeysStay();

private:
    HubSettings mSettings;
    std::unique_ptr<SizeHintsFilter> mFilter;
};

namespace
{

/// Runs the program until `look` has been called in its event loop.
void Run(const std::function<void()> &look)
{
    static std::function<void()> current;
    current = look;
    // Startup functions run when the application object is made, the timer once its loop runs.
    static const bool registered = [] {
        qAddPreRoutine([] {
            QTimer::singleShot(0, qApp, [] {
                current();
                QCoreApplication::quit();
            });
        });
        return true;
    }();
    Q_UNUSED(registered)
    char name[] = "disk-hub";
    char *argv[] = {name, nullptr};
    QCOMPARE(RunProgram(1, argv), 0);
}

quint32 Hash(const QByteArray &text)
{
    quint32 hash = 0;
    for (const char c : text) {
        hash = (hash << 4) + static_cast<uchar>(c);
        hash ^= (hash & 0xF0000000) >> 24;
        hash &= ~0xF0000000U;
    }
    return hash == 0 ? 1 : hash;
}

QByteArray BigEndian(quint32 value)
{
    QByteArray bytes(4, '\0');
    qToBigEndian(value, bytes.data());
    return bytes;
}

/// A file of translations that turns `text` into "x", in whatever context.
QByteArray Translation(const QByteArray &text)
{
    const QByteArray hashes = BigEndian(Hash(text)) + BigEndian(0);
    const QByteArray messages = QByteArray::fromHex("03 00000002 0078 06") +
                                BigEndian(static_cast<quint32>(text.size())) + text +
                                QByteArray::fromHex("01");
    return QByteArray::fromHex("3CB86418CAEF9C95CD211CBF60A1BDDD") + '\x42' +
           BigEndian(static_cast<quint32>(hashes.size())) + hashes + '\x69' +
           BigEndian(static_cast<quint32>(messages.size())) + messages;
}

} // namespace

void tst_AppToolkitTexts::initTestCase()
{
    mFilter = std::make_unique<SizeHintsFilter>();
}

void tst_AppToolkitTexts::cleanupTestCase()
{
    mFilter.reset();
}

void tst_AppToolkitTexts::init()
{
    QVERIFY(mSettings.Write(HubSettings::Loopback()));
}

void tst_AppToolkitTexts::germanIsInstalled()
{
    SKIP_ON_WINDOWS("the toolkit comes without its translations");
    AppToolkitTexts texts;
    QVERIFY2(texts.Load(QLocale(QLocale::German)), "the toolkit's translations are missing");
    QCOMPARE(texts.translate("QPlatformTheme", "&Yes", nullptr, -1), QStringLiteral("&Ja"));
}

void tst_AppToolkitTexts::unknownLanguageHasNone()
{
    AppToolkitTexts texts;
    QVERIFY(!texts.Load(QLocale(QLocale::Cornish)));
    QCOMPARE(texts.translate("QPlatformTheme", "&Yes", nullptr, -1), QString());
}

void tst_AppToolkitTexts::hubsTextsAreNeverTranslated()
{
    const QByteArray file = Translation("access/user_%1/name");
    const auto *const bytes = reinterpret_cast<const uchar *>(file.constData());
    AppToolkitTexts texts;
    QVERIFY(texts.load(bytes, int(file.size())));
    QCOMPARE(texts.translate("QDialog", "access/user_%1/name", nullptr, -1), QStringLiteral("x"));
    for (const char *context : {"AppDiskHub", "AppMainWindow", "AppAccessRestrictionsDialog"})
        QCOMPARE(texts.translate(context, "access/user_%1/name", nullptr, -1), QString());
}

void tst_AppToolkitTexts::windowsKeepTheirDirection()
{
    SKIP_ON_WINDOWS("the toolkit comes without its translations");
    AppToolkitTexts texts;
    QVERIFY(texts.Load(QLocale(QLocale::Arabic)));
    for (const char *context : {"QGuiApplication", "QApplication"})
        QCOMPARE(texts.translate(context, "QT_LAYOUT_DIRECTION", nullptr, -1), QString());
}

void tst_AppToolkitTexts::buttonsSpeakGermanInTheRunningProgram()
{
    SKIP_ON_WINDOWS("the toolkit comes without its translations");
    QString yes;
    QString no;
    Run([&] {
        QMessageBox box;
        box.setStandardButtons(QMessageBox::Yes | QMessageBox::No);
        yes = box.button(QMessageBox::Yes)->text();
        no = box.button(QMessageBox::No)->text();
    });
    QCOMPARE(yes, QStringLiteral("&Ja"));
    QCOMPARE(no, QStringLiteral("&Nein"));
}

void tst_AppToolkitTexts::consoleStaysEnglish()
{
    QStringList log;
    Run([&] {
        AppDiskHub::Instance()->RestartServer();
        AppDiskHub::Instance()->mActiveIfc = -1;
        AppDiskHub::Instance()->RestartServer();
        log = HubFixture::Log();
        AppDiskHub::Instance()->mActiveIfc = 0;
    });
    QCOMPARE(log.mid(3),
             (QStringList{
                 QStringLiteral("Server running on IP: 127.0.0.1 PORT: 0"),
                 QStringLiteral("Server running on IP: 127.0.0.1 PORT: 0"),
                 QStringLiteral("Unable to start server - no valid interface selected."),
             }));
}

void tst_AppToolkitTexts::windowStaysEnglish()
{
    QStringList shown;
    Qt::LayoutDirection direction = Qt::LayoutDirectionAuto;
    Run([&] {
        for (const char *name :
             {"restartServer", "diskDirectoryBrowse", "accessRestrictionsEnable"})
            shown += HubFixture::Control<QAbstractButton>(name)->text();
        direction = QGuiApplication::layoutDirection();
    });
    QCOMPARE(shown, (QStringList{QStringLiteral("Restart Server"), QStringLiteral("Browse"),
                                 QStringLiteral("Access Restrictions")}));
    QCOMPARE(direction, Qt::LeftToRight);
}

void tst_AppToolkitTexts::settingsKeysStay()
{
    Run([] { AppDiskHub::Instance()->AddUser(QStringLiteral("anna")); });
    QVERIFY(!mSettings.Read().isEmpty()); // which brings the file up to date on Windows
    QStringList keys = QSettings(mSettings.FilePath(), QSettings::IniFormat).allKeys();
    keys.sort();
    QCOMPARE(keys, (QStringList{
                       QStringLiteral("access/num_users"),
                       QStringLiteral("access/user_0/disk_dir"),
                       QStringLiteral("access/user_0/md5"),
                       QStringLiteral("access/user_0/name"),
                       QStringLiteral("access/user_0/own_dir"),
                       QStringLiteral("access/user_0/program_dir"),
                       QStringLiteral("access/user_0/ro"),
                       QStringLiteral("media/disk_path"),
                       QStringLiteral("media/program_path"),
                       QStringLiteral("security/validate"),
                       QStringLiteral("server/active_ifc_addr"),
                       QStringLiteral("server/active_ifc_name"),
                       QStringLiteral("server/port"),
                   }));
}

int main(int argc, char **argv)
{
    qputenv("LC_ALL", "de_DE.UTF-8");
    qputenv("LANGUAGE", "de");
    tst_AppToolkitTexts test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_AppToolkitTexts.moc"
