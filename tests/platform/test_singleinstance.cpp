// SPDX-License-Identifier: GPL-3.0-or-later
#include "common/TestEnvironment.h"
#include "platform/linux/SingleInstance.h"

#include <QDBusConnection>
#include <QProcess>
#include <QSignalSpy>

// One application per session, on a private session bus: the first process owns the name, a
// second one reaches it to show the window or start a script, and `brambleworth --trigger`
// reports an absent application.
class TestSingleInstance : public QObject
{
    Q_OBJECT

    const QString m_service = QStringLiteral("org.brambleworth.Brambleworth.Test");

    static QDBusConnection otherConnection(const QString& name)
    {
        return QDBusConnection::connectToBus(QDBusConnection::SessionBus, name);
    }

private slots:
    void secondInstanceReachesTheFirst()
    {
        SingleInstance first(QDBusConnection::sessionBus(), m_service);
        QCOMPARE(first.claim(), SingleInstance::Claim::owner);
        QStringList triggered;
        first.triggerHandler = [&triggered](const QString& nameOrId) -> std::optional<QString> {
            if (nameOrId == QLatin1String("missing"))
                return QStringLiteral("no script has the id or name “missing”");
            triggered.append(nameOrId);
            return std::nullopt;
        };

        const QDBusConnection other = otherConnection(QStringLiteral("second"));
        SingleInstance second(other, m_service);
        QCOMPARE(second.claim(), SingleInstance::Claim::alreadyRuns);

        QSignalSpy activated(&first, &SingleInstance::activateRequested);
        QCOMPARE(SingleInstance::activateRunning(other, m_service), std::nullopt);
        QCOMPARE(activated.count(), 1);

        QCOMPARE(SingleInstance::triggerRunning(other, m_service, QStringLiteral("Clean_tmp")),
                 std::nullopt);
        QCOMPARE(triggered, QStringList{QStringLiteral("Clean_tmp")});
        QCOMPARE(SingleInstance::triggerRunning(other, m_service, QStringLiteral("missing")),
                 QStringLiteral("no script has the id or name “missing”"));
        QDBusConnection::disconnectFromBus(QStringLiteral("second"));
    }

    void theNameIsFreeAgainAfterTheOwnerLeaves()
    {
        {
            SingleInstance first(QDBusConnection::sessionBus(), m_service);
            QCOMPARE(first.claim(), SingleInstance::Claim::owner);
        }
        const QDBusConnection other = otherConnection(QStringLiteral("third"));
        QCOMPARE(SingleInstance::activateRunning(other, m_service),
                 QStringLiteral("Brambleworth is not running"));
        SingleInstance next(other, m_service);
        QCOMPARE(next.claim(), SingleInstance::Claim::owner);
    }

    void triggerWithoutARunningApplicationFails()
    {
        QProcess process;
        process.start(QStringLiteral(BRAMBLEWORTH_BINARY),
                      {QStringLiteral("--trigger"), QStringLiteral("Anything")});
        QVERIFY(process.waitForFinished(20000));
        QCOMPARE(process.exitCode(), 1);
        // Only the first line is ours: under load Qt's bus thread sometimes adds type warnings
        // of its own while the process exits.
        const QStringList lines = QString::fromUtf8(process.readAllStandardError()).split('\n');
        QCOMPARE(lines.first(), QStringLiteral("brambleworth: Brambleworth is not running."));
        for (const QString& line : lines.mid(1))
            QVERIFY2(!line.startsWith(QLatin1String("brambleworth")), qPrintable(line));
        QVERIFY(process.readAllStandardOutput().isEmpty());
    }
};

BRAMBLEWORTH_TEST_MAIN(TestSingleInstance)
#include "test_singleinstance.moc"
