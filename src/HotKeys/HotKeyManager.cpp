// SPDX-License-Identifier: GPL-3.0-or-later
#include "HotKeys/HotKeyManager.h"

#include "HotKeys/KeyboardLayout.h"
#include "QuillonCommons/AppLogger.h"

#include <QStringEncoder>

#include <limits>

namespace {

struct StaticState
{
    quint32 nextId = 1;
    bool eventHandlerInstalled = false;
    std::vector<HotKeyManager::HotKeyData> hotKeys;
    std::unique_ptr<HotKeyBackend> backend;
    const KeyboardLayout* keyboardLayout = nullptr;
};

StaticState& state()
{
    static StaticState instance;
    return instance;
}

quint32 fourCharCode(const QString& text)
{
    // Mac OS Roman agrees with Latin-1 on ASCII, the only range a four-character code uses.
    QStringEncoder encoder(QStringConverter::Latin1);
    const QByteArray bytes = encoder.encode(text);
    if (encoder.hasError() || bytes.size() != 4)
        return 0;
    quint32 code = 0;
    for (const char byte : bytes)
        code = (code << 8) | static_cast<quint8>(byte);
    return code;
}

} // namespace

quint32 HotKeyManager::signature()
{
    static const quint32 code = fourCharCode(QStringLiteral("keep"));
    return code;
}

quint32 HotKeyManager::carbonModifiers(ModifierFlags flags)
{
    return CarbonModifier::fromFlags(flags);
}

void HotKeyManager::installEventHandler()
{
    StaticState& s = state();
    HotKeyBackend* backend = s.backend.get();
    if (!backend || !backend->installEventHandler(&HotKeyManager::handleEvent)) {
        AppLogger::error(QStringLiteral("unable to install event key handler"));
        return;
    }
    s.eventHandlerInstalled = true;
}

bool HotKeyManager::isEventHandlerInstalled()
{
    return state().eventHandlerInstalled;
}

bool HotKeyManager::registerHotKey(const QString& identifier, const QString& key,
                                   ModifierFlags modifiers, Handler handler)
{
    StaticState& s = state();
    static const QHash<QString, quint16> noMapping;
    const auto& mapping = s.keyboardLayout ? s.keyboardLayout->keyCodesMapping() : noMapping;
    const auto found = mapping.constFind(key);
    if (mapping.isEmpty() || found == mapping.constEnd()) {
        AppLogger::error(QStringLiteral("unable to get correct keycode for key ") + key);
        return false;
    }
    const quint32 mask = carbonModifiers(modifiers);

    // Ids are never reused within a process; running out of them is not recoverable.
    if (s.nextId == std::numeric_limits<quint32>::max())
        qFatal("hot key id counter overflow");
    const quint32 id = s.nextId++;

    if (!s.backend || !s.backend->registerHotKey(*found, mask, id)) {
        AppLogger::error(QStringLiteral("unable to register hot key"));
        return false;
    }
    s.hotKeys.push_back(HotKeyData{id, identifier, id, key, modifiers, std::move(handler)});
    return true;
}

void HotKeyManager::unregister(const QString& identifierArgument)
{
    // A copy: the argument may live in the very array the removal below shifts.
    const QString identifier = identifierArgument;
    StaticState& s = state();
    for (const HotKeyData& data : s.hotKeys) {
        if (data.identifier == identifier) {
            if (s.backend)
                s.backend->unregisterHotKey(data.eventRef);
            break;
        }
    }
    std::erase_if(s.hotKeys, [&](const HotKeyData& data) { return data.identifier == identifier; });
}

void HotKeyManager::unregisterAll()
{
    StaticState& s = state();
    if (s.eventHandlerInstalled) {
        if (s.backend)
            s.backend->removeEventHandler();
        s.eventHandlerInstalled = false;
    }
    while (!s.hotKeys.empty())
        unregister(s.hotKeys.front().identifier);
}

std::optional<HotKeyManager::HotKeyData> HotKeyManager::hotKeyData(const QString& identifier)
{
    for (const HotKeyData& data : state().hotKeys) {
        if (data.identifier == identifier)
            return data;
    }
    return std::nullopt;
}

const std::vector<HotKeyManager::HotKeyData>& HotKeyManager::hotKeys()
{
    return state().hotKeys;
}

int HotKeyManager::handleEvent(const HotKeyBackend::Event* event)
{
    if (!event)
        return eventNotHandledErr;
    for (const HotKeyData& data : state().hotKeys) {
        if (data.hotKeyId != event->hotKeyId)
            continue;
        // Copies: the handler may unregister, which invalidates the record.
        const Handler handler = data.handler;
        const QString identifier = data.identifier;
        if (handler)
            handler(identifier, event->pressed ? State::down : State::up);
        break;
    }
    return eventNotHandledErr;
}

void HotKeyManager::setBackend(std::unique_ptr<HotKeyBackend> backend)
{
    StaticState& s = state();
    if (s.backend && s.eventHandlerInstalled)
        s.backend->removeEventHandler();
    s.eventHandlerInstalled = false;
    s.backend = std::move(backend);
}

void HotKeyManager::setKeyboardLayout(const KeyboardLayout* layout)
{
    state().keyboardLayout = layout;
}

const KeyboardLayout* HotKeyManager::keyboardLayout()
{
    return state().keyboardLayout;
}

HotKeyBackend* HotKeyManager::backend()
{
    return state().backend.get();
}
