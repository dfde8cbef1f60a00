#include "ui/symbol_label.h"

#include <QPainter>

#include "ui/colors.h"
#include "ui/symbols.h"

namespace vestigo {

SymbolLabel::SymbolLabel(Symbol symbol, Tint tint, int side, QWidget* parent)
    : QWidget(parent), symbol_(symbol), tint_(tint) {
    setFixedSize(side, side);
}

void SymbolLabel::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    drawSymbol(painter, rect(), symbol_, colorOf(tint_, palette()));
}

}  // namespace vestigo
