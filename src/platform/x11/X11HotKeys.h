// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

struct xcb_connection_t;

// Puts the X11 hot key backend and keyboard layout source under the core hot key managers.
// Needs the QGuiApplication; called at start-up before the first hot key is registered.
class X11HotKeys
{
public:
    // False, with an error logged, when the session has no X11 connection (pure Wayland, no
    // display): the managers then refuse every registration with their usual messages.
    static bool install();

    // Qt's own connection to the X server, or null without one.
    static xcb_connection_t* connection();

    // False once the application began tearing down its connection: from then on the
    // backends leave the X server alone (the grabs go with the connection anyway).
    static bool connectionUsable();
};
