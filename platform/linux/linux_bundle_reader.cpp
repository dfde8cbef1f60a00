#include "platform/linux/linux_bundle_reader.h"

#include <algorithm>
#include <filesystem>
#include <memory>

#include <plist/plist.h>

#include "platform/linux/bundle_folder.h"
#include "platform/linux/byte_source.h"
#include "platform/linux/plist_guard.h"

namespace vestigo {
namespace {

constexpr std::uint64_t largestInfoPlist = std::uint64_t{1} << 20U;

/// The places of a layout, relative to the bundle.
struct Layout {
    std::string infoPlist;
    std::string executables;  ///< Ends in a slash; empty for the bundle itself.
};

struct FoundInfoPlist {
    FileBytes file;
    std::string executables;
};

std::optional<FoundInfoPlist> find(const BundleFolder& bundle, const Layout& layout) {
    auto file = bundle.file(layout.infoPlist);
    if (!file) return std::nullopt;
    return FoundInfoPlist{*std::move(file), layout.executables};
}

std::optional<FoundInfoPlist> findInfoPlist(const BundleFolder& bundle) {
    static const Layout layouts[] = {
        {"Contents/Info.plist", "Contents/MacOS/"},
        {"Versions/Current/Resources/Info.plist", "Versions/Current/"},
        {"Resources/Info.plist", ""},
        {"Info.plist", ""},
    };
    for (const auto& layout : layouts) {
        if (auto found = find(bundle, layout)) return found;
    }
    // This is for a framework without a current version.
    for (const auto& name : bundle.names("Versions")) {
        const auto version = "Versions/" + name + "/";
        if (auto found = find(bundle, {version + "Resources/Info.plist", version})) return found;
    }
    return std::nullopt;
}

/// Whether the name cannot lead out of the folder that it is looked up in.
bool staysInside(std::string_view name) {
    if (name.empty() || name.front() == '/' || name.find('\0') != std::string_view::npos) {
        return false;
    }
    const auto parts = std::filesystem::path(name);
    return std::ranges::none_of(parts, [](const auto& part) { return part == ".."; });
}

std::optional<std::string> executableOf(const std::string& path, const BundleFolder& bundle,
                                        const std::string& executables, const InfoPlist& info) {
    const auto name = info.executableName.value_or(std::filesystem::path(path).stem().string());
    if (!staysInside(name) || !bundle.holdsFile(executables + name)) return std::nullopt;
    return path + "/" + executables + name;
}

std::optional<std::string> stringValue(plist_t dictionary, const char* key) {
    std::uint64_t length = 0;
    // Null for whatever is no string.
    const auto* const text = plist_get_string_ptr(plist_dict_get_item(dictionary, key), &length);
    if (!text || length == 0) return std::nullopt;
    return std::string(text, length);
}

struct PlistRelease {
    void operator()(void* list) const { plist_free(list); }
};

}  // namespace

std::optional<InfoPlist> parseInfoPlist(std::string_view content) {
    if (content.starts_with("\xEF\xBB\xBF")) content.remove_prefix(3);
    if (content.size() > largestInfoPlist || !isHarmlessPropertyList(content)) return std::nullopt;
    plist_t root = nullptr;
    plist_from_memory(content.data(), static_cast<std::uint32_t>(content.size()), &root);
    const std::unique_ptr<void, PlistRelease> list(root);
    if (!root || plist_get_node_type(root) != PLIST_DICT) return std::nullopt;
    return InfoPlist{stringValue(root, "CFBundleIdentifier"),
                     stringValue(root, "CFBundleShortVersionString"),
                     stringValue(root, "CFBundleExecutable")};
}

std::optional<BundleInformation> LinuxBundleReader::read(const std::string& path) {
    const auto bundle = BundleFolder::open(path);
    if (!bundle) return std::nullopt;
    const auto found = findInfoPlist(*bundle);
    if (!found || found->file.size() > largestInfoPlist) return std::nullopt;
    const auto bytes = readBytes(found->file, 0, found->file.size());
    if (!bytes) return std::nullopt;
    auto info = parseInfoPlist({reinterpret_cast<const char*>(bytes->data()), bytes->size()});
    if (!info) return std::nullopt;
    return BundleInformation{info->identifier, info->version,
                             executableOf(path, *bundle, found->executables, *info)};
}

}  // namespace vestigo
