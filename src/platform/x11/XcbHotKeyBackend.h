// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "HotKeys/HotKeyBackend.h"

#include <QAbstractNativeEventFilter>

#include <map>
#include <optional>
#include <vector>

struct xcb_connection_t;

// Global hot keys as passive key grabs on the root window of Qt's X connection. Each
// combination is grabbed with every Num Lock / Caps Lock variant so those locks do not
// disable it; asynchronous modes, so a stalled process never freezes the keyboard. The
// events are read from Qt's stream and always left for Qt too. A held key gives one press and
// one release, however often the server repeats it.
class XcbHotKeyBackend : public HotKeyBackend, public QAbstractNativeEventFilter
{
public:
    // A null connection makes every operation fail with a log line.
    explicit XcbHotKeyBackend(xcb_connection_t* connection);
    ~XcbHotKeyBackend() override;

    bool installEventHandler(EventHandler handler) override;
    void removeEventHandler() override;
    bool registerHotKey(quint16 keyCode, quint32 modifiers, quint32 hotKeyId) override;
    void unregisterHotKey(quint32 hotKeyId) override;

    bool nativeEventFilter(const QByteArray& eventType, void* message, qintptr* result) override;

    // X modifier mask for a CarbonModifier mask: command Mod4, shift Shift, option Mod1,
    // control Control.
    static quint16 xModifiers(quint32 carbonModifiers);

private:
    struct Grab
    {
        quint8 keyCode;
        quint16 modifiers;
        std::vector<quint16> variants;
    };

    void enableDetectableAutoRepeat();
    bool usable() const;
    quint16 numLockMask() const;
    std::optional<quint32> grabFor(quint8 keyCode, quint16 modifiers) const;

    xcb_connection_t* m_connection;
    quint32 m_root = 0;
    EventHandler m_handler;
    bool m_filterInstalled = false;
    std::map<quint32, Grab> m_grabs;
    // Keys held down, by X keycode: their release belongs to the same grab whatever the
    // modifier state has become meanwhile.
    std::map<quint8, quint32> m_held;
};
