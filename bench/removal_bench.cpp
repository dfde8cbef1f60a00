// Measures what a removal costs besides moving the items, with 200,000 hits: the engine's part for
// 1,000 groups of 50 hits, and the whole removal of 100 applications with 5 leftovers each. "times"
// is the cost as a multiple of one regrouping and one save. Also measures the check of a bundle of
// 30,000 files before it is moved, as a multiple of a walk of that bundle, and the search for the
// leftovers of 100 applications in folders of 5,000 entries.
#include <chrono>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>

#include <benchmark/benchmark.h>

#include "actions/leftover_finder.h"
#include "actions/removal.h"
#include "engine/removal_check.h"
#include "engine/scanner.h"
#include "engine/walk.h"
#include "persist/file_memory_table.h"
#include "persist/scan_cache.h"
#include "platform/linux/linux_bundle_reader.h"
#include "platform/linux/linux_directory_reader.h"
#include "platform/paths.h"
#include "platform/posix/posix_files.h"
#include "platform/run_loop.h"
#include "tests/support/temporary_tree.h"

namespace {

using namespace vestigo;

constexpr int hitCount = 200'000;
constexpr int hitsPerGroup = 50;
constexpr int removedGroups = 1'000;

/// A Trash whose moves cost nothing. It leaves the items in place.
class InstantTrash : public Trash {
public:
    std::optional<std::string> moveToTrash(const std::string&, const ItemIdentity&) override {
        return std::nullopt;
    }
};

std::string rootOf(int group) {
    return "/Applications/Example Application " + std::to_string(group) + ".app";
}

/// All roots are below `disk`.
ScanFile savedScan(const std::string& disk = "") {
    ScanFile record{
        .version = scanFileVersion, .roots = {}, .hits = {}, .signatures = SignatureMap{}};
    for (int i = 0; i < hitCount; ++i) {
        auto path = disk + rootOf(i / hitsPerGroup) + "/Contents/Frameworks/libexample." +
                    std::to_string(i) + ".dylib";
        record.hits.push_back(
            std::make_shared<BinaryHit>(BinaryHit{std::move(path), {"x86_64"}, 4096, 6e8, 5e8}));
    }
    for (int i = 0; i < hitCount / hitsPerGroup; ++i) {
        record.signatures->emplace(disk + rootOf(i), SignInfo{false, "Example Vendor"});
    }
    return record;
}

/// Runs each job at once.
class ImmediateTasks : public BackgroundTasks {
public:
    void run(Priority, Job job) override { job(); }
};

struct World {
    test::TemporaryTree tree;
    std::shared_ptr<PosixFiles> files = std::make_shared<PosixFiles>();
    std::shared_ptr<RunLoop> loop = std::make_shared<RunLoop>();
    std::shared_ptr<BackgroundTasks> tasks = std::make_shared<ImmediateTasks>();
    Scanner scanner{{.main = loop,
                     .background = tasks,
                     .reader = std::make_shared<LinuxDirectoryReader>(),
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

/// The time of one regrouping and one save of the record, which the Scanner holds afterwards.
double regroupAndSave(World& world, const ScanFile& record) {
    world.scanner.adopt(record);
    return seconds([&] {
        world.scanner.regroup();
        world.scanner.saveCache();
    });
}

/// Returns every second group, so that removed and remaining groups alternate.
void trashGroups(benchmark::State& state) {
    const auto record = savedScan();
    RootSet roots;
    for (int i = 0; i < removedGroups; ++i) roots.insert(rootOf(2 * i));
    World world;
    double base = 0;
    double removal = 0;
    for (auto _ : state) {
        base += regroupAndSave(world, record);
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

/// Makes the applications of the first `count` groups on the disk, each with five leftovers.
std::vector<const BundleGroup*> makeApplications(const World& world, int count) {
    std::vector<const BundleGroup*> groups;
    for (const auto& group : world.scanner.groups()) {
        if (groups.size() == static_cast<std::size_t>(count)) break;
        const auto id = "com.example." + std::to_string(1'000 + groups.size());
        std::filesystem::create_directories(group.root + "/Contents");
        std::ofstream(group.root + "/Contents/Info.plist")
            << "<plist version=\"1.0\"><dict><key>CFBundleIdentifier</key><string>" << id
            << "</string></dict></plist>";
        world.tree.file("home/Library/Preferences/" + id + ".plist");
        for (const auto* const folder : {"Containers/", "Caches/", "WebKit/", "HTTPStorages/"}) {
            world.tree.folder("home/Library/" + std::string(folder) + id);
        }
        groups.push_back(&group);
    }
    return groups;
}

void performDelete(benchmark::State& state) {
    constexpr int applications = 100;
    World world;
    const auto record = savedScan(world.tree.path());
    const RemovalServices services{.main = world.loop,
                                   .background = world.tasks,
                                   .authentication = nullptr,
                                   .cleanup = nullptr,
                                   .bundles = std::make_shared<LinuxBundleReader>(),
                                   .files = world.files,
                                   .places = {world.tree.at("home"), world.tree.at("Library")}};
    bool well = false;
    Removal removal(services, world.scanner,
                    {.checkingChanged = [] {},
                     .ended = [&](const auto& message) { well = !message; },
                     .cleanupFailed = [](const auto&) {}});
    double base = 0;
    double whole = 0;
    for (auto _ : state) {
        base += regroupAndSave(world, record);
        removal.open(makeApplications(world, applications));
        world.loop->runPosted();
        if (removal.plan().leftovers.size() != 5 * applications) state.SkipWithError("leftovers");
        const double once = seconds([&] { removal.performDelete(); });
        whole += once;
        state.SetIterationTime(once);
        if (!well) state.SkipWithError("something stayed");
    }
    state.counters["times"] = whole / base;
}

/// Ignores all hits.
struct IgnoringListener : WalkListener {
    void progress(std::int64_t, const std::string&) override {}
    void partial(HitList, std::int64_t) override {}
    void final(HitList, std::int64_t) override {}
};

void lookInto(benchmark::State& state) {
    constexpr int files = 30'000;
    constexpr int filesPerFolder = 100;
    const test::TemporaryTree tree;
    const std::string intel("\xcf\xfa\xed\xfe\x07\x00\x00\x01", 8);
    for (int i = 0; i < files; ++i) {
        tree.file("Big.app/" + std::to_string(i / filesPerFolder) + "/" + std::to_string(i),
                  i % 20 == 0 ? intel : "neither code nor a bundle");
    }
    const CheckServices services{.reader = std::make_shared<LinuxDirectoryReader>(),
                                 .files = std::make_shared<PosixFiles>(),
                                 .inspect = {},
                                 .makeMemory = [] {
                                     // By this clock nothing of the item has changed of late.
                                     return std::make_unique<FileMemoryTable>(
                                         [] { return FileMemoryTable::systemClock() * 2; });
                                 }};
    const auto path = tree.at("Big.app");
    const RemovalItem item{path, services.files->identity(path), CodeRule::noArm64};
    double walks = 0;
    double checks = 0;
    double again = 0;
    for (auto _ : state) {
        IgnoringListener deaf;
        walks += seconds([&] { walk(*services.reader, {.roots = {path}}, CancelFlag(), deaf); });
        ItemCheck check(item, services);
        const auto refused = [&] {
            if (check.refusal(CancelFlag())) state.SkipWithError("it must not stay");
        };
        checks += seconds(refused);
        const double once = seconds(refused);
        again += once;
        state.SetIterationTime(once);
    }
    state.counters["first"] = checks / walks;
    state.counters["again"] = again / walks;
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
BENCHMARK(performDelete)->Unit(benchmark::kMillisecond)->UseManualTime();
BENCHMARK(lookInto)->Unit(benchmark::kMillisecond)->UseManualTime();
BENCHMARK(findLeftovers)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
