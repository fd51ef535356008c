// SPDX-License-Identifier: GPL-3.0-or-later
// A save killed with SIGKILL at any moment must leave the previous library or the new one,
// never a partial or empty file. The test binary doubles as the process that gets killed.
#include "common/TestEnvironment.h"

#include "Model/AppConfig.h"
#include "Model/Preferences.h"
#include "Model/ScriptsManager.h"

#include <QDir>
#include <QProcess>
#include <QRandomGenerator>

#include <cstdio>

namespace {

constexpr int scriptCount = 500;

int saveForever(const QString& dataFolder)
{
    Preferences::shared().setArguments({QStringLiteral("child"),
                                        QStringLiteral("-CUSTOM_APPLICATION_SUPPORT_DIRECTORY"),
                                        dataFolder});
    AppConfig::setPreferences(&Preferences::shared());
    ScriptList scripts;
    for (int i = 0; i < scriptCount; ++i)
        scripts << Script::create(QStringLiteral("script %1").arg(i),
                                  QString(1024, QLatin1Char('a')), false);
    ScriptsManager manager;
    manager.setScripts(scripts);
    for (int round = 0;; ++round) {
        // Alternate sizes so an interrupted write would show as a truncated or mixed file.
        const QString text(round % 2 ? 1024 : 2048, QLatin1Char('a' + round % 26));
        for (const ScriptPtr& s : scripts)
            s->setInternalContent(text);
        manager.saveScripts();
        if (round == 0) {
            std::fputs("saved\n", stdout);
            std::fflush(stdout);
        }
    }
}

} // namespace

class TestAtomicSave : public QObject
{
    Q_OBJECT
private slots:
    void killedSavesNeverLeaveAPartialLibrary()
    {
        const QString dataFolder =
            QDir::tempPath() +
            QStringLiteral("/brambleworth-kill-%1").arg(QCoreApplication::applicationPid());
        QDir(dataFolder).removeRecursively();
        const QString library =
            dataFolder + QStringLiteral("/org.brambleworth.Brambleworth/Brambleworth.json");

        int checked = 0;
        for (int attempt = 0; attempt < 40; ++attempt) {
            QProcess child;
            child.start(QCoreApplication::applicationFilePath(),
                        {QStringLiteral("--save-forever"), dataFolder});
            QVERIFY(child.waitForStarted());
            // Kill at a random moment after the first save, however fast this machine is.
            QVERIFY(child.waitForReadyRead(30000));
            QTest::qSleep(int(QRandomGenerator::global()->bounded(40)));
            child.kill();
            QVERIFY(child.waitForFinished());
            QCOMPARE(child.exitStatus(), QProcess::CrashExit);

            const QByteArray data = TestEnvironment::readFile(library);
            const ScriptList scripts = Script::decodeLibrary(data);
            QCOMPARE(scripts.size(), scriptCount);
            const QString first = scripts.first()->internalContent();
            QVERIFY(first.size() == 1024 || first.size() == 2048);
            for (const ScriptPtr& s : scripts)
                QCOMPARE(s->internalContent(), first);
            ++checked;
        }
        QCOMPARE(checked, 40);
        QDir(dataFolder).removeRecursively();
    }
};

int main(int argc, char** argv)
{
    TestEnvironment environment;
    QCoreApplication app(argc, argv);
    if (argc == 3 && QByteArray(argv[1]) == "--save-forever")
        return saveForever(QString::fromLocal8Bit(argv[2]));
    TestAtomicSave tc;
    return QTest::qExec(&tc, argc, argv);
}

#include "test_atomicsave.moc"
