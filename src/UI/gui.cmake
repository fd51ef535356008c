# SPDX-License-Identifier: GPL-3.0-or-later
# Windows and panes.
target_sources(brambleworth_gui PRIVATE
    UI/DetailPane.cpp
    UI/DetailPane.h
    UI/EditScriptView.ui
    UI/EditScriptViewController.cpp
    UI/EditScriptViewController.h
    UI/LogViewerView.ui
    UI/LogViewerViewController.cpp
    UI/LogViewerViewController.h
    UI/MainWindow.cpp
    UI/MainStoryboard.ui
    UI/MainWindow.h
    UI/MainWindowContoller.cpp
    UI/MainWindowContoller.h
    UI/NoSelectionViewController.cpp
    UI/NoSelectionViewController.h
    UI/SaveOptionsView.ui
    UI/SaveOptionsViewController.cpp
    UI/SaveOptionsViewController.h
    UI/ScriptExporter.cpp
    UI/ScriptExporter.h
    UI/SidebarViewController.cpp
    UI/SidebarViewController.h
    UI/TQLogTextView.cpp
    UI/TQLogTextView.h
    UI/TQLogTextViewAccessible.cpp
    UI/TQLogTextViewAccessible.h
    UI/TQOutlineView.cpp
    UI/TQOutlineView.h
)
# Fallback images for the toolbar and the tray, for icon themes that lack them.
qt_add_resources(brambleworth_gui brambleworth_icons
    PREFIX "/"
    BASE ${PROJECT_SOURCE_DIR}/resources
    FILES
        ${PROJECT_SOURCE_DIR}/resources/icons/actions/add.svg
        ${PROJECT_SOURCE_DIR}/resources/icons/actions/delete.svg
        ${PROJECT_SOURCE_DIR}/resources/icons/actions/pin-fill.svg
        ${PROJECT_SOURCE_DIR}/resources/icons/actions/pin.svg
        ${PROJECT_SOURCE_DIR}/resources/icons/actions/sidebar.svg
        ${PROJECT_SOURCE_DIR}/resources/icons/actions/start.svg
        ${PROJECT_SOURCE_DIR}/resources/icons/actions/stop.svg
        ${PROJECT_SOURCE_DIR}/resources/icons/hicolor/scalable/apps/org.brambleworth.Brambleworth.svg
        ${PROJECT_SOURCE_DIR}/resources/icons/hicolor/symbolic/apps/org.brambleworth.Brambleworth-symbolic.svg
)
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
        UI/icons/preferences-caution.svg
        UI/icons/preferences-general.svg
        UI/icons/preferences-highlight.svg
        UI/icons/preferences-scripts.svg
        UI/icons/preferences-update.svg)
