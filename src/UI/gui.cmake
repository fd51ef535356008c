# SPDX-License-Identifier: GPL-3.0-or-later
# Windows and panes.
target_sources(brambleworth_gui PRIVATE
    UI/LogViewerView.ui
    UI/LogViewerViewController.cpp
    UI/LogViewerViewController.h
)
