// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QList>
#include <QString>
#include <QStringView>

#include <optional>

// The Highlight.js class names a theme can style, one per theme key.
enum class HLJSClassName
{
    hljs,
    hljsComment,
    hljsQuote,
    hljsVariable,
    hljsTemplateVariable,
    hljsTag,
    hljsName,
    hljsSelectorId,
    hljsSelectorClass,
    hljsRegexp,
    hljsDeletion,
    hljsNumber,
    hljsBuiltIn,
    hljsLiteral,
    hljsType,
    hljsParams,
    hljsMeta,
    hljsLink,
    hljsAttribute,
    hljsString,
    hljsSymbol,
    hljsBullet,
    hljsAddition,
    hljsTitle,
    hljsSection,
    hljsKeyword,
    hljsSelectorTag,
    hljsEmphasis,
    hljsStrong,
};

class HLJSClassNames
{
public:
    // "hljs-title" -> hljsTitle; nothing for a name that is not one of the 29.
    static std::optional<HLJSClassName> fromRawValue(QStringView name);
    // The class name as Highlight.js writes it, e.g. "hljs-built_in".
    static QString rawValue(HLJSClassName name);
    // The theme JSON key the class selects, e.g. "builtIn"; "defaultAttributes" for hljs.
    static QString themeKey(HLJSClassName name);
    // All 29, in declaration order.
    static const QList<HLJSClassName>& all();
};
