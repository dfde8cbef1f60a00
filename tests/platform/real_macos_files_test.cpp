// Our answers on real macOS programs, held against what llvm-lipo and openssl said of these files.
// They are fetched by scripts/fetch-test-data; VESTIGO_TEST_DATA names their folder.
#include "engine/mach_o.h"
#include "platform/system.h"
#include "tests/support/test.h"

namespace vestigo {
namespace {

/// One file or bundle of the fetched data.
struct Sample {
    std::string path;        ///< The root that is inspected.
    std::string executable;  ///< The Mach-O file in it; empty: the root itself.
    std::vector<std::string> archs;
    std::optional<std::string> signer;
};

const std::string driver = "fuse-shared-library-darwin/osxfuse/";
const std::string inDriver = driver + "osxfuse.fs/Contents/";
const std::string author = "Developer ID Application: Benjamin Fleischer (3T5GSNBU6W)";
const Sample samples[] = {
    {"fsevents/fsevents.node", "", {"x86_64", "arm64"}, {}},
    {"@sentry-cli-darwin/bin/sentry-cli",
     "",
     {"x86_64", "arm64"},
     "Developer ID Application: GetSentry LLC (97JCY7859U)"},
    {driver + "libosxfuse.dylib", "", {"ppc", "ppc64", "i386", "x86_64"}, author},
    {inDriver + "Resources/uninstall_osxfuse.app",
     "/Contents/MacOS/applet",
     {"x86_64", "i386", "ppc"},
     author},
    {inDriver + "Extensions/10.11/osxfuse.kext", "/Contents/MacOS/osxfuse", {"x86_64"}, author},
    // Its signature is in files of its own.
    {inDriver + "Extensions/10.5/osxfuse.kext", "/Contents/MacOS/osxfuse", {"ppc", "i386"}, author},
};

TEST(RealMacFiles, HaveTheArchitecturesAndTheSignerThatOtherToolsSee) {
    const auto* const data = std::getenv("VESTIGO_TEST_DATA");
    if (!data) GTEST_SKIP() << "VESTIGO_TEST_DATA is not set (scripts/fetch-test-data)";
    for (const auto& sample : samples) {
        SCOPED_TRACE(sample.path);
        const auto root = std::string(data) + "/" + sample.path;
        if (!std::filesystem::exists(root)) GTEST_SKIP() << root << " was not fetched";
        const auto executable = root + sample.executable;
        if (const auto bundle = systemBundles()->read(root)) {
            EXPECT_EQ(bundle->executable, executable);
        }
        std::array<char, machOHeaderBytes> header{};
        std::ifstream(executable, std::ios::binary).read(header.data(), header.size());
        const auto archs = machOArchs(std::as_bytes(std::span(header)));
        EXPECT_EQ(archs.value_or(std::vector<std::string>()), sample.archs);

        const auto code = systemCodeSigning()->staticCode(root);
        ASSERT_TRUE(code);
        EXPECT_EQ(code->signingInformation()->leafCommonName, sample.signer);
    }
}

}  // namespace
}  // namespace vestigo
