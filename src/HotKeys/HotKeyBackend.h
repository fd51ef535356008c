// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QtGlobal>

#include <functional>

// The system side of global hot keys: grabs a key combination under a 32-bit id and reports
// its presses and releases. The X11 implementation lives in the platform layer; tests use a
// fake.
class HotKeyBackend
{
public:
    struct Event
    {
        quint32 hotKeyId = 0;
        bool pressed = false;
    };
    // Answers a status; the backend never swallows an event, whatever the answer.
    using EventHandler = std::function<int(const Event*)>;

    virtual ~HotKeyBackend() = default;

    virtual bool installEventHandler(EventHandler handler) = 0;
    virtual void removeEventHandler() = 0;

    // keyCode is a virtual key code (kVK_...), modifiers a mask of CarbonModifier values.
    // False when the combination cannot be had (taken by another program, unknown key).
    virtual bool registerHotKey(quint16 keyCode, quint32 modifiers, quint32 hotKeyId) = 0;
    virtual void unregisterHotKey(quint32 hotKeyId) = 0;
};
