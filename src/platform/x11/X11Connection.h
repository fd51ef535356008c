// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

struct xcb_connection_t;

// Qt's own connection to the X server, as the hot key backend and the layout source use it.
class X11Connection
{
public:
    // Null without an X11 session (no QGuiApplication, another platform plugin).
    static xcb_connection_t* connection();

    // From now until the application begins tearing down its connection, usable() answers
    // true; needs the QGuiApplication.
    static void markUsable();
    // False once the teardown began: from then on the backends leave the X server alone (the
    // grabs go with the connection anyway).
    static bool usable();
};
