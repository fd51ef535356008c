// SPDX-License-Identifier: GPL-3.0-or-later
#include "HotKeys/IndependentKey.h"

#include <QHash>

namespace {

struct Entry
{
    IndependentKey key;
    const char* display; // nullptr: the key has no display string at all
};

// clang-format off
const Entry entries[] = {
    {IndependentKey::return_, "↩"},     {IndependentKey::tab, "⇥"},
    {IndependentKey::space, "␣"},       {IndependentKey::delete_, "⌫"},
    {IndependentKey::escape, "⎋"},      {IndependentKey::command, "⌘"},
    {IndependentKey::shift, "⇧"},       {IndependentKey::capsLock, nullptr},
    {IndependentKey::option, "⌥"},      {IndependentKey::control, "⌃"},
    {IndependentKey::rightCommand, "⌘"}, {IndependentKey::rightShift, "⇧"},
    {IndependentKey::rightOption, "⌥"}, {IndependentKey::rightControl, "⌃"},
    {IndependentKey::function, "fn"},   {IndependentKey::F17, "F17"},
    {IndependentKey::volumeUp, ""},     {IndependentKey::volumeDown, ""},
    {IndependentKey::mute, ""},         {IndependentKey::F18, "F18"},
    {IndependentKey::F19, "F19"},       {IndependentKey::F20, "F20"},
    {IndependentKey::F5, "F5"},         {IndependentKey::F6, "F6"},
    {IndependentKey::F7, "F7"},         {IndependentKey::F3, "F3"},
    {IndependentKey::F8, "F8"},         {IndependentKey::F9, "F9"},
    {IndependentKey::F11, "F11"},       {IndependentKey::F13, "F13"},
    {IndependentKey::F16, "F16"},       {IndependentKey::F14, "F14"},
    {IndependentKey::F10, "F10"},       {IndependentKey::F12, "F12"},
    {IndependentKey::F15, "F15"},       {IndependentKey::help, ""},
    {IndependentKey::home, "↖"},        {IndependentKey::pageUp, "⇞"},
    {IndependentKey::forwardDelete, "⌦"}, {IndependentKey::F4, "F4"},
    {IndependentKey::end, "↘"},         {IndependentKey::F2, "F2"},
    {IndependentKey::pageDown, "⇟"},    {IndependentKey::F1, "F1"},
    {IndependentKey::leftArrow, "←"},   {IndependentKey::rightArrow, "→"},
    {IndependentKey::downArrow, "↓"},   {IndependentKey::upArrow, "↑"},
};
// clang-format on

struct Tables
{
    QList<IndependentKey> cases;
    QHash<quint16, IndependentKey> byKeyCode;
    QHash<IndependentKey, QString> displayStrings;

    Tables()
    {
        for (const Entry& entry : entries) {
            cases.append(entry.key);
            byKeyCode.insert(IndependentKeys::keyCode(entry.key), entry.key);
            if (entry.display)
                displayStrings.insert(entry.key, QString::fromUtf8(entry.display));
        }
    }
};

const Tables& tables()
{
    static const Tables instance;
    return instance;
}

} // namespace

const QList<IndependentKey>& IndependentKeys::allCases()
{
    return tables().cases;
}

quint16 IndependentKeys::keyCode(IndependentKey key)
{
    return static_cast<quint16>(key);
}

std::optional<IndependentKey> IndependentKeys::fromKeyCode(quint16 keyCode)
{
    const auto& byKeyCode = tables().byKeyCode;
    const auto found = byKeyCode.constFind(keyCode);
    if (found == byKeyCode.constEnd())
        return std::nullopt;
    return *found;
}

std::optional<QString> IndependentKeys::displayString(IndependentKey key)
{
    const auto& strings = tables().displayStrings;
    const auto found = strings.constFind(key);
    if (found == strings.constEnd())
        return std::nullopt;
    return *found;
}
