// SPDX-License-Identifier: GPL-3.0-or-later
#include "QuillonCommons/JsonWriter.h"

#include <QLocale>
#include <QString>

#include <cmath>

JsonWriter::JsonWriter(qsizetype reserve)
{
    if (reserve > 0)
        m_data.reserve(reserve);
}

void JsonWriter::separate()
{
    if (m_afterKey) {
        m_afterKey = false;
        return;
    }
    if (!m_first.empty()) {
        if (!m_first.back())
            m_data.append(',');
        m_first.back() = false;
    }
}

void JsonWriter::beginArray()
{
    separate();
    m_data.append('[');
    m_first.push_back(true);
}

void JsonWriter::endArray()
{
    m_data.append(']');
    m_first.pop_back();
}

void JsonWriter::beginObject()
{
    separate();
    m_data.append('{');
    m_first.push_back(true);
}

void JsonWriter::endObject()
{
    m_data.append('}');
    m_first.pop_back();
}

void JsonWriter::key(QStringView name)
{
    separate();
    m_ok = appendEscaped(m_data, name) && m_ok;
    m_data.append(':');
    m_afterKey = true;
}

void JsonWriter::string(QStringView text)
{
    separate();
    m_ok = appendEscaped(m_data, text) && m_ok;
}

void JsonWriter::boolean(bool value)
{
    separate();
    m_data.append(value ? "true" : "false");
}

void JsonWriter::null()
{
    separate();
    m_data.append("null");
}

void JsonWriter::number(std::int64_t value)
{
    separate();
    m_data.append(QByteArray::number(qlonglong(value)));
}

void JsonWriter::number(std::uint64_t value)
{
    separate();
    m_data.append(QByteArray::number(qulonglong(value)));
}

void JsonWriter::number(double value)
{
    separate();
    if (!std::isfinite(value)) {
        m_ok = false;
        m_data.append("null");
        return;
    }
    m_data.append(QString::number(value, 'g', QLocale::FloatingPointShortest).toLatin1());
}

namespace {

// Bytes that one UTF-16 unit becomes, escaped; 0 marks a lone surrogate.
inline int escapedLength(const char16_t* p, qsizetype i, qsizetype n)
{
    const char16_t c = p[i];
    if (c < 0x80) {
        if (c >= 0x20 && c != '"' && c != '\\')
            return 1;
        switch (c) {
        case '"':
        case '\\':
        case '\n':
        case '\r':
        case '\t':
        case '\b':
        case '\f':
            return 2;
        default:
            return 6;
        }
    }
    if (c < 0x800)
        return 2;
    if (c < 0xD800 || c > 0xDFFF)
        return 3;
    if (c <= 0xDBFF && i + 1 < n && p[i + 1] >= 0xDC00 && p[i + 1] <= 0xDFFF)
        return 4; // the pair: four bytes for two units
    return 0;
}

} // namespace

bool JsonWriter::appendEscaped(QByteArray& out, QStringView text)
{
    static const char hex[] = "0123456789abcdef";
    const char16_t* p = text.utf16();
    const qsizetype n = text.size();

    // Measure first, then fill a buffer of exactly that size: no per-byte appends.
    qsizetype length = 2;
    bool ok = true;
    for (qsizetype i = 0; i < n; ++i) {
        const int bytes = escapedLength(p, i, n);
        if (bytes == 0) {
            ok = false;
            continue;
        }
        length += bytes;
        if (bytes == 4)
            ++i;
    }

    const qsizetype start = out.size();
    out.resize(start + length);
    char* o = out.data() + start;
    *o++ = '"';
    for (qsizetype i = 0; i < n; ++i) {
        char32_t c = p[i];
        if (c < 0x80) {
            if (c >= 0x20 && c != '"' && c != '\\') {
                *o++ = char(c);
                continue;
            }
            *o++ = '\\';
            switch (c) {
            case '"':
                *o++ = '"';
                break;
            case '\\':
                *o++ = '\\';
                break;
            case '\n':
                *o++ = 'n';
                break;
            case '\r':
                *o++ = 'r';
                break;
            case '\t':
                *o++ = 't';
                break;
            case '\b':
                *o++ = 'b';
                break;
            case '\f':
                *o++ = 'f';
                break;
            default:
                *o++ = 'u';
                *o++ = '0';
                *o++ = '0';
                *o++ = hex[c >> 4];
                *o++ = hex[c & 0xF];
            }
            continue;
        }
        if (c < 0x800) {
            *o++ = char(0xC0 | (c >> 6));
            *o++ = char(0x80 | (c & 0x3F));
            continue;
        }
        if (c >= 0xD800 && c <= 0xDFFF) {
            if (escapedLength(p, i, n) == 0)
                continue;
            c = 0x10000 + ((c - 0xD800) << 10) + (char32_t(p[i + 1]) - 0xDC00);
            ++i;
            *o++ = char(0xF0 | (c >> 18));
            *o++ = char(0x80 | ((c >> 12) & 0x3F));
            *o++ = char(0x80 | ((c >> 6) & 0x3F));
            *o++ = char(0x80 | (c & 0x3F));
            continue;
        }
        *o++ = char(0xE0 | (c >> 12));
        *o++ = char(0x80 | ((c >> 6) & 0x3F));
        *o++ = char(0x80 | (c & 0x3F));
    }
    *o++ = '"';
    return ok;
}
