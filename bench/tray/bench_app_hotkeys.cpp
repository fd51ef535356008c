// SPDX-License-Identifier: GPL-3.0-or-later
// Hot keys through the running application: launch until a hot key starts its script, then
// an XTest key press until the script's first instruction runs (its interpreter line is a
// program that writes the monotonic clock to a file). Needs an X display and a session bus;
// without them it runs itself under `dbus-run-session -- xvfb-run -a`.
#include "BenchSupport.h"

#include "Model/Script.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>

#include <poll.h>
#include <sys/inotify.h>
#include <unistd.h>
#include <xcb/xcb.h>
#include <xcb/xtest.h>

namespace {

// X keycodes on a PC keyboard: Control_L, Alt_L, k.
constexpr quint8 controlKey = 37;
constexpr quint8 altKey = 64;
constexpr quint8 kKey = 45;
// Control and option, as stored in HotKeys.json.
constexpr quint64 controlOption = (1u << 18) | (1u << 19);

class Keyboard
{
public:
    Keyboard() : m_connection(xcb_connect(nullptr, nullptr))
    {
        if (xcb_connection_has_error(m_connection))
            qFatal("no X display");
    }
    ~Keyboard() { xcb_disconnect(m_connection); }
    Keyboard(const Keyboard&) = delete;
    Keyboard& operator=(const Keyboard&) = delete;

    // Presses control+alt, then answers the clock as k goes down; releases all three after.
    std::int64_t pressCombination()
    {
        fake(XCB_KEY_PRESS, controlKey);
        fake(XCB_KEY_PRESS, altKey);
        sync();
        const std::int64_t at = bench::monotonicNs();
        fake(XCB_KEY_PRESS, kKey);
        xcb_flush(m_connection);
        return at;
    }
    void release()
    {
        fake(XCB_KEY_RELEASE, kKey);
        fake(XCB_KEY_RELEASE, altKey);
        fake(XCB_KEY_RELEASE, controlKey);
        sync();
    }

private:
    void fake(quint8 type, quint8 key)
    {
        xcb_test_fake_input(m_connection, type, key, XCB_CURRENT_TIME, XCB_NONE, 0, 0, 0);
    }
    void sync()
    {
        free(xcb_get_input_focus_reply(m_connection, xcb_get_input_focus(m_connection), nullptr));
    }
    xcb_connection_t* m_connection;
};

// The stamp file, watched: the bench sleeps until the script has written it, as the reference
// daemon's bench sleeps in waitpid(). Polling would take the CPU the script starts on.
class Stamp
{
public:
    explicit Stamp(const QString& folder)
        : m_path(folder + QStringLiteral("/stamp")), m_inotify(inotify_init1(IN_CLOEXEC))
    {
        if (m_inotify < 0 ||
            inotify_add_watch(m_inotify, QFile::encodeName(folder).constData(), IN_CLOSE_WRITE) < 0)
            qFatal("cannot watch the stamp folder");
    }
    ~Stamp() { ::close(m_inotify); }
    Stamp(const Stamp&) = delete;
    Stamp& operator=(const Stamp&) = delete;

    const QString& path() const { return m_path; }

    void clear()
    {
        QFile::remove(m_path);
        drain();
    }

    // The stamp the script wrote, once it has; 0 on a timeout.
    std::int64_t wait(int timeoutMs)
    {
        const std::int64_t deadline = bench::monotonicNs() + std::int64_t(timeoutMs) * 1000000;
        for (;;) {
            if (const std::int64_t stamp = read())
                return stamp;
            const std::int64_t left = deadline - bench::monotonicNs();
            if (left <= 0)
                return 0;
            pollfd watch{m_inotify, POLLIN, 0};
            const timespec timeout{time_t(left / 1000000000), long(left % 1000000000)};
            if (ppoll(&watch, 1, &timeout, nullptr) > 0)
                drain();
        }
    }

private:
    std::int64_t read() const
    {
        QFile file(m_path);
        if (!file.open(QIODevice::ReadOnly))
            return 0;
        return file.readAll().trimmed().toLongLong();
    }
    void drain()
    {
        pollfd watch{m_inotify, POLLIN, 0};
        char events[4096];
        while (::poll(&watch, 1, 0) > 0 && ::read(m_inotify, events, sizeof events) > 0) {
        }
    }

    QString m_path;
    int m_inotify;
};

} // namespace

int main(int argc, char** argv)
{
    bench::ensureDisplayAndBus(argv);
    QCoreApplication app(argc, argv);
    const QString binaries = QCoreApplication::applicationDirPath();

    QTemporaryDir home;
    const QString data = home.filePath(QStringLiteral("data/org.brambleworth.Brambleworth"));
    QDir().mkpath(data);
    const QString stamps = home.filePath(QStringLiteral("stamps"));
    QDir().mkpath(stamps);
    Stamp stamp(stamps);
    const QString stampFile = stamp.path();
    // The kernel starts the stamp program as the script's interpreter, with the file to write.
    const ScriptPtr script =
        Script::create(QStringLiteral("Stamp"),
                       QStringLiteral("#!%1/hotkeys_stamp %2\n").arg(binaries, stampFile), false);
    QFile library(data + QStringLiteral("/Brambleworth.json"));
    QFile hotKeys(data + QStringLiteral("/HotKeys.json"));
    if (!library.open(QIODevice::WriteOnly) ||
        library.write(*Script::encodeLibrary({script})) < 0 ||
        !hotKeys.open(QIODevice::WriteOnly) ||
        hotKeys.write(QStringLiteral("[{\"id\":\"%1\",\"key\":\"k\",\"modifiers\":%2}]")
                          .arg(script->id())
                          .arg(controlOption)
                          .toUtf8()) < 0)
        qFatal("cannot write the library");
    library.close();
    hotKeys.close();
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("XDG_DATA_HOME"), home.filePath(QStringLiteral("data")));
    environment.insert(QStringLiteral("XDG_CONFIG_HOME"), home.filePath(QStringLiteral("config")));
    // On a desktop XDG_RUNTIME_DIR is a tmpfs (/run/user/UID); /dev/shm is one here too.
    QTemporaryDir tmpfsRuntime(QStringLiteral("/dev/shm/bench_app_hotkeys-XXXXXX"));
    const QString runtime =
        tmpfsRuntime.isValid() ? tmpfsRuntime.path() : home.filePath(QStringLiteral("runtime"));
    QDir().mkpath(runtime);
    QFile::setPermissions(runtime, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    environment.insert(QStringLiteral("XDG_RUNTIME_DIR"), runtime);

    Keyboard keyboard;
    std::vector<double> launches;
    std::vector<double> latencies;
    for (int round = 0; round < 5; ++round) {
        stamp.clear();
        QProcess process;
        process.setProcessEnvironment(environment);
        process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        const std::int64_t start = bench::monotonicNs();
        process.start(binaries + QStringLiteral("/brambleworth"), {});
        // The combination every 2 ms until one reaches the script: an upper bound of the moment
        // the grab became active, by the press-to-script latency and the 2 ms step.
        std::int64_t started = 0;
        while (!started && bench::monotonicNs() - start < 10'000'000'000) {
            keyboard.pressCombination();
            keyboard.release();
            started = stamp.wait(2);
        }
        if (!started)
            qFatal("the hot key never started its script");
        launches.push_back(double(started - start) / 1e6);
        ::usleep(200000);

        for (int press = 0; press < 41; ++press) {
            stamp.clear();
            const std::int64_t pressed = keyboard.pressCombination();
            const std::int64_t ran = stamp.wait(2000);
            keyboard.release();
            if (!ran)
                qFatal("a press did not start the script");
            latencies.push_back(double(ran - pressed) / 1e6);
            ::usleep(20000);
        }
        process.terminate();
        process.waitForFinished(5000);
    }
    bench::report("launch to hot keys active (upper bound)", launches, "(goal < 150 ms)");
    bench::report("hot key press (XTest) to the script's first instruction", latencies,
                  "(goal < 1.0 ms; sxhkd 2.3 ms, a grab-and-exec daemon 0.8 ms)");
    return 0;
}
