// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QDBusConnection>
#include <QObject>
#include <QString>

#include <functional>
#include <optional>

// One application per user session: the first process owns the D-Bus name of the application
// id and serves a small interface on it; later processes ask it to show its window or to start
// a script, then leave.
class SingleInstance : public QObject
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.brambleworth.Brambleworth.Application")
public:
    enum class Claim
    {
        owner,       // this process owns the name and serves the interface
        alreadyRuns, // another process owns it
        noBus,       // no session bus: nobody else can be found either
    };

    SingleInstance(QDBusConnection connection, const QString& serviceName,
                   QObject* parent = nullptr);
    ~SingleInstance() override;

    static QString objectPath() { return QStringLiteral("/org/brambleworth/Brambleworth"); }
    static QString interfaceName()
    {
        return QStringLiteral("org.brambleworth.Brambleworth.Application");
    }

    Claim claim();

    // Answers an error text, or nothing when the script started.
    std::function<std::optional<QString>(const QString& nameOrId)> triggerHandler;

    // The client side, for a second process. Both answer an error text, or nothing on success.
    static std::optional<QString> activateRunning(QDBusConnection connection,
                                                  const QString& serviceName);
    static std::optional<QString>
    triggerRunning(QDBusConnection connection, const QString& serviceName, const QString& nameOrId);

public slots:
    Q_SCRIPTABLE void Activate();
    // The empty text when the script started, else why not.
    Q_SCRIPTABLE QString Trigger(const QString& nameOrId);

signals:
    void activateRequested();

private:
    QDBusConnection m_connection;
    QString m_serviceName;
    bool m_owner = false;
};
