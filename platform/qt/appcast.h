// Reads the feed that announces new versions: RSS 2.0 with the appcast extension
// (http://www.andymatuschak.org/xml-namespaces/sparkle).
#pragma once

#include <QByteArray>
#include <QString>
#include <QUrl>
#include <optional>

namespace vestigo {

/// A version that can be downloaded.
struct AppcastItem {
    QString version;  ///< As shown to the user.
    QString notes;    ///< Plain text; may be empty.
    QUrl page;        ///< The web page to download it from; http or https.
};

/// The newest item that belongs to no channel. Absent when the content is no such feed or offers no
/// version for download. Fetches nothing and expands no entities.
[[nodiscard]] std::optional<AppcastItem> newestItem(const QByteArray& feed);

/// Compares dotted numbers as numbers; a missing part is 0. A version with a suffix ("1.2b3",
/// "1.2-rc1") is older than the same one without. A text that is no version is never newer.
[[nodiscard]] bool isNewer(const QString& version, const QString& than);

}  // namespace vestigo
