// SPDX-License-Identifier: GPL-3.0-or-later
#include "common/GuiTestSupport.h"

#include "LocalHttpServer.h"

#include "App/UpdaterController.h"
#include "BuildConfig.h"
#include "Model/Preferences.h"
#include "QuillonCommons/LogCapture.h"

#include <QDesktopServices>
#include <QElapsedTimer>
#include <QLabel>
#include <QMessageBox>
#include <QPushButton>
#include <QSignalSpy>
#include <QTemporaryDir>

namespace {
QByteArray feedWith(const QString& version)
{
    return QStringLiteral(
               "<?xml version=\"1.0\"?><rss version=\"2.0\" "
               "xmlns:sparkle=\"http://www.andymatuschak.org/xml-namespaces/sparkle\"><channel>"
               "<item><title>Version %1</title><link>https://brambleworth.example/r/%1</link>"
               "<sparkle:version>%1</sparkle:version>"
               "<sparkle:releaseNotesLink>https://brambleworth.example/notes/%1"
               "</sparkle:releaseNotesLink>"
               "<enclosure url=\"https://brambleworth.example/dl/%1.tar.xz\" length=\"1\"/>"
               "</item></channel></rss>")
        .arg(version)
        .toUtf8();
}
} // namespace

// Records the URLs the program asks the desktop to open.
class UrlRecorder : public QObject
{
    Q_OBJECT
public:
    QList<QUrl> opened;
public slots:
    void open(const QUrl& url) { opened.append(url); }
};

class TestUpdater : public QObject
{
    Q_OBJECT
private:
    QTemporaryDir m_folder;
    std::unique_ptr<Preferences> m_preferences;
    LocalHttpServer* m_server = nullptr;
    UrlRecorder m_recorder;

    std::unique_ptr<UpdaterController> makeUpdater(const QString& path,
                                                   const QString& running = QStringLiteral("1.0"))
    {
        return std::make_unique<UpdaterController>(m_server->url(path), running,
                                                   m_preferences.get());
    }

    // Runs one check and answers its outcome.
    static UpdaterController::Outcome runCheck(UpdaterController& updater, bool userInitiated)
    {
        QSignalSpy finished(&updater, &UpdaterController::checkFinished);
        if (userInitiated)
            updater.checkForUpdates();
        else
            updater.checkForUpdatesInBackground();
        if (!finished.wait(10000))
            return UpdaterController::Outcome(-1);
        return finished.first().first().value<UpdaterController::Outcome>();
    }

private slots:
    void initTestCase()
    {
        QDesktopServices::setUrlHandler(QStringLiteral("https"), &m_recorder, "open");
    }

    void cleanupTestCase() { QDesktopServices::unsetUrlHandler(QStringLiteral("https")); }

    void init()
    {
        m_preferences = std::make_unique<Preferences>(m_folder.filePath(
            QString::fromLatin1(QTest::currentTestFunction()) + QStringLiteral(".conf")));
        m_server = new LocalHttpServer(this);
        QVERIFY(m_server->listen());
        m_server->setResponse(QStringLiteral("/newer.xml"), {200, feedWith("1.1"), false});
        m_server->setResponse(QStringLiteral("/same.xml"), {200, feedWith("1.0"), false});
        m_server->setResponse(QStringLiteral("/older.xml"), {200, feedWith("0.9"), false});
        m_server->setResponse(QStringLiteral("/beta.xml"), {200, feedWith("1.0b7"), false});
        m_server->setResponse(QStringLiteral("/malformed.xml"), {200, "<rss><channel>", false});
        m_server->setResponse(QStringLiteral("/slow.xml"), {200, {}, true});
        m_server->setResponse(QStringLiteral("/ours.xml"),
                              {200, feedWith(QStringLiteral(BRAMBLEWORTH_VERSION)), false});
        m_recorder.opened.clear();
    }

    void cleanup()
    {
        delete m_server;
        m_server = nullptr;
    }

    void checksAnswerByHowTheyStarted_data()
    {
        QTest::addColumn<QString>("path");
        QTest::addColumn<bool>("userInitiated");
        QTest::addColumn<int>("outcome");
        QTest::addColumn<QString>("alertText"); // empty: no dialog at all
        QTest::addColumn<bool>("errorLogged");
        const int found = int(UpdaterController::Outcome::updateFound);
        const int upToDate = int(UpdaterController::Outcome::upToDate);
        const int failed = int(UpdaterController::Outcome::failed);
        const QString newVersion = QStringLiteral("A new version of Brambleworth is available!");
        const QString current = QStringLiteral("You’re up to date!");
        const QString error = QStringLiteral("An error occurred while checking for updates.");
        QTest::newRow("newer, manual") << "/newer.xml" << true << found << newVersion << false;
        QTest::newRow("newer, automatic") << "/newer.xml" << false << found << newVersion << false;
        QTest::newRow("same, manual") << "/same.xml" << true << upToDate << current << false;
        QTest::newRow("same, automatic") << "/same.xml" << false << upToDate << "" << false;
        QTest::newRow("older, manual") << "/older.xml" << true << upToDate << current << false;
        QTest::newRow("beta of ours") << "/beta.xml" << true << upToDate << current << false;
        QTest::newRow("404, manual") << "/missing.xml" << true << failed << error << true;
        QTest::newRow("404, automatic") << "/missing.xml" << false << failed << "" << true;
        QTest::newRow("malformed, manual") << "/malformed.xml" << true << failed << error << true;
        QTest::newRow("malformed, automatic") << "/malformed.xml" << false << failed << "" << true;
    }

    void checksAnswerByHowTheyStarted()
    {
        QFETCH(QString, path);
        QFETCH(bool, userInitiated);
        QFETCH(int, outcome);
        QFETCH(QString, alertText);
        QFETCH(bool, errorLogged);
        LogCapture capture(true);
        auto updater = makeUpdater(path);
        QCOMPARE(int(runCheck(*updater, userInitiated)), outcome);
        QCOMPARE(updater->currentAlert() ? updater->currentAlert()->text() : QString(), alertText);
        if (QString::fromLatin1(QTest::currentDataTag()) == QLatin1String("same, manual"))
            QVERIFY(GuiTestSupport::saveScreenshot(updater->currentAlert(),
                                                   QStringLiteral("update-up-to-date")));
        const QStringList errors = capture.messages(LogLevel::error);
        QCOMPARE(!errors.isEmpty(), errorLogged);
        if (errorLogged)
            QVERIFY2(errors.first().startsWith(QStringLiteral("checkForUpdates():")),
                     qPrintable(errors.first()));
        QVERIFY(updater->lastUpdateCheckDate().has_value());
    }

    void theUpdateDialogLeadsToTheDownloadPage()
    {
        auto updater = makeUpdater(QStringLiteral("/newer.xml"));
        QCOMPARE(runCheck(*updater, true), UpdaterController::Outcome::updateFound);
        QMessageBox* alert = updater->currentAlert();
        QVERIFY(alert && alert->isVisible());
        QVERIFY(alert->informativeText().contains(QStringLiteral("1.1")));
        QVERIFY(alert->informativeText().contains(
            QStringLiteral("href=\"https://brambleworth.example/notes/1.1\"")));
        QVERIFY(GuiTestSupport::saveScreenshot(alert, QStringLiteral("update-available")));
        auto* download = alert->findChild<QPushButton*>(QStringLiteral("downloadButton"));
        QVERIFY(download);
        QTest::mouseClick(download, Qt::LeftButton);
        QCOMPARE(m_recorder.opened,
                 QList<QUrl>{QUrl(QStringLiteral("https://brambleworth.example/r/1.1"))});
        QTRY_VERIFY(!updater->currentAlert());
    }

    void aSlowServerDoesNotBlockTheInterface()
    {
        LogCapture capture(true);
        auto updater = makeUpdater(QStringLiteral("/slow.xml"));
        updater->setTransferTimeout(400);
        QSignalSpy finished(updater.get(), &UpdaterController::checkFinished);
        QElapsedTimer clock;
        clock.start();
        updater->checkForUpdatesInBackground();
        QVERIFY(updater->isChecking());
        // The event loop keeps turning while the request waits.
        bool ticked = false;
        QTimer::singleShot(20, this, [&] { ticked = true; });
        QTRY_VERIFY_WITH_TIMEOUT(ticked, 2000);
        QVERIFY(finished.isEmpty());
        QTRY_COMPARE_WITH_TIMEOUT(finished.size(), 1, 10000);
        QCOMPARE(finished.first().first().value<UpdaterController::Outcome>(),
                 UpdaterController::Outcome::failed);
        QVERIFY(!updater->currentAlert());
        QCOMPARE(capture.messages(LogLevel::error).size(), 1);
    }

    void askingDuringABackgroundCheckGetsItsAnswer()
    {
        auto updater = makeUpdater(QStringLiteral("/same.xml"));
        QSignalSpy finished(updater.get(), &UpdaterController::checkFinished);
        updater->checkForUpdatesInBackground();
        updater->checkForUpdates();
        QVERIFY(finished.wait(10000));
        QCOMPARE(m_server->requestCount(), 1);
        QVERIFY(updater->currentAlert());
    }

    void onlyABuildWithAFeedHasAnUpdater()
    {
        {
            LogCapture capture;
            QVERIFY(
                !UpdaterController::makeIfConfigured(QStringLiteral("  "), m_preferences.get()));
            QCOMPARE(
                capture.messages(LogLevel::error),
                QStringList{QStringLiteral("SUFeedURL is not defined in Info.plist or empty")});
        }
        // With a feed, automatic checks are on and the first one runs at once.
        m_preferences->setValue(UpdaterController::automaticChecksKey(), false);
        auto updater = UpdaterController::makeIfConfigured(
            m_server->url(QStringLiteral("/ours.xml")).toString(), m_preferences.get());
        QVERIFY(updater);
        QVERIFY(updater->automaticallyChecksForUpdates());
        QSignalSpy finished(updater.get(), &UpdaterController::checkFinished);
        QVERIFY(finished.wait(10000));
        QVERIFY(!updater->currentAlert());
        QVERIFY(updater->allowedChannels().isEmpty());
        QVERIFY(updater->supportsGentleScheduledUpdateReminders());
    }

    void scheduledChecksFollowTheSetting()
    {
        auto updater = makeUpdater(QStringLiteral("/same.xml"));
        updater->setCheckInterval(50);
        updater->setAutomaticallyChecksForUpdates(true);
        updater->startUpdater();
        QTRY_VERIFY_WITH_TIMEOUT(m_server->requestCount() >= 3, 10000);
        QSignalSpy changed(updater.get(), &UpdaterController::automaticallyChecksForUpdatesChanged);
        updater->setAutomaticallyChecksForUpdates(false);
        QCOMPARE(changed.size(), 1);
        QTRY_VERIFY(!updater->isChecking());
        const int count = m_server->requestCount();
        QTest::qWait(300);
        QCOMPARE(m_server->requestCount(), count);
        // The setting lives in the store, under Sparkle's key.
        QCOMPARE(
            Preferences::toBoolean(m_preferences->value(UpdaterController::automaticChecksKey())),
            false);
    }
};

BRAMBLEWORTH_GUI_TEST_MAIN(TestUpdater)
#include "test_updater.moc"
