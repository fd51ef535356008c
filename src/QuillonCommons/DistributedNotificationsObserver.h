// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "QuillonCommons/NotificationsObserver.h"

// The same observer on the session-wide centre (D-Bus once the platform installs it).
class DistributedNotificationsObserver : public NotificationsObserver
{
public:
    ~DistributedNotificationsObserver() override;
    NotificationCenter* notificationCenter() const override;
};
