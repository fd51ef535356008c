// SPDX-License-Identifier: GPL-3.0-or-later
#include "App/UpdaterController.h"

#include "BuildConfig.h"
#include "Model/Preferences.h"
#include "QuillonCommons/AppError.h"
#include "QuillonCommons/AppLogger.h"

#include <QDesktopServices>
#include <QMessageBox>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QNetworkRequest>
#include <QPushButton>

#include <algorithm>

namespace {
constexpr qint64 oneDayMilliseconds = 24 * 60 * 60 * 1000;
// The schedule looks every hour whether a day has passed, so a suspended machine catches up.
constexpr qint64 scheduleTickMilliseconds = 60 * 60 * 1000;
} // namespace

UpdaterController::UpdaterController(const QUrl& feedURL, QString currentVersion,
                                     Preferences* preferences, QObject* parent)
    : QObject(parent), m_feedURL(feedURL), m_currentVersion(std::move(currentVersion)),
      m_preferences(preferences), m_network(std::make_unique<QNetworkAccessManager>())
{
    setCheckInterval(oneDayMilliseconds);
    connect(&m_schedule, &QTimer::timeout, this, &UpdaterController::scheduledTick);
}

UpdaterController::~UpdaterController()
{
    // A check still under way ends quietly: nobody waits for its answer any more.
    if (m_reply) {
        m_reply->disconnect(this);
        m_reply->abort();
    }
    if (m_alert)
        delete m_alert.data();
}

std::unique_ptr<UpdaterController> UpdaterController::makeIfConfigured(const QString& feedURL,
                                                                       Preferences* preferences,
                                                                       QObject* parent)
{
    if (feedURL.trimmed().isEmpty()) {
        AppLogger::error(QStringLiteral("SUFeedURL is not defined in Info.plist or empty"));
        return nullptr;
    }
    auto updater = std::make_unique<UpdaterController>(
        QUrl(feedURL.trimmed()), QStringLiteral(BRAMBLEWORTH_VERSION), preferences, parent);
    updater->setAutomaticallyChecksForUpdates(true);
    updater->startUpdater();
    return updater;
}

bool UpdaterController::isChecking() const
{
    return !m_reply.isNull();
}

QMessageBox* UpdaterController::currentAlert() const
{
    return m_alert.data();
}

QString UpdaterController::automaticChecksKey()
{
    return QStringLiteral("SUEnableAutomaticChecks");
}

QString UpdaterController::lastCheckTimeKey()
{
    return QStringLiteral("SULastCheckTime");
}

QString UpdaterController::betaUpdatesKey()
{
    return QStringLiteral("CheckBetaUpdates");
}

bool UpdaterController::automaticallyChecksForUpdates() const
{
    return m_preferences && Preferences::toBoolean(m_preferences->value(automaticChecksKey()));
}

void UpdaterController::setAutomaticallyChecksForUpdates(bool on)
{
    if (!m_preferences)
        return;
    const bool was =
        m_preferences->contains(automaticChecksKey()) && automaticallyChecksForUpdates();
    m_preferences->setValue(automaticChecksKey(), on);
    if (on && !m_schedule.isActive() && m_started)
        m_schedule.start();
    if (!on)
        m_schedule.stop();
    if (was != on)
        emit automaticallyChecksForUpdatesChanged(on);
}

std::optional<QDateTime> UpdaterController::lastUpdateCheckDate() const
{
    if (!m_preferences || !m_preferences->contains(lastCheckTimeKey()))
        return std::nullopt;
    const QDateTime date = m_preferences->value(lastCheckTimeKey()).toDateTime();
    if (!date.isValid())
        return std::nullopt;
    return date;
}

void UpdaterController::setCheckInterval(qint64 milliseconds)
{
    m_checkInterval = milliseconds;
    m_schedule.setInterval(int(std::min(milliseconds, scheduleTickMilliseconds)));
}

void UpdaterController::startUpdater()
{
    m_started = true;
    if (!automaticallyChecksForUpdates())
        return;
    m_schedule.start();
    // After the launch has finished, not in the middle of it.
    QTimer::singleShot(0, this, &UpdaterController::checkForUpdatesInBackground);
}

void UpdaterController::scheduledTick()
{
    if (!automaticallyChecksForUpdates())
        return;
    const auto last = lastUpdateCheckDate();
    if (last && last->msecsTo(QDateTime::currentDateTimeUtc()) < m_checkInterval)
        return;
    checkForUpdatesInBackground();
}

void UpdaterController::checkForUpdates()
{
    startCheck(true);
}

void UpdaterController::checkForUpdatesInBackground()
{
    startCheck(false);
}

void UpdaterController::startCheck(bool userInitiated)
{
    if (m_reply) {
        // A check is under way: a person asking now gets its answer.
        m_userInitiated = m_userInitiated || userInitiated;
        return;
    }
    m_userInitiated = userInitiated;
    AppLogger::debug(QStringLiteral("checking for updates at ") + m_feedURL.toString());
    QNetworkRequest request(m_feedURL);
    request.setTransferTimeout(m_transferTimeout);
    request.setAttribute(QNetworkRequest::RedirectPolicyAttribute,
                         QNetworkRequest::NoLessSafeRedirectPolicy);
    request.setHeader(QNetworkRequest::UserAgentHeader,
                      QStringLiteral("Brambleworth/") + m_currentVersion);
    m_reply = m_network->get(request);
    connect(m_reply, &QNetworkReply::finished, this, &UpdaterController::finishCheck);
}

void UpdaterController::finishCheck()
{
    QNetworkReply* reply = m_reply;
    m_reply = nullptr;
    if (!reply)
        return;
    reply->deleteLater();

    if (m_preferences) {
        m_preferences->setValue(lastCheckTimeKey(), QDateTime::currentDateTimeUtc());
        emit lastUpdateCheckDateChanged();
    }
    if (reply->error() != QNetworkReply::NoError) {
        fail(QStringLiteral("The update feed could not be read"), reply->errorString());
        return;
    }
    try {
        const QList<AppcastItem> items = Appcast::parse(reply->readAll());
        const auto newer = Appcast::newerItem(items, m_currentVersion, allowedChannels());
        if (newer) {
            AppLogger::info(QStringLiteral("update available: ") + newer->displayVersionString());
            showUpdate(*newer);
            emit checkFinished(Outcome::updateFound);
            return;
        }
        AppLogger::debug(QStringLiteral("no update: ") + m_currentVersion +
                         QStringLiteral(" is the newest version"));
        if (m_userInitiated)
            showAlert(tr("You’re up to date!"), tr("You’re up to date!"),
                      tr("Brambleworth %1 is currently the newest version available.")
                          .arg(m_currentVersion));
        emit checkFinished(Outcome::upToDate);
    } catch (const AppError& error) {
        fail(error.description(), error.failureReason());
    }
}

void UpdaterController::fail(const QString& description, const QString& reason)
{
    AppLogger::error(AppError(description, reason), QStringLiteral("checkForUpdates()"), __LINE__);
    if (m_userInitiated)
        showAlert(tr("Update Error!"), tr("An error occurred while checking for updates."),
                  description + (reason.isEmpty() ? QString() : QStringLiteral(": ") + reason));
    emit checkFinished(Outcome::failed);
}

void UpdaterController::showAlert(const QString& title, const QString& text,
                                  const QString& informative)
{
    if (m_alert)
        delete m_alert.data();
    auto* box = new QMessageBox(m_dialogParent);
    box->setObjectName(QStringLiteral("updateAlert"));
    box->setAttribute(Qt::WA_DeleteOnClose);
    box->setWindowTitle(title);
    box->setIcon(QMessageBox::Information);
    box->setText(text);
    box->setInformativeText(informative);
    box->setStandardButtons(QMessageBox::Ok);
    m_alert = box;
    box->show();
    box->raise();
    box->activateWindow();
}

void UpdaterController::showUpdate(const AppcastItem& item)
{
    if (m_alert)
        delete m_alert.data();
    auto* box = new QMessageBox(m_dialogParent);
    box->setObjectName(QStringLiteral("updateAlert"));
    box->setAttribute(Qt::WA_DeleteOnClose);
    box->setWindowTitle(tr("Software Update"));
    box->setIcon(QMessageBox::Information);
    box->setText(tr("A new version of Brambleworth is available!"));
    QString informative =
        tr("Brambleworth %1 is now available—you have %2.")
            .arg(item.displayVersionString().toHtmlEscaped(), m_currentVersion.toHtmlEscaped());
    if (item.releaseNotesURL.isValid() && !item.releaseNotesURL.isEmpty())
        informative += QStringLiteral("<br><a href=\"%1\">%2</a>")
                           .arg(item.releaseNotesURL.toString(QUrl::FullyEncoded).toHtmlEscaped(),
                                tr("Release notes"));
    box->setTextFormat(Qt::RichText);
    box->setInformativeText(informative);
    box->setTextInteractionFlags(Qt::TextBrowserInteraction);
    QPushButton* download = box->addButton(tr("Download"), QMessageBox::AcceptRole);
    download->setObjectName(QStringLiteral("downloadButton"));
    QPushButton* later = box->addButton(tr("Remind Me Later"), QMessageBox::RejectRole);
    later->setObjectName(QStringLiteral("laterButton"));
    box->setDefaultButton(download);
    const QUrl page = item.downloadPage();
    connect(download, &QPushButton::clicked, box, [page] {
        AppLogger::debug(QStringLiteral("Open download page: ") + page.toString());
        QDesktopServices::openUrl(page);
    });
    m_alert = box;
    box->show();
    box->raise();
    box->activateWindow();
}
