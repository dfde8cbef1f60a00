#include "ui/model/inspect_list.h"

#include <algorithm>
#include <string_view>

#include "engine/grouping.h"
#include "engine/scan_rules.h"
#include "platform/paths.h"

namespace vestigo {
namespace {

std::string joined(std::vector<std::string> archs) {
    std::ranges::sort(archs);
    std::string text;
    for (const auto& arch : archs) text += (text.empty() ? "" : ", ") + arch;
    return text;
}

/// Returns the path relative to the root. The path of a group that is the binary itself stays
/// whole.
std::string relativeTo(const std::string& root, const std::string& path) {
    const bool inside = path.size() > root.size() && path.starts_with(root);
    return inside ? path.substr(root.size() + 1) : path;
}

std::string summaryOf(std::size_t count, std::size_t flagged) {
    return std::to_string(count) + " Mach-O binar" + (count == 1 ? "y" : "ies") + " inside. " +
           std::to_string(flagged) +
           " flagged as Intel/PowerPC-only (shown in red). The rest are universal or arm64, which "
           "is why the app still runs.";
}

}  // namespace

InspectedBundle inspectBundle(const HitList& allHits, const BundleGroup& group) {
    std::vector<const BinaryHit*> inside;
    for (const auto& hit : allHits) {
        if (liesUnder(hit->path, group.root)) inside.push_back(hit.get());
    }
    std::ranges::sort(inside, {}, &BinaryHit::path);
    InspectedBundle bundle;
    for (const auto* const hit : inside) {
        bundle.binaries.push_back(
            {joined(hit->archs), relativeTo(group.root, hit->path), isLegacy(hit->archs)});
    }
    const auto flagged = std::ranges::count(bundle.binaries, true, &InspectedBinary::legacy);
    bundle.title = group.name();
    bundle.summary = summaryOf(inside.size(), static_cast<std::size_t>(flagged));
    return bundle;
}

}  // namespace vestigo
