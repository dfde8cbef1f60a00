#include "engine/records.h"

#include <gtest/gtest.h>

namespace vestigo {
namespace {

HitRef hit(std::vector<std::string> archs, double ctime = 0) {
    return std::make_shared<BinaryHit>(BinaryHit{"/x", std::move(archs), 1, 2, ctime});
}

BundleGroup group(HitList hits, std::string root = "/x") {
    return {.root = std::move(root), .hits = std::move(hits)};
}

TEST(BundleGroup, SumsUpItsHitsAndItsRoot) {
    EXPECT_EQ(group({hit({}), hit({}, -3), hit({}, 9), hit({}, 5)}).created(), 5);
    EXPECT_FALSE(group({hit({"x86_64", "i386"}), hit({"x86_64"})}).hasPowerPC());
    EXPECT_TRUE(group({hit({"i386"}), hit({"i386", "ppc64"})}).hasPowerPC());
    EXPECT_EQ(group({}, "/a/b//").name(), "b");
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

TEST(Labels, AreExactAndCategoriesFollowThemFixesTheirRank) {
    for (const auto category : allCategories) {
        EXPECT_EQ(categoryFromLabel(label(category)), category);
    }
    EXPECT_TRUE(Category::cliTool < Category::driver && Category::plugin >= Category::other);
    EXPECT_FALSE(categoryFromLabel("app") || fixFromLabel("Brew"));
    auto ranked = group({});
    int rank = 0;
    for (const auto fix : {Fix::homebrew, Fix::macports, Fix::manual, Fix::keep, Fix::apple}) {
        ranked.fix = fix;
        EXPECT_EQ(ranked.fixRank(), rank++);
        EXPECT_EQ(fixFromLabel(label(fix)), fix);
    }
}

}  // namespace
}  // namespace vestigo
