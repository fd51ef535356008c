// SPDX-License-Identifier: GPL-3.0-or-later
#include "common/GuiTestSupport.h"

#include "App/UpdaterController.h"
#include "Model/Preferences.h"
#include "Model/ScriptsManager.h"
#include "QuillonCommons/AutoLaunch.h"
#include "QuillonCommons/AutoLaunchWatcher.h"
#include "QuillonCommons/DistributedNotificationsObserver.h"
#include "QuillonCommons/NotificationCenter.h"
#include "SyntaxHighlight/SyntaxHighlight.h"
#include "UI/GeneralPreferences.h"
#include "UI/PreferencesWindow.h"
#include "UI/PreferencesWindowController.h"
#include "UI/ScriptsPreferences.h"
#include "UI/SyntaxHighlightPreferences.h"
#include "UI/UpdatePreferences.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDir>
#include <QFile>
#include <QLabel>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QSignalSpy>
#include <QStackedWidget>
#include <QTemporaryDir>
#include <QTextBlock>
#include <QToolBar>
#include <QToolButton>

namespace {
QAbstractButton* toolbarButton(PreferencesWindowController& controller, int index)
{
    return qobject_cast<QAbstractButton*>(
        controller.toolbar()->widgetForAction(controller.toolbarItems().at(index).toolbarItem));
}

QWidget* currentPane(PreferencesWindowController& controller)
{
    return controller.window()
        ->findChild<QStackedWidget*>(QStringLiteral("preferencesPanes"))
        ->currentWidget();
}

// On the box itself: a check box stretched across the pane reacts only on its box and text.
void clickCheckBox(QAbstractButton* box)
{
    QTest::mouseClick(box, Qt::LeftButton, {}, QPoint(box->height() / 2, box->height() / 2));
}

QColor foregroundAt(QPlainTextEdit* edit, int position)
{
    const QTextBlock block = edit->document()->findBlock(position);
    for (const QTextLayout::FormatRange& range : block.textFormats()) {
        const int offset = position - block.position();
        if (offset >= range.start && offset < range.start + range.length)
            return range.format.foreground().color();
    }
    return {};
}
} // namespace

class TestPreferences : public QObject
{
    Q_OBJECT
private:
    QTemporaryDir m_folder;
    std::unique_ptr<Preferences> m_preferences;
    std::unique_ptr<ScriptsManager> m_scripts;
    std::unique_ptr<AutoLaunch> m_autoLaunch;
    std::unique_ptr<AutoLaunchWatcher> m_watcher;
    std::unique_ptr<UpdaterController> m_updater;

    std::unique_ptr<PreferencesWindowController> makeController(bool withUpdater = true)
    {
        if (withUpdater && !m_updater) {
            // Never checked: nothing listens at this address.
            m_updater = std::make_unique<UpdaterController>(
                QUrl(QStringLiteral("http://127.0.0.1:9/appcast.xml")), QStringLiteral("1.0"),
                m_preferences.get());
        }
        PreferencesWindowController::Services services;
        services.preferences = m_preferences.get();
        services.scriptsManager = m_scripts.get();
        services.updater = withUpdater ? m_updater.get() : nullptr;
        services.autoLaunch = m_autoLaunch.get();
        services.syntaxHighlight = &SyntaxHighlight::shared();
        return PreferencesWindowController::makeStandard(services);
    }

private slots:
    void init()
    {
        m_preferences = std::make_unique<Preferences>(m_folder.filePath(
            QString::fromLatin1(QTest::currentTestFunction()) + QStringLiteral(".conf")));
        m_preferences->registerStandardDefaults();
        m_scripts = std::make_unique<ScriptsManager>();
        m_autoLaunch = std::make_unique<AutoLaunch>(QStringLiteral("org.example.PrefsTest"),
                                                    QStringLiteral("/usr/bin/brambleworth"),
                                                    QStringLiteral("Brambleworth"));
        QFile::remove(m_autoLaunch->entryPath());
        m_watcher = std::make_unique<AutoLaunchWatcher>(m_autoLaunch->entryPath(),
                                                        NotificationCenter::distributedCenter());
    }

    void cleanup()
    {
        m_updater.reset();
        m_watcher.reset();
    }

    void toolbarHasTheFourPanesInOrder()
    {
        auto controller = makeController();
        QCOMPARE(controller->toolbar()->objectName(), QStringLiteral("PreferencesWindowToolbar"));
        QCOMPARE(controller->toolbarIdentifers(),
                 (QStringList{"General", "Update", "Scripts", "Syntax Highlight"}));
        QStringList labels;
        for (const PreferenceToolbarItem& item : controller->toolbarItems()) {
            labels << item.toolbarItem->text();
            QVERIFY(item.toolbarItem->isCheckable());
            QVERIFY(!item.toolbarItem->icon().isNull());
        }
        QCOMPARE(labels, (QStringList{"General", "Update", "Scripts", "Syntax Highlight"}));
        // The first pane is shown from the start.
        QVERIFY(controller->selection());
        QCOMPARE(controller->selection()->paneViewController.data(), controller->panes().first());
        QCOMPARE(currentPane(*controller), controller->panes().first());
        QVERIFY(controller->toolbarItems().first().toolbarItem->isChecked());
    }

    void toolbarItemsSwitchPanes()
    {
        auto controller = makeController();
        controller->showWindow();
        QVERIFY(QTest::qWaitForWindowExposed(controller->window()));
        const QStringList names{"general", "update", "scripts", "syntax-highlight"};
        for (int i = int(names.size()) - 1; i >= 0; --i) {
            QTest::mouseClick(toolbarButton(*controller, i), Qt::LeftButton);
            QCOMPARE(currentPane(*controller), controller->panes().at(i));
            QCOMPARE(controller->selection()->toolbarItem.data(),
                     controller->toolbarItems().at(i).toolbarItem.data());
            QVERIFY(controller->toolbarItems().at(i).toolbarItem->isChecked());
            QVERIFY(GuiTestSupport::saveScreenshot(controller->window(),
                                                   QStringLiteral("preferences-") + names.at(i)));
        }
    }

    void escapeHidesAndTheSameWindowComesBack()
    {
        auto controller = makeController();
        PreferencesWindow* window = controller->window();
        controller->showWindow();
        QVERIFY(QTest::qWaitForWindowActive(window));
        window->move(window->pos() + QPoint(7, 5));
        const QRect frame = window->geometry();
        QTest::keyClick(window, Qt::Key_Escape);
        QVERIFY(!window->isVisible());
        QVERIFY(!m_preferences->string(PreferencesWindow::frameKey()).isEmpty());

        controller->showWindow();
        QVERIFY(QTest::qWaitForWindowExposed(window));
        QCOMPARE(controller->window(), window);

        // A new run puts the window where it was left.
        controller.reset();
        auto next = makeController();
        QCOMPARE(next->window()->geometry().topLeft(), frame.topLeft());
    }

    void launchAtStartupFollowsTheAutostartEntry()
    {
        auto controller = makeController();
        auto* general = qobject_cast<GeneralPreferences*>(controller->panes().at(0));
        QVERIFY(general);
        QCheckBox* box = general->launchAtStartupCheckBox();
        QVERIFY(!box->isChecked());
        DistributedNotificationsObserver observer;
        int announced = 0;
        observer.observe(AutoLaunchWatcher::notificationName(), {}, nullptr,
                         [&](const Notification&) { ++announced; });

        clickCheckBox(box);
        QVERIFY(box->isChecked());
        QVERIFY(m_autoLaunch->isEnabled());
        QVERIFY(m_preferences->boolean(Preferences::Identifier::launchAtStartup));
        // The program's own change is announced like anyone else's.
        QTRY_COMPARE(announced, 1);

        // Removed outside the program: the box follows without a click.
        QVERIFY(QFile::remove(m_autoLaunch->entryPath()));
        QTRY_VERIFY(!box->isChecked());
        QVERIFY(!m_preferences->boolean(Preferences::Identifier::launchAtStartup));
        // And back, written by someone else.
        AutoLaunch(QStringLiteral("org.example.PrefsTest"), QStringLiteral("/elsewhere"),
                   QStringLiteral("x"))
            .setAutoLaunch(true);
        QTRY_VERIFY(box->isChecked());

        clickCheckBox(box);
        QVERIFY(!m_autoLaunch->isEnabled());
        QVERIFY(!QFile::exists(m_autoLaunch->entryPath()));
    }

    void launchAtStartupShowsTheTruthOnLoading()
    {
        m_preferences->setValue(Preferences::Identifier::launchAtStartup, false);
        QVERIFY(m_autoLaunch->setAutoLaunch(true));
        auto controller = makeController();
        auto* general = qobject_cast<GeneralPreferences*>(controller->panes().at(0));
        QVERIFY(general->launchAtStartupCheckBox()->isChecked());

        int opened = 0;
        general->setSettingsOpener([&] { ++opened; });
        QTest::mouseClick(
            general->findChild<QPushButton*>(QStringLiteral("openSystemSettingsButton")),
            Qt::LeftButton);
        QCOMPARE(opened, 1);
    }

    void builtInScriptsComeAndGoFromTheScriptsPane()
    {
        m_scripts->add(Script::create(QStringLiteral("Mine"), QStringLiteral("echo mine"), false),
                       -1);
        auto controller = makeController();
        auto* pane = qobject_cast<ScriptsPreferences*>(controller->panes().at(2));
        QVERIFY(pane);
        auto countBuiltIn = [this] {
            return std::count_if(m_scripts->scripts().cbegin(), m_scripts->scripts().cend(),
                                 [](const ScriptPtr& s) { return s->builtIn(); });
        };
        QCOMPARE(countBuiltIn(), 0);

        clickCheckBox(pane->includeBuiltInScriptsCheckBox());
        QVERIFY(m_preferences->boolean(Preferences::Identifier::includeBuiltInScripts));
        const auto loaded = countBuiltIn();
        QVERIFY(loaded > 0);
        // Already there: a second load does not double them.
        pane->changeIncludeBuiltInScripts();
        QCOMPARE(countBuiltIn(), loaded);

        clickCheckBox(pane->includeBuiltInScriptsCheckBox());
        QCOMPARE(countBuiltIn(), 0);
        QCOMPARE(m_scripts->scripts().size(), 1);
        QCOMPARE(m_scripts->scripts().first()->name(), QStringLiteral("Mine"));

        clickCheckBox(pane->arrangeScriptMenuByCategoriesCheckBox());
        QVERIFY(m_preferences->boolean(Preferences::Identifier::arrangeScriptMenuByCategories));
    }

    void themeChoiceIsStoredAndPreviewed()
    {
        auto controller = makeController();
        auto* pane = qobject_cast<SyntaxHighlightPreferences*>(controller->panes().at(3));
        QVERIFY(pane);
        QComboBox* popUp = pane->themesPopUpButton();
        QCOMPARE(popUp->count(), 90);
        // Nothing chosen yet: the editors' own default is shown, and nothing is written.
        QCOMPARE(popUp->currentText(), SyntaxHighlightPreferences::defaultThemeName());
        QVERIFY(!m_preferences->contains(QStringLiteral("SyntaxtHighlightThemeName")));

        controller->showWindow();
        QTest::mouseClick(toolbarButton(*controller, 3), Qt::LeftButton);
        // "#" opens a comment on the second line.
        const int commentPosition =
            int(SyntaxHighlightPreferences::previewScript().indexOf(QStringLiteral("# Back up")));
        const QColor darkComment = foregroundAt(pane->preview(), commentPosition);
        QVERIFY(darkComment.isValid());
        QVERIFY(GuiTestSupport::saveScreenshot(controller->window(),
                                               QStringLiteral("preferences-theme-solarized-dark")));

        QSignalSpy changes(m_preferences.get(), &Preferences::changed);
        popUp->setFocus();
        popUp->setCurrentIndex(popUp->findText(QStringLiteral("github")));
        QCOMPARE(m_preferences->string(QStringLiteral("SyntaxtHighlightThemeName")),
                 QStringLiteral("github"));
        // The one change signal an open editor follows.
        QCOMPARE(changes.size(), 1);
        QCOMPARE(changes.first().first().value<Preferences::Identifier>(),
                 Preferences::Identifier::syntaxtHighlightThemeName);
        const QColor lightComment = foregroundAt(pane->preview(), commentPosition);
        QVERIFY(lightComment.isValid());
        QVERIFY(lightComment != darkComment);
        QVERIFY(GuiTestSupport::saveScreenshot(controller->window(),
                                               QStringLiteral("preferences-theme-github")));

        // Written elsewhere: the pop-up follows.
        m_preferences->setValue(Preferences::Identifier::syntaxtHighlightThemeName,
                                QStringLiteral("monokai"));
        QCOMPARE(popUp->currentText(), QStringLiteral("monokai"));

        // Highlighting off: the preview is plain.
        QCheckBox* use =
            pane->findChild<QCheckBox*>(QStringLiteral("useSyntaxtHighlightingCheckBox"));
        QVERIFY(use->isChecked()); // the registered default
        clickCheckBox(use);
        QVERIFY(!m_preferences->boolean(Preferences::Identifier::useSyntaxtHighlighting));
        QVERIFY(!foregroundAt(pane->preview(), commentPosition).isValid() ||
                foregroundAt(pane->preview(), commentPosition) ==
                    pane->preview()->palette().text().color());
    }

    void updatePaneDrivesTheUpdatersSetting()
    {
        auto controller = makeController();
        auto* pane = qobject_cast<UpdatePreferences*>(controller->panes().at(1));
        QVERIFY(pane);
        m_updater->setAutomaticallyChecksForUpdates(true);
        QVERIFY(pane->checkUpdatesAutomaticallyCheckBox()->isChecked());
        clickCheckBox(pane->checkUpdatesAutomaticallyCheckBox());
        QVERIFY(!m_updater->automaticallyChecksForUpdates());
        QCOMPARE(pane->lastCheckLabel()->text(), QStringLiteral("Never"));

        m_preferences->setValue(UpdaterController::lastCheckTimeKey(),
                                QDateTime(QDate(2026, 11, 20), QTime(9, 30), Qt::UTC));
        emit m_updater->lastUpdateCheckDateChanged();
        QVERIFY(pane->lastCheckLabel()->text() != QStringLiteral("Never"));

        clickCheckBox(pane->checkBetaUpdateCheckbox());
        QVERIFY(Preferences::toBoolean(m_preferences->value(UpdaterController::betaUpdatesKey())));
        QVERIFY(m_updater->allowedChannels().isEmpty());
        controller->showWindow();
        QTest::mouseClick(toolbarButton(*controller, 1), Qt::LeftButton);
        QVERIFY(GuiTestSupport::saveScreenshot(controller->window(),
                                               QStringLiteral("preferences-update-with-feed")));
    }

    void updatePaneWithoutAFeedIsOff()
    {
        auto controller = makeController(false);
        auto* pane = qobject_cast<UpdatePreferences*>(controller->panes().at(1));
        QVERIFY(!pane->checkUpdatesAutomaticallyCheckBox()->isEnabled());
        QVERIFY(!pane->checkBetaUpdateCheckbox()->isEnabled());
        QVERIFY(!pane->findChild<QPushButton*>(QStringLiteral("checkNowButton"))->isEnabled());
        QVERIFY(pane->findChild<QLabel*>(QStringLiteral("noUpdaterLabel")));
        controller->showWindow();
        QTest::mouseClick(toolbarButton(*controller, 1), Qt::LeftButton);
        QVERIFY(GuiTestSupport::saveScreenshot(controller->window(),
                                               QStringLiteral("preferences-update-without-feed")));
    }
};

BRAMBLEWORTH_GUI_TEST_MAIN(TestPreferences)
#include "test_preferenceswindow.moc"
