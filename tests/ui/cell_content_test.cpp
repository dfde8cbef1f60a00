#include "ui/model/cell_content.h"

#include <gtest/gtest.h>

#include "tests/support/window_fakes.h"

namespace vestigo::test {
namespace {

class CellContentTest : public testing::Test {
protected:
    CellContent cell(const std::string& root, Column column) {
        return cellContent(window.content(), *window.content().groupWithRoot(root), column);
    }
    std::vector<std::string> texts(const std::string& root) {
        std::vector<std::string> all;
        for (std::size_t i = 0; i < columnCount; ++i) {
            all.push_back(cell(root, static_cast<Column>(i)).text);
        }
        return all;
    }

    WindowFixture window;
};

TEST_F(CellContentTest, SaysWhatIsKnownOfAGroup) {
    using Texts = std::vector<std::string>;
    const std::string foo = "/Applications/Foo.app";
    const std::string helper = "/usr/libexec/helper";
    window.found(foo + "/a", {"x86_64", "i386"}, 592099200 + 86399);
    window.found(foo + "/b", {"x86_64"}, 800000000);
    window.found(helper, {"ppc"});
    window.signedBy(helper, "Apple", true);
    EXPECT_EQ(texts(foo), (Texts{"", "App", "i386, x86_64", "2", "2019-10-07", "…", "Manual", "—",
                                 "Foo.app", foo}));
    EXPECT_EQ(texts(helper),
              (Texts{"", "CLI tool", "ppc", "1", "—", "Apple", "Apple", "SIP", "helper", helper}));

    EXPECT_EQ(cell(foo, Column::components).tint, Tint::red);
    EXPECT_EQ(cell(helper, Column::components).tint, Tint::tertiary);
    EXPECT_TRUE(cell(helper, Column::cpu).help.starts_with("Contains PowerPC code."));

    // The mark of a copied path moves with the last copy.
    for (const auto& root : {foo, helper}) window.content().copyPath(root, true);
    EXPECT_EQ(cell(foo, Column::path).symbol->symbol, Symbol::copy);
    EXPECT_EQ(cell(helper, Column::path).symbol->symbol, Symbol::checkCircleFill);
}

TEST_F(CellContentTest, TheReinstallArrowNeedsAFormulaNameAndAKeptRowExplainsWhy) {
    window.found("/usr/local/Cellar/wget/1.0/bin/wget");
    window.found("/usr/local/opt/x/Cellar");
    window.found("/Applications/Keep.app/a");
    window.found("/Applications/Keep.app/b", {"arm64"});
    const auto named = cell("/usr/local/Cellar/wget/1.0/bin/wget", Column::fix);
    EXPECT_EQ(named.text, "brew");
    ASSERT_TRUE(named.symbol);
    EXPECT_EQ(named.symbol->action, CellAction::reinstall);
    EXPECT_FALSE(cell("/usr/local/opt/x/Cellar", Column::fix).symbol);
    const auto kept = cell("/Applications/Keep.app", Column::fix);
    EXPECT_TRUE(kept.help.starts_with("This bundle also has an arm64 build"));
}

}  // namespace
}  // namespace vestigo::test
