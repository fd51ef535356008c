// SPDX-License-Identifier: GPL-3.0-or-later
// Session notifications between two real processes on a private session bus.
#include "common/TestEnvironment.h"

#include "platform/linux/DBusNotificationCenter.h"

#include <QDBusMessage>
#include <QProcess>
#include <QScopeGuard>

#include <cstdio>

class TestDBusNotifications : public QObject
{
    Q_OBJECT

    DBusNotificationCenter* m_center = nullptr;

private slots:
    void initTestCase()
    {
        m_center = DBusNotificationCenter::install(this);
        if (!m_center->isConnected())
            QSKIP("no D-Bus session bus (run under dbus-run-session)");
    }

    void anotherProcessReceivesWhatWePost()
    {
        QProcess listener;
        listener.start(QCoreApplication::applicationFilePath(), {QStringLiteral("--listen")});
        QVERIFY(listener.waitForStarted());
        QVERIFY(listener.waitForReadyRead(10000)); // "ready"
        listener.readAllStandardOutput();

        NotificationCenter::distributedCenter()->post(QStringLiteral("KeyboardLayoutChanged"),
                                                      QStringLiteral("us"),
                                                      {{QStringLiteral("group"), 2}});
        QVERIFY(listener.waitForFinished(10000));
        QCOMPARE(listener.exitCode(), 0);
        QCOMPARE(QString::fromUtf8(listener.readAllStandardOutput()),
                 QStringLiteral("KeyboardLayoutChanged us 2\n"));
    }

    void ourOwnPostsArriveOnceAndOthersArriveToo()
    {
        QStringList seen;
        NotificationCenter* center = NotificationCenter::distributedCenter();
        const auto token = center->addObserver({}, {}, nullptr,
                                               [&seen](const Notification& n) { seen << n.name; });
        const auto removal = qScopeGuard([&] { center->removeObserver(token); });
        center->post(QStringLiteral("Mine"));
        QCOMPARE(seen, QStringList{QStringLiteral("Mine")});

        QProcess poster;
        poster.start(QCoreApplication::applicationFilePath(),
                     {QStringLiteral("--post"), QStringLiteral("Theirs")});
        QVERIFY(poster.waitForFinished(10000));
        QTRY_COMPARE(seen, (QStringList{QStringLiteral("Mine"), QStringLiteral("Theirs")}));
        QTest::qWait(100);
        QCOMPARE(seen.size(), 2);
    }
};

// Child modes: "--listen" prints the first notification it sees; "--post NAME" posts one.
static int child(const QStringList& arguments)
{
    DBusNotificationCenter* center = DBusNotificationCenter::install(QCoreApplication::instance());
    if (arguments.at(1) == QLatin1String("--post")) {
        center->post(arguments.at(2));
        QDBusConnection::sessionBus().call(QDBusMessage::createMethodCall(
            QStringLiteral("org.freedesktop.DBus"), QStringLiteral("/org/freedesktop/DBus"),
            QStringLiteral("org.freedesktop.DBus.Peer"),
            QStringLiteral("Ping"))); // flushes the signal
        return 0;
    }
    center->addObserver({}, {}, nullptr, [](const Notification& n) {
        std::printf("%s %s %s\n", qPrintable(n.name), qPrintable(n.object.toString()),
                    qPrintable(n.userInfo.value(QStringLiteral("group")).toString()));
        QCoreApplication::exit(0);
    });
    std::printf("ready\n");
    std::fflush(stdout);
    return QCoreApplication::exec();
}

int main(int argc, char** argv)
{
    TestEnvironment environment;
    QCoreApplication app(argc, argv);
    if (argc > 1 && (QByteArray(argv[1]) == "--listen" || QByteArray(argv[1]) == "--post"))
        return child(QCoreApplication::arguments());
    TestDBusNotifications tc;
    return QTest::qExec(&tc, argc, argv);
}

#include "test_dbusnotifications.moc"
