// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QMetaObject>
#include <QPointer>
#include <QString>

#include <functional>

class Preferences;

// Calls its handler on every write of one preferences key, whoever made it; stops when it
// goes away.
class UserDefaultChangesObserver
{
public:
    using Handler = std::function<void(UserDefaultChangesObserver&)>;

    UserDefaultChangesObserver(Preferences& preferences, const QString& key, Handler handler);
    ~UserDefaultChangesObserver();
    UserDefaultChangesObserver(const UserDefaultChangesObserver&) = delete;
    UserDefaultChangesObserver& operator=(const UserDefaultChangesObserver&) = delete;

    const QString& key() const { return m_key; }

private:
    QString m_key;
    Handler m_handler;
    QMetaObject::Connection m_connection;
};
