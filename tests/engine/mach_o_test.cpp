#include "engine/mach_o.h"

#include "tests/support/test.h"

namespace vestigo {
namespace {

TEST(MachOArchs, AreThoseOfThinImagesAndUniversalFilesAndOfNothingElse) {
    using Archs = std::vector<std::string>;
    using test::fatMachO;
    const auto cut = fatMachO({test::cpuI386, test::cpuX86_64, test::cpuArm64});
    // The count of a Java class is its version, so no more is looked at.
    std::vector<std::uint32_t> many(63, 0x99);
    many.insert(many.end(), {test::cpuI386, test::cpuPpc});
    const std::string javaClass("\xCA\xFE\xBA\xBE\x00\x00\x00\x34\x00\x1D\x0A\x00\x06\x00\x0F", 15);
    std::vector<std::pair<std::string, std::optional<Archs>>> cases = {
        {{"\xCF\xFA\xED\xFE\x07\x00\x00\x01", 8}, Archs{"x86_64"}},
        {{"\xFE\xED\xFA\xCE\x00\x00\x00\x12", 8}, Archs{"ppc"}},
        {{"\xFE\xED\xFA\xCF\x01\x00\x00\x12", 8}, Archs{"ppc64"}},
        {test::thinMachO(0xFFFFFFFF), Archs{"cpu(4294967295)"}},
        {cut.substr(0, 8 + 2 * 20 + 7), Archs{"i386", "x86_64"}},
        {fatMachO(many), Archs{"i386"}},
        {"", std::nullopt},
        {{"\xCF\xFA\xED\xFE\x07\x00\x00", 7}, std::nullopt},
        {"!<arch>\ndebian-binary", std::nullopt},
        {{"\xBE\xBA\xFE\xCA\x00\x00\x00\x01\x07\x00\x00\x01", 12}, std::nullopt},
        {javaClass + std::string(2000, '\x09'), std::nullopt},
    };
    for (const bool wide : {false, true}) {
        cases.emplace_back(fatMachO({test::cpuX86_64, test::cpuArm64, 0x99}, wide),
                           Archs{"x86_64", "arm64"});
        cases.emplace_back(fatMachO({0x99}, wide), std::nullopt);
        cases.emplace_back(fatMachO({test::cpuPpc, test::cpuPpc}, wide), Archs{"ppc"});
    }
    for (const auto& [bytes, archs] : cases) {
        EXPECT_EQ(machOArchs(std::as_bytes(std::span(bytes))), archs) << bytes;
    }
}

}  // namespace
}  // namespace vestigo
