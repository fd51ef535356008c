# SPDX-License-Identifier: GPL-3.0-or-later
target_sources(brambleworth_gui PRIVATE
    App/AppLaunch.cpp
    App/AppLaunch.h
    App/BrambleworthApp.cpp
    App/BrambleworthApp.h
    App/BrambleworthAppDelegate.cpp
    App/BrambleworthAppDelegate.h
    App/BrambleworthMain.cpp
    App/BrambleworthMain.h
    App/CommandLineFront.cpp
    App/CommandLineFront.h
    App/UserDefaultChangesObserver.cpp
    App/UserDefaultChangesObserver.h
)
# About, feedback mail, login-item settings and the update checker.
target_sources(brambleworth_gui PRIVATE
    App/AppActions.cpp
    App/AppActions.h
    App/UpdaterController.cpp
    App/UpdaterController.h
)
target_link_libraries(brambleworth_gui PUBLIC Qt6::Network)
