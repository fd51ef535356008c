// SPDX-License-Identifier: GPL-3.0-or-later
#include "common/TestEnvironment.h"

#include "Model/Script.h"
#include "QuillonCommons/FileUtils.h"
#include "QuillonCommons/LogCapture.h"

#include <QDir>
#include <QMimeData>
#include <QSignalSpy>
#include <QUrl>

class TestScript : public QObject
{
    Q_OBJECT
private slots:
    void newScriptsHaveTheDefaults()
    {
        Script script(QStringLiteral("Backup"), QStringLiteral("echo hi"), false);
        QCOMPARE(script.id().size(), 36);
        QCOMPARE(script.id(), script.id().toUpper());
        QCOMPARE(script.internalContent(), QStringLiteral("echo hi"));
        QCOMPARE(script.language(), QStringLiteral("bash"));
        QVERIFY(!script.keepLog());
        QVERIFY(script.category().isEmpty());
        QVERIFY(!script.bookmark());
        QVERIFY(Script(QString(), QString(), false).id() != script.id());
    }

    void encodingWritesEveryKeyInOrder()
    {
        auto script = Script::create(QStringLiteral("Deploy \"prod\""),
                                     QStringLiteral("#!/bin/sh\necho é\n"), false);
        script->setId(QStringLiteral("A-1"));
        script->setKeepLog(true);
        script->setLanguage(QStringLiteral("python"));
        script->setCategory(QStringLiteral("Tools"));
        auto linked = Script::create(QStringLiteral("L"), QString(), false);
        linked->setId(QStringLiteral("B-2"));
        linked->setBookmark(QByteArray("\x01\x02", 2));
        LogCapture quiet;
        QCOMPARE(*Script::encodeLibrary({script, linked}),
                 QByteArray("[{\"id\":\"A-1\",\"name\":\"Deploy "
                            "\\\"prod\\\"\",\"content\":\"#!/bin/sh\\necho é\\n\",\"keepLog\":true,"
                            "\"language\":\"python\",\"bookmark\":null,\"category\":\"Tools\"},"
                            "{\"id\":\"B-2\",\"name\":\"L\",\"content\":\"\",\"keepLog\":false,"
                            "\"language\":\"bash\",\"bookmark\":\"AQI=\",\"category\":\"\"}]"));
        QCOMPARE(*Script::encodeLibrary({}), QByteArray("[]"));
    }

    void textThatIsNotUnicodeIsNeverWritten()
    {
        auto script =
            Script::create(QStringLiteral("bad"), QStringLiteral("x") + QChar(0xD800), false);
        QString reason;
        QVERIFY(!Script::encodeLibrary({script}, &reason));
        QVERIFY(reason.contains(QStringLiteral("bad")));
    }

    void decodingFillsTheDefaults()
    {
        const ScriptList scripts = Script::decodeLibrary(
            "[{\"id\":\"x\",\"name\":\"n\",\"content\":\"c\"},"
            "{\"id\":\"y\",\"name\":\"m\",\"content\":\"d\",\"bookmark\":null,\"keepLog\":null}]");
        QCOMPARE(scripts.size(), 2);
        for (const ScriptPtr& s : scripts) {
            QVERIFY(!s->keepLog());
            QCOMPARE(s->language(), QStringLiteral("bash"));
            QVERIFY(!s->bookmark());
            QVERIFY(s->category().isEmpty());
            QVERIFY(!s->builtIn());
        }
        QCOMPARE(scripts.at(0)->id(), QStringLiteral("x"));
        QCOMPARE(scripts.at(1)->internalContent(), QStringLiteral("d"));
    }

    void decodingReadsEscapesAndSkipsUnknownKeys()
    {
        const QByteArray json =
            " [ {\"extra\":{\"deep\":[1,-2.5e3,true,null,\"s\"]},\"content\":\"tab\\there \\u00e9 "
            "\\ud83d\\ude00 \\/\","
            "\"name\" : \"caf\xC3\xA9\", \"id\":\"\\u0041\", \"category\":null, \"language\":null} "
            "] \n";
        const ScriptList scripts = Script::decodeLibrary(json);
        QCOMPARE(scripts.size(), 1);
        QCOMPARE(scripts.first()->id(), QStringLiteral("A"));
        QCOMPARE(scripts.first()->name(), QStringLiteral("café"));
        QCOMPARE(scripts.first()->internalContent(), QStringLiteral("tab\there é 😀 /"));
        QCOMPARE(scripts.first()->language(), QStringLiteral("bash"));
        QVERIFY(scripts.first()->category().isEmpty());
        QVERIFY(Script::decodeLibrary("[]").isEmpty());
    }

    void roundTripKeepsEverything()
    {
        auto script =
            Script::create(QStringLiteral("😀 name"), QStringLiteral("line\n\ttab \\ \"q\""), false);
        script->setCategory(QStringLiteral("Cat"));
        script->setKeepLog(true);
        script->setLanguage(QStringLiteral("zsh"));
        script->setBookmark(QByteArray(300, '\xAB'));
        LogCapture quiet;
        const ScriptList back = Script::decodeLibrary(*Script::encodeLibrary({script}));
        QCOMPARE(back.size(), 1);
        const ScriptPtr& s = back.first();
        QCOMPARE(s->id(), script->id());
        QCOMPARE(s->name(), script->name());
        QCOMPARE(s->internalContent(), script->internalContent());
        QCOMPARE(s->category(), script->category());
        QCOMPARE(s->keepLog(), true);
        QCOMPARE(s->language(), script->language());
        QCOMPARE(s->bookmark(), script->bookmark());
    }

    void decodingFailsForTheWholeFile_data()
    {
        QTest::addColumn<QByteArray>("json");
        QTest::newRow("not json") << QByteArray("{oops");
        QTest::newRow("object at the top")
            << QByteArray("{\"id\":\"x\",\"name\":\"n\",\"content\":\"c\"}");
        QTest::newRow("missing id") << QByteArray(
            "[{\"id\":\"a\",\"name\":\"n\",\"content\":\"c\"},{\"name\":\"n\",\"content\":\"c\"}]");
        QTest::newRow("missing content") << QByteArray("[{\"id\":\"a\",\"name\":\"n\"}]");
        QTest::newRow("name not a string")
            << QByteArray("[{\"id\":\"a\",\"name\":1,\"content\":\"c\"}]");
        QTest::newRow("keepLog a string")
            << QByteArray("[{\"id\":\"a\",\"name\":\"n\",\"content\":\"c\",\"keepLog\":\"yes\"}]");
        QTest::newRow("language a number")
            << QByteArray("[{\"id\":\"a\",\"name\":\"n\",\"content\":\"c\",\"language\":3}]");
        QTest::newRow("bookmark not base64")
            << QByteArray("[{\"id\":\"a\",\"name\":\"n\",\"content\":\"c\",\"bookmark\":\"%%%\"}]");
        QTest::newRow("category an array")
            << QByteArray("[{\"id\":\"a\",\"name\":\"n\",\"content\":\"c\",\"category\":[]}]");
        QTest::newRow("element not an object") << QByteArray("[1]");
        QTest::newRow("empty file") << QByteArray();
        QTest::newRow("id null") << QByteArray("[{\"id\":null,\"name\":\"n\",\"content\":\"c\"}]");
        QTest::newRow("trailing comma")
            << QByteArray("[{\"id\":\"a\",\"name\":\"n\",\"content\":\"c\"},]");
        QTest::newRow("data after the array") << QByteArray("[] []");
        QTest::newRow("unterminated string") << QByteArray("[{\"id\":\"a");
        QTest::newRow("bad escape")
            << QByteArray("[{\"id\":\"\\q\",\"name\":\"n\",\"content\":\"c\"}]");
        QTest::newRow("lone surrogate escape")
            << QByteArray("[{\"id\":\"\\ud800\",\"name\":\"n\",\"content\":\"c\"}]");
        QTest::newRow("raw line break in a string")
            << QByteArray("[{\"id\":\"a\nb\",\"name\":\"n\",\"content\":\"c\"}]");
        QTest::newRow("invalid UTF-8")
            << QByteArray("[{\"id\":\"\xC3\",\"name\":\"n\",\"content\":\"c\"}]");
        QTest::newRow("unknown key with a broken value")
            << QByteArray("[{\"id\":\"a\",\"name\":\"n\",\"content\":\"c\",\"x\":[1,}]");
    }
    void decodingFailsForTheWholeFile()
    {
        QFETCH(QByteArray, json);
        QVERIFY_THROWS_EXCEPTION(AppError, Script::decodeLibrary(json));
    }

    void fileNames_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("fileName");
        QTest::newRow("plain") << "Deploy"
                               << "Deploy.sh";
        QTest::newRow("blanks and line break") << "  Deploy\n"
                                               << "Deploy.sh";
        QTest::newRow("only blanks") << " \t \n"
                                     << "Brambleworth Script.sh";
        QTest::newRow("empty") << ""
                               << "Brambleworth Script.sh";
        QTest::newRow("inner blanks kept") << " My Tool "
                                           << "My Tool.sh";
    }
    void fileNames()
    {
        QFETCH(QString, name);
        QFETCH(QString, fileName);
        QCOMPARE(Script(name, QString(), false).fileName(), fileName);
    }

    void copiesAreUnlinkedAndUncategorised()
    {
        Script original(QStringLiteral("Backup"), QStringLiteral("rsync -a"), true);
        original.setCategory(QStringLiteral("Tools"));
        original.setKeepLog(true);
        original.setLanguage(QStringLiteral("sh"));
        original.setBookmark(QByteArray("link"));
        LogCapture quiet;
        const ScriptPtr copy = original.copy();
        QCOMPARE(copy->name(), QStringLiteral("Backup (copy)"));
        QCOMPARE(copy->internalContent(), QStringLiteral("rsync -a"));
        QVERIFY(copy->category().isEmpty());
        QVERIFY(!copy->bookmark());
        QVERIFY(!copy->builtIn());
        QVERIFY(copy->keepLog());
        QCOMPARE(copy->language(), QStringLiteral("sh"));
        QVERIFY(copy->id() != original.id());
    }

    void linkedScriptsFallBackToTheirStoredText()
    {
        Script script(QStringLiteral("L"), QStringLiteral("stored"), false);
        script.setBookmark(QByteArray("not a bookmark"));
        LogCapture capture;
        QCOMPARE(script.content(), QStringLiteral("stored"));
        QVERIFY(capture.contains(LogLevel::error, QStringLiteral("unable to resolve bookmark")));
        QVERIFY(capture.messages(LogLevel::error)
                    .first()
                    .startsWith(QStringLiteral("resolveBookmarkAndUpdateIfNeeded():")));
    }

    void settingContentNotifiesAndStores()
    {
        Script script(QStringLiteral("n"), QStringLiteral("old"), false);
        QSignalSpy spy(&script, &Script::contentChanged);
        LogCapture capture;
        script.setContent(QStringLiteral("new"));
        QCOMPARE(script.internalContent(), QStringLiteral("new"));
        QCOMPARE(spy.size(), 1);
        QVERIFY(capture.entries().isEmpty());
    }

    void dragsCarryTheFileAndTheId()
    {
        Script script(QStringLiteral("  Drag me "), QStringLiteral("echo dragged"), false);
        std::unique_ptr<QMimeData> item(script.pasteboardItem());
        QCOMPARE(item->urls().size(), 1);
        const QString path = item->urls().first().toLocalFile();
        QCOMPARE(QFileInfo(path).fileName(), QStringLiteral("Drag me.sh"));
        QCOMPARE(TestEnvironment::readFile(path), QByteArray("echo dragged"));
        QCOMPARE(item->data(Script::scriptPasteboardType()), script.id().toUtf8());
        QCOMPARE(Script::scriptPasteboardType(),
                 QStringLiteral("org.brambleworth.Brambleworth.script"));

        script.setContent(QStringLiteral("echo again"));
        std::unique_ptr<QMimeData> again(script.pasteboardItem());
        QCOMPARE(TestEnvironment::readFile(path), QByteArray("echo again"));
        QFile::remove(path);
    }

    void filePromisesWriteOnlyForTheirOwnScript()
    {
        Script script(QStringLiteral("p"), QStringLiteral("promised"), false);
        const QString folder = *FileUtils::tempraryDirectory();
        const QString target = folder + QStringLiteral("/out.sh");

        QVERIFY(!script.writePromise(QStringLiteral("someone else"), target));
        QVERIFY(!script.writePromise(QVariant(), target));
        QVERIFY(!script.writePromise(QVariant(42), target));
        QVERIFY(!QFileInfo::exists(target));

        QVERIFY(!script.writePromise(script.id(), target));
        QCOMPARE(TestEnvironment::readFile(target), QByteArray("promised"));

        const auto failure =
            script.writePromise(script.id(), folder + QStringLiteral("/missing/out.sh"));
        QVERIFY(failure.has_value());
    }
};

BRAMBLEWORTH_TEST_MAIN(TestScript)
#include "test_script.moc"
