// SPDX-License-Identifier: GPL-3.0-or-later
#include "common/TestEnvironment.h"

#include "QuillonCommons/AppError.h"
#include "QuillonCommons/AppLogger.h"
#include "QuillonCommons/LogCapture.h"
#include "QuillonCommons/Logger.h"
#include "QuillonCommons/StopWatch.h"

#include <QRegularExpression>
#include <QTemporaryFile>

#include <cstdio>
#include <stdexcept>
#include <unistd.h>

namespace {

// What the process writes to its standard error while `work` runs.
template <typename Work>
QByteArray standardErrorOf(Work work)
{
    QTemporaryFile file;
    if (!file.open())
        return "cannot capture";
    std::fflush(stderr);
    const int saved = ::dup(STDERR_FILENO);
    ::dup2(file.handle(), STDERR_FILENO);
    work();
    std::fflush(stderr);
    ::dup2(saved, STDERR_FILENO);
    ::close(saved);
    file.seek(0);
    return file.readAll();
}

} // namespace

class TestLogging : public QObject
{
    Q_OBJECT
private slots:
    void cleanup()
    {
        AppLogger::setLevel(LogLevel::all);
        AppLogger::setStandardErrorLevel(LogLevel::none);
    }

    void levelGatesSeverities_data()
    {
        QTest::addColumn<LogLevel>("level");
        QTest::addColumn<bool>("debug");
        QTest::addColumn<bool>("info");
        QTest::addColumn<bool>("error");
        QTest::newRow("all") << LogLevel::all << true << true << true;
        QTest::newRow("debug") << LogLevel::debug << true << true << true;
        QTest::newRow("info") << LogLevel::info << false << true << true;
        QTest::newRow("warning") << LogLevel::warning << false << false << true;
        QTest::newRow("error") << LogLevel::error << false << false << true;
        QTest::newRow("severe") << LogLevel::severe << false << false << false;
        QTest::newRow("none") << LogLevel::none << false << false << false;
    }
    void levelGatesSeverities()
    {
        QFETCH(LogLevel, level);
        QFETCH(bool, debug);
        QFETCH(bool, info);
        QFETCH(bool, error);
        LogCapture capture;
        AppLogger::setLevel(level);
        AppLogger::debug(QStringLiteral("d"));
        AppLogger::info(QStringLiteral("i"));
        AppLogger::error(QStringLiteral("e"));
        AppLogger::error(AppError(QStringLiteral("failed")), QStringLiteral("f()"), 1);
        QCOMPARE(capture.contains(LogLevel::debug, QStringLiteral("d")), debug);
        QCOMPARE(capture.contains(LogLevel::info, QStringLiteral("i")), info);
        QCOMPARE(capture.contains(LogLevel::error, QStringLiteral("e")), error);
        QCOMPARE(capture.messages(LogLevel::error).size(), error ? 2 : 0);
    }

    // The system's logger here is the one on standard error (there is no journal in a test):
    // mirrored lines must neither be lost below the global level nor doubled above it.
    void standardErrorMirrorsUpToItsOwnLevel_data()
    {
        QTest::addColumn<LogLevel>("level");
        QTest::addColumn<LogLevel>("mirror");
        QTest::addColumn<int>("errorLines");
        QTest::addColumn<int>("debugLines");
        QTest::newRow("errors, nothing logged otherwise")
            << LogLevel::none << LogLevel::error << 1 << 0;
        QTest::newRow("everything, nothing logged otherwise")
            << LogLevel::none << LogLevel::all << 1 << 1;
        QTest::newRow("errors, everything logged") << LogLevel::all << LogLevel::error << 1 << 1;
        QTest::newRow("no mirror") << LogLevel::none << LogLevel::none << 0 << 0;
    }

    void standardErrorMirrorsUpToItsOwnLevel()
    {
        QFETCH(LogLevel, level);
        QFETCH(LogLevel, mirror);
        QFETCH(int, errorLines);
        QFETCH(int, debugLines);
        QVERIFY(AppLogger::logger().writesToStandardError());
        AppLogger::setLevel(level);
        AppLogger::setStandardErrorLevel(mirror);
        QCOMPARE(AppLogger::isEnabled(LogLevel::error), errorLines > 0);
        const QByteArray err = standardErrorOf([] {
            AppLogger::error(AppError(QStringLiteral("broken")), QStringLiteral("f()"), 7);
            AppLogger::debug(QStringLiteral("progress"));
        });
        QCOMPARE(err.count("[error] f():7 error : broken, failure reason: -\n"), errorLines);
        QCOMPARE(err.count("[debug] progress\n"), debugLines);
    }

    void failureLinesNameTheFunctionTheLineAndTheReason()
    {
        LogCapture capture;
        AppLogger::error(AppError(QStringLiteral("The file couldn’t be saved."),
                                  QStringLiteral("Permission denied")),
                         QStringLiteral("subscript(_:)"), 53);
        AppLogger::error(AppError(QStringLiteral("Something failed."), QString()),
                         QStringLiteral("subscript(_:)"), 53);
        // Foreign exceptions use their text.
        AppLogger::error(std::runtime_error("boom"), QStringLiteral("run()"), 7);
        QCOMPARE(
            capture.messages(LogLevel::error),
            (QStringList{QStringLiteral("subscript(_:):53 error : The file couldn’t be saved., "
                                        "failure reason: Permission denied"),
                         QStringLiteral("subscript(_:):53 error : Something failed., failure "
                                        "reason: -"),
                         QStringLiteral("run():7 error : boom, failure reason: -")}));
    }

    void errnoErrorsReadLikeTheSystem()
    {
        const AppError error = AppError::fromErrno(ENOENT, QStringLiteral("cannot open /nope"));
        QCOMPARE(error.failureReason(), QStringLiteral("No such file or directory"));
        QCOMPARE(error.errnoValue(), ENOENT);
        QCOMPARE(QString::fromUtf8(error.what()),
                 QStringLiteral("cannot open /nope: No such file or directory"));
    }

    void loggerFactoryIsFixedOnceUsed()
    {
        AppLogger::logger();
        QVERIFY(!AppLogger::setLoggerFactory([] { return std::unique_ptr<Logger>(); }));
    }

    void measurementsPrintLikeFloatingPointValues_data()
    {
        QTest::addColumn<double>("value");
        QTest::addColumn<DurationUnit>("unit");
        QTest::addColumn<QString>("expected");
        QTest::newRow("zero") << 0.0 << DurationUnit::milliseconds << "0.0 ms";
        QTest::newRow("fraction") << 1.25 << DurationUnit::seconds << "1.25 s";
        QTest::newRow("whole") << 3.0 << DurationUnit::microseconds << "3.0 µs";
        QTest::newRow("minutes") << 0.5 << DurationUnit::minutes << "0.5 min";
        QTest::newRow("hours") << 2.0 << DurationUnit::hours << "2.0 hr";
        // Plain form from 0.0001 up to 2^53, exponent form outside.
        QTest::newRow("a hundred thousand")
            << 100000.0 << DurationUnit::nanoseconds << "100000.0 ns";
        QTest::newRow("three billion") << 3e9 << DurationUnit::nanoseconds << "3000000000.0 ns";
        QTest::newRow("digits on both sides")
            << 1234.5678 << DurationUnit::milliseconds << "1234.5678 ms";
        QTest::newRow("small fraction") << 0.0003 << DurationUnit::seconds << "0.0003 s";
        QTest::newRow("smallest plain") << 0.0001 << DurationUnit::seconds << "0.0001 s";
        QTest::newRow("below plain") << 0.00001 << DurationUnit::seconds << "1e-05 s";
        QTest::newRow("below plain with digits") << 0.000015 << DurationUnit::hours << "1.5e-05 hr";
        QTest::newRow("largest plain")
            << 9007199254740992.0 << DurationUnit::nanoseconds << "9007199254740992.0 ns";
        QTest::newRow("above plain") << 1e16 << DurationUnit::nanoseconds << "1e+16 ns";
        QTest::newRow("above plain with digits")
            << 1.25e17 << DurationUnit::nanoseconds << "1.25e+17 ns";
        QTest::newRow("three-digit exponent") << 1e-300 << DurationUnit::seconds << "1e-300 s";
        QTest::newRow("negative") << -0.5 << DurationUnit::seconds << "-0.5 s";
    }
    void measurementsPrintLikeFloatingPointValues()
    {
        QFETCH(double, value);
        QFETCH(DurationUnit, unit);
        QFETCH(QString, expected);
        QCOMPARE(DurationMeasurement({value, unit}).description(), expected);
    }

    void stopWatchLaterReadingsCarryTheStep()
    {
        StopWatch watch;
        watch.elapsed(DurationUnit::nanoseconds);
        const std::uint64_t first = watch.last();
        QTest::qSleep(2);
        const std::uint64_t elapsed = watch.elapsedInteger(DurationUnit::nanoseconds);
        QVERIFY(watch.delta() >= 2'000'000u);
        QCOMPARE(watch.delta(), watch.last() - first);
        QCOMPARE(elapsed, watch.current() - watch.start());
    }

    void stopWatchFirstReadingHasNoDelta_data()
    {
        // Empty parts are left out of the description.
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("label");
        QTest::addColumn<QString>("pattern");
        QTest::newRow("both") << "load"
                              << "scripts"
                              << "^load:scripts [0-9.e-]+ s \\(\\+0\\.0 s\\)$";
        QTest::newRow("neither") << QString() << QString() << "^[0-9.e-]+ s \\(\\+0\\.0 s\\)$";
        QTest::newRow("name only") << "n" << QString() << "^n:[0-9.e-]+ s \\(";
        QTest::newRow("label only") << QString() << "l"
                                    << "^l [0-9.e-]+ s \\(";
    }
    void stopWatchFirstReadingHasNoDelta()
    {
        QFETCH(QString, name);
        QFETCH(QString, label);
        QFETCH(QString, pattern);
        StopWatch watch(name);
        const QString text = watch.description(label, DurationUnit::seconds);
        QVERIFY2(QRegularExpression(pattern).match(text).hasMatch(), qPrintable(text));
        QCOMPARE(watch.delta(), 0u);
        QVERIFY(watch.last() >= watch.start());
    }
};

BRAMBLEWORTH_TEST_MAIN(TestLogging)
#include "test_logging.moc"
