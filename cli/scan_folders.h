// Works out from the command line which folders vestigo-scan walks.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "cli/scan_options.h"
#include "platform/directory_reader.h"
#include "platform/files.h"

namespace vestigo {

struct ScanFolders {
    std::vector<std::string> roots;  ///< Absolute paths; no file is reached from two of them.
    /// The user has named the roots: a place that scans leave out does not count at or above them.
    bool named = false;
    /// One message for each named folder that exists and cannot be opened.
    std::vector<std::string> unopened;
    /// The reason why nothing may be scanned at all; absent when the scan may start.
    std::optional<std::string> refusal;
};

/// Opens every folder that the user has named, to find out whether it can be read. Blocks.
[[nodiscard]] ScanFolders scanFolders(const ScanOptions& options, DirectoryReader& reader,
                                      Files& files);

}  // namespace vestigo
