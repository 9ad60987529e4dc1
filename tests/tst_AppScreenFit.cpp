// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#include "AccessDialogFixture.h"
#include "AppGenerateMd5Dialog.h"
#include "AppNewUserDialog.h"
#include "MainWindowFixture.h"

#include <QScreen>
#include <QScrollArea>

#include <memory>

using namespace WindowDriver;

class tst_AppScreenFit : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void dialogsFit640PointsWithTheDefaultFont_data();
    void dialogsFit640PointsWithTheDefaultFont();
    void dialogsFitTheScreenWithAnyFont_data();
    void dialogsFitTheScreenWithAnyFont();
    void tabScrollsToEveryControl();
    void narrowButtonsAreAsWideAsTheirText();
    void configureDoesNotGrowBeyond200Points();
    void configureKeepsItsTextWithALargeFont();

private:
    HubSettings mSettings;
};

namespace
{

/// The application's font at another size, until it goes.
class FontSize
{
public:
    explicit FontSize(int points)
    {
        QFont font = mBefore;
        font.setPointSize(points);
        QApplication::setFont(font);
    }
    ~FontSize() { QApplication::setFont(mBefore); }
    FontSize(const FontSize &) = delete;
    FontSize &operator=(const FontSize &) = delete;

private:
    const QFont mBefore = QApplication::font();
};

std::unique_ptr<QDialog> MakeDialog(const QByteArray &name, QWidget *parent)
{
    if (name == "access")
        return std::make_unique<AppAccessRestrictionsDialog>(parent);
    if (name == "new-user")
        return std::make_unique<AppNewUserDialog>(parent, Qt::WindowFlags(), QString());
    return std::make_unique<AppGenerateMd5Dialog>(parent);
}

/// Whether the middle of a control is in view, inside all that holds it.
bool InView(const QWidget *control)
{
    const QPoint middle = control->rect().center();
    for (const QWidget *holder = control; !holder->isWindow(); holder = holder->parentWidget()) {
        if (!holder->isVisible() || !holder->rect().contains(control->mapTo(holder, middle)))
            return false;
    }
    return control->window()->rect().contains(control->mapTo(control->window(), middle));
}

} // namespace

void tst_AppScreenFit::init()
{
    QVERIFY(mSettings.Write(HubSettings::Loopback()));
}

void tst_AppScreenFit::dialogsFit640PointsWithTheDefaultFont_data()
{
    QTest::addColumn<QByteArray>("name");

    for (const char *name : {"access", "new-user", "generate-md5"})
        QTest::newRow(name) << QByteArray(name);
}

void tst_AppScreenFit::dialogsFit640PointsWithTheDefaultFont()
{
    constexpr int DEFAULT_POINTS = 9; // of desktops; the platform without a screen may have another

    QFETCH(const QByteArray, name);
    const HubFixture hub;
    const FontSize font(DEFAULT_POINTS);
    const auto dialog = MakeDialog(name, hub->mMainWindow);
    dialog->show();
    QCoreApplication::processEvents();
    QVERIFY2(dialog->width() <= 640, qPrintable(QString::number(dialog->width())));
    QVERIFY(dialog->findChild<QScrollArea *>() == nullptr);
    QCOMPARE(CutOff(*dialog), QStringList());
}

void tst_AppScreenFit::dialogsFitTheScreenWithAnyFont_data()
{
    QTest::addColumn<QByteArray>("name");
    QTest::addColumn<int>("points");

    for (const char *name : {"access", "new-user", "generate-md5"}) {
        for (const int points : {6, 12, 22, 36})
            QTest::addRow("%s-%d-points", name, points) << QByteArray(name) << points;
    }
}

void tst_AppScreenFit::dialogsFitTheScreenWithAnyFont()
{
    QFETCH(const QByteArray, name);
    QFETCH(const int, points);
    const HubFixture hub;
    const FontSize font(points);
    const auto dialog = MakeDialog(name, hub->mMainWindow);
    dialog->show();
    QCoreApplication::processEvents();
    const QSize room = dialog->screen()->availableSize();
    QCOMPARE(dialog->size(), dialog->size().boundedTo(room));
    for (const char *button : {"okButton", "cancelButton"})
        QVERIFY(dialog->rect().contains(Named<>(*dialog, button)->geometry()));
    QVERIFY(InView(Named<>(*dialog, "cancelButton")));
}

void tst_AppScreenFit::tabScrollsToEveryControl()
{
    const HubFixture hub;
    hub->AddUser(QStringLiteral("alice"));
    hub->User(0)->own_dir = true;
    const FontSize font(22);
    AppAccessRestrictionsDialog dialog(hub->mMainWindow);
    dialog.open();
    Activate(&dialog);
    QVERIFY(dialog.findChild<QScrollArea *>() != nullptr);
    Named<QListWidget>(dialog, "userList")->setCurrentRow(0);
    const QList<QWidget *> controls = Controls(dialog);
    QCOMPARE(TabOrder(dialog, "userList").size(), 13);
    for (int i = 0; i < controls.size(); ++i) {
        Press(Qt::Key_Tab);
        QVERIFY2(InView(QApplication::focusWidget()),
                 qPrintable(QApplication::focusWidget()->objectName()));
    }
}

void tst_AppScreenFit::narrowButtonsAreAsWideAsTheirText()
{
    constexpr int MARGINS = 24;

    const DialogFixture hub;
    for (const char *name : {"md5Browse", "diskDirectoryBrowse", "programDirectoryBrowse"}) {
        const auto *const button = hub.The<QPushButton>(name);
        QCOMPARE(button->width(),
                 button->fontMetrics().horizontalAdvance(QStringLiteral("...")) + MARGINS);
    }
}

void tst_AppScreenFit::configureDoesNotGrowBeyond200Points()
{
    const WindowFixture hub;
    const int left = hub.Configure()->geometry().left();
    hub.Window().resize(1200, 500);
    QTRY_COMPARE(hub.Configure()->width(), 200);
    QCOMPARE(hub.Configure()->geometry().left(), left); // beside the check box still
}

void tst_AppScreenFit::configureKeepsItsTextWithALargeFont()
{
    const WindowFixture hub;
    const FontSize font(36);
    QTRY_VERIFY(hub.Configure()->sizeHint().width() > 200);
    hub.Window().resize(2400, 500);
    QTRY_COMPARE(hub.Configure()->width(), hub.Configure()->sizeHint().width());
}

QTEST_APPLESS_MAIN(tst_AppScreenFit) // each hub is the application object

#include "tst_AppScreenFit.moc"
