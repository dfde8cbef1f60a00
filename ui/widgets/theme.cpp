#include "ui/widgets/theme.h"

#include <QFontDatabase>
#include <QStringList>
#include <algorithm>
#include <cmath>

namespace vestigo {

namespace {

struct LightAndDark {
    QRgb light;
    QRgb dark;
};

constexpr double leastMarkContrast = 3;

/// Returns `from` at share 0, `to` at share 1, and a mixture in between.
QColor mixed(const QColor& from, const QColor& to, double share) {
    const auto part = [share](float front, float back) {
        return static_cast<float>(front + (back - front) * share);
    };
    return QColor::fromRgbF(part(from.redF(), to.redF()), part(from.greenF(), to.greenF()),
                            part(from.blueF(), to.blueF()));
}

/// Returns the text colour with `share` (0 to 1) of the background mixed in.
QColor faded(const QPalette& palette, double share) {
    return mixed(palette.color(QPalette::Text), palette.color(QPalette::Base), share);
}

double luminance(const QColor& color) {
    const auto linear = [](double value) {
        return value <= 0.04045 ? value / 12.92 : std::pow((value + 0.055) / 1.055, 2.4);
    };
    return 0.2126 * linear(color.redF()) + 0.7152 * linear(color.greenF()) +
           0.0722 * linear(color.blueF());
}

constexpr QRgb fraction(double red, double green, double blue) {
    return qRgb(static_cast<int>(red * 255 + 0.5), static_cast<int>(green * 255 + 0.5),
                static_cast<int>(blue * 255 + 0.5));
}

QColor pick(const LightAndDark& pair, const QPalette& palette) {
    return QColor::fromRgb(isDark(palette) ? pair.dark : pair.light);
}

}  // namespace

bool isDark(const QPalette& palette) {
    return palette.color(QPalette::Text).lightness() > palette.color(QPalette::Base).lightness();
}

QPalette darkPalette() {
    const QColor window(0x2b, 0x2b, 0x2e);
    const QColor base(0x1f, 0x1f, 0x21);
    const QColor text(0xec, 0xec, 0xee);
    const QColor faint(0x7d, 0x7d, 0x82);
    QPalette palette(QColor(0x3a, 0x3a, 0x3e), window);
    for (const auto role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText,
                            QPalette::ToolTipText, QPalette::BrightText}) {
        palette.setColor(role, text);
        palette.setColor(QPalette::Disabled, role, faint);
    }
    palette.setColor(QPalette::Base, base);
    palette.setColor(QPalette::AlternateBase, QColor(0x25, 0x25, 0x28));
    palette.setColor(QPalette::ToolTipBase, QColor(0x3a, 0x3a, 0x3e));
    palette.setColor(QPalette::PlaceholderText, faint);
    palette.setColor(QPalette::Highlight, QColor(0x1f, 0x6f, 0xd6));
    palette.setColor(QPalette::HighlightedText, Qt::white);
    palette.setColor(QPalette::Link, QColor(0x4d, 0xa3, 0xff));
    return palette;
}

QColor colorOf(Tint tint, const QPalette& palette) {
    switch (tint) {
        case Tint::primary: return palette.color(QPalette::Text);
        case Tint::secondary: return faded(palette, 0.30);
        case Tint::tertiary: return faded(palette, 0.42);
        case Tint::red: return pick({qRgb(0xc8, 0x1e, 0x1e), qRgb(0xff, 0x6b, 0x62)}, palette);
        case Tint::purple: return pick({qRgb(0x8e, 0x35, 0xb8), qRgb(0xd0, 0x8b, 0xf5)}, palette);
        case Tint::green: return pick({qRgb(0x1d, 0x7a, 0x35), qRgb(0x4c, 0xd1, 0x6a)}, palette);
        case Tint::blue: return pick({qRgb(0x0a, 0x64, 0xd2), qRgb(0x5a, 0xa9, 0xff)}, palette);
        case Tint::orange: return pick({qRgb(0xa8, 0x4a, 0x00), qRgb(0xff, 0xa0, 0x40)}, palette);
        case Tint::fixApple:
            return pick({fraction(0.52, 0.52, 0.55), fraction(0.60, 0.60, 0.63)}, palette);
        case Tint::fixPackageManager:
            return pick({fraction(0.13, 0.50, 0.24), fraction(0.35, 0.85, 0.48)}, palette);
        case Tint::fixManual:
            return pick({fraction(0.80, 0.34, 0.02), fraction(1.00, 0.62, 0.27)}, palette);
        case Tint::fixKeep:
            return pick({fraction(0.10, 0.42, 0.80), fraction(0.43, 0.67, 1.00)}, palette);
    }
    return palette.color(QPalette::Text);
}

QColor selectedGround(const QPalette& palette, bool active) {
    // Darkening a white background lowers the contrast of dark text more than lightening a black
    // one lowers that of light text, so the light appearance gets the smaller share.
    const double share = isDark(palette) ? 0.24 : 0.09;
    return mixed(palette.color(QPalette::Base), palette.color(QPalette::Highlight),
                 active ? share : share / 2);
}

QColor markColor(const QPalette& palette) {
    const auto highlight = palette.color(QPalette::Highlight);
    const auto ground = selectedGround(palette, true);
    auto mark = highlight;
    for (double share = 0; contrast(mark, ground) < leastMarkContrast && share < 1;) {
        mark = mixed(highlight, palette.color(QPalette::Text), share += 0.1);
    }
    return mark;
}

QPalette checkBoxPalette(QPalette palette, const QColor& border) {
    // Such styles draw the border in the window's background, darkened by this factor.
    palette.setColor(QPalette::Window, border.lighter(140));
    return palette;
}

double contrast(const QColor& one, const QColor& other) {
    const double first = luminance(one) + 0.05;
    const double second = luminance(other) + 0.05;
    return std::max(first, second) / std::min(first, second);
}

namespace {

QFont sized(QFont font, double points) {
    font.setPixelSize(static_cast<int>(std::lround(points)));
    return font;
}

}  // namespace

QFont contentFont(double points) {
    auto font = QFontDatabase::systemFont(QFontDatabase::GeneralFont);
    font.setFamilies({QStringLiteral("Avenir Next"), font.family()});
    return sized(font, points);
}

QFont monospacedFont(double points, QFont::Weight weight) {
    auto font = sized(QFontDatabase::systemFont(QFontDatabase::FixedFont), points);
    font.setWeight(weight);
    return font;
}

QFont systemFont(double points, QFont::Weight weight) {
    auto font = sized(QFontDatabase::systemFont(QFontDatabase::GeneralFont), points);
    font.setWeight(weight);
    return font;
}

}  // namespace vestigo
