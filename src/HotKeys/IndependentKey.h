// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QList>
#include <QString>

#include <optional>

// Keys whose meaning does not depend on the keyboard layout, by their virtual key code. They
// are always shown with a fixed symbol or name, whatever the layout would type for them.
// `return` and `delete` are C++ keywords, hence the trailing underscore on those two.
enum class IndependentKey : quint16
{
    return_ = 36,
    tab = 48,
    space = 49,
    delete_ = 51,
    escape = 53,
    command = 55,
    shift = 56,
    capsLock = 57,
    option = 58,
    control = 59,
    rightCommand = 54,
    rightShift = 60,
    rightOption = 61,
    rightControl = 62,
    function = 63,
    F17 = 64,
    volumeUp = 72,
    volumeDown = 73,
    mute = 74,
    F18 = 79,
    F19 = 80,
    F20 = 90,
    F5 = 96,
    F6 = 97,
    F7 = 98,
    F3 = 99,
    F8 = 100,
    F9 = 101,
    F11 = 103,
    F13 = 105,
    F16 = 106,
    F14 = 107,
    F10 = 109,
    F12 = 111,
    F15 = 113,
    help = 114,
    home = 115,
    pageUp = 116,
    forwardDelete = 117,
    F4 = 118,
    end = 119,
    F2 = 120,
    pageDown = 121,
    F1 = 122,
    leftArrow = 123,
    rightArrow = 124,
    downArrow = 125,
    upArrow = 126,
};

namespace IndependentKeys {
// Every case in declaration order.
const QList<IndependentKey>& allCases();

quint16 keyCode(IndependentKey key);
std::optional<IndependentKey> fromKeyCode(quint16 keyCode);

// Nothing for caps lock (it never yields a string); "" for the volume keys, mute and help.
std::optional<QString> displayString(IndependentKey key);
} // namespace IndependentKeys
