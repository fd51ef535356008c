// SPDX-License-Identifier: GPL-3.0-or-later
#include "SyntaxHighlight/HighlightFormats.h"

#include "QuillonCommons/AppLogger.h"

#include <QFontDatabase>
#include <QFontInfo>

#include <algorithm>

namespace {

// Whether one of the family's faces has the traits, without falling back to synthesis.
bool familyHasFace(const QString& family, bool bold, bool italic)
{
    for (const QString& style : QFontDatabase::styles(family)) {
        const bool faceBold = QFontDatabase::weight(family, style) >= QFont::DemiBold;
        // Oblique faces serve as italic ones.
        const bool faceItalic =
            QFontDatabase::font(family, style, 12).style() != QFont::StyleNormal;
        if ((!bold || faceBold) && (!italic || faceItalic))
            return true;
    }
    return false;
}

} // namespace

QFont HighlightFormats::font(const HighlightFont& font)
{
    QFont result = font.name.isEmpty() ? QFontDatabase::systemFont(QFontDatabase::GeneralFont)
                                       : QFont(font.name);
    result.setPointSizeF(font.size);
    if (!font.bold && !font.italic)
        return result;

    const QString family = QFontInfo(result).family();
    if (!familyHasFace(family, font.bold, font.italic)) {
        AppLogger::error(QStringLiteral("cannot create font descriptor for ") + font.description() +
                         QStringLiteral(" with symbolics traits ") + font.traitsDescription());
        return result;
    }
    result.setBold(font.bold);
    result.setItalic(font.italic);
    return result;
}

QColor HighlightFormats::color(const Color& color)
{
    const QList<double>& c = color.components();
    auto unit = [](double value) {
        return std::clamp(value, 0.0, 1.0);
    };
    if (c.size() >= 3)
        return QColor::fromRgbF(float(unit(c[0])), float(unit(c[1])), float(unit(c[2])),
                                float(c.size() > 3 ? unit(c[3]) : 1.0));
    if (!c.isEmpty())
        return QColor::fromRgbF(float(unit(c[0])), float(unit(c[0])), float(unit(c[0])),
                                float(c.size() > 1 ? unit(c[1]) : 1.0));
    return QColor(Qt::black);
}

QTextCharFormat HighlightFormats::format(const TextAttributes& attributes)
{
    QTextCharFormat format;
    if (attributes.font)
        format.setFont(font(*attributes.font), QTextCharFormat::FontPropertiesAll);
    if (attributes.foregroundColor)
        format.setForeground(color(*attributes.foregroundColor));
    return format;
}
