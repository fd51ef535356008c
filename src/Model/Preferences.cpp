// SPDX-License-Identifier: GPL-3.0-or-later
#include "Model/Preferences.h"

#include "QuillonCommons/AppLogger.h"

#include <QStandardPaths>

QString Preferences::key(Identifier identifier)
{
    switch (identifier) {
    case Identifier::launchAtStartup:
        return QStringLiteral("LaunchAtStartup");
    case Identifier::includeBuiltInScripts:
        return QStringLiteral("IncludeBuiltInScripts");
    case Identifier::arrangeScriptMenuByCategories:
        return QStringLiteral("ArrangeScriptMenuByCategories");
    case Identifier::syntaxtHighlightThemeName:
        return QStringLiteral("SyntaxtHighlightThemeName");
    case Identifier::useSyntaxtHighlighting:
        return QStringLiteral("UseSyntaxtHighlighting");
    case Identifier::restrictSyntaxHighlight:
        return QStringLiteral("RestrictSyntaxHighlight");
    case Identifier::mainWindowIsPinned:
        return QStringLiteral("MainWindowIsPinned");
    }
    return {};
}

QList<Preferences::Identifier> Preferences::identifiers()
{
    return {Identifier::launchAtStartup,
            Identifier::includeBuiltInScripts,
            Identifier::arrangeScriptMenuByCategories,
            Identifier::syntaxtHighlightThemeName,
            Identifier::useSyntaxtHighlighting,
            Identifier::restrictSyntaxHighlight,
            Identifier::mainWindowIsPinned};
}

QString Preferences::customApplicationSupportDirectoryKey()
{
    return QStringLiteral("CUSTOM_APPLICATION_SUPPORT_DIRECTORY");
}

Preferences& Preferences::shared()
{
    static Preferences instance(
        QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation) +
        QStringLiteral("/brambleworth/brambleworth.conf"));
    return instance;
}

Preferences::Preferences(const QString& settingsPath, QObject* parent)
    : QObject(parent), m_settings(std::make_unique<QSettings>(settingsPath, QSettings::IniFormat))
{}

Preferences::~Preferences() = default;

QString Preferences::settingsPath() const
{
    return m_settings->fileName();
}

void Preferences::registerDefaults(const QVariantMap& defaults)
{
    for (auto it = defaults.cbegin(); it != defaults.cend(); ++it)
        m_defaults.insert(it.key(), it.value());
}

void Preferences::registerStandardDefaults()
{
    registerDefaults({{key(Identifier::useSyntaxtHighlighting), true},
                      {key(Identifier::restrictSyntaxHighlight), false}});
}

QVariantMap Preferences::parseArgumentDomain(const QStringList& arguments, QStringList* remaining)
{
    QVariantMap domain;
    QStringList rest;
    for (qsizetype i = 0; i < arguments.size(); ++i) {
        const QString& argument = arguments.at(i);
        // "-Key value": one dash and a name starting with a letter, one letter being enough.
        // Double-dash options and the option parser's own -h and -v stay with the parser.
        const bool isKey = i > 0 && argument.size() > 1 && argument.at(0) == QLatin1Char('-') &&
                           argument.at(1).isLetter() && argument != QLatin1String("-h") &&
                           argument != QLatin1String("-v");
        if (!isKey) {
            rest.append(argument);
        } else if (i + 1 < arguments.size()) {
            domain.insert(argument.mid(1), arguments.at(i + 1));
            ++i;
        } else {
            // A key without a value sets nothing, as on macOS; it is no reason to refuse the rest.
            AppLogger::warning(
                QStringLiteral("The argument “%1” has no value and is ignored.").arg(argument));
        }
    }
    if (remaining)
        *remaining = rest;
    return domain;
}

QStringList Preferences::setArguments(const QStringList& arguments)
{
    QStringList remaining;
    const QVariantMap domain = parseArgumentDomain(arguments, &remaining);
    QStringList touched = m_arguments.keys() + domain.keys();
    m_arguments = domain;
    touched.removeDuplicates();
    for (const QString& k : touched)
        announce(k);
    return remaining;
}

QVariant Preferences::value(const QString& key) const
{
    if (auto it = m_arguments.constFind(key); it != m_arguments.cend())
        return it.value();
    const QVariant stored = m_settings->value(key);
    if (stored.isValid())
        return stored;
    return m_defaults.value(key);
}

QString Preferences::string(const QString& key) const
{
    const QVariant v = value(key);
    return v.isValid() ? v.toString() : QString();
}

bool Preferences::boolean(const QString& key) const
{
    return toBoolean(value(key));
}

bool Preferences::boolean(Identifier identifier) const
{
    return boolean(key(identifier));
}

bool Preferences::contains(const QString& key) const
{
    return value(key).isValid();
}

bool Preferences::toBoolean(const QVariant& value)
{
    if (!value.isValid())
        return false;
    if (value.typeId() == QMetaType::Bool)
        return value.toBool();
    if (value.typeId() == QMetaType::QString || value.typeId() == QMetaType::QByteArray) {
        const QString text = value.toString().trimmed().toLower();
        if (text == QLatin1String("yes") || text == QLatin1String("true"))
            return true;
        bool ok = false;
        const double number = text.toDouble(&ok);
        return ok && number != 0;
    }
    bool ok = false;
    const double number = value.toDouble(&ok);
    return ok && number != 0;
}

void Preferences::setValue(const QString& key, const QVariant& value)
{
    m_settings->setValue(key, value);
    m_settings->sync();
    announce(key);
}

void Preferences::setValue(Identifier identifier, const QVariant& value)
{
    setValue(key(identifier), value);
}

void Preferences::remove(const QString& key)
{
    m_settings->remove(key);
    m_settings->sync();
    announce(key);
}

void Preferences::announce(const QString& key)
{
    emit valueChanged(key);
    for (Identifier identifier : identifiers()) {
        if (Preferences::key(identifier) == key) {
            emit changed(identifier);
            break;
        }
    }
}
