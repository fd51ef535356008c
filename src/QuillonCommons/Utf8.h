// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>
#include <QByteArrayView>
#include <QString>

#include <optional>

// Strict UTF-8 in both directions. Text that cannot be encoded (a lone surrogate) is never
// written, and bytes that are not valid UTF-8 are never shown as replacement characters.
class Utf8
{
public:
    static std::optional<QString> decode(QByteArrayView bytes);
    static std::optional<QByteArray> encode(const QString& text);
    static bool isEncodable(const QString& text);
    // Well-formed UTF-8: no overlong forms, surrogates or code points above U+10FFFF.
    static bool isValid(QByteArrayView bytes);
};
