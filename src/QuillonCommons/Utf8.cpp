// SPDX-License-Identifier: GPL-3.0-or-later
#include "QuillonCommons/Utf8.h"

#include <QStringDecoder>

std::optional<QString> Utf8::decode(QByteArrayView bytes)
{
    QStringDecoder decoder(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
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
