#include "engine/grouping.h"

#include <algorithm>
#include <array>

#include "engine/text.h"

namespace vestigo {
namespace {

constexpr std::string_view bundleExtensions[] = {
    "app",   "kext",        "dext",       "framework", "bundle", "plugin",
    "appex", "qlgenerator", "mdimporter", "prefpane",  "saver",  "component",
    "vst",   "vst3",        "audiounit",  "aaxplugin", "xpc",
};
constexpr std::string_view driverExtensions[] = {"kext", "dext"};
constexpr std::string_view helperExtensions[] = {"appex", "xpc"};
constexpr std::string_view pluginExtensions[] = {
    "plugin",    "bundle", "qlgenerator", "mdimporter", "prefpane", "saver",
    "component", "vst",    "vst3",        "audiounit",  "aax",      "aaxplugin",
};
constexpr std::size_t longestExtension = 11;

constexpr std::string_view legacyArchs[] = {"x86_64", "i386", "ppc", "ppc64"};

constexpr std::string_view commandDirectories[] = {
    "/bin/",
    "/sbin/",
    "/usr/bin/",
    "/usr/sbin/",
    "/usr/libexec/",
    "/usr/local/bin/",
    "/usr/local/sbin/",
    "/opt/homebrew/bin/",
    "/opt/homebrew/sbin/",
    "/opt/local/bin/",
    "/opt/local/sbin/",
};

bool contains(std::string_view text, std::string_view piece) {
    return text.find(piece) != std::string_view::npos;
}

template <std::size_t N>
bool containsAny(std::string_view text, const std::string_view (&pieces)[N]) {
    return std::ranges::any_of(pieces, [text](std::string_view p) { return contains(text, p); });
}

template <std::size_t N>
bool isOneOf(std::string_view text, const std::string_view (&choices)[N]) {
    return std::ranges::find(choices, text) != std::end(choices);
}

/// The extension of a component in lower case; empty when it is longer than any that matters. It
/// allocates no memory, because one is made for every component of every path.
class Extension {
public:
    explicit Extension(std::string_view component) {
        const auto dot = component.rfind('.');
        if (dot == std::string_view::npos || component.size() - dot - 1 > longestExtension) return;
        const auto text = component.substr(dot + 1);
        std::ranges::transform(text, lower_.begin(), lowerCase);
        size_ = text.size();
    }
    [[nodiscard]] std::string_view text() const { return {lower_.data(), size_}; }

private:
    std::array<char, longestExtension> lower_{};
    std::size_t size_ = 0;
};

/// Returns the next non-empty component at or after `*at` and moves `*at` behind it. Empty at the
/// end of the path.
std::string_view nextComponent(std::string_view path, std::size_t* at) {
    const auto begin = path.find_first_not_of('/', *at);
    if (begin == std::string_view::npos) return {};
    *at = std::min(path.find('/', begin), path.size());
    return path.substr(begin, *at - begin);
}

/// The kinds that occur among the extensions of a path's components.
struct ComponentKinds {
    bool driver = false;
    bool helper = false;
    bool plugin = false;
    bool framework = false;
    bool application = false;
};

ComponentKinds componentKinds(std::string_view path) {
    ComponentKinds kinds;
    std::size_t at = 0;
    for (auto component = nextComponent(path, &at); !component.empty();
         component = nextComponent(path, &at)) {
        const Extension extension(component);
        const auto text = extension.text();
        if (text.empty()) continue;
        kinds.driver = kinds.driver || isOneOf(text, driverExtensions);
        kinds.helper = kinds.helper || isOneOf(text, helperExtensions);
        kinds.plugin = kinds.plugin || isOneOf(text, pluginExtensions);
        kinds.framework = kinds.framework || text == "framework";
        kinds.application = kinds.application || text == "app";
    }
    return kinds;
}

bool isLibraryFile(std::string_view root) {
    return root.ends_with(".dylib") || root.ends_with(".so") || root.ends_with(".a");
}

}  // namespace

bool isLegacy(std::span<const std::string> archs) {
    const bool legacy = std::ranges::any_of(
        archs, [](const std::string& arch) { return isOneOf(arch, legacyArchs); });
    return legacy && !holdsArm64(archs);
}

bool holdsArm64(std::span<const std::string> archs) {
    return std::ranges::find(archs, "arm64") != archs.end();
}

std::optional<std::size_t> bundleLength(std::string_view path) {
    std::size_t at = 0;
    for (auto component = nextComponent(path, &at); !component.empty();
         component = nextComponent(path, &at)) {
        if (isOneOf(Extension(component).text(), bundleExtensions)) return at;
    }
    return std::nullopt;
}

GroupRoot groupRoot(std::string_view path) {
    const auto length = bundleLength(path);
    if (!length) return {std::string(path), false};
    std::string root;
    std::size_t at = 0;
    while (at < *length) root.append("/").append(nextComponent(path, &at));
    return {root, true};
}

/// The first rule that fits decides. The more special kinds come first: a driver or a plug-in may
/// lie inside an application, and a library in a folder of commands.
Category categoryForPath(std::string_view root) {
    const auto kinds = componentKinds(root);
    constexpr std::string_view driverFolders[] = {"/Extensions/", "/Library/Printers/"};
    constexpr std::string_view helperFolders[] = {"/XPCServices/", "/Contents/Library/LoginItems/",
                                                  "/Contents/Helpers/"};
    if (kinds.driver || containsAny(root, driverFolders)) return Category::driver;
    if (kinds.helper || containsAny(root, helperFolders)) return Category::helper;
    if (kinds.plugin) return Category::plugin;
    if (isLibraryFile(root) || kinds.framework) return Category::library;
    if (containsAny(root, commandDirectories)) return Category::cliTool;
    if (kinds.application) return Category::application;
    return Category::other;
}

Fix fixForPath(std::string_view root, bool isApple, bool hasArm64) {
    if (isApple) return Fix::apple;
    if (hasArm64) return Fix::keep;
    if (contains(root, "/opt/homebrew/")) return Fix::homebrew;
    if (contains(root, "/usr/local/Cellar/")) return Fix::homebrew;
    if (root.starts_with("/opt/local/")) return Fix::macports;
    return Fix::manual;
}

std::optional<std::string> formulaName(std::string_view root) {
    std::size_t at = 0;
    for (auto component = nextComponent(root, &at); !component.empty();
         component = nextComponent(root, &at)) {
        if (component != "Cellar") continue;
        const auto formula = nextComponent(root, &at);
        if (formula.empty()) return std::nullopt;
        return std::string(formula);
    }
    return std::nullopt;
}

}  // namespace vestigo
