// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <JavaScriptCore/JSTypedArray.h>
#include <JavaScriptCore/JavaScript.h>

#include <QString>

// The JavaScript engine's library, opened on first use instead of at start-up: loading and
// relocating it costs more than the rest of a launch in the tray, and most runs of the
// application never highlight anything.
//
// Each entry point is a member of the same name and type as the engine's own function.
class JavaScriptCoreLibrary
{
public:
#define BRAMBLEWORTH_JSC_FUNCTIONS(X)                                                              \
    X(JSContextGetGlobalObject)                                                                    \
    X(JSContextGroupCreate)                                                                        \
    X(JSEvaluateScript)                                                                            \
    X(JSGlobalContextCreateInGroup)                                                                \
    X(JSGlobalContextRelease)                                                                      \
    X(JSObjectCallAsFunction)                                                                      \
    X(JSObjectGetProperty)                                                                         \
    X(JSObjectGetPropertyAtIndex)                                                                  \
    X(JSObjectGetTypedArrayByteOffset)                                                             \
    X(JSObjectGetTypedArrayBytesPtr)                                                               \
    X(JSObjectGetTypedArrayLength)                                                                 \
    X(JSObjectIsFunction)                                                                          \
    X(JSObjectMake)                                                                                \
    X(JSObjectMakeFunctionWithCallback)                                                            \
    X(JSObjectSetProperty)                                                                         \
    X(JSStringCreateWithCharacters)                                                                \
    X(JSStringGetCharactersPtr)                                                                    \
    X(JSStringGetLength)                                                                           \
    X(JSStringRelease)                                                                             \
    X(JSValueGetTypedArrayType)                                                                    \
    X(JSValueIsArray)                                                                              \
    X(JSValueIsObject)                                                                             \
    X(JSValueIsString)                                                                             \
    X(JSValueIsUndefined)                                                                          \
    X(JSValueMakeBoolean)                                                                          \
    X(JSValueMakeString)                                                                           \
    X(JSValueMakeUndefined)                                                                        \
    X(JSValueProtect)                                                                              \
    X(JSValueToNumber)                                                                             \
    X(JSValueToObject)                                                                             \
    X(JSValueToStringCopy)                                                                         \
    X(JSValueUnprotect)

#define BRAMBLEWORTH_JSC_MEMBER(name) decltype(&::name) name = nullptr;
    BRAMBLEWORTH_JSC_FUNCTIONS(BRAMBLEWORTH_JSC_MEMBER)
#undef BRAMBLEWORTH_JSC_MEMBER

    // The opened library, or none when it or one of its entry points is missing (logged once).
    // Opened once per process and never closed: contexts may live until the very end.
    static const JavaScriptCoreLibrary* get();

    // The file opened by get(); a test may point it elsewhere before the first use.
    static void setFileName(const QString& fileName);

private:
    JavaScriptCoreLibrary() = default;
};
