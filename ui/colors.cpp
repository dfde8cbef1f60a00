#include "ui/colors.h"

namespace vestigo {
namespace {

struct Pair {
    QRgb light;
    QRgb dark;
};

/// Ground mixed into the text's colour, from 0 to 1.
QColor faded(const QPalette& palette, double share) {
    const auto text = palette.color(QPalette::Text);
    const auto ground = palette.color(QPalette::Base);
    const auto mixed = [share](float front, float back) {
        return static_cast<float>(front + (back - front) * share);
    };
    return QColor::fromRgbF(mixed(text.redF(), ground.redF()),
                            mixed(text.greenF(), ground.greenF()),
                            mixed(text.blueF(), ground.blueF()));
}

constexpr QRgb fraction(double red, double green, double blue) {
    return qRgb(static_cast<int>(red * 255 + 0.5), static_cast<int>(green * 255 + 0.5),
                static_cast<int>(blue * 255 + 0.5));
}

QColor pick(const Pair& pair, const QPalette& palette) {
    return QColor::fromRgb(isDark(palette) ? pair.dark : pair.light);
}

}  // namespace

bool isDark(const QPalette& palette) {
    return palette.color(QPalette::Text).lightness() > palette.color(QPalette::Base).lightness();
}

QColor colorOf(Tint tint, const QPalette& palette) {
    switch (tint) {
        case Tint::primary: return palette.color(QPalette::Text);
        case Tint::secondary: return faded(palette, 0.34);
        case Tint::tertiary: return faded(palette, 0.48);
        // Each at least 4.5 : 1 on the ground of its appearance, to be read as text.
        case Tint::red: return pick({qRgb(0xc8, 0x1e, 0x1e), qRgb(0xff, 0x6b, 0x62)}, palette);
        case Tint::purple: return pick({qRgb(0x8e, 0x35, 0xb8), qRgb(0xd0, 0x8b, 0xf5)}, palette);
        case Tint::green: return pick({qRgb(0x1d, 0x7a, 0x35), qRgb(0x4c, 0xd1, 0x6a)}, palette);
        case Tint::blue: return pick({qRgb(0x0a, 0x64, 0xd2), qRgb(0x5a, 0xa9, 0xff)}, palette);
        case Tint::orange: return pick({qRgb(0xb4, 0x50, 0x00), qRgb(0xff, 0xa0, 0x40)}, palette);
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

}  // namespace vestigo
