// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/linux/WindowPinning.h"

#include <QGuiApplication>
#include <QWidget>
#include <QWindow>

#include <xcb/xcb.h>

#include <cstring>

namespace {

xcb_atom_t atom(xcb_connection_t* connection, const char* name)
{
    const xcb_intern_atom_cookie_t cookie =
        xcb_intern_atom(connection, 0, uint16_t(std::strlen(name)), name);
    xcb_intern_atom_reply_t* reply = xcb_intern_atom_reply(connection, cookie, nullptr);
    if (!reply)
        return XCB_ATOM_NONE;
    const xcb_atom_t value = reply->atom;
    free(reply);
    return value;
}

// The root window's current desktop, for a window leaving "all desktops".
uint32_t currentDesktop(xcb_connection_t* connection, xcb_window_t root)
{
    const xcb_atom_t property = atom(connection, "_NET_CURRENT_DESKTOP");
    const xcb_get_property_cookie_t cookie =
        xcb_get_property(connection, 0, root, property, XCB_ATOM_CARDINAL, 0, 1);
    xcb_get_property_reply_t* reply = xcb_get_property_reply(connection, cookie, nullptr);
    uint32_t desktop = 0;
    if (reply && xcb_get_property_value_length(reply) >= 4)
        std::memcpy(&desktop, xcb_get_property_value(reply), 4);
    free(reply);
    return desktop;
}

void sendToWindowManager(xcb_connection_t* connection, xcb_window_t root, xcb_window_t window,
                         xcb_atom_t type, uint32_t d0, uint32_t d1)
{
    xcb_client_message_event_t event;
    std::memset(&event, 0, sizeof event);
    event.response_type = XCB_CLIENT_MESSAGE;
    event.format = 32;
    event.window = window;
    event.type = type;
    event.data.data32[0] = d0;
    event.data.data32[1] = d1;
    event.data.data32[3] = 1; // from a normal application
    xcb_send_event(connection, 0, root,
                   XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT | XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY,
                   reinterpret_cast<const char*>(&event));
}

void applyX11Desktops(QWidget* window, bool pinned)
{
    auto* x11 = qGuiApp->nativeInterface<QNativeInterface::QX11Application>();
    if (!x11 || !x11->connection() || !window->windowHandle())
        return;
    xcb_connection_t* connection = x11->connection();
    const xcb_window_t id = xcb_window_t(window->winId());
    const xcb_setup_t* setup = xcb_get_setup(connection);
    const xcb_screen_iterator_t screens = xcb_setup_roots_iterator(setup);
    if (!screens.rem)
        return;
    const xcb_window_t root = screens.data->root;
    constexpr uint32_t add = 1;
    constexpr uint32_t removeState = 0;
    sendToWindowManager(connection, root, id, atom(connection, "_NET_WM_STATE"),
                        pinned ? add : removeState, atom(connection, "_NET_WM_STATE_STICKY"));
    sendToWindowManager(connection, root, id, atom(connection, "_NET_WM_DESKTOP"),
                        pinned ? 0xFFFFFFFFu : currentDesktop(connection, root), 0);
    xcb_flush(connection);
}

} // namespace

void WindowPinning::apply(QWidget* window, bool pinned)
{
    // QWidget::setWindowFlags would recreate the native window, which hides it and may move
    // it; the live QWindow takes the hint in place.
    Qt::WindowFlags flags = window->windowFlags();
    flags.setFlag(Qt::WindowStaysOnTopHint, pinned);
    window->overrideWindowFlags(flags);
    if (QWindow* handle = window->windowHandle())
        handle->setFlag(Qt::WindowStaysOnTopHint, pinned);
    if (window->isVisible())
        applyX11Desktops(window, pinned);
}
