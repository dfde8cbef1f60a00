// Between the program's byte strings and Qt's text.
#pragma once

#include <QString>
#include <QWidget>
#include <string_view>

namespace vestigo {

/// For showing only: bytes that are no UTF-8 become replacement characters.
[[nodiscard]] inline QString toQString(std::string_view text) {
    return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
}

/// For a line that is measured before it is drawn: tabs, ends of lines and other control
/// characters, which a name may hold, become spaces, as wide as they are drawn.
[[nodiscard]] inline QString oneLine(QString text) {
    for (auto& character : text) {
        const bool separator =
            character == QChar::LineSeparator || character == QChar::ParagraphSeparator;
        if (separator || character.category() == QChar::Other_Control) character = QChar::Space;
    }
    return text;
}

/// A tooltip that shows exactly this text, broken into lines. Qt takes a tooltip for rich text when
/// it looks like it, and the name of a file may.
[[nodiscard]] inline QString plainToolTip(const QString& text) {
    if (text.isEmpty()) return text;
    return QStringLiteral("<p style=\"white-space:pre-wrap\">%1</p>").arg(text.toHtmlEscaped());
}

/// The same for a whole widget, which a screen reader would describe by its tooltip's marks.
inline void setPlainToolTip(QWidget& widget, const QString& text) {
    widget.setToolTip(plainToolTip(text));
    widget.setAccessibleDescription(text);
}

/// A window's title that is shown as it is: Qt has a placeholder of its own in titles.
[[nodiscard]] inline QString plainTitle(QString text) {
    return text.replace(QStringLiteral("[*]"), QStringLiteral("[*][*]"));
}

}  // namespace vestigo
