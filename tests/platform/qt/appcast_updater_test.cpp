#include "platform/qt/appcast_updater.h"

#include <QApplication>
#include <QDateTime>
#include <QDialog>
#include <QLabel>
#include <QPushButton>
#include <QTemporaryDir>
#include <QTest>

#include <gtest/gtest.h>

namespace vestigo {
namespace {

/// Where every request is led to, without a network.
struct Feed {
    void serve(const QByteArray& body) { answer = "data:text/xml;base64," + body.toBase64(); }
    void serveVersion(const QByteArray& version) {
        serve(
            R"(<rss xmlns:sparkle="http://www.andymatuschak.org/xml-namespaces/sparkle"><channel>)"
            "<item><link>https://example.com/download</link><description>New.</description>"
            "<sparkle:version>" +
            version + "</sparkle:version></item></channel></rss>");
    }

    QByteArray answer;
    int requests = 0;
};

class FeedNetwork : public QNetworkAccessManager {
public:
    explicit FeedNetwork(Feed& feed) : feed_(feed) {}

protected:
    QNetworkReply* createRequest(Operation operation, const QNetworkRequest& request,
                                 QIODevice*) override {
        ++feed_.requests;
        EXPECT_EQ(request.attribute(QNetworkRequest::RedirectPolicyAttribute),
                  QNetworkRequest::NoLessSafeRedirectPolicy);
        return QNetworkAccessManager::createRequest(
            operation, QNetworkRequest(QUrl::fromEncoded(feed_.answer)));
    }

private:
    Feed& feed_;
};

class AppcastUpdaterTest : public testing::Test {
protected:
    std::unique_ptr<QSettings> settings() const {
        return std::make_unique<QSettings>(folder.filePath("updater.ini"), QSettings::IniFormat);
    }
    void start(const char* address = "https://example.com/feed.xml") {
        updater = std::make_unique<AppcastUpdater>(
            QUrl(address), "1.0",
            AppcastServices{.settings = settings(),
                            .network = std::make_unique<FeedNetwork>(feed),
                            .openPage = [this](const QUrl& page) { opened = page; },
                            .delay = delay});
    }
    static QDialog* dialog() {
        for (auto* const each : QApplication::topLevelWidgets()) {
            if (each->objectName() == QLatin1String("updateDialog") && each->isVisible()) {
                return qobject_cast<QDialog*>(each);
            }
        }
        return nullptr;
    }
    /// What the dialog that comes up says.
    static QString outcome() {
        QString text;
        EXPECT_TRUE(QTest::qWaitFor([] { return dialog() != nullptr; }));
        if (!dialog()) return text;
        for (const auto* const label : dialog()->findChildren<QLabel*>()) text += label->text();
        return text;
    }
    QString askedByUser() {
        updater->checkForUpdates();
        const auto text = outcome();
        if (dialog()) dialog()->close();
        return text;
    }
    void expectFailure() { EXPECT_TRUE(askedByUser().startsWith("Could not look for updates")); }

    QTemporaryDir folder;
    Feed feed;
    QUrl opened;
    std::chrono::milliseconds delay = std::chrono::hours(1);
    std::unique_ptr<AppcastUpdater> updater;
};

TEST_F(AppcastUpdaterTest, ShowsEveryOutcomeToTheUserWhoAsked) {
    start();
    feed.serveVersion("1.0");
    EXPECT_TRUE(askedByUser().startsWith("You’re up to date"));
    feed.serve("not a feed");
    expectFailure();
    feed.serve(QByteArray(2 * 1024 * 1024, ' '));
    expectFailure();
    feed.answer = "file:///missing";
    expectFailure();

    feed.serveVersion("1.1");
    for (const auto* const button : {"openPage", "later"}) {
        updater->checkForUpdates();
        const auto text = outcome();
        EXPECT_TRUE(text.startsWith("A newer version") && text.contains("1.1"));
        dialog()->findChild<QPushButton*>(QLatin1String(button))->click();
        EXPECT_TRUE(QTest::qWaitFor([] { return dialog() == nullptr; }));
        EXPECT_EQ(opened, QUrl("https://example.com/download"));
    }
    start("http://example.com/feed.xml");
    const auto before = feed.requests;
    expectFailure();
    EXPECT_EQ(feed.requests, before);
}

TEST_F(AppcastUpdaterTest, ByItselfAsksOnceADayAndKeepsFailuresToItself) {
    delay = std::chrono::milliseconds(0);
    feed.serve("not a feed");
    start();
    EXPECT_TRUE(QTest::qWaitFor([&] { return feed.requests == 1; }));
    start();
    QTest::qWait(100);
    EXPECT_EQ(feed.requests, 1);
    EXPECT_FALSE(dialog());

    // A day ago, or in the future: the clock has been set back.
    for (const qint64 away : {-86401, 1000}) {
        settings()->setValue("VGUpdaterLastCheck", QDateTime::currentSecsSinceEpoch() + away);
        const int before = feed.requests;
        start();
        EXPECT_TRUE(QTest::qWaitFor([&] { return feed.requests == before + 1; })) << away;
    }
    feed.serveVersion("2.0");
    settings()->setValue("VGUpdaterLastCheck", 0);
    start();
    EXPECT_TRUE(outcome().startsWith("A newer version"));
}

TEST_F(AppcastUpdaterTest, KeepsItsSettingAndMayEndInTheMiddleOfACheck) {
    start();
    EXPECT_TRUE(updater->automaticallyChecksForUpdates());
    updater->setAutomaticallyChecksForUpdates(false);
    start();
    EXPECT_FALSE(updater->automaticallyChecksForUpdates());
    feed.serveVersion("1.1");
    updater->checkForUpdates();
    updater.reset();
    QCoreApplication::processEvents();
    EXPECT_FALSE(dialog());
}

}  // namespace
}  // namespace vestigo
