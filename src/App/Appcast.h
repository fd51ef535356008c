// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>
#include <QDateTime>
#include <QList>
#include <QSet>
#include <QString>
#include <QUrl>

#include <optional>

// One release of a Sparkle appcast (an RSS item with sparkle: elements and attributes).
struct AppcastItem
{
    QString title;
    QString version;            // sparkle:version, what versions are compared by
    QString shortVersionString; // sparkle:shortVersionString, what people read
    QUrl releaseNotesURL;       // sparkle:releaseNotesLink
    QUrl infoURL;               // <link>, the release's web page
    QUrl fileURL;               // the enclosure's url
    QString channel;            // sparkle:channel, empty for the default channel
    QDateTime date;

    QString displayVersionString() const;
    // Where "Download" takes people: the release page, else the file itself.
    QUrl downloadPage() const;
};

// Reads appcasts and picks the release to offer.
class Appcast
{
public:
    static QString sparkleNamespace();

    // The items that carry a version, in feed order. Throws AppError for text that is not
    // well-formed XML or not an RSS channel.
    static QList<AppcastItem> parse(const QByteArray& xml);

    // The newest item of the default channel or an allowed one, if it is newer than the
    // running version.
    static std::optional<AppcastItem> newerItem(const QList<AppcastItem>& items,
                                                const QString& currentVersion,
                                                const QSet<QString>& allowedChannels = {});
};
