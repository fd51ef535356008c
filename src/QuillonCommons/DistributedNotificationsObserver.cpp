// SPDX-License-Identifier: GPL-3.0-or-later
#include "QuillonCommons/DistributedNotificationsObserver.h"

DistributedNotificationsObserver::~DistributedNotificationsObserver()
{
    removeAll();
}

NotificationCenter* DistributedNotificationsObserver::notificationCenter() const
{
    return NotificationCenter::distributedCenter();
}
