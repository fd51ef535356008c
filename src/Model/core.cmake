# SPDX-License-Identifier: GPL-3.0-or-later
target_sources(brambleworth_core PRIVATE
    Model/AppConfig.cpp
    Model/AppConfig.h
    Model/AppFiles.cpp
    Model/AppFiles.h
    Model/Bookmark.cpp
    Model/Bookmark.h
    Model/FileEventSource.h
    Model/FileWatcher.cpp
    Model/FileWatcher.h
    Model/Preferences.cpp
    Model/Preferences.h
    Model/Script.cpp
    Model/ScriptDragAndDrop.cpp
    Model/ScriptDragAndDrop.h
    Model/ScriptsManager.cpp
    Model/ScriptsManager.h
    Model/Script.h
    Model/URLBookmarkValueTransformer.cpp
    Model/URLBookmarkValueTransformer.h
)
target_link_libraries(brambleworth_core PRIVATE PkgConfig::PLIST)
