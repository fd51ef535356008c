// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QApplication>

#include <memory>

class BrambleworthAppDelegate;
class Preferences;
class ScriptsManager;

// The tray application: a QApplication that keeps running with no window open, and its
// delegate.
class BrambleworthApp : public QApplication
{
    Q_OBJECT
public:
    BrambleworthApp(int& argc, char** argv);
    ~BrambleworthApp() override;

    // Made once the preferences are wired.
    BrambleworthAppDelegate* makeDelegate(ScriptsManager& scriptsManager, Preferences& preferences);
    BrambleworthAppDelegate* appDelegate() const { return m_appDelegate.get(); }

    // SIGTERM, SIGINT and SIGHUP (a session ending) quit through the event loop, so the
    // library is saved as on "Quit".
    void quitOnTerminationSignals();

private:
    std::unique_ptr<BrambleworthAppDelegate> m_appDelegate;
};
