// Where in the user's Trash an administrator's script puts things.
#pragma once

#include <optional>
#include <string>
#include <vector>

namespace vestigo {

struct CleanupMove {
    std::string path;
    std::string folder;  ///< In the Trash.
    /// Present where the item's own name is taken: what it is called there instead.
    std::optional<std::string> newName;
};

struct CleanupPlan {
    std::vector<CleanupMove> moves;
    /// Why there is no plan, for the user to read. `moves` is then empty.
    std::optional<std::string> error;
};

/// Thread-safe; blocking.
class CleanupTrash {
public:
    virtual ~CleanupTrash() = default;
    /// A place for each path, in order: one that nothing lies at, and that no other of them gets.
    /// Each plan without an error is to be finished.
    [[nodiscard]] virtual CleanupPlan plan(const std::vector<std::string>& paths) = 0;
    /// The script has run, or will not run any more.
    virtual void finish(const CleanupPlan& plan) = 0;
};

}  // namespace vestigo
