#include "platform/system.h"
#include "tests/actions/cleanup_fixture.h"

namespace vestigo::test {
namespace {

namespace fs = std::filesystem;

/// Runs the administrator's script on items in a folder of the test.
using CleanupTest = CleanupFixture;

TEST_F(CleanupTest, MovesExactlyTheFilesOfAnyName) {
    Lines names = {"it's", "''\\''",    "\"",          "\\",        "a b\t", "line\nfeed",
                   "-rf",  "--",        "$(touch x)",  "`touch x`", "$HOME", "*",
                   "~",    "; touch x", "\xff\xfe",    "#",         "a\\",   "&",
                   "|",    "\r",        "\x01\x1b[0m", "!!"};
    if (!tree.takesAnyName()) std::erase(names, "\xff\xfe");
    Lines paths;
    for (const auto& name : names) {
        paths.push_back(systemFile(name));
        systemFile("decoy" + name);
    }
    paths.insert(paths.begin() + 3, tree.at("Library/vanished"));
    EXPECT_EQ(runCleanup(paths), std::nullopt);
    for (const auto& name : names) {
        EXPECT_EQ(inTrash(name), name);
        EXPECT_FALSE(fs::exists(tree.at("Library/" + name)));
        EXPECT_TRUE(fs::exists(tree.at("Library/decoy" + name)));
    }
    EXPECT_EQ(namesIn(tree.path()).size(), 3U);
}

TEST_F(CleanupTest, LeavesWhatHasChangedWhileThePasswordWasAskedFor) {
    const Lines paths{systemFile("replaced"), tree.at("d/changed"), tree.file("e/moved", "shown"),
                      systemFile("same")};
    const auto inner = tree.file("d/changed/Contents/inner", "old");
    tree.file("f/moved", "another");
    administrator->meanwhile = [&] {
        systemFile("other");
        fs::rename(tree.at("Library/other"), paths[0]);
        // Another folder takes the place of the one around this item: the item itself is unchanged,
        // but it is not the one that was shown.
        fs::rename(tree.at("e"), tree.at("g"));
        fs::rename(tree.at("f"), tree.at("e"));
        // The time at which a file changed is only as exact as the system's clock ticks.
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
        tree.file("d/changed/Contents/inner", "new");
    };
    EXPECT_EQ(runCleanup(paths), std::nullopt);
    EXPECT_EQ(namesIn(trashFolder), Lines{"same"});
    EXPECT_EQ(files->read(inner), "new");
}

TEST_F(CleanupTest, LeavesWhatIsOnAnotherDiskThanTheTrash) {
    auto items = cleanupItems({systemFile("near"), systemFile("far")});
    ++items[1].identity.device;
    EXPECT_EQ(AdministratorCleanup(places).runAdminCleanup(items),
              "“far” is on another disk than the Trash and was left in its place.");
    EXPECT_EQ(namesIn(trashFolder), Lines{"near"});
}

TEST_F(CleanupTest, MovesNothingWhereTheTrashHasBecomeALink) {
    const auto path = systemFile("one");
    administrator->meanwhile = [this] {
        fs::rename(trashFolder, tree.at("elsewhere"));
        fs::create_directory_symlink(tree.at("elsewhere"), trashFolder);
    };
    EXPECT_TRUE(runCleanup({path}));
    EXPECT_TRUE(fs::exists(path));
    EXPECT_TRUE(fs::is_empty(tree.at("elsewhere")));
}

TEST_F(CleanupTest, NeverUsesATemporaryFolderThatOthersCanEnterOrThatCannotBeHeld) {
    const auto path = systemFile("one");
    for (const auto shared : {fs::perms{0750}, fs::perms{0701}}) {
        fs::permissions(temporary, shared);
        EXPECT_TRUE(runCleanup({path}));
    }
    const auto own = tree.folder("own");
    fs::permissions(own, fs::perms::owner_all);
    fs::remove(temporary);
    fs::create_symlink(own, temporary);
    EXPECT_TRUE(runCleanup({path}));
    struct WithoutLocks : PosixFiles {
        std::unique_ptr<FolderLock> lockFolder(const std::string&, const CancelFlag&) override {
            return nullptr;
        }
    };
    places.files = std::make_shared<WithoutLocks>();
    places.temporary = own;
    EXPECT_TRUE(runCleanup({path}));
    EXPECT_TRUE(administrator->scripts.empty());
    EXPECT_TRUE(fs::is_empty(own));
}

TEST_F(CleanupTest, RunsOneScriptAtATime) {
    std::vector<std::thread> programs;
    for (const auto* name : {"one", "two", "three", "four", "five", "six"}) {
        programs.emplace_back(
            [this, path = systemFile(name)] { EXPECT_EQ(runCleanup({path}), std::nullopt); });
    }
    for (auto& program : programs) program.join();
    EXPECT_FALSE(administrator->overlapped);
    EXPECT_EQ(namesIn(trashFolder).size(), programs.size());
}

TEST_F(CleanupTest, EndsWithinAMomentWhenTheQuestionIsWithdrawn) {
    const auto asked = tree.at("asked");
    const auto wait = [&asked](const std::string&) {
        return Lines{"-c", "touch '" + asked + "'; exec sleep 1000"};
    };
    places.administrator =
        std::make_shared<LaunchedAdministrator>(systemProcesses(systemTasks()), "/bin/sh", wait);
    AdministratorCleanup asking(places);
    const auto path = systemFile("one");
    const auto run = [&] { return asking.runAdminCleanup(cleanupItems({path})); };
    auto open = std::async(std::launch::async, run);
    auto next = std::async(std::launch::async, run);
    while (!fs::exists(asked)) std::this_thread::sleep_for(std::chrono::milliseconds(5));
    // A second program must not take the script away.
    const AdministratorCleanup other(places);
    EXPECT_EQ(namesIn(temporary), Lines{"tm_sys_cleanup.sh"});
    asking.withdraw();
    EXPECT_TRUE(open.get());
    EXPECT_TRUE(next.get());
    EXPECT_TRUE(fs::is_empty(temporary));
    EXPECT_TRUE(fs::exists(path));
    // The next start removes a script that a killed program has left.
    tree.file("temporary/tm_sys_cleanup.sh");
    const AdministratorCleanup nextStart(places);
    EXPECT_TRUE(fs::is_empty(temporary));
}

TEST_F(CleanupTest, ClearsWhatKilledScriptsHaveLeftInAPlainTrash) {
    const pid_t dead = ::fork();
    if (dead == 0) ::_exit(0);
    ::waitpid(dead, nullptr, 0);
    const auto left = [this](const std::string& name) {
        const auto journal = trashName + "/" + name;
        const auto placeholder = tree.file(journal + "/files/tool");
        tree.file(journal + "/files/Foo.app");
        tree.file(journal + "/files/moved");
        tree.file(journal + "/reference");
        fs::permissions(tree.at(journal), fs::perms::owner_all);
        return placeholder;
    };
    const auto live = ".vestigo-" + std::to_string(::getpid()) + "-abc";
    left(live);
    fs::create_hard_link(left(".vestigo-" + std::to_string(dead) + "-abc"), trashFolder + "/tool");
    fs::permissions(tree.folder(trashName + "/Foo.app"), fs::perms::none);
    tree.file(trashName + "/moved", "moved");
    EXPECT_EQ(runCleanup({systemFile("one")}), std::nullopt);
    EXPECT_EQ(namesIn(trashFolder), (Lines{live, "moved", "one"}));
    EXPECT_EQ(inTrash("moved"), "moved");
}

TEST_F(CleanupTest, LeavesProtectedItemsOutOfTheScript) {
    EXPECT_EQ(runCleanup({}), std::nullopt);
    fs::create_symlink("/usr/bin", tree.at("link"));
    const auto refused = tree.at("link/env");
    EXPECT_EQ(runCleanup({"/Library/Apple/x", refused}),
              "“x” is protected by the system and was left in its place.");
    EXPECT_TRUE(administrator->scripts.empty());
    administrator->answer = {0, std::nullopt};
    EXPECT_EQ(runCleanup({refused, systemFile("one")}),
              "“env” is protected by the system and was left in its place.");
    ASSERT_EQ(administrator->scripts.size(), 1U);
    EXPECT_EQ(administrator->scripts[0].find("env"), std::string::npos);
}

/// In which Trash, and by which shell.
struct CleanupScriptTest : CleanupFixture,
                           testing::WithParamInterface<std::tuple<bool, const char*>> {
    CleanupScriptTest() {
        administrator->shell = std::get<1>(GetParam());
        if (std::get<0>(GetParam())) return;
        // The desktop's, behind a link.
        tree.folder("data/.Trash");
        fs::create_directory_symlink(tree.folder("real"), tree.at("data/Trash"));
        places.trash = systemCleanupTrash(folders, files);
        const auto plan = places.trash->plan({});
        trashFolder = plan.folder;
        if (plan.notes) notes = plan.notes->folder;
    }
    /// A file, a folder and a link, and another file of the same name.
    Lines makeItems() {
        tree.file("Library/Foo.app/inner", "item");
        fs::create_symlink("item", tree.at("Library/way"));
        return {tree.file("Library/tool.plist", "item"), tree.at("Library/Foo.app"),
                tree.at("Library/way"), tree.file("More/tool.plist", "item")};
    }
    /// The content of a file, or of the file in a folder, or the destination of a link.
    [[nodiscard]] std::string contentOf(const std::string& name) const {
        const auto path = trashFolder + "/" + name;
        if (fs::is_symlink(path)) return fs::read_symlink(path);
        return files->read(fs::is_directory(path) ? path + "/inner" : path).value_or("nothing");
    }
    void expectArrived(const Lines& paths, const Lines& names) const {
        for (std::size_t i = 0; i < paths.size(); ++i) {
            EXPECT_EQ(contentOf(names[i]), "item") << names[i];
            EXPECT_FALSE(fs::is_symlink(paths[i]) || fs::exists(paths[i])) << paths[i];
            if (notes.empty()) continue;
            const auto note = files->read(notes + "/" + names[i] + ".trashinfo").value_or("");
            EXPECT_NE(note.find("\nPath=" + paths[i] + "\n"), note.npos) << names[i];
        }
        const auto parts = namesIn(fs::path(trashFolder).parent_path());
        EXPECT_TRUE(notes.empty() || parts == (Lines{"files", "info"}));
    }
    /// Has the script find a program in the place of a tool. It runs these commands, then the tool.
    void beforeTool(const std::string& tool, const std::string& commands) {
        const auto path = tree.file("tools/" + tool,
                                    "#!/bin/sh\n" + commands + "\nexec /bin/" + tool + " \"$@\"\n");
        fs::permissions(path, fs::perms::owner_all);
    }

    StandardFolders folders{
        .home = tree.at("data"), .applicationSupport = tree.at("data"), .temporary = {}};
    std::string notes;  ///< The folder for notes, in a Trash that has them.
};

TEST_P(CleanupScriptTest, OverwritesNothingThatComesAtTheLastMoment) {
    for (const std::string way : {"printf other >\"$at\"", "ln -s other \"$at\"",
                                  "/bin/mkdir \"$at\" && printf other >\"$at/inner\""}) {
        const auto paths = makeItems();
        // Another program, which replaces nothing, takes each name just before the script does.
        const auto other = "for name in tool.plist Foo.app way; do at=" + shellQuoted(trashFolder) +
                           "/$name; case \"$*\" in *$name*)"
                           " [ -e \"$at\" ] || [ -L \"$at\" ] || { PATH=/bin; " +
                           way + "; } ;; esac; done";
        beforeTool("ln", other);
        beforeTool("mkdir", other);
        // Also while the password is asked for.
        administrator->meanwhile = [this] {
            fs::create_symlink("other", trashFolder + "/tool.2.plist");
            fs::create_directory(trashFolder + "/Foo.2.app");
            std::ofstream(trashFolder + "/Foo.2.app/inner") << "other";
        };
        EXPECT_EQ(runCleanup(paths), std::nullopt);
        expectArrived(paths, {"tool.3.plist", "Foo.3.app", "way.2", "tool.4.plist"});
        for (const auto* const name :
             {"tool.plist", "Foo.app", "way", "tool.2.plist", "Foo.2.app"}) {
            EXPECT_EQ(contentOf(name), "other") << name;
        }
        EXPECT_EQ(namesIn(trashFolder).size(), 9U);
        for (const auto& name : namesIn(trashFolder)) fs::remove_all(trashFolder + "/" + name);
        if (notes.empty()) continue;
        EXPECT_EQ(namesIn(notes).size(), 4U);
        for (const auto& name : namesIn(notes)) fs::remove(notes + "/" + name);
    }
}

TEST_P(CleanupScriptTest, GivesBackTheNamesOfWhatCannotBeMoved) {
    const auto paths = makeItems();
    beforeTool("mv", "exit 1");
    administrator->afterwards = [this] {
        EXPECT_EQ(namesIn(trashFolder), Lines());
        EXPECT_TRUE(notes.empty() || namesIn(notes).empty());
    };
    EXPECT_EQ(runCleanup(paths), std::nullopt);
    for (const auto& path : paths) EXPECT_TRUE(fs::is_symlink(path) || fs::exists(path)) << path;
}

TEST_P(CleanupScriptTest, GoesOnWhenTheProgramThatWaitsForItHasGone) {
    auto paths = makeItems();
    Lines names{"tool.plist", "Foo.app", "way", "tool.2.plist"};
    // The note of this one would have too long a name.
    names.push_back(std::string(notes.empty() ? 250 : 239, 'n') + (notes.empty() ? "" : ".2"));
    paths.push_back(tree.file("Library/" + std::string(250, 'n'), "item"));
    beforeTool("mv", "touch moving; until [ -e go ]; do sleep 0.01; done");
    auto plan = places.trash->plan(cleanupItems(paths));
    const auto script = tree.file("script", cleanupScript(plan));
    auto status =
        std::async(std::launch::async, runInTree, script, tree.path(), std::get<1>(GetParam()));
    while (!fs::exists(tree.at("moving"))) std::this_thread::yield();
    plan.prepared.reset();
    tree.file("go");
    EXPECT_EQ(status.get(), 0);
    static_cast<void>(systemTrash(folders));  // The next start clears what is left of it.
    expectArrived(paths, names);
    EXPECT_EQ(namesIn(trashFolder).size(), 5U);
}

INSTANTIATE_TEST_SUITE_P(Ways, CleanupScriptTest,
                         testing::Combine(testing::Bool(),
                                          testing::Values("/bin/sh", "/bin/bash --posix")));

TEST(OwnScript, IsNotRunOnWhatIsNotTheTests) {
    const TemporaryTree tree;
    fs::create_symlink("/usr/bin", tree.at("link"));
    const auto script = tree.at("script");
    for (const auto& command :
         Lines{"mv '/usr/bin/env' x", "touch 'a'; mv '" + tree.at("link/env") + "' x",
               "mv '" + tree.path() + "'/'../x' y", "cd /", "mv \"/usr\" x", "x=/usr"}) {
        tree.file("script", "#!/bin/sh\nfalse || " + command + "\n");
        EXPECT_EQ(runInTree(script, tree.path()), -1) << command;
    }
    tree.file("script", "#!/bin/sh\n[ \"$HOME\" = \"$PWD\" ] && rm '" + tree.at("link") +
                            "' 2>/dev/null || true\nexit 5\n");
    EXPECT_EQ(runInTree(script, tree.path()), 5);
    EXPECT_FALSE(fs::is_symlink(tree.at("link")));
}

TEST(OsascriptArguments, NameTheScriptInQuotes) {
    const std::array<std::string, 2> arguments{
        "-e", R"(do shell script "/bin/sh \"/tmp/x.sh\"" with administrator privileges)"};
    EXPECT_EQ(osascriptArguments("/tmp/x.sh"), arguments);
}

}  // namespace
}  // namespace vestigo::test
