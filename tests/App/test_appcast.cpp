// SPDX-License-Identifier: GPL-3.0-or-later
#include "common/TestEnvironment.h"

#include "App/Appcast.h"
#include "App/VersionComparator.h"
#include "QuillonCommons/AppError.h"

namespace {
// data/appcast.xml is shaped like the feeds Sparkle publishers generate: versions on the
// enclosure in older items, as elements in newer ones, a beta on its own channel.
QByteArray readFeed()
{
    return TestEnvironment::readFile(TestEnvironment::dataFolder() +
                                     QStringLiteral("/App/data/appcast.xml"));
}
} // namespace

class TestAppcast : public QObject
{
    Q_OBJECT
private slots:
    void versionsCompareTheSparkleWay_data()
    {
        QTest::addColumn<QString>("older");
        QTest::addColumn<QString>("newer");
        QTest::newRow("numeric, not textual") << "1.9"
                                              << "1.10";
        QTest::newRow("longer numeric") << "1.0"
                                        << "1.0.1";
        QTest::newRow("beta before release") << "1.0b1"
                                             << "1.0";
        QTest::newRow("betas in order") << "1.0b1"
                                        << "1.0b2";
        QTest::newRow("alpha before beta") << "2.0a3"
                                           << "2.0b1";
        QTest::newRow("beta of next") << "1.0"
                                      << "1.1b1";
        QTest::newRow("number above text") << "1.a"
                                           << "1.1";
        QTest::newRow("number above period") << "1..1"
                                             << "1.1";
        QTest::newRow("digits beyond 64 bits") << "1.99999999999999999999"
                                               << "1.100000000000000000000";
        QTest::newRow("build numbers") << "41"
                                       << "112";
    }

    void versionsCompareTheSparkleWay()
    {
        QFETCH(QString, older);
        QFETCH(QString, newer);
        QCOMPARE(VersionComparator::compare(older, newer), -1);
        QCOMPARE(VersionComparator::compare(newer, older), 1);
        QCOMPARE(VersionComparator::compare(newer, newer), 0);
    }

    void equalSpellings_data()
    {
        QTest::addColumn<QString>("a");
        QTest::addColumn<QString>("b");
        QTest::newRow("leading zeros") << "1.01"
                                       << "1.1";
        QTest::newRow("spaces only separate") << "1.0 b1"
                                              << "1.0b1";
    }

    void equalSpellings()
    {
        QFETCH(QString, a);
        QFETCH(QString, b);
        QCOMPARE(VersionComparator::compare(a, b), 0);
    }

    void feedItemsAreRead()
    {
        const QList<AppcastItem> items = Appcast::parse(readFeed());
        QCOMPARE(items.size(), 3); // the item without a version is skipped
        const AppcastItem& latest = items.at(0);
        QCOMPARE(latest.version, QStringLiteral("1.2"));
        QCOMPARE(latest.displayVersionString(), QStringLiteral("1.2 \"Hawthorn\""));
        QCOMPARE(latest.releaseNotesURL,
                 QUrl(QStringLiteral("https://brambleworth.example/notes/1.2.html")));
        QCOMPARE(latest.downloadPage(),
                 QUrl(QStringLiteral("https://brambleworth.example/releases/1.2")));
        QCOMPARE(latest.date, QDateTime(QDate(2026, 11, 2), QTime(10, 0), Qt::UTC));
        QCOMPARE(items.at(1).channel, QStringLiteral("beta"));
        // Versions on the enclosure; without a <link> the download is the file itself.
        QCOMPARE(items.at(2).version, QStringLiteral("1.1"));
        QCOMPARE(items.at(2).downloadPage(),
                 QUrl(QStringLiteral("https://brambleworth.example/dl/brambleworth-1.1.tar.xz")));
    }

    void newerItemAgainstTheRunningVersion_data()
    {
        QTest::addColumn<QString>("running");
        QTest::addColumn<QStringList>("channels");
        QTest::addColumn<QString>("offered"); // empty: nothing newer
        QTest::newRow("older running") << "1.1" << QStringList{} << "1.2";
        QTest::newRow("same") << "1.2" << QStringList{} << "";
        QTest::newRow("newer running") << "1.3" << QStringList{} << "";
        QTest::newRow("a beta of the same is older") << "1.2b4" << QStringList{} << "1.2";
        QTest::newRow("beta channel ignored by default") << "1.2" << QStringList{} << "";
        QTest::newRow("beta channel when allowed") << "1.2" << QStringList{"beta"} << "1.3b1";
    }

    void newerItemAgainstTheRunningVersion()
    {
        QFETCH(QString, running);
        QFETCH(QStringList, channels);
        QFETCH(QString, offered);
        const auto item = Appcast::newerItem(Appcast::parse(readFeed()), running,
                                             QSet<QString>(channels.cbegin(), channels.cend()));
        QCOMPARE(item ? item->version : QString(), offered);
    }

    void brokenFeedsAreFailures_data()
    {
        QTest::addColumn<QByteArray>("text");
        QTest::newRow("malformed XML") << QByteArray("<rss><channel><item></channel></rss>");
        QTest::newRow("truncated") << readFeed().left(readFeed().size() / 2);
        QTest::newRow("undeclared prefix")
            << QByteArray("<rss><channel><item><sparkle:version>2</sparkle:version></item>"
                          "</channel></rss>");
        QTest::newRow("HTML error page")
            << QByteArray("<html><body><h1>404 Not Found</h1></body></html>");
        QTest::newRow("empty") << QByteArray();
    }

    void brokenFeedsAreFailures()
    {
        QFETCH(QByteArray, text);
        QVERIFY_THROWS_EXCEPTION(AppError, Appcast::parse(text));
    }

    void anEmptyChannelOffersNothing()
    {
        const auto items =
            Appcast::parse("<rss version=\"2.0\"><channel><title>x</title></channel></rss>");
        QVERIFY(items.isEmpty());
        QVERIFY(!Appcast::newerItem(items, QStringLiteral("0.1")));
    }
};

BRAMBLEWORTH_TEST_MAIN(TestAppcast)
#include "test_appcast.moc"
