// A symbol that is only looked at.
#pragma once

#include <QWidget>

#include "ui/cell_content.h"

namespace vestigo {

class SymbolLabel : public QWidget {
    Q_OBJECT
public:
    /// `side` points high and wide.
    SymbolLabel(Symbol symbol, Tint tint, int side, QWidget* parent = nullptr);

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    Symbol symbol_;
    Tint tint_;
};

}  // namespace vestigo
