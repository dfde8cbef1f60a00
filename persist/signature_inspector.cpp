#include "persist/signature_inspector.h"

#include <algorithm>
#include <optional>
#include <string_view>

namespace vestigo {
namespace {

constexpr std::string_view appleSystemPrefixes[] = {"/System/", "/usr/", "/bin/", "/sbin/",
                                                    "/Library/Apple/"};

constexpr std::string_view certificateRolePrefixes[] = {
    "Developer ID Application: ", "3rd Party Mac Developer Application: ", "Apple Distribution: ",
    "Mac Developer: ", "Apple Development: "};

constexpr std::string_view unsignedVendor = "unsigned";

/// Returns the name alone: "Example Corp" of "Developer ID Application: Example Corp (AB12CD34EF)".
std::string_view trimmed(std::string_view commonName) {
    for (const auto prefix : certificateRolePrefixes) {
        if (commonName.starts_with(prefix)) commonName.remove_prefix(prefix.size());
    }
    return commonName.substr(0, commonName.find(" ("));
}

std::string_view vendorFrom(const SigningInformation& information) {
    const auto vendor =
        information.leafCommonName ? trimmed(*information.leafCommonName) : unsignedVendor;
    const auto& team = information.teamIdentifier;
    return vendor == unsignedVendor && team && !team->empty() ? *team : vendor;
}

/// Whether the path lies in a place of the system's own code. Only there is code taken for Apple's,
/// and only there is the costly question asked.
bool mayBeApple(std::string_view path) {
    return std::ranges::any_of(appleSystemPrefixes,
                               [path](auto prefix) { return path.starts_with(prefix); });
}

}  // namespace

SignInfo inspectSignature(CodeSigning& signing, const std::string& path) {
    const auto code = signing.staticCode(path);
    if (code && mayBeApple(path) && code->isAnchoredToApple()) return {true, "Apple"};
    const auto information = code ? code->signingInformation() : std::nullopt;
    return {false, std::string(information ? vendorFrom(*information) : unsignedVendor)};
}

}  // namespace vestigo
