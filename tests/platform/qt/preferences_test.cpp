#include "platform/qt/qt_preferences.h"
#include "tests/support/test.h"

namespace vestigo {
namespace {

TEST(QtPreferences, StoresAChangeAtOnceAndReadsWhatIsAbsentOrForeignAsNothing) {
    const test::TemporaryTree tree;
    const auto path =
        tree.file("settings.ini", "[General]\nword=banana\nhuge=99999999999\npoints=8.9 pt\n");
    const auto writer = QtPreferences::inFile(path);
    writer->setBoolean("yes", true);
    writer->setBoolean("no", false);
    writer->setInteger("size", -8);
    // Two readers of one file in one program share what they know of it.
    std::ostringstream stored;
    stored << std::ifstream(path).rdbuf();
    EXPECT_NE(stored.str().find("size=-8"), std::string::npos);
    const auto reader = QtPreferences::inFile(path);
    EXPECT_TRUE(reader->boolean("yes"));
    EXPECT_TRUE(reader->contains("no") && !reader->boolean("no"));
    EXPECT_EQ(reader->integer("size"), -8);
    EXPECT_EQ(reader->integer("points"), 8);
    for (const auto* key : {"absent", "word", "huge"}) {
        EXPECT_EQ(reader->integer(key), 0) << key;
    }
    EXPECT_FALSE(reader->boolean("absent"));
    EXPECT_FALSE(reader->contains("absent"));
}

TEST(QtPreferences, UnderstandsWhatTheSystemsOwnReaderDoes) {
    const test::TemporaryTree tree;
    std::string content = "[General]\n";
    const std::string yes[] = {"YES", "yes", "true", "True", "1", "-7", "007", "\" y\""};
    const std::string no[] = {"NO", "false", "0", "00", "-", "banana", "\"\""};
    for (const auto& word : yes) content += "yes" + std::to_string(&word - yes) + "=" + word + "\n";
    for (const auto& word : no) content += "no" + std::to_string(&word - no) + "=" + word + "\n";
    const auto reader = QtPreferences::inFile(tree.file("settings.ini", content));
    for (const auto& word : yes) {
        EXPECT_TRUE(reader->boolean("yes" + std::to_string(&word - yes))) << word;
    }
    for (const auto& word : no) {
        EXPECT_FALSE(reader->boolean("no" + std::to_string(&word - no))) << word;
    }
}

TEST(OwnSettings, AreInTheDomainOfTheBundleOnAMacAndInTheirFileElsewhere) {
    const auto onMac = settingsNames(true, "Vestigo");
    EXPECT_EQ(onMac.organisation, "vestigo.org");
    EXPECT_EQ(onMac.application, "vestigo");
#ifdef Q_OS_MACOS
    const auto* const file = "/org.vestigo.vestigo.plist";
#else
    const auto* const file = "/Vestigo/Vestigo.conf";
#endif
    EXPECT_TRUE(ownSettings("Vestigo")->fileName().endsWith(file));
}

}  // namespace
}  // namespace vestigo
