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
        {"developer id application: Roe", {}, "developer id application: Roe"},
        // Each role is taken off once, in their order.
        {"Developer ID Application: Mac Developer: Roe", {}, "Roe"},
        {"Mac Developer: Developer ID Application: Roe", {}, "Developer ID Application: Roe"},
        {"Example (Europe) Corp (AB12CD34EF)", {}, "Example"},
        {"Example(Europe)", {}, "Example(Europe)"},
        {"Developer ID Application: ", "AB12CD34EF", ""},
        {"unsigned (x)", "AB12CD34EF", "AB12CD34EF"},
        {{}, "AB12CD34EF", "AB12CD34EF"},
        {{}, "", "unsigned"},
        {{}, {}, "unsigned"},
    };
    for (const auto& [name, team, vendor] : cases) {
        const SignatureAnswers answers{.isCode = true, .information = {{name, team}}};
        const auto info = signInfoFrom("/Applications/A.app", answers);
        EXPECT_EQ(info.vendor, vendor);
        EXPECT_FALSE(info.isApple);
    }
    for (const bool isCode : {true, false}) {
        EXPECT_EQ(signInfoFrom("/usr/bin/a", {.isCode = isCode, .information = {}}),
                  (SignInfo{false, "unsigned"}));
    }
}

/// Code that is everywhere, and counts what it is asked.
struct FakeSigning : CodeSigning {
    struct Code : StaticCode {
        explicit Code(FakeSigning& signing) : owner(signing) {}
        bool isAnchoredToApple() override { return ++owner.appleQuestions, owner.anchored; }
        std::optional<SigningInformation> signingInformation() override {
            ++owner.informationQuestions;
            return SigningInformation{"Software Signing", std::nullopt};
        }
        FakeSigning& owner;
    };
    std::unique_ptr<StaticCode> staticCode(const std::string&) override {
        return std::make_unique<Code>(*this);
    }

    bool anchored = true;
    int appleQuestions = 0;
    int informationQuestions = 0;
};

TEST(SignatureInspector, CallsOnlySystemCodeApples) {
    for (const auto* const path :
         {"/System/a", "/usr/a", "/bin/a", "/sbin/a", "/Library/Apple/a"}) {
        FakeSigning signing;
        EXPECT_EQ(inspectSignature(signing, path), (SignInfo{true, "Apple"})) << path;
        EXPECT_EQ(signing.informationQuestions, 0) << path;
        signing.anchored = false;
        EXPECT_EQ(inspectSignature(signing, path), (SignInfo{false, "Software Signing"})) << path;
    }
    for (const auto* const path : {"/System", "/Applications/a", "/Library/Appl", "/x/usr/a"}) {
        FakeSigning signing;
        EXPECT_EQ(inspectSignature(signing, path), (SignInfo{false, "Software Signing"})) << path;
        EXPECT_EQ(signing.appleQuestions, 0) << path;
    }
}

}  // namespace
}  // namespace vestigo::test
