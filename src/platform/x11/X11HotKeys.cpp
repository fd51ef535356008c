// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/x11/X11HotKeys.h"

#include "HotKeys/HotKeyManager.h"
#include "HotKeys/KeyboardLayout.h"
#include "QuillonCommons/AppLogger.h"
#include "platform/x11/XcbHotKeyBackend.h"
#include "platform/x11/XkbKeyboardLayoutSource.h"

#include <QGuiApplication>

namespace {

bool g_connectionUsable = false;

void connectionClosing()
{
    g_connectionUsable = false;
}

} // namespace

xcb_connection_t* X11HotKeys::connection()
{
    if (!qGuiApp)
        return nullptr;
    auto* x11 = qGuiApp->nativeInterface<QNativeInterface::QX11Application>();
    return x11 ? x11->connection() : nullptr;
}

bool X11HotKeys::connectionUsable()
{
    return g_connectionUsable;
}

bool X11HotKeys::install()
{
    xcb_connection_t* xcb = connection();
    if (xcb) {
        static const bool routineAdded = [] {
            // Post routines run before the application closes its platform connection.
            qAddPostRoutine(connectionClosing);
            return true;
        }();
        Q_UNUSED(routineAdded)
        g_connectionUsable = true;
    } else {
        AppLogger::error(
            QStringLiteral("no X11 connection: global hot keys need an X11 session (platform %1)")
                .arg(qGuiApp ? QGuiApplication::platformName() : QStringLiteral("none")));
    }
    HotKeyManager::setBackend(std::make_unique<XcbHotKeyBackend>(xcb));
    KeyboardLayout::setLayoutSource(std::make_unique<XkbKeyboardLayoutSource>(xcb));
    return xcb != nullptr;
}
