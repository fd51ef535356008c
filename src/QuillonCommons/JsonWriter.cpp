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

bool JsonWriter::appendEscaped(QByteArray& out, QStringView text)
{
    static const char hex[] = "0123456789abcdef";
    out.reserve(out.size() + text.size() + 2);
    out.append('"');
    const char16_t* p = text.utf16();
    const qsizetype n = text.size();
    bool ok = true;
    for (qsizetype i = 0; i < n; ++i) {
        char32_t c = p[i];
        if (c < 0x80) {
            switch (c) {
            case '"':
                out.append("\\\"", 2);
                break;
            case '\\':
                out.append("\\\\", 2);
                break;
            case '\n':
                out.append("\\n", 2);
                break;
            case '\r':
                out.append("\\r", 2);
                break;
            case '\t':
                out.append("\\t", 2);
                break;
            case '\b':
                out.append("\\b", 2);
                break;
            case '\f':
                out.append("\\f", 2);
                break;
            default:
                if (c < 0x20) {
                    const char escape[6] = {'\\', 'u', '0', '0', hex[c >> 4], hex[c & 0xF]};
                    out.append(escape, 6);
                } else {
                    out.append(char(c));
                }
            }
            continue;
        }
        if (c >= 0xD800 && c <= 0xDFFF) {
            if (c <= 0xDBFF && i + 1 < n && p[i + 1] >= 0xDC00 && p[i + 1] <= 0xDFFF) {
                c = 0x10000 + ((c - 0xD800) << 10) + (char32_t(p[i + 1]) - 0xDC00);
                ++i;
            } else {
                ok = false;
                continue;
            }
        }
        char bytes[4];
        int len;
        if (c < 0x800) {
            bytes[0] = char(0xC0 | (c >> 6));
            bytes[1] = char(0x80 | (c & 0x3F));
            len = 2;
        } else if (c < 0x10000) {
            bytes[0] = char(0xE0 | (c >> 12));
            bytes[1] = char(0x80 | ((c >> 6) & 0x3F));
            bytes[2] = char(0x80 | (c & 0x3F));
            len = 3;
        } else {
            bytes[0] = char(0xF0 | (c >> 18));
            bytes[1] = char(0x80 | ((c >> 12) & 0x3F));
            bytes[2] = char(0x80 | ((c >> 6) & 0x3F));
            bytes[3] = char(0x80 | (c & 0x3F));
            len = 4;
        }
        out.append(bytes, len);
    }
    out.append('"');
    return ok;
}
