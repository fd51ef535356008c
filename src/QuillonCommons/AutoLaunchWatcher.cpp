// SPDX-License-Identifier: GPL-3.0-or-later
#include "QuillonCommons/AutoLaunchWatcher.h"

#include "QuillonCommons/AppLogger.h"
#include "QuillonCommons/NotificationCenter.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

AutoLaunchWatcher::AutoLaunchWatcher(QString entryPath, NotificationCenter* center, QObject* parent)
    : QObject(parent), m_entryPath(std::move(entryPath)), m_center(center)
{
    m_state = currentState();
    rearm();
    connect(&m_watcher, &QFileSystemWatcher::directoryChanged, this, &AutoLaunchWatcher::check);
    connect(&m_watcher, &QFileSystemWatcher::fileChanged, this, &AutoLaunchWatcher::check);
}

QString AutoLaunchWatcher::notificationName()
{
    // Spelled so deliberately: the name other parts observe.
    return QStringLiteral("com.apple.loginItemsListDidChnage");
}

void AutoLaunchWatcher::rearm()
{
    // A watch on a folder ends when the folder goes, and one on a file when it is replaced;
    // the nearest existing ancestor sees the autostart folder come back.
    const QFileInfo entry(m_entryPath);
    QStringList wanted;
    if (entry.exists())
        wanted << entry.absoluteFilePath();
    QDir folder = entry.absoluteDir();
    while (!folder.exists() && folder.cdUp()) {
    }
    wanted << folder.absolutePath();
    if (entry.absolutePath() != folder.absolutePath() && entry.absoluteDir().exists())
        wanted << entry.absolutePath();
    const QStringList watched = m_watcher.files() + m_watcher.directories();
    for (const QString& path : wanted) {
        if (!watched.contains(path))
            m_watcher.addPath(path);
    }
}

QByteArray AutoLaunchWatcher::currentState() const
{
    QFile file(m_entryPath);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    // A leading marker tells an empty entry from a missing one.
    return QByteArrayLiteral("+") + file.readAll();
}

void AutoLaunchWatcher::check()
{
    rearm();
    const QByteArray state = currentState();
    if (state == m_state)
        return;
    m_state = state;
    AppLogger::debug(QStringLiteral("autostart entry changed: ") + m_entryPath);
    if (m_center)
        m_center->post(notificationName());
}
