// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>
#include <QStringView>

#include <cstdint>
#include <vector>

// Compact JSON written in the order the caller gives (QJsonObject would sort the keys), straight
// from UTF-16 to UTF-8 in one pass. A string that is not valid Unicode (a lone surrogate)
// marks the writer failed; its data must then not be used.
class JsonWriter
{
public:
    explicit JsonWriter(qsizetype reserve = 0);

    void beginArray();
    void endArray();
    void beginObject();
    void endObject();

    void key(QStringView name);
    void string(QStringView text);
    void boolean(bool value);
    void null();
    void number(std::int64_t value);
    void number(std::uint64_t value);
    void number(double value);

    bool ok() const { return m_ok; }
    const QByteArray& data() const { return m_data; }
    QByteArray take() { return std::move(m_data); }

    static bool appendEscaped(QByteArray& out, QStringView text);

private:
    void separate();

    QByteArray m_data;
    std::vector<bool> m_first;
    bool m_afterKey = false;
    bool m_ok = true;
};
