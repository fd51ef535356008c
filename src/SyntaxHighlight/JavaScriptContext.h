// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QList>
#include <QString>
#include <QStringList>

#include <memory>
#include <optional>
#include <variant>

class JavaScriptValue;

// One JavaScript global context of the embedded engine. The engine's own types stay inside
// the implementation; callers see only this class and JavaScriptValue.
//
// Every context joins one process-wide context group, so later contexts reuse the engine's
// compiled code and start several times faster than the first. Exceptions thrown inside the
// context never leave it: they are logged at debug level and the call yields no value.
// The global "console" writes to the debug log, never to standard output.
class JavaScriptContext
{
public:
    JavaScriptContext();
    ~JavaScriptContext();
    JavaScriptContext(const JavaScriptContext&) = delete;
    JavaScriptContext& operator=(const JavaScriptContext&) = delete;

    // Runs a script in the global scope; the result is the script's completion value,
    // invalid after an exception.
    JavaScriptValue evaluate(const QString& script, const QString& sourceName = {});
    JavaScriptValue globalValue(const QString& name) const;

    // The engine's library is opened with the first context; before that a test may name
    // another file. Without the library every context is empty and every value invalid.
    static void setEngineLibrary(const QString& fileName);

    struct Private;

private:
    std::shared_ptr<Private> d;
};

// A value living in a context. It keeps its context alive, so a value may outlive the
// JavaScriptContext object that produced it.
class JavaScriptValue
{
public:
    using Argument = std::variant<QString, bool>;

    JavaScriptValue();
    ~JavaScriptValue();
    JavaScriptValue(const JavaScriptValue& other);
    JavaScriptValue& operator=(const JavaScriptValue& other);

    // False for a value that could not be produced (an exception, no context).
    bool isValid() const;
    bool isUndefined() const;
    bool isString() const;

    // The value's string form (JavaScript's String(value)); nothing after an exception.
    std::optional<QString> toString() const;
    // An array whose elements are all strings; nothing for anything else.
    std::optional<QStringList> toStringList() const;
    // The elements of an Int32Array that starts its buffer; nothing for anything else.
    std::optional<QList<qint32>> toInt32List() const;

    JavaScriptValue property(const QString& name) const;
    // Calls the method `name` of this object with the arguments; invalid on an exception or
    // when the property is not a function.
    JavaScriptValue invokeMethod(const QString& name, const QList<Argument>& arguments) const;

private:
    friend class JavaScriptContext;
    struct Handle;
    std::shared_ptr<Handle> h;
};
