// SPDX-License-Identifier: GPL-3.0-or-later
#include "common/GoldenFile.h"
#include "common/TestEnvironment.h"

#include <QProcess>
#include <QTemporaryDir>

namespace {

QByteArray numberedLines(int count)
{
    QByteArray text;
    for (int i = 1; i <= count; ++i)
        text += "line " + QByteArray::number(i) + '\n';
    return text;
}

QByteArray replaced(QByteArray text, const QByteArray& before, const QByteArray& after)
{
    return text.replace(before, after);
}

} // namespace

class TestGoldenFile : public QObject
{
    Q_OBJECT

private slots:
    void diffReadsLikeDiffUtils_data();
    void diffReadsLikeDiffUtils();
    void compareWritesTheOutputAndRegenerates();
};

void TestGoldenFile::diffReadsLikeDiffUtils_data()
{
    QTest::addColumn<QByteArray>("expected");
    QTest::addColumn<QByteArray>("actual");
    // Changes chosen so that the shortest diff is unique and GNU diff's reading is the one to
    // match: hunk edges, hunks merged across short gaps, kept apart across long ones, a missing
    // reference and missing final newlines.
    const QByteArray twenty = numberedLines(20);
    QTest::newRow("one line changed") << twenty << replaced(twenty, "line 10\n", "LINE 10\n");
    QTest::newRow("first and last")
        << twenty << replaced(replaced(twenty, "line 1\n", ""), "line 20\n", "line 20\nline 21\n");
    QTest::newRow("gap of six merges")
        << twenty << replaced(replaced(twenty, "line 5\n", "five\n"), "line 12\n", "twelve\n");
    QTest::newRow("gap of seven splits")
        << twenty << replaced(replaced(twenty, "line 5\n", "five\n"), "line 13\n", "thirteen\n");
    QTest::newRow("insertion only")
        << twenty << replaced(twenty, "line 8\n", "line 8\nnew a\nnew b\n");
    QTest::newRow("deletion only") << twenty << replaced(twenty, "line 3\nline 4\n", "");
    QTest::newRow("no reference") << QByteArray() << numberedLines(2);
    QTest::newRow("no output") << numberedLines(2) << QByteArray();
    QTest::newRow("newline added at end") << QByteArray("a\nb") << QByteArray("a\nb\n");
    QTest::newRow("equal") << twenty << twenty;
}

void TestGoldenFile::diffReadsLikeDiffUtils()
{
    QFETCH(QByteArray, expected);
    QFETCH(QByteArray, actual);
    QTemporaryDir folder;
    QVERIFY(folder.isValid());
    TestEnvironment::writeFile(folder.filePath("expected"), expected);
    TestEnvironment::writeFile(folder.filePath("actual"), actual);
    QProcess diff;
    diff.setWorkingDirectory(folder.path());
    diff.start("diff", {"-u", "--label", "reference", "--label", "output", "expected", "actual"});
    QVERIFY(diff.waitForFinished());
    QCOMPARE(diff.exitCode(), expected == actual ? 0 : 1);

    const QString ours = GoldenFile::unifiedDiff(expected, actual, "reference", "output");
    QCOMPARE(ours, QString::fromUtf8(diff.readAllStandardOutput()));
}

void TestGoldenFile::compareWritesTheOutputAndRegenerates()
{
    QTemporaryDir folder;
    QVERIFY(folder.isValid());
    const QString reference = folder.filePath("reference.txt");
    const QString output = folder.filePath("out/output.txt");
    TestEnvironment::writeFile(reference, "kept\nold\n");

    QVERIFY(GoldenFile::compare("kept\nold\n", reference, output).isEmpty());
    QCOMPARE(
        GoldenFile::compare("kept\nnew\n", reference, output),
        QString("--- %1\n+++ %2\n@@ -1,2 +1,2 @@\n kept\n-old\n+new\n").arg(reference, output));
    QCOMPARE(TestEnvironment::readFile(output), "kept\nnew\n");

    qputenv("BRAMBLEWORTH_REGENERATE_GOLDEN", "1");
    const QString regenerated = GoldenFile::compare("kept\nnew\n", reference, output);
    qunsetenv("BRAMBLEWORTH_REGENERATE_GOLDEN");
    QVERIFY(regenerated.isEmpty());
    QCOMPARE(TestEnvironment::readFile(reference), "kept\nnew\n");
}

BRAMBLEWORTH_TEST_MAIN(TestGoldenFile)
#include "test_goldenfile.moc"
