// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "App/Appcast.h"

#include <QDateTime>
#include <QObject>
#include <QPointer>
#include <QSet>
#include <QTimer>
#include <QUrl>

#include <memory>
#include <optional>

class Preferences;
class QMessageBox;
class QNetworkAccessManager;
class QNetworkReply;
class QWidget;

// The update checker: fetches the appcast from the build's feed URL, compares its newest
// release with the running version and tells people about a newer one. Its settings live in
// the preferences store under the keys Sparkle uses.
class UpdaterController : public QObject
{
    Q_OBJECT
    Q_PROPERTY(bool automaticallyChecksForUpdates READ automaticallyChecksForUpdates WRITE
                   setAutomaticallyChecksForUpdates NOTIFY automaticallyChecksForUpdatesChanged)
public:
    enum class Outcome
    {
        updateFound,
        upToDate,
        failed,
    };
    Q_ENUM(Outcome)

    UpdaterController(const QUrl& feedURL, QString currentVersion, Preferences* preferences,
                      QObject* parent = nullptr);
    ~UpdaterController() override;

    // The updater of a build with a non-empty feed URL, started, with automatic checks on; for
    // an empty one, nothing (logged).
    static std::unique_ptr<UpdaterController>
    makeIfConfigured(const QString& feedURL, Preferences* preferences, QObject* parent = nullptr);

    static QString automaticChecksKey();
    static QString lastCheckTimeKey();
    static QString betaUpdatesKey();

    QUrl feedURL() const { return m_feedURL; }
    QString currentVersion() const { return m_currentVersion; }

    bool automaticallyChecksForUpdates() const;
    void setAutomaticallyChecksForUpdates(bool on);
    std::optional<QDateTime> lastUpdateCheckDate() const;

    // The updater delegate's answers: no channel beyond the default one is ever offered.
    QSet<QString> allowedChannels() const { return {}; }
    bool supportsGentleScheduledUpdateReminders() const { return true; }

    // Checks at once when automatic checks are on, then every day while they stay on.
    void startUpdater();
    bool isChecking() const;

    void setTransferTimeout(int milliseconds) { m_transferTimeout = milliseconds; }
    // How old the last check may grow before the schedule checks again (a day).
    void setCheckInterval(qint64 milliseconds);
    void setDialogParent(QWidget* parent) { m_dialogParent = parent; }
    // The answer shown for the last check, while it is open.
    QMessageBox* currentAlert() const;

public slots:
    // "Check Updates…": checks now and always answers, also when up to date or failing.
    void checkForUpdates();
    // The scheduled check: answers only when there is a newer version; errors are logged.
    void checkForUpdatesInBackground();

signals:
    void automaticallyChecksForUpdatesChanged(bool on);
    void lastUpdateCheckDateChanged();
    void checkFinished(UpdaterController::Outcome outcome);

private:
    void startCheck(bool userInitiated);
    void finishCheck();
    void scheduledTick();
    void fail(const QString& description, const QString& reason);
    void showAlert(const QString& title, const QString& text, const QString& informative);
    void showUpdate(const AppcastItem& item);

    QUrl m_feedURL;
    QString m_currentVersion;
    QPointer<Preferences> m_preferences;
    std::unique_ptr<QNetworkAccessManager> m_network;
    QPointer<QNetworkReply> m_reply;
    bool m_userInitiated = false;
    bool m_started = false;
    int m_transferTimeout = 30000;
    qint64 m_checkInterval = 0;
    QTimer m_schedule;
    QPointer<QWidget> m_dialogParent;
    QPointer<QMessageBox> m_alert;
};
