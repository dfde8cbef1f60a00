#include "engine/records.h"

#include <algorithm>
#include <array>

namespace vestigo {

std::string_view BundleGroup::name() const {
    return lastComponent(root);
}

int BundleGroup::fixRank() const {
    switch (fix) {
        case Fix::homebrew: return 0;
        case Fix::macports: return 1;
        case Fix::manual: return 2;
        case Fix::keep: return 3;
        case Fix::apple: return 4;
    }
    return 0;
}

std::string BundleGroup::cpuSummary() const {
    std::vector<std::string_view> names;
    for (const auto& hit : hits) {
        for (const auto& arch : hit->archs) {
            const auto place = std::lower_bound(names.begin(), names.end(), arch);
            if (place == names.end() || *place != arch) names.insert(place, arch);
        }
    }
    std::string text;
    for (const auto name : names) {
        if (!text.empty()) text += ", ";
        text += name;
    }
    return text;
}

bool BundleGroup::hasPowerPC() const {
    return std::ranges::any_of(hits, [](const HitRef& hit) {
        return std::ranges::any_of(
            hit->archs, [](const std::string& arch) { return arch == "ppc" || arch == "ppc64"; });
    });
}

double BundleGroup::created() const {
    double first = 0;
    for (const auto& hit : hits) {
        if (hit->ctime > 0 && (first == 0 || hit->ctime < first)) first = hit->ctime;
    }
    return first;
}

bool BundleGroup::operator==(const BundleGroup& other) const {
    return root == other.root && isBundle == other.isBundle && category == other.category &&
           fix == other.fix && hasArm64 == other.hasArm64 && sameHits(hits, other.hits);
}

bool sameHits(const HitList& a, const HitList& b) {
    return std::ranges::equal(a, b,
                              [](const HitRef& x, const HitRef& y) { return x == y || *x == *y; });
}

std::size_t eraseHitsUnder(const RootSet& roots, HitList& hits) {
    if (roots.empty()) return 0;
    RootMatcher matcher(roots);
    return std::erase_if(hits, [&](const HitRef& hit) { return matcher.covers(hit->path); });
}

std::string_view label(Category category) {
    switch (category) {
        case Category::application: return "App";
        case Category::driver: return "Driver / Ext";
        case Category::plugin: return "Plug-in";
        case Category::library: return "Library";
        case Category::cliTool: return "CLI tool";
        case Category::helper: return "Helper";
        case Category::other: return "Other";
    }
    return {};
}

std::optional<Category> categoryFromLabel(std::string_view text) {
    for (const auto category : allCategories) {
        if (label(category) == text) return category;
    }
    return std::nullopt;
}

bool operator<(Category a, Category b) {
    return label(a) < label(b);
}

std::size_t labelRank(Category category) {
    static const auto ranks = [] {
        std::array<std::size_t, std::size(allCategories)> result{};
        for (const auto each : allCategories) {
            result[static_cast<std::size_t>(each)] = static_cast<std::size_t>(std::ranges::count_if(
                allCategories, [each](Category other) { return other < each; }));
        }
        return result;
    }();
    return ranks[static_cast<std::size_t>(category)];
}

std::string_view label(Fix fix) {
    switch (fix) {
        case Fix::apple: return "Apple";
        case Fix::homebrew: return "brew";
        case Fix::macports: return "MacPorts";
        case Fix::manual: return "Manual";
        case Fix::keep: return "Keep";
    }
    return {};
}

std::optional<Fix> fixFromLabel(std::string_view text) {
    for (const auto fix : {Fix::apple, Fix::homebrew, Fix::macports, Fix::manual, Fix::keep}) {
        if (label(fix) == text) return fix;
    }
    return std::nullopt;
}

std::string_view label(Scope scope) {
    switch (scope) {
        case Scope::smart: return "Smart folders";
        case Scope::deep: return "Whole disk ( / )";
    }
    return {};
}

namespace {

/// Combines the hashes of several values. Their order counts.
class Hasher {
public:
    template <class T>
    Hasher& add(const T& value) {
        state_ ^= std::hash<T>{}(value) + 0x9e3779b97f4a7c15U + (state_ << 6U) + (state_ >> 2U);
        return *this;
    }
    [[nodiscard]] std::size_t result() const { return state_; }

private:
    std::size_t state_ = 0;
};

}  // namespace
}  // namespace vestigo

using vestigo::Hasher;

std::size_t std::hash<vestigo::BinaryHit>::operator()(
    const vestigo::BinaryHit& hit) const noexcept {
    Hasher hasher;
    hasher.add(hit.path).add(hit.archs.size());
    for (const auto& arch : hit.archs) hasher.add(arch);
    return hasher.add(hit.size).add(hit.mtime).add(hit.ctime).result();
}

std::size_t std::hash<vestigo::BundleGroup>::operator()(
    const vestigo::BundleGroup& group) const noexcept {
    Hasher hasher;
    hasher.add(group.root).add(group.isBundle).add(group.category).add(group.hits.size());
    for (const auto& hit : group.hits) hasher.add(*hit);
    return hasher.add(group.fix).add(group.hasArm64).result();
}

std::size_t std::hash<vestigo::SignInfo>::operator()(const vestigo::SignInfo& info) const noexcept {
    return Hasher().add(info.isApple).add(info.vendor).result();
}

std::size_t std::hash<vestigo::Leftover>::operator()(
    const vestigo::Leftover& leftover) const noexcept {
    Hasher hasher;
    return hasher.add(leftover.path)
        .add(leftover.fuzzy)
        .add(leftover.system)
        .add(leftover.on)
        .result();
}

std::size_t std::hash<vestigo::Category>::operator()(vestigo::Category category) const noexcept {
    return std::hash<std::string_view>{}(label(category));
}

std::size_t std::hash<vestigo::Fix>::operator()(vestigo::Fix fix) const noexcept {
    return std::hash<std::string_view>{}(label(fix));
}
