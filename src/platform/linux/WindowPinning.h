// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

class QWidget;

// A window above the others and on every desktop, or back to normal, without hiding or moving
// it: the stay-on-top hint goes to the live native window, and on X11 the window manager is
// asked for the sticky state and the all-desktops desktop number.
class WindowPinning
{
public:
    static void apply(QWidget* window, bool pinned);
};
