// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>
#include <QFileSystemWatcher>
#include <QObject>
#include <QPointer>
#include <QString>

class NotificationCenter;

// Watches the autostart entry and posts "com.apple.loginItemsListDidChnage" on a centre
// whenever the entry appears, changes or disappears, whoever did it (the desktop's settings,
// a file manager, this program).
class AutoLaunchWatcher : public QObject
{
    Q_OBJECT
public:
    AutoLaunchWatcher(QString entryPath, NotificationCenter* center, QObject* parent = nullptr);

    static QString notificationName();

private:
    void rearm();
    void check();
    QByteArray currentState() const;

    QString m_entryPath;
    QPointer<NotificationCenter> m_center;
    QFileSystemWatcher m_watcher;
    QByteArray m_state;
};
