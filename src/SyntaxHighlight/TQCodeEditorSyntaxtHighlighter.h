// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "SyntaxHighlight/SyntaxHighlight.h"
#include "SyntaxHighlight/TextAttributes.h"
#include "SyntaxHighlight/ThemeAttributes.h"

#include <QHash>
#include <QList>
#include <QObject>
#include <QPair>
#include <QPointer>
#include <QString>
#include <QTextCharFormat>

#include <memory>
#include <vector>

class QPlainTextEdit;
class QTextDocument;

// Colours the whole text of one editor after every change, through a JavaScript context of its
// own. The colours are layout formats of the blocks, never character formats of the document,
// so they stay out of the undo stack: undo and redo give back exactly the typed text.
//
// Every change re-highlights the whole text, but only the blocks whose formats differ from the
// last highlight get new formats and a new layout; a keystroke inside one line re-lays out
// that line alone.
class TQCodeEditorSyntaxtHighlighter : public QObject
{
    Q_OBJECT

public:
    explicit TQCodeEditorSyntaxtHighlighter(QPlainTextEdit* textView, QObject* parent = nullptr);
    ~TQCodeEditorSyntaxtHighlighter() override;

    QPlainTextEdit* textView() const { return m_textView; }

    bool enabled() const { return m_enabled; }
    void setEnabled(bool enabled) { m_enabled = enabled; }
    const QString& language() const { return m_language; }
    void setLanguage(const QString& language) { m_language = language; }
    const QString& themeName() const { return m_themeName; }
    void setThemeName(const QString& themeName) { m_themeName = themeName; }
    const ThemeAttributes& themeAttributes() const { return m_themeAttributes; }
    // This highlighter's own engine. Its JavaScript context is made on first use: a view that
    // never highlights (a log) never pays for one.
    SyntaxHighlight& syntaxHighlither();

    // Looks `themeName` up among the built-in themes; an unknown name or a theme that does not
    // decode is logged and gives the fallback theme.
    void loadTheme();
    // Re-colours the whole text, when enabled and the view still exists.
    void highlight();
    // While suspended, text changes do not re-highlight: the view sets whole texts this way
    // and highlights once afterwards.
    void setSuspended(bool suspended) { m_suspended = suspended; }

    // How many blocks the last highlight gave new formats (and a new layout).
    int reformattedBlockCount() const { return m_reformattedBlockCount; }

    // No font, no size, black default text, no background, no token entries.
    static ThemeAttributes fallbackTheme();

signals:
    // After every highlight that coloured the text (not after one that found nothing to do).
    void highlighted();

private:
    struct Run
    {
        int start;
        int length;
        int style;
        bool operator==(const Run&) const = default;
    };
    struct BlockRuns;

    void textChanged(int position, int charsRemoved, int charsAdded);
    int styleIndex(const TextAttributes& attributes);
    // Gives the blocks their runs, re-laying out only those whose runs changed or whose text
    // was edited since the last highlight.
    void apply(QTextDocument* document);
    void clearEditedFormats(QTextDocument* document);

    QPointer<QPlainTextEdit> m_textView;
    bool m_enabled = true;
    QString m_language = QStringLiteral("bash");
    QString m_themeName = QStringLiteral("solarized-dark");
    ThemeAttributes m_themeAttributes = fallbackTheme();
    std::unique_ptr<SyntaxHighlight> m_syntaxHighlither;
    bool m_suspended = false;
    bool m_applying = false;
    bool m_inChange = false;
    bool m_everFormatted = false;
    // Style of each character of the text last highlighted; kept to save an allocation.
    std::vector<int> m_unitStyles;
    // Regions away from the edit that wait for its layout to finish.
    QList<QPair<int, int>> m_pendingDirty;

    // The distinct attributes of this theme's highlights as formats; a run names its entry.
    // Cleared with a new theme, which then invalidates every block's runs.
    QList<TextAttributes> m_styles;
    QList<QTextCharFormat> m_formats;
    QHash<size_t, QList<int>> m_stylesByHash;
    int m_styleGeneration = 0;
    int m_reformattedBlockCount = 0;
    // The text edited since the last highlight, as document positions; -1 when nothing was.
    int m_editedFrom = -1;
    int m_editedTo = -1;
};
