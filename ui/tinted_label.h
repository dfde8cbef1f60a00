// A line of text in one of the window's tints.
#pragma once

#include <QLabel>

#include "ui/cell_content.h"

namespace vestigo {

/// One line of plain text; what does not fit gives way to an ellipsis.
class TintedLabel : public QLabel {
    Q_OBJECT
public:
    explicit TintedLabel(Tint tint, QWidget* parent = nullptr);

    /// Where the ellipsis stands; at the end unless told otherwise.
    void setElision(Qt::TextElideMode elision);

    [[nodiscard]] QSize minimumSizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    Tint tint_;
    Qt::TextElideMode elision_ = Qt::ElideRight;
};

}  // namespace vestigo
