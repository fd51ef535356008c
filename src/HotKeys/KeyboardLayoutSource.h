// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>

#include <optional>

// The current keyboard layout as the system knows it. The X11 implementation lives in the
// platform layer; tests use a fake. A source announces a layout change by posting
// KeyboardLayout::selectedKeyboardInputSourceChanged on the distributed notification centre.
class KeyboardLayoutSource
{
public:
    virtual ~KeyboardLayoutSource() = default;

    // False when the layout cannot be had at all (no keymap, no display).
    virtual bool hasLayoutData() const = 0;

    // What the key at this virtual key code (kVK_...) types in the current layout with the
    // given CarbonModifier mask; nothing when the key does not exist there. A key that types
    // nothing (a dead key) gives the empty string.
    virtual std::optional<QString> string(quint16 keyCode, quint32 modifiers) const = 0;
};
