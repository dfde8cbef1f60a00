#include "ui/sheets/alert_sheet.h"

#include <QScreen>
#include <QScrollArea>
#include <QScrollBar>
#include <algorithm>

#include "ui/widgets/text.h"
#include "ui/widgets/theme.h"

namespace vestigo {

/// Grows with its text up to half of the screen's height, and scrolls beyond that.
class AlertSheet::MessageArea : public QScrollArea {
public:
    MessageArea(int width, QWidget* parent) : QScrollArea(parent) {
        setFrameShape(QFrame::NoFrame);
        setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
        setFixedWidth(width);
        text_ = new SheetText({}, systemFont(13, QFont::Bold), Tint::primary,
                              width - verticalScrollBar()->sizeHint().width());
        text_->setObjectName(QStringLiteral("message"));
        text_->setTextInteractionFlags(Qt::TextSelectableByMouse);
        setWidget(text_);
    }
    void showText(const QString& text) {
        text_->setText(text);
        const int height = text_->heightForWidth(text_->width());
        text_->setFixedHeight(height);
        setFixedHeight(std::min(height, screen()->availableSize().height() / 2));
    }

private:
    SheetText* text_;
};

AlertSheet::AlertSheet(ContentView& content, QWidget* window)
    : Sheet(window, {.padding = 22, .spacing = 14, .width = 440},
            [&content] { content.dismissAlert(); }),
      content_(content),
      area_(new MessageArea(innerWidth(), this)) {
    setObjectName(QStringLiteral("alert"));
    setWindowTitle(QStringLiteral("Vestigo"));
    column().addWidget(area_);
    auto& row = addRow();
    row.addStretch();
    makeDefault(addButton(row, "ok", tr("OK"), [&content] { content.dismissAlert(); }));
    showMessage();
}

void AlertSheet::refresh(const Changes& changes) {
    if (changes.has(ContentField::alert)) showMessage();
}

void AlertSheet::showMessage() {
    const auto text = toQString(content_.alert().value_or(""));
    setAccessibleDescription(text);
    area_->showText(text);
}

}  // namespace vestigo
