// SPDX-License-Identifier: GPL-3.0-or-later
#include "SyntaxHighlight/TQCodeEditorLineNumberArea.h"

#include "SyntaxHighlight/TQCodeEditorTextView.h"

#include <QPaintEvent>
#include <QPainter>
#include <QTextBlock>

#include <algorithm>

TQCodeEditorLineNumberArea::TQCodeEditorLineNumberArea(TQCodeEditorTextView* editor)
    : QWidget(editor), m_editor(editor)
{
    setObjectName(QStringLiteral("lineNumbers"));
    setAccessibleName(tr("Line numbers"));
}

int TQCodeEditorLineNumberArea::areaWidth() const
{
    int digits = 2;
    for (int count = std::max(1, m_editor->blockCount()); count >= 100; count /= 10)
        ++digits;
    const QFontMetrics metrics(m_editor->font());
    return metrics.horizontalAdvance(QLatin1Char('9')) * digits + metrics.averageCharWidth() * 2;
}

QSize TQCodeEditorLineNumberArea::sizeHint() const
{
    return {areaWidth(), 0};
}

void TQCodeEditorLineNumberArea::paintEvent(QPaintEvent* event)
{
    QPainter painter(this);
    const QPalette palette = m_editor->palette();
    painter.fillRect(event->rect(), palette.color(QPalette::Base));
    QColor numberColor = palette.color(QPalette::Text);
    numberColor.setAlphaF(0.45f);
    painter.setPen(numberColor);
    painter.setFont(m_editor->font());

    const int current = m_editor->textCursor().blockNumber();
    const int spacing = QFontMetrics(m_editor->font()).averageCharWidth();
    const int height = QFontMetrics(m_editor->font()).height();
    m_editor->forEachVisibleBlock([&](const QTextBlock& block, const QRectF& rect) {
        if (rect.top() > event->rect().bottom() || rect.bottom() < event->rect().top())
            return;
        QFont font = m_editor->font();
        font.setBold(block.blockNumber() == current && !m_editor->isReadOnly());
        painter.setFont(font);
        painter.drawText(QRectF(0, rect.top(), width() - spacing, height),
                         Qt::AlignRight | Qt::AlignVCenter,
                         QString::number(block.blockNumber() + 1));
    });
}
