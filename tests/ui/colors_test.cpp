#include <QApplication>
#include <QImage>
#include <QTest>
#include <QTimer>

#include "tests/support/test.h"
#include "ui/widgets/labels.h"
#include "ui/widgets/log_view.h"
#include "ui/widgets/path_list.h"
#include "ui/widgets/symbols.h"
#include "ui/widgets/theme.h"

namespace vestigo::test {
namespace {

constexpr double legible = 4.5;
constexpr double seen = 3;

constexpr Tint freeTints[] = {Tint::primary, Tint::secondary, Tint::tertiary, Tint::red,
                              Tint::purple,  Tint::green,     Tint::blue,     Tint::orange};
constexpr Tint givenTints[] = {Tint::fixApple, Tint::fixPackageManager, Tint::fixManual,
                               Tint::fixKeep};
/// What is written on a sheet, and on its lists.
constexpr Tint sheetTints[] = {Tint::primary, Tint::secondary, Tint::red, Tint::green,
                               Tint::orange};
constexpr Tint listTints[] = {Tint::primary, Tint::secondary, Tint::red, Tint::orange};
constexpr double listShare = 0.04;
constexpr double commandShare = 0.06;

/// In one appearance after the other.
class ColorsTest : public testing::TestWithParam<bool> {
protected:
    ColorsTest() { QApplication::setPalette(GetParam() ? darkPalette() : QPalette()); }
    ~ColorsTest() override { QApplication::setPalette(QPalette()); }
    QPalette palette = QApplication::palette();
};

TEST_P(ColorsTest, EveryTextCanBeReadOnItsGround) {
    EXPECT_DOUBLE_EQ(contrast(Qt::black, Qt::white), 21);
    const auto plain = palette.color(QPalette::Base);
    const QColor rows[] = {plain, selectedGround(palette, true), selectedGround(palette, false)};
    const auto expectLegible = [this](Tint tint, const QColor& ground) {
        EXPECT_GE(contrast(colorOf(tint, palette), ground), legible) << static_cast<int>(tint);
    };
    const auto onSheet = [this](double share) {
        return tintedGround(palette, share).color(QPalette::Base);
    };
    for (const auto tint : freeTints) {
        for (const auto& ground : rows) expectLegible(tint, ground);
    }
    for (const auto tint : sheetTints) expectLegible(tint, palette.color(QPalette::Window));
    for (const auto tint : listTints) expectLegible(tint, onSheet(listShare));
    expectLegible(Tint::primary, onSheet(commandShare));
    // Two given colours do not reach that on white; a selected row may take little from them.
    for (const auto tint : givenTints) {
        const auto text = colorOf(tint, palette);
        const double most = std::min(legible, contrast(text, plain) * 0.9);
        EXPECT_GE(contrast(text, rows[1]), most) << static_cast<int>(tint);
    }
    for (const auto& ground : rows) EXPECT_GE(contrast(markColor(palette), ground), seen);
    EXPECT_GE(contrast(rows[0], rows[1]), 1.05);
}

TEST_P(ColorsTest, ALineShowsItsCheckBoxAndItsTagsHoweverLongThePathIs) {
    PathList list({300, 60});
    list.setLines(
        {{.path = "/a" + std::string(200, 'b'), .tags = {{"admin", Tint::red}}, .on = false}});
    list.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&list));
    const auto picture = list.viewport()->grab().toImage();
    const auto line = list.visualRect(list.model()->index(0, 0));
    const auto ground = list.palette().color(QPalette::Base);
    double most = 0;
    std::set<int> redColumns;
    for (int x = 0; x < line.width(); ++x) {
        const auto middle = picture.pixelColor(x, line.center().y());
        if (x < 14) most = std::max(most, contrast(middle, ground));
        for (int y = 0; y < line.height(); ++y) {
            const auto color = picture.pixelColor(x, y);
            if (color.red() > color.green() + 60) redColumns.insert(x);
        }
    }
    EXPECT_GE(most, seen);
    EXPECT_GT(redColumns.size(), 15U);
}

TEST_P(ColorsTest, WhatIsOpenFollowsTheAppearance) {
    QWidget window;
    SheetText text("text", QFont(), Tint::red, 100, &window);
    PathList list({300, 60}, &window);
    UpdateLog nothing;
    LogView log(nothing, &window);
    window.show();
    const auto picture = [](Tint tint) {
        return symbolIcon(Symbol::trash, tint).pixmap(16).toImage();
    };
    const auto before = picture(Tint::red);
    EXPECT_NE(before, picture(Tint::green));
    for (const bool dark : {!GetParam(), GetParam()}) {
        // An application hands on a new palette only while it runs.
        QTimer::singleShot(0, &window,
                           [dark] { QApplication::setPalette(dark ? darkPalette() : QPalette()); });
        QTimer::singleShot(20, &window, [] { QApplication::exit(); });
        QApplication::exec();
        const auto now = QApplication::palette();
        EXPECT_EQ(text.palette().color(QPalette::WindowText), colorOf(Tint::red, now));
        for (const QWidget* const each : std::initializer_list<QWidget*>{&list, &log}) {
            const auto& own = each->palette();
            EXPECT_GE(contrast(own.color(QPalette::Text), own.color(QPalette::Base)), legible);
        }
        EXPECT_EQ(picture(Tint::red) == before, dark == GetParam());
    }
}

INSTANTIATE_TEST_SUITE_P(Appearances, ColorsTest, testing::Bool());

}  // namespace
}  // namespace vestigo::test
