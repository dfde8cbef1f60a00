#include <cstdlib>
#include <filesystem>

#include <gtest/gtest.h>

#include "platform/qt/qt_preferences.h"
#include "tests/support/temporary_tree.h"

namespace vestigo {
namespace {

TEST(QtPreferences, StoresAChangeAtOnce) {
    const test::TemporaryTree tree;
    const auto writer = QtPreferences::inFile(tree.at("settings.ini"));
    writer->setBoolean("yes", true);
    writer->setBoolean("no", false);
    writer->setInteger("size", -8);
    const auto reader = QtPreferences::inFile(tree.at("settings.ini"));
    EXPECT_TRUE(reader->boolean("yes"));
    EXPECT_TRUE(reader->contains("no"));
    EXPECT_FALSE(reader->boolean("no"));
    EXPECT_EQ(reader->integer("size"), -8);
}

TEST(QtPreferences, AbsentAndForeignValuesReadAsNothing) {
    const test::TemporaryTree tree;
    const auto preferences = QtPreferences::inFile(
        tree.file("settings.ini", "[General]\nword=banana\nlist=1, 2\nhuge=99999999999\n"));
    for (const auto* key : {"absent", "word", "list", "huge"}) {
        EXPECT_FALSE(preferences->boolean(key)) << key;
        EXPECT_EQ(preferences->integer(key), 0) << key;
    }
    EXPECT_FALSE(preferences->contains("absent"));
}

TEST(QtPreferences, DomainsAreApartAndReadingLeavesNoTrace) {
    // Qt looks for the settings folder once in a process.
    static const test::TemporaryTree tree;
    ::setenv("XDG_CONFIG_HOME", tree.path().c_str(), 1);
    EXPECT_FALSE(QtPreferences::previousProduct()->contains("key"));
    EXPECT_TRUE(std::filesystem::is_empty(tree.path()));
    QtPreferences::own()->setBoolean("key", true);
    EXPECT_TRUE(QtPreferences::own()->boolean("key"));
    EXPECT_FALSE(QtPreferences::previousProduct()->contains("key"));
}

}  // namespace
}  // namespace vestigo
