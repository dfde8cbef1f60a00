#include "platform/qt/appcast.h"

#include <gtest/gtest.h>

namespace vestigo {
namespace {

QByteArray feedOf(const QByteArray& items) {
    return R"(<?xml version="1.0"?><rss version="2.0" )"
           R"(xmlns:sparkle="http://www.andymatuschak.org/xml-namespaces/sparkle"><channel>)" +
           items + "</channel></rss>";
}

TEST(Appcast, ComparesVersionsPartByPart) {
    const QStringList ascending{"0.9",     "1.0b2", "1.0-rc1", "1.0-rc10", "1",
                                "1.0.0.1", "1.2b3", "1.2",     "1.10",     "2"};
    for (int i = 0; i < ascending.size(); ++i) {
        for (int j = 0; j < ascending.size(); ++j) {
            EXPECT_EQ(isNewer(ascending[i], ascending[j]), i > j)
                << ascending[i].toStdString() << " " << ascending[j].toStdString();
        }
    }
    EXPECT_FALSE(isNewer("1.0.0", "1"));
    for (const auto* const none : {"", "newest", "1..2", "-1", "99999999999999999999"}) {
        EXPECT_FALSE(isNewer(none, "0.1")) << none;
    }
}

TEST(Appcast, TakesTheNewestItemThatBelongsToNoChannel) {
    const auto newest = newestItem(feedOf(
        R"(<item><title>1.1</title><link>https://example.com/1.1</link>
             <sparkle:version>1.1</sparkle:version></item>
           <item><link>https://example.com/page</link>
             <description><![CDATA[<p>Faster &amp; smaller.</p><script>x()</script>]]></description>
             <enclosure url="https://example.com/v.zip" sparkle:version="130"
                        sparkle:shortVersionString="1.3"/></item>
           <item><sparkle:channel>beta</sparkle:channel><link>https://example.com/2</link>
             <sparkle:version>2.0</sparkle:version></item>
           <item><sparkle:version>9.0</sparkle:version><link>file:///etc/passwd</link></item>)"));
    ASSERT_TRUE(newest);
    EXPECT_EQ(newest->version, "1.3");
    EXPECT_EQ(newest->page, QUrl("https://example.com/page"));
    EXPECT_EQ(newest->notes.trimmed(), "Faster & smaller.");
}

TEST(Appcast, GivesNothingForWhatIsNoFeed) {
    const auto feed = feedOf(
        "<item><sparkle:version>1.0</sparkle:version>"
        "<enclosure url=\"https://example.com/v.zip\"/></item>");
    EXPECT_TRUE(newestItem(feed));
    auto withEntity = feed.mid(21).replace("1.0<", "&a;<");
    withEntity.prepend("<!DOCTYPE rss [<!ENTITY a \"1.0\">]>");
    for (const auto& none : {QByteArray(), QByteArray("<html><body>Not found</body></html>"),
                             feedOf(""), feed.chopped(8), withEntity}) {
        EXPECT_FALSE(newestItem(none)) << none.toStdString();
    }
}

}  // namespace
}  // namespace vestigo
