// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "HotKeys/ModifierFlags.h"
#include "HotKeys/RegisteredHotKey.h"

#include <QString>

// A script's hot key as the editor pane holds it.
struct HotKeyInfos
{
    QString id;
    QString key;
    ModifierFlags modifiers = 0;

    static HotKeyInfos from(const RegisteredHotKey& hotKey)
    {
        return {hotKey.id, hotKey.key, hotKey.modifiers};
    }

    friend bool operator==(const HotKeyInfos&, const HotKeyInfos&) = default;
};
