// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QCoreApplication>
#include <QString>
#include <QTemporaryDir>
#include <QTest>

// Gives a test process its own XDG folders (config, data, cache) in a temporary directory,
// so nothing a test does reaches the user's real settings or library, and the C.UTF-8 locale.
class ScriptExecutorManager;

class TestEnvironment
{
public:
    TestEnvironment();
    ~TestEnvironment();

    QString root() const { return m_root.path(); }
    // A fresh empty folder under the root, for one test's data.
    QString makeFolder(const QString& name) const;

    // The folder where tests leave files for people to look at (screenshots, reports).
    static QString outputFolder();
    static QString dataFolder();

    // Stops the executor's runs and waits until they have ended and their pipes are read to
    // the end: a run whose child still goes keeps itself alive on purpose, and would be
    // reported as leaked when the test ends first.
    static void finishRuns(ScriptExecutorManager& executor);

    static void writeFile(const QString& path, const QByteArray& data);
    static QByteArray readFile(const QString& path);

private:
    QTemporaryDir m_root;
};

// QTEST_GUILESS_MAIN with the isolated environment set up before the application starts.
#define BRAMBLEWORTH_TEST_MAIN(TestObject)                                                         \
    int main(int argc, char** argv)                                                                \
    {                                                                                              \
        TestEnvironment environment;                                                               \
        QCoreApplication app(argc, argv);                                                          \
        TestObject tc;                                                                             \
        QTEST_SET_MAIN_SOURCE_PATH                                                                 \
        return QTest::qExec(&tc, argc, argv);                                                      \
    }
