// SPDX-License-Identifier: GPL-3.0-or-later
#include "UI/SidebarModel.h"
#include "common/TestEnvironment.h"

#include <QAbstractItemModelTester>
#include <QPersistentModelIndex>
#include <QSignalSpy>
#include <QSize>

// The sidebar's tree, checked with Qt's model tester on every change: the headers, and whole
// lists turned into row removes, moves and inserts that keep persistent indexes (a view's
// selection and scroll position) on their objects.
class TestSidebarModel : public QObject
{
    Q_OBJECT

    // One script per letter, reused across lists so identity carries from one list to the next.
    QHash<QChar, ScriptPtr> m_scripts;

    ScriptList scripts(const QString& letters)
    {
        ScriptList list;
        for (const QChar letter : letters) {
            if (!m_scripts.contains(letter))
                m_scripts.insert(letter, Script::create(QString(letter), QString(), false));
            list.append(m_scripts.value(letter));
        }
        return list;
    }

    static QString names(const SidebarModel& model)
    {
        QString text;
        const QModelIndex section = model.scriptsIndex();
        for (int row = 0; row < model.rowCount(section); ++row)
            text += model.index(row, 0, section).data().toString();
        return text;
    }

private slots:
    void init() { m_scripts.clear(); }

    void headersComeFirstAndCannotBeSelected()
    {
        SidebarModel model;
        QAbstractItemModelTester tester(&model,
                                        QAbstractItemModelTester::FailureReportingMode::QtTest);
        QCOMPARE(model.rowCount(), 2);
        QCOMPARE(model.index(0, 0).data().toString(), QStringLiteral("Running Scripts"));
        QCOMPARE(model.index(1, 0).data().toString(), QStringLiteral("Scripts"));
        for (int row = 0; row < 2; ++row) {
            const QModelIndex header = model.index(row, 0);
            QVERIFY(!(model.flags(header) & Qt::ItemIsSelectable));
            QVERIFY(header.data(SidebarModel::IsHeaderRole).toBool());
            QCOMPARE(header.data(Qt::SizeHintRole).toSize().height(), 25);
            QCOMPARE(model.rowCount(header), 0);
        }

        model.setScripts(scripts(QStringLiteral("ab")));
        const auto run = std::make_shared<RunningScript>(QStringLiteral("a"));
        model.setRunningScripts({run});
        const QModelIndex scriptRow = model.index(0, 0, model.scriptsIndex());
        const QModelIndex runRow = model.index(0, 0, model.runningScriptsIndex());
        QVERIFY(model.flags(scriptRow) & Qt::ItemIsSelectable);
        QCOMPARE(scriptRow.data(Qt::SizeHintRole).toSize().height(), 20);
        QCOMPARE(scriptRow.data(SidebarModel::ScriptRole).value<ScriptPtr>(), m_scripts['a']);
        QCOMPARE(runRow.data(SidebarModel::RunningScriptRole).value<RunningScriptPtr>(), run);
        QVERIFY(!scriptRow.data(SidebarModel::RunningScriptRole).isValid());
        QCOMPARE(model.indexOfObject(run.get()), runRow);
    }

    void listUpdatesBecomeRowChangesThatKeepIndexes_data()
    {
        QTest::addColumn<QString>("before");
        QTest::addColumn<QString>("after");
        QTest::newRow("append") << "abc"
                                << "abcd";
        QTest::newRow("insert first") << "abc"
                                      << "xabc";
        QTest::newRow("remove middle") << "abcde"
                                       << "abde";
        QTest::newRow("remove runs") << "abcdefg"
                                     << "adg";
        QTest::newRow("move down") << "abcd"
                                   << "bcad";
        QTest::newRow("move up") << "abcd"
                                 << "dabc";
        QTest::newRow("reverse") << "abcdef"
                                 << "fedcba";
        QTest::newRow("mixed") << "abcdef"
                               << "xfbdy";
        QTest::newRow("to empty") << "abc"
                                  << "";
        QTest::newRow("from empty") << ""
                                    << "abc";
        QTest::newRow("unchanged") << "abc"
                                   << "abc";
    }

    void listUpdatesBecomeRowChangesThatKeepIndexes()
    {
        QFETCH(QString, before);
        QFETCH(QString, after);
        SidebarModel model;
        QAbstractItemModelTester tester(&model,
                                        QAbstractItemModelTester::FailureReportingMode::QtTest);
        model.setScripts(scripts(before));
        QCOMPARE(names(model), before);

        QList<QPersistentModelIndex> kept;
        for (int row = 0; row < before.size(); ++row)
            kept.append(model.index(row, 0, model.scriptsIndex()));
        QSignalSpy resets(&model, &QAbstractItemModel::modelReset);
        QSignalSpy layouts(&model, &QAbstractItemModel::layoutChanged);

        model.setScripts(scripts(after));
        QCOMPARE(names(model), after);
        QCOMPARE(resets.count(), 0);
        QCOMPARE(layouts.count(), 0);
        for (int i = 0; i < before.size(); ++i) {
            const QChar letter = before.at(i);
            if (after.contains(letter)) {
                QVERIFY2(kept[i].isValid(), qPrintable(QString(letter)));
                QCOMPARE(kept[i].data().toString(), QString(letter));
                QCOMPARE(kept[i].row(), int(after.indexOf(letter)));
            } else {
                QVERIFY(!kept[i].isValid());
            }
        }
    }

    void renamesUpdateTheRowInPlace()
    {
        SidebarModel model;
        QAbstractItemModelTester tester(&model,
                                        QAbstractItemModelTester::FailureReportingMode::QtTest);
        model.setScripts(scripts(QStringLiteral("abc")));
        QSignalSpy changed(&model, &QAbstractItemModel::dataChanged);
        QSignalSpy removed(&model, &QAbstractItemModel::rowsRemoved);

        m_scripts['b']->setName(QStringLiteral("Backup home"));
        QCOMPARE(changed.count(), 1);
        QCOMPARE(changed.first().first().toModelIndex().row(), 1);
        QCOMPARE(model.index(1, 0, model.scriptsIndex()).data().toString(),
                 QStringLiteral("Backup home"));

        // Once a script has left the list its renames no longer reach the model.
        const ScriptPtr gone = m_scripts['c'];
        model.setScripts(scripts(QStringLiteral("ab")));
        changed.clear();
        gone->setName(QStringLiteral("elsewhere"));
        QCOMPARE(changed.count(), 0);
        QCOMPARE(removed.count(), 1);
    }

    void runsAndScriptsLiveInTheirOwnSections()
    {
        SidebarModel model;
        QAbstractItemModelTester tester(&model,
                                        QAbstractItemModelTester::FailureReportingMode::QtTest);
        model.setScripts(scripts(QStringLiteral("ab")));
        const auto first = std::make_shared<RunningScript>(QStringLiteral("a"));
        const auto second = std::make_shared<RunningScript>(QStringLiteral("b"));
        QPersistentModelIndex script(model.index(1, 0, model.scriptsIndex()));

        model.setRunningScripts({first, second});
        model.setRunningScripts({second});
        QCOMPARE(model.rowCount(model.runningScriptsIndex()), 1);
        QCOMPARE(model.index(0, 0, model.runningScriptsIndex()).data().toString(),
                 QStringLiteral("b"));
        QCOMPARE(script.row(), 1);
        QCOMPARE(model.rowCount(model.scriptsIndex()), 2);
    }
};

BRAMBLEWORTH_TEST_MAIN(TestSidebarModel)
#include "test_sidebarmodel.moc"
