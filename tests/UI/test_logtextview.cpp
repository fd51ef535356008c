// SPDX-License-Identifier: GPL-3.0-or-later
#include "common/GuiTestSupport.h"

#include "UI/TQLogTextView.h"

#include <QClipboard>
#include <QFontInfo>
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

BRAMBLEWORTH_GUI_TEST_MAIN(TestLogTextView)
#include "test_logtextview.moc"
