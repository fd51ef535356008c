// SPDX-License-Identifier: GPL-3.0-or-later
#include "QuillonCommons/Utf8.h"

#include <QStringDecoder>

std::optional<QString> Utf8::decode(QByteArrayView bytes)
{
    // ConvertInitialBom: a text that starts with U+FEFF keeps it; the decoder would drop it.
    QStringDecoder decoder(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless |
                                                     QStringDecoder::Flag::ConvertInitialBom);
    QString text = decoder.decode(bytes);
    if (decoder.hasError())
        return std::nullopt;
    return text;
}

bool Utf8::isEncodable(const QString& text)
{
    const QChar* p = text.constData();
    const qsizetype n = text.size();
    for (qsizetype i = 0; i < n; ++i) {
        const char16_t c = p[i].unicode();
        if (c < 0xD800 || c > 0xDFFF)
            continue;
        if (c <= 0xDBFF && i + 1 < n && p[i + 1].unicode() >= 0xDC00 &&
            p[i + 1].unicode() <= 0xDFFF) {
            ++i;
            continue;
        }
        return false;
    }
    return true;
}

std::optional<QByteArray> Utf8::encode(const QString& text)
{
    if (!isEncodable(text))
        return std::nullopt;
    return text.toUtf8();
}

bool Utf8::isValid(QByteArrayView bytes)
{
    const auto* p = reinterpret_cast<const unsigned char*>(bytes.data());
    const auto* const end = p + bytes.size();
    while (p < end) {
        const unsigned char c = *p;
        if (c < 0x80) {
            ++p;
            continue;
        }
        int length = 0;
        // The bounds of the second byte rule out overlong forms, surrogates and values past
        // U+10FFFF (RFC 3629's table).
        unsigned char low = 0x80;
        unsigned char high = 0xBF;
        if (c >= 0xC2 && c <= 0xDF) {
            length = 2;
        } else if (c >= 0xE0 && c <= 0xEF) {
            length = 3;
            if (c == 0xE0)
                low = 0xA0;
            else if (c == 0xED)
                high = 0x9F;
        } else if (c >= 0xF0 && c <= 0xF4) {
            length = 4;
            if (c == 0xF0)
                low = 0x90;
            else if (c == 0xF4)
                high = 0x8F;
        } else {
            return false;
        }
        if (end - p < length || p[1] < low || p[1] > high)
            return false;
        for (int i = 2; i < length; ++i) {
            if ((p[i] & 0xC0) != 0x80)
                return false;
        }
        p += length;
    }
    return true;
}
