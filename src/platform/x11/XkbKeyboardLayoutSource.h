// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "HotKeys/KeyboardLayoutSource.h"

#include <QAbstractNativeEventFilter>
#include <QObject>

#include <memory>

struct xcb_connection_t;
struct xkb_context;
struct xkb_keymap;
struct xkb_state;

// The layout of the X server's core keyboard through xkbcommon: its keymap and active group.
// Reloaded when the server reports a new keyboard, a map change or a group change; a burst of
// such events (xdotool switching devices sends several) costs one reload.
class XkbKeyboardLayoutSource : public KeyboardLayoutSource, public QAbstractNativeEventFilter
{
public:
    // A null connection gives a source without layout data.
    explicit XkbKeyboardLayoutSource(xcb_connection_t* connection);
    ~XkbKeyboardLayoutSource() override;

    bool hasLayoutData() const override;
    std::optional<QString> string(quint16 keyCode, quint32 modifiers) const override;

    bool nativeEventFilter(const QByteArray& eventType, void* message, qintptr* result) override;

    quint32 group() const { return m_group; }

private:
    struct ContextDeleter
    {
        void operator()(xkb_context* context) const;
    };
    struct KeymapDeleter
    {
        void operator()(xkb_keymap* keymap) const;
    };
    struct StateDeleter
    {
        void operator()(xkb_state* state) const;
    };

    bool setUpExtension();
    void loadKeymap();
    void loadGroup();
    void scheduleReload(bool keymapChanged);
    void reload();

    xcb_connection_t* m_connection;
    qint32 m_deviceId = -1;
    quint8 m_eventBase = 0;
    bool m_filterInstalled = false;
    std::unique_ptr<xkb_context, ContextDeleter> m_context;
    std::unique_ptr<xkb_keymap, KeymapDeleter> m_keymap;
    std::unique_ptr<xkb_state, StateDeleter> m_state;
    quint32 m_group = 0;
    bool m_reloadScheduled = false;
    bool m_keymapChanged = false;
    // Receives the queued reloads; goes away with the source.
    QObject m_receiver;
};
