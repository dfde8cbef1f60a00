#include "engine/grouping.h"

#include "engine/regrouping.h"
#include "tests/support/test.h"

namespace vestigo {
namespace {

TEST(Regrouping, ListsTheOutermostBundlesByCategoryWithTheFixForEach) {
    const SignatureMap signatures = {{"/usr/bin/apple", {true, "Apple"}}};
    Regrouping regrouping(signatures);
    const std::pair<const char*, std::vector<std::string>> found[] = {
        {"/A.app/1", {"x86_64"}},
        {"/x/b.vst", {"i386"}},
        {"/usr/bin/apple", {"arm", "x86_64"}},
        {"/B.app/Contents/Bar.framework/Bar", {"x86_64"}},
        {"/A.app/2", {"ppc"}},
        {"//A.app//3", {"arm64"}},
        {"/C.app/1", {"arm64", "i386"}},
        {"/Hidden.app/arm", {"arm64"}},
        {"/Hidden.app/intel", {"i386"}},
        {"/No.app/x", {"arm", "cpu(7)"}},
        {"/1.2.x.KEXT/x", {"ppc64"}},
        {"/Library/Printers/Vendor/Filter.app/x", {"ppc64"}},
        {"/System/Library/Extensions/x.bundle", {"ppc"}},
        {"/a/Contents/Helpers/b.plugin", {"ppc"}},
        {"/.app/x", {"ppc"}},
        {"/app/b.apps/c", {"ppc"}},
        {"/usr/local/lib/libfoo.a", {"ppc"}},
        {"/opt/homebrew/A.framework/A", {"ppc"}},
        {"/usr/local/Cellar/wget/1.21/bin/wget", {"ppc"}},
        {"/opt/local/bin/port", {"ppc"}},
        {"/Volumes/x/opt/local/lib/libz", {"ppc"}},
    };
    // Read under AddressSanitizer: the root of a hit that is not listed, and is therefore forgotten
    // at once, once pointed into it.
    for (const auto& [path, archs] : found) regrouping.add(HitList{test::hitRef({path, archs})});
    std::vector<std::string> rows;
    for (const auto& group : regrouping.groups()) {
        const auto count = std::to_string(group.legacyCount()) + (group.hasArm64 ? " arm64" : "");
        rows.push_back(std::string(label(group.category)) + " " + group.root + " " +
                       std::string(label(group.fix)) + " " + count);
    }
    const std::vector<std::string> expected = {
        "App /A.app Keep 2 arm64",
        "App /B.app Manual 1",
        "App /Hidden.app Keep 1 arm64",
        "App /.app Manual 1",
        "CLI tool /usr/bin/apple Apple 1",
        "CLI tool /usr/local/Cellar/wget/1.21/bin/wget brew 1",
        "CLI tool /opt/local/bin/port MacPorts 1",
        "Driver / Ext /1.2.x.KEXT Manual 1",
        "Driver / Ext /Library/Printers/Vendor/Filter.app Manual 1",
        "Driver / Ext /System/Library/Extensions/x.bundle Manual 1",
        "Helper /a/Contents/Helpers/b.plugin Manual 1",
        "Library /usr/local/lib/libfoo.a Manual 1",
        "Library /opt/homebrew/A.framework brew 1",
        "Other /app/b.apps/c Manual 1",
        "Other /Volumes/x/opt/local/lib/libz Manual 1",
        "Plug-in /x/b.vst Manual 1",
    };
    EXPECT_EQ(rows, expected);
    EXPECT_EQ(formulaName("/usr/local/Cellar/wget/1.21/bin/wget"), "wget");
    EXPECT_EQ(formulaName("/usr/local/Cellar/"), std::nullopt);
}

TEST(BundleGroup, IsNamedByItsRootAndSumsItsFilesUp) {
    const BundleGroup group{.root = "/a/b.app/", .hits = {test::hitRef({"/x", {"ppc64"}})}};
    EXPECT_EQ(group.name(), "b.app");
    EXPECT_TRUE(group.hasPowerPC());
    EXPECT_LT(group.fixRank(), (BundleGroup{.root = {}, .hits = {}, .fix = Fix::keep}.fixRank()));
}

}  // namespace
}  // namespace vestigo
