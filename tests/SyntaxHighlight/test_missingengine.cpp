// SPDX-License-Identifier: GPL-3.0-or-later
// A process whose JavaScript engine cannot be loaded: the library is opened once per process,
// so this case has an executable of its own.
#include "common/TestEnvironment.h"

#include "QuillonCommons/LogCapture.h"
#include "SyntaxHighlight/BuiltInThemes.h"
#include "SyntaxHighlight/JavaScriptContext.h"
#include "SyntaxHighlight/SyntaxHighlight.h"

class TestMissingEngine : public QObject
{
    Q_OBJECT

private slots:
    void highlightingBecomesImpossibleNotFatal()
    {
        JavaScriptContext::setEngineLibrary(QStringLiteral("libbrambleworth-no-such-engine.so.0"));
        LogCapture capture;
        JavaScriptContext context;
        QVERIFY(!context.evaluate(QStringLiteral("1 + 1")).isValid());
        QVERIFY(!context.globalValue(QStringLiteral("Math")).isValid());

        SyntaxHighlight highlight;
        const ThemeAttributes theme = *BuiltInThemes::theme(QStringLiteral("monokai"));
        QVERIFY(highlight.availableLanguages().isEmpty());
        QVERIFY(highlight.highlightRanges(QStringLiteral("echo hi"), QStringLiteral("bash"), theme)
                    .isEmpty());
        QVERIFY(!highlight.highlightedHTML(QStringLiteral("echo hi"), QStringLiteral("bash")));
        QCOMPARE(highlight.languageDisplayName(QStringLiteral("bash")),
                 highlight.defaultLanguage().displayName);
        // Said once, however many contexts are asked for.
        QCOMPARE(capture.messages(LogLevel::error)
                     .filter(QStringLiteral("cannot load the JavaScript engine"))
                     .size(),
                 1);
    }
};

BRAMBLEWORTH_TEST_MAIN(TestMissingEngine)
#include "test_missingengine.moc"
