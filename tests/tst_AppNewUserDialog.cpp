// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#include "AppNewUserDialog.h"
#include "HubFixture.h"
#include "WindowDriver.h"

#include <QFrame>
#include <QPushButton>
#include <QSignalSpy>

#include <memory>

using namespace WindowDriver;

class tst_AppNewUserDialog : public QObject
{
    Q_OBJECT

public:
    /// Runs before the application object is made: that is when the place of the settings is set.
    static void initMain() { static const HubSettings settings; }

private slots:
    void initTestCase();
    void cleanupTestCase();
    void isADialog();
    void parentAndFlagsAreTaken();
    void slotsAreTextChangedOnly();
    void formIsNamedTitledAndSized();
    void controls_data();
    void controls();
    void labelAndFieldAreSideBySide();
    void lineIsAboveTheButtons();
    void buttonsAreAtTheRight();
    void textsAreTranslated();
    void proposedNameIsShownAndTaken_data();
    void proposedNameIsShownAndTaken();
    void typedNameIsTakenAsItIs_data();
    void typedNameIsTakenAsItIs();
    void nameFollowsEveryKey();
    void textChangedStoresTheNameOnly();
    void typingReplacesTheProposal();
    void okIsEnabledWhateverTheName();
    void okAccepts();
    void okAcceptsAnEmptyName();
    void cancelRejects();
    void enterAccepts_data();
    void enterAccepts();
    void escapeRejects();
    void closingRejects();
    void nameOutlivesTheDialogBeingOpen();
    void fieldHasTheFocusAtFirst();
    void tabReachesEveryControl();
    void screenReaderNamesEveryControl();
    void nothingIsCutOff();
    void fieldTakesTheExtraWidth();

private:
    std::unique_ptr<SizeHintsFilter> mFilter;
};

namespace
{

/// A dialog that is open and active.
class OpenDialog : public AppNewUserDialog
{
public:
    explicit OpenDialog(const QString &name = QStringLiteral("newuser"))
        : AppNewUserDialog(nullptr, Qt::WindowFlags(), name), mFinished(this, &QDialog::finished)
    {
        open();
        Activate(this);
    }

    QLineEdit *Field() const { return Named<QLineEdit>(*this, "username"); }

    /// The one result that the dialog has finished with, or -1.
    int Result() const { return mFinished.size() == 1 ? mFinished.at(0).at(0).toInt() : -1; }

private:
    QSignalSpy mFinished;
};

void AddNameRows()
{
    QTest::addColumn<QString>("name");

    QTest::newRow("plain") << QStringLiteral("alice");
    QTest::newRow("empty") << QString();
    QTest::newRow("blanks-are-not-trimmed") << QStringLiteral("  alice ");
    QTest::newRow("blank") << QStringLiteral(" ");
    QTest::newRow("mixed-case") << QStringLiteral("AlIcE");
    QTest::newRow("quotes") << QStringLiteral("O'Brien \"Bob\"");
    QTest::newRow("umlauts") << QString::fromUtf8("J\xC3\xB6rg M\xC3\xBCller");
    QTest::newRow("outside-latin-1") << QString::fromUtf8("\xE6\xBC\xA2\xE5\xAD\x97");
    QTest::newRow("placeholder") << QStringLiteral("%1 %2 100%");
    QTest::newRow("ampersand") << QStringLiteral("you & me");
    QTest::newRow("markup") << QStringLiteral("<b>bold</b>");
    QTest::newRow("long") << QString(300, QLatin1Char('x'));
}

} // namespace

void tst_AppNewUserDialog::initTestCase()
{
    mFilter = std::make_unique<SizeHintsFilter>();
}

void tst_AppNewUserDialog::cleanupTestCase()
{
    mFilter.reset();
}

void tst_AppNewUserDialog::isADialog()
{
    QCOMPARE(AppNewUserDialog::staticMetaObject.superClass(), &QDialog::staticMetaObject);
}

void tst_AppNewUserDialog::parentAndFlagsAreTaken()
{
    QWidget parent;
    auto *const dialog =
        new AppNewUserDialog(&parent, Qt::Dialog | Qt::FramelessWindowHint, QString());
    QCOMPARE(dialog->parentWidget(), &parent);
    QVERIFY(dialog->windowFlags().testFlag(Qt::FramelessWindowHint));
}

void tst_AppNewUserDialog::slotsAreTextChangedOnly()
{
    QCOMPARE(Slots(AppNewUserDialog::staticMetaObject),
             QStringList{QStringLiteral("TextChanged(QString)")});
}

void tst_AppNewUserDialog::formIsNamedTitledAndSized()
{
    const AppNewUserDialog dialog(nullptr, Qt::WindowFlags(), QString());
    QCOMPARE(dialog.objectName(), QStringLiteral("AppNewUserDialog"));
    QCOMPARE(dialog.windowTitle(), QStringLiteral("Dialog"));
    QCOMPARE(dialog.size(), QSize(231, 102));
}

void tst_AppNewUserDialog::controls_data()
{
    QTest::addColumn<QString>("kind");
    QTest::addColumn<QString>("text");

    QTest::newRow("label") << "QLabel"
                           << "Username";
    QTest::newRow("username") << "QLineEdit"
                              << "newuser";
    QTest::newRow("okButton") << "QPushButton"
                              << "OK";
    QTest::newRow("cancelButton") << "QPushButton"
                                  << "Cancel";
}

void tst_AppNewUserDialog::controls()
{
    QFETCH(const QString, kind);
    QFETCH(const QString, text);
    const OpenDialog dialog;
    const QWidget *const control = Named<>(dialog, QTest::currentDataTag());
    QCOMPARE(QString::fromLatin1(control->metaObject()->className()), kind);
    QCOMPARE(control->property("text").toString(), text);
    QVERIFY(control->isVisible());
    QVERIFY(control->isEnabled());
}

void tst_AppNewUserDialog::labelAndFieldAreSideBySide()
{
    const OpenDialog dialog;
    const auto *const grid = Named<QGridLayout>(dialog, "gridLayout");
    auto *const label = Named<QLabel>(dialog, "label");
    QVERIFY(grid->indexOf(label) >= 0);
    QVERIFY(grid->indexOf(dialog.Field()) >= 0);
    QVERIFY(label->geometry().right() < dialog.Field()->geometry().left());
    QVERIFY(label->geometry().top() <= dialog.Field()->geometry().center().y());
    QVERIFY(label->geometry().bottom() >= dialog.Field()->geometry().center().y());
}

void tst_AppNewUserDialog::lineIsAboveTheButtons()
{
    const OpenDialog dialog;
    const auto *const line = Named<QFrame>(dialog, "line");
    QCOMPARE(line->frameShape(), QFrame::HLine);
    QCOMPARE(line->frameShadow(), QFrame::Sunken);
    QVERIFY(line->geometry().top() > dialog.Field()->geometry().bottom());
    QVERIFY(line->geometry().bottom() < Named<>(dialog, "okButton")->geometry().top());
}

void tst_AppNewUserDialog::buttonsAreAtTheRight()
{
    const OpenDialog dialog;
    const auto *const row = Named<QHBoxLayout>(dialog, "hboxLayout");
    QCOMPARE(NamesIn(row),
             (QStringList{QStringLiteral("okButton"), QStringLiteral("cancelButton")}));
    QCOMPARE(row->count(), 3);
    QVERIFY(row->itemAt(0)->spacerItem() != nullptr);
}

void tst_AppNewUserDialog::textsAreTranslated()
{
    MarkingTranslator translator;
    QVERIFY(QCoreApplication::installTranslator(&translator));
    const AppNewUserDialog dialog(nullptr, Qt::WindowFlags(), QStringLiteral("newuser"));
    QCOMPARE(dialog.windowTitle(), QStringLiteral("[AppNewUserDialog]Dialog"));
    QCOMPARE(Named<QLabel>(dialog, "label")->text(), QStringLiteral("[AppNewUserDialog]Username"));
    QCOMPARE(Named<QPushButton>(dialog, "okButton")->text(),
             QStringLiteral("[AppNewUserDialog]OK"));
    QCOMPARE(Named<QPushButton>(dialog, "cancelButton")->text(),
             QStringLiteral("[AppNewUserDialog]Cancel"));
    QCOMPARE(Named<QLineEdit>(dialog, "username")->text(), QStringLiteral("newuser"));
}

void tst_AppNewUserDialog::proposedNameIsShownAndTaken_data()
{
    AddNameRows();
}

void tst_AppNewUserDialog::proposedNameIsShownAndTaken()
{
    QFETCH(const QString, name);
    OpenDialog dialog(name);
    QCOMPARE(dialog.Field()->text(), name);
    QCOMPARE(dialog.mName, name);
    Click(dialog, "okButton");
    QCOMPARE(dialog.Result(), int(QDialog::Accepted));
    QCOMPARE(dialog.mName, name);
}

void tst_AppNewUserDialog::typedNameIsTakenAsItIs_data()
{
    AddNameRows();
}

void tst_AppNewUserDialog::typedNameIsTakenAsItIs()
{
    QFETCH(const QString, name);
    OpenDialog dialog;
    Type(dialog.Field(), name);
    QCOMPARE(dialog.Field()->text(), name);
    QCOMPARE(dialog.mName, name);
}

void tst_AppNewUserDialog::nameFollowsEveryKey()
{
    OpenDialog dialog(QStringLiteral("bo"));
    QTest::keyClick(dialog.Field(), Qt::Key_End);
    QTest::keyClick(dialog.Field(), 'b');
    QCOMPARE(dialog.mName, QStringLiteral("bob"));
    QTest::keyClick(dialog.Field(), Qt::Key_Backspace);
    QTest::keyClick(dialog.Field(), Qt::Key_Backspace);
    QCOMPARE(dialog.mName, QStringLiteral("b"));
}

void tst_AppNewUserDialog::textChangedStoresTheNameOnly()
{
    OpenDialog dialog;
    dialog.TextChanged(QStringLiteral("other"));
    QCOMPARE(dialog.mName, QStringLiteral("other"));
    QCOMPARE(dialog.Field()->text(), QStringLiteral("newuser"));
    QVERIFY(dialog.isVisible());
}

void tst_AppNewUserDialog::typingReplacesTheProposal()
{
    const OpenDialog dialog;
    QVERIFY(dialog.Field()->hasFocus());
    QTest::keyClicks(dialog.Field(), QStringLiteral("bob"));
    QCOMPARE(dialog.mName, QStringLiteral("bob"));
}

void tst_AppNewUserDialog::okIsEnabledWhateverTheName()
{
    const OpenDialog dialog;
    const auto *const ok = Named<QPushButton>(dialog, "okButton");
    QVERIFY(ok->isEnabled());
    Type(dialog.Field(), QString());
    QVERIFY(ok->isEnabled());
    Type(dialog.Field(), QStringLiteral(" "));
    QVERIFY(ok->isEnabled());
}

void tst_AppNewUserDialog::okAccepts()
{
    OpenDialog dialog;
    Type(dialog.Field(), QStringLiteral("alice"));
    Click(dialog, "okButton");
    QCOMPARE(dialog.Result(), int(QDialog::Accepted));
    QVERIFY(!dialog.isVisible());
    QCOMPARE(dialog.mName, QStringLiteral("alice"));
}

void tst_AppNewUserDialog::okAcceptsAnEmptyName()
{
    OpenDialog dialog;
    Type(dialog.Field(), QString());
    Click(dialog, "okButton");
    QCOMPARE(dialog.Result(), int(QDialog::Accepted));
    QCOMPARE(dialog.mName, QString());
}

void tst_AppNewUserDialog::cancelRejects()
{
    OpenDialog dialog;
    Click(dialog, "cancelButton");
    QCOMPARE(dialog.Result(), int(QDialog::Rejected));
    QVERIFY(!dialog.isVisible());
}

void tst_AppNewUserDialog::enterAccepts_data()
{
    QTest::addColumn<int>("key");

    QTest::newRow("return") << int(Qt::Key_Return);
    QTest::newRow("enter-of-the-keypad") << int(Qt::Key_Enter);
}

void tst_AppNewUserDialog::enterAccepts()
{
    QFETCH(const int, key);
    OpenDialog dialog;
    Type(dialog.Field(), QStringLiteral("alice"));
    Press(Qt::Key(key));
    QCOMPARE(dialog.Result(), int(QDialog::Accepted));
    QCOMPARE(dialog.mName, QStringLiteral("alice"));
}

void tst_AppNewUserDialog::escapeRejects()
{
    OpenDialog dialog;
    Press(Qt::Key_Escape);
    QCOMPARE(dialog.Result(), int(QDialog::Rejected));
}

void tst_AppNewUserDialog::closingRejects()
{
    OpenDialog dialog;
    dialog.close();
    QCOMPARE(dialog.Result(), int(QDialog::Rejected));
}

void tst_AppNewUserDialog::nameOutlivesTheDialogBeingOpen()
{
    AppNewUserDialog dialog(nullptr, Qt::WindowFlags(), QStringLiteral("newuser"));
    ModalAnswer<AppNewUserDialog> answer([](AppNewUserDialog *shown) {
        Type(Named<QLineEdit>(*shown, "username"), QStringLiteral("bob"));
        Press(Qt::Key_Return);
    });
    QCOMPARE(dialog.exec(), int(QDialog::Accepted));
    QVERIFY(answer.Answered());
    QCOMPARE(dialog.mName, QStringLiteral("bob"));
}

void tst_AppNewUserDialog::fieldHasTheFocusAtFirst()
{
    const OpenDialog dialog;
    QCOMPARE(QApplication::focusWidget(), dialog.Field());
}

void tst_AppNewUserDialog::tabReachesEveryControl()
{
    const OpenDialog dialog;
    const QStringList order{QStringLiteral("username"), QStringLiteral("okButton"),
                            QStringLiteral("cancelButton")};
    QCOMPARE(TabOrder(dialog, "username"), order);
    QCOMPARE(BacktabOrder(dialog, "username"), order);
}

void tst_AppNewUserDialog::screenReaderNamesEveryControl()
{
    const OpenDialog dialog;
    QCOMPARE(Controls(dialog).size(), 3);
    QCOMPARE(BadlySpoken(dialog), QStringList());
    QCOMPARE(SpokenName(dialog.Field()), QStringLiteral("Username"));
}

void tst_AppNewUserDialog::nothingIsCutOff()
{
    const OpenDialog dialog;
    QCOMPARE(CutOff(dialog), QStringList());
}

void tst_AppNewUserDialog::fieldTakesTheExtraWidth()
{
    OpenDialog dialog;
    const int before = dialog.Field()->width();
    dialog.resize(dialog.width() + 100, dialog.height());
    QTRY_COMPARE(dialog.Field()->width(), before + 100);
}

QTEST_MAIN(tst_AppNewUserDialog)

#include "tst_AppNewUserDialog.moc"
