// SPDX-License-Identifier: GPL-3.0-or-later
#include "SyntaxHighlight/JavaScriptContext.h"

#include "QuillonCommons/AppLogger.h"

#include "SyntaxHighlight/JavaScriptCoreLibrary.h"

#include <utility>
#include <vector>

namespace {

// Only reached through a context that exists, which the engine's library made.
const JavaScriptCoreLibrary& engine()
{
    return *JavaScriptCoreLibrary::get();
}

// Strings cross the boundary as UTF-16 both ways, which is what QString and the engine hold.
class ScriptString
{
public:
    explicit ScriptString(QStringView text)
        : m_string(engine().JSStringCreateWithCharacters(
              reinterpret_cast<const JSChar*>(text.utf16()), size_t(text.size())))
    {}
    explicit ScriptString(JSStringRef adopted) : m_string(adopted) {}
    ~ScriptString()
    {
        if (m_string)
            engine().JSStringRelease(m_string);
    }
    ScriptString(const ScriptString&) = delete;
    ScriptString& operator=(const ScriptString&) = delete;

    JSStringRef get() const { return m_string; }

    QString toQString() const
    {
        if (!m_string)
            return {};
        return QString(reinterpret_cast<const QChar*>(engine().JSStringGetCharactersPtr(m_string)),
                       qsizetype(engine().JSStringGetLength(m_string)));
    }

private:
    JSStringRef m_string;
};

// The group lives as long as the process; sharing it lets a new context reuse the code that
// earlier contexts compiled.
JSContextGroupRef sharedGroup()
{
    static const JSContextGroupRef group = engine().JSContextGroupCreate();
    return group;
}

std::optional<QString> stringForm(JSContextRef context, JSValueRef value)
{
    if (!value)
        return std::nullopt;
    JSValueRef exception = nullptr;
    JSStringRef string = engine().JSValueToStringCopy(context, value, &exception);
    if (!string || exception) {
        if (string)
            engine().JSStringRelease(string);
        return std::nullopt;
    }
    return ScriptString(string).toQString();
}

JSValueRef logConsoleMessage(JSContextRef context, JSObjectRef, JSObjectRef, size_t count,
                             const JSValueRef arguments[], JSValueRef*)
{
    QStringList parts;
    for (size_t i = 0; i < count; ++i)
        parts.append(stringForm(context, arguments[i]).value_or(QString()));
    AppLogger::debug(QStringLiteral("jsContext console: ") + parts.join(u' '));
    return engine().JSValueMakeUndefined(context);
}

} // namespace

struct JavaScriptContext::Private
{
    JSGlobalContextRef context = nullptr;

    // Without the engine's library there is no context, and nothing made from it is valid.
    Private()
    {
        if (!JavaScriptCoreLibrary::get())
            return;
        context = engine().JSGlobalContextCreateInGroup(sharedGroup(), nullptr);
        installConsole();
    }
    ~Private()
    {
        if (context)
            engine().JSGlobalContextRelease(context);
    }
    Private(const Private&) = delete;
    Private& operator=(const Private&) = delete;

    // Exceptions stop here: a debug line, never anything thrown further.
    void report(JSValueRef exception) const
    {
        AppLogger::debug(QStringLiteral("jsContext exception: ") +
                         stringForm(context, exception).value_or(QString()));
    }

    void installConsole()
    {
        JSObjectRef console = engine().JSObjectMake(context, nullptr, nullptr);
        for (const char* name : {"log", "info", "warn", "error", "debug", "trace"}) {
            ScriptString functionName{QString::fromLatin1(name)};
            JSObjectRef function = engine().JSObjectMakeFunctionWithCallback(
                context, functionName.get(), logConsoleMessage);
            engine().JSObjectSetProperty(context, console, functionName.get(), function,
                                         kJSPropertyAttributeNone, nullptr);
        }
        ScriptString consoleName{u"console"};
        engine().JSObjectSetProperty(context, engine().JSContextGetGlobalObject(context),
                                     consoleName.get(), console, kJSPropertyAttributeNone, nullptr);
    }
};

struct JavaScriptValue::Handle
{
    std::shared_ptr<JavaScriptContext::Private> owner;
    JSValueRef value;

    Handle(std::shared_ptr<JavaScriptContext::Private> context, JSValueRef v)
        : owner(std::move(context)), value(v)
    {
        engine().JSValueProtect(owner->context, value);
    }
    ~Handle() { engine().JSValueUnprotect(owner->context, value); }
    Handle(const Handle&) = delete;
    Handle& operator=(const Handle&) = delete;

    JSContextRef context() const { return owner->context; }

    // The value as an object and one of its properties, or nothing (an exception reported).
    std::optional<std::pair<JSObjectRef, JSValueRef>> propertyOfObject(const QString& name) const
    {
        JSContextRef context = this->context();
        JSValueRef exception = nullptr;
        JSObjectRef object = engine().JSValueToObject(context, value, &exception);
        if (exception || !object) {
            if (exception)
                owner->report(exception);
            return std::nullopt;
        }
        ScriptString propertyName{name};
        JSValueRef result =
            engine().JSObjectGetProperty(context, object, propertyName.get(), &exception);
        if (exception) {
            owner->report(exception);
            return std::nullopt;
        }
        return std::pair{object, result};
    }
};

JavaScriptContext::JavaScriptContext() : d(std::make_shared<Private>()) {}

void JavaScriptContext::setEngineLibrary(const QString& fileName)
{
    JavaScriptCoreLibrary::setFileName(fileName);
}

JavaScriptContext::~JavaScriptContext() = default;

JavaScriptValue JavaScriptContext::evaluate(const QString& script, const QString& sourceName)
{
    if (!d->context)
        return {};
    ScriptString source{script};
    std::optional<ScriptString> url;
    if (!sourceName.isEmpty())
        url.emplace(sourceName);
    JSValueRef exception = nullptr;
    JSValueRef result = engine().JSEvaluateScript(d->context, source.get(), nullptr,
                                                  url ? url->get() : nullptr, 1, &exception);
    if (exception) {
        d->report(exception);
        return {};
    }
    JavaScriptValue value;
    if (result)
        value.h = std::make_shared<JavaScriptValue::Handle>(d, result);
    return value;
}

JavaScriptValue JavaScriptContext::globalValue(const QString& name) const
{
    if (!d->context)
        return {};
    JavaScriptValue global;
    global.h =
        std::make_shared<JavaScriptValue::Handle>(d, engine().JSContextGetGlobalObject(d->context));
    return global.property(name);
}

JavaScriptValue::JavaScriptValue() = default;
JavaScriptValue::~JavaScriptValue() = default;
JavaScriptValue::JavaScriptValue(const JavaScriptValue& other) = default;
JavaScriptValue& JavaScriptValue::operator=(const JavaScriptValue& other) = default;

bool JavaScriptValue::isValid() const
{
    return h != nullptr;
}

bool JavaScriptValue::isUndefined() const
{
    return h && engine().JSValueIsUndefined(h->context(), h->value);
}

bool JavaScriptValue::isString() const
{
    return h && engine().JSValueIsString(h->context(), h->value);
}

std::optional<QString> JavaScriptValue::toString() const
{
    if (!h)
        return std::nullopt;
    JSValueRef exception = nullptr;
    JSStringRef string = engine().JSValueToStringCopy(h->context(), h->value, &exception);
    if (exception) {
        if (string)
            engine().JSStringRelease(string);
        h->owner->report(exception);
        return std::nullopt;
    }
    if (!string)
        return std::nullopt;
    return ScriptString(string).toQString();
}

std::optional<QStringList> JavaScriptValue::toStringList() const
{
    if (!h || !engine().JSValueIsArray(h->context(), h->value))
        return std::nullopt;
    JSContextRef context = h->context();
    JSObjectRef array = engine().JSValueToObject(context, h->value, nullptr);
    if (!array)
        return std::nullopt;
    ScriptString lengthName{u"length"};
    JSValueRef exception = nullptr;
    JSValueRef lengthValue =
        engine().JSObjectGetProperty(context, array, lengthName.get(), &exception);
    if (exception) {
        h->owner->report(exception);
        return std::nullopt;
    }
    const double length = engine().JSValueToNumber(context, lengthValue, nullptr);
    if (!(length >= 0))
        return std::nullopt;
    QStringList strings;
    strings.reserve(qsizetype(length));
    for (unsigned i = 0; i < unsigned(length); ++i) {
        JSValueRef element = engine().JSObjectGetPropertyAtIndex(context, array, i, &exception);
        if (exception) {
            h->owner->report(exception);
            return std::nullopt;
        }
        if (!engine().JSValueIsString(context, element))
            return std::nullopt;
        std::optional<QString> text = stringForm(context, element);
        if (!text)
            return std::nullopt;
        strings.append(*text);
    }
    return strings;
}

std::optional<QList<qint32>> JavaScriptValue::toInt32List() const
{
    if (!h)
        return std::nullopt;
    JSContextRef context = h->context();
    if (engine().JSValueGetTypedArrayType(context, h->value, nullptr) !=
        kJSTypedArrayTypeInt32Array)
        return std::nullopt;
    JSObjectRef array = engine().JSValueToObject(context, h->value, nullptr);
    // Engine versions differ on whether the data pointer includes the view's offset.
    if (!array || engine().JSObjectGetTypedArrayByteOffset(context, array, nullptr) != 0)
        return std::nullopt;
    const size_t length = engine().JSObjectGetTypedArrayLength(context, array, nullptr);
    const auto* data =
        static_cast<const qint32*>(engine().JSObjectGetTypedArrayBytesPtr(context, array, nullptr));
    if (!data && length > 0)
        return std::nullopt;
    return QList<qint32>(data, data + length);
}

JavaScriptValue JavaScriptValue::property(const QString& name) const
{
    const auto found = h ? h->propertyOfObject(name) : std::nullopt;
    if (!found)
        return {};
    JavaScriptValue value;
    value.h = std::make_shared<Handle>(h->owner, found->second);
    return value;
}

JavaScriptValue JavaScriptValue::invokeMethod(const QString& name,
                                              const QList<Argument>& arguments) const
{
    const auto found = h ? h->propertyOfObject(name) : std::nullopt;
    if (!found)
        return {};
    const auto [object, method] = *found;
    JSContextRef context = h->context();
    JSValueRef exception = nullptr;
    JSObjectRef function = engine().JSValueIsObject(context, method)
                               ? engine().JSValueToObject(context, method, nullptr)
                               : nullptr;
    if (!function || !engine().JSObjectIsFunction(context, function))
        return {};

    // The argument list lives on the heap, out of the collector's sight: protect each value
    // until the call returns.
    std::vector<JSValueRef> values;
    values.reserve(size_t(arguments.size()));
    for (const Argument& argument : arguments) {
        JSValueRef value = nullptr;
        if (const QString* text = std::get_if<QString>(&argument)) {
            ScriptString string{*text};
            value = engine().JSValueMakeString(context, string.get());
        } else {
            value = engine().JSValueMakeBoolean(context, std::get<bool>(argument));
        }
        engine().JSValueProtect(context, value);
        values.push_back(value);
    }
    JSValueRef result = engine().JSObjectCallAsFunction(context, function, object, values.size(),
                                                        values.data(), &exception);
    for (JSValueRef value : values)
        engine().JSValueUnprotect(context, value);
    if (exception) {
        h->owner->report(exception);
        return {};
    }
    JavaScriptValue value;
    value.h = std::make_shared<Handle>(h->owner, result);
    return value;
}
