// SPDX-License-Identifier: GPL-3.0-or-later
#include "Model/URLBookmarkValueTransformer.h"

#include "Model/Bookmark.h"
#include "QuillonCommons/AppError.h"

QString URLBookmarkValueTransformer::transformedValue(const QVariant& value)
{
    if (value.typeId() != QMetaType::QByteArray)
        return QString();
    try {
        return Bookmark::resolve(value.toByteArray()).path;
    } catch (const AppError&) {
        return QString();
    }
}
