// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "SyntaxHighlight/Color.h"
#include "SyntaxHighlight/HLJSClassName.h"

#include <QByteArray>
#include <QList>
#include <QString>

#include <optional>

// A highlighting theme: editor font, default text and background, and one optional entry per
// token kind. Stored as compact JSON whose keys are the field names.
class ThemeAttributes
{
public:
    // String-backed so unknown values survive a round trip; only "bold" and "italic" affect fonts.
    struct TextAttribute
    {
        QString rawValue;
        bool operator==(const TextAttribute&) const = default;

        static TextAttribute bold() { return {QStringLiteral("bold")}; }
        static TextAttribute italic() { return {QStringLiteral("italic")}; }
    };

    struct Attribute
    {
        std::optional<Color> color;
        QList<TextAttribute> textAttributes;
        bool operator==(const Attribute&) const = default;
    };

    std::optional<QString> fontName;
    std::optional<double> fontSize;
    Attribute defaultAttributes;
    std::optional<Color> backgroundColor;
    std::optional<Attribute> comment, quote, variable, templateVariable, tag, name, selectorId,
        selectorClass, regexp, deletion, number, builtIn, literal, type, params, meta, link,
        attribute, string, symbol, bullet, addition, title, section, keyword, selectorTag, emphasis,
        strong;

    bool operator==(const ThemeAttributes&) const = default;

    // The entry a class selects when present, else defaultAttributes (hljs always selects it).
    const Attribute& attributeFor(HLJSClassName name) const;
    // The token entry of a class; nullptr for hljs, which has no optional entry of its own.
    const std::optional<Attribute>* entryFor(HLJSClassName name) const;
    std::optional<Attribute>* entryFor(HLJSClassName name);

    // Throws AppError when the text is not a JSON object, defaultAttributes is missing, an
    // attribute lacks textAttributes, or a value has the wrong type.
    static ThemeAttributes decode(const QByteArray& json);
    // Compact JSON with only the present fields, in field order. Throws AppError when a
    // string is not valid Unicode (a lone surrogate).
    QByteArray encode() const;
};
