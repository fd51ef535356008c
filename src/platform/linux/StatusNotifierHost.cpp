// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/linux/StatusNotifierHost.h"

#include <QDBusConnectionInterface>
#include <QDBusInterface>
#include <QVariant>

bool StatusNotifierHost::isRegistered(QDBusConnection connection)
{
    const QString watcher = QStringLiteral("org.kde.StatusNotifierWatcher");
    if (!connection.isConnected() || !connection.interface() ||
        !connection.interface()->isServiceRegistered(watcher).value())
        return false;
    QDBusInterface properties(watcher, QStringLiteral("/StatusNotifierWatcher"), watcher,
                              connection);
    return properties.property("IsStatusNotifierHostRegistered").toBool();
}
