// SPDX-License-Identifier: GPL-3.0-or-later
#include "SyntaxHighlight/ThemeAttributes.h"

#include "QuillonCommons/AppError.h"

const ThemeAttributes::Attribute& ThemeAttributes::attributeFor(HLJSClassName name) const
{
    const std::optional<Attribute>* entry = entryFor(name);
    return entry && entry->has_value() ? **entry : defaultAttributes;
}

const std::optional<ThemeAttributes::Attribute>* ThemeAttributes::entryFor(HLJSClassName) const
{
    return nullptr;
}

std::optional<ThemeAttributes::Attribute>* ThemeAttributes::entryFor(HLJSClassName)
{
    return nullptr;
}

ThemeAttributes ThemeAttributes::decode(const QByteArray&)
{
    throw AppError(QStringLiteral("theme decoding not available yet"));
}

QByteArray ThemeAttributes::encode() const
{
    return {};
}
