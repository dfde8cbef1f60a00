// One step of a removal or a save in a tree of its own, for kill_and_fail.py to interrupt.
//
//   removal_steps STEP TREE
//     prepare   makes the items and the saved scan
//     removal   moves 16 groups and 4 leftovers to the Trash
//     save      writes the saved scan and an export anew
//     cleanup   has an administrator's script move 4 items; SCRIPT_SHELL runs it
//     next      what the next start and its first save, export and clean-up do
//     saved     prints how many hits the saved scan has
//
// What failed is printed in one line for each item. Exit status: 0 the step has come to its end ·
// 2 wrong usage, or a tree that is not one of ours.
#include "actions/administrator_cleanup.h"
#include "engine/scanner.h"
#include "persist/scan_cache.h"
#include "platform/linux/linux_trash.h"
#include "platform/posix/posix_files.h"
#include "platform/system.h"
#include "tests/support/own_script.h"
#include "tests/support/test.h"

namespace vestigo {
namespace {

namespace fs = std::filesystem;

constexpr int groupCount = 16;
constexpr int leftoverCount = 4;
constexpr int systemCount = 4;

/// Runs scripts of the tree with the shell that the environment names, under strace perhaps.
class OwnShell : public Administrator {
public:
    explicit OwnShell(std::string tree) : tree_(std::move(tree)) {}

    AdministratorRun runScript(const std::string& script, const CancelFlag& /*cancel*/) override {
        const char* const shell = std::getenv("SCRIPT_SHELL");
        return {test::runInTree(script, tree_, shell ? shell : "/bin/sh"), std::nullopt};
    }

private:
    std::string tree_;
};

class Steps {
public:
    explicit Steps(std::string tree) : tree_(std::move(tree)) {}

    void prepare() {
        for (int i = 0; i < groupCount; ++i) makeFolder(groupPath(i), "group" + std::to_string(i));
        for (int i = 0; i < leftoverCount; ++i) {
            makeFile(leftoverPath(i), "left" + std::to_string(i));
        }
        for (int i = 0; i < systemCount; ++i) makeSystemItem(i);
        makeFile(tree_ + "/Extra/extra", "extra");
        // Things of others that lie in the Trash already, under names that are wanted.
        for (const auto* name : {"App3.app", "left2", "tool.plist"}) {
            makeFile(trash() + "/files/" + name, std::string("other ") + name);
            makeFile(trash() + "/info/" + name + ".trashinfo", "[Trash Info]\nPath=/elsewhere\n");
        }
        makeFile(trash() + "/info/other.trashinfo", "[Trash Info]\nPath=/elsewhere\n");
        fs::permissions(trash(), fs::perms::owner_all);
        fs::create_directories(temporary());
        fs::permissions(temporary(), fs::perms::owner_all);
        cache_.writeScanFile(record(groupCount));
        makeFile(exportPath(), "old");
    }

    void removal() {
        Scanner scanner(scannerServices());
        RootSet roots;
        for (int i = 0; i < groupCount; ++i) roots.insert(groupPath(i));
        begin();
        tell("groups", scanner.trashGroups(roots));
        for (int i = 0; i < leftoverCount; ++i) {
            tell("left" + std::to_string(i), scanner.trashPath(leftoverPath(i)));
        }
    }

    void save() {
        begin();
        cache_.writeScanFile(record(2 * groupCount));
        writeExport("new");
        // And a copy, as one is made of a saved scan that is taken over.
        static_cast<void>(files_->copy(tree_ + "/Extra/extra", exportPath() + ".copy"));
    }

    /// As a removal does it: only what may go is handed to the administrator.
    void cleanup() {
        const Scanner scanner(scannerServices());
        std::vector<std::string> paths;
        for (int i = 0; i < systemCount; ++i) paths.push_back(systemPath(i));
        begin();
        auto [items, refusal] = scanner.allowedToGo(paths);
        const auto error =
            items.empty() ? std::nullopt : administratorCleanup().runAdminCleanup(items);
        tell("cleanup", refusal ? refusal : error);
    }

    void next() {
        const LinuxTrash start(trash());
        cache_.writeScanFile(cache_.readScanFile().value_or(record(0)));
        writeExport("next");
        tell("cleanup", administratorCleanup().runAdminCleanup(
                            test::cleanupItems({tree_ + "/Extra/extra"}, tree_)));
    }

    void saved() {
        const auto found = cache_.readScanFile();
        said_ << "saved " << (found ? std::to_string(found->hits.size()) : "unreadable") << "\n";
    }

    /// At once, and only here: what is printed is what happened.
    [[nodiscard]] bool print() const {
        return static_cast<bool>(std::cout << said_.str() << std::flush);
    }

private:
    /// A call that stands for the beginning of the step in the list of calls.
    static void begin() { static_cast<void>(::getpgid(0)); }
    void tell(const std::string& what, const std::optional<std::string>& error) {
        said_ << what << (error ? " failed: " + *error : " done") << "\n";
    }

    void writeExport(const std::string& content) {
        const bool written = files_->replace(exportPath(), content, Access::usual);
        tell("export", written ? std::nullopt : std::optional<std::string>("not written"));
    }

    [[nodiscard]] std::string trash() const { return tree_ + "/data/Trash"; }
    [[nodiscard]] std::string temporary() const { return tree_ + "/temporary"; }
    [[nodiscard]] std::string exportPath() const { return tree_ + "/Documents/export.csv"; }
    [[nodiscard]] std::string groupPath(int i) const {
        return tree_ + "/Applications/App" + std::to_string(i) + ".app";
    }
    [[nodiscard]] std::string leftoverPath(int i) const {
        return tree_ + "/Leftovers/left" + std::to_string(i);
    }
    /// Two names, one of a file and one of a folder, each twice.
    [[nodiscard]] std::string systemPath(int i) const {
        return tree_ + "/Machine/" + std::to_string(i / 2) +
               (i % 2 == 0 ? "/tool.plist" : "/Old.app");
    }

    static void makeFile(const std::string& path, const std::string& content) {
        fs::create_directories(fs::path(path).parent_path());
        if (!PosixFiles().replace(path, content, Access::usual)) std::exit(1);
    }
    /// In two halves, so that part of an item is told from all of it.
    static void makeFolder(const std::string& path, const std::string& content) {
        makeFile(path + "/Contents/first", content.substr(0, 2));
        makeFile(path + "/second", content.substr(2));
    }
    void makeSystemItem(int i) {
        const auto content = "system" + std::to_string(i);
        if (i % 2 == 0) {
            makeFile(systemPath(i), content);
        } else {
            makeFolder(systemPath(i), content);
        }
    }
    [[nodiscard]] ScanFile record(int hits) const {
        auto result = test::savedScan();
        for (int i = 0; i < hits; ++i) {
            result.hits.push_back(
                test::hitRef({groupPath(i) + "/Contents/first", {"x86_64"}, 2, 0, 0}));
        }
        return result;
    }
    [[nodiscard]] ScannerServices scannerServices() const {
        ScannerServices services;
        services.store = std::make_shared<ScanCache>(cache_);
        services.trash = std::make_shared<LinuxTrash>(trash());
        services.files = files_;
        services.reader = systemDirectoryReader();
        return services;
    }
    [[nodiscard]] AdministratorCleanup administratorCleanup() const {
        return AdministratorCleanup({std::make_shared<OwnShell>(tree_), files_,
                                     std::make_shared<LinuxCleanupTrash>(trash()), temporary()});
    }

    std::string tree_;
    std::shared_ptr<PosixFiles> files_ = std::make_shared<PosixFiles>();
    ScanCache cache_{files_, StandardFolders{tree_, tree_ + "/data", tree_ + "/temporary"}};
    std::ostringstream said_;
};

/// Only a folder that the script has made for this, with everything that a fault could fall back to
/// in it.
bool isOwnTree(const std::string& tree) {
    const auto within = [&tree](const char* variable) {
        const char* const value = std::getenv(variable);
        return value && (value + std::string("/")).starts_with(tree + "/");
    };
    std::error_code error;
    return fs::path(tree).filename().string().starts_with("vestigo-faults-") &&
           fs::canonical(tree, error) == tree && fs::current_path(error) == tree &&
           within("HOME") && within("XDG_DATA_HOME") && within("TMPDIR");
}

}  // namespace
}  // namespace vestigo

int main(int count, char** arguments) {
    if (count != 3 || !vestigo::isOwnTree(arguments[2])) {
        std::cerr << "removal_steps: not in a tree of kill_and_fail.py\n";
        return 2;
    }
    using vestigo::Steps;
    const std::map<std::string, void (Steps::*)()> all{
        {"prepare", &Steps::prepare}, {"removal", &Steps::removal}, {"save", &Steps::save},
        {"cleanup", &Steps::cleanup}, {"next", &Steps::next},       {"saved", &Steps::saved}};
    const auto step = all.find(arguments[1]);
    if (step == all.end()) return 2;
    Steps steps(arguments[2]);
    (steps.*step->second)();
    return steps.print() ? 0 : 1;
}
