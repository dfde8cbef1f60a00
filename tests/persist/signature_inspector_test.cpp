#include "persist/signature_inspector.h"

#include <tuple>

#include <gtest/gtest.h>

namespace vestigo::test {
namespace {

using Text = std::optional<std::string>;

TEST(SignatureInspector, NamesTheVendorByTheCertificateThenTheTeam) {
    const std::tuple<Text, Text, std::string> cases[] = {
        {"Developer ID Application: Example Corp (AB12CD34EF)", "AB12CD34EF", "Example Corp"},
        {"Apple Distribution: Example Corp", {}, "Example Corp"},
        {"Mac Developer: Jane Roe (Q1W2E3R4T5)", {}, "Jane Roe"},
        {"Mac Developer: Developer ID Application: Roe", {}, "Developer ID Application: Roe"},
        {"Example (Europe) Corp (AB12CD34EF)", {}, "Example"},
        {"Example(Europe)", {}, "Example(Europe)"},
        {{}, "AB12CD34EF", "AB12CD34EF"},
        {{}, {}, "unsigned"},
    };
    for (const auto& [name, team, vendor] : cases) {
        const SignatureAnswers answers{.isCode = true, .information = {{name, team}}};
        const auto info = signInfoFrom("/Applications/A.app", answers);
        EXPECT_EQ(info.vendor, vendor);
        EXPECT_FALSE(info.isApple);
    }
    EXPECT_EQ(signInfoFrom("/Applications/A.app", {true, true, {}}), (SignInfo{false, "unsigned"}));
    for (const bool isCode : {true, false}) {
        EXPECT_EQ(signInfoFrom("/usr/bin/a", {.isCode = isCode, .information = {}}),
                  (SignInfo{false, "unsigned"}));
    }
}

/// All code is the same.
struct FakeSigning : CodeSigning {
    struct Code : StaticCode {
        explicit Code(bool byApple) : anchored(byApple) {}
        bool isAnchoredToApple() override { return anchored; }
        std::optional<SigningInformation> signingInformation() override {
            return SigningInformation{"Software Signing", std::nullopt};
        }
        bool anchored;
    };
    std::unique_ptr<StaticCode> staticCode(const std::string&) override {
        return std::make_unique<Code>(anchored);
    }

    bool anchored = true;
};

TEST(SignatureInspector, CallsOnlySystemCodeApples) {
    FakeSigning signing;
    const SignInfo apple{true, "Apple"}, other{false, "Software Signing"};
    for (const auto* const path : {"/System/a", "/usr/a", "/Library/Apple/a"}) {
        EXPECT_EQ(inspectSignature(signing, path), apple) << path;
    }
    for (const auto* const path : {"/System", "/Applications/a", "/Library/Appl", "/x/usr/a"}) {
        EXPECT_EQ(inspectSignature(signing, path), other) << path;
    }
    signing.anchored = false;
    EXPECT_EQ(inspectSignature(signing, "/usr/a"), other);
}

}  // namespace
}  // namespace vestigo::test
