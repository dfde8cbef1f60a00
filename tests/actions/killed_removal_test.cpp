#include <chrono>
#include <csignal>
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
#include "tests/support/records.h"
#include "tests/support/temporary_tree.h"

namespace vestigo {
namespace {

namespace fs = std::filesystem;

/// Items that a child removes until it is killed, again and again.
struct KilledRemovalTest : testing::Test {
    KilledRemovalTest() {
        for (int i = 0; i < 40; ++i) {
            names.push_back(std::to_string(i) + ".app");
            const auto path = tree.file(names.back() + "/a/b", "who");
            record.hits.push_back(test::hitRef({path, {"x86_64"}}));
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
        return textOf(home + "/info/" + name + ".trashinfo")
                   .find(tree.at(name) + "\nDeletionDate=") != std::string::npos;
    }
    [[nodiscard]] std::string textOf(const std::string& path) const {
        return files->read(path).value_or("");
    }

    test::TemporaryTree tree;
    std::string home = tree.at("Trash");
    std::shared_ptr<PosixFiles> files = std::make_shared<PosixFiles>();
    std::shared_ptr<ScanCache> cache = std::make_shared<ScanCache>(
        files, StandardFolders{tree.path(), tree.folder("data"), tree.path()});
    ScanFile record = test::savedScan();
    std::vector<std::string> names;
    int movedItems = 0;
};

TEST_F(KilledRemovalTest, LosesNothing) {
    std::mt19937 random(4711);
    for (int round = 0; round < 200; ++round) {
        cache->writeScanFile(record);
        removeAndKillAfter(std::chrono::microseconds(random() % 20'000));
        for (const auto& name : names) ASSERT_TRUE(isSafe(name)) << name << " in round " << round;
        ASSERT_TRUE(cache->readScanFile()) << "round " << round;
        fs::remove_all(home);
    }
    EXPECT_GT(movedItems, 0);
}

}  // namespace
}  // namespace vestigo
