// Selecting a part of a path in the results table.
#pragma once

#include <QLineEdit>
#include <string>

namespace vestigo {

/// Lies over the text of a path and holds the whole of it, read-only; Copy takes what is selected.
/// Escape and the loss of the focus close it, which destroys it.
class PathSelection : public QLineEdit {
    Q_OBJECT
public:
    PathSelection(std::string root, const QFont& font, QWidget* parent);

    /// The root of the row that it belongs to.
    [[nodiscard]] const std::string& root() const { return root_; }
    /// Selects from a character on, while the mouse is drawn with the button held.
    void selectFrom(int character);
    void extendTo(int x);

protected:
    void keyPressEvent(QKeyEvent* event) override;
    void focusOutEvent(QFocusEvent* event) override;

private:
    std::string root_;
    int anchor_ = 0;
};

/// The character of `text` at `x` points in its shortened form of at most `width` points.
[[nodiscard]] int characterAt(const QString& text, const QFont& font, double width, double x);

}  // namespace vestigo
