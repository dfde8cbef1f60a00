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

TEST(DemoTree, ShowsEveryCategoryAndEveryFixOnTheDiskItPlays) {
    const test::TemporaryTree disk;
    ASSERT_TRUE(makeDemoTree(disk.path()));
    const auto signing = demoCodeSigning(std::make_shared<LinuxCodeSigning>(), disk.path());
    ScanSession session(
        {.loop = std::make_shared<RunLoop>(),
         .background = std::make_shared<ThreadTasks>(),
         .reader = demoDirectoryReader(std::make_shared<LinuxDirectoryReader>(), disk.path()),
         .inspect =
             [signing](const std::string& root) { return inspectSignature(*signing, root); }},
        std::nullopt);
    const bool interrupted = false;
    session.run(scanRoots(std::nullopt, Scope::smart, demoHome), false, interrupted);

    std::set<std::string_view> categories;
    std::set<std::string_view> fixes;
    for (const auto& group : session.scanner().groups()) {
        categories.insert(group.categoryName());
        fixes.insert(label(group.fix));
    }
    EXPECT_EQ(categories.size(), std::size(allCategories));
    EXPECT_EQ(fixes, (std::set<std::string_view>{"Apple", "Keep", "MacPorts", "Manual", "brew"}));
    const auto csv = session.csv();
    for (const auto* const text :
         {"\"App\",\"Sound Studio.app\",\"Example Audio\",Manual,\"i386, x86_64\",false",
          "\"Apple\",Apple,"}) {
        EXPECT_NE(csv.find(text), std::string::npos) << text;
    }
    for (const auto* const text : {disk.path().c_str(), "Modern Notes", "Caches"}) {
        EXPECT_EQ(csv.find(text), std::string::npos) << text;
    }
}

}  // namespace
}  // namespace vestigo
