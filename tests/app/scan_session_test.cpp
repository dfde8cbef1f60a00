#include "cli/scan_session.h"

#include "persist/scan_file_reader.h"
#include "platform/posix/thread_tasks.h"
#include "platform/system.h"
#include "tests/support/test.h"

namespace vestigo {
namespace {

/// The record of a scan of 200 files that is interrupted at once, or once vendors are known.
std::optional<ScanFile> interruptedScan(bool atOnce) {
    const test::TemporaryTree tree;
    for (int i = 0; i < 200; ++i) {
        tree.file("f" + std::to_string(i), test::thinMachO(test::cpuI386));
    }
    const auto loop = std::make_shared<RunLoop>();
    bool interrupted = atOnce;
    ScanSession session({.loop = loop,
                         .background = std::make_shared<ThreadTasks>(),
                         .reader = systemDirectoryReader(),
                         .inspect =
                             [](const std::string&) {
                                 return SignInfo{false, "Vendor"};
                             }},
                        {});
    const auto watching = session.scanner().subscribe([&](ScannerField field) {
        if (field == ScannerField::signatures) interrupted = true;
    });
    session.run({tree.path()}, true, false, interrupted);
    EXPECT_TRUE(interrupted);
    EXPECT_FALSE(session.scanner().scanning());
    EXPECT_TRUE(session.csv().starts_with("category,"));
    return decodeScanFile(session.json().value_or(""));
}

TEST(ScanSession, InterruptedPrintsWhatWasFoundWithTheVendorsKnownByThen) {
    const auto record = interruptedScan(false);
    ASSERT_TRUE(record);
    EXPECT_EQ(record->hits.size(), 200U);
    EXPECT_EQ(record->signatures->size(), 40U);
}

TEST(ScanSession, InterruptedBeforeTheFirstFileEndsNormally) {
    EXPECT_TRUE(interruptedScan(true));
}

}  // namespace
}  // namespace vestigo
