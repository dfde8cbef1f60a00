#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include "platform/linux/cms_signer.h"
#include "platform/linux/linux_code_signing.h"
#include "platform/linux/signature_blob.h"
#include "tests/support/mach_o_maker.h"
#include "tests/support/signed_mach_o.h"
#include "tests/support/temporary_tree.h"

namespace vestigo::test {
namespace {

const std::string developerName = "Developer ID Application: Example Corp (AB12CD34EF)";
const std::string infoPlist =
    "<plist "
    "version=\"1.0\"><dict><key>CFBundleExecutable</key><string>Tool</string></dict></plist>";

/// One message for all tests: making keys and certificates takes its time.
const std::string& developerMessage() {
    static const auto message = signatureMessage();
    return message;
}

std::string developerSignature() {
    return embeddedSignature("AB12CD34EF", developerMessage());
}

std::optional<std::string> signerOf(const std::string& message) {
    return signerCommonName(std::as_bytes(std::span(message)));
}

class CodeSigningTest : public ::testing::Test {
protected:
    /// What is said of code at the path, as "common name/team", "-" for what is absent.
    std::string answer(const std::string& path) {
        const auto code = signing.staticCode(path);
        if (!code) return "no code";
        EXPECT_FALSE(code->isAnchoredToApple());
        const auto information = code->signingInformation();
        if (!information) return "no information";
        return information->leafCommonName.value_or("-") + "/" +
               information->teamIdentifier.value_or("-");
    }
    std::string answerFor(const std::string& content) { return answer(tree.file("code", content)); }

    TemporaryTree tree;
    LinuxCodeSigning signing;
    const std::string developer = developerName + "/AB12CD34EF";
};

TEST_F(CodeSigningTest, ReadsImagesOfEveryWordSizeAndByteOrder) {
    EXPECT_EQ(answerFor(machOImage(cpuX86_64, developerSignature())), developer);
    EXPECT_EQ(answerFor(machOImage(cpuI386, developerSignature())), developer);
    EXPECT_EQ(answerFor(machOImage(cpuPpc, developerSignature(), true)), developer);
    EXPECT_EQ(answerFor(machOImage(cpuPpc64, developerSignature(), true)), developer);
}

TEST_F(CodeSigningTest, TellsUnsignedAndAdHocCodeFromNoCode) {
    EXPECT_EQ(answerFor(machOImage(cpuX86_64, std::nullopt)), "-/-");
    EXPECT_EQ(answerFor(machOImage(cpuX86_64, embeddedSignature("", ""))), "-/-");
    const auto onlyDirectory = superBlob({{codeDirectorySlot, codeDirectory("TEAM")}});
    EXPECT_EQ(answerFor(machOImage(cpuX86_64, onlyDirectory)), "-/TEAM");
    EXPECT_EQ(answerFor("#!/bin/sh\n"), "no code");
    EXPECT_EQ(answerFor(""), "no code");
    EXPECT_EQ(answer(tree.at("missing")), "no code");
    EXPECT_EQ(answer(tree.folder("folder")), "no code");
}

TEST_F(CodeSigningTest, PrefersTheArmThenTheIntelImageOfAUniversalFile) {
    const auto image = [](std::uint32_t cpu, const std::string& team) {
        return std::pair(cpu, machOImage(cpu, embeddedSignature(team, ""), cpu == cpuPpc));
    };
    const auto ppc = image(cpuPpc, "PPC");
    const auto i386 = image(cpuI386, "I386");
    const auto intel = image(cpuX86_64, "INTEL");
    const auto arm = image(cpuArm64, "ARM");
    EXPECT_EQ(answerFor(universalFile({ppc, intel, arm})), "-/ARM");
    EXPECT_EQ(answerFor(universalFile({ppc, intel, arm}, true)), "-/ARM");
    EXPECT_EQ(answerFor(universalFile({ppc, i386, intel})), "-/INTEL");
    EXPECT_EQ(answerFor(universalFile({ppc, i386})), "-/PPC");
    EXPECT_EQ(answerFor(universalFile({})), "no code");
}

TEST_F(CodeSigningTest, FindsTheTeamWhereTheVersionAllowsOne) {
    const auto withDirectories = [&](const std::string& main, const std::string& alternate) {
        return answerFor(machOImage(cpuX86_64, superBlob({{alternateDirectorySlot, alternate},
                                                          {codeDirectorySlot, main}})));
    };
    EXPECT_EQ(withDirectories(codeDirectory("MAIN"), codeDirectory("OTHER")), "-/MAIN");
    EXPECT_EQ(withDirectories(codeDirectory("OLD", 0x20100), codeDirectory("OTHER")), "-/OTHER");
    EXPECT_EQ(withDirectories(codeDirectory("A\xFF"), codeDirectory("")), "-/-");
    EXPECT_EQ(withDirectories(codeDirectory(std::string(300, 'A')), codeDirectory("")), "-/-");
}

TEST_F(CodeSigningTest, ReadsBundlesThroughTheirMainExecutable) {
    const auto image = machOImage(cpuX86_64, developerSignature());
    tree.file("Example.app/Contents/Info.plist", infoPlist);
    tree.file("Example.app/Contents/MacOS/Tool", image);
    EXPECT_EQ(answer(tree.at("Example.app")), developer);

    tree.file("Example.framework/Versions/A/Resources/Info.plist", infoPlist);
    tree.file("Example.framework/Versions/A/Tool", image);
    EXPECT_EQ(answer(tree.at("Example.framework")), developer);
    ASSERT_EQ(symlink("A", tree.at("Example.framework/Versions/Current").c_str()), 0);
    EXPECT_EQ(answer(tree.at("Example.framework")), developer);

    tree.file("Empty.app/Contents/Info.plist", infoPlist);
    EXPECT_EQ(answer(tree.at("Empty.app")), "-/-");
}

TEST_F(CodeSigningTest, ReadsTheSignatureBesideAScript) {
    tree.file("Example.app/Contents/Info.plist", infoPlist);
    tree.file("Example.app/Contents/MacOS/Tool", "#!/bin/sh\n");
    tree.file("Example.app/Contents/_CodeSignature/CodeDirectory", codeDirectory("AB12CD34EF"));
    EXPECT_EQ(answer(tree.at("Example.app")), "-/AB12CD34EF");
    tree.file("Example.app/Contents/_CodeSignature/CodeSignature", developerMessage());
    EXPECT_EQ(answer(tree.at("Example.app")), developer);
}

TEST_F(CodeSigningTest, NeverWaitsForANamedPipe) {
    ASSERT_EQ(mkfifo(tree.at("pipe").c_str(), 0600), 0);
    EXPECT_EQ(answer(tree.at("pipe")), "no code");
    tree.folder("Example.app/Contents");
    ASSERT_EQ(mkfifo(tree.at("Example.app/Contents/Info.plist").c_str(), 0600), 0);
    EXPECT_EQ(answer(tree.at("Example.app")), "no code");
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
    for (const std::size_t start : {std::size_t{0}, std::size_t{4096}, std::size_t{8192}}) {
        for (auto at = start; at < start + 80; ++at) {
            for (const char value : {'\x00', '\x7F', '\xFF'}) {
                auto damaged = file;
                damaged[at] = value;
                ASSERT_TRUE(isCalm(damaged)) << at;
            }
        }
    }
}

TEST(CmsSigner, FindsTheSignerAmongTheCertificates) {
    const auto& message = developerMessage();
    ASSERT_LT(message.find("Root"), message.find("Developer ID"));  // The signer is not first.
    EXPECT_EQ(signerOf(message), developerName);
    EXPECT_EQ(signerOf(signatureMessage({.byKeyIdentifier = true})), developerName);
    EXPECT_EQ(signerOf(signatureMessage({.withoutCertificates = true})), std::nullopt);
}

TEST(CmsSigner, TakesTheLastCommonNameThatIsText) {
    EXPECT_EQ(signerOf(signatureMessage({.commonNames = {"First", "Last \xC3\xA9"}})),
              "Last \xC3\xA9");
    EXPECT_EQ(signerOf(signatureMessage({.commonNames = {}})), std::nullopt);
    auto message = signatureMessage({.commonNames = {"no text"}});
    message.replace(message.find("no text"), 2, "\xFF\xFE");
    EXPECT_EQ(signerOf(message), std::nullopt);
    EXPECT_EQ(signerOf(signatureMessage({.commonNames = {std::string("a\0b", 3)}})), std::nullopt);
}

TEST(CmsSigner, RefusesWhatIsNoMessage) {
    EXPECT_EQ(signerOf(""), std::nullopt);
    EXPECT_EQ(signerOf(std::string(1000, '\x30')), std::nullopt);
    EXPECT_EQ(signerOf(developerMessage().substr(0, 500)), std::nullopt);
}

}  // namespace
}  // namespace vestigo::test
