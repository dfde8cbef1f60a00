// Measures the signature pass over 1,000 signed applications, as a Scanner starts it after a scan,
// on all processors and on one.
#include <algorithm>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include <benchmark/benchmark.h>
#include <sched.h>

#include "engine/scanner.h"
#include "persist/signature_inspector.h"
#include "platform/clock.h"
#include "platform/run_loop.h"
#include "platform/system.h"
#include "tests/support/mach_o_maker.h"
#include "tests/support/signed_mach_o.h"
#include "tests/support/temporary_tree.h"

namespace {

using namespace vestigo;

constexpr int rootCount = 1000;

struct NoStore : ScanStore {
    std::optional<ScanFile> readScanFile() override { return std::nullopt; }
    void writeScanFile(const ScanFile& /*record*/) override {}
};

std::string propertyList(const std::string& executable) {
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\"><dict>"
           "<key>CFBundleExecutable</key><string>" +
           executable + "</string></dict></plist>\n";
}

/// Applications on the disk, and a saved scan of them without signatures.
struct World {
    test::TemporaryTree tree;
    ScanFile record{scanFileVersion, 0, {tree.path()}, {}, SignatureMap()};

    World() {
        const auto image = test::machOImage(
            test::cpuX86_64, test::embeddedSignature("AB12CD34EF", test::signatureMessage()));
        for (int i = 0; i < rootCount; ++i) {
            const auto name = "Example " + std::to_string(i);
            const auto contents = name + ".app/Contents/";
            tree.file(contents + "Info.plist", propertyList(name));
            auto path = tree.file(contents + "MacOS/" + name, image);
            record.hits.push_back(std::make_shared<BinaryHit>(
                BinaryHit{std::move(path), {"x86_64"}, static_cast<std::int64_t>(image.size())}));
        }
    }
};

ScannerServices services(std::shared_ptr<RunLoop> loop) {
    ScannerServices services;
    services.main = std::move(loop);
    services.background = systemTasks();
    services.reader = systemDirectoryReader();
    services.store = std::make_shared<NoStore>();
    services.inspect = [signing = systemCodeSigning()](const std::string& root) {
        return inspectSignature(*signing, root);
    };
    services.now = secondsSince2001;
    services.priority = Priority::normal;
    return services;
}

/// Returns whether the vendor of every root was read.
bool isComplete(const SignatureMap& signatures) {
    return signatures.size() == rootCount && std::ranges::all_of(signatures, [](const auto& entry) {
               return entry.second.vendor == "Example Corp";
           });
}

/// Restricts this thread, and those that it starts from now on, to one processor. False where the
/// system refuses.
bool holdToProcessors(const cpu_set_t& processors) {
    return sched_setaffinity(0, sizeof processors, &processors) == 0;
}

void inspectRoots(benchmark::State& state) {
    static const World world;
    cpu_set_t all;
    cpu_set_t one;
    CPU_ZERO(&one);
    sched_getaffinity(0, sizeof all, &all);
    CPU_SET(sched_getcpu(), &one);
    if (state.range(0) == 1 && !holdToProcessors(one)) state.SkipWithError("cannot be held to one");
    for (auto _ : state) {
        const auto loop = std::make_shared<RunLoop>();
        Scanner scanner(services(loop));
        scanner.adopt(world.record);
        scanner.regroup();
        scanner.refreshSignatures();
        loop->runUntil([&scanner] { return scanner.signaturePasses() == 0; });
        if (!isComplete(scanner.signatures())) state.SkipWithError("not all were read");
    }
    holdToProcessors(all);
}

BENCHMARK(inspectRoots)
    ->Arg(0)
    ->Arg(1)
    ->Unit(benchmark::kMillisecond)
    ->MeasureProcessCPUTime()
    ->UseRealTime();

}  // namespace

BENCHMARK_MAIN();
