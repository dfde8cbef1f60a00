#include "ui/sheet_text.h"

#include <QApplication>
#include <QEvent>
#include <QStringList>

#include "ui/colors.h"
#include "ui/text.h"

namespace vestigo {

SheetText::SheetText(const QString& text, const QFont& font, Tint tint, int width, QWidget* parent)
    : QLabel(parent), tint_(tint) {
    setTextFormat(Qt::PlainText);
    setFont(font);
    setWordWrap(true);
    setFixedWidth(width);
    setText(text);
    takeTint();
}

void SheetText::setEmphasised(std::string_view text) {
    setTextFormat(Qt::RichText);
    setText(emphasised(text));
}

void SheetText::changeEvent(QEvent* event) {
    QLabel::changeEvent(event);
    if (event->type() == QEvent::ApplicationPaletteChange) takeTint();
}

void SheetText::takeTint() {
    auto palette = QApplication::palette();
    palette.setColor(QPalette::WindowText, colorOf(tint_, palette));
    setPalette(palette);
}

QString emphasised(std::string_view text) {
    QString html;
    bool bold = false;
    for (const auto& part : shown(text).split(QStringLiteral("**"))) {
        const auto safe = part.toHtmlEscaped();
        html += bold ? QStringLiteral("<b>%1</b>").arg(safe) : safe;
        bold = !bold;
    }
    return html;
}

QPalette tintedGround(QPalette palette, double share) {
    const auto mixed = [share](int ground, int text) {
        return ground + static_cast<int>((text - ground) * share);
    };
    const auto ground = palette.color(QPalette::Window);
    const auto text = palette.color(QPalette::WindowText);
    palette.setColor(QPalette::Base,
                     QColor(mixed(ground.red(), text.red()), mixed(ground.green(), text.green()),
                            mixed(ground.blue(), text.blue())));
    return palette;
}

}  // namespace vestigo
