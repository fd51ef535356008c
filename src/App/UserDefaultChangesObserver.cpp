// SPDX-License-Identifier: GPL-3.0-or-later
#include "App/UserDefaultChangesObserver.h"

#include "Model/Preferences.h"

#include <QtGlobal>

UserDefaultChangesObserver::UserDefaultChangesObserver(Preferences& preferences, const QString& key,
                                                       Handler handler)
    : m_key(key), m_handler(std::move(handler))
{
    // An observer of nothing is a programming error, as creating one without a key is.
    Q_ASSERT_X(!m_key.isEmpty(), "UserDefaultChangesObserver", "no key");
    m_connection = QObject::connect(&preferences, &Preferences::valueChanged, &preferences,
                                    [this](const QString& changed) {
                                        if (changed == m_key && m_handler)
                                            m_handler(*this);
                                    });
}

UserDefaultChangesObserver::~UserDefaultChangesObserver()
{
    QObject::disconnect(m_connection);
}
