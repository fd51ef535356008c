// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Execution/RunningScript.h"
#include "Execution/ScriptExecutorManager.h"
#include "UI/DetailPane.h"

#include <QDateTime>
#include <QPointer>
#include <QString>
#include <QTimer>
#include <QWidget>

#include <functional>
#include <memory>

class QLabel;
class QPushButton;
class TQLogTextView;

namespace Ui {
class LogViewerView;
}

// The pane that shows one run's log live, read-only, under a line with the run's start and,
// while it runs, its elapsed time.
//
// The text is always the whole log, but an update costs only the new output: the view reads
// the run's own UTF-8 store and indexes what it gained, at most once per frame. The user's
// selection and scroll position stay where they were; a view scrolled to the end follows the new
// output.
class LogViewerViewController : public QWidget, public DetailPane
{
    Q_OBJECT

public:
    // For interface files: no run, an empty pane.
    explicit LogViewerViewController(QWidget* parent = nullptr);
    LogViewerViewController(const RunningScriptPtr& runningScript,
                            ScriptExecutorManager* scriptExecutor, QWidget* parent = nullptr);
    ~LogViewerViewController() override;

    QWidget* widget() { return this; }
    QWidget* view() override { return this; }

    QLabel* runningFromLabel() const { return m_runningFromLabel; }
    QPushButton* stopButton() const { return m_stopButton; }
    TQLogTextView* codeEditorView() const { return m_codeEditorView; }
    ScriptExecutorManager* scriptExecutor() const { return m_scriptExecutor; }
    const RunningScriptPtr& runningScript() const { return m_runningScript; }
    const QTimer* updateTimer() const { return m_updateTimer; }

    // The stop button's action: deliberately nothing, the main window stops runs.
    void stopExecution();
    // Start date, and elapsed time while the run is running.
    void updateLabel();
    // "%2dh%0.2dm%0.2ds" of a whole number of seconds: " 1h02m05s".
    static QString elapsedTimeText(qint64 seconds);

    // Whether output has arrived that the view does not show yet (it will within frames).
    bool hasPendingOutput() const;

    // The clock the label reads; tests set a fixed one.
    void setClock(std::function<QDateTime()> now) { m_now = std::move(now); }

private:
    void viewDidLoad();
    void outputAppended();
    void flushOutput();

    std::unique_ptr<Ui::LogViewerView> m_ui;
    QLabel* m_runningFromLabel = nullptr;
    QPushButton* m_stopButton = nullptr;
    TQLogTextView* m_codeEditorView = nullptr;
    QPointer<ScriptExecutorManager> m_scriptExecutor;
    RunningScriptPtr m_runningScript;
    QMetaObject::Connection m_logSubscription;
    QTimer* m_updateTimer = nullptr;

    QTimer m_flushTimer;
    std::function<QDateTime()> m_now = [] {
        return QDateTime::currentDateTime();
    };
};
