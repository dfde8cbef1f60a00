// Looks for newer versions of the program in a feed on the web.
#pragma once

#include <QDialog>
#include <QNetworkAccessManager>
#include <QObject>
#include <QPointer>
#include <QSettings>
#include <QString>
#include <QTimer>
#include <QUrl>
#include <chrono>
#include <functional>
#include <memory>

#include "platform/qt/appcast.h"
#include "platform/updater.h"

class QNetworkReply;

namespace vestigo {

// Each makes a dialog that belongs to the active window and to the caller. They show only plain
// text: what comes from the web has no marks.

[[nodiscard]] QDialog* upToDateDialog(const QString& version);
[[nodiscard]] QDialog* updateFailureDialog(const QString& reason);
/// `openPage` is called with the page of `newest` when the user asks for it.
[[nodiscard]] QDialog* newerVersionDialog(const AppcastItem& newest, const QString& version,
                                          const std::function<void(const QUrl&)>& openPage);

/// What the updater is given to work with.
struct AppcastServices {
    /// Where its own settings are: "VGUpdaterAutomatic" and "VGUpdaterLastCheck".
    std::unique_ptr<QSettings> settings;
    std::unique_ptr<QNetworkAccessManager> network;
    std::function<void(const QUrl&)> openPage;
    /// From the start to the first check, so that the window is there before.
    std::chrono::milliseconds delay = std::chrono::seconds(5);
};

/// The user's own settings, network and browser.
[[nodiscard]] AppcastServices systemAppcastServices();

/// Only https, also where the feed has moved to; an answer of at most 1 MiB within 30 seconds.
/// Checks by itself at most once a day, while the user has not turned that off; of such a check
/// only a newer version is shown.
class AppcastUpdater : public QObject, public Updater {
    Q_OBJECT
public:
    /// `version` is the one that runs.
    AppcastUpdater(const QUrl& feed, const QString& version, AppcastServices services);
    ~AppcastUpdater() override;

    void checkForUpdates() override;
    [[nodiscard]] bool automaticallyChecksForUpdates() const override;
    void setAutomaticallyChecksForUpdates(bool value) override;

private:
    void checkWhenDue();
    void requestFeed();
    void receive(QNetworkReply& reply);
    void applyFeed(const QByteArray& feed);
    void fail(const QString& reason);
    void show(QDialog* dialog);

    QUrl feed_;
    QString version_;
    AppcastServices services_;
    QTimer schedule_;
    QPointer<QNetworkReply> reply_;
    QPointer<QDialog> dialog_;
    bool userAsked_ = false;  ///< Somebody waits for the outcome of the running check.
};

}  // namespace vestigo
