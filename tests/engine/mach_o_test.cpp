#include "engine/mach_o.h"

#include "tests/support/test.h"

namespace vestigo {
namespace {

using Archs = std::vector<std::string>;

std::optional<Archs> archsOf(const std::string& bytes) {
    return machOArchs(std::as_bytes(std::span(bytes)));
}

TEST(MachOArchs, ReadsThinImagesOfBothByteOrders) {
    EXPECT_EQ(archsOf({"\xCF\xFA\xED\xFE\x07\x00\x00\x01", 8}), Archs{"x86_64"});
    EXPECT_EQ(archsOf({"\xFE\xED\xFA\xCE\x00\x00\x00\x12", 8}), Archs{"ppc"});
    EXPECT_EQ(archsOf(test::thinMachO(test::cpuI386)), Archs{"i386"});
    EXPECT_EQ(archsOf({"\xFE\xED\xFA\xCF\x01\x00\x00\x12", 8}), Archs{"ppc64"});
    EXPECT_EQ(archsOf(test::thinMachO(0xFFFFFFFF)), Archs{"cpu(4294967295)"});
}

TEST(MachOArchs, ReadsUniversalFilesWithEntriesOfBothSizes) {
    for (const bool wide : {false, true}) {
        EXPECT_EQ(archsOf(test::fatMachO({test::cpuX86_64, test::cpuArm64, 0x99}, wide)),
                  (Archs{"x86_64", "arm64"}));
        EXPECT_EQ(archsOf(test::fatMachO({0x99}, wide)), std::nullopt);
        EXPECT_EQ(archsOf(test::fatMachO({test::cpuPpc, test::cpuPpc}, wide)), Archs{"ppc"});
    }
    const auto cut = test::fatMachO({test::cpuI386, test::cpuX86_64, test::cpuArm64});
    EXPECT_EQ(machOArchs(std::as_bytes(std::span(cut)).first(8 + 2 * 20 + 7)),
              (Archs{"i386", "x86_64"}));
    // The count of a Java class is its version, so no more is looked at.
    std::vector<std::uint32_t> cpus(63, 0x99);
    cpus.insert(cpus.end(), {test::cpuI386, test::cpuPpc});
    EXPECT_EQ(archsOf(test::fatMachO(cpus)), Archs{"i386"});
}

TEST(MachOArchs, TellsOtherFilesApart) {
    const std::string javaClass("\xCA\xFE\xBA\xBE\x00\x00\x00\x34\x00\x1D\x0A\x00\x06\x00\x0F", 15);
    for (const auto& other : {std::string(), std::string("\xCF\xFA\xED\xFE\x07\x00\x00", 7),
                              std::string("!<arch>\ndebian-binary"),
                              std::string("\xBE\xBA\xFE\xCA\x00\x00\x00\x01\x07\x00\x00\x01", 12),
                              javaClass + std::string(2000, '\x09')}) {
        EXPECT_EQ(archsOf(other), std::nullopt);
    }
}

}  // namespace
}  // namespace vestigo
