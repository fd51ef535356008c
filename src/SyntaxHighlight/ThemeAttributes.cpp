// SPDX-License-Identifier: GPL-3.0-or-later
#include "SyntaxHighlight/ThemeAttributes.h"

#include "QuillonCommons/AppError.h"
#include "QuillonCommons/JsonWriter.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QJsonValue>

#include <array>

namespace {

using OptionalAttribute = std::optional<ThemeAttributes::Attribute>;

struct TokenField
{
    HLJSClassName name;
    OptionalAttribute ThemeAttributes::*member;
};

// The token entries in field order, which is also the order of the class names after hljs.
constexpr std::array<TokenField, 28> tokenFields{{
    {HLJSClassName::hljsComment, &ThemeAttributes::comment},
    {HLJSClassName::hljsQuote, &ThemeAttributes::quote},
    {HLJSClassName::hljsVariable, &ThemeAttributes::variable},
    {HLJSClassName::hljsTemplateVariable, &ThemeAttributes::templateVariable},
    {HLJSClassName::hljsTag, &ThemeAttributes::tag},
    {HLJSClassName::hljsName, &ThemeAttributes::name},
    {HLJSClassName::hljsSelectorId, &ThemeAttributes::selectorId},
    {HLJSClassName::hljsSelectorClass, &ThemeAttributes::selectorClass},
    {HLJSClassName::hljsRegexp, &ThemeAttributes::regexp},
    {HLJSClassName::hljsDeletion, &ThemeAttributes::deletion},
    {HLJSClassName::hljsNumber, &ThemeAttributes::number},
    {HLJSClassName::hljsBuiltIn, &ThemeAttributes::builtIn},
    {HLJSClassName::hljsLiteral, &ThemeAttributes::literal},
    {HLJSClassName::hljsType, &ThemeAttributes::type},
    {HLJSClassName::hljsParams, &ThemeAttributes::params},
    {HLJSClassName::hljsMeta, &ThemeAttributes::meta},
    {HLJSClassName::hljsLink, &ThemeAttributes::link},
    {HLJSClassName::hljsAttribute, &ThemeAttributes::attribute},
    {HLJSClassName::hljsString, &ThemeAttributes::string},
    {HLJSClassName::hljsSymbol, &ThemeAttributes::symbol},
    {HLJSClassName::hljsBullet, &ThemeAttributes::bullet},
    {HLJSClassName::hljsAddition, &ThemeAttributes::addition},
    {HLJSClassName::hljsTitle, &ThemeAttributes::title},
    {HLJSClassName::hljsSection, &ThemeAttributes::section},
    {HLJSClassName::hljsKeyword, &ThemeAttributes::keyword},
    {HLJSClassName::hljsSelectorTag, &ThemeAttributes::selectorTag},
    {HLJSClassName::hljsEmphasis, &ThemeAttributes::emphasis},
    {HLJSClassName::hljsStrong, &ThemeAttributes::strong},
}};

[[noreturn]] void corrupt(const QString& reason)
{
    throw AppError(
        QStringLiteral("The data couldn’t be read because it isn’t in the correct format."),
        reason);
}

[[noreturn]] void missing(const QString& path)
{
    throw AppError(QStringLiteral("The data couldn’t be read because it is missing."),
                   QStringLiteral("No value associated with key \"%1\".").arg(path));
}

// Null counts as absent for optional keys, as a missing key does.
bool present(const QJsonValue& value)
{
    return !value.isUndefined() && !value.isNull();
}

Color decodeColor(const QJsonValue& value, const QString& path)
{
    if (!value.isString())
        corrupt(QStringLiteral("\"%1\" is not a string.").arg(path));
    return Color::fromString(value.toString());
}

ThemeAttributes::Attribute decodeAttribute(const QJsonValue& value, const QString& path)
{
    if (!value.isObject())
        corrupt(QStringLiteral("\"%1\" is not an object.").arg(path));
    const QJsonObject object = value.toObject();
    ThemeAttributes::Attribute attribute;

    const QJsonValue color = object.value(QLatin1StringView("color"));
    if (present(color))
        attribute.color = decodeColor(color, path + QStringLiteral(".color"));

    const QString listPath = path + QStringLiteral(".textAttributes");
    const QJsonValue list = object.value(QLatin1StringView("textAttributes"));
    if (!present(list))
        missing(listPath);
    if (!list.isArray())
        corrupt(QStringLiteral("\"%1\" is not an array.").arg(listPath));
    const QJsonArray array = list.toArray();
    attribute.textAttributes.reserve(array.size());
    for (const QJsonValue& element : array) {
        if (!element.isString())
            corrupt(QStringLiteral("\"%1\" holds a value that is not a string.").arg(listPath));
        attribute.textAttributes.append({element.toString()});
    }
    return attribute;
}

void encodeAttribute(JsonWriter& writer, const ThemeAttributes::Attribute& attribute)
{
    writer.beginObject();
    if (attribute.color) {
        writer.key(u"color");
        writer.string(attribute.color->toString());
    }
    writer.key(u"textAttributes");
    writer.beginArray();
    for (const ThemeAttributes::TextAttribute& textAttribute : attribute.textAttributes)
        writer.string(textAttribute.rawValue);
    writer.endArray();
    writer.endObject();
}

} // namespace

const ThemeAttributes::Attribute& ThemeAttributes::attributeFor(HLJSClassName name) const
{
    const OptionalAttribute* entry = entryFor(name);
    return entry && entry->has_value() ? **entry : defaultAttributes;
}

const OptionalAttribute* ThemeAttributes::entryFor(HLJSClassName name) const
{
    return const_cast<ThemeAttributes*>(this)->entryFor(name);
}

OptionalAttribute* ThemeAttributes::entryFor(HLJSClassName name)
{
    if (name == HLJSClassName::hljs)
        return nullptr;
    // Token fields follow the enumeration order, one slot after hljs.
    const TokenField& field = tokenFields[static_cast<std::size_t>(name) - 1];
    Q_ASSERT(field.name == name);
    return &(this->*field.member);
}

ThemeAttributes ThemeAttributes::decode(const QByteArray& json)
{
    QJsonParseError parseError{};
    const QJsonDocument document = QJsonDocument::fromJson(json, &parseError);
    if (parseError.error != QJsonParseError::NoError)
        corrupt(
            QStringLiteral("%1 at offset %2").arg(parseError.errorString()).arg(parseError.offset));
    if (!document.isObject())
        corrupt(QStringLiteral("Expected a theme object."));
    const QJsonObject object = document.object();
    ThemeAttributes theme;

    const QJsonValue fontName = object.value(QLatin1StringView("fontName"));
    if (present(fontName)) {
        if (!fontName.isString())
            corrupt(QStringLiteral("\"fontName\" is not a string."));
        theme.fontName = fontName.toString();
    }
    const QJsonValue fontSize = object.value(QLatin1StringView("fontSize"));
    if (present(fontSize)) {
        if (!fontSize.isDouble())
            corrupt(QStringLiteral("\"fontSize\" is not a number."));
        theme.fontSize = fontSize.toDouble();
    }
    const QJsonValue defaultAttributes = object.value(QLatin1StringView("defaultAttributes"));
    if (!present(defaultAttributes))
        missing(QStringLiteral("defaultAttributes"));
    theme.defaultAttributes =
        decodeAttribute(defaultAttributes, QStringLiteral("defaultAttributes"));
    const QJsonValue background = object.value(QLatin1StringView("backgroundColor"));
    if (present(background))
        theme.backgroundColor = decodeColor(background, QStringLiteral("backgroundColor"));

    for (const TokenField& field : tokenFields) {
        const QString key = HLJSClassNames::themeKey(field.name);
        const QJsonValue value = object.value(key);
        if (present(value))
            theme.*field.member = decodeAttribute(value, key);
    }
    return theme;
}

QByteArray ThemeAttributes::encode() const
{
    JsonWriter writer(512);
    writer.beginObject();
    if (fontName) {
        writer.key(u"fontName");
        writer.string(*fontName);
    }
    if (fontSize) {
        writer.key(u"fontSize");
        writer.number(*fontSize);
    }
    writer.key(u"defaultAttributes");
    encodeAttribute(writer, defaultAttributes);
    if (backgroundColor) {
        writer.key(u"backgroundColor");
        writer.string(backgroundColor->toString());
    }
    for (const TokenField& field : tokenFields) {
        const OptionalAttribute& entry = this->*field.member;
        if (!entry)
            continue;
        writer.key(HLJSClassNames::themeKey(field.name));
        encodeAttribute(writer, *entry);
    }
    writer.endObject();
    // Text that is not valid Unicode would otherwise leave the file without it, unnoticed.
    if (!writer.ok())
        throw AppError(
            QStringLiteral("The data couldn’t be written because it isn’t in the correct format."),
            QStringLiteral("A string is not valid Unicode."));
    return writer.take();
}
