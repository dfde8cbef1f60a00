// A Trash, an administrator and files of the machine, all in the test's own tree.
#pragma once

#include "actions/administrator_cleanup.h"
#include "platform/folder_cleanup_trash.h"
#include "platform/posix/posix_files.h"
#include "tests/support/own_script.h"
#include "tests/support/test.h"

namespace vestigo::test {

using Lines = std::vector<std::string>;

/// Runs scripts of the tree as this user, or ends as told. Notes what was going on.
class FakeAdministrator : public Administrator {
public:
    explicit FakeAdministrator(std::string tree) : tree_(std::move(tree)) {}

    AdministratorRun runScript(const std::string& script, const CancelFlag& /*cancel*/) override {
        if (++running > 1) overlapped = true;
        scripts.push_back(PosixFiles().read(script).value_or(""));
        permissions = std::filesystem::status(script).permissions();
        if (meanwhile) meanwhile();
        const auto result =
            answer ? *answer : AdministratorRun{runInTree(script, tree_, shell), std::nullopt};
        if (afterwards) afterwards();
        --running;
        return result;
    }
    std::function<void()> meanwhile;   ///< Happens while the password is asked for.
    std::function<void()> afterwards;  ///< Happens when the script has ended.
    std::optional<AdministratorRun> answer;
    std::string shell = "/bin/sh";
    Lines scripts;
    std::filesystem::perms permissions{};
    std::atomic<int> running = 0;
    std::atomic<bool> overlapped = false;

private:
    std::string tree_;
};

struct CleanupFixture : testing::Test {
    CleanupFixture() { std::filesystem::permissions(temporary, std::filesystem::perms::owner_all); }
    std::optional<std::string> runCleanup(const Lines& paths) {
        return AdministratorCleanup(places).runAdminCleanup(cleanupItems(paths, tree.path()));
    }
    std::string systemFile(const std::string& name) { return tree.file("Library/" + name, name); }
    [[nodiscard]] Lines namesIn(const std::string& folder) const {
        auto names = files->names(folder).value_or(Lines{"unreadable"});
        std::ranges::sort(names);
        return names;
    }
    [[nodiscard]] std::string inTrash(const std::string& name) const {
        return files->read(trashFolder + "/" + name).value_or("nothing");
    }

    TemporaryTree tree;
    std::string temporary = tree.folder("temporary");
    std::string trashName = "o'ne \"$HOME\" Trash";
    std::string trashFolder = tree.folder(trashName);
    std::shared_ptr<FakeAdministrator> administrator =
        std::make_shared<FakeAdministrator>(tree.path());
    std::shared_ptr<PosixFiles> files = std::make_shared<PosixFiles>();
    AdministratorCleanupServices places{
        administrator, files, std::make_shared<FolderCleanupTrash>(trashFolder, files), temporary};
};

}  // namespace vestigo::test
