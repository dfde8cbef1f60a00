// Runs one scan from beginning to end, for programs without a window.
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "engine/scanner.h"
#include "platform/run_loop.h"

namespace vestigo {

struct ScanSessionServices {
    std::shared_ptr<RunLoop> loop;
    std::shared_ptr<BackgroundTasks> background;
    std::shared_ptr<DirectoryReader> reader;
    std::function<SignInfo(const std::string& root)> inspect;  ///< May be empty: no vendors then.
    /// Makes the memory of other files, as in `ScannerServices`. May be empty.
    std::function<std::unique_ptr<FileMemory>()> memory = {};
};

/// Main thread only.
class ScanSession {
public:
    /// `previous` reads what an earlier scan saved; it is called on a background thread while the
    /// scan runs. It may be empty.
    ScanSession(ScanSessionServices services, EarlierScan previous);
    ~ScanSession();

    /// Blocks until the scan and its signatures are done. A job on the loop may set `interrupted`;
    /// the scan then stops as at the Stop button and keeps the signatures known by then.
    /// With `rootsAreNamed`, a place that scans leave out does not count for a root at or below it.
    void run(std::vector<std::string> roots, bool rootsAreNamed, bool all, const bool& interrupted);

    [[nodiscard]] Scanner& scanner() { return *scanner_; }
    /// The results as CSV.
    [[nodiscard]] std::string csv() const;
    /// The results as the record that an application would save. Absent when they cannot be one.
    [[nodiscard]] std::optional<std::string> json();

private:
    class Store;

    std::shared_ptr<RunLoop> loop_;
    std::shared_ptr<Store> store_;
    std::unique_ptr<Scanner> scanner_;
    EarlierScan previous_;
};

}  // namespace vestigo
