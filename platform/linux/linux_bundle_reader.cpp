#include "platform/linux/linux_bundle_reader.h"

#include <algorithm>
#include <filesystem>
#include <memory>
#include <system_error>

#include <plist/plist.h>
#include <sys/stat.h>

#include "platform/linux/byte_source.h"
#include "platform/linux/plist_guard.h"

namespace vestigo {
namespace {

constexpr std::uint64_t largestInfoPlist = std::uint64_t{1} << 20U;

/// A place below the bundle, with the slash before it.
struct Layout {
    std::string infoPlist;
    std::string executables;
};

std::optional<FileBytes> openFirst(const std::string& bundle, std::span<const Layout> layouts,
                                   Layout& found) {
    for (const auto& layout : layouts) {
        if (auto file = FileBytes::open(bundle + layout.infoPlist)) {
            found = layout;
            return file;
        }
    }
    return std::nullopt;
}

/// For a framework without a current version: the first by name, if it has any.
std::optional<Layout> firstVersion(const std::string& bundle) {
    std::error_code error;
    std::string first;
    std::filesystem::directory_iterator versions(bundle + "/Versions", error);
    for (; !error && versions != std::filesystem::directory_iterator(); versions.increment(error)) {
        auto name = versions->path().filename().string();
        if (first.empty() || name < first) first = std::move(name);
    }
    if (first.empty()) return std::nullopt;
    const auto version = "/Versions/" + first;
    return Layout{version + "/Resources/Info.plist", version};
}

std::optional<FileBytes> openInfoPlist(const std::string& bundle, Layout& found) {
    static const Layout layouts[] = {
        {"/Contents/Info.plist", "/Contents/MacOS"},
        {"/Versions/Current/Resources/Info.plist", "/Versions/Current"},
        {"/Resources/Info.plist", ""},
        {"/Info.plist", ""},
    };
    if (auto file = openFirst(bundle, layouts, found)) return file;
    const auto version = firstVersion(bundle);
    return version ? openFirst(bundle, {&*version, 1}, found) : std::nullopt;
}

/// Whether the name stays in the folder that it is looked up in.
bool staysInside(std::string_view name) {
    if (name.empty() || name.front() == '/' || name.find('\0') != std::string_view::npos) {
        return false;
    }
    const auto parts = std::filesystem::path(name);
    return std::ranges::none_of(parts, [](const auto& part) { return part == ".."; });
}

bool isRegularFile(const std::string& path) {
    struct stat status {};
    return ::stat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode);
}

std::optional<std::string> executableOf(const std::string& bundle, const Layout& layout,
                                        const InfoPlist& info) {
    const auto name = info.executableName.value_or(std::filesystem::path(bundle).stem().string());
    if (!staysInside(name)) return std::nullopt;
    auto path = bundle + layout.executables + "/" + name;
    return isRegularFile(path) ? std::optional(std::move(path)) : std::nullopt;
}

std::optional<std::string> stringValue(plist_t dictionary, const char* key) {
    const auto item = plist_dict_get_item(dictionary, key);
    if (!item || plist_get_node_type(item) != PLIST_STRING) return std::nullopt;
    std::uint64_t length = 0;
    const auto* const text = plist_get_string_ptr(item, &length);
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
    Layout layout;
    const auto file = openInfoPlist(path, layout);
    if (!file || file->size() > largestInfoPlist) return std::nullopt;
    const auto bytes = readBytes(*file, 0, file->size());
    if (!bytes) return std::nullopt;
    auto info = parseInfoPlist({reinterpret_cast<const char*>(bytes->data()), bytes->size()});
    if (!info) return std::nullopt;
    return BundleInformation{info->identifier, info->version, executableOf(path, layout, *info)};
}

}  // namespace vestigo
