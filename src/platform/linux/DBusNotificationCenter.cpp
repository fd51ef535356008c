// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/linux/DBusNotificationCenter.h"

#include "QuillonCommons/AppLogger.h"

#include <QDBusMessage>

QString DBusNotificationCenter::interfaceName()
{
    return QStringLiteral("org.brambleworth.Brambleworth.Notifications");
}

QString DBusNotificationCenter::objectPath()
{
    return QStringLiteral("/org/brambleworth/Notifications");
}

DBusNotificationCenter::DBusNotificationCenter(QDBusConnection connection, QObject* parent)
    : NotificationCenter(parent), m_connection(std::move(connection))
{
    if (!m_connection.isConnected()) {
        AppLogger::debug(
            QStringLiteral("no D-Bus session bus: notifications stay in this process"));
        return;
    }
    // QtDBus names slots by signature; there is no typed form of this call.
    m_connected =
        m_connection.connect(QString(), objectPath(), interfaceName(), QStringLiteral("Posted"),
                             this, SLOT(onPosted(QString, QString, QVariantMap)));
    if (!m_connected)
        AppLogger::error(QStringLiteral("cannot listen for session notifications: ") +
                         m_connection.lastError().message());
}

DBusNotificationCenter* DBusNotificationCenter::install(QObject* parent)
{
    auto* center = new DBusNotificationCenter(QDBusConnection::sessionBus(), parent);
    NotificationCenter::setDistributedCenter(center);
    return center;
}

void DBusNotificationCenter::post(const Notification& notification)
{
    deliver(notification);
    if (!m_connected)
        return;
    QVariantMap info;
    for (auto it = notification.userInfo.cbegin(); it != notification.userInfo.cend(); ++it)
        info.insert(it.key(), it.value().toString());
    QDBusMessage signal =
        QDBusMessage::createSignal(objectPath(), interfaceName(), QStringLiteral("Posted"));
    signal << notification.name << notification.object.toString() << info;
    m_connection.send(signal);
}

void DBusNotificationCenter::onPosted(const QString& name, const QString& object,
                                      const QVariantMap& userInfo)
{
    // Our own signals come back from the bus; they were delivered when posted.
    if (calledFromDBus() && message().service() == m_connection.baseService())
        return;
    deliver(Notification{name, object.isEmpty() ? QVariant() : QVariant(object), userInfo});
}
