// SPDX-License-Identifier: GPL-3.0-or-later
#include "App/BrambleworthApp.h"

#include "App/BrambleworthAppDelegate.h"

#include <QSocketNotifier>

#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <unistd.h>

namespace {

int s_signalPipe[2] = {-1, -1};

void onTerminationSignal(int)
{
    const int saved = errno;
    const char byte = 1;
    [[maybe_unused]] const ssize_t written = ::write(s_signalPipe[1], &byte, 1);
    errno = saved;
}

} // namespace

BrambleworthApp::BrambleworthApp(int& argc, char** argv) : QApplication(argc, argv)
{
    setQuitOnLastWindowClosed(false);
}

BrambleworthApp::~BrambleworthApp()
{
    // The delegate's windows go while the application still exists.
    m_appDelegate.reset();
}

BrambleworthAppDelegate* BrambleworthApp::makeDelegate(ScriptsManager& scriptsManager,
                                                       Preferences& preferences)
{
    m_appDelegate = std::make_unique<BrambleworthAppDelegate>(scriptsManager, preferences);
    connect(this, &QCoreApplication::aboutToQuit, m_appDelegate.get(),
            &BrambleworthAppDelegate::applicationWillTerminate);
    return m_appDelegate.get();
}

void BrambleworthApp::quitOnTerminationSignals()
{
    if (s_signalPipe[0] >= 0 || ::pipe2(s_signalPipe, O_CLOEXEC | O_NONBLOCK) != 0)
        return;
    auto* notifier = new QSocketNotifier(s_signalPipe[0], QSocketNotifier::Read, this);
    connect(notifier, &QSocketNotifier::activated, this, [] {
        char bytes[16];
        while (::read(s_signalPipe[0], bytes, sizeof bytes) > 0) {
        }
        QCoreApplication::quit();
    });
    struct sigaction action
    {};
    action.sa_handler = &onTerminationSignal;
    sigemptyset(&action.sa_mask);
    action.sa_flags = SA_RESTART;
    for (const int signal : {SIGTERM, SIGINT, SIGHUP})
        ::sigaction(signal, &action, nullptr);
}
