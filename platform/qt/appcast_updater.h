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

// Each of these creates a dialog that belongs to the active window and is owned by the caller.
// Texts from the web are shown as plain text, never as markup.

[[nodiscard]] QDialog* upToDateDialog(const QString& version);
[[nodiscard]] QDialog* updateFailureDialog(const QString& reason);
/// `openPage` is called with the page of `newest` when the user asks for it.
[[nodiscard]] QDialog* newerVersionDialog(const AppcastItem& newest, const QString& version,
                                          const std::function<void(const QUrl&)>& openPage);

/// Services that the updater uses.
struct AppcastServices {
    /// The updater's own settings: "VGUpdaterAutomatic" and "VGUpdaterLastCheck".
    std::unique_ptr<QSettings> settings;
    std::unique_ptr<QNetworkAccessManager> network;
    std::function<void(const QUrl&)> openPage;
    /// The time from the start to the first check, so that the window appears first.
    std::chrono::milliseconds delay = std::chrono::seconds(5);
};

/// The user's own settings, network and browser.
[[nodiscard]] AppcastServices systemAppcastServices();

/// Uses only https, also after redirections, and accepts an answer of at most 1 MiB within 30
/// seconds. Unless the user has turned it off, it checks by itself at most once a day, and then
/// shows only a newer version.
class AppcastUpdater : public QObject, public Updater {
    Q_OBJECT
public:
    /// `version` is that of the running program.
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
    bool userAsked_ = false;  ///< The user waits for the outcome of the running check.
};

}  // namespace vestigo
