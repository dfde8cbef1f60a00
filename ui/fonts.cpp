#include "ui/fonts.h"

#include <QFontDatabase>
#include <QStringList>
#include <cmath>

namespace vestigo {
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
