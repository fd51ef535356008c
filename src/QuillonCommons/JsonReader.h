// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>
#include <QByteArrayView>
#include <QString>

#include <optional>

// A pull parser over JSON text, for files read on every start (the library can hold
// thousands of scripts): strings decode straight into QString, nothing else is built.
// Every read answers false on malformed input; errorString() then says what and where.
// Text in UTF-16 or UTF-32, or with a byte-order mark, is read as other JSON readers read it;
// bytes that are not UTF-8 anywhere in a string, keys included, make the text invalid.
class JsonReader
{
public:
    enum class Type
    {
        Object,
        Array,
        String,
        Number,
        Boolean,
        Null,
        Invalid
    };

    explicit JsonReader(const QByteArray& data);

    // The text as UTF-8 without a byte-order mark: UTF-8 as it stands (no copy), UTF-16 and
    // UTF-32 of either byte order told by their mark or, without one, by where the zero bytes
    // of the first (ASCII) characters fall. Nothing when the text is not valid in its encoding.
    static std::optional<QByteArray> utf8Text(const QByteArray& data);

    Type peek();

    bool beginArray();
    // Before each element, and once more at the closing bracket: answers whether an element
    // follows. Check ok() after it answers false.
    bool nextElement();
    bool beginObject();
    // Reads the next key of the current object into `key` (UTF-8, unescaped); false at the end.
    bool nextKey(QByteArray& key);

    bool readString(QString& value);
    bool readBoolean(bool& value);
    bool readNull();
    // The number's text as written (numbers beyond a double's precision stay exact).
    bool readNumber(QByteArrayView& text);
    bool skipValue();
    // True when only white space is left.
    bool atEnd();

    bool ok() const { return m_error.isEmpty(); }
    QString errorString() const { return m_error; }
    bool fail(const QString& message);

private:
    enum class Container
    {
        Array,
        Object
    };

    void skipWhitespace();
    bool expect(char c);
    bool scanString(QByteArray* raw, QString* text);
    bool skipNumber();
    bool skipLiteral(QByteArrayView literal);
    bool continueContainer(Container kind, char close);

    QByteArray m_data;
    const char* m_begin;
    const char* m_p;
    const char* m_end;
    QString m_error;
    // Per nesting level: whether the next element is the first one.
    QByteArray m_firstStack;
    int m_depth = 0;
};
