#include <gtest/gtest.h>

#include "platform/qt/qt_preferences.h"
#include "tests/support/temporary_tree.h"

namespace vestigo {
namespace {

TEST(QtPreferences, StoresAChangeAtOnceAndReadsWhatIsAbsentOrForeignAsNothing) {
    const test::TemporaryTree tree;
    const auto path = tree.file("settings.ini", "[General]\nword=banana\nhuge=99999999999\n");
    const auto writer = QtPreferences::inFile(path);
    writer->setBoolean("yes", true);
    writer->setBoolean("no", false);
    writer->setInteger("size", -8);
    const auto reader = QtPreferences::inFile(path);
    EXPECT_TRUE(reader->boolean("yes"));
    EXPECT_TRUE(reader->contains("no") && !reader->boolean("no"));
    EXPECT_EQ(reader->integer("size"), -8);
    for (const auto* key : {"absent", "word", "huge"}) {
        EXPECT_FALSE(reader->boolean(key)) << key;
        EXPECT_EQ(reader->integer(key), 0) << key;
    }
    EXPECT_FALSE(reader->contains("absent"));
}

}  // namespace
}  // namespace vestigo
