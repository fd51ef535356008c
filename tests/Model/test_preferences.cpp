// SPDX-License-Identifier: GPL-3.0-or-later
#include "common/TestEnvironment.h"

#include "Model/Preferences.h"

#include <QSignalSpy>
#include <QTemporaryDir>

using Id = Preferences::Identifier;

class TestPreferences : public QObject
{
    Q_OBJECT

    QTemporaryDir m_folder;

private slots:
    void keysAreSpelledAsStored()
    {
        const QStringList expected{
            "LaunchAtStartup",           "IncludeBuiltInScripts",  "ArrangeScriptMenuByCategories",
            "SyntaxtHighlightThemeName", "UseSyntaxtHighlighting", "RestrictSyntaxHighlight",
            "MainWindowIsPinned"};
        QStringList keys;
        for (Id id : Preferences::identifiers())
            keys << Preferences::key(id);
        QCOMPARE(keys, expected);
    }

    void argumentDomainTakesKeyValuePairs_data()
    {
        QTest::addColumn<QStringList>("arguments");
        QTest::addColumn<QVariantMap>("domain");
        QTest::addColumn<QStringList>("remaining");
        QTest::newRow("pairs and options")
            << QStringList{"prog",   "-CUSTOM_APPLICATION_SUPPORT_DIRECTORY",
                           "/tmp/x", "-IncludeBuiltInScripts",
                           "NO",     "--list"}
            << QVariantMap{{"CUSTOM_APPLICATION_SUPPORT_DIRECTORY", "/tmp/x"},
                           {"IncludeBuiltInScripts", "NO"}}
            << QStringList{"prog", "--list"};
        QTest::newRow("short options stay")
            << QStringList{"prog", "-h", "-v"} << QVariantMap{} << QStringList{"prog", "-h", "-v"};
        QTest::newRow("double dash stays")
            << QStringList{"prog", "--run", "Backup"} << QVariantMap{}
            << QStringList{"prog", "--run", "Backup"};
        // Ignored, not handed to the option parser, which would refuse the whole command line.
        QTest::newRow("key without value") << QStringList{"prog", "--list", "-MainWindowIsPinned"}
                                           << QVariantMap{} << QStringList{"prog", "--list"};
        QTest::newRow("one-letter key") << QStringList{"prog", "-X", "1", "--list"}
                                        << QVariantMap{{"X", "1"}} << QStringList{"prog", "--list"};
        QTest::newRow("value may look like an option")
            << QStringList{"prog", "-SyntaxtHighlightThemeName", "-dark-", "--list"}
            << QVariantMap{{"SyntaxtHighlightThemeName", "-dark-"}}
            << QStringList{"prog", "--list"};
        QTest::newRow("program name is never a key")
            << QStringList{"-weird", "x"} << QVariantMap{} << QStringList{"-weird", "x"};
    }
    void argumentDomainTakesKeyValuePairs()
    {
        QFETCH(QStringList, arguments);
        QFETCH(QVariantMap, domain);
        QFETCH(QStringList, remaining);
        QStringList rest;
        QCOMPARE(Preferences::parseArgumentDomain(arguments, &rest), domain);
        QCOMPARE(rest, remaining);
    }

    void booleansReadTheUsualSpellings_data()
    {
        QTest::addColumn<QVariant>("value");
        QTest::addColumn<bool>("expected");
        QTest::newRow("YES") << QVariant("YES") << true;
        QTest::newRow("yes") << QVariant("yes") << true;
        QTest::newRow("NO") << QVariant("NO") << false;
        QTest::newRow("true") << QVariant("true") << true;
        QTest::newRow("FALSE") << QVariant("FALSE") << false;
        QTest::newRow("0") << QVariant("0") << false;
        QTest::newRow("42") << QVariant("42") << true;
        QTest::newRow("word") << QVariant("maybe") << false;
        QTest::newRow("bool") << QVariant(true) << true;
        QTest::newRow("int 0") << QVariant(0) << false;
        QTest::newRow("absent") << QVariant() << false;
    }
    void booleansReadTheUsualSpellings()
    {
        QFETCH(QVariant, value);
        QFETCH(bool, expected);
        QCOMPARE(Preferences::toBoolean(value), expected);
    }

    void commandLineWinsOverStoredWinsOverDefaults()
    {
        const QString path = m_folder.filePath(QStringLiteral("layers.conf"));
        Preferences preferences(path);
        preferences.registerStandardDefaults();
        QCOMPARE(preferences.boolean(Id::useSyntaxtHighlighting), true);
        QCOMPARE(preferences.boolean(Id::restrictSyntaxHighlight), false);
        QVERIFY(!preferences.contains(Preferences::key(Id::includeBuiltInScripts)));

        preferences.setValue(Id::useSyntaxtHighlighting, false);
        QCOMPARE(preferences.boolean(Id::useSyntaxtHighlighting), false);

        preferences.setArguments({"prog", "-UseSyntaxtHighlighting", "YES"});
        QCOMPARE(preferences.boolean(Id::useSyntaxtHighlighting), true);
        preferences.setValue(Id::useSyntaxtHighlighting, false);
        QCOMPARE(preferences.boolean(Id::useSyntaxtHighlighting), true);

        // Stored values outlive the store; command-line values do not.
        Preferences reopened(path);
        QCOMPARE(reopened.boolean(Id::useSyntaxtHighlighting), false);
        reopened.setValue(Id::syntaxtHighlightThemeName, QStringLiteral("monokai"));
        QCOMPARE(Preferences(path).string(Preferences::key(Id::syntaxtHighlightThemeName)),
                 QStringLiteral("monokai"));
    }

    void everyWriteAnnouncesItsKeyOnce()
    {
        Preferences preferences(m_folder.filePath(QStringLiteral("signals.conf")));
        QSignalSpy keys(&preferences, &Preferences::valueChanged);
        QSignalSpy identifiers(&preferences, &Preferences::changed);

        preferences.setValue(Id::mainWindowIsPinned, true);
        preferences.setValue(Id::mainWindowIsPinned, true);
        preferences.setValue(Preferences::customApplicationSupportDirectoryKey(),
                             QStringLiteral("/tmp/y"));
        preferences.remove(Preferences::key(Id::restrictSyntaxHighlight));

        QCOMPARE(keys.size(), 4);
        QCOMPARE(keys.at(0).at(0).toString(), QStringLiteral("MainWindowIsPinned"));
        QCOMPARE(keys.at(2).at(0).toString(),
                 QStringLiteral("CUSTOM_APPLICATION_SUPPORT_DIRECTORY"));
        QCOMPARE(identifiers.size(), 3);
        QCOMPARE(identifiers.at(2).at(0).value<Id>(), Id::restrictSyntaxHighlight);
    }

    void sharedStoreLivesInTheConfigFolder()
    {
        QVERIFY(Preferences::shared().settingsPath().startsWith(
            qEnvironmentVariable("XDG_CONFIG_HOME")));
        QVERIFY(Preferences::shared().settingsPath().endsWith(
            QStringLiteral("/brambleworth/brambleworth.conf")));
    }
};

BRAMBLEWORTH_TEST_MAIN(TestPreferences)
#include "test_preferences.moc"
