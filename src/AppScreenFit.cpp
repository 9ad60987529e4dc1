// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#include "AppScreenFit.h"

#include <QApplication>
#include <QBoxLayout>
#include <QDialog>
#include <QEvent>
#include <QScreen>
#include <QScrollArea>

AppScreenFit::AppScreenFit(QDialog *dialog) : QObject(dialog), mDialog(dialog)
{
    dialog->installEventFilter(this);
}

bool AppScreenFit::eventFilter(QObject *watched, QEvent *event)
{
    if (event->type() == QEvent::Show && !event->spontaneous()) {
        const QSize room = Room();
        if (mDialog->layout()->totalMinimumSize().boundedTo(room) !=
            mDialog->layout()->totalMinimumSize())
            Scroll();
        mDialog->resize(mDialog->size().boundedTo(room));
    }
    return QObject::eventFilter(watched, event);
}

QSize AppScreenFit::Room() const
{
    const QSize room = mDialog->screen()->availableSize();
    const QWidget *const parent = mDialog->parentWidget();
    // The frame is not known before the window is; its parent's is like it.
    return parent == nullptr ? room
                             : room - (parent->window()->frameSize() - parent->window()->size());
}

void AppScreenFit::Scroll()
{
    auto *const column = qobject_cast<QBoxLayout *>(mDialog->layout());
    auto *const area = new QScrollArea(mDialog);
    auto *const content = new QWidget(area);
    content->setLayout(column->takeAt(0)->layout());
    area->setWidget(content);
    area->setWidgetResizable(true);
    area->setFrameShape(QFrame::NoFrame);
    area->setFocusPolicy(Qt::NoFocus);
    connect(qApp, &QApplication::focusChanged, area, [area](const QWidget *, QWidget *focus) {
        if (focus != nullptr && area->isAncestorOf(focus))
            area->ensureWidgetVisible(focus);
    });
    column->insertWidget(0, area);
    column->activate();
}
