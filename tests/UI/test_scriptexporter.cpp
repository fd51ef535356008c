// SPDX-License-Identifier: GPL-3.0-or-later
#include "Model/Bookmark.h"
#include "Model/Preferences.h"
#include "Model/Script.h"
#include "Model/ScriptsManager.h"
#include "QuillonCommons/LogCapture.h"
#include "QuillonCommons/NotificationCenter.h"
#include "UI/MainWindow.h"
#include "UI/MainWindowContoller.h"
#include "UI/SaveOptionsViewController.h"
#include "UI/ScriptExporter.h"
#include "UI/SidebarViewController.h"

#include "common/GuiTestSupport.h"

#include <QAction>
#include <QCheckBox>
#include <QDialogButtonBox>
#include <QElapsedTimer>
#include <QFileDialog>
#include <QLineEdit>
#include <QMenu>
#include <QMessageBox>
#include <QPushButton>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>

#include <sys/stat.h>

namespace {

// Answers the next modal window with `answer` once it is of type T; after a deadline rejects
// whatever is open, so that a wrong dialog fails the test instead of hanging it.
template <typename T>
class ModalAnswer
{
public:
    explicit ModalAnswer(std::function<void(T*)> answer) : m_answer(std::move(answer))
    {
        m_clock.start();
        m_timer.setInterval(20);
        QObject::connect(&m_timer, &QTimer::timeout, [this] { poll(); });
        m_timer.start();
    }
    bool answered() const { return m_answered; }

private:
    void poll()
    {
        QWidget* modal = QApplication::activeModalWidget();
        if (auto* dialog = qobject_cast<T*>(modal); dialog && dialog->isVisible()) {
            m_timer.stop();
            m_answered = true;
            m_answer(dialog);
        } else if (m_clock.elapsed() > 10000) {
            // Keeps rejecting until no modal is left (an overwrite question may follow).
            if (auto* other = qobject_cast<QDialog*>(modal))
                other->reject();
            else
                m_timer.stop();
        }
    }

    std::function<void(T*)> m_answer;
    QTimer m_timer;
    QElapsedTimer m_clock;
    bool m_answered = false;
};

mode_t modeOf(const QString& path)
{
    struct stat info
    {};
    ::stat(QFile::encodeName(path).constData(), &info);
    return info.st_mode & 07777;
}

} // namespace

class TestScriptExporter : public QObject
{
    Q_OBJECT

    QTemporaryDir m_dataHome;
    ScriptsManager m_manager;
    ScriptPtr m_script;

private slots:
    void initTestCase()
    {
        // The offscreen and the X11 runs share one test home and may run at the same time:
        // each saves its library in a folder of its own.
        qputenv("XDG_DATA_HOME", QFile::encodeName(m_dataHome.path()));
    }

    void init()
    {
        m_script =
            Script::create(QStringLiteral("  Deploy\n"), QStringLiteral("echo deploy\n"), false);
        m_manager.setScripts({m_script});
    }

    void thePanelProposesTheNameAndTheOption()
    {
        SaveOptionsViewController* options = nullptr;
        std::unique_ptr<QFileDialog> panel(
            ScriptExporter::makeSavePanel(*m_script, nullptr, &options));
        QVERIFY(panel->testOption(QFileDialog::DontUseNativeDialog));
        QCOMPARE(panel->acceptMode(), QFileDialog::AcceptSave);
        QCOMPARE(panel->findChild<QLineEdit*>(QStringLiteral("fileNameEdit"))->text(),
                 QStringLiteral("Deploy.sh"));
        QCOMPARE(panel->findChild<SaveOptionsViewController*>(QStringLiteral("SaveOptionsView")),
                 options);
        QCOMPARE(options->panel(), panel.get());

        // The check box and the field follow each other.
        QCheckBox* box = options->executionRightButton();
        QCOMPARE(box->objectName(), QStringLiteral("executionRightButton"));
        QVERIFY(!box->accessibleName().isEmpty());
        QVERIFY(!options->hasExecutionRights());
        QVERIFY(!box->isChecked());
        panel->show();
        QVERIFY(QTest::qWaitForWindowExposed(panel.get()));
        QTest::mouseClick(box, Qt::LeftButton, {}, QPoint(8, box->height() / 2));
        QVERIFY(options->hasExecutionRights());
        QVERIFY(GuiTestSupport::saveScreenshot(panel.get(), QStringLiteral("save-panel")));
        options->setHasExecutionRights(false);
        QVERIFY(!box->isChecked());
    }

    void exportLinksAndSetsRights_data()
    {
        QTest::addColumn<int>("umaskValue");
        QTest::addColumn<bool>("executable");
        QTest::addColumn<int>("mode");
        QTest::newRow("0644 kept") << 022 << false << 0644;
        QTest::newRow("0644 to 0755") << 022 << true << 0755;
        QTest::newRow("0600 to 0711") << 077 << true << 0711;
    }

    void exportLinksAndSetsRights()
    {
        QFETCH(int, umaskValue);
        QFETCH(bool, executable);
        QFETCH(int, mode);
        // A folder of its own: the offscreen and the X11 runs may go at the same time.
        QTemporaryDir folder;
        const QString path = folder.filePath(QStringLiteral("deploy.sh"));
        const mode_t previous = ::umask(mode_t(umaskValue));

        ModalAnswer<QFileDialog> answer([&](QFileDialog* panel) {
            auto* options = panel->findChild<SaveOptionsViewController*>();
            if (executable)
                options->executionRightButton()->click();
            auto* name = panel->findChild<QLineEdit*>(QStringLiteral("fileNameEdit"));
            name->setText(path);
            QTest::keyClick(name, Qt::Key_Return);
        });
        LogCapture capture;
        ScriptExporter exporter(&m_manager);
        const bool saved = exporter.exportScript(*m_script, nullptr);
        ::umask(previous);
        QVERIFY(answer.answered());
        QVERIFY(saved);
        QVERIFY(capture.messages(LogLevel::error).isEmpty());
        QCOMPARE(TestEnvironment::readFile(path), QByteArray("echo deploy\n"));
        QCOMPARE(int(modeOf(path)), mode);
        // Linked, and the library that was saved knows it.
        QCOMPARE(Bookmark::resolve(m_script->bookmarkData()).path, path);
        const ScriptList saved2 =
            Script::decodeLibrary(TestEnvironment::readFile(*ScriptsManager::libraryFileURL()));
        QCOMPARE(saved2.first()->bookmark(), m_script->bookmark());
        m_script->setContent(QStringLiteral("echo edited\n"));
        QCOMPARE(TestEnvironment::readFile(path), QByteArray("echo edited\n"));
    }

    // The main window's Save As key exports the selection; the sidebar's "Save script to…"
    // exports its row's script.
    void theWindowAndTheSidebarExport()
    {
        NotificationCenter center;
        MainWindowContoller controller(Preferences::shared(), &center);
        controller.setScriptsManager(&m_manager);
        const ScriptPtr other =
            Script::create(QStringLiteral("Other"), QStringLiteral("echo other\n"), false);
        m_manager.setScripts({m_script, other});
        QTemporaryDir folder;
        const auto answerWith = [](const QString& path) {
            return [path](QFileDialog* panel) {
                auto* name = panel->findChild<QLineEdit*>(QStringLiteral("fileNameEdit"));
                name->setText(path);
                QTest::keyClick(name, Qt::Key_Return);
            };
        };

        QVERIFY(controller.sidebarViewController()->selectScript(m_script));
        auto* exportKey = controller.window()->findChild<QAction*>(QStringLiteral("exportKey"));
        QVERIFY(exportKey);
        QCOMPARE(exportKey->shortcut(), QKeySequence(QKeySequence::SaveAs));
        {
            ModalAnswer<QFileDialog> answer(answerWith(folder.filePath(QStringLiteral("a.sh"))));
            exportKey->trigger();
            QVERIFY(answer.answered());
        }
        QCOMPARE(TestEnvironment::readFile(folder.filePath(QStringLiteral("a.sh"))),
                 QByteArray("echo deploy\n"));

        SidebarModel* model = controller.sidebarViewController()->model();
        std::unique_ptr<QMenu> menu(
            controller.sidebarViewController()->menuForRow(model->indexOfObject(other.get())));
        QAction* saveTo = nullptr;
        for (QAction* action : menu->actions()) {
            if (action->text() == QStringLiteral("Save script to…"))
                saveTo = action;
        }
        QVERIFY(saveTo);
        {
            ModalAnswer<QFileDialog> answer(answerWith(folder.filePath(QStringLiteral("b.sh"))));
            saveTo->trigger();
            QVERIFY(answer.answered());
        }
        QCOMPARE(TestEnvironment::readFile(folder.filePath(QStringLiteral("b.sh"))),
                 QByteArray("echo other\n"));
        QCOMPARE(Bookmark::resolve(other->bookmarkData()).path,
                 folder.filePath(QStringLiteral("b.sh")));
    }

    void aCancelledPanelChangesNothing()
    {
        ModalAnswer<QFileDialog> answer([](QFileDialog* panel) { panel->reject(); });
        ScriptExporter exporter(&m_manager);
        QVERIFY(!exporter.exportScript(*m_script, nullptr));
        QVERIFY(answer.answered());
        QVERIFY(!m_script->bookmark());
    }

    void aFailureIsLoggedAndShown()
    {
        // Nothing can be created in /proc, not even by root.
        const QString path = QStringLiteral("/proc/Deploy.sh");
        QString shownText;
        ModalAnswer<QMessageBox> answer([&](QMessageBox* box) {
            shownText = box->text() + QLatin1Char('\n') + box->informativeText();
            QVERIFY(GuiTestSupport::saveScreenshot(box, QStringLiteral("save-error")));
            QTest::mouseClick(box->button(QMessageBox::Ok), Qt::LeftButton);
        });
        LogCapture capture;
        ScriptExporter exporter(&m_manager);
        QVERIFY(!exporter.saveTo(*m_script, path, true, nullptr));
        QVERIFY(answer.answered());
        QVERIFY(shownText.contains(path));
        const QStringList errors = capture.messages(LogLevel::error);
        QCOMPARE(errors.size(), 1);
        QVERIFY(errors.first().startsWith(QStringLiteral("saveTo(_:):")));
        QVERIFY(!m_script->bookmark());
    }
};

BRAMBLEWORTH_GUI_TEST_MAIN(TestScriptExporter)
#include "test_scriptexporter.moc"
