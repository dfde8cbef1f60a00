// Which folders a run of vestigo-scan walks.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "cli/scan_options.h"
#include "platform/directory_reader.h"
#include "platform/files.h"

namespace vestigo {

struct ScanFolders {
    std::vector<std::string> roots;  ///< Absolute. No file is walked from two of them.
    bool named = false;              ///< By the user, as the walk's request means it.
    /// One line for each folder that exists and cannot be opened: why.
    std::vector<std::string> unopened;
    /// Why nothing should be scanned at all. Absent when something may be.
    std::optional<std::string> refusal;
};

/// Blocking; opens every folder that the user has named.
[[nodiscard]] ScanFolders scanFolders(const ScanOptions& options, DirectoryReader& reader,
                                      Files& files);

}  // namespace vestigo
