// Finds symbolic links below a folder and removes those that are dead.
#pragma once

#include <functional>
#include <string>
#include <string_view>

namespace vestigo {

/// One symbolic link. It and its views live until the visitor returns.
class FoundLink {
public:
    virtual ~FoundLink() = default;
    /// The path by which the folder that holds it was reached.
    [[nodiscard]] virtual std::string_view folder() const = 0;
    /// The destination as it is written in the link.
    [[nodiscard]] virtual std::string_view destination() const = 0;
    /// Removes the link itself, if it still has this destination and leads nowhere. True when it
    /// was removed.
    [[nodiscard]] virtual bool removeDead() = 0;
};

/// Blocking. Thread-safe.
class Links {
public:
    virtual ~Links() = default;
    /// Visits every link below the folder, however deep, also those with hidden names, in the
    /// system's order. The folder may itself be given by a link. Links below it are never followed,
    /// not even those that appear during the walk. Folders that cannot be read are skipped.
    virtual void visit(const std::string& folder,
                       const std::function<void(FoundLink&)>& visitor) = 0;
};

}  // namespace vestigo
