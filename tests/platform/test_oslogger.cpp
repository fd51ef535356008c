// SPDX-License-Identifier: GPL-3.0-or-later
#include "common/TestEnvironment.h"

#include "QuillonCommons/DefaultLogger.h"
#include "platform/linux/OSLogger.h"

#include <QTemporaryDir>

#include <sys/socket.h>
#include <sys/un.h>
#include <syslog.h>
#include <unistd.h>

#include <cstring>

class TestOSLogger : public QObject
{
    Q_OBJECT
private slots:
    void severitiesMapToJournalPriorities_data()
    {
        QTest::addColumn<LogLevel>("severity");
        QTest::addColumn<int>("priority");
        QTest::newRow("severe") << LogLevel::severe << LOG_CRIT;
        QTest::newRow("error") << LogLevel::error << LOG_ERR;
        QTest::newRow("warning") << LogLevel::warning << LOG_WARNING;
        QTest::newRow("notice") << LogLevel::notice << LOG_NOTICE;
        QTest::newRow("info") << LogLevel::info << LOG_INFO;
        QTest::newRow("debug") << LogLevel::debug << LOG_DEBUG;
    }
    void severitiesMapToJournalPriorities()
    {
        QFETCH(LogLevel, severity);
        QFETCH(int, priority);
        QCOMPARE(OSLogger::priority(severity), priority);
    }

    void theJournalIsUsedOnlyWhenItsSocketAnswers()
    {
        QTemporaryDir folder;
        const QString path = folder.filePath(QStringLiteral("socket"));
        QVERIFY(!OSLogger::isJournalReachable(path));

        const int fd = ::socket(AF_UNIX, SOCK_DGRAM, 0);
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        const QByteArray native = QFile::encodeName(path);
        std::memcpy(address.sun_path, native.constData(), size_t(native.size()));
        QCOMPARE(::bind(fd, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
        QVERIFY(OSLogger::isJournalReachable(path));
        ::close(fd);
        QVERIFY(!OSLogger::isJournalReachable(path)); // the file is left, nobody listens

        QVERIFY(!OSLogger::isJournalReachable(QString(200, QLatin1Char('x'))));
    }

    void withoutAJournalLinesGoToStandardError()
    {
        if (OSLogger::isJournalReachable())
            QSKIP("this machine has a journal");
        const std::unique_ptr<Logger> logger = OSLogger::makeSystemLogger();
        QVERIFY(dynamic_cast<DefaultLogger*>(logger.get()));
    }
};

BRAMBLEWORTH_TEST_MAIN(TestOSLogger)
#include "test_oslogger.moc"
