// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "HotKeys/KeyboardLayoutSource.h"

#include <QHash>
#include <QMap>

// A layout given as tables: what each key types without modifiers and with shift.
class FakeKeyboardLayoutSource : public KeyboardLayoutSource
{
public:
    bool hasLayoutData() const override { return layoutData; }
    std::optional<QString> string(quint16 keyCode, quint32 modifiers) const override;

    // A small US layout: letters, the main digit row, a few punctuation keys, the keypad
    // digits and a dead key at code 33 on request.
    static QHash<quint16, QString> usPlain();
    static QHash<quint16, QString> usShifted();
    // The German positions of y and z.
    static QHash<quint16, QString> germanPlain();

    // Changes the tables and announces it the way the platform does.
    void switchTo(const QHash<quint16, QString>& newPlain,
                  const QHash<quint16, QString>& newShifted = {});

    bool layoutData = true;
    QHash<quint16, QString> plain = usPlain();
    QHash<quint16, QString> shifted = usShifted();
    // Every lookup, as (key code, modifier mask).
    mutable QList<QPair<quint16, quint32>> lookups;
};
