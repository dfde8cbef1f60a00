#include <cstdlib>
#include <filesystem>

#include <gtest/gtest.h>

#include "platform/qt/qt_preferences.h"
#include "tests/support/temporary_tree.h"

namespace vestigo {
namespace {

TEST(QtPreferences, StoresAChangeAtOnceAndReadsWhatIsAbsentOrForeignAsNothing) {
    const test::TemporaryTree tree;
    const auto path =
        tree.file("settings.ini", "[General]\nword=banana\nlist=1, 2\nhuge=99999999999\n");
    const auto writer = QtPreferences::inFile(path);
    writer->setBoolean("yes", true);
    writer->setBoolean("no", false);
    writer->setInteger("size", -8);
    const auto reader = QtPreferences::inFile(path);
    EXPECT_TRUE(reader->boolean("yes"));
    EXPECT_TRUE(reader->contains("no") && !reader->boolean("no"));
    EXPECT_EQ(reader->integer("size"), -8);
    for (const auto* key : {"absent", "word", "list", "huge"}) {
        EXPECT_FALSE(reader->boolean(key)) << key;
        EXPECT_EQ(reader->integer(key), 0) << key;
    }
    EXPECT_FALSE(reader->contains("absent"));
}

TEST(QtPreferences, DomainsAreApartAndReadingLeavesNoTrace) {
    // Qt looks for the settings folder once in a process.
    static const test::TemporaryTree tree;
    ::setenv("XDG_CONFIG_HOME", tree.path().c_str(), 1);
    EXPECT_FALSE(QtPreferences::previousProduct()->contains("key"));
    EXPECT_TRUE(std::filesystem::is_empty(tree.path()));
    QtPreferences::own()->setBoolean("key", true);
    EXPECT_FALSE(QtPreferences::previousProduct()->contains("key"));
}

}  // namespace
}  // namespace vestigo
