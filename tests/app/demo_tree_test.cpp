#include "app/demo_tree.h"

#include <iterator>
#include <memory>
#include <set>
#include <string>
#include <string_view>

#include <gtest/gtest.h>

#include "app/demo_disk.h"
#include "app/scan_session.h"
#include "engine/scan_rules.h"
#include "persist/signature_inspector.h"
#include "platform/linux/linux_code_signing.h"
#include "platform/linux/linux_directory_reader.h"
#include "platform/posix/thread_tasks.h"
#include "tests/support/temporary_tree.h"

namespace vestigo {
namespace {

class DemoTreeTest : public testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(makeDemoTree(disk_.path()));
        session_.run(scanRoots(std::nullopt, Scope::smart, demoHome), false, interrupted_);
    }
    [[nodiscard]] ScanSessionServices services() const {
        const auto signing = demoCodeSigning(std::make_shared<LinuxCodeSigning>(), disk_.path());
        return {
            .loop = std::make_shared<RunLoop>(),
            .background = std::make_shared<ThreadTasks>(),
            .reader = demoDirectoryReader(std::make_shared<LinuxDirectoryReader>(), disk_.path()),
            .inspect = [signing](const std::string& root) {
                return inspectSignature(*signing, root);
            }};
    }

    test::TemporaryTree disk_;
    bool interrupted_ = false;
    ScanSession session_{services(), std::nullopt};
};

TEST_F(DemoTreeTest, ShowsEveryCategoryAndEveryFix) {
    std::set<std::string_view> categories;
    std::set<std::string_view> fixes;
    for (const auto& group : session_.scanner().groups()) {
        categories.insert(group.categoryName());
        fixes.insert(label(group.fix));
    }
    EXPECT_EQ(categories.size(), std::size(allCategories));
    EXPECT_EQ(fixes, (std::set<std::string_view>{"Apple", "Keep", "MacPorts", "Manual", "brew"}));
}

TEST_F(DemoTreeTest, ShowsPathsAsOnTheDiskItPlays) {
    const auto csv = session_.csv();
    EXPECT_EQ(csv.find(disk_.path()), std::string::npos);
    EXPECT_NE(
        csv.find("\"App\",\"Sound Studio.app\",\"Example Audio\",Manual,\"i386, x86_64\",false"),
        std::string::npos);
    EXPECT_NE(csv.find("\"Apple\",Apple,"), std::string::npos);
    EXPECT_EQ(csv.find("Modern Notes"), std::string::npos);
    EXPECT_EQ(csv.find("Caches"), std::string::npos);
}

}  // namespace
}  // namespace vestigo
