# SPDX-License-Identifier: GPL-3.0-or-later
target_sources(brambleworth_gui PRIVATE
    App/BrambleworthMain.cpp
    App/BrambleworthMain.h
    App/CommandLineFront.cpp
    App/CommandLineFront.h
)
