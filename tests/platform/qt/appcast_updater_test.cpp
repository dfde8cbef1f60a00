#include "platform/qt/appcast_updater.h"

#include <QApplication>
#include <QDateTime>
#include <QLabel>
#include <QPushButton>
#include <QTemporaryDir>
#include <QTest>

#include "platform/qt/appcast.h"
#include "tests/support/test.h"

namespace vestigo {
namespace {

QByteArray feedOf(const QByteArray& items) {
    return R"(<?xml version="1.0"?><rss version="2.0" )"
           R"(xmlns:sparkle="http://www.andymatuschak.org/xml-namespaces/sparkle"><channel>)" +
           items + "</channel></rss>";
}

TEST(Appcast, ComparesVersionsPartByPart) {
    const QStringList ascending{"0.9", "1.0b2", "1.0-rc9", "1.0-rc10", "1", "1.2", "1.10"};
    for (int i = 1; i < ascending.size(); ++i) {
        EXPECT_TRUE(isNewer(ascending[i], ascending[i - 1])) << i;
        EXPECT_FALSE(isNewer(ascending[i - 1], ascending[i])) << i;
    }
    EXPECT_FALSE(isNewer("1.0.0", "1"));
    EXPECT_FALSE(isNewer("99999999999999999999", "0.1"));
}

TEST(Appcast, TakesTheNewestItemThatBelongsToNoChannelAndNothingFromABrokenFeed) {
    const auto feed = feedOf(
        R"(<item><link>https://example.com/page</link>
             <description><![CDATA[<p>Faster &amp; smaller.</p><script>x()</script>]]></description>
             <enclosure url="https://example.com/v.zip" sparkle:version="130"
                        sparkle:shortVersionString="1.3"/></item>
           <item><link>https://example.com/1.1</link><sparkle:version>1.1</sparkle:version></item>
           <item><sparkle:channel>beta</sparkle:channel><link>https://example.com/2</link>
             <sparkle:version>2.0</sparkle:version></item>
           <item><sparkle:version>9.0</sparkle:version><link>file:///etc/passwd</link></item>)");
    const auto newest = newestItem(feed);
    ASSERT_TRUE(newest);
    EXPECT_EQ(newest->version, "1.3");
    EXPECT_EQ(newest->page, QUrl("https://example.com/page"));
    EXPECT_EQ(newest->notes.trimmed(), "Faster & smaller.");

    auto withEntity = feed.mid(21).replace("1.1<", "&a;<");
    withEntity.prepend("<!DOCTYPE rss [<!ENTITY a \"1.1\">]>");
    for (const auto& none : {QByteArray("<html/>"), feedOf(""), feed.chopped(8), withEntity}) {
        EXPECT_FALSE(newestItem(none)) << none.toStdString();
    }
}

/// Leads every request to an answer that needs no network.
class FeedNetwork : public QNetworkAccessManager {
public:
    explicit FeedNetwork(std::function<QByteArray()> answer) : answer_(std::move(answer)) {}

protected:
    QNetworkReply* createRequest(Operation operation, const QNetworkRequest& request,
                                 QIODevice*) override {
        EXPECT_EQ(request.attribute(QNetworkRequest::RedirectPolicyAttribute),
                  QNetworkRequest::NoLessSafeRedirectPolicy);
        return QNetworkAccessManager::createRequest(operation,
                                                    QNetworkRequest(QUrl::fromEncoded(answer_())));
    }

private:
    std::function<QByteArray()> answer_;
};

class AppcastUpdaterTest : public testing::Test {
protected:
    void serve(const QByteArray& body) { answer = "data:text/xml;base64," + body.toBase64(); }
    void serveVersion(const QByteArray& version) {
        serve(
            feedOf("<item><link>https://example.com/download</link><description>New.</description>"
                   "<sparkle:version>" +
                   version + "</sparkle:version></item>"));
    }
    std::unique_ptr<QSettings> settings() const {
        return std::make_unique<QSettings>(folder.filePath("updater.ini"), QSettings::IniFormat);
    }
    void start(const char* address = "https://example.com/feed.xml") {
        requests = 0;
        auto network = std::make_unique<FeedNetwork>([this] { return ++requests, answer; });
        updater = std::make_unique<AppcastUpdater>(
            QUrl(address), "1.0",
            AppcastServices{.settings = settings(),
                            .network = std::move(network),
                            .openPage = [this](const QUrl& page) { opened = page; },
                            .delay = delay});
    }
    /// A start for which the last check was so many seconds ago.
    void startAfter(qint64 seconds) {
        settings()->setValue("VGUpdaterLastCheck", QDateTime::currentSecsSinceEpoch() - seconds);
        start();
    }
    static QWidget* dialog() { return QApplication::activeModalWidget(); }
    /// Whether the dialog that comes up says this first. The button closes it.
    static bool isTold(const char* what, const char* button = "ok") {
        EXPECT_TRUE(QTest::qWaitFor([] { return dialog() != nullptr; }));
        if (!dialog()) return false;
        const auto text = dialog()->findChild<QLabel*>()->text();
        dialog()->findChild<QPushButton*>(QLatin1String(button))->click();
        EXPECT_TRUE(QTest::qWaitFor([] { return dialog() == nullptr; }));
        return text.startsWith(what);
    }

    QTemporaryDir folder;
    QByteArray answer;
    int requests = 0;
    QUrl opened;
    std::chrono::milliseconds delay = std::chrono::hours(1);
    std::unique_ptr<AppcastUpdater> updater;
};

TEST_F(AppcastUpdaterTest, ShowsEveryOutcomeToTheUserWhoAsked) {
    start();
    serveVersion("1.0");
    updater->checkForUpdates();
    EXPECT_TRUE(isTold("You’re up to date"));
    serveVersion("1.1");
    updater->checkForUpdates();
    EXPECT_TRUE(isTold("A newer version", "openPage"));
    EXPECT_EQ(opened, QUrl("https://example.com/download"));

    serve(QByteArray(2 * 1024 * 1024, ' '));
    updater->checkForUpdates();
    EXPECT_TRUE(isTold("Could not look for updates"));
    start("http://example.com/feed.xml");
    updater->checkForUpdates();
    EXPECT_TRUE(isTold("Could not look for updates"));
    EXPECT_EQ(requests, 0);
}

TEST_F(AppcastUpdaterTest, ByItselfAsksOnceADayUnlessToldNotToAndKeepsFailuresToItself) {
    delay = std::chrono::milliseconds(0);
    serve("not a feed");
    // A day ago, or in the future: the clock has been set back.
    for (const int seconds : {86401, -1000}) {
        startAfter(seconds);
        EXPECT_TRUE(QTest::qWaitFor([&] { return requests == 1; })) << seconds;
        QTest::qWait(50);
        EXPECT_FALSE(dialog());
    }
    start();
    QTest::qWait(100);
    EXPECT_EQ(requests, 0);
    EXPECT_FALSE(dialog());
    serveVersion("2.0");
    startAfter(86401);
    EXPECT_TRUE(isTold("A newer version", "later"));
    updater->setAutomaticallyChecksForUpdates(false);
    startAfter(86401);
    QTest::qWait(100);
    EXPECT_EQ(requests, 0);
}

TEST_F(AppcastUpdaterTest, MayEndInTheMiddleOfACheck) {
    start();
    serveVersion("1.1");
    updater->checkForUpdates();
    updater->checkForUpdates();
    EXPECT_EQ(requests, 1);
    updater.reset();
    QCoreApplication::processEvents();
    EXPECT_FALSE(dialog());
}

}  // namespace
}  // namespace vestigo
