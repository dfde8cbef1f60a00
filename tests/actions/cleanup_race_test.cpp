#include "actions/administrator_cleanup.h"
#include "platform/folder_cleanup_trash.h"
#include "platform/posix/descriptor.h"
#include "platform/posix/posix_files.h"
#include "platform/posix/system_calls.h"
#include "platform/system.h"
#include "tests/support/own_script.h"
#include "tests/support/test.h"

namespace vestigo {
namespace {

namespace fs = std::filesystem;

/// Another program that puts things into a Trash folder all the time, and takes them out again,
/// without ever replacing anything.
class OtherProgram {
public:
    OtherProgram(const test::TemporaryTree& tree, std::string folder)
        : tree_(tree), folder_(std::move(folder)), thread_([this] { run(); }) {}
    ~OtherProgram() { stop(); }
    OtherProgram(const OtherProgram&) = delete;
    OtherProgram& operator=(const OtherProgram&) = delete;

    void stop() {
        done_ = true;
        if (thread_.joinable()) thread_.join();
    }
    /// What it has put there and not taken out again, with the content.
    [[nodiscard]] const std::map<std::string, std::string>& kept() const { return kept_; }

private:
    void run() {
        constexpr const char* names[][2] = {{"tool", ".plist"}, {"Foo", ".app"}, {"way", ""}};
        std::mt19937 random(4711);
        while (!done_) {
            const auto& [stem, ending] = names[random() % 3];
            const auto number = random() % 12;
            const auto name = stem + (number > 1 ? "." + std::to_string(number) : "") + ending;
            if (kept_.contains(name)) {
                if (random() % 4 == 0) remove(name);
            } else if (put(name, static_cast<unsigned>(random() % 3))) {
                kept_[name] = content_;
            }
        }
    }
    bool put(const std::string& name, unsigned way) {
        content_ = "other " + std::to_string(++count_);
        const auto path = folder_ + "/" + name;
        if (way == 0) {
            const Descriptor file(::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL, 0600));
            return file && ::write(file.get(), content_.data(), content_.size()) > 0;
        }
        if (way == 1) return ::symlink(content_.c_str(), path.c_str()) == 0;
        const auto ready = tree_.file("ready/" + std::to_string(count_) + "/inner", content_);
        return renameIfFree(AT_FDCWD, fs::path(ready).parent_path(), AT_FDCWD, path);
    }
    void remove(const std::string& name) {
        fs::remove_all(folder_ + "/" + name);
        kept_.erase(name);
    }

    const test::TemporaryTree& tree_;
    std::string folder_;
    std::string content_;
    unsigned count_ = 0;
    std::map<std::string, std::string> kept_;
    std::atomic<bool> done_ = false;
    std::thread thread_;
};

struct CleanupRace : testing::TestWithParam<const char*> {
    /// Of a file, of a folder with a file in it, or where a link leads.
    static std::string contentOf(const std::string& path) {
        std::error_code none;
        const auto status = fs::symlink_status(path, none);
        if (fs::is_symlink(status)) return fs::read_symlink(path);
        return PosixFiles().read(fs::is_directory(status) ? path + "/inner" : path).value_or("");
    }
    std::vector<std::string> makeItems() const {
        std::vector<std::string> paths;
        for (int i = 0; i < 4; ++i) {
            const auto folder = "Library/" + std::to_string(i);
            const auto content = "item " + std::to_string(paths.size());
            paths.push_back(tree.file(folder + "/tool.plist", content));
            tree.file(folder + "/Foo.app/inner", "item " + std::to_string(paths.size()));
            paths.push_back(tree.at(folder + "/Foo.app"));
            fs::create_symlink("item " + std::to_string(paths.size()), tree.at(folder + "/way"));
            paths.push_back(tree.at(folder + "/way"));
        }
        return paths;
    }
    void expectEverythingOnce(const std::vector<std::string>& paths, const CleanupPlan& plan,
                              const std::map<std::string, std::string>& others) const {
        std::map<std::string, std::string> arrived;
        for (const auto& entry : fs::directory_iterator(plan.folder)) {
            const auto name = entry.path().filename().string();
            const auto content = contentOf(entry.path());
            if (content.starts_with("item ")) {
                EXPECT_TRUE(arrived.emplace(content, name).second) << content;
            } else {
                const auto known = others.find(name);
                ASSERT_NE(known, others.end()) << name << " holds “" << content << "”";
                EXPECT_EQ(content, known->second) << name;
            }
        }
        EXPECT_EQ(arrived.size(), paths.size());
        for (std::size_t i = 0; i < paths.size(); ++i) {
            EXPECT_FALSE(fs::is_symlink(paths[i]) || fs::exists(paths[i])) << paths[i];
            if (!plan.notes) continue;
            const auto note = plan.notes->folder + "/" + arrived["item " + std::to_string(i)] +
                              plan.notes->ending;
            EXPECT_NE(contentOf(note).find("\nPath=" + paths[i] + "\n"), std::string::npos) << note;
        }
    }
    void removeAgainst(CleanupTrash& trash) const {
        const auto paths = makeItems();
        auto plan = trash.plan(test::cleanupItems(paths));
        ASSERT_FALSE(plan.error);
        OtherProgram other(tree, plan.folder);
        const auto script = tree.file("script", cleanupScript(plan));
        EXPECT_EQ(test::runInTree(script, tree.path(), GetParam()), 0);
        other.stop();
        expectEverythingOnce(paths, plan, other.kept());
        plan.prepared.reset();
        const auto folder = plan.notes ? plan.notes->folder : plan.folder;
        const auto expected = paths.size() + (plan.notes ? 0 : other.kept().size());
        EXPECT_EQ(PosixFiles().names(folder).value().size(), expected);
        EXPECT_EQ(plan.notes && fs::exists(plan.notes->journal), false);
    }

    test::TemporaryTree tree;
};

TEST_P(CleanupRace, OverwritesNothingInAPlainTrash) {
    FolderCleanupTrash trash(tree.folder(".Trash"), std::make_shared<PosixFiles>());
    removeAgainst(trash);
}

TEST_P(CleanupRace, OverwritesNothingInTheDesktopsTrashAndKeepsTheNotesRight) {
    StandardFolders folders;
    folders.home = folders.applicationSupport = tree.folder("data");
    tree.folder("data/.Trash");
    fs::create_directory_symlink(tree.folder("real"), tree.at("data/Trash"));
    removeAgainst(*systemCleanupTrash(folders, std::make_shared<PosixFiles>()));
}

INSTANTIATE_TEST_SUITE_P(Shells, CleanupRace, testing::Values("/bin/sh", "/bin/bash --posix"));

}  // namespace
}  // namespace vestigo
