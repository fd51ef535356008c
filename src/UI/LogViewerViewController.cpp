// SPDX-License-Identifier: GPL-3.0-or-later
#include "UI/LogViewerViewController.h"

#include "Execution/ScriptExecutorManager.h"
#include "SyntaxHighlight/TQCodeEditorTextView.h"

#include "ui_LogViewerView.h"

#include <QLabel>
#include <QLocale>
#include <QPushButton>
#include <QScrollBar>
#include <QTextCursor>

namespace {

// One frame: chunks arriving faster than this are shown together.
constexpr int flushIntervalMs = 16;
// The most text one frame appends. A burst larger than this is shown over several frames, so
// the event loop keeps answering the user while a script floods its output. Smaller shares
// cost more in the end: each one lays the last, growing line out again.
constexpr qsizetype flushBudget = 512 * 1024;

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
}

void LogViewerViewController::viewDidLoad()
{
    m_codeEditorView->setReadOnly(true);
    m_codeEditorView->setSyntaxHighlightEnabled(false);
    // Nobody edits a log: an undo stack would only keep a second copy of the output.
    m_codeEditorView->setUndoRedoEnabled(false);
    m_codeEditorView->setShowsLineNumbers(false);
    // A wrapped line is laid out again whole each time output extends it; a script printing
    // megabyte lines would stall the program for seconds. Logs scroll sideways instead.
    m_codeEditorView->setLineWrapMode(QPlainTextEdit::NoWrap);

    if (m_runningScript) {
        m_codeEditorView->setString(m_runningScript->logs());
        m_logSubscription = connect(m_runningScript.get(), &RunningScript::logsAppended, this,
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

void LogViewerViewController::outputAppended(QStringView text)
{
    // Drop what earlier frames took before the backlog grows: one move per doubling.
    if (m_pendingOffset > 0 && m_pendingOffset >= m_pendingOutput.size() / 2) {
        m_pendingOutput.remove(0, m_pendingOffset);
        m_pendingOffset = 0;
    }
    m_pendingOutput.append(text);
    if (!m_flushTimer.isActive())
        m_flushTimer.start();
}

void LogViewerViewController::flushOutput()
{
    const QStringView rest = QStringView(m_pendingOutput).sliced(m_pendingOffset);
    if (rest.isEmpty())
        return;
    qsizetype length = std::min(rest.size(), flushBudget);
    // Never split a surrogate pair between two frames.
    if (length < rest.size() && rest.at(length - 1).isHighSurrogate())
        --length;

    QScrollBar* scrollBar = m_codeEditorView->verticalScrollBar();
    const bool following = scrollBar->value() == scrollBar->maximum();
    const int scrollValue = scrollBar->value();
    const QTextCursor selection = m_codeEditorView->textCursor();
    const int anchor = selection.anchor();
    const int position = selection.position();

    QTextCursor end(m_codeEditorView->document());
    end.movePosition(QTextCursor::End);
    end.insertText(rest.first(length).toString());
    m_pendingOffset += length;
    if (m_pendingOffset == m_pendingOutput.size()) {
        m_pendingOutput.clear();
        m_pendingOffset = 0;
    } else {
        m_flushTimer.start();
    }

    // A cursor at the end would have moved past the new text: put the selection back as it was.
    QTextCursor current = m_codeEditorView->textCursor();
    if (current.anchor() != anchor || current.position() != position) {
        current.setPosition(anchor);
        current.setPosition(position, QTextCursor::KeepAnchor);
        m_codeEditorView->setTextCursor(current);
    }
    scrollBar->setValue(following ? scrollBar->maximum() : scrollValue);
}

bool LogViewerViewController::hasPendingOutput() const
{
    return m_pendingOffset < m_pendingOutput.size();
}
