// SPDX-License-Identifier: GPL-3.0-or-later
#include "common/TestEnvironment.h"

#include "QuillonCommons/AutoLaunch.h"
#include "QuillonCommons/AutoLaunchWatcher.h"
#include "QuillonCommons/LogCapture.h"
#include "QuillonCommons/NotificationCenter.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

namespace {
const QString appId = QStringLiteral("org.example.AutoLaunchTest");

AutoLaunch launcher(const QString& program = QStringLiteral("/usr/bin/brambleworth"))
{
    return AutoLaunch(appId, program, QStringLiteral("Brambleworth"));
}

QString execLine(const QByteArray& entry)
{
    for (const QByteArray& line : entry.split('\n')) {
        if (line.startsWith("Exec="))
            return QString::fromUtf8(line.mid(5));
    }
    return {};
}
} // namespace

class TestAutoLaunch : public QObject
{
    Q_OBJECT
private slots:
    void init()
    {
        QDir(AutoLaunch::autostartFolder()).removeRecursively();
        QFile::remove(AutoLaunch::autostartFolder());
    }

    void entryIsWrittenOnceReadBackAndRemoved()
    {
        AutoLaunch autoLaunch = launcher();
        // $XDG_CONFIG_HOME, not the user's real ~/.config.
        QCOMPARE(autoLaunch.entryPath(), qEnvironmentVariable("XDG_CONFIG_HOME") +
                                             QStringLiteral("/autostart/") + appId +
                                             QStringLiteral(".desktop"));
        QVERIFY(!autoLaunch.isEnabled());

        QVERIFY(autoLaunch.setAutoLaunch(true));
        QVERIFY(autoLaunch.setAutoLaunch(true));
        QVERIFY(autoLaunch.isEnabled());
        QCOMPARE(QDir(AutoLaunch::autostartFolder()).entryList(QDir::Files | QDir::Hidden),
                 QStringList{appId + QStringLiteral(".desktop")});
        const QByteArray entry = TestEnvironment::readFile(autoLaunch.entryPath());
        QVERIFY(entry.startsWith("[Desktop Entry]\n"));
        QVERIFY(entry.contains("\nType=Application\n"));
        QCOMPARE(execLine(entry), QStringLiteral("/usr/bin/brambleworth"));

        QVERIFY(autoLaunch.setAutoLaunch(false));
        QVERIFY(!QFileInfo::exists(autoLaunch.entryPath()));
        QVERIFY(!autoLaunch.isEnabled());
        // Turning off what is already off is no failure.
        QVERIFY(autoLaunch.setAutoLaunch(false));
    }

    void execLineQuotesThePath_data()
    {
        QTest::addColumn<QString>("program");
        QTest::addColumn<QString>("exec");
        QTest::newRow("plain") << "/opt/bw/bin/brambleworth"
                               << "/opt/bw/bin/brambleworth";
        QTest::newRow("space") << "/home/a b/brambleworth"
                               << "\"/home/a b/brambleworth\"";
        QTest::newRow("quote and dollar") << "/tmp/x\"$y/bw"
                                          << "\"/tmp/x\\\\\"\\\\$y/bw\"";
        QTest::newRow("percent") << "/tmp/100%/bw"
                                 << "/tmp/100%%/bw";
    }

    void execLineQuotesThePath()
    {
        QFETCH(QString, program);
        QFETCH(QString, exec);
        QCOMPARE(execLine(launcher(program).entryText()), exec);
    }

    void theDesktopMayTurnTheEntryOff_data()
    {
        QTest::addColumn<QByteArray>("entry");
        QTest::addColumn<bool>("enabled");
        QTest::newRow("plain") << QByteArray("[Desktop Entry]\nType=Application\nExec=x\n") << true;
        QTest::newRow("hidden") << QByteArray("[Desktop Entry]\nExec=x\nHidden=true\n") << false;
        QTest::newRow("gnome off")
            << QByteArray("[Desktop Entry]\nX-GNOME-Autostart-enabled=false\n") << false;
        QTest::newRow("gnome on, not hidden")
            << QByteArray("[Desktop Entry]\nHidden=false\nX-GNOME-Autostart-enabled=true\n")
            << true;
    }

    void theDesktopMayTurnTheEntryOff()
    {
        QFETCH(QByteArray, entry);
        QFETCH(bool, enabled);
        AutoLaunch autoLaunch = launcher();
        TestEnvironment::writeFile(autoLaunch.entryPath(), entry);
        QCOMPARE(autoLaunch.isEnabled(), enabled);
    }

    void aFailureIsLoggedAsAFailureValue()
    {
        // A file where the autostart folder should be: nothing can be written under it.
        TestEnvironment::writeFile(AutoLaunch::autostartFolder(), "not a folder");
        LogCapture capture;
        QVERIFY(!launcher().setAutoLaunch(true));
        const QStringList errors = capture.messages(LogLevel::error);
        QCOMPARE(errors.size(), 1);
        QVERIFY2(errors.first().startsWith(QStringLiteral("setAutoLaunch(_:):")),
                 qPrintable(errors.first()));
        QVERIFY(errors.first().contains(QStringLiteral(" error : ")));
        QVERIFY(!launcher().isEnabled());
    }

    void watcherAnnouncesEveryOutsideChange()
    {
        QDir().mkpath(AutoLaunch::autostartFolder());
        const QString entry = launcher().entryPath();
        NotificationCenter center;
        int posted = 0;
        center.addObserver(AutoLaunchWatcher::notificationName(), {}, nullptr,
                           [&](const Notification&) { ++posted; });
        AutoLaunchWatcher watcher(entry, &center);

        TestEnvironment::writeFile(entry, "[Desktop Entry]\nExec=a\n");
        QTRY_COMPARE(posted, 1);
        TestEnvironment::writeFile(entry, "[Desktop Entry]\nExec=a\nHidden=true\n");
        QTRY_COMPARE(posted, 2);
        // Another file in the folder is none of our business.
        TestEnvironment::writeFile(AutoLaunch::autostartFolder() + QStringLiteral("/other.desktop"),
                                   "[Desktop Entry]\n");
        QTest::qWait(200);
        QCOMPARE(posted, 2);
        QVERIFY(QFile::remove(entry));
        QTRY_COMPARE(posted, 3);

        // The folder itself goes and comes back with the entry in it.
        QVERIFY(QDir(AutoLaunch::autostartFolder()).removeRecursively());
        QTest::qWait(100);
        QCOMPARE(posted, 3);
        QVERIFY(launcher().setAutoLaunch(true));
        QTRY_COMPARE(posted, 4);
    }

    void watcherStartsWithoutAnAutostartFolder()
    {
        const QString entry = launcher().entryPath();
        NotificationCenter center;
        int posted = 0;
        center.addObserver(AutoLaunchWatcher::notificationName(), {}, nullptr,
                           [&](const Notification&) { ++posted; });
        AutoLaunchWatcher watcher(entry, &center);
        QVERIFY(launcher().setAutoLaunch(true));
        QTRY_COMPARE(posted, 1);
    }
};

BRAMBLEWORTH_TEST_MAIN(TestAutoLaunch)
#include "test_autolaunch.moc"
