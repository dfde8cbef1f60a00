#include "platform/qt/appcast_updater.h"

#include <QDateTime>
#include <QDesktopServices>
#include <QDialog>
#include <QNetworkReply>
#include <QNetworkRequest>
#include <utility>

#include "platform/qt/own_settings.h"
#include "platform/qt/update_dialog.h"

namespace vestigo {
namespace {

using namespace std::chrono_literals;

const auto automaticKey = QStringLiteral("VGUpdaterAutomatic");
const auto lastCheckKey = QStringLiteral("VGUpdaterLastCheck");
constexpr qint64 secondsBetweenChecks = 24 * 60 * 60;
constexpr qint64 largestFeed = 1024 * 1024;
constexpr auto betweenLooks = 1h;
constexpr int patience = 30000;

}  // namespace

AppcastServices systemAppcastServices() {
    return {.settings = ownSettings(QStringLiteral("Vestigo Updater")),
            .network = std::make_unique<QNetworkAccessManager>(),
            .openPage = [](const QUrl& page) { QDesktopServices::openUrl(page); }};
}

AppcastUpdater::AppcastUpdater(const QUrl& feed, const QString& version, AppcastServices services)
    : feed_(feed), version_(version), services_(std::move(services)) {
    services_.settings->setFallbacksEnabled(false);
    connect(&schedule_, &QTimer::timeout, this, &AppcastUpdater::checkWhenDue);
    schedule_.start(services_.delay);
}

AppcastUpdater::~AppcastUpdater() {
    delete dialog_;
    if (reply_) {
        reply_->disconnect(this);
        reply_->abort();
    }
}

bool AppcastUpdater::automaticallyChecksForUpdates() const {
    return services_.settings->value(automaticKey, true).toBool();
}

void AppcastUpdater::setAutomaticallyChecksForUpdates(bool value) {
    services_.settings->setValue(automaticKey, value);
    services_.settings->sync();
}

void AppcastUpdater::checkForUpdates() {
    userAsked_ = true;
    ask();
}

void AppcastUpdater::checkWhenDue() {
    schedule_.start(betweenLooks);
    if (!automaticallyChecksForUpdates()) return;
    const auto now = QDateTime::currentSecsSinceEpoch();
    const auto last = services_.settings->value(lastCheckKey, 0).toLongLong();
    // A check in what is now the future was made before the clock was set back.
    if (last <= now && now - last < secondsBetweenChecks) return;
    ask();
}

void AppcastUpdater::ask() {
    if (reply_) return;
    if (feed_.scheme() != QLatin1String("https")) return fail(tr("The feed has no https address."));
    services_.settings->setValue(lastCheckKey, QDateTime::currentSecsSinceEpoch());
    services_.settings->sync();
    QNetworkRequest request(feed_);
    request.setAttribute(QNetworkRequest::RedirectPolicyAttribute,
                         QNetworkRequest::NoLessSafeRedirectPolicy);
    request.setAttribute(QNetworkRequest::CacheLoadControlAttribute,
                         QNetworkRequest::AlwaysNetwork);
    request.setHeader(QNetworkRequest::UserAgentHeader, QStringLiteral("Vestigo/") + version_);
    request.setTransferTimeout(patience);
    reply_ = services_.network->get(request);
    connect(reply_, &QNetworkReply::downloadProgress, this, [this](qint64 received, qint64) {
        if (received > largestFeed) reply_->abort();
    });
    connect(reply_, &QNetworkReply::finished, this,
            [this, reply = reply_.data()] { take(*reply); });
}

void AppcastUpdater::take(QNetworkReply& reply) {
    reply_ = nullptr;
    reply.deleteLater();
    const auto feed = reply.read(largestFeed + 1);
    if (feed.size() > largestFeed) return fail(tr("The answer is too long."));
    if (reply.error() != QNetworkReply::NoError) return fail(reply.errorString());
    takeFeed(feed);
}

void AppcastUpdater::takeFeed(const QByteArray& feed) {
    const auto newest = newestItem(feed);
    if (!newest) return fail(tr("The answer names no version."));
    const bool asked = std::exchange(userAsked_, false);
    if (isNewer(newest->version, version_)) {
        show(newerVersionDialog(*newest, version_, services_.openPage));
    } else if (asked) {
        show(upToDateDialog(version_));
    }
}

void AppcastUpdater::fail(const QString& reason) {
    if (std::exchange(userAsked_, false)) show(updateFailureDialog(reason));
}

void AppcastUpdater::show(QDialog* dialog) {
    delete dialog_;
    dialog_ = dialog;
    dialog_->setAttribute(Qt::WA_DeleteOnClose);
    dialog_->open();
}

}  // namespace vestigo
