// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#pragma once

#include <QPlainTextEdit>
#include <QTimer>

/// The text area that shows what the hub logs.
///
/// Append() costs a request little: the text is there at once; laying it out, scrolling and
/// painting wait for DELAY_MS, so that a burst of lines pays for them once. It relies on this of
/// the toolkit:
/// - the text area learns of new text only through the signals of the document's layout, and asks
///   that layout for every size; so what it missed while they were blocked can be made up for by
///   emitting them once;
/// - a block that is painted or scrolled to is laid out then, if it has not been yet;
/// - repaint() paints before it returns, and where the platform collects what is for the screen, it
///   hands it over when the event loop says that it is about to block.
class AppConsole : public QPlainTextEdit
{
public:
    static constexpr int DELAY_MS = 40;

    explicit AppConsole(QWidget *parent = nullptr);

    /// Appends a line. The text becomes byte for byte what appendPlainText() would make of it. If
    /// the end was in view, it is afterwards.
    void Append(const QString &text);

    /// Shows every line now, for a caller that is going to block the thread. Does nothing, and
    /// costs nothing, if all of them have been painted.
    void ShowAll();

protected:
    /// Draws the frame as a field's: unlike a text area's it shows in every style who has the
    /// focus.
    bool event(QEvent *event) override;
    void focusInEvent(QFocusEvent *event) override;
    void focusOutEvent(QFocusEvent *event) override;

    void paintEvent(QPaintEvent *event) override;

    /// The end stays in view if it was.
    void resizeEvent(QResizeEvent *event) override;

private:
    /// Whether the end is in view, or will be once the waiting lines are laid out.
    bool FollowsTheEnd() const;

    /// Makes up for the signals that Append() blocked, and scrolls.
    void LayOut();

    QTimer mDelay{this};
    bool mFollows = true;   ///< while mDelay runs: whether the end was in view before
    bool mUnpainted = true; ///< something was appended or laid out after the last painting
};
