// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "QuillonCommons/NotificationCenter.h"

#include <QList>

// Holds the registrations it makes and removes them all when it goes away, so an owner
// never outlives its handlers' captures.
class NotificationsObserver
{
public:
    NotificationsObserver() = default;
    virtual ~NotificationsObserver();
    NotificationsObserver(const NotificationsObserver&) = delete;
    NotificationsObserver& operator=(const NotificationsObserver&) = delete;

    virtual NotificationCenter* notificationCenter() const;

    void observe(const QString& name, const QVariant& object, QObject* context,
                 NotificationCenter::Handler handler);
    void removeAll();

    const QList<NotificationCenter::Token>& observers() const { return m_observers; }

private:
    QList<NotificationCenter::Token> m_observers;
    // Registrations stay with the centre they were made with, whatever it answers later.
    QList<NotificationCenter*> m_centers;
};
