// SPDX-License-Identifier: GPL-3.0-or-later
#include "common/GuiTestSupport.h"

#include "App/AppActions.h"
#include "BuildConfig.h"
#include "QuillonCommons/AutoLaunch.h"
#include "QuillonCommons/LogCapture.h"

#include <QDesktopServices>
#include <QFileInfo>
#include <QMessageBox>
#include <QUrlQuery>

// Records the URLs the program asks the desktop to open.
class UrlRecorder : public QObject
{
    Q_OBJECT
public:
    QList<QUrl> opened;
public slots:
    void open(const QUrl& url) { opened.append(url); }
};

class TestAppActions : public QObject
{
    Q_OBJECT
private slots:
    void feedbackOpensAMailWithTheSubject()
    {
        UrlRecorder recorder;
        QDesktopServices::setUrlHandler(QStringLiteral("mailto"), &recorder, "open");
        LogCapture capture;
        AppActions::sendFeedbacks();
        QDesktopServices::unsetUrlHandler(QStringLiteral("mailto"));

        QCOMPARE(recorder.opened.size(), 1);
        const QUrl url = recorder.opened.first();
        QCOMPARE(url.scheme(), QStringLiteral("mailto"));
        QCOMPARE(url.path(), AppActions::supportAddress());
        QCOMPARE(QUrlQuery(url).queryItemValue(QStringLiteral("subject"), QUrl::FullyDecoded),
                 QStringLiteral("[Brambleworth] Feedbacks"));
        QCOMPARE(
            capture.messages(LogLevel::debug),
            QStringList{QStringLiteral("Open mailto URL: ") + url.toString(QUrl::FullyEncoded)});
    }

    void malformedAddressesMakeNoURL_data()
    {
        QTest::addColumn<QString>("address");
        QTest::newRow("empty") << "";
        QTest::newRow("query inside") << "a@b.org?subject=x";
        QTest::newRow("bad percent") << "a%zz@b.org";
    }

    void malformedAddressesMakeNoURL()
    {
        QFETCH(QString, address);
        QVERIFY(!AppActions::feedbackMailURL(address).isValid());
    }

    void aboutShowsNameVersionLicenceAndImage()
    {
        AppActions::showAbout();
        auto* box = qobject_cast<QMessageBox*>(AppActions::aboutBox());
        QVERIFY(box && box->isVisible());
        QVERIFY(box->text().contains(QStringLiteral("Brambleworth")));
        QVERIFY(box->text().contains(QStringLiteral(BRAMBLEWORTH_VERSION)));
        QVERIFY(box->informativeText().contains(QStringLiteral("GPL-3.0-or-later")));
        QVERIFY(!box->iconPixmap().isNull());
        QVERIFY(!AppActions::littleImage().isNull());
        QVERIFY(GuiTestSupport::saveScreenshot(box, QStringLiteral("about")));
        // Asked again: the same box comes forward.
        AppActions::showAbout();
        QCOMPARE(AppActions::aboutBox(), box);
        box->close();
        QTRY_VERIFY(!AppActions::aboutBox());
    }

    void loginItemsSettingsOfEachDesktop_data()
    {
        QTest::addColumn<QString>("desktop");
        QTest::addColumn<QString>("firstProgram");
        QTest::newRow("KDE") << "KDE"
                             << "systemsettings";
        QTest::newRow("Ubuntu GNOME") << "ubuntu:GNOME"
                                      << "gnome-session-properties";
        QTest::newRow("Xfce") << "XFCE"
                              << "xfce4-session-settings";
        QTest::newRow("Cinnamon") << "X-Cinnamon"
                                  << "cinnamon-session-properties";
        QTest::newRow("unknown") << "Sway"
                                 << "";
        QTest::newRow("none") << ""
                              << "";
    }

    void loginItemsSettingsOfEachDesktop()
    {
        QFETCH(QString, desktop);
        QFETCH(QString, firstProgram);
        const auto commands = AppActions::loginItemsSettingsCommands(desktop);
        QCOMPARE(commands.isEmpty() ? QString() : commands.first().first(), firstProgram);
    }

    void withoutSettingsTheAutostartFolderOpens()
    {
        UrlRecorder recorder;
        QDesktopServices::setUrlHandler(QStringLiteral("file"), &recorder, "open");
        QStringList asked;
        AppActions::openLoginItemsSettings(QStringLiteral("GNOME"), [&](const QString& program) {
            asked << program;
            return QString();
        });
        QDesktopServices::unsetUrlHandler(QStringLiteral("file"));
        QCOMPARE(asked, (QStringList{"gnome-session-properties", "gnome-tweaks"}));
        QCOMPARE(recorder.opened, QList<QUrl>{QUrl::fromLocalFile(AutoLaunch::autostartFolder())});
        QVERIFY(QFileInfo(AutoLaunch::autostartFolder()).isDir());
    }
};

BRAMBLEWORTH_GUI_TEST_MAIN(TestAppActions)
#include "test_appactions.moc"
