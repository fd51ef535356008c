// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "HotKeys/HotKeyBackend.h"
#include "HotKeys/ModifierFlags.h"

#include <QString>

#include <functional>
#include <memory>
#include <optional>
#include <vector>

class KeyboardLayout;

// Process-wide registry of global hot keys by a caller's identifier (a script id). It knows
// nothing of scripts or files; every operation runs on the main thread.
class HotKeyManager
{
public:
    enum class State
    {
        up = 0,
        down = 1
    };
    using Handler = std::function<void(const QString& identifier, State state)>;

    struct HotKeyData
    {
        quint32 hotKeyId = 0;
        QString identifier;
        // The backend's handle of the grab; the id it was registered under.
        quint32 eventRef = 0;
        QString key;
        ModifierFlags modifiers = 0;
        Handler handler;
    };

    // What an event handler answers so the event goes on to other handlers.
    static constexpr int eventNotHandledErr = -9874;

    HotKeyManager() = delete;

    // 'keep'
    static quint32 signature();
    static quint32 carbonModifiers(ModifierFlags flags);

    static void installEventHandler();
    static bool isEventHandlerInstalled();
    // `register` is a C++ keyword.
    static bool registerHotKey(const QString& identifier, const QString& key,
                               ModifierFlags modifiers, Handler handler);
    static void unregister(const QString& identifier);
    static void unregisterAll();
    static std::optional<HotKeyData> hotKeyData(const QString& identifier);
    static const std::vector<HotKeyData>& hotKeys();

    // Calls the handler of the registration the event belongs to; always answers
    // eventNotHandledErr so the event continues to other handlers.
    static int handleEvent(const HotKeyBackend::Event* event);

    // The backend that grabs the keys; installed by the platform at start-up (a fake in
    // tests). Replacing it forgets the handler installation of the previous one.
    static void setBackend(std::unique_ptr<HotKeyBackend> backend);
    static HotKeyBackend* backend();

    // The layout whose mapping turns key strings into key codes; installed at start-up. Without
    // one every registration is refused as an unknown key. Not owned: it outlives the
    // registrations.
    static void setKeyboardLayout(const KeyboardLayout* layout);
    static const KeyboardLayout* keyboardLayout();
};
