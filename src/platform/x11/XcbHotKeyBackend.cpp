// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/x11/XcbHotKeyBackend.h"

#include "HotKeys/ModifierFlags.h"
#include "QuillonCommons/AppLogger.h"
#include "platform/x11/X11Connection.h"
#include "platform/x11/X11KeyCodes.h"
#include "platform/x11/XcbXkb.h"

#include <QCoreApplication>

#include <algorithm>
#include <cstdlib>
#include <memory>
#include <set>

namespace {

constexpr quint8 badAccess = 10;
constexpr quint32 numLockKeysym = 0xff7f;
constexpr quint16 relevantModifiers =
    XCB_MOD_MASK_SHIFT | XCB_MOD_MASK_CONTROL | XCB_MOD_MASK_1 | XCB_MOD_MASK_4;

struct FreeDeleter
{
    void operator()(void* pointer) const { std::free(pointer); }
};
template <typename T>
using XcbReply = std::unique_ptr<T, FreeDeleter>;

void logNoConnection()
{
    AppLogger::error(
        QStringLiteral("no X11 connection: global hot keys are unavailable in this session"));
}

} // namespace

XcbHotKeyBackend::XcbHotKeyBackend(xcb_connection_t* connection) : m_connection(connection)
{
    if (m_connection && !xcb_connection_has_error(m_connection)) {
        const xcb_setup_t* setup = xcb_get_setup(m_connection);
        xcb_screen_iterator_t screens = xcb_setup_roots_iterator(setup);
        if (screens.rem > 0)
            m_root = screens.data->root;
        enableDetectableAutoRepeat();
    }
}

void XcbHotKeyBackend::enableDetectableAutoRepeat()
{
    // Otherwise the server follows every repeated press of a held key with a made-up release,
    // and a held hot key would run its script again and again. The flag belongs to the
    // connection, so Qt's own windows see held keys the same way (presses, one release).
    const auto useCookie =
        xcb_xkb_use_extension(m_connection, XCB_XKB_MAJOR_VERSION, XCB_XKB_MINOR_VERSION);
    XcbReply<xcb_xkb_use_extension_reply_t> use(
        xcb_xkb_use_extension_reply(m_connection, useCookie, nullptr));
    if (!use || !use->supported) {
        AppLogger::info(QStringLiteral("the X server has no XKB extension: held hot keys repeat"));
        return;
    }
    constexpr quint32 flag = XCB_XKB_PER_CLIENT_FLAG_DETECTABLE_AUTO_REPEAT;
    const auto cookie =
        xcb_xkb_per_client_flags(m_connection, XCB_XKB_ID_USE_CORE_KBD, flag, flag, 0, 0, 0);
    XcbReply<xcb_xkb_per_client_flags_reply_t> reply(
        xcb_xkb_per_client_flags_reply(m_connection, cookie, nullptr));
    if (!reply || !(reply->value & flag))
        AppLogger::info(QStringLiteral("the X server refused detectable auto-repeat"));
}

XcbHotKeyBackend::~XcbHotKeyBackend()
{
    // Grabs are not released here: the owner unregisters before it lets go of the backend,
    // and at exit the connection (and every grab with it) may already be gone.
    if (m_filterInstalled && QCoreApplication::instance())
        QCoreApplication::instance()->removeNativeEventFilter(this);
}

bool XcbHotKeyBackend::usable() const
{
    return m_connection && m_root && X11Connection::usable() &&
           !xcb_connection_has_error(m_connection);
}

quint16 XcbHotKeyBackend::xModifiers(quint32 carbonModifiers)
{
    quint16 mask = 0;
    if (carbonModifiers & CarbonModifier::command)
        mask |= XCB_MOD_MASK_4;
    if (carbonModifiers & CarbonModifier::shift)
        mask |= XCB_MOD_MASK_SHIFT;
    if (carbonModifiers & CarbonModifier::option)
        mask |= XCB_MOD_MASK_1;
    if (carbonModifiers & CarbonModifier::control)
        mask |= XCB_MOD_MASK_CONTROL;
    return mask;
}

bool XcbHotKeyBackend::installEventHandler(EventHandler handler)
{
    if (!usable() || !QCoreApplication::instance()) {
        logNoConnection();
        return false;
    }
    m_handler = std::move(handler);
    if (!m_filterInstalled) {
        QCoreApplication::instance()->installNativeEventFilter(this);
        m_filterInstalled = true;
    }
    return true;
}

void XcbHotKeyBackend::removeEventHandler()
{
    m_handler = nullptr;
    m_held.clear();
    if (m_filterInstalled && QCoreApplication::instance())
        QCoreApplication::instance()->removeNativeEventFilter(this);
    m_filterInstalled = false;
}

quint16 XcbHotKeyBackend::numLockMask() const
{
    // Which modifier bit Num Lock sets depends on the server's modifier map, so ask it.
    const xcb_setup_t* setup = xcb_get_setup(m_connection);
    const quint8 first = setup->min_keycode;
    const quint8 count = setup->max_keycode - setup->min_keycode + 1;
    const auto keyboardCookie = xcb_get_keyboard_mapping(m_connection, first, count);
    const auto modifierCookie = xcb_get_modifier_mapping(m_connection);
    XcbReply<xcb_get_keyboard_mapping_reply_t> keyboard(
        xcb_get_keyboard_mapping_reply(m_connection, keyboardCookie, nullptr));
    XcbReply<xcb_get_modifier_mapping_reply_t> modifiers(
        xcb_get_modifier_mapping_reply(m_connection, modifierCookie, nullptr));
    if (!keyboard || !modifiers)
        return 0;

    std::set<quint8> numLockKeys;
    const xcb_keysym_t* keysyms = xcb_get_keyboard_mapping_keysyms(keyboard.get());
    const int perKey = keyboard->keysyms_per_keycode;
    if (perKey == 0)
        return 0;
    const int total = xcb_get_keyboard_mapping_keysyms_length(keyboard.get());
    for (int i = 0; i < total; ++i) {
        if (keysyms[i] == numLockKeysym)
            numLockKeys.insert(static_cast<quint8>(first + i / perKey));
    }
    const xcb_keycode_t* modifierKeys = xcb_get_modifier_mapping_keycodes(modifiers.get());
    const int perModifier = modifiers->keycodes_per_modifier;
    for (int modifier = 0; modifier < 8; ++modifier) {
        for (int k = 0; k < perModifier; ++k) {
            if (numLockKeys.count(modifierKeys[modifier * perModifier + k]))
                return static_cast<quint16>(1u << modifier);
        }
    }
    return 0;
}

std::optional<quint32> XcbHotKeyBackend::grabFor(quint8 keyCode, quint16 modifiers) const
{
    for (const auto& [id, grab] : m_grabs) {
        if (grab.keyCode == keyCode && grab.modifiers == modifiers)
            return id;
    }
    return std::nullopt;
}

bool XcbHotKeyBackend::registerHotKey(quint16 keyCode, quint32 modifiers, quint32 hotKeyId)
{
    if (!usable()) {
        logNoConnection();
        return false;
    }
    const auto xKeyCode = X11KeyCodes::xKeyCode(keyCode);
    if (!xKeyCode) {
        AppLogger::error(QStringLiteral("no X keycode for the virtual key code %1").arg(keyCode));
        return false;
    }
    const quint16 mask = xModifiers(modifiers);
    // The server accepts a second grab of the same combination from the same client, so a
    // combination this process already holds is refused here.
    if (grabFor(*xKeyCode, mask))
        return false;

    const quint16 numLock = numLockMask();
    std::vector<quint16> variants{mask, static_cast<quint16>(mask | XCB_MOD_MASK_LOCK)};
    if (numLock && !(numLock & mask)) {
        variants.push_back(mask | numLock);
        variants.push_back(mask | numLock | XCB_MOD_MASK_LOCK);
    }

    std::vector<xcb_void_cookie_t> cookies;
    for (const quint16 variant : variants) {
        // Not owner events: every press comes relative to the root, even over our own windows.
        cookies.push_back(xcb_grab_key_checked(m_connection, 0, m_root, variant, *xKeyCode,
                                               XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC));
    }
    std::vector<quint16> grabbed;
    bool refused = false;
    for (size_t i = 0; i < cookies.size(); ++i) {
        XcbReply<xcb_generic_error_t> error(xcb_request_check(m_connection, cookies[i]));
        if (!error) {
            grabbed.push_back(variants[i]);
            continue;
        }
        refused = true;
        if (error->error_code != badAccess)
            AppLogger::error(
                QStringLiteral("key grab failed with X error %1").arg(error->error_code));
    }
    if (refused) {
        for (const quint16 variant : grabbed)
            xcb_ungrab_key(m_connection, *xKeyCode, m_root, variant);
        xcb_flush(m_connection);
        return false;
    }
    m_grabs.emplace(hotKeyId, Grab{*xKeyCode, mask, std::move(variants)});
    return true;
}

void XcbHotKeyBackend::unregisterHotKey(quint32 hotKeyId)
{
    const auto found = m_grabs.find(hotKeyId);
    if (found == m_grabs.end())
        return;
    const Grab grab = found->second;
    m_grabs.erase(found);
    std::erase_if(m_held, [&](const auto& held) { return held.second == hotKeyId; });
    if (!usable())
        return;
    for (const quint16 variant : grab.variants)
        xcb_ungrab_key(m_connection, grab.keyCode, m_root, variant);
    xcb_flush(m_connection);
}

bool XcbHotKeyBackend::nativeEventFilter(const QByteArray& eventType, void* message, qintptr*)
{
    if (!m_handler || eventType != "xcb_generic_event_t")
        return false;
    const auto* generic = static_cast<const xcb_generic_event_t*>(message);
    const quint8 type = generic->response_type & 0x7f;
    if (type != XCB_KEY_PRESS && type != XCB_KEY_RELEASE)
        return false;
    const auto* key = reinterpret_cast<const xcb_key_press_event_t*>(generic);
    if (key->event != m_root)
        return false;

    std::optional<quint32> id;
    if (type == XCB_KEY_PRESS) {
        // A key already down repeats: where the server sends no release in between, the
        // press is the repeat itself.
        if (m_held.count(key->detail))
            return false;
        id = grabFor(key->detail, key->state & relevantModifiers);
        if (id)
            m_held[key->detail] = *id;
    } else {
        // By the key alone: the modifiers may have gone up first.
        const auto held = m_held.find(key->detail);
        if (held == m_held.end())
            return false;
        id = held->second;
        m_held.erase(held);
    }
    if (id) {
        const Event event{*id, type == XCB_KEY_PRESS};
        // Copy: the handler may remove itself.
        const EventHandler handler = m_handler;
        handler(&event);
    }
    // Never consumed: Qt and other filters see the event as well.
    return false;
}
