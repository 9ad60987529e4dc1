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
void Click(QWidget *control);

void Click(const QObject &window, const char *name);

/// Clicks on a row of a list.
void ClickRow(QListWidget *list, int row, Qt::KeyboardModifiers modifiers = Qt::NoModifier);

/// Gives a window the keyboard, as a window manager does with the one that opens.
void Activate(QWidget *window);

/// The window that has the keyboard. Where no window manager hands it on when a window closes, this
/// does.
QWidget *ActiveWindow();

/// Presses a key in whatever has the focus of the active window.
void Press(Qt::Key key, Qt::KeyboardModifiers modifiers = Qt::NoModifier);

/// Replaces the text of a field: clicks into it, selects what is there and types. A text that is
/// not all ASCII comes in one piece, as from an input method.
void Type(QLineEdit *field, const QString &text);

/// Chooses an item of a combo box with the keyboard.
void Choose(QComboBox *combo, int index);

bool TakesDirectories(const QFileDialog *chooser);

/// Answers a directory chooser: types `path` and accepts, or cancels if it is empty.
void AnswerChooser(QFileDialog *chooser, const QString &path);

/// Has modal windows answered: each answer waits for its kind of window and must close it.
///
/// Made before the click that opens the first window, and living until the last one has closed. An
/// answer runs inside its window's event loop; for a window that opens on top meanwhile it makes
/// other answers.
class ModalAnswers
{
public:
    ModalAnswers();

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

    void Poll();

    /// A test that waits for the wrong window must end too.
    void GiveUpInTime(QWidget *window);

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
QStringList Slots(const QMetaObject &type);

/// Where a layout has an item: "row,column".
QString CellOf(const QGridLayout *grid, int index);

/// Where a layout has a widget: "row,column".
QString CellOf(const QGridLayout *grid, QWidget *widget);

/// The same for a layout inside the layout.
QString CellOf(const QGridLayout *grid, const QLayout *layout);

/// The names of the widgets and layouts directly in a layout, in order, without the spacers.
QStringList NamesIn(const QLayout *layout);

bool TakesTab(const QWidget *widget);

/// The names of the controls of an active window in the order in which Tab reaches them, beginning
/// with `first`.
QStringList TabOrder(const QWidget &window, const char *first);

/// The same order, walked backwards from behind the end.
QStringList BacktabOrder(const QWidget &window, const char *first);

/// What a screen reader calls a control.
QString SpokenName(QWidget *control);

/// The controls that a person works with: all that have a name of their own and can have the focus,
/// whether enabled now or not.
QList<QWidget *> Controls(const QWidget &window);

/// The controls that a screen reader cannot name, or calls by the name of another one.
QStringList BadlySpoken(const QWidget &window);

/// The parts of a shown window that have less room than their text needs, overlap or stick out.
QStringList CutOff(const QWidget &window);

/// Puts "[context]" in front of every text, so that what bypasses the translation shows.
class MarkingTranslator : public QTranslator
{
public:
    QString translate(const char *context, const char *sourceText, const char *disambiguation,
                      int count) const override;

    bool isEmpty() const override { return false; }
};

} // namespace WindowDriver
