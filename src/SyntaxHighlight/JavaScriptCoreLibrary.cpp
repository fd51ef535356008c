// SPDX-License-Identifier: GPL-3.0-or-later
#include "SyntaxHighlight/JavaScriptCoreLibrary.h"

#include "QuillonCommons/AppLogger.h"

#include <QFile>

#include <dlfcn.h>

namespace {

QString& fileName()
{
    static QString name = QStringLiteral(BRAMBLEWORTH_JAVASCRIPTCORE_LIBRARY);
    return name;
}

} // namespace

void JavaScriptCoreLibrary::setFileName(const QString& name)
{
    fileName() = name;
}

const JavaScriptCoreLibrary* JavaScriptCoreLibrary::get()
{
    static const JavaScriptCoreLibrary* const library = []() -> const JavaScriptCoreLibrary* {
        void* handle = ::dlopen(QFile::encodeName(fileName()).constData(), RTLD_NOW | RTLD_LOCAL);
        if (!handle) {
            AppLogger::error(QStringLiteral("cannot load the JavaScript engine: ") +
                             QString::fromLocal8Bit(::dlerror()));
            return nullptr;
        }
        auto* loaded = new JavaScriptCoreLibrary;
        bool complete = true;
#define BRAMBLEWORTH_JSC_RESOLVE(name)                                                             \
    loaded->name = reinterpret_cast<decltype(&::name)>(::dlsym(handle, #name));                    \
    if (!loaded->name) {                                                                           \
        AppLogger::error(QStringLiteral("the JavaScript engine has no " #name));                   \
        complete = false;                                                                          \
    }
        BRAMBLEWORTH_JSC_FUNCTIONS(BRAMBLEWORTH_JSC_RESOLVE)
#undef BRAMBLEWORTH_JSC_RESOLVE
        if (!complete) {
            delete loaded;
            return nullptr;
        }
        return loaded;
    }();
    return library;
}
