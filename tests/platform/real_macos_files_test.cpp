// Our answers on real macOS programs against those of the tool chain and of the openssl command.
// The files are fetched by scripts/fetch-test-data; VESTIGO_TEST_DATA names their folder.
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <memory>
#include <sstream>

#include <gtest/gtest.h>
#include <sys/stat.h>

#include "engine/mach_o.h"
#include "persist/signature_inspector.h"
#include "platform/linux/linux_bundle_reader.h"
#include "platform/linux/linux_code_signing.h"
#include "tests/support/mach_o_maker.h"
#include "tests/support/temporary_tree.h"

namespace vestigo::test {
namespace {

/// What the shell command prints.
std::string outputOf(const std::string& command) {
    const std::unique_ptr<FILE, decltype(&pclose)> pipe(popen(command.c_str(), "r"), pclose);
    std::string output;
    char piece[4096];
    while (pipe && fgets(piece, sizeof piece, pipe.get())) output += piece;
    return output;
}

std::string quoted(const std::string& path) {
    return "'" + path + "'";
}

/// The tool that takes universal files apart; empty where it is not installed.
const std::string& lipo() {
    static const auto path =
        outputOf("(command -v llvm-lipo || command -v llvm-lipo-14) | tr -d '\\n'");
    return path;
}

std::string contentOf(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

std::vector<std::string> lipoArchs(const std::string& file) {
    std::istringstream words(outputOf(lipo() + " -archs " + quoted(file)));
    std::vector<std::string> archs;
    for (std::string word; words >> word;) {
        // It names the PowerPC models, or their numbers where it does not know them.
        const bool isPpc = word.starts_with("ppc7") || word.starts_with("unknown(18,");
        archs.push_back(isPpc ? "ppc" : word);
    }
    std::ranges::sort(archs);
    return archs;
}

std::vector<std::string> ourArchs(const std::string& file) {
    const auto content = contentOf(file).substr(0, machOHeaderBytes);
    auto archs = machOArchs(std::as_bytes(std::span(content))).value_or(std::vector<std::string>());
    std::ranges::sort(archs);
    return archs;
}

/// One file or bundle of the fetched data.
struct Sample {
    const char* path;        ///< The root that is inspected.
    const char* executable;  ///< The Mach-O file in it; empty: the root itself.
    const char* message;     ///< The file that holds the signature message by itself, or empty.
    bool isSigned;           ///< With a certificate.
};

void PrintTo(const Sample& sample, std::ostream* out) {
    *out << sample.path;
}

constexpr Sample samples[] = {
    {"fsevents/fsevents.node", "", "", false},
    {"node-notifier/vendor/mac.noindex/terminal-notifier.app", "Contents/MacOS/terminal-notifier",
     "", false},
    {"@sentry-cli-darwin/bin/sentry-cli", "", "", true},
    {"fuse-shared-library-darwin/osxfuse/libosxfuse.dylib", "", "", true},
    {"fuse-shared-library-darwin/osxfuse/osxfuse.fs/Contents/Resources/uninstall_osxfuse.app",
     "Contents/MacOS/applet", "", true},
    {"fuse-shared-library-darwin/osxfuse/osxfuse.fs/Contents/Extensions/10.11/osxfuse.kext",
     "Contents/MacOS/osxfuse", "", true},
    {"fuse-shared-library-darwin/osxfuse/osxfuse.fs/Contents/Extensions/10.5/osxfuse.kext",
     "Contents/MacOS/osxfuse", "Contents/_CodeSignature/CodeSignature", true},
};

class RealMacFiles : public ::testing::TestWithParam<Sample> {
protected:
    void SetUp() override {
        const auto* const data = std::getenv("VESTIGO_TEST_DATA");
        if (!data) GTEST_SKIP() << "VESTIGO_TEST_DATA is not set (scripts/fetch-test-data)";
        root = std::string(data) + "/" + GetParam().path;
        struct stat status {};
        if (stat(root.c_str(), &status) != 0) GTEST_SKIP() << root << " was not fetched";
        if (lipo().empty()) GTEST_SKIP() << "no llvm-lipo";
        executable = root;
        if (*GetParam().executable) executable += std::string("/") + GetParam().executable;
    }

    /// The signature message, found by its blob's magic alone in the image that `lipo` cuts out.
    std::string message() const {
        if (*GetParam().message) return contentOf(root + "/" + GetParam().message);
        const auto archs = lipoArchs(executable);
        auto image = executable;
        if (archs.size() > 1) {
            const bool hasArm = std::ranges::find(archs, "arm64") != archs.end();
            image = tree.at("image");
            outputOf(lipo() + " " + quoted(executable) + " -thin " + (hasArm ? "arm64" : "x86_64") +
                     " -output " + image);
        }
        const auto content = contentOf(image);
        const auto at = content.rfind(bigEndian(0xFADE0B01));
        return at == std::string::npos ? "" : content.substr(at + 8);
    }

    /// The signer as openssl finds him.
    std::string opensslCommonName() const {
        const auto der = tree.file("message", message());
        outputOf(
            "openssl cms -verify -noverify -no_content_verify -no_attr_verify -binary"
            " -inform DER -content /dev/null -out /dev/null -in " +
            der + " -signer " + tree.at("signer") + " 2>/dev/null");
        const auto subject = outputOf(
            "openssl x509 -noout -subject -nameopt multiline,utf8,-esc_msb"
            " -in " +
            tree.at("signer") + " 2>/dev/null");
        const std::string label = "commonName                = ";
        const auto at = subject.find(label);
        if (at == std::string::npos) return "";
        return subject.substr(at + label.size(), subject.find('\n', at) - at - label.size());
    }

    TemporaryTree tree;
    std::string root;
    std::string executable;
};

TEST_P(RealMacFiles, HasTheArchitecturesThatLipoSees) {
    if (const auto bundle = LinuxBundleReader().read(root)) {
        ASSERT_EQ(bundle->executable, executable);
    }
    const auto archs = ourArchs(executable);
    EXPECT_FALSE(archs.empty());
    EXPECT_EQ(archs, lipoArchs(executable));
}

TEST_P(RealMacFiles, HasTheSignerThatOpensslSees) {
    LinuxCodeSigning signing;
    const auto code = signing.staticCode(root);
    ASSERT_TRUE(code);
    const auto information = code->signingInformation();
    ASSERT_TRUE(information);
    const auto vendor = inspectSignature(signing, root).vendor;
    if (!GetParam().isSigned) {
        EXPECT_EQ(information->leafCommonName, std::nullopt);
        EXPECT_EQ(vendor, "unsigned");
        return;
    }
    const auto expected = opensslCommonName();
    EXPECT_EQ(information->leafCommonName, expected);
    // As in "Developer ID Application: Example Corp (AB12CD34EF)".
    const std::string role = "Developer ID Application: ";
    ASSERT_TRUE(expected.starts_with(role));
    EXPECT_EQ(vendor, expected.substr(role.size(), expected.find(" (") - role.size()));
}

INSTANTIATE_TEST_SUITE_P(Fetched, RealMacFiles, ::testing::ValuesIn(samples));

}  // namespace
}  // namespace vestigo::test
