// What a removal costs beside the moves themselves: the engine's part for 1,000 groups of 50 hits
// out of 200,000, also as a multiple of one regroup and one save ("times"), and the search for the
// leftovers of 100 applications in folders of 5,000 entries.
#include <chrono>
#include <memory>
#include <string>

#include <benchmark/benchmark.h>

#include "actions/leftover_finder.h"
#include "engine/scanner.h"
#include "persist/scan_cache.h"
#include "platform/linux/linux_bundle_reader.h"
#include "platform/posix/posix_files.h"
#include "platform/run_loop.h"
#include "tests/support/temporary_tree.h"

namespace {

using namespace vestigo;

constexpr int hitCount = 200'000;
constexpr int hitsPerGroup = 50;
constexpr int removedGroups = 1'000;

/// Takes everything at once. What it is given is never looked at.
class InstantTrash : public Trash {
public:
    std::optional<std::string> moveToTrash(const std::string&, const ItemIdentity&) override {
        return std::nullopt;
    }
};

std::string rootOf(int group) {
    return "/Applications/Example Application " + std::to_string(group) + ".app";
}

ScanFile savedScan() {
    ScanFile record{
        .version = scanFileVersion, .roots = {}, .hits = {}, .signatures = SignatureMap{}};
    for (int i = 0; i < hitCount; ++i) {
        auto path = rootOf(i / hitsPerGroup) + "/Contents/Frameworks/libexample." +
                    std::to_string(i) + ".dylib";
        record.hits.push_back(
            std::make_shared<BinaryHit>(BinaryHit{std::move(path), {"x86_64"}, 4096, 6e8, 5e8}));
    }
    for (int i = 0; i < hitCount / hitsPerGroup; ++i) {
        record.signatures->emplace(rootOf(i), SignInfo{false, "Example Vendor"});
    }
    return record;
}

struct World {
    test::TemporaryTree tree;
    std::shared_ptr<PosixFiles> files = std::make_shared<PosixFiles>();
    Scanner scanner{{.main = std::make_shared<RunLoop>(),
                     .background = nullptr,
                     .reader = nullptr,
                     .store = std::make_shared<ScanCache>(
                         files, StandardFolders{tree.path(), tree.path(), tree.path()}),
                     .inspect = {},
                     .migrate = {},
                     .now = [] { return 0.0; },
                     .trash = std::make_shared<InstantTrash>(),
                     .files = files}};
};

double seconds(const auto& work) {
    const auto begun = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - begun).count();
}

/// Every second group, so that what goes and what stays take turns.
void trashGroups(benchmark::State& state) {
    const auto record = savedScan();
    RootSet roots;
    for (int i = 0; i < removedGroups; ++i) roots.insert(rootOf(2 * i));
    World world;
    double base = 0;
    double removal = 0;
    for (auto _ : state) {
        world.scanner.takeOver(record);
        base += seconds([&] {
            world.scanner.regroup();
            world.scanner.saveCache();
        });
        const double once = seconds([&] {
            if (world.scanner.trashGroups(roots)) state.SkipWithError("a group stayed");
        });
        removal += once;
        state.SetIterationTime(once);
    }
    if (world.scanner.allHits().size() != hitCount - removedGroups * hitsPerGroup) {
        state.SkipWithError("wrong hits went");
    }
    state.counters["times"] = removal / base;
}

void findLeftovers(benchmark::State& state) {
    constexpr int applications = 100;
    constexpr int entries = 5'000;
    constexpr int entriesEach = 5;
    const auto identifier = [](int i) { return "com.example." + std::to_string(1'000 + i); };
    const test::TemporaryTree tree;
    for (const auto* folder :
         {"home/Library/Preferences/ByHost/", "home/Library/LaunchAgents/", "Library/LaunchAgents/",
          "Library/LaunchDaemons/", "Library/PrivilegedHelperTools/"}) {
        for (int i = 0; i < entries; ++i) {
            tree.file(folder + identifier(i / entriesEach) + "." + std::to_string(i) + ".plist");
        }
    }
    std::vector<BundleGroup> groups;
    std::vector<const BundleGroup*> pointers;
    for (int i = 0; i < applications; ++i) {
        const auto name = "Example " + std::to_string(i) + ".app";
        tree.file(name + "/Contents/Info.plist",
                  "<plist version=\"1.0\"><dict><key>CFBundleIdentifier</key><string>" +
                      identifier(i) + "</string></dict></plist>");
        groups.push_back({.root = tree.at(name), .isBundle = true, .hits = {}});
    }
    for (const auto& group : groups) pointers.push_back(&group);
    LinuxBundleReader bundles;
    PosixFiles files;
    for (auto _ : state) {
        const auto found =
            vestigo::findLeftovers(pointers, {tree.at("home"), tree.at("Library")}, bundles, files);
        if (found.size() != applications * entriesEach * 5) state.SkipWithError("wrong leftovers");
    }
}

BENCHMARK(trashGroups)->Unit(benchmark::kMillisecond)->UseManualTime();
BENCHMARK(findLeftovers)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
