// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QWidget>

class QLineEdit;
class QToolButton;

// The editor's find field with next and previous: opened with Ctrl+F, closed with Escape.
// Return finds the next match, Shift+Return the previous one.
class TQCodeEditorFindBar : public QWidget
{
    Q_OBJECT

public:
    explicit TQCodeEditorFindBar(QWidget* parent = nullptr);

    QLineEdit* field() const { return m_field; }
    QString text() const;
    // Tints the field while the text is not found, as find fields usually do.
    void setFound(bool found);

signals:
    void findNextRequested();
    void findPreviousRequested();
    void closeRequested();

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    QLineEdit* m_field;
    QToolButton* m_previousButton;
    QToolButton* m_nextButton;
    QToolButton* m_closeButton;
};
