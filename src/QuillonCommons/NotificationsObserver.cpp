// SPDX-License-Identifier: GPL-3.0-or-later
#include "QuillonCommons/NotificationsObserver.h"

NotificationsObserver::~NotificationsObserver()
{
    removeAll();
}

NotificationCenter* NotificationsObserver::notificationCenter() const
{
    return NotificationCenter::defaultCenter();
}

void NotificationsObserver::observe(const QString& name, const QVariant& object, QObject* context,
                                    NotificationCenter::Handler handler)
{
    NotificationCenter* center = notificationCenter();
    m_observers.append(center->addObserver(name, object, context, std::move(handler)));
    m_centers.append(center);
}

void NotificationsObserver::removeAll()
{
    for (qsizetype i = 0; i < m_observers.size(); ++i)
        m_centers.at(i)->removeObserver(m_observers.at(i));
    m_observers.clear();
    m_centers.clear();
}
