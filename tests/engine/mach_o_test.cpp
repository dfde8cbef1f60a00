#include "engine/mach_o.h"

#include <gtest/gtest.h>

#include "tests/support/mach_o_maker.h"

namespace vestigo {
namespace {

using Archs = std::optional<std::vector<std::string>>;

Archs archsOf(const std::string& bytes) {
    return machOArchs(std::as_bytes(std::span(bytes)));
}

Archs names(std::vector<std::string> list) {
    return list;
}

TEST(MachOArchs, ReadsThinImagesOfBothByteOrders) {
    EXPECT_EQ(archsOf({"\xCF\xFA\xED\xFE\x07\x00\x00\x01", 8}), names({"x86_64"}));
    EXPECT_EQ(archsOf({"\xFE\xED\xFA\xCE\x00\x00\x00\x12", 8}), names({"ppc"}));
    EXPECT_EQ(archsOf(test::thinMachO(test::cpuI386)), names({"i386"}));
    EXPECT_EQ(archsOf(test::thinBigEndianMachO(test::cpuPpc64)), names({"ppc64"}));
    EXPECT_EQ(archsOf(test::thinMachO(0x01000018)), names({"cpu(16777240)"}));
    EXPECT_EQ(archsOf(test::thinMachO(0xFFFFFFFF)), names({"cpu(4294967295)"}));
}

TEST(MachOArchs, ReadsUniversalFilesWithEntriesOfBothSizes) {
    for (const bool wide : {false, true}) {
        EXPECT_EQ(archsOf(test::fatMachO({test::cpuX86_64, test::cpuArm64, 0x99}, wide)),
                  names({"x86_64", "arm64"}));
        EXPECT_EQ(archsOf(test::fatMachO({0x99}, wide)), Archs());
        EXPECT_EQ(archsOf(test::fatMachO({test::cpuPpc, test::cpuPpc}, wide)), names({"ppc"}));
    }
}

TEST(MachOArchs, StopsAtTheEndOfTheDataAndAfter64Entries) {
    auto cut = test::fatMachO({test::cpuI386, test::cpuX86_64, test::cpuArm64});
    cut.resize(8 + 2 * 20 + 7);
    EXPECT_EQ(archsOf(cut), names({"i386", "x86_64"}));
    std::vector<std::uint32_t> many(1000, test::cpuI386);
    many[63] = test::cpuPpc;
    many[64] = test::cpuArm64;
    EXPECT_EQ(archsOf(test::fatMachO(many, true)), names({"i386", "ppc"}));
}

TEST(MachOArchs, TellsOtherFilesApart) {
    EXPECT_EQ(archsOf(""), Archs());
    EXPECT_EQ(archsOf({"\xCF\xFA\xED\xFE\x07\x00\x00", 7}), Archs());
    EXPECT_EQ(archsOf("!<arch>\ndebian-binary"), Archs());
    EXPECT_EQ(archsOf({"\xBE\xBA\xFE\xCA\x00\x00\x00\x01\x07\x00\x00\x01", 12}), Archs());
    EXPECT_EQ(archsOf({"\xBF\xBA\xFE\xCA\x00\x00\x00\x01\x07\x00\x00\x01", 12}), Archs());
    const std::string javaClass("\xCA\xFE\xBA\xBE\x00\x00\x00\x34\x00\x1D\x0A\x00\x06\x00\x0F", 15);
    EXPECT_EQ(archsOf(javaClass + std::string(2000, '\x09')), Archs());
}

}  // namespace
}  // namespace vestigo
