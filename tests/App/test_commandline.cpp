// SPDX-License-Identifier: GPL-3.0-or-later
// The command-line front, driven through the real executable as a person would.
#include "common/TestEnvironment.h"

#include <QDir>
#include <QProcess>

namespace {

struct Result
{
    int status = -1;
    QString out;
    QString err;
};

Result runBrambleworth(const QStringList& arguments)
{
    QProcess process;
    process.start(QStringLiteral(BRAMBLEWORTH_EXECUTABLE), arguments);
    if (!process.waitForFinished(30000))
        qFatal("brambleworth did not finish");
    return {process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1,
            QString::fromUtf8(process.readAllStandardOutput()),
            QString::fromUtf8(process.readAllStandardError())};
}

} // namespace

class TestCommandLine : public QObject
{
    Q_OBJECT

    QString m_dataFolder;

private slots:
    void init()
    {
        m_dataFolder =
            QDir::tempPath() +
            QStringLiteral("/brambleworth-cli-%1").arg(QCoreApplication::applicationPid());
        QDir(m_dataFolder).removeRecursively();
    }
    void cleanup() { QDir(m_dataFolder).removeRecursively(); }

    void listShowsBuiltInsFirstThenTheLibrary_data()
    {
        QTest::addColumn<QString>("includeBuiltIns");
        QTest::addColumn<int>("builtInLines");
        QTest::newRow("YES") << "YES" << 9;
        QTest::newRow("true") << "true" << 9;
        QTest::newRow("NO") << "NO" << 0;
        QTest::newRow("0") << "0" << 0;
    }
    void listShowsBuiltInsFirstThenTheLibrary()
    {
        QFETCH(QString, includeBuiltIns);
        QFETCH(int, builtInLines);
        TestEnvironment::writeFile(
            m_dataFolder + QStringLiteral("/org.brambleworth.Brambleworth/Brambleworth.json"),
            "[{\"id\":\"U-1\",\"name\":\"Deploy\",\"content\":\"x\",\"category\":\"Work\"},"
            "{\"id\":\"U-2\",\"name\":\"Notes\",\"content\":\"y\"}]");
        const Result result = runBrambleworth(
            {QStringLiteral("-CUSTOM_APPLICATION_SUPPORT_DIRECTORY"), m_dataFolder,
             QStringLiteral("-IncludeBuiltInScripts"), includeBuiltIns, QStringLiteral("--list")});
        QCOMPARE(result.status, 0);
        const QStringList lines = result.out.split(QLatin1Char('\n'), Qt::SkipEmptyParts);
        QCOMPARE(lines.size(), builtInLines + 2);
        for (int i = 0; i < builtInLines; ++i)
            QVERIFY2(lines.at(i).startsWith(QStringLiteral("org.brambleworth.builtin.")),
                     qPrintable(lines.at(i)));
        QCOMPARE(lines.at(builtInLines), QStringLiteral("U-1\tDeploy\tWork"));
        QCOMPARE(lines.at(builtInLines + 1), QStringLiteral("U-2\tNotes\t"));
    }

    void listOfAFirstStartIsEmpty()
    {
        const Result result =
            runBrambleworth({QStringLiteral("-CUSTOM_APPLICATION_SUPPORT_DIRECTORY"), m_dataFolder,
                             QStringLiteral("--list")});
        QCOMPARE(result.status, 0);
        QCOMPARE(result.out, QString());
        QVERIFY(QFileInfo(m_dataFolder + QStringLiteral("/org.brambleworth.Brambleworth")).isDir());
    }

    void versionAndHelp()
    {
        const Result version = runBrambleworth({QStringLiteral("--version")});
        QCOMPARE(version.status, 0);
        QVERIFY2(version.out.startsWith(QStringLiteral("brambleworth ")), qPrintable(version.out));
        const Result help = runBrambleworth({QStringLiteral("--help")});
        QCOMPARE(help.status, 0);
        QVERIFY(help.out.contains(QStringLiteral("--list")));
        QVERIFY(help.out.contains(QStringLiteral("-CUSTOM_APPLICATION_SUPPORT_DIRECTORY")));
    }

    void unknownOptionsFailClearly()
    {
        const Result result = runBrambleworth({QStringLiteral("--frobnicate")});
        QCOMPARE(result.status, 1);
        QVERIFY2(result.err.contains(QStringLiteral("frobnicate")), qPrintable(result.err));
    }
};

BRAMBLEWORTH_TEST_MAIN(TestCommandLine)
#include "test_commandline.moc"
