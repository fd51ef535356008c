// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QDBusConnection>

// Whether a StatusNotifierItem host is registered on the session bus: the same question Qt asks
// when it creates the first tray icon, to choose between StatusNotifierItem and XEmbed.
class StatusNotifierHost
{
public:
    static bool isRegistered(QDBusConnection connection = QDBusConnection::sessionBus());
};
