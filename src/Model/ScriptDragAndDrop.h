// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Model/Script.h"

#include <QPointer>
#include <QStringList>

#include <functional>
#include <optional>

class QMimeData;
class ScriptsManager;

// What the sidebar does with drags, apart from its widgets: script rows leave as files plus
// their id, one script row can be moved within the scripts section, and files dropped from a
// file manager become scripts linked to them.
class ScriptDragAndDrop
{
public:
    // `knownLanguages` answers the highlighter's language identifiers, for guessing a dropped
    // file's; asked only when files are dropped, so the highlighter starts no sooner.
    using LanguageList = std::function<QStringList()>;
    ScriptDragAndDrop(ScriptsManager& scriptsManager, LanguageList knownLanguages);

    // The drag payload of script rows: each script written to a file (text/uri-list) and the
    // ids, one a line, under the private script type. The caller owns the result.
    static QMimeData* mimeData(const ScriptList& scripts);
    // The ids of the sidebar's own rows a drag carries; empty for any other drag.
    static QStringList draggedScriptIds(const QMimeData* data);

    // `index` is the child index proposed in the scripts section (-1: on the section itself,
    // meaning its end); nothing when the drop would land anywhere else. `proposedItem` names
    // the proposed parent for the log. Answers the operation offered: a move for the
    // sidebar's own rows, a copy for files, nothing otherwise.
    Qt::DropAction validateDrop(const QMimeData* data, const QString& proposedItem,
                                std::optional<int> index) const;

    // Performs a drop that validateDrop accepted, then saves the library. Answers whether the
    // library changed.
    bool acceptDrop(const QMimeData* data, std::optional<int> index);

    // The Highlight.js identifier for a file: from its "#!" line, else its extension, among
    // `knownLanguages`; nothing when neither gives a known one.
    static std::optional<QString> guessLanguage(const QString& fileName, const QString& text,
                                                const QStringList& knownLanguages);

private:
    bool reorder(const QStringList& ids, int index);
    bool insertFiles(const QStringList& paths, int index);

    QPointer<ScriptsManager> m_scriptsManager;
    LanguageList m_knownLanguages;
};
