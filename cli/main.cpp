// vestigo-scan runs one scan without a window and prints the findings.
//
// A scan runs on the main thread's RunLoop until it is complete. Three things can end it early, and
// each of them does so by a job on that loop, so that only the main thread reads and writes the
// state of the run: an interrupt (SIGINT or SIGTERM), an earlier scan that cannot be used, which
// is noticed on a background thread after the walk has begun, and the end of the walk itself.
//
// The cache is written by the scan's background task when the walk is done. The program waits for
// it after it has printed the findings, as they do not depend on it.

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <future>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <variant>
#include <vector>

#include "cli/scan_folders.h"
#include "cli/scan_options.h"
#include "cli/scan_session.h"
#include "cli/terminal_output.h"
#include "persist/file_memory_table.h"
#include "persist/scan_file_reader.h"
#include "persist/signature_inspector.h"
#include "platform/system.h"
#include "platform/terminal.h"

namespace vestigo {
namespace {

enum Status : int {
    done = 0,
    notWritten = 1,
    wrongUsage = 2,
    legacyFound = 3,
    interruptedByUser = 130,
};

Status complain(const std::string& message) {
    std::fprintf(stderr, "vestigo-scan: %s\n", printable(message).c_str());
    return wrongUsage;
}

/// A closed pipe is the reader's choice and not an error; every other write failure is reported.
Status print(const std::string& text) {
    if (writeOutput(text)) return done;
    if (errno != EPIPE) std::perror("vestigo-scan: cannot write the output");
    return notWritten;
}

Status printFindings(const std::string& text) {
    return print(outputIsTerminal() ? escapedForTerminal(text) : text);
}

ScanSessionServices servicesFor(const ScanOptions& options, std::shared_ptr<RunLoop> loop) {
    ScanSessionServices services;
    services.loop = std::move(loop);
    services.background = systemTasks();
    services.reader = systemDirectoryReader();
    if (options.signatures) {
        services.inspect = [signing = systemCodeSigning()](const std::string& root) {
            return inspectSignature(*signing, root);
        };
    }
    return services;
}

/// Reads the file of --previous when it is called. When the file cannot be used, it calls `refuse`
/// with the reason, on the thread that reads.
EarlierScan previousScanReader(const ScanOptions& options,
                               std::function<void(const std::string& reason)> refuse) {
    if (!options.previous) return {};
    return [path = *options.previous, refuse = std::move(refuse)]() -> std::optional<ScanFile> {
        const auto content = systemFiles()->readToEnd(path);
        if (!content.problem.empty()) {
            refuse("cannot read " + path + ": " + content.problem);
            return std::nullopt;
        }
        auto record = decodeScanFile(content.bytes);
        if (!record) refuse(path + " is no saved scan, or one of an older version");
        return record;
    };
}

/// Returns why the file of --cache cannot be used; absent when it can, or when there is none.
std::optional<std::string> cacheProblem(const ScanOptions& options) {
    if (!options.cache) return std::nullopt;
    const auto files = systemFiles();
    if (auto problem = fileMemoryProblem(*files, *options.cache)) return problem;
    std::error_code error;
    const auto folder = std::filesystem::absolute(*options.cache, error).parent_path();
    if (!std::filesystem::is_directory(folder, error)) {
        return *options.cache + " cannot be made: its folder does not exist";
    }
    return std::nullopt;
}

/// A memory of other files that reports its end. `done` is set when the scan destroys this object:
/// to false when the file had to be written and could not, else to true.
class ReportingFileMemory : public FileMemoryTable {
public:
    ReportingFileMemory(std::string path, std::shared_ptr<std::promise<bool>> done)
        : FileMemoryTable(systemFiles(), std::move(path)), done_(std::move(done)) {}
    ReportingFileMemory(const ReportingFileMemory&) = delete;
    ReportingFileMemory& operator=(const ReportingFileMemory&) = delete;
    ~ReportingFileMemory() override { done_->set_value(written_); }

    void finish() override {
        FileMemoryTable::finish();
        written_ = isInFile();
    }

private:
    std::shared_ptr<std::promise<bool>> done_;
    bool written_ = true;  ///< An interrupted scan writes nothing, which is no failure.
};

void showProgress(const Scanner& scanner, ScannerField field, ProgressLine& line) {
    if (field == ScannerField::scannedCount && !scanner.currentPath().empty()) {
        line.show(scanner.scannedCount(), scanner.currentPath());
    }
}

/// Tells whether any group calls for action by the user.
bool hasLegacyGroups(const Scanner& scanner) {
    return std::ranges::any_of(scanner.groups(), [](const BundleGroup& group) {
        return group.fix != Fix::keep && group.fix != Fix::apple;
    });
}

Status report(const ScanOptions& options, ScanSession& session, bool interrupted, bool allOpened) {
    const auto text = options.json ? session.json() : session.csv();
    if (!text) complain("the findings cannot be written as a record");
    const auto status = text ? printFindings(*text) : notWritten;
    if (status != done) return status;
    if (interrupted) return interruptedByUser;
    if (!allOpened) return wrongUsage;
    return options.failOnLegacy && hasLegacyGroups(session.scanner()) ? legacyFound : done;
}

int scan(const ScanOptions& options) {
    auto folders = scanFolders(options, *systemDirectoryReader(), *systemFiles());
    if (folders.refusal) return complain(*folders.refusal);
    if (const auto problem = cacheProblem(options)) return complain(*problem);
    for (const auto& folder : folders.unopened) complain(folder);
    if (folders.roots.empty()) return wrongUsage;

    const auto loop = std::make_shared<RunLoop>();
    const auto interrupted = std::make_shared<bool>(false);
    const auto scanned = std::make_shared<std::atomic<bool>>(false);
    watchForInterrupt([loop, interrupted, scanned](int) {
        // Asked first, as the scan may be over as soon as the job is posted.
        const bool scanning = !*scanned;
        loop->post([interrupted] { *interrupted = true; });
        return scanning;
    });
    auto services = servicesFor(options, loop);
    const auto cacheDone = std::make_shared<std::promise<bool>>();
    if (options.cache) {
        // Saving replaces what stands at the path, so a link is resolved first to stay a link.
        const auto path = systemFiles()->resolved(*options.cache).value_or(*options.cache);
        services.memory = [path, cacheDone] {
            return std::make_unique<ReportingFileMemory>(path, cacheDone);
        };
    }
    const auto refusal = std::make_shared<std::string>();
    auto previous =
        previousScanReader(options, [loop, interrupted, refusal](const std::string& reason) {
            loop->post([interrupted, refusal, reason] {
                *refusal = reason;
                *interrupted = true;
            });
        });
    ScanSession session(std::move(services), std::move(previous));
    {
        ProgressLine line;
        const auto watching = session.scanner().subscribe(
            [&](ScannerField field) { showProgress(session.scanner(), field, line); });
        session.run(std::move(folders.roots), folders.named, options.all, *interrupted);
    }
    // From here on a signal ends the program at once: there is no scan left to stop.
    *scanned = true;
    const auto status = refusal->empty()
                            ? report(options, session, *interrupted, folders.unopened.empty())
                            : complain(*refusal);
    // The findings are complete without the cache, so this failure changes no exit status.
    if (options.cache && !cacheDone->get_future().get()) {
        complain(*options.cache + " could not be written; the next scan reads everything again");
    }
    // Freeing millions of records one by one would only delay the end of the process.
    std::_Exit(status);
}

int runProgram(const std::vector<std::string>& arguments) {
    const auto parsed = parseScanOptions(arguments);
    if (const auto* const text = std::get_if<PrintText>(&parsed)) return print(text->text);
    if (const auto* const wrong = std::get_if<WrongUsage>(&parsed)) {
        return complain(wrong->message + " (see --help)");
    }
    return scan(std::get<ScanOptions>(parsed));
}

}  // namespace
}  // namespace vestigo

int main(int argc, char** argv) {
    vestigo::endWhenOutOfMemory("vestigo-scan: out of memory");
    return vestigo::runProgram({argv + (argc > 0 ? 1 : 0), argv + argc});
}
