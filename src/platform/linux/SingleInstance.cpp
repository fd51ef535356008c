// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/linux/SingleInstance.h"

#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusReply>

SingleInstance::SingleInstance(QDBusConnection connection, const QString& serviceName,
                               QObject* parent)
    : QObject(parent), m_connection(std::move(connection)), m_serviceName(serviceName)
{}

SingleInstance::~SingleInstance()
{
    if (!m_owner)
        return;
    m_connection.unregisterObject(objectPath());
    m_connection.unregisterService(m_serviceName);
}

SingleInstance::Claim SingleInstance::claim()
{
    if (!m_connection.isConnected() || !m_connection.interface())
        return Claim::noBus;
    // The object first, so a second process that sees the name can always call it.
    if (!m_connection.registerObject(objectPath(), this, QDBusConnection::ExportScriptableSlots))
        return Claim::alreadyRuns;
    const QDBusReply<QDBusConnectionInterface::RegisterServiceReply> reply =
        m_connection.interface()->registerService(m_serviceName,
                                                  QDBusConnectionInterface::DontQueueService,
                                                  QDBusConnectionInterface::DontAllowReplacement);
    if (!reply.isValid() || reply.value() != QDBusConnectionInterface::ServiceRegistered) {
        m_connection.unregisterObject(objectPath());
        return reply.isValid() ? Claim::alreadyRuns : Claim::noBus;
    }
    m_owner = true;
    return Claim::owner;
}

void SingleInstance::Activate()
{
    emit activateRequested();
}

QString SingleInstance::Trigger(const QString& nameOrId)
{
    if (!triggerHandler)
        return QStringLiteral("the application cannot start scripts yet");
    return triggerHandler(nameOrId).value_or(QString());
}

namespace {

std::optional<QString> call(QDBusConnection& connection, const QString& serviceName,
                            const QString& method, const QVariantList& arguments, QString* answer)
{
    if (!connection.isConnected())
        return QStringLiteral("no D-Bus session bus");
    QDBusMessage message = QDBusMessage::createMethodCall(serviceName, SingleInstance::objectPath(),
                                                          SingleInstance::interfaceName(), method);
    message.setArguments(arguments);
    // A script that is slow to start must not look like an absent application. The event loop
    // keeps running meanwhile, so a caller in the same process as the service gets its answer.
    const QDBusMessage reply = connection.call(message, QDBus::BlockWithGui, 10000);
    if (reply.type() != QDBusMessage::ReplyMessage) {
        if (reply.errorName() == QLatin1String("org.freedesktop.DBus.Error.ServiceUnknown") ||
            reply.errorName() == QLatin1String("org.freedesktop.DBus.Error.NameHasNoOwner"))
            return QStringLiteral("Brambleworth is not running");
        return reply.errorMessage();
    }
    if (answer && !reply.arguments().isEmpty())
        *answer = reply.arguments().constFirst().toString();
    return std::nullopt;
}

} // namespace

std::optional<QString> SingleInstance::activateRunning(QDBusConnection connection,
                                                       const QString& serviceName)
{
    return call(connection, serviceName, QStringLiteral("Activate"), {}, nullptr);
}

std::optional<QString> SingleInstance::triggerRunning(QDBusConnection connection,
                                                      const QString& serviceName,
                                                      const QString& nameOrId)
{
    QString answer;
    if (auto error = call(connection, serviceName, QStringLiteral("Trigger"), {nameOrId}, &answer))
        return error;
    if (!answer.isEmpty())
        return answer;
    return std::nullopt;
}
