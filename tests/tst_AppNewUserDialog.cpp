// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#include "AppNewUserDialog.h"
#include "HubFixture.h"
#include "WindowDriver.h"

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
    void proposedNameIsShownAndTaken_data();
    void proposedNameIsShownAndTaken();
    void typedNameIsTakenAsItIs_data();
    void typedNameIsTakenAsItIs();
    void nameFollowsEveryKey();
    void textChangedStoresTheNameOnly();
    void typingReplacesTheProposal();
    void okIsEnabledWhateverTheName();
    void okAcceptsAnEmptyName();
    void nameOutlivesTheDialogBeingOpen();

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

void tst_AppNewUserDialog::okAcceptsAnEmptyName()
{
    OpenDialog dialog;
    Type(dialog.Field(), QString());
    Click(dialog, "okButton");
    QCOMPARE(dialog.Result(), int(QDialog::Accepted));
    QCOMPARE(dialog.mName, QString());
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

QTEST_MAIN(tst_AppNewUserDialog)

#include "tst_AppNewUserDialog.moc"
