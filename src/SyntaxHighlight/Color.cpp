// SPDX-License-Identifier: GPL-3.0-or-later
#include "SyntaxHighlight/Color.h"

#include <QtGlobal>

#include <algorithm>
#include <cmath>
#include <limits>

Color::Color(QList<double> components) : m_components(std::move(components)) {}

Color Color::fromString(const QString& text)
{
    QString hex = text.trimmed().toUpper();
    if (hex.startsWith(QLatin1Char('#')))
        hex.remove(0, 1);
    // Only six plain hex digits count: toUInt() alone would also take a sign or a "0X" prefix.
    const bool sixDigits =
        hex.size() == 6 && std::all_of(hex.cbegin(), hex.cend(), [](QChar c) {
            return c.isDigit() || (c >= QLatin1Char('A') && c <= QLatin1Char('F'));
        });
    if (sixDigits) {
        const uint value = hex.toUInt(nullptr, 16);
        return Color({((value >> 16) & 0xFF) / 255.0, ((value >> 8) & 0xFF) / 255.0,
                      (value & 0xFF) / 255.0, 1.0});
    }
    return Color({0.3, 0.3, 0.3, 1.0});
}

namespace {

int toByte(double component)
{
    const double scaled = component * 255.0;
    if (!std::isfinite(scaled) || scaled <= double(std::numeric_limits<int>::min()) - 1.0 ||
        scaled >= double(std::numeric_limits<int>::max()) + 1.0) {
        qFatal("colour component out of range");
    }
    return static_cast<int>(scaled) & 0xFF;
}

} // namespace

QString Color::toString() const
{
    if (m_components.size() < 3)
        return QStringLiteral("#555555");
    return QString::asprintf("#%02X%02X%02X", toByte(m_components[0]), toByte(m_components[1]),
                             toByte(m_components[2]));
}
