# SPDX-License-Identifier: GPL-3.0-or-later
# The support library's pieces that need widgets.
target_sources(brambleworth_gui PRIVATE
    QuillonCommons/StatusItem.cpp
    QuillonCommons/StatusItem.h
)
