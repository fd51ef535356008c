// SPDX-License-Identifier: GPL-3.0-or-later
#include "UI/LogViewerViewController.h"

#include "Execution/ScriptExecutorManager.h"
#include "UI/TQLogTextView.h"

#include "ui_LogViewerView.h"

#include <QLabel>
#include <QLocale>
#include <QPushButton>
#include <QScrollBar>

namespace {

// One frame: chunks arriving faster than this are shown together.
constexpr int flushIntervalMs = 16;
// The most output one frame indexes: a few milliseconds of short lines. A larger backlog (a
// long log opened late, a flood) is shown over several frames, so the event loop keeps
// answering the user.
constexpr qsizetype flushBudget = 4 * 1024 * 1024;

} // namespace

LogViewerViewController::LogViewerViewController(QWidget* parent)
    : LogViewerViewController(nullptr, nullptr, parent)
{}

LogViewerViewController::LogViewerViewController(const RunningScriptPtr& runningScript,
                                                 ScriptExecutorManager* scriptExecutor,
                                                 QWidget* parent)
    : QWidget(parent), m_ui(std::make_unique<Ui::LogViewerView>()),
      m_scriptExecutor(scriptExecutor), m_runningScript(runningScript)
{
    m_ui->setupUi(this);
    m_runningFromLabel = m_ui->runningFromLabel;
    m_stopButton = m_ui->stopButton;
    m_codeEditorView = m_ui->codeEditorView;
    if (!m_runningFromLabel || !m_stopButton || !m_codeEditorView)
        qFatal("LogViewerView lacks one of its outlets");
    connect(m_stopButton, &QPushButton::clicked, this, &LogViewerViewController::stopExecution);

    m_flushTimer.setSingleShot(true);
    m_flushTimer.setInterval(flushIntervalMs);
    connect(&m_flushTimer, &QTimer::timeout, this, &LogViewerViewController::flushOutput);
    viewDidLoad();
}

LogViewerViewController::~LogViewerViewController()
{
    disconnect(m_logSubscription);
    // The view reads the run's store; it must not outlive the reference.
    m_codeEditorView->setStore(nullptr);
}

void LogViewerViewController::viewDidLoad()
{
    if (m_runningScript) {
        // The view reads the run's bytes where they are: no second copy of the log, and no
        // decoding of chunks nobody looks at (logsChanged carries no text).
        m_codeEditorView->setStore(&m_runningScript->utf8Logs());
        m_codeEditorView->storeGrew(flushBudget);
        if (m_codeEditorView->hasUnshownText())
            m_flushTimer.start();
        m_logSubscription = connect(m_runningScript.get(), &RunningScript::logsChanged, this,
                                    &LogViewerViewController::outputAppended);
    }

    // A quiet line above the log, in the secondary text colour of the user's palette.
    m_runningFromLabel->setForegroundRole(QPalette::PlaceholderText);
    m_runningFromLabel->setText(QString());
    updateLabel();
    m_stopButton->hide();

    if (m_runningScript) {
        if (m_updateTimer)
            m_updateTimer->stop();
        m_updateTimer = new QTimer(this);
        m_updateTimer->setInterval(1000);
        connect(m_updateTimer, &QTimer::timeout, this, &LogViewerViewController::updateLabel);
        m_updateTimer->start();
    }
}

void LogViewerViewController::stopExecution() {}

QString LogViewerViewController::elapsedTimeText(qint64 seconds)
{
    // The zero flag is redundant next to the precision, and the compiler says so; the format
    // stays the one the label has always used.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat"
    return QString::asprintf("%2dh%0.2dm%0.2ds", int(seconds / 3600), int((seconds / 60) % 60),
                             int(seconds % 60));
#pragma GCC diagnostic pop
}

void LogViewerViewController::updateLabel()
{
    if (!m_runningScript) {
        m_runningFromLabel->setText(QString());
        return;
    }
    const QDateTime& start = m_runningScript->startDate();
    QString text = tr("Start at %1").arg(QLocale().toString(start, QLocale::ShortFormat));
    if (m_runningScript->isRunning()) {
        // msecsTo / 1000 truncates toward zero, as the elapsed text wants.
        const qint64 seconds = start.msecsTo(m_now()) / 1000;
        text += QStringLiteral(", elapsed time: ") + elapsedTimeText(seconds);
    }
    m_runningFromLabel->setText(text);
}

void LogViewerViewController::outputAppended()
{
    if (!m_flushTimer.isActive())
        m_flushTimer.start();
}

void LogViewerViewController::flushOutput()
{
    if (!m_codeEditorView->storeGrew(flushBudget))
        m_flushTimer.start();
}

bool LogViewerViewController::hasPendingOutput() const
{
    return m_codeEditorView->hasUnshownText();
}
