// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/x11/X11HotKeys.h"

#include "HotKeys/HotKeyManager.h"
#include "HotKeys/KeyboardLayout.h"
#include "QuillonCommons/AppLogger.h"
#include "platform/x11/X11Connection.h"
#include "platform/x11/XcbHotKeyBackend.h"
#include "platform/x11/XkbKeyboardLayoutSource.h"

#include <QGuiApplication>

bool X11HotKeys::install(KeyboardLayout& layout)
{
    xcb_connection_t* xcb = X11Connection::connection();
    if (xcb) {
        X11Connection::markUsable();
    } else {
        AppLogger::error(
            QStringLiteral("no X11 connection: global hot keys need an X11 session (platform %1)")
                .arg(qGuiApp ? QGuiApplication::platformName() : QStringLiteral("none")));
    }
    HotKeyManager::setBackend(std::make_unique<XcbHotKeyBackend>(xcb));
    layout.setLayoutSource(std::make_unique<XkbKeyboardLayoutSource>(xcb));
    HotKeyManager::setKeyboardLayout(&layout);
    return xcb != nullptr;
}
