// Runs clean-up scripts for real, but never on anything outside a test's own tree.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "platform/cleanup_trash.h"

namespace vestigo::test {

/// As they are now. One that is not there gets the identity of `like`.
[[nodiscard]] std::vector<CleanupItem> cleanupItems(const std::vector<std::string>& paths,
                                                    const std::string& like = "/");

/// The first word of the script that stands for a place outside `tree` (an absolute path without
/// links in it), also where only a link leads there. Absent when there is none.
[[nodiscard]] std::optional<std::string> wordOutside(const std::string& script,
                                                     const std::string& tree);

/// Runs the shell script at `path`, with the tree as home and working folder. Its exit status; -1
/// when it was not run, because it names places outside of the tree or could not be read.
int runInTree(const std::string& path, const std::string& tree,
              const std::string& shell = "/bin/sh");

}  // namespace vestigo::test
