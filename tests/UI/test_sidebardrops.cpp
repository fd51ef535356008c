// SPDX-License-Identifier: GPL-3.0-or-later
#include "Model/Bookmark.h"
#include "Model/ScriptDragAndDrop.h"
#include "Model/ScriptsManager.h"
#include "QuillonCommons/LogCapture.h"
#include "UI/SidebarModel.h"

#include "common/TestEnvironment.h"

#include <QAbstractItemModelTester>
#include <QMimeData>
#include <QTest>
#include <QUrl>

// The sidebar's model hands drags and drops to the library's drag-and-drop rules and follows
// the library's new order as row moves and inserts.
class TestSidebarDrops : public QObject
{
    Q_OBJECT

    TestEnvironment m_files;

    static QString names(const SidebarModel& model)
    {
        QString text;
        const QModelIndex section = model.scriptsIndex();
        for (int row = 0; row < model.rowCount(section); ++row)
            text += model.index(row, 0, section).data().toString() + QLatin1Char(' ');
        return text.trimmed();
    }

private slots:
    void rowsDragAndDropThroughTheLibrary()
    {
        ScriptsManager manager;
        ScriptList scripts;
        for (const char* name : {"a", "b", "c"})
            scripts.append(
                Script::create(QString::fromLatin1(name), QStringLiteral("echo"), false));
        manager.setScripts(scripts);
        SidebarModel model;
        QAbstractItemModelTester tester(&model,
                                        QAbstractItemModelTester::FailureReportingMode::QtTest);
        model.setScripts(manager.scripts());
        connect(&manager, &ScriptsManager::scriptsChanged, &model, &SidebarModel::setScripts);
        const QModelIndex section = model.scriptsIndex();

        // Without the rules nothing can be dragged or dropped.
        QVERIFY(!(model.flags(model.index(0, 0, section)) & Qt::ItemIsDragEnabled));
        ScriptDragAndDrop dnd(manager, [] { return QStringList{QStringLiteral("bash")}; });
        model.setDragAndDrop(&dnd);
        QVERIFY(model.flags(model.index(0, 0, section)) & Qt::ItemIsDragEnabled);
        QVERIFY(model.flags(section) & Qt::ItemIsDropEnabled);
        QVERIFY(!(model.flags(model.runningScriptsIndex()) & Qt::ItemIsDropEnabled));

        // Dragging row "c" up to the top.
        std::unique_ptr<QMimeData> row(model.mimeData({model.index(2, 0, section)}));
        QCOMPARE(ScriptDragAndDrop::draggedScriptIds(row.get()), QStringList{scripts[2]->id()});
        QVERIFY(
            !model.canDropMimeData(row.get(), Qt::MoveAction, 0, 0, model.runningScriptsIndex()));
        LogCapture capture;
        QVERIFY(model.dropMimeData(row.get(), Qt::MoveAction, 0, 0, section));
        QCOMPARE(names(model), QStringLiteral("c a b"));

        // A file from a file manager, between "a" and "b".
        const QString path =
            m_files.makeFolder(QStringLiteral("drop")) + QStringLiteral("/tidy.sh");
        TestEnvironment::writeFile(path, "#!/bin/sh\nrm -f *.tmp\n");
        QMimeData files;
        files.setUrls({QUrl::fromLocalFile(path)});
        QVERIFY(model.canDropMimeData(&files, Qt::CopyAction, 2, 0, section));
        QVERIFY(!model.canDropMimeData(&files, Qt::CopyAction, 0, 0, QModelIndex()));
        QVERIFY(model.dropMimeData(&files, Qt::CopyAction, 2, 0, section));
        QCOMPARE(names(model), QStringLiteral("c a tidy b"));
        const ScriptPtr linked =
            model.index(2, 0, section).data(SidebarModel::ScriptRole).value<ScriptPtr>();
        QCOMPARE(Bookmark::resolve(linked->bookmarkData()).path, path);
        QCOMPARE(linked->language(), QStringLiteral("bash"));
        QVERIFY(capture.messages(LogLevel::error).isEmpty());

        model.setDragAndDrop(nullptr);
        QVERIFY(!model.canDropMimeData(&files, Qt::CopyAction, 2, 0, section));
    }
};

BRAMBLEWORTH_TEST_MAIN(TestSidebarDrops)
#include "test_sidebardrops.moc"
