# SPDX-License-Identifier: GPL-3.0-or-later
# The item models the windows show: QtCore only, tested without a display.
target_sources(brambleworth_core PRIVATE
    UI/SidebarHeaderNode.cpp
    UI/SidebarHeaderNode.h
    UI/SidebarModel.cpp
    UI/SidebarModel.h
    UI/SidebarNode.cpp
    UI/SidebarNode.h
)
