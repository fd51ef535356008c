# SPDX-License-Identifier: GPL-3.0-or-later
# The preferences window and its panes.
target_sources(brambleworth_gui PRIVATE
    UI/GeneralPreferences.cpp
    UI/GeneralPreferences.h
    UI/PreferenceToolbarItem.h
    UI/PreferencesPaneViewController.cpp
    UI/PreferencesPaneViewController.h
    UI/PreferencesWindow.cpp
    UI/PreferencesWindow.h
    UI/PreferencesWindowController.cpp
    UI/PreferencesWindowController.h
    UI/ScriptsPreferences.cpp
    UI/ScriptsPreferences.h
    UI/SyntaxHighlightPreferences.cpp
    UI/SyntaxHighlightPreferences.h
    UI/UpdatePreferences.cpp
    UI/UpdatePreferences.h
)
# Drawings for when the desktop's icon theme lacks a name; linked in as an object library,
# so a static gui library still carries them.
qt_add_resources(brambleworth_gui brambleworth_preferences_icons
    PREFIX /brambleworth
    BASE UI
    FILES
        UI/icons/little.svg
        UI/icons/preferences-caution.svg
        UI/icons/preferences-general.svg
        UI/icons/preferences-highlight.svg
        UI/icons/preferences-scripts.svg
        UI/icons/preferences-update.svg)
