// Turns the flat list of hits into groups, all at once or as hits come in.
#pragma once

#include <deque>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>

#include "engine/group_list.h"
#include "engine/grouping.h"
#include "engine/records.h"

namespace vestigo {

/// Adding hits in several steps gives the same groups as adding them all at once. Main thread only.
class Regrouping {
public:
    /// `signatures` is read while hits are added: it must outlive this object, and a change of it
    /// shows only after the next `restart`.
    explicit Regrouping(const SignatureMap& signatures) : signatures_(&signatures) {}

    /// Starts over with no groups. `intelOnly`: list only the legacy files.
    void restart(bool intelOnly);
    /// The next hits, in the order of the engine's hit list.
    void add(std::span<const HitRef> hits);

    [[nodiscard]] const GroupList& groups() const { return groups_; }

private:
    /// What is known of a root, listed or not.
    struct Root {
        std::string_view text;
        BundleGroup* group = nullptr;  ///< Null while no file of it is listed.
        bool isBundle = false;
        bool hasArm64 = false;
        bool isApple = false;
    };

    Root& rootOf(const BinaryHit& hit);
    Root& newRoot(GroupRoot found);
    void noteArm64(Root& root);
    void list(Root& root, const HitRef& hit);

    const SignatureMap* signatures_;
    bool intelOnly_ = true;
    GroupList groups_;
    std::deque<std::string> rootTexts_;  ///< Owns what the keys and roots point into.
    std::unordered_map<std::string_view, Root> roots_;
    Root* latest_ = nullptr;  ///< The root of the hit before: files of a bundle come in a row.
};

}  // namespace vestigo
