#include "engine/removal_check.h"

#include "persist/file_memory_table.h"
#include "platform/posix/posix_files.h"
#include "platform/run_loop.h"
#include "tests/support/service_fakes.h"
#include "tests/support/test.h"

namespace vestigo {
namespace {

namespace fs = std::filesystem;

/// Cannot open a folder of this name.
class RefusingReader : public test::RealReader {
public:
    std::unique_ptr<Folder> open(const std::string& path) override {
        ++opened;
        return path.ends_with("/refused.app") ? nullptr : RealReader::open(path);
    }
    int opened = 0;
};

struct RemovalCheckTest : testing::Test {
    void add(const std::string& path, const std::string& content) { tree.file(path, content); }
    RemovalItem item(const std::string& path, CodeRule rule) {
        return {tree.at(path), services.files->identity(tree.at(path)), rule};
    }
    /// What a first look says, without the name of the item and what all refusals end with.
    std::string why(const std::string& path, CodeRule rule) {
        return reason(ItemCheck(item(path, rule), services).refusal(CancelFlag()));
    }
    static std::string reason(const std::optional<std::string>& refusal) {
        if (!refusal) return "";
        const auto begin = refusal->find("” ") + std::string("” ").size();
        return refusal->substr(begin, refusal->find(" and was left in its place.") - begin);
    }

    const std::string intel = test::thinMachO(test::cpuX86_64);
    const std::string native = test::thinMachO(test::cpuArm64);
    const std::string universal = test::fatMachO({test::cpuX86_64, test::cpuArm64});
    test::TemporaryTree tree;
    bool isAppleNow = false;
    std::shared_ptr<RefusingReader> reader = std::make_shared<RefusingReader>();
    CheckServices services{.reader = reader,
                           .files = std::make_shared<PosixFiles>(),
                           .inspect = [this](const std::string& root) {
                               return SignInfo{isAppleNow || root.ends_with("/apple"), "Vendor"};
                           }};
};

constexpr auto group = CodeRule::noArm64;
constexpr auto leftover = CodeRule::noKeptGroup;
constexpr char runs[] = "also runs natively";

TEST_F(RemovalCheckTest, AnyArm64CodeKeepsAGroup) {
    add("Old.app/Contents/MacOS/old", intel);
    add("Old.app/Contents/Caches/left/out", native);
    add("Late.app/Contents/MacOS/late", intel);
    add("Late.app/Contents/Frameworks/deep/er/helper", native);
    add("tool", intel);
    add("universal", universal);
    EXPECT_EQ(why("Old.app", group), "");
    EXPECT_EQ(why("Late.app", group), runs);
    EXPECT_EQ(why("tool", group), "");
    EXPECT_EQ(why("universal", group), runs);
}

TEST_F(RemovalCheckTest, OnlyAKeptGroupKeepsALeftover) {
    add("Support/updater", universal);
    add("Support/Old.app/old", intel);
    EXPECT_EQ(why("Support", leftover), "");
    add("Support/in/Kept.app/Contents/Inner.framework/kept", universal);
    EXPECT_EQ(why("Support", leftover), "holds “Kept.app”, which also runs natively,");
    // The identifier makes it a bundle by its name, and its universal file no group to be kept.
    add("Containers/com.example.app/updater", universal);
    EXPECT_EQ(why("Containers/com.example.app", leftover), "");
    add("Containers/com.example.app/old", intel);
    EXPECT_EQ(why("Containers/com.example.app", leftover), runs);
    // What is behind a link stays where it is.
    fs::create_symlink("Support", tree.at("link"));
    EXPECT_EQ(why("link", leftover), "");
}

TEST_F(RemovalCheckTest, WhatAppleSignedOrNobodyCouldReadKeepsTheItem) {
    add("apple", intel);
    add("Keg/1.0/apple", intel);
    add("Keg/1.0/other", intel);
    EXPECT_EQ(why("apple", group), "is signed by Apple");
    EXPECT_EQ(why("Keg", leftover), "holds “apple”, which is signed by Apple,");
    add("refused.app/old", intel);
    EXPECT_EQ(why("refused.app", group), "could not be looked into (“refused.app”)");
    fs::create_symlink("/usr/bin", tree.at("bin"));
    EXPECT_EQ(why("bin/env", group), "is protected by the system");
    services.makeMemory = []() -> std::unique_ptr<FileMemory> { throw std::bad_alloc(); };
    add("tool", intel);
    EXPECT_EQ(why("tool", group), "could not be looked into for want of memory");
}

struct LaterLookTest : RemovalCheckTest, testing::WithParamInterface<bool> {
    LaterLookTest() {
        // By this clock all files have been as they are for long.
        const auto later = [] { return FileMemoryTable::systemClock() * 2; };
        if (GetParam()) {
            services.makeMemory = [=] { return std::make_unique<FileMemoryTable>(later); };
        }
    }
    void change(const std::string& path, const std::string& content) {
        // Within one tick of the system's clock a change gives a file no other times.
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
        add(path, content);
    }
};

INSTANTIATE_TEST_SUITE_P(WithoutAndWithAMemory, LaterLookTest, testing::Bool());

TEST_P(LaterLookTest, SeesWhatHasChanged) {
    add("Old.app/old", intel);
    add("Old.app/same", intel);
    const auto shown = item("Old.app", group);
    ItemCheck check(shown, services);
    EXPECT_EQ(check.refusal(CancelFlag()), std::nullopt);
    const auto time = fs::last_write_time(tree.at("Old.app/old"));
    change("Old.app/old", native);
    fs::last_write_time(tree.at("Old.app/old"), time);
    EXPECT_EQ(reason(check.refusal(CancelFlag())), runs);
    change("Old.app/old", intel);
    EXPECT_EQ(check.refusal(CancelFlag()), std::nullopt);
    change("Old.app/Inner.app/new", native);
    EXPECT_EQ(reason(check.refusal(CancelFlag())), runs);
    fs::remove_all(tree.at("Old.app/Inner.app"));
    EXPECT_EQ(check.refusal(CancelFlag()), std::nullopt);
    isAppleNow = true;
    change("Old.app/old", intel + " signed");
    EXPECT_EQ(reason(check.refusal(CancelFlag())), "is signed by Apple");
    isAppleNow = false;
    fs::rename(tree.at("Old.app"), tree.at("Moved.app"));
    // Whoever is to move it says that it is gone.
    EXPECT_EQ(check.refusal(CancelFlag()), std::nullopt);
    add("Old.app/old", intel);
    EXPECT_EQ(reason(check.refusal(CancelFlag())), "is not the item that was shown");
    const RemovalItem never{tree.at("New.app"), std::nullopt, group};
    add("New.app/new", intel);
    EXPECT_EQ(reason(ItemCheck(never, services).refusal(CancelFlag())),
              "is not the item that was shown");
}

TEST_F(RemovalCheckTest, LooksOneAfterTheOtherAndTellsWhenAllAreDone) {
    add("A.app/a", intel);
    add("B.app/b", native);
    const auto loop = std::make_shared<RunLoop>();
    const auto tasks = std::make_shared<test::HeldTasks>();
    RemovalChecks checks(services, loop, tasks);
    int told = 0;
    checks.add(item("A.app", group));
    checks.add(item("B.app", group));
    checks.add(item("C.app", group));
    checks.drop(tree.at("C.app"));
    checks.whenIdle([&told] { ++told; });
    for (int pass = 0; pass < 2; ++pass) {
        EXPECT_TRUE(checks.busy() && told == 0);
        ASSERT_EQ(tasks->jobs.size(), 1U);
        tasks->runHeld();
        loop->runPosted();
    }
    EXPECT_EQ(told, 1);
    EXPECT_EQ(checks.find(tree.at("A.app"))->refusal(CancelFlag()), std::nullopt);
    EXPECT_EQ(reason(checks.find(tree.at("B.app"))->refusal(CancelFlag())), runs);
    EXPECT_FALSE(checks.find(tree.at("C.app")));
    // What is under way ends when it is dropped, or nobody is there any more.
    auto given = std::make_optional<RemovalChecks>(services, loop, tasks);
    given->add(item("A.app", group));
    given->drop(tree.at("A.app"));
    auto closed = std::make_optional<RemovalChecks>(services, loop, tasks);
    closed->add(item("A.app", group));
    closed.reset();
    reader->opened = 0;
    tasks->runHeld();
    EXPECT_EQ(reader->opened, 0);
}

}  // namespace
}  // namespace vestigo
