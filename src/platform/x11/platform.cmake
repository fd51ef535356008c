# SPDX-License-Identifier: GPL-3.0-or-later
if(NOT TARGET PkgConfig::XCB)
    pkg_check_modules(XCB REQUIRED IMPORTED_TARGET GLOBAL xcb xcb-xkb)
endif()
if(NOT TARGET PkgConfig::XKBCOMMON)
    pkg_check_modules(XKBCOMMON REQUIRED IMPORTED_TARGET GLOBAL xkbcommon xkbcommon-x11)
endif()
target_sources(brambleworth_platform PRIVATE
    platform/x11/X11Connection.cpp
    platform/x11/X11Connection.h
    platform/x11/X11HotKeys.cpp
    platform/x11/X11HotKeys.h
    platform/x11/X11KeyCodes.cpp
    platform/x11/X11KeyCodes.h
    platform/x11/XcbHotKeyBackend.cpp
    platform/x11/XcbHotKeyBackend.h
    platform/x11/XcbXkb.h
    platform/x11/XkbKeyboardLayoutSource.cpp
    platform/x11/XkbKeyboardLayoutSource.h
)
target_link_libraries(brambleworth_platform PUBLIC Qt6::Gui PRIVATE PkgConfig::XCB PkgConfig::XKBCOMMON)
