// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QAccessibleWidget>

class TQLogTextView;

// What a screen reader sees of a log view: read-only multi-line text it can walk by
// character, word, sentence and line, with the caret and the selection, without ever asking
// for the whole log at once.
class TQLogTextViewAccessible : public QAccessibleWidget, public QAccessibleTextInterface
{
public:
    explicit TQLogTextViewAccessible(TQLogTextView* view);

    // Makes every log view answer with this interface; called by each view, done once.
    static void install();

    void* interface_cast(QAccessible::InterfaceType type) override;
    QAccessible::State state() const override;
    QString text(QAccessible::Text kind) const override;

    void selection(int selectionIndex, int* startOffset, int* endOffset) const override;
    int selectionCount() const override;
    void addSelection(int startOffset, int endOffset) override;
    void removeSelection(int selectionIndex) override;
    void setSelection(int selectionIndex, int startOffset, int endOffset) override;
    int cursorPosition() const override;
    void setCursorPosition(int position) override;
    QString text(int startOffset, int endOffset) const override;
    QString textBeforeOffset(int offset, QAccessible::TextBoundaryType boundaryType,
                             int* startOffset, int* endOffset) const override;
    QString textAfterOffset(int offset, QAccessible::TextBoundaryType boundaryType,
                            int* startOffset, int* endOffset) const override;
    QString textAtOffset(int offset, QAccessible::TextBoundaryType boundaryType, int* startOffset,
                         int* endOffset) const override;
    int characterCount() const override;
    QRect characterRect(int offset) const override;
    int offsetAtPoint(const QPoint& point) const override;
    void scrollToSubstring(int startIndex, int endIndex) override;
    QString attributes(int offset, int* startOffset, int* endOffset) const override;

private:
    TQLogTextView* view() const;
    // The unit range of the piece of text of the given kind around a unit offset.
    std::pair<int, int> pieceAt(int offset, QAccessible::TextBoundaryType boundaryType) const;
};
