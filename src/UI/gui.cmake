# SPDX-License-Identifier: GPL-3.0-or-later
target_sources(brambleworth_gui PRIVATE
    UI/SaveOptionsView.ui
    UI/SaveOptionsViewController.cpp
    UI/SaveOptionsViewController.h
    UI/ScriptExporter.cpp
    UI/ScriptExporter.h
)
