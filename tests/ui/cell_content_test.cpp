#include "ui/cell_content.h"

#include <gtest/gtest.h>

#include "tests/support/window_fakes.h"

namespace vestigo::test {
namespace {

class CellContentTest : public testing::Test {
protected:
    CellContent cell(const std::string& root, Column column) {
        const auto* const group = window.content().groupWithRoot(root);
        if (!group) return {.text = "no such group", .help = {}};
        return cellContent(window.content(), *group, column);
    }

    WindowFixture window;
};

TEST_F(CellContentTest, AnOrdinaryRow) {
    window.found("/Applications/Foo.app/a", {"x86_64", "i386"}, 592099200 + 86399);
    window.found("/Applications/Foo.app/b", {"x86_64"}, 800000000);
    const std::string root = "/Applications/Foo.app";
    EXPECT_EQ(cell(root, Column::category).text, "App");
    EXPECT_EQ(cell(root, Column::cpu).text, "i386, x86_64");
    EXPECT_EQ(cell(root, Column::cpu).tint, Tint::secondary);
    EXPECT_EQ(cell(root, Column::components).text, "2");
    EXPECT_EQ(cell(root, Column::components).tint, Tint::red);
    EXPECT_EQ(cell(root, Column::created).text, "2019-10-07");
    EXPECT_EQ(cell(root, Column::vendor).text, "…");
    EXPECT_EQ(cell(root, Column::fix).text, "Manual");
    EXPECT_EQ(cell(root, Column::fix).tint, Tint::fixManual);
    EXPECT_FALSE(cell(root, Column::fix).symbol);
    EXPECT_EQ(cell(root, Column::fix).help, "");
    EXPECT_EQ(cell(root, Column::protection).text, "—");
    EXPECT_EQ(cell(root, Column::item).text, "Foo.app");
    EXPECT_EQ(cell(root, Column::path).text, root);
}

TEST_F(CellContentTest, WhatAppleSignedIsGreyed) {
    window.found("/usr/libexec/helper", {"ppc"});
    window.signedBy("/usr/libexec/helper", "Apple", true);
    const std::string root = "/usr/libexec/helper";
    for (const auto column :
         {Column::category, Column::components, Column::created, Column::vendor, Column::item}) {
        EXPECT_EQ(cell(root, column).tint, Tint::tertiary);
    }
    EXPECT_EQ(cell(root, Column::cpu).tint, Tint::purple);
    EXPECT_TRUE(cell(root, Column::cpu).help.starts_with("Contains PowerPC code."));
    EXPECT_EQ(cell(root, Column::created).text, "—");
    EXPECT_EQ(cell(root, Column::vendor).text, "Apple");
    EXPECT_EQ(cell(root, Column::protection).text, "SIP");
}

TEST_F(CellContentTest, TheReinstallArrowNeedsAFormulaName) {
    window.found("/usr/local/Cellar/wget/1.0/bin/wget");
    window.found("/usr/local/opt/x/Cellar");
    const auto named = cell("/usr/local/Cellar/wget/1.0/bin/wget", Column::fix);
    EXPECT_EQ(named.text, "brew");
    ASSERT_TRUE(named.symbol);
    EXPECT_EQ(named.symbol->action, CellAction::reinstall);
    EXPECT_EQ(named.symbol->tint, Tint::fixPackageManager);
    EXPECT_FALSE(cell("/usr/local/opt/x/Cellar", Column::fix).symbol);
}

TEST_F(CellContentTest, AKeptRowExplainsWhy) {
    window.found("/Applications/Keep.app/a");
    window.found("/Applications/Keep.app/b", {"arm64"});
    const auto fix = cell("/Applications/Keep.app", Column::fix);
    EXPECT_EQ(fix.tint, Tint::fixKeep);
    EXPECT_TRUE(fix.help.starts_with("This bundle also has an arm64 build"));
}

TEST_F(CellContentTest, TheCopiedMarkMovesWithTheLastCopyButton) {
    window.found("/a");
    window.found("/b");
    auto& content = window.content();
    perform(CellAction::copyPath, content, *content.groupWithRoot("/a"));
    EXPECT_EQ(cell("/a", Column::path).symbol->symbol, Symbol::checkCircleFill);
    perform(CellAction::copyPath, content, *content.groupWithRoot("/b"));
    EXPECT_EQ(cell("/a", Column::path).symbol->symbol, Symbol::copy);
    EXPECT_EQ(cell("/b", Column::path).symbol->tint, Tint::green);
    perform(CellAction::reveal, content, *content.groupWithRoot("/b"));
    EXPECT_EQ(window.desktop->revealed, std::vector<std::string>{"/b"});
    perform(CellAction::inspect, content, *content.groupWithRoot("/b"));
    EXPECT_EQ(content.inspectGroup()->root, "/b");
    perform(CellAction::reinstall, content, *content.groupWithRoot("/a"));
    EXPECT_EQ(content.updateTarget()->root, "/a");
}

}  // namespace
}  // namespace vestigo::test
