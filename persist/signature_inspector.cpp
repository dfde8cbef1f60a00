#include "persist/signature_inspector.h"

#include <algorithm>

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

SignatureAnswers gatherAnswers(CodeSigning& signing, const std::string& path) {
    SignatureAnswers answers;
    const auto code = signing.staticCode(path);
    if (!code) return answers;
    answers.isCode = true;
    answers.isAnchoredToApple = mayBeApple(path) && code->isAnchoredToApple();
    if (!answers.isAnchoredToApple) answers.information = code->signingInformation();
    return answers;
}

}  // namespace

bool mayBeApple(std::string_view path) {
    return std::ranges::any_of(appleSystemPrefixes,
                               [path](auto prefix) { return path.starts_with(prefix); });
}

SignInfo signInfoFrom(std::string_view path, const SignatureAnswers& answers) {
    if (answers.isCode && answers.isAnchoredToApple && mayBeApple(path)) return {true, "Apple"};
    if (!answers.isCode || !answers.information) return {false, std::string(unsignedVendor)};
    return {false, std::string(vendorFrom(*answers.information))};
}

SignInfo inspectSignature(CodeSigning& signing, const std::string& path) {
    return signInfoFrom(path, gatherAnswers(signing, path));
}

}  // namespace vestigo
