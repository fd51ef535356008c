// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "HotKeys/HotKeyInfos.h"

#include <QString>

#include <optional>

// What a TQHotKeyField needs from the pane that hosts it: the script it edits and that
// script's assignment.
class TQHotKeyFieldDelegate
{
public:
    virtual ~TQHotKeyFieldDelegate() = default;

    // The id of the script whose hot key the field shows.
    virtual QString editedScriptId() const = 0;
    // Unregisters the script's hot key, removes and saves its assignment, and forgets the
    // host's scriptHotKeyInfos. Called when a recording starts and on reset.
    virtual void removeHotKey() = 0;
    // The assignment a recording ended with; nothing when the combination was refused.
    virtual void setScriptHotKeyInfos(const std::optional<HotKeyInfos>& infos) = 0;
};
