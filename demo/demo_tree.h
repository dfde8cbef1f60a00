// A small folder that looks like the disk of a Mac with something of every kind on it.
#pragma once

#include <string>

namespace vestigo {

/// The home folder within the demonstration disk.
inline constexpr auto demoHome = "/Users/demo";

/// Writes the disk into an existing folder, which then stands for "/". The programs on it are
/// Mach-O headers without code. A scan of the smart folders finds every category and every fix
/// among its legacy files, and leftovers for some of its applications; links lead into its Cellar,
/// and a stand-in plays Homebrew. False when something could not be written.
[[nodiscard]] bool makeDemoTree(const std::string& folder);

}  // namespace vestigo
