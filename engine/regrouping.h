// Turns the flat list of hits into groups, all at once or while the hits arrive.
#pragma once

#include <array>
#include <cstddef>
#include <deque>
#include <iterator>
#include <memory>
#include <memory_resource>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>

#include "engine/records.h"

namespace vestigo {

/// A list of groups, ordered by the labels of their categories and within a category in the order
/// in which they were added. Adding a group never moves another one, so references stay valid for
/// as long as the list lives. Used by one thread at a time.
class GroupList {
    using Bucket = std::deque<BundleGroup>;
    static constexpr std::size_t bucketCount = std::size(allCategories);

public:
    class Iterator {
    public:
        using iterator_category = std::forward_iterator_tag;
        using value_type = BundleGroup;
        using difference_type = std::ptrdiff_t;
        using pointer = const BundleGroup*;
        using reference = const BundleGroup&;

        Iterator() = default;
        reference operator*() const { return (*list_)[bucket_][index_]; }
        pointer operator->() const { return &**this; }
        Iterator& operator++();
        Iterator operator++(int);
        bool operator==(const Iterator&) const = default;

    private:
        friend class GroupList;
        using Buckets = std::array<Bucket, bucketCount>;
        Iterator(const Buckets* list, std::size_t bucket) : list_(list), bucket_(bucket) {
            skipEmpty();
        }
        void skipEmpty();

        const Buckets* list_ = nullptr;
        std::size_t bucket_ = 0;
        std::size_t index_ = 0;
    };

    /// Adds a group at the end of its category and returns it. The caller sees to it that no two
    /// groups have the same root.
    BundleGroup& add(BundleGroup group);

    [[nodiscard]] Iterator begin() const { return {&buckets_, 0}; }
    [[nodiscard]] Iterator end() const { return {&buckets_, bucketCount}; }
    [[nodiscard]] std::size_t size() const { return size_; }
    [[nodiscard]] bool empty() const { return size_ == 0; }
    bool operator==(const GroupList&) const = default;

private:
    std::array<Bucket, bucketCount> buckets_;  ///< Indexed by `labelRank` of the category.
    std::size_t size_ = 0;
};

/// Builds the groups. Adding hits in several steps gives the same groups as adding all at once.
/// Main thread only.
class Regrouping {
public:
    /// `signatures` must outlive this object. It is read while hits are added, so a later change of
    /// it shows only after `restart` and a new `add`.
    explicit Regrouping(const SignatureMap& signatures) : signatures_(&signatures) {}

    /// Starts over with a new, empty list. With `intelOnly` only legacy files will be listed.
    void restart(bool intelOnly);
    /// Adds the next hits in the order of the Scanner's hit list.
    void add(std::span<const HitRef> hits);

    [[nodiscard]] const GroupList& groups() const { return *groups_; }
    /// The same list, for callers that keep references into it. Never null. `restart` makes a new
    /// list and leaves this one unchanged.
    [[nodiscard]] std::shared_ptr<const GroupList> sharedGroups() const { return groups_; }

private:
    /// The facts about a root, which may have no group yet.
    struct Root {
        std::string_view text;
        HitRef textOwner;              ///< Keeps the hit alive into whose path `text` is a view.
        BundleGroup* group = nullptr;  ///< Null until a file of it is listed.
        bool isBundle = false;
        bool hasArm64 = false;
    };
    using Roots = std::pmr::unordered_map<std::string_view, Root>;

    Root& rootOf(const HitRef& hit);
    void noteArm64(Root& root);
    void addToGroup(Root& root, const HitRef& hit);
    [[nodiscard]] bool isApple(std::string_view root) const;

    const SignatureMap* signatures_;
    bool intelOnly_ = true;
    std::shared_ptr<GroupList> groups_ = std::make_shared<GroupList>();
    /// The memory of the nodes of `roots_`, which are all freed together.
    std::unique_ptr<std::pmr::monotonic_buffer_resource> memory_ =
        std::make_unique<std::pmr::monotonic_buffer_resource>();
    std::deque<std::string> joinedTexts_;  ///< Texts of the few roots that are in no hit's path.
    Roots roots_{memory_.get()};  ///< Keyed by views into `joinedTexts_` or into a hit's path.
    Root* latest_ = nullptr;      ///< The root of the latest hit.
};

}  // namespace vestigo
