// The feed comes from the network, so it is read as a stream with little trust: a document type,
// which could define entities, ends the reading, and elements that are not known are skipped with
// all that is in them. An item counts only if its version can be compared and its page is on the
// web, and an item of a channel (versions for testers) is left out. The order of the feed means
// nothing; the highest version wins.
#include "platform/qt/appcast.h"

#include <QRegularExpression>
#include <QTextDocumentFragment>
#include <QXmlStreamReader>
#include <algorithm>
#include <utility>

namespace vestigo {
namespace {

const auto appcastNamespace = QStringLiteral("http://www.andymatuschak.org/xml-namespaces/sparkle");

struct Version {
    QList<int> numbers;
    QString suffix;
};

std::optional<Version> parseVersion(const QString& text) {
    static const QRegularExpression form(
        QStringLiteral(R"(^(\d{1,9}(?:\.\d{1,9}){0,7})[-. ]?([A-Za-z][A-Za-z0-9.-]*)?$)"));
    const auto match = form.match(text.trimmed());
    if (!match.hasMatch()) return std::nullopt;
    Version version;
    for (const auto& part : match.captured(1).split(QLatin1Char('.'))) {
        version.numbers << part.toInt();
    }
    while (!version.numbers.isEmpty() && version.numbers.last() == 0) version.numbers.removeLast();
    version.suffix = match.captured(2).toLower();
    return version;
}

/// Compares runs of digits as numbers, so that "rc10" comes after "rc9".
int compareSuffixes(const QString& a, const QString& b) {
    static const QRegularExpression runs(QStringLiteral(R"(\d+|[^\d]+)"));
    auto left = runs.globalMatch(a);
    auto right = runs.globalMatch(b);
    while (left.hasNext() && right.hasNext()) {
        const auto one = left.next().captured();
        const auto other = right.next().captured();
        bool bothNumbers = false;
        const auto number = one.toULongLong(&bothNumbers);
        const auto otherNumber = bothNumbers ? other.toULongLong(&bothNumbers) : 0;
        if (bothNumbers && number != otherNumber) return number < otherNumber ? -1 : 1;
        if (!bothNumbers && one != other) return one < other ? -1 : 1;
    }
    return static_cast<int>(left.hasNext()) - static_cast<int>(right.hasNext());
}

struct Item {
    QString version;
    QString shortVersion;
    QString channel;
    QString description;
    QString link;
    QString enclosure;
};

/// The text of an element, including that of the elements inside it.
QString textOf(QXmlStreamReader& xml) {
    return xml.readElementText(QXmlStreamReader::IncludeChildElements).trimmed();
}

void readEnclosure(QXmlStreamReader& xml, Item& item) {
    const auto attributes = xml.attributes();
    item.enclosure = attributes.value(QLatin1String("url")).toString();
    const auto version = attributes.value(appcastNamespace, QLatin1String("version"));
    const auto shortVersion =
        attributes.value(appcastNamespace, QLatin1String("shortVersionString"));
    if (!version.isEmpty()) item.version = version.toString();
    if (!shortVersion.isEmpty()) item.shortVersion = shortVersion.toString();
    xml.skipCurrentElement();
}

Item readItem(QXmlStreamReader& xml) {
    Item item;
    while (xml.readNextStartElement()) {
        const bool ours = xml.namespaceUri() == appcastNamespace;
        const auto name = xml.name();
        if (ours && name == QLatin1String("version")) {
            item.version = textOf(xml);
        } else if (ours && name == QLatin1String("shortVersionString")) {
            item.shortVersion = textOf(xml);
        } else if (ours && name == QLatin1String("channel")) {
            item.channel = textOf(xml);
        } else if (!ours && name == QLatin1String("description")) {
            item.description = textOf(xml);
        } else if (!ours && name == QLatin1String("link")) {
            item.link = textOf(xml);
        } else if (!ours && name == QLatin1String("enclosure")) {
            readEnclosure(xml, item);
        } else {
            xml.skipCurrentElement();
        }
    }
    return item;
}

QUrl webPage(const QString& text) {
    const QUrl url(text.trimmed(), QUrl::StrictMode);
    const bool web =
        url.scheme() == QLatin1String("https") || url.scheme() == QLatin1String("http");
    return web && !url.host().isEmpty() ? url : QUrl();
}

std::optional<AppcastItem> downloadable(const Item& item) {
    const auto version = item.shortVersion.isEmpty() ? item.version : item.shortVersion;
    const auto link = webPage(item.link);
    const auto page = link.isEmpty() ? webPage(item.enclosure) : link;
    if (!parseVersion(version) || page.isEmpty() || !item.channel.isEmpty()) return std::nullopt;
    return AppcastItem{version.trimmed(),
                       QTextDocumentFragment::fromHtml(item.description).toPlainText(), page};
}

/// Finds the root element. A feed needs no document type, which could only define entities.
bool findRss(QXmlStreamReader& xml) {
    while (!xml.isStartElement()) {
        if (xml.atEnd() || xml.readNext() == QXmlStreamReader::DTD) return false;
    }
    return xml.name() == QLatin1String("rss");
}

}  // namespace

bool isNewer(const QString& version, const QString& than) {
    const auto candidate = parseVersion(version);
    const auto current = parseVersion(than);
    if (!candidate) return false;
    if (!current) return true;
    if (candidate->numbers != current->numbers) {
        return std::ranges::lexicographical_compare(current->numbers, candidate->numbers);
    }
    if (candidate->suffix.isEmpty() || current->suffix.isEmpty()) {
        return candidate->suffix.isEmpty() && !current->suffix.isEmpty();
    }
    return compareSuffixes(candidate->suffix, current->suffix) > 0;
}

std::optional<AppcastItem> newestItem(const QByteArray& feed) {
    QXmlStreamReader xml(feed);
    std::optional<AppcastItem> newest;
    if (!findRss(xml)) return std::nullopt;
    while (xml.readNextStartElement()) {
        if (xml.name() != QLatin1String("channel")) {
            xml.skipCurrentElement();
            continue;
        }
        while (xml.readNextStartElement()) {
            if (xml.name() != QLatin1String("item")) {
                xml.skipCurrentElement();
                continue;
            }
            auto item = downloadable(readItem(xml));
            if (item && (!newest || isNewer(item->version, newest->version))) {
                newest = std::move(item);
            }
        }
    }
    return xml.hasError() ? std::nullopt : newest;
}

}  // namespace vestigo
