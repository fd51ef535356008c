// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "QuillonCommons/AppError.h"

#include <QByteArray>
#include <QList>
#include <QObject>
#include <QString>
#include <QVariant>

#include <memory>
#include <optional>

class QMimeData;
class Script;

using ScriptPtr = std::shared_ptr<Script>;
using ScriptList = QList<ScriptPtr>;

// One script of the library: a named piece of shell text with a stable id. For a script linked
// to a file, the file is the truth: reading `content` reads it, writing `content` writes it.
class Script : public QObject
{
    Q_OBJECT
    Q_PROPERTY(bool builtIn READ builtIn WRITE setBuiltIn NOTIFY builtInChanged)
    Q_PROPERTY(QString name READ name WRITE setName NOTIFY nameChanged)
    Q_PROPERTY(QString category READ category WRITE setCategory NOTIFY categoryChanged)
    Q_PROPERTY(QString content READ content WRITE setContent NOTIFY contentChanged)
    Q_PROPERTY(bool keepLog READ keepLog WRITE setKeepLog NOTIFY keepLogChanged)
    Q_PROPERTY(QString language READ language WRITE setLanguage NOTIFY languageChanged)
    Q_PROPERTY(QByteArray bookmark READ bookmarkData NOTIFY bookmarkChanged)

public:
    // A fresh id and the defaults; the text goes straight into the stored content.
    Script(const QString& name, const QString& content, bool builtIn);
    static ScriptPtr create(const QString& name, const QString& content, bool builtIn);

    const QString& id() const { return m_id; }
    void setId(const QString& id) { m_id = id; }

    bool builtIn() const { return m_builtIn; }
    void setBuiltIn(bool builtIn);
    const QString& name() const { return m_name; }
    void setName(const QString& name);
    const QString& category() const { return m_category; }
    void setCategory(const QString& category);
    bool keepLog() const { return m_keepLog; }
    void setKeepLog(bool keepLog);
    const QString& language() const { return m_language; }
    void setLanguage(const QString& language);
    const std::optional<QByteArray>& bookmark() const { return m_bookmark; }
    QByteArray bookmarkData() const { return m_bookmark.value_or(QByteArray()); }
    void setBookmark(const std::optional<QByteArray>& bookmark);

    const QString& internalContent() const { return m_internalContent; }
    void setInternalContent(const QString& text) { m_internalContent = text; }

    // Reads the linked file when there is one (and keeps what it read), else the stored text.
    QString content();
    // Stores the text and writes it through to the linked file at once.
    void setContent(const QString& content);

    // Linked files.
    std::optional<QString> resolveBookmarkAndUpdateIfNeeded();
    std::optional<QString> getLinkedFileContent();
    void updateLinkedFileIfNeeded();

    // A new unlinked, uncategorised script with a fresh id, named "<name> (copy)", holding
    // the current text.
    ScriptPtr copy();

    // The file name under which the script leaves the application.
    QString fileName() const;

    // The drag payload: the text written to "<temp>/<fileName>", its URL, and the id under the
    // private type. The caller owns the result.
    QMimeData* pasteboardItem() const;
    static QString scriptPasteboardType();

    // A dropped file promise: writes the current text to `path` if `userInfo` is this script's
    // id. Answers the write error, if any.
    std::optional<AppError> writePromise(const QVariant& userInfo, const QString& path);

    // The library file: a compact JSON array, keys in the order id, name, content, keepLog,
    // language, bookmark, category. Encoding fails for text that is not valid Unicode.
    static std::optional<QByteArray> encodeLibrary(const ScriptList& scripts,
                                                   QString* error = nullptr);
    // Throws AppError when the data is not an array of valid script objects.
    static ScriptList decodeLibrary(const QByteArray& data);

    static QString defaultLanguage() { return QStringLiteral("bash"); }

signals:
    void builtInChanged(bool builtIn);
    void nameChanged(const QString& name);
    void categoryChanged(const QString& category);
    void contentChanged(const QString& content);
    void keepLogChanged(bool keepLog);
    void languageChanged(const QString& language);
    void bookmarkChanged();

private:
    // Decoded scripts take their id from the file: no fresh UUID to throw away.
    struct DecodingTag
    {};
    explicit Script(DecodingTag);

    QString m_id;
    bool m_builtIn = false;
    QString m_name;
    QString m_category;
    QString m_internalContent;
    bool m_keepLog = false;
    QString m_language;
    std::optional<QByteArray> m_bookmark;
};
