// A check asked for by the user and a scheduled one share one request: if the user asks while a
// scheduled check runs, its outcome is shown. The time of a check is stored before the answer
// comes, so that a feed that cannot be reached is not asked again every hour. The hourly timer only
// looks whether a day has passed: one timer of a whole day would start anew with each start of the
// program and stand still while the computer sleeps.
#include "platform/qt/appcast_updater.h"

#include <QApplication>
#include <QBoxLayout>
#include <QDateTime>
#include <QDesktopServices>
#include <QDialog>
#include <QLabel>
#include <QNetworkReply>
#include <QNetworkRequest>
#include <QPlainTextEdit>
#include <QPushButton>
#include <utility>

#include "platform/qt/qt_preferences.h"

namespace vestigo {
namespace {

using namespace std::chrono_literals;

const auto automaticKey = QStringLiteral("VGUpdaterAutomatic");
const auto lastCheckKey = QStringLiteral("VGUpdaterLastCheck");
constexpr qint64 secondsBetweenChecks = 24 * 60 * 60;
constexpr qint64 largestFeed = 1024 * 1024;
constexpr auto pollInterval = 1h;
constexpr int timeoutMilliseconds = 30000;

constexpr int padding = 22;
constexpr int spacing = 12;
constexpr int textWidth = 420;
constexpr int notesHeight = 200;

QLabel* plainText(const QString& text) {
    auto* const label = new QLabel(text);
    label->setTextFormat(Qt::PlainText);
    label->setWordWrap(true);
    label->setFixedWidth(textWidth);
    return label;
}

QPushButton* button(const char* name, const QString& text) {
    auto* const made = new QPushButton(text);
    made->setObjectName(QLatin1String(name));
    return made;
}

/// A dialog with a title and a text; buttons are added below.
QDialog* makeDialog(const QString& title, const QString& text) {
    auto* const dialog = new QDialog(QApplication::activeWindow());
    dialog->setObjectName(QStringLiteral("updateDialog"));
    dialog->setWindowTitle(QObject::tr("Software Update"));
    auto* const column = new QVBoxLayout(dialog);
    column->setContentsMargins(padding, padding, padding, padding);
    column->setSpacing(spacing);
    column->setSizeConstraint(QLayout::SetFixedSize);
    auto* const heading = plainText(title);
    auto font = heading->font();
    font.setBold(true);
    heading->setFont(font);
    column->addWidget(heading);
    column->addWidget(plainText(text));
    return dialog;
}

void addButtons(QDialog& dialog, const QList<QPushButton*>& buttons) {
    auto* const row = new QHBoxLayout;
    row->addStretch();
    for (auto* const each : buttons) row->addWidget(each);
    static_cast<QVBoxLayout*>(dialog.layout())->addLayout(row);
    buttons.last()->setDefault(true);
    buttons.last()->setFocus();
}

QDialog* withOkButton(QDialog* dialog) {
    auto* const ok = button("ok", QObject::tr("OK"));
    QObject::connect(ok, &QPushButton::clicked, dialog, &QDialog::accept);
    addButtons(*dialog, {ok});
    return dialog;
}

}  // namespace

QDialog* upToDateDialog(const QString& version) {
    return withOkButton(makeDialog(QObject::tr("You’re up to date"),
                                   QObject::tr("Vestigo %1 is the newest version.").arg(version)));
}

QDialog* updateFailureDialog(const QString& reason) {
    return withOkButton(makeDialog(QObject::tr("Could not look for updates"), reason));
}

QDialog* newerVersionDialog(const AppcastItem& newest, const QString& version,
                            const std::function<void(const QUrl&)>& openPage) {
    auto* const dialog = makeDialog(
        QObject::tr("A newer version is available"),
        QObject::tr("Vestigo %1 can be downloaded; this is %2.").arg(newest.version, version));
    if (!newest.notes.isEmpty()) {
        auto* const notes = new QPlainTextEdit(newest.notes);
        notes->setObjectName(QStringLiteral("notes"));
        notes->setAccessibleName(QObject::tr("Release notes"));
        notes->setReadOnly(true);
        notes->setFixedHeight(notesHeight);
        dialog->layout()->addWidget(notes);
    }
    auto* const later = button("later", QObject::tr("Later"));
    auto* const open = button("openPage", QObject::tr("Open Download Page"));
    QObject::connect(later, &QPushButton::clicked, dialog, &QDialog::reject);
    QObject::connect(open, &QPushButton::clicked, dialog, [dialog, openPage, page = newest.page] {
        openPage(page);
        dialog->accept();
    });
    addButtons(*dialog, {later, open});
    return dialog;
}

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
    requestFeed();
}

void AppcastUpdater::checkWhenDue() {
    schedule_.start(pollInterval);
    if (!automaticallyChecksForUpdates()) return;
    const auto now = QDateTime::currentSecsSinceEpoch();
    const auto last = services_.settings->value(lastCheckKey, 0).toLongLong();
    // A last check in the future was made before the clock was set back, and does not count.
    if (last <= now && now - last < secondsBetweenChecks) return;
    requestFeed();
}

void AppcastUpdater::requestFeed() {
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
    request.setTransferTimeout(timeoutMilliseconds);
    reply_ = services_.network->get(request);
    connect(reply_, &QNetworkReply::downloadProgress, this, [this](qint64 received, qint64) {
        if (received > largestFeed) reply_->abort();
    });
    connect(reply_, &QNetworkReply::finished, this,
            [this, reply = reply_.data()] { receive(*reply); });
}

void AppcastUpdater::receive(QNetworkReply& reply) {
    reply_ = nullptr;
    reply.deleteLater();
    const auto feed = reply.read(largestFeed + 1);
    if (feed.size() > largestFeed) return fail(tr("The answer is too long."));
    if (reply.error() != QNetworkReply::NoError) return fail(reply.errorString());
    applyFeed(feed);
}

void AppcastUpdater::applyFeed(const QByteArray& feed) {
    const auto newest = newestItem(feed);
    if (!newest) return fail(tr("The answer names no version."));
    const bool asked = std::exchange(userAsked_, false);
    if (isNewer(newest->version, version_)) {
        show(newerVersionDialog(*newest, version_, services_.openPage));
    } else if (asked) {
        show(upToDateDialog(version_));
    }
}

/// A scheduled check that fails is not shown; the next one is made a day later.
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
