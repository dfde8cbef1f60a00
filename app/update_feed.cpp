// The update service of a build without the Sparkle framework.
#include "app/update_feed.h"

#include <QString>
#include <QUrl>

#include "platform/qt/appcast_updater.h"

namespace vestigo {

std::unique_ptr<Updater> updaterOfThisBuild() {
    const QUrl feed(QStringLiteral(VESTIGO_UPDATE_FEED));
    if (feed.isEmpty()) return nullptr;
    return std::make_unique<AppcastUpdater>(feed, QStringLiteral(VESTIGO_VERSION),
                                            systemAppcastServices());
}

}  // namespace vestigo
