// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QtGlobal>

#include <optional>

// The program's key codes are the Mac virtual key codes (kVK_ANSI_A = 0 ...). This fixed table
// pairs each with the X keycode of the key at the same position on a PC keyboard (evdev
// code + 8, so the A position is X keycode 38, XKB name AC01).
class X11KeyCodes
{
public:
    static std::optional<quint8> xKeyCode(quint16 virtualKeyCode);
    static std::optional<quint16> virtualKeyCode(quint8 xKeyCode);
    // Keys that always type digits and operators on a Mac keypad.
    static bool isKeypad(quint16 virtualKeyCode);
};
