# SPDX-License-Identifier: GPL-3.0-or-later
# The update feed's reading and version order; the network side lives in the gui library.
target_sources(brambleworth_core PRIVATE
    App/Appcast.cpp
    App/Appcast.h
    App/VersionComparator.cpp
    App/VersionComparator.h
)
