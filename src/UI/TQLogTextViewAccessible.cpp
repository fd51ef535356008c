// SPDX-License-Identifier: GPL-3.0-or-later
#include "UI/TQLogTextViewAccessible.h"

#include "UI/TQLogTextView.h"

#include <QTextBoundaryFinder>
#include <QWidget>

#include <algorithm>
#include <limits>
#include <mutex>

namespace {

QAccessibleInterface* makeInterface(const QString& className, QObject* object)
{
    if (className == QLatin1String("TQLogTextView"))
        return new TQLogTextViewAccessible(static_cast<TQLogTextView*>(object));
    return nullptr;
}

// Qt counts in int; a log past 2 GiB of text is cut short for readers.
int toInt(qsizetype value)
{
    return int(std::min<qsizetype>(value, std::numeric_limits<int>::max()));
}

} // namespace

TQLogTextViewAccessible::TQLogTextViewAccessible(TQLogTextView* view)
    : QAccessibleWidget(view, QAccessible::EditableText)
{}

void TQLogTextViewAccessible::install()
{
    static std::once_flag installed;
    std::call_once(installed, [] { QAccessible::installFactory(makeInterface); });
}

TQLogTextView* TQLogTextViewAccessible::view() const
{
    return static_cast<TQLogTextView*>(widget());
}

void* TQLogTextViewAccessible::interface_cast(QAccessible::InterfaceType type)
{
    if (type == QAccessible::TextInterface)
        return static_cast<QAccessibleTextInterface*>(this);
    return QAccessibleWidget::interface_cast(type);
}

QAccessible::State TQLogTextViewAccessible::state() const
{
    QAccessible::State state = QAccessibleWidget::state();
    state.readOnly = true;
    state.multiLine = true;
    state.selectableText = true;
    return state;
}

QString TQLogTextViewAccessible::text(QAccessible::Text kind) const
{
    // The log itself is read through the text interface, never as one value.
    if (kind == QAccessible::Value)
        return {};
    return QAccessibleWidget::text(kind);
}

void TQLogTextViewAccessible::selection(int selectionIndex, int* startOffset, int* endOffset) const
{
    *startOffset = *endOffset = 0;
    const TQLogTextView* log = view();
    if (selectionIndex != 0 || !log->hasSelection())
        return;
    const qsizetype start = std::min(log->selectionAnchor(), log->selectionPosition());
    const qsizetype end = std::max(log->selectionAnchor(), log->selectionPosition());
    *startOffset = toInt(log->unitOffset(start));
    *endOffset = toInt(log->unitOffset(end));
}

int TQLogTextViewAccessible::selectionCount() const
{
    return view()->hasSelection() ? 1 : 0;
}

void TQLogTextViewAccessible::addSelection(int startOffset, int endOffset)
{
    setSelection(0, startOffset, endOffset);
}

void TQLogTextViewAccessible::removeSelection(int selectionIndex)
{
    if (selectionIndex == 0)
        setCursorPosition(cursorPosition());
}

void TQLogTextViewAccessible::setSelection(int selectionIndex, int startOffset, int endOffset)
{
    if (selectionIndex != 0)
        return;
    TQLogTextView* log = view();
    log->setSelection(log->byteOffset(startOffset), log->byteOffset(endOffset));
}

int TQLogTextViewAccessible::cursorPosition() const
{
    return toInt(view()->unitOffset(view()->selectionPosition()));
}

void TQLogTextViewAccessible::setCursorPosition(int position)
{
    TQLogTextView* log = view();
    const qsizetype offset = log->byteOffset(position);
    log->setSelection(offset, offset);
    log->scrollTo(offset);
}

QString TQLogTextViewAccessible::text(int startOffset, int endOffset) const
{
    const TQLogTextView* log = view();
    return log->text(log->byteOffset(startOffset), log->byteOffset(endOffset));
}

std::pair<int, int>
TQLogTextViewAccessible::pieceAt(int offset, QAccessible::TextBoundaryType boundaryType) const
{
    const TQLogTextView* log = view();
    const int count = characterCount();
    offset = std::clamp(offset, 0, count);
    if (boundaryType == QAccessible::NoBoundary)
        return {0, count};
    // Lines and paragraphs are the view's rows, newline included; the other pieces are found
    // within the row, so no question ever reads more than one row.
    const qsizetype row = log->rowAt(log->byteOffset(offset));
    const int rowStart = toInt(log->unitOffset(log->rowStart(row)));
    const int rowEnd = toInt(log->unitOffset(log->rowEndOffset(row)));
    if (boundaryType == QAccessible::LineBoundary || boundaryType == QAccessible::ParagraphBoundary)
        return {rowStart, rowEnd};

    const QString rowText = log->text(log->rowStart(row), log->rowEndOffset(row));
    const QTextBoundaryFinder::BoundaryType finderType =
        boundaryType == QAccessible::WordBoundary       ? QTextBoundaryFinder::Word
        : boundaryType == QAccessible::SentenceBoundary ? QTextBoundaryFinder::Sentence
                                                        : QTextBoundaryFinder::Grapheme;
    QTextBoundaryFinder finder(finderType, rowText);
    finder.setPosition(std::clamp(offset - rowStart, 0, int(rowText.size())));
    int start = finder.isAtBoundary() ? int(finder.position()) : int(finder.toPreviousBoundary());
    finder.setPosition(start);
    int end = int(finder.toNextBoundary());
    if (start < 0)
        start = 0;
    if (end < 0)
        end = int(rowText.size());
    return {rowStart + start, rowStart + end};
}

QString TQLogTextViewAccessible::textAtOffset(int offset,
                                              QAccessible::TextBoundaryType boundaryType,
                                              int* startOffset, int* endOffset) const
{
    const auto [start, end] = pieceAt(offset, boundaryType);
    *startOffset = start;
    *endOffset = end;
    return text(start, end);
}

QString TQLogTextViewAccessible::textBeforeOffset(int offset,
                                                  QAccessible::TextBoundaryType boundaryType,
                                                  int* startOffset, int* endOffset) const
{
    const int start = pieceAt(offset, boundaryType).first;
    if (start <= 0) {
        *startOffset = *endOffset = 0;
        return {};
    }
    return textAtOffset(start - 1, boundaryType, startOffset, endOffset);
}

QString TQLogTextViewAccessible::textAfterOffset(int offset,
                                                 QAccessible::TextBoundaryType boundaryType,
                                                 int* startOffset, int* endOffset) const
{
    const int end = pieceAt(offset, boundaryType).second;
    if (end >= characterCount()) {
        *startOffset = *endOffset = characterCount();
        return {};
    }
    return textAtOffset(end, boundaryType, startOffset, endOffset);
}

int TQLogTextViewAccessible::characterCount() const
{
    return toInt(view()->unitCount());
}

QRect TQLogTextViewAccessible::characterRect(int offset) const
{
    const TQLogTextView* log = view();
    const QRect local = log->characterRect(log->byteOffset(offset));
    return QRect(log->viewport()->mapToGlobal(local.topLeft()), local.size());
}

int TQLogTextViewAccessible::offsetAtPoint(const QPoint& point) const
{
    const TQLogTextView* log = view();
    const QPoint local = log->viewport()->mapFromGlobal(point);
    if (!log->viewport()->rect().contains(local))
        return -1;
    return toInt(log->unitOffset(log->byteOffsetAt(local)));
}

void TQLogTextViewAccessible::scrollToSubstring(int startIndex, int)
{
    view()->scrollTo(view()->byteOffset(startIndex));
}

QString TQLogTextViewAccessible::attributes(int, int* startOffset, int* endOffset) const
{
    // One font and one colour for the whole log.
    *startOffset = 0;
    *endOffset = characterCount();
    return {};
}
