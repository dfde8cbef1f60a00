#include "platform/system.h"
#include "tests/support/test.h"

namespace vestigo {
namespace {

// Systems differ in what they take for code. For what is not signed none names a signer.
TEST(CodeSigning, NamesNobodyWhereNothingIsSigned) {
    const test::TemporaryTree tree;
    const auto signing = systemCodeSigning();
    const std::string header("\xCF\xFA\xED\xFE\x07\0\0\x01\3\0\0\0\2", 13);  // Intel, 64-bit.
    tree.file("Empty.app/Contents/Info.plist",
              R"(<plist version="1.0"><dict><key>CFBundleIdentifier</key>)"
              "<string>com.example</string></dict></plist>");
    for (const auto& path : {tree.file("image", header + std::string(19, '\0')),
                             tree.file("cut short", header), tree.file("script", "#!/bin/sh\n"),
                             tree.file("empty"), tree.folder("folder"), tree.at("Empty.app")}) {
        const auto code = signing->staticCode(path);
        if (!code) continue;
        EXPECT_FALSE(code->isAnchoredToApple()) << path;
        const auto information = code->signingInformation().value_or(SigningInformation());
        EXPECT_EQ(information.leafCommonName, std::nullopt) << path;
        EXPECT_EQ(information.teamIdentifier, std::nullopt) << path;
    }
    EXPECT_EQ(signing->staticCode(tree.at("missing")), nullptr);
}

}  // namespace
}  // namespace vestigo
