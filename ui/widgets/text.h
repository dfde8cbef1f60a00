// Converts the program's byte strings to the texts that Qt shows.
#pragma once

#include <QString>
#include <QWidget>
#include <string_view>

namespace vestigo {

/// For display only, as bytes that are not UTF-8 become replacement characters: the result does not
/// lead back to the path.
[[nodiscard]] inline QString toQString(std::string_view text) {
    return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
}

/// Replaces tabs, line ends and other control characters, which a name may hold, by spaces. The
/// text is then drawn exactly as wide as it is measured.
[[nodiscard]] inline QString oneLine(QString text) {
    for (auto& character : text) {
        const bool separator =
            character == QChar::LineSeparator || character == QChar::ParagraphSeparator;
        if (separator || character.category() == QChar::Other_Control) character = QChar::Space;
    }
    return text;
}

/// Returns a tooltip that shows exactly this text. Qt reads any tooltip that looks like HTML as
/// HTML, and the name of a file may look like it.
[[nodiscard]] inline QString plainToolTip(const QString& text) {
    if (text.isEmpty()) return text;
    return QStringLiteral(R"(<p style="white-space:pre-wrap">%1</p>)").arg(text.toHtmlEscaped());
}

/// Sets such a tooltip and the plain text as the accessible description; otherwise a screen reader
/// would read out the tooltip's HTML.
inline void setPlainToolTip(QWidget& widget, const QString& text) {
    widget.setToolTip(plainToolTip(text));
    widget.setAccessibleDescription(text);
}

/// Escapes a window title, in which Qt would take "[*]" for its mark of unsaved changes.
[[nodiscard]] inline QString plainTitle(QString text) {
    return text.replace(QStringLiteral("[*]"), QStringLiteral("[*][*]"));
}

}  // namespace vestigo
