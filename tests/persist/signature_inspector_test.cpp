#include "persist/signature_inspector.h"

#include <memory>
#include <optional>
#include <string>
#include <utility>

#include <gtest/gtest.h>

namespace vestigo::test {
namespace {

using Information = std::optional<SigningInformation>;

/// All code is the same.
struct FakeSigning : CodeSigning {
    struct Code : StaticCode {
        explicit Code(const FakeSigning& answers) : signing(answers) {}
        bool isAnchoredToApple() override { return signing.anchored; }
        Information signingInformation() override { return signing.information; }
        const FakeSigning& signing;
    };
    std::unique_ptr<StaticCode> staticCode(const std::string&) override {
        return isCode ? std::make_unique<Code>(*this) : nullptr;
    }

    bool isCode = true;
    bool anchored = true;
    Information information = SigningInformation{"Software Signing", std::nullopt};
};

TEST(SignatureInspector, NamesTheVendorByTheCertificateThenTheTeam) {
    const std::pair<Information, std::string> cases[] = {
        {{{"Developer ID Application: Example Corp (AB12CD34EF)", "AB12CD34EF"}}, "Example Corp"},
        {{{"Apple Distribution: Example Corp", {}}}, "Example Corp"},
        {{{"Mac Developer: Jane Roe (Q1W2E3R4T5)", {}}}, "Jane Roe"},
        {{{"Mac Developer: Developer ID Application: Roe", {}}}, "Developer ID Application: Roe"},
        {{{"Example (Europe) Corp (AB12CD34EF)", {}}}, "Example"},
        {{{"Example(Europe)", {}}}, "Example(Europe)"},
        {{{{}, "AB12CD34EF"}}, "AB12CD34EF"},
        {{{{}, {}}}, "unsigned"},
        {{}, "unsigned"},
    };
    FakeSigning signing;
    for (const auto& [information, vendor] : cases) {
        signing.information = information;
        EXPECT_EQ(inspectSignature(signing, "/Applications/a"), (SignInfo{false, vendor}));
    }
}

TEST(SignatureInspector, CallsOnlySystemCodeApples) {
    FakeSigning signing;
    for (const auto* const path : {"/System/a", "/usr/a", "/Library/Apple/a"}) {
        EXPECT_EQ(inspectSignature(signing, path), (SignInfo{true, "Apple"})) << path;
    }
    const SignInfo other{false, "Software Signing"};
    for (const auto* const path : {"/System", "/Applications/a", "/Library/Appl", "/x/usr/a"}) {
        EXPECT_EQ(inspectSignature(signing, path), other) << path;
    }
    signing.anchored = false;
    EXPECT_EQ(inspectSignature(signing, "/usr/a"), other);
    signing.isCode = false;
    EXPECT_EQ(inspectSignature(signing, "/usr/a"), (SignInfo{false, "unsigned"}));
}

}  // namespace
}  // namespace vestigo::test
