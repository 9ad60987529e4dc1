// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QAbstractButton>
#include <QAccessible>
#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QDeadlineTimer>
#include <QDialogButtonBox>
#include <QDir>
#include <QFileDialog>
#include <QGridLayout>
#include <QInputMethodEvent>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QMetaMethod>
#include <QPair>
#include <QPointer>
#include <QStringList>
#include <QTest>
#include <QTimer>
#include <QTranslator>
#include <QVector>

#include <algorithm>
#include <functional>
#include <utility>

/// Works a window as a person does, with mouse and keyboard, and looks at it as one.
///
/// Controls are named by their object names. A name that is not there ends the program: no test of
/// that window means anything then.
namespace WindowDriver
{

template <typename T = QWidget> T *Named(const QObject &window, const char *name)
{
    T *const object = window.findChild<T *>(QLatin1String(name));
    if (object == nullptr)
        qFatal("%s has no %s named %s", window.metaObject()->className(),
               T::staticMetaObject.className(), name);
    return object;
}

/// Clicks into the middle of a control; a check box is hit on its mark.
inline void Click(QWidget *control)
{
    const bool marked = qobject_cast<QCheckBox *>(control) != nullptr;
    const QPoint position(marked ? 8 : control->width() / 2, control->height() / 2);
    QTest::mouseClick(control, Qt::LeftButton, Qt::NoModifier, position);
}

inline void Click(const QObject &window, const char *name)
{
    Click(Named<>(window, name));
}

/// Clicks on a row of a list.
inline void ClickRow(QListWidget *list, int row, Qt::KeyboardModifiers modifiers = Qt::NoModifier)
{
    list->scrollToItem(list->item(row));
    QTest::mouseClick(list->viewport(), Qt::LeftButton, modifiers,
                      list->visualItemRect(list->item(row)).center());
}

/// Gives a window the keyboard, as a window manager does with the one that opens.
inline void Activate(QWidget *window)
{
    window->activateWindow();
    if (!QTest::qWaitFor([window] { return QApplication::activeWindow() == window; }))
        qFatal("%s does not become active", window->metaObject()->className());
}

/// The window that has the keyboard. Where no window manager hands it on when a window closes, this
/// does.
inline QWidget *ActiveWindow()
{
    QWidget *window = QApplication::activeWindow();
    if (window != nullptr)
        return window;
    window = QApplication::activeModalWidget();
    const QWidgetList others = QApplication::topLevelWidgets();
    for (QWidget *other : others) {
        if (window == nullptr && other->isVisible())
            window = other;
    }
    Activate(window);
    return window;
}

/// Presses a key in whatever has the focus of the active window.
inline void Press(Qt::Key key, Qt::KeyboardModifiers modifiers = Qt::NoModifier)
{
    QWidget *const window = ActiveWindow();
    QWidget *const focus = QApplication::focusWidget();
    QTest::keyClick(focus != nullptr ? focus : window, key, modifiers);
}

/// Replaces the text of a field: clicks into it, selects what is there and types. A text that is
/// not all ASCII comes in one piece, as from an input method.
inline void Type(QLineEdit *field, const QString &text)
{
    Click(field);
    QTest::keyClick(field, Qt::Key_A, Qt::ControlModifier);
    QTest::keyClick(field, Qt::Key_Delete);
    const bool ascii =
        std::all_of(text.begin(), text.end(), [](QChar c) { return c.unicode() < 0x80; });
    if (ascii) {
        QTest::keyClicks(field, text);
    } else {
        QInputMethodEvent event;
        event.setCommitString(text);
        QApplication::sendEvent(field, &event);
    }
}

/// Chooses an item of a combo box with the keyboard.
inline void Choose(QComboBox *combo, int index)
{
    combo->setFocus();
    QTest::keyClick(combo, Qt::Key_Home);
    for (int i = 0; i < index; ++i)
        QTest::keyClick(combo, Qt::Key_Down);
}

inline bool TakesDirectories(const QFileDialog *chooser)
{
    return chooser->fileMode() != QFileDialog::AnyFile &&
           chooser->fileMode() != QFileDialog::ExistingFile &&
           chooser->fileMode() != QFileDialog::ExistingFiles;
}

/// Answers a directory chooser: types `path` and accepts, or cancels if it is empty.
inline void AnswerChooser(QFileDialog *chooser, const QString &path)
{
    if (path.isEmpty()) {
        QTest::keyClick(chooser, Qt::Key_Escape);
        return;
    }
    Named<QLineEdit>(*chooser, "fileNameEdit")->setText(QDir::toNativeSeparators(path));
    Click(Named<QDialogButtonBox>(*chooser, "buttonBox")->buttons().at(0));
}

/// Has modal windows answered: each answer waits for its kind of window and must close it.
///
/// Made before the click that opens the first window, and living until the last one has closed. An
/// answer runs inside its window's event loop; for a window that opens on top meanwhile it makes
/// other answers.
class ModalAnswers
{
public:
    ModalAnswers() : mBefore(QApplication::activeModalWidget())
    {
        QObject::connect(&mTimer, &QTimer::timeout, &mTimer, [this] { Poll(); });
        mTimer.start(0);
    }

    template <typename DIALOG> void Then(const std::function<void(DIALOG *)> &answer)
    {
        mSteps.append([answer](QWidget *window, bool run) {
            auto *const dialog = qobject_cast<DIALOG *>(window);
            if (run)
                answer(dialog);
            return dialog != nullptr;
        });
    }

    /// Whether every window came and was answered.
    bool Answered() const { return mNext == mSteps.size(); }

private:
    static constexpr int OPENING_TIMEOUT_MS = 10000;

    using STEP = std::function<bool(QWidget *window, bool run)>;

    void Poll()
    {
        if (Answered())
            return;
        const QPointer<QWidget> window = QApplication::activeModalWidget();
        if (window == nullptr || window == mBefore || !mSteps.at(mNext)(window, false) ||
            QApplication::activeWindow() != window) {
            GiveUpInTime(window);
            return;
        }
        mBefore = window;
        const STEP step = mSteps.at(mNext++);
        step(window, true);
        mDeadline.setRemainingTime(OPENING_TIMEOUT_MS);
        if (window != nullptr && window->isVisible()) {
            if (!QTest::currentTestFailed())
                QTest::qFail("an answer left its window open", __FILE__, __LINE__);
            window->close();
        }
    }

    /// A test that waits for the wrong window must end too.
    void GiveUpInTime(QWidget *window)
    {
        if (!mDeadline.hasExpired())
            return;
        mTimer.stop();
        if (!QTest::currentTestFailed())
            QTest::qFail("the window to be answered has not opened", __FILE__, __LINE__);
        if (window != nullptr)
            window->close();
    }

    QPointer<QWidget> mBefore;
    QList<STEP> mSteps;
    decltype(mSteps.size()) mNext = 0;
    QDeadlineTimer mDeadline{OPENING_TIMEOUT_MS};
    QTimer mTimer;
};

/// The answer to a single window.
template <typename DIALOG> class ModalAnswer : public ModalAnswers
{
public:
    explicit ModalAnswer(const std::function<void(DIALOG *)> &answer) { Then<DIALOG>(answer); }
};

/// The slots that a class itself declares, in order.
inline QStringList Slots(const QMetaObject &type)
{
    QStringList slotNames;
    for (int i = type.methodOffset(); i < type.methodCount(); ++i) {
        if (type.method(i).methodType() == QMetaMethod::Slot)
            slotNames += QString::fromLatin1(type.method(i).methodSignature());
    }
    return slotNames;
}

/// Where a layout has an item: "row,column".
inline QString CellOf(const QGridLayout *grid, int index)
{
    int row = -1;
    int column = -1;
    int rows = 0;
    int columns = 0;
    if (index >= 0)
        grid->getItemPosition(index, &row, &column, &rows, &columns);
    return QStringLiteral("%1,%2").arg(row).arg(column);
}

/// Where a layout has a widget: "row,column".
inline QString CellOf(const QGridLayout *grid, QWidget *widget)
{
    return CellOf(grid, grid->indexOf(widget));
}

/// The same for a layout inside the layout.
inline QString CellOf(const QGridLayout *grid, const QLayout *layout)
{
    int index = grid->count() - 1;
    while (index >= 0 && grid->itemAt(index)->layout() != layout)
        --index;
    return CellOf(grid, index);
}

/// The names of the widgets and layouts that a layout holds itself, in order, spacers left out.
inline QStringList NamesIn(const QLayout *layout)
{
    QStringList names;
    for (int i = 0; i < layout->count(); ++i) {
        QLayoutItem *const item = layout->itemAt(i);
        if (item->widget() != nullptr)
            names += item->widget()->objectName();
        else if (item->layout() != nullptr)
            names += item->layout()->objectName();
    }
    return names;
}

inline bool TakesTab(const QWidget *widget)
{
    return widget->isVisible() && widget->isEnabled() &&
           (widget->focusPolicy() & Qt::TabFocus) != 0 && widget->focusProxy() == nullptr;
}

/// The names of the controls of an active window in the order in which Tab reaches them, beginning
/// with `first`.
inline QStringList TabOrder(const QWidget &window, const char *first)
{
    constexpr int STEPS_MAX = 50;

    QWidget *const start = Named<>(window, first);
    start->setFocus(Qt::TabFocusReason);
    QStringList names;
    do {
        QWidget *const focus = QApplication::focusWidget();
        names += focus != nullptr ? focus->objectName() : QString();
        Press(Qt::Key_Tab);
    } while (QApplication::focusWidget() != start && names.size() < STEPS_MAX);
    return names;
}

/// The same order, walked backwards from behind the end.
inline QStringList BacktabOrder(const QWidget &window, const char *first)
{
    constexpr int STEPS_MAX = 50;

    QWidget *const start = Named<>(window, first);
    start->setFocus(Qt::TabFocusReason);
    QStringList names;
    do {
        Press(Qt::Key_Backtab);
        QWidget *const focus = QApplication::focusWidget();
        names.prepend(focus != nullptr ? focus->objectName() : QString());
    } while (QApplication::focusWidget() != start && names.size() < STEPS_MAX);
    return names;
}

/// What a screen reader calls a control.
inline QString SpokenName(QWidget *control)
{
    QAccessibleInterface *const interface = QAccessible::queryAccessibleInterface(control);
    return interface != nullptr ? interface->text(QAccessible::Name) : QString();
}

/// The controls that a person works with: all that have a name of their own and can have the focus,
/// whether enabled now or not.
inline QList<QWidget *> Controls(const QWidget &window)
{
    QList<QWidget *> controls;
    const QList<QWidget *> widgets = window.findChildren<QWidget *>();
    for (QWidget *widget : widgets) {
        const bool internal =
            widget->objectName().isEmpty() || widget->objectName().startsWith(QLatin1String("qt_"));
        if (!internal && (widget->focusPolicy() & Qt::TabFocus) != 0)
            controls += widget;
    }
    return controls;
}

/// The controls that a screen reader cannot name, or calls by the name of another one.
inline QStringList BadlySpoken(const QWidget &window)
{
    QStringList bad;
    QStringList spoken;
    const QList<QWidget *> controls = Controls(window);
    for (QWidget *control : controls) {
        const QString name = SpokenName(control);
        if (name.isEmpty() || name == QLatin1String("...") || spoken.contains(name))
            bad += control->objectName() + QLatin1String(": ") + name;
        spoken += name;
    }
    return bad;
}

/// The parts of a shown window that have less room than their text needs, overlap or stick out.
inline QStringList CutOff(const QWidget &window)
{
    QStringList cut;
    QList<QRect> taken;
    const QList<QWidget *> widgets = window.findChildren<QWidget *>();
    for (QWidget *widget : widgets) {
        const bool text = qobject_cast<QLabel *>(widget) != nullptr ||
                          qobject_cast<QAbstractButton *>(widget) != nullptr;
        const bool field = qobject_cast<QLineEdit *>(widget) != nullptr ||
                           qobject_cast<QComboBox *>(widget) != nullptr;
        if ((!text && !field) || !widget->isVisible())
            continue;
        const QSize need = text ? widget->sizeHint() : widget->minimumSizeHint();
        const QRect place(widget->mapTo(const_cast<QWidget *>(&window), QPoint()), widget->size());
        bool bad = widget->width() < need.width() || widget->height() < need.height() ||
                   !window.rect().contains(place);
        for (const QRect &other : std::as_const(taken))
            bad = bad || other.intersects(place);
        taken += place;
        if (bad)
            cut += widget->objectName();
    }
    return cut;
}

/// Puts "[context]" in front of every text, so that what bypasses the translation shows.
class MarkingTranslator : public QTranslator
{
public:
    QString translate(const char *context, const char *sourceText, const char *disambiguation,
                      int count) const override
    {
        Q_UNUSED(disambiguation)
        Q_UNUSED(count)
        return QStringLiteral("[%1]%2").arg(QLatin1String(context), QString::fromUtf8(sourceText));
    }

    bool isEmpty() const override { return false; }
};

/// Rows for choosing a directory: `which` of the two, and a `name` that must come through as it is.
inline void AddDirectoryNameRows()
{
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
    for (int which = 0; which < 2; ++which) {
        for (const auto &name : names)
            QTest::addRow("%s-%s", which == 0 ? "disks" : "programs", name.first)
                << which << name.second;
    }
}

/// What chooses one of the two directories of a window: its controls, the member of T that holds
/// it, and the chooser's caption.
template <typename T> struct DIRECTORY {
    const char *field;
    const char *browse;
    QString T::*member;
    QString caption;
};

/// The same for both, the disks' first.
template <typename T>
QVector<DIRECTORY<T>> Directories(QString T::*diskMember, QString T::*programMember)
{
    return {{"diskDirectory", "diskDirectoryBrowse", diskMember,
             QStringLiteral("Select Disk Directory")},
            {"programDirectory", "programDirectoryBrowse", programMember,
             QStringLiteral("Select Program Directory")}};
}

/// A row for each of Directories(), by its index.
inline void AddDirectoryRows()
{
    QTest::addColumn<int>("which");

    QTest::newRow("disks") << 0;
    QTest::newRow("programs") << 1;
}

} // namespace WindowDriver
