// Measures reading and writing a saved scan of 200,000 hits and 50,000 signatures. The floor is
// what no program can avoid: reading the bytes, or writing and flushing them. "file_floor" is the
// time as a multiple of that floor.
#include <chrono>
#include <cstdlib>
#include <memory>

#include <benchmark/benchmark.h>

#include "engine/regrouping.h"
#include "persist/csv.h"
#include "persist/scan_file_reader.h"
#include "persist/scan_file_writer.h"
#include "platform/posix/posix_files.h"
#include "tests/support/temporary_tree.h"

namespace {

using namespace vestigo;

constexpr int hitCount = 200'000;
constexpr int hitsPerRoot = 4;

std::string rootOf(int hit) {
    return "/Applications/Maker " + std::to_string(hit % 97) + "/Example Application " +
           std::to_string(hit / hitsPerRoot) + ".app";
}

ScanFile makeRecord() {
    ScanFile record{scanFileVersion, 712345678.123456, {"/Applications", "/Library"}, {}, {}};
    record.signatures.emplace();
    for (int i = 0; i < hitCount; ++i) {
        auto path = rootOf(i - i % hitsPerRoot) +
                    "/Contents/Frameworks/Example.framework/Versions/A/Example" + std::to_string(i);
        const double time = 600000000 + i * 1234.56789;
        record.hits.push_back(std::make_shared<BinaryHit>(
            BinaryHit{std::move(path), {"x86_64", "arm64"}, 4096 + i, time, time - 0.123456789}));
        if (i % hitsPerRoot == 0) {
            record.signatures->emplace(rootOf(i),
                                       SignInfo{i % 3 == 0, "Example Maker Incorporated"});
        }
    }
    return record;
}

struct World {
    test::TemporaryTree tree;
    PosixFiles files;
    std::string path = tree.at("last-scan.json");
    ScanFile record = makeRecord();
    std::string text = encodeScanFile(record).value();

    World() {
        if (!files.replace(path, text, Access::ownerOnly)) std::abort();
    }
};

World& world() {
    static World instance;
    return instance;
}

/// Returns the seconds that one run of the work takes.
template <class Work>
double seconds(Work work) {
    const auto start = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

/// Times work and floor alternately, so that other load on the machine affects both.
template <class Work, class Floor>
void compare(benchmark::State& state, Work work, Floor floor) {
    static_cast<void>(world());  // Makes the record before the time is taken.
    double worked = 0, least = 0;
    for (auto _ : state) {
        const double time = seconds(work);
        worked += time;
        state.SetIterationTime(time);
        least += seconds(floor);
    }
    state.counters["file_floor"] = worked / least;
    state.counters["MB"] = static_cast<double>(world().text.size()) / 1e6;
}

void readFloor() {
    benchmark::DoNotOptimize(world().files.read(world().path));
}

void writeFloor() {
    benchmark::DoNotOptimize(world().files.replace(world().path, world().text, Access::ownerOnly));
}

void readSavedScan(benchmark::State& state) {
    compare(
        state,
        [] { benchmark::DoNotOptimize(decodeScanFile(world().files.read(world().path).value())); },
        readFloor);
}

void writeSavedScan(benchmark::State& state) {
    compare(
        state,
        [] {
            const auto text = encodeScanFile(world().record).value();
            benchmark::DoNotOptimize(world().files.replace(world().path, text, Access::ownerOnly));
        },
        writeFloor);
}

void encodeSavedScan(benchmark::State& state) {
    compare(
        state, [] { benchmark::DoNotOptimize(encodeScanFile(world().record)); },
        [] { benchmark::DoNotOptimize(std::string(world().text)); });
}

void exportCsv(benchmark::State& state) {
    GroupList groups;
    for (const auto& hit : world().record.hits) {
        groups.add({hit->path, false, Category::library, {hit}, Fix::manual, false});
    }
    for (auto _ : state) {
        benchmark::DoNotOptimize(csvText(groups, *world().record.signatures));
    }
}

BENCHMARK(readSavedScan)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(writeSavedScan)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(encodeSavedScan)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(exportCsv)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
