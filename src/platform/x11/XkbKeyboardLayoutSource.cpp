// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/x11/XkbKeyboardLayoutSource.h"

#include "HotKeys/KeyboardLayout.h"
#include "HotKeys/ModifierFlags.h"
#include "QuillonCommons/AppLogger.h"
#include "QuillonCommons/NotificationCenter.h"
#include "platform/x11/X11Connection.h"
#include "platform/x11/X11KeyCodes.h"
#include "platform/x11/XcbXkb.h"

#include <QCoreApplication>

#include <xkbcommon/xkbcommon-x11.h>
#include <xkbcommon/xkbcommon.h>

#include <cstdlib>

namespace {

// Every state component; the server refuses an affect mask with bits beyond them.
constexpr quint16 allStateParts = 0x3fff;
constexpr quint16 allMapParts = XCB_XKB_MAP_PART_KEY_TYPES | XCB_XKB_MAP_PART_KEY_SYMS |
                                XCB_XKB_MAP_PART_MODIFIER_MAP |
                                XCB_XKB_MAP_PART_EXPLICIT_COMPONENTS |
                                XCB_XKB_MAP_PART_KEY_ACTIONS | XCB_XKB_MAP_PART_KEY_BEHAVIORS |
                                XCB_XKB_MAP_PART_VIRTUAL_MODS | XCB_XKB_MAP_PART_VIRTUAL_MOD_MAP;
constexpr quint16 allNewKeyboardDetails =
    XCB_XKB_NKN_DETAIL_KEYCODES | XCB_XKB_NKN_DETAIL_GEOMETRY | XCB_XKB_NKN_DETAIL_DEVICE_ID;

bool isDeadKey(xkb_keysym_t keysym)
{
    return keysym >= XKB_KEY_dead_grave && keysym <= 0xfe8f;
}

} // namespace

void XkbKeyboardLayoutSource::ContextDeleter::operator()(xkb_context* context) const
{
    xkb_context_unref(context);
}

void XkbKeyboardLayoutSource::KeymapDeleter::operator()(xkb_keymap* keymap) const
{
    xkb_keymap_unref(keymap);
}

void XkbKeyboardLayoutSource::StateDeleter::operator()(xkb_state* state) const
{
    xkb_state_unref(state);
}

XkbKeyboardLayoutSource::XkbKeyboardLayoutSource(xcb_connection_t* connection)
    : m_connection(connection)
{
    if (!m_connection || xcb_connection_has_error(m_connection))
        return;
    m_context.reset(xkb_context_new(XKB_CONTEXT_NO_FLAGS));
    if (!m_context || !setUpExtension())
        return;
    loadKeymap();
    loadGroup();
    if (QCoreApplication::instance()) {
        QCoreApplication::instance()->installNativeEventFilter(this);
        m_filterInstalled = true;
    }
}

XkbKeyboardLayoutSource::~XkbKeyboardLayoutSource()
{
    if (m_filterInstalled && QCoreApplication::instance())
        QCoreApplication::instance()->removeNativeEventFilter(this);
}

bool XkbKeyboardLayoutSource::setUpExtension()
{
    quint8 eventBase = 0;
    if (!xkb_x11_setup_xkb_extension(
            m_connection, XKB_X11_MIN_MAJOR_XKB_VERSION, XKB_X11_MIN_MINOR_XKB_VERSION,
            XKB_X11_SETUP_XKB_EXTENSION_NO_FLAGS, nullptr, nullptr, &eventBase, nullptr)) {
        AppLogger::error(QStringLiteral("the X server has no XKB extension"));
        return false;
    }
    m_eventBase = eventBase;
    m_deviceId = xkb_x11_get_core_keyboard_device_id(m_connection);
    if (m_deviceId < 0) {
        AppLogger::error(QStringLiteral("no core keyboard on the X server"));
        return false;
    }

    // The selection is per client and Qt shares this connection: keep everything it selects
    // (new keyboard, every map part, every state part) and only make sure it is there.
    xcb_xkb_select_events_details_t details{};
    details.affectNewKeyboard = allNewKeyboardDetails;
    details.newKeyboardDetails = allNewKeyboardDetails;
    details.affectState = allStateParts;
    details.stateDetails = allStateParts;
    const quint16 events = XCB_XKB_EVENT_TYPE_NEW_KEYBOARD_NOTIFY | XCB_XKB_EVENT_TYPE_MAP_NOTIFY |
                           XCB_XKB_EVENT_TYPE_STATE_NOTIFY;
    const xcb_void_cookie_t cookie = xcb_xkb_select_events_aux_checked(
        m_connection, static_cast<xcb_xkb_device_spec_t>(m_deviceId), events, 0,
        XCB_XKB_EVENT_TYPE_MAP_NOTIFY, allMapParts, allMapParts, &details);
    if (xcb_generic_error_t* error = xcb_request_check(m_connection, cookie)) {
        AppLogger::error(
            QStringLiteral("unable to select keyboard events, X error %1").arg(error->error_code));
        std::free(error);
    }
    return true;
}

void XkbKeyboardLayoutSource::loadKeymap()
{
    m_state.reset();
    m_keymap.reset(xkb_x11_keymap_new_from_device(m_context.get(), m_connection, m_deviceId,
                                                  XKB_KEYMAP_COMPILE_NO_FLAGS));
    if (m_keymap)
        m_state.reset(xkb_state_new(m_keymap.get()));
}

void XkbKeyboardLayoutSource::loadGroup()
{
    std::unique_ptr<xkb_state, StateDeleter> serverState(
        xkb_x11_state_new_from_device(m_keymap.get(), m_connection, m_deviceId));
    if (serverState)
        m_group = xkb_state_serialize_layout(serverState.get(), XKB_STATE_LAYOUT_EFFECTIVE);
}

bool XkbKeyboardLayoutSource::hasLayoutData() const
{
    return m_keymap && m_state;
}

std::optional<QString> XkbKeyboardLayoutSource::string(quint16 keyCode, quint32 modifiers) const
{
    if (!hasLayoutData())
        return std::nullopt;
    const auto xKeyCode = X11KeyCodes::xKeyCode(keyCode);
    if (!xKeyCode)
        return std::nullopt;
    xkb_keymap* keymap = m_keymap.get();
    xkb_mod_mask_t mask = 0;
    const auto add = [&](const char* name) {
        const xkb_mod_index_t index = xkb_keymap_mod_get_index(keymap, name);
        if (index != XKB_MOD_INVALID)
            mask |= 1u << index;
    };
    if (modifiers & CarbonModifier::shift)
        add(XKB_MOD_NAME_SHIFT);
    if (modifiers & CarbonModifier::control)
        add(XKB_MOD_NAME_CTRL);
    if (modifiers & CarbonModifier::option)
        add(XKB_MOD_NAME_ALT);
    if (modifiers & CarbonModifier::command)
        add(XKB_MOD_NAME_LOGO);
    // A Mac keypad always types its digits and operators.
    if (X11KeyCodes::isKeypad(keyCode))
        add(XKB_MOD_NAME_NUM);

    xkb_state* state = m_state.get();
    xkb_state_update_mask(state, mask, 0, 0, 0, 0, m_group);
    const xkb_keysym_t keysym = xkb_state_key_get_one_sym(state, *xKeyCode);
    if (keysym == XKB_KEY_NoSymbol)
        return std::nullopt;
    char buffer[64];
    const int length = xkb_state_key_get_utf8(state, *xKeyCode, buffer, sizeof buffer);
    if (length > 0 && length < static_cast<int>(sizeof buffer))
        return QString::fromUtf8(buffer, length);
    // A dead key types nothing yet; any other key without a character has no string.
    if (isDeadKey(keysym))
        return QString();
    return std::nullopt;
}

bool XkbKeyboardLayoutSource::nativeEventFilter(const QByteArray& eventType, void* message,
                                                qintptr*)
{
    if (eventType != "xcb_generic_event_t")
        return false;
    const auto* generic = static_cast<const xcb_generic_event_t*>(message);
    if ((generic->response_type & 0x7f) != m_eventBase)
        return false;
    // Every XKB event carries its subtype in the second byte.
    const quint8 xkbType = reinterpret_cast<const quint8*>(generic)[1];
    switch (xkbType) {
    case XCB_XKB_NEW_KEYBOARD_NOTIFY:
    case XCB_XKB_MAP_NOTIFY:
        scheduleReload(true);
        break;
    case XCB_XKB_STATE_NOTIFY: {
        const auto* state = reinterpret_cast<const xcb_xkb_state_notify_event_t*>(generic);
        if ((state->changed & (XCB_XKB_STATE_PART_GROUP_STATE | XCB_XKB_STATE_PART_GROUP_LOCK)) &&
            static_cast<quint32>(state->group) != m_group)
            scheduleReload(false);
        break;
    }
    default:
        break;
    }
    return false;
}

void XkbKeyboardLayoutSource::scheduleReload(bool keymapChanged)
{
    m_keymapChanged = m_keymapChanged || keymapChanged;
    if (m_reloadScheduled)
        return;
    m_reloadScheduled = true;
    QMetaObject::invokeMethod(
        &m_receiver, [this] { reload(); }, Qt::QueuedConnection);
}

void XkbKeyboardLayoutSource::reload()
{
    m_reloadScheduled = false;
    if (!X11Connection::usable() || xcb_connection_has_error(m_connection))
        return;
    if (m_keymapChanged || !m_keymap)
        loadKeymap();
    m_keymapChanged = false;
    loadGroup();
    NotificationCenter::distributedCenter()->post(
        KeyboardLayout::selectedKeyboardInputSourceChanged);
}
