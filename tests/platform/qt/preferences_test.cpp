#include "platform/qt/qt_preferences.h"
#include "tests/support/test.h"

namespace vestigo::test {
namespace {

TEST(QtPreferences, StoresAChangeAtOnceAndReadsWhatIsAbsentOrForeignAsNothing) {
    const TemporaryTree tree;
    const auto path =
        tree.file("settings.ini", "[General]\nword=banana\nhuge=99999999999\npoints=8.9 pt\n");
    const auto writer = QtPreferences::inFile(path);
    writer->setBoolean("no", false);
    writer->setInteger("size", -8);
    // Two readers of one file in one program share what they know of it.
    std::ostringstream stored;
    stored << std::ifstream(path).rdbuf();
    EXPECT_NE(stored.str().find("size=-8"), std::string::npos);
    const auto reader = QtPreferences::inFile(path);
    EXPECT_TRUE(reader->contains("no") && !reader->contains("absent"));
    for (const auto& [key, value] : std::map<std::string, int>{
             {"size", -8}, {"points", 8}, {"absent", 0}, {"word", 0}, {"huge", 0}}) {
        EXPECT_EQ(reader->integer(key), value) << key;
    }
}

TEST(QtPreferences, UnderstandsWhatTheSystemsOwnReaderDoes) {
    const TemporaryTree tree;
    const auto meansYes = [&](const std::string& word) {
        const auto path = tree.file("in-" + word + ".ini", "[General]\nkey=" + word + "\n");
        return QtPreferences::inFile(path)->boolean("key");
    };
    for (const auto* const yes : {"YES", "yes", "true", "True", "1", "-7", "007", "\" y\""}) {
        EXPECT_TRUE(meansYes(yes)) << yes;
    }
    for (const auto* const no : {"NO", "false", "0", "00", "-", "banana", "\"\""}) {
        EXPECT_FALSE(meansYes(no)) << no;
    }
}

TEST(QtPreferences, AreInTheDomainOfTheBundleOnAMacAndInTheirFileElsewhere) {
    const auto onMac = settingsNames(true, "Vestigo");
    EXPECT_EQ(onMac.organisation, "vestigo.org");
    EXPECT_EQ(onMac.application, "vestigo");
#ifdef Q_OS_MACOS
    EXPECT_TRUE(ownSettings("Vestigo")->fileName().endsWith("/org.vestigo.vestigo.plist"));
#else
    const TemporaryTree home;
    QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope, home.path().c_str());
    home.file("Vestigo/Vestigo.conf", "[General]\nown=4\n");
    home.file("Vestigo.conf", "[General]\nofAllPrograms=4\n");
    EXPECT_EQ(QtPreferences::own()->integer("own"), 4);
    EXPECT_EQ(QtPreferences::own()->integer("ofAllPrograms"), 0);
#endif
}

}  // namespace
}  // namespace vestigo::test
