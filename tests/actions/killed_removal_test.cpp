#include <chrono>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <random>
#include <thread>

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include "engine/scanner.h"
#include "persist/scan_cache.h"
#include "platform/linux/linux_trash.h"
#include "platform/posix/posix_files.h"
#include "tests/support/temporary_tree.h"

namespace vestigo {
namespace {

namespace fs = std::filesystem;

/// A disk in memory, where flushing takes no time, makes a removal of many items fit between two
/// kills. A test elsewhere is as right, but kills more often near the beginning.
class MemoryDisk {
public:
    MemoryDisk() {
        if (::access("/dev/shm", W_OK) == 0) ::setenv("TMPDIR", "/dev/shm", 1);
    }
    ~MemoryDisk() { ::setenv("TMPDIR", before_.c_str(), 1); }
    MemoryDisk(const MemoryDisk&) = delete;
    MemoryDisk& operator=(const MemoryDisk&) = delete;

private:
    std::string before_ = fs::temp_directory_path();
};

/// Items that a child removes until it is killed, again and again.
struct KilledRemovalTest : testing::Test {
    KilledRemovalTest() {
        for (int i = 0; i < 40; ++i) {
            names.push_back(std::to_string(i) + ".app");
            const BinaryHit hit{tree.file(names.back() + "/a/b", "who"), {"x86_64"}, 3, 0, 0};
            record.hits.push_back(std::make_shared<BinaryHit>(hit));
            tree.file(names.back() + "/c", "le");
        }
    }
    /// Each by itself, so that it also saves all the time.
    void removeAll() {
        ScannerServices services;
        services.store = cache;
        services.trash = std::make_shared<LinuxTrash>(home);
        services.files = files;
        Scanner scanner(services);
        for (const auto& name : names) static_cast<void>(scanner.trashGroups({tree.at(name)}));
    }
    void removeAndKillAfter(std::chrono::microseconds delay) {
        const pid_t child = ::fork();
        ASSERT_GE(child, 0);
        if (child == 0) {
            removeAll();
            for (;;) ::pause();
        }
        std::this_thread::sleep_for(delay);
        ::kill(child, SIGKILL);
        ::waitpid(child, nullptr, 0);
    }
    /// Whole in its place, or whole in the Trash with where it came from; then put back.
    bool isSafe(const std::string& name) {
        const bool moved = !fs::exists(tree.at(name));
        const auto now = moved ? home + "/files/" + name : tree.at(name);
        if (textOf(now + "/a/b") + textOf(now + "/c") != "whole") return false;
        if (!moved) return true;
        ++movedItems;
        fs::rename(now, tree.at(name));
        const auto info = textOf(home + "/info/" + name + ".trashinfo");
        return info.find("\nPath=" + tree.at(name) + "\nDeletionDate=") != std::string::npos &&
               info.ends_with('\n');
    }
    [[nodiscard]] std::string textOf(const std::string& path) const {
        return files->read(path).value_or("");
    }

    MemoryDisk disk;
    test::TemporaryTree tree;
    std::string home = tree.at("Trash");
    std::shared_ptr<PosixFiles> files = std::make_shared<PosixFiles>();
    std::shared_ptr<ScanCache> cache = std::make_shared<ScanCache>(
        files, StandardFolders{tree.path(), tree.folder("data"), tree.path()});
    ScanFile record{
        .version = scanFileVersion, .roots = {}, .hits = {}, .signatures = SignatureMap{}};
    std::vector<std::string> names;
    int movedItems = 0;
};

TEST_F(KilledRemovalTest, LosesNothing) {
    constexpr int rounds = 200;
    std::mt19937 random(4711);
    for (int round = 0; round < rounds; ++round) {
        cache->writeScanFile(record);
        removeAndKillAfter(std::chrono::microseconds(random() % 20'000));
        for (const auto& name : names) ASSERT_TRUE(isSafe(name)) << name << " in round " << round;
        const auto saved = cache->readScanFile();
        ASSERT_TRUE(saved) << "round " << round;
        ASSERT_LE(saved->hits.size(), names.size());
        fs::remove_all(home);
    }
    EXPECT_GT(movedItems, 0);
    EXPECT_LT(movedItems, rounds * static_cast<int>(names.size()));
}

}  // namespace
}  // namespace vestigo
