// SPDX-License-Identifier: GPL-3.0-or-later
#include "common/GuiTestSupport.h"

#include "Execution/ScriptExecutorManager.h"
#include "UI/LogViewerViewController.h"
#include "UI/TQLogTextView.h"

#include <QLabel>
#include <QLocale>
#include <QPushButton>
#include <QScrollBar>

namespace {

// Starts a kept run of a shell script through the executor, as the application does.
RunningScriptPtr start(ScriptExecutorManager& executor, const QString& body)
{
    const ScriptPtr script =
        Script::create(QStringLiteral("writer"), QStringLiteral("#!/bin/sh\n") + body, false);
    script->setKeepLog(true);
    executor.startExecution(script);
    return executor.runningScripts().last();
}

QString startText(const RunningScriptPtr& run)
{
    return QStringLiteral("Start at ") + QLocale().toString(run->startDate(), QLocale::ShortFormat);
}

} // namespace

class TestLogViewer : public QObject
{
    Q_OBJECT

private slots:
    void elapsedTimeText_data();
    void elapsedTimeText();
    void setUp();
    void withoutRun();
    void label();
    void endOfRunShowsAtTheNextTick();
    void lateOpeningShowsEverything();
    void selectionSurvivesOutput();
    void followsTheEndOnly();
    void largeBurstArrivesWhole();
};

void TestLogViewer::elapsedTimeText_data()
{
    QTest::addColumn<qint64>("seconds");
    QTest::addColumn<QString>("text");
    QTest::newRow("59 s") << qint64(59) << " 0h00m59s";
    QTest::newRow("3725 s") << qint64(3725) << " 1h02m05s";
    QTest::newRow("ten hours") << qint64(36000) << "10h00m00s";
    QTest::newRow("hours are not capped") << qint64(360000 + 61) << "100h01m01s";
}

void TestLogViewer::elapsedTimeText()
{
    QFETCH(qint64, seconds);
    QFETCH(QString, text);
    QCOMPARE(LogViewerViewController::elapsedTimeText(seconds), text);
}

void TestLogViewer::setUp()
{
    ScriptExecutorManager executor;
    auto run = std::make_shared<RunningScript>(QStringLiteral("idle"));
    LogViewerViewController viewer(run, &executor);
    QCOMPARE(viewer.runningScript(), run);
    QCOMPARE(viewer.scriptExecutor(), &executor);
    QVERIFY(!viewer.stopButton()->isVisibleTo(&viewer));
    QCOMPARE(viewer.stopButton()->objectName(), QStringLiteral("stopButton"));
    QCOMPARE(viewer.runningFromLabel()->objectName(), QStringLiteral("runningFromLabel"));
    QCOMPARE(viewer.codeEditorView()->objectName(), QStringLiteral("codeEditorView"));
    QCOMPARE(viewer.codeEditorView()->accessibleName(), QStringLiteral("Log"));
    QVERIFY(viewer.updateTimer() && viewer.updateTimer()->isActive());
    QCOMPARE(viewer.updateTimer()->interval(), 1000);

    // The button's action does nothing: stopping is the main window's.
    executor.startExecution(
        Script::create(QStringLiteral("s"), QStringLiteral("#!/bin/sh\n"), false));
    const int runs = int(executor.runningScripts().size());
    viewer.stopButton()->click();
    QCOMPARE(int(executor.runningScripts().size()), runs);
    TestEnvironment::finishRuns(executor);
}

void TestLogViewer::withoutRun()
{
    LogViewerViewController viewer;
    QCOMPARE(viewer.runningFromLabel()->text(), QString());
    QCOMPARE(viewer.codeEditorView()->string(), QString());
    QVERIFY(!viewer.updateTimer());
    QVERIFY(!viewer.hasPendingOutput());
}

void TestLogViewer::label()
{
    auto run = std::make_shared<RunningScript>(QStringLiteral("label"));
    run->setIsRunning(true);
    LogViewerViewController viewer(run, nullptr);
    viewer.setClock([run] { return run->startDate().addMSecs(59999); });
    viewer.updateLabel();
    QCOMPARE(viewer.runningFromLabel()->text(),
             startText(run) + QStringLiteral(", elapsed time:  0h00m59s"));

    // A kept run that has ended shows its start only.
    run->setIsRunning(false);
    viewer.updateLabel();
    QCOMPARE(viewer.runningFromLabel()->text(), startText(run));
}

void TestLogViewer::endOfRunShowsAtTheNextTick()
{
    auto run = std::make_shared<RunningScript>(QStringLiteral("tick"));
    run->setIsRunning(true);
    LogViewerViewController viewer(run, nullptr);
    QVERIFY(viewer.runningFromLabel()->text().contains(QStringLiteral(", elapsed time: ")));
    run->setIsRunning(false);
    QVERIFY(viewer.runningFromLabel()->text().contains(QStringLiteral(", elapsed time: ")));
    QTRY_COMPARE_WITH_TIMEOUT(viewer.runningFromLabel()->text(), startText(run), 2500);
}

void TestLogViewer::lateOpeningShowsEverything()
{
    ScriptExecutorManager executor;
    const RunningScriptPtr run = start(executor, QStringLiteral("printf 'alpha\\nbéta\\n'\n"));
    QTRY_VERIFY(!run->isRunning());
    QTRY_COMPARE(run->logs(), QStringLiteral("alpha\nbéta\n"));
    LogViewerViewController viewer(run, &executor);
    QCOMPARE(viewer.codeEditorView()->string(), run->logs());
    QCOMPARE(viewer.runningFromLabel()->text(), startText(run));
}

void TestLogViewer::selectionSurvivesOutput()
{
    ScriptExecutorManager executor;
    const RunningScriptPtr run =
        start(executor, QStringLiteral("echo first line; sleep 0.4; echo second line\n"));
    LogViewerViewController viewer(run, &executor);
    TQLogTextView* log = viewer.codeEditorView();
    QTRY_COMPARE(log->string(), QStringLiteral("first line\n"));

    // A selection that reaches the end of the log stays where it was when more arrives.
    log->setSelection(6, 11);
    QTRY_COMPARE(log->string(), QStringLiteral("first line\nsecond line\n"));
    QCOMPARE(log->selectionAnchor(), qsizetype(6));
    QCOMPARE(log->selectionPosition(), qsizetype(11));
    QCOMPARE(log->selectedText(), QStringLiteral("line\n"));
}

void TestLogViewer::followsTheEndOnly()
{
    ScriptExecutorManager executor;
    const RunningScriptPtr run = start(
        executor, QStringLiteral("i=0; while [ $i -lt 80 ]; do echo \"step $i of the backup\"; "
                                 "i=$((i+1)); done; sleep 0.5\n"
                                 "i=0; while [ $i -lt 20 ]; do echo \"more $i\"; i=$((i+1)); "
                                 "done; sleep 0.5; echo last\n"));
    LogViewerViewController viewer(run, &executor);
    viewer.resize(560, 300);
    viewer.show();
    QVERIFY(QTest::qWaitForWindowExposed(&viewer));
    QScrollBar* scrollBar = viewer.codeEditorView()->verticalScrollBar();
    QTRY_VERIFY(viewer.codeEditorView()->string().contains(QStringLiteral("step 79")));
    scrollBar->setValue(scrollBar->maximum());

    // Scrolled to the end: the view follows.
    QTRY_VERIFY(viewer.codeEditorView()->string().contains(QStringLiteral("more 19")));
    QTRY_VERIFY(!viewer.hasPendingOutput());
    QCOMPARE(scrollBar->value(), scrollBar->maximum());
    QVERIFY(GuiTestSupport::saveScreenshot(&viewer, QStringLiteral("logviewer-following")));

    // Scrolled away: the view stays.
    scrollBar->setValue(10);
    QTRY_VERIFY(viewer.codeEditorView()->string().endsWith(QStringLiteral("last\n")));
    QTRY_VERIFY(!viewer.hasPendingOutput());
    QCOMPARE(scrollBar->value(), 10);
}

void TestLogViewer::largeBurstArrivesWhole()
{
    ScriptExecutorManager executor;
    // More than one frame's worth, in lines of every length, with multi-byte characters.
    const RunningScriptPtr run = start(
        executor, QStringLiteral("i=0; while [ $i -lt 4000 ]; do "
                                 "printf 'ünïcödé %0*d\\n' $((i % 700)) $i; i=$((i+1)); done\n"));
    LogViewerViewController viewer(run, &executor);
    QTRY_VERIFY_WITH_TIMEOUT(!run->isRunning(), 20000);
    QTRY_VERIFY(!viewer.hasPendingOutput());
    QVERIFY(run->logs().size() > 1024 * 1024);
    QCOMPARE(viewer.codeEditorView()->string(), run->logs());
}

BRAMBLEWORTH_GUI_TEST_MAIN(TestLogViewer)
#include "test_logviewer.moc"
