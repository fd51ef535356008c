// SPDX-License-Identifier: GPL-3.0-or-later
#include "SyntaxHighlight/TQCodeEditorSyntaxtHighlighter.h"

#include "QuillonCommons/AppError.h"
#include "QuillonCommons/AppLogger.h"
#include "SyntaxHighlight/BuiltInThemes.h"
#include "SyntaxHighlight/HighlightFormats.h"

#include <QPlainTextEdit>
#include <QTextBlock>
#include <QTextDocument>
#include <QTextLayout>

#include <algorithm>
#include <utility>

namespace {

size_t hashOf(const TextAttributes& attributes)
{
    size_t seed = 0;
    if (attributes.font) {
        const HighlightFont& font = *attributes.font;
        seed = qHashMulti(seed, font.name, font.size, font.bold, font.italic);
    }
    if (attributes.foregroundColor) {
        const QList<double>& components = attributes.foregroundColor->components();
        seed = qHashRange(components.begin(), components.end(), seed + 1);
    }
    return seed;
}

} // namespace

// The runs a block was last given, so the next highlight can tell whether they changed.
struct TQCodeEditorSyntaxtHighlighter::BlockRuns : public QTextBlockUserData
{
    int generation = -1;
    QList<Run> runs;
};

TQCodeEditorSyntaxtHighlighter::TQCodeEditorSyntaxtHighlighter(QPlainTextEdit* textView,
                                                               QObject* parent)
    : QObject(parent), m_textView(textView)
{
    if (m_textView) {
        QTextDocument* document = m_textView->document();
        connect(document, &QTextDocument::contentsChange, this,
                &TQCodeEditorSyntaxtHighlighter::textChanged);
        // Blocks away from an edit get their new layout once the edit's own layout is done,
        // so the two stay separate regions instead of one that spans everything between them.
        connect(document, &QTextDocument::contentsChanged, this, [this] {
            QTextDocument* document = m_textView ? m_textView->document() : nullptr;
            const QList<QPair<int, int>> pending = std::exchange(m_pendingDirty, {});
            if (!document)
                return;
            for (const auto& [from, length] : pending)
                document->markContentsDirty(from, length);
        });
    }
    loadTheme();
}

TQCodeEditorSyntaxtHighlighter::~TQCodeEditorSyntaxtHighlighter() = default;

SyntaxHighlight& TQCodeEditorSyntaxtHighlighter::syntaxHighlither()
{
    if (!m_syntaxHighlither)
        m_syntaxHighlither = std::make_unique<SyntaxHighlight>();
    return *m_syntaxHighlither;
}

ThemeAttributes TQCodeEditorSyntaxtHighlighter::fallbackTheme()
{
    ThemeAttributes theme;
    theme.defaultAttributes.color = Color::fromString(QStringLiteral("#000000"));
    return theme;
}

void TQCodeEditorSyntaxtHighlighter::loadTheme()
{
    try {
        const std::optional<QByteArray> json = BuiltInThemes::json(m_themeName);
        if (!json)
            throw AppError(QStringLiteral("The data couldn’t be read because it is missing."),
                           QStringLiteral("No theme named \"%1\".").arg(m_themeName));
        m_themeAttributes = ThemeAttributes::decode(*json);
    } catch (const AppError& error) {
        // Named after the dictionary lookup the theme store is read through elsewhere.
        AppLogger::error(error, QStringLiteral("subscript(_:)"), __LINE__);
        m_themeAttributes = fallbackTheme();
    }
    m_styles.clear();
    m_formats.clear();
    m_stylesByHash.clear();
    ++m_styleGeneration;
}

void TQCodeEditorSyntaxtHighlighter::textChanged(int position, int charsRemoved, int charsAdded)
{
    if (m_applying)
        return;
    if (m_editedFrom < 0) {
        m_editedFrom = position;
        m_editedTo = position + charsAdded;
    } else {
        // Later edits move what earlier ones touched; the union stays a safe bound.
        if (m_editedTo > position)
            m_editedTo = std::max(position, m_editedTo + charsAdded - charsRemoved);
        m_editedFrom = std::min(m_editedFrom, position);
        m_editedTo = std::max(m_editedTo, position + charsAdded);
    }
    if (m_suspended || !m_textView)
        return;
    if (!m_enabled) {
        // Formats sit at positions of the block, not on its characters: an edited block would
        // show colours shifted onto the wrong words, so it loses them.
        clearEditedFormats(m_textView->document());
        return;
    }
    m_inChange = true;
    highlight();
    m_inChange = false;
}

int TQCodeEditorSyntaxtHighlighter::styleIndex(const TextAttributes& attributes)
{
    QList<int>& candidates = m_stylesByHash[hashOf(attributes)];
    for (int index : std::as_const(candidates)) {
        if (m_styles[index] == attributes)
            return index;
    }
    const int index = int(m_styles.size());
    m_styles.append(attributes);
    m_formats.append(HighlightFormats::format(attributes));
    candidates.append(index);
    return index;
}

void TQCodeEditorSyntaxtHighlighter::highlight()
{
    if (!m_enabled || !m_textView)
        return;
    QTextDocument* document = m_textView->document();
    if (!document)
        return;

    const QString text = m_textView->toPlainText();
    const QList<HighlightRange> ranges =
        syntaxHighlither().highlightRanges(text, m_language, m_themeAttributes);
    if (ranges.isEmpty())
        return;

    // Later ranges replace every attribute of earlier ones where they overlap, so each
    // character ends up with the attributes of the last range over it.
    m_unitStyles.assign(size_t(text.size()), -1);
    int lastStyle = -1;
    const TextAttributes* lastAttributes = nullptr;
    for (const HighlightRange& range : ranges) {
        // Neighbouring ranges usually share a class; skip the lookup for those.
        if (!lastAttributes || !(*lastAttributes == range.attributes))
            lastStyle = styleIndex(range.attributes);
        lastAttributes = &range.attributes;
        const int from = std::clamp(range.range.location, 0, int(text.size()));
        const int to = std::clamp(range.range.end(), from, int(text.size()));
        std::fill(m_unitStyles.begin() + from, m_unitStyles.begin() + to, lastStyle);
    }
    apply(document);
    emit highlighted();
}

void TQCodeEditorSyntaxtHighlighter::apply(QTextDocument* document)
{
    m_applying = true;
    m_everFormatted = true;
    int dirtyFrom = -1;
    int dirtyTo = -1;
    auto markDirty = [&] {
        if (dirtyFrom < 0)
            return;
        const bool nearEdit = dirtyFrom <= m_editedTo && dirtyTo >= m_editedFrom;
        if (m_inChange && !nearEdit)
            m_pendingDirty.append({dirtyFrom, dirtyTo - dirtyFrom});
        else
            document->markContentsDirty(dirtyFrom, dirtyTo - dirtyFrom);
        dirtyFrom = -1;
    };

    const int textSize = int(m_unitStyles.size());
    m_reformattedBlockCount = 0;
    QList<Run> runs;
    QList<QTextLayout::FormatRange> formats;
    for (QTextBlock block = document->begin(); block.isValid(); block = block.next()) {
        const int position = block.position();
        const int end = std::min(position + block.length() - 1, textSize);
        runs.clear();
        for (int unit = position; unit < end;) {
            const int style = m_unitStyles[size_t(unit)];
            int next = unit + 1;
            while (next < end && m_unitStyles[size_t(next)] == style)
                ++next;
            if (style >= 0)
                runs.append({unit - position, next - unit, style});
            unit = next;
        }

        auto* data = static_cast<BlockRuns*>(block.userData());
        const bool edited = m_editedFrom >= 0 && position <= m_editedTo && end >= m_editedFrom;
        if (!edited && data && data->generation == m_styleGeneration && data->runs == runs) {
            markDirty();
            continue;
        }
        if (!data) {
            data = new BlockRuns;
            block.setUserData(data);
        }
        data->generation = m_styleGeneration;
        data->runs = runs;
        formats.clear();
        formats.reserve(runs.size());
        for (const Run& run : std::as_const(runs))
            formats.append({run.start, run.length, m_formats[run.style]});
        block.layout()->setFormats(formats);
        ++m_reformattedBlockCount;
        if (dirtyFrom < 0)
            dirtyFrom = position;
        dirtyTo = position + block.length();
    }
    markDirty();
    m_editedFrom = m_editedTo = -1;
    m_applying = false;
}

void TQCodeEditorSyntaxtHighlighter::clearEditedFormats(QTextDocument* document)
{
    // A view that never had colours (a log) skips the walk over what each chunk added.
    if (!document || m_editedFrom < 0 || !m_everFormatted) {
        m_editedFrom = m_editedTo = -1;
        return;
    }
    m_applying = true;
    const QTextBlock last = document->findBlock(m_editedTo);
    for (QTextBlock block = document->findBlock(m_editedFrom); block.isValid();
         block = block.next()) {
        block.setUserData(nullptr);
        if (!block.layout()->formats().isEmpty()) {
            block.layout()->clearFormats();
            document->markContentsDirty(block.position(), block.length());
        }
        if (block == last)
            break;
    }
    m_editedFrom = m_editedTo = -1;
    m_applying = false;
}
