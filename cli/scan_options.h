// The command line of vestigo-scan.
#pragma once

#include <optional>
#include <span>
#include <string>
#include <variant>
#include <vector>

namespace vestigo {

struct ScanOptions {
    std::vector<std::string> folders;  ///< As given; none: the smart folders.
    bool all = false;                  ///< Every Mach-O file, not only the legacy ones.
    bool json = false;
    bool signatures = true;
    bool allUsers = false;      ///< The smart folders with the homes of all users; no folders.
    bool failOnLegacy = false;  ///< A status of its own when something is to be dealt with.
    std::optional<std::string> previous;
    std::optional<std::string> cache;  ///< The file of the memory of other files.
};

/// Print this on standard output and end well.
struct PrintText {
    std::string text;
};

/// Say this on standard error and end with the status of wrong usage.
struct WrongUsage {
    std::string message;
};

/// `arguments`: without the program's name.
[[nodiscard]] std::variant<ScanOptions, PrintText, WrongUsage> parseScanOptions(
    std::span<const std::string> arguments);

/// The path, absolute and without ".", ".." and empty components, worked out from the text alone.
[[nodiscard]] std::string absoluteLexically(const std::string& path, const std::string& current);

}  // namespace vestigo
