// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#include "AccessDialogFixture.h"
#include "HostFiles.h"
#include "MainWindowFixture.h"

#include <QDir>
#include <QTemporaryDir>

#include <memory>

using namespace WindowDriver;

/// Choosing the two directories of the hub in the main window, and those of a user in the dialog.
class tst_AppDirectoryChooser : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void fieldsAreReadOnly_data();
    void fieldsAreReadOnly();
    void chooserIsSetUp_data();
    void chooserIsSetUp();
    void chooserForgetsTheStoredDirectory_data();
    void chooserForgetsTheStoredDirectory();
    void chosenDirectoryIsStored_data();
    void chosenDirectoryIsStored();
    void cancelledChooserChangesNothing_data();
    void cancelledChooserChangesNothing();
    void linkIsNotResolved_data();
    void linkIsNotResolved();

private:
    HubSettings mSettings;
};

namespace
{

struct CONTROLS {
    const char *field;
    const char *browse;
    QString caption;
};

const CONTROLS CONTROLS_OF[] = {
    {"diskDirectory", "diskDirectoryBrowse", QStringLiteral("Select Disk Directory")},
    {"programDirectory", "programDirectoryBrowse", QStringLiteral("Select Program Directory")},
};

/// The windows that have these controls.
enum WINDOW { MAIN, USERS };

/// A hub with one of them open, for a user in the dialog.
struct OPEN {
    std::shared_ptr<HubFixture> hub;
    QWidget *window = nullptr;
    QString *paths[2] = {nullptr, nullptr}; ///< where the directories are stored, the disks' first

    /// What both fields show and what is stored, in all members of the hub.
    QStringList State() const
    {
        QStringList state{hub->Hub().mDiskPath, hub->Hub().mProgramPath};
        for (int i = 0; i < hub->Hub().NumUsers(); ++i)
            state += Text(*hub->Hub().User(i));
        for (const CONTROLS &controls : CONTROLS_OF)
            state += Named<QLineEdit>(*window, controls.field)->text();
        return state;
    }

    /// Clicks on a button that opens the chooser, which `answer` closes.
    void Browse(int which, const std::function<void(QFileDialog *)> &answer) const
    {
        ModalAnswer<QFileDialog> answers(answer);
        Click(*window, CONTROLS_OF[which].browse);
        QVERIFY(answers.Answered());
    }
};

OPEN OpenMain(const QStringList &stored)
{
    const auto fixture = std::make_shared<WindowFixture>();
    AppDiskHub &hub = fixture->Hub();
    hub.mDiskPath = stored.at(0);
    hub.mProgramPath = stored.at(1);
    hub.SyncUi();
    return {fixture, &fixture->Window(), {&hub.mDiskPath, &hub.mProgramPath}};
}

OPEN OpenUsers(const QStringList &stored)
{
    QList<USER> users = ThreeUsers();
    users[0].disk_dir = stored.at(0);
    users[0].program_dir = stored.at(1);
    const auto fixture = std::make_shared<DialogFixture>(users);
    fixture->Select(0);
    USER *const user = fixture->Hub().User(0);
    return {fixture, &fixture->Dialog(), {&user->disk_dir, &user->program_dir}};
}

/// `stored` are the directories that have been chosen before.
OPEN Open(int window,
          const QStringList &stored = {QStringLiteral("/disks"), QStringLiteral("/programs")})
{
    return window == MAIN ? OpenMain(stored) : OpenUsers(stored);
}

/// A row for each directory of each window.
void AddRows()
{
    QTest::addColumn<int>("window");
    QTest::addColumn<int>("which");

    QTest::newRow("hub-disks") << int(MAIN) << 0;
    QTest::newRow("hub-programs") << int(MAIN) << 1;
    QTest::newRow("user-disks") << int(USERS) << 0;
    QTest::newRow("user-programs") << int(USERS) << 1;
}

} // namespace

void tst_AppDirectoryChooser::init()
{
    QVERIFY(mSettings.Write(HubSettings::Loopback()));
}

void tst_AppDirectoryChooser::fieldsAreReadOnly_data()
{
    AddRows();
}

void tst_AppDirectoryChooser::fieldsAreReadOnly()
{
    QFETCH(const int, window);
    QFETCH(const int, which);
    const OPEN open = Open(window);
    auto *const field = Named<QLineEdit>(*open.window, CONTROLS_OF[which].field);
    QVERIFY(field->isReadOnly());
    const QStringList state = open.State();
    Type(field, QStringLiteral("x"));
    QCOMPARE(open.State(), state);
}

void tst_AppDirectoryChooser::chooserIsSetUp_data()
{
    AddRows();
}

void tst_AppDirectoryChooser::chooserIsSetUp()
{
    QFETCH(const int, window);
    QFETCH(const int, which);
    const OPEN open = Open(window);
    open.Browse(which, [&](QFileDialog *chooser) {
        QCOMPARE(chooser->windowTitle(), CONTROLS_OF[which].caption);
        QCOMPARE(chooser->parentWidget(), open.window);
        QVERIFY(TakesDirectories(chooser));
        QVERIFY(chooser->testOption(QFileDialog::ShowDirsOnly));
        QVERIFY(chooser->testOption(QFileDialog::DontResolveSymlinks));
        AnswerChooser(chooser, QString());
    });
}

void tst_AppDirectoryChooser::chooserForgetsTheStoredDirectory_data()
{
    AddRows();
}

void tst_AppDirectoryChooser::chooserForgetsTheStoredDirectory()
{
    QFETCH(const int, window);
    QFETCH(const int, which);
    const QTemporaryDir stored;
    const OPEN open = Open(window, {stored.path(), stored.path()});
    open.Browse(which, [&](QFileDialog *chooser) {
        QVERIFY(chooser->directory() != QDir(stored.path()));
        AnswerChooser(chooser, QString());
    });
}

void tst_AppDirectoryChooser::chosenDirectoryIsStored_data()
{
    QTest::addColumn<int>("window");
    QTest::addColumn<int>("which");
    QTest::addColumn<QString>("name");

    const QPair<const char *, QString> names[] = {
        {"plain", QStringLiteral("plain")},
        {"blanks", QStringLiteral("with two blanks")},
        {"umlaut", QString::fromUtf8("gr\xC3\xBC\xC3\x9F")},
        {"placeholder", QStringLiteral("%1 100%")},
        {"ampersand", QStringLiteral("a & b")},
        {"markup", QStringLiteral("<b>bold")},
        {"apostrophe", QStringLiteral("it's")},
    };
    for (const auto &name : names) {
        QTest::addRow("hub-disks-%s", name.first) << int(MAIN) << 0 << name.second;
        QTest::addRow("hub-programs-%s", name.first) << int(MAIN) << 1 << name.second;
        QTest::addRow("user-disks-%s", name.first) << int(USERS) << 0 << name.second;
        QTest::addRow("user-programs-%s", name.first) << int(USERS) << 1 << name.second;
    }
}

void tst_AppDirectoryChooser::chosenDirectoryIsStored()
{
    QFETCH(const int, window);
    QFETCH(const int, which);
    QFETCH(const QString, name);
    if (!IsFileName(name))
        QSKIP(NO_FILE_NAME);
    const QTemporaryDir home;
    QVERIFY(QDir(home.path()).mkdir(name));
    const QString stored = QStringLiteral("/stored-before");
    const OPEN open = Open(window, {stored, stored});
    const QTcpServer *const server = open.hub->Hub().mServer;
    const QStringList log = HubFixture::Log();
    QStringList state = open.State();
    open.Browse(which, [&](QFileDialog *chooser) { AnswerChooser(chooser, home.filePath(name)); });
    QCOMPARE(*open.paths[which], home.filePath(name));
    QCOMPARE(*open.paths[1 - which], stored);
    QCOMPARE(Named<QLineEdit>(*open.window, CONTROLS_OF[which].field)->text(), home.filePath(name));
    // Nothing else has changed.
    state.replaceInStrings(stored, QString());
    QStringList after = open.State();
    after.replaceInStrings(stored, QString()).replaceInStrings(home.filePath(name), QString());
    QCOMPARE(after, state);
    QCOMPARE(open.hub->Hub().mServer, server);
    QCOMPARE(HubFixture::Log(), log);
}

void tst_AppDirectoryChooser::cancelledChooserChangesNothing_data()
{
    AddRows();
}

void tst_AppDirectoryChooser::cancelledChooserChangesNothing()
{
    QFETCH(const int, window);
    QFETCH(const int, which);
    const OPEN open = Open(window);
    const QStringList state = open.State();
    open.Browse(which, [](QFileDialog *chooser) { AnswerChooser(chooser, QString()); });
    QCOMPARE(open.State(), state);
}

void tst_AppDirectoryChooser::linkIsNotResolved_data()
{
    AddRows();
}

void tst_AppDirectoryChooser::linkIsNotResolved()
{
    SKIP_ON_WINDOWS("Windows lets only administrators make links");
    QFETCH(const int, window);
    QFETCH(const int, which);
    const QTemporaryDir home;
    const QString target = home.filePath(QStringLiteral("target"));
    const QString link = home.filePath(QStringLiteral("link"));
    QVERIFY(QDir().mkdir(target));
    QVERIFY(QFile::link(target, link));
    const OPEN open = Open(window);
    open.Browse(which, [&](QFileDialog *chooser) { AnswerChooser(chooser, link); });
    QCOMPARE(*open.paths[which], link);
}

QTEST_APPLESS_MAIN(tst_AppDirectoryChooser) // each hub is the application object

#include "tst_AppDirectoryChooser.moc"
