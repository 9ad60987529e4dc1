// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#include "AccessDialogFixture.h"
#include "AppHint.h"
#include "MainWindowFixture.h"

#include <QFile>
#include <QTextDocument>

using namespace WindowDriver;

class tst_AppHint : public QObject
{
    Q_OBJECT

private slots:
    void init();

    // One hint.
    void textIsShownAsItIs_data();
    void textIsShownAsItIs();
    void fieldShowsItsText();

    // The main window.
    void interfaceTellsWhenItCounts();
    void portTellsWhenItCounts();
    void portTellsWhatItListensOnIfAny();
    void stoppedServerIsTold();
    void portTellsOfThePrivilege();
    void directoriesTellTheWholePath();
    void hintsAreOneLine();

    // The dialog.
    void digestTellsWhatItIs();
    void usersDirectoriesTellTheWholePath();

private:
    HubSettings mSettings;
};

namespace
{

const QString WHEN = QStringLiteral("A change takes effect from the next Restart Server on");

/// What a screen reader says of a control beside its name.
QString Description(QWidget *control)
{
    return QAccessible::queryAccessibleInterface(control)->text(QAccessible::Description);
}

/// The end of the port's hint, as the system's rule has it.
QString Privilege()
{
#ifdef Q_OS_WIN
    return QString();
#else
    QFile rule(QStringLiteral("/proc/sys/net/ipv4/ip_unprivileged_port_start"));
    const int first = rule.open(QIODevice::ReadOnly) ? rule.readAll().trimmed().toInt() : 1024;
    return first > 0 ? QStringLiteral("; below %1 needs a privilege").arg(first) : QString();
#endif
}

} // namespace

void tst_AppHint::init()
{
    QVERIFY(mSettings.Write(HubSettings::Loopback()));
}

void tst_AppHint::textIsShownAsItIs_data()
{
    QTest::addColumn<QString>("text");

    QTest::newRow("plain") << "/srv/disks";
    QTest::newRow("empty") << "";
    QTest::newRow("markup") << "/srv/<b>bold</b>";
    QTest::newRow("entity") << "/srv/a &amp; b";
    QTest::newRow("markup-and-entity") << "<i>a &amp; b</i>";
}

void tst_AppHint::textIsShownAsItIs()
{
    QFETCH(const QString, text);
    const HubFixture hub;
    QWidget control;
    AppHint::Set(&control, text);
    QString shown = control.toolTip();
    if (Qt::mightBeRichText(shown)) {
        QTextDocument document;
        document.setHtml(shown);
        shown = document.toPlainText();
    }
    QCOMPARE(shown, text);
    QCOMPARE(Description(&control), text);
}

void tst_AppHint::fieldShowsItsText()
{
    const HubFixture hub;
    QLineEdit field;
    AppHint::ShowText(&field);
    for (const char *path : {"/one", "/two", ""}) {
        field.setText(QLatin1String(path));
        QCOMPARE(field.toolTip(), QLatin1String(path));
    }
}

void tst_AppHint::interfaceTellsWhenItCounts()
{
    const WindowFixture hub;
    QCOMPARE(hub.Interface()->toolTip(), WHEN);
    Choose(hub.Interface(), 1);
    QCOMPARE(hub.Interface()->toolTip(),
             WHEN + QStringLiteral("; the server listens on 127.0.0.1 now"));
    QCOMPARE(Description(hub.Interface()), hub.Interface()->toolTip());
    Click(hub.Window(), "restartServer");
    QCOMPARE(hub.Interface()->toolTip(), WHEN);
}

void tst_AppHint::portTellsWhenItCounts()
{
    const WindowFixture hub;
    const quint16 port = FreePort();
    const quint16 before = hub.Port();
    Type(hub.PortField(), QString::number(port));
    Press(Qt::Key_Return);
    QCOMPARE(hub.PortField()->toolTip(),
             WHEN + QStringLiteral("; the server listens on %1 now").arg(before) + Privilege());
    QCOMPARE(Description(hub.PortField()), hub.PortField()->toolTip());
    Click(hub.Window(), "restartServer");
    QCOMPARE(hub.PortField()->toolTip(), WHEN + Privilege());
}

void tst_AppHint::portTellsWhatItListensOnIfAny()
{
    // Any free port was asked for; the start-up has filled this in.
    const HubFixture hub;
    QCOMPARE(HubFixture::Control<QLineEdit>("serverPort")->toolTip(),
             WHEN + QStringLiteral("; the server listens on %1 now").arg(hub.Port()) + Privilege());
}

void tst_AppHint::stoppedServerIsTold()
{
    const WindowFixture hub;
    hub.Interface()->setCurrentIndex(-1);
    Click(hub.Window(), "restartServer");
    const QString stopped = WHEN + QStringLiteral("; the server does not listen now");
    QCOMPARE(hub.Interface()->toolTip(), stopped);
    QCOMPARE(hub.PortField()->toolTip(), stopped + Privilege());
}

void tst_AppHint::portTellsOfThePrivilege()
{
    const WindowFixture hub;
    QVERIFY(hub.PortField()->toolTip().endsWith(Privilege()));
    QCOMPARE(hub.PortField()->toolTip().contains(QLatin1String("privilege")),
             !Privilege().isEmpty());
}

void tst_AppHint::directoriesTellTheWholePath()
{
    const WindowFixture hub;
    hub->mDiskPath = QStringLiteral("/a-long-path").repeated(20);
    hub->mProgramPath = QStringLiteral("/programs");
    hub->SyncUi();
    QCOMPARE(hub.The<QLineEdit>("diskDirectory")->toolTip(), hub->mDiskPath);
    QCOMPARE(hub.The<QLineEdit>("programDirectory")->toolTip(), hub->mProgramPath);
}

void tst_AppHint::hintsAreOneLine()
{
    const WindowFixture hub;
    const auto *const configure = hub.Configure();
    QVERIFY(!configure->toolTip().isEmpty());
    QCOMPARE(Description(hub.Configure()), configure->toolTip());
    for (const char *name : {"interfaceCombo", "serverPort", "accessRestrictionsConfigure"})
        QVERIFY(!hub.The<QWidget>(name)->toolTip().contains(QLatin1Char('\n')));
}

void tst_AppHint::digestTellsWhatItIs()
{
    const DialogFixture hub;
    QVERIFY(hub.Digest()->toolTip().contains(QLatin1String("digest")));
    QVERIFY(hub.Digest()->toolTip().contains(QLatin1String("\"...\"")));
    QCOMPARE(Description(hub.Digest()), hub.Digest()->toolTip());
    hub.Select(0);
    QVERIFY(hub.Digest()->toolTip().contains(QLatin1String("digest")));
}

void tst_AppHint::usersDirectoriesTellTheWholePath()
{
    const DialogFixture hub;
    hub.Select(0);
    QCOMPARE(hub.The<QLineEdit>("diskDirectory")->toolTip(), QStringLiteral("/alice/disks"));
    QCOMPARE(hub.The<QLineEdit>("programDirectory")->toolTip(), QStringLiteral("/alice/programs"));
    hub.Select(2);
    QCOMPARE(hub.The<QLineEdit>("diskDirectory")->toolTip(), QString());
}

QTEST_APPLESS_MAIN(tst_AppHint) // each hub is the application object

#include "tst_AppHint.moc"
