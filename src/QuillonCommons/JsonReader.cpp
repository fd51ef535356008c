// SPDX-License-Identifier: GPL-3.0-or-later
#include "QuillonCommons/JsonReader.h"

#include "QuillonCommons/Utf8.h"

#include <QStringDecoder>

namespace {
constexpr int maxDepth = 512;

int hexValue(char c)
{
    if (c >= '0' && c <= '9')
        return c - '0';
    if (c >= 'a' && c <= 'f')
        return c - 'a' + 10;
    if (c >= 'A' && c <= 'F')
        return c - 'A' + 10;
    return -1;
}
} // namespace

JsonReader::JsonReader(const QByteArray& data)
{
    const auto text = utf8Text(data);
    m_data = text.value_or(QByteArray());
    m_begin = m_p = m_data.constData();
    m_end = m_begin + m_data.size();
    if (!text)
        fail(QStringLiteral("text is not valid in its encoding"));
}

std::optional<QByteArray> JsonReader::utf8Text(const QByteArray& data)
{
    const qsizetype n = data.size();
    const auto at = [&data, n](qsizetype i) {
        return i < n ? int(uchar(data.at(i))) : -1;
    };
    if (at(0) == 0xEF && at(1) == 0xBB && at(2) == 0xBF)
        return data.mid(3);

    // Without a mark: JSON text starts with an ASCII character, so the zero bytes around it
    // give the encoding away.
    QStringConverter::Encoding encoding = QStringConverter::Utf8;
    qsizetype mark = 0;
    if (at(0) == 0 && at(1) == 0 && at(2) == 0xFE && at(3) == 0xFF) {
        encoding = QStringConverter::Utf32BE;
        mark = 4;
    } else if (at(0) == 0xFF && at(1) == 0xFE && at(2) == 0 && at(3) == 0) {
        encoding = QStringConverter::Utf32LE;
        mark = 4;
    } else if (at(0) == 0xFE && at(1) == 0xFF) {
        encoding = QStringConverter::Utf16BE;
        mark = 2;
    } else if (at(0) == 0xFF && at(1) == 0xFE) {
        encoding = QStringConverter::Utf16LE;
        mark = 2;
    } else if (n >= 4 && at(0) == 0 && at(1) == 0 && at(2) == 0) {
        encoding = QStringConverter::Utf32BE;
    } else if (n >= 4 && at(1) == 0 && at(2) == 0 && at(3) == 0) {
        encoding = QStringConverter::Utf32LE;
    } else if (n >= 2 && at(0) == 0) {
        encoding = QStringConverter::Utf16BE;
    } else if (n >= 2 && at(1) == 0) {
        encoding = QStringConverter::Utf16LE;
    } else {
        return data;
    }

    // The mark is cut off here, so a U+FEFF right after it stays text.
    QStringDecoder decoder(encoding, QStringDecoder::Flag::Stateless |
                                         QStringDecoder::Flag::ConvertInitialBom);
    const QString text = decoder.decode(QByteArrayView(data).sliced(mark));
    if (decoder.hasError())
        return std::nullopt;
    return Utf8::encode(text);
}

bool JsonReader::fail(const QString& message)
{
    if (m_error.isEmpty())
        m_error = message + QStringLiteral(" at offset ") + QString::number(m_p - m_begin);
    m_p = m_end;
    return false;
}

void JsonReader::skipWhitespace()
{
    while (m_p < m_end && (*m_p == ' ' || *m_p == '\n' || *m_p == '\r' || *m_p == '\t'))
        ++m_p;
}

bool JsonReader::expect(char c)
{
    skipWhitespace();
    if (m_p >= m_end || *m_p != c)
        return fail(QStringLiteral("expected '%1'").arg(QLatin1Char(c)));
    ++m_p;
    return true;
}

JsonReader::Type JsonReader::peek()
{
    skipWhitespace();
    if (m_p >= m_end)
        return Type::Invalid;
    switch (*m_p) {
    case '{':
        return Type::Object;
    case '[':
        return Type::Array;
    case '"':
        return Type::String;
    case 't':
    case 'f':
        return Type::Boolean;
    case 'n':
        return Type::Null;
    default:
        return (*m_p == '-' || (*m_p >= '0' && *m_p <= '9')) ? Type::Number : Type::Invalid;
    }
}

bool JsonReader::beginArray()
{
    if (!expect('['))
        return false;
    if (++m_depth > maxDepth)
        return fail(QStringLiteral("nesting too deep"));
    m_firstStack.append(char(1));
    return true;
}

bool JsonReader::beginObject()
{
    if (!expect('{'))
        return false;
    if (++m_depth > maxDepth)
        return fail(QStringLiteral("nesting too deep"));
    m_firstStack.append(char(1));
    return true;
}

bool JsonReader::continueContainer(Container kind, char close)
{
    if (!ok() || m_firstStack.isEmpty())
        return false;
    skipWhitespace();
    if (m_p >= m_end)
        return fail(QStringLiteral("unexpected end of data"));
    const bool first = m_firstStack.back() != 0;
    if (*m_p == close) {
        ++m_p;
        m_firstStack.chop(1);
        --m_depth;
        return false;
    }
    if (!first) {
        if (*m_p != ',')
            return fail(kind == Container::Array ? QStringLiteral("expected ',' or ']'")
                                                 : QStringLiteral("expected ',' or '}'"));
        ++m_p;
    }
    m_firstStack.back() = 0;
    return true;
}

bool JsonReader::nextElement()
{
    return continueContainer(Container::Array, ']');
}

bool JsonReader::nextKey(QByteArray& key)
{
    if (!continueContainer(Container::Object, '}'))
        return false;
    skipWhitespace();
    if (m_p >= m_end || *m_p != '"')
        return fail(QStringLiteral("expected a key"));
    if (!scanString(&key, nullptr))
        return false;
    return expect(':');
}

// Reads a string at m_p into `raw` (UTF-8) or `text`. Runs without escapes are copied whole.
bool JsonReader::scanString(QByteArray* raw, QString* text)
{
    ++m_p; // opening quote
    const char* runStart = m_p;
    QByteArray pieces;
    bool escaped = false;
    for (;;) {
        while (m_p < m_end && *m_p != '"' && *m_p != '\\' &&
               static_cast<unsigned char>(*m_p) >= 0x20)
            ++m_p;
        if (m_p >= m_end)
            return fail(QStringLiteral("unterminated string"));
        if (static_cast<unsigned char>(*m_p) < 0x20)
            return fail(QStringLiteral("control character in a string"));
        if (*m_p == '"')
            break;
        // An escape: keep what came before it, then decode it.
        escaped = true;
        pieces.append(runStart, m_p - runStart);
        if (m_end - m_p < 2)
            return fail(QStringLiteral("unterminated escape"));
        const char e = m_p[1];
        m_p += 2;
        switch (e) {
        case '"':
        case '\\':
        case '/':
            pieces.append(e);
            break;
        case 'b':
            pieces.append('\b');
            break;
        case 'f':
            pieces.append('\f');
            break;
        case 'n':
            pieces.append('\n');
            break;
        case 'r':
            pieces.append('\r');
            break;
        case 't':
            pieces.append('\t');
            break;
        case 'u': {
            auto readUnit = [this](char32_t& unit) {
                if (m_end - m_p < 4)
                    return false;
                unit = 0;
                for (int i = 0; i < 4; ++i) {
                    const int h = hexValue(m_p[i]);
                    if (h < 0)
                        return false;
                    unit = (unit << 4) | char32_t(h);
                }
                m_p += 4;
                return true;
            };
            char32_t unit = 0;
            if (!readUnit(unit))
                return fail(QStringLiteral("bad \\u escape"));
            if (unit >= 0xD800 && unit <= 0xDBFF && m_end - m_p >= 6 && m_p[0] == '\\' &&
                m_p[1] == 'u') {
                const char* save = m_p;
                m_p += 2;
                char32_t low = 0;
                if (readUnit(low) && low >= 0xDC00 && low <= 0xDFFF)
                    unit = 0x10000 + ((unit - 0xD800) << 10) + (low - 0xDC00);
                else
                    m_p = save;
            }
            if (unit >= 0xD800 && unit <= 0xDFFF)
                return fail(QStringLiteral("unpaired surrogate escape"));
            const QString one = QString::fromUcs4(&unit, 1);
            pieces.append(one.toUtf8());
            break;
        }
        default:
            return fail(QStringLiteral("bad escape"));
        }
        runStart = m_p;
    }
    const char* runEnd = m_p;
    ++m_p; // closing quote
    QByteArrayView bytes;
    if (escaped) {
        pieces.append(runStart, runEnd - runStart);
        bytes = pieces;
    } else {
        bytes = QByteArrayView(runStart, runEnd - runStart);
    }
    if (raw) {
        if (!Utf8::isValid(bytes))
            return fail(QStringLiteral("string is not valid UTF-8"));
        *raw = bytes.toByteArray();
        return true;
    }
    const auto decoded = Utf8::decode(bytes);
    if (!decoded)
        return fail(QStringLiteral("string is not valid UTF-8"));
    *text = *decoded;
    return true;
}

bool JsonReader::readString(QString& value)
{
    skipWhitespace();
    if (m_p >= m_end || *m_p != '"')
        return fail(QStringLiteral("expected a string"));
    return scanString(nullptr, &value);
}

bool JsonReader::readNumber(QByteArrayView& text)
{
    skipWhitespace();
    const char* start = m_p;
    if (!skipNumber())
        return false;
    text = QByteArrayView(start, m_p - start);
    return true;
}

bool JsonReader::skipLiteral(QByteArrayView literal)
{
    if (m_end - m_p < literal.size() || QByteArrayView(m_p, literal.size()) != literal)
        return fail(QStringLiteral("bad literal"));
    m_p += literal.size();
    return true;
}

bool JsonReader::readBoolean(bool& value)
{
    skipWhitespace();
    if (m_p < m_end && *m_p == 't') {
        value = true;
        return skipLiteral("true");
    }
    if (m_p < m_end && *m_p == 'f') {
        value = false;
        return skipLiteral("false");
    }
    return fail(QStringLiteral("expected a boolean"));
}

bool JsonReader::readNull()
{
    skipWhitespace();
    return skipLiteral("null");
}

bool JsonReader::skipNumber()
{
    const char* start = m_p;
    if (m_p < m_end && *m_p == '-')
        ++m_p;
    if (m_p >= m_end || *m_p < '0' || *m_p > '9')
        return fail(QStringLiteral("bad number"));
    if (*m_p == '0')
        ++m_p;
    else
        while (m_p < m_end && *m_p >= '0' && *m_p <= '9')
            ++m_p;
    if (m_p < m_end && *m_p == '.') {
        ++m_p;
        if (m_p >= m_end || *m_p < '0' || *m_p > '9')
            return fail(QStringLiteral("bad number"));
        while (m_p < m_end && *m_p >= '0' && *m_p <= '9')
            ++m_p;
    }
    if (m_p < m_end && (*m_p == 'e' || *m_p == 'E')) {
        ++m_p;
        if (m_p < m_end && (*m_p == '+' || *m_p == '-'))
            ++m_p;
        if (m_p >= m_end || *m_p < '0' || *m_p > '9')
            return fail(QStringLiteral("bad number"));
        while (m_p < m_end && *m_p >= '0' && *m_p <= '9')
            ++m_p;
    }
    return m_p > start;
}

bool JsonReader::skipValue()
{
    switch (peek()) {
    case Type::Object: {
        if (!beginObject())
            return false;
        QByteArray key;
        while (nextKey(key)) {
            if (!skipValue())
                return false;
        }
        return ok();
    }
    case Type::Array:
        if (!beginArray())
            return false;
        while (nextElement()) {
            if (!skipValue())
                return false;
        }
        return ok();
    case Type::String: {
        QByteArray ignored;
        return scanString(&ignored, nullptr);
    }
    case Type::Number:
        return skipNumber();
    case Type::Boolean: {
        bool ignored = false;
        return readBoolean(ignored);
    }
    case Type::Null:
        return readNull();
    case Type::Invalid:
        break;
    }
    return fail(QStringLiteral("expected a value"));
}

bool JsonReader::atEnd()
{
    skipWhitespace();
    return m_p >= m_end;
}
