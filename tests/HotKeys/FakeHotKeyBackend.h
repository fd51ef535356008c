// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "HotKeys/HotKeyBackend.h"

#include <QList>
#include <QMap>
#include <QPair>
#include <QSet>

// Grabs in memory. A combination already grabbed (here or by a pretend other program listed in
// takenByOthers) is refused, like the X server refuses a second grab.
class FakeHotKeyBackend : public HotKeyBackend
{
public:
    using Combination = QPair<quint16, quint32>;

    bool installEventHandler(EventHandler handler) override;
    void removeEventHandler() override;
    bool registerHotKey(quint16 keyCode, quint32 modifiers, quint32 hotKeyId) override;
    void unregisterHotKey(quint32 hotKeyId) override;

    // Delivers a press or a release as the system would; answers the handler's status, or
    // nothing when no handler is installed.
    std::optional<int> press(quint32 hotKeyId) { return deliver(hotKeyId, true); }
    std::optional<int> release(quint32 hotKeyId) { return deliver(hotKeyId, false); }
    std::optional<int> deliver(quint32 hotKeyId, bool pressed);
    std::optional<int> deliverNull();
    // The id a combination is grabbed under, if any.
    std::optional<quint32> idOf(quint16 keyCode, quint32 modifiers) const;

    bool failInstall = false;
    bool handlerInstalled() const { return static_cast<bool>(m_handler); }
    QSet<Combination> takenByOthers;
    QMap<quint32, Combination> grabs;
    QList<quint32> unregistered;
    QList<quint32> attempts;

private:
    EventHandler m_handler;
};
