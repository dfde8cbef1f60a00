#include "ui/inspect_list.h"

#include <gtest/gtest.h>

#include "tests/support/window_fakes.h"

namespace vestigo::test {
namespace {

TEST(InspectList, ShowsWhatLiesInsideInTheOrderOfThePaths) {
    WindowFixture fixture;
    fixture.found("/Applications/Foo.app/Contents/MacOS/Foo", {"x86_64", "arm64"});
    fixture.found("/Applications/Foo.app2/other");
    fixture.found("/Applications/Foo.app/Contents/Frameworks/A.framework/A", {"x86_64", "i386"});
    fixture.found("/Applications/Foo.app/Contents/old", {"ppc", "arm64"});
    const auto bundle = inspectBundle(fixture.content().scanner().allHits(),
                                      *fixture.content().groupWithRoot("/Applications/Foo.app"));
    EXPECT_EQ(bundle.title, "Foo.app");
    EXPECT_EQ(bundle.summary,
              "3 Mach-O binaries inside. 1 flagged as Intel/PowerPC-only (shown in red). The rest "
              "are universal or arm64, which is why the app still runs.");
    EXPECT_EQ(bundle.binaries, (std::vector<InspectedBinary>{
                                   {"i386, x86_64", "Contents/Frameworks/A.framework/A", true},
                                   {"arm64, x86_64", "Contents/MacOS/Foo", false},
                                   {"arm64, ppc", "Contents/old", false}}));
}

TEST(InspectList, AFileThatIsItsOwnGroupKeepsItsPath) {
    WindowFixture fixture;
    fixture.found("/usr/local/bin/tool");
    const auto bundle = inspectBundle(fixture.content().scanner().allHits(),
                                      *fixture.content().groupWithRoot("/usr/local/bin/tool"));
    EXPECT_TRUE(bundle.summary.starts_with("1 Mach-O binary inside. 1 flagged"));
    EXPECT_EQ(bundle.binaries[0].shownPath, "/usr/local/bin/tool");
}

}  // namespace
}  // namespace vestigo::test
