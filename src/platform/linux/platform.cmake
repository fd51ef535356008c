# SPDX-License-Identifier: GPL-3.0-or-later
target_sources(brambleworth_platform PRIVATE
    platform/linux/OSLogger.cpp
    platform/linux/OSLogger.h
)
target_link_libraries(brambleworth_platform PRIVATE PkgConfig::SYSTEMD)
target_sources(brambleworth_platform PRIVATE
    platform/linux/DBusNotificationCenter.cpp
    platform/linux/DBusNotificationCenter.h
)
target_link_libraries(brambleworth_platform PUBLIC Qt6::DBus)
target_sources(brambleworth_platform PRIVATE
    platform/linux/InotifyFileEventSource.cpp
    platform/linux/InotifyFileEventSource.h
)
target_sources(brambleworth_platform PRIVATE
    platform/linux/SingleInstance.cpp
    platform/linux/SingleInstance.h
    platform/linux/StatusNotifierHost.cpp
    platform/linux/StatusNotifierHost.h
    platform/linux/WindowPinning.cpp
    platform/linux/WindowPinning.h
)
target_link_libraries(brambleworth_platform PUBLIC Qt6::Widgets)
