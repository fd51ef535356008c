// SPDX-License-Identifier: GPL-3.0-or-later
#include "common/TestEnvironment.h"

#include "Model/Script.h"
#include "QuillonCommons/FileUtils.h"
#include "QuillonCommons/LogCapture.h"

#include <QDir>
#include <QMimeData>
#include <QSignalSpy>
#include <QStringEncoder>
#include <QUrl>

#include <unistd.h>

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

        // Text that is not Unicode is never written.
        auto bad =
            Script::create(QStringLiteral("bad"), QStringLiteral("x") + QChar(0xD800), false);
        QString reason;
        QVERIFY(!Script::encodeLibrary({script, bad}, &reason));
        QVERIFY(reason.contains(QStringLiteral("bad")));
    }

    void decodingReadsEscapesSkipsUnknownKeysAndFillsDefaults()
    {
        const QByteArray json =
            " [ {\"extra\":{\"deep\":[1,-2.5e3,true,null,\"s\"]},\"content\":\"tab\\there \\u00e9 "
            "\\ud83d\\ude00 \\/\","
            "\"name\" : \"caf\xC3\xA9\", \"id\":\"\\u0041\", \"category\":null, \"language\":null, "
            "\"bookmark\":null, \"keepLog\":null}, {\"id\":\"x\",\"name\":\"n\",\"content\":\"c\"}"
            "] \n";
        const ScriptList scripts = Script::decodeLibrary(json);
        QCOMPARE(scripts.size(), 2);
        QCOMPARE(scripts.first()->id(), QStringLiteral("A"));
        QCOMPARE(scripts.first()->name(), QStringLiteral("café"));
        QCOMPARE(scripts.first()->internalContent(), QStringLiteral("tab\there é 😀 /"));
        QCOMPARE(scripts.last()->id(), QStringLiteral("x"));
        QCOMPARE(scripts.last()->internalContent(), QStringLiteral("c"));
        // Absent and null optional keys alike.
        for (const ScriptPtr& s : scripts) {
            QVERIFY(!s->keepLog());
            QCOMPARE(s->language(), QStringLiteral("bash"));
            QVERIFY(!s->bookmark());
            QVERIFY(s->category().isEmpty());
            QVERIFY(!s->builtIn());
        }
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
        const QByteArray encoded = *Script::encodeLibrary({script});
        const ScriptList back = Script::decodeLibrary(encoded);
        QCOMPARE(back.size(), 1);
        // The encoding holds every field, as checked above.
        QCOMPARE(*Script::encodeLibrary(back), encoded);
        QCOMPARE(back.first()->bookmark(), script->bookmark());
    }

    void decodingFailsForTheWholeFile_data()
    {
        QTest::addColumn<QByteArray>("json");
        const auto row = [](const char* name, const QByteArray& json) {
            QTest::newRow(name) << json;
        };
        row("not json", "{oops");
        row("object at the top", R"({"id":"x","name":"n","content":"c"})");
        row("missing id", R"([{"id":"a","name":"n","content":"c"},{"name":"n","content":"c"}])");
        row("missing content", R"([{"id":"a","name":"n"}])");
        row("name not a string", R"([{"id":"a","name":1,"content":"c"}])");
        row("keepLog a string", R"([{"id":"a","name":"n","content":"c","keepLog":"yes"}])");
        row("language a number", R"([{"id":"a","name":"n","content":"c","language":3}])");
        row("bookmark not base64", R"([{"id":"a","name":"n","content":"c","bookmark":"%%%"}])");
        row("category an array", R"([{"id":"a","name":"n","content":"c","category":[]}])");
        row("element not an object", "[1]");
        row("empty file", "");
        row("id null", R"([{"id":null,"name":"n","content":"c"}])");
        row("trailing comma", R"([{"id":"a","name":"n","content":"c"},])");
        row("data after the array", "[] []");
        row("unterminated string", "[{\"id\":\"a");
        row("bad escape", R"([{"id":"\q","name":"n","content":"c"}])");
        row("lone surrogate escape", R"([{"id":"\ud800","name":"n","content":"c"}])");
        row("raw line break in a string", "[{\"id\":\"a\nb\",\"name\":\"n\",\"content\":\"c\"}]");
        row("invalid UTF-8", "[{\"id\":\"\xC3\",\"name\":\"n\",\"content\":\"c\"}]");
        row("unknown key with a broken value", R"([{"id":"a","name":"n","content":"c","x":[1,}])");
        row("bookmark unpadded", R"([{"id":"a","name":"n","content":"c","bookmark":"AQI"}])");
        row("bookmark of one character", R"([{"id":"a","name":"n","content":"c","bookmark":"A"}])");
        row("bookmark with a blank", R"([{"id":"a","name":"n","content":"c","bookmark":"AQ I="}])");
        row("bookmark URL-safe", R"([{"id":"a","name":"n","content":"c","bookmark":"-_8="}])");
        row("invalid UTF-8 in a key",
            "[{\"id\":\"a\",\"name\":\"n\",\"content\":\"c\",\"\xFF\":1}]");
        row("invalid UTF-8 under an unknown key",
            "[{\"id\":\"a\",\"name\":\"n\",\"content\":\"c\",\"x\":[\"\xC0\xAF\"]}]");
        row("UTF-8 surrogate under an unknown key",
            "[{\"id\":\"a\",\"name\":\"n\",\"content\":\"c\",\"x\":\"\xED\xA0\x80\"}]");
        row("UTF-16 with a lone surrogate", QByteArray("\xFF\xFE[\0\0\xD8]\0", 8));
    }
    void decodingFailsForTheWholeFile()
    {
        QFETCH(QByteArray, json);
        QVERIFY_THROWS_EXCEPTION(AppError, Script::decodeLibrary(json));
    }

    void decodingReadsEveryUnicodeEncoding_data()
    {
        QTest::addColumn<QByteArray>("data");
        // Blanks before the array, so the first character is not always the bracket.
        const QString json = QStringLiteral(
            " [{\"id\":\"a\",\"name\":\"caf\u00e9 \U0001F600\",\"content\":\"\uFEFFx\"}]");
        const auto encode = [&json](QStringConverter::Encoding encoding, bool mark) {
            QStringEncoder encoder(encoding, mark ? QStringEncoder::Flag::WriteBom
                                                  : QStringEncoder::Flag::Default);
            return QByteArray(encoder.encode(json));
        };
        QTest::newRow("UTF-8") << encode(QStringConverter::Utf8, false);
        QTest::newRow("UTF-8 with a mark") << encode(QStringConverter::Utf8, true);
        QTest::newRow("UTF-16LE") << encode(QStringConverter::Utf16LE, false);
        QTest::newRow("UTF-16LE with a mark") << encode(QStringConverter::Utf16LE, true);
        QTest::newRow("UTF-16BE") << encode(QStringConverter::Utf16BE, false);
        QTest::newRow("UTF-16BE with a mark") << encode(QStringConverter::Utf16BE, true);
        QTest::newRow("UTF-32LE") << encode(QStringConverter::Utf32LE, false);
        QTest::newRow("UTF-32LE with a mark") << encode(QStringConverter::Utf32LE, true);
        QTest::newRow("UTF-32BE") << encode(QStringConverter::Utf32BE, false);
        QTest::newRow("UTF-32BE with a mark") << encode(QStringConverter::Utf32BE, true);
    }
    void decodingReadsEveryUnicodeEncoding()
    {
        QFETCH(QByteArray, data);
        const ScriptList scripts = Script::decodeLibrary(data);
        QCOMPARE(scripts.size(), 1);
        QCOMPARE(scripts.first()->name(), QStringLiteral("café 😀"));
        // Only the mark that opens the file is taken away; one inside a string is text.
        QCOMPARE(scripts.first()->internalContent(), QStringLiteral("\uFEFFx"));
    }

    void fileNames_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("fileName");
        QTest::newRow("blanks and line break") << QStringLiteral("  Deploy\n") << "Deploy.sh";
        QTest::newRow("inner blanks kept") << QStringLiteral(" My Tool ") << "My Tool.sh";
        QTest::newRow("only blanks") << QStringLiteral(" \t \n") << "Brambleworth Script.sh";
        QTest::newRow("empty") << QString() << "Brambleworth Script.sh";
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

    void dragsCarryTheFileAndTheId()
    {
        Script script(QStringLiteral("  Drag me "), QStringLiteral("echo dragged"), false);
        std::unique_ptr<QMimeData> item(script.pasteboardItem());
        QCOMPARE(item->urls().size(), 1);
        const QString path = item->urls().first().toLocalFile();
        QCOMPARE(QFileInfo(path).fileName(), QStringLiteral("Drag me.sh"));
        QCOMPARE(TestEnvironment::readFile(path), QByteArray("echo dragged"));
        // In a folder of the user's alone, whatever someone left in the shared /tmp.
        const QFileInfo folder(QFileInfo(path).absolutePath());
        QCOMPARE(folder.filePath(), FileUtils::privateTemporaryFolder());
        QVERIFY(folder.filePath().endsWith(QStringLiteral("/brambleworth/drags")));
        QCOMPARE(folder.permissions() & (QFile::ReadGroup | QFile::ReadOther | QFile::WriteGroup |
                                         QFile::WriteOther | QFile::ExeGroup | QFile::ExeOther),
                 QFile::Permissions());
        QCOMPARE(folder.ownerId(), ::geteuid());
        QCOMPARE(item->data(Script::scriptPasteboardType()), script.id().toUtf8());
        QCOMPARE(Script::scriptPasteboardType(),
                 QStringLiteral("org.brambleworth.Brambleworth.script"));

        // A new text notifies, quietly, and the next drag writes it.
        QSignalSpy spy(&script, &Script::contentChanged);
        LogCapture capture;
        script.setContent(QStringLiteral("echo again"));
        QCOMPARE(spy.size(), 1);
        QCOMPARE(script.internalContent(), QStringLiteral("echo again"));
        QVERIFY(capture.entries().isEmpty());
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
