// Names under which things lie in a Trash.
#pragma once

#include <string>
#include <string_view>

namespace vestigo {

/// The name to try at the given attempt, from 1 on: the item's own, then "Foo.2.app", "Foo.3.app",
/// ... It never has more bytes than `longest`; what is too long loses the end of its stem.
[[nodiscard]] std::string trashName(std::string_view name, unsigned attempt, std::size_t longest);

/// What stands before and after the number in such names, from ".2" to ".99999".
struct TrashNameParts {
    std::string stem;
    std::string ending;
};
[[nodiscard]] TrashNameParts trashNameParts(std::string_view name, std::size_t longest);

}  // namespace vestigo
