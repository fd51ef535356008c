// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QWidget>

class TQCodeEditorTextView;

// The gutter left of an editor's text with the number of every visible line.
class TQCodeEditorLineNumberArea : public QWidget
{
    Q_OBJECT

public:
    explicit TQCodeEditorLineNumberArea(TQCodeEditorTextView* editor);

    // Wide enough for the largest line number, at least two digits.
    int areaWidth() const;
    QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    TQCodeEditorTextView* m_editor;
};
