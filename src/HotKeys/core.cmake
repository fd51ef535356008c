# SPDX-License-Identifier: GPL-3.0-or-later
target_sources(brambleworth_core PRIVATE
    HotKeys/AppHotKeyManager.cpp
    HotKeys/AppHotKeyManager.h
    HotKeys/HotKeyBackend.h
    HotKeys/HotKeyInfos.h
    HotKeys/HotKeyManager.cpp
    HotKeys/HotKeyManager.h
    HotKeys/IndependentKey.cpp
    HotKeys/IndependentKey.h
    HotKeys/KeyboardLayout.cpp
    HotKeys/KeyboardLayout.h
    HotKeys/KeyboardLayoutSource.h
    HotKeys/ModifierFlags.h
    HotKeys/RegisteredHotKey.h
)
