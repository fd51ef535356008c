// SPDX-License-Identifier: GPL-3.0-or-later
#include "FakeKeyboardLayoutSource.h"

#include "HotKeys/KeyboardLayout.h"
#include "HotKeys/ModifierFlags.h"
#include "QuillonCommons/NotificationCenter.h"

std::optional<QString> FakeKeyboardLayoutSource::string(quint16 keyCode, quint32 modifiers) const
{
    lookups.append({keyCode, modifiers});
    const auto& table = (modifiers & CarbonModifier::shift) ? shifted : plain;
    const auto found = table.constFind(keyCode);
    if (found == table.constEnd())
        return std::nullopt;
    return *found;
}

QHash<quint16, QString> FakeKeyboardLayoutSource::usPlain()
{
    return {
        {0, "a"},  {1, "s"},  {2, "d"},  {6, "z"},  {7, "x"},  {16, "y"},
        {18, "1"}, {19, "2"}, {20, "3"}, {24, "="}, {27, "-"}, {29, "0"},
        {31, "o"}, {40, "k"}, {83, "1"}, {84, "2"}, {82, "0"}, {33, "["},
    };
}

QHash<quint16, QString> FakeKeyboardLayoutSource::usShifted()
{
    return {{0, "A"}, {1, "S"}, {18, "!"}, {19, "@"}, {29, ")"}};
}

QHash<quint16, QString> FakeKeyboardLayoutSource::germanPlain()
{
    QHash<quint16, QString> table = usPlain();
    table[6] = QStringLiteral("y");
    table[16] = QStringLiteral("z");
    table[33] = QString(); // ü is a plain key, but make it a dead key here
    return table;
}

void FakeKeyboardLayoutSource::switchTo(const QHash<quint16, QString>& newPlain,
                                        const QHash<quint16, QString>& newShifted)
{
    plain = newPlain;
    shifted = newShifted;
    NotificationCenter::distributedCenter()->post(
        KeyboardLayout::selectedKeyboardInputSourceChanged);
}
