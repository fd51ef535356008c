// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "QuillonCommons/NotificationCenter.h"

#include <QDBusConnection>
#include <QDBusContext>

// The session-wide notification centre: a notification posted here reaches this process's
// observers at once and every other process of the session as a D-Bus signal
// (org.brambleworth.Brambleworth.Notifications.Posted on /org/brambleworth/Notifications).
// Objects and user info travel as text. Without a session bus it works for this process only.
class DBusNotificationCenter : public NotificationCenter, protected QDBusContext
{
    Q_OBJECT
public:
    explicit DBusNotificationCenter(QDBusConnection connection, QObject* parent = nullptr);

    // Makes a centre on the session bus the process's distributed centre.
    static DBusNotificationCenter* install(QObject* parent);

    bool isConnected() const { return m_connected; }

    using NotificationCenter::post;
    void post(const Notification& notification) override;

    static QString interfaceName();
    static QString objectPath();

private slots:
    void onPosted(const QString& name, const QString& object, const QVariantMap& userInfo);

private:
    QDBusConnection m_connection;
    bool m_connected = false;
};
