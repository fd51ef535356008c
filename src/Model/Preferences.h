// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QObject>
#include <QSettings>
#include <QStringList>
#include <QVariantMap>

#include <memory>

// The user-defaults store: values from the command line ("-KEY VALUE", this process only)
// win over stored values, which win over registered defaults. Every write made through it
// emits one change signal for its key.
class Preferences : public QObject
{
    Q_OBJECT
public:
    enum class Identifier
    {
        launchAtStartup,
        includeBuiltInScripts,
        arrangeScriptMenuByCategories,
        syntaxtHighlightThemeName,
        useSyntaxtHighlighting,
        restrictSyntaxHighlight,
        mainWindowIsPinned,
    };
    Q_ENUM(Identifier)

    static QString key(Identifier identifier);
    static QList<Identifier> identifiers();
    static QString customApplicationSupportDirectoryKey();

    // The process's store, in the XDG config folder; created on first use.
    static Preferences& shared();

    explicit Preferences(const QString& settingsPath, QObject* parent = nullptr);
    ~Preferences() override;

    QString settingsPath() const;

    // Registered defaults live in memory only and are never written.
    void registerDefaults(const QVariantMap& defaults);
    // The two defaults registered at launch.
    void registerStandardDefaults();

    // Takes the "-KEY VALUE" pairs out of a command line into the argument domain and
    // returns the remaining arguments (the program name first), for the option parser.
    QStringList setArguments(const QStringList& arguments);
    static QVariantMap parseArgumentDomain(const QStringList& arguments, QStringList* remaining);
    QVariantMap argumentDomain() const { return m_arguments; }

    QVariant value(const QString& key) const;
    QString string(const QString& key) const;
    bool boolean(const QString& key) const;
    bool boolean(Identifier identifier) const;
    bool contains(const QString& key) const;

    void setValue(const QString& key, const QVariant& value);
    void setValue(Identifier identifier, const QVariant& value);
    void remove(const QString& key);

    // How a stored or typed value reads as a boolean: YES/true/1 and other non-zero numbers.
    static bool toBoolean(const QVariant& value);

signals:
    void valueChanged(const QString& key);
    void changed(Preferences::Identifier identifier);

private:
    void announce(const QString& key);

    std::unique_ptr<QSettings> m_settings;
    QVariantMap m_defaults;
    QVariantMap m_arguments;
};
