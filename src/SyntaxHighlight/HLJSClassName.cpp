// SPDX-License-Identifier: GPL-3.0-or-later
#include "SyntaxHighlight/HLJSClassName.h"

#include <array>

namespace {

struct Entry
{
    HLJSClassName name;
    const char* rawValue;
    const char* themeKey;
};

constexpr std::array<Entry, 29> entries{{
    {HLJSClassName::hljs, "hljs", "defaultAttributes"},
    {HLJSClassName::hljsComment, "hljs-comment", "comment"},
    {HLJSClassName::hljsQuote, "hljs-quote", "quote"},
    {HLJSClassName::hljsVariable, "hljs-variable", "variable"},
    {HLJSClassName::hljsTemplateVariable, "hljs-template-variable", "templateVariable"},
    {HLJSClassName::hljsTag, "hljs-tag", "tag"},
    {HLJSClassName::hljsName, "hljs-name", "name"},
    {HLJSClassName::hljsSelectorId, "hljs-selector-id", "selectorId"},
    {HLJSClassName::hljsSelectorClass, "hljs-selector-class", "selectorClass"},
    {HLJSClassName::hljsRegexp, "hljs-regexp", "regexp"},
    {HLJSClassName::hljsDeletion, "hljs-deletion", "deletion"},
    {HLJSClassName::hljsNumber, "hljs-number", "number"},
    {HLJSClassName::hljsBuiltIn, "hljs-built_in", "builtIn"},
    {HLJSClassName::hljsLiteral, "hljs-literal", "literal"},
    {HLJSClassName::hljsType, "hljs-type", "type"},
    {HLJSClassName::hljsParams, "hljs-params", "params"},
    {HLJSClassName::hljsMeta, "hljs-meta", "meta"},
    {HLJSClassName::hljsLink, "hljs-link", "link"},
    {HLJSClassName::hljsAttribute, "hljs-attribute", "attribute"},
    {HLJSClassName::hljsString, "hljs-string", "string"},
    {HLJSClassName::hljsSymbol, "hljs-symbol", "symbol"},
    {HLJSClassName::hljsBullet, "hljs-bullet", "bullet"},
    {HLJSClassName::hljsAddition, "hljs-addition", "addition"},
    {HLJSClassName::hljsTitle, "hljs-title", "title"},
    {HLJSClassName::hljsSection, "hljs-section", "section"},
    {HLJSClassName::hljsKeyword, "hljs-keyword", "keyword"},
    {HLJSClassName::hljsSelectorTag, "hljs-selector-tag", "selectorTag"},
    {HLJSClassName::hljsEmphasis, "hljs-emphasis", "emphasis"},
    {HLJSClassName::hljsStrong, "hljs-strong", "strong"},
}};

const Entry& entry(HLJSClassName name)
{
    // The table is in declaration order, so the enum value is the index.
    return entries[static_cast<std::size_t>(name)];
}

} // namespace

std::optional<HLJSClassName> HLJSClassNames::fromRawValue(QStringView name)
{
    // Runs for every class of every span on each keystroke: compare in place, no allocation.
    for (const Entry& e : entries) {
        if (name == QLatin1StringView(e.rawValue))
            return e.name;
    }
    return std::nullopt;
}

QString HLJSClassNames::rawValue(HLJSClassName name)
{
    return QString::fromLatin1(entry(name).rawValue);
}

QString HLJSClassNames::themeKey(HLJSClassName name)
{
    return QString::fromLatin1(entry(name).themeKey);
}

const QList<HLJSClassName>& HLJSClassNames::all()
{
    static const QList<HLJSClassName> names = [] {
        QList<HLJSClassName> list;
        for (const Entry& e : entries)
            list.append(e.name);
        return list;
    }();
    return names;
}
