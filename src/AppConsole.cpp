// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#include "AppConsole.h"

#include <QAbstractEventDispatcher>
#include <QAbstractTextDocumentLayout>
#include <QPainter>
#include <QScrollBar>
#include <QSignalBlocker>
#include <QStyle>
#include <QStyleOptionFrame>
#include <QTextCursor>
#include <QTextDocument>

AppConsole::AppConsole(QWidget *parent) : QPlainTextEdit(parent)
{
    // What the hub has written is not undone, and the history takes more memory than the text.
    setUndoRedoEnabled(false);
    mDelay.setObjectName(QStringLiteral("consoleDelay"));
    mDelay.setSingleShot(true);
    mDelay.setInterval(DELAY_MS);
    connect(&mDelay, &QTimer::timeout, this, &AppConsole::LayOut);
}

void AppConsole::Append(const QString &text)
{
    if (!mDelay.isActive()) {
        mFollows = FollowsTheEnd();
        mDelay.start();
    }
    mUnpainted = true;
    const QSignalBlocker blocker(document()->documentLayout()); // LayOut() makes up for it
    QTextCursor end(document());
    end.beginEditBlock();
    end.movePosition(QTextCursor::End);
    if (!document()->isEmpty())
        end.insertBlock();
    end.insertText(text);
    end.endEditBlock();
}

void AppConsole::ShowAll()
{
    if (mDelay.isActive()) {
        mDelay.stop();
        LayOut();
    }
    if (!mUnpainted)
        return;
    viewport()->repaint();
    emit QAbstractEventDispatcher::instance()->aboutToBlock(); // the event loop does not get to it
}

bool AppConsole::event(QEvent *event)
{
    const bool handled = QPlainTextEdit::event(event);
    if (event->type() == QEvent::Paint && hasFocus()) {
        QStyleOptionFrame option;
        initStyleOption(&option);
        QPainter painter(this);
        style()->drawPrimitive(QStyle::PE_FrameLineEdit, &option, &painter, this);
    }
    return handled;
}

void AppConsole::focusInEvent(QFocusEvent *event)
{
    QPlainTextEdit::focusInEvent(event);
    update(); // the frame
}

void AppConsole::focusOutEvent(QFocusEvent *event)
{
    QPlainTextEdit::focusOutEvent(event);
    update();
}

void AppConsole::paintEvent(QPaintEvent *event)
{
    mUnpainted = false;
    QPlainTextEdit::paintEvent(event);
}

void AppConsole::resizeEvent(QResizeEvent *event)
{
    const bool follows = FollowsTheEnd();
    QPlainTextEdit::resizeEvent(event);
    if (follows)
        verticalScrollBar()->setValue(verticalScrollBar()->maximum());
}

bool AppConsole::FollowsTheEnd() const
{
    if (mDelay.isActive())
        return mFollows;
    return verticalScrollBar()->value() == verticalScrollBar()->maximum();
}

void AppConsole::LayOut()
{
    mUnpainted = true;
    QAbstractTextDocumentLayout *const layout = document()->documentLayout();
    emit layout->documentSizeChanged(layout->documentSize());
    emit layout->update();
    if (mFollows)
        verticalScrollBar()->setValue(verticalScrollBar()->maximum());
}
