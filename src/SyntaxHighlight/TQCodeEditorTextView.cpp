// SPDX-License-Identifier: GPL-3.0-or-later
#include "SyntaxHighlight/TQCodeEditorTextView.h"

#include "QuillonCommons/AppLogger.h"
#include "SyntaxHighlight/HighlightFormats.h"
#include "SyntaxHighlight/TQCodeEditorFindBar.h"
#include "SyntaxHighlight/TQCodeEditorLineNumberArea.h"
#include "SyntaxHighlight/TQCodeEditorSyntaxtHighlighter.h"

#include <QAction>
#include <QApplication>
#include <QFontDatabase>
#include <QFontInfo>
#include <QLineEdit>
#include <QMimeData>
#include <QTextBlock>

TQCodeEditorTextView::TQCodeEditorTextView(QWidget* parent)
    : QPlainTextEdit(parent), m_syntaxtHilighter(new TQCodeEditorSyntaxtHighlighter(this, this)),
      m_lineNumbers(new TQCodeEditorLineNumberArea(this)), m_findBar(new TQCodeEditorFindBar(this))
{
    setAccessibleName(tr("Script text"));
    resetFont();
    // Plain text, undo on. Qt offers no smart quotes, dashes, text replacement, link
    // detection or spelling correction in a plain-text edit, so there is nothing to turn off.
    setReadOnly(false);
    setUndoRedoEnabled(true);
    m_syntaxtHilighter->setEnabled(m_isSyntaxHighlightEnabled);

    m_findBar->hide();
    connect(m_findBar, &TQCodeEditorFindBar::findNextRequested, this,
            &TQCodeEditorTextView::findNext);
    connect(m_findBar, &TQCodeEditorFindBar::findPreviousRequested, this,
            &TQCodeEditorTextView::findPrevious);
    connect(m_findBar, &TQCodeEditorFindBar::closeRequested, this,
            &TQCodeEditorTextView::hideFindBar);

    auto addShortcut = [this](const QString& name, QKeySequence::StandardKey key, auto slot) {
        auto* action = new QAction(name, this);
        action->setShortcuts(key);
        action->setShortcutContext(Qt::WidgetWithChildrenShortcut);
        connect(action, &QAction::triggered, this, slot);
        addAction(action);
    };
    addShortcut(tr("Find…"), QKeySequence::Find, [this] { showFindBar(); });
    addShortcut(tr("Find Next"), QKeySequence::FindNext, [this] {
        if (m_findBar->text().isEmpty())
            showFindBar();
        else
            findNext();
    });
    addShortcut(tr("Find Previous"), QKeySequence::FindPrevious, [this] {
        if (m_findBar->text().isEmpty())
            showFindBar();
        else
            findPrevious();
    });

    connect(this, &QPlainTextEdit::blockCountChanged, this, &TQCodeEditorTextView::updateMargins);
    connect(this, &QPlainTextEdit::updateRequest, this, [this](const QRect& rect, int dy) {
        if (!m_lineNumbers->isVisible())
            return;
        if (dy != 0)
            m_lineNumbers->scroll(0, dy);
        else
            m_lineNumbers->update(0, rect.y(), m_lineNumbers->width(), rect.height());
    });
    connect(this, &QPlainTextEdit::cursorPositionChanged, this,
            &TQCodeEditorTextView::markCurrentLine);
    updateMargins();
    applyColors();
}

TQCodeEditorTextView::~TQCodeEditorTextView()
{
    // Before the base class takes the document down, so no late text change reaches it.
    delete m_syntaxtHilighter;
}

QFont TQCodeEditorTextView::editorFont()
{
    QFont monaco(QStringLiteral("Monaco"));
    monaco.setPointSizeF(13.0);
    // fontconfig answers any family with its closest match, often a proportional one.
    const QFontInfo info(monaco);
    if (info.family() == QLatin1String("Monaco") && info.fixedPitch())
        return monaco;
    return QFontDatabase::systemFont(QFontDatabase::FixedFont);
}

void TQCodeEditorTextView::resetFont()
{
    const QFont font = editorFont();
    setFont(font);
    setTabStopDistance(QFontMetricsF(font).horizontalAdvance(QLatin1Char(' ')) * 4);
}

void TQCodeEditorTextView::setSyntaxHighlightEnabled(bool enabled)
{
    const bool changed = m_isSyntaxHighlightEnabled != enabled;
    m_isSyntaxHighlightEnabled = enabled;
    m_syntaxtHilighter->setEnabled(enabled);
    resetFont();
    applyColors();
    m_syntaxtHilighter->highlight();
    viewport()->update();
    if (changed)
        emit isSyntaxHighlightEnabledChanged(enabled);
}

void TQCodeEditorTextView::setLanguage(const QString& language)
{
    const bool changed = m_language != language;
    m_language = language;
    m_syntaxtHilighter->setLanguage(language);
    m_syntaxtHilighter->highlight();
    if (changed)
        emit languageChanged(language);
}

void TQCodeEditorTextView::setThemeName(const QString& themeName)
{
    const bool changed = m_themeName != themeName;
    m_themeName = themeName;
    m_syntaxtHilighter->setThemeName(themeName);
    m_syntaxtHilighter->loadTheme();
    m_syntaxtHilighter->highlight();
    applyColors();
    if (changed)
        emit themeNameChanged(themeName);
}

QString TQCodeEditorTextView::string() const
{
    return toPlainText();
}

void TQCodeEditorTextView::setString(const QString& text)
{
    m_syntaxtHilighter->setSuspended(true);
    setPlainText(text);
    m_syntaxtHilighter->setSuspended(false);
    m_syntaxtHilighter->highlight();
}

void TQCodeEditorTextView::setValue(const QVariant& value, const QString& key)
{
    AppLogger::debug(QStringLiteral("setValue(") + value.toString() + QStringLiteral(", forKey:") +
                     key + QStringLiteral(")"));
    setProperty(key.toUtf8().constData(), value);
}

void TQCodeEditorTextView::applyColors()
{
    QPalette palette = QApplication::palette(this);
    if (m_isSyntaxHighlightEnabled) {
        const ThemeAttributes& theme = m_syntaxtHilighter->themeAttributes();
        if (theme.backgroundColor)
            palette.setColor(QPalette::Base, HighlightFormats::color(*theme.backgroundColor));
        // Runs without a colour of their own are drawn in the text colour: the theme's default
        // one, or bold words would turn black on a dark background.
        palette.setColor(QPalette::Text,
                         HighlightFormats::color(theme.defaultAttributes.color.value_or(
                             Color::fromString(QStringLiteral("#000000")))));
    }
    m_applyingColors = true;
    setPalette(palette);
    m_applyingColors = false;
    markCurrentLine();
}

void TQCodeEditorTextView::changeEvent(QEvent* event)
{
    QPlainTextEdit::changeEvent(event);
    if ((event->type() == QEvent::ApplicationPaletteChange ||
         event->type() == QEvent::StyleChange) &&
        !m_applyingColors)
        applyColors();
    if (event->type() == QEvent::ReadOnlyChange)
        markCurrentLine();
}

bool TQCodeEditorTextView::canInsertFromMimeData(const QMimeData* source) const
{
    return source->hasText();
}

void TQCodeEditorTextView::insertFromMimeData(const QMimeData* source)
{
    // Rich text, images and files arrive as their plain-string form, or not at all.
    if (source->hasText())
        insertPlainText(source->text());
}

void TQCodeEditorTextView::setShowsLineNumbers(bool shows)
{
    m_showsLineNumbers = shows;
    updateMargins();
}

void TQCodeEditorTextView::updateMargins()
{
    const int left = m_showsLineNumbers ? m_lineNumbers->areaWidth() : 0;
    const int bottom = m_findBar->isVisibleTo(this) ? m_findBar->sizeHint().height() : 0;
    setViewportMargins(left, 0, 0, bottom);
    m_lineNumbers->setVisible(m_showsLineNumbers);
    const QRect area = contentsRect();
    m_lineNumbers->setGeometry(area.left(), area.top(), left, area.height() - bottom);
    m_findBar->setGeometry(area.left(), area.bottom() + 1 - bottom, area.width(), bottom);
}

void TQCodeEditorTextView::resizeEvent(QResizeEvent* event)
{
    QPlainTextEdit::resizeEvent(event);
    updateMargins();
}

void TQCodeEditorTextView::markCurrentLine()
{
    QList<QTextEdit::ExtraSelection> selections;
    if (!isReadOnly()) {
        QTextEdit::ExtraSelection line;
        QColor mark = palette().color(QPalette::Highlight);
        mark.setAlphaF(0.12f);
        line.format.setBackground(mark);
        line.format.setProperty(QTextFormat::FullWidthSelection, true);
        line.cursor = textCursor();
        line.cursor.clearSelection();
        selections.append(line);
    }
    setExtraSelections(selections);
}

void TQCodeEditorTextView::showFindBar()
{
    const QString selected = textCursor().selectedText();
    if (!selected.isEmpty() && !selected.contains(QChar::ParagraphSeparator))
        m_findBar->field()->setText(selected);
    m_findBar->show();
    updateMargins();
    m_findBar->field()->selectAll();
    m_findBar->field()->setFocus(Qt::ShortcutFocusReason);
}

void TQCodeEditorTextView::hideFindBar()
{
    m_findBar->hide();
    updateMargins();
    setFocus(Qt::OtherFocusReason);
}

bool TQCodeEditorTextView::findNext()
{
    return find(false);
}

bool TQCodeEditorTextView::findPrevious()
{
    return find(true);
}

bool TQCodeEditorTextView::find(bool backward)
{
    const QString text = m_findBar->text();
    if (text.isEmpty())
        return false;
    const QTextDocument::FindFlags flags =
        backward ? QTextDocument::FindBackward : QTextDocument::FindFlags();
    QTextCursor found = document()->find(text, textCursor(), flags);
    if (found.isNull()) {
        QTextCursor wrapped(document());
        if (backward)
            wrapped.movePosition(QTextCursor::End);
        found = document()->find(text, wrapped, flags);
    }
    m_findBar->setFound(!found.isNull());
    if (found.isNull())
        return false;
    setTextCursor(found);
    return true;
}

void TQCodeEditorTextView::forEachVisibleBlock(
    const std::function<void(const QTextBlock& block, const QRectF& rect)>& visit) const
{
    const qreal bottom = viewport()->height();
    for (QTextBlock block = firstVisibleBlock(); block.isValid(); block = block.next()) {
        if (!block.isVisible())
            continue;
        const QRectF rect = blockBoundingGeometry(block).translated(contentOffset());
        if (rect.top() > bottom)
            break;
        visit(block, rect);
    }
}
