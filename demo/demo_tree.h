// Makes a small folder that looks like the disk of a Mac, with at least one item of every kind.
#pragma once

#include <string>

namespace vestigo {

/// The home folder within the demonstration disk.
inline constexpr auto demoHome = "/Users/demo";

/// Writes the disk into an existing folder, which then stands for "/". The programs on it are
/// Mach-O headers without code. A scan of the smart folders finds every category and every fix, and
/// some of the applications have leftovers. Links lead into the Cellar, and a script acts as
/// Homebrew. False when something could not be written.
[[nodiscard]] bool makeDemoTree(const std::string& folder);

}  // namespace vestigo
