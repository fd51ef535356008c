// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/x11/X11Connection.h"

#include <QGuiApplication>

namespace {

bool g_usable = false;

void connectionClosing()
{
    g_usable = false;
}

} // namespace

xcb_connection_t* X11Connection::connection()
{
    if (!qGuiApp)
        return nullptr;
    auto* x11 = qGuiApp->nativeInterface<QNativeInterface::QX11Application>();
    return x11 ? x11->connection() : nullptr;
}

void X11Connection::markUsable()
{
    static const bool routineAdded = [] {
        // Post routines run before the application closes its platform connection.
        qAddPostRoutine(connectionClosing);
        return true;
    }();
    Q_UNUSED(routineAdded)
    g_usable = true;
}

bool X11Connection::usable()
{
    return g_usable;
}
