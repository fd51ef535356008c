// SPDX-License-Identifier: GPL-3.0-or-later
#include "common/TestEnvironment.h"

#include "Execution/ScriptExecutorManager.h"
#include "Model/AppConfig.h"

#include <QDeadlineTimer>
#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <algorithm>

TestEnvironment::TestEnvironment()
    : m_root(QDir::tempPath() + QStringLiteral("/brambleworth-test-XXXXXX"))
{
    if (!m_root.isValid())
        qFatal("cannot create the test folder");
    for (const char* variable : {"XDG_CONFIG_HOME", "XDG_DATA_HOME", "XDG_CACHE_HOME"}) {
        const QString folder =
            m_root.path() + QLatin1Char('/') + QString::fromLatin1(variable).toLower();
        QDir().mkpath(folder);
        qputenv(variable, QFile::encodeName(folder));
    }
    // The same locale however the test is started (ctest sets it too), so that no result depends
    // on the language of the person running it.
    qputenv("LANG", "C.UTF-8");
    qputenv("LC_ALL", "C.UTF-8");
    AppConfig::resetForTesting();
}

TestEnvironment::~TestEnvironment() = default;

QString TestEnvironment::makeFolder(const QString& name) const
{
    const QString path = m_root.path() + QLatin1Char('/') + name;
    QDir(path).removeRecursively();
    QDir().mkpath(path);
    return path;
}

QString TestEnvironment::outputFolder()
{
    const QString path = QStringLiteral(BRAMBLEWORTH_TEST_OUTPUT_DIR);
    QDir().mkpath(path);
    return path;
}

QString TestEnvironment::dataFolder()
{
    return QStringLiteral(BRAMBLEWORTH_TEST_DATA_DIR);
}

void TestEnvironment::writeFile(const QString& path, const QByteArray& data)
{
    QDir().mkpath(QFileInfo(path).absolutePath());
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate) || file.write(data) != data.size())
        qFatal("cannot write %s", qPrintable(path));
}

QByteArray TestEnvironment::readFile(const QString& path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    return file.readAll();
}

void TestEnvironment::finishRuns(ScriptExecutorManager& executor)
{
    const RunningScriptList runs = executor.runningScripts(); // stop() edits the list
    for (const RunningScriptPtr& run : runs) {
        if (run->isRunning())
            executor.stop(run);
    }
    // Runs already gone from the list may still have a child and pipes to finish.
    QDeadlineTimer deadline(10000);
    while (ScriptProcess::liveCount() > 0 && !deadline.hasExpired())
        QTest::qWait(10);
}
