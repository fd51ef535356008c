// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>

// A script's hot key as stored in the hot key file: the script id, the key string and the raw
// modifier flag value.
struct RegisteredHotKey
{
    QString id;
    QString key;
    quint64 modifiers = 0;

    friend bool operator==(const RegisteredHotKey&, const RegisteredHotKey&) = default;
};
