// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Model/Script.h"
#include "QuillonCommons/UnreadableFileKeeper.h"

#include <QMap>
#include <QObject>
#include <QStringList>

#include <optional>

// The library: built-in scripts from the application's data, then the user's scripts from
// "Brambleworth.json". Every change of `scripts` is announced with the whole new list.
class ScriptsManager : public QObject
{
    Q_OBJECT
public:
    // Built-in ids: script name -> {"ID": ..., "Language": ...}.
    using BuiltInIDs = QMap<QString, QMap<QString, QString>>;

    explicit ScriptsManager(QObject* parent = nullptr);
    static ScriptsManager& shared();

    const ScriptList& scripts() const { return m_scripts; }
    void setScripts(const ScriptList& scripts);

    ScriptPtr script(const QString& id) const;
    QStringList categories() const;

    void loadScripts(bool removing);
    void saveScripts();
    void loadBuiltInScripts();
    void removeBuiltInScripts();
    std::optional<BuiltInIDs> loadBuiltInIDs();
    ScriptPtr newScript();
    // Inserts at `index`, or appends for -1 or the current count; then saves.
    void add(const ScriptPtr& script, int index);

    // The library file in the data folder, when there is one.
    static std::optional<QString> libraryFileURL();

    // Parses an "IDs.plist" (XML or binary); throws AppError when it is not a property list,
    // answers nothing when its root is not a dictionary of dictionaries of strings.
    static std::optional<BuiltInIDs> parseBuiltInIDs(const QByteArray& data);

signals:
    void scriptsChanged(const ScriptList& scripts);

private:
    ScriptList m_scripts;
    UnreadableFileKeeper m_unreadable;
};
