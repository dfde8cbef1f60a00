#include "actions/leftover_finder.h"

#include <algorithm>
#include <cstddef>
#include <optional>
#include <string_view>
#include <unordered_set>
#include <utility>

namespace vestigo {
namespace {

constexpr std::string_view applicationEnding = ".app";

/// The names in one folder, sorted for searches by prefix. It is read once for all groups, since
/// each application is searched for in the same folders.
class Listing {
public:
    Listing(Files& files, const std::string& folder)
        : names_(files.names(folder).value_or(std::vector<std::string>())), byName_(names_.size()) {
        for (std::size_t i = 0; i < names_.size(); ++i) byName_[i] = i;
        std::ranges::sort(
            byName_, {}, [this](std::size_t i) -> auto& { return names_[i]; });
    }

    /// The names with this prefix, in the order in which the folder lists them.
    [[nodiscard]] std::vector<std::string_view> beginningWith(std::string_view prefix) const {
        const auto name = [this](std::size_t i) { return std::string_view(names_[i]); };
        std::vector<std::size_t> found;
        for (auto place = std::ranges::lower_bound(byName_, prefix, {}, name);
             place != byName_.end() && name(*place).starts_with(prefix); ++place) {
            found.push_back(*place);
        }
        std::ranges::sort(found);
        std::vector<std::string_view> result;
        for (const auto i : found) result.push_back(names_[i]);
        return result;
    }

private:
    std::vector<std::string> names_;
    std::vector<std::size_t> byName_;  ///< Indices of `names_`, sorted by name.
};

/// Whether the text is the name of an entry in a folder. If not, a path made with it could lead to
/// the folder itself or out of it.
bool isEntryName(std::string_view name) {
    constexpr std::string_view neverInNames("/\0", 2);
    return !name.empty() && name != "." && name != ".." &&
           name.find_first_of(neverInNames) == name.npos;
}

/// The last component of a root that ends in ".app", without that ending. A component that is only
/// ".app" has no extension and is returned whole.
std::string_view applicationName(const BundleGroup& group) {
    auto name = group.name();
    if (name.size() > applicationEnding.size()) name.remove_suffix(applicationEnding.size());
    return name;
}

/// Collects the leftovers of one group after the other.
class Search {
public:
    Search(const LeftoverPlaces& places, BundleReader& bundles, Files& files)
        : bundles_(bundles),
          files_(files),
          own_(places.home + "/Library"),
          machine_(places.library),
          byHost_(files, own_ + "/Preferences/ByHost"),
          ownAgents_(files, own_ + "/LaunchAgents"),
          agents_(files, machine_ + "/LaunchAgents"),
          daemons_(files, machine_ + "/LaunchDaemons"),
          tools_(files, machine_ + "/PrivilegedHelperTools") {}

    void add(const BundleGroup& group) {
        const auto information = bundles_.read(group.root);
        if (information && information->identifier && isEntryName(*information->identifier)) {
            offerByIdentifier(*information->identifier);
        }
        offerByName(std::string(applicationName(group)));
    }

    [[nodiscard]] std::vector<Leftover> result() && { return std::move(found_); }

private:
    void offerByIdentifier(const std::string& id) {
        // An identifier of one word ("com", "com.") is shared by many makers and is the beginning
        // of many more names. It says no more than an application's name, so files found by it are
        // fuzzy too: the sheet then says that others may share them and why they are off.
        const auto stop = id.find('.');
        const bool fuzzy = stop == id.npos || id.find_first_not_of('.', stop) == id.npos ||
                           id.find_first_not_of('.') > stop;
        for (const auto& [before, after] :
             {std::pair{"/Preferences/", ".plist"}, std::pair{"/Containers/", ""},
              std::pair{"/Caches/", ""}, std::pair{"/HTTPStorages/", ""},
              std::pair{"/HTTPStorages/", ".binarycookies"},
              std::pair{"/Saved Application State/", ".savedState"}, std::pair{"/WebKit/", ""},
              std::pair{"/Application Scripts/", ""}}) {
            offer({.path = own_ + before + id + after, .fuzzy = fuzzy, .on = !fuzzy});
        }
        offerEach(byHost_, own_ + "/Preferences/ByHost/", id + ".", "",
                  {.path = {}, .fuzzy = fuzzy});
        offerEach(ownAgents_, own_ + "/LaunchAgents/", id, ".plist", {.path = {}, .fuzzy = fuzzy});
        const Leftover machineWide{.path = {}, .fuzzy = fuzzy, .system = true};
        offerEach(agents_, machine_ + "/LaunchAgents/", id, ".plist", machineWide);
        offerEach(daemons_, machine_ + "/LaunchDaemons/", id, ".plist", machineWide);
        offerEach(tools_, machine_ + "/PrivilegedHelperTools/", id, "", machineWide);
    }

    void offerEach(const Listing& listing, const std::string& folder, std::string_view prefix,
                   std::string_view suffix, const Leftover& kind) {
        for (const auto name : listing.beginningWith(prefix)) {
            if (!name.ends_with(suffix)) continue;
            offer({.path = folder + std::string(name),
                   .fuzzy = kind.fuzzy,
                   .system = kind.system,
                   .on = !kind.fuzzy});
        }
    }

    void offerByName(const std::string& name) {
        if (!isEntryName(name)) return;
        offer({.path = own_ + "/Application Support/" + name, .fuzzy = true, .on = false});
        offer({.path = own_ + "/Logs/" + name, .fuzzy = true, .on = false});
    }

    void offer(Leftover candidate) {
        if (seen_.contains(candidate.path) || !files_.exists(candidate.path)) return;
        seen_.insert(candidate.path);
        found_.push_back(std::move(candidate));
    }

    BundleReader& bundles_;
    Files& files_;
    std::string own_;
    std::string machine_;
    Listing byHost_;
    Listing ownAgents_;
    Listing agents_;
    Listing daemons_;
    Listing tools_;
    std::unordered_set<std::string> seen_;
    std::vector<Leftover> found_;
};

}  // namespace

std::vector<Leftover> findLeftovers(std::span<const BundleGroup* const> groups,
                                    const LeftoverPlaces& places, BundleReader& bundles,
                                    Files& files) {
    if (groups.empty()) return {};
    Search search(places, bundles, files);
    for (const auto* group : groups) {
        if (group->root.ends_with(applicationEnding)) search.add(*group);
    }
    return std::move(search).result();
}

}  // namespace vestigo
