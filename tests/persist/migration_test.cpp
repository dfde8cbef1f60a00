#include "persist/migration.h"

#include <map>
#include <memory>

#include <gtest/gtest.h>

#include "persist/preference_keys.h"
#include "platform/posix/posix_files.h"
#include "tests/support/temporary_tree.h"

namespace vestigo {
namespace {

using namespace preference;

struct FakePreferences : Preferences {
    std::map<std::string, int> values;

    bool contains(const std::string& key) const override { return values.contains(key); }
    bool boolean(const std::string& key) const override { return integer(key) != 0; }
    int integer(const std::string& key) const override {
        return contains(key) ? values.at(key) : 0;
    }
    void setBoolean(const std::string& key, bool value) override { values[key] = value ? 1 : 0; }
    void setInteger(const std::string& key, int value) override { values[key] = value; }
};

struct Migration : testing::Test {
    Migration() { previous.setBoolean(acceptedDisclaimer, true); }
    void migrate() { migrateFromPreviousProduct(own, &previous, cache); }

    test::TemporaryTree tree;
    PosixFiles files;
    ScanCache cache{std::make_shared<PosixFiles>(), {{}, tree.path(), {}}};
    FakePreferences own, previous;
    std::string old = tree.file("Tracemole/last-scan.json", "old");
    std::string current = tree.at("Vestigo/last-scan.json");
};

TEST_F(Migration, TakesOverAcceptanceAndLastScanOnce) {
    migrate();
    EXPECT_TRUE(own.boolean(acceptedDisclaimer));
    EXPECT_TRUE(own.boolean(migratedFromTracemole));
    EXPECT_EQ(files.read(current), "old");
    EXPECT_EQ(files.read(old), "old");
    EXPECT_EQ(previous.values.size(), 1U);
    own.values.erase(acceptedDisclaimer);
    files.remove(current);
    migrate();
    EXPECT_FALSE(own.contains(acceptedDisclaimer));
    EXPECT_FALSE(files.exists(current));
}

TEST_F(Migration, NeverOverwritesWhatIsThere) {
    own.setBoolean(acceptedDisclaimer, false);
    tree.file("Vestigo/last-scan.json", "current");
    migrate();
    EXPECT_FALSE(own.boolean(acceptedDisclaimer));
    EXPECT_EQ(files.read(current), "current");
}

TEST_F(Migration, CountsAsDoneWhenNothingCouldBeTakenOver) {
    tree.file("Vestigo", "in the way");
    migrateFromPreviousProduct(own, nullptr, cache);
    EXPECT_FALSE(own.contains(acceptedDisclaimer));
    EXPECT_TRUE(own.boolean(migratedFromTracemole));
}

}  // namespace
}  // namespace vestigo
