// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#include "AppGenerateMd5Dialog.h"
#include "AppNewUserDialog.h"
#include "HubFixture.h"
#include "WindowDriver.h"

#include <QFrame>
#include <QSignalSpy>

#include <memory>

using namespace WindowDriver;

/// What the two dialogs that ask for one text have in common.
class tst_InputDialogs : public QObject
{
    Q_OBJECT

public:
    /// Runs before the application object is made: that is when the place of the settings is set.
    static void initMain() { static const HubSettings settings; }

private slots:
    void initTestCase();
    void cleanupTestCase();

    // The form.
    void isADialog_data();
    void isADialog();
    void parentAndFlagsAreTaken_data();
    void parentAndFlagsAreTaken();
    void slotsAreInOrder_data();
    void slotsAreInOrder();
    void formIsNamedTitledAndSized_data();
    void formIsNamedTitledAndSized();
    void controls_data();
    void controls();
    void labelAndFieldAreSideBySide_data();
    void labelAndFieldAreSideBySide();
    void lineIsAboveTheButtons_data();
    void lineIsAboveTheButtons();
    void buttonsAreAtTheRight_data();
    void buttonsAreAtTheRight();
    void textsAreTranslated_data();
    void textsAreTranslated();

    // Ending it.
    void takingItGivesTheResult_data();
    void takingItGivesTheResult();
    void leavingItRejects_data();
    void leavingItRejects();

    // Keyboard, screen reader and room.
    void fieldHasTheFocusAtFirst_data();
    void fieldHasTheFocusAtFirst();
    void tabReachesEveryControl_data();
    void tabReachesEveryControl();
    void screenReaderNamesEveryControl_data();
    void screenReaderNamesEveryControl();
    void nothingIsCutOff_data();
    void nothingIsCutOff();
    void fieldTakesTheExtraWidth_data();
    void fieldTakesTheExtraWidth();

private:
    std::unique_ptr<SizeHintsFilter> mFilter;
};

namespace
{

/// One of the dialogs, and what is particular to it.
struct KIND {
    const char *name; ///< of the class, and of the form
    const char *title;
    QSize size;
    const QMetaObject *type;
    QStringList slotNames;
    QStringList tabOrder; ///< the field first
    const char *label;
    std::function<QDialog *(QWidget *parent, Qt::WindowFlags flags)> make;
    std::function<QString(const QDialog &)> result;
    QString typed;
    QString taken;    ///< the result if that was typed
    QString notTaken; ///< and if it was typed but the dialog was left
};

const KIND KINDS[] = {
    {"AppNewUserDialog",
     "Dialog",
     QSize(231, 102),
     &AppNewUserDialog::staticMetaObject,
     {QStringLiteral("TextChanged(QString)")},
     {QStringLiteral("username"), QStringLiteral("okButton"), QStringLiteral("cancelButton")},
     "Username",
     [](QWidget *parent, Qt::WindowFlags flags) {
         return new AppNewUserDialog(parent, flags, QStringLiteral("newuser"));
     },
     [](const QDialog &dialog) { return static_cast<const AppNewUserDialog &>(dialog).mName; },
     QStringLiteral("alice"),
     QStringLiteral("alice"),
     QStringLiteral("alice")},
    {"AppGenerateMd5Dialog",
     "Generate MD5",
     QSize(229, 125),
     &AppGenerateMd5Dialog::staticMetaObject,
     {QStringLiteral("accept()"), QStringLiteral("ShowTextClicked()")},
     {QStringLiteral("textEdit"), QStringLiteral("showText"), QStringLiteral("okButton"),
      QStringLiteral("cancelButton")},
     "Text",
     [](QWidget *parent, Qt::WindowFlags flags) { return new AppGenerateMd5Dialog(parent, flags); },
     [](const QDialog &dialog) {
         return static_cast<const AppGenerateMd5Dialog &>(dialog).mDigest;
     },
     QStringLiteral("abc"),
     QStringLiteral("900150983cd24fb0d6963f7d28e17f72"),
     QString()},
};

/// A dialog of that kind, open and active unless a test wants it otherwise.
class OpenDialog
{
public:
    explicit OpenDialog(const KIND &kind) : mKind(kind), mDialog(kind.make(nullptr, {}))
    {
        mFinished = std::make_unique<QSignalSpy>(mDialog.get(), &QDialog::finished);
        mDialog->open();
        Activate(mDialog.get());
    }

    QDialog &Dialog() const { return *mDialog; }

    QLineEdit *Field() const
    {
        return Named<QLineEdit>(*mDialog, qPrintable(mKind.tabOrder.constFirst()));
    }

    QString Result() const { return mKind.result(*mDialog); }

    /// The one code that the dialog has finished with, or -1.
    int Code() const { return mFinished->size() == 1 ? mFinished->at(0).at(0).toInt() : -1; }

private:
    const KIND &mKind;
    std::unique_ptr<QDialog> mDialog;
    std::unique_ptr<QSignalSpy> mFinished;
};

/// A row for each of KINDS, by its index.
void AddKinds()
{
    QTest::addColumn<int>("kind");

    QTest::newRow("new-user") << 0;
    QTest::newRow("generate-md5") << 1;
}

/// The kind of the row.
const KIND &Kind()
{
    QFETCH(const int, kind);
    return KINDS[kind];
}

} // namespace

void tst_InputDialogs::initTestCase()
{
    mFilter = std::make_unique<SizeHintsFilter>();
}

void tst_InputDialogs::cleanupTestCase()
{
    mFilter.reset();
}

void tst_InputDialogs::isADialog_data()
{
    AddKinds();
}

void tst_InputDialogs::isADialog()
{
    QCOMPARE(Kind().type->superClass(), &QDialog::staticMetaObject);
    QCOMPARE(Kind().type->className(), Kind().name);
}

void tst_InputDialogs::parentAndFlagsAreTaken_data()
{
    AddKinds();
}

void tst_InputDialogs::parentAndFlagsAreTaken()
{
    QWidget parent;
    const QDialog *const dialog = Kind().make(&parent, Qt::Dialog | Qt::FramelessWindowHint);
    QCOMPARE(dialog->parentWidget(), &parent);
    QVERIFY(dialog->windowFlags().testFlag(Qt::FramelessWindowHint));
}

void tst_InputDialogs::slotsAreInOrder_data()
{
    AddKinds();
}

void tst_InputDialogs::slotsAreInOrder()
{
    QCOMPARE(Slots(*Kind().type), Kind().slotNames);
}

void tst_InputDialogs::formIsNamedTitledAndSized_data()
{
    AddKinds();
}

void tst_InputDialogs::formIsNamedTitledAndSized()
{
    const std::unique_ptr<QDialog> dialog(Kind().make(nullptr, {}));
    QCOMPARE(dialog->objectName(), QLatin1String(Kind().name));
    QCOMPARE(dialog->windowTitle(), QLatin1String(Kind().title));
    QCOMPARE(dialog->size(), Kind().size);
}

void tst_InputDialogs::controls_data()
{
    QTest::addColumn<int>("kind");
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("type");
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("cell"); // of "gridLayout", or empty where that is left open

    QTest::newRow("new-user-label") << 0 << "label"
                                    << "QLabel"
                                    << "Username" << QString();
    QTest::newRow("new-user-field") << 0 << "username"
                                    << "QLineEdit"
                                    << "newuser" << QString();
    QTest::newRow("new-user-ok") << 0 << "okButton"
                                 << "QPushButton"
                                 << "OK" << QString();
    QTest::newRow("new-user-cancel") << 0 << "cancelButton"
                                     << "QPushButton"
                                     << "Cancel" << QString();
    QTest::newRow("generate-md5-label") << 1 << "label"
                                        << "QLabel"
                                        << "Text"
                                        << "0,0";
    QTest::newRow("generate-md5-field") << 1 << "textEdit"
                                        << "QLineEdit" << QString() << "0,1";
    QTest::newRow("generate-md5-check-box") << 1 << "showText"
                                            << "QCheckBox"
                                            << "Show Text"
                                            << "1,1";
    QTest::newRow("generate-md5-ok") << 1 << "okButton"
                                     << "QPushButton"
                                     << "OK" << QString();
    QTest::newRow("generate-md5-cancel") << 1 << "cancelButton"
                                         << "QPushButton"
                                         << "Cancel" << QString();
}

void tst_InputDialogs::controls()
{
    QFETCH(const QString, name);
    QFETCH(const QString, type);
    QFETCH(const QString, text);
    QFETCH(const QString, cell);
    const OpenDialog open(Kind());
    auto *const control = Named<>(open.Dialog(), qPrintable(name));
    QCOMPARE(QString::fromLatin1(control->metaObject()->className()), type);
    QCOMPARE(control->property("text").toString(), text);
    QVERIFY(control->isVisible());
    QVERIFY(control->isEnabled());
    if (!cell.isEmpty())
        QCOMPARE(CellOf(Named<QGridLayout>(open.Dialog(), "gridLayout"), control), cell);
}

void tst_InputDialogs::labelAndFieldAreSideBySide_data()
{
    AddKinds();
}

void tst_InputDialogs::labelAndFieldAreSideBySide()
{
    const OpenDialog open(Kind());
    const auto *const grid = Named<QGridLayout>(open.Dialog(), "gridLayout");
    auto *const label = Named<QLabel>(open.Dialog(), "label");
    QVERIFY(grid->indexOf(label) >= 0);
    QVERIFY(grid->indexOf(open.Field()) >= 0);
    QVERIFY(label->geometry().right() < open.Field()->geometry().left());
    QVERIFY(label->geometry().top() <= open.Field()->geometry().center().y());
    QVERIFY(label->geometry().bottom() >= open.Field()->geometry().center().y());
}

void tst_InputDialogs::lineIsAboveTheButtons_data()
{
    AddKinds();
}

void tst_InputDialogs::lineIsAboveTheButtons()
{
    const OpenDialog open(Kind());
    const auto *const line = Named<QFrame>(open.Dialog(), "line");
    const auto *const grid = Named<QGridLayout>(open.Dialog(), "gridLayout");
    QCOMPARE(line->frameShape(), QFrame::HLine);
    QCOMPARE(line->frameShadow(), QFrame::Sunken);
    QVERIFY(line->geometry().top() > grid->geometry().bottom());
    QVERIFY(line->geometry().bottom() < Named<>(open.Dialog(), "okButton")->geometry().top());
}

void tst_InputDialogs::buttonsAreAtTheRight_data()
{
    AddKinds();
}

void tst_InputDialogs::buttonsAreAtTheRight()
{
    const OpenDialog open(Kind());
    const auto *const row = Named<QHBoxLayout>(open.Dialog(), "hboxLayout");
    QCOMPARE(NamesIn(row),
             (QStringList{QStringLiteral("okButton"), QStringLiteral("cancelButton")}));
    QCOMPARE(row->count(), 3);
    QVERIFY(row->itemAt(0)->spacerItem() != nullptr);
}

void tst_InputDialogs::textsAreTranslated_data()
{
    AddKinds();
}

void tst_InputDialogs::textsAreTranslated()
{
    MarkingTranslator translator;
    QVERIFY(QCoreApplication::installTranslator(&translator));
    const std::unique_ptr<QDialog> dialog(Kind().make(nullptr, {}));
    const QString mark = QStringLiteral("[%1]").arg(QLatin1String(Kind().name));
    QCOMPARE(dialog->windowTitle(), mark + QLatin1String(Kind().title));
    QCOMPARE(Named<QLabel>(*dialog, "label")->text(), mark + QLatin1String(Kind().label));
    const QList<QAbstractButton *> buttons = dialog->findChildren<QAbstractButton *>();
    for (const QAbstractButton *button : buttons)
        QVERIFY2(button->text().startsWith(mark), qPrintable(button->text()));
}

void tst_InputDialogs::takingItGivesTheResult_data()
{
    QTest::addColumn<int>("kind");
    QTest::addColumn<int>("key");

    for (int kind = 0; kind < 2; ++kind) {
        QTest::addRow("%s-by-return", KINDS[kind].name) << kind << int(Qt::Key_Return);
        QTest::addRow("%s-by-enter-of-the-keypad", KINDS[kind].name) << kind << int(Qt::Key_Enter);
        QTest::addRow("%s-by-a-click", KINDS[kind].name) << kind << 0;
    }
}

void tst_InputDialogs::takingItGivesTheResult()
{
    QFETCH(const int, key);
    const OpenDialog open(Kind());
    Type(open.Field(), Kind().typed);
    if (key != 0)
        Press(Qt::Key(key));
    else
        Click(open.Dialog(), "okButton");
    QCOMPARE(open.Code(), int(QDialog::Accepted));
    QVERIFY(!open.Dialog().isVisible());
    QCOMPARE(open.Result(), Kind().taken);
}

void tst_InputDialogs::leavingItRejects_data()
{
    QTest::addColumn<int>("kind");
    QTest::addColumn<QString>("way");

    for (int kind = 0; kind < 2; ++kind) {
        for (const char *way : {"cancel", "escape", "close"})
            QTest::addRow("%s-by-%s", KINDS[kind].name, way) << kind << way;
    }
}

void tst_InputDialogs::leavingItRejects()
{
    QFETCH(const QString, way);
    const OpenDialog open(Kind());
    Type(open.Field(), Kind().typed);
    if (way == QLatin1String("cancel"))
        Click(open.Dialog(), "cancelButton");
    else if (way == QLatin1String("escape"))
        Press(Qt::Key_Escape);
    else
        open.Dialog().close();
    QCOMPARE(open.Code(), int(QDialog::Rejected));
    QVERIFY(!open.Dialog().isVisible());
    QCOMPARE(open.Result(), Kind().notTaken);
}

void tst_InputDialogs::fieldHasTheFocusAtFirst_data()
{
    AddKinds();
}

void tst_InputDialogs::fieldHasTheFocusAtFirst()
{
    const OpenDialog open(Kind());
    QCOMPARE(QApplication::focusWidget(), open.Field());
}

void tst_InputDialogs::tabReachesEveryControl_data()
{
    AddKinds();
}

void tst_InputDialogs::tabReachesEveryControl()
{
    const OpenDialog open(Kind());
    const QByteArray first = Kind().tabOrder.constFirst().toLatin1();
    QCOMPARE(TabOrder(open.Dialog(), first.constData()), Kind().tabOrder);
    QCOMPARE(BacktabOrder(open.Dialog(), first.constData()), Kind().tabOrder);
}

void tst_InputDialogs::screenReaderNamesEveryControl_data()
{
    AddKinds();
}

void tst_InputDialogs::screenReaderNamesEveryControl()
{
    const OpenDialog open(Kind());
    QCOMPARE(Controls(open.Dialog()).size(), Kind().tabOrder.size());
    QCOMPARE(BadlySpoken(open.Dialog()), QStringList());
    QCOMPARE(SpokenName(open.Field()), QLatin1String(Kind().label));
}

void tst_InputDialogs::nothingIsCutOff_data()
{
    AddKinds();
}

void tst_InputDialogs::nothingIsCutOff()
{
    const OpenDialog open(Kind());
    QCOMPARE(CutOff(open.Dialog()), QStringList());
}

void tst_InputDialogs::fieldTakesTheExtraWidth_data()
{
    AddKinds();
}

void tst_InputDialogs::fieldTakesTheExtraWidth()
{
    const OpenDialog open(Kind());
    const int before = open.Field()->width();
    open.Dialog().resize(open.Dialog().width() + 100, open.Dialog().height());
    QTRY_COMPARE(open.Field()->width(), before + 100);
}

QTEST_MAIN(tst_InputDialogs)

#include "tst_InputDialogs.moc"
