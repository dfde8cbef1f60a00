#include <chrono>
#include <csignal>
#include <filesystem>
#include <functional>
#include <random>
#include <thread>

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include "engine/scanner.h"
#include "persist/scan_cache.h"
#include "platform/linux/linux_directory_reader.h"
#include "platform/linux/linux_trash.h"
#include "platform/posix/posix_files.h"
#include "tests/support/records.h"
#include "tests/support/temporary_tree.h"

namespace vestigo {
namespace {

namespace fs = std::filesystem;

void runAndKillAfter(std::chrono::microseconds delay, const std::function<void()>& work) {
    const pid_t child = ::fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        work();
        for (;;) ::pause();
    }
    std::this_thread::sleep_for(delay);
    ::kill(child, SIGKILL);
    ::waitpid(child, nullptr, 0);
}

TEST(KilledRemoval, LosesNothing) {
    const test::TemporaryTree tree;
    const auto home = tree.at("Trash");
    const auto files = std::make_shared<PosixFiles>();
    ScannerServices services;
    const auto cache = std::make_shared<ScanCache>(
        files, StandardFolders{tree.path(), tree.folder("data"), tree.path()});
    services.store = cache;
    services.trash = std::make_shared<LinuxTrash>(home);
    services.files = files;
    services.reader = std::make_shared<LinuxDirectoryReader>();
    auto record = test::savedScan();
    std::vector<std::string> items;
    for (int i = 0; i < 40; ++i) {
        items.push_back(tree.folder(std::to_string(i) + ".app"));
        const auto file = tree.file(std::to_string(i) + ".app/a/b", "who");
        record.hits.push_back(test::hitRef({file, {"x86_64"}, 3, 0, 0}));
        tree.file(std::to_string(i) + ".app/c", "le");
    }
    const auto textOf = [&](const std::string& path) { return files->read(path).value_or(""); };
    int movedItems = 0;
    std::mt19937 random(4711);
    for (int round = 0; round < 200; ++round) {
        cache->writeScanFile(record);
        runAndKillAfter(std::chrono::microseconds(random() % 20'000), [&] {
            // Each by itself, so that it also saves all the time.
            Scanner scanner(services);
            for (const auto& item : items) static_cast<void>(scanner.trashGroups({item}));
        });
        for (const auto& item : items) {
            // Whole in its place, or whole in the Trash with where it came from.
            const auto name = item.substr(tree.path().size());
            if (!fs::exists(item)) {
                ++movedItems;
                fs::rename(home + "/files" + name, item);
                const auto info = textOf(home + "/info" + name + ".trashinfo");
                ASSERT_NE(info.find(item + "\nDeletionDate="), info.npos) << "round " << round;
            }
            ASSERT_EQ(textOf(item + "/a/b") + textOf(item + "/c"), "whole") << "round " << round;
        }
        ASSERT_TRUE(cache->readScanFile()) << "round " << round;
        fs::remove_all(home);
    }
    EXPECT_GT(movedItems, 0);
}

}  // namespace
}  // namespace vestigo
