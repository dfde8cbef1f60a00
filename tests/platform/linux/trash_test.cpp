#include <cerrno>

#include <sched.h>
#include <sys/file.h>
#include <sys/mount.h>
#include <sys/syscall.h>

#include "platform/linux/linux_trash.h"
#include "platform/posix/descriptor.h"
#include "platform/system.h"
#include "tests/support/own_script.h"
#include "tests/support/test.h"

namespace {

/// A file system that knows no rename without replacing; and what happens right before one that
/// replaces.
std::function<void(const char* target)> beforeRename;

}  // namespace

extern "C" int renameat2(int from, const char* name, int to, const char* newName,
                         unsigned flags) noexcept {
    if (!beforeRename) {
        return static_cast<int>(::syscall(SYS_renameat2, from, name, to, newName, flags));
    }
    errno = EINVAL;
    return -1;
}

extern "C" int renameat(int from, const char* name, int to, const char* newName) noexcept {
    if (beforeRename) beforeRename(newName);
    return static_cast<int>(::syscall(SYS_renameat2, from, name, to, newName, 0));
}

namespace vestigo {
namespace {

namespace fs = std::filesystem;

struct LinuxTrashTest : testing::Test {
    [[nodiscard]] std::string contentOf(const std::string& path) const {
        return systemFiles()->read(path).value_or("nothing");
    }
    [[nodiscard]] std::string trashed(const std::string& name) const {
        return contentOf(home + "/files/" + name);
    }
    /// Where the item came from, as the Trash has it.
    [[nodiscard]] std::string originOf(const std::string& name) const {
        const auto info = contentOf(home + "/info/" + name + ".trashinfo");
        const std::string start = "[Trash Info]\nPath=";
        EXPECT_TRUE(info.starts_with(start)) << info;
        return info.substr(start.size(), info.find('\n', start.size()) - start.size());
    }
    [[nodiscard]] auto move(const std::string& path) {
        return trash.moveToTrash(path, systemFiles()->identity(path).value_or(ItemIdentity()));
    }
    /// Moves a file of this path with each content.
    void moveToTrash(const std::string& path, const std::vector<std::string>& contents) {
        for (const auto& content : contents) {
            EXPECT_EQ(move(tree.file(path, content)), std::nullopt);
        }
    }

    test::TemporaryTree tree;
    std::string home = tree.at("data/Trash");
    LinuxTrash trash{home};
};

TEST_F(LinuxTrashTest, KeepsTheItemWholeWithWhereItCameFrom) {
    const std::string name = "it's\n\xff.plist";
    moveToTrash("caf\xc3\xa9 100%/" + name, {"content"});
    EXPECT_TRUE(fs::is_empty(tree.at("caf\xc3\xa9 100%")));
    EXPECT_EQ(trashed(name), "content");
    EXPECT_EQ(originOf(name), tree.at("caf%C3%A9%20100%25/it%27s%0A%FF.plist"));
    EXPECT_EQ(fs::status(home).permissions(), fs::perms{0700});
}

TEST_F(LinuxTrashTest, LeavesWhatHasTakenThePlaceOfTheItem) {
    const auto path = tree.file("Foo.app", "shown");
    const auto shown = systemFiles()->identity(path).value();
    fs::rename(path, tree.at("elsewhere"));
    tree.file("Foo.app", "another");
    EXPECT_EQ(trash.moveToTrash(path, shown),
              "“Foo.app” could not be moved to the Trash: another item has taken its place.");
    EXPECT_EQ(contentOf(path), "another");
    fs::rename(tree.at("elsewhere"), path);
    EXPECT_EQ(trash.moveToTrash(path, shown), std::nullopt);
    EXPECT_EQ(trashed("Foo.app"), "shown");
}

TEST_F(LinuxTrashTest, KeepsBothOfOneName) {
    tree.file("data/Trash/files/Foo.2.app", "without info");
    tree.file("data/Trash/info/Foo.3.app.trashinfo", "without item");
    moveToTrash("Foo.app", {"first", "second"});
    EXPECT_EQ(trashed("Foo.app"), "first");
    EXPECT_EQ(trashed("Foo.2.app"), "without info");
    EXPECT_EQ(trashed("Foo.4.app"), "second");
    EXPECT_EQ(originOf("Foo.4.app"), tree.at("Foo.app"));
    const std::string longName(255, 'n');
    moveToTrash(longName, {"first", "second"});
    EXPECT_EQ(trashed(longName.substr(0, 245)), "first");
    EXPECT_EQ(trashed(longName.substr(0, 243) + ".2"), "second");
}

TEST_F(LinuxTrashTest, MovesALinkAndNotWhereItLeads) {
    fs::create_symlink(tree.folder("real"), tree.at("way"));
    fs::create_symlink(tree.file("target", "stays"), tree.at("real/link"));
    EXPECT_EQ(move(tree.at("way/link")), std::nullopt);
    EXPECT_TRUE(fs::is_symlink(home + "/files/link"));
    EXPECT_EQ(contentOf(tree.at("target")), "stays");
    EXPECT_EQ(originOf("link"), tree.at("real/link"));
}

TEST_F(LinuxTrashTest, LeavesNothingBehindWhereItFails) {
    tree.file("folder/item");
    EXPECT_EQ(move(tree.at("gone/item")),
              "“item” could not be moved to the Trash: it is no longer there.");
    tree.folder("data");
    for (const auto& path : {tree.at("data"), tree.at("folder/.."), std::string("/proc"),
                             std::string("folder"), std::string()}) {
        EXPECT_TRUE(move(path)) << path;
    }
    EXPECT_TRUE(fs::is_empty(home + "/info"));
}

TEST_F(LinuxTrashTest, RefusesATrashThatLeadsElsewhere) {
    const auto item = tree.file("item");
    tree.folder("data/Trash");
    fs::create_symlink(tree.folder("elsewhere"), home + "/files");
    EXPECT_TRUE(move(item));
    fs::remove_all(home);
    const bool isRoot = ::chown(tree.folder("data/Trash/info").c_str(), 4711, 4711) == 0;
    EXPECT_TRUE(!isRoot || move(item));
    fs::remove_all(home);
    tree.file("data/Trash", "a file");
    EXPECT_TRUE(move(item));
    EXPECT_TRUE(LinuxCleanupTrash(home).plan(test::cleanupItems({item})).error);
    EXPECT_TRUE(fs::exists(item));
}

TEST_F(LinuxTrashTest, ClearsWhatKilledMovesHaveLeftAndNothingElse) {
    moveToTrash("item", {"arrived"});
    const auto notes = home + "/info/";
    const auto ours = contentOf(notes + "item.trashinfo");
    tree.file("data/Trash/info/killed.trashinfo", ours);
    tree.file("data/Trash/info/held.trashinfo", ours);
    tree.file("data/Trash/info/other program.trashinfo", "[Trash Info]\nPath=/x\n");
    tree.file("data/Trash/info/empty.trashinfo");
    tree.file("data/Trash/.vestigo-" + std::string(32, '0'), "not placed yet");
    tree.file("data/Trash/directorysizes", "of another program");
    const Descriptor held(::open((notes + "held.trashinfo").c_str(), O_RDONLY | O_CLOEXEC));
    ASSERT_EQ(::flock(held.get(), LOCK_EX), 0);
    const LinuxTrash next(home);
    auto left = systemFiles()->names(home + "/info").value();
    std::ranges::sort(left);
    EXPECT_EQ(left, (std::vector<std::string>{"empty.trashinfo", "held.trashinfo", "item.trashinfo",
                                              "other program.trashinfo"}));
    EXPECT_EQ(systemFiles()->names(home)->size(), 3U);
    EXPECT_EQ(trashed("item"), "arrived");
}

TEST_F(LinuxTrashTest, GivesBackWhatAScriptHadTakenOnceNobodyHoldsItsJournal) {
    tree.file("data/Trash/files/arrived", "item");
    const auto item = tree.at("item");
    auto plan = LinuxCleanupTrash(home).plan(test::cleanupItems({item, item + "2"}));
    ASSERT_TRUE(plan.notes);
    const auto& [info, ending, journal] = *plan.notes;
    for (const auto* name : {"/arrived", "/not", "/folder"}) {
        fs::create_hard_link(journal + "/notes/1", journal + "/info" + name + ending);
        fs::create_hard_link(journal + "/notes/1", info + name + ending);
        tree.file(fs::relative(journal, tree.path()).string() + "/files" + name);
    }
    fs::create_hard_link(journal + "/files/not", plan.folder + "/not");
    fs::permissions(tree.folder("data/Trash/files/folder"), fs::perms::none);
    const LinuxTrash meanwhile(home);
    EXPECT_EQ(systemFiles()->names(info)->size(), 3U);
    EXPECT_EQ(systemFiles()->names(plan.folder)->size(), 3U);
    plan.prepared.reset();
    EXPECT_EQ(systemFiles()->names(info), std::vector<std::string>{"arrived.trashinfo"});
    EXPECT_EQ(systemFiles()->names(plan.folder), std::vector<std::string>{"arrived"});
    EXPECT_EQ(originOf("arrived"), item);
    EXPECT_EQ(systemFiles()->names(home)->size(), 2U);
}

TEST_F(LinuxTrashTest, TakesOnlyTheItemThatWasMeantHoweverQuicklyItIsExchanged) {
    const auto path = tree.at("Foo.app");
    const auto aside = tree.at("aside");
    int moved = 0;
    for (int round = 0; round < 30; ++round) {
        tree.file("Foo.app", "meant");
        tree.file("aside", "another");
        const auto meant = systemFiles()->identity(path).value();
        std::atomic<bool> done = false;
        std::thread exchanger([&] {
            while (!done) {
                ::renameat2(AT_FDCWD, path.c_str(), AT_FDCWD, aside.c_str(), RENAME_EXCHANGE);
            }
        });
        const auto refusal = trash.moveToTrash(path, meant);
        done = true;
        exchanger.join();
        ASSERT_TRUE(contentOf(path) == "another" || contentOf(aside) == "another");
        if (refusal) {
            EXPECT_NE(refusal->find("another item has taken its place"), refusal->npos) << *refusal;
        } else {
            ++moved;
            EXPECT_NE(contentOf(path), "meant");
            EXPECT_NE(contentOf(aside), "meant");
        }
    }
    // Where each round came too late there is no Trash yet.
    for (const auto* part : {"/files", "/info"}) {
        const auto names = systemFiles()->names(home + part).value_or(std::vector<std::string>());
        EXPECT_EQ(names.size(), static_cast<std::size_t>(moved)) << part;
    }
}

TEST_F(LinuxTrashTest, ReplacesNothingWhereTheDiskCannotRenameSo) {
    std::vector<std::string> others;
    const auto file = tree.file("tool", "item");
    tree.file("Foo.app/inner", "item");
    beforeRename = [&](const char* target) {
        // Another program that is just as quick, and keeps to a free name.
        const auto path = home + "/files/" + target;
        const Descriptor other(::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL, 0600));
        if (other) others.push_back(path);
    };
    EXPECT_EQ(move(file), std::nullopt);
    EXPECT_EQ(move(tree.at("Foo.app")), std::nullopt);
    EXPECT_TRUE(move(tree.at("data")));
    beforeRename = {};
    for (const auto& other : others) EXPECT_EQ(contentOf(other), "") << other;
    EXPECT_EQ(trashed("tool"), "item");
    EXPECT_EQ(trashed("Foo.app/inner"), "item");
    EXPECT_EQ(systemFiles()->names(home).value().size(), 2U);
    EXPECT_EQ(systemFiles()->names(home + "/info").value().size(), 2U);
    EXPECT_EQ(systemFiles()->names(home + "/files").value().size(), 2U);
}

TEST_F(LinuxTrashTest, IsListedAndRestoredByTheFileManagersService) {
    fs::permissions(tree.folder("runtime"), fs::perms::owner_all);
    const auto inSession = [this](const std::string& commands) {
        const auto said = tree.at("said");
        const auto line = "XDG_DATA_HOME='" + tree.at("data") + "' HOME='" + tree.path() +
                          "' XDG_RUNTIME_DIR='" + tree.at("runtime") +
                          "' timeout 60 dbus-run-session -- sh -c '" + commands + "' 2>&- >" + said;
        EXPECT_NE(std::system(line.c_str()), -1);
        return contentOf(said);
    };
    if (inSession("gio list trash:/// && echo answers") != "answers\n") {
        GTEST_SKIP() << "no such service here";
    }
    const auto path = tree.file("It's mine.app/inner", "content");
    ASSERT_EQ(move(tree.at("It's mine.app")), std::nullopt);
    const auto listed =
        inSession("gio trash --list; gio trash --restore \"trash:///It%27s%20mine.app\"");
    EXPECT_NE(listed.find(tree.at("It's mine.app")), std::string::npos) << listed;
    EXPECT_EQ(contentOf(path), "content");
}

/// Whether this process may from now on mount what it likes, and nobody else sees it.
bool hasOwnMounts() {
    const auto user = std::to_string(::geteuid());
    const bool isRoot = ::geteuid() == 0;
    if (::unshare(isRoot ? CLONE_NEWNS : CLONE_NEWUSER | CLONE_NEWNS) != 0) return false;
    if (!isRoot && !(std::ofstream("/proc/self/uid_map") << user << " " << user << " 1").flush()) {
        return false;
    }
    return ::mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0;
}

struct OtherDiskTest : LinuxTrashTest {
    void SetUp() override {
        if (!hasOwnMounts() || ::mount("disk", disk.c_str(), "tmpfs", 0, "mode=755") != 0) {
            GTEST_SKIP() << "no mounts of one's own here";
        }
        item = tree.file("disk/sub folder/item", "x");
    }
    ~OtherDiskTest() override { ::umount2(disk.c_str(), MNT_DETACH); }
    void expectInTrash(const std::string& top) {
        home = top;
        EXPECT_EQ(trashed("item"), "x");
        EXPECT_EQ(originOf("item"), "sub%20folder/item");
        EXPECT_EQ(fs::status(top).permissions(), fs::perms{0700});
    }

    std::string disk = tree.folder("disk");
    std::string user = std::to_string(::geteuid());
    std::string own = disk + "/.Trash-" + user;
    std::string item;
};

TEST_F(OtherDiskTest, HasATrashOfItsOwnAndUsesTheSharedOneOnlyWhereItIsSafe) {
    const auto shared = tree.folder("disk/.Trash");
    EXPECT_EQ(move(item), std::nullopt);
    expectInTrash(own);
    EXPECT_TRUE(fs::is_empty(shared));
    // A script would have to copy it.
    tree.file("disk/far");
    EXPECT_EQ(LinuxCleanupTrash(tree.at("data/Trash"))
                  .plan(test::cleanupItems({disk + "/far"}))
                  .onOtherDisks.size(),
              1U);
    // What a killed program has left there goes with the next one's first item.
    fs::rename(own + "/files/item", tree.at("disk/again"));
    LinuxTrash next(tree.at("data/Trash"));
    const auto identity = systemFiles()->identity(disk + "/far").value();
    EXPECT_EQ(next.moveToTrash(disk + "/far", identity), std::nullopt);
    EXPECT_FALSE(fs::exists(own + "/info/item.trashinfo"));
    ::chmod(shared.c_str(), 01777);
    moveToTrash("disk/sub folder/item", {"x"});
    expectInTrash(shared + "/" + user);
}

TEST_F(OtherDiskTest, LeavesTheItemWhereTheTrashCannotBeLookedAt) {
    tree.file("disk/file");
    for (const auto& unreachable : {disk + "/file/Trash", disk + "/" + std::string(300, 'n')}) {
        LinuxTrash lost(unreachable);
        const auto why = lost.moveToTrash(item, systemFiles()->identity(item).value());
        ASSERT_TRUE(why);
        EXPECT_NE(why->find("the Trash cannot be looked at ("), why->npos) << *why;
        EXPECT_TRUE(fs::exists(item));
        EXPECT_FALSE(fs::exists(own));
    }
}

TEST_F(OtherDiskTest, NeverFollowsATrashThatIsALink) {
    fs::create_directory_symlink(tree.folder("disk/elsewhere"), own);
    EXPECT_TRUE(move(item));
    EXPECT_TRUE(fs::exists(item));
}

}  // namespace
}  // namespace vestigo
