#include "platform/linux/cms_signer.h"
#include "platform/linux/linux_code_signing.h"
#include "platform/linux/signature_blob.h"
#include "tests/support/signed_mach_o.h"
#include "tests/support/test.h"

namespace vestigo::test {
namespace {

namespace fs = std::filesystem;

const std::string developerName = "Developer ID Application: Example Corp (AB12CD34EF)";

/// One message for all tests: making keys and certificates takes its time.
const std::string& developerMessage() {
    static const auto message = signatureMessage();
    return message;
}

std::string developerSignature() {
    return embeddedSignature("AB12CD34EF", developerMessage());
}

struct LinuxCodeSigningTest : testing::Test {
    /// What is said of code at the path, as "common name/team", "-" for what is absent.
    std::string answer(const std::string& path) {
        const auto code = signing.staticCode(path);
        if (!code) return "no code";
        EXPECT_FALSE(code->isAnchoredToApple());
        const auto found = code->signingInformation().value();
        return found.leafCommonName.value_or("-") + "/" + found.teamIdentifier.value_or("-");
    }
    std::string answerFor(const std::string& content) { return answer(tree.file("code", content)); }
    /// For a code directory before another one.
    std::string answerFor(const std::string& main, const std::string& alternate) {
        return answerFor(machOImage(cpuX86_64, superBlob({{alternateDirectorySlot, alternate},
                                                          {codeDirectorySlot, main}})));
    }
    TemporaryTree tree;
    LinuxCodeSigning signing;
    const std::string developer = developerName + "/AB12CD34EF";
};

TEST_F(LinuxCodeSigningTest, ReadsImagesOfEveryKindAndPrefersTheArmThenTheIntelOne) {
    for (const auto cpu : {cpuX86_64, cpuI386, cpuPpc, cpuPpc64}) {
        const bool isBigEndian = cpu == cpuPpc || cpu == cpuPpc64;
        EXPECT_EQ(answerFor(machOImage(cpu, developerSignature(), isBigEndian)), developer) << cpu;
        EXPECT_EQ(answerFor(machOImage(cpu, std::nullopt, isBigEndian)), "-/-") << cpu;
    }
    const auto image = [](std::uint32_t cpu, const std::string& team) {
        return std::pair(cpu, machOImage(cpu, embeddedSignature(team, ""), cpu == cpuPpc));
    };
    const auto ppc = image(cpuPpc, "PPC");
    const auto intel = image(cpuX86_64, "INTEL");
    EXPECT_EQ(answerFor(universalFile({ppc, intel, image(cpuArm64, "ARM")})), "-/ARM");
    EXPECT_EQ(answerFor(universalFile({ppc, intel}, true)), "-/INTEL");
    EXPECT_EQ(answerFor(universalFile({ppc})), "-/PPC");
    for (const auto& none : {std::string(), std::string("#!/bin/sh\n"), universalFile({})}) {
        EXPECT_EQ(answerFor(none), "no code");
    }
    const auto pipe = tree.folder("Pipe.app/Contents") + "/Info.plist";
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    for (const auto& path : {pipe, tree.at("Pipe.app"), tree.path(), tree.at("missing")}) {
        EXPECT_EQ(answer(path), "no code") << path;
    }
}

TEST_F(LinuxCodeSigningTest, FindsTheTeamWhereTheVersionAllowsOne) {
    EXPECT_EQ(answerFor(codeDirectory("MAIN"), codeDirectory("OTHER")), "-/MAIN");
    EXPECT_EQ(answerFor(codeDirectory("OLD", 0x20100), codeDirectory("OTHER")), "-/OTHER");
    EXPECT_EQ(answerFor(codeDirectory("A\xFF"), codeDirectory("")), "-/-");
    auto unended = codeDirectory("TEAM");
    unended.pop_back();
    EXPECT_EQ(answerFor(machOImage(cpuX86_64, superBlob({{codeDirectorySlot, unended}}))), "-/-");
}

TEST_F(LinuxCodeSigningTest, ReadsBundlesThroughTheirMainExecutableOrTheFilesBesideIt) {
    tree.file("Tool.app/Contents/Info.plist", "<plist><dict/></plist>");
    const auto app = tree.at("Tool.app");
    EXPECT_EQ(answer(app), "-/-");
    tree.file("Tool.app/Contents/MacOS/Tool", "#!/bin/sh\n");
    tree.file("Tool.app/Contents/_CodeSignature/CodeDirectory", codeDirectory("SCRIPT"));
    EXPECT_EQ(answer(app), "-/SCRIPT");
    tree.file("F.framework/Versions/Current/Resources/Info.plist", "<plist><dict/></plist>");
    tree.file("F.framework/Versions/Current/_CodeSignature/CodeDirectory", codeDirectory("LIB"));
    EXPECT_EQ(answer(tree.at("F.framework")), "-/LIB");
    const auto message =
        tree.file("Tool.app/Contents/_CodeSignature/CodeSignature", developerMessage());
    EXPECT_EQ(answer(app), developerName + "/SCRIPT");
    fs::resize_file(message, std::uintmax_t{1} << 42U);
    EXPECT_EQ(answer(app), "-/SCRIPT");
    tree.file("Tool.app/Contents/MacOS/Tool", machOImage(cpuX86_64, developerSignature()));
    EXPECT_EQ(answer(app), developer);
}

TEST_F(LinuxCodeSigningTest, ReadsWhatLiesDeeperThanOnePathCanName) {
    tree.file("Tool.app/Contents/Info.plist", "<plist><dict/></plist>");
    tree.file("Tool.app/Contents/MacOS/Tool", machOImage(cpuX86_64, developerSignature()));
    const std::string name(250, 'n');
    auto deepest = tree.folder("deep");
    auto enter = "cd '" + deepest + "'";
    for (int depth = 0; depth < 20; ++depth) {
        enter.append(" && mkdir ").append(name).append(" && cd -P ").append(name);
        deepest += "/" + name;
    }
    ASSERT_EQ(std::system((enter + " && cp -R '" + tree.at("Tool.app") + "' .").c_str()), 0);
    EXPECT_EQ(answer(deepest + "/Tool.app/Contents/MacOS/Tool"), developer);
    EXPECT_EQ(answer(deepest + "/Tool.app"), developer);
    // The standard library cannot remove what it cannot name.
    EXPECT_EQ(std::system(("rm -rf '" + tree.at("deep") + "'").c_str()), 0);
}

// Whichever byte is missing or lies, there is an answer, and it is never another signer's name.
TEST(SignatureReader, SurvivesDamageAnywhereInTheFile) {
    const auto image = machOImage(cpuArm64, developerSignature());
    const auto file = universalFile({{cpuArm64, image}});
    const auto isCalm = [](const std::string& content) {
        const auto signature = readCodeSignature(MemoryBytes(std::as_bytes(std::span(content))));
        if (!signature) return true;
        const auto name = signerCommonName(signature->message);
        return !name || *name == developerName;
    };
    for (std::size_t length = 0; length < file.size(); length += 97) {
        ASSERT_TRUE(isCalm(file.substr(0, length))) << length;
    }
    // The headers: of the file, of its image and of the signature.
    for (std::size_t i = 0; i < 3U * 80; ++i) {
        const auto at = i / 80 * 4096 + i % 80;
        for (const char value : {'\x00', '\x7F', '\xFF'}) {
            auto damaged = file;
            damaged[at] = value;
            ASSERT_TRUE(isCalm(damaged)) << at;
        }
    }
}

TEST(ByteSource, NeverReadsBeyondItsEnd) {
    const std::array<std::byte, 10> memory{};
    const MemoryBytes all(memory);
    const ByteRange some(all, 2, 3);
    std::array<std::byte, 2> two{};
    EXPECT_TRUE(some.read(1, two));
    EXPECT_FALSE(some.read(2, two));
    EXPECT_FALSE(readBytes(all, 4, std::numeric_limits<std::uint64_t>::max() - 2));
}

TEST(CmsSigner, IsTheSignersLastCommonNameThatIsText) {
    const auto& message = developerMessage();
    ASSERT_LT(message.find("Root"), message.find("Developer ID"));  // The signer is not first.
    auto noText = signatureMessage({.commonNames = {"no text"}});
    noText.replace(noText.find("no text"), 2, "\xFF\xFE");
    const std::pair<std::string, std::optional<std::string>> cases[] = {
        {message, developerName},
        {signatureMessage({.byKeyIdentifier = true}), developerName},
        {signatureMessage({.withoutCertificates = true}), std::nullopt},
        {signatureMessage({.commonNames = {"First", "Last \xC3\xA9"}}), "Last \xC3\xA9"},
        {signatureMessage({.commonNames = {std::string("a\0b", 3)}}), std::nullopt},
        {noText, std::nullopt},
        {"", std::nullopt},
        {message.substr(0, 500), std::nullopt},
    };
    for (const auto& [content, name] : cases) {
        EXPECT_EQ(signerCommonName(std::as_bytes(std::span(content))), name) << content;
    }
}

}  // namespace
}  // namespace vestigo::test
