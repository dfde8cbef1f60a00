// Parses the command line of vestigo-scan.
#pragma once

#include <optional>
#include <span>
#include <string>
#include <variant>
#include <vector>

namespace vestigo {

struct ScanOptions {
    std::vector<std::string> folders;  ///< As given; when empty, the smart folders are scanned.
    bool all = false;                  ///< Lists every Mach-O file, not only legacy ones.
    bool json = false;                 ///< Prints a saved-scan record instead of CSV.
    bool signatures = true;
    bool allUsers = false;      ///< Scans the smart folders of all homes; excludes `folders`.
    bool failOnLegacy = false;  ///< Exits with status 3 when a finding calls for action.
    std::optional<std::string> previous;  ///< Path of a saved-scan record.
    std::optional<std::string> cache;     ///< Path of the memory of other files.
};

/// The program prints this text on standard output and exits with status 0.
struct PrintText {
    std::string text;
};

/// The program prints this message on standard error and exits with the status of wrong usage.
struct WrongUsage {
    std::string message;
};

/// `arguments` do not include the program's name. Touches no disk.
[[nodiscard]] std::variant<ScanOptions, PrintText, WrongUsage> parseScanOptions(
    std::span<const std::string> arguments);

/// Makes `path` absolute against the folder `current` and removes ".", ".." and empty components.
/// Works on the text alone, so ".." behind a link leads to the link's own parent.
[[nodiscard]] std::string absoluteLexically(const std::string& path, const std::string& current);

}  // namespace vestigo
