// SPDX-License-Identifier: GPL-3.0-or-later
#include "FakeHotKeyBackend.h"

bool FakeHotKeyBackend::installEventHandler(EventHandler handler)
{
    if (failInstall)
        return false;
    m_handler = std::move(handler);
    return true;
}

void FakeHotKeyBackend::removeEventHandler()
{
    m_handler = nullptr;
}

bool FakeHotKeyBackend::registerHotKey(quint16 keyCode, quint32 modifiers, quint32 hotKeyId)
{
    attempts.append(hotKeyId);
    const Combination combination{keyCode, modifiers};
    if (takenByOthers.contains(combination) || idOf(keyCode, modifiers))
        return false;
    grabs.insert(hotKeyId, combination);
    return true;
}

void FakeHotKeyBackend::unregisterHotKey(quint32 hotKeyId)
{
    unregistered.append(hotKeyId);
    grabs.remove(hotKeyId);
}

std::optional<int> FakeHotKeyBackend::deliver(quint32 hotKeyId, bool pressed)
{
    if (!m_handler)
        return std::nullopt;
    const Event event{hotKeyId, pressed};
    return m_handler(&event);
}

std::optional<int> FakeHotKeyBackend::deliverNull()
{
    if (!m_handler)
        return std::nullopt;
    return m_handler(nullptr);
}

std::optional<quint32> FakeHotKeyBackend::idOf(quint16 keyCode, quint32 modifiers) const
{
    for (auto it = grabs.cbegin(); it != grabs.cend(); ++it) {
        if (it.value() == Combination{keyCode, modifiers})
            return it.key();
    }
    return std::nullopt;
}
