// SPDX-License-Identifier: GPL-3.0-or-later
#include "UI/TQLogTextView.h"

#include "UI/TQLogTextViewAccessible.h"

#include <QAccessible>
#include <QAction>
#include <QApplication>
#include <QClipboard>
#include <QContextMenuEvent>
#include <QFontDatabase>
#include <QKeyEvent>
#include <QMenu>
#include <QPainter>
#include <QScrollBar>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>

namespace {

constexpr int tabWidth = 8;
constexpr int margin = 4;

bool isContinuationByte(char byte)
{
    return (uchar(byte) & 0xC0) == 0x80;
}

// Bytes the UTF-8 form of `text` takes; the text came from valid UTF-8.
qsizetype utf8Length(QStringView text)
{
    qsizetype length = 0;
    for (qsizetype i = 0; i < text.size(); ++i) {
        const char16_t c = text.at(i).unicode();
        if (c < 0x80) {
            length += 1;
        } else if (c < 0x800) {
            length += 2;
        } else if (QChar::isHighSurrogate(c) && i + 1 < text.size()) {
            length += 4;
            ++i;
        } else {
            length += 3;
        }
    }
    return length;
}

// UTF-16 units of valid UTF-8: one a character, two for a four-byte one.
qsizetype unitsOf(const char* data, qsizetype length)
{
    qsizetype units = 0;
    for (qsizetype i = 0; i < length; ++i) {
        const uchar byte = uchar(data[i]);
        units += (byte & 0xC0) != 0x80;
        units += byte >= 0xF0;
    }
    return units;
}

// The column after `text` starting at column 0, tabs expanded.
int columnsOf(QStringView text)
{
    int column = 0;
    for (const QChar c : text)
        column = c == u'\t' ? (column / tabWidth + 1) * tabWidth : column + 1;
    return column;
}

} // namespace

TQLogTextView::TQLogTextView(QWidget* parent) : QAbstractScrollArea(parent)
{
    TQLogTextViewAccessible::install();
    setFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));
    setFocusPolicy(Qt::StrongFocus);
    viewport()->setCursor(Qt::IBeamCursor);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAsNeeded);
    setVerticalScrollBarPolicy(Qt::ScrollBarAsNeeded);
    updateScrollBars();
}

TQLogTextView::~TQLogTextView() = default;

void TQLogTextView::setStore(const QByteArray* store)
{
    m_store = store;
    reset();
}

void TQLogTextView::setPlainText(const QString& text)
{
    m_store = nullptr;
    m_ownText = text.toUtf8();
    reset();
    storeGrew();
}

void TQLogTextView::appendPlainText(QStringView text)
{
    if (m_store) {
        qWarning("TQLogTextView: text appended while a store is shown");
        return;
    }
    m_ownText += text.toUtf8();
    storeGrew();
}

void TQLogTextView::reset()
{
    m_rowStarts.assign(1, 0);
    m_rowUnits.clear();
    m_indexed = 0;
    m_widestRow = 0;
    m_widestColumns = 0;
    m_anchor = m_position = 0;
    verticalScrollBar()->setValue(0);
    horizontalScrollBar()->setValue(0);
    updateScrollBars();
    viewport()->update();
}

bool TQLogTextView::hasUnshownText() const
{
    return m_indexed < bytes().size();
}

bool TQLogTextView::storeGrew(qsizetype budget)
{
    const QByteArray& text = bytes();
    const char* data = text.constData();
    qsizetype end = text.size();
    if (budget >= 0 && end - m_indexed > budget) {
        end = m_indexed + budget;
        // The last row must not end inside a character.
        while (end > m_indexed && isContinuationByte(data[end]))
            --end;
    }
    if (end <= m_indexed)
        return !hasUnshownText();

    const bool following = isAtEnd();
    qsizetype rowStart = m_rowStarts.back();
    qsizetype position = m_indexed;
    for (;;) {
        // A row holds up to maxRowBytes bytes and its newline.
        const qsizetype limit = rowStart + maxRowBytes;
        const qsizetype searchEnd = std::min(end, limit + 1);
        const void* newline = position < searchEnd
                                  ? std::memchr(data + position, '\n', size_t(searchEnd - position))
                                  : nullptr;
        qsizetype next = 0;
        if (newline) {
            next = static_cast<const char*>(newline) - data + 1;
        } else if (end > limit) {
            next = limit;
            while (next > rowStart + 1 && isContinuationByte(data[next]))
                --next;
        } else {
            break;
        }
        m_widestRow = std::max(m_widestRow, next - rowStart);
        m_rowStarts.push_back(next);
        rowStart = position = next;
    }
    m_widestRow = std::max(m_widestRow, end - rowStart);
    const qsizetype before = m_indexed;
    m_indexed = end;
    if (QAccessible::isActive()) {
        QAccessibleTextInsertEvent inserted(this, int(unitOffset(before)), this->text(before, end));
        QAccessible::updateAccessibility(&inserted);
    }

    updateScrollBars();
    if (following)
        verticalScrollBar()->setValue(verticalScrollBar()->maximum());
    viewport()->update();
    return !hasUnshownText();
}

qsizetype TQLogTextView::unitOffset(qsizetype byteOffset) const
{
    byteOffset = std::clamp<qsizetype>(byteOffset, 0, m_indexed);
    const qsizetype row = rowOf(byteOffset);
    if (m_rowUnits.empty())
        m_rowUnits.push_back(0);
    // Rows only ever come at the end, so what was counted stays true.
    while (qsizetype(m_rowUnits.size()) <= row) {
        const qsizetype counted = qsizetype(m_rowUnits.size()) - 1;
        const qsizetype start = m_rowStarts[size_t(counted)];
        m_rowUnits.push_back(m_rowUnits.back() +
                             unitsOf(bytes().constData() + start, rowEnd(counted) - start));
    }
    const qsizetype start = m_rowStarts[size_t(row)];
    return m_rowUnits[size_t(row)] + unitsOf(bytes().constData() + start, byteOffset - start);
}

qsizetype TQLogTextView::unitCount() const
{
    return unitOffset(m_indexed);
}

qsizetype TQLogTextView::byteOffset(qsizetype unitOffset) const
{
    if (unitOffset <= 0)
        return 0;
    if (unitOffset >= unitCount())
        return m_indexed;
    const auto after = std::upper_bound(m_rowUnits.begin(), m_rowUnits.end(), unitOffset);
    const qsizetype row = std::max<qsizetype>(0, (after - m_rowUnits.begin()) - 1);
    const char* data = bytes().constData();
    qsizetype units = m_rowUnits[size_t(row)];
    qsizetype offset = m_rowStarts[size_t(row)];
    const qsizetype end = rowEnd(row);
    while (offset < end) {
        qsizetype next = offset + 1;
        while (next < end && isContinuationByte(data[next]))
            ++next;
        const qsizetype width = uchar(data[offset]) >= 0xF0 ? 2 : 1;
        if (units + width > unitOffset)
            break;
        units += width;
        offset = next;
    }
    return offset;
}

QString TQLogTextView::text(qsizetype fromByte, qsizetype toByte) const
{
    fromByte = std::clamp<qsizetype>(fromByte, 0, m_indexed);
    toByte = std::clamp<qsizetype>(toByte, fromByte, m_indexed);
    return QString::fromUtf8(bytes().constData() + fromByte, toByte - fromByte);
}

QRect TQLogTextView::characterRect(qsizetype byteOffset) const
{
    const qsizetype row = rowOf(byteOffset);
    const int column = columnOf(row, byteOffset);
    const int x = margin + int(column * charWidth()) - horizontalScrollBar()->value();
    const int y = int(row - verticalScrollBar()->value()) * lineHeight();
    return QRect(x, y, int(std::ceil(charWidth())), lineHeight());
}

QString TQLogTextView::string() const
{
    return text(0, m_indexed);
}

bool TQLogTextView::isAtEnd() const
{
    return verticalScrollBar()->value() >= verticalScrollBar()->maximum();
}

qreal TQLogTextView::charWidth() const
{
    return std::max<qreal>(1.0, QFontMetricsF(font()).horizontalAdvance(QLatin1Char('x')));
}

int TQLogTextView::lineHeight() const
{
    return std::max(1, QFontMetrics(font()).lineSpacing());
}

void TQLogTextView::updateScrollBars()
{
    const int visibleRows = std::max(1, viewport()->height() / lineHeight());
    QScrollBar* vertical = verticalScrollBar();
    vertical->setRange(0, int(std::max<qsizetype>(0, rowCount() - visibleRows)));
    vertical->setPageStep(visibleRows);
    vertical->setSingleStep(1);

    const qsizetype columns = std::max<qsizetype>(m_widestRow, m_widestColumns) + 1;
    const int width = int(std::min<qreal>(std::ceil(qreal(columns) * charWidth()) + 2 * margin,
                                          qreal(std::numeric_limits<int>::max() / 2)));
    QScrollBar* horizontal = horizontalScrollBar();
    horizontal->setRange(0, std::max(0, width - viewport()->width()));
    horizontal->setPageStep(viewport()->width());
    horizontal->setSingleStep(int(std::ceil(charWidth())) * 2);
}

qsizetype TQLogTextView::rowEnd(qsizetype row) const
{
    return row + 1 < rowCount() ? m_rowStarts[size_t(row + 1)] : m_indexed;
}

qsizetype TQLogTextView::rowOf(qsizetype offset) const
{
    const auto after = std::upper_bound(m_rowStarts.begin(), m_rowStarts.end(), offset);
    return std::max<qsizetype>(0, (after - m_rowStarts.begin()) - 1);
}

QString TQLogTextView::rowText(qsizetype row) const
{
    const qsizetype start = m_rowStarts[size_t(row)];
    qsizetype end = rowEnd(row);
    if (end > start && bytes().at(end - 1) == '\n')
        --end;
    const QString text = QString::fromUtf8(bytes().constData() + start, end - start);
    if (!text.contains(u'\t'))
        return text;
    QString expanded;
    expanded.reserve(text.size() + tabWidth);
    for (const QChar c : text) {
        if (c == u'\t')
            expanded.append(QString(tabWidth - expanded.size() % tabWidth, u' '));
        else
            expanded.append(c);
    }
    return expanded;
}

int TQLogTextView::columnOf(qsizetype row, qsizetype offset) const
{
    const qsizetype start = m_rowStarts[size_t(row)];
    offset = std::clamp(offset, start, rowEnd(row));
    if (offset > start && bytes().at(offset - 1) == '\n')
        --offset;
    return columnsOf(QString::fromUtf8(bytes().constData() + start, offset - start));
}

qsizetype TQLogTextView::offsetAt(qsizetype row, int column) const
{
    const qsizetype start = m_rowStarts[size_t(row)];
    qsizetype end = rowEnd(row);
    if (end > start && bytes().at(end - 1) == '\n')
        --end;
    const QString text = QString::fromUtf8(bytes().constData() + start, end - start);
    int at = 0;
    qsizetype index = 0;
    for (; index < text.size(); ++index) {
        const int next = text.at(index) == u'\t' ? (at / tabWidth + 1) * tabWidth : at + 1;
        // Past the middle of a character, a click lands after it.
        if (column * 2 < at + next)
            break;
        at = next;
    }
    if (index < text.size() && text.at(index).isLowSurrogate())
        --index;
    return start + utf8Length(QStringView(text).first(index));
}

qsizetype TQLogTextView::offsetAt(const QPoint& point) const
{
    const qsizetype row = std::clamp<qsizetype>(
        verticalScrollBar()->value() + point.y() / lineHeight() - (point.y() < 0 ? 1 : 0), 0,
        rowCount() - 1);
    const qreal x = point.x() - margin + horizontalScrollBar()->value();
    return offsetAt(row, int(std::max<qreal>(0.0, std::round(x / charWidth()))));
}

void TQLogTextView::setSelection(qsizetype anchor, qsizetype position)
{
    m_anchor = std::clamp<qsizetype>(anchor, 0, m_indexed);
    m_position = std::clamp<qsizetype>(position, 0, m_indexed);
    selectionChanged();
}

QString TQLogTextView::selectedText() const
{
    return text(std::min(m_anchor, m_position), std::max(m_anchor, m_position));
}

void TQLogTextView::copy() const
{
    if (hasSelection())
        QGuiApplication::clipboard()->setText(selectedText());
}

void TQLogTextView::selectAll()
{
    setSelection(0, m_indexed);
}

void TQLogTextView::selectionChanged()
{
    // X11 pastes the last selection with the middle button.
    QClipboard* clipboard = QGuiApplication::clipboard();
    if (hasSelection() && clipboard->supportsSelection() && !m_selecting)
        clipboard->setText(selectedText(), QClipboard::Selection);
    viewport()->update();
    if (QAccessible::isActive()) {
        const int cursor = int(unitOffset(m_position));
        if (hasSelection()) {
            QAccessibleTextSelectionEvent selection(
                this, int(unitOffset(std::min(m_anchor, m_position))),
                int(unitOffset(std::max(m_anchor, m_position))));
            selection.setCursorPosition(cursor);
            QAccessible::updateAccessibility(&selection);
        } else {
            QAccessibleTextCursorEvent moved(this, cursor);
            QAccessible::updateAccessibility(&moved);
        }
    }
}

void TQLogTextView::moveCursor(qsizetype position, bool keepAnchor)
{
    m_position = std::clamp<qsizetype>(position, 0, m_indexed);
    if (!keepAnchor)
        m_anchor = m_position;
    ensureVisible(m_position);
    selectionChanged();
}

void TQLogTextView::ensureVisible(qsizetype offset)
{
    const qsizetype row = rowOf(offset);
    QScrollBar* vertical = verticalScrollBar();
    if (row < vertical->value())
        vertical->setValue(int(row));
    else if (row >= vertical->value() + vertical->pageStep())
        vertical->setValue(int(row - vertical->pageStep() + 1));
    const int x = int(columnOf(row, offset) * charWidth());
    QScrollBar* horizontal = horizontalScrollBar();
    if (x < horizontal->value())
        horizontal->setValue(x);
    else if (x + 2 * margin > horizontal->value() + viewport()->width())
        horizontal->setValue(x + 2 * margin - viewport()->width());
}

void TQLogTextView::paintEvent(QPaintEvent*)
{
    QPainter painter(viewport());
    painter.setFont(font());
    const int height = lineHeight();
    const qreal width = charWidth();
    const int ascent = QFontMetrics(font()).ascent();
    const int scrollX = horizontalScrollBar()->value();
    const qsizetype first = verticalScrollBar()->value();
    const qsizetype last = std::min(rowCount(), first + viewport()->height() / height + 2);
    const qsizetype selectionStart = std::min(m_anchor, m_position);
    const qsizetype selectionEnd = std::max(m_anchor, m_position);
    const QPalette::ColorGroup group = hasFocus() ? QPalette::Active : QPalette::Inactive;
    const int firstColumn = std::max(0, int(scrollX / width) - 1);
    const int columns = int(viewport()->width() / width) + 3;
    int widest = m_widestColumns;

    for (qsizetype row = first; row < last; ++row) {
        const int y = int(row - first) * height;
        const QString text = rowText(row);
        widest = std::max(widest, int(text.size()));
        const qsizetype start = m_rowStarts[size_t(row)];
        const qsizetype end = rowEnd(row);
        const qreal textX = margin + firstColumn * width - scrollX;
        const QString shown = text.mid(firstColumn, columns);
        painter.setPen(palette().color(group, QPalette::Text));
        painter.drawText(QPointF(textX, y + ascent), shown);

        if (selectionStart < selectionEnd && selectionStart <= end && selectionEnd > start &&
            !(selectionStart == end && row + 1 < rowCount())) {
            const int from = selectionStart <= start ? 0 : columnOf(row, selectionStart);
            // A selected newline shows as one selected column after the text.
            const bool newlineSelected =
                selectionEnd >= end && end > start && bytes().at(end - 1) == '\n';
            const int to =
                newlineSelected ? int(text.size()) + 1 : columnOf(row, std::min(selectionEnd, end));
            const QRectF area(margin + from * width - scrollX, y, (to - from) * width, height);
            painter.fillRect(area, palette().color(group, QPalette::Highlight));
            painter.save();
            painter.setClipRect(area);
            painter.setPen(palette().color(group, QPalette::HighlightedText));
            painter.drawText(QPointF(textX, y + ascent), shown);
            painter.restore();
        }
        if (hasFocus() && m_position >= start && m_position <= end && rowOf(m_position) == row) {
            const qreal x = margin + columnOf(row, m_position) * width - scrollX;
            painter.setPen(palette().color(group, QPalette::Text));
            painter.drawLine(QPointF(x, y), QPointF(x, y + height - 1));
        }
    }
    // Tabs can make a row wider than its bytes; let the scroll bar reach it.
    if (widest > m_widestColumns) {
        m_widestColumns = widest;
        updateScrollBars();
    }
}

void TQLogTextView::resizeEvent(QResizeEvent* event)
{
    const bool following = isAtEnd() && rowCount() > 1;
    QAbstractScrollArea::resizeEvent(event);
    updateScrollBars();
    if (following)
        verticalScrollBar()->setValue(verticalScrollBar()->maximum());
}

void TQLogTextView::changeEvent(QEvent* event)
{
    QAbstractScrollArea::changeEvent(event);
    if (event->type() == QEvent::FontChange) {
        updateScrollBars();
        viewport()->update();
    }
}

void TQLogTextView::keyPressEvent(QKeyEvent* event)
{
    if (event->matches(QKeySequence::Copy)) {
        copy();
        return;
    }
    if (event->matches(QKeySequence::SelectAll)) {
        selectAll();
        return;
    }
    const bool extend = event->modifiers() & Qt::ShiftModifier;
    const bool control = event->modifiers() & Qt::ControlModifier;
    const qsizetype row = rowOf(m_position);
    const auto otherRow = [&](qsizetype rows) {
        const qsizetype target = std::clamp<qsizetype>(row + rows, 0, rowCount() - 1);
        return offsetAt(target, columnOf(row, m_position));
    };
    const QByteArray& text = bytes();
    switch (event->key()) {
    case Qt::Key_Left: {
        qsizetype position = m_position;
        if (position > 0)
            --position;
        while (position > 0 && isContinuationByte(text.at(position)))
            --position;
        moveCursor(position, extend);
        return;
    }
    case Qt::Key_Right: {
        qsizetype position = m_position;
        if (position < m_indexed)
            ++position;
        while (position < m_indexed && isContinuationByte(text.at(position)))
            ++position;
        moveCursor(position, extend);
        return;
    }
    case Qt::Key_Up:
        moveCursor(otherRow(-1), extend);
        return;
    case Qt::Key_Down:
        moveCursor(otherRow(1), extend);
        return;
    case Qt::Key_PageUp:
        moveCursor(otherRow(-verticalScrollBar()->pageStep()), extend);
        return;
    case Qt::Key_PageDown:
        moveCursor(otherRow(verticalScrollBar()->pageStep()), extend);
        return;
    case Qt::Key_Home:
        moveCursor(control ? 0 : m_rowStarts[size_t(row)], extend);
        return;
    case Qt::Key_End: {
        qsizetype end = rowEnd(row);
        if (end > m_rowStarts[size_t(row)] && text.at(end - 1) == '\n')
            --end;
        moveCursor(control ? m_indexed : end, extend);
        return;
    }
    default:
        QAbstractScrollArea::keyPressEvent(event);
    }
}

void TQLogTextView::mousePressEvent(QMouseEvent* event)
{
    if (event->button() != Qt::LeftButton) {
        QAbstractScrollArea::mousePressEvent(event);
        return;
    }
    m_selecting = true;
    moveCursor(offsetAt(event->position().toPoint()), event->modifiers() & Qt::ShiftModifier);
}

void TQLogTextView::mouseMoveEvent(QMouseEvent* event)
{
    if (!m_selecting || !(event->buttons() & Qt::LeftButton))
        return;
    moveCursor(offsetAt(event->position().toPoint()), true);
}

void TQLogTextView::mouseReleaseEvent(QMouseEvent* event)
{
    if (event->button() != Qt::LeftButton || !m_selecting)
        return;
    m_selecting = false;
    selectionChanged();
}

void TQLogTextView::mouseDoubleClickEvent(QMouseEvent* event)
{
    if (event->button() != Qt::LeftButton)
        return;
    // A word is what lies between blanks, so that a double click takes a whole path or URL.
    const QByteArray& text = bytes();
    const auto blank = [&](qsizetype i) {
        const char c = text.at(i);
        return c == ' ' || c == '\t' || c == '\n' || c == '\r';
    };
    const qsizetype at = offsetAt(event->position().toPoint());
    qsizetype start = at;
    qsizetype end = at;
    while (start > 0 && !blank(start - 1))
        --start;
    while (end < m_indexed && !blank(end))
        ++end;
    m_selecting = false;
    m_anchor = start;
    moveCursor(end, true);
}

void TQLogTextView::contextMenuEvent(QContextMenuEvent* event)
{
    QMenu menu(this);
    QAction* copyAction = menu.addAction(QIcon::fromTheme(QStringLiteral("edit-copy")), tr("&Copy"),
                                         this, &TQLogTextView::copy);
    copyAction->setShortcut(QKeySequence::Copy);
    copyAction->setEnabled(hasSelection());
    QAction* selectAllAction = menu.addAction(QIcon::fromTheme(QStringLiteral("edit-select-all")),
                                              tr("Select &All"), this, &TQLogTextView::selectAll);
    selectAllAction->setShortcut(QKeySequence::SelectAll);
    menu.exec(event->globalPos());
}
