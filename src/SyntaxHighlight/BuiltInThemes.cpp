// SPDX-License-Identifier: GPL-3.0-or-later
#include "SyntaxHighlight/BuiltInThemes.h"

#include "QuillonCommons/AppError.h"
#include "QuillonCommons/AppLogger.h"
#include "SyntaxHighlight/BuiltInThemesData.h"

#include <QHash>

namespace {

struct Catalogue
{
    QStringList names;
    QHash<QString, QByteArray> texts;
};

const Catalogue& catalogue()
{
    static const Catalogue instance = [] {
        Catalogue c;
        c.names.reserve(qsizetype(BuiltInThemesData::count));
        for (std::size_t i = 0; i < BuiltInThemesData::count; ++i) {
            const BuiltInThemesData::Entry& entry = BuiltInThemesData::entries[i];
            const QString name = QString::fromUtf8(entry.name);
            c.names.append(name);
            // The literal lives for the whole process, so the bytes need no copy.
            c.texts.insert(name,
                           QByteArray::fromRawData(entry.json, qsizetype(qstrlen(entry.json))));
        }
        return c;
    }();
    return instance;
}

} // namespace

const QStringList& BuiltInThemes::names()
{
    return catalogue().names;
}

std::optional<QByteArray> BuiltInThemes::json(const QString& name)
{
    const auto& texts = catalogue().texts;
    const auto it = texts.constFind(name);
    if (it == texts.constEnd())
        return std::nullopt;
    return *it;
}

std::optional<ThemeAttributes> BuiltInThemes::theme(const QString& name)
{
    const std::optional<QByteArray> text = json(name);
    if (!text)
        return std::nullopt;
    try {
        return ThemeAttributes::decode(*text);
    } catch (const AppError& error) {
        AppLogger::error(error, QStringLiteral("BuiltInThemes::theme"), __LINE__);
        return std::nullopt;
    }
}
