# SPDX-License-Identifier: GPL-3.0-or-later
# Settings are shared by every layer, so they build into the core.
target_sources(brambleworth_core PRIVATE
    App/Preferences.cpp
    App/Preferences.h
)
