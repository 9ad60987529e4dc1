// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#include "WindowDriver.h"

namespace WindowDriver
{

void Click(QWidget *control)
{
    const bool marked = qobject_cast<QCheckBox *>(control) != nullptr;
    const QPoint position(marked ? 8 : control->width() / 2, control->height() / 2);
    QTest::mouseClick(control, Qt::LeftButton, Qt::NoModifier, position);
}

void Click(const QObject &window, const char *name)
{
    Click(Named<>(window, name));
}

void ClickRow(QListWidget *list, int row, Qt::KeyboardModifiers modifiers)
{
    list->scrollToItem(list->item(row));
    QTest::mouseClick(list->viewport(), Qt::LeftButton, modifiers,
                      list->visualItemRect(list->item(row)).center());
}

void Activate(QWidget *window)
{
    window->activateWindow();
    if (!QTest::qWaitFor([window] { return QApplication::activeWindow() == window; }))
        qFatal("%s does not become active", window->metaObject()->className());
}

QWidget *ActiveWindow()
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

void Press(Qt::Key key, Qt::KeyboardModifiers modifiers)
{
    QWidget *const window = ActiveWindow();
    QWidget *const focus = QApplication::focusWidget();
    QTest::keyClick(focus != nullptr ? focus : window, key, modifiers);
}

void Type(QLineEdit *field, const QString &text)
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

void Choose(QComboBox *combo, int index)
{
    combo->setFocus();
    QTest::keyClick(combo, Qt::Key_Home);
    for (int i = 0; i < index; ++i)
        QTest::keyClick(combo, Qt::Key_Down);
}

bool TakesDirectories(const QFileDialog *chooser)
{
    return chooser->fileMode() != QFileDialog::AnyFile &&
           chooser->fileMode() != QFileDialog::ExistingFile &&
           chooser->fileMode() != QFileDialog::ExistingFiles;
}

void AnswerChooser(QFileDialog *chooser, const QString &path)
{
    if (path.isEmpty()) {
        QTest::keyClick(chooser, Qt::Key_Escape);
        return;
    }
    Named<QLineEdit>(*chooser, "fileNameEdit")->setText(QDir::toNativeSeparators(path));
    Click(Named<QDialogButtonBox>(*chooser, "buttonBox")->buttons().at(0));
}

QStringList Slots(const QMetaObject &type)
{
    QStringList slotNames;
    for (int i = type.methodOffset(); i < type.methodCount(); ++i) {
        if (type.method(i).methodType() == QMetaMethod::Slot)
            slotNames += QString::fromLatin1(type.method(i).methodSignature());
    }
    return slotNames;
}

QString CellOf(const QGridLayout *grid, int index)
{
    int row = -1;
    int column = -1;
    int rows = 0;
    int columns = 0;
    if (index >= 0)
        grid->getItemPosition(index, &row, &column, &rows, &columns);
    return QStringLiteral("%1,%2").arg(row).arg(column);
}

QString CellOf(const QGridLayout *grid, QWidget *widget)
{
    return CellOf(grid, grid->indexOf(widget));
}

QString CellOf(const QGridLayout *grid, const QLayout *layout)
{
    int index = grid->count() - 1;
    while (index >= 0 && grid->itemAt(index)->layout() != layout)
        --index;
    return CellOf(grid, index);
}

QStringList NamesIn(const QLayout *layout)
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

bool TakesTab(const QWidget *widget)
{
    return widget->isVisible() && widget->isEnabled() &&
           (widget->focusPolicy() & Qt::TabFocus) != 0 && widget->focusProxy() == nullptr;
}

QStringList TabOrder(const QWidget &window, const char *first)
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

QStringList BacktabOrder(const QWidget &window, const char *first)
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

QString SpokenName(QWidget *control)
{
    QAccessibleInterface *const interface = QAccessible::queryAccessibleInterface(control);
    return interface != nullptr ? interface->text(QAccessible::Name) : QString();
}

QList<QWidget *> Controls(const QWidget &window)
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

QStringList BadlySpoken(const QWidget &window)
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

QStringList CutOff(const QWidget &window)
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

ModalAnswers::ModalAnswers() : mBefore(QApplication::activeModalWidget())
{
    QObject::connect(&mTimer, &QTimer::timeout, &mTimer, [this] { Poll(); });
    mTimer.start(0);
}

void ModalAnswers::Poll()
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

void ModalAnswers::GiveUpInTime(QWidget *window)
{
    if (!mDeadline.hasExpired())
        return;
    mTimer.stop();
    if (!QTest::currentTestFailed())
        QTest::qFail("the window to be answered has not opened", __FILE__, __LINE__);
    if (window != nullptr)
        window->close();
}

QString MarkingTranslator::translate(const char *context, const char *sourceText,
                                     const char *disambiguation, int count) const
{
    Q_UNUSED(disambiguation)
    Q_UNUSED(count)
    return QStringLiteral("[%1]%2").arg(QLatin1String(context), QString::fromUtf8(sourceText));
}

} // namespace WindowDriver
