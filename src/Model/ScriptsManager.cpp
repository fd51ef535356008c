// SPDX-License-Identifier: GPL-3.0-or-later
#include "Model/ScriptsManager.h"

#include "Model/AppConfig.h"
#include "Model/AppFiles.h"
#include "QuillonCommons/AppLogger.h"
#include "QuillonCommons/FileUtils.h"
#include "QuillonCommons/Utf8.h"

#include <QDir>
#include <QFileInfo>
#include <QSet>

#include <plist/plist.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <memory>

ScriptsManager::ScriptsManager(QObject* parent) : QObject(parent) {}

ScriptsManager& ScriptsManager::shared()
{
    static ScriptsManager instance;
    return instance;
}

void ScriptsManager::setScripts(const ScriptList& scripts)
{
    m_scripts = scripts;
    emit scriptsChanged(m_scripts);
}

ScriptPtr ScriptsManager::script(const QString& id) const
{
    for (const ScriptPtr& s : m_scripts) {
        if (s->id() == id)
            return s;
    }
    return nullptr;
}

QStringList ScriptsManager::categories() const
{
    QSet<QString> unique;
    for (const ScriptPtr& s : m_scripts) {
        if (!s->category().isEmpty())
            unique.insert(s->category());
    }
    QStringList sorted(unique.cbegin(), unique.cend());
    // Plain UTF-16 code-unit order: "Tools" before "tools", no locale folding.
    std::sort(sorted.begin(), sorted.end(), [](const QString& a, const QString& b) {
        return QString::compare(a, b, Qt::CaseSensitive) < 0;
    });
    return sorted;
}

std::optional<QString> ScriptsManager::libraryFileURL()
{
    const auto folder = AppConfig::applicationSupportDirectoryURL();
    if (!folder)
        return std::nullopt;
    return QDir(*folder).filePath(AppFiles::libraryFileName());
}

void ScriptsManager::loadScripts(bool removing)
{
    const auto path = libraryFileURL();
    if (!path) {
        AppLogger::error(QStringLiteral("database file is nil"));
        return;
    }
    for (const QString& leftover : FileUtils::removeInterruptedSaves(*path))
        AppLogger::info(QStringLiteral("removed the leftover of an interrupted save: ") + leftover);
    try {
        const ScriptList loaded = Script::decodeLibrary(FileUtils::readWholeFile(*path));
        m_unreadable.loadSucceeded();
        if (removing)
            setScripts({});
        setScripts(m_scripts + loaded);
    } catch (const AppError& error) {
        AppLogger::error(error, QStringLiteral("loadScripts(removing:)"), __LINE__);
        m_unreadable.loadFailed(*path);
    }
}

void ScriptsManager::saveScripts()
{
    const auto path = libraryFileURL();
    if (!path) {
        AppLogger::error(QStringLiteral("database file is nil"));
        return;
    }
    ScriptList own;
    own.reserve(m_scripts.size());
    for (const ScriptPtr& s : m_scripts) {
        if (!s->builtIn())
            own.append(s);
    }
    try {
        QString reason;
        const auto data = Script::encodeLibrary(own, &reason);
        if (!data)
            throw AppError(
                QStringLiteral("The library couldn’t be written because it isn’t valid text."),
                reason);
        if (!m_unreadable.prepareSave(QStringLiteral("saveScripts()"), __LINE__))
            return;
        FileUtils::writeAtomically(*path, *data);
    } catch (const AppError& error) {
        AppLogger::error(error, QStringLiteral("saveScripts()"), __LINE__);
    }
}

namespace {

struct PlistDeleter
{
    void operator()(plist_t node) const { plist_free(node); }
};
using PlistHandle = std::unique_ptr<std::remove_pointer_t<plist_t>, PlistDeleter>;

[[noreturn]] void notAPropertyList(const QString& reason)
{
    throw AppError(
        QStringLiteral(
            "The file “IDs.plist” couldn’t be read because it isn’t in the correct format."),
        reason);
}

std::optional<QString> plistString(plist_t node)
{
    if (!node || plist_get_node_type(node) != PLIST_STRING)
        return std::nullopt;
    // By length: libplist aborts the program when asked for the value of a string that holds
    // a NUL byte.
    uint64_t length = 0;
    const char* value = plist_get_string_ptr(node, &length);
    if (!value)
        return std::nullopt;
    if (std::strlen(value) != length)
        notAPropertyList(QStringLiteral("A string holds a NUL character."));
    return QString::fromUtf8(value, qsizetype(length));
}

// The keys of a dictionary node with their value nodes, in the file's order.
template <typename Visit>
bool forEachEntry(plist_t dictionary, Visit visit)
{
    plist_dict_iter iterator = nullptr;
    plist_dict_new_iter(dictionary, &iterator);
    if (!iterator)
        return true;
    // `visit` may throw.
    const std::unique_ptr<void, decltype(&std::free)> owned(iterator, &std::free);
    for (;;) {
        char* key = nullptr;
        plist_t value = nullptr;
        plist_dict_next_item(dictionary, iterator, &key, &value);
        if (!key)
            return true;
        const QString name = QString::fromUtf8(key);
        std::free(key);
        if (!visit(name, value))
            return false;
    }
}

} // namespace

std::optional<ScriptsManager::BuiltInIDs> ScriptsManager::parseBuiltInIDs(const QByteArray& data)
{
    // XML allows no NUL character at all, and libplist keeps one in a key or a string where
    // later calls abort on it: such a file is refused before it is parsed.
    if (!data.startsWith("bplist") && data.contains('\0'))
        notAPropertyList(QStringLiteral("It holds a NUL character."));
    plist_t raw = nullptr;
    if (data.size() >= 6)
        plist_from_memory(data.constData(), uint32_t(data.size()), &raw);
    PlistHandle root(raw);
    if (!root)
        notAPropertyList(QStringLiteral("It is not a property list."));
    if (plist_get_node_type(root.get()) != PLIST_DICT)
        return std::nullopt;

    BuiltInIDs ids;
    const bool ok = forEachEntry(root.get(), [&ids](const QString& name, plist_t entry) {
        if (plist_get_node_type(entry) != PLIST_DICT)
            return false;
        QMap<QString, QString> fields;
        const bool stringsOnly = forEachEntry(entry, [&fields](const QString& key, plist_t value) {
            const auto text = plistString(value);
            if (!text)
                return false;
            fields.insert(key, *text);
            return true;
        });
        if (!stringsOnly)
            return false;
        ids.insert(name, fields);
        return true;
    });
    if (!ok)
        return std::nullopt;
    return ids;
}

std::optional<ScriptsManager::BuiltInIDs> ScriptsManager::loadBuiltInIDs()
{
    const auto folder = AppFiles::builtInScriptsURL();
    if (!folder)
        return std::nullopt;
    std::optional<BuiltInIDs> ids;
    try {
        ids = parseBuiltInIDs(
            FileUtils::readWholeFile(QDir(*folder).filePath(QStringLiteral("IDs.plist"))));
    } catch (const AppError& error) {
        AppLogger::error(error, QStringLiteral("loadBuiltInIDs()"), __LINE__);
        return std::nullopt;
    }
    if (!ids)
        AppLogger::error(QStringLiteral("unable to load IDs file"));
    return ids;
}

namespace {

// Depth first, pre-order, each folder's entries by name: the same order at every start,
// whatever order the file system keeps.
void enumerateDeeply(const QString& folder, QList<QFileInfo>& items)
{
    const QFileInfoList entries = QDir(folder).entryInfoList(
        QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot, QDir::Name);
    for (const QFileInfo& entry : entries) {
        items.append(entry);
        if (entry.isDir() && !entry.isSymLink())
            enumerateDeeply(entry.filePath(), items);
    }
}

} // namespace

void ScriptsManager::loadBuiltInScripts()
{
    const auto folder = AppFiles::builtInScriptsURL();
    if (!folder)
        return;
    const auto ids = loadBuiltInIDs();
    if (!ids) {
        AppLogger::error(QStringLiteral("unable to load IDs file"));
        return;
    }
    if (!QFileInfo(*folder).isDir())
        return;

    QList<QFileInfo> items;
    enumerateDeeply(*folder, items);

    ScriptList gathered;
    for (const QFileInfo& item : items) {
        // A bundle-like folder is not a script; only plain ".txt" files (case-sensitive) are.
        if (item.isDir() || item.suffix() != QLatin1String("txt") ||
            item.completeBaseName().isEmpty())
            continue;
        const QString name = item.completeBaseName();
        const auto entry = ids->constFind(name);
        if (entry == ids->cend() || !entry->contains(QStringLiteral("ID"))) {
            AppLogger::error(QStringLiteral("unable to find id for script ") + name +
                             QLatin1Char(' '));
            return;
        }
        const QString language =
            entry->value(QStringLiteral("Language"), Script::defaultLanguage());
        QByteArray data;
        try {
            data = FileUtils::readWholeFile(item.filePath());
        } catch (const AppError& error) {
            AppLogger::error(error, QStringLiteral("loadBuiltInScripts()"), __LINE__);
            continue;
        }
        const QString text = Utf8::decode(data).value_or(QString::fromLocal8Bit(data));
        auto script = Script::create(name, text, true);
        script->setId(entry->value(QStringLiteral("ID")));
        script->setLanguage(language);
        gathered.append(std::move(script));
    }
    if (!gathered.isEmpty())
        setScripts(gathered + m_scripts);
}

void ScriptsManager::removeBuiltInScripts()
{
    ScriptList kept;
    kept.reserve(m_scripts.size());
    for (const ScriptPtr& s : m_scripts) {
        if (!s->builtIn())
            kept.append(s);
    }
    setScripts(kept);
}

ScriptPtr ScriptsManager::newScript()
{
    auto script = Script::create(QStringLiteral("New Script"), QString(), false);
    setScripts(m_scripts + ScriptList{script});
    saveScripts();
    return script;
}

void ScriptsManager::add(const ScriptPtr& script, int index)
{
    ScriptList updated = m_scripts;
    if (index == -1 || index == updated.size())
        updated.append(script);
    else
        updated.insert(std::clamp<qsizetype>(index, 0, updated.size()), script);
    setScripts(updated);
    saveScripts();
}
