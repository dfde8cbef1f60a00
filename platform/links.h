// Symbolic links below a folder, seen and removed as links.
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
    /// As it is written in the link.
    [[nodiscard]] virtual std::string_view destination() const = 0;
    /// Removes the link itself, if it still has this destination and nothing can be reached through
    /// it. True when it has gone.
    [[nodiscard]] virtual bool removeDead() = 0;
};

/// Blocking. Thread-safe.
class Links {
public:
    virtual ~Links() = default;
    /// Visits every link below the folder, however deep, hidden ones too, in the system's order.
    /// The folder may itself be given by a link; those below are never followed, not even when they
    /// come up during the walk. What cannot be read is passed over.
    virtual void visit(const std::string& folder,
                       const std::function<void(FoundLink&)>& visitor) = 0;
};

}  // namespace vestigo
