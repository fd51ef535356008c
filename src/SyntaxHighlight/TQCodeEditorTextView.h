// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QFont>
#include <QPlainTextEdit>
#include <QVariant>

#include <functional>

class QTextBlock;
class TQCodeEditorFindBar;
class TQCodeEditorLineNumberArea;
class TQCodeEditorSyntaxtHighlighter;

// The plain-text view that shows a script or a log, with live highlighting by its own
// highlighter. Hosts set (or bind) whether highlighting is on, the language and the theme.
class TQCodeEditorTextView : public QPlainTextEdit
{
    Q_OBJECT
    Q_PROPERTY(bool isSyntaxHighlightEnabled READ isSyntaxHighlightEnabled WRITE
                   setSyntaxHighlightEnabled NOTIFY isSyntaxHighlightEnabledChanged)
    Q_PROPERTY(QString language READ language WRITE setLanguage NOTIFY languageChanged)
    Q_PROPERTY(QString themeName READ themeName WRITE setThemeName NOTIFY themeNameChanged)
    Q_PROPERTY(QString string READ string WRITE setString)

public:
    // Every way of making the view, the interface files included, ends here: highlighting
    // off, language "bash", no theme name.
    explicit TQCodeEditorTextView(QWidget* parent = nullptr);
    ~TQCodeEditorTextView() override;

    bool isSyntaxHighlightEnabled() const { return m_isSyntaxHighlightEnabled; }
    // Each setter reacts even to the value it already has, re-highlighting the text.
    void setSyntaxHighlightEnabled(bool enabled);
    const QString& language() const { return m_language; }
    void setLanguage(const QString& language);
    const QString& themeName() const { return m_themeName; }
    void setThemeName(const QString& themeName);

    TQCodeEditorSyntaxtHighlighter* syntaxtHilighter() const { return m_syntaxtHilighter; }

    QString string() const;
    // Replaces the whole text, then re-highlights it once (also when the text is the same).
    void setString(const QString& text);

    // Sets a property by its name for hosts that bind by key, and logs it.
    void setValue(const QVariant& value, const QString& key);

    // "Monaco" 13.0 where that is a real fixed-pitch font, else the system fixed-pitch font.
    static QFont editorFont();

    // The gutter with line numbers, on by default; the log viewer has no use for it.
    bool showsLineNumbers() const { return m_showsLineNumbers; }
    void setShowsLineNumbers(bool shows);

    TQCodeEditorFindBar* findBar() const { return m_findBar; }
    void showFindBar();
    void hideFindBar();
    // Find the find field's text after or before the cursor, wrapping around the ends.
    bool findNext();
    bool findPrevious();

    // For the gutter: every block that lies in the viewport, with its rectangle there.
    void forEachVisibleBlock(
        const std::function<void(const QTextBlock& block, const QRectF& rect)>& visit) const;

signals:
    void isSyntaxHighlightEnabledChanged(bool enabled);
    void languageChanged(const QString& language);
    void themeNameChanged(const QString& themeName);

protected:
    bool canInsertFromMimeData(const QMimeData* source) const override;
    void insertFromMimeData(const QMimeData* source) override;
    void resizeEvent(QResizeEvent* event) override;
    void changeEvent(QEvent* event) override;

private:
    // Theme background and text colour while highlighting with a theme, else the system's.
    void applyColors();
    void resetFont();
    void updateMargins();
    void markCurrentLine();
    bool find(bool backward);

    bool m_isSyntaxHighlightEnabled = false;
    QString m_language = QStringLiteral("bash");
    QString m_themeName;
    TQCodeEditorSyntaxtHighlighter* m_syntaxtHilighter = nullptr;
    TQCodeEditorLineNumberArea* m_lineNumbers = nullptr;
    TQCodeEditorFindBar* m_findBar = nullptr;
    bool m_showsLineNumbers = true;
    bool m_applyingColors = false;
};
