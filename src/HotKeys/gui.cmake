# SPDX-License-Identifier: GPL-3.0-or-later
# The hot key recording field that the script editor pane embeds.
target_sources(brambleworth_gui PRIVATE
    HotKeys/TQHotKeyField.cpp
    HotKeys/TQHotKeyField.h
    HotKeys/TQHotKeyFieldDelegate.h
)
qt_add_resources(brambleworth_gui brambleworth_hotkeys_icons
    PREFIX /brambleworth/hotkeys
    BASE HotKeys
    FILES HotKeys/icons/edit-clear.svg
)
