// Measures the removal of dead links in an installation with 100,000 links, of which none, a tenth
// or all lead into a formula that was removed. "grown_kB" is the growth of the process's peak
// memory.
#include <filesystem>
#include <string>

#include <benchmark/benchmark.h>
#include <sys/resource.h>

#include "actions/dead_links.h"
#include "platform/posix/posix_files.h"
#include "platform/posix/posix_links.h"
#include "tests/support/temporary_tree.h"

namespace {

using namespace vestigo;
namespace fs = std::filesystem;

constexpr int linkCount = 100'000;
constexpr int linksPerFolder = 100;

double mostMemory() {
    struct rusage usage {};
    getrusage(RUSAGE_SELF, &usage);
    return static_cast<double>(usage.ru_maxrss);
}

void makeLinks(const test::TemporaryTree& tree, int deadEvery) {
    tree.file("Cellar/example/1.0/bin/example");
    std::string folder;
    for (int i = 0; i < linkCount; ++i) {
        if (i % linksPerFolder == 0)
            folder = tree.folder("share/part" + std::to_string(i / linksPerFolder) + "/man1");
        const bool dead = deadEvery != 0 && i % deadEvery == 0;
        const std::string keg = dead ? "gone" : "example";
        fs::create_symlink("../../../Cellar/" + keg + "/1.0/bin/example",
                           folder + "/link" + std::to_string(i));
    }
}

void cleanLinks(benchmark::State& state) {
    const auto deadEvery = static_cast<int>(state.range(0));
    PosixLinks links;
    PosixFiles files;
    std::size_t cleaned = 0;
    double before = 0;
    for (auto _ : state) {
        state.PauseTiming();
        {
            const test::TemporaryTree tree;
            makeLinks(tree, deadEvery);
            before = mostMemory();
            state.ResumeTiming();
            cleaned = cleanDeadSymlinks(tree.at("Cellar/gone"), links, files);
            state.PauseTiming();
        }
        state.ResumeTiming();
    }
    state.counters["cleaned"] = static_cast<double>(cleaned);
    state.counters["grown_kB"] = mostMemory() - before;
}

BENCHMARK(cleanLinks)->Arg(0)->Arg(10)->Arg(1)->Unit(benchmark::kMillisecond)->Iterations(1);

}  // namespace

BENCHMARK_MAIN();
