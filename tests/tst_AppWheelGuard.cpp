// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#include "AccessDialogFixture.h"
#include "AppWheelGuard.h"
#include "MainWindowFixture.h"

using namespace WindowDriver;

class tst_AppWheelGuard : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void wheelPassesABoxWithoutFocus();
    void wheelChangesABoxWithFocus();
    void wheelGivesNoFocus();
    void windowAtFirstHasTheFocusElsewhere();
    void interfaceIsGuarded();
    void permissionsAreGuarded();

private:
    HubSettings mSettings;
};

namespace
{

/// Turns the wheel over a control by one notch towards the user.
void Wheel(QWidget *control)
{
    constexpr QPoint NOTCH(0, -120);

    const QPoint position = control->rect().center();
    QWheelEvent event(position, control->mapToGlobal(position), QPoint(), NOTCH, Qt::NoButton,
                      Qt::NoModifier, Qt::NoScrollPhase, false);
    QSpontaneKeyEvent::setSpontaneous(&event); // else it would neither pass on nor give the focus
    qApp->notify(control, &event);
}

/// A box of three items that is guarded, inside a parent that counts what of the wheel it gets.
class GuardedBox : public QWidget
{
public:
    GuardedBox()
    {
        mBox.addItems({QStringLiteral("one"), QStringLiteral("two"), QStringLiteral("three")});
        new AppWheelGuard(&mBox);
        show();
        Activate(this);
        setFocus();
    }

    QComboBox &Box() { return mBox; }
    int Passed() const { return mPassed; }

protected:
    void wheelEvent(QWheelEvent *event) override
    {
        ++mPassed;
        event->accept();
    }

private:
    QComboBox mBox{this};
    int mPassed = 0;
};

} // namespace

void tst_AppWheelGuard::init()
{
    QVERIFY(mSettings.Write(HubSettings::Loopback()));
}

void tst_AppWheelGuard::wheelPassesABoxWithoutFocus()
{
    const HubFixture hub;
    GuardedBox window;
    Wheel(&window.Box());
    QCOMPARE(window.Box().currentIndex(), 0);
    QCOMPARE(window.Passed(), 1);
}

void tst_AppWheelGuard::wheelChangesABoxWithFocus()
{
    const HubFixture hub;
    GuardedBox window;
    window.Box().setFocus();
    Wheel(&window.Box());
    QCOMPARE(window.Box().currentIndex(), 1);
    QCOMPARE(window.Passed(), 0);
}

void tst_AppWheelGuard::wheelGivesNoFocus()
{
    const HubFixture hub;
    GuardedBox window;
    Wheel(&window.Box());
    QVERIFY(!window.Box().hasFocus());
    Press(Qt::Key_Tab);
    QVERIFY(window.Box().hasFocus());
}

void tst_AppWheelGuard::windowAtFirstHasTheFocusElsewhere()
{
    const WindowFixture hub;
    QVERIFY(!hub.Interface()->hasFocus());
    Wheel(hub.Interface());
    QCOMPARE(hub->mActiveIfc, 0);
}

void tst_AppWheelGuard::interfaceIsGuarded()
{
    const WindowFixture hub;
    hub.PortField()->setFocus();
    Wheel(hub.Interface());
    QCOMPARE(hub.Interface()->currentIndex(), 0);
    QCOMPARE(hub->mActiveIfc, 0);
    hub.Interface()->setFocus();
    Wheel(hub.Interface());
    QCOMPARE(hub->mActiveIfc, 1);
}

void tst_AppWheelGuard::permissionsAreGuarded()
{
    const DialogFixture hub;
    hub.Select(0);
    Wheel(hub.Permissions());
    QCOMPARE(hub.Users(), Texts(ThreeUsers()));
    hub.Permissions()->setFocus();
    Wheel(hub.Permissions());
    QVERIFY(!hub->User(0)->ro);
}

QTEST_APPLESS_MAIN(tst_AppWheelGuard) // each hub is the application object

#include "tst_AppWheelGuard.moc"
