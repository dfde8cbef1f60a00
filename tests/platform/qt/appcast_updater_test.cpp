#include "platform/qt/appcast_updater.h"

#include <QApplication>
#include <QDateTime>
#include <QLabel>
#include <QNetworkReply>
#include <QPushButton>
#include <QTest>

#include "platform/qt/appcast.h"
#include "tests/support/test.h"

namespace vestigo::test {
namespace {

QByteArray feedOf(const QByteArray& items) {
    return R"(<?xml version="1.0"?><rss version="2.0" )"
           R"(xmlns:sparkle="http://www.andymatuschak.org/xml-namespaces/sparkle"><channel>)" +
           items + "</channel></rss>";
}

QByteArray feedWith(const QByteArray& version) {
    return feedOf(
        "<item><link>https://example.com/download</link><description>New.</description>"
        "<sparkle:version>" +
        version + "</sparkle:version></item>");
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

/// An answer that needs no network, and comes to its end in the next turn.
class FakeReply : public QNetworkReply {
public:
    FakeReply(const QByteArray& body, QObject* network) : QNetworkReply(network), body_(body) {
        open(ReadOnly);
        QTimer::singleShot(0, this, &FakeReply::finished);
    }
    void abort() override { setError(OperationCanceledError, "aborted"); }

protected:
    qint64 readData(char* data, qint64 most) override {
        const auto count = std::min<qint64>(most, body_.size());
        std::copy_n(body_.begin(), count, data);
        body_.remove(0, count);
        return count;
    }

private:
    QByteArray body_;
};

struct FakeNetwork : QNetworkAccessManager {
    QNetworkReply* createRequest(Operation, const QNetworkRequest& request, QIODevice*) override {
        EXPECT_EQ(request.attribute(QNetworkRequest::RedirectPolicyAttribute),
                  QNetworkRequest::NoLessSafeRedirectPolicy);
        ++requests;
        return reply = new FakeReply(answer, this);
    }
    QByteArray answer;
    int requests = 0;
    QPointer<FakeReply> reply;
};

class AppcastUpdaterTest : public testing::Test {
protected:
    std::unique_ptr<QSettings> settings() const {
        const auto file = QString::fromStdString(tree.at("updater.ini"));
        return std::make_unique<QSettings>(file, QSettings::IniFormat);
    }
    void start(const QByteArray& answer, const char* address = "https://example.com/feed.xml") {
        auto own = std::make_unique<FakeNetwork>();
        network = own.get();
        network->answer = answer;
        updater = std::make_unique<AppcastUpdater>(
            QUrl(address), "1.0",
            AppcastServices{.settings = settings(),
                            .network = std::move(own),
                            .openPage = [this](const QUrl& page) { opened = page; },
                            .delay = delay});
    }
    /// A start for which the last check was so many seconds ago.
    void startAfter(qint64 seconds, const QByteArray& answer) {
        settings()->setValue("VGUpdaterLastCheck", QDateTime::currentSecsSinceEpoch() - seconds);
        start(answer);
    }
    static QWidget* dialog() { return QApplication::activeModalWidget(); }
    /// What the dialog that comes up says. The button closes it.
    static std::string told(const char* button = "ok") {
        if (!QTest::qWaitFor([] { return dialog() != nullptr; })) return "nothing";
        std::string text;
        for (const auto* const label : dialog()->findChildren<QLabel*>()) {
            text += label->text().toStdString() + "\n";
        }
        dialog()->findChild<QPushButton*>(QLatin1String(button))->click();
        EXPECT_TRUE(QTest::qWaitFor([] { return dialog() == nullptr; }));
        return text;
    }
    std::string toldWhoAsks(const char* button = "ok") {
        updater->checkForUpdates();
        return told(button);
    }

    TemporaryTree tree;
    QUrl opened;
    std::chrono::milliseconds delay = std::chrono::hours(1);
    FakeNetwork* network = nullptr;
    std::unique_ptr<AppcastUpdater> updater;
};

TEST_F(AppcastUpdaterTest, ShowsEveryOutcomeToTheUserWhoAsked) {
    start(feedWith("1.0"));
    EXPECT_TRUE(toldWhoAsks().starts_with("You’re up to date"));
    network->answer = feedWith("1.1");
    EXPECT_TRUE(toldWhoAsks("openPage").starts_with("A newer version"));
    EXPECT_EQ(opened, QUrl("https://example.com/download"));

    const std::string failed = "Could not look for updates\n";
    network->answer += QByteArray(2 * 1024 * 1024, ' ');
    EXPECT_EQ(toldWhoAsks(), failed + "The answer is too long.\n");
    network->answer = feedWith("1.1");
    updater->checkForUpdates();
    emit network->reply->downloadProgress(2 * 1024 * 1024, -1);
    EXPECT_EQ(told(), failed + "aborted\n");
    start("", "http://example.com/feed.xml");
    EXPECT_TRUE(toldWhoAsks().starts_with(failed));
    EXPECT_EQ(network->requests, 0);
}

TEST_F(AppcastUpdaterTest, ByItselfAsksOnceADayUnlessToldNotToAndKeepsFailuresToItself) {
    delay = std::chrono::milliseconds(0);
    // A day ago, or in the future: the clock has been set back.
    for (const int seconds : {86401, -1000}) {
        startAfter(seconds, "not a feed");
        EXPECT_TRUE(QTest::qWaitFor([&] { return network->requests == 1; })) << seconds;
        QTest::qWait(50);
        EXPECT_FALSE(dialog());
    }
    start(feedWith("2.0"));
    QTest::qWait(100);
    EXPECT_EQ(network->requests, 0);
    startAfter(86401, feedWith("2.0"));
    EXPECT_TRUE(told("later").starts_with("A newer version"));
    updater->setAutomaticallyChecksForUpdates(false);
    startAfter(86401, feedWith("2.0"));
    QTest::qWait(100);
    EXPECT_EQ(network->requests, 0);
}

TEST_F(AppcastUpdaterTest, MayEndInTheMiddleOfACheck) {
    start(feedWith("1.1"));
    updater->checkForUpdates();
    updater->checkForUpdates();
    EXPECT_EQ(network->requests, 1);
    updater.reset();
    QCoreApplication::processEvents();
    EXPECT_FALSE(dialog());
}

}  // namespace
}  // namespace vestigo::test
