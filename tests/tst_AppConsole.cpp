// Copyright (c) the Disk Hub developers
// SPDX-License-Identifier: MIT

#include "AppConsole.h"
#include "HubSettings.h"

#include <QAbstractEventDispatcher>
#include <QLineEdit>
#include <QScrollBar>
#include <QTest>
#include <QTextDocument>

class tst_AppConsole : public QObject
{
    Q_OBJECT

public:
    /// Runs before the application object is made: that is when the place of the settings is set.
    static void initMain() { static const HubSettings settings; }

private slots:
    // The text.
    void textIsAsIfAppended_data();
    void textIsAsIfAppended();
    void nothingIsForgotten();
    void noHistoryIsKept();

    // Laying out and painting.
    void looksAsIfAppendedTo_data();
    void looksAsIfAppendedTo();
    void lineThatNeedsNoScrollingIsPainted();
    void burstIsShownAtOnce();
    void showAllPaintsWaitingLines();
    void showAllPaintsLinesLaidOutButNotYetPainted();
    void showAllPaintsNothingTwice();

    // Following the end.
    void endStaysInViewWhenResized_data();
    void endStaysInViewWhenResized();
    void endStaysInViewWhenResizedWhileLinesWait();
    void endStaysInViewWhenUncoveredWhileLinesWait();
    void followsAgainAfterShrinking();
    void readerKeepsThePlaceWhenResized();

    // The focus.
    void frameShowsTheFocus();
};

namespace
{

/// Counts the events of one type that an object gets.
class EventCounter : public QObject
{
public:
    EventCounter(QObject *watched, QEvent::Type type) : mType(type)
    {
        watched->installEventFilter(this);
    }

    int Count() const { return mCount; }

    bool eventFilter(QObject *watched, QEvent *event) override
    {
        mCount += event->type() == mType ? 1 : 0;
        return QObject::eventFilter(watched, event);
    }

private:
    QEvent::Type mType;
    int mCount = 0;
};

/// A console on the screen, as the main window has it.
class ShownConsole : public AppConsole
{
public:
    static constexpr int WIDTH = 375;
    static constexpr int HEIGHT = 200;

    ShownConsole()
    {
        setReadOnly(true);
        resize(WIDTH, HEIGHT);
        show();
        if (!QTest::qWaitForWindowExposed(this))
            qFatal("the console does not appear");
    }

    QTimer *Delay() const { return findChild<QTimer *>(QStringLiteral("consoleDelay")); }

    /// Appends `count` lines, each a number repeated to that length.
    void AppendNumbers(int count, int length = 10)
    {
        for (int i = 0; i < count; ++i)
            Append(QString::number(i).repeated(length));
    }

    /// Waits until all lines are laid out.
    bool CatchesUp() const
    {
        return QTest::qWaitFor([this] { return !Delay()->isActive(); });
    }

    /// Lines below the ones in view.
    int Below() const { return verticalScrollBar()->maximum() - verticalScrollBar()->value(); }
};

} // namespace

void tst_AppConsole::textIsAsIfAppended_data()
{
    QTest::addColumn<QString>("text");

    QTest::newRow("plain") << "SEARCH request";
    QTest::newRow("empty") << "";
    QTest::newRow("markup") << "<b>bold</b> &amp; <br>";
    QTest::newRow("placeholder") << "%1 %2 100%";
    QTest::newRow("umlaut") << QString::fromUtf8("gr\xC3\xBC\xC3\x9F");
    QTest::newRow("blanks") << "  two   three  ";
    QTest::newRow("tab") << "a\tb";
    QTest::newRow("line-feed") << "a\nb\n";
    QTest::newRow("carriage-return") << "a\rb\r\nc";
    QTest::newRow("null") << QString(QChar(0));
    QTest::newRow("line-separator") << QString(QChar(QChar::LineSeparator)) + QLatin1Char('x');
    QTest::newRow("paragraph-separator")
        << QString(QChar(QChar::ParagraphSeparator)) + QLatin1Char('x');
    QTest::newRow("object-replacement") << QString(QChar(QChar::ObjectReplacementCharacter));
    QTest::newRow("frame-begin") << QString(QChar(0xFDD0)) + QChar(0xFDD1);
    QTest::newRow("half-of-a-pair") << QString(QChar(0xD83D));
    QTest::newRow("right-to-left") << QString::fromUtf8("\xD7\xA9\xD7\x9C abc");
}

void tst_AppConsole::textIsAsIfAppended()
{
    QFETCH(const QString, text);
    ShownConsole console;
    QPlainTextEdit model;
    for (int i = 0; i < 3; ++i) {
        console.Append(text);
        model.appendPlainText(text);
        QCOMPARE(console.toPlainText(), model.toPlainText());
        QCOMPARE(console.document()->toRawText(), model.document()->toRawText());
        QCOMPARE(console.blockCount(), model.blockCount());
    }
}

void tst_AppConsole::nothingIsForgotten()
{
    constexpr int LINES = 20000;

    ShownConsole console;
    QCOMPARE(console.maximumBlockCount(), 0);
    console.AppendNumbers(LINES, 1);
    const QStringList lines = console.toPlainText().split(QLatin1Char('\n'));
    QCOMPARE(int(lines.size()), LINES);
    QCOMPARE(lines.constFirst(), QStringLiteral("0"));
    QCOMPARE(lines.constLast(), QString::number(LINES - 1));
}

void tst_AppConsole::noHistoryIsKept()
{
    ShownConsole console;
    console.Append(QStringLiteral("first"));
    console.Append(QStringLiteral("second"));
    QVERIFY(!console.document()->isUndoAvailable());
    console.undo();
    QCOMPARE(console.toPlainText(), QStringLiteral("first\nsecond"));
}

void tst_AppConsole::looksAsIfAppendedTo_data()
{
    QTest::addColumn<int>("first");
    QTest::addColumn<int>("second");
    QTest::addColumn<int>("length");
    QTest::addColumn<int>("scrolledTo");

    QTest::newRow("few-lines") << 1 << 2 << 10 << -1;
    QTest::newRow("lines-that-begin-to-scroll") << 2 << 100 << 10 << -1;
    QTest::newRow("lines-that-scroll-on") << 100 << 3 << 10 << -1;
    QTest::newRow("lines-that-wrap") << 1 << 20 << 500 << -1;
    QTest::newRow("reader-at-the-beginning") << 100 << 10 << 10 << 0;
    QTest::newRow("reader-in-the-middle") << 100 << 10 << 10 << 50;
}

void tst_AppConsole::looksAsIfAppendedTo()
{
    QFETCH(const int, first);
    QFETCH(const int, second);
    QFETCH(const int, length);
    QFETCH(const int, scrolledTo);
    ShownConsole console;
    QPlainTextEdit model;
    model.setReadOnly(true);
    model.resize(console.size());
    model.show();
    const auto append = [&](int lines) {
        console.AppendNumbers(lines, length);
        for (int i = 0; i < lines; ++i)
            model.appendPlainText(QString::number(i).repeated(length));
        QVERIFY(console.CatchesUp());
    };
    append(first);
    if (scrolledTo >= 0) {
        console.verticalScrollBar()->setValue(scrolledTo);
        model.verticalScrollBar()->setValue(scrolledTo);
    }
    append(second);
    QCOMPARE(console.toPlainText(), model.toPlainText());
    // Lines to the end; how many there are is an estimate until all have been laid out.
    QCOMPARE(console.Below(),
             model.verticalScrollBar()->maximum() - model.verticalScrollBar()->value());
    QTRY_COMPARE(console.viewport()->grab().toImage(), model.viewport()->grab().toImage());
}

void tst_AppConsole::lineThatNeedsNoScrollingIsPainted()
{
    ShownConsole console;
    QCoreApplication::processEvents();
    const EventCounter paints(console.viewport(), QEvent::Paint);
    console.Append(QStringLiteral("one"));
    QTRY_VERIFY(paints.Count() > 0);
}

void tst_AppConsole::burstIsShownAtOnce()
{
    ShownConsole console;
    const QScrollBar *const bar = console.verticalScrollBar();
    const EventCounter paints(console.viewport(), QEvent::Paint);
    QCOMPARE(console.Delay()->interval(), 40);
    for (int burst = 0; burst < 2; ++burst) {
        console.Append(QStringLiteral("before"));
        QVERIFY(console.CatchesUp());
        QCoreApplication::processEvents();
        const int range = bar->maximum();
        const int painted = paints.Count();
        console.AppendNumbers(100, 1);
        QVERIFY(console.toPlainText().endsWith(QLatin1String("\n99")));
        QCOMPARE(bar->maximum(), range);
        QVERIFY(console.updatesEnabled()); // it can be uncovered meanwhile
        QVERIFY(console.CatchesUp());
        QVERIFY(bar->maximum() > range);
        QTRY_VERIFY(paints.Count() > painted);
    }
}

void tst_AppConsole::showAllPaintsWaitingLines()
{
    ShownConsole console;
    console.AppendNumbers(100);
    QVERIFY(console.CatchesUp());
    QCoreApplication::processEvents();
    const EventCounter paints(console.viewport(), QEvent::Paint);
    console.Append(QStringLiteral("waiting"));
    QVERIFY(console.Below() == 0 && paints.Count() == 0);
    const int lines = console.verticalScrollBar()->maximum();
    // The platform may hand over then only what was painted.
    int paintedBeforeBlocking = 0;
    connect(QAbstractEventDispatcher::instance(), &QAbstractEventDispatcher::aboutToBlock, &console,
            [&] { paintedBeforeBlocking = paints.Count(); });
    console.ShowAll();
    QVERIFY(paintedBeforeBlocking > 0);
    QCOMPARE(console.verticalScrollBar()->maximum(), lines + 1);
    QCOMPARE(console.Below(), 0);
    QVERIFY(!console.Delay()->isActive());
}

void tst_AppConsole::showAllPaintsLinesLaidOutButNotYetPainted()
{
    ShownConsole console;
    const EventCounter paints(console.viewport(), QEvent::Paint);
    int paintedBefore = -1;
    int paintedAfter = -1;
    connect(console.Delay(), &QTimer::timeout, &console, [&] {
        paintedBefore = paints.Count();
        console.ShowAll();
        paintedAfter = paints.Count();
    });
    QCoreApplication::processEvents();
    console.Append(QStringLiteral("one"));
    QVERIFY(console.CatchesUp());
    QTRY_VERIFY(paintedAfter >= 0);
    QCOMPARE(paintedAfter, paintedBefore + 1);
}

void tst_AppConsole::showAllPaintsNothingTwice()
{
    ShownConsole console;
    console.Append(QStringLiteral("one"));
    console.ShowAll();
    const EventCounter paints(console.viewport(), QEvent::Paint);
    console.ShowAll();
    QCOMPARE(paints.Count(), 0);
}

void tst_AppConsole::endStaysInViewWhenResized_data()
{
    QTest::addColumn<QSize>("size");
    QTest::addColumn<int>("length");

    const QSize size(ShownConsole::WIDTH, ShownConsole::HEIGHT);
    QTest::newRow("lower") << size - QSize(0, 100) << 10;
    QTest::newRow("higher") << size + QSize(0, 100) << 10;
    QTest::newRow("narrower-and-lines-wrap") << size - QSize(200, 0) << 200;
    QTest::newRow("wider-and-lines-wrap") << size + QSize(200, 0) << 200;
    QTest::newRow("smaller-and-lines-begin-to-wrap") << size - QSize(275, 100) << 20;
}

void tst_AppConsole::endStaysInViewWhenResized()
{
    QFETCH(const QSize, size);
    QFETCH(const int, length);
    ShownConsole console;
    console.AppendNumbers(100, length);
    QVERIFY(console.CatchesUp());
    QCOMPARE(console.Below(), 0);
    console.resize(size);
    QTRY_COMPARE(console.size(), size);
    QCoreApplication::processEvents();
    QCOMPARE(console.Below(), 0);
}

void tst_AppConsole::endStaysInViewWhenResizedWhileLinesWait()
{
    ShownConsole console;
    console.AppendNumbers(100);
    QVERIFY(console.CatchesUp());
    console.AppendNumbers(100);
    console.resize(console.size() - QSize(0, 100));
    QVERIFY(console.CatchesUp());
    QCOMPARE(console.Below(), 0);
}

void tst_AppConsole::endStaysInViewWhenUncoveredWhileLinesWait()
{
    ShownConsole console;
    console.AppendNumbers(5);
    QVERIFY(console.CatchesUp());
    QCOMPARE(console.verticalScrollBar()->maximum(), 0);
    console.AppendNumbers(1, 5000);
    console.viewport()->repaint(); // lays out what it paints, and so finds that there is more
    QVERIFY(console.verticalScrollBar()->maximum() > 0);
    console.resize(console.size() - QSize(0, 50));
    QCOMPARE(console.Below(), 0);
    QVERIFY(console.CatchesUp());
    QCOMPARE(console.Below(), 0);
}

void tst_AppConsole::followsAgainAfterShrinking()
{
    ShownConsole console;
    console.AppendNumbers(100);
    QVERIFY(console.CatchesUp());
    console.showMaximized();
    QCoreApplication::processEvents();
    console.showNormal();
    QCoreApplication::processEvents();
    console.Append(QStringLiteral("next"));
    QVERIFY(console.CatchesUp());
    QCOMPARE(console.Below(), 0);
}

void tst_AppConsole::readerKeepsThePlaceWhenResized()
{
    ShownConsole console;
    console.AppendNumbers(100);
    QVERIFY(console.CatchesUp());
    console.verticalScrollBar()->setValue(10);
    console.resize(console.size() - QSize(0, 100));
    QCoreApplication::processEvents();
    QCOMPARE(console.verticalScrollBar()->value(), 10);
    console.Append(QStringLiteral("next"));
    QVERIFY(console.CatchesUp());
    QCOMPARE(console.verticalScrollBar()->value(), 10);
}

void tst_AppConsole::frameShowsTheFocus()
{
    QWidget window;
    window.resize(400, 300);
    AppConsole console(&window);
    QLineEdit other(&window);
    console.setGeometry(10, 10, 380, 200);
    other.setGeometry(10, 250, 380, 30);
    window.show();
    window.activateWindow();
    QVERIFY(QTest::qWaitForWindowActive(&window));
    const EventCounter paints(&console, QEvent::Paint);
    other.setFocus();
    QCoreApplication::processEvents();
    const QColor without = console.grab().toImage().pixelColor(100, 0);
    const int painted = paints.Count();
    console.setFocus();
    QTRY_VERIFY(paints.Count() > painted); // without being asked
    const QColor with = console.grab().toImage().pixelColor(100, 0);
    QVERIFY(with != without);
    other.setFocus();
    QCOMPARE(console.grab().toImage().pixelColor(100, 0), without);
    QCOMPARE(other.grab().toImage().pixelColor(100, 0), with); // as a field shows it
}

QTEST_MAIN(tst_AppConsole)

#include "tst_AppConsole.moc"
