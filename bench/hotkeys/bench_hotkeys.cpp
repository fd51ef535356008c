// SPDX-License-Identifier: GPL-3.0-or-later
// Latency of a global hot key: from an XTest key press to the press handler, and to a child
// process started from the handler (a binary, and a /bin/sh script that starts the binary).
// Runs on its own Xvfb; with BRAMBLEWORTH_BENCH_USE_DISPLAY set, on $DISPLAY (xvfb-run).
#include "BenchSupport.h"
#include "HotKeys/HotKeyManager.h"
#include "HotKeys/KeyboardLayout.h"
#include "platform/x11/X11HotKeys.h"

#include <QCoreApplication>
#include <QDir>
#include <QEventLoop>
#include <QFile>
#include <QGuiApplication>
#include <QProcess>
#include <QTemporaryDir>
#include <QTimer>

#include <xcb/xcb.h>
#include <xcb/xtest.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <memory>
#include <spawn.h>
#include <sys/wait.h>
#include <vector>

extern char** environ;

namespace {

constexpr int presses = 100;
constexpr int warmUp = 5;
// X keycodes on a PC keyboard: Control_L, Alt_L, k.
constexpr quint8 controlKey = 37;
constexpr quint8 altKey = 64;
constexpr quint8 kKey = 45;

qint64 now()
{
    timespec time{};
    clock_gettime(CLOCK_MONOTONIC, &time);
    return qint64(time.tv_sec) * 1000000000 + time.tv_nsec;
}

void print(const char* what, const std::vector<qint64>& nanoseconds)
{
    std::vector<double> milliseconds;
    for (const qint64 sample : nanoseconds)
        milliseconds.push_back(double(sample) / 1e6);
    std::printf("%-46s median %6.2f ms   p90 %6.2f ms   (%zu presses)\n", what,
                bench::median(milliseconds), bench::percentile(milliseconds, 0.9),
                nanoseconds.size());
}

// Starts Xvfb on a free display and points DISPLAY at it.
std::unique_ptr<QProcess> startXvfb()
{
    auto xvfb = std::make_unique<QProcess>();
    xvfb->setProgram(QStringLiteral("Xvfb"));
    xvfb->setArguments({"-displayfd", "1", "-nolisten", "tcp", "-screen", "0", "640x480x24"});
    xvfb->start();
    if (!xvfb->waitForStarted(5000) || !xvfb->waitForReadyRead(10000))
        return nullptr;
    const QByteArray number = xvfb->readLine().trimmed();
    qputenv("DISPLAY", ":" + number);
    return xvfb;
}

class Bench
{
public:
    bool setUp()
    {
        m_xtest = xcb_connect(nullptr, nullptr);
        if (xcb_connection_has_error(m_xtest))
            return false;
        if (!m_folder.isValid())
            return false;
        m_stamp = QCoreApplication::applicationDirPath() + QStringLiteral("/hotkeys_stamp");
        m_script = m_folder.filePath(QStringLiteral("hotkey.sh"));
        QFile script(m_script);
        if (!script.open(QIODevice::WriteOnly))
            return false;
        script.write("#!/bin/sh\nexec \"" + QFile::encodeName(m_stamp) + "\" \"$1\"\n");
        script.close();
        script.setPermissions(QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
        m_output = QFile::encodeName(m_folder.filePath(QStringLiteral("stamp")));

        if (!X11HotKeys::install(KeyboardLayout::shared()))
            return false;
        HotKeyManager::installEventHandler();
        return HotKeyManager::registerHotKey(QStringLiteral("bench"), QStringLiteral("k"),
                                             ModifierFlag::control | ModifierFlag::option,
                                             [this](const QString&, HotKeyManager::State state) {
                                                 if (state == HotKeyManager::State::down)
                                                     pressed();
                                             });
    }

    // One press of ctrl+alt+k; answers false on a timeout.
    bool press(const QByteArray& child)
    {
        m_child = child;
        m_handlerAt = 0;
        m_pid = -1;
        QFile::remove(QFile::decodeName(m_output));
        fake(XCB_KEY_PRESS, controlKey);
        fake(XCB_KEY_PRESS, altKey);
        xcb_flush(m_xtest);
        // The modifiers are down before the key; the clock starts with the key itself.
        xcb_aux_sync();
        m_pressedAt = now();
        fake(XCB_KEY_PRESS, kKey);
        xcb_flush(m_xtest);

        QEventLoop loop;
        m_loop = &loop;
        QTimer::singleShot(2000, &loop, &QEventLoop::quit);
        loop.exec();
        m_loop = nullptr;

        fake(XCB_KEY_RELEASE, kKey);
        fake(XCB_KEY_RELEASE, altKey);
        fake(XCB_KEY_RELEASE, controlKey);
        xcb_flush(m_xtest);
        if (!m_handlerAt || m_pid < 0)
            return false;
        int status = 0;
        waitpid(m_pid, &status, 0);
        QFile output(QFile::decodeName(m_output));
        if (!output.open(QIODevice::ReadOnly))
            return false;
        m_childAt = output.readAll().trimmed().toLongLong();
        return m_childAt > 0;
    }

    qint64 handlerLatency() const { return m_handlerAt - m_pressedAt; }
    qint64 childLatency() const { return m_childAt - m_pressedAt; }
    QByteArray binary() const { return QFile::encodeName(m_stamp); }
    QByteArray script() const { return QFile::encodeName(m_script); }

private:
    void pressed()
    {
        m_handlerAt = now();
        char* argv[] = {m_child.data(), m_output.data(), nullptr};
        pid_t pid = -1;
        if (posix_spawn(&pid, m_child.constData(), nullptr, nullptr, argv, environ) == 0)
            m_pid = pid;
        if (m_loop)
            m_loop->quit();
    }

    void fake(quint8 type, quint8 keyCode)
    {
        xcb_test_fake_input(m_xtest, type, keyCode, XCB_CURRENT_TIME, XCB_NONE, 0, 0, 0);
    }

    void xcb_aux_sync()
    {
        free(xcb_get_input_focus_reply(m_xtest, xcb_get_input_focus(m_xtest), nullptr));
    }

    xcb_connection_t* m_xtest = nullptr;
    QTemporaryDir m_folder;
    QString m_stamp;
    QString m_script;
    QByteArray m_output;
    QByteArray m_child;
    QEventLoop* m_loop = nullptr;
    qint64 m_pressedAt = 0;
    qint64 m_handlerAt = 0;
    qint64 m_childAt = 0;
    pid_t m_pid = -1;
};

} // namespace

int main(int argc, char** argv)
{
    std::unique_ptr<QProcess> xvfb;
    // Key presses go to a private server unless asked otherwise: faked presses on someone's
    // desktop would reach their windows.
    if (qEnvironmentVariableIsEmpty("DISPLAY") ||
        !qEnvironmentVariableIsSet("BRAMBLEWORTH_BENCH_USE_DISPLAY")) {
        xvfb = startXvfb();
        if (!xvfb) {
            std::printf("bench_hotkeys: no display and Xvfb could not be started\n");
            return 1;
        }
    }
    qputenv("QT_QPA_PLATFORM", "xcb");
    int status = 0;
    {
        QGuiApplication app(argc, argv);
        QProcess::execute(QStringLiteral("setxkbmap"), {QStringLiteral("us")});
        Bench bench;
        if (!bench.setUp()) {
            std::printf("bench_hotkeys: cannot set up the hot key (X server, layout or grab)\n");
            status = 1;
        } else {
            std::vector<qint64> handler;
            std::vector<qint64> childBinary;
            std::vector<qint64> childScript;
            for (const auto& [child, samples] : {std::pair{bench.binary(), &childBinary},
                                                 std::pair{bench.script(), &childScript}}) {
                for (int i = 0; i < warmUp + presses && status == 0; ++i) {
                    if (!bench.press(child)) {
                        std::printf("bench_hotkeys: press %d was not delivered\n", i);
                        status = 1;
                    } else if (i >= warmUp) {
                        handler.push_back(bench.handlerLatency());
                        samples->push_back(bench.childLatency());
                    }
                }
            }
            if (status == 0) {
                std::printf("hot key latency, XTest press of ctrl+alt+k on %s\n",
                            qgetenv("DISPLAY").constData());
                print("press -> handler call", handler);
                print("press -> child started (binary, posix_spawn)", childBinary);
                print("press -> child started (/bin/sh script)", childScript);
            }
        }
        HotKeyManager::unregisterAll();
    }
    if (xvfb) {
        xvfb->terminate();
        xvfb->waitForFinished(5000);
    }
    return status;
}
