// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QMutex>
#include <QObject>
#include <QPointer>
#include <QString>
#include <QVariant>

#include <functional>
#include <map>

struct Notification
{
    QString name;
    QVariant object;
    QVariantMap userInfo;
};

// Named notifications between parts that do not know each other (the sidebar's selection,
// layout changes). Observers registered with a context object are called on its thread
// through its event loop; without one they are called synchronously by the poster.
class NotificationCenter : public QObject
{
    Q_OBJECT
public:
    using Handler = std::function<void(const Notification&)>;
    using Token = quint64;

    explicit NotificationCenter(QObject* parent = nullptr);

    // The process's own centre.
    static NotificationCenter* defaultCenter();
    // The centre shared with other processes of the session. Until the platform installs one
    // (over D-Bus), a second in-process centre stands in.
    static NotificationCenter* distributedCenter();
    static void setDistributedCenter(NotificationCenter* center);

    // An empty name matches every notification; a null object matches every object.
    Token addObserver(const QString& name, const QVariant& object, QObject* context,
                      Handler handler);
    void removeObserver(Token token);
    int observerCount() const;

    virtual void post(const Notification& notification);
    void post(const QString& name, const QVariant& object = {}, const QVariantMap& userInfo = {});

protected:
    // Hands a notification to the matching observers of this process only.
    void deliver(const Notification& notification);

private:
    struct Observer
    {
        QString name;
        QVariant object;
        QPointer<QObject> context;
        bool hasContext = false;
        Handler handler;
    };

    mutable QMutex m_mutex;
    std::map<Token, Observer> m_observers;
    Token m_nextToken = 1;
};
