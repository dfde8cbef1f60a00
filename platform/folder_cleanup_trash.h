// A Trash that is a plain folder, and the names that items get in any Trash.
#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "platform/cleanup_trash.h"
#include "platform/files.h"

namespace vestigo {

/// The name to try at the given attempt, from 1 on: the item's own, then "Foo.2.app", "Foo.3.app",
/// ... It never has more bytes than `longest`: a name that is too long loses the end of its stem.
[[nodiscard]] std::string trashName(std::string_view name, unsigned attempt, std::size_t longest);

/// The parts of such a name before and after its number, with room for ".2" to ".99999".
struct TrashNameParts {
    std::string stem;
    std::string ending;
};
[[nodiscard]] TrashNameParts trashNameParts(std::string_view name, std::size_t longest);

class FolderCleanupTrash : public CleanupTrash {
public:
    FolderCleanupTrash(std::string folder, std::shared_ptr<Files> files);

    /// Never fails. The folder is made when it is missing.
    [[nodiscard]] CleanupPlan plan(const std::vector<CleanupItem>& items) override;

private:
    std::string folder_;
    std::shared_ptr<Files> files_;
};

}  // namespace vestigo
