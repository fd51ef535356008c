// SPDX-License-Identifier: GPL-3.0-or-later
#include "App/Appcast.h"

#include "App/VersionComparator.h"
#include "QuillonCommons/AppError.h"
#include "QuillonCommons/AppLogger.h"

#include <QXmlStreamReader>

namespace {
bool isSparkle(const QXmlStreamReader& xml, QLatin1String name)
{
    return xml.namespaceUri() == Appcast::sparkleNamespace() && xml.name() == name;
}

QString sparkleAttribute(const QXmlStreamAttributes& attributes, const QString& name)
{
    return attributes.value(Appcast::sparkleNamespace(), name).toString().trimmed();
}

AppcastItem readItem(QXmlStreamReader& xml)
{
    AppcastItem item;
    while (xml.readNextStartElement()) {
        const bool plain = xml.namespaceUri().isEmpty();
        if (plain && xml.name() == QLatin1String("title")) {
            item.title = xml.readElementText().trimmed();
        } else if (plain && xml.name() == QLatin1String("link")) {
            item.infoURL = QUrl(xml.readElementText().trimmed());
        } else if (plain && xml.name() == QLatin1String("pubDate")) {
            item.date = QDateTime::fromString(xml.readElementText().trimmed(), Qt::RFC2822Date);
        } else if (plain && xml.name() == QLatin1String("enclosure")) {
            const QXmlStreamAttributes attributes = xml.attributes();
            item.fileURL = QUrl(attributes.value(QStringLiteral("url")).toString().trimmed());
            // Older feeds put the versions on the enclosure; elements of the item win.
            if (item.version.isEmpty())
                item.version = sparkleAttribute(attributes, QStringLiteral("version"));
            if (item.shortVersionString.isEmpty())
                item.shortVersionString =
                    sparkleAttribute(attributes, QStringLiteral("shortVersionString"));
            xml.skipCurrentElement();
        } else if (isSparkle(xml, QLatin1String("version"))) {
            item.version = xml.readElementText().trimmed();
        } else if (isSparkle(xml, QLatin1String("shortVersionString"))) {
            item.shortVersionString = xml.readElementText().trimmed();
        } else if (isSparkle(xml, QLatin1String("releaseNotesLink"))) {
            item.releaseNotesURL = QUrl(xml.readElementText().trimmed());
        } else if (isSparkle(xml, QLatin1String("channel"))) {
            item.channel = xml.readElementText().trimmed();
        } else {
            xml.skipCurrentElement();
        }
    }
    return item;
}
} // namespace

QString AppcastItem::displayVersionString() const
{
    return shortVersionString.isEmpty() ? version : shortVersionString;
}

QUrl AppcastItem::downloadPage() const
{
    return infoURL.isValid() && !infoURL.isEmpty() ? infoURL : fileURL;
}

QString Appcast::sparkleNamespace()
{
    return QStringLiteral("http://www.andymatuschak.org/xml-namespaces/sparkle");
}

QList<AppcastItem> Appcast::parse(const QByteArray& data)
{
    QXmlStreamReader xml(data);
    QList<AppcastItem> items;
    bool sawChannel = false;
    if (xml.readNextStartElement() && xml.name() == QLatin1String("rss")) {
        while (xml.readNextStartElement()) {
            if (xml.name() != QLatin1String("channel")) {
                xml.skipCurrentElement();
                continue;
            }
            sawChannel = true;
            while (xml.readNextStartElement()) {
                if (xml.name() != QLatin1String("item")) {
                    xml.skipCurrentElement();
                    continue;
                }
                AppcastItem item = readItem(xml);
                if (item.version.isEmpty()) {
                    AppLogger::debug(QStringLiteral("appcast item without a version skipped: ") +
                                     item.title);
                    continue;
                }
                items.append(std::move(item));
            }
        }
    }
    // Read to the end so trailing garbage counts as malformed too.
    while (!xml.atEnd() && !xml.hasError())
        xml.readNext();
    if (xml.hasError())
        throw AppError(QStringLiteral("The update feed is not valid XML"),
                       QStringLiteral("line %1: %2").arg(xml.lineNumber()).arg(xml.errorString()));
    if (!sawChannel)
        throw AppError(QStringLiteral("The update feed is not an RSS channel"));
    return items;
}

std::optional<AppcastItem> Appcast::newerItem(const QList<AppcastItem>& items,
                                              const QString& currentVersion,
                                              const QSet<QString>& allowedChannels)
{
    const AppcastItem* best = nullptr;
    for (const AppcastItem& item : items) {
        if (!item.channel.isEmpty() && !allowedChannels.contains(item.channel))
            continue;
        if (!best || VersionComparator::compare(item.version, best->version) > 0)
            best = &item;
    }
    if (best && VersionComparator::compare(best->version, currentVersion) > 0)
        return *best;
    return std::nullopt;
}
