// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/x11/X11KeyCodes.h"

#include <array>

namespace {

struct Pair
{
    quint16 virtualKeyCode;
    quint16 evdev;
};

// clang-format off
constexpr Pair pairs[] = {
    // Letters
    {0x00, 30}, {0x01, 31}, {0x02, 32}, {0x03, 33}, {0x04, 35}, {0x05, 34}, {0x06, 44},
    {0x07, 45}, {0x08, 46}, {0x09, 47}, {0x0B, 48}, {0x0C, 16}, {0x0D, 17}, {0x0E, 18},
    {0x0F, 19}, {0x10, 21}, {0x11, 20}, {0x1F, 24}, {0x20, 22}, {0x22, 23}, {0x23, 25},
    {0x25, 38}, {0x26, 36}, {0x28, 37}, {0x2D, 49}, {0x2E, 50},
    // Main-row digits
    {0x12, 2}, {0x13, 3}, {0x14, 4}, {0x15, 5}, {0x17, 6}, {0x16, 7}, {0x1A, 8}, {0x1C, 9},
    {0x19, 10}, {0x1D, 11},
    // Punctuation: = - ] [ ' ; \ , / . `, and the ISO key beside left shift
    {0x18, 13}, {0x1B, 12}, {0x1E, 27}, {0x21, 26}, {0x27, 40}, {0x29, 39}, {0x2A, 43},
    {0x2B, 51}, {0x2C, 53}, {0x2F, 52}, {0x32, 41}, {0x0A, 86},
    // Return, tab, space, delete (backspace), escape, forward delete
    {0x24, 28}, {0x30, 15}, {0x31, 57}, {0x33, 14}, {0x35, 1}, {0x75, 111},
    // Modifiers: command is Super, option is Alt
    {0x37, 125}, {0x38, 42}, {0x39, 58}, {0x3A, 56}, {0x3B, 29}, {0x36, 126}, {0x3C, 54},
    {0x3D, 100}, {0x3E, 97},
    // Keypad; clear sits where Num Lock is
    {0x41, 83}, {0x43, 55}, {0x45, 78}, {0x47, 69}, {0x4B, 98}, {0x4C, 96}, {0x4E, 74},
    {0x51, 117}, {0x52, 82}, {0x53, 79}, {0x54, 80}, {0x55, 81}, {0x56, 75}, {0x57, 76},
    {0x58, 77}, {0x59, 71}, {0x5B, 72}, {0x5C, 73}, {0x5F, 95},
    // Function keys
    {0x7A, 59}, {0x78, 60}, {0x63, 61}, {0x76, 62}, {0x60, 63}, {0x61, 64}, {0x62, 65},
    {0x64, 66}, {0x65, 67}, {0x6D, 68}, {0x67, 87}, {0x6F, 88}, {0x69, 183}, {0x6B, 184},
    {0x71, 185}, {0x6A, 186}, {0x40, 187}, {0x4F, 188}, {0x50, 189}, {0x5A, 190},
    // Navigation; help sits where Insert is
    {0x73, 102}, {0x77, 107}, {0x74, 104}, {0x79, 109}, {0x7B, 105}, {0x7C, 106}, {0x7D, 108},
    {0x7E, 103}, {0x72, 110},
    // Media keys, the menu key, the JIS yen and underscore keys
    {0x48, 115}, {0x49, 114}, {0x4A, 113}, {0x6E, 127}, {0x5D, 124}, {0x5E, 89},
};
// clang-format on

constexpr quint16 evdevOffset = 8;
constexpr quint16 evdevHelp = 138; // a dedicated Help key, where a keyboard has one

struct Tables
{
    std::array<int, 128> toX{};
    std::array<int, 256> fromX{};

    Tables()
    {
        toX.fill(-1);
        fromX.fill(-1);
        for (const Pair& pair : pairs) {
            toX[pair.virtualKeyCode] = pair.evdev + evdevOffset;
            fromX[pair.evdev + evdevOffset] = pair.virtualKeyCode;
        }
        fromX[evdevHelp + evdevOffset] = 0x72;
    }
};

const Tables& tables()
{
    static const Tables instance;
    return instance;
}

} // namespace

std::optional<quint8> X11KeyCodes::xKeyCode(quint16 virtualKeyCode)
{
    if (virtualKeyCode >= 128 || tables().toX[virtualKeyCode] < 0)
        return std::nullopt;
    return static_cast<quint8>(tables().toX[virtualKeyCode]);
}

std::optional<quint16> X11KeyCodes::virtualKeyCode(quint8 xKeyCode)
{
    const int code = tables().fromX[xKeyCode];
    if (code < 0)
        return std::nullopt;
    return static_cast<quint16>(code);
}

bool X11KeyCodes::isKeypad(quint16 virtualKeyCode)
{
    switch (virtualKeyCode) {
    case 0x41:
    case 0x43:
    case 0x45:
    case 0x4B:
    case 0x4C:
    case 0x4E:
    case 0x51:
    case 0x52:
    case 0x53:
    case 0x54:
    case 0x55:
    case 0x56:
    case 0x57:
    case 0x58:
    case 0x59:
    case 0x5B:
    case 0x5C:
    case 0x5F:
        return true;
    default:
        return false;
    }
}
