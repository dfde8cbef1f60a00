#include "engine/records.h"

#include <algorithm>

#include <gtest/gtest.h>

namespace vestigo {
namespace {

HitRef hit(std::vector<std::string> archs, double ctime = 0, std::string path = "/x") {
    return std::make_shared<BinaryHit>(BinaryHit{std::move(path), std::move(archs), 1, 2, ctime});
}

BundleGroup group(HitList hits, std::string root = "/x") {
    BundleGroup made;
    made.root = std::move(root);
    made.hits = std::move(hits);
    return made;
}

TEST(BundleGroup, CreatedIsTheEarliestKnownTime) {
    EXPECT_EQ(group({hit({}), hit({})}).created(), 0);
    EXPECT_EQ(group({hit({}), hit({}, 9), hit({}, 5)}).created(), 5);
    EXPECT_EQ(group({hit({}, -3), hit({}, 7)}).created(), 7);
}

TEST(BundleGroup, SummarisesArchitecturesSortedAndOnce) {
    const auto two = group({hit({"x86_64", "i386"}), hit({"x86_64"})});
    EXPECT_EQ(two.cpuSummary(), "i386, x86_64");
    EXPECT_FALSE(two.hasPowerPC());
    EXPECT_TRUE(group({hit({"i386"}), hit({"i386", "ppc64"})}).hasPowerPC());
    EXPECT_EQ(group({}).cpuSummary(), "");
}

TEST(BundleGroup, IsNamedAfterTheLastComponent) {
    EXPECT_EQ(group({}, "/usr/local/bin/tool").name(), "tool");
    EXPECT_EQ(group({}, "/a/b//").name(), "b");
    EXPECT_EQ(group({}, "/").name(), "/");
}

TEST(BundleGroup, ComparesAndHashesByValue) {
    const auto a = group({hit({"i386"}, 3)});
    auto b = group({hit({"i386"}, 3)});
    EXPECT_EQ(a, b);
    EXPECT_EQ(std::hash<BundleGroup>{}(a), std::hash<BundleGroup>{}(b));
    b.hits = {hit({"i386"}, 4)};
    EXPECT_NE(a, b);
    EXPECT_EQ(std::hash<BinaryHit>{}(*hit({}, 0.0)), std::hash<BinaryHit>{}(*hit({}, -0.0)));
    EXPECT_NE(std::hash<SignInfo>{}({true, "a"}), std::hash<SignInfo>{}({false, "a"}));
    EXPECT_NE(std::hash<Leftover>{}({"/a", true, true, true}),
              std::hash<Leftover>{}({"/a", true, true, false}));
}

TEST(Category, IsOrderedAndRecognisedByLabel) {
    auto sorted = std::vector(std::begin(allCategories), std::end(allCategories));
    std::ranges::sort(sorted, [](Category a, Category b) { return a < b; });
    const std::vector expected = {Category::application, Category::cliTool, Category::driver,
                                  Category::helper,      Category::library, Category::other,
                                  Category::plugin};
    EXPECT_EQ(sorted, expected);
    for (const auto category : allCategories) {
        EXPECT_EQ(categoryFromLabel(label(category)), category);
    }
    EXPECT_TRUE(Category::cliTool < Category::driver && Category::plugin >= Category::other);
    EXPECT_FALSE(categoryFromLabel("app"));
}

TEST(Fix, IsRecognisedByItsExactLabel) {
    EXPECT_EQ(fixFromLabel("brew"), Fix::homebrew);
    EXPECT_FALSE(fixFromLabel("Brew"));
    auto one = group({});
    const std::pair<Fix, int> ranks[] = {
        {Fix::homebrew, 0}, {Fix::macports, 1}, {Fix::manual, 2}, {Fix::keep, 3}, {Fix::apple, 4}};
    for (const auto& [fix, rank] : ranks) {
        one.fix = fix;
        EXPECT_EQ(one.fixRank(), rank);
        EXPECT_EQ(fixFromLabel(label(fix)), fix);
    }
}

}  // namespace
}  // namespace vestigo
