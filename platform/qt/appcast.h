// The feed that tells of new versions: RSS 2.0 with the appcast extension
// (http://www.andymatuschak.org/xml-namespaces/sparkle).
#pragma once

#include <QByteArray>
#include <QString>
#include <QUrl>
#include <optional>

namespace vestigo {

/// A version that can be downloaded.
struct AppcastItem {
    QString version;  ///< As it is shown.
    QString notes;    ///< Plain text; may be empty.
    QUrl page;        ///< Where to download it from; http or https.
};

/// The newest item that belongs to no channel. Absent when the feed is no such feed or names no
/// version that could be downloaded. Never fetches anything, expands no entities.
[[nodiscard]] std::optional<AppcastItem> newestItem(const QByteArray& feed);

/// Dotted numbers, compared as numbers; a part that is missing is 0; a version with a suffix
/// ("1.2b3", "1.2-rc1") comes before the one without. What is no version is never newer.
[[nodiscard]] bool isNewer(const QString& version, const QString& than);

}  // namespace vestigo
