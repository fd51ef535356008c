// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "HotKeys/ModifierFlags.h"
#include "QuillonCommons/DistributedNotificationsObserver.h"

#include <QHash>
#include <QString>

#include <memory>
#include <optional>

class KeyboardLayoutSource;

// Key strings of the current layout ("a", "7", "↩", "F5") and the virtual key codes that type
// them; rebuilt whenever the layout changes.
class KeyboardLayout
{
public:
    static const QString selectedKeyboardInputSourceChanged;

    static KeyboardLayout& shared();

    // The layout source that every lookup uses; the previous one is dropped. Rebuilds the
    // mapping of the shared instance if it exists.
    static void setLayoutSource(std::unique_ptr<KeyboardLayoutSource> source);
    static KeyboardLayoutSource* layoutSource();

    // For each string the lowest key code that types it without modifiers.
    const QHash<QString, quint16>& keyCodesMapping() const { return m_keyCodesMapping; }

    std::optional<QString> string(quint16 keyCode, ModifierFlags modifiers) const;

    // The translation of one key: independent keys by their fixed string, every other key by
    // the layout.
    static std::optional<QString> translate(quint16 keyCode, const KeyboardLayoutSource& layout,
                                            ModifierFlags modifiers);

    KeyboardLayout(const KeyboardLayout&) = delete;
    KeyboardLayout& operator=(const KeyboardLayout&) = delete;

private:
    KeyboardLayout();
    void buildMapping();

    DistributedNotificationsObserver m_distributedNotificationsObserver;
    QHash<QString, quint16> m_keyCodesMapping;
};
