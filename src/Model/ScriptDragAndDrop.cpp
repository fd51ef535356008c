// SPDX-License-Identifier: GPL-3.0-or-later
#include "Model/ScriptDragAndDrop.h"

#include "Model/Bookmark.h"
#include "Model/ScriptsManager.h"
#include "QuillonCommons/AppError.h"
#include "QuillonCommons/AppLogger.h"
#include "QuillonCommons/FileUtils.h"
#include "QuillonCommons/Utf8.h"

#include <QFileInfo>
#include <QMimeData>
#include <QRegularExpression>
#include <QUrl>

namespace {

const QString dropFunction = QStringLiteral("outlineView(_:acceptDrop:item:childIndex:)");

QStringList droppedFiles(const QMimeData* data)
{
    QStringList paths;
    if (!data || !data->hasUrls())
        return paths;
    for (const QUrl& url : data->urls()) {
        if (url.isLocalFile())
            paths.append(url.toLocalFile());
    }
    return paths;
}

// Interpreters and extensions under another name in Highlight.js.
QString aliasOf(const QString& name)
{
    static const QHash<QString, QString> aliases = {
        {QStringLiteral("sh"), QStringLiteral("bash")},
        {QStringLiteral("dash"), QStringLiteral("bash")},
        {QStringLiteral("ksh"), QStringLiteral("bash")},
        {QStringLiteral("zsh"), QStringLiteral("bash")},
        {QStringLiteral("command"), QStringLiteral("bash")},
        {QStringLiteral("py"), QStringLiteral("python")},
        {QStringLiteral("rb"), QStringLiteral("ruby")},
        {QStringLiteral("pl"), QStringLiteral("perl")},
        {QStringLiteral("pm"), QStringLiteral("perl")},
        {QStringLiteral("js"), QStringLiteral("javascript")},
        {QStringLiteral("mjs"), QStringLiteral("javascript")},
        {QStringLiteral("node"), QStringLiteral("javascript")},
        {QStringLiteral("nodejs"), QStringLiteral("javascript")},
        {QStringLiteral("ts"), QStringLiteral("typescript")},
        {QStringLiteral("osascript"), QStringLiteral("applescript")},
        {QStringLiteral("scpt"), QStringLiteral("applescript")},
        {QStringLiteral("tclsh"), QStringLiteral("tcl")},
        {QStringLiteral("rscript"), QStringLiteral("r")},
        {QStringLiteral("pwsh"), QStringLiteral("powershell")},
        {QStringLiteral("ps1"), QStringLiteral("powershell")},
        {QStringLiteral("kts"), QStringLiteral("kotlin")},
        {QStringLiteral("awk"), QStringLiteral("awk")},
        {QStringLiteral("gawk"), QStringLiteral("awk")},
    };
    return aliases.value(name, name);
}

// "#!/usr/bin/env -S python3.11 -u" gives "python3.11".
QString interpreterOf(const QString& text)
{
    if (!text.startsWith(QLatin1String("#!")))
        return QString();
    const QString line = text.mid(2, text.indexOf(QLatin1Char('\n')) - 2);
    const QStringList words =
        line.split(QRegularExpression(QStringLiteral("\\s+")), Qt::SkipEmptyParts);
    if (words.isEmpty())
        return QString();
    QString program = QFileInfo(words.first()).fileName();
    if (program == QLatin1String("env")) {
        program.clear();
        for (const QString& word : words.mid(1)) {
            if (!word.startsWith(QLatin1Char('-')) && !word.contains(QLatin1Char('='))) {
                program = QFileInfo(word).fileName();
                break;
            }
        }
    }
    return program;
}

} // namespace

ScriptDragAndDrop::ScriptDragAndDrop(ScriptsManager& scriptsManager, LanguageList knownLanguages)
    : m_scriptsManager(&scriptsManager), m_knownLanguages(std::move(knownLanguages))
{}

QMimeData* ScriptDragAndDrop::mimeData(const ScriptList& scripts)
{
    if (scripts.size() == 1)
        return scripts.first()->pasteboardItem();
    auto* data = new QMimeData;
    QList<QUrl> urls;
    QStringList ids;
    for (const ScriptPtr& script : scripts) {
        std::unique_ptr<QMimeData> item(script->pasteboardItem());
        urls.append(item->urls());
        ids.append(script->id());
    }
    data->setUrls(urls);
    data->setData(Script::scriptPasteboardType(), ids.join(QLatin1Char('\n')).toUtf8());
    return data;
}

QStringList ScriptDragAndDrop::draggedScriptIds(const QMimeData* data)
{
    if (!data || !data->hasFormat(Script::scriptPasteboardType()))
        return {};
    return QString::fromUtf8(data->data(Script::scriptPasteboardType()))
        .split(QLatin1Char('\n'), Qt::SkipEmptyParts);
}

Qt::DropAction ScriptDragAndDrop::validateDrop(const QMimeData* data, const QString& proposedItem,
                                               std::optional<int> index) const
{
    if (!draggedScriptIds(data).isEmpty()) {
        AppLogger::debug(QStringLiteral("reorder, proposedItem: ") + proposedItem +
                         QStringLiteral(", index: ") + QString::number(index.value_or(-1)));
        return index ? Qt::MoveAction : Qt::IgnoreAction;
    }
    if (index && !droppedFiles(data).isEmpty())
        return Qt::CopyAction;
    return Qt::IgnoreAction;
}

bool ScriptDragAndDrop::acceptDrop(const QMimeData* data, std::optional<int> index)
{
    if (!index || !m_scriptsManager)
        return false;
    const QStringList ids = draggedScriptIds(data);
    if (!ids.isEmpty())
        return reorder(ids, *index);
    return insertFiles(droppedFiles(data), *index);
}

bool ScriptDragAndDrop::reorder(const QStringList& ids, int index)
{
    if (ids.size() > 1) {
        AppLogger::debug(QStringLiteral("reorder support only one item, go to work ") +
                         QString::number(ids.size()) + QStringLiteral(" items"));
        return false;
    }
    ScriptList scripts = m_scriptsManager->scripts();
    const auto found = std::find_if(scripts.cbegin(), scripts.cend(),
                                    [&](const ScriptPtr& s) { return s->id() == ids.first(); });
    if (found == scripts.cend())
        return false;
    const qsizetype from = found - scripts.cbegin();
    qsizetype to = index < 0 || index > scripts.size() ? scripts.size() : index;
    // The row leaves its place before it lands, so a place below it moves up by one.
    if (to > from)
        --to;
    if (to == from)
        return false;
    scripts.move(from, to);
    m_scriptsManager->setScripts(scripts);
    m_scriptsManager->saveScripts();
    return true;
}

bool ScriptDragAndDrop::insertFiles(const QStringList& paths, int index)
{
    ScriptList scripts = m_scriptsManager->scripts();
    qsizetype at = index < 0 || index > scripts.size() ? scripts.size() : index;
    const qsizetype before = scripts.size();
    const QStringList languages = m_knownLanguages ? m_knownLanguages() : QStringList();
    for (const QString& path : paths) {
        QByteArray bookmark;
        QByteArray data;
        try {
            if (!QFileInfo(path).isFile())
                throw AppError(QStringLiteral("cannot create bookmark for ") + path,
                               QStringLiteral("It is not a regular file."));
            try {
                bookmark = Bookmark::create(path);
            } catch (const AppError& error) {
                throw AppError(QStringLiteral("cannot create bookmark for ") + path,
                               error.failureReason());
            }
            data = FileUtils::readWholeFile(path);
        } catch (const AppError& error) {
            AppLogger::error(error, dropFunction, __LINE__);
            continue;
        }
        // Not UTF-8: the locale's encoding, as the linked file will be read later.
        const QString text = Utf8::decode(data).value_or(QString::fromLocal8Bit(data));
        const ScriptPtr script = Script::create(QFileInfo(path).completeBaseName(), text, false);
        script->setBookmark(bookmark);
        if (const auto language = guessLanguage(path, text, languages))
            script->setLanguage(*language);
        scripts.insert(at++, script);
    }
    if (scripts.size() == before)
        return false;
    m_scriptsManager->setScripts(scripts);
    m_scriptsManager->saveScripts();
    return true;
}

std::optional<QString> ScriptDragAndDrop::guessLanguage(const QString& fileName,
                                                        const QString& text,
                                                        const QStringList& knownLanguages)
{
    QString interpreter = interpreterOf(text).toLower();
    // python3.11, lua5.4: the version is not part of the language.
    interpreter.remove(QRegularExpression(QStringLiteral("[0-9.]+$")));
    const QString extension = QFileInfo(fileName).suffix().toLower();
    for (const QString& candidate : {interpreter, extension}) {
        if (candidate.isEmpty())
            continue;
        const QString language = aliasOf(candidate);
        if (knownLanguages.contains(language))
            return language;
    }
    return std::nullopt;
}
