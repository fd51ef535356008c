// SPDX-License-Identifier: GPL-3.0-or-later
#include "Model/Script.h"

#include "Model/AppConfig.h"
#include "Model/Bookmark.h"
#include "QuillonCommons/AppLogger.h"
#include "QuillonCommons/FileUtils.h"
#include "QuillonCommons/JsonReader.h"
#include "QuillonCommons/JsonWriter.h"
#include "QuillonCommons/Utf8.h"

#include <QDir>
#include <QMimeData>
#include <QUrl>
#include <QUuid>

Script::Script(const QString& name, const QString& content, bool builtIn)
    : m_id(QUuid::createUuid().toString(QUuid::WithoutBraces).toUpper()), m_builtIn(builtIn),
      m_name(name), m_internalContent(content), m_language(defaultLanguage())
{}

Script::Script(DecodingTag) : m_language(defaultLanguage()) {}

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
    try {
        const Bookmark::Resolution resolution = Bookmark::resolve(*m_bookmark);
        if (resolution.stale)
            setBookmark(Bookmark::create(resolution.path));
        return resolution.path;
    } catch (const AppError& error) {
        AppLogger::error(error, QStringLiteral("resolveBookmarkAndUpdateIfNeeded()"), __LINE__);
        return std::nullopt;
    }
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
        // The write put a new file in place: record it now, so that a rename before the next
        // read still finds it by inode.
        setBookmark(Bookmark::create(*path));
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
    // A folder of the user's own stands in for the process's temporary folder: in the shared
    // /tmp a file of this name may belong to someone else, and the drag would carry theirs.
    const QString folder = FileUtils::privateTemporaryFolder();
    const QString path =
        QDir(folder.isEmpty() ? FileUtils::temporaryDirectoryURL() : folder).filePath(fileName());
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

[[noreturn]] void corrupt(const QString& reason)
{
    throw AppError(
        QStringLiteral("The data couldn’t be read because it isn’t in the correct format."),
        reason);
}

} // namespace

ScriptList Script::decodeLibrary(const QByteArray& data)
{
    JsonReader reader(data);
    ScriptList scripts;
    if (reader.peek() != JsonReader::Type::Array)
        corrupt(reader.ok() ? QStringLiteral("Expected an array of scripts.")
                            : reader.errorString());
    reader.beginArray();
    QByteArray key;
    while (reader.nextElement()) {
        const qsizetype index = scripts.size();
        if (reader.peek() != JsonReader::Type::Object)
            corrupt(QStringLiteral("Script %1 is not an object.").arg(index));
        ScriptPtr script(new Script(DecodingTag{}));
        bool hasId = false;
        bool hasName = false;
        bool hasContent = false;
        auto typeError = [index](const char* field, const char* type) {
            corrupt(QStringLiteral("Script %1: \"%2\" is not %3.")
                        .arg(index)
                        .arg(QLatin1String(field), QLatin1String(type)));
        };
        // Optional keys read null as absent.
        auto optionalString = [&](QString& target, const char* field) {
            const JsonReader::Type type = reader.peek();
            if (type == JsonReader::Type::Null)
                return reader.readNull();
            if (type != JsonReader::Type::String)
                typeError(field, "a string");
            return reader.readString(target);
        };
        auto requiredString = [&](QString& target, const char* field) {
            if (reader.peek() != JsonReader::Type::String)
                typeError(field, "a string");
            return reader.readString(target);
        };

        reader.beginObject();
        while (reader.nextKey(key)) {
            bool read = true;
            if (key == "id") {
                read = requiredString(script->m_id, "id");
                hasId = true;
            } else if (key == "name") {
                read = requiredString(script->m_name, "name");
                hasName = true;
            } else if (key == "content") {
                read = requiredString(script->m_internalContent, "content");
                hasContent = true;
            } else if (key == "keepLog") {
                const JsonReader::Type type = reader.peek();
                if (type == JsonReader::Type::Null)
                    read = reader.readNull();
                else if (type == JsonReader::Type::Boolean)
                    read = reader.readBoolean(script->m_keepLog);
                else
                    typeError("keepLog", "a boolean");
            } else if (key == "language") {
                QString language;
                read = optionalString(language, "language");
                if (!language.isNull())
                    script->m_language = language;
            } else if (key == "category") {
                read = optionalString(script->m_category, "category");
            } else if (key == "bookmark") {
                QString encoded;
                read = optionalString(encoded, "bookmark");
                if (read && !encoded.isNull()) {
                    // Standard padded Base64 only: Qt alone would take "AQI" or "A", and a
                    // bookmark read that way is written back different from what was read.
                    const QByteArray latin1 = encoded.toLatin1();
                    const auto decoded = QByteArray::fromBase64Encoding(
                        latin1, QByteArray::AbortOnBase64DecodingErrors);
                    if (!decoded || decoded.decoded.toBase64() != latin1)
                        typeError("bookmark", "Base64 data");
                    script->m_bookmark = *decoded;
                }
            } else {
                read = reader.skipValue();
            }
            if (!read)
                break;
        }
        if (!reader.ok())
            corrupt(reader.errorString());
        if (!hasId || !hasName || !hasContent)
            corrupt(QStringLiteral("Script %1: no value for key \"%2\".")
                        .arg(index)
                        .arg(QLatin1String(!hasId     ? "id"
                                           : !hasName ? "name"
                                                      : "content")));
        scripts.append(std::move(script));
    }
    if (!reader.ok())
        corrupt(reader.errorString());
    if (!reader.atEnd())
        corrupt(QStringLiteral("Unexpected data after the array."));
    return scripts;
}
