#include "engine/grouping.h"

#include "engine/regrouping.h"
#include "tests/support/test.h"

namespace vestigo {
namespace {

TEST(IsLegacy, NeedsIntelOrPowerPCWithoutArm64) {
    using Archs = std::vector<std::string>;
    for (const auto* const arch : {"x86_64", "i386", "ppc", "ppc64"}) {
        EXPECT_TRUE(isLegacy(Archs{"arm", arch})) << arch;
        EXPECT_FALSE(isLegacy(Archs{arch, "arm64"})) << arch;
    }
    EXPECT_FALSE(isLegacy(Archs{"arm", "cpu(7)"}));
    EXPECT_FALSE(isLegacy(Archs{}));
}

TEST(GroupRoot, IsTheOutermostBundle) {
    const std::pair<const char*, GroupRoot> cases[] = {
        {"/Applications/Foo.app/Contents/Bar.framework/Bar", {"/Applications/Foo.app", true}},
        {"/a/1.2.x.KEXT", {"/a/1.2.x.KEXT", true}},
        {"//a//b.vst3//x", {"/a/b.vst3", true}},
        {"/a/.app/x", {"/a/.app", true}},
        {"//a/app/b.apps/c", {"//a/app/b.apps/c", false}},
    };
    for (const auto& [path, root] : cases) EXPECT_EQ(groupRoot(path), root) << path;
}

TEST(CategoryForPath, FollowsTheFirstRuleThatHolds) {
    const std::pair<const char*, Category> cases[] = {
        {"/Library/StagedExtensions/A.KEXT", Category::driver},
        {"/System/Library/Extensions/x.bundle", Category::driver},
        {"/Library/Printers/Vendor/Filter.app", Category::driver},
        {"/a/Contents/Helpers/b.plugin", Category::helper},
        {"/Library/Audio/Plug-Ins/VST/A.vst", Category::plugin},
        {"/usr/local/lib/libfoo.a", Category::library},
        {"/Library/Frameworks/A.framework", Category::library},
        {"/a/bin/B.app", Category::cliTool},
        {"/Applications/Foo.app", Category::application},
        {"/a/Foo.apple/x", Category::other},
    };
    for (const auto& [path, category] : cases) EXPECT_EQ(categoryForPath(path), category) << path;
}

TEST(FixForPath, FollowsTheFirstRuleThatHolds) {
    const std::string wget = "/usr/local/Cellar/wget/1.21/bin/wget";
    EXPECT_EQ(fixForPath(wget, true, true), Fix::apple);
    EXPECT_EQ(fixForPath(wget, false, true), Fix::keep);
    EXPECT_EQ(fixForPath(wget, false, false), Fix::homebrew);
    EXPECT_EQ(fixForPath("/opt/homebrew/lib/libx.dylib", false, false), Fix::homebrew);
    EXPECT_EQ(fixForPath("/opt/local/lib/libz.1.dylib", false, false), Fix::macports);
    EXPECT_EQ(fixForPath("/Volumes/x/opt/local/lib/libz", false, false), Fix::manual);
    EXPECT_EQ(formulaName(wget), "wget");
    EXPECT_EQ(formulaName("/usr/local/Cellar/"), std::nullopt);
}

TEST(BundleGroup, IsNamedByItsRootAndSumsItsFilesUp) {
    const BundleGroup group{.root = "/a/b.app/", .hits = {test::hitRef({"/x", {"ppc64"}})}};
    EXPECT_EQ(group.name(), "b.app");
    EXPECT_TRUE(group.hasPowerPC());
    EXPECT_LT(group.fixRank(), (BundleGroup{.root = {}, .hits = {}, .fix = Fix::keep}.fixRank()));
}

TEST(Regrouping, GroupsByRootAndOrdersByCategoryAsHitsComeIn) {
    const SignatureMap signatures = {{"/usr/bin/apple", {true, "Apple"}}};
    Regrouping regrouping(signatures);
    const std::pair<const char*, std::vector<std::string>> found[] = {
        {"/A.app/1", {"x86_64"}},        {"/x/b.vst", {"i386"}},     {"/usr/bin/apple", {"x86_64"}},
        {"/B.app/1", {"x86_64"}},        {"/A.app/2", {"ppc"}},      {"//A.app/3", {"arm64"}},
        {"/C.app/1", {"arm64", "i386"}}, {"/usr/bin/tool", {"ppc"}}, {"/Hidden.app/arm", {"arm64"}},
        {"/Hidden.app/intel", {"i386"}},
    };
    // Read under AddressSanitizer: the root of a hit that is not listed, and is therefore forgotten
    // at once, once pointed into it.
    for (const auto& [path, archs] : found) regrouping.add(HitList{test::hitRef({path, archs})});
    std::vector<std::string> rows;
    for (const auto& group : regrouping.groups()) {
        rows.push_back(group.root + " " + std::string(label(group.fix)) + " " +
                       std::to_string(group.legacyCount()) + (group.hasArm64 ? " arm64" : ""));
    }
    const std::vector<std::string> expected = {
        "/A.app Keep 2 arm64",    "/B.app Manual 1",        "/Hidden.app Keep 1 arm64",
        "/usr/bin/apple Apple 1", "/usr/bin/tool Manual 1", "/x/b.vst Manual 1",
    };
    EXPECT_EQ(rows, expected);
}

}  // namespace
}  // namespace vestigo
