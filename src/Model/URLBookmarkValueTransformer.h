// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>
#include <QVariant>

// Shows a script's bookmark as the path of its file, for labels bound to `bookmark`.
class URLBookmarkValueTransformer
{
public:
    // The name bindings look the transformer up by.
    static QString name() { return QStringLiteral("URLBookmarkValueTransformer"); }

    // The resolved file's path; the empty string for anything that is not bookmark data or does
    // not resolve. Never refreshes stale data: showing a label must not change the script.
    static QString transformedValue(const QVariant& value);
};
