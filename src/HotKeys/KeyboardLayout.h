// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "HotKeys/KeyboardLayoutSource.h"
#include "HotKeys/ModifierFlags.h"
#include "QuillonCommons/DistributedNotificationsObserver.h"

#include <QHash>
#include <QString>

#include <memory>
#include <optional>

// Key strings of the current layout ("a", "7", "↩", "F5") and the virtual key codes that type
// them; rebuilt whenever the layout changes.
class KeyboardLayout
{
public:
    static const QString selectedKeyboardInputSourceChanged;

    // The layout of the given source; without one, a layout that has no data until a source
    // is set. The mapping is built at once.
    explicit KeyboardLayout(std::unique_ptr<KeyboardLayoutSource> source = nullptr);
    ~KeyboardLayout();

    // The instance of the process, created on first use and kept to the very end (hot key
    // lookups may come until then). Only the start-up wiring asks for it; everything else is
    // handed its layout.
    static KeyboardLayout& shared();

    // Replaces the source (the previous one is dropped) and rebuilds the mapping.
    void setLayoutSource(std::unique_ptr<KeyboardLayoutSource> source);
    const KeyboardLayoutSource& layoutSource() const { return *m_source; }

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
    void buildMapping();

    std::unique_ptr<KeyboardLayoutSource> m_source;
    DistributedNotificationsObserver m_distributedNotificationsObserver;
    QHash<QString, quint16> m_keyCodesMapping;
};
