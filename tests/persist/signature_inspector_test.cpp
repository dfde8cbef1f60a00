#include "persist/signature_inspector.h"

#include <gtest/gtest.h>

namespace vestigo::test {
namespace {

std::string vendor(const std::optional<std::string>& commonName,
                   const std::optional<std::string>& team = std::nullopt) {
    const auto info = signInfoFrom("/Applications/Example.app",
                                   {.isCode = true, .information = {{commonName, team}}});
    EXPECT_FALSE(info.isApple);
    return info.vendor;
}

TEST(SignatureInspector, NamesTheVendorByTheCertificate) {
    EXPECT_EQ(vendor("Developer ID Application: Example Corp (AB12CD34EF)", "AB12CD34EF"),
              "Example Corp");
    EXPECT_EQ(vendor("3rd Party Mac Developer Application: Example Corp (AB12CD34EF)"),
              "Example Corp");
    EXPECT_EQ(vendor("Apple Distribution: Example Corp"), "Example Corp");
    EXPECT_EQ(vendor("Mac Developer: Jane Roe (Q1W2E3R4T5)"), "Jane Roe");
    EXPECT_EQ(vendor("Apple Development: Jane Roe (XYZ9876543)"), "Jane Roe");
    EXPECT_EQ(vendor("Software Signing"), "Software Signing");
    EXPECT_EQ(vendor("developer id application: Roe"), "developer id application: Roe");
}

TEST(SignatureInspector, TrimsRolesInOrderAndAtTheFirstParenthesis) {
    EXPECT_EQ(vendor("Developer ID Application: Mac Developer: Roe"), "Roe");
    EXPECT_EQ(vendor("Mac Developer: Developer ID Application: Roe"),
              "Developer ID Application: Roe");
    EXPECT_EQ(vendor("Example (Europe) Corp (AB12CD34EF)"), "Example");
    EXPECT_EQ(vendor("Example(Europe)"), "Example(Europe)");
    EXPECT_EQ(vendor("Developer ID Application: ", "AB12CD34EF"), "");
}

TEST(SignatureInspector, FallsBackToTheTeamThenToUnsigned) {
    EXPECT_EQ(vendor(std::nullopt, "AB12CD34EF"), "AB12CD34EF");
    EXPECT_EQ(vendor(std::nullopt, ""), "unsigned");
    EXPECT_EQ(vendor(std::nullopt), "unsigned");
    EXPECT_EQ(vendor("unsigned (x)", "AB12CD34EF"), "AB12CD34EF");
    EXPECT_EQ(signInfoFrom("/a", {.isCode = true, .information = {}}),
              (SignInfo{false, "unsigned"}));
    EXPECT_EQ(signInfoFrom("/usr/bin/a", {}), (SignInfo{false, "unsigned"}));
}

/// Code that is everywhere, and counts what it is asked.
class FakeSigning : public CodeSigning {
public:
    std::unique_ptr<StaticCode> staticCode(const std::string&) override {
        return std::make_unique<Code>(*this);
    }
    bool anchored = false;
    int appleQuestions = 0;
    int informationQuestions = 0;

private:
    class Code : public StaticCode {
    public:
        explicit Code(FakeSigning& owner) : owner_(owner) {}
        bool isAnchoredToApple() override {
            ++owner_.appleQuestions;
            return owner_.anchored;
        }
        std::optional<SigningInformation> signingInformation() override {
            ++owner_.informationQuestions;
            return SigningInformation{"Software Signing", std::nullopt};
        }

    private:
        FakeSigning& owner_;
    };
};

TEST(SignatureInspector, CallsOnlySystemCodeApples) {
    for (const auto* const path :
         {"/System/a", "/usr/a", "/bin/a", "/sbin/a", "/Library/Apple/a"}) {
        FakeSigning signing;
        signing.anchored = true;
        EXPECT_EQ(inspectSignature(signing, path), (SignInfo{true, "Apple"})) << path;
        EXPECT_EQ(signing.informationQuestions, 0) << path;
    }
    for (const auto* const path : {"/System", "/Applications/a", "/Library/Appl", "/x/usr/a"}) {
        FakeSigning signing;
        signing.anchored = true;
        EXPECT_EQ(inspectSignature(signing, path), (SignInfo{false, "Software Signing"})) << path;
        EXPECT_EQ(signing.appleQuestions, 0) << path;
    }
}

TEST(SignatureInspector, NamesTheVendorOfSystemPathsThatAreNotApples) {
    FakeSigning signing;
    EXPECT_EQ(inspectSignature(signing, "/usr/local/bin/a"), (SignInfo{false, "Software Signing"}));
    EXPECT_EQ(signing.appleQuestions, 1);
}

}  // namespace
}  // namespace vestigo::test
