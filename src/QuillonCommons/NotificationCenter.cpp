// SPDX-License-Identifier: GPL-3.0-or-later
#include "QuillonCommons/NotificationCenter.h"

#include <QMutexLocker>

#include <atomic>
#include <vector>

namespace {
std::atomic<NotificationCenter*> g_distributed{nullptr};
}

NotificationCenter::NotificationCenter(QObject* parent) : QObject(parent) {}

NotificationCenter* NotificationCenter::defaultCenter()
{
    static NotificationCenter center;
    return &center;
}

NotificationCenter* NotificationCenter::distributedCenter()
{
    if (NotificationCenter* installed = g_distributed.load())
        return installed;
    static NotificationCenter fallback;
    return &fallback;
}

void NotificationCenter::setDistributedCenter(NotificationCenter* center)
{
    g_distributed.store(center);
}

NotificationCenter::Token NotificationCenter::addObserver(const QString& name,
                                                          const QVariant& object, QObject* context,
                                                          Handler handler)
{
    QMutexLocker lock(&m_mutex);
    const Token token = m_nextToken++;
    m_observers.emplace(token,
                        Observer{name, object, context, context != nullptr, std::move(handler)});
    return token;
}

void NotificationCenter::removeObserver(Token token)
{
    QMutexLocker lock(&m_mutex);
    m_observers.erase(token);
}

int NotificationCenter::observerCount() const
{
    QMutexLocker lock(&m_mutex);
    return int(m_observers.size());
}

void NotificationCenter::post(const Notification& notification)
{
    deliver(notification);
}

void NotificationCenter::post(const QString& name, const QVariant& object,
                              const QVariantMap& userInfo)
{
    post(Notification{name, object, userInfo});
}

void NotificationCenter::deliver(const Notification& notification)
{
    std::vector<Observer> matching;
    {
        QMutexLocker lock(&m_mutex);
        for (const auto& [token, observer] : m_observers) {
            if (!observer.name.isEmpty() && observer.name != notification.name)
                continue;
            if (observer.object.isValid() && observer.object != notification.object)
                continue;
            matching.push_back(observer);
        }
    }
    // Called outside the lock, so a handler may add or remove observers.
    for (const Observer& observer : matching) {
        if (!observer.hasContext) {
            observer.handler(notification);
        } else if (QObject* context = observer.context.data()) {
            QMetaObject::invokeMethod(
                context, [handler = observer.handler, notification] { handler(notification); },
                Qt::QueuedConnection);
        }
    }
}
