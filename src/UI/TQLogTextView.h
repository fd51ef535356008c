// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QAbstractScrollArea>
#include <QByteArray>
#include <QString>

#include <deque>

// A read-only view of a growing UTF-8 text, made for logs of any size.
//
// The view does not copy the text: it reads the bytes of a store it is given and keeps only
// the offsets where its rows start, so showing more output costs the new bytes only, and a
// paint lays out just the rows on screen. A line longer than `maxRowBytes` is shown over
// several rows; copying still gives the text as it is. The selection is a pair of byte offsets
// into the text, so it stays put while the text grows.
class TQLogTextView : public QAbstractScrollArea
{
    Q_OBJECT

public:
    // A row holds at most this many bytes of a line, so that no paint or click lays out a
    // megabyte line.
    static constexpr qsizetype maxRowBytes = 2048;

    explicit TQLogTextView(QWidget* parent = nullptr);
    ~TQLogTextView() override;

    // Shows `store`, which the caller keeps alive and only ever appends to, then calls
    // storeGrew(). Null shows the view's own text again.
    void setStore(const QByteArray* store);
    // Indexes what the store gained since the last call, at most `budget` bytes of it; returns
    // whether the whole store is now shown. A view scrolled to the end stays at the end.
    bool storeGrew(qsizetype budget = -1);
    // Whether the store holds bytes the view does not show yet.
    bool hasUnshownText() const;

    // The view's own text, for when it shows no store.
    void setPlainText(const QString& text);
    void appendPlainText(QStringView text);

    // The whole text shown.
    QString string() const;
    qsizetype rowCount() const { return qsizetype(m_rowStarts.size()); }

    // Byte offsets into the UTF-8 text; the anchor stays when the selection is extended.
    qsizetype selectionAnchor() const { return m_anchor; }
    qsizetype selectionPosition() const { return m_position; }
    void setSelection(qsizetype anchor, qsizetype position);
    QString selectedText() const;
    bool hasSelection() const { return m_anchor != m_position; }

    // Whether the view shows the last row, and so follows new output.
    bool isAtEnd() const;

    // For screen readers, which count UTF-16 units: the length of the text shown, and unit
    // offsets for byte offsets and back (a unit inside a character gives its start). Counted
    // on the first question, so a session without a reader pays nothing.
    qsizetype unitCount() const;
    qsizetype unitOffset(qsizetype byteOffset) const;
    qsizetype byteOffset(qsizetype unitOffset) const;
    // The text between two byte offsets, and the row around one with its byte range.
    QString text(qsizetype fromByte, qsizetype toByte) const;
    qsizetype rowAt(qsizetype byteOffset) const { return rowOf(byteOffset); }
    qsizetype rowStart(qsizetype row) const { return m_rowStarts[size_t(row)]; }
    qsizetype rowEndOffset(qsizetype row) const { return rowEnd(row); }
    // Where a character is drawn, in viewport coordinates, and the byte offset at a point.
    QRect characterRect(qsizetype byteOffset) const;
    qsizetype byteOffsetAt(const QPoint& viewportPoint) const { return offsetAt(viewportPoint); }
    void scrollTo(qsizetype byteOffset) { ensureVisible(byteOffset); }

public slots:
    void copy() const;
    void selectAll();

protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;
    void contextMenuEvent(QContextMenuEvent* event) override;
    void changeEvent(QEvent* event) override;

private:
    const QByteArray& bytes() const { return m_store ? *m_store : m_ownText; }
    void reset();
    void updateScrollBars();
    qsizetype rowEnd(qsizetype row) const;
    qsizetype rowOf(qsizetype offset) const;
    // The row's text as drawn: its newline dropped and tabs expanded.
    QString rowText(qsizetype row) const;
    // Display column of a byte offset in its row, and the offset nearest a column.
    int columnOf(qsizetype row, qsizetype offset) const;
    qsizetype offsetAt(qsizetype row, int column) const;
    qsizetype offsetAt(const QPoint& viewportPoint) const;
    void moveCursor(qsizetype position, bool keepAnchor);
    void ensureVisible(qsizetype offset);
    void selectionChanged();
    qreal charWidth() const;
    int lineHeight() const;

    QByteArray m_ownText;
    const QByteArray* m_store = nullptr;
    // Where each row starts; the last row runs to the end of what is indexed. A deque grows
    // without copying: millions of short lines never hold two copies of their index.
    std::deque<qsizetype> m_rowStarts{0};
    qsizetype m_indexed = 0;
    // The widest row in bytes, which bounds its columns but for tabs.
    qsizetype m_widestRow = 0;
    int m_widestColumns = 0;
    // The unit offset where each row starts, for as many rows as a reader has needed.
    mutable std::deque<qsizetype> m_rowUnits;
    qsizetype m_anchor = 0;
    qsizetype m_position = 0;
    bool m_selecting = false;
};
