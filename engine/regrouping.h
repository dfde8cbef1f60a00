// Turns the flat list of hits into groups, all at once or as hits come in.
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

/// Groups ordered by category (by label); within a category in the order they were added. Roots are
/// unique. Adding never moves a group, so a reference stays good while the list lives.
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

    /// The new group, at the end of its category.
    BundleGroup& add(BundleGroup group);

    [[nodiscard]] Iterator begin() const { return {&buckets_, 0}; }
    [[nodiscard]] Iterator end() const { return {&buckets_, bucketCount}; }
    [[nodiscard]] std::size_t size() const { return size_; }
    [[nodiscard]] bool empty() const { return size_ == 0; }
    bool operator==(const GroupList&) const = default;

private:
    std::array<Bucket, bucketCount> buckets_;  ///< By rank of the category's label.
    std::size_t size_ = 0;
};

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

    [[nodiscard]] const GroupList& groups() const { return *groups_; }
    /// Never null. Starting over puts a new list in its place.
    [[nodiscard]] std::shared_ptr<const GroupList> sharedGroups() const { return groups_; }

private:
    /// What is known of a root, listed or not.
    struct Root {
        std::string_view text;
        HitRef keeper;                 ///< The hit whose path `text` is part of.
        BundleGroup* group = nullptr;  ///< Null while no file of it is listed.
        bool isBundle = false;
        bool hasArm64 = false;
    };
    using Roots = std::pmr::unordered_map<std::string_view, Root>;

    Root& rootOf(const HitRef& hit);
    void noteArm64(Root& root);
    void list(Root& root, const HitRef& hit);
    [[nodiscard]] bool isApple(std::string_view root) const;

    const SignatureMap* signatures_;
    bool intelOnly_ = true;
    std::shared_ptr<GroupList> groups_ = std::make_shared<GroupList>();
    /// The map's nodes come and go all together.
    std::unique_ptr<std::pmr::monotonic_buffer_resource> memory_ =
        std::make_unique<std::pmr::monotonic_buffer_resource>();
    std::deque<std::string> ownTexts_;  ///< Of the few roots that are not part of a hit's path.
    Roots roots_{memory_.get()};        ///< Texts are views into `ownTexts_` or a kept hit's path.
    Root* latest_ = nullptr;  ///< The root of the hit before: files of a bundle come in a row.
};

}  // namespace vestigo
