// Runs clean-up scripts for real, but never on anything outside a test's own tree.
#pragma once

#include <optional>
#include <string>

namespace vestigo::test {

/// The first word of the script that stands for a place outside `tree` (an absolute path without
/// links in it), also where only a link leads there. Absent when there is none.
[[nodiscard]] std::optional<std::string> wordOutside(const std::string& script,
                                                     const std::string& tree);

/// Runs the shell script at `path`, with the tree as home and working folder. Its exit status; -1
/// when it was not run, because it names places outside of the tree or could not be read.
int runInTree(const std::string& path, const std::string& tree,
              const std::string& shell = "/bin/sh");

}  // namespace vestigo::test
