// SPDX-License-Identifier: GPL-3.0-or-later
#include "Model/Script.h"

#include "Model/AppConfig.h"
#include "QuillonCommons/AppLogger.h"
#include "QuillonCommons/FileUtils.h"
#include "QuillonCommons/JsonWriter.h"
#include "QuillonCommons/Utf8.h"

#include <QDir>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QJsonParseError>
#include <QMimeData>
#include <QUrl>
#include <QUuid>

Script::Script(const QString& name, const QString& content, bool builtIn)
    : m_id(QUuid::createUuid().toString(QUuid::WithoutBraces).toUpper()), m_builtIn(builtIn),
      m_name(name), m_internalContent(content), m_language(defaultLanguage())
{}

ScriptPtr Script::create(const QString& name, const QString& content, bool builtIn)
{
    return std::make_shared<Script>(name, content, builtIn);
}

void Script::setBuiltIn(bool builtIn)
{
    if (m_builtIn == builtIn)
        return;
    m_builtIn = builtIn;
    emit builtInChanged(builtIn);
}

void Script::setName(const QString& name)
{
    if (m_name == name)
        return;
    m_name = name;
    emit nameChanged(name);
}

void Script::setCategory(const QString& category)
{
    if (m_category == category)
        return;
    m_category = category;
    emit categoryChanged(category);
}

void Script::setKeepLog(bool keepLog)
{
    if (m_keepLog == keepLog)
        return;
    m_keepLog = keepLog;
    emit keepLogChanged(keepLog);
}

void Script::setLanguage(const QString& language)
{
    if (m_language == language)
        return;
    m_language = language;
    emit languageChanged(language);
}

void Script::setBookmark(const std::optional<QByteArray>& bookmark)
{
    if (m_bookmark == bookmark)
        return;
    m_bookmark = bookmark;
    emit bookmarkChanged();
}

QString Script::content()
{
    if (m_bookmark) {
        if (const auto text = getLinkedFileContent())
            m_internalContent = *text;
    }
    return m_internalContent;
}

void Script::setContent(const QString& content)
{
    m_internalContent = content;
    updateLinkedFileIfNeeded();
    emit contentChanged(content);
}

std::optional<QString> Script::resolveBookmarkAndUpdateIfNeeded()
{
    if (!m_bookmark)
        return std::nullopt;
    // Bookmark data of this build cannot be resolved yet: the script keeps its stored text.
    AppLogger::error(AppError(QStringLiteral("The bookmark data couldn’t be resolved."),
                              QStringLiteral("The bookmark format is not supported.")),
                     QStringLiteral("resolveBookmarkAndUpdateIfNeeded()"), __LINE__);
    return std::nullopt;
}

std::optional<QString> Script::getLinkedFileContent()
{
    if (!m_bookmark)
        return std::nullopt;
    const auto path = resolveBookmarkAndUpdateIfNeeded();
    if (!path) {
        AppLogger::error(QStringLiteral("unable to resolve bookmark"));
        return std::nullopt;
    }
    QFile file(*path);
    if (!file.open(QIODevice::ReadOnly)) {
        AppLogger::error(AppError(QStringLiteral("The file “%1” couldn’t be opened.").arg(*path),
                                  file.errorString()),
                         QStringLiteral("getLinkedFileContent()"), __LINE__);
        return std::nullopt;
    }
    const QByteArray data = file.readAll();
    if (const auto text = Utf8::decode(data))
        return text;
    // Not UTF-8: fall back to the locale's encoding, as a text editor would.
    return QString::fromLocal8Bit(data);
}

void Script::updateLinkedFileIfNeeded()
{
    if (!m_bookmark)
        return;
    const auto path = resolveBookmarkAndUpdateIfNeeded();
    if (!path)
        return;
    const auto data = Utf8::encode(m_internalContent);
    if (!data)
        return;
    try {
        FileUtils::writeAtomically(*path, *data);
    } catch (const AppError& error) {
        AppLogger::error(error, QStringLiteral("updateLinkedFileIfNeeded()"), __LINE__);
    }
}

ScriptPtr Script::copy()
{
    ScriptPtr duplicate = create(m_name + QStringLiteral(" (copy)"), content(), false);
    duplicate->m_keepLog = m_keepLog;
    duplicate->m_language = m_language;
    return duplicate;
}

QString Script::fileName() const
{
    const QString trimmed = m_name.trimmed();
    if (trimmed.isEmpty())
        return QStringLiteral("Brambleworth Script.sh");
    return trimmed + QStringLiteral(".sh");
}

QString Script::scriptPasteboardType()
{
    return AppConfig::bundleIdentifier() + QStringLiteral(".script");
}

QMimeData* Script::pasteboardItem() const
{
    auto* item = new QMimeData;
    const QString path = QDir(FileUtils::temporaryDirectoryURL()).filePath(fileName());
    if (const auto data = Utf8::encode(m_internalContent)) {
        try {
            FileUtils::writeAtomically(path, *data);
        } catch (const AppError& error) {
            AppLogger::error(error, QStringLiteral("pasteboardItem"), __LINE__);
        }
    }
    item->setUrls({QUrl::fromLocalFile(path)});
    item->setData(scriptPasteboardType(), m_id.toUtf8());
    return item;
}

std::optional<AppError> Script::writePromise(const QVariant& userInfo, const QString& path)
{
    if (userInfo.typeId() != QMetaType::QString || userInfo.toString() != m_id)
        return std::nullopt;
    const auto data = Utf8::encode(content());
    if (!data)
        return std::nullopt;
    try {
        FileUtils::writeAtomically(path, *data);
    } catch (const AppError& error) {
        return error;
    }
    return std::nullopt;
}

std::optional<QByteArray> Script::encodeLibrary(const ScriptList& scripts, QString* error)
{
    qsizetype estimate = 2;
    for (const ScriptPtr& script : scripts)
        estimate += script->m_internalContent.size() + script->m_name.size() + 160;
    JsonWriter writer(estimate + estimate / 8);
    writer.beginArray();
    for (const ScriptPtr& script : scripts) {
        writer.beginObject();
        writer.key(u"id");
        writer.string(script->m_id);
        writer.key(u"name");
        writer.string(script->m_name);
        writer.key(u"content");
        writer.string(script->content());
        writer.key(u"keepLog");
        writer.boolean(script->m_keepLog);
        writer.key(u"language");
        writer.string(script->m_language);
        writer.key(u"bookmark");
        if (script->m_bookmark)
            writer.string(QString::fromLatin1(script->m_bookmark->toBase64()));
        else
            writer.null();
        writer.key(u"category");
        writer.string(script->m_category);
        writer.endObject();
        if (!writer.ok()) {
            if (error)
                *error =
                    QStringLiteral("The script “%1” holds text that cannot be encoded as UTF-8.")
                        .arg(script->m_name);
            return std::nullopt;
        }
    }
    writer.endArray();
    return writer.take();
}

namespace {

[[noreturn]] void corrupt(qsizetype index, const QString& reason)
{
    throw AppError(
        QStringLiteral("The data couldn’t be read because it isn’t in the correct format."),
        QStringLiteral("Script %1: %2").arg(index).arg(reason));
}

QString requiredString(const QJsonObject& object, QLatin1StringView key, qsizetype index)
{
    const QJsonValue value = object.value(key);
    if (value.isUndefined())
        corrupt(index, QStringLiteral("no value for key \"%1\"").arg(key));
    if (!value.isString())
        corrupt(index, QStringLiteral("\"%1\" is not a string").arg(key));
    return value.toString();
}

} // namespace

ScriptList Script::decodeLibrary(const QByteArray& data)
{
    QJsonParseError parseError{};
    const QJsonDocument document = QJsonDocument::fromJson(data, &parseError);
    if (parseError.error != QJsonParseError::NoError)
        throw AppError(
            QStringLiteral("The data couldn’t be read because it isn’t in the correct format."),
            QStringLiteral("%1 at offset %2").arg(parseError.errorString()).arg(parseError.offset));
    if (!document.isArray())
        throw AppError(
            QStringLiteral("The data couldn’t be read because it isn’t in the correct format."),
            QStringLiteral("Expected an array of scripts."));

    const QJsonArray array = document.array();
    ScriptList scripts;
    scripts.reserve(array.size());
    for (qsizetype i = 0; i < array.size(); ++i) {
        const QJsonValue element = array.at(i);
        if (!element.isObject())
            corrupt(i, QStringLiteral("not an object"));
        const QJsonObject object = element.toObject();
        auto script = create(requiredString(object, QLatin1StringView("name"), i),
                             requiredString(object, QLatin1StringView("content"), i), false);
        script->m_id = requiredString(object, QLatin1StringView("id"), i);

        const QJsonValue keepLog = object.value(QLatin1StringView("keepLog"));
        if (!keepLog.isUndefined() && !keepLog.isNull()) {
            if (!keepLog.isBool())
                corrupt(i, QStringLiteral("\"keepLog\" is not a boolean"));
            script->m_keepLog = keepLog.toBool();
        }
        const QJsonValue language = object.value(QLatin1StringView("language"));
        if (!language.isUndefined() && !language.isNull()) {
            if (!language.isString())
                corrupt(i, QStringLiteral("\"language\" is not a string"));
            script->m_language = language.toString();
        }
        const QJsonValue bookmark = object.value(QLatin1StringView("bookmark"));
        if (!bookmark.isUndefined() && !bookmark.isNull()) {
            if (!bookmark.isString())
                corrupt(i, QStringLiteral("\"bookmark\" is not a string"));
            const auto decoded = QByteArray::fromBase64Encoding(
                bookmark.toString().toLatin1(), QByteArray::AbortOnBase64DecodingErrors);
            if (!decoded)
                corrupt(i, QStringLiteral("\"bookmark\" is not Base64"));
            script->m_bookmark = *decoded;
        }
        const QJsonValue category = object.value(QLatin1StringView("category"));
        if (!category.isUndefined() && !category.isNull()) {
            if (!category.isString())
                corrupt(i, QStringLiteral("\"category\" is not a string"));
            script->m_category = category.toString();
        }
        scripts.append(std::move(script));
    }
    return scripts;
}
