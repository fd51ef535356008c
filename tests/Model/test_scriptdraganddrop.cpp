// SPDX-License-Identifier: GPL-3.0-or-later
#include "Model/Bookmark.h"
#include "Model/ScriptDragAndDrop.h"
#include "Model/ScriptsManager.h"
#include "QuillonCommons/LogCapture.h"

#include "common/TestEnvironment.h"

#include <QDir>
#include <QFileInfo>
#include <QMimeData>
#include <QSignalSpy>
#include <QTest>
#include <QUrl>

namespace {

const QStringList known = {QStringLiteral("bash"), QStringLiteral("python"),
                           QStringLiteral("javascript"), QStringLiteral("ruby"),
                           QStringLiteral("perl")};

QStringList names(const ScriptList& scripts)
{
    QStringList result;
    for (const ScriptPtr& script : scripts)
        result.append(script->name());
    return result;
}

// The names in the saved library file, in its order.
QStringList savedNames()
{
    const ScriptList saved =
        Script::decodeLibrary(TestEnvironment::readFile(*ScriptsManager::libraryFileURL()));
    return names(saved);
}

} // namespace

class TestScriptDragAndDrop : public QObject
{
    Q_OBJECT

    TestEnvironment m_files;
    std::unique_ptr<ScriptsManager> m_manager;

private slots:
    void init()
    {
        m_manager = std::make_unique<ScriptsManager>();
        ScriptList scripts;
        for (const char* name : {"A", "B", "C", "D"})
            scripts.append(Script::create(QString::fromLatin1(name), QString(), false));
        m_manager->setScripts(scripts);
    }

    void oneRowMovesAndTheOrderIsSaved_data()
    {
        QTest::addColumn<QString>("dragged");
        QTest::addColumn<int>("index");
        QTest::addColumn<QStringList>("order");
        QTest::newRow("up to the top") << "C" << 0 << QStringList{"C", "A", "B", "D"};
        QTest::newRow("down, between") << "A" << 2 << QStringList{"B", "A", "C", "D"};
        QTest::newRow("to the end") << "B" << 4 << QStringList{"A", "C", "D", "B"};
        QTest::newRow("onto the section") << "A" << -1 << QStringList{"B", "C", "D", "A"};
    }

    void oneRowMovesAndTheOrderIsSaved()
    {
        QFETCH(QString, dragged);
        QFETCH(int, index);
        QFETCH(QStringList, order);
        ScriptPtr script;
        for (const ScriptPtr& s : m_manager->scripts()) {
            if (s->name() == dragged)
                script = s;
        }
        ScriptDragAndDrop dnd(*m_manager, [] { return known; });
        std::unique_ptr<QMimeData> data(ScriptDragAndDrop::mimeData({script}));
        LogCapture capture;
        QCOMPARE(dnd.validateDrop(data.get(), QStringLiteral("Scripts"), index), Qt::MoveAction);
        QCOMPARE(
            capture.messages(LogLevel::debug),
            QStringList{QStringLiteral("reorder, proposedItem: Scripts, index: %1").arg(index)});
        QVERIFY(dnd.acceptDrop(data.get(), index));
        QCOMPARE(names(m_manager->scripts()), order);
        QCOMPARE(savedNames(), order);
        QVERIFY(m_manager->scripts().contains(script)); // moved, not copied
    }

    void refusedDrops()
    {
        ScriptDragAndDrop dnd(*m_manager, [] { return known; });
        const ScriptList scripts = m_manager->scripts();
        QSignalSpy changes(m_manager.get(), &ScriptsManager::scriptsChanged);
        LogCapture capture;

        // Two rows at once: offered, then refused with the debug line.
        std::unique_ptr<QMimeData> two(ScriptDragAndDrop::mimeData({scripts[0], scripts[2]}));
        QCOMPARE(ScriptDragAndDrop::draggedScriptIds(two.get()),
                 (QStringList{scripts[0]->id(), scripts[2]->id()}));
        QCOMPARE(two->urls().size(), 2);
        QCOMPARE(dnd.validateDrop(two.get(), QStringLiteral("Scripts"), 1), Qt::MoveAction);
        QVERIFY(!dnd.acceptDrop(two.get(), 1));
        QVERIFY(capture.messages(LogLevel::debug)
                    .last()
                    .startsWith(QStringLiteral("reorder support only one item, go to work ")));

        // A row onto its own place, or out of the scripts section.
        std::unique_ptr<QMimeData> one(ScriptDragAndDrop::mimeData({scripts[1]}));
        QVERIFY(!dnd.acceptDrop(one.get(), 1));
        QVERIFY(!dnd.acceptDrop(one.get(), 2));
        QCOMPARE(dnd.validateDrop(one.get(), QStringLiteral("Running Scripts"), std::nullopt),
                 Qt::IgnoreAction);
        QVERIFY(!dnd.acceptDrop(one.get(), std::nullopt));

        // Text, or a URL that is no file.
        QMimeData text;
        text.setText(QStringLiteral("echo hi"));
        QCOMPARE(dnd.validateDrop(&text, QStringLiteral("Scripts"), 0), Qt::IgnoreAction);
        QMimeData web;
        web.setUrls({QUrl(QStringLiteral("https://example.org/a.sh"))});
        QCOMPARE(dnd.validateDrop(&web, QStringLiteral("Scripts"), 0), Qt::IgnoreAction);
        QVERIFY(!dnd.acceptDrop(&web, 0));

        QCOMPARE(m_manager->scripts(), scripts);
        QCOMPARE(changes.size(), 0);
    }

    void droppedFilesBecomeLinkedScripts()
    {
        const QString folder = m_files.makeFolder(QStringLiteral("dropped"));
        const QString tool = folder + QStringLiteral("/tool.py");
        const QString deploy = folder + QStringLiteral("/deploy");
        TestEnvironment::writeFile(tool, "print('hi')\n");
        TestEnvironment::writeFile(deploy, "#!/usr/bin/env node\nconsole.log(1)\n");
        QMimeData data;
        data.setUrls({QUrl::fromLocalFile(tool),
                      QUrl::fromLocalFile(folder + QStringLiteral("/missing.sh")),
                      QUrl::fromLocalFile(folder), QUrl::fromLocalFile(deploy)});

        ScriptDragAndDrop dnd(*m_manager, [] { return known; });
        QCOMPARE(dnd.validateDrop(&data, QStringLiteral("Scripts"), 1), Qt::CopyAction);
        LogCapture capture;
        QVERIFY(dnd.acceptDrop(&data, 1));

        // The two files go in at the drop position, in order; the others are logged.
        QCOMPARE(names(m_manager->scripts()), (QStringList{"A", "tool", "deploy", "B", "C", "D"}));
        QCOMPARE(savedNames(), names(m_manager->scripts()));
        const ScriptPtr python = m_manager->scripts()[1];
        const ScriptPtr node = m_manager->scripts()[2];
        QCOMPARE(python->internalContent(), QStringLiteral("print('hi')\n"));
        QCOMPARE(python->language(), QStringLiteral("python"));
        QCOMPARE(node->language(), QStringLiteral("javascript"));
        QCOMPARE(Bookmark::resolve(python->bookmarkData()).path, tool);
        QCOMPARE(Bookmark::resolve(node->bookmarkData()).path, deploy);
        const QStringList errors = capture.messages(LogLevel::error);
        QCOMPARE(errors.size(), 2);
        for (const QString& file : {folder + QStringLiteral("/missing.sh"), folder}) {
            QVERIFY2(std::any_of(errors.cbegin(), errors.cend(),
                                 [&](const QString& line) {
                                     return line.startsWith(QStringLiteral(
                                                "outlineView(_:acceptDrop:item:childIndex:):")) &&
                                            line.contains(
                                                QStringLiteral("cannot create bookmark for ") +
                                                file + u',');
                                 }),
                     qPrintable(errors.join(QLatin1Char('\n'))));
        }

        // Linked: an edit reaches the file.
        python->setContent(QStringLiteral("print('bye')\n"));
        QCOMPARE(TestEnvironment::readFile(tool), QByteArray("print('bye')\n"));
    }

    void languagesAreGuessedWhenKnown_data()
    {
        QTest::addColumn<QString>("file");
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("language");
        QTest::newRow("extension") << "a.rb"
                                   << "puts 1"
                                   << "ruby";
        QTest::newRow("shell extension") << "a.zsh"
                                         << ""
                                         << "bash";
        QTest::newRow("interpreter path") << "a"
                                          << "#!/bin/sh\necho"
                                          << "bash";
        QTest::newRow("env with options and version") << "a.txt"
                                                      << "#!/usr/bin/env -S python3.11 -u\n"
                                                      << "python";
        QTest::newRow("#! wins over the extension") << "a.sh"
                                                    << "#!/usr/bin/perl -w\n"
                                                    << "perl";
        QTest::newRow("unknown #!, known extension") << "a.py"
                                                     << "#!/opt/weird\n"
                                                     << "python";
        QTest::newRow("nothing known") << "a.xyz"
                                       << "#!/usr/bin/tclsh\n"
                                       << "";
        QTest::newRow("no extension") << "Makefile"
                                      << "all:\n"
                                      << "";
    }

    void languagesAreGuessedWhenKnown()
    {
        QFETCH(QString, file);
        QFETCH(QString, text);
        QFETCH(QString, language);
        QCOMPARE(ScriptDragAndDrop::guessLanguage(file, text, known).value_or(QString()), language);
    }

    void dragOutWritesTheScript()
    {
        const ScriptPtr script = Script::create(QStringLiteral(" Deploy\n"),
                                                QStringLiteral("echo \u00e9t\u00e9\n"), false);
        std::unique_ptr<QMimeData> data(ScriptDragAndDrop::mimeData({script}));
        QCOMPARE(data->urls().size(), 1);
        const QString path = data->urls().first().toLocalFile();
        QCOMPARE(QFileInfo(path).fileName(), QStringLiteral("Deploy.sh"));
        QCOMPARE(TestEnvironment::readFile(path), QStringLiteral("echo \u00e9t\u00e9\n").toUtf8());
        QCOMPARE(ScriptDragAndDrop::draggedScriptIds(data.get()), QStringList{script->id()});
        QVERIFY(data->hasFormat(QStringLiteral("text/uri-list")));
        QFile::remove(path);
    }
};

BRAMBLEWORTH_TEST_MAIN(TestScriptDragAndDrop)
#include "test_scriptdraganddrop.moc"
