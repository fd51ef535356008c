// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QtGlobal>

// Modifier flags as stored in the hot key file: the raw values of the Cocoa flag set, so files
// written by either platform read the same. Command is the Super key, option is Alt.
using ModifierFlags = quint64;

namespace ModifierFlag {
constexpr ModifierFlags capsLock = 1ull << 16;
constexpr ModifierFlags shift = 1ull << 17;
constexpr ModifierFlags control = 1ull << 18;
constexpr ModifierFlags option = 1ull << 19;
constexpr ModifierFlags command = 1ull << 20;
constexpr ModifierFlags numericPad = 1ull << 21;
constexpr ModifierFlags help = 1ull << 22;
constexpr ModifierFlags function = 1ull << 23;
} // namespace ModifierFlag

// The compact mask the key grabs and layout lookups take (the Carbon values).
namespace CarbonModifier {
constexpr quint32 command = 0x0100;
constexpr quint32 shift = 0x0200;
constexpr quint32 option = 0x0800;
constexpr quint32 control = 0x1000;

// The mask of a flag set: command, shift, option and control; every other flag is dropped.
constexpr quint32 fromFlags(ModifierFlags flags)
{
    return ((flags & ModifierFlag::command) ? command : 0) |
           ((flags & ModifierFlag::shift) ? shift : 0) |
           ((flags & ModifierFlag::option) ? option : 0) |
           ((flags & ModifierFlag::control) ? control : 0);
}
} // namespace CarbonModifier
