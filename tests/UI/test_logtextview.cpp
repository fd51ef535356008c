// SPDX-License-Identifier: GPL-3.0-or-later
#include "common/GuiTestSupport.h"

#include "UI/TQLogTextView.h"

#include <QAccessible>
#include <QClipboard>
#include <QFontInfo>
#include <QScopeGuard>
#include <QScrollBar>

namespace {

QByteArray shortLines(int count)
{
    QByteArray text;
    for (int i = 0; i < count; ++i)
        text += QByteArray::number(100000 + i).right(5) + "abcd\n";
    return text;
}

// A point in the middle of the given visible row, `x` pixels from the left.
QPoint rowPoint(const TQLogTextView& view, int visibleRow, int x)
{
    const int height = QFontMetrics(view.font()).lineSpacing();
    return {x, visibleRow * height + height / 2};
}

} // namespace

class TestLogTextView : public QObject
{
    Q_OBJECT

private slots:
    void rows_data();
    void rows();
    void appendingInPiecesShowsTheSameText_data();
    void appendingInPiecesShowsTheSameText();
    void budgetNeverSplitsACharacter();
    void keyboardSelectionAndCopy();
    void mouseSelection();
    void followsTheEndOnly();
    void megabyteLine();
    void manyShortLines();
    void screenReadersReadItInUnits_data();
    void screenReadersReadItInUnits();
    void screenReadersMoveTheCaretAndSelection();
};

void TestLogTextView::rows_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<qsizetype>("rows");
    const qsizetype width = TQLogTextView::maxRowBytes;
    QTest::newRow("empty") << QString() << qsizetype(1);
    QTest::newRow("one line") << QStringLiteral("a\n") << qsizetype(2);
    QTest::newRow("unfinished line") << QStringLiteral("a\nb") << qsizetype(2);
    QTest::newRow("blank lines") << QStringLiteral("\n\n\n") << qsizetype(4);
    // A full row's newline belongs to it, not to a row of its own.
    QTest::newRow("line of a full row") << QString(width, u'x') + u'\n' << qsizetype(2);
    QTest::newRow("one byte over") << QString(width + 1, u'x') + u'\n' << qsizetype(3);
    QTest::newRow("cut before a two-byte character")
        << QString(width - 1, u'x') + QStringLiteral("é\n") << qsizetype(3);
}

void TestLogTextView::rows()
{
    QFETCH(QString, text);
    QFETCH(qsizetype, rows);
    TQLogTextView view;
    view.setPlainText(text);
    QCOMPARE(view.rowCount(), rows);
    QCOMPARE(view.string(), text);
    view.selectAll();
    QCOMPARE(view.selectedText(), text);
}

void TestLogTextView::appendingInPiecesShowsTheSameText_data()
{
    QTest::addColumn<int>("piece");
    QTest::newRow("one character") << 1;
    QTest::newRow("across lines") << 7;
    QTest::newRow("across rows") << 3000;
}

void TestLogTextView::appendingInPiecesShowsTheSameText()
{
    QFETCH(int, piece);
    QString text;
    for (int i = 0; i < 40; ++i)
        text += QString(i * 211 % 5000, QChar(u'a' + i % 26)) + QStringLiteral("ü€\t😀\n");
    TQLogTextView whole;
    whole.setPlainText(text);
    TQLogTextView pieces;
    for (qsizetype at = 0; at < text.size(); at += piece) {
        qsizetype length = std::min<qsizetype>(piece, text.size() - at);
        if (text.at(at + length - 1).isHighSurrogate())
            ++length;
        pieces.appendPlainText(QStringView(text).sliced(at, length));
        at += length - piece;
    }
    QCOMPARE(pieces.string(), text);
    QCOMPARE(pieces.rowCount(), whole.rowCount());
}

void TestLogTextView::budgetNeverSplitsACharacter()
{
    const QByteArray store = QStringLiteral("ééé\n").toUtf8();
    TQLogTextView view;
    view.setStore(&store);
    QVERIFY(!view.storeGrew(3));
    QCOMPARE(view.string(), QStringLiteral("é"));
    QVERIFY(view.hasUnshownText());
    QVERIFY(view.storeGrew(100));
    QCOMPARE(view.string(), QStringLiteral("ééé\n"));
    QVERIFY(!view.hasUnshownText());
}

void TestLogTextView::keyboardSelectionAndCopy()
{
    TQLogTextView view;
    QVERIFY(QFontInfo(view.font()).fixedPitch());
    view.setPlainText(QStringLiteral("héllo wörld\nsecond line\n"));
    view.show();
    QVERIFY(QTest::qWaitForWindowExposed(&view));

    // Characters, not bytes, under the arrow keys.
    QTest::keyClick(&view, Qt::Key_Right);
    QTest::keyClick(&view, Qt::Key_Right, Qt::ShiftModifier);
    QTest::keyClick(&view, Qt::Key_Right, Qt::ShiftModifier);
    QCOMPARE(view.selectedText(), QStringLiteral("él"));
    QTest::keyClick(&view, Qt::Key_Down, Qt::ShiftModifier);
    QCOMPARE(view.selectedText(), QStringLiteral("éllo wörld\nsec"));
    QTest::keyClick(&view, Qt::Key_End, Qt::ShiftModifier);
    QCOMPARE(view.selectedText(), QStringLiteral("éllo wörld\nsecond line"));
    QTest::keyClick(&view, Qt::Key_C, Qt::ControlModifier);
    QCOMPARE(QGuiApplication::clipboard()->text(), QStringLiteral("éllo wörld\nsecond line"));

    QTest::keyClick(&view, Qt::Key_A, Qt::ControlModifier);
    QTest::keyClick(&view, Qt::Key_C, Qt::ControlModifier);
    QCOMPARE(QGuiApplication::clipboard()->text(), view.string());
    QVERIFY(GuiTestSupport::saveScreenshot(&view, QStringLiteral("logtextview-selected")));

    // Moving without Shift drops the selection.
    QTest::keyClick(&view, Qt::Key_Home, Qt::ControlModifier);
    QVERIFY(!view.hasSelection());
    QCOMPARE(view.selectionPosition(), qsizetype(0));
}

void TestLogTextView::mouseSelection()
{
    TQLogTextView view;
    view.setPlainText(QStringLiteral("first line\nsecond line\nthird\n"));
    view.resize(400, 200);
    view.show();
    QVERIFY(QTest::qWaitForWindowExposed(&view));
    QWidget* viewport = view.viewport();

    QTest::mousePress(viewport, Qt::LeftButton, {}, rowPoint(view, 0, 0));
    QMouseEvent drag(QEvent::MouseMove, rowPoint(view, 1, viewport->width() - 1),
                     viewport->mapToGlobal(rowPoint(view, 1, viewport->width() - 1)), Qt::NoButton,
                     Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(viewport, &drag);
    QTest::mouseRelease(viewport, Qt::LeftButton, {}, rowPoint(view, 1, viewport->width() - 1));
    QCOMPARE(view.selectedText(), QStringLiteral("first line\nsecond line"));

    // Shift+click extends from the same anchor.
    QTest::mouseClick(viewport, Qt::LeftButton, Qt::ShiftModifier, rowPoint(view, 3, 0));
    QCOMPARE(view.selectedText(), QStringLiteral("first line\nsecond line\nthird\n"));

    QTest::mouseDClick(viewport, Qt::LeftButton, {}, rowPoint(view, 1, 1));
    QCOMPARE(view.selectedText(), QStringLiteral("second"));
}

void TestLogTextView::followsTheEndOnly()
{
    TQLogTextView view;
    view.resize(300, 200);
    view.show();
    QVERIFY(QTest::qWaitForWindowExposed(&view));
    QScrollBar* scrollBar = view.verticalScrollBar();
    view.appendPlainText(QString::fromLatin1(shortLines(100)));
    QVERIFY(scrollBar->maximum() > 0);
    QCOMPARE(scrollBar->value(), scrollBar->maximum());
    view.appendPlainText(QString::fromLatin1(shortLines(50)));
    QCOMPARE(scrollBar->value(), scrollBar->maximum());

    // Scrolled away, with a selection: both stay while output arrives.
    scrollBar->setValue(10);
    view.setSelection(20, 10);
    view.appendPlainText(QString::fromLatin1(shortLines(50)));
    QCOMPARE(scrollBar->value(), 10);
    QCOMPARE(view.selectionAnchor(), qsizetype(20));
    QCOMPARE(view.selectionPosition(), qsizetype(10));
    QCOMPARE(view.selectedText(), QStringLiteral("00001abcd\n"));
    QVERIFY(GuiTestSupport::saveScreenshot(&view, QStringLiteral("logtextview-scrolled")));
}

void TestLogTextView::megabyteLine()
{
    QByteArray line(1024 * 1024, 'x');
    for (int i = 0; i < line.size(); i += 1000)
        line[i] = '|';
    const QByteArray store = "before\n" + line + "\nafter\n";
    TQLogTextView view;
    view.resize(500, 300);
    view.setStore(&store);
    QVERIFY(view.storeGrew());
    view.show();
    QVERIFY(QTest::qWaitForWindowExposed(&view));
    QCOMPARE(view.rowCount(), qsizetype(1 + line.size() / TQLogTextView::maxRowBytes + 2));
    // A view opened on a log starts at its end, following it.
    QVERIFY(view.isAtEnd());
    view.verticalScrollBar()->setValue(0);
    // The line is shown over many rows but copied as it is.
    QTest::mouseClick(view.viewport(), Qt::LeftButton, {}, rowPoint(view, 1, 0));
    QTest::keyClick(&view, Qt::Key_Down, Qt::ShiftModifier);
    QCOMPARE(view.selectedText().toLatin1(), line.first(TQLogTextView::maxRowBytes));
    view.setSelection(7, 7 + line.size());
    QTest::keyClick(&view, Qt::Key_C, Qt::ControlModifier);
    QCOMPARE(QGuiApplication::clipboard()->text().toLatin1(), line);
    view.horizontalScrollBar()->setValue(view.horizontalScrollBar()->maximum());
    QVERIFY(GuiTestSupport::saveScreenshot(&view, QStringLiteral("logtextview-long-line")));
}

void TestLogTextView::manyShortLines()
{
    const QByteArray store = shortLines(500000);
    TQLogTextView view;
    view.resize(300, 200);
    view.setStore(&store);
    // Shown a share at a time, as a frame would.
    int shares = 0;
    while (!view.storeGrew(1024 * 1024))
        ++shares;
    QCOMPARE(shares, int(store.size() / (1024 * 1024)));
    QCOMPARE(view.rowCount(), qsizetype(500001));
    view.show();
    QVERIFY(QTest::qWaitForWindowExposed(&view));

    // A click far down the log lands on the line drawn there.
    view.verticalScrollBar()->setValue(345678);
    QTest::mouseDClick(view.viewport(), Qt::LeftButton, {}, rowPoint(view, 2, 1));
    QCOMPARE(view.selectedText(), QStringLiteral("45680abcd"));
}

void TestLogTextView::screenReadersReadItInUnits_data()
{
    QTest::addColumn<QString>("text");
    QTest::newRow("ascii") << QStringLiteral("first line\nsecond line\n");
    QTest::newRow("two- and three-byte characters")
        << QStringLiteral("h\u00e9llo w\u00f6rld\n\u65e5\u672c\u8a9e \u2192 ok\n");
    QTest::newRow("four-byte characters")
        << QString::fromUcs4(U"a\U0001F600b\n\U0001F468\u200D\U0001F469 c\n\U0001F600");
    // A line longer than a row: the reader's lines are the view's rows.
    QTest::newRow("wrapped line") << QString(TQLogTextView::maxRowBytes - 1, u'x') +
                                         QStringLiteral("\u00e9\u00e9 tail\n");
}

void TestLogTextView::screenReadersReadItInUnits()
{
    QFETCH(QString, text);
    TQLogTextView view;
    view.setAccessibleName(QStringLiteral("Log"));
    view.setPlainText(text);
    view.show();
    QVERIFY(QTest::qWaitForWindowExposed(&view));
    QAccessibleInterface* accessible = QAccessible::queryAccessibleInterface(&view);
    QVERIFY(accessible);
    QAccessibleTextInterface* reader = accessible->textInterface();
    QVERIFY(reader);
    QVERIFY(accessible->state().readOnly);
    QVERIFY(accessible->state().multiLine);
    QCOMPARE(accessible->text(QAccessible::Name), QStringLiteral("Log"));

    // Every unit range reads as the same range of the QString.
    QCOMPARE(reader->characterCount(), text.size());
    QCOMPARE(reader->text(0, reader->characterCount()), text);
    for (int start = 0; start <= text.size(); start += 3) {
        for (const int length : {0, 1, 2, 7}) {
            const int end = std::min(int(text.size()), start + length);
            // Halves of a surrogate pair start at the pair.
            const int from =
                start < text.size() && text.at(start).isLowSurrogate() ? start - 1 : start;
            const int to =
                end > 0 && end < text.size() && text.at(end).isLowSurrogate() ? end - 1 : end;
            QCOMPARE(reader->text(start, end), text.mid(from, std::max(0, to - from)));
        }
    }

    // Lines are rows with their newline; walking them covers the text exactly once.
    QString walked;
    int start = 0;
    int end = 0;
    for (int offset = 0; offset < text.size(); offset = end) {
        const QString line = reader->textAtOffset(offset, QAccessible::LineBoundary, &start, &end);
        QCOMPARE(start, offset);
        QVERIFY(end > start);
        QVERIFY(!line.chopped(line.endsWith(u'\n') ? 1 : 0).contains(u'\n'));
        walked += line;
    }
    QCOMPARE(walked, text);
    const QString second = reader->textAfterOffset(0, QAccessible::LineBoundary, &start, &end);
    QCOMPARE(text.mid(start, end - start), second);
    const QString first = reader->textBeforeOffset(start, QAccessible::LineBoundary, &start, &end);
    QCOMPARE(start, 0);
    QCOMPARE(first, text.left(end));

    // A character is a whole grapheme, never half a pair.
    for (int offset = 0; offset < text.size(); ++offset) {
        const QString character =
            reader->textAtOffset(offset, QAccessible::CharBoundary, &start, &end);
        QVERIFY(start <= offset && offset < end);
        QVERIFY(!character.isEmpty());
        QVERIFY(!character.front().isLowSurrogate() && !character.back().isHighSurrogate());
    }
}

void TestLogTextView::screenReadersMoveTheCaretAndSelection()
{
    TQLogTextView view;
    const QString text = QStringLiteral("caf\u00e9 \u2192 done\nnext line\n");
    view.setPlainText(text);
    view.resize(400, 200);
    view.show();
    QVERIFY(QTest::qWaitForWindowExposed(&view));
    QAccessibleTextInterface* reader =
        QAccessible::queryAccessibleInterface(&view)->textInterface();
    QVERIFY(reader);

    // Unit offsets in, the view's own byte selection out, and back.
    reader->setSelection(0, 3, 6);
    QCOMPARE(view.selectedText(), text.mid(3, 3));
    int start = -1;
    int end = -1;
    QCOMPARE(reader->selectionCount(), 1);
    reader->selection(0, &start, &end);
    QCOMPARE(start, 3);
    QCOMPARE(end, 6);
    reader->removeSelection(0);
    QCOMPARE(reader->selectionCount(), 0);
    reader->setCursorPosition(int(text.indexOf(u'n')));
    QCOMPARE(reader->cursorPosition(), int(text.indexOf(u'n')));
    QTest::keyClick(&view, Qt::Key_Right, Qt::ShiftModifier);
    QCOMPARE(view.selectedText(), QStringLiteral("n"));

    // Where a character is drawn is where a point finds it again.
    const int next = int(text.indexOf(QStringLiteral("next")));
    const QRect rect = reader->characterRect(next + 2);
    QVERIFY(rect.isValid());
    QCOMPARE(reader->offsetAtPoint(rect.center() - QPoint(rect.width() / 4, 0)), next + 2);
    QCOMPARE(reader->offsetAtPoint(view.mapToGlobal(QPoint(-50, -50))), -1);
    QCOMPARE(reader->textAtOffset(next + 1, QAccessible::WordBoundary, &start, &end),
             QStringLiteral("next"));

    // Output that arrives reads at once.
    view.appendPlainText(QStringLiteral("\u00fcber\n"));
    QCOMPARE(reader->characterCount(), text.size() + 5);
    QCOMPARE(reader->textAtOffset(int(text.size()), QAccessible::LineBoundary, &start, &end),
             QStringLiteral("\u00fcber\n"));
}

BRAMBLEWORTH_GUI_TEST_MAIN(TestLogTextView)
#include "test_logtextview.moc"
