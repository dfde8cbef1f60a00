// Measures the work of the window's model at each redraw.
#include <memory>
#include <string>
#include <utility>

#include <benchmark/benchmark.h>

#include "platform/run_loop.h"
#include "platform/system.h"
#include "ui/model/content_view.h"

namespace vestigo {
namespace {

constexpr int groups = 50000;
constexpr int hitsPerGroup = 4;

class Preset : public ScanStore {
public:
    std::optional<ScanFile> readScanFile() override {
        constexpr const char* folders[] = {"/Applications/Vendor ",
                                           "/Library/Audio/Plug-Ins/VST/Maker ",
                                           "/usr/local/Cellar/formula"};
        constexpr const char* endings[] = {".app", ".vst", ".bundle"};
        ScanFile record{
            .version = scanFileVersion, .roots = {}, .hits = {}, .signatures = SignatureMap{}};
        for (int group = 0; group < groups; ++group) {
            const auto kind = static_cast<std::size_t>(group % 3);
            const auto number = std::to_string((group * 7919L) % groups);
            const auto root = folders[kind] + number + "/Thing " + number + endings[kind];
            for (int hit = 0; hit < hitsPerGroup; ++hit) {
                record.hits.push_back(std::make_shared<const BinaryHit>(
                    BinaryHit{root + "/Contents/MacOS/binary" + std::to_string(hit),
                              {hit == 0 && group % 5 == 0 ? "i386" : "x86_64"},
                              1,
                              1,
                              static_cast<double>((group * 31L) % 1000000)}));
            }
        }
        return record;
    }
    void writeScanFile(const ScanFile&) override {}
};

class NoPreferences : public Preferences {
public:
    bool contains(const std::string&) const override { return false; }
    bool boolean(const std::string&) const override { return false; }
    int integer(const std::string&) const override { return 0; }
    void setBoolean(const std::string&, bool) override {}
    void setInteger(const std::string&, int) override {}
};

ContentView& content() {
    static ContentView view([] {
        ContentServices services;
        services.scanner.main = std::make_shared<RunLoop>();
        services.scanner.store = std::make_shared<Preset>();
        services.settings = std::make_shared<Settings>(std::make_shared<NoPreferences>());
        services.notifications = std::make_shared<NotificationCenter>();
        services.processes = systemLastingProcesses(systemTasks());
        services.reinstallFolder = "/no reinstalls";
        return services;
    }());
    return view;
}

/// With a filter and two sort keys, as after clicks on two headers.
void visibleRows(benchmark::State& state, SortKey first, SortKey second) {
    content().setSortOrder({{first, false}, {second, true}});
    for (auto _ : state) benchmark::DoNotOptimize(content().visibleRows());
}

void counts(benchmark::State& state) {
    for (auto _ : state) {
        for (const auto category : allCategories) {
            benchmark::DoNotOptimize(content().categoryCount(category));
        }
        benchmark::DoNotOptimize(content().hitCount());
    }
}

BENCHMARK_CAPTURE(visibleRows, default, SortKey::categoryName, SortKey::categoryName)
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(visibleRows, fixThenPath, SortKey::fixRank, SortKey::root)
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(visibleRows, cpuThenName, SortKey::cpuSummary, SortKey::name)
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(visibleRows, pathThenName, SortKey::root, SortKey::name)
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(visibleRows, createdThenCount, SortKey::created, SortKey::legacyCount)
    ->Unit(benchmark::kMillisecond);
BENCHMARK(counts)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace vestigo

BENCHMARK_MAIN();
