// Measures the work of the main thread for 200,000 hits: one regrouping, and all hand-overs of the
// scan that finds them. "regroups" is the time of the hand-overs as a multiple of one regrouping.
#include <chrono>
#include <cstring>
#include <deque>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <utility>

#include <benchmark/benchmark.h>

#include "demo/mach_o_image.h"
#include "engine/regrouping.h"
#include "engine/scanner.h"

namespace {

using namespace vestigo;

constexpr int hitCount = 200'000;
constexpr int hitsPerBundle = 4;

/// A disk in memory with bundles of legacy files; some bundles also have a native file.
class Disk : public DirectoryReader {
public:
    [[nodiscard]] std::unique_ptr<Folder> open(const std::string& path) override {
        return std::make_unique<Listing>(path == "/Applications");
    }
    [[nodiscard]] unsigned maxOpenFolders() const override { return 64; }

private:
    class Program : public HeaderFile {
    public:
        explicit Program(bool native) : image_(machOImage({native ? Cpu::arm64 : Cpu::x86_64})) {}
        [[nodiscard]] std::optional<std::size_t> readStart(std::span<std::byte> buffer) override {
            std::memcpy(buffer.data(), image_.data(), image_.size());
            return image_.size();
        }
        [[nodiscard]] std::optional<FileAttributes> attributes() override {
            return FileAttributes{4096, 6e8, 5e8};
        }

    private:
        std::string image_;
    };

    class Listing : public Folder {
    public:
        explicit Listing(bool top) : top_(top) {}
        bool list(const std::function<bool(const FolderEntry&)>& visitor) override {
            const auto kind = top_ ? EntryKind::folder : EntryKind::file;
            for (int i = 0; i < (top_ ? hitCount / hitsPerBundle : hitsPerBundle); ++i) {
                const auto name = top_ ? "Example Application " + std::to_string(i) + ".app"
                                       : "libexample." + std::to_string(i) + ".dylib";
                if (!visitor({.name = name, .kind = kind, .hidden = false, .attributes = {}}))
                    break;
            }
            return true;
        }
        [[nodiscard]] std::optional<FileAttributes> attributes(const char* name) override {
            return Program(isNative(name)).attributes();
        }
        [[nodiscard]] std::unique_ptr<HeaderFile> openFile(const char* name) override {
            return std::make_unique<Program>(isNative(name));
        }
        [[nodiscard]] std::unique_ptr<Folder> openFolder(std::string_view) override {
            return std::make_unique<Listing>(false);
        }

    private:
        static bool isNative(const char* name) { return std::strstr(name, ".3.") != nullptr; }
        bool top_;
    };
};

class NoStore : public ScanStore {
public:
    std::optional<ScanFile> readScanFile() override { return std::nullopt; }
    void writeScanFile(const ScanFile&) override {}
};

/// Runs the walk at once and keeps what it posts, so that the posted work can be timed by itself.
class AtOnce : public BackgroundTasks {
public:
    void run(Priority, Job job) override { job(); }
};

class WaitingJobs : public MainQueue {
public:
    void post(Job job) override {
        const std::lock_guard lock(mutex_);
        jobs_.push_back(std::move(job));
    }
    void runAll() {
        for (auto& job : std::exchange(jobs_, {})) job();
    }

private:
    std::mutex mutex_;
    std::deque<Job> jobs_;
};

double seconds(const std::function<void()>& work) {
    const auto begun = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - begun).count();
}

struct World {
    std::shared_ptr<WaitingJobs> main = std::make_shared<WaitingJobs>();
    Scanner scanner{{.main = main,
                     .background = std::make_shared<AtOnce>(),
                     .reader = std::make_shared<Disk>(),
                     .store = std::make_shared<NoStore>(),
                     .inspect = {},
                     .migrate = {},
                     .now = [] { return 0.0; },
                     .priority = Priority::normal}};

    World() { scanner.setIntelOnly(false); }
    void walk() { scanner.startScan({"/Applications"}); }
};

void regroupOnce(benchmark::State& state) {
    World world;
    world.walk();
    world.main->runAll();
    for (auto _ : state) world.scanner.regroup();
    if (world.scanner.allHits().size() != hitCount) state.SkipWithError("hits are missing");
}

/// Files that are in no bundle, so that every hit is a group of its own.
void regroupLooseFiles(benchmark::State& state) {
    HitList hits;
    for (int i = 0; i < hitCount; ++i) {
        auto path = "/usr/local/Cellar/example-" + std::to_string(i % 997) + "/1.21.4/lib/libpart" +
                    std::to_string(i) + ".1.dylib";
        hits.push_back(
            std::make_shared<BinaryHit>(BinaryHit{std::move(path), {"x86_64"}, 1, 1, 1}));
    }
    const SignatureMap signatures;
    Regrouping regrouping(signatures);
    for (auto _ : state) {
        regrouping.restart(true);
        regrouping.add(hits);
    }
}

void takeHandOvers(benchmark::State& state) {
    double worked = 0, regrouped = 0;
    for (auto _ : state) {
        World world;
        world.walk();
        const double time = seconds([&] { world.main->runAll(); });
        state.SetIterationTime(time);
        worked += time;
        regrouped += seconds([&] { world.scanner.regroup(); });
    }
    state.counters["regroups"] = worked / regrouped;
}

BENCHMARK(regroupOnce)->Unit(benchmark::kMillisecond);
BENCHMARK(regroupLooseFiles)->Unit(benchmark::kMillisecond);
BENCHMARK(takeHandOvers)->UseManualTime()->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
