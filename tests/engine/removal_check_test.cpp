#include "engine/removal_check.h"

#include "persist/file_memory_table.h"
#include "platform/posix/posix_files.h"
#include "platform/run_loop.h"
#include "tests/support/service_fakes.h"
#include "tests/support/test.h"
#include "tests/support/walk_support.h"

namespace vestigo {
namespace {

namespace fs = std::filesystem;

constexpr auto group = CodeRule::noArm64;
constexpr auto leftover = CodeRule::noKeptGroup;
constexpr char runs[] = "also runs natively";

struct RemovalCheckTest : testing::Test {
    RemovalCheckTest() {
        reader->works = [this](std::string_view step, std::string_view name) {
            if (step == "folder") ++opened;
            return !name.ends_with("/refused.app");
        };
    }
    RemovalItem item(const std::string& path, CodeRule rule) {
        return {tree.at(path), services.files->identity(tree.at(path)), rule};
    }
    /// What a first check says, without the name of the item and what all refusals end with.
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
    std::atomic<int> opened = 0;
    std::shared_ptr<test::HookedReader> reader = std::make_shared<test::HookedReader>();
    CheckServices services{.reader = reader,
                           .files = std::make_shared<PosixFiles>(),
                           .inspect = [this](const std::string& root) {
                               return SignInfo{isAppleNow || root.ends_with("/apple"), "Vendor"};
                           }};
};

TEST_F(RemovalCheckTest, TellsWhatKeepsAnItem) {
    for (const auto* const path :
         {"Old.app/Contents/MacOS/old", "Late.app/Contents/MacOS/late", "tool",
          "Support/Old.app/old", "Keeping/Old.app/old", "Containers/com.example.one.app/old",
          "apple", "Keg/1.0/apple", "Keg/1.0/other", "refused.app/old"}) {
        tree.file(path, intel);
    }
    for (const auto* const path :
         {"universal", "Support/updater", "Keeping/in/Kept.app/Contents/Inner.framework/kept",
          "Containers/com.example.one.app/updater", "Containers/com.example.two.app/updater"}) {
        tree.file(path, universal);
    }
    tree.file("Old.app/Contents/Caches/left/out", native);
    tree.file("Late.app/Contents/Frameworks/deep/er/helper", native);
    fs::create_symlink("Keeping", tree.at("link"));
    fs::create_symlink("/usr/bin", tree.at("bin"));
    const std::tuple<const char*, CodeRule, std::string> cases[] = {
        {"Old.app", group, ""},
        {"Late.app", group, runs},
        {"tool", group, ""},
        {"universal", group, runs},
        {"Support", leftover, ""},
        {"Keeping", leftover, "holds “Kept.app”, which also runs natively,"},
        // The identifier makes it a bundle by its name, and its universal file no group to be kept.
        {"Containers/com.example.two.app", leftover, ""},
        {"Containers/com.example.one.app", leftover, runs},
        // What is behind a link stays where it is.
        {"link", leftover, ""},
        {"apple", group, "is signed by Apple"},
        {"Keg", leftover, "holds “apple”, which is signed by Apple,"},
        {"refused.app", group, "could not be looked into (“refused.app”)"},
        {"bin/env", group, "is protected by the system"},
    };
    for (const auto& [path, rule, reason] : cases) EXPECT_EQ(why(path, rule), reason) << path;
    services.makeMemory = []() -> std::unique_ptr<FileMemory> { throw std::bad_alloc(); };
    EXPECT_EQ(why("tool", group), "could not be looked into for want of memory");
}

TEST_F(RemovalCheckTest, SeesLaterWhatHasChanged) {
    services.makeMemory = [] {
        // By this clock all files have been as they are for long.
        return std::make_unique<FileMemoryTable>([] { return FileMemoryTable::systemClock() * 2; });
    };
    const auto change = [this](const std::string& path, const std::string& content) {
        // Within one tick of the system's clock a change gives a file no other times.
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
        tree.file(path, content);
    };
    tree.file("Old.app/old", intel);
    tree.file("Old.app/same", intel);
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
    tree.file("Old.app/old", intel);
    EXPECT_EQ(reason(check.refusal(CancelFlag())), "is not the item that was shown");
    const RemovalItem never{tree.at("New.app"), std::nullopt, group};
    tree.file("New.app/new", intel);
    EXPECT_EQ(reason(ItemCheck(never, services).refusal(CancelFlag())),
              "is not the item that was shown");
}

TEST_F(RemovalCheckTest, ChecksOneAfterTheOtherAndTellsWhenAllAreDone) {
    tree.file("A.app/a", intel);
    tree.file("B.app/b", native);
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
    opened = 0;
    tasks->runHeld();
    EXPECT_EQ(opened, 0);
}

}  // namespace
}  // namespace vestigo
