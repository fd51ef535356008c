// SPDX-License-Identifier: GPL-3.0-or-later
#include "SyntaxHighlight/HighlightedHTMLParser.h"

#include "QuillonCommons/AppLogger.h"
#include "SyntaxHighlight/HTMLEntities.h"

#include <QRegularExpression>
#include <QTextBoundaryFinder>

#include <vector>

namespace {

struct Patterns
{
    QRegularExpression text{QStringLiteral("^(?<text>[^<]+)")};
    QRegularExpression openingSpan{QStringLiteral("^<span class=\"(?<classes>[^\"]*)\">")};
    QRegularExpression closingSpan{QStringLiteral("^</span>")};

    Patterns()
    {
        for (QRegularExpression* pattern : {&text, &openingSpan, &closingSpan})
            pattern->optimize();
    }
    bool isValid() const
    {
        return text.isValid() && openingSpan.isValid() && closingSpan.isValid();
    }
};

// The matches of an anchored pattern at the start of the searched stretch: none or one. The
// count is kept so that a pattern that could match twice would be caught, not trusted.
struct Search
{
    QRegularExpressionMatch match;
    int count = 0;
};

Search search(const QRegularExpression& pattern, QStringView searched, bool checked)
{
    // The pattern engine validates the whole subject on every search unless told it is valid
    // UTF-16, which would make the parse quadratic; the HTML is checked once instead.
    // Each pattern begins with '^' and the subject begins at the search position, so a search
    // is anchored there and never scans ahead. The pattern engine knows such patterns as anchored
    // and runs them compiled; asking for anchoring at match time would make it interpret them.
    QRegularExpression::MatchOptions options = QRegularExpression::NoMatchOption;
    if (checked)
        options |= QRegularExpression::DontCheckSubjectStringMatchOption;
    Search result;
    result.match = pattern.match(HighlightedHTMLParser::withoutCutPair(searched), 0,
                                 QRegularExpression::NormalMatch, options);
    result.count = result.match.hasMatch() ? 1 : 0;
    return result;
}

// Group numbers of "text" and "classes", so that no search looks a name up.
constexpr int textGroup = 1;
constexpr int classesGroup = 1;

bool startsWithClosingTag(QStringView searched)
{
    return searched.size() > 1 && searched[1] == u'/';
}

} // namespace

QStringView HighlightedHTMLParser::withoutCutPair(QStringView text)
{
    if (!text.isEmpty() && text.back().isHighSurrogate())
        text.chop(1);
    return text;
}

int HighlightedHTMLParser::characterCount(QStringView text)
{
    // Below U+0300 no character joins its neighbour, except a line feed after a carriage
    // return; such text, the usual case, has as many characters as units.
    bool simple = true;
    for (qsizetype i = 0; i < text.size() && simple; ++i) {
        const char16_t unit = text[i].unicode();
        if (unit >= 0x300 || (unit == u'\r' && i + 1 < text.size() && text[i + 1] == u'\n'))
            simple = false;
    }
    if (simple)
        return int(text.size());

    QTextBoundaryFinder finder(QTextBoundaryFinder::Grapheme, text.data(), text.size());
    int count = 0;
    while (finder.toNextBoundary() >= 0)
        ++count;
    return count;
}

std::unique_ptr<ClassRangeNode> HighlightedHTMLParser::parse(const QString& html, QString& text)
{
    static const Patterns patterns;
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
    const int total = characterCount(html);
    const bool valid = QStringView(html).isValidUtf16();

    for (;;) {
        const QStringView searched = QStringView(html).mid(position, total - position);
        // A stretch that starts with '<' cannot be text, and one that starts otherwise can be
        // nothing else; the guards only skip searches whose outcome is already known.
        const bool atTag = !searched.isEmpty() && searched[0] == u'<';

        if (!atTag) {
            const Search found = search(patterns.text, searched, valid);
            if (found.count > 1) {
                AppLogger::error(QStringLiteral("more than one match"));
                return nullptr;
            }
            // A text run that reaches a pair cut by the end of the stretch takes its first
            // half too: it is not '<'.
            qsizetype end = found.count == 1 && found.match.capturedLength(textGroup) > 0
                                ? found.match.capturedEnd(textGroup)
                                : 0;
            if (end == HighlightedHTMLParser::withoutCutPair(searched).size() &&
                end < searched.size())
                end = searched.size();
            if (end > 0) {
                HTMLEntities::appendDecoded(searched.first(end), text);
                textLength = int(text.size());
                position += int(end);
                continue;
            }
        }

        if (atTag && !startsWithClosingTag(searched)) {
            const Search found = search(patterns.openingSpan, searched, valid);
            if (found.count > 1) {
                AppLogger::error(QStringLiteral("more than one match"));
                return nullptr;
            }
            // An empty class attribute is not an opening span: it falls through to the
            // closing pattern and, failing that, ends the parse.
            if (found.count == 1 && found.match.capturedLength(classesGroup) > 0) {
                auto node = std::make_unique<ClassRangeNode>(
                    found.match.capturedView(classesGroup).trimmed().toString(),
                    TextRange{textLength, 0}, current);
                ClassRangeNode* created = node.get();
                if (current)
                    current->appendChild(std::move(node));
                else
                    detached.push_back(std::move(node));
                current = created;
                position += int(found.match.capturedEnd(0));
                continue;
            }
        }

        const Search found = atTag ? search(patterns.closingSpan, searched, valid) : Search{};
        if (found.count == 0)
            break;
        if (found.count > 1) {
            AppLogger::error(QStringLiteral("more than one match"));
            return nullptr;
        }
        if (!current) {
            AppLogger::error(QStringLiteral("found end span but no start"));
            return nullptr;
        }
        current->setLength(textLength - current->range().location);
        current = current->parent();
        position += int(found.match.capturedEnd(0));
    }

    // Whatever the patterns left of the searched stretch goes in as written.
    text += QStringView(html).mid(position, total - position);
    return root;
}
