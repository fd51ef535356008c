// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

class KeyboardLayout;

// Puts the X11 hot key backend and keyboard layout source under the core hot key managers.
// Needs the QGuiApplication; called at start-up before the first hot key is registered.
class X11HotKeys
{
public:
    // Gives the layout its X11 source and installs the backend and that layout for
    // HotKeyManager. False, with an error logged, when the session has no X11 connection
    // (pure Wayland, no display): the managers then refuse every registration with their
    // usual messages.
    static bool install(KeyboardLayout& layout);
};
