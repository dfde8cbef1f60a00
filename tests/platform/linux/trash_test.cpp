#include <cerrno>

#include <sys/file.h>
#include <sys/syscall.h>

#include "platform/linux/linux_trash.h"
#include "platform/posix/descriptor.h"
#include "platform/system.h"
#include "tests/platform/linux/machine.h"
#include "tests/support/own_script.h"
#include "tests/support/test.h"

namespace {

/// What another program does right before one of these calls, which gives an entry the name.
std::function<void(std::string_view call, const std::string& name)> meanwhile;

void beforeCall(std::string_view call, const char* name) {
    const auto happens = std::exchange(meanwhile, {});
    if (!happens) return;
    happens(call, name);
    meanwhile = happens;
}

}  // namespace

extern "C" int renameat2(int from, const char* name, int to, const char* newName,
                         unsigned flags) noexcept {
    beforeCall("renameat2", newName);
    return static_cast<int>(::syscall(SYS_renameat2, from, name, to, newName, flags));
}

extern "C" int renameat(int from, const char* name, int to, const char* newName) noexcept {
    beforeCall("renameat", newName);
    return static_cast<int>(::syscall(SYS_renameat, from, name, to, newName));
}

extern "C" int flock(int file, int operation) noexcept {
    beforeCall("flock", "");
    return static_cast<int>(::syscall(SYS_flock, file, operation));
}

namespace vestigo {
namespace {

namespace fs = std::filesystem;
using Names = std::vector<std::string>;

struct LinuxTrashTest : testing::Test {
    ~LinuxTrashTest() override { meanwhile = {}; }

    [[nodiscard]] std::string contentOf(const std::string& path) const {
        return systemFiles()->read(path).value_or("nothing");
    }
    [[nodiscard]] Names namesIn(const std::string& folder) const {
        auto names = systemFiles()->names(folder).value_or(Names());
        std::ranges::sort(names);
        return names;
    }
    /// In the Trash.
    [[nodiscard]] Names items() const { return namesIn(home + "/files"); }
    [[nodiscard]] Names notes() const { return namesIn(home + "/info"); }
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
    /// Why the item could not be moved; empty where it was.
    std::string move(const std::string& path) {
        return move(path, systemFiles()->identity(path).value_or(ItemIdentity()));
    }
    std::string move(const std::string& path, const ItemIdentity& item) {
        const auto why = trash.moveToTrash(path, item).value_or("");
        const std::string start =
            "“" + fs::path(path).filename().string() + "” could not be moved to the Trash: ";
        return why.starts_with(start) ? why.substr(start.size()) : why;
    }
    void exchange(const std::string& one, const std::string& other) const {
        ::renameat2(AT_FDCWD, tree.at(one).c_str(), AT_FDCWD, tree.at(other).c_str(),
                    RENAME_EXCHANGE);
    }
    void moveFile(const std::string& path, const std::string& content) {
        EXPECT_EQ(move(tree.file(path, content)), "");
    }

    test::TemporaryTree tree;
    std::string home = tree.at("data/Trash");
    LinuxTrash trash{home};
    const bool isRoot = ::geteuid() == 0;
};

TEST_F(LinuxTrashTest, KeepsTheItemWholeWithWhereItCameFrom) {
    const std::string name = "it's\n\xff.plist";
    moveFile("caf\xc3\xa9 100%/" + name, "content");
    EXPECT_TRUE(fs::is_empty(tree.at("caf\xc3\xa9 100%")));
    EXPECT_EQ(trashed(name), "content");
    EXPECT_EQ(originOf(name), tree.at("caf%C3%A9%20100%25/it%27s%0A%FF.plist"));
    EXPECT_EQ(fs::status(home).permissions(), fs::perms{0700});
    // A link goes itself, and not where it leads.
    fs::create_symlink(tree.folder("real"), tree.at("way"));
    fs::create_symlink(tree.file("target", "stays"), tree.at("real/link"));
    EXPECT_EQ(move(tree.at("way/link")), "");
    EXPECT_TRUE(fs::is_symlink(home + "/files/link"));
    EXPECT_EQ(contentOf(tree.at("target")), "stays");
    EXPECT_EQ(originOf("link"), tree.at("real/link"));
}

TEST_F(LinuxTrashTest, KeepsBothOfOneName) {
    tree.file("data/Trash/files/Foo.2.app", "without info");
    tree.file("data/Trash/info/Foo.3.app.trashinfo", "without item");
    const auto ofLetters = [](int letters) {
        std::string name;
        while (letters-- > 0) name += "é";
        return name;
    };
    for (const auto* const content : {"first", "second"}) {
        moveFile("Foo.app", content);
        moveFile(ofLetters(127), content);
        moveFile(".hidden", content);
    }
    EXPECT_EQ(trashed("Foo.app"), "first");
    EXPECT_EQ(trashed("Foo.2.app"), "without info");
    EXPECT_EQ(trashed("Foo.4.app"), "second");
    EXPECT_EQ(originOf("Foo.4.app"), tree.at("Foo.app"));
    EXPECT_EQ(trashed(ofLetters(122)), "first");
    EXPECT_EQ(trashed(ofLetters(121) + ".2"), "second");
    EXPECT_EQ(trashed(".hidden.2"), "second");
    // Also a name that is taken at the last moment.
    meanwhile = [this](auto, const auto& name) {
        if (name == "Bar.app") tree.file("data/Trash/files/Bar.app", "other");
    };
    moveFile("Bar.app", "ours");
    EXPECT_EQ(trashed("Bar.app"), "other");
    EXPECT_EQ(trashed("Bar.2.app"), "ours");
    EXPECT_FALSE(fs::exists(home + "/info/Bar.app.trashinfo"));
}

TEST_F(LinuxTrashTest, LeavesWhatHasTakenThePlaceOfTheItem) {
    const std::string taken = "another item has taken its place";
    const auto path = tree.file("Foo.app", "meant");
    tree.file("aside", "another");
    const auto meant = systemFiles()->identity(path).value();
    exchange("Foo.app", "aside");
    EXPECT_EQ(move(path, meant), taken + ".");
    // Also where that happens at the last moment: what was moved goes back.
    exchange("Foo.app", "aside");
    int exchanges = 0;
    meanwhile = [&](auto, const auto& name) {
        if (name == "Foo.app" && exchanges++ == 0) exchange("Foo.app", "aside");
    };
    EXPECT_EQ(move(path, meant), taken + ".");
    EXPECT_EQ(contentOf(path), "another");
    EXPECT_EQ(contentOf(tree.at("aside")), "meant");
    EXPECT_EQ(items(), Names());
    EXPECT_EQ(notes(), Names());
    // Unless something has come to that place too.
    exchange("Foo.app", "aside");
    meanwhile = [&](auto, const auto& name) {
        if (name != "Foo.app") return;
        exchanges++ == 2 ? exchange("Foo.app", "aside") : void(tree.file("Foo.app", "third"));
    };
    EXPECT_EQ(move(path, meant), taken + " and lies in the Trash as “Foo.app”.");
    EXPECT_EQ(contentOf(path), "third");
    EXPECT_EQ(trashed("Foo.app"), "another");
    EXPECT_EQ(notes().size(), 1U);
}

TEST_F(LinuxTrashTest, SaysWhyItFailedAndLeavesNothingBehind) {
    tree.file("folder/item");
    tree.folder("data");
    const std::pair<std::string, std::string> cases[] = {
        {tree.at("gone/item"), "it is no longer there."},
        {tree.at("data"), "it holds the Trash itself."},
        {tree.at("folder/."), "it cannot be moved."},
        {tree.at("folder/.."), "it cannot be moved."},
        {"folder", "it cannot be moved."},
    };
    for (const auto& [path, why] : cases) EXPECT_EQ(move(path), why) << path;
    EXPECT_NE(move("/proc"), "");
    EXPECT_NE(move(""), "");
    EXPECT_EQ(notes(), Names());
}

TEST_F(LinuxTrashTest, RefusesATrashThatLeadsElsewhere) {
    const auto item = tree.file("item");
    tree.folder("data/Trash");
    fs::create_symlink(tree.folder("elsewhere"), home + "/files");
    EXPECT_NE(move(item), "");
    fs::remove_all(home);
    ASSERT_TRUE(!isRoot || ::chown(tree.folder("data/Trash/info").c_str(), 4711, 4711) == 0);
    EXPECT_TRUE(!isRoot || !move(item).empty());
    fs::remove_all(home);
    tree.file("data/Trash", "a file");
    EXPECT_NE(move(item), "");
    EXPECT_TRUE(LinuxCleanupTrash(home).plan(test::cleanupItems({item})).error);
    EXPECT_TRUE(fs::exists(item));
}

TEST_F(LinuxTrashTest, ClearsWhatKilledMovesHaveLeftAndNothingElse) {
    moveFile("item", "arrived");
    const auto info = home + "/info/";
    const auto ours = contentOf(info + "item.trashinfo");
    for (const auto* const name : {"killed", "held", "late"}) {
        tree.file(std::string("data/Trash/info/") + name + ".trashinfo", ours);
    }
    tree.file("data/Trash/info/other program.trashinfo", "[Trash Info]\nPath=/x\n");
    tree.file("data/Trash/info/empty.trashinfo");
    const auto orphan = tree.file("data/Trash/.vestigo-" + std::string(32, '0'), "not placed yet");
    tree.file("data/Trash/directorysizes", "of another program");
    const Descriptor held(::open((info + "held.trashinfo").c_str(), O_RDONLY | O_CLOEXEC));
    ASSERT_EQ(::flock(held.get(), LOCK_EX), 0);
    meanwhile = [&](auto call, const auto&) {
        // The first lock is that of the orphan, before the Trash is listed.
        if (call == "flock" && !fs::exists(orphan)) tree.file("data/Trash/files/late");
    };
    const LinuxTrash next(home);
    EXPECT_EQ(notes(), (Names{"empty.trashinfo", "held.trashinfo", "item.trashinfo",
                              "late.trashinfo", "other program.trashinfo"}));
    EXPECT_EQ(namesIn(home), (Names{"directorysizes", "files", "info"}));
    EXPECT_EQ(trashed("item"), "arrived");
}

TEST_F(LinuxTrashTest, GivesBackWhatAScriptHadTakenOnceNobodyHoldsItsJournal) {
    tree.file("data/Trash/files/arrived", "item");
    const auto item = tree.at("item");
    auto plan = LinuxCleanupTrash(home).plan(test::cleanupItems({item, item + "2"}));
    ASSERT_TRUE(plan.notes);
    const auto& [info, ending, journal] = *plan.notes;
    for (const auto* const name : {"/arrived", "/not", "/folder", "/early", "/other"}) {
        fs::create_hard_link(journal + "/notes/1", journal + "/info" + name + ending);
        fs::create_hard_link(journal + "/notes/1", info + name + ending);
        tree.file(fs::relative(journal, tree.path()).string() + "/files" + name);
    }
    fs::create_hard_link(journal + "/files/not", plan.folder + "/not");
    fs::permissions(tree.folder("data/Trash/files/folder"), fs::perms::none);
    tree.folder("data/Trash/files/other");  // Of another program.
    const LinuxTrash meanwhileStarted(home);
    EXPECT_EQ(notes().size(), 5U);
    EXPECT_EQ(items().size(), 4U);
    plan.prepared.reset();
    EXPECT_EQ(notes(), (Names{"arrived.trashinfo", "other.trashinfo"}));
    EXPECT_EQ(items(), (Names{"arrived", "other"}));
    EXPECT_EQ(originOf("arrived"), item);
    const auto strangers = tree.folder("data/Trash/.vestigo-" + std::string(32, '0'));
    ASSERT_TRUE(!isRoot || ::chown(strangers.c_str(), 4711, 4711) == 0);
    const LinuxTrash next(home);
    EXPECT_EQ(fs::exists(strangers), isRoot);
    EXPECT_FALSE(fs::exists(journal));
}

TEST_F(LinuxTrashTest, ReplacesNothingWhereTheDiskCannotRenameSo) {
    Names others;
    // Another program that is just as quick, and keeps to a free name.
    meanwhile = [&](auto call, const auto& name) {
        if (call != "renameat" || (name != "tool" && name != "Foo.app")) return;
        const auto path = home + "/files/" + name;
        const Descriptor other(::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL, 0600));
        if (other) others.push_back(path);
    };
    const std::vector<unsigned> without[] = {{SYS_renameat2}, {SYS_renameat2, SYS_linkat}};
    for (const auto& calls : without) {
        fs::remove_all(home);
        const auto file = tree.file("tool", "item");
        tree.file("Foo.app/inner", "item");
        test::whereCallsFail({calls.back()}, EPERM, [&] {
            test::whereCallsFail({calls.front()}, EINVAL, [&] {
                EXPECT_EQ(move(file), "");
                EXPECT_EQ(move(tree.at("Foo.app")), "");
                EXPECT_NE(move(tree.at("data")), "");
                EXPECT_TRUE(systemFiles()->copy(home + "/files/tool", tree.at("copy")));
                EXPECT_FALSE(systemFiles()->copy(home + "/files/tool", tree.at("copy")));
            });
        });
        for (const auto& other : others) EXPECT_EQ(contentOf(other), "") << other;
        EXPECT_EQ(trashed("tool"), "item");
        EXPECT_EQ(trashed("Foo.app/inner"), "item");
        EXPECT_EQ(contentOf(tree.at("copy")), "item");
        EXPECT_EQ(namesIn(home), (Names{"files", "info"}));
        EXPECT_EQ(items().size(), 2U);
        EXPECT_EQ(notes().size(), 2U);
        fs::remove(tree.at("copy"));
    }
}

struct OtherDiskTest : LinuxTrashTest {
    void SetUp() override {
        if (!mounts.addDisk(disk)) GTEST_SKIP() << "no mounts of one's own here";
        item = tree.file("disk/sub folder/item", "x");
    }
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
    test::OwnMounts mounts;
};

TEST_F(OtherDiskTest, HasATrashOfItsOwnAndUsesTheSharedOneOnlyWhereItIsSafe) {
    const auto shared = tree.folder("disk/.Trash");
    EXPECT_EQ(move(item), "");
    expectInTrash(own);
    EXPECT_TRUE(fs::is_empty(shared));
    // A script would have to copy it.
    const auto far = tree.file("disk/far");
    const auto plan = LinuxCleanupTrash(tree.at("data/Trash")).plan(test::cleanupItems({far}));
    EXPECT_EQ(plan.onOtherDisks, Names{far});
    // What a killed program has left there goes with the next one's first item.
    fs::rename(own + "/files/item", tree.at("disk/again"));
    LinuxTrash next(tree.at("data/Trash"));
    EXPECT_EQ(next.moveToTrash(far, systemFiles()->identity(far).value()), std::nullopt);
    EXPECT_FALSE(fs::exists(own + "/info/item.trashinfo"));
    ::chmod(shared.c_str(), 01777);
    moveFile("disk/sub folder/item", "x");
    expectInTrash(shared + "/" + user);
}

TEST_F(OtherDiskTest, LeavesTheItemWhereTheTrashCannotBeLookedAtOrIsALink) {
    tree.file("disk/file");
    for (const auto& unreachable : {disk + "/file/Trash", disk + "/" + std::string(300, 'n')}) {
        trash = LinuxTrash(unreachable);
        const auto why = move(item);
        EXPECT_TRUE(why.starts_with("the Trash cannot be looked at (")) << why;
        EXPECT_FALSE(fs::exists(own));
    }
    trash = LinuxTrash(home);
    fs::create_directory_symlink(tree.folder("disk/elsewhere"), own);
    EXPECT_NE(move(item), "");
    EXPECT_TRUE(fs::exists(item));
}

}  // namespace
}  // namespace vestigo
