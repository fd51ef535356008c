// SPDX-License-Identifier: GPL-3.0-or-later
#include "QuillonCommons/StatusItem.h"

#include <QMenu>
#include <QSystemTrayIcon>

StatusItem::StatusItem(QObject* parent) : QObject(parent) {}

StatusItem::~StatusItem() = default;

int StatusItem::behavior() const
{
    int flags = 0;
    if (removeAllowed)
        flags |= removalAllowed;
    if (quitApplicationOnRemove)
        flags |= terminationOnRemoval;
    return flags;
}

void StatusItem::show()
{
    if (!m_statusItem) {
        m_statusItem = std::make_unique<QSystemTrayIcon>();
        connect(m_statusItem.get(), &QSystemTrayIcon::activated, this,
                [this](QSystemTrayIcon::ActivationReason reason) {
                    if (reason != QSystemTrayIcon::Trigger)
                        return;
                    if (action)
                        action();
                });
    }
    applyConfiguration();
    m_statusItem->show();
}

void StatusItem::hide()
{
    if (m_statusItem)
        m_statusItem->hide();
}

void StatusItem::remove()
{
    m_statusItem.reset();
}

void StatusItem::applyConfiguration()
{
    const QString text = title.value_or(QString());
    if (m_statusItem->toolTip() != text)
        m_statusItem->setToolTip(text);
    if (image && m_statusItem->icon().cacheKey() != image->cacheKey())
        m_statusItem->setIcon(*image);
    if (m_statusItem->contextMenu() != menu.data())
        m_statusItem->setContextMenu(menu.data());
}
