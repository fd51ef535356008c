// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QList>
#include <QString>

// A colour as its components (red, green, blue, alpha in 0..1; fewer for grey-scale colours).
// Its JSON form is one string, "#RRGGBB".
class Color
{
public:
    // No components at all; prints as "#555555".
    Color() = default;
    explicit Color(QList<double> components);

    // Trims, upper-cases and drops one leading '#'; exactly six hex digits give that colour
    // (alpha 1), anything else the fixed grey 0.3. Never fails.
    static Color fromString(const QString& text);

    // "#RRGGBB" from the first three components (alpha is dropped); "#555555" with fewer than
    // three. A component that is not finite or does not fit an int stops the process.
    QString toString() const;

    const QList<double>& components() const { return m_components; }

    bool operator==(const Color&) const = default;

private:
    QList<double> m_components;
};
