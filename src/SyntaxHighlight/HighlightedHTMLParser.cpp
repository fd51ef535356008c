// SPDX-License-Identifier: GPL-3.0-or-later
#include "SyntaxHighlight/HighlightedHTMLParser.h"

#include "QuillonCommons/AppLogger.h"
#include "SyntaxHighlight/CompiledPattern.h"
#include "SyntaxHighlight/GraphemeCount.h"
#include "SyntaxHighlight/HTMLEntities.h"

#include <vector>

namespace {

struct Patterns
{
    CompiledPattern text{u"^(?<text>[^<]+)"};
    CompiledPattern openingSpan{u"^<span class=\"(?<classes>[^\"]*)\">"};
    CompiledPattern closingSpan{u"^</span>"};

    bool isValid() const
    {
        return text.isValid() && openingSpan.isValid() && closingSpan.isValid();
    }
};

// The matches of an anchored pattern at the start of the searched stretch: none or one. The
// count is kept so that a pattern that could match twice would be caught, not trusted.
// Each pattern begins with '^' and the subject begins at the search position, so a search
// is anchored there and never scans ahead: the parse stays linear.
int search(CompiledPattern& pattern, QStringView searched)
{
    return pattern.match(searched) ? 1 : 0;
}

// Group numbers of "text" and "classes", so that no search looks a name up.
constexpr int textGroup = 1;
constexpr int classesGroup = 1;

bool startsWithClosingTag(QStringView searched)
{
    return searched.size() > 1 && searched[1] == u'/';
}

} // namespace

std::unique_ptr<ClassRangeNode> HighlightedHTMLParser::parse(const QString& html, QString& text)
{
    // One set per thread: a pattern holds the captures of its last search.
    thread_local Patterns patterns;
    if (!patterns.isValid())
        return nullptr;

    auto root = std::make_unique<ClassRangeNode>(QString(), TextRange{}, nullptr);
    // Spans opened after the root closed belong to no tree; they live until the parse ends.
    std::vector<std::unique_ptr<ClassRangeNode>> detached;
    ClassRangeNode* current = root.get();
    int position = 0;
    text.clear();
    text.reserve(html.size());
    int textLength = 0;
    const int total = GraphemeCount::characterCount(html);

    for (;;) {
        const QStringView searched = QStringView(html).mid(position, total - position);
        // A stretch that starts with '<' cannot be text, and one that starts otherwise can be
        // nothing else; the guards only skip searches whose outcome is already known.
        const bool atTag = !searched.isEmpty() && searched[0] == u'<';

        if (!atTag) {
            const int found = search(patterns.text, searched);
            if (found > 1) {
                AppLogger::error(QStringLiteral("more than one match"));
                return nullptr;
            }
            const qsizetype end = found == 1 ? patterns.text.capturedEnd(textGroup) : 0;
            if (end > 0) {
                HTMLEntities::appendDecoded(searched.first(end), text);
                textLength = int(text.size());
                position += int(end);
                continue;
            }
        }

        if (atTag && !startsWithClosingTag(searched)) {
            const int found = search(patterns.openingSpan, searched);
            if (found > 1) {
                AppLogger::error(QStringLiteral("more than one match"));
                return nullptr;
            }
            // An empty class attribute is not an opening span: it falls through to the
            // closing pattern and, failing that, ends the parse.
            if (found == 1 && patterns.openingSpan.capturedLength(classesGroup) > 0) {
                auto node = std::make_unique<ClassRangeNode>(
                    patterns.openingSpan.capturedView(classesGroup).trimmed().toString(),
                    TextRange{textLength, 0}, current);
                ClassRangeNode* created = node.get();
                if (current)
                    current->appendChild(std::move(node));
                else
                    detached.push_back(std::move(node));
                current = created;
                position += int(patterns.openingSpan.capturedEnd());
                continue;
            }
        }

        const int found = atTag ? search(patterns.closingSpan, searched) : 0;
        if (found == 0)
            break;
        if (found > 1) {
            AppLogger::error(QStringLiteral("more than one match"));
            return nullptr;
        }
        if (!current) {
            AppLogger::error(QStringLiteral("found end span but no start"));
            return nullptr;
        }
        current->setLength(textLength - current->range().location);
        current = current->parent();
        position += int(patterns.closingSpan.capturedEnd());
    }

    // Whatever the patterns left of the searched stretch goes in as written.
    text += QStringView(html).mid(position, total - position);
    return root;
}
