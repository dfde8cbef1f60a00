#include "engine/grouping.h"

#include <gtest/gtest.h>

#include "engine/regrouping.h"

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
        {"/a/x.KEXT", {"/a/x.KEXT", true}},
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
        {"/a/B.xpc/Contents/x", Category::helper},
        {"/a/Contents/Helpers/b.plugin", Category::helper},
        {"/Library/Audio/Plug-Ins/VST/A.vst", Category::plugin},
        {"/a/b.aax/Contents/MacOS/b", Category::plugin},
        {"/usr/local/lib/libfoo.a", Category::library},
        {"/usr/local/lib/libfoo.A", Category::other},
        {"/Library/Frameworks/A.framework", Category::library},
        {"/Users/me/bin/tool", Category::cliTool},
        {"/a/bin/B.app", Category::cliTool},
        {"/Applications/Foo.app", Category::application},
        {"/a/Foo.apple/x", Category::other},
    };
    for (const auto& [path, category] : cases) {
        EXPECT_EQ(categoryForPath(path), category) << path << ": " << label(categoryForPath(path));
    }
}

TEST(FixForPath, FollowsTheFirstRuleThatHolds) {
    EXPECT_EQ(fixForPath("/opt/homebrew/x", true, true), Fix::apple);
    EXPECT_EQ(fixForPath("/opt/homebrew/x", false, true), Fix::keep);
    EXPECT_EQ(fixForPath("/opt/homebrew/lib/libx.dylib", false, false), Fix::homebrew);
    EXPECT_EQ(fixForPath("/usr/local/Cellar/wget/1.21/bin/wget", false, false), Fix::homebrew);
    EXPECT_EQ(fixForPath("/opt/local/lib/libz.1.dylib", false, false), Fix::macports);
    EXPECT_EQ(fixForPath("/Volumes/x/opt/local/lib/libz", false, false), Fix::manual);
}

TEST(FormulaName, IsTheComponentAfterTheCellar) {
    EXPECT_EQ(formulaName("/usr/local/Cellar//libpng/1.6.40/lib/libpng16.dylib"), "libpng");
    EXPECT_EQ(formulaName("/usr/local/Cellar/"), std::nullopt);
    EXPECT_EQ(formulaName("/opt/local/bin/foo"), std::nullopt);
}

HitRef hit(std::string path, std::vector<std::string> archs) {
    return std::make_shared<BinaryHit>(BinaryHit{std::move(path), std::move(archs), 1, 2, 3});
}

TEST(Regrouping, GroupsByRootAndOrdersByCategoryAsHitsComeIn) {
    const SignatureMap signatures = {{"/usr/bin/apple", {true, "Apple"}}};
    Regrouping regrouping(signatures);
    const HitList hits = {
        hit("/A.app/1", {"x86_64"}),        hit("/x/b.vst", {"i386"}),
        hit("/usr/bin/apple", {"x86_64"}),  hit("/B.app/1", {"x86_64"}),
        hit("/A.app/2", {"ppc"}),           hit("//A.app/3", {"arm64"}),
        hit("/C.app/1", {"arm64", "i386"}), hit("/usr/bin/tool", {"x86_64"}),
    };
    for (const auto& each : hits) regrouping.add({&each, 1});
    std::vector<std::string> rows;
    for (const auto& group : regrouping.groups()) {
        rows.push_back(group.root + " " + std::string(label(group.fix)) + " " +
                       std::to_string(group.legacyCount()) + (group.hasArm64 ? " arm64" : ""));
    }
    const std::vector<std::string> expected = {
        "/A.app Keep 2 arm64",    "/B.app Manual 1",   "/usr/bin/apple Apple 1",
        "/usr/bin/tool Manual 1", "/x/b.vst Manual 1",
    };
    EXPECT_EQ(rows, expected);
    regrouping.restart(false);
    regrouping.add(hits);
    EXPECT_EQ(regrouping.groups().size(), 6U);
    EXPECT_EQ(regrouping.groups().begin()->legacyCount(), 3U);
}

TEST(Regrouping, OutlivesHitsThatAreForgottenMeanwhile) {
    const SignatureMap signatures;
    Regrouping regrouping(signatures);
    // Read under AddressSanitizer: the first root once pointed into a hit that was gone.
    regrouping.add(HitList{hit("/Applications/Hidden.app/arm", {"arm64"})});
    regrouping.add(HitList{hit("/Applications/Hidden.app/intel", {"x86_64"})});
    ASSERT_EQ(regrouping.groups().size(), 1U);
    EXPECT_EQ(regrouping.groups().begin()->fix, Fix::keep);
    regrouping.add(HitList{hit("relative/Foo.app/x", {"i386"})});
    EXPECT_EQ(std::next(regrouping.groups().begin())->root, "/relative/Foo.app");
}

}  // namespace
}  // namespace vestigo
