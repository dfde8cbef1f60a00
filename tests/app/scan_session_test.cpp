#include "app/scan_session.h"

#include <atomic>

#include <gtest/gtest.h>

#include "persist/scan_file_reader.h"
#include "platform/linux/linux_directory_reader.h"
#include "platform/posix/thread_tasks.h"
#include "tests/support/mach_o_maker.h"
#include "tests/support/temporary_tree.h"

namespace vestigo {
namespace {

TEST(ScanSession, InterruptedPrintsWhatWasFoundWithTheVendorsKnownByThen) {
    const test::TemporaryTree tree;
    for (int i = 0; i < 200; ++i) {
        tree.file("f" + std::to_string(i), test::thinMachO(test::cpuI386));
    }
    const auto loop = std::make_shared<RunLoop>();
    bool interrupted = false;
    std::atomic<int> inspected = 0;
    ScanSession session({.loop = loop,
                         .background = std::make_shared<ThreadTasks>(),
                         .reader = std::make_shared<LinuxDirectoryReader>(),
                         .inspect =
                             [&](const std::string&) {
                                 if (++inspected == 50) loop->post([&] { interrupted = true; });
                                 return SignInfo{false, "Vendor"};
                             }},
                        std::nullopt);
    session.run({tree.path()}, false, interrupted);
    EXPECT_TRUE(interrupted);
    const auto record = decodeScanFile(session.json().value_or(""));
    ASSERT_TRUE(record);
    EXPECT_EQ(record->hits.size(), 200U);
    EXPECT_GE(record->signatures->size(), 40U);
}

TEST(ScanSession, InterruptedBeforeTheFirstFileEndsNormally) {
    const test::TemporaryTree tree;
    tree.file("f", test::thinMachO(test::cpuI386));
    bool interrupted = true;
    ScanSession session({.loop = std::make_shared<RunLoop>(),
                         .background = std::make_shared<ThreadTasks>(),
                         .reader = std::make_shared<LinuxDirectoryReader>(),
                         .inspect = {}},
                        std::nullopt);
    session.run({tree.path()}, false, interrupted);
    EXPECT_FALSE(session.scanner().scanning());
    EXPECT_TRUE(session.csv().starts_with("category,"));
}

}  // namespace
}  // namespace vestigo
